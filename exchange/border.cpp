// nyxiCopyConstBorder, nyxiCopyReplicateBorder, nyxiCopyMirrorBorder,
// nyxiCopyWrapBorder: a source copied into a larger destination with a frame
// made by the border mode.
//
// Tests of the R forms, first failure returned, nothing written before:
//   Replicate, Mirror: pSrc == pDst runs the IR form with dstStep (before
//                      any test; srcStep is ignored)
//   null pSrc or pDst              nyxStsNullPtrErr
//   a step not above 0             nyxStsStepErr
//   a side not above 0             nyxStsSizeErr
//   top or left below 0            nyxStsSizeErr
//   source + border past the dst   nyxStsSizeErr
//   Wrap: pSrc == pDst runs the IR form (after the tests)
//   Const C3/C4/AC4: null value    nyxStsNullPtrErr
// The IR forms test the value pointer with pSrc, then their one step, then
// the sizes as above. The plain and _L forms share one 64-bit frame: the
// tests compare exact values, so widening changes no outcome.
#include <cstdint>
#include <type_traits>

#include "core/entry/entry.h"
#include "core/frame/bits.h"
#include "exchange/border_engine.h"
#include "exchange/border_forms.h"

namespace nyx::border_copy {
namespace {

using border::Mode;
using frame::Layout;

template <class T>
using Bits = BitsOf<T>;

struct Shape {
  NyxiSizeL src, dst;
  int64_t top, left;
};

inline Shape Widen(NyxiSize src, NyxiSize dst, int top, int left) {
  return {{src.width, src.height}, {dst.width, dst.height}, top, left};
}

// Sizes, border widths, fit; the right and bottom widths are what is left.
NyxStatus CheckShape(const Shape& s) {
  if (s.src.width < 1 || s.src.height < 1 || s.dst.width < 1 || s.dst.height < 1) {
    return nyxStsSizeErr;
  }
  if (s.top < 0 || s.left < 0) return nyxStsSizeErr;
  if (s.left > s.dst.width - s.src.width || s.top > s.dst.height - s.src.height) {
    return nyxStsSizeErr;
  }
  return nyxStsNoErr;
}

template <class T, Layout L>
void Extend(Mode mode, const T* src, int64_t src_step, T* dst, int64_t dst_step, const Shape& s,
            const T* value, bool in_place) {
  const Plane plane{src,         src_step,     s.src.width, s.src.height, dst,     dst_step,
                    s.dst.width, s.dst.height, s.top,       s.left,       in_place};
  Extender<Bits<T>, frame::kChannels<L>, L == Layout::kAC4>::Run(
      plane, mode, reinterpret_cast<const Bits<T>*>(value));
}

template <class T, Layout L, Mode M>
NyxStatus ExtendInPlace(T* src, int64_t step, const Shape& s, const T* value) {
  if (frame::AnyNull(src) || (M == border::kConst && value == nullptr)) return nyxStsNullPtrErr;
  if (step < 1) return nyxStsStepErr;
  if (const NyxStatus st = CheckShape(s); st != nyxStsNoErr) return st;
  // The destination starts top rows and left pixels before the source.
  const int64_t back = s.top * step + s.left * frame::kChannels<L> * int64_t{sizeof(T)};
  T* dst = reinterpret_cast<T*>(reinterpret_cast<uintptr_t>(src) - static_cast<uintptr_t>(back));
  Extend<T, L>(M, src, step, dst, step, s, value, true);
  return nyxStsNoErr;
}

template <class T, Layout L, Mode M>
NyxStatus ExtendCopy(const T* src, int64_t src_step, T* dst, int64_t dst_step, const Shape& s,
                     const T* value) {
  constexpr bool kEarlyInPlace = M == border::kRepl || M == border::kMirror;
  if (kEarlyInPlace && src == dst) return ExtendInPlace<T, L, M>(dst, dst_step, s, value);
  if (frame::AnyNull(src, dst)) return nyxStsNullPtrErr;
  if (src_step < 1 || dst_step < 1) return nyxStsStepErr;
  if (const NyxStatus st = CheckShape(s); st != nyxStsNoErr) return st;
  if (M == border::kWrap && src == dst) return ExtendInPlace<T, L, M>(dst, dst_step, s, value);
  if (M == border::kConst && value == nullptr) return nyxStsNullPtrErr;
  Extend<T, L>(M, src, src_step, dst, dst_step, s, value, false);
  return nyxStsNoErr;
}

}  // namespace
}  // namespace nyx::border_copy

// The value argument of the Const forms as a pointer to its samples.
#define NYX_BORDER_VALUE_PTR_C1 &value
#define NYX_BORDER_VALUE_PTR_C3 value
#define NYX_BORDER_VALUE_PTR_C4 value
#define NYX_BORDER_VALUE_PTR_AC4 value

