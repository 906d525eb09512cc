// Row kernels of the byte copy and the pattern fill.
//
// Kernel contract (all kernels of this file): any count n from 1; no read or
// write outside [p, p + n) of each row; the destination does not partly
// overlap the source; the bytes written do not depend on how n splits into
// blocks or on which of the paths (forward, backward, streaming) runs.
//
// Streaming kernels write around the cache with non-temporal stores; they do
// not fence. The caller ends a run of them with StoreFence, so that later
// loads and stores of the same thread see the data in order.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "core/simd/vec.h"

namespace nyx::avx2 {

NYX_INLINE __m256i Load32(const uint8_t* p) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}
NYX_INLINE void Store32(uint8_t* p, __m256i v) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
}
NYX_INLINE void StoreFence() { _mm_sfence(); }

// From this many bytes on, the forward copy and the fill use the string
// instructions.
inline constexpr size_t kStringMoveFrom = 4096;

NYX_INLINE void StringMove(const uint8_t* s, uint8_t* d, size_t n) {
  __asm__ volatile("rep movsb" : "+D"(d), "+S"(s), "+c"(n) : : "memory");
}

// Fewer than 32 bytes, by powers of two (no overlapping moves).
NYX_INLINE void CopySmall(const uint8_t* s, uint8_t* d, size_t n) {
  if (n & 16) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d),
                     _mm_loadu_si128(reinterpret_cast<const __m128i*>(s)));
    s += 16, d += 16;
  }
  if (n & 8) {
    __builtin_memcpy(d, s, 8);
    s += 8, d += 8;
  }
  if (n & 4) {
    __builtin_memcpy(d, s, 4);
    s += 4, d += 4;
  }
  if (n & 2) {
    __builtin_memcpy(d, s, 2);
    s += 2, d += 2;
  }
  if (n & 1) *d = *s;
}

// Forward copy: blocks of 128 bytes, then 32, then the small rest.
inline void CopyForward(const uint8_t* s, uint8_t* d, size_t n) {
  size_t i = 0;
  for (; i + 128 <= n; i += 128) {
    const __m256i a = Load32(s + i), b = Load32(s + i + 32);
    const __m256i c = Load32(s + i + 64), e = Load32(s + i + 96);
    Store32(d + i, a);
    Store32(d + i + 32, b);
    Store32(d + i + 64, c);
    Store32(d + i + 96, e);
  }
  for (; i + 32 <= n; i += 32) Store32(d + i, Load32(s + i));
  CopySmall(s + i, d + i, n - i);
}

// Forward copy whose destination blocks are 32-byte aligned: the head up to
// the boundary first, then aligned stores. Long runs use the string move,
// which the processor carries out in whole cache lines without reading the
// destination lines first.
inline void CopyForwardAligned(const uint8_t* s, uint8_t* d, size_t n) {
  const size_t head = (0 - reinterpret_cast<uintptr_t>(d)) & 31;
  if (head >= n) return CopySmall(s, d, n);
  CopySmall(s, d, head);
  s += head, d += head, n -= head;
  if (n >= kStringMoveFrom) return StringMove(s, d, n);
  CopyForward(s, d, n);
}

// Backward copy: the tail that ends the destination on a 64-byte boundary
// first, then the body in blocks from the end towards the start, then the
// head. Used when the destination lies a little above the source modulo the
// page (below 160 bytes): a forward vector loop would then have the loads of
// its next block wait on the stores just made to the same page offset. Short
// bodies go in blocks of 64 bytes; long ones in blocks of four pages, each moved
// by the string instruction (whole lines, no reads of the destination).
inline constexpr size_t kBackBlock = 16384;

