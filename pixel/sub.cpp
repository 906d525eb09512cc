// nyxiSub: differences of two images, src2 minus src1 (the first source is
// the subtrahend), with a scale factor and in float.
#include "pixel/arith_forms.h"
#include "pixel/arith_frame.h"

#define NYX_SUB_SFS(T, D) NYX_EMIT_BINARY_SFS(Sub, nyx::avx2::SubOp, T, D)
NYX_ARITH_SFS_FORMS(NYX_SUB_SFS)
#define NYX_SUB_F32(D) NYX_EMIT_BINARY_F32(Sub, nyx::avx2::SubOp, D)
NYX_ARITH_F32_FORMS(NYX_SUB_F32)
