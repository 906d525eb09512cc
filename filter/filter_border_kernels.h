// Kernels of the general kernel filter, run by the bordered frame.
//
// Kernel contract: any size from 1 by 1; no read outside rows [0, h+kh-1)
// and samples [0, (w+kw-1)*nc) of the source; no write outside w pixels of
// each output row; results do not depend on how a row splits into vector
// blocks (tails run the same arithmetic one sample at a time).
//
// Taps are stored flipped, so output (x, y) = sum over j, i of
// F[j][i] * src(x + i, y + j) with the source moved back by the anchor.
//
// Integer taps: the sum S is taken in 32-bit lanes (wrapping), from 16-bit
// products of pairs of taps (multiply-add of pairs). Then one of:
//   fast (two-dimensional kernels, modes 0 and 1 without the accurate bit):
//     divisor 1:          S + offset
//     divisor 2^s:        ((S + 2^(s-1) - 1 + ((S >> s) & 1)) >> s) + offset,
//                         nearest even in every mode
//     any other divisor:  (float)S * (1.0f / divisor), converted under the
//                         rounding control of the call, + offset
//   exact (rows, columns, mode 2, the accurate bit):
//     t = trunc((float)S + offsetF), then t divided by the divisor rounded
//     by the mode: 0 toward zero, 1 nearest even, 2 half up (see ExactRule)
// and saturation to the sample range.
//
// Float taps: the sum is a chain of fused multiply-adds from +0 in the order
// of the flipped taps (row by row, left to right), then + offsetF for
// integer samples, rounded by the mode (0 toward zero, 1 nearest even,
// 2 half up) and saturated.
#pragma once

#include <immintrin.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "core/frame/frame.h"
#include "core/simd/vec.h"

