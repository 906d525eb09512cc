// Tile kernels of the transpose: a tile of at most 16 by 16 pixels of the
// source becomes the matching tile of the destination (rows become columns).
//
// Kernel contract: any tile of 1 to 16 rows and 1 to 16 columns; no read or
// write outside the tile's pixels on either side; strides of any sign; the
// destination does not overlap the source. Full tiles of 1-, 2- and 4-byte
// pixels go through register transposes, the rest through pixel moves; both
// give the same bytes.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "core/simd/vec.h"

namespace nyx::avx2 {

inline constexpr int kTile = 16;

// Pixel by pixel: any pixel size, any tile.
template <int kPixel>
inline void TransposeTilePixels(const uint8_t* s, ptrdiff_t ss, uint8_t* d, ptrdiff_t ds, int cols,
                                int rows) {
  for (int y = 0; y < rows; ++y) {
    const uint8_t* sr = s + y * ss;
    for (int x = 0; x < cols; ++x)
      __builtin_memcpy(d + x * ds + y * kPixel, sr + x * kPixel, kPixel);
  }
}

// The butterfly of 2^k rows of 16 bytes: stage by stage, output i < half
// interleaves the low halves of rows 2i and 2i+1 and output i + half their
// high halves, at element widths 1 (8-bit only), 2, 4 and 8 bytes. Afterwards
// register k holds column bit-reverse(k) of the block.
template <int kRows, int kFirstWidth>
NYX_INLINE void Butterfly(__m128i* r) {
  auto stage = [&](auto lo, auto hi) {
    __m128i o[kRows];
    for (int i = 0; i < kRows / 2; ++i) {
      o[i] = lo(r[2 * i], r[2 * i + 1]);
      o[i + kRows / 2] = hi(r[2 * i], r[2 * i + 1]);
    }
    for (int i = 0; i < kRows; ++i) r[i] = o[i];
  };
  if constexpr (kFirstWidth == 1) {
    stage([](__m128i a, __m128i b) { return _mm_unpacklo_epi8(a, b); },
          [](__m128i a, __m128i b) { return _mm_unpackhi_epi8(a, b); });
  }
  stage([](__m128i a, __m128i b) { return _mm_unpacklo_epi16(a, b); },
        [](__m128i a, __m128i b) { return _mm_unpackhi_epi16(a, b); });
  stage([](__m128i a, __m128i b) { return _mm_unpacklo_epi32(a, b); },
        [](__m128i a, __m128i b) { return _mm_unpackhi_epi32(a, b); });
  stage([](__m128i a, __m128i b) { return _mm_unpacklo_epi64(a, b); },
        [](__m128i a, __m128i b) { return _mm_unpackhi_epi64(a, b); });
}

template <int kBits>
constexpr int BitReverse(int k) {
  int r = 0;
  for (int i = 0; i < kBits; ++i) r |= ((k >> i) & 1) << (kBits - 1 - i);
  return r;
}

// 16 by 16 bytes.
inline void TransposeFull8(const uint8_t* s, ptrdiff_t ss, uint8_t* d, ptrdiff_t ds) {
  __m128i r[16];
  for (int y = 0; y < 16; ++y) r[y] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + y * ss));
  Butterfly<16, 1>(r);
  for (int k = 0; k < 16; ++k) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d + BitReverse<4>(k) * ds), r[k]);
  }
}

// 8 by 8 samples of 16 bits.
inline void Transpose8x8x16(const uint8_t* s, ptrdiff_t ss, uint8_t* d, ptrdiff_t ds) {
  __m128i r[8];
  for (int y = 0; y < 8; ++y) r[y] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + y * ss));
  Butterfly<8, 2>(r);
  for (int k = 0; k < 8; ++k) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d + BitReverse<3>(k) * ds), r[k]);
  }
}

