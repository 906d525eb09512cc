// Reference model of the general kernel filter, written from the rules:
// dst(x, y) = sum of K[j][i] * src(x + kw-1-ax - i, y + kh-1-ay - j) over
// the image extended by the border word (ExtendedImage of ref/box.h), with
// the caller's unflipped kernel K; then the rounding of each path.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

#include "tests/support/ref/box.h"

namespace nyx::ref {

// The source sample that tap K[j][i] multiplies for output (x, y).
template <class T>
T Under(const ExtendedImage<T>& e, int64_t x, int64_t y, int i, int j, int c) {
  const int kw = e.m.mw, kh = e.m.mh;
  return e(x + (kw - 1 - e.m.ax()) - i, y + (kh - 1 - e.m.ay()) - j, c);
}

// Integer sum, exact, then wrapped to 32 bits as the library's lanes do.
template <class T>
int32_t ConvSum(const ExtendedImage<T>& e, const int16_t* k, int64_t x, int64_t y, int c) {
  int64_t s = 0;
  for (int j = 0; j < e.m.mh; ++j)
    for (int i = 0; i < e.m.mw; ++i) s += int64_t{k[j * e.m.mw + i]} * Under(e, x, y, i, j, c);
  return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(s)));
}

// Float sum: a chain of fused multiply-adds from +0, taking the taps from
// the last one of K to the first (the order of the flipped array).
template <class Acc, class T>
Acc ConvChain(const ExtendedImage<T>& e, const Acc* k, int64_t x, int64_t y, int c) {
  Acc acc = 0;
  for (int j = e.m.mh - 1; j >= 0; --j)
    for (int i = e.m.mw - 1; i >= 0; --i)
      acc = std::fma(k[j * e.m.mw + i], static_cast<Acc>(Under(e, x, y, i, j, c)), acc);
  return acc;
}

// Float steps rounded toward zero (tz) or to nearest, computed exactly in
// double and then rounded to float.
inline float ToFloat(double exact, bool tz) {
  float f = static_cast<float>(exact);
  if (tz && std::fabs(static_cast<double>(f)) > std::fabs(exact)) f = std::nextafter(f, 0.0f);
  return f;
}

inline int64_t FloorDiv(int64_t a, int64_t b) {
  int64_t q = a / b;
  if ((a % b != 0) && ((a < 0) != (b < 0))) --q;
  return q;
}

// The fast rule: divisor 1 adds the offset; a power of two rounds to nearest
// even in integers; other divisors multiply by the float reciprocal and
// round by the mode (0 toward zero, with float steps toward zero too).
inline int64_t FastRule(int32_t s, int divisor, int mode, int offset) {
  const bool tz = mode == 0;
  if (divisor == 1) return int64_t{s} + offset;
  if (divisor > 0 && (divisor & (divisor - 1)) == 0) {
    const int64_t q = FloorDiv(s, divisor), rem = s - q * divisor;
    const int64_t r = 2 * rem > divisor || (2 * rem == divisor && (q & 1)) ? q + 1 : q;
    return r + offset;
  }
  const float rec = 1.0f / static_cast<float>(divisor);
  const float p = ToFloat(static_cast<double>(ToFloat(s, tz)) * rec, tz);
  return static_cast<int64_t>(tz ? std::trunc(p) : std::nearbyint(p)) + offset;
}

// The exact rule: t = trunc((float)S + offset * divisor); then t / divisor
// rounded by the mode: 0 toward zero, 1 nearest even, 2 half up. A divisor
// that is not a power of two divides in double.
inline int64_t ExactRule(int32_t s, int divisor, int mode, int offset, bool tz) {
  const float offset_f = static_cast<float>(int64_t{offset} * divisor);
  const int64_t t = static_cast<int64_t>(
      std::trunc(ToFloat(static_cast<double>(ToFloat(s, tz)) + offset_f, tz)));
  if (divisor == 1) return t;
  if (divisor > 0 && (divisor & (divisor - 1)) == 0) {
    if (mode == 0) return t / divisor;
    if (mode == 2) return FloorDiv(t + divisor / 2, divisor);
    const int64_t q = FloorDiv(t, divisor), rem = t - q * divisor;
    return 2 * rem > divisor || (2 * rem == divisor && (q & 1)) ? q + 1 : q;
  }
  if (mode == 0) return t / divisor;
  const double q = static_cast<double>(t) / static_cast<double>(static_cast<float>(divisor));
  if (mode == 2) return static_cast<int64_t>(std::floor(q + 0.5));
  return static_cast<int64_t>(std::nearbyint(q));
}

// Float sums to integer samples: + offsetF, rounded by the mode, saturated.
template <class D>
D FloatToSample(float v, float offset_f, int mode) {
  const float w = v + offset_f;
  double r;
  if (mode == 0) r = std::trunc(w);
  else if (mode == 2) r = std::floor(static_cast<double>(w) + 0.5);
  else r = std::nearbyint(static_cast<double>(w));
  const double lo = std::numeric_limits<D>::min(), hi = std::numeric_limits<D>::max();
  return static_cast<D>(r < lo ? lo : (r > hi ? hi : r));
}

}  // namespace nyx::ref
