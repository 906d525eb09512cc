// Window sums with no border: nyxiSumWindowRow, nyxiSumWindowColumn (sums of
// maskSize samples starting `anchor` samples before the output position,
// as 32-bit floats) and nyxiFilterBox_64f_C1R (the mean of a mask at the
// caller's anchor, in doubles). The caller's source holds all they read.
//
// Row: the exact integer sum, converted to float once.
// Column: the first output row is the float sum of maskSize samples, added
// top to bottom; every next row is the row above plus (float)(entering
// sample - leaving sample), the integers subtracted first. The running value
// is the destination row above, so an inexact float stays so down the column.
// Box 64f: horizontal sums added left to right, mh of them added top to
// bottom, times 1.0 / (mw * mh).
#include <cstdint>

#include "core/entry/entry.h"
#include "core/frame/frame.h"
#include "core/simd/vec.h"
#include "filter/box_forms.h"

namespace nyx::box1d {
namespace {

using frame::Layout;

inline avx2::Vec<float> ToFloat(avx2::Vec<int32_t> v) { return {_mm256_cvtepi32_ps(v.raw)}; }
inline avx2::Lane<float> ToFloat(avx2::Lane<int32_t> v) { return {static_cast<float>(v.raw)}; }

template <class T, Layout L>
NyxStatus Row(const T* src, int ss, float* dst, int ds, NyxiSize roi, int mask, int anchor) {
  if (frame::AnyNull(src, dst)) return nyxStsNullPtrErr;
  if (mask < 1) return nyxStsMaskSizeErr;
  if (static_cast<unsigned>(anchor) >= static_cast<unsigned>(mask)) return nyxStsAnchorErr;
  if (roi.width < 1 || roi.height < 1) return nyxStsNoErr;
  constexpr int64_t nc = frame::kChannels<L>;
  const int64_t w = roi.width;
  for (int64_t y = 0; y < roi.height; ++y) {
    const T* s = frame::RowAt(src, ss, y) - anchor * nc;
    float* d = frame::RowAt(dst, ds, y);
    for (int64_t c = 0; c < nc; ++c) {
      int64_t sum = 0;
      for (int64_t i = 0; i < mask; ++i) sum += s[i * nc + c];
      d[c] = static_cast<float>(sum);
      for (int64_t x = 1; x < w; ++x) {
        sum += static_cast<int64_t>(s[(x + mask - 1) * nc + c]) - s[(x - 1) * nc + c];
        d[x * nc + c] = static_cast<float>(sum);
      }
    }
  }
  return nyxStsNoErr;
}

template <class T, Layout L>
NyxStatus Column(const T* src, int ss, float* dst, int ds, NyxiSize roi, int mask, int anchor) {
  using avx2::Add;
  using avx2::ForEachBlock;
  using avx2::PromoteLoadU;
  using avx2::StoreU;
  if (frame::AnyNull(src, dst)) return nyxStsNullPtrErr;
  if (mask < 1) return nyxStsMaskSizeErr;
  if (static_cast<unsigned>(anchor) >= static_cast<unsigned>(mask)) return nyxStsAnchorErr;
  if (roi.width < 1 || roi.height < 1) return nyxStsNoErr;
  const size_t n = static_cast<size_t>(roi.width) * frame::kChannels<L>;
  const T* top = frame::RowAt(src, ss, -static_cast<int64_t>(anchor));
  ForEachBlock<int32_t>(n, [&]<template <class> class V>(size_t i) {
    V<float> acc = ToFloat(PromoteLoadU<V, int32_t>(top + i));
    for (int64_t k = 1; k < mask; ++k) {
      acc = Add(acc, ToFloat(PromoteLoadU<V, int32_t>(frame::RowAt(top, ss, k) + i)));
    }
    StoreU(acc, dst + i);
  });
  for (int64_t y = 1; y < roi.height; ++y) {
    const T* enter = frame::RowAt(top, ss, y + mask - 1);
    const T* leave = frame::RowAt(top, ss, y - 1);
    const float* above = frame::RowAt(dst, ds, y - 1);
    float* d = frame::RowAt(dst, ds, y);
    ForEachBlock<int32_t>(n, [&]<template <class> class V>(size_t i) {
      const V<int32_t> diff =
          avx2::Sub(PromoteLoadU<V, int32_t>(enter + i), PromoteLoadU<V, int32_t>(leave + i));
      StoreU(Add(V<float>::LoadU(above + i), ToFloat(diff)), d + i);
    });
  }
  return nyxStsNoErr;
}

NyxStatus Box64f(const double* src, int ss, double* dst, int ds, NyxiSize roi, NyxiSize mask,
                 NyxiPoint anchor) {
  using avx2::Add;
  if (frame::AnyNull(src, dst)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi) || mask.width < 1 || mask.height < 1) return nyxStsSizeErr;
  const int64_t mw = mask.width, mh = mask.height;
  if (ss < 8 * (roi.width + mw - 1) || ds < 8 * static_cast<int64_t>(roi.width)) {
    return nyxStsStepErr;
  }
  const double scale = 1.0 / static_cast<double>(mw * mh);
  const double* origin = frame::RowAt(src, ss, -static_cast<int64_t>(anchor.y)) - anchor.x;
  for (int64_t y = 0; y < roi.height; ++y) {
    double* d = frame::RowAt(dst, ds, y);
    avx2::ForEachBlock<double>(roi.width, [&]<template <class> class V>(size_t x) {
      V<double> acc = V<double>::Zero();
      for (int64_t j = 0; j < mh; ++j) {
        const double* s = frame::RowAt(origin, ss, y + j) + x;
        V<double> h = V<double>::LoadU(s);
        for (int64_t i = 1; i < mw; ++i) h = Add(h, V<double>::LoadU(s + i));
        acc = j == 0 ? h : Add(acc, h);
      }
      StoreU(avx2::Mul(acc, V<double>::Set(scale)), d + x);
    });
  }
  return nyxStsNoErr;
}

}  // namespace
}  // namespace nyx::box1d

NYX_ENTRY(NyxStatus, nyxiFilterBox_64f_C1R,
          (const Nyx64f* pSrc, int srcStep, Nyx64f* pDst, int dstStep, NyxiSize dstRoiSize,
           NyxiSize maskSize, NyxiPoint anchor),
          (pSrc, srcStep, pDst, dstStep, dstRoiSize, maskSize, anchor)) {
  return nyx::box1d::Box64f(pSrc, srcStep, pDst, dstStep, dstRoiSize, maskSize, anchor);
}

#define NYX_SUM_WINDOW_1D_ENTRY(Dir, TS, tag, D)                                               \
  NYX_ENTRY(NyxStatus, nyxiSumWindow##Dir##_##tag##_##D##R,                                    \
            (const Nyx##TS* pSrc, int srcStep, Nyx32f* pDst, int dstStep, NyxiSize dstRoiSize, \
             int maskSize, int anchor),                                                        \
            (pSrc, srcStep, pDst, dstStep, dstRoiSize, maskSize, anchor)) {                    \
    return nyx::box1d::Dir<Nyx##TS, nyx::frame::Layout::k##D>(pSrc, srcStep, pDst, dstStep,    \
                                                              dstRoiSize, maskSize, anchor);   \
  }
#define NYX_EMIT_SUM_WINDOW_1D(TS, tag, D) \
  NYX_SUM_WINDOW_1D_ENTRY(Row, TS, tag, D) NYX_SUM_WINDOW_1D_ENTRY(Column, TS, tag, D)

NYX_SUM_WINDOW_1D_FORMS(NYX_EMIT_SUM_WINDOW_1D)
