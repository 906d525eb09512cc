// Conversion operations of the vector layer: loads that turn samples of one
// type into lanes of another, stores that turn lanes back into samples, and
// the float operations that conversions need (fused multiply-add, rounding
// with a fixed mode, saturating float-to-int32).
//
// LoadAs<V, W>(p) reads exactly V<W>::kLanes samples of the pointer's type and
// returns them as lanes of W: integers widen by zero or sign extension (same
// width: the bits as they are), integers to float or double convert (a 32-bit
// integer to float rounds in the current rounding mode), float to double is
// exact, double to float rounds in the current mode.
//
// StoreAs(v, p) writes exactly kLanes samples of the pointer's type:
//   integer lanes to a narrower integer type saturate; to the same width the
//     bits are stored as they are (the kernel has made the value fit);
//   float or double lanes to an integer type convert in the current rounding
//     mode to a 32-bit integer (a value out of its range or NaN gives the
//     indefinite integer 0x80000000) and then narrow with saturation, so the
//     indefinite integer lands on the type's minimum;
//   float to double is exact, double to float rounds in the current mode.
#pragma once

#include <immintrin.h>

#include <cstdint>
#include <limits>
#include <type_traits>

#include "core/simd/vec.h"

namespace nyx::avx2 {

template <class V>
inline constexpr bool kIsLane = std::is_same_v<V, Lane<typename V::Sample>>;

// ---------------------------------------------------------------------------
// One sample at any address: rows may start at any byte (a stride need not be
// a multiple of the sample size).

template <class T>
NYX_INLINE T LoadOne(const T* p) {
  T v;
  __builtin_memcpy(&v, p, sizeof v);
  return v;
}
template <class T>
NYX_INLINE void StoreOne(T v, T* p) {
  __builtin_memcpy(p, &v, sizeof v);
}

// ---------------------------------------------------------------------------
// Scalar conversions with the semantics of the vector instructions.

// float or double to int32 in the current rounding mode; out of range or NaN
// gives 0x80000000.
NYX_INLINE int32_t CvtToInt32(float x) { return _mm_cvtss_si32(_mm_set_ss(x)); }
NYX_INLINE int32_t CvtToInt32(double x) { return _mm_cvtsd_si32(_mm_set_sd(x)); }

// ---------------------------------------------------------------------------
// Loads.

namespace detail {

template <class S>
NYX_INLINE __m128i Load4AsInt32(const S* p) {  // four samples of up to 32 bits
  if constexpr (sizeof(S) == 1) {
    int32_t bytes;
    __builtin_memcpy(&bytes, p, 4);
    const __m128i x = _mm_cvtsi32_si128(bytes);
    if constexpr (std::is_signed_v<S>)
      return _mm_cvtepi8_epi32(x);
    else
      return _mm_cvtepu8_epi32(x);
  } else if constexpr (sizeof(S) == 2) {
    const __m128i x = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    if constexpr (std::is_signed_v<S>)
      return _mm_cvtepi16_epi32(x);
    else
      return _mm_cvtepu16_epi32(x);
  } else {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  }
}

// Eight unsigned 32-bit integers to float with one rounding: the upper and
// lower halves are exact in float, and their sum is rounded once.
NYX_INLINE __m256 U32ToFloat(__m256i u) {
  const __m256 hi = _mm256_cvtepi32_ps(_mm256_srli_epi32(u, 16));
  const __m256 lo = _mm256_cvtepi32_ps(_mm256_and_si256(u, _mm256_set1_epi32(0xffff)));
  return _mm256_fmadd_ps(hi, _mm256_set1_ps(65536.0f), lo);
}

}  // namespace detail

template <template <class> class V, class W, class S>
NYX_INLINE V<W> LoadAs(const S* p) {
  if constexpr (kIsLane<V<W>>) {
    if constexpr (std::is_integral_v<W> && sizeof(W) == sizeof(S)) {
      return {static_cast<W>(BitsOf(LoadOne(p)))};
    } else if constexpr (std::is_same_v<W, float> && std::is_same_v<S, uint32_t>) {
      // One rounding, like the vector form (the 64-bit conversion is exact
      // up to the final rounding).
      return {static_cast<float>(static_cast<int64_t>(LoadOne(p)))};
    } else {
      return {static_cast<W>(LoadOne(p))};
    }
  } else if constexpr (std::is_integral_v<W>) {
    if constexpr (sizeof(W) == sizeof(S)) {
      return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))};
    } else {
      return PromoteLoadU<V, W>(p);
    }
  } else if constexpr (std::is_same_v<W, float>) {
    if constexpr (std::is_same_v<S, float>) {
      return Vec<float>::LoadU(p);
    } else if constexpr (std::is_same_v<S, double>) {
      const __m128 lo = _mm256_cvtpd_ps(_mm256_loadu_pd(p));
      const __m128 hi = _mm256_cvtpd_ps(_mm256_loadu_pd(p + 4));
      return {_mm256_insertf128_ps(_mm256_castps128_ps256(lo), hi, 1)};
    } else if constexpr (std::is_same_v<S, uint32_t>) {
      return {detail::U32ToFloat(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)))};
    } else if constexpr (sizeof(S) == 4) {
      return {_mm256_cvtepi32_ps(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)))};
    } else {
      return {_mm256_cvtepi32_ps(PromoteLoadU<V, int32_t>(p).raw)};
    }
  } else {
    static_assert(std::is_same_v<W, double>, "LoadAs: integer, float or double lanes");
    if constexpr (std::is_same_v<S, double>) {
      return Vec<double>::LoadU(p);
    } else if constexpr (std::is_same_v<S, float>) {
      return {_mm256_cvtps_pd(_mm_loadu_ps(p))};
    } else if constexpr (std::is_same_v<S, uint32_t>) {
      // Flip the sign bit, convert as signed, add 2^31 back: all exact.
      const __m128i x = _mm_xor_si128(detail::Load4AsInt32(p), _mm_set1_epi32(INT32_MIN));
      return {_mm256_add_pd(_mm256_cvtepi32_pd(x), _mm256_set1_pd(2147483648.0))};
    } else {
      return {_mm256_cvtepi32_pd(detail::Load4AsInt32(p))};
    }
  }
}

