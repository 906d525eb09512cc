// nyxiConvert with a rounding mode and a scale factor:
//   dst = saturate(round_mode(src * 2^-scaleFactor))
// with mode 0 toward zero, 1 nearest even, 2 ties away from zero.
//
// Order of tests: null, size, stride below 1, then a mode outside 0..2 gives
// nyxStsNotSupportedModeErr. NaN gives the destination's minimum (0 for
// unsigned types).
//
// Float sources: the factor is 1.0 with the scale factor subtracted from its
// exponent, and the kernels run with the control word set to truncation, so
// that the fused multiply-add of mode 2 rounds once.
//
// Integer sources: computed exactly in double lanes. 32s16s with a scale
// factor of 32 or more is a zero fill (nyxiSet), as is 16u16s from 17 and 8u8s
// from 9. The 8u8s and 16u16s forms merge rows only when the source stride is
// four times the width in bytes and the destination stride is its row; the
// source is then read as one run of width times height samples.
#include <bit>
#include <cstdint>
#include <type_traits>

#include "exchange/convert_forms.h"
#include "exchange/convert_frame.h"
#include "exchange/set.h"

namespace nyx::cvt {
namespace {

inline bool BadMode(NyxRoundMode mode) { return static_cast<unsigned>(mode) > 2; }

// 2^-sf built by subtracting sf from the exponent field of 1.0 (wrapping like
// the integer subtraction it is).
template <class F>
inline F ExponentFactor(int sf) {
  if constexpr (std::is_same_v<F, float>) {
    return std::bit_cast<float>(0x3F800000u - (static_cast<uint32_t>(sf) << 23));
  } else {
    return std::bit_cast<double>(0x3FF0000000000000ull -
                                 (static_cast<uint64_t>(static_cast<int64_t>(sf)) << 52));
  }
}

// 2^-sf for integer sources, with sf clamped to -64..64: beyond that every
// non-zero 32-bit value saturates (or rounds to zero) all the same.
inline double IntFactor(int sf) {
  const int k = sf < -64 ? -64 : (sf > 64 ? 64 : sf);
  return std::bit_cast<double>(static_cast<uint64_t>(1023 - k) << 52);
}

template <class S, class D>
NyxStatus ConvertSfsFloat(const S* src, int src_step, D* dst, int dst_step, NyxiSize roi,
                          NyxRoundMode mode, int sf) {
  if (NyxStatus st = CheckImages(src, src_step, dst, dst_step, roi)) return st;
  if (BadMode(mode)) return nyxStsNotSupportedModeErr;
  FpWord word(kMxcsrRoundZero, kMxcsrRoundMask);
  const S factor = ExponentFactor<S>(sf);
  switch (mode) {
    case 0:
      Map<S, D, S, avx2::ScaledRound<D, S, 0>, Layout::kC1>({factor}, src, src_step, dst, dst_step,
                                                            roi);
      break;
    case 1:
      Map<S, D, S, avx2::ScaledRound<D, S, 1>, Layout::kC1>({factor}, src, src_step, dst, dst_step,
                                                            roi);
      break;
    default:
      Map<S, D, S, avx2::ScaledRound<D, S, 2>, Layout::kC1>({factor}, src, src_step, dst, dst_step,
                                                            roi);
      break;
  }
  return nyxStsNoErr;
}

// Scale factors from which every result is zero and the call is a fill
// (0 where a form has no such shortcut).
template <class S, class D>
inline constexpr int kZeroFrom = 0;
template <>
inline constexpr int kZeroFrom<Nyx32s, Nyx16s> = 32;
template <>
inline constexpr int kZeroFrom<Nyx16u, Nyx16s> = 17;
template <>
inline constexpr int kZeroFrom<Nyx8u, Nyx8s> = 9;

template <class S, class D>
inline constexpr bool kOddMerge = std::is_same_v<S, Nyx8u> || std::is_same_v<S, Nyx16u>;

inline NyxStatus ZeroFill(Nyx16s* dst, int step, NyxiSize roi) {
  return d1_nyxiSet_16s_C1R(0, dst, step, roi);
}
inline NyxStatus ZeroFill(Nyx8s* dst, int step, NyxiSize roi) {
  return d1_nyxiSet_8u_C1R(0, reinterpret_cast<Nyx8u*>(dst), step, roi);
}

template <class S, class D, class Op>
void RunIntSfs(Op op, const S* src, int src_step, D* dst, int dst_step, NyxiSize roi) {
  const RowFn<S, D, Op> row = &avx2::MapRow<S, D, double, Op, false>;
  if constexpr (kOddMerge<S, D>) {
    const int64_t w = roi.width;
    if (src_step == 4 * w && dst_step == w * static_cast<int64_t>(sizeof(D))) {
      row(src, dst, static_cast<size_t>(w * roi.height), op);
    } else {
      frame::WalkRows(roi.height, [&](int64_t y) {
        row(frame::RowAt(src, src_step, y), frame::RowAt(dst, dst_step, y), static_cast<size_t>(w),
            op);
      });
    }
  } else {
    Walk<S, D, Op>(row, op, src, src_step, dst, dst_step, roi, 1);
  }
}

template <class S, class D>
NyxStatus ConvertSfsInt(const S* src, int src_step, D* dst, int dst_step, NyxiSize roi,
                        NyxRoundMode mode, int sf) {
  if (NyxStatus st = CheckImages(src, src_step, dst, dst_step, roi)) return st;
  if (BadMode(mode)) return nyxStsNotSupportedModeErr;
  if constexpr (kZeroFrom<S, D> != 0) {
    if (sf >= kZeroFrom<S, D>) return ZeroFill(dst, dst_step, roi);
  }
  const double factor = IntFactor(sf);
  switch (mode) {
    case 0:
      RunIntSfs<S, D>(avx2::IntScaled<D, 0>{factor}, src, src_step, dst, dst_step, roi);
      break;
    case 1:
      RunIntSfs<S, D>(avx2::IntScaled<D, 1>{factor}, src, src_step, dst, dst_step, roi);
      break;
    default:
      RunIntSfs<S, D>(avx2::IntScaled<D, 2>{factor}, src, src_step, dst, dst_step, roi);
      break;
  }
  return nyxStsNoErr;
}

}  // namespace
}  // namespace nyx::cvt

