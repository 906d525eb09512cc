// nyxiMul: products of two images, with a scale factor and in float.
#include "pixel/arith_forms.h"
#include "pixel/arith_frame.h"

#define NYX_MUL_SFS(T, D) NYX_EMIT_BINARY_SFS(Mul, nyx::avx2::MulOp, T, D)
NYX_ARITH_SFS_FORMS(NYX_MUL_SFS)
#define NYX_MUL_F32(D) NYX_EMIT_BINARY_F32(Mul, nyx::avx2::MulOp, D)
NYX_ARITH_F32_FORMS(NYX_MUL_F32)
