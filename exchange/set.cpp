// nyxiSet: fill an image, a channel of it, or its masked pixels with a value.
//
// Null, then size; no stride test (zero and negative strides are walked as
// given). C1, C3 and C4 fill a repeated pattern of one pixel's bytes: rows
// merge into one run when the stride equals the row's bytes, and from the size
// of the largest cache on the fill writes around the cache. Whether width
// times height fits 32 bits is decided by leading-zero counts: a sum of 33 or
// more proves it, anything else takes the streaming path at once. AC4 leaves
// the fourth sample, CR forms write one channel, MR forms write the pixels
// whose mask sample is not zero. Samples of the same width share one fill.
#include "exchange/set.h"

#include "core/simd/vec.h"
#include "exchange/copy_forms.h"
#include "exchange/copy_frame.h"
#include "exchange/copy_kernels.h"

namespace nyx::set {
namespace {

using copy::AsBits;
using copy::Bits;
using frame::Layout;

template <bool kStream>
void FillRows(uint8_t* dst, int64_t step, size_t n, int64_t height, const avx2::Pattern& pat) {
  frame::WalkRows(
      height, [&](int64_t y) { avx2::FillPattern<kStream>(frame::RowAt(dst, step, y), n, pat); });
  if constexpr (kStream) avx2::StoreFence();
}

// One pixel of `pixel_bytes` bytes repeated over width by height pixels.
void FillImage(const uint8_t* value, int pixel_bytes, uint8_t* dst, int step, NyxiSize roi) {
  const avx2::Pattern pat = avx2::MakePattern(value, pixel_bytes);
  const uint32_t n = static_cast<uint32_t>(roi.width) * static_cast<uint32_t>(pixel_bytes);
  const uint32_t h = static_cast<uint32_t>(roi.height);
  if (__builtin_clz(n | 1) + __builtin_clz(h) < 33) return FillRows<true>(dst, step, n, h, pat);
  const int64_t total = static_cast<int64_t>(n) * h;
  const bool stream = total >= 0x600001 && copy::AtLeastCacheShare(total, 1);
  if (step == static_cast<int64_t>(n)) {
    return stream ? FillRows<true>(dst, 0, total, 1, pat) : FillRows<false>(dst, 0, total, 1, pat);
  }
  if (stream) return FillRows<true>(dst, step, n, h, pat);
  FillRows<false>(dst, step, n, h, pat);
}

// AC4: three samples of every pixel take the value, the fourth stays.
// `lanes` repeats the pixel over a vector and three more samples: vector
// blocks start at a multiple of four samples, single lanes at any offset.
template <class U>
void FillAlphaRow(U* d, size_t n, const U* lanes) {
  avx2::ForEachBlock<U>(n, [&]<template <class> class V>(size_t i) {
    const V<U> keep = avx2::AlphaLanes<V<U>>(i);
    StoreU(avx2::IfThenElse(keep, V<U>::LoadU(d + i), V<U>::LoadU(lanes + (i & 3))), d + i);
  });
}

// kCh samples of value at every pixel of kStride samples whose mask is set
// (kMasked) or at every pixel.
template <class U, int kCh, int kStride, bool kMasked>
void FillSamples(const U* v, U* dst, int step, NyxiSize roi, const uint8_t* mask, int mask_step) {
  frame::WalkRows(roi.height, [&](int64_t y) {
    U* d = frame::RowAt(dst, step, y);
    const uint8_t* m = kMasked ? frame::RowAt(mask, mask_step, y) : nullptr;
    for (int x = 0; x < roi.width; ++x, d += kStride) {
      if (kMasked && m[x] == 0) continue;
      for (int c = 0; c < kCh; ++c) d[c] = v[c];
    }
  });
}

template <class T, Layout L>
NyxStatus Set(const T* value, T* dst, int step, NyxiSize roi) {
  if (frame::AnyNull(value, dst)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  if constexpr (L == Layout::kAC4) {
    using U = Bits<T>;
    constexpr size_t kLanes = 32 / sizeof(U) + 3;
    U lanes[kLanes];
    for (size_t k = 0; k < kLanes; ++k) lanes[k] = (k & 3) == 3 ? 0 : AsBits(value)[k & 3];
    const size_t n = static_cast<size_t>(roi.width) * 4;
    frame::WalkRows(roi.height,
                    [&](int64_t y) { FillAlphaRow(AsBits(frame::RowAt(dst, step, y)), n, lanes); });
  } else {
    FillImage(copy::AsBytes(value), frame::kChannels<L> * sizeof(T), copy::AsBytes(dst), step, roi);
  }
  return nyxStsNoErr;
}

// Channel of interest: one sample a pixel at the pixel's step.
template <class T, int kStride>
NyxStatus SetChannel(T value, T* dst, int step, NyxiSize roi) {
  if (frame::AnyNull(dst)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  const Bits<T> v = AsBits(&value)[0];
  FillSamples<Bits<T>, 1, kStride, false>(&v, AsBits(dst), step, roi, nullptr, 0);
  return nyxStsNoErr;
}

template <class T, Layout L>
NyxStatus SetMasked(const T* value, T* dst, int step, NyxiSize roi, const uint8_t* mask,
                    int mask_step) {
  if (frame::AnyNull(value, dst, mask)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  constexpr int kStride = frame::kChannels<L>;
  constexpr int kCh = L == Layout::kAC4 ? 3 : kStride;
  FillSamples<Bits<T>, kCh, kStride, true>(AsBits(value), AsBits(dst), step, roi, mask, mask_step);
  return nyxStsNoErr;
}

}  // namespace
}  // namespace nyx::set

#define NYX_SET_L(T, D) nyx::set::Set<Nyx##T, nyx::frame::Layout::k##D>
#define NYX_SET_M(T, D) nyx::set::SetMasked<Nyx##T, nyx::frame::Layout::k##D>
#define NYX_EMIT_SET_N(T, D, N)                                                   \
  NYX_ENTRY(NyxStatus, nyxiSet_##T##_##D##R,                                      \
            (const Nyx##T value[N], Nyx##T* pDst, int dstStep, NyxiSize roiSize), \
            (value, pDst, dstStep, roiSize)) {                                    \
    return NYX_SET_L(T, D)(value, pDst, dstStep, roiSize);                        \
  }                                                                               \
  NYX_ENTRY(NyxStatus, nyxiSet_##T##_##D##MR,                                     \
            (const Nyx##T value[N], Nyx##T* pDst, int dstStep, NyxiSize roiSize,  \
             const Nyx8u* pMask, int maskStep),                                   \
            (value, pDst, dstStep, roiSize, pMask, maskStep)) {                   \
    return NYX_SET_M(T, D)(value, pDst, dstStep, roiSize, pMask, maskStep);       \
  }
#define NYX_EMIT_SET_CR(T, N)                                              \
  NYX_ENTRY(NyxStatus, nyxiSet_##T##_C##N##CR,                             \
            (Nyx##T value, Nyx##T * pDst, int dstStep, NyxiSize roiSize),  \
            (value, pDst, dstStep, roiSize)) {                             \
    return nyx::set::SetChannel<Nyx##T, N>(value, pDst, dstStep, roiSize); \
  }
#define NYX_EMIT_SET(T)                                                                      \
  NYX_ENTRY(NyxStatus, nyxiSet_##T##_C1R,                                                    \
            (Nyx##T value, Nyx##T * pDst, int dstStep, NyxiSize roiSize),                    \
            (value, pDst, dstStep, roiSize)) {                                               \
    return NYX_SET_L(T, C1)(&value, pDst, dstStep, roiSize);                                 \
  }                                                                                          \
  NYX_ENTRY(NyxStatus, nyxiSet_##T##_C1MR,                                                   \
            (Nyx##T value, Nyx##T * pDst, int dstStep, NyxiSize roiSize, const Nyx8u* pMask, \
             int maskStep),                                                                  \
            (value, pDst, dstStep, roiSize, pMask, maskStep)) {                              \
    return NYX_SET_M(T, C1)(&value, pDst, dstStep, roiSize, pMask, maskStep);                \
  }                                                                                          \
  NYX_EMIT_SET_N(T, C3, 3)                                                                   \
  NYX_EMIT_SET_N(T, C4, 4) NYX_EMIT_SET_N(T, AC4, 3) NYX_EMIT_SET_CR(T, 3) NYX_EMIT_SET_CR(T, 4)

NYX_COPY_TYPES(NYX_EMIT_SET)
