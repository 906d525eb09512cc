// nyxiFilterBorder and nyxiFilter_64f: the order of tests, the kernel
// choice and the bordered frame run.
//
// Order of tests: null (source, destination, block, buffer); a constant
// word (low four bits 6) without its value; ROI; the source stride for sign
// and the destination stride against a full row; the border word. A block
// of another sample type is not detected: its kind only chooses between the
// integer and the float kernels of the called type. Then an in-place call
// (source equal to destination) is refused.
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/entry/entry.h"
#include "core/fpenv/mxcsr.h"
#include "core/frame/frame.h"
#include "filter/bordered_frame.h"
#include "filter/filter_border.h"
#include "filter/filter_border_kernels.h"

namespace nyx::kfilter {
namespace {

using filter::MaskGeom;

// Sides the mask does not reach count as in memory: an extent of 1 on both
// sides of its axis, an extent of 2 on the near side (the anchor is 0).
unsigned NeedlessSides(const MaskGeom& m) {
  unsigned f = 0;
  if (m.mw == 1) f |= filter::kInMemLeft | filter::kInMemRight;
  if (m.mw == 2) f |= filter::kInMemLeft;
  if (m.mh == 1) f |= filter::kInMemTop | filter::kInMemBottom;
  if (m.mh == 2) f |= filter::kInMemTop;
  return f;
}

avx2::IntRule IntRuleOf(const SpecHeader& h, bool two_d) {
  const int mode = h.round_mode & 0xF;
  const bool accurate = (h.round_mode & kAccurateBit) != 0;
  return {h.divisor_class, h.shift,  h.half,     mode,        h.reciprocal,
          h.offset,        h.offset_f, h.divisor, h.divisor_d, two_d && !accurate && mode < 2};
}

template <class T, int kNc, class K>
void Bordered(const K& k, const T* src, int ss, T* dst, int ds, NyxiSize roi, const MaskGeom& m,
              filter::BorderRule rule, const T* fill, Nyx8u* buffer) {
  filter::RunBordered(k, src, ss, dst, ds, roi, m, rule, fill, buffer);
}

template <class T, int kNc>
void RunInteger(const uint8_t* block, const SpecHeader& h, const T* src, int ss, T* dst, int ds,
                NyxiSize roi, const MaskGeom& m, filter::BorderRule rule, const T* fill,
                Nyx8u* buffer) {
  const bool two_d = h.kw > 1 && h.kh > 1;
  const avx2::IntShape shape = h.kw == 1 ? avx2::IntShape::kColumn
                                         : (kNc == 1 ? avx2::IntShape::kPairs
                                                     : avx2::IntShape::kInterleaved);
  const avx2::IntKernel<T, T, kNc> k{
      h.kw, h.kh, reinterpret_cast<const int16_t*>(TapsOf(block)),
      reinterpret_cast<const int32_t*>(PreparedOf(block, h.kind, h.kw, h.kh)), IntRuleOf(h, two_d),
      shape};
  // Two-dimensional kernels run under the rounding control of the mode:
  // toward zero for 0, nearest for 1, the caller's for 2.
  const int mode = h.round_mode & 0xF;
  if (two_d && mode != 2) {
    MxcsrScope scope(mode == 0 ? kMxcsrRoundZero : kMxcsrRoundNearest, kMxcsrRoundMask);
    Bordered<T, kNc>(k, src, ss, dst, ds, roi, m, rule, fill, buffer);
  } else {
    Bordered<T, kNc>(k, src, ss, dst, ds, roi, m, rule, fill, buffer);
  }
}

template <class T, int kNc>
void RunFloat(const uint8_t* block, const SpecHeader& h, const T* src, int ss, T* dst, int ds,
              NyxiSize roi, const MaskGeom& m, filter::BorderRule rule, const T* fill,
              Nyx8u* buffer) {
  using Acc = std::conditional_t<std::is_same_v<T, double>, double, float>;
  // The kernels broadcast the flipped taps; the replicated table of the
  // block is not needed by them.
  const avx2::FloatKernel<T, T, Acc, kNc> k{
      h.kw, h.kh, reinterpret_cast<const Acc*>(TapsOf(block)), {h.round_mode & 0xF, h.offset_f}};
  Bordered<T, kNc>(k, src, ss, dst, ds, roi, m, rule, fill, buffer);
}

template <class T, int kNc>
NyxStatus Frame(const T* src, int ss, T* dst, int ds, NyxiSize roi, NyxiBorderType word,
                const T* value, const NyxiFilterBorderSpec* spec, Nyx8u* buffer) {
  if (frame::AnyNull(src, dst, spec, buffer)) return nyxStsNullPtrErr;
  if ((word & 0xF) == border::kConst && value == nullptr) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  if (ss < 1 || int64_t{ds} < int64_t{roi.width} * kNc * static_cast<int64_t>(sizeof(T))) {
    return nyxStsStepErr;
  }
  filter::BorderRule rule;
  const NyxStatus st = filter::DecodeBorder(word, value, &rule);
  if (st != nyxStsNoErr) return st;
  // In place is refused: the buffer size of this family holds the extended
  // rectangles and the kernel scratch only, with no room for the kept
  // strips and the ring of delayed rows that an in-place run needs.
  if (static_cast<const void*>(src) == static_cast<const void*>(dst)) {
    return nyxStsNotSupportedModeErr;
  }
  const uint8_t* block = frame::AlignSpec(spec);
  SpecHeader h;
  std::memcpy(&h, block, sizeof h);
  const MaskGeom m = filter::Geometry({h.kw, h.kh});
  rule.flags |= NeedlessSides(m);
  T fill[4] = {};
  if (rule.flags != filter::kInMemAll && rule.mode == border::kConst) {
    for (int c = 0; c < kNc; ++c) fill[c] = value[c];
  }
  constexpr bool kHasInteger = std::is_same_v<T, Nyx8u> || (std::is_same_v<T, Nyx16s> && kNc == 1);
  const int32_t integer_kind = std::is_same_v<T, Nyx8u> ? kInt8u : kInt16s;
  if constexpr (kHasInteger) {
    if (h.kind == integer_kind) {
      RunInteger<T, kNc>(block, h, src, ss, dst, ds, roi, m, rule, fill, buffer);
      return nyxStsNoErr;
    }
  }
  RunFloat<T, kNc>(block, h, src, ss, dst, ds, roi, m, rule, fill, buffer);
  return nyxStsNoErr;
}

// dst(x, y) = sum of K[j][i] * src(x + ax - i, y + ay - j): the flipped taps
// are the caller's read backwards, over the source moved back by kw-1-ax
// columns and kh-1-ay rows.
NyxStatus Filter64f(const Nyx64f* src, int ss, Nyx64f* dst, int ds, NyxiSize roi,
                    const Nyx64f* kernel, NyxiSize ksize, NyxiPoint anchor) {
  if (frame::AnyNull(src, dst, kernel)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi) || ksize.width < 1 || ksize.height < 1) return nyxStsSizeErr;
  if (int64_t{ss} < 8 * (int64_t{roi.width} + ksize.width - 1) || int64_t{ds} < 8 * int64_t{roi.width}) {
    return nyxStsStepErr;
  }
  const int64_t kw = ksize.width, kh = ksize.height;
  const avx2::FloatKernel<double, double, double, 1, -1> k{kw, kh, kernel + (kw * kh - 1),
                                                           {1, 0.0f}};
  const Nyx64f* base = frame::RowAt(src, ss, anchor.y - (kh - 1)) + (anchor.x - (kw - 1));
  filter::DirectRows<double> out{dst, ds};
  k.Run(base, ss, roi.width, roi.height, out, nullptr, false);
  return nyxStsNoErr;
}

}  // namespace
}  // namespace nyx::kfilter

