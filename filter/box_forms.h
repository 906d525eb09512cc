// Forms of the box filter and window sums: X(op kind, source tag, destination
// tag, name tag, descriptor).
#pragma once

#define NYX_BOX_TYPES(X, D)                                                             \
  X(Box, 8u, 8u, 8u, D)                                                                 \
  X(Box, 16u, 16u, 16u, D) X(Box, 16s, 16s, 16s, D) X(Box, 32f, 32f, 32f, D)            \
      X(Sum, 8u, 32s, 8u32s, D) X(Sum, 16u, 32f, 16u32f, D) X(Sum, 16s, 32f, 16s32f, D) \
          X(Sum, 32f, 32f, 32f, D)

#define NYX_BOX_FORMS(X) \
  NYX_BOX_TYPES(X, C1) NYX_BOX_TYPES(X, C3) NYX_BOX_TYPES(X, C4) NYX_BOX_TYPES(X, AC4)

// X(source tag, name tag, descriptor) of SumWindowRow and SumWindowColumn.
#define NYX_SUM_WINDOW_1D_FORMS(X)                                                           \
  X(8u, 8u32f, C1)                                                                           \
  X(8u, 8u32f, C3) X(8u, 8u32f, C4) X(16u, 16u32f, C1) X(16u, 16u32f, C3) X(16u, 16u32f, C4) \
      X(16s, 16s32f, C1) X(16s, 16s32f, C3) X(16s, 16s32f, C4)
