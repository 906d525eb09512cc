// Shared frame pieces of the conversion family: argument tests, the row walk
// with merging of contiguous rows, and the control-word scope of the float
// paths.
#pragma once

#include <cstdint>

#include "core/entry/entry.h"
#include "core/fpenv/mxcsr.h"
#include "core/frame/frame.h"
#include "exchange/convert_kernels.h"

namespace nyx::cvt {

using frame::Layout;

template <Layout L>
inline constexpr bool kRoutesToC1 = L == Layout::kC3 || L == Layout::kC4;

// Bits of the control and status word.
inline constexpr unsigned kInvalidFlag = 0x0001;
inline constexpr unsigned kInvalidMask = 0x0080;
inline constexpr unsigned kFlagBits = 0x003F;

// Sets bits of the control word for the life of the object and then puts the
// caller's whole word back, status flags included: a conversion neither
// changes the caller's rounding nor leaves flags of its own behind (nor loses
// one the caller had, which matters where the kernel clears a flag to read
// it afterwards). Flush-to-zero and denormals-are-zero are always cleared, so
// results do not depend on them.
class FpWord {
 public:
  FpWord(unsigned value, unsigned mask) : saved_(ps_get_ssx()) {
    ps_set_ssx(value, mask | kMxcsrFlushZero);
  }
  // Keeps the caller's control bits as they are (the current rounding mode
  // stands); only the flags are put back at the end.
  FpWord() : saved_(ps_get_ssx()) {}
  ~FpWord() { _mm_setcsr(saved_); }
  FpWord(const FpWord&) = delete;
  FpWord& operator=(const FpWord&) = delete;

  bool InvalidRaised() const { return (ps_get_ssx() & kInvalidFlag) != 0; }

 private:
  unsigned saved_;
};

// A float value that the compiler must take as produced here, so that its
// uses (arithmetic on constants in a frame) stay after a change of the
// control word instead of being evaluated early under the caller's mode.
template <class F>
inline F Pin(F v) {
  asm volatile("" : "+x"(v));
  return v;
}

// Null, size, stride below 1: the order of nyxiConvert, nyxiScale and
// nyxiScaleC.
template <class S, class D>
inline NyxStatus CheckImages(const S* src, int src_step, const D* dst, int dst_step, NyxiSize roi) {
  if (frame::AnyNull(src, dst)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  if (src_step < 1 || dst_step < 1) return nyxStsStepErr;
  return nyxStsNoErr;
}

template <class S, class D, class Op>
using RowFn = void (*)(const S*, D*, size_t, Op);

// Runs one row kernel over the ROI (width counted in samples of `channels`).
// Rows merge into one when each stride equals its row's bytes.
template <class S, class D, class Op>
inline void Walk(RowFn<S, D, Op> row, Op op, const S* src, int src_step, D* dst, int dst_step,
                 NyxiSize roi, int channels) {
  const int64_t n = static_cast<int64_t>(roi.width) * channels;
  if (src_step == n * static_cast<int64_t>(sizeof(S)) &&
      dst_step == n * static_cast<int64_t>(sizeof(D))) {
    row(src, dst, static_cast<size_t>(n * roi.height), op);
    return;
  }
  frame::WalkRows(roi.height, [&](int64_t y) {
    row(frame::RowAt(src, src_step, y), frame::RowAt(dst, dst_step, y), static_cast<size_t>(n), op);
  });
}

template <class S, class D, class W, class Op, Layout L, bool kStream = false>
inline void Map(Op op, const S* src, int src_step, D* dst, int dst_step, NyxiSize roi) {
  constexpr bool kAlpha = L == Layout::kAC4;
  Walk<S, D, Op>(&avx2::MapRow<S, D, W, Op, kAlpha, kStream>, op, src, src_step, dst, dst_step, roi,
                 frame::kChannels<L>);
}

// The same, with non-temporal stores when `stream` says so.
template <class S, class D, class W, class Op, Layout L>
inline void MapMaybeStreaming(bool stream, Op op, const S* src, int src_step, D* dst, int dst_step,
                              NyxiSize roi) {
  if (stream)
    Map<S, D, W, Op, L, true>(op, src, src_step, dst, dst_step, roi);
  else
    Map<S, D, W, Op, L, false>(op, src, src_step, dst, dst_step, roi);
}

inline int64_t PixelsOf(NyxiSize roi) { return static_cast<int64_t>(roi.width) * roi.height; }

// Non-temporal stores pay off once the traffic of a call (source plus
// destination bytes) passes the largest cache; below that, stores that stay
// in the cache are faster (and leave the output warm for its reader). The
// question goes to the core library only from 32 MiB of traffic: the cache
// query can cost tens of microseconds (a trapped CPUID under a hypervisor),
// which only a call that large hides.
inline bool TrafficPassesCache(int64_t pixels, int bytes_per_pixel) {
  const int64_t traffic = pixels * bytes_per_pixel;
  if (traffic < (int64_t{32} << 20)) return false;
  int cache = 0;
  if (nyxGetMaxCacheSizeB(&cache) != nyxStsNoErr) return false;
  return traffic >= cache;
}

}  // namespace nyx::cvt
