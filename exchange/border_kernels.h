// Row kernels of the border copies: whole pixels moved as bits.
//
// A pixel is kCh samples of the unsigned type U of the sample's width (16s
// moves as 16u, 32f as 32u, 64f as 64u: only bit patterns travel). With
// kAlpha (AC4) only the first three samples of a destination pixel are
// written; the fourth keeps what it held.
//
// Kernel contract: any count from 1; no read or write outside the n pixels
// of each pointer; source and destination do not overlap; results do not
// depend on how the count splits into blocks.
#pragma once

#include <immintrin.h>
#include <string.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "core/simd/vec.h"

namespace nyx::avx2::border {

template <class U, int kCh>
inline constexpr size_t kPixelBytes = sizeof(U) * kCh;

// Bytes of the fourth sample of each four-sample pixel set, the rest clear:
// the blend mask that keeps AC4 alpha.
template <class U>
NYX_INLINE __m256i AlphaMask() {
  alignas(32) uint8_t m[32];
  for (size_t b = 0; b < 32; ++b) m[b] = (b / sizeof(U)) % 4 == 3 ? 0xFF : 0;
  return _mm256_load_si256(reinterpret_cast<const __m256i*>(m));
}

// The three colour samples of one pixel (byte copies: rows need not be
// aligned to the sample size).
template <class U>
NYX_INLINE void CopyColour(const U* s, U* d) {
  memcpy(d, s, 3 * sizeof(U));
}

// Copies up to this many bytes inline; longer runs go to memcpy, whose
// string-move path writes whole cache lines without reading them first.
inline constexpr size_t kSmallBytes = 128;

// d[0..n) = s[0..n) for sizeof(U) <= n <= 2 * sizeof(U): the first and the
// last sizeof(U) bytes, both read before either is written.
template <class U>
NYX_INLINE void CopyEnds(const uint8_t* s, uint8_t* d, size_t n) {
  U a, b;
  memcpy(&a, s, sizeof(U));
  memcpy(&b, s + n - sizeof(U), sizeof(U));
  memcpy(d, &a, sizeof(U));
  memcpy(d + n - sizeof(U), &b, sizeof(U));
}

// d[0..n) = s[0..n), any n, without a call: 32-byte blocks and one last
// block that ends at n and may overlap the one before (it rewrites the same
// bytes); shorter runs by two overlapping halves of 16, 8, 4 or 2 bytes.
NYX_INLINE void CopySmall(const uint8_t* s, uint8_t* d, size_t n) {
  if (n >= 32) {
    size_t i = 0;
    for (; i + 32 < n; i += 32) {
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + i),
                          _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i)));
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + n - 32),
                        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + n - 32)));
  } else if (n >= 16) {
    CopyEnds<__m128i>(s, d, n);
  } else if (n >= 8) {
    CopyEnds<uint64_t>(s, d, n);
  } else if (n >= 4) {
    CopyEnds<uint32_t>(s, d, n);
  } else if (n >= 2) {
    CopyEnds<uint16_t>(s, d, n);
  } else if (n == 1) {
    d[0] = s[0];
  }
}

// A fill pattern: 96 bytes hold a whole number of pixels of every size up to
// 16 bytes (96 = 3 * 32 is a multiple of 1, 2, 3, 4, 6, 8, 12 and 16), so it
// repeats without seams and any run of pixels starting at a pixel boundary
// is a prefix of the pattern repeated.
inline constexpr size_t kPatternBytes = 96;

template <size_t kBytes>
struct PhaseTable {
  alignas(32) uint8_t idx[kPatternBytes];
};
// Byte i of the pattern is byte i mod kBytes of the pixel.
template <size_t kBytes>
constexpr PhaseTable<kBytes> MakePhaseTable() {
  PhaseTable<kBytes> t{};
  for (size_t i = 0; i < kPatternBytes; ++i) t.idx[i] = static_cast<uint8_t>(i % kBytes);
  return t;
}
template <size_t kBytes>
inline constexpr PhaseTable<kBytes> kPhase = MakePhaseTable<kBytes>();

// The n <= 8 bytes at p in the low bytes of a register, by loads of 1, 2, 4
// or 8 bytes put together in registers (a pixel gathered through a stack
// slot would wait for the row's pending stores: store forwarding fails when
// one load reads several smaller stores).
template <size_t n>
NYX_INLINE uint64_t LoadBytes(const uint8_t* p) {
  static_assert(n >= 1 && n <= 8);
  if constexpr (n == 1 || n == 2 || n == 4 || n == 8) {
    using W = std::conditional_t<n == 1, uint8_t,
                                 std::conditional_t<n == 2, uint16_t,
                                                    std::conditional_t<n == 4, uint32_t, uint64_t>>>;
    W w;
    memcpy(&w, p, n);
    return w;
  } else {
    constexpr size_t kLow = n > 4 ? 4 : 2;
    return LoadBytes<kLow>(p) | (LoadBytes<n - kLow>(p + kLow) << (8 * kLow));
  }
}

