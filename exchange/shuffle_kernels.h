// Byte-shuffle kernels for channel moves between interleaved and planar
// layouts (SwapChannels, Dup, the planar copies).
//
// Kernel contract: any pixel count from 1; no read or write outside the
// pixels given; a destination may equal its source exactly (all samples of
// a pixel are read before any is written) but not partly overlap it; results
// do not depend on how the count splits into blocks.
//
// The vector path works on blocks of 16 / sample-size pixels. Each side of a
// block is a few 16-byte chunks: an interleaved image of c channels is c
// consecutive chunks, a planar image one chunk per plane. Every output byte is
// one input byte of the same block, a fill byte, or a byte the destination
// keeps, so an output chunk is the OR of one byte shuffle per input chunk
// (indices with the top bit set give zero), then the fill, then the blend
// with the kept bytes. One 256-bit register carries two blocks, one per
// 128-bit lane, since the byte shuffle does not cross lanes.
//
// Streaming rounds (kStream) write with non-temporal stores: the destination
// lines are never read into the cache before they are overwritten. ShuffleRow
// gives them a destination side on 64-byte boundaries (a head of single
// pixels) and an even number of rounds, so that they write whole lines only;
// a line written partly streamed and partly cached is read back and written
// twice. They do not fence: the caller ends a run of them with a store fence.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "core/simd/prefetch.h"
#include "core/simd/vec.h"

namespace nyx::avx2 {

// Destination channel c takes source channel order[c]; kFillChannel takes
// the fill value, kKeepChannel keeps the destination's sample.
inline constexpr int kFillChannel = -1;
inline constexpr int kKeepChannel = -2;

// A side of the vector path: chunk k of lane b in round r lies at
// base[k] + b * lane_step + r * round_step.
struct ShuffleSide {
  uint8_t* base[4];
  ptrdiff_t lane_step, round_step;
};

struct ShufflePlan {
  int sample;                 // bytes per sample: 1, 2 or 4
  int in_ch, out_ch;          // channels of a source and a destination pixel
  int in_chunks, out_chunks;  // 16-byte chunks of one block
  int order[4];
  uint8_t fill_value[4][4];  // bytes of the fill sample, per channel
  alignas(32) uint8_t mask[4][4][16];
  alignas(32) uint8_t fill[4][16];
  alignas(32) uint8_t keep[4][16];
  bool used[4][4];
  bool any_fill, any_keep;
  // Cheaper forms of the same moves, when the layouts allow them (below):
  // kShuffleFirst: one shuffle per input chunk (pre), then a select per pair;
  // kSelectFirst: a select per pair, then one shuffle per output chunk (post);
  // kTranspose (four channels in order, one side planar): see Transpose4.
  enum Mode { kGeneral, kShuffleFirst, kSelectFirst, kTranspose } mode;
  alignas(32) uint8_t pre[4][16];
  alignas(32) uint8_t post[4][16];
  alignas(32) uint8_t sel[4][4][16];
  void (*rounds)(const ShufflePlan&, ShuffleSide, ShuffleSide, size_t);  // picked by the builder
  // The streaming form of `rounds` for a planar move, or null.
  void (*stream_rounds)(const ShufflePlan&, ShuffleSide, ShuffleSide, size_t);
};

// Fills the shuffles. `in_planar`/`out_planar` say whether a side is planar
// (one chunk per channel) or interleaved (one chunk per 16 bytes).
inline void FillShufflePlan(ShufflePlan& p, bool in_planar, bool out_planar) {
  const int pixels = 16 / p.sample;  // pixels of a block
  p.in_chunks = p.in_ch;             // planar: one plane chunk each; interleaved: c chunks
  p.out_chunks = p.out_ch;
  p.any_fill = p.any_keep = false;
  for (int j = 0; j < 4; ++j) {
    for (int b = 0; b < 16; ++b) p.fill[j][b] = p.keep[j][b] = 0;
    for (int k = 0; k < 4; ++k) {
      p.used[j][k] = false;
      for (int b = 0; b < 16; ++b) p.mask[j][k][b] = 0x80;
    }
  }
  for (int x = 0; x < pixels; ++x) {
    for (int c = 0; c < p.out_ch; ++c) {
      for (int k = 0; k < p.sample; ++k) {
        const int ob = out_planar ? c * 16 + x * p.sample + k : (x * p.out_ch + c) * p.sample + k;
        const int j = ob / 16, b = ob % 16;
        const int src = p.order[c];
        if (src == kKeepChannel) {
          p.keep[j][b] = 0xff, p.any_keep = true;
        } else if (src == kFillChannel) {
          p.fill[j][b] = p.fill_value[c][k], p.any_fill = true;
        } else {
          const int ib =
              in_planar ? src * 16 + x * p.sample + k : (x * p.in_ch + src) * p.sample + k;
          p.mask[j][ib / 16][b] = static_cast<uint8_t>(ib % 16);
          p.used[j][ib / 16] = true;
        }
      }
    }
  }
}

inline ShuffleSide InterleavedSide(const void* p, int channels) {
  ShuffleSide s;
  for (int k = 0; k < 4; ++k) s.base[k] = static_cast<uint8_t*>(const_cast<void*>(p)) + 16 * k;
  s.lane_step = 16 * channels;
  s.round_step = 32 * channels;
  return s;
}
inline ShuffleSide PlanarSide(const void* const* planes, int channels) {
  ShuffleSide s;
  for (int k = 0; k < 4; ++k) {
    s.base[k] = static_cast<uint8_t*>(const_cast<void*>(planes[k < channels ? k : 0]));
  }
  s.lane_step = 16;
  s.round_step = 32;
  return s;
}

NYX_INLINE __m256i LoadLanes(const uint8_t* lo, const uint8_t* hi) {
  return _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(hi),
                             reinterpret_cast<const __m128i*>(lo));
}

