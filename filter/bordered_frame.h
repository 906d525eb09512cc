// The bordered filter frame: how a filter with a fixed-anchor mask and a
// border word splits its ROI, extends the image and uses its work buffer.
//
// Whatever path runs, every output pixel is what the kernel gives on the
// fully extended image: pixels beyond the ROI are read from memory on the
// sides whose in-memory flag is set, and made by the mode elsewhere.
//
// Paths, decided once per call:
//  - flags 0xF0: the kernel runs on the caller's memory, moved back by the
//    anchor; nothing goes through the buffer.
//  - small ROI (width not above mw, or height not above mh): the whole ROI,
//    with what it needs around it, is extended into the buffer, and the
//    kernel runs there.
//  - otherwise an interior, read straight from the caller's image, and four
//    strips (top, bottom at full width when their side is extended, left and
//    right for the remaining rows). A strip whose side is extended is made
//    from a small rectangle copied into the buffer with its border; a strip
//    whose side is in memory reads memory. The left and right strips run
//    together as one rectangle (see Sides), unless the kernel asks for them
//    one at a time.
// With mirror and a mask extent of 2 the right (bottom) strip is 2 wide, so
// that its rectangle holds the pixel to reflect.
//
// In place (source equal to destination): strips and the small-ROI copy are
// made from the untouched source first, strips are kept in the buffer; the
// interior then runs in place through a ring of Delay()+1 output rows, so
// that an output row overwrites its source row only after the last window
// that reads it; the kept strips are copied in at the end.
//
// A kernel K provides:
//   using Src, Dst; kNc (samples per pixel), kAlpha (fourth sample kept);
//   kConsumesRows: each source row is read in full before any output row
//     that overlays it is written, so that in place needs no delay;
//   int64_t Delay() const: otherwise, output row y may overwrite its source
//     row once output row y + Delay() is done (a ring of Delay()+1 rows);
//   size_t ScratchBytes(int64_t w) const: scratch for outputs w pixels wide;
//   optionally kSeparateSides = true: the left and right strips each get
//     their own rectangle, one after the other in the same place, and no
//     joined output area. A family whose buffer size holds only the larger
//     strip rectangle (not the two side by side) must set it;
//   Run(src, src_step, w, h, out, scratch, in_place): reads rows [0, h+mh-1)
//     and pixels [0, w+mw-1) from src, writes w pixels of each out.Row(y)
//     and calls out.Done(y) after row y. With in_place, it reads source row
//     y for the last time before out.Done(y).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/border/border.h"
#include "core/frame/frame.h"
#include "filter/extend_rect.h"
#include "nyx.h"

