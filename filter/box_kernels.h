// Kernels of the box filter and the window sums, run by the bordered frame.
//
// Kernel contract: any size from 1 by 1; no read outside rows [0, h+mh-1)
// and samples [0, (w+mw-1)*nc) of the source, no write outside w pixels of
// each output row (and never the fourth sample of an AC4 pixel); the output
// may be the source itself only through the frame's delay; results do not
// depend on how a row splits into vector blocks (a tail runs the same vector
// arithmetic on a copy, or the same one-lane operations in the same order).
//
// Integer sources: window sums are exact integers. Column sums are kept per
// source column and updated by (entering row - leaving row); each output is
// the sum of mw column sums, then one finisher turns sums into samples:
//   8u C1 3x3, 5x5, 7x7:  (S * k + 2^(s-1)) >> s with k, s = 29128, 18;
//                          671088, 24; 342392, 24
//   other integer C1, C3, 8u C4, AC4: nearest even of (float)S * r, saturated
//   16u C4, AC4:          truncation of fma((float)S, r, 0.5), saturated
//   16s C4, AC4:          the same on samples biased by 0x8000, bias removed
//   window sums:          S exactly (8u32s), (float)S (16u32f, 16s32f)
// with r = 1.0f / (mw * mh) in float. Sums are held in 16 bits for 8-bit
// samples while 255 * mw * mh fits, in 32 bits while the largest sum stays
// below 2^30, otherwise in doubles (exact integers).
//
// 32f sources: each source row gives its horizontal window sums, added left
// to right; each output is the sum of mh such rows, added top to bottom, then
// multiplied by r for the box filter.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/frame/frame.h"
#include "core/simd/vec.h"