// Four channels between planes and pixels. Viewed as four 32-bit groups, a
// plane chunk holds groups (g0 g1 g2 g3), each 4 / sample pixels of one
// channel; the interleaved chunk j, once its bytes are sorted by channel
// (pre), holds group j of each plane. Moving between the two is a 4x4
// transpose of 32-bit elements (eight unpacks, per 128-bit lane), and the
// transpose is its own inverse: a merge transposes and then sorts the bytes of
// each chunk by pixel (post), a split sorts by channel (pre) and transposes.
NYX_INLINE void Transpose4(const __m256i* v, __m256i* t) {
  const __m256i a = _mm256_unpacklo_epi32(v[0], v[1]), b = _mm256_unpackhi_epi32(v[0], v[1]);
  const __m256i c = _mm256_unpacklo_epi32(v[2], v[3]), d = _mm256_unpackhi_epi32(v[2], v[3]);
  t[0] = _mm256_unpacklo_epi64(a, c), t[1] = _mm256_unpackhi_epi64(a, c);
  t[2] = _mm256_unpacklo_epi64(b, d), t[3] = _mm256_unpackhi_epi64(b, d);
}

// Fills pre (by channel) and post (by pixel) of the transpose mode: byte k of
// pixel x, channel c lies at (x * 4 + c) * sample + k in a pixel chunk and at
// c * 4 + x * sample + k in a chunk sorted by channel.
inline void FillTransposeShuffles(ShufflePlan& p) {
  for (int x = 0; x < 4 / p.sample; ++x) {
    for (int c = 0; c < 4; ++c) {
      for (int k = 0; k < p.sample; ++k) {
        const int by_pixel = (x * 4 + c) * p.sample + k, by_channel = c * 4 + x * p.sample + k;
        for (int j = 0; j < 4; ++j) {
          p.pre[j][by_channel] = static_cast<uint8_t>(by_pixel);
          p.post[j][by_pixel] = static_cast<uint8_t>(by_channel);
        }
      }
    }
  }
}

// The rounds fetch each stream's data this many rounds ahead (1 KiB of a
// plane, 3 or 4 KiB of an interleaved row): the hardware prefetcher alone
// keeps too few of the three to four streams in flight. Destination lines are
// fetched for writing, so that the store later finds them owned. A prefetch
// never faults, also past the end of an image (core/simd/prefetch.h).
inline constexpr ptrdiff_t kPrefetchRounds = 32;

