// The block of the general kernel filter, shared by its init calls and runs.
//
// The block starts at the caller's pointer aligned up to 64 bytes. A header
// of 128 bytes (the fields below, in this order) is followed by the flipped
// taps (16s, float or double by kind, each area a multiple of 64 bytes) and
// then a second table:
//   kinds 0, 1: the taps of each kernel row in pairs (t[2p], t[2p+1]) as
//               one 32-bit word of two 16-bit halves, the last pair of an
//               odd row padded with 0: kh * ceil(kw / 2) words; the integer
//               kernels read it;
//   kinds 3, 4, 5, and 6 with more than one channel: every tap 8 times;
//   kind 6 with one channel: every tap 16 times. The float kernels do not
//   read these copies (they broadcast the flipped taps, which costs the
//   same single load); the copies stay so that the block keeps the size
//   that the size query reports.
// There is no id tag: `kind` says what the block holds. The pointer fields
// record where the tables were at init; runs find them from the block's own
// start, so a block moved by a multiple of 64 bytes keeps working.
#pragma once

#include <cstddef>
#include <cstdint>

#include "nyx.h"

namespace nyx::kfilter {

enum Kind : int32_t {
  kInt8u = 0,
  kInt16s = 1,
  kFloat8u = 3,
  kFloat16s = 4,
  kFloat16u = 5,
  kFloat32f = 6,
  kFloat64f = 7,
};

inline constexpr int32_t kAccurateBit = 16;

struct SpecHeader {
  int32_t kind;
  int32_t kw, kh;
  int32_t divisor_class;  // 0: divisor 1; 1: a power of two; 2: any other
  int32_t shift;
  int32_t half;
  float reciprocal;
  float divisor_f;
  int32_t divisor;
  double divisor_d;
  int32_t shift_mask;
  float divisor_f2;
  int32_t round_mode;  // bits 0-3 mode, bit 4 the accurate integer path
  int32_t offset;
  float offset_f;
  int32_t hint;
  const void* taps;
  const void* prepared;
  int32_t prepared_count;
  int32_t num_channels;
};
static_assert(offsetof(SpecHeader, divisor_d) == 40 && offsetof(SpecHeader, taps) == 72 &&
                  offsetof(SpecHeader, num_channels) == 92 && sizeof(SpecHeader) == 96,
              "header layout");

inline constexpr size_t kHeaderBytes = 128;

inline size_t Align64(size_t n) { return (n + 63) & ~size_t{63}; }

// Bytes of the flipped tap array for a kind.
inline size_t TapBytes(int32_t kind, int64_t kw, int64_t kh) {
  const size_t e = kind == kInt8u || kind == kInt16s ? 2 : (kind == kFloat64f ? 8 : 4);
  return Align64(static_cast<size_t>(kw * kh) * e);
}

inline uint8_t* TapsOf(uint8_t* block) { return block + kHeaderBytes; }
inline const uint8_t* TapsOf(const uint8_t* block) { return block + kHeaderBytes; }
inline const uint8_t* PreparedOf(const uint8_t* block, int32_t kind, int64_t kw, int64_t kh) {
  return block + kHeaderBytes + TapBytes(kind, kw, kh);
}

// Whether integer taps on `type` samples with `nc` channels stay integer
// (otherwise they become float taps divided by the divisor).
inline bool KeepsIntegerTaps(NyxDataType type, int nc, int64_t kw, int64_t kh) {
  if (type == nyx8u) return true;
  if (type != nyx16s) return false;
  return !(kw == 1 || kh == 1 || nc == 3 || nc == 4 || (nc == 1 && kw < 3));
}

}  // namespace nyx::kfilter
