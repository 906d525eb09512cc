// Our small vector layer.
//
// Vec<T> is one AVX2 register of samples of type T; Lane<T> is one sample
// with the same operation names, so that a kernel body written once runs on
// full vectors and, for the tail of a row, one sample at a time:
//
//   ForEachBlock<T>(n, [&]<template <class> class V>(size_t i) {
//     StoreU(AddSat(V<T>::LoadU(a + i), V<T>::LoadU(b + i)), d + i);
//   });
//
// Comparisons return a vector whose lanes are all ones (true) or all zeros.
// Integer Add/Sub/Mul wrap; the Sat forms saturate. Shifts of signed types are
// arithmetic, of unsigned types logical.
//
// New operations go where a second kernel needs them; groups of operations
// used by one area (conversions, horizontal reductions, ...) live in their
// own header beside this one.
#pragma once

#include <immintrin.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#define NYX_INLINE inline __attribute__((always_inline))

namespace nyx::avx2 {

template <class T>
struct RawOf {
  using type = __m256i;
};
template <>
struct RawOf<float> {
  using type = __m256;
};
template <>
struct RawOf<double> {
  using type = __m256d;
};

template <class T>
struct Vec {
  using Sample = T;
  using Raw = typename RawOf<T>::type;
  static constexpr size_t kLanes = 32 / sizeof(T);
  Raw raw;

  static NYX_INLINE Vec LoadU(const T* p) {
    if constexpr (std::is_same_v<T, float>) {
      return {_mm256_loadu_ps(p)};
    } else if constexpr (std::is_same_v<T, double>) {
      return {_mm256_loadu_pd(p)};
    } else {
      return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))};
    }
  }
  static NYX_INLINE Vec Set(T x) {
    if constexpr (std::is_same_v<T, float>) {
      return {_mm256_set1_ps(x)};
    } else if constexpr (std::is_same_v<T, double>) {
      return {_mm256_set1_pd(x)};
    } else if constexpr (sizeof(T) == 1) {
      return {_mm256_set1_epi8(static_cast<char>(x))};
    } else if constexpr (sizeof(T) == 2) {
      return {_mm256_set1_epi16(static_cast<short>(x))};
    } else if constexpr (sizeof(T) == 4) {
      return {_mm256_set1_epi32(static_cast<int>(x))};
    } else {
      return {_mm256_set1_epi64x(static_cast<long long>(x))};
    }
  }
  static NYX_INLINE Vec Zero() { return Set(T(0)); }
};

template <class T>
struct Lane {
  using Sample = T;
  static constexpr size_t kLanes = 1;
  T raw;

  // Samples may sit at any byte address (odd strides of wide types).
  static NYX_INLINE Lane LoadU(const T* p) {
    T v;
    __builtin_memcpy(&v, p, sizeof v);
    return {v};
  }
  static NYX_INLINE Lane Set(T x) { return {x}; }
  static NYX_INLINE Lane Zero() { return {T(0)}; }
};

// ---------------------------------------------------------------------------
// Integer helpers for the one-lane forms.

template <class T>
using UnsignedOf = std::make_unsigned_t<T>;

template <class T>
NYX_INLINE T AllOnes() {
  if constexpr (std::is_floating_point_v<T>) {
    using U = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;
    return std::bit_cast<T>(~U(0));
  } else {
    return static_cast<T>(~UnsignedOf<T>(0));
  }
}

template <class T, class W>
NYX_INLINE T SaturateTo(W x) {
  if constexpr (std::is_floating_point_v<T>) {
    return static_cast<T>(x);
  } else {
    constexpr W lo = static_cast<W>(std::numeric_limits<T>::min());
    constexpr W hi = static_cast<W>(std::numeric_limits<T>::max());
    return static_cast<T>(x < lo ? lo : (x > hi ? hi : x));
  }
}

template <class T>
NYX_INLINE auto BitsOf(T x) {
  if constexpr (std::is_floating_point_v<T>) {
    using U = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;
    return std::bit_cast<U>(x);
  } else {
    return static_cast<UnsignedOf<T>>(x);
  }
}

template <class T, class U>
NYX_INLINE T FromBits(U u) {
  if constexpr (std::is_floating_point_v<T>) {
    return std::bit_cast<T>(u);
  } else {
    return static_cast<T>(u);
  }
}

