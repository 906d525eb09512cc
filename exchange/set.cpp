// nyxiSet: fill an image with a value.
//
// Null, then size; no stride test (zero and negative strides are walked as
// given). Rows merge into one run when the stride equals the row's bytes.
// Samples of the same width share one fill: 16u through 16s, 32f through 32s.
#include <string.h>

#include <cstdint>

#include "core/frame/frame.h"
#include "exchange/set.h"

namespace nyx::set {
namespace {

using frame::Layout;

// Fills n pixels of kCh samples (kAlpha: the fourth of four stays).
template <class U, int kCh, bool kAlpha>
void FillRow(U* p, const U* v, size_t n) {
  if constexpr (kCh == 1 && sizeof(U) == 1) {
    memset(p, v[0], n);
  } else {
    for (size_t x = 0; x < n; ++x, p += kCh) {
      for (int c = 0; c < (kAlpha ? 3 : kCh); ++c) p[c] = v[c];
    }
  }
}

template <class U, Layout L>
NyxStatus Fill(const U* value, U* dst, int step, NyxiSize roi) {
  constexpr int kCh = frame::kChannels<L>;
  constexpr bool kAlpha = L == Layout::kAC4;
  if (frame::AnyNull(dst)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  const size_t width = static_cast<size_t>(roi.width);
  if (!kAlpha && static_cast<int64_t>(step) == static_cast<int64_t>(width * kCh * sizeof(U))) {
    FillRow<U, kCh, false>(dst, value, width * static_cast<size_t>(roi.height));
    return nyxStsNoErr;
  }
  frame::WalkRows(roi.height,
                  [&](int64_t y) { FillRow<U, kCh, kAlpha>(frame::RowAt(dst, step, y), value, width); });
  return nyxStsNoErr;
}

template <class T>
using Bits = std::conditional_t<sizeof(T) == 1, uint8_t,
                                std::conditional_t<sizeof(T) == 2, uint16_t, uint32_t>>;

template <class T, Layout L>
NyxStatus SetOne(T value, T* dst, int step, NyxiSize roi) {
  Bits<T> v;
  memcpy(&v, &value, sizeof v);
  return Fill<Bits<T>, L>(&v, reinterpret_cast<Bits<T>*>(dst), step, roi);
}

template <class T, Layout L>
NyxStatus SetMany(const T* value, T* dst, int step, NyxiSize roi) {
  if (frame::AnyNull(value, dst)) return nyxStsNullPtrErr;
  return Fill<Bits<T>, L>(reinterpret_cast<const Bits<T>*>(value), reinterpret_cast<Bits<T>*>(dst),
                          step, roi);
}

}  // namespace
}  // namespace nyx::set

#define NYX_EMIT_SET(T)                                                                         \
  NYX_ENTRY(NyxStatus, nyxiSet_##T##_C1R, (Nyx##T value, Nyx##T* pDst, int dstStep, NyxiSize roiSize), \
            (value, pDst, dstStep, roiSize)) {                                                  \
    return nyx::set::SetOne<Nyx##T, nyx::frame::Layout::kC1>(value, pDst, dstStep, roiSize);    \
  }                                                                                             \
  NYX_ENTRY(NyxStatus, nyxiSet_##T##_C3R,                                                       \
            (const Nyx##T value[3], Nyx##T* pDst, int dstStep, NyxiSize roiSize),               \
            (value, pDst, dstStep, roiSize)) {                                                  \
    return nyx::set::SetMany<Nyx##T, nyx::frame::Layout::kC3>(value, pDst, dstStep, roiSize);   \
  }                                                                                             \
  NYX_ENTRY(NyxStatus, nyxiSet_##T##_C4R,                                                       \
            (const Nyx##T value[4], Nyx##T* pDst, int dstStep, NyxiSize roiSize),               \
            (value, pDst, dstStep, roiSize)) {                                                  \
    return nyx::set::SetMany<Nyx##T, nyx::frame::Layout::kC4>(value, pDst, dstStep, roiSize);   \
  }                                                                                             \
  NYX_ENTRY(NyxStatus, nyxiSet_##T##_AC4R,                                                      \
            (const Nyx##T value[3], Nyx##T* pDst, int dstStep, NyxiSize roiSize),               \
            (value, pDst, dstStep, roiSize)) {                                                  \
    return nyx::set::SetMany<Nyx##T, nyx::frame::Layout::kAC4>(value, pDst, dstStep, roiSize);  \
  }

NYX_EMIT_SET(8u)
NYX_EMIT_SET(16u)
NYX_EMIT_SET(16s)
NYX_EMIT_SET(32s)
NYX_EMIT_SET(32f)
