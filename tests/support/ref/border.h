// Reference model of the border modes: where a pixel outside an axis of n
// pixels is read from. Written as the rule says it, by repeated reflection or
// shifting, with no modular shortcut, so it is independent of the library's
// closed forms. Meant for the small indices of tests (|i| up to a few
// hundred times n).
#pragma once

#include <cstdint>

namespace nyx::ref {

enum class BorderMode { kRepl = 1, kWrap = 2, kMirror = 3, kMirrorR = 4, kConst = 6 };

inline int64_t BorderSource(BorderMode mode, int64_t i, int64_t n) {
  switch (mode) {
    case BorderMode::kRepl:
      return i < 0 ? 0 : (i >= n ? n - 1 : i);
    case BorderMode::kWrap:
      while (i < 0) i += n;
      while (i >= n) i -= n;
      return i;
    case BorderMode::kMirror:
      // Reflect about the edge pixel itself: -1 -> 1, n -> n-2.
      if (n == 1) return 0;
      while (i < 0 || i >= n) i = i < 0 ? -i : 2 * (n - 1) - i;
      return i;
    case BorderMode::kMirrorR:
      // Reflect about the edge between pixels: -1 -> 0, n -> n-1.
      while (i < 0 || i >= n) i = i < 0 ? -1 - i : 2 * n - 1 - i;
      return i;
    default:
      return -1;  // no source pixel
  }
}

}  // namespace nyx::ref
