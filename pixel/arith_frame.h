// Frames of the two-image arithmetic: Add, Sub, Mul with a scale factor and
// in float, and the _L fall-back shared by every arithmetic family.
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

// ---------------------------------------------------------------------------
// Thresholds of the scale factor, by operation and type. From kZeroAt upwards
// every result rounds to zero, and the call is a fill with zero that does not
// read the sources; from kBoundFrom downwards every non-zero value saturates
// and the kBound role runs. Both are shortcuts that give the values of the
// rule; in between the middle roles run.

template <class Op, class T>
struct Thresholds;

#define NYX_ARITH_THRESHOLDS(Op, T, zero_at, bound_from) \
  template <>                                            \
  struct Thresholds<avx2::Op, T> {                       \
    static constexpr int kZeroAt = zero_at;              \
    static constexpr int kBoundFrom = bound_from;        \
  };
// 8u: a sum is at most 510 < 2^9 + 2^8, a difference at most 255, a product
// at most 65025; 1 << 8 already saturates. 16-bit: likewise with 2^16; the
// 16u sums and differences stay exact in 32 bits for any shift below 16, so
// their bound role starts at -16 as for the constant forms.
NYX_ARITH_THRESHOLDS(AddOp, Nyx8u, 10, -8)
NYX_ARITH_THRESHOLDS(AddOp, Nyx16s, 17, -16)
NYX_ARITH_THRESHOLDS(AddOp, Nyx16u, 18, -16)
NYX_ARITH_THRESHOLDS(SubOp, Nyx8u, 9, -8)
NYX_ARITH_THRESHOLDS(SubOp, Nyx16s, 17, -16)
NYX_ARITH_THRESHOLDS(SubOp, Nyx16u, 17, -16)
NYX_ARITH_THRESHOLDS(MulOp, Nyx8u, 17, -8)
NYX_ARITH_THRESHOLDS(MulOp, Nyx16s, 31, -15)
NYX_ARITH_THRESHOLDS(MulOp, Nyx16u, 33, -17)
#undef NYX_ARITH_THRESHOLDS

template <class T>
using RowFn = void (*)(const T*, const T*, T*, size_t, int);

struct Picked {
  avx2::Role role;
  int k;  // shift count of kPos and kNeg
};

// Below the zero threshold: the role of a scale factor.
template <class Op, class T>
inline Picked PickRole(int sf) {
  if (sf == 0) return {avx2::Role::kSf0, 0};
  if (sf == 1) return {avx2::Role::kSf1, 1};
  if (sf > 0) return {avx2::Role::kPos, sf};
  if (sf > Thresholds<Op, T>::kBoundFrom) return {avx2::Role::kNeg, -sf};
  return {avx2::Role::kBound, 0};
}

template <class Op, class T, bool kAlpha, bool kStream = false>
inline RowFn<T> RowFor(avx2::Role role) {
  using avx2::BinaryRow;
  using avx2::Role;
  switch (role) {
    case Role::kSf0: return &BinaryRow<Op, T, Role::kSf0, kAlpha, kStream>;
    case Role::kSf1: return &BinaryRow<Op, T, Role::kSf1, kAlpha, kStream>;
    case Role::kPos: return &BinaryRow<Op, T, Role::kPos, kAlpha, kStream>;
    case Role::kNeg: return &BinaryRow<Op, T, Role::kNeg, kAlpha, kStream>;
    default: return &BinaryRow<Op, T, Role::kBound, kAlpha, kStream>;
  }
}

// A fill with zero of a ROI that keeps the meaning of the descriptor: C3 and
// C4 are one run of samples, AC4 keeps alpha.
template <Layout L, class T>
inline NyxStatus ZeroFill(T* dst, int step, NyxiSize roi) {
  if constexpr (L == Layout::kAC4) return set::ZeroAC4(dst, step, roi);
  else return set::ZeroC1(dst, step, frame::WidenRoi(roi, frame::kChannels<L>));
}

// Destinations from kStreamBytes on are written past the caches (below it,
// measured at 1920x1080, the extra pass costs about what the saved reads of
// the destination gain): each row is
// computed piece by piece (kPiece samples: a whole number of pixels and of
// constant blocks) into a buffer on the stack, AC4 alpha copied in first, and
// each piece is stored with non-temporal stores. The values do not change.
inline constexpr size_t kStreamBytes = size_t{16} << 20;
inline constexpr size_t kPiece = 768;