namespace nyx::filter {

using border::kInMemAll;
using border::kInMemBottom;
using border::kInMemLeft;
using border::kInMemRight;
using border::kInMemTop;

// The mask and its fixed anchor: ax columns to the left, rx to the right.
struct MaskGeom {
  int64_t mw, mh, ax, ay, rx, ry;
};

inline MaskGeom Geometry(NyxiSize mask) {
  const int64_t mw = mask.width, mh = mask.height;
  return {mw, mh, (mw - 1) / 2, (mh - 1) / 2, mw - 1 - (mw - 1) / 2, mh - 1 - (mh - 1) / 2};
}

// A decoded word: the mode (kNone for 0xF0) and the in-memory sides.
using BorderRule = border::Border;

// The border word of the integer and AC4 members: the shared decoder with
// the filters' modes (replicate, mirror, constant), then the constant.
inline NyxStatus DecodeBorder(NyxiBorderType word, const void* value, BorderRule* rule) {
  border::Border b;
  NyxStatus st = border::Decode(word, border::kFilterModes, &b);
  if (st == nyxStsNoErr) st = border::CheckValue(b, value);
  if (st == nyxStsNoErr) *rule = b;
  return st;
}

// The border word of the 32f C1, C3, C4 members: no range test; a word whose
// low four bits are 6 needs its value; then the low three bits pick mirror
// (3), replicate (1), and anything else runs as constant. A side that the
// mask does not reach counts as in memory.
inline NyxStatus DecodeBorder32f(NyxiBorderType word, const void* value, const MaskGeom& m,
                                 BorderRule* rule) {
  if ((word & 0xF) == border::kConst && value == nullptr) return nyxStsNullPtrErr;
  const uint32_t low = word & 7;
  const border::Mode mode =
      low == border::kMirror ? border::kMirror
                             : (low == border::kRepl ? border::kRepl : border::kConst);
  uint32_t flags = word & kInMemAll;
  if (m.mw == 1) flags |= kInMemLeft | kInMemRight;
  if (m.mw == 2) flags |= kInMemLeft;
  if (m.mh == 1) flags |= kInMemTop | kInMemBottom;
  if (m.mh == 2) flags |= kInMemTop;
  *rule = {mode, flags};
  return nyxStsNoErr;
}

// An output rectangle [x0, x1) x [y0, y1) in ROI pixels.
struct Region {
  int64_t x0, x1, y0, y1;
  int64_t w() const { return x1 - x0; }
  int64_t h() const { return y1 - y0; }
  bool empty() const { return x1 <= x0 || y1 <= y0; }
};

enum class Path { kDirect, kSmall, kStrips };

// How a call splits its ROI: the interior (or the whole ROI) and the strips
// top, bottom, left, right (empty ones are skipped).
struct Split {
  Path path;
  Region main;
  Region strips[4];
};

inline Split SplitRoi(int64_t W, int64_t H, const MaskGeom& m, BorderRule b) {
  Split s{};
  if (b.flags == kInMemAll) {
    s.path = Path::kDirect;
  } else if (W <= m.mw || H <= m.mh) {
    s.path = Path::kSmall;
  }
  if (b.flags == kInMemAll || W <= m.mw || H <= m.mh) {
    s.main = {0, W, 0, H};
    return s;
  }
  s.path = Path::kStrips;
  const bool mirror = b.mode == border::kMirror;
  const int64_t rs = mirror && m.mw == 2 ? 2 : m.rx;  // right strip width
  const int64_t bs = mirror && m.mh == 2 ? 2 : m.ry;  // bottom strip height
  s.main = {m.ax, W - rs, m.ay, H - bs};
  const bool top_mem = b.flags & kInMemTop, bottom_mem = b.flags & kInMemBottom;
  s.strips[0] = top_mem ? Region{m.ax, W - rs, 0, m.ay} : Region{0, W, 0, m.ay};
  s.strips[1] = bottom_mem ? Region{m.ax, W - rs, H - bs, H} : Region{0, W, H - bs, H};
  const int64_t y0 = top_mem ? 0 : m.ay, y1 = bottom_mem ? H : H - bs;
  s.strips[2] = {0, m.ax, y0, y1};
  s.strips[3] = {W - rs, W, y0, y1};
  return s;
}

// The source rectangle a region reads, and the part of it that is real
// (inside the ROI, or beyond it on an in-memory side).
struct SourceRect {
  int64_t x0, x1, y0, y1;      // needed
  int64_t rx0, rx1, ry0, ry1;  // real
  bool extended() const { return rx0 != x0 || rx1 != x1 || ry0 != y0 || ry1 != y1; }
  int64_t w() const { return x1 - x0; }
  int64_t h() const { return y1 - y0; }
};

inline SourceRect SourceOf(const Region& r, int64_t W, int64_t H, const MaskGeom& m,
                           unsigned flags) {
  SourceRect s;
  s.x0 = r.x0 - m.ax;
  s.x1 = r.x1 + m.rx;
  s.y0 = r.y0 - m.ay;
  s.y1 = r.y1 + m.ry;
  s.rx0 = (flags & kInMemLeft) || s.x0 >= 0 ? s.x0 : 0;
  s.rx1 = (flags & kInMemRight) || s.x1 <= W ? s.x1 : W;
  s.ry0 = (flags & kInMemTop) || s.y0 >= 0 ? s.y0 : 0;
  s.ry1 = (flags & kInMemBottom) || s.y1 <= H ? s.y1 : H;
  return s;
}

// ---------------------------------------------------------------------------
// The work buffer. One routine measures and carves: the block starts at the
// caller's pointer aligned up to 64; then kernel scratch, the rectangle of
// extended pixels, the kept strips (in place) and the output ring (in place,
// kernels with a delay). Every part starts at a multiple of 32 bytes.

struct BufferPlan {
  size_t scratch, rect, sides, kept, ring, end;  // byte offsets from the aligned start
  int64_t ring_pitch;                            // bytes of one ring row
};

inline size_t Align32(size_t n) { return (n + 31) & ~size_t{31}; }

// The left and right strips run as one rectangle: the left strip's source
// columns, then the right strip's, side by side. Of its outputs, the first
// ax are the left strip, the last rs the right strip; the mw-1 windows that
// straddle the seam are made and dropped.
struct Sides {
  SourceRect left, right;
  int64_t out_w;  // outputs of the joined rectangle
};

inline Sides SidesOf(const Split& s, int64_t W, int64_t H, const MaskGeom& m, unsigned flags) {
  Sides d;
  d.left = SourceOf(s.strips[2], W, H, m, flags);
  d.right = SourceOf(s.strips[3], W, H, m, flags);
  d.out_w = d.left.w() + d.right.w() - (m.mw - 1);
  return d;
}

// Whether K sets kSeparateSides (absent means joined).
template <class K>
inline constexpr bool kSeparateSides = requires { requires K::kSeparateSides; };

template <class K>
bool JoinSides(const Split& s) {
  return !kSeparateSides<K> && s.path == Path::kStrips && !s.strips[2].empty() &&
         !s.strips[3].empty();
}

template <class K>
BufferPlan PlanBuffer(const K& k, const Split& s, int64_t W, int64_t H, const MaskGeom& m,
                      unsigned flags, bool in_place) {
  using Src = typename K::Src;
  using Dst = typename K::Dst;
  constexpr int64_t nc = K::kNc;
  int64_t rect = 0, kept = 0, sides = 0, widest = W;
  if (s.path == Path::kSmall) {
    rect = (W + m.mw - 1) * (H + m.mh - 1);
  } else if (s.path == Path::kStrips) {
    for (int i = 0; i < 4; ++i) {
      const Region& r = s.strips[i];
      if (r.empty()) continue;
      if (in_place) kept += r.w() * r.h();
      const SourceRect src = SourceOf(r, W, H, m, flags);
      if (i < 2 && src.extended() && src.w() * src.h() > rect) rect = src.w() * src.h();
    }
    if (JoinSides<K>(s)) {
      const Sides d = SidesOf(s, W, H, m, flags);
      const int64_t joined = (d.left.w() + d.right.w()) * d.left.h();
      if (joined > rect) rect = joined;
      sides = d.out_w * s.strips[2].h();
      if (d.out_w > widest) widest = d.out_w;
    } else {
      for (int i = 2; i < 4; ++i) {
        const SourceRect src = SourceOf(s.strips[i], W, H, m, flags);
        if (!s.strips[i].empty() && src.extended() && src.w() * src.h() > rect)
          rect = src.w() * src.h();
      }
    }
  }
  BufferPlan p{};
  p.scratch = 0;
  p.rect = Align32(k.ScratchBytes(widest));
  p.sides = p.rect + Align32(static_cast<size_t>(rect * nc) * sizeof(Src));
  p.kept = p.sides + Align32(static_cast<size_t>(sides * nc) * sizeof(Dst));
  p.ring = p.kept + Align32(static_cast<size_t>(kept * nc) * sizeof(Dst));
  const bool ring = in_place && s.path != Path::kSmall && !K::kConsumesRows;
  p.ring_pitch = static_cast<int64_t>(Align32(static_cast<size_t>(s.main.w() * nc) * sizeof(Dst)));
  p.end = p.ring + (ring ? static_cast<size_t>(p.ring_pitch * (k.Delay() + 1)) : 0);
  return p;
}

// ---------------------------------------------------------------------------
// Where a kernel writes its output rows.

template <class Dst>
struct DirectRows {
  Dst* base;
  int64_t step;
  Dst* Row(int64_t y) const { return frame::RowAt(base, step, y); }
  void Done(int64_t) const {}
  void Finish(int64_t) const {}
};

// Copies w pixels; AC4 keeps the destination's fourth sample.
template <class T, int kNc, bool kAlpha>
inline void CopyPixels(const T* s, T* d, int64_t w) {
  if constexpr (kAlpha) {
    for (int64_t x = 0; x < w; ++x) {
      d[4 * x] = s[4 * x];
      d[4 * x + 1] = s[4 * x + 1];
      d[4 * x + 2] = s[4 * x + 2];
    }
  } else {
    std::memcpy(d, s, static_cast<size_t>(w * kNc) * sizeof(T));
  }
}

// The in-place delay: row y goes to a ring slot, and once row y + delay is
// made, row y is copied into the image.
template <class Dst, int kNc, bool kAlpha>
struct RingRows {
  uint8_t* ring;
  int64_t pitch, slots;
  Dst* image;
  int64_t step, w;
  Dst* Row(int64_t y) const { return reinterpret_cast<Dst*>(ring + (y % slots) * pitch); }
  void Done(int64_t y) const {
    if (y >= slots - 1) Flush(y - (slots - 1));
  }
  void Finish(int64_t h) const {
    for (int64_t y = h - (slots - 1) < 0 ? 0 : h - (slots - 1); y < h; ++y) Flush(y);
  }
  void Flush(int64_t y) const {
    CopyPixels<Dst, kNc, kAlpha>(Row(y), frame::RowAt(image, step, y), w);
  }
};

// ---------------------------------------------------------------------------
// The frame proper.

template <class K>
struct BorderedCall {
  using Src = typename K::Src;
  using Dst = typename K::Dst;
  static constexpr int kNc = K::kNc;

