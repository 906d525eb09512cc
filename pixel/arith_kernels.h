// Row kernels of the two-image arithmetic with a scale factor.
//
// Kernel contract (all kernels of this file): any count n from 1; no read or
// write outside [p, p + n) of each row; the destination may equal a source
// exactly but must not partly overlap it; results do not depend on how n
// splits into vector blocks. kAlpha kernels leave every fourth sample of the
// destination as it was (the row is a run of four-sample pixels).
//
// The scale-factor rule is split over five roles so that no kernel branches
// per sample (s is the exact sum, difference or product, sf the scale factor):
//   kSf0    saturate(s)
//   kSf1    round-half-even of s / 2
//   kPos    (s + (2^(sf-1) - 1) + ((s >> sf) & 1)) >> sf, then saturate
//   kNeg    saturate(s << n), n = -sf
//   kBound  what is left for large negative sf: zero stays zero, anything
//           else goes to the bound of its sign
// An operation is a struct that gives each role its value (see AddOp).
#pragma once

#include <cstddef>

#include "core/simd/vec.h"

namespace nyx::avx2 {

enum class Role { kSf0, kSf1, kPos, kNeg, kBound };

// Writes a result of the wide type W as samples of T, keeping alpha when asked:
// the one adaptor that gives every operation its AC4 form.
template <bool kAlpha, template <class> class V, class W, class T>
NYX_INLINE void PutResult(V<W> r, T* d, size_t i) {
  if constexpr (kAlpha) r = IfThenElse(AlphaLanes<V<W>>(i), PromoteLoadU<V, W>(d + i), r);
  DemoteStoreU(r, d + i);
}

template <class Op, class T, Role R, bool kAlpha>
void BinaryRow(const T* a, const T* b, T* d, size_t n, int k) {
  using W = typename Op::template Wide<T>;
  if constexpr (R == Role::kSf0 || R == Role::kSf1 || R == Role::kBound) {
    // Roles computed in the sample type itself.
    ForEachBlock<T>(n, [&]<template <class> class V>(size_t i) {
      const V<T> x = V<T>::LoadU(a + i), y = V<T>::LoadU(b + i);
      V<T> r;
      if constexpr (R == Role::kSf0) r = Op::Sat(x, y);
      else if constexpr (R == Role::kSf1) r = Op::Half(x, y);
      else r = Op::Bound(x, y);
      PutResult<kAlpha, V, T>(r, d, i);
    });
  } else {
    // Roles computed on the exact value in the wide type.
    ForEachBlock<W>(n, [&]<template <class> class V>(size_t i) {
      const V<W> x = PromoteLoadU<V, W>(a + i), y = PromoteLoadU<V, W>(b + i);
      V<W> r;
      if constexpr (R == Role::kPos) {
        const V<W> s = Op::Exact(x, y);
        const V<W> odd = And(ShiftRight(s, k), V<W>::Set(1));
        r = ShiftRight(Add(Add(s, V<W>::Set(static_cast<W>((W{1} << (k - 1)) - 1))), odd), k);
      } else {
        r = ShiftLeft(Op::NegBase(x, y), k);
      }
      PutResult<kAlpha, V, W>(r, d, i);
    });
  }
}

// Addition. 8u: the sum is exact in 16 bits; for negative scale factors the
// saturated sum is shifted (same value, and 255 << 7 still packs).
struct AddOp {
  template <class T>
  using Wide = std::conditional_t<sizeof(T) == 1, int16_t, int32_t>;

  template <class V>
  static NYX_INLINE V Sat(V a, V b) {
    return AddSat(a, b);
  }
  // 8u: the byte average rounds up; where (a + b) & 3 == 1 the halved sum is
  // k + 0.5 with k even, so the even neighbour is one below the average.
  template <class V>
  static NYX_INLINE V Half(V a, V b) {
    const V fix = Eq(And(Add(a, b), V::Set(3)), V::Set(1));  // all ones = minus one
    return Add(Avg(a, b), fix);
  }
  template <class V>
  static NYX_INLINE V Exact(V a, V b) {
    return Add(a, b);
  }
  template <class V>
  static NYX_INLINE V NegBase(V a, V b) {
    return Min(Add(a, b), V::Set(255));
  }
  template <class V>
  static NYX_INLINE V Bound(V a, V b) {
    return Not(Eq(Or(a, b), V::Zero()));
  }
};

}  // namespace nyx::avx2
