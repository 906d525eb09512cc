// nyxiSwapChannels: destination channel c takes source channel dstOrder[c].
//
// Order of tests: null (source, destination, dstOrder), size, stride, order.
// The stride test refuses only a stride of exactly 0; negative strides are
// walked as given. An index above 2 at C3 and AC4, above 3 at C4 (read as
// unsigned, so a negative index too) is a channel order error; C3C4 refuses
// only negative indices and takes the fill value for any index above 2. AC4
// keeps the destination's fourth sample. Source and destination may be the
// same image: every sample of a pixel is read before any is written. Rows
// merge into one when both strides equal their rows' bytes. 32f runs through
// 32s and 16u through 16s.
#include "exchange/copy_forms.h"
#include "exchange/copy_frame.h"
#include "exchange/shuffle_kernels.h"

namespace nyx::swap {
namespace {

using copy::Bits;

enum class Form { kC3, kC4, kAC4, kC3C4, kC4C3 };

template <Form F>
inline constexpr int kInCh = (F == Form::kC3 || F == Form::kC3C4) ? 3 : 4;
template <Form F>
inline constexpr int kOutCh = (F == Form::kC3 || F == Form::kC4C3) ? 3 : 4;
// Highest source channel an index may name.
template <Form F>
inline constexpr unsigned kMaxIndex = F == Form::kC4 || F == Form::kC4C3 ? 3 : 2;
template <Form F>
inline constexpr int kOrderLen = F == Form::kC4 || F == Form::kC3C4 ? 4 : 3;

// Fills the plan's order from dstOrder; false when an index is refused.
template <Form F, class U>
bool ReadOrder(const int* order, U fill, avx2::ShufflePlan& p) {
  for (int c = 0; c < kOrderLen<F>; ++c) {
    const int v = order[c];
    if constexpr (F == Form::kC3C4) {
      if (v < 0) return false;
      p.order[c] = v > 2 ? avx2::kFillChannel : v;
    } else {
      if (static_cast<unsigned>(v) > kMaxIndex<F>) return false;
      p.order[c] = v;
    }
    __builtin_memcpy(p.fill_value[c], &fill, sizeof(U));
  }
  if constexpr (F == Form::kAC4) p.order[3] = avx2::kKeepChannel;
  return true;
}

template <class T, Form F>
NyxStatus Swap(const T* src, int src_step, T* dst, int dst_step, NyxiSize roi, const int* order,
               T fill = T{}) {
  using U = Bits<T>;
  if (frame::AnyNull(src, dst, order)) return nyxStsNullPtrErr;
  if (frame::BadSize(roi)) return nyxStsSizeErr;
  if (src_step == 0 || dst_step == 0) return nyxStsStepErr;
  avx2::ShufflePlan plan;
  plan.sample = sizeof(U);
  plan.in_ch = kInCh<F>;
  plan.out_ch = kOutCh<F>;
  if (!ReadOrder<F>(order, copy::AsBits(&fill)[0], plan)) return nyxStsChannelOrderErr;
  avx2::BuildShufflePlan(plan, false, false);
  int64_t width = roi.width, height = roi.height;
  frame::MergeGapless(&width, &height, {{src_step, kInCh<F> * int64_t(sizeof(T))},
                                        {dst_step, kOutCh<F> * int64_t(sizeof(T))}});
  frame::WalkRows(height, [&](int64_t y) {
    const void* in[1] = {frame::RowAt(src, src_step, y)};
    void* out[1] = {frame::RowAt(dst, dst_step, y)};
    avx2::ShuffleRow<U>(plan, in, false, out, false, static_cast<size_t>(width));
  });
  return nyxStsNoErr;
}

}  // namespace
}  // namespace nyx::swap

#define NYX_SWAP_ENTRY(T, D, F, N)                                                            \
  NYX_ENTRY(NyxStatus, nyxiSwapChannels_##T##_##D##R,                                         \
            (const Nyx##T* pSrc, int srcStep, Nyx##T* pDst, int dstStep, NyxiSize roiSize,    \
             const int dstOrder[N]),                                                          \
            (pSrc, srcStep, pDst, dstStep, roiSize, dstOrder)) {                              \
    return nyx::swap::Swap<Nyx##T, nyx::swap::Form::F>(pSrc, srcStep, pDst, dstStep, roiSize, \
                                                       dstOrder);                             \
  }
#define NYX_EMIT_SWAP(T)                                                                          \
  NYX_SWAP_ENTRY(T, C3, kC3, 3)                                                                   \
  NYX_SWAP_ENTRY(T, C4, kC4, 4)                                                                   \
  NYX_SWAP_ENTRY(T, AC4, kAC4, 3)                                                                 \
  NYX_SWAP_ENTRY(T, C4C3, kC4C3, 3)                                                               \
  NYX_ENTRY(NyxStatus, nyxiSwapChannels_##T##_C3C4R,                                              \
            (const Nyx##T* pSrc, int srcStep, Nyx##T* pDst, int dstStep, NyxiSize roiSize,        \
             const int dstOrder[4], Nyx##T val),                                                  \
            (pSrc, srcStep, pDst, dstStep, roiSize, dstOrder, val)) {                             \
    return nyx::swap::Swap<Nyx##T, nyx::swap::Form::kC3C4>(pSrc, srcStep, pDst, dstStep, roiSize, \
                                                           dstOrder, val);                        \
  }
NYX_COPY_TYPES(NYX_EMIT_SWAP)

NYX_ENTRY(NyxStatus, nyxiSwapChannels_8u_C3IR,
          (Nyx8u * pSrcDst, int srcDstStep, NyxiSize roiSize, const int dstOrder[3]),
          (pSrcDst, srcDstStep, roiSize, dstOrder)) {
  return nyx::swap::Swap<Nyx8u, nyx::swap::Form::kC3>(pSrcDst, srcDstStep, pSrcDst, srcDstStep,
                                                      roiSize, dstOrder);
}
NYX_ENTRY(NyxStatus, nyxiSwapChannels_8u_C4IR,
          (Nyx8u * pSrcDst, int srcDstStep, NyxiSize roiSize, const int dstOrder[4]),
          (pSrcDst, srcDstStep, roiSize, dstOrder)) {
  return nyx::swap::Swap<Nyx8u, nyx::swap::Form::kC4>(pSrcDst, srcDstStep, pSrcDst, srcDstStep,
                                                      roiSize, dstOrder);
}