  const K& k;
  const Src* src;
  int64_t src_step;
  Dst* dst;
  int64_t dst_step;
  int64_t W, H;
  MaskGeom m;
  BorderRule b;
  const Src* value;  // kNc samples (mode 6 only)
  uint8_t* buf;      // aligned start
  BufferPlan plan;
  bool in_place;

  // Copies the source rectangle s, extended where it is not real, to rect.
  void Extend(const SourceRect& s, Src* rect, int64_t step) const {
    ExtendRect(frame::RowAt(src, src_step, s.ry0) + s.rx0 * kNc, src_step, rect, step,
               s.rx1 - s.rx0, s.ry1 - s.ry0, kNc, s.ry0 - s.y0, s.rx0 - s.x0, s.w(), s.h(), b.mode,
               value);
  }

  // Pointer to the first pixel a region reads, and its stride: the caller's
  // memory, or the rectangle extended into the buffer.
  const Src* Prepare(const Region& r, bool force_copy, int64_t* step) const {
    const SourceRect s = SourceOf(r, W, H, m, b.flags);
    if (!force_copy && !s.extended()) {
      *step = src_step;
      return frame::RowAt(src, src_step, s.y0) + s.x0 * kNc;
    }
    Src* rect = reinterpret_cast<Src*>(buf + plan.rect);
    *step = s.w() * kNc * static_cast<int64_t>(sizeof(Src));
    Extend(s, rect, *step);
    return rect;
  }

