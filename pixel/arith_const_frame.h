// Frames of an image with constants: AddC, SubC, MulC with a scale factor
// and in float, DivC in float, MulCScale.
//
// The constants are laid out once per call as a block of repeated pixels on
// the stack (AC4: alpha gets 0, it is never stored), and the rows of the
// two-image kernels step through each image row against it: the block is the
// first operand, so SubC computes src minus value like Sub's src2 - src1.
//
// Order of the integer forms: null (source, constants, destination), size,
// then the shortcuts, then the kernel of the role:
//   1. scale factor 0 and the identity value (0; MulC: 1): a copy, or for
//      in-place forms nothing at all;
//   2. from the zero threshold up: a fill with zero;
//   3. AddC of unsigned samples from the bound down with no constant 0: every
//      result is the top of the range, a fill that does not read the source.
// MulC tests for constants that are all 0 first of all (a fill with zero).
// The 16u forms take the shortcuts before the argument tests: the copy goes
// straight to the copy of 16s samples (its own tests apply), and the zero
// fill tests only the source pointer before the fill of 16s samples.
#pragma once

#include "pixel/arith_frame.h"
#include "pixel/arith_shortcuts.h"

namespace nyx::arith {

// Samples in a block: a multiple of 3 and 4 samples and of two vector words
// of every type, so each chunk of a row starts at the same pixel phase.
inline constexpr size_t kBlock = 768;

template <class C, Layout L>
struct ConstBlock {
  static constexpr int kCh = frame::kChannels<L>;
  alignas(32) C v[kBlock];
  template <class From>
  explicit ConstBlock(const From* value) {
    for (size_t i = 0; i < kBlock; ++i) {
      const size_t c = i % kCh;
      v[i] = (L == Layout::kAC4 && c == 3) ? C{} : static_cast<C>(value[c]);
    }
  }
};

// Runs row(block, src_chunk, dst_chunk, count, arg...) over every row in
// chunks of at most one block.
template <bool kAlpha, class C, class T, class Row, class... Arg>
inline void WalkConst(Row row, const C* block, const T* src, int64_t ss, T* dst, int64_t ds,
                      int height, size_t n, Arg... arg) {
  static_assert(kPiece % kBlock == 0 || kBlock % kPiece == 0, "pieces keep the block phase");
  WalkOut<kAlpha>(height, n, kBlock, dst, ds, [&](int64_t y, size_t j, T* out, size_t m) {
    row(block, frame::RowAt(src, ss, y) + j, out, m, arg...);
  });
}

template <Layout L, class T>
inline bool AllEqual(const T* value, T x) {
  for (int c = 0; c < (L == Layout::kAC4 ? 3 : frame::kChannels<L>); ++c) {
    if (value[c] != x) return false;
  }
  return true;
}
template <Layout L, class T>
inline bool NoneZero(const T* value) {
  for (int c = 0; c < (L == Layout::kAC4 ? 3 : frame::kChannels<L>); ++c) {
    if (value[c] == 0) return false;
  }
  return true;
}

template <class Op>
inline constexpr int kIdentity = std::is_same_v<Op, avx2::MulOp> ? 1 : 0;

// The shortcuts that need no kernel; returns true with *st set when one ran.
template <class Op, class T, Layout L>
bool ConstShortcut(const T* src, int ss, const T* value, T* dst, int ds, NyxiSize roi, int sf,
                   bool in_place, NyxStatus* st) {
  constexpr bool kMul = std::is_same_v<Op, avx2::MulOp>;
  if ((kMul && AllEqual<L>(value, T{0})) || sf >= Thresholds<Op, T>::kZeroAt) {
    *st = ZeroFill<L>(dst, ds, roi);
  } else if (sf == 0 && AllEqual<L>(value, static_cast<T>(kIdentity<Op>))) {
    *st = in_place ? nyxStsNoErr : CopyAt<L>(src, ss, dst, ds, roi);
  } else if (std::is_same_v<Op, avx2::AddOp> && std::is_unsigned_v<T> &&
             sf <= Thresholds<Op, T>::kBoundFrom && NoneZero<L>(value)) {
    *st = SetAllAt<L>(std::numeric_limits<T>::max(), dst, ds, roi);
  } else {
    return false;
  }
  return true;
}

template <class Op, class T, Layout L>
NyxStatus ConstSfs(const T* src, int ss, const T* value, T* dst, int ds, NyxiSize roi, int sf,
                   bool in_place) {
  NyxStatus st;
  if constexpr (std::is_same_v<T, Nyx16u>) {
    if (L != Layout::kC1 && value == nullptr) return nyxStsNullPtrErr;
    const bool zero = sf >= Thresholds<Op, T>::kZeroAt ||
                      (std::is_same_v<Op, avx2::MulOp> && AllEqual<L>(value, T{0}));
    if (zero && src == nullptr) return nyxStsNullPtrErr;
    if ((zero || (sf == 0 && AllEqual<L>(value, static_cast<T>(kIdentity<Op>)))) &&
        ConstShortcut<Op, T, L>(src, ss, value, dst, ds, roi, sf, in_place, &st)) {
      return st;
    }
  }
  if (frame::AnyNull(src, value, dst)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  if (ConstShortcut<Op, T, L>(src, ss, value, dst, ds, roi, sf, in_place, &st)) return st;
  const ConstBlock<T, L> block(value);
  const Picked p = PickRole<Op, T>(sf);
  WalkConst<L == Layout::kAC4>(RowFor<Op, T, L == Layout::kAC4>(p.role), block.v, src, ss, dst, ds, roi.height,
            Samples<L>(roi), p.k);
  return nyxStsNoErr;
}

// Float: one IEEE operation per sample, no shortcut (adding 0 turns -0 into
// +0, multiplying by 0 keeps NaN and the sign).
template <class Op, Layout L>
NyxStatus ConstF32(const float* src, int ss, const float* value, float* dst, int ds,
                   NyxiSize roi) {
  if (frame::AnyNull(src, value, dst)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  const ConstBlock<float, L> block(value);
  WalkConst<L == Layout::kAC4>(&avx2::FloatRow<Op, L == Layout::kAC4>, block.v, src, ss, dst, ds, roi.height,
            Samples<L>(roi), 0);
  return nyxStsNoErr;
}

// DivC in float is not a division: the product with the single-precision
// reciprocal of each constant (rounding differs from a quotient, on purpose);
// Op is the product.
// Null, size, stride, then a constant of 0 (either sign) is an error.
template <class Op, Layout L>
NyxStatus DivCF32(const float* src, int ss, const float* value, float* dst, int ds,
                  NyxiSize roi) {
  if (frame::AnyNull(src, value, dst)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  if (ss < 1 || ds < 1) return nyxStsStepErr;
  if (!NoneZero<L>(value)) return nyxStsDivByZeroErr;
  float recip[4] = {};
  for (int c = 0; c < frame::kChannels<L>; ++c) recip[c] = 1.0f / value[c];
  return ConstF32<Op, L>(src, ss, recip, dst, ds, roi);
}

// MulCScale: null, stride, size.
template <class T, Layout L>
NyxStatus MulCScale(const T* src, int ss, const T* value, T* dst, int ds, NyxiSize roi) {
  if (frame::AnyNull(src, value, dst)) return nyxStsNullPtrErr;
  if (ss < 1 || ds < 1) return nyxStsStepErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  const ConstBlock<T, L> block(value);
  WalkConst<L == Layout::kAC4>(&avx2::MulScaleRow<T, L == Layout::kAC4>, block.v, src, ss, dst, ds, roi.height,
            Samples<L>(roi), 0);
  return nyxStsNoErr;
}

// The _L fall-back of a one-source form: through the plain form, on one-row
// pieces when the strides do not fit.
template <Layout L, class T, class Plain>
NyxStatus UnaryL(const T* src, NyxSizeL ss, T* dst, NyxSizeL ds, NyxiSizeL roi, Plain&& plain) {
  return PointwiseL<L>(
      src, src, dst, {ss, ss, ds}, roi,
      [&](const T* s, int s_step, const T*, int, T* d, int d_step, NyxiSize r) {
        return plain(s, s_step, d, d_step, r);
      },
      nullptr);
}

}  // namespace nyx::arith

// The constants as a pointer: C1 takes its one value by value.
#define NYX_ARITH_CPTR_C1(v) (&v)
#define NYX_ARITH_CPTR_C3(v) (v)
#define NYX_ARITH_CPTR_C4(v) (v)
#define NYX_ARITH_CPTR_AC4(v) (v)

// Emits the plain, in-place and _L entries of one constant form with a scale
// factor. Frame<OpType, T, L>(src, step, values, dst, step, roi, sf, in_place).
#define NYX_EMIT_CONST_SFS(Op, Frame, OpType, T, D)                                           \
  NYX_ENTRY(NyxStatus, nyxi##Op##_##T##_##D##RSfs,                                            \
            (const Nyx##T* pSrc, int srcStep, NYX_ARITH_CONST_##D(T), Nyx##T* pDst,           \
             int dstStep, NyxiSize roiSize, int scaleFactor),                                 \
            (pSrc, srcStep, value, pDst, dstStep, roiSize, scaleFactor)) {                    \
    return nyx::arith::Frame<OpType, Nyx##T, nyx::frame::Layout::k##D>(                       \
        pSrc, srcStep, NYX_ARITH_CPTR_##D(value), pDst, dstStep, roiSize, scaleFactor, false); \
  }                                                                                           \
  NYX_ENTRY(NyxStatus, nyxi##Op##_##T##_##D##IRSfs,                                           \
            (NYX_ARITH_CONST_##D(T), Nyx##T* pSrcDst, int srcDstStep, NyxiSize roiSize,       \
             int scaleFactor),                                                                \
            (value, pSrcDst, srcDstStep, roiSize, scaleFactor)) {                             \
    return nyx::arith::Frame<OpType, Nyx##T, nyx::frame::Layout::k##D>(                       \
        pSrcDst, srcDstStep, NYX_ARITH_CPTR_##D(value), pSrcDst, srcDstStep, roiSize,         \
        scaleFactor, true);                                                                   \
  }                                                                                           \
  NYX_ENTRY(NyxStatus, nyxi##Op##_##T##_##D##RSfs_L,                                          \
            (const Nyx##T* pSrc, NyxSizeL srcStep, NYX_ARITH_CONST_##D(T), Nyx##T* pDst,      \
             NyxSizeL dstStep, NyxiSizeL roiSize, int scaleFactor),                           \
            (pSrc, srcStep, value, pDst, dstStep, roiSize, scaleFactor)) {                    \
    return nyx::arith::UnaryL<nyx::frame::Layout::k##D>(                                      \
        pSrc, srcStep, pDst, dstStep, roiSize,                                                \
        [&](const Nyx##T* s, int ss, Nyx##T* d, int ds, NyxiSize r) {                         \
          return nyx::arith::Frame<OpType, Nyx##T, nyx::frame::Layout::k##D>(                 \
              s, ss, NYX_ARITH_CPTR_##D(value), d, ds, r, scaleFactor, false);                \
        });                                                                                   \
  }                                                                                           \
  NYX_ENTRY(NyxStatus, nyxi##Op##_##T##_##D##IRSfs_L,                                         \
            (NYX_ARITH_CONST_##D(T), Nyx##T* pSrcDst, NyxSizeL srcDstStep, NyxiSizeL roiSize, \
             int scaleFactor),                                                                \
            (value, pSrcDst, srcDstStep, roiSize, scaleFactor)) {                             \
    return nyx::arith::UnaryL<nyx::frame::Layout::k##D>(                                      \
        pSrcDst, srcDstStep, pSrcDst, srcDstStep, roiSize,                                    \
        [&](const Nyx##T* s, int ss, Nyx##T* d, int ds, NyxiSize r) {                         \
          return nyx::arith::Frame<OpType, Nyx##T, nyx::frame::Layout::k##D>(                 \
              s, ss, NYX_ARITH_CPTR_##D(value), d, ds, r, scaleFactor, true);                 \
        });                                                                                   \
  }

