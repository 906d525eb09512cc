// nyxiAdd: sums of two images with a scale factor.
#include "pixel/arith_forms.h"
#include "pixel/arith_frame.h"

namespace nyx::arith {

template <>
struct Thresholds<avx2::AddOp, Nyx8u> {
  static constexpr int kZeroAt = 10;      // 510 / 2^10 rounds to 0
  static constexpr int kBoundFrom = -8;   // 1 << 8 saturates
  static constexpr bool kHasHalf = true;  // byte average with the even fix-up
};

}  // namespace nyx::arith

#define NYX_ADD_SFS(T, D) NYX_EMIT_BINARY_SFS(Add, nyx::avx2::AddOp, T, D)
NYX_ADD_SFS_FORMS(NYX_ADD_SFS)
