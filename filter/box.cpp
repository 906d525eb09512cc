// nyxiFilterBoxBorder and nyxiSumWindow: the order of tests, the kernel
// choice, the bordered frame run, and the two work-buffer queries.
//
// Order of tests: null (source, destination, buffer); strides not above 0;
// ROI; mask; then the border word (filter/bordered_frame.h), where the 32f
// C1, C3, C4 members keep their own treatment. A 32f call with a 1 by 1 mask
// is a plain copy.
#include <cstdint>
#include <type_traits>

#include "core/entry/entry.h"
#include "core/frame/frame.h"
#include "filter/bordered_frame.h"
#include "filter/box_forms.h"
#include "filter/box_kernels.h"

NYX_D1(nyxiCopy_32f_C1R);
NYX_D1(nyxiCopy_32f_C3R);
NYX_D1(nyxiCopy_32f_C4R);

namespace nyx::box {
namespace {

using filter::MaskGeom;
using frame::Layout;

enum class Kind { kBox, kSum };

template <Layout L>
NyxStatus CopyFloat(const float* src, int ss, float* dst, int ds, NyxiSize roi) {
  if (src == dst && ss == ds) return nyxStsNoErr;
  if constexpr (L == Layout::kC1)
    return d1_nyxiCopy_32f_C1R(src, ss, dst, ds, roi);
  else if constexpr (L == Layout::kC3)
    return d1_nyxiCopy_32f_C3R(src, ss, dst, ds, roi);
  else
    return d1_nyxiCopy_32f_C4R(src, ss, dst, ds, roi);
}

// Calls fn(kernel) with the column-sum kernel whose sums hold the largest
// window sum exactly in the narrowest lanes.
template <class Src, class Dst, Layout L, class Fin, class Fn>
void WithSums(const MaskGeom& m, const Fin& fin, Fn&& fn) {
  constexpr int kNc = frame::kChannels<L>;
  constexpr bool kAlpha = L == Layout::kAC4;
  const int64_t n = m.mw * m.mh;
  if constexpr (sizeof(Src) == 1) {
    if (n <= 65535 / 255)
      return fn(avx2::WindowSumKernel<Src, Dst, uint16_t, Fin, kNc, kAlpha>{m.mw, m.mh, fin});
  }
  const int64_t max_sample = sizeof(Src) == 1 ? 255 : 65535;
  if (n <= (int64_t{1} << 30) / max_sample) {
    return fn(avx2::WindowSumKernel<Src, Dst, int32_t, Fin, kNc, kAlpha>{m.mw, m.mh, fin});
  }
  fn(avx2::WindowSumKernel<Src, Dst, double, Fin, kNc, kAlpha>{m.mw, m.mh, fin});
}

template <Kind kKind, class Src, class Dst, Layout L, class Fn>
void WithKernel(const MaskGeom& m, Fn&& fn) {
  const int64_t n = m.mw * m.mh;
  const float r = 1.0f / static_cast<float>(n);
  if constexpr (std::is_same_v<Src, float>) {
    fn(avx2::RowSum32fKernel<frame::kChannels<L>, L == Layout::kAC4, kKind == Kind::kBox>{m.mw,
                                                                                          m.mh, r});
  } else if constexpr (kKind == Kind::kSum) {
    if constexpr (std::is_same_v<Dst, float>)
      WithSums<Src, Dst, L>(m, avx2::SumFloat{}, fn);
    else
      WithSums<Src, Dst, L>(m, avx2::SumInt{}, fn);
  } else if constexpr (sizeof(Src) == 2 && (L == Layout::kC4 || L == Layout::kAC4)) {
    const bool biased = std::is_signed_v<Src>;
    WithSums<Src, Dst, L>(m, avx2::HalfUp{r, biased ? 0x8000 * n : 0, biased}, fn);
  } else {
    if constexpr (sizeof(Src) == 1 && L == Layout::kC1) {
      const uint32_t k = m.mw == 3 ? 29128 : (m.mw == 5 ? 671088 : 342392);
      if (m.mw == m.mh && (m.mw == 3 || m.mw == 5 || m.mw == 7)) {
        return fn(avx2::WindowSumKernel<Src, Dst, uint16_t, avx2::MulShift, 1, false>{
            m.mw, m.mh, avx2::MulShift{k, m.mw == 3 ? 18 : 24}});
      }
    }
    if constexpr (sizeof(Src) == 1) {
      if (n % 2 == 1 && n > 1 && n <= 255) {
        return fn(avx2::WindowSumKernel<Src, Dst, uint16_t, avx2::RoundOdd, frame::kChannels<L>,
                                        L == Layout::kAC4>{m.mw, m.mh, avx2::RoundOdd::For(n)});
      }
    }
    WithSums<Src, Dst, L>(m, avx2::RoundEven{r}, fn);
  }
}

template <Kind kKind, class Src, class Dst, Layout L>
NyxStatus Frame(const Src* src, int ss, Dst* dst, int ds, NyxiSize roi, NyxiSize mask,
                NyxiBorderType word, const Src* value, Nyx8u* buffer) {
  if (frame::AnyNull(src, dst, buffer)) return nyxStsNullPtrErr;
  if (ss < 1 || ds < 1) return nyxStsStepErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  if (mask.width < 1 || mask.height < 1) return nyxStsMaskSizeErr;
  const MaskGeom m = filter::Geometry(mask);
  constexpr bool kFloatWord = std::is_same_v<Src, float> && L != Layout::kAC4;
  filter::BorderRule rule;
  const NyxStatus st = kFloatWord ? filter::DecodeBorder32f(word, value, m, &rule)
                                  : filter::DecodeBorder(word, value, &rule);
  if (st != nyxStsNoErr) return st;
  if constexpr (kFloatWord) {
    if (m.mw == 1 && m.mh == 1) return CopyFloat<L>(src, ss, dst, ds, roi);
  }
  // The constant per channel (AC4: three; the fourth sample is never kept).
  Src fill[4] = {};
  if (rule.flags != filter::kInMemAll && rule.mode == border::kConst && value != nullptr) {
    for (int c = 0; c < (L == Layout::kAC4 ? 3 : frame::kChannels<L>); ++c) fill[c] = value[c];
  }
  WithKernel<kKind, Src, Dst, L>(m, [&](const auto& k) {
    filter::RunBordered(k, src, ss, dst, ds, roi, m, rule, fill, buffer);
  });
  return nyxStsNoErr;
}

// ---------------------------------------------------------------------------
// Work-buffer size. With ES the sample size of the data type, nc channels,
// W by H the ROI: the larger of S + K + R + P and X (see the comments below).

NyxStatus BufferSize(NyxiSize roi, NyxiSize mask, NyxDataType type, int nc, int* out) {
  using I = __int128;
  if (out == nullptr) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  if (mask.width < 1 || mask.height < 1) return nyxStsMaskSizeErr;
  if (type != nyx8u && type != nyx16u && type != nyx16s && type != nyx32f) return nyxStsDataTypeErr;
  if (nc != 1 && nc != 3 && nc != 4) return nyxStsNumChannelsErr;
  const MaskGeom m = filter::Geometry(mask);
  const I W = roi.width, H = roi.height, mw = m.mw, mh = m.mh, rx = m.rx, ry = m.ry;
  const I es = type == nyx8u ? 1 : (type == nyx32f ? 4 : 2);
  // S: rectangles with their border, kept strips.
  const I s = 4 * nc *
              (2 * ((mh + ry - 1) * (W + mw - 1) + (H + mh - 1) * (mw + rx - 1)) +
               (mh == 2 ? W + mw - 1 : 0) + (mw == 2 ? H + mh - 1 : 0));
  // K: kernel scratch.
  I k;
  if (nc > 1)
    k = 16 * (W + mw + 3);
  else if (type == nyx16u || type == nyx16s) {
    if (mw == 3 && mh == 3)
      k = ((8 * W + 62) & ~I{63}) + 64;
    else if (mw == 5 && mh == 5)
      k = ((16 * W + 124) & ~I{127}) | 64;
    else
      k = 128 + 8 * (W + mw + 3);
  } else {
    k = 4 * (W + mw + 3);
  }
  // R and P: the in-place ring and its row pointers, or the whole image.
  const I ring = ((es * W * nc + 31) & ~I{31}) * (m.ay + 1) + 64;
  I r, p = 8 * (m.ay + 1);
  if (W - mw + 1 > mw && H - mh + 1 > mh) {
    r = ring;
    if (type == nyx32f && nc == 1) {
      r = 4 * ((W + 7) & ~I{7}) * mh * nc + 64;
      p = 0;
    }
  } else {
    const I whole = es * nc * (W + mw - 1) * (H + mh - 1);
    r = ring > whole ? ring : whole;
  }
  // X: the float kernels' rectangles and row ring.
  I n;
  if (mw >= W || mh >= H) {
    n = (W + mw - 1) * (H + mh - 1);
    if (n > 0x7FFFFFFF) return nyxStsSizeOverflowErr;
  } else {
    const I rx2 = mw == 2 ? 2 : rx, ry2 = mh == 2 ? 2 : ry;
    const I a = ry2 > 0 ? (W + mw - 1) * (mh - 1 + ry2) : 0;
    const I b = rx2 > 0 ? (mw - 1 + rx2) * (H + mh - 1) : 0;
    n = a > b ? a : b;
  }
  auto align64 = [](I v) { return (v + 63) & ~I{63}; };
  const I wb = ((4 * nc * n + 63) & ~I{63}) + 64;
  const I x = 5 * wb + align64(4 * W * nc) * mh + align64(4 * mw * nc) + 64;
  const I total = s + k + r + p;
  const I size = total > x ? total : x;
  if (size > 0x7FFFFFFF) return nyxStsSizeOverflowErr;
  *out = static_cast<int>(size);
  return nyxStsNoErr;
}

}  // namespace
}  // namespace nyx::box