namespace nyx::avx2 {

// ---------------------------------------------------------------------------
// Finishers: eight window sums to eight results in 32-bit lanes (int32 for
// integer outputs, float for float outputs). FromInt takes exact integer
// sums, FromFloat sums already converted to float (with the bias added).

struct MulShift {
  // k = a * 2^16 + b. For 16-bit sums, (S*k + 2^(s-1)) >> s equals
  // (S*a + 2^(s-17) + ((S*b) >> 16)) >> (s-16): the dropped low 16 bits of
  // S*b are below one unit of the shifted sum and never change the floor.
  uint32_t k;
  int shift;
  int64_t bias = 0;
  static constexpr bool k16 = true;
  NYX_INLINE __m256i From16(__m256i s) const {
    const __m256i a = _mm256_set1_epi16(static_cast<short>(k >> 16));
    const __m256i b = _mm256_set1_epi16(static_cast<short>(k & 0xFFFF));
    const __m256i c = _mm256_set1_epi16(static_cast<short>(1 << (shift - 17)));
    __m256i t = _mm256_add_epi16(_mm256_mullo_epi16(s, a), c);
    t = _mm256_add_epi16(t, _mm256_mulhi_epu16(s, b));
    return _mm256_srl_epi16(t, _mm_cvtsi32_si128(shift - 16));
  }
  NYX_INLINE __m256i FromInt(__m256i s) const {
    const __m256i t =
        _mm256_add_epi32(_mm256_mullo_epi32(s, _mm256_set1_epi32(static_cast<int>(k))),
                         _mm256_set1_epi32(1 << (shift - 1)));
    return _mm256_srl_epi32(t, _mm_cvtsi32_si128(shift));
  }
  NYX_INLINE __m256i FromFloat(__m256 f) const { return FromInt(_mm256_cvttps_epi32(f)); }
};

struct RoundEven {
  float r;
  int64_t bias = 0;
  static constexpr bool k16 = false;
  NYX_INLINE __m256i FromFloat(__m256 f) const {
    const __m256 x = _mm256_mul_ps(f, _mm256_set1_ps(r));
    return _mm256_cvttps_epi32(_mm256_round_ps(x, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC));
  }
  NYX_INLINE __m256i FromInt(__m256i s) const { return FromFloat(_mm256_cvtepi32_ps(s)); }
};

// Nearest even of (float)S * r for 8-bit sums and an odd mask area n up to
// 255, in 16-bit integers: floor((S + (n-1)/2) / n). The two agree on every
// such sum: S/n is at least 1/(2n) >= 1/510 away from a half-integer, while
// (float)S * r differs from S/n by less than 2 * 255 * 2^-24 (the rounding
// of r = 1.0f/n and of the product). The division is a multiply-high by a
// magic number m (with an add-back step when m needs 17 bits).
struct RoundOdd {
  uint16_t half, m;
  int shift;
  bool add_back;
  int64_t bias = 0;
  static constexpr bool k16 = true;
  static RoundOdd For(int64_t n) {
    RoundOdd f{static_cast<uint16_t>((n - 1) / 2), 0, 0, false};
    for (int l = 0; l <= 16; ++l) {
      const int64_t p = int64_t{1} << (16 + l), m = (p + n - 1) / n;
      if (m < 65536 && m * n - p <= (int64_t{1} << l)) {
        f.m = static_cast<uint16_t>(m);
        f.shift = l;
        return f;
      }
    }
    int l = 0;
    while ((int64_t{1} << l) < n) ++l;
    f.m = static_cast<uint16_t>(((int64_t{1} << (16 + l)) + n - 1) / n - 65536);
    f.shift = l;
    f.add_back = true;
    return f;
  }
  NYX_INLINE __m256i From16(__m256i s) const {
    const __m256i t = _mm256_add_epi16(s, _mm256_set1_epi16(static_cast<short>(half)));
    __m256i q = _mm256_mulhi_epu16(t, _mm256_set1_epi16(static_cast<short>(m)));
    if (!add_back) return _mm256_srl_epi16(q, _mm_cvtsi32_si128(shift));
    q = _mm256_add_epi16(q, _mm256_srli_epi16(_mm256_sub_epi16(t, q), 1));
    return _mm256_srl_epi16(q, _mm_cvtsi32_si128(shift - 1));
  }
};

// Round half up as truncation of S * r + 0.5 in one fused multiply-add;
// with `biased` the sums are of samples plus 0x8000 and the bias comes off
// the 16-bit result.
struct HalfUp {
  float r;
  int64_t bias;
  bool biased;
  static constexpr bool k16 = false;
  NYX_INLINE __m256i FromFloat(__m256 f) const {
    __m256i u = _mm256_cvttps_epi32(_mm256_fmadd_ps(f, _mm256_set1_ps(r), _mm256_set1_ps(0.5f)));
    u = _mm256_min_epi32(_mm256_max_epi32(u, _mm256_setzero_si256()), _mm256_set1_epi32(0xFFFF));
    return biased ? _mm256_sub_epi32(u, _mm256_set1_epi32(0x8000)) : u;
  }
  NYX_INLINE __m256i FromInt(__m256i s) const {
    return FromFloat(
        _mm256_cvtepi32_ps(_mm256_add_epi32(s, _mm256_set1_epi32(static_cast<int>(bias)))));
  }
};

// The sum itself as a 32-bit integer: exact, or through a float (whose
// value is an integer) saturated to the 32-bit range.
struct SumInt {
  int64_t bias = 0;
  static constexpr bool k16 = false;
  NYX_INLINE __m256i FromFloat(__m256 f) const {
    const __m256 big = _mm256_cmp_ps(f, _mm256_set1_ps(2147483648.0f), _CMP_GE_OQ);
    return _mm256_blendv_epi8(_mm256_cvttps_epi32(f), _mm256_set1_epi32(0x7FFFFFFF),
                              _mm256_castps_si256(big));
  }
  NYX_INLINE __m256i FromInt(__m256i s) const { return s; }
};

struct SumFloat {
  int64_t bias = 0;
  static constexpr bool k16 = false;
  NYX_INLINE __m256 FromFloat(__m256 f) const { return f; }
  NYX_INLINE __m256 FromInt(__m256i s) const { return _mm256_cvtepi32_ps(s); }
};

// ---------------------------------------------------------------------------
// Eight 32-bit results to eight output samples, saturated; with kAlpha the
// samples 3 and 7 of the destination are kept (blocks start at a multiple
// of 8 samples, so those are the alpha samples).

template <class Dst, bool kAlpha>
NYX_INLINE void Store8(__m256i v, Dst* p) {
  const __m128i lo = _mm256_castsi256_si128(v), hi = _mm256_extracti128_si256(v, 1);
  if constexpr (sizeof(Dst) == 1) {
    __m128i b = _mm_packus_epi16(_mm_packs_epi32(lo, hi), _mm_setzero_si128());
    if constexpr (kAlpha) {
      const __m128i keep = _mm_set_epi8(0, 0, 0, 0, 0, 0, 0, 0, -1, 0, 0, 0, -1, 0, 0, 0);
      b = _mm_blendv_epi8(b, _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), keep);
    }
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p), b);
  } else if constexpr (sizeof(Dst) == 2) {
    __m128i w = std::is_signed_v<Dst> ? _mm_packs_epi32(lo, hi) : _mm_packus_epi32(lo, hi);
    if constexpr (kAlpha)
      w = _mm_blend_epi16(w, _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)), 0x88);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), w);
  } else {
    if constexpr (kAlpha)
      v = _mm256_blend_epi32(v, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)), 0x88);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
  }
}
template <class Dst, bool kAlpha>
NYX_INLINE void Store8(__m256 v, Dst* p) {
  static_assert(std::is_same_v<Dst, float>, "float results go to float samples");
  if constexpr (kAlpha) v = _mm256_blend_ps(v, _mm256_loadu_ps(p), 0x88);
  _mm256_storeu_ps(p, v);
}