// Calls compute(y, j, out, m) to produce samples [j, j + m) of every row y,
// in pieces of at most `piece` samples (kPiece when streaming).
template <bool kAlpha, class T, class Compute>
inline void WalkOut(int height, size_t n, size_t piece, T* dst, int64_t ds, Compute&& compute) {
  if (n * sizeof(T) * static_cast<size_t>(height) < kStreamBytes) {
    frame::WalkRows(height, [&](int64_t y) {
      T* d = frame::RowAt(dst, ds, y);
      for (size_t j = 0; j < n; j += piece) compute(y, j, d + j, n - j < piece ? n - j : piece);
    });
    return;
  }
  alignas(32) T tmp[kPiece];
  frame::WalkRows(height, [&](int64_t y) {
    T* d = frame::RowAt(dst, ds, y);
    for (size_t j = 0; j < n; j += kPiece) {
      const size_t m = n - j < kPiece ? n - j : kPiece;
      if constexpr (kAlpha) __builtin_memcpy(tmp, d + j, m * sizeof(T));
      compute(y, j, tmp, m);
      avx2::StreamOut(tmp, d + j, m);
    }
  });
  avx2::StreamFence();
}

// Two-image rows without alpha write large destinations with their own
// non-temporal stores (the row kernel's kStream form, no pass through a
// buffer) once the distinct images of the call no longer fit the 2 MiB
// second-level cache: their lines then come from farther away anyway, and
// the streamed destination saves reading its lines before they are written.
// Measured with three images of 640 KiB, 768 KiB and up: streaming is 3%
// slower, then 25-35% faster (float and 16-bit rows alike).
inline constexpr size_t kDirectStreamSet = size_t{2} << 20;

template <class T>
inline bool StreamsDirect(const T* src1, const T* src2, const T* dst, size_t bytes) {
  const size_t images = dst == src1 || dst == src2 ? 2 : 3;
  return bytes * images >= kDirectStreamSet;
}

// Gapless images run as one long row (frame::MergeGapless). AC4 rows hold
// whole pixels, so the long row keeps alpha in every fourth sample.
inline void MergeRows(int64_t s1, int64_t s2, int64_t ds, size_t sample_bytes, int* height,
                      size_t* n) {
  int64_t width = static_cast<int64_t>(*n), rows = *height;
  const int64_t b = static_cast<int64_t>(sample_bytes);
  if (frame::MergeGapless(&width, &rows, {{s1, b}, {s2, b}, {ds, b}})) {
    *n = static_cast<size_t>(width);
    *height = 1;
  }
}

// Runs one row kernel over all rows of a ROI of n samples a row: `row`, or
// its streamed form `stream_row` (unused for AC4) for large destinations.
template <bool kAlpha, class T, class Row, class... Arg>
inline void WalkBinary(Row row, Row stream_row, const T* src1, int64_t s1, const T* src2,
                       int64_t s2, T* dst, int64_t ds, int height, size_t n, Arg... arg) {
  MergeRows(s1, s2, ds, sizeof(T), &height, &n);
  if (!kAlpha && StreamsDirect(src1, src2, dst, n * sizeof(T) * static_cast<size_t>(height))) {
    frame::WalkRows(height, [&](int64_t y) {
      stream_row(frame::RowAt(src1, s1, y), frame::RowAt(src2, s2, y), frame::RowAt(dst, ds, y),
                 n, arg...);
    });
    avx2::StreamFence();
    return;
  }
  WalkOut<kAlpha>(height, n, n, dst, ds, [&](int64_t y, size_t j, T* out, size_t m) {
    row(frame::RowAt(src1, s1, y) + j, frame::RowAt(src2, s2, y) + j, out, m, arg...);
  });
}

template <Layout L>
inline size_t Samples(NyxiSize roi) {
  return static_cast<size_t>(roi.width) * frame::kChannels<L>;
}