namespace nyx::avx2 {

// ---------------------------------------------------------------------------
// Conversion of integer sums.

struct IntRule {
  int cls, shift, half, mode;
  float reciprocal;
  int32_t offset;
  float offset_f;
  int32_t divisor;
  double divisor_d;
  bool fast;
};

template <class Dst>
NYX_INLINE Dst SaturateTo(int64_t v) {
  constexpr int64_t lo = std::numeric_limits<Dst>::min(), hi = std::numeric_limits<Dst>::max();
  return static_cast<Dst>(v < lo ? lo : (v > hi ? hi : v));
}

NYX_INLINE int32_t WrapAdd(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

// The fast rule on one sum (the same instructions as the vector form).
NYX_INLINE int32_t FastRule(int32_t s, const IntRule& r) {
  if (r.cls == 0) return WrapAdd(s, r.offset);
  if (r.cls == 1) {
    const int32_t t = WrapAdd(WrapAdd(s, r.half - 1), (s >> r.shift) & 1);
    return WrapAdd(t >> r.shift, r.offset);
  }
  const __m128 f = _mm_mul_ss(_mm_cvtsi32_ss(_mm_setzero_ps(), s), _mm_set_ss(r.reciprocal));
  return WrapAdd(_mm_cvtss_si32(f), r.offset);
}

// The exact rule on one sum. Float steps run under the call's rounding
// control, as the vector kernels do.
NYX_INLINE int64_t ExactRule(int32_t s, const IntRule& r) {
  const __m128 sum = _mm_add_ss(_mm_cvtsi32_ss(_mm_setzero_ps(), s), _mm_set_ss(r.offset_f));
  const float f = _mm_cvtss_f32(sum);
  const int64_t t = f >= 2147483647.0f ? 2147483647 : (f <= -2147483648.0f ? -2147483648LL
                                                                           : static_cast<int64_t>(f));
  if (r.cls == 0) return t;
  if (r.cls == 1) {
    const int64_t q = t >> r.shift, rem = t & ((int64_t{1} << r.shift) - 1);
    if (r.mode == 0) return t >= 0 ? q : -((-t) >> r.shift);
    if (r.mode == 2) return (t + r.half) >> r.shift;
    return q + ((rem > r.half || (rem == r.half && (q & 1))) ? 1 : 0);
  }
  if (r.mode == 0) return t / r.divisor;
  const double q = static_cast<double>(t) / r.divisor_d;
  if (r.mode == 2) return static_cast<int64_t>(std::floor(q + 0.5));
  const double a = std::fabs(q);
  double v = std::trunc(a + 0.5);
  if (a - std::trunc(a) == 0.5) v -= std::fmod(v, 2.0);  // halfway: to even
  return static_cast<int64_t>(q < 0 ? -v : v);
}

NYX_INLINE __m256i FastRule8(__m256i s, const IntRule& r) {
  const __m256i off = _mm256_set1_epi32(r.offset);
  if (r.cls == 0) return _mm256_add_epi32(s, off);
  if (r.cls == 1) {
    const __m128i sh = _mm_cvtsi32_si128(r.shift);
    __m256i t = _mm256_add_epi32(s, _mm256_set1_epi32(r.half - 1));
    t = _mm256_add_epi32(t, _mm256_and_si256(_mm256_sra_epi32(s, sh), _mm256_set1_epi32(1)));
    return _mm256_add_epi32(_mm256_sra_epi32(t, sh), off);
  }
  const __m256 f = _mm256_mul_ps(_mm256_cvtepi32_ps(s), _mm256_set1_ps(r.reciprocal));
  return _mm256_add_epi32(_mm256_cvtps_epi32(f), off);
}

// ---------------------------------------------------------------------------
// Loads of 16 samples as 16-bit lanes, and stores of 16 results.

NYX_INLINE __m256i Load16(const uint8_t* p) {
  return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}
NYX_INLINE __m256i Load16(const int16_t* p) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

// lo holds results 0-3 and 8-11, hi 4-7 and 12-15: the order that the
// multiply-add of interleaved pairs leaves.
template <class Dst>
NYX_INLINE void StoreSums(__m256i lo, __m256i hi, Dst* d, const IntRule& r) {
  if (r.fast) {
    const __m256i w = _mm256_packs_epi32(FastRule8(lo, r), FastRule8(hi, r));
    if constexpr (sizeof(Dst) == 1) {
      const __m256i b = _mm256_permute4x64_epi64(_mm256_packus_epi16(w, w), 0x08);
      _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm256_castsi256_si128(b));
    } else {
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), w);
    }
    return;
  }
  alignas(32) int32_t s[16];
  _mm256_store_si256(reinterpret_cast<__m256i*>(s), _mm256_permute2x128_si256(lo, hi, 0x20));
  _mm256_store_si256(reinterpret_cast<__m256i*>(s + 8), _mm256_permute2x128_si256(lo, hi, 0x31));
  for (int i = 0; i < 16; ++i) d[i] = SaturateTo<Dst>(ExactRule(s[i], r));
}

template <class Dst>
NYX_INLINE Dst FinishOne(int32_t s, const IntRule& r) {
  return SaturateTo<Dst>(r.fast ? FastRule(s, r) : ExactRule(s, r));
}

// ---------------------------------------------------------------------------
// Integer taps.
//
// Shapes: kPairs (one channel): 16 outputs at x are kept as even outputs
// x, x+2, ... and odd outputs x+1, x+3, ...; the pair (F[j][2p], F[j][2p+1])
// multiplies the 16-bit samples starting at x+2p for the even outputs and at
// x+2p+1 for the odd ones, so every load feeds one multiply-add with no
// shuffle, and kRows output rows share each tap pair.
// kInterleaved (several channels): the samples of taps 2p and 2p+1 are
// interleaved by unpacking. kColumn (kernel width 1): the pairs are two
// kernel rows.

enum class IntShape { kPairs, kInterleaved, kColumn };

template <class SrcT, class DstT, int kNcT>
struct IntKernel {
  using Src = SrcT;
  using Dst = DstT;
  static constexpr int kNc = kNcT;
  static constexpr bool kAlpha = false;
  static constexpr bool kConsumesRows = false;
  // The work buffer holds one strip rectangle at a time, not the left and
  // right ones side by side.
  static constexpr bool kSeparateSides = true;
  static constexpr int kRows = 4;

  int64_t kw, kh;
  const int16_t* taps;   // flipped, kh rows of kw
  const int32_t* pairs;  // kh rows of np words
  IntRule rule;
  IntShape shape;

