// Reference model of the box filter and window sums, written from the rules:
// extend the image by the border word, sum the mask exactly (integers) or in
// the stated float order (32f), then apply each kernel's documented rounding.
#pragma once

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>

namespace nyx::ref {

struct BoxMask {
  int mw, mh;
  int ax() const { return (mw - 1) / 2; }
  int ay() const { return (mh - 1) / 2; }
  int rx() const { return mw - 1 - ax(); }
  int ry() const { return mh - 1 - ay(); }
};

// Index on one axis of the extended image. The real pixels of the axis are
// [lo, hi): the ROI, plus what the mask reaches beyond it on a side whose
// in-memory flag is set. Outside, replicate repeats the last real pixel and
// mirror reflects about it (period 2n-2); -1 means "the constant".
inline int64_t AxisIndex(int64_t i, int64_t lo, int64_t hi, int mode) {
  if (i >= lo && i < hi) return i;
  if (mode == 6) return -1 - 0x40000000;  // outside: constant
  const int64_t n = hi - lo;
  if (mode == 1) return i < lo ? lo : hi - 1;
  if (n == 1) return lo;
  const int64_t p = 2 * n - 2;
  int64_t r = (i - lo) % p;
  if (r < 0) r += p;
  return lo + (r < n ? r : p - r);
}

// The extended image as a function of ROI coordinates. `pixel(x, y, c)`
// reads the caller's memory (x, y may lie outside the ROI on in-memory
// sides); `value[c]` is the constant.
template <class T>
struct ExtendedImage {
  std::function<T(int64_t, int64_t, int)> pixel;
  int64_t W, H;
  BoxMask m;
  int mode;
  unsigned flags;
  const T* value;

  T operator()(int64_t x, int64_t y, int c) const {
    const int64_t lox = (flags & 0x40) ? -m.ax() : 0, hix = (flags & 0x80) ? W + m.rx() : W;
    const int64_t loy = (flags & 0x10) ? -m.ay() : 0, hiy = (flags & 0x20) ? H + m.ry() : H;
    const int64_t sx = AxisIndex(x, lox, hix, mode), sy = AxisIndex(y, loy, hiy, mode);
    if (sx < -0x3fffffff || sy < -0x3fffffff) return value[c];
    return pixel(sx, sy, c);
  }
};

// Exact window sum of integer samples for output (x, y).
template <class T>
int64_t WindowSum(const ExtendedImage<T>& e, int64_t x, int64_t y, int c) {
  int64_t s = 0;
  for (int j = 0; j < e.m.mh; ++j)
    for (int i = 0; i < e.m.mw; ++i) s += e(x - e.m.ax() + i, y - e.m.ay() + j, c);
  return s;
}

// Float window sum of 32f samples: each row of the window added left to
// right, the row sums added top to bottom.
inline float WindowSumFloat(const ExtendedImage<float>& e, int64_t x, int64_t y, int c) {
  float v = 0.0f;
  for (int j = 0; j < e.m.mh; ++j) {
    float h = e(x - e.m.ax(), y - e.m.ay() + j, c);
    for (int i = 1; i < e.m.mw; ++i) h += e(x - e.m.ax() + i, y - e.m.ay() + j, c);
    v = j == 0 ? h : v + h;
  }
  return v;
}

template <class T>
T SaturateInt(int64_t v) {
  const int64_t lo = std::numeric_limits<T>::min(), hi = std::numeric_limits<T>::max();
  return static_cast<T>(v < lo ? lo : (v > hi ? hi : v));
}

inline float Reciprocal(BoxMask m) { return 1.0f / static_cast<float>(m.mw * m.mh); }

// The rounding rules of the box filter on an exact sum S.
inline int64_t MulShiftRule(int64_t s, uint64_t k, int shift) {
  return static_cast<int64_t>((static_cast<uint64_t>(s) * k + (uint64_t{1} << (shift - 1))) >>
                              shift);
}
inline int64_t NearestEvenRule(int64_t s, float r) {
  const float prod = static_cast<float>(s) * r;
  return static_cast<int64_t>(std::nearbyint(prod));
}
inline int64_t HalfUpRule(int64_t s, float r) {
  return static_cast<int64_t>(std::trunc(std::fma(static_cast<float>(s), r, 0.5f)));
}

}  // namespace nyx::ref
