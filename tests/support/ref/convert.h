// Reference models of the conversion rules, written from the rules in plain
// scalar arithmetic: exact rounding by mode in double or in wide integers,
// saturation by comparison. None of them depends on the control word, except
// where a rule says the caller's rounding mode stands (ScaleC), which the
// models then get from the C library (nearbyint, plain casts).
#pragma once

#include <cfenv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "tests/support/ref/round.h"

namespace nyx::ref {

enum RoundBy { kTowardZero = 0, kNearestEven = 1, kTiesAway = 2 };

// Rounds v to an integer by mode, exactly (v - trunc(v) is exact in double).
inline double RoundMode(double v, int mode) {
  if (!std::isfinite(v)) return v;
  const double t = std::trunc(v);
  const double frac = std::fabs(v - t);
  const double away = t + (v < 0 ? -1.0 : 1.0);
  if (mode == kTowardZero || frac < 0.5) return t;
  if (frac > 0.5) return away;
  if (mode == kTiesAway) return away;
  return std::fmod(t, 2.0) == 0.0 ? t : away;
}

template <class T>
constexpr double MinOf() {
  return static_cast<double>(std::numeric_limits<T>::min());
}
template <class T>
constexpr double MaxOf() {
  return static_cast<double>(std::numeric_limits<T>::max());
}

// Saturates an integral (or infinite) value to T; NaN gives T's minimum.
template <class T>
T SaturateValue(double v) {
  if (std::isnan(v) || v <= MinOf<T>()) return std::numeric_limits<T>::min();
  if (v >= MaxOf<T>()) return std::numeric_limits<T>::max();
  return static_cast<T>(v);
}

// The nearest float toward zero (the single rounding of a fused operation run
// under truncation).
inline float ToFloatTowardZero(double v) {
  float f = static_cast<float>(v);
  if (std::isfinite(v) && std::fabs(static_cast<double>(f)) > std::fabs(v)) {
    f = std::nextafter(f, 0.0f);
  }
  return f;
}

inline uint32_t FloatBits(float x) {
  uint32_t u;
  std::memcpy(&u, &x, 4);
  return u;
}

// Float to integer with a rounding mode (nyxiConvert_32f8u_C1R and its
// like). Mode 0 and 1: the processor's conversion to a 32-bit integer, where
// NaN, infinities and values out of its range give the indefinite integer,
// which saturates to T's minimum; the fix-up then gives T's maximum to a
// finite source above 1.0 whose result is that minimum. Any other mode: NaN
// becomes T's maximum, values are capped at it, ties go away from zero.
template <class T>
T ConvertFloat(float x, unsigned mode) {
  if (mode > 1) {
    const double y = std::isnan(x) ? MaxOf<T>() : std::fmin(static_cast<double>(x), MaxOf<T>());
    return SaturateValue<T>(RoundMode(y, kTiesAway));
  }
  const double r = RoundMode(x, mode == 0 ? kTowardZero : kNearestEven);
  T out;
  if (std::isnan(r) || r < -2147483648.0 || r > 2147483647.0)
    out = std::numeric_limits<T>::min();
  else
    out = SaturateValue<T>(r);
  const uint32_t bits = FloatBits(x);
  if (out == std::numeric_limits<T>::min() && bits >= 0x3F800001u && bits <= 0x7F7FFFFFu) {
    out = std::numeric_limits<T>::max();
  }
  return out;
}

// Float to integer with a scale factor: v = x * 2^-sf with the factor made by
// subtracting sf from the exponent field of 1.0; mode 0 truncates, mode 1
// rounds to nearest even, mode 2 adds one half with the sign of x in one
// rounding toward zero and truncates; saturates; NaN gives T's minimum.
template <class T>
T ConvertFloatSfs(float x, int sf, int mode) {
  const uint32_t fbits = 0x3F800000u - (static_cast<uint32_t>(sf) << 23);
  float f;
  std::memcpy(&f, &fbits, 4);
  const double v = static_cast<double>(x) * static_cast<double>(f);
  if (std::isnan(v)) return std::numeric_limits<T>::min();
  double r;
  if (mode == 2) {
    r = std::trunc(ToFloatTowardZero(v + std::copysign(0.5, static_cast<double>(x))));
  } else {
    r = RoundMode(ToFloatTowardZero(v), mode);
  }
  return SaturateValue<T>(r);
}

// Double to integer with a scale factor (the test values keep v + 0.5 exact,
// so the one rounding of the fused operation does not show).
template <class T>
T ConvertDoubleSfs(double x, int sf, int mode) {
  const double v = std::ldexp(x, -sf);
  if (std::isnan(v)) return std::numeric_limits<T>::min();
  return SaturateValue<T>(RoundMode(v, mode));
}

// Integer to integer with a scale factor, exact in 128-bit integers.
template <class T>
T ConvertIntSfs(int64_t x, int sf, int mode) {
  __int128 q;
  if (sf <= 0) {
    if (x == 0) return 0;
    if (-sf >= 64) return x > 0 ? std::numeric_limits<T>::max() : std::numeric_limits<T>::min();
    q = static_cast<__int128>(x) * (static_cast<__int128>(1) << -sf);
  } else if (sf >= 64) {
    q = 0;  // |x| < 2^33: below one half in every mode
  } else {
    const __int128 den = static_cast<__int128>(1) << sf;
    __int128 t = x / den;  // toward zero
    const __int128 rem = x - t * den;
    const __int128 twice = 2 * (rem < 0 ? -rem : rem);
    const int step = x < 0 ? -1 : 1;
    if (mode != kTowardZero) {
      if (twice > den || (twice == den && (mode == kTiesAway || (t & 1)))) t += step;
    }
    q = t;
  }
  return Saturate<T>(q);
}

}  // namespace nyx::ref
