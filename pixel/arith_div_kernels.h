// Row kernels of the divisions (Div, DivC at C3/C4/AC4 and for 16-bit types,
// Div_Round, Div in float) and of the products with double constants.
//
// Kernel contract (all kernels of this file): any count n from 1; no read or
// write outside [p, p + n) of each row; the destination may equal a source
// exactly but must not partly overlap it; results do not depend on how n
// splits into blocks. kAlpha kernels leave every fourth sample of the
// destination as it was. The first operand is the divisor. Division kernels
// return whether they met a zero divisor (alpha samples do not count).
//
// These kernels work on blocks of eight samples held as 32-bit lanes and
// convert to float or double; the last, partial block of a row goes through
// copies on the stack, so every block runs the same instructions.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "core/simd/prefetch.h"
#include "core/simd/vec.h"

namespace nyx::avx2 {

// Runs body(a, b, d) on blocks of eight samples. The last partial block runs
// on stack copies whose samples past the end are a_fill (first operand) and 0.
template <class A, class B, class D, class Body>
NYX_INLINE void Blocks8(const A* a, A a_fill, const B* b, D* d, size_t n, Body&& body) {
  size_t i = 0;
  for (; i + 8 <= n; i += 8) body(a + i, b + i, d + i);
  if (i < n) {
    const size_t m = n - i;
    A ta[8];
    B tb[8];
    D td[8];
    for (size_t j = 0; j < 8; ++j) {
      ta[j] = j < m ? a[i + j] : a_fill;
      tb[j] = j < m ? b[i + j] : B{};
      td[j] = j < m ? d[i + j] : D{};
    }
    body(ta, tb, td);
    for (size_t j = 0; j < m; ++j) d[i + j] = td[j];
  }
}

// Eight samples as 32-bit lanes, and back (the lanes hold values of T).
template <class T>
NYX_INLINE __m256i Load8(const T* p) {
  if constexpr (sizeof(T) == 1) {
    return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
  } else {
    const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    if constexpr (std::is_signed_v<T>) return _mm256_cvtepi16_epi32(x);
    else return _mm256_cvtepu16_epi32(x);
  }
}
template <class T>
NYX_INLINE void Store8(__m256i v, T* p) {
  if constexpr (sizeof(T) == 1) {
    // Two packs leave samples 0-3 in the low and 4-7 in the high 128 bits.
    __m256i w = _mm256_packus_epi32(v, v);
    w = _mm256_packus_epi16(w, w);
    const __m128i lo = _mm256_castsi256_si128(w), hi = _mm256_extracti128_si256(w, 1);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_unpacklo_epi32(lo, hi));
  } else {
    __m256i w = std::is_signed_v<T> ? _mm256_packs_epi32(v, v) : _mm256_packus_epi32(v, v);
    w = _mm256_permute4x64_epi64(w, 0x08);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_castsi256_si128(w));
  }
}

// The old alpha samples (lanes 3 and 7 of a block, which starts on a pixel)
// put back into r.
template <bool kAlpha, class T>
NYX_INLINE __m256i KeepAlpha(__m256i r, const T* d) {
  if constexpr (kAlpha) return _mm256_blend_epi32(r, Load8(d), 0x88);
  else return r;
}
template <bool kAlpha>
NYX_INLINE __m256i DropAlpha(__m256i mask) {
  if constexpr (kAlpha) return _mm256_blend_epi32(mask, _mm256_setzero_si256(), 0x88);
  else return mask;
}

// The result of a zero divisor: the bound of T in the direction of the
// dividend, 0 for a zero dividend.
template <class T>
NYX_INLINE __m256i SignBound8(__m256i x) {
  const __m256i zero = _mm256_setzero_si256();
  const __m256i hi = _mm256_and_si256(_mm256_cmpgt_epi32(x, zero),
                                      _mm256_set1_epi32(std::numeric_limits<T>::max()));
  const __m256i lo = _mm256_and_si256(_mm256_cmpgt_epi32(zero, x),
                                      _mm256_set1_epi32(std::numeric_limits<T>::min()));
  return _mm256_or_si256(hi, lo);
}

// The scale factor as two exact powers of two: the dividend is multiplied by
// num = 2^-sf for negative sf, the divisor by den = 2^sf for positive sf.
struct DivScale {
  float num_f, den_f;
  double num_d, den_d;
};