  int64_t np() const { return (kw + 1) / 2; }
  int64_t Delay() const { return (kh - 1) / 2 + kRows - 1; }
  size_t ScratchBytes(int64_t) const { return 0; }

  template <class Out>
  void Run(const Src* s, int64_t ss, int64_t w, int64_t h, Out& out, uint8_t*, bool) const {
    int64_t y = 0;
    if (shape == IntShape::kPairs && kh > 1) {
      for (; y + kRows <= h; y += kRows) {
        Dst* d[kRows];
        for (int k = 0; k < kRows; ++k) d[k] = out.Row(y + k);
        PairsRows<kRows>(s, ss, y, w, d);
        for (int k = 0; k < kRows; ++k) out.Done(y + k);
      }
    }
    for (; y < h; ++y) {
      Dst* d = out.Row(y);
      if (shape == IntShape::kPairs) PairsRows<1>(s, ss, y, w, &d);
      else OneRow(s, ss, y, w, d);
      out.Done(y);
    }
  }

 private:
  NYX_INLINE __m256i Pair(int64_t j, int64_t p) const {
    return _mm256_set1_epi32(pairs[j * np() + p]);
  }

  // Outputs [x, n) of rows y.. of d, one sample at a time.
  template <int R>
  void Tail(const Src* s, int64_t ss, int64_t y, int64_t x, int64_t n, Dst* const* d) const {
    for (int k = 0; k < R; ++k) {
      for (int64_t o = x; o < n; ++o) {
        uint32_t sum = 0;
        for (int64_t j = 0; j < kh; ++j) {
          const Src* row = frame::RowAt(s, ss, y + k + j) + o;
          for (int64_t i = 0; i < kw; ++i)
            sum += static_cast<uint32_t>(static_cast<int32_t>(taps[j * kw + i]) * row[i * kNc]);
        }
        d[k][o] = FinishOne<Dst>(static_cast<int32_t>(sum), rule);
      }
    }
  }

  template <int R>
  void PairsRows(const Src* s, int64_t ss, int64_t y, int64_t w, Dst* const* d) const {
    const int64_t n = np();
    int64_t x = 0;
    // A block reads samples up to x + 2n - 1 + 15, one past its last window
    // when kw is odd: hence the strict bound.
    for (; x + 16 < w || (kw % 2 == 0 && x + 16 <= w); x += 16) {
      __m256i even[R], odd[R];
      for (int k = 0; k < R; ++k) even[k] = odd[k] = _mm256_setzero_si256();
      for (int64_t j = 0; j < kh; ++j) {
        const Src* row = frame::RowAt(s, ss, y + j) + x;
        for (int64_t p = 0; p < n; ++p) {
          const __m256i t = Pair(j, p);
#pragma GCC unroll 4
          for (int k = 0; k < R; ++k) {
            const Src* q = frame::RowAt(row, ss, k) + 2 * p;
            even[k] = _mm256_add_epi32(even[k], _mm256_madd_epi16(Load16(q), t));
            odd[k] = _mm256_add_epi32(odd[k], _mm256_madd_epi16(Load16(q + 1), t));
          }
        }
      }
      for (int k = 0; k < R; ++k) {
        StoreSums(_mm256_unpacklo_epi32(even[k], odd[k]), _mm256_unpackhi_epi32(even[k], odd[k]),
                  d[k] + x, rule);
      }
    }
    Tail<R>(s, ss, y, x, w, d);
  }