// ---------------------------------------------------------------------------
// Two images with a scale factor.

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
    if (sf >= Thresholds<Op, T>::kZeroAt) return ZeroFill<L>(dst, dst_step, roi);
    const Picked p = PickRole<Op, T>(sf);
    constexpr bool kAlpha = L == Layout::kAC4;
    WalkBinary<kAlpha>(RowFor<Op, T, kAlpha>(p.role), RowFor<Op, T, kAlpha, !kAlpha>(p.role), src1,
                       src1_step, src2, src2_step, dst, dst_step, roi.height, Samples<L>(roi), p.k);
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

// ---------------------------------------------------------------------------
// Two float images: one IEEE operation per sample.

template <class Op, Layout L>
NyxStatus BinaryF32(const float* src1, int src1_step, const float* src2, int src2_step,
                    float* dst, int dst_step, NyxiSize roi) {
  if constexpr (L == Layout::kC3 || L == Layout::kC4) {
    if (roi.width < 1) return nyxStsSizeErr;
    return BinaryF32<Op, Layout::kC1>(src1, src1_step, src2, src2_step, dst, dst_step,
                                      frame::WidenRoi(roi, frame::kChannels<L>));
  } else {
    if (frame::AnyNull(src1, src2, dst)) return nyxStsNullPtrErr;
    if (frame::BadSize(roi)) return nyxStsSizeErr;
    constexpr bool kAlpha = L == Layout::kAC4;
    WalkBinary<kAlpha>(&avx2::FloatRow<Op, kAlpha>, &avx2::FloatRow<Op, kAlpha, !kAlpha>, src1,
                       src1_step, src2, src2_step, dst, dst_step, roi.height, Samples<L>(roi), 0);
    return nyxStsNoErr;
  }
}

template <class Op>
NyxStatus BinaryF32_1D(const float* src1, const float* src2, float* dst, int len) {
  if (frame::AnyNull(src1, src2, dst)) return nyxStsNullPtrErr;
  if (len < 1) return nyxStsSizeErr;
  avx2::FloatRow<Op, false>(src1, src2, dst, static_cast<size_t>(len), 0);
  return nyxStsNoErr;
}

// ---------------------------------------------------------------------------
// The _L fall-back of the point-wise families.
//
// 1. Strides and sample count fit: narrow, call the plain form (its status).
// 2. Otherwise an empty size is success with nothing done.
// 3. Otherwise walk the rows one by one, each in chunks: two-image C1, C3, C4
//    forms through the one-dimensional primitive (0x3fffffff samples a
//    chunk); AC4 and the forms whose channels differ through the plain form
//    on one-row pieces of 0xfffffff pixels. A negative status ends the walk.

struct StepsL {
  NyxSizeL s1, s2, d;
};

// plain(src1, int step1, src2, int step2, dst, int dst_step, NyxiSize roi)
// one_d(src1, src2, dst, int len), used for C1, C3, C4 when given.
template <Layout L, class S1, class S2, class D, class Plain, class OneD>
NyxStatus PointwiseL(const S1* src1, const S2* src2, D* dst, StepsL st, NyxiSizeL roi,
                     Plain&& plain, OneD&& one_d) {
  constexpr int kCh = frame::kChannels<L>;
  if (frame::FitsPlain(roi, L == Layout::kAC4 ? 4 : 1, st.s1, st.s2, st.d)) {
    return plain(src1, static_cast<int>(st.s1), src2, static_cast<int>(st.s2), dst,
                 static_cast<int>(st.d), frame::Narrow(roi));
  }
  if (roi.height < 1 || roi.width < 1) return nyxStsNoErr;
  if constexpr (L != Layout::kAC4 && !std::is_same_v<OneD, std::nullptr_t>) {
    return frame::WalkChunks(roi, roi.width * kCh, 0x3fffffff,
                             [&](int64_t y, int64_t x, int64_t n) {
                               return one_d(frame::RowAt(src1, st.s1, y) + x,
                                            frame::RowAt(src2, st.s2, y) + x,
                                            frame::RowAt(dst, st.d, y) + x, static_cast<int>(n));
                             });
  } else {
    // A warning of an earlier chunk is kept when a later one has none.
    NyxStatus warn = nyxStsNoErr;
    const NyxStatus st_last = frame::WalkChunks(
        roi, roi.width, 0xfffffff, [&](int64_t y, int64_t x, int64_t n) {
          const NyxStatus r = plain(frame::RowAt(src1, st.s1, y) + kCh * x,
                                    static_cast<int>(kCh * sizeof(S1)),
                                    frame::RowAt(src2, st.s2, y) + kCh * x,
                                    static_cast<int>(kCh * sizeof(S2)),
                                    frame::RowAt(dst, st.d, y) + kCh * x,
                                    static_cast<int>(kCh * sizeof(D)), NyxiSize{static_cast<int>(n), 1});
          if (r > 0 && warn == nyxStsNoErr) warn = r;
          return r;
        });
    return st_last < 0 ? st_last : (warn != nyxStsNoErr ? warn : st_last);
  }
}

