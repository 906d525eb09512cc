// Frames of the two-image arithmetic with a scale factor.
//
// Order of tests: C1 and AC4 test null, then size; C3 and C4 test the width,
// multiply it by the channel count in 32 bits and call the C1 frame (so their
// null test comes after the width test). No stride test: any stride, zero and
// negative included, is walked as given.
#pragma once

#include "core/entry/entry.h"
#include "core/frame/frame.h"
#include "exchange/set.h"
#include "pixel/arith_kernels.h"

namespace nyx::arith {

using frame::Layout;

// The thresholds of one operation on one type: from kZeroAt upwards every
// result is zero; from kBoundFrom downwards the kBound role runs.
template <class Op, class T>
struct Thresholds;

template <class T>
using RowFn = void (*)(const T*, const T*, T*, size_t, int);

struct Picked {
  avx2::Role role;
  int k;  // shift count of kPos and kNeg
};

template <class Op, class T>
inline Picked PickRole(int sf) {
  using Th = Thresholds<Op, T>;
  if (sf == 0) return {avx2::Role::kSf0, 0};
  if (sf == 1 && Th::kHasHalf) return {avx2::Role::kSf1, 1};
  if (sf > 0) return {avx2::Role::kPos, sf};
  if (sf > Th::kBoundFrom) return {avx2::Role::kNeg, -sf};
  return {avx2::Role::kBound, 0};
}

template <class Op, class T, bool kAlpha>
inline RowFn<T> RowFor(avx2::Role role) {
  using avx2::BinaryRow;
  using avx2::Role;
  switch (role) {
    case Role::kSf0: return &BinaryRow<Op, T, Role::kSf0, kAlpha>;
    case Role::kSf1: return &BinaryRow<Op, T, Role::kSf1, kAlpha>;
    case Role::kPos: return &BinaryRow<Op, T, Role::kPos, kAlpha>;
    case Role::kNeg: return &BinaryRow<Op, T, Role::kNeg, kAlpha>;
    default: return &BinaryRow<Op, T, Role::kBound, kAlpha>;
  }
}

template <class Op, class T, Layout L>
NyxStatus BinarySfs(const T* src1, int src1_step, const T* src2, int src2_step, T* dst,
                    int dst_step, NyxiSize roi, int sf) {
  if constexpr (L == Layout::kC3 || L == Layout::kC4) {
    if (roi.width < 1) return nyxStsSizeErr;
    return BinarySfs<Op, T, Layout::kC1>(src1, src1_step, src2, src2_step, dst, dst_step,
                                         frame::WidenRoi(roi, frame::kChannels<L>), sf);
  } else {
    if (frame::AnyNull(src1, src2, dst)) return nyxStsNullPtrErr;
    if (frame::BadSize(roi)) return nyxStsSizeErr;
    if (sf >= Thresholds<Op, T>::kZeroAt) {
      // nyxiSet of zero, keeping the meaning of the descriptor: AC4 keeps alpha.
      if constexpr (L == Layout::kAC4) return set::ZeroAC4(dst, dst_step, roi);
      else return set::ZeroC1(dst, dst_step, roi);
    }
    const Picked p = PickRole<Op, T>(sf);
    const RowFn<T> row = RowFor<Op, T, L == Layout::kAC4>(p.role);
    const size_t n = static_cast<size_t>(roi.width) * frame::kChannels<L>;
    frame::WalkRows(roi.height, [&](int64_t y) {
      row(frame::RowAt(src1, src1_step, y), frame::RowAt(src2, src2_step, y),
          frame::RowAt(dst, dst_step, y), n, p.k);
    });
    return nyxStsNoErr;
  }
}

// The one-dimensional primitive (nyxsAdd_8u_Sfs and its like): null, then a
// length below 1; the same roles, and a zero fill above the zero threshold.
template <class Op, class T>
NyxStatus BinarySfs1D(const T* src1, const T* src2, T* dst, int len, int sf) {
  if (frame::AnyNull(src1, src2, dst)) return nyxStsNullPtrErr;
  if (len < 1) return nyxStsSizeErr;
  if (sf >= Thresholds<Op, T>::kZeroAt) {
    __builtin_memset(dst, 0, static_cast<size_t>(len) * sizeof(T));
    return nyxStsNoErr;
  }
  const Picked p = PickRole<Op, T>(sf);
  RowFor<Op, T, false>(p.role)(src1, src2, dst, static_cast<size_t>(len), p.k);
  return nyxStsNoErr;
}

// The _L fall-back: narrow to the plain form when it fits; otherwise walk
// rows in chunks through the one-dimensional primitive (C1, C3, C4) or the
// plain AC4 form on one-row pieces.
template <class Op, class T, Layout L>
NyxStatus BinarySfsL(const T* src1, NyxSizeL src1_step, const T* src2, NyxSizeL src2_step,
                     T* dst, NyxSizeL dst_step, NyxiSizeL roi, int sf) {
  const int factor = L == Layout::kAC4 ? 4 : 1;
  if (frame::FitsPlain(roi, factor, src1_step, src2_step, dst_step)) {
    return BinarySfs<Op, T, L>(src1, static_cast<int>(src1_step), src2,
                               static_cast<int>(src2_step), dst, static_cast<int>(dst_step),
                               frame::Narrow(roi), sf);
  }
  if (roi.height < 1 || roi.width < 1) return nyxStsNoErr;
  if constexpr (L == Layout::kAC4) {
    constexpr int kStep = 4 * sizeof(T);
    return frame::WalkChunks(roi, roi.width, 0xfffffff, [&](int64_t y, int64_t x, int64_t n) {
      return BinarySfs<Op, T, L>(frame::RowAt(src1, src1_step, y) + 4 * x, kStep,
                                 frame::RowAt(src2, src2_step, y) + 4 * x, kStep,
                                 frame::RowAt(dst, dst_step, y) + 4 * x, kStep,
                                 NyxiSize{static_cast<int>(n), 1}, sf);
    });
  } else {
    const int64_t elems = roi.width * frame::kChannels<L>;
    return frame::WalkChunks(roi, elems, 0x3fffffff, [&](int64_t y, int64_t x, int64_t n) {
      return BinarySfs1D<Op, T>(frame::RowAt(src1, src1_step, y) + x,
                                frame::RowAt(src2, src2_step, y) + x,
                                frame::RowAt(dst, dst_step, y) + x, static_cast<int>(n), sf);
    });
  }
}

}  // namespace nyx::arith