// Runs `rounds` rounds of two blocks each, with kIn and kOut chunks a block.
template <int kIn, int kOut, bool kFill, bool kKeep, bool kInPlanar = false,
          bool kOutPlanar = false, ShufflePlan::Mode kMode = ShufflePlan::kGeneral,
          bool kStream = false>
void ShuffleRounds(const ShufflePlan& p, ShuffleSide in, ShuffleSide out, size_t rounds) {
  auto wide = [](const uint8_t* m) {
    return _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(m)));
  };
  __m256i mask[kOut][kIn], fill[kOut], keep[kOut], pre[kIn], post[kOut];
  for (int k = 0; k < kIn; ++k) pre[k] = wide(p.pre[k]);
  for (int j = 0; j < kOut; ++j) {
    post[j] = wide(p.post[j]);
    for (int k = 0; k < kIn; ++k) {
      // An unused pair keeps an all-zero shuffle, so it adds nothing.
      mask[j][k] = wide(kMode == ShufflePlan::kGeneral ? p.mask[j][k] : p.sel[j][k]);
    }
    fill[j] =
        _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(p.fill[j])));
    keep[j] =
        _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(p.keep[j])));
  }
  // Which pairs matter is fixed by the layouts; the tests below are the same
  // in every round.
  bool used[kOut][kIn];
  for (int j = 0; j < kOut; ++j) {
    for (int k = 0; k < kIn; ++k) used[j][k] = p.used[j][k];
  }
  const uint8_t* ib[kIn];
  uint8_t* ob[kOut];
  for (int k = 0; k < kIn; ++k) ib[k] = in.base[k];
  for (int j = 0; j < kOut; ++j) ob[j] = out.base[j];
  const ptrdiff_t il = in.lane_step, ol = out.lane_step;
  const ptrdiff_t in_ahead = kPrefetchRounds * in.round_step;
  const ptrdiff_t out_ahead = kPrefetchRounds * out.round_step;
  for (size_t r = 0; r < rounds; ++r) {
    // Every second round, one prefetch per line: two rounds advance a plane
    // by 64 bytes and an interleaved row of c channels by c lines.
    if ((r & 1) == 0) {
      for (int k = 0; k < kIn; ++k) {
        PrefetchRead(kInPlanar ? ib[k] : ib[0], kInPlanar ? in_ahead : in_ahead + 64 * k);
      }
      // Streamed lines are not fetched at all.
      for (int j = 0; j < kOut && !kStream; ++j) {
        PrefetchWrite(kOutPlanar ? ob[j] : ob[0], kOutPlanar ? out_ahead : out_ahead + 64 * j);
      }
    }
    __m256i v[kIn];
    for (int k = 0; k < kIn; ++k) {
      // A plane's two blocks are adjacent: one load.
      v[k] = kInPlanar ? _mm256_loadu_si256(reinterpret_cast<const __m256i*>(ib[k]))
                       : LoadLanes(ib[k], ib[k] + il);
    }
    constexpr bool kTranspose = kMode == ShufflePlan::kTranspose;
    if constexpr (kMode == ShufflePlan::kShuffleFirst || (kTranspose && !kInPlanar)) {
      for (int k = 0; k < kIn; ++k) v[k] = _mm256_shuffle_epi8(v[k], pre[k]);
    }
    __m256i res[kOut];
    if constexpr (kTranspose) {
      Transpose4(v, res);
      if constexpr (kInPlanar) {
        for (int j = 0; j < kOut; ++j) res[j] = _mm256_shuffle_epi8(res[j], post[j]);
      }
    }
    for (int j = 0; j < kOut && !kTranspose; ++j) {
      __m256i acc = kFill ? fill[j] : _mm256_setzero_si256();
      for (int k = 0; k < kIn; ++k) {
        // In the select modes an unused pair has an all-zero select: no test.
        if (kMode == ShufflePlan::kGeneral && !used[j][k]) continue;
        if constexpr (kMode == ShufflePlan::kGeneral) {
          acc = _mm256_or_si256(acc, _mm256_shuffle_epi8(v[k], mask[j][k]));
        } else {
          acc = _mm256_or_si256(acc, _mm256_and_si256(v[k], mask[j][k]));
        }
      }
      if constexpr (kMode == ShufflePlan::kSelectFirst) acc = _mm256_shuffle_epi8(acc, post[j]);
      if constexpr (kKeep) {
        const __m256i old = LoadLanes(ob[j], ob[j] + ol);
        acc = _mm256_blendv_epi8(acc, old, keep[j]);
      }
      res[j] = acc;
    }
    auto put = [](uint8_t* at, __m256i v) {
      if constexpr (kStream)
        _mm256_stream_si256(reinterpret_cast<__m256i*>(at), v);
      else
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(at), v);
    };
    if constexpr (kOutPlanar) {
      for (int j = 0; j < kOut; ++j) put(ob[j], res[j]);
    } else if constexpr (kOut == 3 || kOut == 4) {
      // The two blocks are adjacent: chunks A0..A(n-1) B0..B(n-1) go out as
      // whole 256-bit stores, pairing lanes across the results.
      uint8_t* o = ob[0];
      if constexpr (kOut == 3) {
        put(o, _mm256_permute2x128_si256(res[0], res[1], 0x20));
        put(o + 32, _mm256_permute2x128_si256(res[2], res[0], 0x30));
        put(o + 64, _mm256_permute2x128_si256(res[1], res[2], 0x31));
      } else {
        put(o, _mm256_permute2x128_si256(res[0], res[1], 0x20));
        put(o + 32, _mm256_permute2x128_si256(res[2], res[3], 0x20));
        put(o + 64, _mm256_permute2x128_si256(res[0], res[1], 0x31));
        put(o + 96, _mm256_permute2x128_si256(res[2], res[3], 0x31));
      }
    } else {
      for (int j = 0; j < kOut; ++j) {
        _mm256_storeu2_m128i(reinterpret_cast<__m128i*>(ob[j] + ol),
                             reinterpret_cast<__m128i*>(ob[j]), res[j]);
      }
    }
    for (int k = 0; k < kIn; ++k) ib[k] += in.round_step;
    for (int j = 0; j < kOut; ++j) ob[j] += out.round_step;
  }
}

