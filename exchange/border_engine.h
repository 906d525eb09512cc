// The extension of one plane: the source rectangle goes to (top, left) of a
// larger destination and the frame around it is made by a border mode.
//
// Each source row becomes a destination row built as left border, source
// row, right border. Then the rows above and below are whole-row copies of
// the destination rows they map to (Repl, Wrap, Mirror, MirrorR), or fills
// (Const). A border pixel is read from the source row or from pixels of
// the same border already made, never from a pixel still to be written, so
// the same walk serves the in-place forms, whose source already stands
// inside the destination and is left as it is.
//
// A side wider than one period of the mode's map is made in two steps: the
// period next to the source through the map, then the rest by copying that
// period outward in blocks that double each time (dst[x] = dst[x + k*period]).
// So borders many times wider than the image cost a few block copies a row.
//
// No checks here: the frames in border.cpp and border_volume.cpp test
// everything first.
#pragma once

#include <cstdint>

#include "core/border/border.h"
#include "core/frame/frame.h"
#include "exchange/border_kernels.h"

namespace nyx::border_copy {

struct Plane {
  const void* src;
  int64_t src_step;
  int64_t src_width, src_height;
  void* dst;  // the whole destination, border included
  int64_t dst_step;
  int64_t dst_width, dst_height;
  int64_t top, left;
  bool in_place;  // the source already stands at (top, left) of dst
};

template <class U, int kCh, bool kAlpha>
struct Extender {
  static constexpr int kWritten = kAlpha ? 3 : kCh;

  // True when the n pixels at a and at b share a byte.
  static bool Overlap(const U* a, const U* b, int64_t n) {
    const uintptr_t pa = reinterpret_cast<uintptr_t>(a), pb = reinterpret_cast<uintptr_t>(b);
    const uintptr_t bytes = static_cast<uintptr_t>(n) * sizeof(U) * kCh;
    return pa < pb + bytes && pb < pa + bytes;
  }

  // Images given in overlapping memory (an R form whose source lies inside
  // its destination, or rows closer than their width) are moved one sample
  // at a time in order; a row already where it goes is left alone.
  static void Copy(const U* s, U* d, int64_t n) {
    if (s == d) return;
    if (!Overlap(s, d, n)) return avx2::border::CopyPixels<U, kCh, kAlpha>(s, d, n);
    for (int64_t x = 0; x < n; ++x) {
      for (int c = 0; c < kWritten; ++c) d[x * kCh + c] = s[x * kCh + c];
    }
  }
  static void Reverse(const U* s, U* d, int64_t n) {
    if (!Overlap(s - (n - 1) * kCh, d, n)) {
      return avx2::border::ReversePixels<U, kCh, kAlpha>(s, d, n);
    }
    for (int64_t x = 0; x < n; ++x) {
      for (int c = 0; c < kWritten; ++c) d[x * kCh + c] = s[c - x * kCh];
    }
  }
  // The value is taken first: it may be a pixel that the fill writes over.
  static void Fill(const U* v, U* d, int64_t n) {
    U pixel[kCh] = {};
    for (int c = 0; c < kWritten; ++c) pixel[c] = v[c];
    avx2::border::FillPixels<U, kCh, kAlpha>(pixel, d, n);
  }

  // One side of a row, the same for every row: the part next to the source
  // as up to kMaxPieces runs of the map, then the doubling copies. A part no
  // longer than one period crosses at most two turns of the map, so three
  // runs are the most it needs.
  static constexpr int kMaxPieces = 4;
  struct Piece {
    int64_t at, src, len;  // destination offset in the side, source index
    int dir;
  };
  struct Side {
    int64_t width = 0, near = 0;
    Piece pieces[kMaxPieces];
    int count = 0;
  };