// ---------------------------------------------------------------------------
// Exact integer division: round(n / (d * 2^sf)) to nearest even, saturated.
//
// 8u runs in float (by true division, or by Newton steps that give the same
// correctly rounded float), 16-bit types in double by true division. Why this
// is exact: a quotient that is a tie (k + 0.5) is representable, so the correctly
// rounded division returns it exactly; any other quotient q of a non-saturated
// result lies at least 1 / (2 * divisor * q) relatively away from a tie, which
// for 8u samples is above 7e-6 (float error: 6e-8) and for 16-bit samples
// above 1e-10 (double error: 1.1e-16). So rounding the division to an integer
// gives the rounding of the exact quotient.

// 16-bit samples: eight quotients in double, rounded to nearest even.
template <class T>
NYX_INLINE __m256i DivQuotient8(__m256i x, __m256i v, __m256i zero, const DivScale& s) {
  constexpr double kLo = std::numeric_limits<T>::min(), kHi = std::numeric_limits<T>::max();
  constexpr int kRound = _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC;
  const __m256i v1 = _mm256_blendv_epi8(v, _mm256_set1_epi32(1), zero);
  auto half = [&](__m128i xi, __m128i vi) {
    __m256d q = _mm256_div_pd(_mm256_mul_pd(_mm256_cvtepi32_pd(xi), _mm256_set1_pd(s.num_d)),
                              _mm256_mul_pd(_mm256_cvtepi32_pd(vi), _mm256_set1_pd(s.den_d)));
    q = _mm256_max_pd(_mm256_min_pd(q, _mm256_set1_pd(kHi)), _mm256_set1_pd(kLo));
    return _mm256_cvttpd_epi32(_mm256_round_pd(q, kRound));
  };
  const __m128i lo = half(_mm256_castsi256_si128(x), _mm256_castsi256_si128(v1));
  const __m128i hi = half(_mm256_extracti128_si256(x, 1), _mm256_extracti128_si256(v1, 1));
  return _mm256_set_m128i(hi, lo);
}

// 8u: 32 samples a round, in four groups of eight 32-bit lanes. Group K
// holds samples 4K..4K+3 in its low and 16+4K..16+4K+3 in its high half (one
// byte shuffle), which is the order in which the saturating packs of the four
// groups put the samples back in sequence.
template <int K>
NYX_INLINE __m256i Group8u(__m256i bytes) {
  constexpr char z = -128, o = 4 * K;  // z: a zero byte
  return _mm256_shuffle_epi8(bytes, _mm256_setr_epi8(o, z, z, z, o + 1, z, z, z, o + 2, z, z, z,
                                                     o + 3, z, z, z, o, z, z, z, o + 1, z, z, z,
                                                     o + 2, z, z, z, o + 3, z, z, z));
}

// x / v for integers 0 <= x <= 255 and 1 <= v <= 255, as the float nearest
// to the exact quotient, on the multiply-add units. r is the reciprocal
// estimate, relative error e <= 1.5 * 2^-12. Each step takes the residual
// x - q * v, which the fused multiply-add gives exactly (it is a multiple of
// ulp(q) below 2^24 of them), and adds residual * r: the error falls from
// q * e to q * e^2 (about 2e-7 relative with the rounding) and then to
// q * 1e-10, well inside half an ulp, so a tie k + 0.5 comes out exactly and
// any other quotient, at least 1 / 510 from a tie, keeps its side.
NYX_INLINE __m256 NewtonQuotient8u(__m256 x, __m256 v) {
  const __m256 r = _mm256_rcp_ps(v);
  const __m256 q0 = _mm256_mul_ps(x, r);
  const __m256 q1 = _mm256_fmadd_ps(_mm256_fnmadd_ps(q0, v, x), r, q0);
  return _mm256_fmadd_ps(_mm256_fnmadd_ps(q1, v, x), r, q1);
}

// The rounded quotients of group K. The conversion to integer rounds under
// the rounding control, which the frame holds at nearest-even. Without a
// scale factor group 3 divides by Newton steps: the divider is the limit of
// this loop, and the multiply-add units are free to run one group in four
// beside it.
template <int K, bool kScaled>
NYX_INLINE __m256i Quotients8u(__m256i x8, __m256i v8, const DivScale& s) {
  __m256 xf = _mm256_cvtepi32_ps(Group8u<K>(x8));
  __m256 vf = _mm256_cvtepi32_ps(Group8u<K>(v8));
  if constexpr (kScaled) {
    xf = _mm256_mul_ps(xf, _mm256_set1_ps(s.num_f));
    vf = _mm256_mul_ps(vf, _mm256_set1_ps(s.den_f));
    // Scaled quotients pass 65535, which the word pack would read as negative.
    return _mm256_min_epi32(_mm256_cvtps_epi32(_mm256_div_ps(xf, vf)), _mm256_set1_epi32(255));
  } else if constexpr (K == 3) {
    return _mm256_cvtps_epi32(NewtonQuotient8u(xf, vf));
  } else {
    return _mm256_cvtps_epi32(_mm256_div_ps(xf, vf));
  }
}

