// nyxrCopyConstBorder, nyxrCopyReplicateBorder: the border copies of volumes.
//
// Tests, first failure returned, nothing written before:
//   null pSrc or pDst                                      nyxStsNullPtrErr
//   a source or destination extent not above 0             nyxStsSizeErr
//   a negative step, or a plane step below its row step    nyxStsStepErr
//   a negative border                                      nyxStsSizeErr
//   Const: null pValue                                     nyxStsNullPtrErr
//   source extent + border past the destination extent     nyxStsSizeErr
// Zero steps are accepted and stepped by as given.
//
// Each source plane is extended with the plane routine of its sample width
// at the same top and left. Const fills the forward planes (before) and the
// backward planes (after) with the value; Replicate repeats the first
// extended plane forward and the last one backward.
#include <cstdint>
#include <type_traits>

#include "core/entry/entry.h"
#include "core/frame/bits.h"
#include "exchange/border_engine.h"
#include "exchange/border_forms.h"

namespace nyx::border_copy {
namespace {

using border::Mode;

template <class T>
using Bits = BitsOf<T>;

struct Image3 {
  int64_t plane_step, step;
  NyxrVolumeL extent;
};

inline NyxrVolumeL Widen(NyxrVolume v) { return {v.width, v.height, v.depth}; }

inline bool Empty(const NyxrVolumeL& v) { return v.width < 1 || v.height < 1 || v.depth < 1; }

template <class U>
U* PlaneAt(U* base, int64_t plane_step, int64_t z) {
  return frame::RowAt(base, plane_step, z);
}

template <class U>
void Run(Mode mode, const U* src, const Image3& s, U* dst, const Image3& d, int64_t top,
         int64_t left, int64_t front, const U* value) {
  using E = Extender<U, 1, false>;
  const int64_t dw = d.extent.width;
  const int64_t back_from = front + s.extent.depth;
  auto each_row = [&](U* plane, auto&& row_fn) {
    for (int64_t y = 0; y < d.extent.height; ++y) row_fn(frame::RowAt(plane, d.step, y), y);
  };
  if (mode == border::kConst) {
    for (int64_t z = 0; z < front; ++z) {
      each_row(PlaneAt(dst, d.plane_step, z), [&](U* row, int64_t) { E::Fill(value, row, dw); });
    }
  }
  for (int64_t z = 0; z < s.extent.depth; ++z) {
    const Plane plane{PlaneAt(src, s.plane_step, z),
                      s.step,
                      s.extent.width,
                      s.extent.height,
                      PlaneAt(dst, d.plane_step, front + z),
                      d.step,
                      dw,
                      d.extent.height,
                      top,
                      left,
                      false};
    E::Run(plane, mode, value);
  }
  for (int64_t z = 0; z < d.extent.depth; ++z) {
    if (z >= front && z < back_from) continue;
    U* plane = PlaneAt(dst, d.plane_step, z);
    if (mode == border::kConst) {
      if (z >= back_from) each_row(plane, [&](U* row, int64_t) { E::Fill(value, row, dw); });
    } else {
      const U* from = PlaneAt(dst, d.plane_step, z < front ? front : back_from - 1);
      each_row(plane, [&](U* row, int64_t y) { E::Copy(frame::RowAt(from, d.step, y), row, dw); });
    }
  }
}

template <class T, Mode M>
NyxStatus ExtendVolume(const T* src, const Image3& s, T* dst, const Image3& d, int64_t top,
                       int64_t left, int64_t front, const T* value) {
  if (frame::AnyNull(src, dst)) return nyxStsNullPtrErr;
  if (Empty(s.extent) || Empty(d.extent)) return nyxStsSizeErr;
  if (s.step < 0 || d.step < 0 || s.plane_step < s.step || d.plane_step < d.step) {
    return nyxStsStepErr;
  }
  if (top < 0 || left < 0 || front < 0) return nyxStsSizeErr;
  if (M == border::kConst && value == nullptr) return nyxStsNullPtrErr;
  if (left > d.extent.width - s.extent.width || top > d.extent.height - s.extent.height ||
      front > d.extent.depth - s.extent.depth) {
    return nyxStsSizeErr;
  }
  using U = Bits<T>;
  Run<U>(M, reinterpret_cast<const U*>(src), s, reinterpret_cast<U*>(dst), d, top, left, front,
         reinterpret_cast<const U*>(value));
  return nyxStsNoErr;
}

}  // namespace
}  // namespace nyx::border_copy

#define NYX_EMIT_VOLUME_BORDER(Op, M, T, VP, VA, VPTR)                                             \
  NYX_ENTRY(NyxStatus, nyxr##Op##_##T##_C1V,                                                       \
            (const Nyx##T* pSrc, int srcPlaneStep, int srcStep, NyxrVolume srcRoiVolume,           \
             Nyx##T* pDst, int dstPlaneStep, int dstStep, NyxrVolume dstRoiVolume,                 \
             int topBorderHeight, int leftBorderWidth, int forwardBorderDepth VP),                 \
            (pSrc, srcPlaneStep, srcStep, srcRoiVolume, pDst, dstPlaneStep, dstStep, dstRoiVolume, \
             topBorderHeight, leftBorderWidth, forwardBorderDepth VA)) {                           \
    return nyx::border_copy::ExtendVolume<Nyx##T, M>(                                              \
        pSrc, {srcPlaneStep, srcStep, nyx::border_copy::Widen(srcRoiVolume)}, pDst,                \
        {dstPlaneStep, dstStep, nyx::border_copy::Widen(dstRoiVolume)}, topBorderHeight,           \
        leftBorderWidth, forwardBorderDepth, VPTR);                                                \
  }                                                                                                \
  NYX_ENTRY(NyxStatus, nyxr##Op##_##T##_C1V_L,                                                     \
            (const Nyx##T* pSrc, NyxSizeL srcPlaneStep, NyxSizeL srcStep, Nyx##T* pDst,            \
             NyxSizeL dstPlaneStep, NyxSizeL dstStep, NyxrVolumeL srcRoiVolume,                    \
             NyxrVolumeL dstRoiVolume, NyxSizeL topBorderHeight, NyxSizeL leftBorderWidth,         \
             NyxSizeL forwardBorderDepth VP),                                                      \
            (pSrc, srcPlaneStep, srcStep, pDst, dstPlaneStep, dstStep, srcRoiVolume, dstRoiVolume, \
             topBorderHeight, leftBorderWidth, forwardBorderDepth VA)) {                           \
    return nyx::border_copy::ExtendVolume<Nyx##T, M>(                                              \
        pSrc, {srcPlaneStep, srcStep, srcRoiVolume}, pDst, {dstPlaneStep, dstStep, dstRoiVolume},  \
        topBorderHeight, leftBorderWidth, forwardBorderDepth, VPTR);                               \
  }

#define NYX_VOLUME_COMMA ,
#define NYX_EMIT_VOLUME_CONST(T)                                  \
  NYX_EMIT_VOLUME_BORDER(CopyConstBorder, nyx::border::kConst, T, \
                         NYX_VOLUME_COMMA const Nyx##T* pValue, NYX_VOLUME_COMMA pValue, pValue)
#define NYX_EMIT_VOLUME_REPLICATE(T)                                     \
  NYX_EMIT_VOLUME_BORDER(CopyReplicateBorder, nyx::border::kRepl, T, , , \
                         static_cast<const Nyx##T*>(nullptr))

NYX_VOLUME_BORDER_TYPES(NYX_EMIT_VOLUME_CONST)
NYX_VOLUME_BORDER_TYPES(NYX_EMIT_VOLUME_REPLICATE)
