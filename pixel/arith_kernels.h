// Row kernels of the arithmetic with a scale factor and of the float forms.
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
//   kPos    round-half-even of s / 2^sf, then saturate
//   kNeg    saturate(s << n), n = -sf
//   kBound  what is left for large negative sf: zero stays zero, anything
//           else goes to the bound of its sign
// An operation is a struct that gives the exact value s in a wide type and,
// where the sample type allows a shorter road, the kSf0, kSf1 and kBound
// values computed in the sample type itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "core/simd/prefetch.h"
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

// The same with a non-temporal store, for full vectors at an address aligned
// to the width of the store (32 bytes, or 16 for a narrowed vector). No alpha:
// streamed rows never keep samples of the destination.
template <class W, class T>
NYX_INLINE void StreamResult(Vec<W> r, T* p) {
  if constexpr (std::is_same_v<W, float>) {
    _mm256_stream_ps(p, r.raw);
  } else if constexpr (sizeof(W) == sizeof(T)) {
    _mm256_stream_si256(reinterpret_cast<__m256i*>(p), r.raw);
  } else {
    _mm_stream_si128(reinterpret_cast<__m128i*>(p), Demote<T>(r));
  }
}

// Stores the result of block i: streamed when kStream (full vectors only).
template <bool kAlpha, bool kStream, template <class> class V, class W, class T>
NYX_INLINE void PutOut(V<W> r, T* d, size_t i) {
  if constexpr (kStream && std::is_same_v<V<W>, Vec<W>>) StreamResult(r, d + i);
  else PutResult<kAlpha, V, W>(r, d, i);
}

// The block loop of a row whose destination goes past the caches (kStream):
// up to the first 64-byte line boundary of d as usual, then pairs of vector
// blocks with non-temporal stores over whole lines while each pair fetches
// the next sources kAhead bytes early (beside streamed stores this keeps more
// reads in flight than the hardware prefetcher alone; prefetches never fault,
// so reaching past the row is harmless), then the rest as usual. The partial
// lines at either end are shared with the rows around and take ordinary
// stores only: a line written partly by each kind costs a partial write to
// memory. Without kStream, or when d is off its sample alignment, it is
// ForEachBlock. body is
// [&]<template <class> class V, bool kStreamBlock>(size_t i) { ... }.
template <class B, bool kStream, class T, class Body>
NYX_INLINE void RowBlocks(const T* a, const T* b, T* d, size_t n, Body&& body) {
  auto plain_from = [&](size_t from) {
    ForEachBlock<B>(n - from, [&]<template <class> class V>(size_t i) {
      body.template operator()<V, false>(from + i);
    });
  };
  constexpr size_t kN = Vec<B>::kLanes;
  constexpr size_t kLine = 64 / sizeof(T);
  // A pair of blocks writes 2 * kN samples of T: one line or half a line.
  static_assert(kLine % (2 * kN) == 0, "pairs of blocks tile a line");
  const uintptr_t addr = reinterpret_cast<uintptr_t>(d);
  const size_t head = ((64 - (addr & 63)) & 63) / sizeof(T);
  if (!kStream || addr % sizeof(T) != 0 || head + kLine > n) return plain_from(0);
  ForEachBlock<B>(head, [&]<template <class> class V>(size_t i) { body.template operator()<V, false>(i); });
  constexpr size_t kAhead = 2048 / sizeof(T);
  const size_t end = head + (n - head) / kLine * kLine;
  size_t i = head;
  for (; i < end; i += 2 * kN) {
    PrefetchRead(a + i, kAhead * sizeof(*a));
    PrefetchRead(b + i, kAhead * sizeof(*b));
    body.template operator()<Vec, true>(i);
    body.template operator()<Vec, true>(i + kN);
  }
  plain_from(i);
}

// ---------------------------------------------------------------------------
// The rounding steps of the rule, on the exact value s held in a wide type.

