// Forms tables of the copy family: the sample types every member takes, and
// the layouts of each member, expanded into entries, tests and benchmarks.
#pragma once

#define NYX_COPY_TYPES(X) X(8u) X(16u) X(16s) X(32s) X(32f)

// (type, layout) of the whole-pixel copies, each with its _L form.
#define NYX_COPY_PIXEL_FORMS(X, T) X(T, C1) X(T, C3) X(T, C4) X(T, AC4)

// Channel moves: (type, descriptor, source channels, destination channels,
// channels that move per pixel).
// clang-format off
#define NYX_COPY_CHANNEL_FORMS(X, T)                                      \
  X(T, C3C1R, 3, 1, 1) X(T, C4C1R, 4, 1, 1) X(T, C1C3R, 1, 3, 1)          \
  X(T, C1C4R, 1, 4, 1) X(T, C3CR, 3, 3, 1) X(T, C4CR, 4, 4, 1)            \
  X(T, C3AC4R, 3, 4, 3) X(T, AC4C3R, 4, 3, 3)
// clang-format on

// Mirror: (type, diagonal flips at C1, diagonal flips at C4). The diagonals
// exist at 8u C1, 16u C1 and 32s C1, and at the forms that run as 32s C1.
#define NYX_MIRROR_TYPES(X) \
  X(8u, true, true) X(16u, true, false) X(16s, false, false) X(32s, true, false) X(32f, true, false)