// A zero divisor divides by 1: the quotient is then 0 for a zero dividend and
// non-zero otherwise, and the lanes with a non-zero dividend take the bound
// 255 by an or.
template <bool kAlpha, bool kScaled>
NYX_INLINE __m256i Div32x8u(const uint8_t* a, const uint8_t* b, const uint8_t* d, const DivScale& s,
                            __m256i* met) {
  const __m256i v8 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(a));
  const __m256i x8 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(b));
  const __m256i zero = _mm256_cmpeq_epi8(v8, _mm256_setzero_si256());
  const __m256i v1 = _mm256_sub_epi8(v8, zero);
  __m256i r = _mm256_packus_epi16(
      _mm256_packus_epi32(Quotients8u<0, kScaled>(x8, v1, s), Quotients8u<1, kScaled>(x8, v1, s)),
      _mm256_packus_epi32(Quotients8u<2, kScaled>(x8, v1, s), Quotients8u<3, kScaled>(x8, v1, s)));
  r = _mm256_or_si256(r, _mm256_andnot_si256(_mm256_cmpeq_epi8(x8, _mm256_setzero_si256()), zero));
  if constexpr (kAlpha) {
    const __m256i alpha = _mm256_set1_epi32(static_cast<int>(0xff000000u));
    r = _mm256_blendv_epi8(r, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(d)), alpha);
    *met = _mm256_or_si256(*met, _mm256_andnot_si256(alpha, zero));
  } else {
    *met = _mm256_or_si256(*met, zero);
  }
  return r;
}

template <bool kAlpha, bool kScaled>
bool DivRow8u(const uint8_t* a, const uint8_t* b, uint8_t* d, size_t n, const DivScale& s) {
  __m256i met = _mm256_setzero_si256();
  size_t i = 0;
  for (; i + 32 <= n; i += 32) {
    const __m256i r = Div32x8u<kAlpha, kScaled>(a + i, b + i, d + i, s, &met);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + i), r);
  }
  if (i < n) {
    // The last partial block on stack copies; divisors past the end are 1.
    alignas(32) uint8_t ta[32], tb[32], td[32];
    const size_t m = n - i;
    for (size_t j = 0; j < 32; ++j) {
      ta[j] = j < m ? a[i + j] : 1;
      tb[j] = j < m ? b[i + j] : 0;
      td[j] = j < m ? d[i + j] : 0;
    }
    _mm256_store_si256(reinterpret_cast<__m256i*>(td), Div32x8u<kAlpha, kScaled>(ta, tb, td, s, &met));
    for (size_t j = 0; j < m; ++j) d[i + j] = td[j];
  }
  return !_mm256_testz_si256(met, met);
}

template <class T, bool kAlpha>
bool DivRow(const T* a, const T* b, T* d, size_t n, const DivScale& s) {
  static_assert(sizeof(T) == 2, "8u divides in DivRow8u");
  __m256i met = _mm256_setzero_si256();
  Blocks8(a, T{1}, b, d, n, [&](const T* pa, const T* pb, T* pd) {
    const __m256i v = Load8(pa), x = Load8(pb);
    const __m256i zero = _mm256_cmpeq_epi32(v, _mm256_setzero_si256());
    met = _mm256_or_si256(met, DropAlpha<kAlpha>(zero));
    const __m256i r = _mm256_blendv_epi8(DivQuotient8<T>(x, v, zero, s), SignBound8<T>(x), zero);
    Store8(KeepAlpha<kAlpha>(r, pd), pd);
  });
  return !_mm256_testz_si256(met, met);
}

// ---------------------------------------------------------------------------
// Conversions of float or double results to 32-bit lanes: clamped to [lo, hi],
// then rounded under the rounding control, or half away from zero (0.5 with
// the sign of the value added, then truncated).