#define NYX_FILTER_BORDER_ENTRY(T, D, NC)                                                       \
  NYX_ENTRY(NyxStatus, nyxiFilterBorder_##T##_##D##R,                                           \
            (const Nyx##T* pSrc, int srcStep, Nyx##T* pDst, int dstStep, NyxiSize dstRoiSize,   \
             NyxiBorderType border, const Nyx##T* pBorderValue,                                 \
             const NyxiFilterBorderSpec* pSpec, Nyx8u* pBuffer),                                \
            (pSrc, srcStep, pDst, dstStep, dstRoiSize, border, pBorderValue, pSpec, pBuffer)) { \
    return nyx::kfilter::Frame<Nyx##T, NC>(pSrc, srcStep, pDst, dstStep, dstRoiSize, border,    \
                                           pBorderValue, pSpec, pBuffer);                       \
  }
#define NYX_FILTER_BORDER_ENTRY_T(T) \
  NYX_FILTER_BORDER_ENTRY(T, C1, 1) NYX_FILTER_BORDER_ENTRY(T, C3, 3) NYX_FILTER_BORDER_ENTRY(T, C4, 4)
NYX_FILTER_BORDER_ENTRY_T(8u)
NYX_FILTER_BORDER_ENTRY_T(16u)
NYX_FILTER_BORDER_ENTRY_T(16s)
NYX_FILTER_BORDER_ENTRY_T(32f)
NYX_FILTER_BORDER_ENTRY(64f, C1, 1)

NYX_ENTRY(NyxStatus, nyxiFilter_64f_C1R,
          (const Nyx64f* pSrc, int srcStep, Nyx64f* pDst, int dstStep, NyxiSize dstRoiSize,
           const Nyx64f* pKernel, NyxiSize kernelSize, NyxiPoint anchor, Nyx8u* pBuffer),
          (pSrc, srcStep, pDst, dstStep, dstRoiSize, pKernel, kernelSize, anchor, pBuffer)) {
  (void)pBuffer;  // the taps are read in place; the buffer is not needed
  return nyx::kfilter::Filter64f(pSrc, srcStep, pDst, dstStep, dstRoiSize, pKernel, kernelSize, anchor);
}

NYX_ENTRY(NyxStatus, nyxiFilterGetBufSize_64f_C1R,
          (NyxiSize kernelSize, int dstRoiWidth, int* pBufferSize),
          (kernelSize, dstRoiWidth, pBufferSize)) {
  if (pBufferSize == nullptr) return nyxStsNullPtrErr;
  if (kernelSize.width < 1 || kernelSize.height < 1 || dstRoiWidth < 1) return nyxStsSizeErr;
  const int64_t size = 64 * int64_t{kernelSize.width} * kernelSize.height + 128;
  if (size > 0x7FFFFFFF) return nyxStsSizeOverflowErr;
  *pBufferSize = static_cast<int>(size);
  return nyxStsNoErr;
}