  void OneRow(const Src* s, int64_t ss, int64_t y, int64_t w, Dst* d) const {
    const int64_t n_out = w * kNc;
    int64_t x = 0;
    for (; x + 16 <= n_out; x += 16) {
      __m256i lo = _mm256_setzero_si256(), hi = lo;
      if (shape == IntShape::kColumn) {
        for (int64_t j = 0; j < kh; j += 2) {
          const __m256i a = Load16(frame::RowAt(s, ss, y + j) + x);
          const __m256i b = j + 1 < kh ? Load16(frame::RowAt(s, ss, y + j + 1) + x) : a;
          const int32_t t1 = j + 1 < kh ? taps[j + 1] : 0;
          const __m256i t = _mm256_set1_epi32(static_cast<int32_t>(
              (static_cast<uint32_t>(static_cast<uint16_t>(taps[j]))) |
              (static_cast<uint32_t>(t1) << 16)));
          lo = _mm256_add_epi32(lo, _mm256_madd_epi16(_mm256_unpacklo_epi16(a, b), t));
          hi = _mm256_add_epi32(hi, _mm256_madd_epi16(_mm256_unpackhi_epi16(a, b), t));
        }
      } else {
        for (int64_t j = 0; j < kh; ++j) {
          const Src* row = frame::RowAt(s, ss, y + j) + x;
          for (int64_t p = 0; p < np(); ++p) {
            const __m256i a = Load16(row + 2 * p * kNc);
            const __m256i b = 2 * p + 1 < kw ? Load16(row + (2 * p + 1) * kNc) : a;
            const __m256i t = Pair(j, p);
            lo = _mm256_add_epi32(lo, _mm256_madd_epi16(_mm256_unpacklo_epi16(a, b), t));
            hi = _mm256_add_epi32(hi, _mm256_madd_epi16(_mm256_unpackhi_epi16(a, b), t));
          }
        }
      }
      StoreSums(lo, hi, d + x, rule);
    }
    // The tail in samples: output sample o of pixel o / kNc.
    for (; x < n_out; ++x) {
      uint32_t sum = 0;
      for (int64_t j = 0; j < kh; ++j) {
        const Src* row = frame::RowAt(s, ss, y + j) + x;
        for (int64_t i = 0; i < kw; ++i)
          sum += static_cast<uint32_t>(static_cast<int32_t>(taps[j * kw + i]) * row[i * kNc]);
      }
      d[x] = FinishOne<Dst>(static_cast<int32_t>(sum), rule);
    }
  }
};

// ---------------------------------------------------------------------------
// Float taps.

struct FloatRule {
  int mode;
  float offset_f;
};

template <class T>
struct FVec;
template <>
struct FVec<float> {
  using V = __m256;
  static constexpr int kLanes = 8;
  static NYX_INLINE V Zero() { return _mm256_setzero_ps(); }
  static NYX_INLINE V Bcast(const float* p) { return _mm256_broadcast_ss(p); }
  static NYX_INLINE V Fma(V a, V b, V c) { return _mm256_fmadd_ps(a, b, c); }
  static NYX_INLINE V Load(const float* p) { return _mm256_loadu_ps(p); }
  static NYX_INLINE V Load(const uint8_t* p) {
    return _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
  }
  static NYX_INLINE V Load(const int16_t* p) {
    return _mm256_cvtepi32_ps(_mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))));
  }
  static NYX_INLINE V Load(const uint16_t* p) {
    return _mm256_cvtepi32_ps(_mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))));
  }
  static NYX_INLINE float Fma1(float a, float b, float c) {
    return _mm_cvtss_f32(_mm_fmadd_ss(_mm_set_ss(a), _mm_set_ss(b), _mm_set_ss(c)));
  }
};
template <>
struct FVec<double> {
  using V = __m256d;
  static constexpr int kLanes = 4;
  static NYX_INLINE V Zero() { return _mm256_setzero_pd(); }
  static NYX_INLINE V Bcast(const double* p) { return _mm256_broadcast_sd(p); }
  static NYX_INLINE V Fma(V a, V b, V c) { return _mm256_fmadd_pd(a, b, c); }
  static NYX_INLINE V Load(const double* p) { return _mm256_loadu_pd(p); }
  static NYX_INLINE double Fma1(double a, double b, double c) {
    return _mm_cvtsd_f64(_mm_fmadd_sd(_mm_set_sd(a), _mm_set_sd(b), _mm_set_sd(c)));
  }
};

