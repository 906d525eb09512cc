// nyxiMirror: flip an image about an axis.
//
// flip 0: about the horizontal axis (row r and row height-1-r exchange);
// 1: about the vertical axis (pixels of a row reverse, the samples of a pixel
// keep their order); 2: both. A call whose source and destination are the
// same pointer with the same stride is the in-place form. Order of tests:
// null, size, then a flip above 2 is a flip error. AC4 keeps the
// destination's fourth sample, in place too (a pixel's alpha stays where it
// is, only its colour moves).
//
// The diagonal flips 3 (main diagonal: a transpose) and 4 (the other one:
// dst(x, y) = src(width-1-y, height-1-x), the destination height by width)
// exist only out of place, at 8u C1, 16u C1, 32s C1 and the forms that run as
// 32s C1 (8u C4, 32f C1). They test null, stride (below 1 is an error), size,
// then refuse source and destination regions that intersect.
#include "exchange/copy_forms.h"
#include "exchange/copy_frame.h"
#include "exchange/copy_kernels.h"
#include "exchange/mirror_kernels.h"
#include "exchange/transpose_kernels.h"

namespace nyx::mirror {
namespace {

// Byte regions of `rows` rows of `bytes` bytes, rows `step` apart.
struct Region {
  const uint8_t* p;
  int64_t step, bytes, rows;
};

// Walks the rows of a; true at the first row that holds a corner of b.
bool CornerInRows(const Region& a, const Region& b) {
  const uint8_t* last = b.p + (b.rows - 1) * b.step;
  const uint8_t* corners[4] = {b.p, b.p + b.bytes - 1, last, last + b.bytes - 1};
  for (int64_t y = 0; y < a.rows; ++y) {
    const uint8_t* lo = a.p + y * a.step;
    for (const uint8_t* c : corners) {
      if (c >= lo && c < lo + a.bytes) return true;
    }
  }
  return false;
}

template <int kPixel>
NyxStatus Diagonal(const uint8_t* src, int ss, uint8_t* dst, int ds, NyxiSize roi, int flip) {
  if (ss < 1 || ds < 1) return nyxStsStepErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  const Region a{src, ss, int64_t{roi.width} * kPixel, roi.height};
  const Region b{dst, ds, int64_t{roi.height} * kPixel, roi.width};
  if (CornerInRows(a, b) || CornerInRows(b, a)) return nyxStsNotSupportedModeErr;
  if (flip == nyxAxs45) {
    avx2::TransposeImage<kPixel>(src, ss, dst, ds, roi.width, roi.height);
  } else {
    // The other diagonal is the transpose of the source read from its last
    // row up, written from the destination's last row up.
    avx2::TransposeImage<kPixel>(src + int64_t{roi.height - 1} * ss, -int64_t{ss},
                                 dst + int64_t{roi.width - 1} * ds, -int64_t{ds}, roi.width,
                                 roi.height);
  }
  return nyxStsNoErr;
}

template <int kPixel, bool kAlpha, int kSample>
NyxStatus InPlace(uint8_t* p, int step, NyxiSize roi, int flip) {
  if (p == nullptr) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  if (flip < 0 || flip > 2) return nyxStsMirrorFlipErr;
  const int w = roi.width, h = roi.height;
  const size_t bytes = static_cast<size_t>(w) * kPixel;
  if (flip == nyxAxsHorizontal) {
    for (int y = 0; y < h / 2; ++y) {
      avx2::ExchangeRows<kAlpha, kSample>(p + int64_t{y} * step, p + int64_t{h - 1 - y} * step,
                                          bytes);
    }
    return nyxStsNoErr;
  }
  auto reverse_row = [&](uint8_t* row) {
    avx2::ReverseExchange<kPixel, kAlpha, kSample>(row, row + (w - w / 2) * kPixel, w / 2);
  };
  if (flip == nyxAxsVertical) {
    frame::WalkRows(h, [&](int64_t y) { reverse_row(p + y * step); });
    return nyxStsNoErr;
  }
  for (int y = 0; y < h / 2; ++y) {
    avx2::ReverseExchange<kPixel, kAlpha, kSample>(p + int64_t{y} * step,
                                                   p + int64_t{h - 1 - y} * step, w);
  }
  if (h & 1) reverse_row(p + int64_t{h / 2} * step);
  return nyxStsNoErr;
}

template <int kPixel, bool kAlpha, int kSample, bool kDiagonal>
NyxStatus OutOfPlace(const uint8_t* src, int ss, uint8_t* dst, int ds, NyxiSize roi, int flip) {
  if (src == dst && ss == ds) return InPlace<kPixel, kAlpha, kSample>(dst, ds, roi, flip);
  if (frame::AnyNull(src, dst)) return nyxStsNullPtrErr;
  if constexpr (kDiagonal) {
    if (flip == nyxAxs45 || flip == nyxAxs135) return Diagonal<kPixel>(src, ss, dst, ds, roi, flip);
  }
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  if (flip < 0 || flip > 2) return nyxStsMirrorFlipErr;
  const int64_t h = roi.height;
  const size_t w = static_cast<size_t>(roi.width);
  // Flips 0 and 2 read the source from its last row up.
  const uint8_t* from = flip == nyxAxsVertical ? src : src + (h - 1) * ss;
  const int64_t from_step = flip == nyxAxsVertical ? ss : -int64_t{ss};
  if (flip == nyxAxsHorizontal) {
    if constexpr (kAlpha) {
      using U = copy::UintOfSize<kSample>;
      frame::WalkRows(h, [&](int64_t y) {
        avx2::CopyKeepAlpha(reinterpret_cast<const U*>(from + y * from_step),
                            reinterpret_cast<U*>(dst + y * ds), 4 * w);
      });
    } else {
      copy::CopyImageBytes(from, from_step, dst, ds, static_cast<uint32_t>(w * kPixel), h);
    }
    return nyxStsNoErr;
  }
  frame::WalkRows(h, [&](int64_t y) {
    avx2::ReverseCopy<kPixel, kAlpha, kSample>(from + y * from_step, dst + y * ds, w);
  });
  return nyxStsNoErr;
}

}  // namespace
}  // namespace nyx::mirror