// ---------------------------------------------------------------------------
// Stores.

namespace detail {

// Four int32 (in a 128-bit register) or eight (in a 256-bit one) to the
// integer type D with saturation.
template <class D>
NYX_INLINE void StoreInt32x4(__m128i x, D* p) {
  if constexpr (sizeof(D) == 4) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), x);
  } else if constexpr (sizeof(D) == 2) {
    const __m128i w = std::is_signed_v<D> ? _mm_packs_epi32(x, x) : _mm_packus_epi32(x, x);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p), w);
  } else {
    const __m128i w = _mm_packs_epi32(x, x);
    const __m128i b = std::is_signed_v<D> ? _mm_packs_epi16(w, w) : _mm_packus_epi16(w, w);
    const int32_t bytes = _mm_cvtsi128_si32(b);
    __builtin_memcpy(p, &bytes, 4);
  }
}

template <class D>
NYX_INLINE void StoreInt32x8(__m256i x, D* p) {
  if constexpr (sizeof(D) == 4) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), x);
  } else {
    const __m128i lo = _mm256_castsi256_si128(x), hi = _mm256_extracti128_si256(x, 1);
    if constexpr (sizeof(D) == 2) {
      const __m128i w = std::is_signed_v<D> ? _mm_packs_epi32(lo, hi) : _mm_packus_epi32(lo, hi);
      _mm_storeu_si128(reinterpret_cast<__m128i*>(p), w);
    } else {
      // Signed 32 -> 16 first: saturation composes, since each step clamps
      // to a range that contains the next one.
      const __m128i w = _mm_packs_epi32(lo, hi);
      const __m128i b = std::is_signed_v<D> ? _mm_packs_epi16(w, w) : _mm_packus_epi16(w, w);
      _mm_storel_epi64(reinterpret_cast<__m128i*>(p), b);
    }
  }
}

}  // namespace detail

template <class W, class D>
NYX_INLINE void StoreAs(Lane<W> v, D* p) {
  if constexpr (std::is_floating_point_v<D>) {
    StoreOne(static_cast<D>(v.raw), p);
  } else if constexpr (std::is_floating_point_v<W>) {
    const int32_t i = CvtToInt32(v.raw);
    if constexpr (sizeof(D) == 4)
      StoreOne(static_cast<D>(i), p);
    else
      StoreOne(SaturateTo<D>(i), p);
  } else if constexpr (sizeof(W) == sizeof(D)) {
    StoreOne(static_cast<D>(v.raw), p);
  } else {
    StoreOne(SaturateTo<D>(v.raw), p);
  }
}