// Rounds by the mode: 0 toward zero, 1 nearest even, 2 half up. Half up is
// floor(v) + (v - floor(v) >= 0.5); the difference is exact wherever it can
// reach one half.
NYX_INLINE __m256 RoundBy(__m256 v, int mode) {
  if (mode == 0) return _mm256_round_ps(v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
  if (mode == 2) {
    const __m256 f = _mm256_round_ps(v, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC);
    const __m256 up = _mm256_cmp_ps(_mm256_sub_ps(v, f), _mm256_set1_ps(0.5f), _CMP_GE_OQ);
    return _mm256_add_ps(f, _mm256_and_ps(up, _mm256_set1_ps(1.0f)));
  }
  return _mm256_round_ps(v, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
}

// v + offsetF, rounded, saturated (not-a-number gives the type's minimum).
template <class Dst>
NYX_INLINE __m256i ToInt(__m256 v, const FloatRule& r) {
  v = RoundBy(_mm256_add_ps(v, _mm256_set1_ps(r.offset_f)), r.mode);
  v = _mm256_max_ps(v, _mm256_set1_ps(static_cast<float>(std::numeric_limits<Dst>::min())));
  v = _mm256_min_ps(v, _mm256_set1_ps(static_cast<float>(std::numeric_limits<Dst>::max())));
  return _mm256_cvttps_epi32(v);
}

template <class Dst>
NYX_INLINE void Store8(__m256 v, Dst* d, const FloatRule& r) {
  if constexpr (std::is_same_v<Dst, float>) {
    _mm256_storeu_ps(d, v);
  } else {
    const __m256i i = ToInt<Dst>(v, r);
    const __m128i lo = _mm256_castsi256_si128(i), hi = _mm256_extracti128_si256(i, 1);
    if constexpr (sizeof(Dst) == 1) {
      _mm_storel_epi64(reinterpret_cast<__m128i*>(d), _mm_packus_epi16(_mm_packs_epi32(lo, hi), lo));
    } else if constexpr (std::is_signed_v<Dst>) {
      _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_packs_epi32(lo, hi));
    } else {
      _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_packus_epi32(lo, hi));
    }
  }
}
NYX_INLINE void Store8(__m256d v, double* d, const FloatRule&) { _mm256_storeu_pd(d, v); }

template <class Dst, class Acc>
NYX_INLINE Dst FinishFloat(Acc v, const FloatRule& r) {
  if constexpr (std::is_floating_point_v<Dst>) {
    return v;
  } else {
    // One lane of the vector rule.
    const __m256 f = _mm256_set1_ps(v);
    return static_cast<Dst>(_mm_cvtsi128_si32(_mm256_castsi256_si128(ToInt<Dst>(f, r))));
  }
}

// Register blocking: a block is kRows output rows by kCols vectors. Source
// row r of the block feeds output row k with kernel row j = r - k, so each
// source vector is loaded once and multiplies up to kRows broadcast taps
// (5 rows by 2 vectors: 10 accumulators, 2 source vectors and one tap, 7
// loads for 10 fused multiply-adds; of the shapes that fit 16 registers it
// loads the fewest unaligned source vectors per product, and measured
// fastest). Walking r
// upwards and the columns i upwards inside it, every accumulator still takes
// its taps in the flipped order (row by row, left to right), so the chain of
// fused multiply-adds is the same as one output at a time.
// The first and last kRows-1 source rows of a block reach only some of its
// output rows, and so keep fewer accumulators busy than the fused
// multiply-add latency needs. Along a row group the blocks are therefore
// skewed: output row k of a block is stored as soon as its kh source rows
// are done, and its accumulators start on the next block at once, while the
// other rows finish the previous one. Every step then keeps all
// accumulators busy; only the first and last block of a group have the
// short rows (unrolled, with the reached rows known at compile time).
// The last partial block of a row is a whole block ending at the row's end
// (outputs computed twice are computed the same way). Rows narrower than a
// block take vectors with masked loads (float samples), or a vector from
// each end (other samples), or one output at a time (narrower than a
// vector).
template <class SrcT, class DstT, class Acc, int kNcT, int kDir = 1>
struct FloatKernel {
  using Src = SrcT;
  using Dst = DstT;
  using F = FVec<Acc>;
  using V = typename F::V;
  static constexpr int kNc = kNcT;
  static constexpr bool kAlpha = false;
  static constexpr bool kConsumesRows = false;
  // The work buffer holds one strip rectangle at a time, not the left and
  // right ones side by side.
  static constexpr bool kSeparateSides = true;
  static constexpr int kRows = 5;
  static constexpr int kCols = 2;
  static constexpr int64_t kL = F::kLanes;
  static constexpr bool kMasked = std::is_same_v<Src, Acc> && std::is_same_v<Acc, float>;