using ShuffleRoundsFn = void (*)(const ShufflePlan&, ShuffleSide, ShuffleSide, size_t);

template <int kIn, int kOut>
ShuffleRoundsFn PickRounds(const ShufflePlan& p) {
  if (p.any_fill)
    return p.any_keep ? ShuffleRounds<kIn, kOut, true, true>
                      : ShuffleRounds<kIn, kOut, true, false>;
  return p.any_keep ? ShuffleRounds<kIn, kOut, false, true>
                    : ShuffleRounds<kIn, kOut, false, false>;
}

// The rounds kernel of a planar move (one side planar, the other
// interleaved; no fill, no kept channel).
template <bool kInPlanar, bool kStream>
ShuffleRoundsFn PickPlanarRounds(const ShufflePlan& p) {
  using M = ShufflePlan;
  constexpr bool kOutPlanar = !kInPlanar;
  if (p.in_chunks == 4) {
    if (p.mode == M::kTranspose)
      return ShuffleRounds<4, 4, false, false, kInPlanar, kOutPlanar, M::kTranspose, kStream>;
    return ShuffleRounds<4, 4, false, false, kInPlanar, kOutPlanar, M::kGeneral, kStream>;
  }
  if (p.mode == M::kShuffleFirst)
    return ShuffleRounds<3, 3, false, false, kInPlanar, kOutPlanar, M::kShuffleFirst, kStream>;
  if (p.mode == M::kSelectFirst)
    return ShuffleRounds<3, 3, false, false, kInPlanar, kOutPlanar, M::kSelectFirst, kStream>;
  return ShuffleRounds<3, 3, false, false, kInPlanar, kOutPlanar, M::kGeneral, kStream>;
}

