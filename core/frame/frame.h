// The frame of an image operation: argument tests, the row walk, the
// routing of multi-channel forms and the 64-bit (_L) fall-back.
//
// A frame tests in its family's order with early returns, resolves its
// parameters once, picks one row kernel and walks the rows. Frames never touch
// vector types; kernels never test arguments or return a status.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <type_traits>

#include "nyx.h"

namespace nyx::frame {

// Channel layouts of interleaved images.
enum class Layout { kC1, kC3, kC4, kAC4 };

template <Layout L>
inline constexpr int kChannels = L == Layout::kC1 ? 1 : (L == Layout::kC3 ? 3 : 4);

template <class... P>
inline bool AnyNull(const P*... p) {
  return ((p == nullptr) || ...);
}

inline bool BadSize(NyxiSize roi) { return roi.width < 1 || roi.height < 1; }

// Width times channels in 32 bits with no overflow test: a C3 or C4 form
// that routes to C1 wraps for widths above a third (a quarter) of the range.
inline NyxiSize WidenRoi(NyxiSize roi, int channels) {
  return {static_cast<int>(static_cast<unsigned>(roi.width) * static_cast<unsigned>(channels)),
          roi.height};
}

template <class T>
inline T* RowAt(T* base, int64_t step, int64_t y) {
  using Byte = std::conditional_t<std::is_const_v<T>, const char, char>;
  return reinterpret_cast<T*>(reinterpret_cast<Byte*>(base) + step * y);
}

// Calls row(y) for y in [0, height): eight rows a round, then the rest.
template <class Row>
inline void WalkRows(int64_t height, Row&& row) {
  int64_t y = 0;
  for (; y + 8 <= height; y += 8) {
    row(y);
    row(y + 1);
    row(y + 2);
    row(y + 3);
    row(y + 4);
    row(y + 5);
    row(y + 6);
    row(y + 7);
  }
  for (; y < height; ++y) row(y);
}

// One image of a walk: its stride and the bytes of one pixel of it.
struct StrideOf {
  int64_t step;
  int64_t pixel_bytes;
};

// Rows that follow each other with no gap in every image of a walk (each
// stride equal to `*width` pixels of that image) are one long row: width
// becomes width times height and height 1. Kernels give the same values
// however a run splits, so such images pay for one kernel call instead of one
// a row. Returns whether the rows merged.
inline bool MergeGapless(int64_t* width, int64_t* height, std::initializer_list<StrideOf> images) {
  for (const StrideOf& im : images) {
    if (im.step != *width * im.pixel_bytes) return false;
  }
  *width *= *height;
  *height = 1;
  return true;
}

// ---------------------------------------------------------------------------
// The _L fall-back of the point-wise families.
//
// A call whose strides and sample count fit 32 bits narrows to the plain form
// (the only path that tests null and size in the plain order). Otherwise an
// empty size is success with nothing done, and the rows are walked one by one
// in chunks of at most `chunk` elements.

inline int64_t AbsL(NyxSizeL x) { return x < 0 ? -x : x; }

// True when the plain form can take the call. `factor` is 4 for AC4 forms.
template <class... S>
inline bool FitsPlain(NyxiSizeL roi, int factor, S... steps) {
  if (((AbsL(steps) >= 0x7fffffff) || ...)) return false;
  __int128 count = static_cast<__int128>(roi.width) * roi.height * factor;
  if (count < 0) count = -count;
  return count <= 0x7ffffffe;
}

inline NyxiSize Narrow(NyxiSizeL roi) {
  return {static_cast<int>(roi.width), static_cast<int>(roi.height)};
}

// Walks rows of a large image and each row in chunks; chunk_fn(y, offset,
// count) returns a status. A negative status ends the walk and is returned;
// otherwise the status of the last chunk is.
template <class ChunkFn>
inline NyxStatus WalkChunks(NyxiSizeL roi, int64_t row_elems, int64_t chunk, ChunkFn&& chunk_fn) {
  NyxStatus st = nyxStsNoErr;
  for (int64_t y = 0; y < roi.height; ++y) {
    for (int64_t x = 0; x < row_elems; x += chunk) {
      int64_t n = row_elems - x < chunk ? row_elems - x : chunk;
      st = chunk_fn(y, x, n);
      if (st < 0) return st;
    }
  }
  return st;
}

// ---------------------------------------------------------------------------
// Spec blocks: the block proper starts at the next 64-byte boundary inside
// what the caller passes, and its first word is the family's id tag.

inline uint8_t* AlignSpec(void* p) {
  uintptr_t a = reinterpret_cast<uintptr_t>(p);
  return reinterpret_cast<uint8_t*>(a + ((0 - a) & 63));
}
inline const uint8_t* AlignSpec(const void* p) { return AlignSpec(const_cast<void*>(p)); }

inline bool TagMatches(const void* block, uint32_t tag) {
  uint32_t v;
  __builtin_memcpy(&v, block, sizeof v);
  return v == tag;
}
inline void WriteTag(void* block, uint32_t tag) { __builtin_memcpy(block, &tag, sizeof tag); }

}  // namespace nyx::frame
