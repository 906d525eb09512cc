// nyxiCopy: whole pixels from one image to another.
//
// Null, then size; no stride test (any stride is walked as given). Every
// C1/C3/C4 form is one byte copy of width times the pixel's bytes; AC4 keeps
// the destination's fourth sample.
#include <string.h>

#include <cstdint>

#include "core/frame/frame.h"
#include "core/entry/entry.h"

namespace nyx::copy {
namespace {

using frame::Layout;

NyxStatus CopyBytes(const uint8_t* src, int64_t src_step, uint8_t* dst, int64_t dst_step,
                    int64_t row_bytes, int64_t height) {
  if (src_step == row_bytes && dst_step == row_bytes) {
    memcpy(dst, src, static_cast<size_t>(row_bytes * height));
    return nyxStsNoErr;
  }
  frame::WalkRows(height, [&](int64_t y) {
    memcpy(frame::RowAt(dst, dst_step, y), frame::RowAt(src, src_step, y),
           static_cast<size_t>(row_bytes));
  });
  return nyxStsNoErr;
}

template <class T>
void CopyAlphaRow(const T* s, T* d, int64_t width) {
  for (int64_t x = 0; x < width; ++x, s += 4, d += 4) {
    d[0] = s[0];
    d[1] = s[1];
    d[2] = s[2];
  }
}

template <class T, Layout L>
NyxStatus Copy(const T* src, int src_step, T* dst, int dst_step, NyxiSize roi) {
  if (frame::AnyNull(src, dst)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  if constexpr (L == Layout::kAC4) {
    frame::WalkRows(roi.height, [&](int64_t y) {
      CopyAlphaRow(frame::RowAt(src, src_step, y), frame::RowAt(dst, dst_step, y), roi.width);
    });
    return nyxStsNoErr;
  } else {
    // The byte width is a 32-bit product, as the plain forms define it.
    const uint32_t row_bytes =
        static_cast<uint32_t>(roi.width) * static_cast<uint32_t>(frame::kChannels<L> * sizeof(T));
    return CopyBytes(reinterpret_cast<const uint8_t*>(src), src_step,
                     reinterpret_cast<uint8_t*>(dst), dst_step, row_bytes, roi.height);
  }
}

template <class T, Layout L>
NyxStatus CopyL(const T* src, NyxSizeL src_step, T* dst, NyxSizeL dst_step, NyxiSizeL roi) {
  if (frame::AnyNull(src, dst)) return nyxStsNullPtrErr;
  if (roi.width < 1 || roi.height < 1) return nyxStsSizeErr;
  if constexpr (L == Layout::kAC4) {
    frame::WalkRows(roi.height, [&](int64_t y) {
      CopyAlphaRow(frame::RowAt(src, src_step, y), frame::RowAt(dst, dst_step, y), roi.width);
    });
  } else {
    const int64_t row_bytes = roi.width * frame::kChannels<L> * static_cast<int64_t>(sizeof(T));
    frame::WalkRows(roi.height, [&](int64_t y) {
      memcpy(frame::RowAt(dst, dst_step, y), frame::RowAt(src, src_step, y),
             static_cast<size_t>(row_bytes));
    });
  }
  return nyxStsNoErr;
}

}  // namespace
}  // namespace nyx::copy

#define NYX_EMIT_COPY(T, D)                                                                  \
  NYX_ENTRY(NyxStatus, nyxiCopy_##T##_##D##R,                                                \
            (const Nyx##T* pSrc, int srcStep, Nyx##T* pDst, int dstStep, NyxiSize roiSize),  \
            (pSrc, srcStep, pDst, dstStep, roiSize)) {                                       \
    return nyx::copy::Copy<Nyx##T, nyx::frame::Layout::k##D>(pSrc, srcStep, pDst, dstStep,   \
                                                             roiSize);                       \
  }                                                                                          \
  NYX_ENTRY(NyxStatus, nyxiCopy_##T##_##D##R_L,                                              \
            (const Nyx##T* pSrc, NyxSizeL srcStep, Nyx##T* pDst, NyxSizeL dstStep,           \
             NyxiSizeL roiSize),                                                             \
            (pSrc, srcStep, pDst, dstStep, roiSize)) {                                       \
    return nyx::copy::CopyL<Nyx##T, nyx::frame::Layout::k##D>(pSrc, srcStep, pDst, dstStep,  \
                                                              roiSize);                      \
  }
#define NYX_EMIT_COPY_T(T) \
  NYX_EMIT_COPY(T, C1) NYX_EMIT_COPY(T, C3) NYX_EMIT_COPY(T, C4) NYX_EMIT_COPY(T, AC4)

NYX_EMIT_COPY_T(8u)
NYX_EMIT_COPY_T(16u)
NYX_EMIT_COPY_T(16s)
NYX_EMIT_COPY_T(32s)
NYX_EMIT_COPY_T(32f)