  int64_t kw, kh;
  // Flipped, kh rows of kw, read at taps[idx * kDir]: kDir -1 reads the
  // caller's unflipped array from its end.
  const Acc* taps;
  FloatRule rule;

  int64_t Delay() const { return (kh - 1) / 2 + kRows - 1; }
  size_t ScratchBytes(int64_t) const { return 0; }

  template <class Out>
  void Run(const Src* s, int64_t ss, int64_t w, int64_t h, Out& out, uint8_t*, bool) const {
    // Groups of kh+1 rows at most, so that every source row of a block
    // reaches the first or the last output row of the group; groups of
    // kRows, 4, 2 and 1 rows only, to bound the code.
    int64_t y = 0;
    if (kh + 1 >= kRows) {
      for (; y + kRows <= h; y += kRows) Group<kRows>(s, ss, y, w, out);
    }
    if (kh + 1 >= 4) {
      for (; y + 4 <= h; y += 4) Group<4>(s, ss, y, w, out);
    }
    for (; y + 2 <= h; y += 2) Group<2>(s, ss, y, w, out);
    if (y < h) Group<1>(s, ss, y, w, out);
  }

 private:
  template <int R, class Out>
  NYX_INLINE void Group(const Src* s, int64_t ss, int64_t y, int64_t w, Out& out) const {
    Dst* d[R];
    for (int k = 0; k < R; ++k) d[k] = out.Row(y + k);
    Rows<R>(s, ss, y, w, d);
    for (int k = 0; k < R; ++k) out.Done(y + k);
  }

  // Full vectors, or the first `mask` lanes by masked loads. kWidth, when
  // not 0, is the kernel width known at compile time (the taps of a row are
  // then unrolled).
  template <int kWidthT = 0>
  struct Plain {
    static constexpr int kWidth = kWidthT;
    NYX_INLINE V Load(const Src* p) const { return F::Load(p); }
  };
  struct Masked {
    static constexpr int kWidth = 0;
    __m256i mask;
    NYX_INLINE V Load(const Src* p) const {
      if constexpr (kMasked) return _mm256_maskload_ps(p, mask);
      else return F::Load(p);
    }
  };

  // Tap column i of source row `row` against output rows K0..K1 of the
  // block: tp[k] is the first tap of kernel row r - k.
  template <int R, int C, int K0, int K1, class L>
  NYX_INLINE void TapColumn(V (&acc)[R][C], const L& ld, const Src* row, const Acc* const* tp,
                            int64_t i) const {
    V v[C];
#pragma GCC unroll 4
    for (int c = 0; c < C; ++c) v[c] = ld.Load(row + i * kNc + c * kL);
#pragma GCC unroll 8
    for (int k = K0; k <= K1; ++k) {
      const V t = F::Bcast(tp[k] + i * kDir);
#pragma GCC unroll 4
      for (int c = 0; c < C; ++c) acc[k][c] = F::Fma(t, v[c], acc[k][c]);
    }
  }

  // All tap columns of source row `row`. A width known at compile time is
  // unrolled whole; a width known only at run time is a plain loop (a
  // column already holds up to ten fused multiply-adds, and unrolling it at
  // every row site of every kernel type multiplied the code several times
  // over for little speed).
  template <int R, int C, int K0, int K1, class L>
  NYX_INLINE void RowSteps(V (&acc)[R][C], const L& ld, const Src* row, const Acc* const* tp) const {
    if constexpr (L::kWidth != 0) {
#pragma GCC unroll 8
      for (int64_t i = 0; i < L::kWidth; ++i) TapColumn<R, C, K0, K1>(acc, ld, row, tp, i);
    } else {
#pragma GCC unroll 1
      for (int64_t i = 0; i < kw; ++i) TapColumn<R, C, K0, K1>(acc, ld, row, tp, i);
    }
  }

