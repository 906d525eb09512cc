// Extension of a source rectangle into a larger destination by a border mode.
//
// This is the single place where the filters make pixels beyond a rectangle:
// the shared border copies of the library (replicate, mirror, constant) will
// take its place, with the same arguments, when they are available here.
//
// The source rectangle (src_w by src_h pixels of `channels` samples) goes to
// row `top`, column `left` of the destination (dst_w by dst_h pixels); every
// other destination pixel takes the pixel of the mode's index map:
//   1 replicate: the nearest edge pixel;
//   3 mirror:    reflection about the edge pixel, which is not repeated
//                (left of 0 1 2 lies 2 1 0 1 2), for any border width;
//   6 constant:  value[0 .. channels-1], no source pixel read.
#pragma once

#include <cstdint>
#include <cstring>

#include "core/frame/frame.h"

namespace nyx::filter {

inline constexpr int kModeReplicate = 1;
inline constexpr int kModeMirror = 3;
inline constexpr int kModeConst = 6;

// Source index for index i on an axis of n pixels (replicate or mirror).
inline int64_t BorderIndex(int64_t i, int64_t n, int mode) {
  if (i >= 0 && i < n) return i;
  if (mode == kModeReplicate) return i < 0 ? 0 : n - 1;
  if (n == 1) return 0;
  const int64_t p = 2 * n - 2;
  int64_t r = i % p;
  if (r < 0) r += p;
  return r < n ? r : p - r;
}

template <class T>
void ExtendRect(const T* src, int64_t src_step, T* dst, int64_t dst_step, int64_t src_w,
                int64_t src_h, int channels, int64_t top, int64_t left, int64_t dst_w,
                int64_t dst_h, int mode, const T* value) {
  const int64_t nc = channels;
  const int64_t right_from = left + src_w;
  for (int64_t dy = 0; dy < dst_h; ++dy) {
    T* d = frame::RowAt(dst, dst_step, dy);
    const int64_t sy = dy - top;
    const bool row_inside = sy >= 0 && sy < src_h;
    if (mode == kModeConst && !row_inside) {
      for (int64_t x = 0; x < dst_w; ++x)
        for (int64_t c = 0; c < nc; ++c) d[x * nc + c] = value[c];
      continue;
    }
    const T* s = frame::RowAt(src, src_step, row_inside ? sy : BorderIndex(sy, src_h, mode));
    std::memcpy(d + left * nc, s, static_cast<size_t>(src_w * nc) * sizeof(T));
    for (int64_t x = 0; x < dst_w; ++x) {
      if (x == left) x = right_from;
      if (x >= dst_w) break;
      const T* from = mode == kModeConst ? value : s + BorderIndex(x - left, src_w, mode) * nc;
      for (int64_t c = 0; c < nc; ++c) d[x * nc + c] = from[c];
    }
  }
}

}  // namespace nyx::filter