// Copies the first n samples of a finished block; AC4 skips alpha samples.
template <class Dst, bool kAlpha>
NYX_INLINE void CopyTail(const Dst* tmp, Dst* d, int64_t n) {
  for (int64_t i = 0; i < n; ++i)
    if (!kAlpha || (i & 3) != 3) d[i] = tmp[i];
}

// ---------------------------------------------------------------------------
// Column-sum kernel for integer sources.

template <class SrcT, class DstT, class Acc, class Fin, int kNcT, bool kAlphaT>
struct WindowSumKernel {
  using Src = SrcT;
  using Dst = DstT;
  static constexpr int kNc = kNcT;
  static constexpr bool kAlpha = kAlphaT;
  static constexpr bool kWide = std::is_same_v<Acc, double>;
  static constexpr int64_t kBlock = std::is_same_v<Acc, uint16_t> ? 16 : 8;
  // Source row y is read last when its count leaves the column sums, after
  // output row y + ay is made.
  static constexpr bool kConsumesRows = false;

  // 8-bit C1 masks wider than this sum a row as a difference of prefix sums.
  static constexpr int64_t kDirectUpTo = 6;
  static constexpr bool kMayPrefix = std::is_same_v<Acc, uint16_t> && kNc == 1;

  int64_t mw, mh;
  Fin fin;

  int64_t Delay() const { return (mh - 1) / 2; }
  size_t ScratchBytes(int64_t w) const {
    const size_t row = static_cast<size_t>((w + mw - 1) * kNc + kBlock) * sizeof(Acc) + 32;
    return kMayPrefix && mw > kDirectUpTo ? 2 * row + 32 : row;
  }

  template <class Out>
  void Run(const Src* s, int64_t ss, int64_t w, int64_t h, Out& out, uint8_t* scratch,
           bool in_place) const {
    const int64_t n_in = (w + mw - 1) * kNc, n_out = w * kNc;
    Acc* col = reinterpret_cast<Acc*>(scratch + ((0 - reinterpret_cast<uintptr_t>(scratch)) & 31));
    for (int64_t i = n_in; i < n_in + kBlock; ++i) col[i] = 0;  // lanes past the row
    Acc* prefix = nullptr;
    if constexpr (kMayPrefix) {
      if (mw > kDirectUpTo) prefix = col + ((n_in + kBlock + 16) & ~int64_t{15});
    }
    Load(col, s, n_in);
    for (int64_t j = 1; j < mh; ++j) Add(col, frame::RowAt(s, ss, j), n_in);
    for (int64_t y = 0; y < h; ++y) {
      const Src* enter = y > 0 ? frame::RowAt(s, ss, y + mh - 1) : nullptr;
      const Src* leave = y > 0 && !in_place ? frame::RowAt(s, ss, y - 1) : nullptr;
      if (y > 0 && in_place) Add(col, enter, n_in);
      if (kMayPrefix && prefix != nullptr) {
        PrefixRow(col, prefix, n_in, leave ? enter : nullptr, leave);
      } else if (leave != nullptr) {
        Update(col, enter, leave, n_in);
      }
      Horizontal(col, prefix, out.Row(y), n_out);
      if (in_place && y + 1 < h) Sub(col, frame::RowAt(s, ss, y), n_in);
      out.Done(y);
    }
  }

