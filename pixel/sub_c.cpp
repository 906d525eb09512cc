// nyxiSubC: an image minus constants, with a scale factor and in float.
#include "pixel/arith_const_frame.h"
#include "pixel/arith_forms.h"

#define NYX_SUBC_SFS(T, D) NYX_EMIT_CONST_SFS(SubC, ConstSfs, nyx::avx2::SubOp, T, D)
NYX_ARITH_SFS_FORMS(NYX_SUBC_SFS)
#define NYX_SUBC_F32(D) NYX_EMIT_CONST_F32(SubC, ConstF32, nyx::avx2::SubOp, D)
NYX_ARITH_F32_FORMS(NYX_SUBC_F32)