// The 96-byte pattern of one pixel, kept in registers: reading it back from
// memory right after building it would stall on store forwarding behind the
// row's pending stores.
struct Pattern {
  __m256i v[3];
};

// The pattern of one pixel of kBytes <= 16 bytes: the pixel, gathered in a
// register, sits in both 128-bit lanes, and one byte shuffle per 32 bytes
// picks byte (i mod kBytes).
template <size_t kBytes>
NYX_INLINE Pattern BuildPattern(const void* pixel) {
  static_assert(kBytes <= 16 && kPatternBytes % kBytes == 0);
  const uint8_t* q = static_cast<const uint8_t*>(pixel);
  __m128i px;
  if constexpr (kBytes == 16) {
    px = _mm_loadu_si128(reinterpret_cast<const __m128i*>(q));
  } else if constexpr (kBytes > 8) {
    px = _mm_set_epi64x(static_cast<int64_t>(LoadBytes<kBytes - 8>(q + 8)),
                        static_cast<int64_t>(LoadBytes<8>(q)));
  } else {
    px = _mm_cvtsi64_si128(static_cast<int64_t>(LoadBytes<kBytes>(q)));
  }
  const __m256i b = _mm256_broadcastsi128_si256(px);
  Pattern p;
  for (size_t k = 0; k < 3; ++k) {
    const __m256i idx =
        _mm256_load_si256(reinterpret_cast<const __m256i*>(kPhase<kBytes>.idx + 32 * k));
    p.v[k] = _mm256_shuffle_epi8(b, idx);
  }
  return p;
}

// The first n < 32 bytes of v at d.
NYX_INLINE void StorePrefix(__m256i v, uint8_t* d, size_t n) {
  __m128i x = _mm256_castsi256_si128(v);
  if (n & 16) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d), x);
    x = _mm256_extracti128_si256(v, 1);
    d += 16;
  }
  if (n & 8) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(d), x);
    x = _mm_srli_si128(x, 8);
    d += 8;
  }
  if (n & 4) {
    const uint32_t w = static_cast<uint32_t>(_mm_cvtsi128_si32(x));
    memcpy(d, &w, 4);
    x = _mm_srli_si128(x, 4);
    d += 4;
  }
  if (n & 2) {
    const uint16_t w = static_cast<uint16_t>(_mm_cvtsi128_si32(x));
    memcpy(d, &w, 2);
    x = _mm_srli_si128(x, 2);
    d += 2;
  }
  if (n & 1) *d = static_cast<uint8_t>(_mm_cvtsi128_si32(x));
}

// `bytes` bytes of the repeated pattern at d (bytes a whole number of
// pixels, so every block of 96 starts in phase).
NYX_INLINE void FillFromPattern(const Pattern& p, uint8_t* d, size_t bytes) {
  size_t b = 0;
  for (; b + kPatternBytes <= bytes; b += kPatternBytes) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + b), p.v[0]);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + b + 32), p.v[1]);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + b + 64), p.v[2]);
  }
  for (int k = 0; b < bytes; ++k, b += 32) {
    if (bytes - b < 32) return StorePrefix(p.v[k], d + b, bytes - b);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + b), p.v[k]);
  }
}

// d[k] = s[k] for n pixels.
template <class U, int kCh, bool kAlpha>
NYX_INLINE void CopyPixels(const U* s, U* d, int64_t n) {
  if constexpr (!kAlpha) {
    const size_t bytes = static_cast<size_t>(n) * kPixelBytes<U, kCh>;
    if (bytes <= kSmallBytes) {
      CopySmall(reinterpret_cast<const uint8_t*>(s), reinterpret_cast<uint8_t*>(d), bytes);
    } else {
      memcpy(d, s, bytes);
    }
  } else {
    // 32 bytes hold a whole number of pixels; alpha bytes come back from d.
    constexpr int64_t kPerBlock = 32 / kPixelBytes<U, 4>;
    const __m256i keep = AlphaMask<U>();
    int64_t x = 0;
    for (; x + kPerBlock <= n; x += kPerBlock) {
      __m256i* dp = reinterpret_cast<__m256i*>(d + 4 * x);
      const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + 4 * x));
      _mm256_storeu_si256(dp, _mm256_blendv_epi8(v, _mm256_loadu_si256(dp), keep));
    }
    for (; x < n; ++x) CopyColour(s + 4 * x, d + 4 * x);
  }
}