// s clamped to the range of T (the shift of kNeg then cannot overflow W).
template <class T, class VW>
NYX_INLINE VW ClampTo(VW s) {
  using W = typename VW::Sample;
  VW r = Min(s, VW::Set(static_cast<W>(std::numeric_limits<T>::max())));
  if constexpr (std::is_signed_v<W>) r = Max(r, VW::Set(static_cast<W>(std::numeric_limits<T>::min())));
  return r;
}

// -1, 0 or 1 by the sign of s, shifted to one past the range of T: the store
// saturates it to the bound of that sign.
template <class T, class VW>
NYX_INLINE VW SignBound(VW s) {
  using W = typename VW::Sample;
  VW r = Min(s, VW::Set(W{1}));
  if constexpr (std::is_signed_v<W>) r = Max(r, VW::Set(static_cast<W>(-1)));
  return ShiftLeft(r, 8 * sizeof(T));
}

// round(s / 2^k), ties to even, 1 <= k < bits of W.
//  Signed s (sums, differences, signed products), never near the top of W:
//    (s + 2^(k-1) - 1 + ((s >> k) & 1)) >> k, with arithmetic shifts.
//  Unsigned s (products that may fill the word, where adding the half would
//  overflow): with h = s >> (k - 1) the quotient is q = h >> 1, the half bit
//  is h & 1, and below it a sticky bit tells whether the rest is above zero.
//  Round up when the half bit is set and either the rest or q is odd.
template <class VW>
NYX_INLINE VW RoundShift(VW s, int k) {
  using W = typename VW::Sample;
  if constexpr (std::is_signed_v<W>) {
    const VW odd = And(ShiftRight(s, k), VW::Set(1));
    return ShiftRight(Add(Add(s, VW::Set(static_cast<W>((W{1} << (k - 1)) - 1))), odd), k);
  } else {
    const VW h = ShiftRight(s, k - 1);
    const VW q = ShiftRight(h, 1);
    const VW rest = And(s, VW::Set(static_cast<W>((uint64_t{1} << (k - 1)) - 1)));
    const VW sticky = Min(rest, VW::Set(W{1}));
    return Add(q, And(h, And(Or(q, sticky), VW::Set(W{1}))));
  }
}

// ---------------------------------------------------------------------------
// Two-image rows with a scale factor. The constant forms run the same rows
// against a block of repeated constants (see arith_const_frame.h). The
// saturating adds and subtracts of the vector unit are exact for kSf0 at every
// type; halving and the bound have short forms for unsigned samples only.

template <class Op, class T, Role R>
inline constexpr bool kNarrowRole =
    (R == Role::kSf0 && Op::template kNarrowSat<T>) ||
    (std::is_unsigned_v<T> && ((R == Role::kSf1 && Op::kNarrowHalf) ||
                               (R == Role::kBound && Op::kNarrowBound)));

// kStream: the destination is written with non-temporal stores (no AC4);
// the frame fences after the walk.
template <class Op, class T, Role R, bool kAlpha, bool kStream = false>
void BinaryRow(const T* a, const T* b, T* d, size_t n, int k) {
  static_assert(!(kAlpha && kStream), "streamed rows keep no alpha");
  using W = typename Op::template Wide<T>;
  if constexpr (kNarrowRole<Op, T, R>) {
    RowBlocks<T, kStream>(a, b, d, n, [&]<template <class> class V, bool kS>(size_t i) {
      const V<T> x = V<T>::LoadU(a + i), y = V<T>::LoadU(b + i);
      V<T> r;
      if constexpr (R == Role::kSf0) r = Op::Sat(x, y);
      else if constexpr (R == Role::kSf1) r = Op::Half(x, y);
      else r = Op::Bound(x, y);
      PutOut<kAlpha, kS, V, T>(r, d, i);
    });
  } else {
    RowBlocks<W, kStream>(a, b, d, n, [&]<template <class> class V, bool kS>(size_t i) {
      const V<W> s = Op::Exact(PromoteLoadU<V, W>(a + i), PromoteLoadU<V, W>(b + i));
      V<W> r;
      if constexpr (R == Role::kSf0) r = s;  // the store saturates
      else if constexpr (R == Role::kSf1) r = RoundShift(s, 1);
      else if constexpr (R == Role::kPos) r = RoundShift(s, k);
      else if constexpr (R == Role::kNeg) r = ShiftLeft(ClampTo<T>(s), k);
      else r = SignBound<T>(s);
      PutOut<kAlpha, kS, V, W>(r, d, i);
    });
  }
}

