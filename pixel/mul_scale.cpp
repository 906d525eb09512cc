// nyxiMulScale, nyxiMulCScale: products of samples taken as fractions of the
// full range, p = a * b, (p + 1 + (p >> w)) >> w for w-bit samples, so that
// the top value times x gives x. Order of tests: null, stride, size.
#include "pixel/arith_const_frame.h"
#include "pixel/arith_forms.h"

namespace nyx::arith {

template <class T, Layout L>
NyxStatus MulScale(const T* src1, int s1, const T* src2, int s2, T* dst, int ds, NyxiSize roi) {
  if (frame::AnyNull(src1, src2, dst)) return nyxStsNullPtrErr;
  if (s1 < 1 || s2 < 1 || ds < 1) return nyxStsStepErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  constexpr bool kAlpha = L == Layout::kAC4;
  WalkBinary<kAlpha>(&avx2::MulScaleRow<T, kAlpha>, &avx2::MulScaleRow<T, kAlpha, !kAlpha>, src1, s1,
                     src2, s2, dst, ds, roi.height, Samples<L>(roi), 0);
  return nyxStsNoErr;
}

}  // namespace nyx::arith

#define NYX_EMIT_MUL_SCALE(T, D)                                                                \
  NYX_ENTRY(NyxStatus, nyxiMulScale_##T##_##D##R,                                               \
            (const Nyx##T* pSrc1, int src1Step, const Nyx##T* pSrc2, int src2Step, Nyx##T* pDst, \
             int dstStep, NyxiSize roiSize),                                                    \
            (pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize)) {                       \
    return nyx::arith::MulScale<Nyx##T, nyx::frame::Layout::k##D>(pSrc1, src1Step, pSrc2,       \
                                                                  src2Step, pDst, dstStep,      \
                                                                  roiSize);                     \
  }                                                                                             \
  NYX_ENTRY(NyxStatus, nyxiMulScale_##T##_##D##IR,                                              \
            (const Nyx##T* pSrc, int srcStep, Nyx##T* pSrcDst, int srcDstStep, NyxiSize roiSize), \
            (pSrc, srcStep, pSrcDst, srcDstStep, roiSize)) {                                    \
    return nyx::arith::MulScale<Nyx##T, nyx::frame::Layout::k##D>(                              \
        pSrc, srcStep, pSrcDst, srcDstStep, pSrcDst, srcDstStep, roiSize);                      \
  }                                                                                             \
  NYX_ENTRY(NyxStatus, nyxiMulCScale_##T##_##D##R,                                              \
            (const Nyx##T* pSrc, int srcStep, NYX_ARITH_CONST_##D(T), Nyx##T* pDst, int dstStep, \
             NyxiSize roiSize),                                                                 \
            (pSrc, srcStep, value, pDst, dstStep, roiSize)) {                                   \
    return nyx::arith::MulCScale<Nyx##T, nyx::frame::Layout::k##D>(                             \
        pSrc, srcStep, NYX_ARITH_CPTR_##D(value), pDst, dstStep, roiSize);                      \
  }                                                                                             \
  NYX_ENTRY(NyxStatus, nyxiMulCScale_##T##_##D##IR,                                             \
            (NYX_ARITH_CONST_##D(T), Nyx##T* pSrcDst, int srcDstStep, NyxiSize roiSize),        \
            (value, pSrcDst, srcDstStep, roiSize)) {                                            \
    return nyx::arith::MulCScale<Nyx##T, nyx::frame::Layout::k##D>(                             \
        pSrcDst, srcDstStep, NYX_ARITH_CPTR_##D(value), pSrcDst, srcDstStep, roiSize);          \
  }
NYX_MUL_SCALE_FORMS(NYX_EMIT_MUL_SCALE)
