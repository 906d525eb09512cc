// nyxiMulC64f: an image times double constants, one a channel.
//
// Order of tests: null (source, destination, constants), size; no stride
// test. The hint nyxAlgHintAccurate multiplies in double precision; any other
// hint rounds the constants to single precision first and multiplies in
// single precision. Integer results are clamped to the range of the type and
// converted by the rounding mode: 0 truncates, 2 rounds half away from zero,
// any other value rounds to nearest with ties to even. The rounding control
// is set to that mode (nearest for mode 2) for the whole call, product
// included, and restored on return; it is not written when it already holds
// the mode. Float results are the rounded product, with no mode.
#include "core/fpenv/mxcsr.h"
#include "pixel/arith_const_frame.h"
#include "pixel/arith_div_kernels.h"
#include "pixel/arith_forms.h"

namespace nyx::arith {

template <class T, Layout L, class C>
NyxStatus RunMulC64f(const T* src, int ss, const Nyx64f* value, T* dst, int ds, NyxiSize roi,
                     NyxRoundMode mode) {
  const ConstBlock<C, L> block(value);
  const size_t n = Samples<L>(roi);
  if constexpr (std::is_same_v<T, Nyx32f>) {
    WalkConst<false>(&avx2::MulC64fRow<T, C, false>, block.v, src, ss, dst, ds, roi.height, n);
  } else {
    const MxcsrScope rc(mode == nyxRndZero ? kMxcsrRoundZero : kMxcsrRoundNearest,
                        kMxcsrRoundMask);
    if (mode == nyxRndFinancial) {
      WalkConst<false>(&avx2::MulC64fRow<T, C, true>, block.v, src, ss, dst, ds, roi.height, n);
    } else {
      WalkConst<false>(&avx2::MulC64fRow<T, C, false>, block.v, src, ss, dst, ds, roi.height, n);
    }
  }
  return nyxStsNoErr;
}

template <class T, Layout L>
NyxStatus MulC64f(const T* src, int ss, const Nyx64f* value, T* dst, int ds, NyxiSize roi,
                  NyxHintAlgorithm hint, NyxRoundMode mode) {
  if (frame::AnyNull(src, dst, value)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  if (hint == nyxAlgHintAccurate) return RunMulC64f<T, L, double>(src, ss, value, dst, ds, roi, mode);
  return RunMulC64f<T, L, float>(src, ss, value, dst, ds, roi, mode);
}

}  // namespace nyx::arith

#define NYX_EMIT_MULC64F(T, D)                                                                 \
  NYX_ENTRY(NyxStatus, nyxiMulC64f_##T##_##D##R,                                               \
            (const Nyx##T* pSrc, int srcStep, const Nyx64f value[nyx::frame::kChannels<        \
                                                  nyx::frame::Layout::k##D>],                  \
             Nyx##T* pDst, int dstStep, NyxiSize roiSize, NyxHintAlgorithm hint,               \
             NyxRoundMode rndMode),                                                            \
            (pSrc, srcStep, value, pDst, dstStep, roiSize, hint, rndMode)) {                   \
    return nyx::arith::MulC64f<Nyx##T, nyx::frame::Layout::k##D>(pSrc, srcStep, value, pDst,   \
                                                                 dstStep, roiSize, hint,       \
                                                                 rndMode);                     \
  }                                                                                            \
  NYX_ENTRY(NyxStatus, nyxiMulC64f_##T##_##D##IR,                                              \
            (const Nyx64f value[nyx::frame::kChannels<nyx::frame::Layout::k##D>],              \
             Nyx##T* pSrcDst, int srcDstStep, NyxiSize roiSize, NyxHintAlgorithm hint,         \
             NyxRoundMode rndMode),                                                            \
            (value, pSrcDst, srcDstStep, roiSize, hint, rndMode)) {                            \
    return nyx::arith::MulC64f<Nyx##T, nyx::frame::Layout::k##D>(                              \
        pSrcDst, srcDstStep, value, pSrcDst, srcDstStep, roiSize, hint, rndMode);              \
  }
NYX_MULC64F_FORMS(NYX_EMIT_MULC64F)