  // Source row r of the block, reaching output rows K0..K1.
  template <int R, int C, int K0, int K1, class L>
  NYX_INLINE void SourceRow(V (&acc)[R][C], const L& ld, const Src* s, int64_t ss, int64_t r) const {
    const Acc* tp[R];
    for (int k = K0; k <= K1; ++k) tp[k] = taps + (r - k) * kw * kDir;
    RowSteps<R, C, K0, K1>(acc, ld, frame::RowAt(s, ss, r), tp);
  }

  // Source rows 0 .. R-2 (output rows 0 .. r) and kh .. kh+R-2 (output
  // rows r-kh+1 .. R-1); kh is at least R-1.
  template <int R, int C, int H, class L>
  NYX_INLINE void Head(V (&acc)[R][C], const L& ld, const Src* s, int64_t ss) const {
    if constexpr (H < R - 1) {
      SourceRow<R, C, 0, H>(acc, ld, s, ss, H);
      Head<R, C, H + 1>(acc, ld, s, ss);
    }
  }
  template <int R, int C, int T, class L>
  NYX_INLINE void Tail(V (&acc)[R][C], const L& ld, const Src* s, int64_t ss) const {
    if constexpr (T < R - 1) {
      SourceRow<R, C, T + 1, R - 1>(acc, ld, s, ss, kh + T);
      Tail<R, C, T + 1>(acc, ld, s, ss);
    }
  }

  // Sums of outputs [x, x + C*kL) of rows y .. y+R-1 into acc (kh is at
  // least R-1).
  template <int R, int C, class L>
  NYX_INLINE void Sums(V (&acc)[R][C], const L& ld, const Src* s, int64_t ss, int64_t y,
                       int64_t x) const {
#pragma GCC unroll 8
    for (int k = 0; k < R; ++k)
#pragma GCC unroll 4
      for (int c = 0; c < C; ++c) acc[k][c] = F::Zero();
    s = frame::RowAt(s, ss, y) + x;
    Head<R, C, 0>(acc, ld, s, ss);
    for (int64_t r = R - 1; r < kh; ++r) SourceRow<R, C, 0, R - 1>(acc, ld, s, ss, r);
    Tail<R, C, 0>(acc, ld, s, ss);
  }

  // Stores output row K of the block at d and clears its accumulators. (Rows
  // are compile-time indices everywhere, so that the accumulators stay in
  // registers.)
  template <int R, int C, int K>
  NYX_INLINE void StoreRow(V (&acc)[R][C], Dst* d) const {
#pragma GCC unroll 4
    for (int c = 0; c < C; ++c) {
      Store8(acc[K][c], d + c * kL, rule);
      acc[K][c] = F::Zero();
    }
  }
  template <int R, int C, int K>
  NYX_INLINE void StoreFrom(V (&acc)[R][C], Dst* const* d, int64_t x) const {
    if constexpr (K < R) {
      StoreRow<R, C, K>(acc, d[K] + x);
      StoreFrom<R, C, K + 1>(acc, d, x);
    }
  }

  // Step u < R-1 of a block b after the first: output rows 0..u take source
  // row u of block b (at s), rows u+1..R-1 source row u+kh of block b-1 (at
  // s - C*kL), which completes row u+1 of block b-1 (stored at d[u+1] + x).
  template <int R, int C, int U, class L>
  NYX_INLINE void Overlap(V (&acc)[R][C], const L& ld, const Src* s, int64_t ss, Dst* const* d,
                          int64_t x) const {
    if constexpr (U < R - 1) {
      SourceRow<R, C, 0, U>(acc, ld, s, ss, U);
      SourceRow<R, C, U + 1, R - 1>(acc, ld, s - C * kL, ss, U + kh);
      StoreRow<R, C, U + 1>(acc, d[U + 1] + x);
      Overlap<R, C, U + 1>(acc, ld, s, ss, d, x);
    }
  }