template <class W, class D>
NYX_INLINE void StoreAs(Vec<W> v, D* p) {
  if constexpr (std::is_same_v<W, D>) {
    StoreU(v, p);
  } else if constexpr (std::is_same_v<W, float>) {
    if constexpr (std::is_same_v<D, double>) {
      _mm256_storeu_pd(p, _mm256_cvtps_pd(_mm256_castps256_ps128(v.raw)));
      _mm256_storeu_pd(p + 4, _mm256_cvtps_pd(_mm256_extractf128_ps(v.raw, 1)));
    } else {
      detail::StoreInt32x8(_mm256_cvtps_epi32(v.raw), p);
    }
  } else if constexpr (std::is_same_v<W, double>) {
    if constexpr (std::is_same_v<D, float>) {
      _mm_storeu_ps(p, _mm256_cvtpd_ps(v.raw));
    } else {
      detail::StoreInt32x4(_mm256_cvtpd_epi32(v.raw), p);
    }
  } else if constexpr (sizeof(W) == sizeof(D)) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v.raw);
  } else if constexpr (sizeof(W) == 4 && sizeof(D) == 1) {
    detail::StoreInt32x8(v.raw, p);
  } else {
    DemoteStoreU(v, p);
  }
}

// ---------------------------------------------------------------------------
// Packing stores: kPackCount<W, D> vectors of W lanes (int16 or int32, or
// float converted in the current rounding mode, like StoreAs) narrowed with
// saturation into one full vector of D samples. 1 where no packing applies.

template <class W, class D>
inline constexpr size_t kPackCount =
    !std::is_integral_v<D> || sizeof(D) == 4                 ? 1
    : std::is_same_v<W, float> || std::is_same_v<W, int32_t> ? 4 / sizeof(D)
    : std::is_same_v<W, int16_t> && sizeof(D) == 1           ? 2
                                                             : 1;

template <class W>
NYX_INLINE __m256i IntLanes(Vec<W> v) {
  if constexpr (std::is_same_v<W, float>)
    return _mm256_cvtps_epi32(v.raw);
  else
    return v.raw;
}

template <class D, class W, size_t K>
NYX_INLINE void PackStore(const Vec<W> (&v)[K], D* p) {
  __m256i r;
  if constexpr (K == 4) {
    // Each pack works within 128-bit halves; the final permute puts the
    // eight 4-byte groups back in order.
    const __m256i ab = _mm256_packs_epi32(IntLanes(v[0]), IntLanes(v[1]));
    const __m256i cd = _mm256_packs_epi32(IntLanes(v[2]), IntLanes(v[3]));
    const __m256i b =
        std::is_signed_v<D> ? _mm256_packs_epi16(ab, cd) : _mm256_packus_epi16(ab, cd);
    r = _mm256_permutevar8x32_epi32(b, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
  } else {
    static_assert(K == 2);
    const __m256i a = IntLanes(v[0]), b = IntLanes(v[1]);
    __m256i packed;
    if constexpr (sizeof(W) == 4) {
      packed = std::is_signed_v<D> ? _mm256_packs_epi32(a, b) : _mm256_packus_epi32(a, b);
    } else {
      packed = std::is_signed_v<D> ? _mm256_packs_epi16(a, b) : _mm256_packus_epi16(a, b);
    }
    r = _mm256_permute4x64_epi64(packed, 0xD8);
  }
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), r);
}

// ---------------------------------------------------------------------------
// Float operations.

template <class T>
NYX_INLINE Vec<T> MulAdd(Vec<T> a, Vec<T> b, Vec<T> c) {  // a * b + c, one rounding
  if constexpr (std::is_same_v<T, float>)
    return {_mm256_fmadd_ps(a.raw, b.raw, c.raw)};
  else
    return {_mm256_fmadd_pd(a.raw, b.raw, c.raw)};
}
template <class T>
NYX_INLINE Lane<T> MulAdd(Lane<T> a, Lane<T> b, Lane<T> c) {
  if constexpr (std::is_same_v<T, float>) {
    return {_mm_cvtss_f32(_mm_fmadd_ss(_mm_set_ss(a.raw), _mm_set_ss(b.raw), _mm_set_ss(c.raw)))};
  } else {
    return {_mm_cvtsd_f64(_mm_fmadd_sd(_mm_set_sd(a.raw), _mm_set_sd(b.raw), _mm_set_sd(c.raw)))};
  }
}

// Rounds to an integral value with a fixed rounding (an _MM_FROUND_TO_...
// constant), whatever the control word says.
template <int kMode, class T>
NYX_INLINE Vec<T> RoundWith(Vec<T> x) {
  if constexpr (std::is_same_v<T, float>)
    return {_mm256_round_ps(x.raw, kMode | _MM_FROUND_NO_EXC)};
  else
    return {_mm256_round_pd(x.raw, kMode | _MM_FROUND_NO_EXC)};
}
template <int kMode, class T>
NYX_INLINE Lane<T> RoundWith(Lane<T> x) {
  if constexpr (std::is_same_v<T, float>) {
    const __m128 v = _mm_set_ss(x.raw);
    return {_mm_cvtss_f32(_mm_round_ss(v, v, kMode | _MM_FROUND_NO_EXC))};
  } else {
    const __m128d v = _mm_set_sd(x.raw);
    return {_mm_cvtsd_f64(_mm_round_sd(v, v, kMode | _MM_FROUND_NO_EXC))};
  }
}