// (type, layout, pixel bytes, alpha kept, diagonal flips accepted)
#define NYX_EMIT_MIRROR(T, D, kPixel, kAlpha, kDiagonal)                                      \
  NYX_ENTRY(NyxStatus, nyxiMirror_##T##_##D##R,                                               \
            (const Nyx##T* pSrc, int srcStep, Nyx##T* pDst, int dstStep, NyxiSize roiSize,    \
             NyxiAxis flip),                                                                  \
            (pSrc, srcStep, pDst, dstStep, roiSize, flip)) {                                  \
    return nyx::mirror::OutOfPlace<kPixel, kAlpha, sizeof(Nyx##T), kDiagonal>(                \
        nyx::copy::AsBytes(pSrc), srcStep, nyx::copy::AsBytes(pDst), dstStep, roiSize, flip); \
  }                                                                                           \
  NYX_ENTRY(NyxStatus, nyxiMirror_##T##_##D##IR,                                              \
            (Nyx##T * pSrcDst, int srcDstStep, NyxiSize roiSize, NyxiAxis flip),              \
            (pSrcDst, srcDstStep, roiSize, flip)) {                                           \
    return nyx::mirror::InPlace<kPixel, kAlpha, sizeof(Nyx##T)>(nyx::copy::AsBytes(pSrcDst),  \
                                                                srcDstStep, roiSize, flip);   \
  }
#define NYX_EMIT_MIRROR_T(T, kDiagC1, kDiagC4)               \
  NYX_EMIT_MIRROR(T, C1, sizeof(Nyx##T), false, kDiagC1)     \
  NYX_EMIT_MIRROR(T, C3, 3 * sizeof(Nyx##T), false, false)   \
  NYX_EMIT_MIRROR(T, C4, 4 * sizeof(Nyx##T), false, kDiagC4) \
  NYX_EMIT_MIRROR(T, AC4, 4 * sizeof(Nyx##T), true, false)
NYX_MIRROR_TYPES(NYX_EMIT_MIRROR_T)
