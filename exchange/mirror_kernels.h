// Row kernels of the mirror: pixels of a row in reverse order, and the
// exchange of two rows.
//
// Kernel contract: any pixel count from 1; no read or write outside the
// pixels given; the rows of one call do not overlap (an in-place reversal is
// the exchange of a row's two halves); results do not depend on how the
// count splits into blocks. kAlpha kernels keep the fourth sample of every
// destination pixel (the pixel's own, also in place); kSample is then the
// sample's size.
//
// A vector block is 32 bytes of whole pixels (pixels of 1, 2, 4, 8 or 16
// bytes): the pixels are reversed by a byte shuffle within each 128-bit lane
// and an exchange of the lanes, or by one cross-lane permute. Pixels of 3, 6
// and 12 bytes go one at a time.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "core/simd/vec.h"

namespace nyx::avx2 {

template <int kPixel>
inline constexpr bool kReversible = 32 % kPixel == 0;

template <int kPixel>
NYX_INLINE __m256i ReversePixels(__m256i v) {
  if constexpr (kPixel == 1 || kPixel == 2) {
    const __m256i m = kPixel == 1
                          ? _mm256_setr_epi8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0,
                                             15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0)
                          : _mm256_setr_epi8(14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1,
                                             14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1);
    return _mm256_permute4x64_epi64(_mm256_shuffle_epi8(v, m), 0x4E);
  } else if constexpr (kPixel == 4) {
    return _mm256_permutevar8x32_epi32(v, _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0));
  } else if constexpr (kPixel == 8) {
    return _mm256_permute4x64_epi64(v, 0x1B);
  } else {
    static_assert(kPixel == 16, "pixels of 1, 2, 4, 8 or 16 bytes");
    return _mm256_permute4x64_epi64(v, 0x4E);
  }
}

// Bytes of the fourth sample of each four-sample pixel.
template <int kSample>
NYX_INLINE __m256i AlphaBytes() {
  if constexpr (kSample == 1)
    return _mm256_set1_epi32(static_cast<int>(0xff000000u));
  else if constexpr (kSample == 2)
    return _mm256_set1_epi64x(static_cast<long long>(0xffff000000000000ull));
  else
    return _mm256_setr_epi32(0, 0, 0, -1, 0, 0, 0, -1);
}

NYX_INLINE __m256i LoadBlock(const uint8_t* p) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}
NYX_INLINE void StoreBlock(uint8_t* p, __m256i v) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
}

// One pixel, or its first three samples when kAlpha.
template <int kPixel, bool kAlpha>
NYX_INLINE void MovePixel(const uint8_t* s, uint8_t* d) {
  __builtin_memcpy(d, s, kAlpha ? kPixel / 4 * 3 : kPixel);
}

// d[i] = s[n - 1 - i].
template <int kPixel, bool kAlpha, int kSample>
inline void ReverseCopy(const uint8_t* s, uint8_t* d, size_t n) {
  size_t i = 0;
  if constexpr (kReversible<kPixel>) {
    constexpr size_t kK = 32 / kPixel;
    for (; i + kK <= n; i += kK) {
      __m256i v = ReversePixels<kPixel>(LoadBlock(s + (n - i - kK) * kPixel));
      if constexpr (kAlpha)
        v = _mm256_blendv_epi8(v, LoadBlock(d + i * kPixel), AlphaBytes<kSample>());
      StoreBlock(d + i * kPixel, v);
    }
  }
  for (; i < n; ++i) MovePixel<kPixel, kAlpha>(s + (n - 1 - i) * kPixel, d + i * kPixel);
}

// Exchange with reversal: l'[i] = r[h - 1 - i] and r'[i] = l[h - 1 - i].
template <int kPixel, bool kAlpha, int kSample>
inline void ReverseExchange(uint8_t* l, uint8_t* r, size_t h) {
  size_t i = 0;
  if constexpr (kReversible<kPixel>) {
    constexpr size_t kK = 32 / kPixel;
    for (; i + kK <= h; i += kK) {
      uint8_t* pl = l + i * kPixel;
      uint8_t* pr = r + (h - i - kK) * kPixel;
      const __m256i a = LoadBlock(pl), b = LoadBlock(pr);
      __m256i na = ReversePixels<kPixel>(b), nb = ReversePixels<kPixel>(a);
      if constexpr (kAlpha) {
        na = _mm256_blendv_epi8(na, a, AlphaBytes<kSample>());
        nb = _mm256_blendv_epi8(nb, b, AlphaBytes<kSample>());
      }
      StoreBlock(pl, na);
      StoreBlock(pr, nb);
    }
  }
  for (; i < h; ++i) {
    uint8_t* pl = l + i * kPixel;
    uint8_t* pr = r + (h - 1 - i) * kPixel;
    uint8_t t[kPixel];
    __builtin_memcpy(t, pl, kPixel);
    MovePixel<kPixel, kAlpha>(pr, pl);
    MovePixel<kPixel, kAlpha>(t, pr);
  }
}

// Exchange of two rows of n bytes (kAlpha: colour samples only).
template <bool kAlpha, int kSample>
inline void ExchangeRows(uint8_t* a, uint8_t* b, size_t n) {
  size_t i = 0;
  for (; i + 32 <= n; i += 32) {
    const __m256i x = LoadBlock(a + i), y = LoadBlock(b + i);
    if constexpr (kAlpha) {
      StoreBlock(a + i, _mm256_blendv_epi8(y, x, AlphaBytes<kSample>()));
      StoreBlock(b + i, _mm256_blendv_epi8(x, y, AlphaBytes<kSample>()));
    } else {
      StoreBlock(a + i, y);
      StoreBlock(b + i, x);
    }
  }
  for (; i < n; ++i) {
    if (kAlpha && (i / kSample) % 4 == 3) continue;
    const uint8_t t = a[i];
    a[i] = b[i];
    b[i] = t;
  }
}

}  // namespace nyx::avx2
