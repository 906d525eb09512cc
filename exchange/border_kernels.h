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

// d[k] = s[k] for n pixels.
template <class U, int kCh, bool kAlpha>
NYX_INLINE void CopyPixels(const U* s, U* d, int64_t n) {
  if constexpr (!kAlpha) {
    memcpy(d, s, static_cast<size_t>(n) * kPixelBytes<U, kCh>);
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
    const __m256i idx =
        kBytes == 2 ? _mm256_setr_epi8(14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1, 14, 15,
                                       12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1)
                    : _mm256_setr_epi8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 15, 14,
                                       13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
    const __m256i r = _mm256_shuffle_epi8(v, idx);
    return _mm256_permute2x128_si256(r, r, 1);
  }
}

// d[k] = s[-k] for n pixels: s points at the first pixel to read, and the
// source runs leftwards from there.
template <class U, int kCh, bool kAlpha>
NYX_INLINE void ReversePixels(const U* s, U* d, int64_t n) {
  constexpr size_t kBytes = kPixelBytes<U, kCh>;
  int64_t k = 0;
  if constexpr (!kAlpha && (kBytes == 1 || kBytes == 2 || kBytes == 4 || kBytes == 8)) {
    constexpr int64_t kPerBlock = static_cast<int64_t>(32 / kBytes);
    for (; k + kPerBlock <= n; k += kPerBlock) {
      const U* from = s - (k + kPerBlock - 1) * kCh;
      const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + k * kCh), ReverseLanes<kBytes>(v));
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
  } else if constexpr (kBytes == 1) {
    memset(d, static_cast<int>(v[0]), static_cast<size_t>(n));
  } else {
    // 96 bytes hold a whole number of pixels of every size (3 * 32), so a
    // pattern of 96 bytes repeats without seams.
    constexpr size_t kPat = 96;
    const size_t total = static_cast<size_t>(n) * kBytes;
    if (total < kPat) {
      for (int64_t x = 0; x < n; ++x) memcpy(d + x * kCh, v, kBytes);
      return;
    }
    alignas(32) uint8_t pat[kPat];
    for (size_t b = 0; b < kPat; b += kBytes) memcpy(pat + b, v, kBytes);
    const __m256i p0 = _mm256_load_si256(reinterpret_cast<const __m256i*>(pat));
    const __m256i p1 = _mm256_load_si256(reinterpret_cast<const __m256i*>(pat + 32));
    const __m256i p2 = _mm256_load_si256(reinterpret_cast<const __m256i*>(pat + 64));
    uint8_t* out = reinterpret_cast<uint8_t*>(d);
    size_t b = 0;
    for (; b + kPat <= total; b += kPat) {
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + b), p0);
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + b + 32), p1);
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + b + 64), p2);
    }
    memcpy(out + b, pat, total - b);
  }
}

}  // namespace nyx::avx2::border
