// nyxiScaleC: dst = src * mVal + aVal, any pair of types.
//
// First, with no test at all: when |mVal - 1| and |aVal| are both below the
// double epsilon and the types are the same, the call is nyxiCopy (whose
// tests and status then stand). Otherwise null, size, stride below 1.
//
// Hint 2 takes the accurate kernel: double precision, one fused multiply-add;
// any other hint the fast kernel: mVal and aVal rounded to single, one fused
// multiply-add in single precision. Integer destinations saturate (NaN gives
// the type's minimum), and every conversion (the sum to the destination, a
// 32-bit source to single) rounds in the caller's rounding mode.
#include <cstdint>

#include "exchange/convert_forms.h"
#include "exchange/convert_frame.h"

NYX_D1(nyxiCopy_8u_C1R);
NYX_D1(nyxiCopy_16u_C1R);
NYX_D1(nyxiCopy_16s_C1R);
NYX_D1(nyxiCopy_16s_C4R);
NYX_D1(nyxiCopy_32s_C1R);
NYX_D1(nyxiCopy_32f_C1R);

namespace nyx::cvt {
namespace {

inline NyxStatus CopyOf(const Nyx8u* s, int ss, Nyx8u* d, int ds, NyxiSize roi) {
  return d1_nyxiCopy_8u_C1R(s, ss, d, ds, roi);
}
inline NyxStatus CopyOf(const Nyx8s* s, int ss, Nyx8s* d, int ds, NyxiSize roi) {
  return d1_nyxiCopy_8u_C1R(reinterpret_cast<const Nyx8u*>(s), ss, reinterpret_cast<Nyx8u*>(d), ds,
                            roi);
}
inline NyxStatus CopyOf(const Nyx16u* s, int ss, Nyx16u* d, int ds, NyxiSize roi) {
  return d1_nyxiCopy_16u_C1R(s, ss, d, ds, roi);
}
inline NyxStatus CopyOf(const Nyx16s* s, int ss, Nyx16s* d, int ds, NyxiSize roi) {
  return d1_nyxiCopy_16s_C1R(s, ss, d, ds, roi);
}
inline NyxStatus CopyOf(const Nyx32s* s, int ss, Nyx32s* d, int ds, NyxiSize roi) {
  return d1_nyxiCopy_32s_C1R(s, ss, d, ds, roi);
}
inline NyxStatus CopyOf(const Nyx32f* s, int ss, Nyx32f* d, int ds, NyxiSize roi) {
  return d1_nyxiCopy_32f_C1R(s, ss, d, ds, roi);
}
// A 64f sample is eight bytes, as a four-channel 16s pixel.
inline NyxStatus CopyOf(const Nyx64f* s, int ss, Nyx64f* d, int ds, NyxiSize roi) {
  return d1_nyxiCopy_16s_C4R(reinterpret_cast<const Nyx16s*>(s), ss, reinterpret_cast<Nyx16s*>(d),
                             ds, roi);
}

inline bool IsIdentity(double m, double a) {
  constexpr double kEps = 2.220446049250313e-16;
  return __builtin_fabs(m - 1.0) < kEps && __builtin_fabs(a) < kEps;
}

template <class S, class D>
NyxStatus ScaleC(const S* src, int src_step, double m, double a, D* dst, int dst_step, NyxiSize roi,
                 NyxHintAlgorithm hint) {
  if constexpr (std::is_same_v<S, D>) {
    if (IsIdentity(m, a)) return CopyOf(src, src_step, dst, dst_step, roi);
  }
  if (NyxStatus st = CheckImages(src, src_step, dst, dst_step, roi)) return st;
  FpWord word;
  if (hint == nyxAlgHintAccurate) {
    using Op = avx2::FusedClamped<D, double>;
    Map<S, D, double, Op, Layout::kC1>({m, a}, src, src_step, dst, dst_step, roi);
  } else {
    using Op = avx2::FusedClamped<D, float>;
    const Op op{static_cast<float>(m), static_cast<float>(a)};
    Map<S, D, float, Op, Layout::kC1>(op, src, src_step, dst, dst_step, roi);
  }
  return nyxStsNoErr;
}

}  // namespace
}  // namespace nyx::cvt

#define NYX_EMIT_SCALEC(S, D)                                                                      \
  NYX_ENTRY(NyxStatus, nyxiScaleC_##S##D##_C1R,                                                    \
            (const Nyx##S* pSrc, int srcStep, Nyx64f mVal, Nyx64f aVal, Nyx##D* pDst, int dstStep, \
             NyxiSize roiSize, NyxHintAlgorithm hint),                                             \
            (pSrc, srcStep, mVal, aVal, pDst, dstStep, roiSize, hint)) {                           \
    return nyx::cvt::ScaleC<Nyx##S, Nyx##D>(pSrc, srcStep, mVal, aVal, pDst, dstStep, roiSize,     \
                                            hint);                                                 \
  }
#define NYX_EMIT_SCALEC_SAME(T)                                                                    \
  NYX_ENTRY(NyxStatus, nyxiScaleC_##T##_C1R,                                                       \
            (const Nyx##T* pSrc, int srcStep, Nyx64f mVal, Nyx64f aVal, Nyx##T* pDst, int dstStep, \
             NyxiSize roiSize, NyxHintAlgorithm hint),                                             \
            (pSrc, srcStep, mVal, aVal, pDst, dstStep, roiSize, hint)) {                           \
    return nyx::cvt::ScaleC<Nyx##T, Nyx##T>(pSrc, srcStep, mVal, aVal, pDst, dstStep, roiSize,     \
                                            hint);                                                 \
  }                                                                                                \
  NYX_ENTRY(NyxStatus, nyxiScaleC_##T##_C1IR,                                                      \
            (Nyx64f mVal, Nyx64f aVal, Nyx##T * pSrcDst, int srcDstStep, NyxiSize roiSize,         \
             NyxHintAlgorithm hint),                                                               \
            (mVal, aVal, pSrcDst, srcDstStep, roiSize, hint)) {                                    \
    return nyx::cvt::ScaleC<Nyx##T, Nyx##T>(pSrcDst, srcDstStep, mVal, aVal, pSrcDst, srcDstStep,  \
                                            roiSize, hint);                                        \
  }

NYX_SCALEC_PAIRS(NYX_EMIT_SCALEC)
NYX_SCALEC_TYPES(NYX_EMIT_SCALEC_SAME)
