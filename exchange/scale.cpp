// nyxiScale: the full range of the source type onto that of the destination.
//
// Widening to integers replicates bits, with no rounding:
//   8u16u  (x << 8) | x        8u16s  ((x << 8) | x) - 32768
//   8u32s  the byte in all four bytes, top bit flipped
// 8u32f: vMin + x * ((vMax - vMin) * (1/255 as a single)), in single
// precision rounded to nearest.
// Narrowing to 8u: hint 2 takes the accurate path (rounding to nearest):
//   16s8u  round((x + 32768) * (1/257 as a single))
//   16u8u  round(x * (1/257 as a single))
//   32s8u  round(x * 255/(2^32 - 1) + 255 * 2^31/(2^32 - 1)) in double
// any other hint the fast path, arithmetic shifts with no multiplication:
//   16s8u  ((x - (x >> 8)) >> 8) + 128, 16u8u the same on x - 32768,
//   32s8u  ((x - (x >> 8)) >> 24) + 128.
// 32f8u: saturate(round(fma(x, a, b))) with a = 255 / (vMax - vMin) and
// b = -vMin * a in single precision, rounded to nearest; NaN gives 0.
//
// Order of tests: 8u32f and 32f8u first refuse vMax - vMin not above 0
// (nyxStsScaleRangeErr); then null, size, stride below 1. C3 and C4 forms
// test the width, multiply it by the channel count and run the C1 frame.
#include <cstdint>

#include "exchange/convert_forms.h"
#include "exchange/convert_frame.h"

namespace nyx::cvt {
namespace {

// Runs the C1 frame for C3 and C4 forms: the width test comes first.
template <Layout L, class Frame, class... Args>
NyxStatus Route(Frame&& c1_frame, NyxiSize roi, Args... args) {
  if (roi.width < 1) return nyxStsSizeErr;
  return c1_frame(frame::WidenRoi(roi, frame::kChannels<L>), args...);
}

template <class S, class D>
struct Widen;
template <>
struct Widen<Nyx8u, Nyx16u> {
  using W = uint16_t;
  using Op = avx2::Replicate16<false>;
  static constexpr bool kMayStream = false;
};
template <>
struct Widen<Nyx8u, Nyx16s> {
  using W = uint16_t;
  using Op = avx2::Replicate16<true>;
  static constexpr bool kMayStream = true;
};
template <>
struct Widen<Nyx8u, Nyx32s> {
  using W = int32_t;
  using Op = avx2::Replicate32;
  static constexpr bool kMayStream = false;
};

template <class S, class D, Layout L>
NyxStatus ScaleWiden(const S* src, int src_step, D* dst, int dst_step, NyxiSize roi) {
  if constexpr (kRoutesToC1<L>) {
    return Route<L>(
        [&](NyxiSize r) { return ScaleWiden<S, D, Layout::kC1>(src, src_step, dst, dst_step, r); },
        roi);
  } else {
    if (NyxStatus st = CheckImages(src, src_step, dst, dst_step, roi)) return st;
    using Wd = Widen<S, D>;
    const bool stream = Wd::kMayStream && TrafficPassesCache(PixelsOf(roi), sizeof(S) + sizeof(D));
    MapMaybeStreaming<S, D, typename Wd::W, typename Wd::Op, L>(stream, {}, src, src_step, dst,
                                                                dst_step, roi);
    return nyxStsNoErr;
  }
}

// The fast and accurate operations of each narrowing form.
template <class S>
struct Narrow;
template <>
struct Narrow<Nyx16s> {
  using FastW = int16_t;
  using Fast = avx2::ShiftNarrow<8, false>;
  using AccW = float;
  static avx2::ScaleBias<float> Accurate() { return {32768.0f, 1.0f / 257.0f}; }
};
template <>
struct Narrow<Nyx16u> {
  using FastW = int16_t;
  using Fast = avx2::ShiftNarrow<8, true>;
  using AccW = float;
  static avx2::ScaleBias<float> Accurate() { return {0.0f, 1.0f / 257.0f}; }
};
template <>
struct Narrow<Nyx32s> {
  using FastW = int32_t;
  using Fast = avx2::ShiftNarrow<24, false>;
  using AccW = double;
  static avx2::MulThenAdd Accurate() {
    return {255.0 / 4294967295.0, 255.0 * 2147483648.0 / 4294967295.0};
  }
};

template <class S, Layout L>
NyxStatus ScaleNarrow(const S* src, int src_step, Nyx8u* dst, int dst_step, NyxiSize roi,
                      NyxHintAlgorithm hint) {
  if constexpr (kRoutesToC1<L>) {
    return Route<L>(
        [&](NyxiSize r) {
          return ScaleNarrow<S, Layout::kC1>(src, src_step, dst, dst_step, r, hint);
        },
        roi);
  } else {
    if (NyxStatus st = CheckImages(src, src_step, dst, dst_step, roi)) return st;
    using N = Narrow<S>;
    if (hint == nyxAlgHintAccurate) {
      FpWord word(kMxcsrRoundNearest, kMxcsrRoundMask);
      using Op = decltype(N::Accurate());
      Map<S, Nyx8u, typename N::AccW, Op, L>(N::Accurate(), src, src_step, dst, dst_step, roi);
    } else {
      Map<S, Nyx8u, typename N::FastW, typename N::Fast, L>({}, src, src_step, dst, dst_step, roi);
    }
    return nyxStsNoErr;
  }
}

inline bool EmptyRange(Nyx32f v_min, Nyx32f v_max) { return !(v_max - v_min > 0.0f); }

template <Layout L>
NyxStatus Scale8u32f(const Nyx8u* src, int src_step, Nyx32f* dst, int dst_step, NyxiSize roi,
                     Nyx32f v_min, Nyx32f v_max) {
  if constexpr (kRoutesToC1<L>) {
    return Route<L>(
        [&](NyxiSize r) {
          return Scale8u32f<Layout::kC1>(src, src_step, dst, dst_step, r, v_min, v_max);
        },
        roi);
  } else {
    if (EmptyRange(v_min, v_max)) return nyxStsScaleRangeErr;
    if (NyxStatus st = CheckImages(src, src_step, dst, dst_step, roi)) return st;
    FpWord word(kMxcsrRoundNearest, kMxcsrRoundMask);
    const float slope = (Pin(v_max) - v_min) * 0.003921568859368563f;
    MapMaybeStreaming<Nyx8u, Nyx32f, float, avx2::AffineUnfused, L>(
        TrafficPassesCache(PixelsOf(roi), 5), {Pin(v_min), slope}, src, src_step, dst, dst_step,
        roi);
    return nyxStsNoErr;
  }
}

template <Layout L>
NyxStatus Scale32f8u(const Nyx32f* src, int src_step, Nyx8u* dst, int dst_step, NyxiSize roi,
                     Nyx32f v_min, Nyx32f v_max) {
  if constexpr (kRoutesToC1<L>) {
    return Route<L>(
        [&](NyxiSize r) {
          return Scale32f8u<Layout::kC1>(src, src_step, dst, dst_step, r, v_min, v_max);
        },
        roi);
  } else {
    if (EmptyRange(v_min, v_max)) return nyxStsScaleRangeErr;
    if (NyxStatus st = CheckImages(src, src_step, dst, dst_step, roi)) return st;
    FpWord word(kMxcsrRoundNearest, kMxcsrRoundMask);
    const float a = 255.0f / (Pin(v_max) - v_min);
    const float b = -v_min * a;
    using Op = avx2::FusedClamped<Nyx8u, float>;
    Map<Nyx32f, Nyx8u, float, Op, L>({a, b}, src, src_step, dst, dst_step, roi);
    return nyxStsNoErr;
  }
}

}  // namespace
}  // namespace nyx::cvt