// The rounds kernel for the plan's chunk counts.
inline ShuffleRoundsFn PickRounds(const ShufflePlan& p, bool in_planar, bool out_planar) {
  if (in_planar) return PickPlanarRounds<true, false>(p);
  if (out_planar) return PickPlanarRounds<false, false>(p);
  switch (p.in_chunks * 8 + p.out_chunks) {
    case 1 * 8 + 3:
      return PickRounds<1, 3>(p);
    case 1 * 8 + 4:
      return PickRounds<1, 4>(p);
    case 3 * 8 + 3:
      return PickRounds<3, 3>(p);
    case 3 * 8 + 4:
      return PickRounds<3, 4>(p);
    case 4 * 8 + 3:
      return PickRounds<4, 3>(p);
    default:
      return PickRounds<4, 4>(p);
  }
}

// Tries the two cheaper modes. Shuffle first works when every byte position
// of every input chunk feeds the same position in whichever output chunk uses
// it (the three planes of a merge); select first when no two input chunks
// feed the same position of one output chunk (the three planes of a split).
inline void PickShuffleMode(ShufflePlan& p) {
  p.mode = ShufflePlan::kGeneral;
  if (p.any_fill || p.any_keep) return;
  bool shuffle_first = true, select_first = true;
  for (int k = 0; k < p.in_chunks; ++k) {
    for (int b = 0; b < 16; ++b) {
      p.pre[k][b] = 0x80;
      for (int j = 0; j < p.out_chunks; ++j) {
        const uint8_t m = p.mask[j][k][b];
        if (m == 0x80) continue;
        if (p.pre[k][b] != 0x80 && p.pre[k][b] != m) shuffle_first = false;
        p.pre[k][b] = m;
      }
    }
  }
  for (int j = 0; j < p.out_chunks; ++j) {
    int owner[16];
    for (int i = 0; i < 16; ++i) owner[i] = -1;
    for (int b = 0; b < 16; ++b) {
      p.post[j][b] = 0x80;
      for (int k = 0; k < p.in_chunks; ++k) {
        const uint8_t m = p.mask[j][k][b];
        if (m == 0x80) continue;
        if (owner[m] != -1 && owner[m] != k) select_first = false;
        owner[m] = k;
        p.post[j][b] = m;
      }
    }
    for (int k = 0; k < p.in_chunks; ++k) {
      for (int i = 0; i < 16; ++i) {
        p.sel[j][k][i] =
            shuffle_first ? (p.mask[j][k][i] != 0x80 ? 0xff : 0) : (owner[i] == k ? 0xff : 0);
      }
    }
  }
  if (shuffle_first)
    p.mode = ShufflePlan::kShuffleFirst;
  else if (select_first)
    p.mode = ShufflePlan::kSelectFirst;
}

// Builds the plan and picks its rounds kernel, once per call. `stream` asks
// for non-temporal stores; only planar moves have them.
inline void BuildShufflePlan(ShufflePlan& p, bool in_planar, bool out_planar,
                             bool stream = false) {
  FillShufflePlan(p, in_planar, out_planar);
  PickShuffleMode(p);
  bool in_order = p.in_ch == 4 && p.out_ch == 4 && !p.any_fill && !p.any_keep;
  for (int c = 0; c < 4 && in_order; ++c) in_order = p.order[c] == c;
  if (in_order && in_planar != out_planar) {
    p.mode = ShufflePlan::kTranspose;
    FillTransposeShuffles(p);
  }
  p.rounds = PickRounds(p, in_planar, out_planar);
  p.stream_rounds = nullptr;
  if (stream && in_planar != out_planar) {
    p.stream_rounds =
        in_planar ? PickPlanarRounds<true, true>(p) : PickPlanarRounds<false, true>(p);
  }
}

// One pixel at a time, for the pixels after the last full round. Sample x of
// channel c of a side is at base[c] + x * pixel_step (interleaved: base[c] =
// p + c * sample, pixel_step = channels * sample; planar: the plane,
// pixel_step = sample).
template <class U>
inline void ShufflePixels(const ShufflePlan& p, const uint8_t* const* in, ptrdiff_t in_px,
                          uint8_t* const* out, ptrdiff_t out_px, size_t from, size_t to) {
  for (size_t x = from; x < to; ++x) {
    U px[4];
    for (int c = 0; c < p.in_ch; ++c) __builtin_memcpy(&px[c], in[c] + x * in_px, sizeof(U));
    for (int c = 0; c < p.out_ch; ++c) {
      const int src = p.order[c];
      if (src == kKeepChannel) continue;
      U v;
      if (src == kFillChannel)
        __builtin_memcpy(&v, p.fill_value[c], sizeof(U));
      else
        v = px[src];
      __builtin_memcpy(out[c] + x * out_px, &v, sizeof(U));
    }
  }
}

}  // namespace nyx::avx2

