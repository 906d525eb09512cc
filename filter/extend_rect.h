// Extension of a source rectangle into a larger destination by a border mode.
//
// The source rectangle (src_w by src_h pixels of `channels` samples) goes to
// row `top`, column `left` of the destination (dst_w by dst_h pixels); every
// other destination pixel takes the pixel of the mode's index map
// (border::MapIndex: replicate clamps, mirror reflects about the edge pixel
// without repeating it, for any border width), or in constant mode
// value[0 .. channels-1] with no source pixel read. Rows outside the source
// are made once per row through the map; columns through the map per border
// pixel (filter borders are a few pixels wide).
#pragma once

#include <cstdint>
#include <cstring>

#include "core/border/border.h"
#include "core/frame/frame.h"

namespace nyx::filter {

template <class T>
void ExtendRect(const T* src, int64_t src_step, T* dst, int64_t dst_step, int64_t src_w,
                int64_t src_h, int channels, int64_t top, int64_t left, int64_t dst_w,
                int64_t dst_h, border::Mode mode, const T* value) {
  const int64_t nc = channels;
  const int64_t right_from = left + src_w;
  for (int64_t dy = 0; dy < dst_h; ++dy) {
    T* d = frame::RowAt(dst, dst_step, dy);
    const int64_t sy = dy - top;
    const bool row_inside = sy >= 0 && sy < src_h;
    if (mode == border::kConst && !row_inside) {
      for (int64_t x = 0; x < dst_w; ++x)
        for (int64_t c = 0; c < nc; ++c) d[x * nc + c] = value[c];
      continue;
    }
    const T* s = frame::RowAt(src, src_step, row_inside ? sy : border::MapIndex(mode, sy, src_h));
    std::memcpy(d + left * nc, s, static_cast<size_t>(src_w * nc) * sizeof(T));
    for (int64_t x = 0; x < dst_w; ++x) {
      if (x == left) x = right_from;
      if (x >= dst_w) break;
      const T* from =
          mode == border::kConst ? value : s + border::MapIndex(mode, x - left, src_w) * nc;
      for (int64_t c = 0; c < nc; ++c) d[x * nc + c] = from[c];
    }
  }
}

}  // namespace nyx::filter
