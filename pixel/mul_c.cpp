// nyxiMulC: an image and constants, with a scale factor and in float.
#include "pixel/arith_const_frame.h"
#include "pixel/arith_forms.h"

#define NYX_MULC_SFS(T, D) NYX_EMIT_CONST_SFS(MulC, ConstSfs, nyx::avx2::MulOp, T, D)
NYX_ARITH_SFS_FORMS(NYX_MULC_SFS)
#define NYX_MULC_F32(D) NYX_EMIT_CONST_F32(MulC, ConstF32, nyx::avx2::MulOp, D)
NYX_ARITH_F32_FORMS(NYX_MULC_F32)
