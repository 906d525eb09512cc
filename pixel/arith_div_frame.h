// Frames of the divisions: Div (integer and float), DivC (integer), Div_Round.
//
// Order of tests: null, size, stride (a stride below 1 is an error), then
// DivC: a constant of 0 is an error (nothing written); Div_Round: a rounding
// mode above 2 is an error. No C3/C4 routing: every layout tests for itself.
// A zero divisor met in a sample gives that sample its defined value and the
// call ends with nyxStsDivByZeroWrn.
#pragma once

#include "core/fpenv/mxcsr.h"
#include "pixel/arith_const_frame.h"
#include "pixel/arith_div_kernels.h"

namespace nyx::arith {

// The scale factors that the float path sees. Outside [kLo, kHi] the value of
// the rule no longer changes: above, every non-zero divisor gives 0; below,
// every non-zero quotient saturates. Such scale factors are replaced by one
// just beyond the range with the same results (kHi + 2 leaves every quotient
// at most a quarter, so no rounding mode lifts it).
template <class T>
struct DivRange;
template <>
struct DivRange<Nyx8u> {
  static constexpr int kLo = -15, kHi = 8;
};
template <>
struct DivRange<Nyx16s> {
  static constexpr int kLo = -30, kHi = 15;
};
template <>
struct DivRange<Nyx16u> {
  static constexpr int kLo = -31, kHi = 16;
};

template <class T>
inline avx2::DivScale DivScaleFor(int sf) {
  if (sf > DivRange<T>::kHi) sf = DivRange<T>::kHi + 2;
  if (sf < DivRange<T>::kLo) sf = DivRange<T>::kLo - 1;
  const double num = sf < 0 ? __builtin_ldexp(1.0, -sf) : 1.0;
  const double den = sf > 0 ? __builtin_ldexp(1.0, sf) : 1.0;
  return {static_cast<float>(num), static_cast<float>(den), num, den};
}

template <class T>
using DivRowFn = bool (*)(const T*, const T*, T*, size_t, const avx2::DivScale&);

// Runs a division kernel over the rows; the warning if any row met a zero.
template <class T>
NyxStatus WalkDiv(DivRowFn<T> row, const T* src1, int s1, const T* src2, int s2, T* dst, int ds,
                  NyxiSize roi, size_t n, const avx2::DivScale& sc) {
  bool met = false;
  MergeRows(s1, s2, ds, sizeof(T), &roi.height, &n);
  frame::WalkRows(roi.height, [&](int64_t y) {
    met |= row(frame::RowAt(src1, s1, y), frame::RowAt(src2, s2, y), frame::RowAt(dst, ds, y), n,
               sc);
  });
  return met ? nyxStsDivByZeroWrn : nyxStsNoErr;
}

// The exact division kernel of a type: 8u has its own, with a form for
// scale factor 0 that skips the scaling.
template <class T, bool kAlpha>
inline DivRowFn<T> DivRowFor(const avx2::DivScale& sc) {
  if constexpr (sizeof(T) == 1) {
    if (sc.num_f == 1.0f && sc.den_f == 1.0f) return &avx2::DivRow8u<kAlpha, false>;
    return &avx2::DivRow8u<kAlpha, true>;
  } else {
    return &avx2::DivRow<T, kAlpha>;
  }
}

inline bool BadSteps(int a, int b, int c) { return a < 1 || b < 1 || c < 1; }

// Integer Div: dst = round(src2 / (src1 * 2^sf)), ties to even, saturated.
// The rounding control is held at nearest for the call (the 8u kernel
// converts with it).
template <class T, Layout L>
NyxStatus DivSfs(const T* src1, int s1, const T* src2, int s2, T* dst, int ds, NyxiSize roi,
                 int sf) {
  if (frame::AnyNull(src1, src2, dst)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  if (BadSteps(s1, s2, ds)) return nyxStsStepErr;
  const avx2::DivScale sc = DivScaleFor<T>(sf);
  const MxcsrScope rc(kMxcsrRoundNearest, kMxcsrRoundMask);
  return WalkDiv<T>(DivRowFor<T, L == Layout::kAC4>(sc), src1, s1, src2, s2, dst, ds, roi,
                    Samples<L>(roi), sc);
}

// Float Div: IEEE quotients; zero divisors warn.
template <Layout L>
NyxStatus DivF32(const float* src1, int s1, const float* src2, int s2, float* dst, int ds,
                 NyxiSize roi) {
  if (frame::AnyNull(src1, src2, dst)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  if (BadSteps(s1, s2, ds)) return nyxStsStepErr;
  constexpr bool kAlpha = L == Layout::kAC4;
  const size_t n = Samples<L>(roi);
  // Large images stream their stores, as the other two-image float rows.
  if (!StreamsDirect(src1, src2, dst, n * sizeof(float) * static_cast<size_t>(roi.height))) {
    return WalkDiv<float>(&avx2::DivF32Row<kAlpha, false>, src1, s1, src2, s2, dst, ds, roi, n,
                          avx2::DivScale{});
  }
  const NyxStatus st = WalkDiv<float>(&avx2::DivF32Row<kAlpha, true>, src1, s1, src2, s2, dst, ds,
                                      roi, n, avx2::DivScale{});
  avx2::StreamFence();
  return st;
}

// Div_Round: modes 0 (toward zero) and 1 (nearest, ties to even) run with the
// rounding control set to that mode for the whole call (division and
// conversion), restored on return; mode 2 (half away from zero) leaves it.
template <class T, Layout L>
NyxStatus DivRound(const T* src1, int s1, const T* src2, int s2, T* dst, int ds, NyxiSize roi,
                   NyxRoundMode mode, int sf) {
  constexpr bool kAlpha = L == Layout::kAC4;
  if (frame::AnyNull(src1, src2, dst)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  if (BadSteps(s1, s2, ds)) return nyxStsStepErr;
  if (static_cast<unsigned>(mode) > 2) return nyxStsRoundModeErr;
  const avx2::DivScale sc = DivScaleFor<T>(sf);
  if (mode == nyxRndFinancial) {
    return WalkDiv<T>(&avx2::DivRoundRow<T, kAlpha, true>, src1, s1, src2, s2, dst, ds, roi,
                         Samples<L>(roi), sc);
  }
  const MxcsrScope rc(mode == nyxRndZero ? kMxcsrRoundZero : kMxcsrRoundNearest, kMxcsrRoundMask);
  return WalkDiv<T>(&avx2::DivRoundRow<T, kAlpha, false>, src1, s1, src2, s2, dst, ds, roi,
                       Samples<L>(roi), sc);
}

// Integer DivC: the constants laid out as a block of repeated pixels are the
// divisor of the exact division. Above the float range of scale factors every
// result is 0 (a fill that does not read the source). 16u: the value 1 with
// scale factor 0 is a copy (in place: nothing to do).
template <class Op, class T, Layout L>
NyxStatus DivCSfs(const T* src, int ss, const T* value, T* dst, int ds, NyxiSize roi, int sf,
                  bool in_place) {
  if (frame::AnyNull(src, value, dst)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  if (ss < 1 || ds < 1) return nyxStsStepErr;
  if (!NoneZero<L>(value)) return nyxStsDivByZeroErr;
  if (sf > DivRange<T>::kHi) return ZeroFill<L>(dst, ds, roi);
  if (std::is_same_v<T, Nyx16u> && sf == 0 && AllEqual<L>(value, T{1})) {
    return in_place ? nyxStsNoErr : CopyAt<L>(src, ss, dst, ds, roi);
  }
  const ConstBlock<T, L> block(value);
  const avx2::DivScale sc = DivScaleFor<T>(sf);
  const MxcsrScope rc(kMxcsrRoundNearest, kMxcsrRoundMask);
  WalkConst<L == Layout::kAC4>(DivRowFor<T, L == Layout::kAC4>(sc), block.v, src, ss, dst, ds, roi.height,
            Samples<L>(roi), sc);
  return nyxStsNoErr;
}

// The frames above take no operation; this tag fills the Op slot of the
// constant emitters.
struct DivTag {};

}  // namespace nyx::arith

#define NYX_EMIT_DIV_SFS(T, D)                                                                  \
  NYX_ENTRY(NyxStatus, nyxiDiv_##T##_##D##RSfs,                                                 \
            (const Nyx##T* pSrc1, int src1Step, const Nyx##T* pSrc2, int src2Step, Nyx##T* pDst, \
             int dstStep, NyxiSize roiSize, int scaleFactor),                                   \
            (pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize, scaleFactor)) {          \
    return nyx::arith::DivSfs<Nyx##T, nyx::frame::Layout::k##D>(                                \
        pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize, scaleFactor);                 \
  }                                                                                             \
  NYX_ENTRY(NyxStatus, nyxiDiv_##T##_##D##IRSfs,                                                \
            (const Nyx##T* pSrc, int srcStep, Nyx##T* pSrcDst, int srcDstStep, NyxiSize roiSize, \
             int scaleFactor),                                                                  \
            (pSrc, srcStep, pSrcDst, srcDstStep, roiSize, scaleFactor)) {                       \
    return nyx::arith::DivSfs<Nyx##T, nyx::frame::Layout::k##D>(                                \
        pSrc, srcStep, pSrcDst, srcDstStep, pSrcDst, srcDstStep, roiSize, scaleFactor);         \
  }                                                                                             \
  NYX_ENTRY(NyxStatus, nyxiDiv_##T##_##D##RSfs_L,                                               \
            (const Nyx##T* pSrc1, NyxSizeL src1Step, const Nyx##T* pSrc2, NyxSizeL src2Step,    \
             Nyx##T* pDst, NyxSizeL dstStep, NyxiSizeL roiSize, int scaleFactor),               \
            (pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize, scaleFactor)) {          \
    return nyx::arith::PointwiseL<nyx::frame::Layout::k##D>(                                    \
        pSrc1, pSrc2, pDst, {src1Step, src2Step, dstStep}, roiSize,                             \
        [&](const Nyx##T* a, int as, const Nyx##T* b, int bs, Nyx##T* d, int ds, NyxiSize r) {  \
          return nyx::arith::DivSfs<Nyx##T, nyx::frame::Layout::k##D>(a, as, b, bs, d, ds, r,   \
                                                                      scaleFactor);             \
        },                                                                                      \
        nullptr);                                                                               \
  }                                                                                             \
  NYX_ENTRY(NyxStatus, nyxiDiv_##T##_##D##IRSfs_L,                                              \
            (const Nyx##T* pSrc, NyxSizeL srcStep, Nyx##T* pSrcDst, NyxSizeL srcDstStep,        \
             NyxiSizeL roiSize, int scaleFactor),                                               \
            (pSrc, srcStep, pSrcDst, srcDstStep, roiSize, scaleFactor)) {                       \
    return nyx::arith::PointwiseL<nyx::frame::Layout::k##D>(                                    \
        pSrc, pSrcDst, pSrcDst, {srcStep, srcDstStep, srcDstStep}, roiSize,                     \
        [&](const Nyx##T* a, int as, const Nyx##T* b, int bs, Nyx##T* d, int ds, NyxiSize r) {  \
          return nyx::arith::DivSfs<Nyx##T, nyx::frame::Layout::k##D>(a, as, b, bs, d, ds, r,   \
                                                                      scaleFactor);             \
        },                                                                                      \
        nullptr);                                                                               \
  }

