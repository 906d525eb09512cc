// nyxiCopy (whole pixels, C1/C3/C4/AC4 and their _L forms) and
// nyxiCopyManaged.
//
// Null, then size; no stride test (any stride, zero and negative included, is
// walked as given). Every C1/C3/C4 form is one byte copy of width times the
// pixel's bytes (a 32-bit product); AC4 keeps the destination's fourth sample.
// The path of the byte copy depends on sizes, strides, addresses and the
// largest cache; the bytes written never do.
#include "core/simd/vec.h"
#include "exchange/copy_forms.h"
#include "exchange/copy_frame.h"
#include "exchange/copy_kernels.h"

namespace nyx::copy {

bool AtLeastCacheShare(int64_t total, int divisor) {
  int cache = 0;
  if (nyxGetMaxCacheSizeB(&cache) != nyxStsNoErr || cache <= 0) return false;
  return total >= cache / divisor;
}

namespace {

// Unsigned distance of the destination above the source within the page.
inline bool NearAbove(const uint8_t* src, const uint8_t* dst) {
  const uint64_t s = reinterpret_cast<uintptr_t>(src) & 4095;
  const uint64_t d = reinterpret_cast<uintptr_t>(dst) & 4095;
  return d - s < 160;
}

template <void (*kRow)(const uint8_t*, uint8_t*, size_t)>
void WalkBytes(const uint8_t* src, int64_t src_step, uint8_t* dst, int64_t dst_step, size_t n,
               int64_t height) {
  frame::WalkRows(height, [&](int64_t y) {
    kRow(frame::RowAt(src, src_step, y), frame::RowAt(dst, dst_step, y), n);
  });
}

void StreamRows(const uint8_t* src, int64_t src_step, uint8_t* dst, int64_t dst_step, uint32_t n,
                int64_t height) {
  const bool aligned =
      (reinterpret_cast<uintptr_t>(dst) & 63) == 0 && (dst_step & 63) == 0 && (n & 31) == 0;
  if (aligned)
    WalkBytes<avx2::CopyStreamAligned>(src, src_step, dst, dst_step, n, height);
  else
    WalkBytes<avx2::CopyStream>(src, src_step, dst, dst_step, n, height);
  avx2::StoreFence();
}

}  // namespace

void CopyLong(const uint8_t* src, uint8_t* dst, size_t n) {
  if (n <= 32767) return avx2::CopyForward(src, dst, n);
  if (n >= 0x400001 && AtLeastCacheShare(static_cast<int64_t>(n), 2)) {
    avx2::CopyStream(src, dst, n);
    return avx2::StoreFence();
  }
  if (NearAbove(src, dst)) return avx2::CopyBackward(src, dst, n);
  avx2::CopyForwardAligned(src, dst, n);
}

void CopyImageBytes(const uint8_t* src, int64_t src_step, uint8_t* dst, int64_t dst_step,
                    uint32_t row_bytes, int64_t height) {
  const int64_t n = row_bytes;
  const int64_t total = n * height;
  if (total > 0x7fffffff) return StreamRows(src, src_step, dst, dst_step, row_bytes, height);
  if (src_step == n && dst_step == n) return CopyLong(src, dst, static_cast<size_t>(total));
  if (n <= 511) return WalkBytes<avx2::CopyThin>(src, src_step, dst, dst_step, row_bytes, height);
  if (total >= 0x300001 && AtLeastCacheShare(total, 2)) {
    return StreamRows(src, src_step, dst, dst_step, row_bytes, height);
  }
  if (((reinterpret_cast<uintptr_t>(dst) | static_cast<uint64_t>(dst_step) | row_bytes) & 31) !=
      0) {
    // Unaligned rows: each row's stores are aligned from its first boundary.
    return WalkBytes<avx2::CopyForwardAligned>(src, src_step, dst, dst_step, row_bytes, height);
  }
  if (src_step == dst_step && NearAbove(src, dst)) {
    return WalkBytes<avx2::CopyBackward>(src, src_step, dst, dst_step, row_bytes, height);
  }
  WalkBytes<avx2::CopyForward>(src, src_step, dst, dst_step, row_bytes, height);
}

namespace {

template <class T, Layout L>
NyxStatus Copy(const T* src, int src_step, T* dst, int dst_step, NyxiSize roi) {
  if (frame::AnyNull(src, dst)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  if constexpr (L == Layout::kAC4) {
    const size_t n = static_cast<size_t>(roi.width) * 4;
    frame::WalkRows(roi.height, [&](int64_t y) {
      avx2::CopyKeepAlpha(AsBits(frame::RowAt(src, src_step, y)),
                          AsBits(frame::RowAt(dst, dst_step, y)), n);
    });
  } else {
    constexpr uint32_t kPixel = frame::kChannels<L> * sizeof(T);
    CopyImageBytes(AsBytes(src), src_step, AsBytes(dst), dst_step,
                   static_cast<uint32_t>(roi.width) * kPixel, roi.height);
  }
  return nyxStsNoErr;
}

// _L: the 64-bit code walks row by row through the long-row copy, without
// merging rows. AC4 uses the point-wise fall-back onto the plain AC4 form.
template <class T, Layout L>
NyxStatus CopyL(const T* src, NyxSizeL src_step, T* dst, NyxSizeL dst_step, NyxiSizeL roi) {
  if constexpr (L == Layout::kAC4) {
    if (frame::FitsPlain(roi, 4, src_step, dst_step)) {
      return Copy<T, L>(src, static_cast<int>(src_step), dst, static_cast<int>(dst_step),
                        frame::Narrow(roi));
    }
    if (roi.width < 1 || roi.height < 1) return nyxStsNoErr;
    return frame::WalkChunks(roi, roi.width, 0xfffffff, [&](int64_t y, int64_t x, int64_t k) {
      return Copy<T, L>(frame::RowAt(src, src_step, y) + 4 * x, 4 * int(sizeof(T)),
                        frame::RowAt(dst, dst_step, y) + 4 * x, 4 * int(sizeof(T)),
                        NyxiSize{static_cast<int>(k), 1});
    });
  } else {
    if (frame::AnyNull(src, dst)) return nyxStsNullPtrErr;
    if (roi.width < 1 || roi.height < 1) return nyxStsSizeErr;
    const size_t n = static_cast<size_t>(roi.width) * frame::kChannels<L> * sizeof(T);
    for (int64_t y = 0; y < roi.height; ++y) {
      CopyLong(AsBytes(frame::RowAt(src, src_step, y)), AsBytes(frame::RowAt(dst, dst_step, y)), n);
    }
    return nyxStsNoErr;
  }
}

NyxStatus CopyManaged(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, NyxiSize roi,
                      int flags) {
  if (frame::AnyNull(src, dst)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  int64_t width = roi.width, height = roi.height;
  frame::MergeGapless(&width, &height, {{src_step, 1}, {dst_step, 1}});
  void (*row)(const uint8_t*, uint8_t*, size_t) = avx2::CopyForward;
  if (flags & nyxCopyStreamLoad) {
    row = (flags & nyxCopyStreamStore) ? avx2::CopyStreamLoad<true> : avx2::CopyStreamLoad<false>;
  } else if (flags & nyxCopyStreamStore) {
    row = avx2::CopyStream;
  }
  frame::WalkRows(height, [&](int64_t y) {
    row(frame::RowAt(src, src_step, y), frame::RowAt(dst, dst_step, y), static_cast<size_t>(width));
  });
  if (flags & nyxCopyStreamStore) avx2::StoreFence();
  return nyxStsNoErr;
}

}  // namespace
}  // namespace nyx::copy

#define NYX_EMIT_COPY(T, D)                                                                      \
  NYX_ENTRY(NyxStatus, nyxiCopy_##T##_##D##R,                                                    \
            (const Nyx##T* pSrc, int srcStep, Nyx##T* pDst, int dstStep, NyxiSize roiSize),      \
            (pSrc, srcStep, pDst, dstStep, roiSize)) {                                           \
    return nyx::copy::Copy<Nyx##T, nyx::frame::Layout::k##D>(pSrc, srcStep, pDst, dstStep,       \
                                                             roiSize);                           \
  }                                                                                              \
  NYX_ENTRY(                                                                                     \
      NyxStatus, nyxiCopy_##T##_##D##R_L,                                                        \
      (const Nyx##T* pSrc, NyxSizeL srcStep, Nyx##T* pDst, NyxSizeL dstStep, NyxiSizeL roiSize), \
      (pSrc, srcStep, pDst, dstStep, roiSize)) {                                                 \
    return nyx::copy::CopyL<Nyx##T, nyx::frame::Layout::k##D>(pSrc, srcStep, pDst, dstStep,      \
                                                              roiSize);                          \
  }
#define NYX_EMIT_COPY_T(T) NYX_COPY_PIXEL_FORMS(NYX_EMIT_COPY, T)
NYX_COPY_TYPES(NYX_EMIT_COPY_T)

NYX_ENTRY(NyxStatus, nyxiCopyManaged_8u_C1R,
          (const Nyx8u* pSrc, int srcStep, Nyx8u* pDst, int dstStep, NyxiSize roiSize, int flags),
          (pSrc, srcStep, pDst, dstStep, roiSize, flags)) {
  return nyx::copy::CopyManaged(pSrc, srcStep, pDst, dstStep, roiSize, flags);
}