 private:
  void Load(Acc* col, const Src* s, int64_t n) const {
    if constexpr (kWide) {
      for (int64_t i = 0; i < n; ++i) col[i] = s[i];
    } else {
      ForEachBlock<Acc>(n, [&]<template <class> class V>(size_t i) {
        StoreU(PromoteLoadU<V, Acc>(s + i), col + i);
      });
    }
  }
  void Add(Acc* col, const Src* s, int64_t n) const {
    if constexpr (kWide) {
      for (int64_t i = 0; i < n; ++i) col[i] += s[i];
    } else {
      ForEachBlock<Acc>(n, [&]<template <class> class V>(size_t i) {
        StoreU(nyx::avx2::Add(V<Acc>::LoadU(col + i), PromoteLoadU<V, Acc>(s + i)), col + i);
      });
    }
  }
  void Sub(Acc* col, const Src* s, int64_t n) const {
    if constexpr (kWide) {
      for (int64_t i = 0; i < n; ++i) col[i] -= s[i];
    } else {
      ForEachBlock<Acc>(n, [&]<template <class> class V>(size_t i) {
        StoreU(nyx::avx2::Sub(V<Acc>::LoadU(col + i), PromoteLoadU<V, Acc>(s + i)), col + i);
      });
    }
  }
  // col += enter - leave (exact: wrapping lanes end on the true sum).
  void Update(Acc* col, const Src* enter, const Src* leave, int64_t n) const {
    if constexpr (kWide) {
      for (int64_t i = 0; i < n; ++i) col[i] += static_cast<Acc>(enter[i]) - leave[i];
    } else {
      ForEachBlock<Acc>(n, [&]<template <class> class V>(size_t i) {
        const V<Acc> d =
            nyx::avx2::Sub(PromoteLoadU<V, Acc>(enter + i), PromoteLoadU<V, Acc>(leave + i));
        StoreU(nyx::avx2::Add(V<Acc>::LoadU(col + i), d), col + i);
      });
    }
  }