  // The side of `width` pixels whose first pixel has index i0 on the source
  // axis of n_src pixels; left sides grow leftwards from the source.
  static Side Plan(border::Mode mode, int64_t n_src, int64_t width, bool left) {
    Side side;
    side.width = width;
    const int64_t period = n_src == 1 ? 0 : border::Period(mode, n_src);
    side.near = period == 0 || width <= period ? width : period;
    const int64_t i0 = left ? -side.near : n_src;
    const int64_t at0 = left ? width - side.near : 0;
    for (int64_t k = 0; k < side.near && side.count < kMaxPieces;) {
      const border::MapRun run = border::RunAt(mode, i0 + k, n_src);
      const int64_t len = run.len < side.near - k ? run.len : side.near - k;
      side.pieces[side.count++] = {at0 + k, run.src, len, run.dir};
      k += len;
    }
    return side;
  }

  // Makes one side: d is the side's first pixel, s the source row.
  static void MakeSide(const Side& side, const U* s, U* d, bool left) {
    for (int i = 0; i < side.count; ++i) {
      const Piece& p = side.pieces[i];
      const U* from = s + p.src * kCh;
      U* to = d + p.at * kCh;
      if (p.dir > 0) {
        Copy(from, to, p.len);
      } else if (p.dir < 0) {
        Reverse(from, to, p.len);
      } else {
        Fill(from, to, p.len);
      }
    }
    // The rest repeats the part made, in blocks that double each time.
    if (left) {
      int64_t start = side.width - side.near;
      for (int64_t made = side.near; start > 0;) {
        const int64_t c = made < start ? made : start;
        Copy(d + (start - c + made) * kCh, d + (start - c) * kCh, c);
        start -= c;
        made += c;
      }
    } else {
      for (int64_t made = side.near; made < side.width;) {
        const int64_t c = made < side.width - made ? made : side.width - made;
        Copy(d, d + made * kCh, c);
        made += c;
      }
    }
  }

  static void Run(const Plane& g, border::Mode mode, const U* value) {
    const int64_t right = g.dst_width - g.left - g.src_width;
    const U* src = static_cast<const U*>(g.src);
    U* dst = static_cast<U*>(g.dst);
    auto dst_row = [&](int64_t y) { return frame::RowAt(dst, g.dst_step, y); };
    if (mode == border::kConst) {
      for (int64_t y = 0; y < g.top; ++y) Fill(value, dst_row(y), g.dst_width);
      frame::WalkRows(g.src_height, [&](int64_t y) {
        U* d = dst_row(g.top + y);
        if (g.left > 0) Fill(value, d, g.left);
        if (!g.in_place) Copy(frame::RowAt(src, g.src_step, y), d + g.left * kCh, g.src_width);
        if (right > 0) Fill(value, d + (g.left + g.src_width) * kCh, right);
      });
      for (int64_t y = g.top + g.src_height; y < g.dst_height; ++y) {
        Fill(value, dst_row(y), g.dst_width);
      }
      return;
    }
    const Side left_side = Plan(mode, g.src_width, g.left, true);
    const Side right_side = Plan(mode, g.src_width, right, false);
    frame::WalkRows(g.src_height, [&](int64_t y) {
      U* d = dst_row(g.top + y);
      const U* s = frame::RowAt(src, g.src_step, y);
      if (!g.in_place) Copy(s, d + g.left * kCh, g.src_width);
      if (g.left > 0) MakeSide(left_side, s, d, true);
      if (right > 0) MakeSide(right_side, s, d + (g.left + g.src_width) * kCh, false);
    });
    auto copy_mapped_row = [&](int64_t y) {
      const int64_t sy = border::MapIndex(mode, y - g.top, g.src_height);
      Copy(dst_row(g.top + sy), dst_row(y), g.dst_width);
    };
    for (int64_t y = 0; y < g.top; ++y) copy_mapped_row(y);
    for (int64_t y = g.top + g.src_height; y < g.dst_height; ++y) copy_mapped_row(y);
  }
};

}  // namespace nyx::border_copy