inline void CopyBackward(const uint8_t* s, uint8_t* d, size_t n) {
  const size_t tail = reinterpret_cast<uintptr_t>(d + n) & 63;
  if (tail >= n) return CopyForward(s, d, n);
  size_t end = n - tail;
  CopyForward(s + end, d + end, tail);
  if (end >= kStringMoveFrom) {
    for (; end >= kBackBlock; end -= kBackBlock) {
      StringMove(s + end - kBackBlock, d + end - kBackBlock, kBackBlock);
    }
  }
  for (; end >= 64; end -= 64) {
    const __m256i a = Load32(s + end - 64), b = Load32(s + end - 32);
    Store32(d + end - 64, a);
    Store32(d + end - 32, b);
  }
  CopyForward(s, d, end);
}

// Non-temporal stores over the whole 64-byte lines of the destination; the
// head up to the first line and the tail after the last go through ordinary
// stores. A line is written one way only: a line that took part streamed and
// part cached stores costs a read of it and a second write to memory.
inline void CopyStream(const uint8_t* s, uint8_t* d, size_t n) {
  const size_t head = (0 - reinterpret_cast<uintptr_t>(d)) & 63;
  if (head + 64 > n) return CopyForward(s, d, n);
  CopyForward(s, d, head);
  size_t i = head;
  for (; i + 128 <= n; i += 128) {
    const __m256i a = Load32(s + i), b = Load32(s + i + 32);
    const __m256i c = Load32(s + i + 64), e = Load32(s + i + 96);
    _mm256_stream_si256(reinterpret_cast<__m256i*>(d + i), a);
    _mm256_stream_si256(reinterpret_cast<__m256i*>(d + i + 32), b);
    _mm256_stream_si256(reinterpret_cast<__m256i*>(d + i + 64), c);
    _mm256_stream_si256(reinterpret_cast<__m256i*>(d + i + 96), e);
  }
  if (i + 64 <= n) {
    const __m256i a = Load32(s + i), b = Load32(s + i + 32);
    _mm256_stream_si256(reinterpret_cast<__m256i*>(d + i), a);
    _mm256_stream_si256(reinterpret_cast<__m256i*>(d + i + 32), b);
    i += 64;
  }
  CopyForward(s + i, d + i, n - i);
}

// The streaming copy of rows whose destination is 64-byte aligned and whose
// length is a multiple of 32: no head, no tail.
inline void CopyStreamAligned(const uint8_t* s, uint8_t* d, size_t n) {
  for (size_t i = 0; i < n; i += 32) {
    _mm256_stream_si256(reinterpret_cast<__m256i*>(d + i), Load32(s + i));
  }
}

// Non-temporal loads (they matter on write-combining memory; on ordinary
// memory they read like plain loads), where the source is 32-byte aligned.
// kStreamStore also writes with non-temporal stores, over whole 64-byte lines
// of the destination as CopyStream does; the loads are then non-temporal only
// when the source is aligned at the same points.
template <bool kStreamStore>
inline void CopyStreamLoad(const uint8_t* s, uint8_t* d, size_t n) {
  constexpr size_t kBlock = kStreamStore ? 64 : 32;
  const uint8_t* anchor = kStreamStore ? d : s;
  const size_t head = (0 - reinterpret_cast<uintptr_t>(anchor)) & (kBlock - 1);
  if (head + kBlock > n) return CopyForward(s, d, n);
  CopyForward(s, d, head);
  const bool stream_load = (reinterpret_cast<uintptr_t>(s + head) & 31) == 0;
  auto load = [&](size_t at) {
    return stream_load ? _mm256_stream_load_si256(reinterpret_cast<const __m256i*>(s + at))
                       : Load32(s + at);
  };
  size_t i = head;
  for (; i + kBlock <= n; i += kBlock) {
    for (size_t k = 0; k < kBlock; k += 32) {
      if constexpr (kStreamStore)
        _mm256_stream_si256(reinterpret_cast<__m256i*>(d + i + k), load(i + k));
      else
        Store32(d + i + k, load(i + k));
    }
  }
  CopyForward(s + i, d + i, n - i);
}

// Rows of at most 511 bytes: each power of two of the width is one move of a
// fixed size, so no row loops over blocks.
template <size_t kBytes>
NYX_INLINE void MoveFixed(const uint8_t* s, uint8_t* d) {
  if constexpr (kBytes >= 32) {
    for (size_t i = 0; i < kBytes; i += 32) Store32(d + i, Load32(s + i));
  } else {
    __builtin_memcpy(d, s, kBytes);
  }
}

