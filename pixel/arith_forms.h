// Forms tables of the arithmetic family: (type, layout) pairs that one
// emitter macro expands into entries, tests and benchmarks.
#pragma once

// Integer forms with a scale factor (Add, Sub, Mul, Div and their constant
// forms, Div_Round).
#define NYX_ARITH_SFS_FORMS(X)                                                           \
  X(8u, C1) X(8u, C3) X(8u, C4) X(8u, AC4) X(16u, C1) X(16u, C3) X(16u, C4) X(16u, AC4) \
  X(16s, C1) X(16s, C3) X(16s, C4) X(16s, AC4)

// The 8u forms of nyxiAdd, the first slice of the family.
#define NYX_ADD_SFS_FORMS(X) X(8u, C1) X(8u, C3) X(8u, C4) X(8u, AC4)

// Float forms (Add, Sub, Mul, Div and their constant forms).
#define NYX_ARITH_F32_FORMS(X) X(C1) X(C3) X(C4) X(AC4)

// MulScale and MulCScale.
#define NYX_MUL_SCALE_FORMS(X) \
  X(8u, C1) X(8u, C3) X(8u, C4) X(8u, AC4) X(16u, C1) X(16u, C3) X(16u, C4) X(16u, AC4)

// MulC64f: no AC4.
#define NYX_MULC64F_FORMS(X)                                                         \
  X(8u, C1) X(8u, C3) X(8u, C4) X(16u, C1) X(16u, C3) X(16u, C4) X(16s, C1) X(16s, C3) \
  X(16s, C4) X(32f, C1) X(32f, C3) X(32f, C4)