template <bool kHalfAway>
NYX_INLINE __m128i ToInt4(__m256d p, double lo, double hi) {
  p = _mm256_max_pd(_mm256_min_pd(p, _mm256_set1_pd(hi)), _mm256_set1_pd(lo));
  if constexpr (kHalfAway) {
    const __m256d sign = _mm256_and_pd(p, _mm256_set1_pd(-0.0));
    return _mm256_cvttpd_epi32(_mm256_add_pd(p, _mm256_or_pd(sign, _mm256_set1_pd(0.5))));
  } else {
    return _mm256_cvtpd_epi32(p);
  }
}
template <bool kHalfAway>
NYX_INLINE __m256i ToInt8(__m256 p, float lo, float hi) {
  p = _mm256_max_ps(_mm256_min_ps(p, _mm256_set1_ps(hi)), _mm256_set1_ps(lo));
  if constexpr (kHalfAway) {
    const __m256 sign = _mm256_and_ps(p, _mm256_set1_ps(-0.0f));
    return _mm256_cvttps_epi32(_mm256_add_ps(p, _mm256_or_ps(sign, _mm256_set1_ps(0.5f))));
  } else {
    return _mm256_cvtps_epi32(p);
  }
}

// ---------------------------------------------------------------------------
// Division with a chosen rounding: the single-precision quotient of a true
// float division (under the caller's or the set rounding control), clamped to
// the range of T, then converted either under the rounding control (modes 0
// and 1, set by the frame) or half away from zero (mode 2: 0.5 with the sign
// of the quotient is added, then the sum is truncated).

template <class T, bool kAlpha, bool kHalfAway>
bool DivRoundRow(const T* a, const T* b, T* d, size_t n, const DivScale& s) {
  constexpr float kLo = std::numeric_limits<T>::min(), kHi = std::numeric_limits<T>::max();
  __m256i met = _mm256_setzero_si256();
  Blocks8(a, T{1}, b, d, n, [&](const T* pa, const T* pb, T* pd) {
    const __m256i v = Load8(pa), x = Load8(pb);
    const __m256i zero = _mm256_cmpeq_epi32(v, _mm256_setzero_si256());
    met = _mm256_or_si256(met, DropAlpha<kAlpha>(zero));
    const __m256i v1 = _mm256_blendv_epi8(v, _mm256_set1_epi32(1), zero);
    __m256 q = _mm256_div_ps(_mm256_mul_ps(_mm256_cvtepi32_ps(x), _mm256_set1_ps(s.num_f)),
                             _mm256_mul_ps(_mm256_cvtepi32_ps(v1), _mm256_set1_ps(s.den_f)));
    const __m256i r = _mm256_blendv_epi8(ToInt8<kHalfAway>(q, kLo, kHi), SignBound8<T>(x), zero);
    Store8(KeepAlpha<kAlpha>(r, pd), pd);
  });
  return !_mm256_testz_si256(met, met);
}

// ---------------------------------------------------------------------------
// Float division, IEEE per sample. Lanes with a zero divisor divide by 1.0
// (no exception is raised) and then take what the division would give: a NaN
// dividend stays NaN, 0/0 is the default quiet NaN, anything else is an
// infinity with the sign of dividend exclusive-or divisor.

template <bool kAlpha>
NYX_INLINE __m256 DivF32x8(const float* pa, const float* pb, const float* pd, __m256i* met) {
  const __m256 v = _mm256_loadu_ps(pa), x = _mm256_loadu_ps(pb);
  const __m256 zero = _mm256_cmp_ps(v, _mm256_setzero_ps(), _CMP_EQ_OQ);
  // Blocks with no zero divisor (the usual case) are one division.
  if (_mm256_testz_ps(zero, zero)) {
    const __m256 r = _mm256_div_ps(x, v);
    if constexpr (kAlpha) return _mm256_blend_ps(r, _mm256_loadu_ps(pd), 0x88);
    return r;
  }
  *met = _mm256_or_si256(*met, DropAlpha<kAlpha>(_mm256_castps_si256(zero)));
  const __m256 q = _mm256_div_ps(x, _mm256_blendv_ps(v, _mm256_set1_ps(1.0f), zero));
  const __m256 inf = _mm256_or_ps(_mm256_and_ps(_mm256_xor_ps(x, v), _mm256_set1_ps(-0.0f)),
                                  _mm256_set1_ps(std::numeric_limits<float>::infinity()));
  const __m256 nan = _mm256_castsi256_ps(_mm256_set1_epi32(static_cast<int>(0xffc00000u)));
  __m256 z = _mm256_blendv_ps(inf, nan, _mm256_cmp_ps(x, _mm256_setzero_ps(), _CMP_EQ_OQ));
  z = _mm256_blendv_ps(z, q, _mm256_cmp_ps(q, q, _CMP_UNORD_Q));
  __m256 r = _mm256_blendv_ps(q, z, zero);
  if constexpr (kAlpha) r = _mm256_blend_ps(r, _mm256_loadu_ps(pd), 0x88);
  return r;
}

