// nyxiConvert without a scale factor: exact widening, saturating narrowing,
// float to integer with a rounding mode, and signed to unsigned.
//
// Order of tests: null, size, stride below 1 (signed to unsigned: null, size,
// no stride test). C3 and C4 forms treat every sample alike: they test the
// width, multiply it by the channel count in 32 bits and run the C1 frame.
// AC4 forms have their own frame and keep the destination's alpha.
#include <type_traits>

#include "exchange/convert_forms.h"
#include "exchange/convert_frame.h"

namespace nyx::cvt {
namespace {

// The working lanes of a conversion that keeps or saturates the value: the
// destination's own type for float destinations; otherwise the wider of the
// two integer types, signed if either is.
template <class S, class D>
struct ExactLanes {
  static constexpr size_t kBytes = sizeof(S) > sizeof(D) ? sizeof(S) : sizeof(D);
  static constexpr bool kSigned = std::is_signed_v<S> || std::is_signed_v<D>;
  using Int = std::conditional_t<
      kBytes == 1, std::conditional_t<kSigned, int8_t, uint8_t>,
      std::conditional_t<kBytes == 2, std::conditional_t<kSigned, int16_t, uint16_t>,
                         std::conditional_t<kSigned, int32_t, uint32_t>>>;
  using type = std::conditional_t<std::is_floating_point_v<D>, D, Int>;
};

// A 32-bit integer is rounded to the nearest single whatever the caller's
// rounding mode.
template <class S, class D>
inline constexpr bool kRoundsToFloat =
    sizeof(S) == 4 && (std::is_integral_v<S> && std::is_same_v<D, float>);

// 8u16s and 8u32f at C1 write wide outputs; they store around the cache
// when their traffic passes it.
template <class S, class D>
inline constexpr bool kMayStream = std::is_same_v<S, Nyx8u> &&
                                   (std::is_same_v<D, Nyx16s> || std::is_same_v<D, Nyx32f>);

template <class S, class D, Layout L>
NyxStatus ConvertExact(const S* src, int src_step, D* dst, int dst_step, NyxiSize roi) {
  if constexpr (kRoutesToC1<L>) {
    if (roi.width < 1) return nyxStsSizeErr;
    return ConvertExact<S, D, Layout::kC1>(src, src_step, dst, dst_step,
                                           frame::WidenRoi(roi, frame::kChannels<L>));
  } else {
    if (NyxStatus st = CheckImages(src, src_step, dst, dst_step, roi)) return st;
    using W = typename ExactLanes<S, D>::type;
    if constexpr (kRoundsToFloat<S, D>) {
      FpWord word(kMxcsrRoundNearest, kMxcsrRoundMask);
      Map<S, D, W, avx2::Same, L>({}, src, src_step, dst, dst_step, roi);
    } else if constexpr (kMayStream<S, D> && L == Layout::kC1) {
      const bool stream = TrafficPassesCache(PixelsOf(roi), sizeof(S) + sizeof(D));
      MapMaybeStreaming<S, D, W, avx2::Same, L>(stream, {}, src, src_step, dst, dst_step, roi);
    } else {
      Map<S, D, W, avx2::Same, L>({}, src, src_step, dst, dst_step, roi);
    }
    return nyxStsNoErr;
  }
}

// Float to integer. Modes 0 and 1 convert through the processor in that
// rounding (toward zero, nearest even), with the invalid-operation flag
// cleared first; only if it is raised does the fix-up pass look for samples
// that were too large. Any other mode rounds ties away from zero by adding
// one half under truncation.
template <class D, Layout L>
NyxStatus ConvertRound(const float* src, int src_step, D* dst, int dst_step, NyxiSize roi,
                       NyxRoundMode mode) {
  if constexpr (kRoutesToC1<L>) {
    if (roi.width < 1) return nyxStsSizeErr;
    return ConvertRound<D, Layout::kC1>(src, src_step, dst, dst_step,
                                        frame::WidenRoi(roi, frame::kChannels<L>), mode);
  } else {
    if (NyxStatus st = CheckImages(src, src_step, dst, dst_step, roi)) return st;
    const unsigned m = static_cast<unsigned>(mode);
    if (m <= 1) {
      const unsigned round = m == 0 ? kMxcsrRoundZero : kMxcsrRoundNearest;
      FpWord word(round | kInvalidMask, kMxcsrRoundMask | kInvalidMask | kInvalidFlag);
      Map<float, D, float, avx2::Same, L>({}, src, src_step, dst, dst_step, roi);
      if (word.InvalidRaised()) {
        Walk<float, D, avx2::Same>(&avx2::FixTooLargeRow<D, L == Layout::kAC4>, {}, src, src_step,
                                   dst, dst_step, roi, frame::kChannels<L>);
      }
    } else {
      FpWord word(kMxcsrRoundZero, kMxcsrRoundMask);
      Map<float, D, float, avx2::HalfAwayTruncating<D>, L>({}, src, src_step, dst, dst_step, roi);
    }
    return nyxStsNoErr;
  }
}

// Signed to unsigned: null, size, no stride test; negatives become 0.
template <class S, class D>
NyxStatus ConvertClampNegative(const S* src, int src_step, D* dst, int dst_step, NyxiSize roi) {
  if (frame::AnyNull(src, dst)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  using W = std::make_signed_t<typename ExactLanes<S, D>::Int>;
  Map<S, D, W, avx2::ClampNegative, Layout::kC1>({}, src, src_step, dst, dst_step, roi);
  return nyxStsNoErr;
}

}  // namespace
}  // namespace nyx::cvt

#define NYX_EMIT_CONVERT(S, D, Desc)                                                        \
  NYX_ENTRY(NyxStatus, nyxiConvert_##S##D##_##Desc##R,                                      \
            (const Nyx##S* pSrc, int srcStep, Nyx##D* pDst, int dstStep, NyxiSize roiSize), \
            (pSrc, srcStep, pDst, dstStep, roiSize)) {                                      \
    return nyx::cvt::ConvertExact<Nyx##S, Nyx##D, nyx::frame::Layout::k##Desc>(             \
        pSrc, srcStep, pDst, dstStep, roiSize);                                             \
  }
#define NYX_EMIT_CONVERT_ALL(S, D) \
  NYX_EMIT_CONVERT(S, D, C1)       \
  NYX_EMIT_CONVERT(S, D, C3) NYX_EMIT_CONVERT(S, D, C4) NYX_EMIT_CONVERT(S, D, AC4)
#define NYX_EMIT_CONVERT_C1(S, D) NYX_EMIT_CONVERT(S, D, C1)

#define NYX_EMIT_CONVERT_ROUND(S, D, Desc)                                                 \
  NYX_ENTRY(NyxStatus, nyxiConvert_##S##D##_##Desc##R,                                     \
            (const Nyx##S* pSrc, int srcStep, Nyx##D* pDst, int dstStep, NyxiSize roiSize, \
             NyxRoundMode roundMode),                                                      \
            (pSrc, srcStep, pDst, dstStep, roiSize, roundMode)) {                          \
    return nyx::cvt::ConvertRound<Nyx##D, nyx::frame::Layout::k##Desc>(                    \
        pSrc, srcStep, pDst, dstStep, roiSize, roundMode);                                 \
  }
