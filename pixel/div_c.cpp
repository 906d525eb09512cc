// nyxiDivC: an image divided by constants: exact round-half-even with a scale
// factor, and in float as the product with the reciprocals.
#include "pixel/arith_div_frame.h"
#include "pixel/arith_forms.h"

#define NYX_DIVC_SFS(T, D) NYX_EMIT_CONST_SFS(DivC, DivCSfs, nyx::arith::DivTag, T, D)
NYX_ARITH_SFS_FORMS(NYX_DIVC_SFS)
#define NYX_DIVC_F32(D) NYX_EMIT_CONST_F32(DivC, DivCF32, nyx::avx2::MulOp, D)
NYX_ARITH_F32_FORMS(NYX_DIVC_F32)