  // The left and right strips through one joined rectangle; their pixels go
  // to `left` and `right` with stride `step`.
  void RunSides(const Split& s, Dst* left, Dst* right, int64_t left_step,
                int64_t right_step) const {
    const Sides d = SidesOf(s, W, H, m, b.flags);
    Src* rect = reinterpret_cast<Src*>(buf + plan.rect);
    const int64_t step = (d.left.w() + d.right.w()) * kNc * static_cast<int64_t>(sizeof(Src));
    Extend(d.left, rect, step);
    Extend(d.right, rect + d.left.w() * kNc, step);
    Dst* joined = reinterpret_cast<Dst*>(buf + plan.sides);
    const int64_t out_step = d.out_w * kNc * static_cast<int64_t>(sizeof(Dst));
    DirectRows<Dst> out{joined, out_step};
    const int64_t h = s.strips[2].h(), lw = s.strips[2].w(), rw = s.strips[3].w();
    k.Run(rect, step, d.out_w, h, out, buf + plan.scratch, false);
    for (int64_t y = 0; y < h; ++y) {
      const Dst* row = frame::RowAt(joined, out_step, y);
      CopyPixels<Dst, kNc, K::kAlpha>(row, frame::RowAt(left, left_step, y), lw);
      CopyPixels<Dst, kNc, K::kAlpha>(row + d.left.w() * kNc, frame::RowAt(right, right_step, y),
                                      rw);
    }
  }

  // overlay: the output rows are the source rows (the interior in place).
  template <class Out>
  void RunRegion(const Region& r, bool force_copy, Out& out, bool overlay = false) const {
    int64_t step = 0;
    const Src* s = Prepare(r, force_copy, &step);
    k.Run(s, step, r.w(), r.h(), out, buf + plan.scratch, overlay);
    out.Finish(r.h());
  }