// One border form: R, IR, R_L, IR_L. VP/VA/VPTR are the value parameter, its
// argument list tail and its pointer (empty/nullptr for modes without one).
#define NYX_EMIT_BORDER(Op, M, T, D, VP, VA, VPTR)                                                 \
  NYX_ENTRY(NyxStatus, nyxi##Op##_##T##_##D##R,                                                    \
            (const Nyx##T* pSrc, int srcStep, NyxiSize srcRoiSize, Nyx##T* pDst, int dstStep,      \
             NyxiSize dstRoiSize, int topBorderHeight, int leftBorderWidth VP),                    \
            (pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, topBorderHeight,                \
             leftBorderWidth VA)) {                                                                \
    return nyx::border_copy::ExtendCopy<Nyx##T, nyx::frame::Layout::k##D, M>(                      \
        pSrc, srcStep, pDst, dstStep,                                                              \
        nyx::border_copy::Widen(srcRoiSize, dstRoiSize, topBorderHeight, leftBorderWidth), VPTR);  \
  }                                                                                                \
  NYX_ENTRY(NyxStatus, nyxi##Op##_##T##_##D##IR,                                                   \
            (Nyx##T * pSrc, int srcDstStep, NyxiSize srcRoiSize, NyxiSize dstRoiSize,              \
             int topBorderHeight, int leftBorderWidth VP),                                         \
            (pSrc, srcDstStep, srcRoiSize, dstRoiSize, topBorderHeight, leftBorderWidth VA)) {     \
    return nyx::border_copy::ExtendInPlace<Nyx##T, nyx::frame::Layout::k##D, M>(                   \
        pSrc, srcDstStep,                                                                          \
        nyx::border_copy::Widen(srcRoiSize, dstRoiSize, topBorderHeight, leftBorderWidth), VPTR);  \
  }                                                                                                \
  NYX_ENTRY(                                                                                       \
      NyxStatus, nyxi##Op##_##T##_##D##R_L,                                                        \
      (const Nyx##T* pSrc, NyxSizeL srcStep, NyxiSizeL srcRoiSize, Nyx##T* pDst, NyxSizeL dstStep, \
       NyxiSizeL dstRoiSize, NyxSizeL topBorderHeight, NyxSizeL leftBorderWidth VP),               \
      (pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, topBorderHeight,                      \
       leftBorderWidth VA)) {                                                                      \
    return nyx::border_copy::ExtendCopy<Nyx##T, nyx::frame::Layout::k##D, M>(                      \
        pSrc, srcStep, pDst, dstStep, {srcRoiSize, dstRoiSize, topBorderHeight, leftBorderWidth},  \
        VPTR);                                                                                     \
  }                                                                                                \
  NYX_ENTRY(NyxStatus, nyxi##Op##_##T##_##D##IR_L,                                                 \
            (Nyx##T * pSrc, NyxSizeL srcDstStep, NyxiSizeL srcRoiSize, NyxiSizeL dstRoiSize,       \
             NyxSizeL topBorderHeight, NyxSizeL leftBorderWidth VP),                               \
            (pSrc, srcDstStep, srcRoiSize, dstRoiSize, topBorderHeight, leftBorderWidth VA)) {     \
    return nyx::border_copy::ExtendInPlace<Nyx##T, nyx::frame::Layout::k##D, M>(                   \
        pSrc, srcDstStep, {srcRoiSize, dstRoiSize, topBorderHeight, leftBorderWidth}, VPTR);       \
  }

#define NYX_COMMA ,
#define NYX_EMIT_CONST_BORDER(T, D)                                                              \
  NYX_EMIT_BORDER(CopyConstBorder, nyx::border::kConst, T, D, NYX_COMMA NYX_BORDER_VALUE_##D(T), \
                  NYX_COMMA value, NYX_BORDER_VALUE_PTR_##D)
#define NYX_EMIT_NOVALUE_BORDER(Op, M, T, D) \
  NYX_EMIT_BORDER(Op, M, T, D, , , static_cast<const Nyx##T*>(nullptr))
#define NYX_EMIT_REPLICATE_BORDER(T, D) \
  NYX_EMIT_NOVALUE_BORDER(CopyReplicateBorder, nyx::border::kRepl, T, D)
#define NYX_EMIT_MIRROR_BORDER(T, D) \
  NYX_EMIT_NOVALUE_BORDER(CopyMirrorBorder, nyx::border::kMirror, T, D)
#define NYX_EMIT_WRAP_BORDER(T, D) NYX_EMIT_NOVALUE_BORDER(CopyWrapBorder, nyx::border::kWrap, T, D)

NYX_COPY_CONST_BORDER_FORMS(NYX_EMIT_CONST_BORDER)
NYX_COPY_REPLICATE_BORDER_FORMS(NYX_EMIT_REPLICATE_BORDER)
NYX_COPY_MIRROR_BORDER_FORMS(NYX_EMIT_MIRROR_BORDER)
NYX_COPY_WRAP_BORDER_FORMS(NYX_EMIT_WRAP_BORDER)