namespace nyx::avx2 {

// The number of leading pixels (below 64) after which every destination
// pointer of the side is on a 64-byte line boundary, or -1 when no count
// aligns them all (planes at different offsets, a pointer between samples).
// The smallest count that aligns the first pointer is the only candidate: the
// others must then share its offset modulo 64.
inline int AlignHead(void* const* out, int pointers, size_t pixel_bytes) {
  const uintptr_t first = reinterpret_cast<uintptr_t>(out[0]);
  int h = 0;
  while (h < 64 && ((first + h * pixel_bytes) & 63) != 0) ++h;
  if (h == 64) return -1;
  for (int c = 1; c < pointers; ++c) {
    if (((reinterpret_cast<uintptr_t>(out[c]) - first) & 63) != 0) return -1;
  }
  return h;
}

// One row of `width` pixels. A side is interleaved (ptrs[0] is the row) or
// planar (ptrs[c] is channel c's plane row). With streaming rounds in the
// plan and a destination that can be aligned, the pixels up to the alignment
// go one at a time, then an even number of streaming rounds (two rounds end
// each plane, and an interleaved row of 3 or 4 channels, on a line boundary),
// then the remaining pixels one at a time.
template <class U>
inline void ShuffleRow(const ShufflePlan& p, const void* const* in, bool in_planar,
                       void* const* out, bool out_planar, size_t width) {
  const size_t per_round = 32 / sizeof(U);
  const size_t ipx = in_planar ? sizeof(U) : p.in_ch * sizeof(U);
  const size_t opx = out_planar ? sizeof(U) : p.out_ch * sizeof(U);
  ShuffleRoundsFn rounds_fn = p.rounds;
  size_t head = 0;
  bool streamed = false;
  if (p.stream_rounds != nullptr && width >= 64 + 2 * per_round) {
    const int h = AlignHead(out, out_planar ? p.out_ch : 1, opx);
    if (h >= 0) rounds_fn = p.stream_rounds, head = static_cast<size_t>(h), streamed = true;
  }
  size_t rounds = (width - head) / per_round;
  if (streamed) rounds &= ~size_t{1};
  const size_t body_end = head + rounds * per_round;
  const uint8_t* ib[4];
  uint8_t* ob[4];
  for (int c = 0; c < 4; ++c) {
    ib[c] = static_cast<const uint8_t*>(in_planar ? in[c < p.in_ch ? c : 0] : in[0]) +
            (in_planar ? 0 : c * sizeof(U));
    ob[c] = static_cast<uint8_t*>(out_planar ? out[c < p.out_ch ? c : 0] : out[0]) +
            (out_planar ? 0 : c * sizeof(U));
  }
  ShufflePixels<U>(p, ib, ipx, ob, opx, 0, head);
  if (rounds) {
    const void* ip[4] = {};
    void* op[4] = {};
    for (int c = 0; c < (in_planar ? p.in_ch : 1); ++c) {
      ip[c] = static_cast<const uint8_t*>(in[c]) + head * ipx;
    }
    for (int c = 0; c < (out_planar ? p.out_ch : 1); ++c) {
      op[c] = static_cast<uint8_t*>(out[c]) + head * opx;
    }
    const ShuffleSide si = in_planar ? PlanarSide(ip, p.in_ch) : InterleavedSide(ip[0], p.in_ch);
    const ShuffleSide so =
        out_planar ? PlanarSide(op, p.out_ch) : InterleavedSide(op[0], p.out_ch);
    rounds_fn(p, si, so, rounds);
  }
  ShufflePixels<U>(p, ib, ipx, ob, opx, body_end, width);
}

}  // namespace nyx::avx2
