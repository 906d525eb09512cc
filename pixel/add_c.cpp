// nyxiAddC: an image and constants, with a scale factor and in float.
#include "pixel/arith_const_frame.h"
#include "pixel/arith_forms.h"

#define NYX_ADDC_SFS(T, D) NYX_EMIT_CONST_SFS(AddC, ConstSfs, nyx::avx2::AddOp, T, D)
NYX_ARITH_SFS_FORMS(NYX_ADDC_SFS)
#define NYX_ADDC_F32(D) NYX_EMIT_CONST_F32(AddC, ConstF32, nyx::avx2::AddOp, D)
NYX_ARITH_F32_FORMS(NYX_ADDC_F32)
