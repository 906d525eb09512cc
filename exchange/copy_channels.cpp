// nyxiCopy with a mask, between channels and between layouts; nyxiDup.
//
// Masked (MR): null on source, destination and mask, then size; no stride
// test. A pixel is written where its mask sample is not zero; AC4 moves three
// samples. When every stride equals its row and both sides are below 32768
// the image is one row.
// Channel moves (C3C1, C1C3, C3CR, C3AC4, ...): null, size; no stride test; a
// move of one (or three) samples a pixel at each side's pixel step.
// Planar (C3P3, P3C3, C4P4, P4C4): null on the plane array and the other
// image, then each plane pointer in order, then size. Rows merge into one
// when the planes' stride and the image's equal their rows' bytes. At 32 bits a call that
// moves at least the largest cache (counting each byte read and written) goes
// around the cache. At 8 and 16 bits a large merge into an interleaved image
// writes it with non-temporal stores (kStreamMergeFrom below).
// Dup: null, size; every destination channel takes the source sample.
#include <immintrin.h>

#include "exchange/copy_forms.h"
#include "exchange/copy_frame.h"
#include "exchange/copy_kernels.h"
#include "exchange/shuffle_kernels.h"

namespace nyx::copy {
namespace {

template <class U, int kMove, int kStride>
void CopyMaskedRow(const U* s, U* d, const uint8_t* m, size_t n) {
  for (size_t x = 0; x < n; ++x, s += kStride, d += kStride) {
    if (m[x] == 0) continue;
    for (int c = 0; c < kMove; ++c) d[c] = s[c];
  }
}

template <class T, Layout L>
NyxStatus CopyMasked(const T* src, int src_step, T* dst, int dst_step, NyxiSize roi,
                     const uint8_t* mask, int mask_step) {
  if (frame::AnyNull(src, dst, mask)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  constexpr int kStride = frame::kChannels<L>;
  constexpr int kMove = L == Layout::kAC4 ? 3 : kStride;
  constexpr int64_t kPixel = kStride * sizeof(T);
  int64_t width = roi.width, height = roi.height;
  // Only images below 32768 pixels each way merge.
  if (width < 32768 && height < 32768) {
    frame::MergeGapless(&width, &height, {{src_step, kPixel}, {dst_step, kPixel}, {mask_step, 1}});
  }
  frame::WalkRows(height, [&](int64_t y) {
    CopyMaskedRow<Bits<T>, kMove, kStride>(AsBits(frame::RowAt(src, src_step, y)),
                                           AsBits(frame::RowAt(dst, dst_step, y)),
                                           frame::RowAt(mask, mask_step, y), width);
  });
  return nyxStsNoErr;
}

template <class U, int kIn, int kOut, int kMove>
void MoveChannelsRow(const U* s, U* d, size_t n) {
  for (size_t x = 0; x < n; ++x, s += kIn, d += kOut) {
    for (int c = 0; c < kMove; ++c) d[c] = s[c];
  }
}

template <class T, int kIn, int kOut, int kMove>
NyxStatus CopyChannels(const T* src, int src_step, T* dst, int dst_step, NyxiSize roi) {
  if (frame::AnyNull(src, dst)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  frame::WalkRows(roi.height, [&](int64_t y) {
    MoveChannelsRow<Bits<T>, kIn, kOut, kMove>(AsBits(frame::RowAt(src, src_step, y)),
                                               AsBits(frame::RowAt(dst, dst_step, y)),
                                               static_cast<size_t>(roi.width));
  });
  return nyxStsNoErr;
}

// 32-bit samples with non-temporal stores, one sample at a time.
template <int kCh, bool kToPlanes>
void StreamPlanarRow(const uint8_t* const* in, uint8_t* const* out, size_t n) {
  for (size_t x = 0; x < n; ++x) {
    for (int c = 0; c < kCh; ++c) {
      int v;
      if constexpr (kToPlanes) {
        __builtin_memcpy(&v, in[0] + (x * kCh + c) * 4, 4);
        _mm_stream_si32(reinterpret_cast<int*>(out[c] + x * 4), v);
      } else {
        __builtin_memcpy(&v, in[c] + x * 4, 4);
        _mm_stream_si32(reinterpret_cast<int*>(out[0] + (x * kCh + c) * 4), v);
      }
    }
  }
}

// From this many destination bytes on, a merge of 8- or 16-bit planes into an
// interleaved image uses non-temporal stores. Measured on the 2-core AVX2
// host (2 MiB L2 a core), three 8u planes, packed rows of 1920 pixels, plain
// vs streaming stores: 1 MiB 41 vs 52 us; 1.5 MiB 101 vs 80; 2 MiB 150 vs
// 108; 4 MiB 302 vs 247; 6 MiB 459 vs 374; 8 MiB 611 vs 517 (16u the same
// within 3%). Streaming wins once the sources and the destination together
// pass the L2; the threshold sits higher, at 4 MiB as for the other integer
// streaming paths, so that medium images stay in the last-level cache for
// their reader. A split into planes never streams: three streamed planes ran
// 13-25% slower than cached stores at every size from 0.5 to 24 MiB.
inline constexpr int64_t kStreamMergeFrom = int64_t{4} << 20;

template <class T, int kCh, bool kToPlanes>
NyxStatus Planar(const void* interleaved, int inter_step, const void* const* planes, int plane_step,
                 NyxiSize roi) {
  if (frame::AnyNull(planes, interleaved)) return nyxStsNullPtrErr;
  for (int c = 0; c < kCh; ++c) {
    if (planes[c] == nullptr) return nyxStsNullPtrErr;
  }
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  const int64_t moved = int64_t{roi.width} * roi.height * kCh * int64_t(sizeof(T)) * 2;
  const bool stream = sizeof(T) == 4 && moved >= 0x80001 && AtLeastCacheShare(moved, 1);
  const bool stream_merge = sizeof(T) < 4 && !kToPlanes && moved / 2 >= kStreamMergeFrom;
  avx2::ShufflePlan plan;
  plan.sample = sizeof(T);
  plan.in_ch = plan.out_ch = kCh;
  for (int c = 0; c < kCh; ++c) plan.order[c] = c;
  avx2::BuildShufflePlan(plan, !kToPlanes, kToPlanes, stream_merge);
  // Packed planes and a packed image are one long row.
  int64_t width = roi.width, height = roi.height;
  frame::MergeGapless(&width, &height,
                      {{plane_step, int64_t(sizeof(T))}, {inter_step, kCh * int64_t(sizeof(T))}});
  frame::WalkRows(height, [&](int64_t y) {
    uint8_t* row =
        frame::RowAt(static_cast<uint8_t*>(const_cast<void*>(interleaved)), inter_step, y);
    uint8_t* in[4] = {row, row, row, row};
    uint8_t* out[4] = {row, row, row, row};
    for (int c = 0; c < kCh; ++c) {
      uint8_t* plane = static_cast<uint8_t*>(const_cast<void*>(planes[c]));
      (kToPlanes ? out : in)[c] = frame::RowAt(plane, plane_step, y);
    }
    if (stream) return StreamPlanarRow<kCh, kToPlanes>(in, out, width);
    avx2::ShuffleRow<Bits<T>>(plan, reinterpret_cast<void* const*>(in), !kToPlanes,
                              reinterpret_cast<void* const*>(out), kToPlanes, width);
  });
  if (stream || stream_merge) avx2::StoreFence();
  return nyxStsNoErr;
}

template <int kOut>
NyxStatus Dup(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, NyxiSize roi) {
  if (frame::AnyNull(src, dst)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  avx2::ShufflePlan plan;
  plan.sample = 1;
  plan.in_ch = 1;
  plan.out_ch = kOut;
  for (int c = 0; c < 4; ++c) plan.order[c] = 0;
  avx2::BuildShufflePlan(plan, false, false);
  frame::WalkRows(roi.height, [&](int64_t y) {
    const void* in[1] = {frame::RowAt(src, src_step, y)};
    void* out[1] = {frame::RowAt(dst, dst_step, y)};
    avx2::ShuffleRow<uint8_t>(plan, in, false, out, false, roi.width);
  });
  return nyxStsNoErr;
}

}  // namespace
}  // namespace nyx::copy

#define NYX_EMIT_COPY_M(T, D)                                                                    \
  NYX_ENTRY(NyxStatus, nyxiCopy_##T##_##D##MR,                                                   \
            (const Nyx##T* pSrc, int srcStep, Nyx##T* pDst, int dstStep, NyxiSize roiSize,       \
             const Nyx8u* pMask, int maskStep),                                                  \
            (pSrc, srcStep, pDst, dstStep, roiSize, pMask, maskStep)) {                          \
    return nyx::copy::CopyMasked<Nyx##T, nyx::frame::Layout::k##D>(pSrc, srcStep, pDst, dstStep, \
                                                                   roiSize, pMask, maskStep);    \
  }
#define NYX_EMIT_COPY_CH(T, D, kIn, kOut, kMove)                                            \
  NYX_ENTRY(NyxStatus, nyxiCopy_##T##_##D,                                                  \
            (const Nyx##T* pSrc, int srcStep, Nyx##T* pDst, int dstStep, NyxiSize roiSize), \
            (pSrc, srcStep, pDst, dstStep, roiSize)) {                                      \
    return nyx::copy::CopyChannels<Nyx##T, kIn, kOut, kMove>(pSrc, srcStep, pDst, dstStep,  \
                                                             roiSize);                      \
  }
#define NYX_EMIT_COPY_PLANAR(T, N)                                                             \
  NYX_ENTRY(                                                                                   \
      NyxStatus, nyxiCopy_##T##_C##N##P##N##R,                                                 \
      (const Nyx##T* pSrc, int srcStep, Nyx##T* const pDst[N], int dstStep, NyxiSize roiSize), \
      (pSrc, srcStep, pDst, dstStep, roiSize)) {                                               \
    return nyx::copy::Planar<Nyx##T, N, true>(                                                 \
        pSrc, srcStep, reinterpret_cast<const void* const*>(pDst), dstStep, roiSize);          \
  }                                                                                            \
  NYX_ENTRY(                                                                                   \
      NyxStatus, nyxiCopy_##T##_P##N##C##N##R,                                                 \
      (const Nyx##T* const pSrc[N], int srcStep, Nyx##T* pDst, int dstStep, NyxiSize roiSize), \
      (pSrc, srcStep, pDst, dstStep, roiSize)) {                                               \
    return nyx::copy::Planar<Nyx##T, N, false>(                                                \
        pDst, dstStep, reinterpret_cast<const void* const*>(pSrc), srcStep, roiSize);          \
  }
#define NYX_EMIT_COPY_LAYOUTS(T)                                                             \
  NYX_EMIT_COPY_M(T, C1)                                                                     \
  NYX_EMIT_COPY_M(T, C3)                                                                     \
  NYX_EMIT_COPY_M(T, C4) NYX_EMIT_COPY_M(T, AC4) NYX_COPY_CHANNEL_FORMS(NYX_EMIT_COPY_CH, T) \
      NYX_EMIT_COPY_PLANAR(T, 3) NYX_EMIT_COPY_PLANAR(T, 4)
NYX_COPY_TYPES(NYX_EMIT_COPY_LAYOUTS)

NYX_ENTRY(NyxStatus, nyxiDup_8u_C1C3R,
          (const Nyx8u* pSrc, int srcStep, Nyx8u* pDst, int dstStep, NyxiSize roiSize),
          (pSrc, srcStep, pDst, dstStep, roiSize)) {
  return nyx::copy::Dup<3>(pSrc, srcStep, pDst, dstStep, roiSize);
}
NYX_ENTRY(NyxStatus, nyxiDup_8u_C1C4R,
          (const Nyx8u* pSrc, int srcStep, Nyx8u* pDst, int dstStep, NyxiSize roiSize),
          (pSrc, srcStep, pDst, dstStep, roiSize)) {
  return nyx::copy::Dup<4>(pSrc, srcStep, pDst, dstStep, roiSize);
}