template <class Op, class T, Layout L>
NyxStatus BinarySfsL(const T* src1, NyxSizeL src1_step, const T* src2, NyxSizeL src2_step,
                     T* dst, NyxSizeL dst_step, NyxiSizeL roi, int sf) {
  return PointwiseL<L>(
      src1, src2, dst, {src1_step, src2_step, dst_step}, roi,
      [sf](const T* a, int as, const T* b, int bs, T* d, int ds, NyxiSize r) {
        return BinarySfs<Op, T, L>(a, as, b, bs, d, ds, r, sf);
      },
      [sf](const T* a, const T* b, T* d, int len) { return BinarySfs1D<Op, T>(a, b, d, len, sf); });
}

template <class Op, Layout L>
NyxStatus BinaryF32L(const float* src1, NyxSizeL src1_step, const float* src2,
                     NyxSizeL src2_step, float* dst, NyxSizeL dst_step, NyxiSizeL roi) {
  return PointwiseL<L>(src1, src2, dst, {src1_step, src2_step, dst_step}, roi,
                       &BinaryF32<Op, L>, &BinaryF32_1D<Op>);
}

}  // namespace nyx::arith

// ---------------------------------------------------------------------------
// Emitters: the plain, in-place and _L entries of one form.

// Two images with a scale factor. Op is the operation's name in the export.
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

// Two float images.
#define NYX_EMIT_BINARY_F32(Op, OpType, D)                                                      \
  NYX_ENTRY(NyxStatus, nyxi##Op##_32f_##D##R,                                                   \
            (const Nyx32f* pSrc1, int src1Step, const Nyx32f* pSrc2, int src2Step, Nyx32f* pDst, \
             int dstStep, NyxiSize roiSize),                                                    \
            (pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize)) {                       \
    return nyx::arith::BinaryF32<OpType, nyx::frame::Layout::k##D>(pSrc1, src1Step, pSrc2,      \
                                                                   src2Step, pDst, dstStep,     \
                                                                   roiSize);                    \
  }                                                                                             \
  NYX_ENTRY(NyxStatus, nyxi##Op##_32f_##D##IR,                                                  \
            (const Nyx32f* pSrc, int srcStep, Nyx32f* pSrcDst, int srcDstStep, NyxiSize roiSize), \
            (pSrc, srcStep, pSrcDst, srcDstStep, roiSize)) {                                    \
    return nyx::arith::BinaryF32<OpType, nyx::frame::Layout::k##D>(                             \
        pSrc, srcStep, pSrcDst, srcDstStep, pSrcDst, srcDstStep, roiSize);                      \
  }                                                                                             \
  NYX_ENTRY(NyxStatus, nyxi##Op##_32f_##D##R_L,                                                 \
            (const Nyx32f* pSrc1, NyxSizeL src1Step, const Nyx32f* pSrc2, NyxSizeL src2Step,    \
             Nyx32f* pDst, NyxSizeL dstStep, NyxiSizeL roiSize),                                \
            (pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize)) {                       \
    return nyx::arith::BinaryF32L<OpType, nyx::frame::Layout::k##D>(                            \
        pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize);                              \
  }                                                                                             \
  NYX_ENTRY(NyxStatus, nyxi##Op##_32f_##D##IR_L,                                                \
            (const Nyx32f* pSrc, NyxSizeL srcStep, Nyx32f* pSrcDst, NyxSizeL srcDstStep,        \
             NyxiSizeL roiSize),                                                                \
            (pSrc, srcStep, pSrcDst, srcDstStep, roiSize)) {                                    \
    return nyx::arith::BinaryF32L<OpType, nyx::frame::Layout::k##D>(                            \
        pSrc, srcStep, pSrcDst, srcDstStep, pSrcDst, srcDstStep, roiSize);                      \
  }