// Halved sum of unsigned samples, round half to even: the average rounds up;
// where (a + b) & 3 == 1 the halved sum is k + 0.5 with k even, so the even
// neighbour is one below the average (Eq gives all ones, that is minus one).
template <class V>
NYX_INLINE V HalfSumEven(V a, V b) {
  const V fix = Eq(And(Add(a, b), V::Set(3)), V::Set(1));
  return Add(Avg(a, b), fix);
}

// Addition. The sum is exact in 16 bits for 8u and in 32 bits for 16-bit
// types; saturating adds give kSf0 directly.
struct AddOp {
  template <class T>
  using Wide = std::conditional_t<sizeof(T) == 1, int16_t, int32_t>;
  template <class T>
  static constexpr bool kNarrowSat = true;
  static constexpr bool kNarrowHalf = true, kNarrowBound = true;

  template <class V>
  static NYX_INLINE V Exact(V a, V b) {
    return Add(a, b);
  }
  template <class V>
  static NYX_INLINE V Sat(V a, V b) {
    return AddSat(a, b);
  }
  template <class V>
  static NYX_INLINE V Half(V a, V b) {
    return HalfSumEven(a, b);
  }
  template <class V>
  static NYX_INLINE V Bound(V a, V b) {
    return Not(Eq(Or(a, b), V::Zero()));
  }
};

// Subtraction: the first operand is the subtrahend, s = b - a.
struct SubOp {
  template <class T>
  using Wide = std::conditional_t<sizeof(T) == 1, int16_t, int32_t>;
  template <class T>
  static constexpr bool kNarrowSat = true;
  static constexpr bool kNarrowHalf = true, kNarrowBound = true;

  template <class V>
  static NYX_INLINE V Exact(V a, V b) {
    return Sub(b, a);
  }
  template <class V>
  static NYX_INLINE V Sat(V a, V b) {
    return SubSat(b, a);
  }
  // Negative differences round to zero or below: the saturated difference
  // halves like a sum with zero.
  template <class V>
  static NYX_INLINE V Half(V a, V b) {
    return HalfSumEven(SubSat(b, a), V::Zero());
  }
  template <class V>
  static NYX_INLINE V Bound(V a, V b) {
    return Gt(b, a);
  }
};

// saturate(a * b) of 16-bit samples from the two halves of the product.
//  16s: the low and high words, interleaved, are the 32-bit products of lanes
//  0-3 and 8-11 (unpacklo) and 4-7 and 12-15 (unpackhi); the signed
//  saturating pack of the two puts each lane back in its place.
//  16u: the product fits when its high word is zero; otherwise all ones.
template <class T>
NYX_INLINE Vec<T> MulSat16(Vec<T> a, Vec<T> b) {
  const __m256i lo = _mm256_mullo_epi16(a.raw, b.raw);
  if constexpr (std::is_signed_v<T>) {
    const __m256i hi = _mm256_mulhi_epi16(a.raw, b.raw);
    return {_mm256_packs_epi32(_mm256_unpacklo_epi16(lo, hi), _mm256_unpackhi_epi16(lo, hi))};
  } else {
    const __m256i hi = _mm256_mulhi_epu16(a.raw, b.raw);
    const __m256i over = _mm256_xor_si256(_mm256_cmpeq_epi16(hi, _mm256_setzero_si256()),
                                          _mm256_set1_epi32(-1));
    return {_mm256_or_si256(lo, over)};
  }
}
template <class T>
NYX_INLINE Lane<T> MulSat16(Lane<T> a, Lane<T> b) {
  using W = std::conditional_t<std::is_signed_v<T>, int32_t, uint32_t>;
  return {SaturateTo<T>(static_cast<W>(a.raw) * static_cast<W>(b.raw))};
}