#define NYX_SCALE_ENTRY(S, D, Desc, Params, Args, Call)                         \
  NYX_ENTRY(NyxStatus, nyxiScale_##S##D##_##Desc##R,                            \
            (const Nyx##S* pSrc, int srcStep, Nyx##D* pDst, int dstStep,        \
             NyxiSize roiSize NYX_SCALE_##Params##_EXTRA),                      \
            (pSrc, srcStep, pDst, dstStep, roiSize NYX_SCALE_##Args##_ARGS)) {  \
    return Call(pSrc, srcStep, pDst, dstStep, roiSize NYX_SCALE_##Args##_ARGS); \
  }
#define NYX_SCALE_NO_ARGS
#define NYX_SCALE_HINT_ARGS , hint
#define NYX_SCALE_RANGE_ARGS , vMin, vMax
#define NYX_SCALE_FOR_LAYOUTS(X, S, D) X(S, D, C1) X(S, D, C3) X(S, D, C4) X(S, D, AC4)

#define NYX_EMIT_SCALE_WIDEN_1(S, D, Desc) \
  NYX_SCALE_ENTRY(S, D, Desc, NO, NO,      \
                  (nyx::cvt::ScaleWiden<Nyx##S, Nyx##D, nyx::frame::Layout::k##Desc>))
#define NYX_EMIT_SCALE_WIDEN(S, D) NYX_SCALE_FOR_LAYOUTS(NYX_EMIT_SCALE_WIDEN_1, S, D)

#define NYX_EMIT_SCALE_HINT_1(S, D, Desc) \
  NYX_SCALE_ENTRY(S, D, Desc, HINT, HINT, \
                  (nyx::cvt::ScaleNarrow<Nyx##S, nyx::frame::Layout::k##Desc>))
#define NYX_EMIT_SCALE_HINT(S, D) NYX_SCALE_FOR_LAYOUTS(NYX_EMIT_SCALE_HINT_1, S, D)

#define NYX_EMIT_SCALE_RANGE_1(S, D, Desc) \
  NYX_SCALE_ENTRY(S, D, Desc, RANGE, RANGE, (nyx::cvt::Scale##S##D<nyx::frame::Layout::k##Desc>))
#define NYX_EMIT_SCALE_RANGE(S, D) NYX_SCALE_FOR_LAYOUTS(NYX_EMIT_SCALE_RANGE_1, S, D)

NYX_SCALE_WIDEN_FORMS(NYX_EMIT_SCALE_WIDEN)
NYX_SCALE_HINT_FORMS(NYX_EMIT_SCALE_HINT)
NYX_SCALE_RANGE_FORMS(NYX_EMIT_SCALE_RANGE)