// 8 by 8 samples of 32 bits: interleave pairs, then quads within each
// 128-bit lane, then exchange lanes.
inline void Transpose8x8x32(const uint8_t* s, ptrdiff_t ss, uint8_t* d, ptrdiff_t ds) {
  __m256 r[8], t[8], u[8];
  for (int y = 0; y < 8; ++y) r[y] = _mm256_loadu_ps(reinterpret_cast<const float*>(s + y * ss));
  for (int i = 0; i < 4; ++i) {
    t[2 * i] = _mm256_unpacklo_ps(r[2 * i], r[2 * i + 1]);
    t[2 * i + 1] = _mm256_unpackhi_ps(r[2 * i], r[2 * i + 1]);
  }
  for (int h = 0; h < 2; ++h) {  // rows 0-3, then rows 4-7
    u[4 * h + 0] = _mm256_shuffle_ps(t[4 * h], t[4 * h + 2], 0x44);
    u[4 * h + 1] = _mm256_shuffle_ps(t[4 * h], t[4 * h + 2], 0xEE);
    u[4 * h + 2] = _mm256_shuffle_ps(t[4 * h + 1], t[4 * h + 3], 0x44);
    u[4 * h + 3] = _mm256_shuffle_ps(t[4 * h + 1], t[4 * h + 3], 0xEE);
  }
  for (int k = 0; k < 4; ++k) {
    _mm256_storeu_ps(reinterpret_cast<float*>(d + k * ds),
                     _mm256_permute2f128_ps(u[k], u[k + 4], 0x20));
    _mm256_storeu_ps(reinterpret_cast<float*>(d + (k + 4) * ds),
                     _mm256_permute2f128_ps(u[k], u[k + 4], 0x31));
  }
}

// One tile of kPixel-byte pixels.
template <int kPixel>
inline void TransposeTile(const uint8_t* s, ptrdiff_t ss, uint8_t* d, ptrdiff_t ds, int cols,
                          int rows) {
  if (cols != kTile || rows != kTile) return TransposeTilePixels<kPixel>(s, ss, d, ds, cols, rows);
  if constexpr (kPixel == 1) {
    TransposeFull8(s, ss, d, ds);
  } else if constexpr (kPixel == 2 || kPixel == 4) {
    auto sub = kPixel == 2 ? Transpose8x8x16 : Transpose8x8x32;
    for (int by = 0; by < 16; by += 8) {
      for (int bx = 0; bx < 16; bx += 8) {
        sub(s + by * ss + bx * kPixel, ss, d + bx * ds + by * kPixel, ds);
      }
    }
  } else {
    TransposeTilePixels<kPixel>(s, ss, d, ds, cols, rows);
  }
}

// A whole image of cols by rows source pixels, tile by tile along the source
// rows, so that both images' tiles stay in cache.
template <int kPixel>
inline void TransposeImage(const uint8_t* s, ptrdiff_t ss, uint8_t* d, ptrdiff_t ds, int cols,
                           int rows) {
  for (int ty = 0; ty < rows; ty += kTile) {
    const int th = rows - ty < kTile ? rows - ty : kTile;
    for (int tx = 0; tx < cols; tx += kTile) {
      const int tw = cols - tx < kTile ? cols - tx : kTile;
      if constexpr (kPixel >= 4) {
        // The destination rows of the tile after next: each tile writes into
        // 16 rows far apart, which the hardware does not fetch ahead.
        if (tx + 3 * kTile <= cols) {
          for (int k = 0; k < kTile; ++k) {
            _mm_prefetch(reinterpret_cast<const char*>(d + (tx + 2 * kTile + k) * ds + ty * kPixel),
                         _MM_HINT_T0);
          }
        }
      }
      TransposeTile<kPixel>(s + ty * ss + tx * kPixel, ss, d + tx * ds + ty * kPixel, ds, tw, th);
    }
  }
}

// In place, n by n pixels: a tile on the diagonal is transposed in itself, a
// tile off it is exchanged with the transpose of its mirror tile, each through
// a scratch tile.
template <int kPixel>
inline void TransposeSquareInPlace(uint8_t* p, ptrdiff_t step, int n) {
  constexpr ptrdiff_t kRow = kTile * kPixel;
  alignas(64) uint8_t a[kTile * kRow], b[kTile * kRow];
  auto put = [&](const uint8_t* t, uint8_t* at, int cols, int rows) {
    for (int y = 0; y < rows; ++y) __builtin_memcpy(at + y * step, t + y * kRow, cols * kPixel);
  };
  for (int i = 0; i < n; i += kTile) {
    const int hi = n - i < kTile ? n - i : kTile;
    for (int j = i; j < n; j += kTile) {
      const int wj = n - j < kTile ? n - j : kTile;
      uint8_t* ta = p + i * step + j * kPixel;  // rows i.., columns j..
      uint8_t* tb = p + j * step + i * kPixel;  // rows j.., columns i..
      TransposeTile<kPixel>(ta, step, a, kRow, wj, hi);
      if (i == j) {
        put(a, ta, hi, wj);
      } else {
        TransposeTile<kPixel>(tb, step, b, kRow, hi, wj);
        put(a, tb, hi, wj);
        put(b, ta, wj, hi);
      }
    }
  }
}

}  // namespace nyx::avx2
