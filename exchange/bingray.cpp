// nyxiBinToGray and nyxiGrayToBin: packed bits (least significant bit first,
// a row starting at its bit offset, which may be above 7) to samples and back.
//
// Order of tests: null, size, stride below 1, then a negative bit offset
// gives nyxStsSizeErr. BinToGray writes hiVal for a set bit and loVal for a
// clear one. GrayToBin sets a bit where the sample is above the threshold
// (integers compared as unsigned of their width, 32f as float) and keeps the
// other bits of the first and last byte of each row.
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "exchange/convert_forms.h"
#include "exchange/convert_frame.h"

namespace nyx::cvt {
namespace {

template <class S, class D>
inline NyxStatus CheckBits(const S* src, int src_step, const D* dst, int dst_step, NyxiSize roi,
                           int bit_offset) {
  if (NyxStatus st = CheckImages(src, src_step, dst, dst_step, roi)) return st;
  return bit_offset < 0 ? nyxStsSizeErr : nyxStsNoErr;
}

// One row: n samples from the bits starting at bit `bit` of `s`.
template <class T>
void BitsToSamples(const uint8_t* s, unsigned bit, T* d, size_t n, T lo, T hi) {
  size_t i = 0;
  for (; i < n && bit != 0; ++i, bit = (bit + 1) & 7) {
    avx2::StoreOne((*s >> bit) & 1 ? hi : lo, d + i);
    if (bit == 7) ++s;
  }
  // Whole bytes: eight samples each.
  for (; i + 8 <= n; i += 8, ++s) {
    const unsigned byte = *s;
    for (unsigned k = 0; k < 8; ++k) avx2::StoreOne((byte >> k) & 1 ? hi : lo, d + i + k);
  }
  for (unsigned k = 0; i < n; ++i, ++k) avx2::StoreOne((*s >> k) & 1 ? hi : lo, d + i);
}

template <class T>
inline bool Above(T x, T threshold) {
  if constexpr (std::is_floating_point_v<T>) {
    return x > threshold;
  } else {
    using U = std::make_unsigned_t<T>;
    return static_cast<U>(x) > static_cast<U>(threshold);
  }
}

// One row: n bits from the samples, written from bit `bit` of `d`.
template <class T>
void SamplesToBits(const T* s, uint8_t* d, unsigned bit, size_t n, T threshold) {
  size_t i = 0;
  if (bit != 0) {  // the first byte keeps its bits outside [bit, bit + n)
    unsigned byte = *d;
    for (; i < n && bit < 8; ++i, ++bit) {
      const unsigned m = 1u << bit;
      byte = Above(avx2::LoadOne(s + i), threshold) ? (byte | m) : (byte & ~m);
    }
    *d++ = static_cast<uint8_t>(byte);
  }
  for (; i + 8 <= n; i += 8) {
    unsigned byte = 0;
    for (unsigned k = 0; k < 8; ++k) byte |= static_cast<unsigned>(Above(avx2::LoadOne(s + i + k), threshold)) << k;
    *d++ = static_cast<uint8_t>(byte);
  }
  if (i < n) {  // the last byte keeps its bits from n onwards
    unsigned byte = *d;
    for (unsigned k = 0; i < n; ++i, ++k) {
      const unsigned m = 1u << k;
      byte = Above(avx2::LoadOne(s + i), threshold) ? (byte | m) : (byte & ~m);
    }
    *d = static_cast<uint8_t>(byte);
  }
}

template <class T>
NyxStatus BinToGray(const Nyx8u* src, int src_step, int bit_offset, T* dst, int dst_step,
                    NyxiSize roi, T lo, T hi) {
  if (NyxStatus st = CheckBits(src, src_step, dst, dst_step, roi, bit_offset)) return st;
  const Nyx8u* first = src + (bit_offset >> 3);
  frame::WalkRows(roi.height, [&](int64_t y) {
    BitsToSamples(frame::RowAt(first, src_step, y), bit_offset & 7, frame::RowAt(dst, dst_step, y),
                  static_cast<size_t>(roi.width), lo, hi);
  });
  return nyxStsNoErr;
}

template <class T>
NyxStatus GrayToBin(const T* src, int src_step, Nyx8u* dst, int dst_step, int bit_offset,
                    NyxiSize roi, T threshold) {
  if (NyxStatus st = CheckBits(src, src_step, dst, dst_step, roi, bit_offset)) return st;
  Nyx8u* first = dst + (bit_offset >> 3);
  frame::WalkRows(roi.height, [&](int64_t y) {
    SamplesToBits(frame::RowAt(src, src_step, y), frame::RowAt(first, dst_step, y), bit_offset & 7,
                  static_cast<size_t>(roi.width), threshold);
  });
  return nyxStsNoErr;
}

}  // namespace
}  // namespace nyx::cvt

#define NYX_EMIT_BINGRAY(T)                                                                        \
  NYX_ENTRY(NyxStatus, nyxiBinToGray_1u##T##_C1R,                                                  \
            (const Nyx8u* pSrc, int srcStep, int srcBitOffset, Nyx##T* pDst, int dstStep,          \
             NyxiSize roiSize, Nyx##T loVal, Nyx##T hiVal),                                        \
            (pSrc, srcStep, srcBitOffset, pDst, dstStep, roiSize, loVal, hiVal)) {                 \
    return nyx::cvt::BinToGray<Nyx##T>(pSrc, srcStep, srcBitOffset, pDst, dstStep, roiSize, loVal, \
                                       hiVal);                                                     \
  }                                                                                                \
  NYX_ENTRY(NyxStatus, nyxiGrayToBin_##T##1u_C1R,                                                  \
            (const Nyx##T* pSrc, int srcStep, Nyx8u* pDst, int dstStep, int dstBitOffset,          \
             NyxiSize roiSize, Nyx##T threshold),                                                  \
            (pSrc, srcStep, pDst, dstStep, dstBitOffset, roiSize, threshold)) {                    \
    return nyx::cvt::GrayToBin<Nyx##T>(pSrc, srcStep, pDst, dstStep, dstBitOffset, roiSize,        \
                                       threshold);                                                 \
  }

NYX_BINGRAY_FORMS(NYX_EMIT_BINGRAY)
