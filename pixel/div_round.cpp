// nyxiDiv_Round: quotients of two images with a chosen rounding mode.
#include "pixel/arith_div_frame.h"
#include "pixel/arith_forms.h"

NYX_ARITH_SFS_FORMS(NYX_EMIT_DIV_ROUND)