#define NYX_EMIT_DIV_F32(D)                                                                     \
  NYX_ENTRY(NyxStatus, nyxiDiv_32f_##D##R,                                                      \
            (const Nyx32f* pSrc1, int src1Step, const Nyx32f* pSrc2, int src2Step, Nyx32f* pDst, \
             int dstStep, NyxiSize roiSize),                                                    \
            (pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize)) {                       \
    return nyx::arith::DivF32<nyx::frame::Layout::k##D>(pSrc1, src1Step, pSrc2, src2Step, pDst, \
                                                        dstStep, roiSize);                      \
  }                                                                                             \
  NYX_ENTRY(NyxStatus, nyxiDiv_32f_##D##IR,                                                     \
            (const Nyx32f* pSrc, int srcStep, Nyx32f* pSrcDst, int srcDstStep, NyxiSize roiSize), \
            (pSrc, srcStep, pSrcDst, srcDstStep, roiSize)) {                                    \
    return nyx::arith::DivF32<nyx::frame::Layout::k##D>(pSrc, srcStep, pSrcDst, srcDstStep,     \
                                                        pSrcDst, srcDstStep, roiSize);          \
  }                                                                                             \
  NYX_ENTRY(NyxStatus, nyxiDiv_32f_##D##R_L,                                                    \
            (const Nyx32f* pSrc1, NyxSizeL src1Step, const Nyx32f* pSrc2, NyxSizeL src2Step,    \
             Nyx32f* pDst, NyxSizeL dstStep, NyxiSizeL roiSize),                                \
            (pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize)) {                       \
    return nyx::arith::PointwiseL<nyx::frame::Layout::k##D>(                                    \
        pSrc1, pSrc2, pDst, {src1Step, src2Step, dstStep}, roiSize,                             \
        &nyx::arith::DivF32<nyx::frame::Layout::k##D>, nullptr);                                \
  }                                                                                             \
  NYX_ENTRY(NyxStatus, nyxiDiv_32f_##D##IR_L,                                                   \
            (const Nyx32f* pSrc, NyxSizeL srcStep, Nyx32f* pSrcDst, NyxSizeL srcDstStep,        \
             NyxiSizeL roiSize),                                                                \
            (pSrc, srcStep, pSrcDst, srcDstStep, roiSize)) {                                    \
    return nyx::arith::PointwiseL<nyx::frame::Layout::k##D>(                                    \
        pSrc, pSrcDst, pSrcDst, {srcStep, srcDstStep, srcDstStep}, roiSize,                     \
        &nyx::arith::DivF32<nyx::frame::Layout::k##D>, nullptr);                                \
  }