// x with its sign bit replaced by that of s (s only lends its sign).
template <class V>
NYX_INLINE V CopySign(V x, V s) {
  using T = typename V::Sample;
  const V sign = V::Set(T(-0.0));
  return Or(AndNot(sign, x), And(sign, s));
}

template <class T>
NYX_INLINE Vec<T> Ge(Vec<T> a, Vec<T> b) {  // ordered: false with a NaN
  if constexpr (std::is_same_v<T, float>)
    return {_mm256_cmp_ps(a.raw, b.raw, _CMP_GE_OQ)};
  else
    return {_mm256_cmp_pd(a.raw, b.raw, _CMP_GE_OQ)};
}
template <class T>
NYX_INLINE Lane<T> Ge(Lane<T> a, Lane<T> b) {
  return {a.raw >= b.raw ? AllOnes<T>() : T(0)};
}

// Lanes of one type seen as another of the same width.
template <class To, class From>
NYX_INLINE Vec<To> BitCast(Vec<From> v) {
  static_assert(sizeof(To) == sizeof(From));
  if constexpr (std::is_same_v<To, float> && !std::is_same_v<From, float>)
    return {_mm256_castsi256_ps(v.raw)};
  else if constexpr (std::is_same_v<From, float> && !std::is_same_v<To, float>)
    return {_mm256_castps_si256(v.raw)};
  else
    return {v.raw};
}
template <class To, class From>
NYX_INLINE Lane<To> BitCast(Lane<From> v) {
  static_assert(sizeof(To) == sizeof(From));
  return {FromBits<To>(BitsOf(v.raw))};
}

template <class T>
NYX_INLINE Vec<int32_t> CvtToInt32(Vec<T> x) {
  static_assert(std::is_same_v<T, float>);
  return {_mm256_cvtps_epi32(x.raw)};
}
template <class T>
NYX_INLINE Lane<int32_t> CvtToInt32(Lane<T> x) {
  return {CvtToInt32(x.raw)};
}

// Float lanes to int32 in the current rounding mode with saturation; NaN
// gives INT32_MIN. Above the clamp, 2^31 converts to the indefinite integer
// 0x80000000, which the compare mask turns into 0x7fffffff.
template <class V>
NYX_INLINE auto FloatToInt32Sat(V x) {
  using F = typename V::Sample;
  const V top = V::Set(F(2147483648.0));
  const V y = Min(Max(x, V::Set(F(-2147483648.0))), top);
  const auto i = CvtToInt32(y);
  return Xor(i, BitCast<int32_t>(Ge(y, top)));
}

// Float lanes to uint32 (held in int32 lanes) in the current rounding mode
// with saturation; NaN gives 0. Values from 2^31 convert after subtracting
// 2^31 and get the top bit back; 2^32 and above become all ones.
template <class V>
NYX_INLINE auto FloatToUint32Sat(V x) {
  using F = typename V::Sample;
  const V half = V::Set(F(2147483648.0)), full = V::Set(F(4294967296.0));
  const V y = Min(Max(x, V::Zero()), full);
  const V big = Ge(y, half);
  const auto i = CvtToInt32(Sub(y, And(big, half)));
  const auto top = BitCast<int32_t>(And(big, V::Set(FromBits<F>(0x80000000u))));
  return Or(Xor(i, top), BitCast<int32_t>(Ge(y, full)));
}

// The bounds of an integer type as floating lanes.
template <class D, class V>
NYX_INLINE V LowOf() {
  return V::Set(static_cast<typename V::Sample>(std::numeric_limits<D>::min()));
}
template <class D, class V>
NYX_INLINE V HighOf() {
  return V::Set(static_cast<typename V::Sample>(std::numeric_limits<D>::max()));
}

// Clamps floating lanes to the range of the integer type D (8 or 16 bits, or
// 32 bits with double lanes, where the bounds are exact); NaN gives the
// lower bound, since Max returns its second operand when one is NaN.
template <class D, class V>
NYX_INLINE V ClampTo(V x) {
  return Min(Max(x, LowOf<D, V>()), HighOf<D, V>());
}

}  // namespace nyx::avx2
