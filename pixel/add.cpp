// nyxiAdd: sums of two images, with a scale factor and in float.
#include "pixel/arith_forms.h"
#include "pixel/arith_frame.h"

#define NYX_ADD_SFS(T, D) NYX_EMIT_BINARY_SFS(Add, nyx::avx2::AddOp, T, D)
NYX_ARITH_SFS_FORMS(NYX_ADD_SFS)
#define NYX_ADD_F32(D) NYX_EMIT_BINARY_F32(Add, nyx::avx2::AddOp, D)
NYX_ARITH_F32_FORMS(NYX_ADD_F32)