#define NYX_EMIT_CONVERT_SFS(S, D, Frame)                                                    \
  NYX_ENTRY(NyxStatus, nyxiConvert_##S##D##_C1RSfs,                                          \
            (const Nyx##S* pSrc, int srcStep, Nyx##D* pDst, int dstStep, NyxiSize roiSize,   \
             NyxRoundMode roundMode, int scaleFactor),                                       \
            (pSrc, srcStep, pDst, dstStep, roiSize, roundMode, scaleFactor)) {               \
    return nyx::cvt::Frame<Nyx##S, Nyx##D>(pSrc, srcStep, pDst, dstStep, roiSize, roundMode, \
                                           scaleFactor);                                     \
  }
#define NYX_EMIT_CONVERT_SFS_FLOAT(S, D) NYX_EMIT_CONVERT_SFS(S, D, ConvertSfsFloat)
#define NYX_EMIT_CONVERT_SFS_INT(S, D) NYX_EMIT_CONVERT_SFS(S, D, ConvertSfsInt)

NYX_CONVERT_SFS_FLOAT_FORMS(NYX_EMIT_CONVERT_SFS_FLOAT)
NYX_CONVERT_SFS_INT_FORMS(NYX_EMIT_CONVERT_SFS_INT)

// In place: the same bytes hold 32f samples on entry and 32u on return (the
// kernel reads each block before it writes it).
NYX_ENTRY(NyxStatus, nyxiConvert_32f32u_C1IRSfs,
          (Nyx32u * pSrcDst, int srcDstStep, NyxiSize roiSize, NyxRoundMode roundMode,
           int scaleFactor),
          (pSrcDst, srcDstStep, roiSize, roundMode, scaleFactor)) {
  return nyx::cvt::ConvertSfsFloat<Nyx32f, Nyx32u>(reinterpret_cast<const Nyx32f*>(pSrcDst),
                                                   srcDstStep, pSrcDst, srcDstStep, roiSize,
                                                   roundMode, scaleFactor);
}