  // Outputs [x0, x0 + nb * C*kL) of rows y .. y+R-1.
  template <int R, class L>
  NYX_INLINE void Skewed(const L& ld, const Src* s, int64_t ss, int64_t y, int64_t x0, int64_t nb,
                         Dst* const* d) const {
    constexpr int C = kCols;
    constexpr int64_t kB = C * kL;
    V acc[R][C];
#pragma GCC unroll 8
    for (int k = 0; k < R; ++k)
#pragma GCC unroll 4
      for (int c = 0; c < C; ++c) acc[k][c] = F::Zero();
    s = frame::RowAt(s, ss, y) + x0;
    Head<R, C, 0>(acc, ld, s, ss);
    for (int64_t b = 0; b < nb; ++b) {
      if (b > 0) Overlap<R, C, 0>(acc, ld, s + b * kB, ss, d, x0 + (b - 1) * kB);
      for (int64_t r = R - 1; r < kh; ++r) SourceRow<R, C, 0, R - 1>(acc, ld, s + b * kB, ss, r);
      StoreRow<R, C, 0>(acc, d[0] + x0 + b * kB);
    }
    Tail<R, C, 0>(acc, ld, s + (nb - 1) * kB, ss);
    StoreFrom<R, C, 1>(acc, d, x0 + (nb - 1) * kB);
  }

  template <int R, class L>
  NYX_INLINE void SkewedBy(const L& ld, const Src* s, int64_t ss, int64_t y, int64_t x0,
                           int64_t nb, Dst* const* d) const {
    // The common odd widths of one-channel float images get unrolled taps
    // (in full groups, which make nearly all of the work).
    constexpr bool kUnroll = kMasked && kNc == 1 && R == kRows;
    if (kUnroll && kw == 3) return Skewed<R>(Plain<kUnroll ? 3 : 0>{}, s, ss, y, x0, nb, d);
    if (kUnroll && kw == 5) return Skewed<R>(Plain<kUnroll ? 5 : 0>{}, s, ss, y, x0, nb, d);
    if (kUnroll && kw == 7) return Skewed<R>(Plain<kUnroll ? 7 : 0>{}, s, ss, y, x0, nb, d);
    Skewed<R>(ld, s, ss, y, x0, nb, d);
  }

  template <int R, int C>
  NYX_INLINE void Block(const Src* s, int64_t ss, int64_t y, int64_t x, Dst* const* d) const {
    V acc[R][C];
    Sums<R, C>(acc, Plain<>{}, s, ss, y, x);
#pragma GCC unroll 8
    for (int k = 0; k < R; ++k)
#pragma GCC unroll 4
      for (int c = 0; c < C; ++c) Store8(acc[k][c], d[k] + x + c * kL, rule);
  }

  template <int R>
  void Rows(const Src* s, int64_t ss, int64_t y, int64_t w, Dst* const* d) const {
    constexpr int64_t kB = kCols * kL;
    const int64_t n = w * kNc;
    if (n >= kB) {
      // Whole blocks, then one block ending at the row's end (outputs
      // computed twice are computed the same way).
      SkewedBy<R>(Plain<>{}, s, ss, y, 0, n / kB, d);
      if (n % kB != 0) SkewedBy<R>(Plain<>{}, s, ss, y, n - kB, 1, d);
      return;
    }
    if constexpr (kMasked) {
      // Fewer samples than a block: vectors of the lanes below n; lanes past
      // n are neither read nor kept.
      const __m256i lane = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
      for (int64_t x = 0; x < n; x += kL) {
        const Masked ld{_mm256_cmpgt_epi32(_mm256_set1_epi32(static_cast<int>(n - x)), lane)};
        V acc[R][1];
        Sums<R, 1>(acc, ld, s, ss, y, x);
#pragma GCC unroll 8
        for (int k = 0; k < R; ++k) _mm256_maskstore_ps(d[k] + x, ld.mask, acc[k][0]);
      }
      return;
    }
    if (n >= kL) {
      Block<R, 1>(s, ss, y, 0, d);
      if (n > kL) Block<R, 1>(s, ss, y, n - kL, d);
      return;
    }
    for (int k = 0; k < R; ++k) {
      for (int64_t o = 0; o < n; ++o) {
        Acc acc = 0;
        for (int64_t j = 0; j < kh; ++j) {
          const Src* row = frame::RowAt(s, ss, y + k + j) + o;
          for (int64_t i = 0; i < kw; ++i)
            acc = F::Fma1(taps[(j * kw + i) * kDir], static_cast<Acc>(row[i * kNc]), acc);
        }
        d[k][o] = FinishFloat<Dst>(acc, rule);
      }
    }
  }
};

}  // namespace nyx::avx2