// The same for the float forms: Frame<OpType, L>(src, step, values, dst, step, roi).
#define NYX_EMIT_CONST_F32(Op, Frame, OpType, D)                                              \
  NYX_ENTRY(NyxStatus, nyxi##Op##_32f_##D##R,                                                 \
            (const Nyx32f* pSrc, int srcStep, NYX_ARITH_CONST_##D(32f), Nyx32f* pDst,         \
             int dstStep, NyxiSize roiSize),                                                  \
            (pSrc, srcStep, value, pDst, dstStep, roiSize)) {                                 \
    return nyx::arith::Frame<OpType, nyx::frame::Layout::k##D>(                               \
        pSrc, srcStep, NYX_ARITH_CPTR_##D(value), pDst, dstStep, roiSize);                    \
  }                                                                                           \
  NYX_ENTRY(NyxStatus, nyxi##Op##_32f_##D##IR,                                                \
            (NYX_ARITH_CONST_##D(32f), Nyx32f* pSrcDst, int srcDstStep, NyxiSize roiSize),    \
            (value, pSrcDst, srcDstStep, roiSize)) {                                          \
    return nyx::arith::Frame<OpType, nyx::frame::Layout::k##D>(                               \
        pSrcDst, srcDstStep, NYX_ARITH_CPTR_##D(value), pSrcDst, srcDstStep, roiSize);        \
  }                                                                                           \
  NYX_ENTRY(NyxStatus, nyxi##Op##_32f_##D##R_L,                                               \
            (const Nyx32f* pSrc, NyxSizeL srcStep, NYX_ARITH_CONST_##D(32f), Nyx32f* pDst,    \
             NyxSizeL dstStep, NyxiSizeL roiSize),                                            \
            (pSrc, srcStep, value, pDst, dstStep, roiSize)) {                                 \
    return nyx::arith::UnaryL<nyx::frame::Layout::k##D>(                                      \
        pSrc, srcStep, pDst, dstStep, roiSize,                                                \
        [&](const Nyx32f* s, int ss, Nyx32f* d, int ds, NyxiSize r) {                         \
          return nyx::arith::Frame<OpType, nyx::frame::Layout::k##D>(                         \
              s, ss, NYX_ARITH_CPTR_##D(value), d, ds, r);                                    \
        });                                                                                   \
  }                                                                                           \
  NYX_ENTRY(NyxStatus, nyxi##Op##_32f_##D##IR_L,                                              \
            (NYX_ARITH_CONST_##D(32f), Nyx32f* pSrcDst, NyxSizeL srcDstStep,                  \
             NyxiSizeL roiSize),                                                              \
            (value, pSrcDst, srcDstStep, roiSize)) {                                          \
    return nyx::arith::UnaryL<nyx::frame::Layout::k##D>(                                      \
        pSrcDst, srcDstStep, pSrcDst, srcDstStep, roiSize,                                    \
        [&](const Nyx32f* s, int ss, Nyx32f* d, int ds, NyxiSize r) {                         \
          return nyx::arith::Frame<OpType, nyx::frame::Layout::k##D>(                         \
              s, ss, NYX_ARITH_CPTR_##D(value), d, ds, r);                                    \
        });                                                                                   \
  }
