// Row kernels of the conversion family (nyxiConvert, nyxiScale, nyxiScaleC).
//
// Kernel contract (all kernels of this file): any count n from 1; no read or
// write outside [p, p + n) of each row; the destination may equal the source
// exactly (same sample width) but must not partly overlap it; results do not
// depend on how n splits into vector blocks. kAlpha kernels leave every fourth
// sample of the destination as it was (the row is a run of four-sample
// pixels).
//
// One kernel, MapRow, serves every conversion: it loads a block of source
// samples as lanes of a working type W, applies an operation, and stores the
// result as destination samples (see core/simd/convert_ops.h for what loads
// and stores do at each pair of types). An operation is a small struct with
// its constants and a generic call operator over the lane kind, so that full
// vectors and the one-sample tail run the same code.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "core/simd/convert_ops.h"
#include "core/simd/prefetch.h"

namespace nyx::avx2 {

// Lanes whose bits are the destination samples as they are.
template <class W, class D>
inline constexpr bool kStoresBits = std::is_same_v<W, D> ||
                                    (std::is_integral_v<W> && std::is_integral_v<D> &&
                                     sizeof(W) == sizeof(D));

// How far ahead of the loads a widening kernel asks for its source.
inline constexpr size_t kPrefetchBytes = 512;

// Stores a vector block with a non-temporal hint (the destination is 32-byte
// aligned and the lanes hold its bits).
template <class W, class D>
NYX_INLINE void StreamStore(Vec<W> v, D* p) {
  if constexpr (std::is_same_v<W, float>)
    _mm256_stream_ps(p, v.raw);
  else if constexpr (std::is_same_v<W, double>)
    _mm256_stream_pd(p, v.raw);
  else
    _mm256_stream_si256(reinterpret_cast<__m256i*>(p), v.raw);
}

// kStream asks for non-temporal stores (for outputs too large to stay in the
// cache); it applies where the working lanes are the destination's type and
// the destination reaches a 32-byte boundary, and changes no result.
template <class S, class D, class W, class Op, bool kAlpha, bool kStream = false>
void MapRow(const S* s, D* d, size_t n, Op op) {
  bool aligned = false;
  if constexpr (!kAlpha) {
    // Single samples up to a 32-byte boundary of the destination, so that the
    // vector stores do not straddle cache lines (alpha kernels keep their
    // blocks on pixel boundaries instead); streamed rows go up to a 64-byte
    // line boundary.
    constexpr uintptr_t kAlign = kStream && kStoresBits<W, D> ? 63 : 31;
    const size_t gap = (0 - reinterpret_cast<uintptr_t>(d)) & kAlign;
    const size_t head = gap / sizeof(D);
    if (head * sizeof(D) == gap && head < n) {
      for (size_t i = 0; i < head; ++i) StoreAs(op(LoadAs<Lane, W>(s + i)), d + i);
      s += head;
      d += head;
      n -= head;
      aligned = true;
    }
  }
  if constexpr (kStream && kStoresBits<W, D>) {
    // Whole lines (two vectors) with non-temporal stores; the rest of the row
    // goes through the cached paths below, so that no line is written partly
    // each way (such a line is read back and written twice).
    if (aligned) {
      constexpr size_t kLine = 2 * Vec<W>::kLanes;
      const size_t lines = n / kLine * kLine;
      for (size_t i = 0; i < lines; i += kLine) {
        StreamStore(op(LoadAs<Vec, W>(s + i)), d + i);
        StreamStore(op(LoadAs<Vec, W>(s + i + kLine / 2)), d + i + kLine / 2);
      }
      _mm_sfence();
      s += lines;
      d += lines;
      n -= lines;
    }
  }
  // Narrowing to a smaller integer type: several result vectors are packed
  // into one full store.
  using R = typename decltype(op(Vec<W>::Zero()))::Sample;
  constexpr size_t kPack = kAlpha ? 1 : kPackCount<R, D>;
  if constexpr (kPack > 1) {
    constexpr size_t kN = Vec<W>::kLanes;
    size_t i = 0;
    auto pack = [&](size_t at) {
      Vec<R> r[kPack];
      for (size_t k = 0; k < kPack; ++k) r[k] = op(LoadAs<Vec, W>(s + at + k * kN));
      PackStore(r, d + at);
    };
    for (; i + 2 * kPack * kN <= n; i += 2 * kPack * kN) {
      pack(i);
      pack(i + kPack * kN);
    }
    if (i + kPack * kN <= n) {
      pack(i);
      i += kPack * kN;
    }
    s += i;
    d += i;
    n -= i;
  }
  if constexpr (!kAlpha && kPack == 1 && sizeof(S) < sizeof(D)) {
    // Widening: the destination stream is two to eight times the source's.
    // Rows that run from the outer caches go at the speed of their stores
    // when the source is asked for kPrefetchBytes early and the rounds are
    // two vectors long (four-vector rounds measured up to a tenth slower
    // there). The prefetch stays inside the row: the last kPrefetchBytes of
    // the source go without it.
    constexpr size_t kN = Vec<W>::kLanes;
    constexpr size_t kAhead = kPrefetchBytes / sizeof(S);
    size_t i = 0;
    for (; i + kAhead + 2 * kN <= n; i += 2 * kN) {
      PrefetchRead(s + i, kPrefetchBytes);
      StoreAs(op(LoadAs<Vec, W>(s + i)), d + i);
      StoreAs(op(LoadAs<Vec, W>(s + i + kN)), d + i + kN);
    }
    s += i;
    d += i;
    n -= i;
  } else if constexpr (!kAlpha && kPack == 1) {
    // Four vectors a round, then the block loop for the rest.
    constexpr size_t kN = Vec<W>::kLanes;
    size_t i = 0;
    for (; i + 4 * kN <= n; i += 4 * kN) {
      for (size_t k = 0; k < 4; ++k) StoreAs(op(LoadAs<Vec, W>(s + i + k * kN)), d + i + k * kN);
    }
    s += i;
    d += i;
    n -= i;
  }
  ForEachBlock<W>(n, [&]<template <class> class V>(size_t i) {
    auto y = op(LoadAs<V, W>(s + i));
    if constexpr (kAlpha) {
      // The destination's alpha comes back through the working type, which
      // holds every destination value exactly and converts it back unchanged.
      using R = typename decltype(y)::Sample;
      y = IfThenElse(AlphaLanes<V<R>>(i), LoadAs<V, R>(d + i), y);
    }
    StoreAs(y, d + i);
  });
}

// ---------------------------------------------------------------------------
// Operations of nyxiConvert.

struct Same {
  template <class V>
  NYX_INLINE V operator()(V x) const {
    return x;
  }
};

// Negative samples become 0 (signed to unsigned forms).
struct ClampNegative {
  template <class V>
  NYX_INLINE V operator()(V x) const {
    return Max(x, V::Zero());
  }
};

// Float to integer, ties away from zero, run with the control word set to
// truncation: y = min(x, top of D) (NaN gives the top), then y + 0.5 with the
// sign of y; the store truncates. Adding 0.5 with truncation cannot round up
// to the next integer, so the result is exact for every finite y.
template <class D>
struct HalfAwayTruncating {
  template <class V>
  NYX_INLINE V operator()(V x) const {
    const V y = Min(x, HighOf<D, V>());
    return Add(y, CopySign(V::Set(0.5f), y));
  }
};

// The float-to-integer forms with a scale factor: y = x times 2^-sf, rounded
// by mode (0 truncate, 1 nearest even, 2 ties away), saturated to D; NaN gives
// D's minimum. Run with the control word set to truncation, so the fused
// multiply-add of mode 2 is rounded once, toward zero.
template <class D, class F, int kMode>
struct ScaledRound {
  F factor;
  template <class V>
  NYX_INLINE auto operator()(V x) const {
    const V f = V::Set(factor);
    V y;
    if constexpr (kMode == 0)
      y = Mul(x, f);
    else if constexpr (kMode == 1)
      y = RoundWith<_MM_FROUND_TO_NEAREST_INT>(Mul(x, f));
    else
      y = MulAdd(x, f, CopySign(V::Set(F(0.5)), x));
    if constexpr (std::is_same_v<D, int32_t> && std::is_same_v<F, float>)
      return FloatToInt32Sat(y);
    else if constexpr (std::is_same_v<D, uint32_t>)
      return FloatToUint32Sat(y);
    else
      return ClampTo<D>(y);
  }
};

// Integer to integer with a scale factor, in double lanes where every step is
// exact: v = x times 2^-sf (the factor is a power of two within 2^-64..2^64,
// enough to give every result), rounded by mode, clamped to D.
template <class D, int kMode>
struct IntScaled {
  double factor;
  template <class V>
  NYX_INLINE V operator()(V x) const {
    const V v = Mul(x, V::Set(factor));
    V r;
    if constexpr (kMode == 0) {
      r = RoundWith<_MM_FROUND_TO_ZERO>(v);
    } else if constexpr (kMode == 1) {
      r = RoundWith<_MM_FROUND_TO_NEAREST_INT>(v);
    } else {
      // Ties away: the truncated value, plus one step away from zero when
      // the dropped fraction is at least one half (v - t is exact).
      const V t = RoundWith<_MM_FROUND_TO_ZERO>(v);
      const V frac = AndNot(V::Set(-0.0), Sub(v, t));
      r = Add(t, And(Ge(frac, V::Set(0.5)), CopySign(V::Set(1.0), v)));
    }
    return ClampTo<D>(r);
  }
};

// ---------------------------------------------------------------------------
// Operations of nyxiScale.

// 8u to 16 bits: (x << 8) | x, minus 32768 for the signed type (a flip of the
// top bit).
template <bool kSigned>
struct Replicate16 {
  template <class V>
  NYX_INLINE V operator()(V x) const {
    using T = typename V::Sample;
    const V r = Or(ShiftLeft(x, 8), x);
    return kSigned ? Xor(r, V::Set(T(0x8000))) : r;
  }
};

// 8u to 32s: the byte in all four bytes, top bit flipped.
struct Replicate32 {
  template <class V>
  NYX_INLINE V operator()(V x) const {
    return Xor(Mul(x, V::Set(0x01010101)), V::Set(INT32_MIN));
  }
};

// vMin + x * k with k = (vMax - vMin) * (1/255 as a single).
struct AffineUnfused {
  float offset, slope;
  template <class V>
  NYX_INLINE V operator()(V x) const {
    return Add(V::Set(offset), Mul(x, V::Set(slope)));
  }
};

// Fast narrowing to 8u: ((x - (x >> 8)) >> kShift) + 128 with arithmetic
// shifts; kFlip first maps 16u onto 16s (x - 32768, a flip of the top bit).
template <int kShift, bool kFlip>
struct ShiftNarrow {
  template <class V>
  NYX_INLINE V operator()(V x) const {
    using T = typename V::Sample;
    if constexpr (kFlip) x = Xor(x, V::Set(T(-0x8000)));
    return Add(ShiftRight(Sub(x, ShiftRight(x, 8)), kShift), V::Set(T(128)));
  }
};

// (x + bias) * scale, the store rounds (accurate narrowing of 16-bit data).
template <class F>
struct ScaleBias {
  F bias, scale;
  template <class V>
  NYX_INLINE V operator()(V x) const {
    return Mul(Add(x, V::Set(bias)), V::Set(scale));
  }
};

// x * scale + bias, unfused (accurate narrowing of 32s data).
struct MulThenAdd {
  double scale, bias;
  template <class V>
  NYX_INLINE V operator()(V x) const {
    return Add(Mul(x, V::Set(scale)), V::Set(bias));
  }
};

// fma(x, scale, bias) clamped to D (NaN gives D's minimum); the store rounds.
template <class D, class F>
struct FusedClamped {
  F scale, bias;
  template <class V>
  NYX_INLINE auto operator()(V x) const {
    const V y = MulAdd(x, V::Set(scale), V::Set(bias));
    if constexpr (std::is_floating_point_v<D>)
      return y;
    else if constexpr (sizeof(D) == 4 && std::is_same_v<F, float>)
      return FloatToInt32Sat(y);
    else
      return ClampTo<D>(y);
  }
};

// ---------------------------------------------------------------------------
// The fix-up pass of the float-to-integer conversion in modes 0 and 1. A value
// out of the 32-bit range converts to the indefinite integer, which lands on
// D's minimum; a destination sample holding that minimum whose source is a
// finite float above 1.0 (bit patterns 0x3F800001 to 0x7F7FFFFF) was too
// large, and becomes D's maximum. NaN and infinities keep the minimum.
template <class D, bool kAlpha>
void FixTooLargeRow(const float* s, D* d, size_t n, Same) {
  constexpr uint32_t kFirst = 0x3F800001u, kLast = 0x7F7FFFFFu;
  for (size_t i = 0; i < n; ++i) {
    if (kAlpha && (i & 3) == 3) continue;
    const uint32_t bits = std::bit_cast<uint32_t>(LoadOne(s + i));
    if (LoadOne(d + i) == std::numeric_limits<D>::min() && bits - kFirst <= kLast - kFirst) {
      StoreOne(std::numeric_limits<D>::max(), d + i);
    }
  }
}

}  // namespace nyx::avx2