// Byte indices that reverse the pixel-sized lanes of 16 bytes (pixels of 1
// or 2 bytes).
template <size_t kBytes>
NYX_INLINE __m128i ReverseIndex16() {
  if constexpr (kBytes == 2) {
    return _mm_setr_epi8(14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1);
  } else {
    return _mm_setr_epi8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
  }
}

// Reverses the pixel-sized lanes of 16 bytes (pixels of 1, 2, 4 or 8 bytes).
template <size_t kBytes>
NYX_INLINE __m128i ReverseLanes16(__m128i v) {
  if constexpr (kBytes == 8) {
    return _mm_shuffle_epi32(v, 0x4E);
  } else if constexpr (kBytes == 4) {
    return _mm_shuffle_epi32(v, 0x1B);
  } else {
    return _mm_shuffle_epi8(v, ReverseIndex16<kBytes>());
  }
}

// Reverses the order of the pixel-sized lanes of one 32-byte block (pixels
// of 1, 2, 4 or 8 bytes).
template <size_t kBytes>
NYX_INLINE __m256i ReverseLanes(__m256i v) {
  if constexpr (kBytes == 8) {
    return _mm256_permute4x64_epi64(v, 0x1B);
  } else if constexpr (kBytes == 4) {
    return _mm256_permutevar8x32_epi32(v, _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0));
  } else {
    // Reverse inside each 128-bit half with a byte shuffle, then swap halves.
    const __m256i idx = _mm256_broadcastsi128_si256(ReverseIndex16<kBytes>());
    const __m256i r = _mm256_shuffle_epi8(v, idx);
    return _mm256_permute2x128_si256(r, r, 1);
  }
}

// d[k] = s[-k] for n pixels: s points at the first pixel to read, and the
// source runs leftwards from there. Blocks of 32 bytes, then of 16; a last
// block that would pass n ends at n instead and rewrites pixels already
// written with the same values.
template <class U, int kCh, bool kAlpha>
NYX_INLINE void ReversePixels(const U* s, U* d, int64_t n) {
  constexpr size_t kBytes = kPixelBytes<U, kCh>;
  int64_t k = 0;
  if constexpr (!kAlpha && (kBytes == 1 || kBytes == 2 || kBytes == 4 || kBytes == 8)) {
    constexpr int64_t kPer32 = static_cast<int64_t>(32 / kBytes);
    constexpr int64_t kPer16 = static_cast<int64_t>(16 / kBytes);
    auto block32 = [&](int64_t at) {
      const U* from = s - (at + kPer32 - 1) * kCh;
      const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + at * kCh), ReverseLanes<kBytes>(v));
    };
    auto block16 = [&](int64_t at) {
      const U* from = s - (at + kPer16 - 1) * kCh;
      const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(d + at * kCh), ReverseLanes16<kBytes>(v));
    };
    for (; k + kPer32 <= n; k += kPer32) block32(k);
    if (k < n && n >= kPer32) {
      block32(n - kPer32);
      return;
    }
    for (; k + kPer16 <= n; k += kPer16) block16(k);
    if (k < n && n >= kPer16) {
      block16(n - kPer16);
      return;
    }
  }
  for (; k < n; ++k) {
    const U* from = s - k * kCh;
    U* to = d + k * kCh;
    if constexpr (kAlpha) {
      CopyColour(from, to);
    } else {
      memcpy(to, from, kBytes);
    }
  }
}

// n copies of the pixel v (its first three samples with kAlpha).
template <class U, int kCh, bool kAlpha>
NYX_INLINE void FillPixels(const U* v, U* d, int64_t n) {
  constexpr size_t kBytes = kPixelBytes<U, kCh>;
  if constexpr (kAlpha) {
    constexpr int64_t kPerBlock = 32 / kBytes;
    int64_t x = 0;
    if (n >= kPerBlock) {
      alignas(32) U pat[32 / sizeof(U)] = {};
      for (int64_t k = 0; k < kPerBlock; ++k) CopyColour(v, pat + 4 * k);
      const __m256i pv = _mm256_load_si256(reinterpret_cast<const __m256i*>(pat));
      const __m256i keep = AlphaMask<U>();
      for (; x + kPerBlock <= n; x += kPerBlock) {
        __m256i* dp = reinterpret_cast<__m256i*>(d + 4 * x);
        _mm256_storeu_si256(dp, _mm256_blendv_epi8(pv, _mm256_loadu_si256(dp), keep));
      }
    }
    for (; x < n; ++x) CopyColour(v, d + 4 * x);
  } else {
    const size_t total = static_cast<size_t>(n) * kBytes;
    if (kBytes == 1 && total > kPatternBytes) {
      memset(d, static_cast<int>(v[0]), total);
      return;
    }
    FillFromPattern(BuildPattern<kBytes>(v), reinterpret_cast<uint8_t*>(d), total);
  }
}

}  // namespace nyx::avx2::border
