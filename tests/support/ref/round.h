// Reference models of the integer rules, written from the rules themselves:
// exact values in wide integers, round half to even, saturate.
#pragma once

#include <cstdint>
#include <limits>

namespace nyx::ref {

template <class T>
T Saturate(__int128 x) {
  const __int128 lo = std::numeric_limits<T>::min(), hi = std::numeric_limits<T>::max();
  return static_cast<T>(x < lo ? lo : (x > hi ? hi : x));
}

// round(num / den) with ties to even, den > 0, exact.
inline __int128 DivRoundHalfEven(__int128 num, __int128 den) {
  __int128 q = num / den, r = num % den;
  if (r < 0) {  // floor division
    q -= 1;
    r += den;
  }
  const __int128 twice = 2 * r;
  if (twice > den || (twice == den && (q & 1))) q += 1;
  return q;
}

// The scale-factor rule: saturate(round_half_even(x * 2^-sf)); a negative
// scale factor multiplies (any size: the result saturates).
template <class T>
T ScaleSfs(int64_t x, int sf) {
  if (sf >= 0) {
    if (sf >= 100) return Saturate<T>(0);
    return Saturate<T>(DivRoundHalfEven(x, static_cast<__int128>(1) << sf));
  }
  if (x == 0) return 0;
  const int n = -sf;
  if (n >= 64) return Saturate<T>(x > 0 ? std::numeric_limits<int64_t>::max()
                                        : std::numeric_limits<int64_t>::min());
  return Saturate<T>(static_cast<__int128>(x) * (static_cast<__int128>(1) << n));
}

}  // namespace nyx::ref