#define NYX_EMIT_CONVERT_ROUND_ALL(S, D)                            \
  NYX_EMIT_CONVERT_ROUND(S, D, C1)                                  \
  NYX_EMIT_CONVERT_ROUND(S, D, C3) NYX_EMIT_CONVERT_ROUND(S, D, C4) \
      NYX_EMIT_CONVERT_ROUND(S, D, AC4)

#define NYX_EMIT_CONVERT_RS(S, D)                                                                 \
  NYX_ENTRY(NyxStatus, nyxiConvert_##S##D##_C1Rs,                                                 \
            (const Nyx##S* pSrc, int srcStep, Nyx##D* pDst, int dstStep, NyxiSize roiSize),       \
            (pSrc, srcStep, pDst, dstStep, roiSize)) {                                            \
    return nyx::cvt::ConvertClampNegative<Nyx##S, Nyx##D>(pSrc, srcStep, pDst, dstStep, roiSize); \
  }

NYX_CONVERT_PLAIN_FORMS(NYX_EMIT_CONVERT_ALL)
NYX_CONVERT_PLAIN_C1_FORMS(NYX_EMIT_CONVERT_C1)
NYX_CONVERT_ROUND_FORMS(NYX_EMIT_CONVERT_ROUND_ALL)
NYX_CONVERT_RS_FORMS(NYX_EMIT_CONVERT_RS)
