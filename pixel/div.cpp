// nyxiDiv: quotients of two images, src2 divided by src1 (the first source is
// the divisor): exact round-half-even with a scale factor, and in float.
#include "pixel/arith_div_frame.h"
#include "pixel/arith_forms.h"

NYX_ARITH_SFS_FORMS(NYX_EMIT_DIV_SFS)
NYX_ARITH_F32_FORMS(NYX_EMIT_DIV_F32)