#define NYX_EMIT_DIV_ROUND(T, D)                                                                \
  NYX_ENTRY(NyxStatus, nyxiDiv_Round_##T##_##D##RSfs,                                           \
            (const Nyx##T* pSrc1, int src1Step, const Nyx##T* pSrc2, int src2Step, Nyx##T* pDst, \
             int dstStep, NyxiSize roiSize, NyxRoundMode rndMode, int scaleFactor),             \
            (pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize, rndMode, scaleFactor)) { \
    return nyx::arith::DivRound<Nyx##T, nyx::frame::Layout::k##D>(                              \
        pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize, rndMode, scaleFactor);        \
  }                                                                                             \
  NYX_ENTRY(NyxStatus, nyxiDiv_Round_##T##_##D##IRSfs,                                          \
            (const Nyx##T* pSrc, int srcStep, Nyx##T* pSrcDst, int srcDstStep, NyxiSize roiSize, \
             NyxRoundMode rndMode, int scaleFactor),                                            \
            (pSrc, srcStep, pSrcDst, srcDstStep, roiSize, rndMode, scaleFactor)) {              \
    return nyx::arith::DivRound<Nyx##T, nyx::frame::Layout::k##D>(                              \
        pSrc, srcStep, pSrcDst, srcDstStep, pSrcDst, srcDstStep, roiSize, rndMode, scaleFactor); \
  }