  // prefix[0] = 0, prefix[i + 1] = col[0] + ... + col[i], modulo 2^16: the
  // difference of two prefixes is the true window sum, which fits 16 bits.
  // Blocks of 16 past the row read zeroed lanes and write the prefix slack.
  // With enter and leave, the column sums are first moved down one row
  // (col += enter - leave) in the same pass.
  void PrefixRow(Acc* col, Acc* prefix, int64_t n, const Src* enter, const Src* leave) const {
    if constexpr (kMayPrefix) PrefixRow16(col, prefix, n, enter, leave);
  }
  void PrefixRow16(uint16_t* col, uint16_t* prefix, int64_t n, const Src* enter,
                   const Src* leave) const {
    __m256i carry = _mm256_setzero_si256();
    prefix[0] = 0;
    for (int64_t i = 0; i < n; i += 16) {
      __m256i x;
      if (enter == nullptr) {
        x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(col + i));
      } else if (i + 16 <= n) {
        const __m256i d = _mm256_sub_epi16(PromoteLoadU<Vec, uint16_t>(enter + i).raw,
                                           PromoteLoadU<Vec, uint16_t>(leave + i).raw);
        x = _mm256_add_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(col + i)), d);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(col + i), x);
      } else {
        for (int64_t k = i; k < n; ++k)
          col[k] = static_cast<uint16_t>(col[k] + enter[k] - leave[k]);
        x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(col + i));
      }
      x = _mm256_add_epi16(x, _mm256_slli_si256(x, 2));
      x = _mm256_add_epi16(x, _mm256_slli_si256(x, 4));
      x = _mm256_add_epi16(x, _mm256_slli_si256(x, 8));
      // Each half's total in all its lanes; the low half's goes to the high
      // half, and both make the block's total, which the carry takes off its
      // own chain (one add a block depends on the block before). Few
      // shuffles: they share one port.
      __m256i halves = _mm256_shufflehi_epi16(x, 0xFF);
      halves = _mm256_unpackhi_epi64(halves, halves);
      x = _mm256_add_epi16(x, _mm256_permute2x128_si256(halves, halves, 0x08));
      const __m256i total =
          _mm256_add_epi16(halves, _mm256_permute2x128_si256(halves, halves, 0x01));
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(prefix + i + 1), _mm256_add_epi16(x, carry));
      carry = _mm256_add_epi16(carry, total);
    }
  }

  // Window sums of the block at p: from the prefix row when there is one.
  // w is the mask width (a constant in the unrolled forms).
  static NYX_INLINE __m256i WindowAt(const Acc* p, const Acc* pre, int64_t w) {
    if constexpr (kMayPrefix) {
      if (pre != nullptr) {
        return _mm256_sub_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(pre + w)),
                                _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pre)));
      }
    }
    __m256i s = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    for (int64_t k = 1; k < w; ++k) {
      const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + k * kNc));
      s = std::is_same_v<Acc, uint16_t> ? _mm256_add_epi16(s, x) : _mm256_add_epi32(s, x);
    }
    return s;
  }

  // One block of kBlock outputs at d (full, or into a copy for the tail).
  template <bool kKeepAlpha>
  static NYX_INLINE void Finish(const Acc* p, const Acc* pre, Dst* d, const Fin& fin, int64_t w) {
    if constexpr (kWide) {
      alignas(32) float f[8];
      for (int k = 0; k < 8; ++k) {
        double sum = p[k];
        for (int64_t j = 1; j < w; ++j) sum += p[k + j * kNc];
        f[k] = static_cast<float>(sum + static_cast<double>(fin.bias));
      }
      Store8<Dst, kKeepAlpha>(fin.FromFloat(_mm256_load_ps(f)), d);
    } else if constexpr (std::is_same_v<Acc, uint16_t>) {
      const __m256i s = WindowAt(p, pre, w);
      if constexpr (Fin::k16) {
        static_assert(sizeof(Dst) == 1, "16-bit finishers write 8-bit samples");
        const __m256i r = fin.From16(s);
        __m128i b = _mm_packus_epi16(_mm256_castsi256_si128(r), _mm256_extracti128_si256(r, 1));
        if constexpr (kKeepAlpha) {
          const __m128i keep = _mm_set1_epi32(static_cast<int>(0xFF000000u));
          b = _mm_blendv_epi8(b, _mm_loadu_si128(reinterpret_cast<const __m128i*>(d)), keep);
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), b);
      } else {
        Store8<Dst, kKeepAlpha>(fin.FromInt(_mm256_cvtepu16_epi32(_mm256_castsi256_si128(s))), d);
        Store8<Dst, kKeepAlpha>(fin.FromInt(_mm256_cvtepu16_epi32(_mm256_extracti128_si256(s, 1))),
                                d + 8);
      }
    } else {
      Store8<Dst, kKeepAlpha>(fin.FromInt(WindowAt(p, pre, w)), d);
    }
  }

  void Horizontal(const Acc* col, const Acc* pre, Dst* d, int64_t n_out) const {
    switch (pre != nullptr || kWide ? 0 : mw) {
      case 3:
        return HorizontalOf<3>(col, pre, d, n_out);
      case 5:
        return HorizontalOf<5>(col, pre, d, n_out);
      case 7:
        return HorizontalOf<7>(col, pre, d, n_out);
      default:
        return HorizontalOf<0>(col, pre, d, n_out);
    }
  }
  // kMw: the mask width when fixed at compile time, else 0.
  template <int kMw>
  void HorizontalOf(const Acc* col, const Acc* pre, Dst* d, int64_t n_out) const {
    const Fin f = fin;  // local copies: stores to d cannot change them
    const int64_t w = kMw > 0 ? kMw : mw;
    int64_t i = 0;
    for (; i + kBlock <= n_out; i += kBlock)
      Finish<kAlpha>(col + i, pre ? pre + i : pre, d + i, f, w);
    if (i < n_out) {
      alignas(32) Dst tmp[kBlock];
      Finish<false>(col + i, pre ? pre + i : pre, tmp, f, w);
      CopyTail<Dst, kAlpha>(tmp, d + i, n_out - i);
    }
  }
};