// Emits the plain, in-place and _L entries of one form of a two-image
// operation with a scale factor. Op is the operation's name in the export.
#define NYX_EMIT_BINARY_SFS(Op, OpType, T, D)                                                   \
  NYX_ENTRY(NyxStatus, nyxi##Op##_##T##_##D##RSfs,                                              \
            (const Nyx##T* pSrc1, int src1Step, const Nyx##T* pSrc2, int src2Step, Nyx##T* pDst, \
             int dstStep, NyxiSize roiSize, int scaleFactor),                                   \
            (pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize, scaleFactor)) {          \
    return nyx::arith::BinarySfs<OpType, Nyx##T, nyx::frame::Layout::k##D>(                     \
        pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize, scaleFactor);                 \
  }                                                                                             \
  NYX_ENTRY(NyxStatus, nyxi##Op##_##T##_##D##IRSfs,                                             \
            (const Nyx##T* pSrc, int srcStep, Nyx##T* pSrcDst, int srcDstStep, NyxiSize roiSize, \
             int scaleFactor),                                                                  \
            (pSrc, srcStep, pSrcDst, srcDstStep, roiSize, scaleFactor)) {                       \
    return nyx::arith::BinarySfs<OpType, Nyx##T, nyx::frame::Layout::k##D>(                     \
        pSrc, srcStep, pSrcDst, srcDstStep, pSrcDst, srcDstStep, roiSize, scaleFactor);         \
  }                                                                                             \
  NYX_ENTRY(NyxStatus, nyxi##Op##_##T##_##D##RSfs_L,                                            \
            (const Nyx##T* pSrc1, NyxSizeL src1Step, const Nyx##T* pSrc2, NyxSizeL src2Step,    \
             Nyx##T* pDst, NyxSizeL dstStep, NyxiSizeL roiSize, int scaleFactor),               \
            (pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize, scaleFactor)) {          \
    return nyx::arith::BinarySfsL<OpType, Nyx##T, nyx::frame::Layout::k##D>(                    \
        pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize, scaleFactor);                 \
  }                                                                                             \
  NYX_ENTRY(NyxStatus, nyxi##Op##_##T##_##D##IRSfs_L,                                           \
            (const Nyx##T* pSrc, NyxSizeL srcStep, Nyx##T* pSrcDst, NyxSizeL srcDstStep,        \
             NyxiSizeL roiSize, int scaleFactor),                                               \
            (pSrc, srcStep, pSrcDst, srcDstStep, roiSize, scaleFactor)) {                       \
    return nyx::arith::BinarySfsL<OpType, Nyx##T, nyx::frame::Layout::k##D>(                    \
        pSrc, srcStep, pSrcDst, srcDstStep, pSrcDst, srcDstStep, roiSize, scaleFactor);         \
  }