template <size_t kBit>
NYX_INLINE void ThinPart(const uint8_t* s, uint8_t* d, size_t n, size_t& off) {
  if (n & kBit) {
    MoveFixed<kBit>(s + off, d + off);
    off += kBit;
  }
}

NYX_INLINE void CopyThin(const uint8_t* s, uint8_t* d, size_t n) {
  size_t off = 0;
  ThinPart<256>(s, d, n, off);
  ThinPart<128>(s, d, n, off);
  ThinPart<64>(s, d, n, off);
  ThinPart<32>(s, d, n, off);
  ThinPart<16>(s, d, n, off);
  ThinPart<8>(s, d, n, off);
  ThinPart<4>(s, d, n, off);
  ThinPart<2>(s, d, n, off);
  ThinPart<1>(s, d, n, off);
}

// AC4 rows of n samples: the first three samples of each pixel move, the
// fourth of the destination stays.
template <class U>
inline void CopyKeepAlpha(const U* s, U* d, size_t n) {
  ForEachBlock<U>(n, [&]<template <class> class V>(size_t i) {
    const V<U> keep = AlphaLanes<V<U>>(i);
    StoreU(IfThenElse(keep, V<U>::LoadU(d + i), V<U>::LoadU(s + i)), d + i);
  });
}

// ---------------------------------------------------------------------------
// Pattern fill. A pattern is a 128-byte table whose bytes repeat with a period
// that divides 96 (1, 2, 3, 4, 6, 8, 12 or 16 bytes): the first 96 bytes hold
// whole periods, and the last 32 repeat the first 32, so that 32 bytes read at
// any offset below 96 continue the pattern from that offset.

struct Pattern {
  alignas(32) uint8_t bytes[128];
  bool uniform;  // every byte the same
};

inline Pattern MakePattern(const uint8_t* value, int period) {
  Pattern p;
  p.uniform = true;
  for (int i = 0; i < 128; ++i) {
    p.bytes[i] = value[(i % 96) % period];
    p.uniform = p.uniform && p.bytes[i] == p.bytes[0];
  }
  return p;
}

// Writes n bytes of the pattern (phase 0 at d): the head up to a 32-byte
// boundary, 96-byte rounds of aligned stores, then the rest.
template <bool kStream>
inline void FillPattern(uint8_t* d, size_t n, const Pattern& pat) {
  if (!kStream && n >= kStringMoveFrom && pat.uniform) {
    __asm__ volatile("rep stosb" : "+D"(d), "+c"(n) : "a"(pat.bytes[0]) : "memory");
    return;
  }
  size_t head = (0 - reinterpret_cast<uintptr_t>(d)) & 31;
  if (head > n) head = n;
  __builtin_memcpy(d, pat.bytes, head);
  size_t i = head;
  const __m256i r0 = Load32(pat.bytes + head);
  const __m256i r1 = Load32(pat.bytes + (head + 32) % 96);
  const __m256i r2 = Load32(pat.bytes + (head + 64) % 96);
  auto put = [&](size_t at, __m256i v) {
    if constexpr (kStream)
      _mm256_stream_si256(reinterpret_cast<__m256i*>(d + at), v);
    else
      _mm256_store_si256(reinterpret_cast<__m256i*>(d + at), v);
  };
  for (; i + 192 <= n; i += 192) {
    put(i, r0), put(i + 32, r1), put(i + 64, r2);
    put(i + 96, r0), put(i + 128, r1), put(i + 160, r2);
  }
  if (i + 96 <= n) put(i, r0), put(i + 32, r1), put(i + 64, r2), i += 96;
  if (i + 32 <= n) put(i, r0), i += 32;
  if (i + 32 <= n) put(i, r1), i += 32;
  const size_t phase = i % 96;
  __builtin_memcpy(d + i, pat.bytes + phase, n - i);
}

}  // namespace nyx::avx2
