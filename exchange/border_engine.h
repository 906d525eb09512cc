// The extension of one plane: the source rectangle goes to (top, left) of a
// larger destination and the frame around it is made by a border mode.
//
// Each source row becomes a destination row built as left border, source
// row, right border, in one visit while its lines are in cache. The rows
// above and below are whole-row copies of the destination rows they map to
// (Repl, Wrap, Mirror, MirrorR), made as soon as those rows are, or fills
// (Const: one filled row, then copies of it). A border pixel is read from the source row or from pixels of
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

#include <algorithm>
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

  static constexpr size_t kBytes = sizeof(U) * kCh;

  // True when the n pixels at a and at b share a byte.
  static NYX_INLINE bool Overlap(const U* a, const U* b, int64_t n) {
    const uintptr_t pa = reinterpret_cast<uintptr_t>(a), pb = reinterpret_cast<uintptr_t>(b);
    const uintptr_t bytes = static_cast<uintptr_t>(n) * kBytes;
    return pa < pb + bytes && pb < pa + bytes;
  }

  // Images given in overlapping memory (an R form whose source lies inside
  // its destination, or rows closer than their width) are moved one sample
  // at a time in order; a row already where it goes is left alone.
  [[gnu::noinline]] static void CopyInOrder(const U* s, U* d, int64_t n) {
    for (int64_t x = 0; x < n; ++x) {
      for (int c = 0; c < kWritten; ++c) d[x * kCh + c] = s[x * kCh + c];
    }
  }
  [[gnu::noinline]] static void ReverseInOrder(const U* s, U* d, int64_t n) {
    for (int64_t x = 0; x < n; ++x) {
      for (int c = 0; c < kWritten; ++c) d[x * kCh + c] = s[c - x * kCh];
    }
  }
  static NYX_INLINE void Copy(const U* s, U* d, int64_t n) {
    if (s == d) return;
    if (Overlap(s, d, n)) return CopyInOrder(s, d, n);
    avx2::border::CopyPixels<U, kCh, kAlpha>(s, d, n);
  }
  static NYX_INLINE void Reverse(const U* s, U* d, int64_t n) {
    if (Overlap(s - (n - 1) * kCh, d, n)) return ReverseInOrder(s, d, n);
    avx2::border::ReversePixels<U, kCh, kAlpha>(s, d, n);
  }
  // The value is taken first: it may be a pixel that the fill writes over.
  static NYX_INLINE void Fill(const U* v, U* d, int64_t n) {
    if constexpr (kAlpha) {
      U pixel[kCh] = {};
      for (int c = 0; c < kWritten; ++c) pixel[c] = v[c];
      avx2::border::FillPixels<U, kCh, kAlpha>(pixel, d, n);
    } else {
      avx2::border::FillPixels<U, kCh, kAlpha>(v, d, n);  // reads v before writing
    }
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
  static NYX_INLINE void MakeSide(const Side& side, const U* s, U* d, bool left) {
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

  // True when the destination rows are apart and the source lies outside
  // the destination (or is its own rectangle, in place): then no write can
  // change a pixel read later, and rows may be made in any order.
  static bool Disjoint(const Plane& g) {
    const int64_t dst_bytes = g.dst_width * static_cast<int64_t>(kBytes);
    if (g.dst_step < dst_bytes) return false;
    if (g.in_place) return true;
    const int64_t src_bytes = g.src_width * static_cast<int64_t>(kBytes);
    const uintptr_t s0 = reinterpret_cast<uintptr_t>(g.src);
    const uintptr_t s1 = s0 + static_cast<uintptr_t>((g.src_height - 1) * g.src_step + src_bytes);
    const uintptr_t d0 = reinterpret_cast<uintptr_t>(g.dst);
    const uintptr_t d1 = d0 + static_cast<uintptr_t>((g.dst_height - 1) * g.dst_step + dst_bytes);
    return s1 <= d0 || d1 <= s0;
  }

  // Asks for the lines of a destination row to be brought into cache ahead
  // of the row's stores (a write prefetch where the target has one), so the
  // stores of the row in hand do not wait for each line in turn.
  // Only short rows gain: a long row's copy streams well on its own, and a
  // row's worth of prefetches ahead of it competes with it.
  static constexpr int64_t kPrefetchBytes = 4096;
  static NYX_INLINE void PrefetchRow(const U* d, int64_t n) {
    const char* p = reinterpret_cast<const char*>(d);
    const int64_t bytes = n * static_cast<int64_t>(kBytes);
    if (bytes > kPrefetchBytes) return;
    for (int64_t b = 0; b < bytes; b += 64) __builtin_prefetch(p + b, 1, 3);
  }

  // Const: top rows, then each source row with its fills, then bottom rows.
  // With apart rows a block of fill rows is one filled row and copies of it
  // (a copy of a row in cache writes whole lines without reading them).
  static void RunConst(const Plane& g, const U* value) {
    const int64_t right = g.dst_width - g.left - g.src_width;
    const U* src = static_cast<const U*>(g.src);
    U* dst = static_cast<U*>(g.dst);
    auto dst_row = [&](int64_t y) { return frame::RowAt(dst, g.dst_step, y); };
    const bool apart = g.dst_step >= g.dst_width * static_cast<int64_t>(kBytes);
    // The value's pattern, built once (and so taken before anything is written).
    avx2::border::Pattern pat{};
    if constexpr (!kAlpha) pat = avx2::border::BuildPattern<kBytes>(value);
    auto fill = [&](U* d, int64_t n) {
      if constexpr (kAlpha) {
        Fill(value, d, n);
      } else {
        avx2::border::FillFromPattern(pat, reinterpret_cast<uint8_t*>(d),
                                      static_cast<size_t>(n) * kBytes);
      }
    };
    auto fill_rows = [&](int64_t y0, int64_t y1) {
      for (int64_t y = y0; y < y1; ++y) {
        if (apart && y > y0) {
          Copy(dst_row(y0), dst_row(y), g.dst_width);
        } else {
          fill(dst_row(y), g.dst_width);
        }
      }
    };
    fill_rows(0, g.top);
    for (int64_t y = 0; y < g.src_height; ++y) {
      U* d = dst_row(g.top + y);
      if (y + 1 < g.src_height) PrefetchRow(dst_row(g.top + y + 1), g.dst_width);
      if (g.left > 0) fill(d, g.left);
      if (!g.in_place) Copy(frame::RowAt(src, g.src_step, y), d + g.left * kCh, g.src_width);
      if (right > 0) fill(d + (g.left + g.src_width) * kCh, right);
    }
    fill_rows(g.top + g.src_height, g.dst_height);
  }

  // The rows above and below are copies of made rows. Each block is made
  // right after the last source row it maps to, while the rows it reads are
  // still in cache (above a Mirror source, say, after row `top`), when the
  // rows may be made in any order; otherwise both after the source rows.
  static void Run(const Plane& g, border::Mode mode, const U* value) {
    if (mode == border::kConst) return RunConst(g, value);
    const int64_t right = g.dst_width - g.left - g.src_width;
    const int64_t bottom_from = g.top + g.src_height;
    const U* src = static_cast<const U*>(g.src);
    U* dst = static_cast<U*>(g.dst);
    auto dst_row = [&](int64_t y) { return frame::RowAt(dst, g.dst_step, y); };
    auto mapped = [&](int64_t y) { return border::MapIndex(mode, y - g.top, g.src_height); };
    auto copy_rows = [&](int64_t y0, int64_t y1) {
      for (int64_t y = y0; y < y1; ++y) Copy(dst_row(g.top + mapped(y)), dst_row(y), g.dst_width);
    };
    int64_t top_after = g.src_height - 1, bottom_after = g.src_height - 1;
    if (Disjoint(g)) {
      top_after = bottom_after = 0;
      for (int64_t y = 0; y < g.top; ++y) top_after = std::max(top_after, mapped(y));
      for (int64_t y = bottom_from; y < g.dst_height; ++y) {
        bottom_after = std::max(bottom_after, mapped(y));
      }
    }
    const Side left_side = Plan(mode, g.src_width, g.left, true);
    const Side right_side = Plan(mode, g.src_width, right, false);
    for (int64_t y = 0; y < g.src_height; ++y) {
      U* d = dst_row(g.top + y);
      const U* s = frame::RowAt(src, g.src_step, y);
      if (y + 1 < g.src_height) PrefetchRow(dst_row(g.top + y + 1), g.dst_width);
      if (!g.in_place) Copy(s, d + g.left * kCh, g.src_width);
      if (g.left > 0) MakeSide(left_side, s, d, true);
      if (right > 0) MakeSide(right_side, s, d + (g.left + g.src_width) * kCh, false);
      if (y == top_after) copy_rows(0, g.top);
      if (y == bottom_after) copy_rows(bottom_from, g.dst_height);
    }
  }
};

}  // namespace nyx::border_copy
