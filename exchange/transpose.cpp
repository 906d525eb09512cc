// nyxiTranspose: rows become columns. The ROI size is the source's; the
// destination is height by width.
//
// Out of place: null, size; no stride test. In place the ROI must be square
// (width and height above 0 and equal), else a size error. A call whose
// source equals its destination is the in-place form with the source's
// stride; the destination stride is then not used. The work goes in tiles of
// 16 by 16 pixels. Pixels of the same size share one code: 32f runs as 32s,
// 16u as 16s, 8u C4 as 32s C1.
#include "exchange/copy_forms.h"
#include "exchange/copy_frame.h"
#include "exchange/transpose_kernels.h"

namespace nyx::transpose {
namespace {

template <int kPixel>
NyxStatus InPlace(uint8_t* p, int step, NyxiSize roi) {
  if (p == nullptr) return nyxStsNullPtrErr;
  if (frame::BadSize(roi) || roi.width != roi.height) return nyxStsSizeErr;
  avx2::TransposeSquareInPlace<kPixel>(p, step, roi.width);
  return nyxStsNoErr;
}

template <int kPixel>
NyxStatus OutOfPlace(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, NyxiSize roi) {
  if (src == dst) return InPlace<kPixel>(dst, src_step, roi);
  if (frame::AnyNull(src, dst)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  avx2::TransposeImage<kPixel>(src, src_step, dst, dst_step, roi.width, roi.height);
  return nyxStsNoErr;
}

}  // namespace
}  // namespace nyx::transpose

#define NYX_EMIT_TRANSPOSE(T, D, kPixel)                                                    \
  NYX_ENTRY(NyxStatus, nyxiTranspose_##T##_##D##R,                                          \
            (const Nyx##T* pSrc, int srcStep, Nyx##T* pDst, int dstStep, NyxiSize roiSize), \
            (pSrc, srcStep, pDst, dstStep, roiSize)) {                                      \
    return nyx::transpose::OutOfPlace<kPixel>(nyx::copy::AsBytes(pSrc), srcStep,            \
                                              nyx::copy::AsBytes(pDst), dstStep, roiSize);  \
  }
#define NYX_EMIT_TRANSPOSE_I(T, D, kPixel)                                                    \
  NYX_ENTRY(NyxStatus, nyxiTranspose_##T##_##D##IR,                                           \
            (Nyx##T * pSrcDst, int srcDstStep, NyxiSize roiSize),                             \
            (pSrcDst, srcDstStep, roiSize)) {                                                 \
    return nyx::transpose::InPlace<kPixel>(nyx::copy::AsBytes(pSrcDst), srcDstStep, roiSize); \
  }
#define NYX_EMIT_TRANSPOSE_T(T)                                                             \
  NYX_EMIT_TRANSPOSE(T, C1, sizeof(Nyx##T))                                                 \
  NYX_EMIT_TRANSPOSE_I(T, C1, sizeof(Nyx##T)) NYX_EMIT_TRANSPOSE(T, C3, 3 * sizeof(Nyx##T)) \
      NYX_EMIT_TRANSPOSE_I(T, C3, 3 * sizeof(Nyx##T))                                       \
          NYX_EMIT_TRANSPOSE(T, C4, 4 * sizeof(Nyx##T))                                     \
              NYX_EMIT_TRANSPOSE_I(T, C4, 4 * sizeof(Nyx##T))
NYX_COPY_TYPES(NYX_EMIT_TRANSPOSE_T)
NYX_EMIT_TRANSPOSE(32fc, C1, 8)