// kStream: rows of large images store the middle of the row, whole cache
// lines from a 64-byte boundary, with non-temporal stores (no read of the
// destination lines before they are written); the frame fences after the
// walk. The head and tail of a row share their lines with the rows around
// it and take ordinary stores: a line written partly by each kind costs
// a partial write to memory (measured at 1920x1080: 60% slower).
template <bool kAlpha, bool kStream>
bool DivF32Row(const float* a, const float* b, float* d, size_t n, const DivScale&) {
  __m256i met = _mm256_setzero_si256();
  auto body = [&](const float* pa, const float* pb, float* pd) {
    _mm256_storeu_ps(pd, DivF32x8<kAlpha>(pa, pb, pd, &met));
  };
  size_t i = 0;
  if constexpr (kStream) {
    // The head up to the first line boundary; at AC4 it must be whole pixels,
    // so that alpha stays in lanes 3 and 7 of every block.
    const size_t head = ((64 - (reinterpret_cast<uintptr_t>(d) & 63)) & 63) / sizeof(float);
    const bool whole = !kAlpha || head % 4 == 0;
    i = head < n && whole ? head : 0;
    Blocks8(a, 1.0f, b, d, i, body);
    if (whole && (reinterpret_cast<uintptr_t>(d + i) & 63) == 0) {
      // The sources are fetched kAhead samples early, one line of each a
      // round: beside the streamed stores this keeps more reads in flight
      // than the hardware prefetcher does (prefetches never fault, so the
      // reach past the row is harmless).
      constexpr size_t kAhead = 512;
      for (; i + 16 <= n; i += 16) {
        PrefetchRead(a + i, kAhead * sizeof(*a));
        PrefetchRead(b + i, kAhead * sizeof(*b));
        _mm256_stream_ps(d + i, DivF32x8<kAlpha>(a + i, b + i, d + i, &met));
        _mm256_stream_ps(d + i + 8, DivF32x8<kAlpha>(a + i + 8, b + i + 8, d + i + 8, &met));
      }
    }
  }
  Blocks8(a + i, 1.0f, b + i, d + i, n - i, body);
  return !_mm256_testz_si256(met, met);
}

// ---------------------------------------------------------------------------
// Products with double constants. C is the type of the constants and of the
// product: double, or float (the constants rounded by the frame). Integer
// results are clamped to the range of T and converted under the rounding
// control (modes 0 and 1, set by the frame) or half away from zero
// (kHalfAway); float results are stored as the product rounds.

template <class T, class C, bool kHalfAway>
void MulC64fRow(const C* c, const T* x, T* d, size_t n) {
  constexpr double kLo = std::numeric_limits<T>::lowest(), kHi = std::numeric_limits<T>::max();
  Blocks8(c, C{0}, x, d, n, [&](const C* pc, const T* px, T* pd) {
    __m256 xf;
    if constexpr (std::is_same_v<T, float>) xf = _mm256_loadu_ps(px);
    else xf = _mm256_cvtepi32_ps(Load8(px));  // exact: 16-bit samples
    if constexpr (std::is_same_v<C, double>) {
      const __m256d lo = _mm256_mul_pd(_mm256_cvtps_pd(_mm256_castps256_ps128(xf)),
                                       _mm256_loadu_pd(pc));
      const __m256d hi = _mm256_mul_pd(_mm256_cvtps_pd(_mm256_extractf128_ps(xf, 1)),
                                       _mm256_loadu_pd(pc + 4));
      if constexpr (std::is_same_v<T, float>) {
        _mm256_storeu_ps(pd, _mm256_set_m128(_mm256_cvtpd_ps(hi), _mm256_cvtpd_ps(lo)));
      } else {
        Store8(_mm256_set_m128i(ToInt4<kHalfAway>(hi, kLo, kHi), ToInt4<kHalfAway>(lo, kLo, kHi)),
               pd);
      }
    } else {
      const __m256 p = _mm256_mul_ps(xf, _mm256_loadu_ps(pc));
      if constexpr (std::is_same_v<T, float>) _mm256_storeu_ps(pd, p);
      else Store8(ToInt8<kHalfAway>(p, static_cast<float>(kLo), static_cast<float>(kHi)), pd);
    }
  });
}

}  // namespace nyx::avx2
