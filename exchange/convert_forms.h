// Forms tables of the conversion family: (source, destination) type tags that
// the emitter macros expand into entries, tests and benchmarks.
#pragma once

// clang-format off
// nyxiConvert, value kept or saturated, at C1, C3, C4 and AC4.
#define NYX_CONVERT_PLAIN_FORMS(X)                                                 \
  X(8u, 16u) X(8u, 16s) X(8u, 32s) X(8u, 32f) X(8s, 32s) X(8s, 32f) X(16u, 32s)     \
  X(16u, 32f) X(16s, 32s) X(16s, 32f) X(16u, 8u) X(16s, 8u) X(32s, 8u) X(32s, 8s)
// nyxiConvert, value kept (32-bit integers to float: nearest single), C1 only.
#define NYX_CONVERT_PLAIN_C1_FORMS(X) X(8s, 16s) X(16u, 32u) X(32s, 32f) X(32u, 32f) X(8s, 64f)
// nyxiConvert from float with a rounding mode, at C1, C3, C4 and AC4.
#define NYX_CONVERT_ROUND_FORMS(X) X(32f, 8u) X(32f, 8s) X(32f, 16u) X(32f, 16s)
// nyxiConvert with a rounding mode and a scale factor, C1 only.
#define NYX_CONVERT_SFS_FLOAT_FORMS(X)                                                 \
  X(32f, 16s) X(32f, 16u) X(32f, 32s) X(32f, 32u) X(32f, 8s) X(32f, 8u)                 \
  X(64f, 16s) X(64f, 16u) X(64f, 8s) X(64f, 8u)
#define NYX_CONVERT_SFS_INT_FORMS(X)                                                   \
  X(16s, 8s) X(16u, 16s) X(16u, 8s) X(32s, 16s) X(32s, 16u) X(32u, 16s) X(32u, 16u)     \
  X(32u, 32s) X(32u, 8s) X(32u, 8u) X(8u, 8s)
// nyxiConvert from signed to unsigned: negative samples become 0.
#define NYX_CONVERT_RS_FORMS(X) X(8s, 8u) X(8s, 16u) X(8s, 32u) X(16s, 16u) X(16s, 32u) X(32s, 32u)

// nyxiScale at C1, C3, C4 and AC4, by argument shape.
#define NYX_SCALE_WIDEN_FORMS(X) X(8u, 16u) X(8u, 16s) X(8u, 32s)
#define NYX_SCALE_HINT_FORMS(X) X(16s, 8u) X(16u, 8u) X(32s, 8u)
#define NYX_SCALE_RANGE_FORMS(X) X(8u, 32f) X(32f, 8u)

// nyxiScaleC: every ordered pair of different types (C1R), and each type
// with itself (C1R and C1IR).
#define NYX_SCALEC_TYPES(X) X(8u) X(8s) X(16u) X(16s) X(32s) X(32f) X(64f)
#define NYX_SCALEC_PAIRS(X)                                              \
  X(8u, 8s) X(8u, 16u) X(8u, 16s) X(8u, 32s) X(8u, 32f) X(8u, 64f)       \
  X(8s, 8u) X(8s, 16u) X(8s, 16s) X(8s, 32s) X(8s, 32f) X(8s, 64f)       \
  X(16u, 8u) X(16u, 8s) X(16u, 16s) X(16u, 32s) X(16u, 32f) X(16u, 64f)  \
  X(16s, 8u) X(16s, 8s) X(16s, 16u) X(16s, 32s) X(16s, 32f) X(16s, 64f)  \
  X(32s, 8u) X(32s, 8s) X(32s, 16u) X(32s, 16s) X(32s, 32f) X(32s, 64f)  \
  X(32f, 8u) X(32f, 8s) X(32f, 16u) X(32f, 16s) X(32f, 32s) X(32f, 64f)  \
  X(64f, 8u) X(64f, 8s) X(64f, 16u) X(64f, 16s) X(64f, 32s) X(64f, 32f)

// nyxiBinToGray and nyxiGrayToBin.
#define NYX_BINGRAY_FORMS(X) X(8u) X(16u) X(16s) X(32f)
// clang-format on