NYX_ENTRY(NyxStatus, nyxiFilterBoxBorderGetBufferSize,
          (NyxiSize roiSize, NyxiSize maskSize, NyxDataType dataType, int numChannels,
           int* pBufferSize),
          (roiSize, maskSize, dataType, numChannels, pBufferSize)) {
  return nyx::box::BufferSize(roiSize, maskSize, dataType, numChannels, pBufferSize);
}

// The window sums have the same buffer as the box filter.
NYX_ENTRY(NyxStatus, nyxiSumWindowGetBufferSize,
          (NyxiSize roiSize, NyxiSize maskSize, NyxDataType dataType, int numChannels,
           int* pBufferSize),
          (roiSize, maskSize, dataType, numChannels, pBufferSize)) {
  return nyx::box::BufferSize(roiSize, maskSize, dataType, numChannels, pBufferSize);
}

#define NYX_BOX_ENTRY(Op, KK, TS, TD, tag, D)                                                  \
  NYX_ENTRY(                                                                                   \
      NyxStatus, nyxi##Op##_##tag##_##D##R,                                                    \
      (const Nyx##TS* pSrc, int srcStep, Nyx##TD* pDst, int dstStep, NyxiSize roiSize,         \
       NyxiSize maskSize, NyxiBorderType border, const Nyx##TS* pBorderValue, Nyx8u* pBuffer), \
      (pSrc, srcStep, pDst, dstStep, roiSize, maskSize, border, pBorderValue, pBuffer)) {      \
    return nyx::box::Frame<nyx::box::Kind::k##KK, Nyx##TS, Nyx##TD, nyx::frame::Layout::k##D>( \
        pSrc, srcStep, pDst, dstStep, roiSize, maskSize, border, pBorderValue, pBuffer);       \
  }
#define NYX_BOX_ENTRY_Box(...) NYX_BOX_ENTRY(FilterBoxBorder, Box, __VA_ARGS__)
#define NYX_BOX_ENTRY_Sum(...) NYX_BOX_ENTRY(SumWindow, Sum, __VA_ARGS__)
#define NYX_EMIT_BOX(KK, TS, TD, tag, D) NYX_BOX_ENTRY_##KK(TS, TD, tag, D)

NYX_BOX_FORMS(NYX_EMIT_BOX)
