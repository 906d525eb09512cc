// Scalar models of the arithmetic family, written from its rules: exact
// values in wide integers, the scale-factor rule of round.h, exact rational
// division, and the float recipes of the rounding-mode operations.
#pragma once

#include <cfenv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "tests/support/ref/round.h"

namespace nyx::ref {

enum class ArithOp { kAdd, kSub, kMul, kDiv };

inline const char* OpName(ArithOp op) {
  switch (op) {
    case ArithOp::kAdd: return "Add";
    case ArithOp::kSub: return "Sub";
    case ArithOp::kMul: return "Mul";
    default: return "Div";
  }
}

// The bound of T in the direction of the sign of x (0 for 0).
template <class T>
T SignBound(__int128 x) {
  return x > 0 ? std::numeric_limits<T>::max() : (x < 0 ? std::numeric_limits<T>::min() : T{0});
}

// round(num / (den * 2^sf)) to nearest even, saturated; den == 0 gives the
// bound in the direction of num.
template <class T>
T DivSfs(int64_t num, int64_t den, int sf) {
  if (den == 0) return SignBound<T>(num);
  if (sf > 100) sf = 100;    // every quotient is far below one half
  if (sf < -100) sf = -100;  // every non-zero quotient saturates
  __int128 n = num, d = den;
  if (sf >= 0) d *= static_cast<__int128>(1) << sf;
  else n *= static_cast<__int128>(1) << -sf;
  if (d < 0) {
    n = -n;
    d = -d;
  }
  return Saturate<T>(DivRoundHalfEven(n, d));
}

// The value of a two-image operation on samples a (first source) and b
// (second source): Sub is b - a, Div is b / a.
template <class T>
T IntOp(ArithOp op, T a, T b, int sf) {
  const int64_t x = a, y = b;
  switch (op) {
    case ArithOp::kAdd: return ScaleSfs<T>(x + y, sf);
    case ArithOp::kSub: return ScaleSfs<T>(y - x, sf);
    case ArithOp::kMul: return ScaleSfs<T>(x * y, sf);
    default: return DivSfs<T>(y, x, sf);
  }
}

// Float: one IEEE operation (the compiler must not fold or fuse: the tests
// build with -ffp-contract=off and the operands come from memory).
inline float FloatOp(ArithOp op, float a, float b) {
  volatile float x = a, y = b;
  switch (op) {
    case ArithOp::kAdd: return x + y;
    case ArithOp::kSub: return y - x;
    case ArithOp::kMul: return x * y;
    default: return y / x;
  }
}

// MulScale: samples are fractions of the full range; p = a * b,
// result = (p + 1 + (p >> w)) >> w with w the bits of T.
template <class T>
T MulScale(T a, T b) {
  const uint64_t p = static_cast<uint64_t>(a) * b;
  constexpr int w = 8 * sizeof(T);
  return static_cast<T>((p + 1 + (p >> w)) >> w);
}

// Runs f with the floating-point rounding mode set, then restores it.
template <class F>
auto WithRounding(int mode, F&& f) {
  const int saved = std::fegetround();
  std::fesetround(mode);
  auto r = f();
  std::fesetround(saved);
  return r;
}

// Half away from zero: 0.5 with the sign of q added, then truncated.
template <class F>
F HalfAway(F q) {
  return std::trunc(q + std::copysign(F(0.5), q));
}

// Div_Round: the float quotient (under the mode's rounding for modes 0 and 1,
// under nearest for mode 2), clamped, converted by the mode. Scale factors
// outside the float range of the type give the values of the exact rule.
template <class T>
T DivRound(T divisor, T dividend, int mode, int sf, int float_lo, int float_hi) {
  if (divisor == 0) return SignBound<T>(dividend);
  if (sf > float_hi || sf < float_lo) return DivSfs<T>(dividend, divisor, sf);
  const float num = std::ldexp(static_cast<float>(dividend), sf < 0 ? -sf : 0);
  const float den = std::ldexp(static_cast<float>(divisor), sf > 0 ? sf : 0);
  const int fe = mode == 0 ? FE_TOWARDZERO : FE_TONEAREST;
  float q = WithRounding(fe, [&] {
    volatile float n = num, d = den;
    return static_cast<float>(n / d);
  });
  q = std::fmin(std::fmax(q, static_cast<float>(std::numeric_limits<T>::min())),
                static_cast<float>(std::numeric_limits<T>::max()));
  if (mode == 0) return static_cast<T>(std::trunc(q));
  if (mode == 1) return static_cast<T>(std::nearbyint(q));  // nearest even under FE_TONEAREST
  return static_cast<T>(HalfAway(q));
}

// MulC64f: hint 2 multiplies in double, otherwise the constant is rounded to
// float and the product is a float; both under the mode's rounding (nearest
// for mode 2); integer results clamped and converted by the mode.
template <class T>
T MulC64f(T x, double c, bool accurate, int mode) {
  // Float results have no mode: the product rounds to nearest.
  const int fe = mode == 0 && !std::is_floating_point_v<T> ? FE_TOWARDZERO : FE_TONEAREST;
  const float cf = static_cast<float>(c);
  const double p = WithRounding(fe, [&]() -> double {
    volatile double xd = static_cast<double>(x), cd = c;
    volatile float xf = static_cast<float>(x), cff = cf;
    if (accurate) return xd * cd;
    return static_cast<float>(xf * cff);
  });
  if constexpr (std::is_floating_point_v<T>) {
    return static_cast<T>(p);  // the double product rounds to float
  } else {
    const double lo = std::numeric_limits<T>::min(), hi = std::numeric_limits<T>::max();
    const double q = std::fmin(std::fmax(p, lo), hi);
    if (mode == 0) return static_cast<T>(std::trunc(q));
    if (mode == 2) return static_cast<T>(HalfAway(q));
    return static_cast<T>(std::nearbyint(q));
  }
}

template <class T>
bool SameBits(T a, T b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

}  // namespace nyx::ref