// ---------------------------------------------------------------------------
// Row-sum kernel for 32f sources: a ring of mh rows of horizontal sums.

template <int kNcT, bool kAlphaT, bool kScale>
struct RowSum32fKernel {
  using Src = float;
  using Dst = float;
  static constexpr int kNc = kNcT;
  static constexpr bool kAlpha = kAlphaT;

  int64_t mw, mh;
  float r;

  // Every source row is consumed into the ring before the output row that
  // overlays it is written.
  static constexpr bool kConsumesRows = true;
  int64_t Delay() const { return 0; }
  size_t ScratchBytes(int64_t w) const { return static_cast<size_t>(mh * w * kNc) * 4 + 32; }

  template <class Out>
  void Run(const float* s, int64_t ss, int64_t w, int64_t h, Out& out, uint8_t* scratch,
           bool) const {
    const int64_t n = w * kNc;
    float* ring =
        reinterpret_cast<float*>(scratch + ((0 - reinterpret_cast<uintptr_t>(scratch)) & 31));
    for (int64_t k = 0; k + 1 < mh; ++k) HRow(frame::RowAt(s, ss, k), ring + k * n, n);
    for (int64_t y = 0; y < h; ++y) {
      HRow(frame::RowAt(s, ss, y + mh - 1), ring + ((y + mh - 1) % mh) * n, n);
      VRow(ring, y % mh, out.Row(y), n);
      out.Done(y);
    }
  }

 private:
  void HRow(const float* s, float* d, int64_t n) const {
    switch (mw) {
      case 3:
        return HRowOf<3>(s, d, n);
      case 5:
        return HRowOf<5>(s, d, n);
      default:
        return HRowOf<0>(s, d, n);
    }
  }
  // kMw, kMh: the mask extent when fixed at compile time, else 0.
  template <int kMw>
  void HRowOf(const float* s, float* d, int64_t n) const {
    const int64_t w = kMw > 0 ? kMw : mw;
    ForEachBlock<float>(static_cast<size_t>(n), [&]<template <class> class V>(size_t i) {
      V<float> acc = V<float>::LoadU(s + i);
      for (int64_t k = 1; k < w; ++k) acc = Add(acc, V<float>::LoadU(s + i + k * kNc));
      StoreU(acc, d + i);
    });
  }
  void VRow(const float* ring, int64_t top, float* d, int64_t n) const {
    switch (mh) {
      case 3:
        return VRowOf<3>(ring, top, d, n);
      case 5:
        return VRowOf<5>(ring, top, d, n);
      default:
        return VRowOf<0>(ring, top, d, n);
    }
  }
  template <int kMh>
  void VRowOf(const float* ring, int64_t top, float* d, int64_t n) const {
    const float scale = r;
    if constexpr (kMh > 0) {
      // The window's rows, top to bottom.
      const float* rows[kMh];
      for (int j = 0; j < kMh; ++j) rows[j] = ring + ((top + j) % kMh) * n;
      ForEachBlock<float>(static_cast<size_t>(n), [&]<template <class> class V>(size_t i) {
        V<float> acc = V<float>::LoadU(rows[0] + i);
        for (int j = 1; j < kMh; ++j) acc = Add(acc, V<float>::LoadU(rows[j] + i));
        Put(acc, d, i, scale);
      });
    } else {
      ForEachBlock<float>(static_cast<size_t>(n), [&]<template <class> class V>(size_t i) {
        int64_t slot = top;
        V<float> acc = V<float>::LoadU(ring + slot * n + i);
        for (int64_t j = 1; j < mh; ++j) {
          if (++slot == mh) slot = 0;
          acc = Add(acc, V<float>::LoadU(ring + slot * n + i));
        }
        Put(acc, d, i, scale);
      });
    }
  }
  template <class V>
  static NYX_INLINE void Put(V acc, float* d, size_t i, float scale) {
    if constexpr (kScale) acc = Mul(acc, V::Set(scale));
    if constexpr (kAlpha) acc = IfThenElse(AlphaLanes<V>(i), V::LoadU(d + i), acc);
    StoreU(acc, d + i);
  }
};

}  // namespace nyx::avx2