  // The interior (or the whole ROI read from memory), in place through the
  // ring when the kernel needs a delay.
  void RunMain(const Region& r) const {
    Dst* d = frame::RowAt(dst, dst_step, r.y0) + r.x0 * kNc;
    if (in_place && !K::kConsumesRows) {
      RingRows<Dst, kNc, K::kAlpha> out{
          buf + plan.ring, plan.ring_pitch, k.Delay() + 1, d, dst_step, r.w()};
      RunRegion(r, false, out, true);
    } else {
      DirectRows<Dst> out{d, dst_step};
      RunRegion(r, false, out, in_place);
    }
  }

  void Run(const Split& s) const {
    if (s.path == Path::kSmall) {
      DirectRows<Dst> out{dst, dst_step};
      RunRegion(s.main, true, out);
      return;
    }
    if (s.path == Path::kDirect) {
      RunMain(s.main);
      return;
    }
    if (in_place) {
      RunStripsInPlace(s);
      return;
    }
    const bool join = JoinSides<K>(s);
    auto at_image = [&](const Region& r) { return frame::RowAt(dst, dst_step, r.y0) + r.x0 * kNc; };
    RunMain(s.main);
    for (int i = 0; i < (join ? 2 : 4); ++i) {
      const Region& r = s.strips[i];
      if (r.empty()) continue;
      DirectRows<Dst> out{at_image(r), dst_step};
      RunRegion(r, false, out);
    }
    if (join) RunSides(s, at_image(s.strips[2]), at_image(s.strips[3]), dst_step, dst_step);
  }

  // Strips from the untouched source into the buffer, then the interior in
  // place, then the strips into the image.
  void RunStripsInPlace(const Split& s) const {
    const bool join = JoinSides<K>(s);
    Dst* kept[4] = {};
    int64_t kept_step[4] = {};
    Dst* at = reinterpret_cast<Dst*>(buf + plan.kept);
    for (int i = 0; i < 4; ++i) {
      kept[i] = at;
      kept_step[i] = s.strips[i].w() * kNc * static_cast<int64_t>(sizeof(Dst));
      at += s.strips[i].w() * s.strips[i].h() * kNc;
    }
    for (int i = 0; i < (join ? 2 : 4); ++i) {
      if (s.strips[i].empty()) continue;
      DirectRows<Dst> out{kept[i], kept_step[i]};
      RunRegion(s.strips[i], false, out);
    }
    if (join) RunSides(s, kept[2], kept[3], kept_step[2], kept_step[3]);
    RunMain(s.main);
    for (int i = 0; i < 4; ++i) {
      const Region& r = s.strips[i];
      for (int64_t y = 0; y < r.h() && !r.empty(); ++y) {
        CopyPixels<Dst, kNc, K::kAlpha>(frame::RowAt(kept[i], kept_step[i], y),
                                        frame::RowAt(dst, dst_step, r.y0 + y) + r.x0 * kNc, r.w());
      }
    }
  }
};

inline uint8_t* AlignBuffer(uint8_t* p) {
  const uintptr_t a = reinterpret_cast<uintptr_t>(p);
  return reinterpret_cast<uint8_t*>(a + ((0 - a) & 63));
}

// Runs kernel k over the ROI with the border rule; `value` holds kNc samples.
template <class K>
void RunBordered(const K& k, const typename K::Src* src, int src_step, typename K::Dst* dst,
                 int dst_step, NyxiSize roi, const MaskGeom& m, BorderRule b,
                 const typename K::Src* value, uint8_t* buffer) {
  using Src = typename K::Src;
  using Dst = typename K::Dst;
  const bool in_place =
      std::is_same_v<Src, Dst> && static_cast<const void*>(src) == static_cast<const void*>(dst);
  const Split s = SplitRoi(roi.width, roi.height, m, b);
  const BufferPlan plan = PlanBuffer(k, s, roi.width, roi.height, m, b.flags, in_place);
  BorderedCall<K> call{k,
                       src,
                       src_step,
                       dst,
                       dst_step,
                       roi.width,
                       roi.height,
                       m,
                       b,
                       value,
                       AlignBuffer(buffer),
                       plan,
                       in_place};
  call.Run(s);
}

// Bytes a call uses from the start of the caller's buffer, at worst.
template <class K>
size_t BytesUsed(const K& k, NyxiSize roi, const MaskGeom& m, BorderRule b, bool in_place) {
  const Split s = SplitRoi(roi.width, roi.height, m, b);
  return 63 + PlanBuffer(k, s, roi.width, roi.height, m, b.flags, in_place).end;
}

}  // namespace nyx::filter