// Multiplication. Products: 8u in 16 bits unsigned, 16u in 32 bits unsigned,
// 16s in 32 bits signed; all exact.
struct MulOp {
  template <class T>
  using Wide = std::conditional_t<sizeof(T) == 1, uint16_t,
                                  std::conditional_t<std::is_signed_v<T>, int32_t, uint32_t>>;
  // 16-bit products saturate in the sample type (MulSat16); 8u widens.
  template <class T>
  static constexpr bool kNarrowSat = sizeof(T) == 2;
  static constexpr bool kNarrowHalf = false, kNarrowBound = true;

  template <class V>
  static NYX_INLINE V Exact(V a, V b) {
    return Mul(a, b);
  }
  template <class V>
  static NYX_INLINE V Sat(V a, V b) {
    return MulSat16(a, b);
  }
  template <class V>
  static NYX_INLINE V Bound(V a, V b) {
    return Not(Or(Eq(a, V::Zero()), Eq(b, V::Zero())));
  }
};

// Samples as fractions of the full range: p = a * b, (p + 1 + (p >> w)) >> w
// with w the bits of the sample, so that the top value times x gives x. The
// sum stays below 2^(2w): no saturation is needed.
struct MulScaleOp {
  template <class T>
  using Wide = std::conditional_t<sizeof(T) == 1, uint16_t, uint32_t>;
};

template <class T, bool kAlpha, bool kStream = false>
void MulScaleRow(const T* a, const T* b, T* d, size_t n, int) {
  static_assert(!(kAlpha && kStream), "streamed rows keep no alpha");
  using W = typename MulScaleOp::template Wide<T>;
  constexpr int kBits = 8 * sizeof(T);
  RowBlocks<W, kStream>(a, b, d, n, [&]<template <class> class V, bool kS>(size_t i) {
    const V<W> p = Mul(PromoteLoadU<V, W>(a + i), PromoteLoadU<V, W>(b + i));
    const V<W> r = ShiftRight(Add(Add(p, V<W>::Set(W{1})), ShiftRight(p, kBits)), kBits);
    PutOut<kAlpha, kS, V, W>(r, d, i);
  });
}

// ---------------------------------------------------------------------------
// Float rows: one IEEE operation per sample (Op::Exact on float vectors).

template <class Op, bool kAlpha, bool kStream = false>
void FloatRow(const float* a, const float* b, float* d, size_t n, int) {
  static_assert(!(kAlpha && kStream), "streamed rows keep no alpha");
  RowBlocks<float, kStream>(a, b, d, n, [&]<template <class> class V, bool kS>(size_t i) {
    PutOut<kAlpha, kS, V, float>(Op::Exact(V<float>::LoadU(a + i), V<float>::LoadU(b + i)), d, i);
  });
}

// ---------------------------------------------------------------------------
// Output past the caches: copies n samples from a buffer to d, the whole
// 64-byte lines of the middle with non-temporal stores (the destination lines
// are not read before they are written; the partial lines at the ends take
// ordinary stores, see RowBlocks). StreamFence orders them before returning.

template <class T>
inline void StreamOut(const T* s, T* d, size_t n) {
  const size_t head_bytes = (64 - (reinterpret_cast<uintptr_t>(d) & 63)) & 63;
  if (head_bytes % sizeof(T) != 0) {  // samples off their natural alignment
    __builtin_memcpy(d, s, n * sizeof(T));
    return;
  }
  constexpr size_t kN = 32 / sizeof(T), kLine = 64 / sizeof(T);
  size_t i = head_bytes / sizeof(T) < n ? head_bytes / sizeof(T) : n;
  __builtin_memcpy(d, s, i * sizeof(T));
  const size_t end = i + (n - i) / kLine * kLine;
  for (; i < end; i += kN) {
    _mm256_stream_si256(reinterpret_cast<__m256i*>(d + i),
                        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i)));
  }
  __builtin_memcpy(d + i, s + i, (n - i) * sizeof(T));
}

inline void StreamFence() { _mm_sfence(); }

}  // namespace nyx::avx2