// ---------------------------------------------------------------------------
// Store.

template <class T>
NYX_INLINE void StoreU(Vec<T> v, T* p) {
  if constexpr (std::is_same_v<T, float>) {
    _mm256_storeu_ps(p, v.raw);
  } else if constexpr (std::is_same_v<T, double>) {
    _mm256_storeu_pd(p, v.raw);
  } else {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v.raw);
  }
}
template <class T>
NYX_INLINE void StoreU(Lane<T> v, T* p) {
  __builtin_memcpy(p, &v.raw, sizeof v.raw);
}

// ---------------------------------------------------------------------------
// Bitwise.

template <class T>
NYX_INLINE Vec<T> And(Vec<T> a, Vec<T> b) {
  if constexpr (std::is_same_v<T, float>) return {_mm256_and_ps(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, double>) return {_mm256_and_pd(a.raw, b.raw)};
  else return {_mm256_and_si256(a.raw, b.raw)};
}
template <class T>
NYX_INLINE Vec<T> Or(Vec<T> a, Vec<T> b) {
  if constexpr (std::is_same_v<T, float>) return {_mm256_or_ps(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, double>) return {_mm256_or_pd(a.raw, b.raw)};
  else return {_mm256_or_si256(a.raw, b.raw)};
}
template <class T>
NYX_INLINE Vec<T> Xor(Vec<T> a, Vec<T> b) {
  if constexpr (std::is_same_v<T, float>) return {_mm256_xor_ps(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, double>) return {_mm256_xor_pd(a.raw, b.raw)};
  else return {_mm256_xor_si256(a.raw, b.raw)};
}
// Not(a) and b.
template <class T>
NYX_INLINE Vec<T> AndNot(Vec<T> a, Vec<T> b) {
  if constexpr (std::is_same_v<T, float>) return {_mm256_andnot_ps(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, double>) return {_mm256_andnot_pd(a.raw, b.raw)};
  else return {_mm256_andnot_si256(a.raw, b.raw)};
}
template <class T>
NYX_INLINE Vec<T> Not(Vec<T> a) {
  return Xor(a, Vec<T>::Set(AllOnes<T>()));
}

template <class T>
NYX_INLINE Lane<T> And(Lane<T> a, Lane<T> b) {
  return {FromBits<T>(BitsOf(a.raw) & BitsOf(b.raw))};
}
template <class T>
NYX_INLINE Lane<T> Or(Lane<T> a, Lane<T> b) {
  return {FromBits<T>(BitsOf(a.raw) | BitsOf(b.raw))};
}
template <class T>
NYX_INLINE Lane<T> Xor(Lane<T> a, Lane<T> b) {
  return {FromBits<T>(BitsOf(a.raw) ^ BitsOf(b.raw))};
}
template <class T>
NYX_INLINE Lane<T> AndNot(Lane<T> a, Lane<T> b) {
  return {FromBits<T>(~BitsOf(a.raw) & BitsOf(b.raw))};
}
template <class T>
NYX_INLINE Lane<T> Not(Lane<T> a) {
  return {FromBits<T>(~BitsOf(a.raw))};
}

// mask ? yes : no, for masks whose lanes are all ones or all zeros.
template <class T>
NYX_INLINE Vec<T> IfThenElse(Vec<T> mask, Vec<T> yes, Vec<T> no) {
  if constexpr (std::is_same_v<T, float>) return {_mm256_blendv_ps(no.raw, yes.raw, mask.raw)};
  else if constexpr (std::is_same_v<T, double>) return {_mm256_blendv_pd(no.raw, yes.raw, mask.raw)};
  else return {_mm256_blendv_epi8(no.raw, yes.raw, mask.raw)};
}
template <class T>
NYX_INLINE Lane<T> IfThenElse(Lane<T> mask, Lane<T> yes, Lane<T> no) {
  return BitsOf(mask.raw) ? yes : no;
}

// ---------------------------------------------------------------------------
// Arithmetic.

template <class T>
NYX_INLINE Vec<T> Add(Vec<T> a, Vec<T> b) {
  if constexpr (std::is_same_v<T, float>) return {_mm256_add_ps(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, double>) return {_mm256_add_pd(a.raw, b.raw)};
  else if constexpr (sizeof(T) == 1) return {_mm256_add_epi8(a.raw, b.raw)};
  else if constexpr (sizeof(T) == 2) return {_mm256_add_epi16(a.raw, b.raw)};
  else if constexpr (sizeof(T) == 4) return {_mm256_add_epi32(a.raw, b.raw)};
  else return {_mm256_add_epi64(a.raw, b.raw)};
}
template <class T>
NYX_INLINE Vec<T> Sub(Vec<T> a, Vec<T> b) {
  if constexpr (std::is_same_v<T, float>) return {_mm256_sub_ps(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, double>) return {_mm256_sub_pd(a.raw, b.raw)};
  else if constexpr (sizeof(T) == 1) return {_mm256_sub_epi8(a.raw, b.raw)};
  else if constexpr (sizeof(T) == 2) return {_mm256_sub_epi16(a.raw, b.raw)};
  else if constexpr (sizeof(T) == 4) return {_mm256_sub_epi32(a.raw, b.raw)};
  else return {_mm256_sub_epi64(a.raw, b.raw)};
}
template <class T>
NYX_INLINE Vec<T> Mul(Vec<T> a, Vec<T> b) {
  if constexpr (std::is_same_v<T, float>) return {_mm256_mul_ps(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, double>) return {_mm256_mul_pd(a.raw, b.raw)};
  else if constexpr (sizeof(T) == 2) return {_mm256_mullo_epi16(a.raw, b.raw)};
  else {
    static_assert(sizeof(T) == 4, "Mul: 16- and 32-bit integers, float, double");
    return {_mm256_mullo_epi32(a.raw, b.raw)};
  }
}
// Upper half of the 16 x 16 -> 32 bit product.
template <class T>
NYX_INLINE Vec<T> MulHi(Vec<T> a, Vec<T> b) {
  static_assert(sizeof(T) == 2, "MulHi: 16-bit lanes");
  if constexpr (std::is_signed_v<T>) return {_mm256_mulhi_epi16(a.raw, b.raw)};
  else return {_mm256_mulhi_epu16(a.raw, b.raw)};
}
template <class T>
NYX_INLINE Vec<T> Div(Vec<T> a, Vec<T> b) {
  if constexpr (std::is_same_v<T, float>) return {_mm256_div_ps(a.raw, b.raw)};
  else return {_mm256_div_pd(a.raw, b.raw)};
}

template <class T>
NYX_INLINE Vec<T> AddSat(Vec<T> a, Vec<T> b) {
  static_assert(sizeof(T) <= 2 && std::is_integral_v<T>, "AddSat: 8- and 16-bit integers");
  if constexpr (std::is_same_v<T, uint8_t>) return {_mm256_adds_epu8(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, int8_t>) return {_mm256_adds_epi8(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, uint16_t>) return {_mm256_adds_epu16(a.raw, b.raw)};
  else return {_mm256_adds_epi16(a.raw, b.raw)};
}
template <class T>
NYX_INLINE Vec<T> SubSat(Vec<T> a, Vec<T> b) {
  static_assert(sizeof(T) <= 2 && std::is_integral_v<T>, "SubSat: 8- and 16-bit integers");
  if constexpr (std::is_same_v<T, uint8_t>) return {_mm256_subs_epu8(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, int8_t>) return {_mm256_subs_epi8(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, uint16_t>) return {_mm256_subs_epu16(a.raw, b.raw)};
  else return {_mm256_subs_epi16(a.raw, b.raw)};
}
// (a + b + 1) >> 1 without overflow, unsigned 8- and 16-bit.
template <class T>
NYX_INLINE Vec<T> Avg(Vec<T> a, Vec<T> b) {
  if constexpr (std::is_same_v<T, uint8_t>) return {_mm256_avg_epu8(a.raw, b.raw)};
  else {
    static_assert(std::is_same_v<T, uint16_t>, "Avg: unsigned 8- and 16-bit");
    return {_mm256_avg_epu16(a.raw, b.raw)};
  }
}

template <class T>
NYX_INLINE Vec<T> Min(Vec<T> a, Vec<T> b) {
  if constexpr (std::is_same_v<T, float>) return {_mm256_min_ps(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, double>) return {_mm256_min_pd(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, uint8_t>) return {_mm256_min_epu8(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, int8_t>) return {_mm256_min_epi8(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, uint16_t>) return {_mm256_min_epu16(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, int16_t>) return {_mm256_min_epi16(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, uint32_t>) return {_mm256_min_epu32(a.raw, b.raw)};
  else return {_mm256_min_epi32(a.raw, b.raw)};
}
template <class T>
NYX_INLINE Vec<T> Max(Vec<T> a, Vec<T> b) {
  if constexpr (std::is_same_v<T, float>) return {_mm256_max_ps(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, double>) return {_mm256_max_pd(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, uint8_t>) return {_mm256_max_epu8(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, int8_t>) return {_mm256_max_epi8(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, uint16_t>) return {_mm256_max_epu16(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, int16_t>) return {_mm256_max_epi16(a.raw, b.raw)};
  else if constexpr (std::is_same_v<T, uint32_t>) return {_mm256_max_epu32(a.raw, b.raw)};
  else return {_mm256_max_epi32(a.raw, b.raw)};
}

// One-lane arithmetic: integers wrap in Add/Sub/Mul like the vector lanes.
template <class T>
NYX_INLINE Lane<T> Add(Lane<T> a, Lane<T> b) {
  if constexpr (std::is_floating_point_v<T>) return {a.raw + b.raw};
  else return {static_cast<T>(static_cast<UnsignedOf<T>>(a.raw) + static_cast<UnsignedOf<T>>(b.raw))};
}
template <class T>
NYX_INLINE Lane<T> Sub(Lane<T> a, Lane<T> b) {
  if constexpr (std::is_floating_point_v<T>) return {a.raw - b.raw};
  else return {static_cast<T>(static_cast<UnsignedOf<T>>(a.raw) - static_cast<UnsignedOf<T>>(b.raw))};
}
template <class T>
NYX_INLINE Lane<T> Mul(Lane<T> a, Lane<T> b) {
  if constexpr (std::is_floating_point_v<T>) return {a.raw * b.raw};
  else return {static_cast<T>(static_cast<uint64_t>(a.raw) * static_cast<uint64_t>(b.raw))};
}
template <class T>
NYX_INLINE Lane<T> MulHi(Lane<T> a, Lane<T> b) {
  static_assert(sizeof(T) == 2, "MulHi: 16-bit lanes");
  return {static_cast<T>((int32_t{a.raw} * int32_t{b.raw}) >> 16)};
}
template <class T>
NYX_INLINE Lane<T> Div(Lane<T> a, Lane<T> b) {
  return {a.raw / b.raw};
}
template <class T>
NYX_INLINE Lane<T> AddSat(Lane<T> a, Lane<T> b) {
  return {SaturateTo<T>(int32_t{a.raw} + int32_t{b.raw})};
}
template <class T>
NYX_INLINE Lane<T> SubSat(Lane<T> a, Lane<T> b) {
  return {SaturateTo<T>(int32_t{a.raw} - int32_t{b.raw})};
}
template <class T>
NYX_INLINE Lane<T> Avg(Lane<T> a, Lane<T> b) {
  return {static_cast<T>((uint32_t{a.raw} + uint32_t{b.raw} + 1) >> 1)};
}
// Min/Max follow the vector instructions for floats: with a NaN operand the
// second operand is returned.
template <class T>
NYX_INLINE Lane<T> Min(Lane<T> a, Lane<T> b) {
  return {a.raw < b.raw ? a.raw : b.raw};
}
template <class T>
NYX_INLINE Lane<T> Max(Lane<T> a, Lane<T> b) {
  return {a.raw > b.raw ? a.raw : b.raw};
}

// ---------------------------------------------------------------------------
// Comparisons: all-ones lanes where true.

template <class T>
NYX_INLINE Vec<T> Eq(Vec<T> a, Vec<T> b) {
  if constexpr (std::is_same_v<T, float>) return {_mm256_cmp_ps(a.raw, b.raw, _CMP_EQ_OQ)};
  else if constexpr (std::is_same_v<T, double>) return {_mm256_cmp_pd(a.raw, b.raw, _CMP_EQ_OQ)};
  else if constexpr (sizeof(T) == 1) return {_mm256_cmpeq_epi8(a.raw, b.raw)};
  else if constexpr (sizeof(T) == 2) return {_mm256_cmpeq_epi16(a.raw, b.raw)};
  else if constexpr (sizeof(T) == 4) return {_mm256_cmpeq_epi32(a.raw, b.raw)};
  else return {_mm256_cmpeq_epi64(a.raw, b.raw)};
}
template <class T>
NYX_INLINE Vec<T> Gt(Vec<T> a, Vec<T> b) {
  if constexpr (std::is_same_v<T, float>) {
    return {_mm256_cmp_ps(a.raw, b.raw, _CMP_GT_OQ)};
  } else if constexpr (std::is_same_v<T, double>) {
    return {_mm256_cmp_pd(a.raw, b.raw, _CMP_GT_OQ)};
  } else if constexpr (std::is_unsigned_v<T>) {
    // Unsigned order is signed order with the sign bits flipped.
    using S = std::make_signed_t<T>;
    const Vec<T> bias = Vec<T>::Set(static_cast<T>(std::numeric_limits<S>::min()));
    Vec<S> as{Xor(a, bias).raw}, bs{Xor(b, bias).raw};
    return {Gt(as, bs).raw};
  } else if constexpr (sizeof(T) == 1) {
    return {_mm256_cmpgt_epi8(a.raw, b.raw)};
  } else if constexpr (sizeof(T) == 2) {
    return {_mm256_cmpgt_epi16(a.raw, b.raw)};
  } else if constexpr (sizeof(T) == 4) {
    return {_mm256_cmpgt_epi32(a.raw, b.raw)};
  } else {
    return {_mm256_cmpgt_epi64(a.raw, b.raw)};
  }
}
template <class T>
NYX_INLINE Lane<T> Eq(Lane<T> a, Lane<T> b) {
  return {a.raw == b.raw ? AllOnes<T>() : T(0)};
}
template <class T>
NYX_INLINE Lane<T> Gt(Lane<T> a, Lane<T> b) {
  return {a.raw > b.raw ? AllOnes<T>() : T(0)};
}

// ---------------------------------------------------------------------------
// Shifts by a count held in a register (same count for every lane), 16-, 32-
// and 64-bit lanes.

template <class T>
NYX_INLINE Vec<T> ShiftLeft(Vec<T> a, int n) {
  const __m128i c = _mm_cvtsi32_si128(n);
  if constexpr (sizeof(T) == 2) return {_mm256_sll_epi16(a.raw, c)};
  else if constexpr (sizeof(T) == 4) return {_mm256_sll_epi32(a.raw, c)};
  else return {_mm256_sll_epi64(a.raw, c)};
}
template <class T>
NYX_INLINE Vec<T> ShiftRight(Vec<T> a, int n) {
  const __m128i c = _mm_cvtsi32_si128(n);
  if constexpr (std::is_signed_v<T>) {
    static_assert(sizeof(T) == 2 || sizeof(T) == 4, "arithmetic shift: 16/32-bit");
    if constexpr (sizeof(T) == 2) return {_mm256_sra_epi16(a.raw, c)};
    else return {_mm256_sra_epi32(a.raw, c)};
  } else {
    if constexpr (sizeof(T) == 2) return {_mm256_srl_epi16(a.raw, c)};
    else if constexpr (sizeof(T) == 4) return {_mm256_srl_epi32(a.raw, c)};
    else return {_mm256_srl_epi64(a.raw, c)};
  }
}
template <class T>
NYX_INLINE Lane<T> ShiftLeft(Lane<T> a, int n) {
  return {static_cast<T>(static_cast<UnsignedOf<T>>(a.raw) << n)};
}
template <class T>
NYX_INLINE Lane<T> ShiftRight(Lane<T> a, int n) {
  return {static_cast<T>(a.raw >> n)};
}

// ---------------------------------------------------------------------------
// Widening loads and narrowing stores. PromoteLoadU<V, W>(p) reads as many
// samples of the narrower type as V<W> has lanes and widens them (zero or sign
// extension by the source type). DemoteStoreU(v, p) narrows with saturation to
// the destination type and writes V::kLanes samples.

template <template <class> class V, class W, class T>
NYX_INLINE V<W> PromoteLoadU(const T* p) {
  if constexpr (std::is_same_v<V<W>, Lane<W>>) {
    return {static_cast<W>(Lane<T>::LoadU(p).raw)};
  } else if constexpr (std::is_same_v<T, W>) {
    return V<W>::LoadU(p);
  } else if constexpr (sizeof(W) == 2 && sizeof(T) == 1) {
    const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    if constexpr (std::is_signed_v<T>) return {_mm256_cvtepi8_epi16(x)};
    else return {_mm256_cvtepu8_epi16(x)};
  } else if constexpr (sizeof(W) == 4 && sizeof(T) == 2) {
    const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    if constexpr (std::is_signed_v<T>) return {_mm256_cvtepi16_epi32(x)};
    else return {_mm256_cvtepu16_epi32(x)};
  } else {
    static_assert(sizeof(W) == 4 && sizeof(T) == 1, "PromoteLoadU: unsupported widths");
    const __m128i x = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    if constexpr (std::is_signed_v<T>) return {_mm256_cvtepi8_epi32(x)};
    else return {_mm256_cvtepu8_epi32(x)};
  }
}

template <class W, class T>
NYX_INLINE void DemoteStoreU(Lane<W> v, T* p) {
  StoreU(Lane<T>{SaturateTo<T>(v.raw)}, p);
}
// The lanes of v narrowed with saturation to T, in the low half. The pack
// instructions read their input as signed; an unsigned source above the
// destination's maximum is first clamped so that it packs as that maximum.
template <class T, class W>
NYX_INLINE __m128i Demote(Vec<W> v) {
  static_assert(sizeof(W) == 2 * sizeof(T), "Demote: to half the width");
  __m256i x = v.raw, packed;
  if constexpr (sizeof(W) == 2) {
    if constexpr (std::is_unsigned_v<W>) x = _mm256_min_epu16(x, _mm256_set1_epi16(255));
    packed = std::is_signed_v<T> ? _mm256_packs_epi16(x, x) : _mm256_packus_epi16(x, x);
  } else {
    if constexpr (std::is_unsigned_v<W>) {
      x = _mm256_min_epu32(x, _mm256_set1_epi32(std::numeric_limits<T>::max()));
    }
    packed = std::is_signed_v<T> ? _mm256_packs_epi32(x, x) : _mm256_packus_epi32(x, x);
  }
  return _mm256_castsi256_si128(_mm256_permute4x64_epi64(packed, 0x08));
}

template <class W, class T>
NYX_INLINE void DemoteStoreU(Vec<W> v, T* p) {
  if constexpr (std::is_same_v<T, W>) StoreU(v, p);
  else _mm_storeu_si128(reinterpret_cast<__m128i*>(p), Demote<T>(v));
}

// ---------------------------------------------------------------------------
// Lanes that hold the fourth sample of a four-channel pixel, for a block that
// starts at sample index i. Vector blocks always start at a multiple of four.

template <class V>
NYX_INLINE V AlphaLanes(size_t i) {
  using T = typename V::Sample;
  if constexpr (std::is_same_v<V, Lane<T>>) {
    return {(i & 3) == 3 ? AllOnes<T>() : T(0)};
  } else {
    static_assert(V::kLanes % 4 == 0, "vector blocks hold whole pixels");
    __m256i m;
    if constexpr (sizeof(T) == 1) m = _mm256_set1_epi32(static_cast<int>(0xff000000u));
    else if constexpr (sizeof(T) == 2) m = _mm256_set1_epi64x(static_cast<long long>(0xffff000000000000ull));
    else if constexpr (sizeof(T) == 4) m = _mm256_set_epi32(-1, 0, 0, 0, -1, 0, 0, 0);
    else m = _mm256_set_epi64x(-1, 0, 0, 0);
    if constexpr (std::is_same_v<T, float>) return {_mm256_castsi256_ps(m)};
    else if constexpr (std::is_same_v<T, double>) return {_mm256_castsi256_pd(m)};
    else return {m};
  }
}

// ---------------------------------------------------------------------------
// The block loop of a row kernel: full vectors of Vec<T>, two a round, then
// single samples with Lane<T>. body is a generic lambda
// [&]<template <class> class V>(size_t i) { ... } over the sample index i.

template <class T, class Body>
NYX_INLINE void ForEachBlock(size_t n, Body&& body) {
  constexpr size_t kN = Vec<T>::kLanes;
  size_t i = 0;
  for (; i + 2 * kN <= n; i += 2 * kN) {
    body.template operator()<Vec>(i);
    body.template operator()<Vec>(i + kN);
  }
  if (i + kN <= n) {
    body.template operator()<Vec>(i);
    i += kN;
  }
  for (; i < n; ++i) body.template operator()<Lane>(i);
}

}  // namespace nyx::avx2
