// nyxiScale and nyxiScaleC.
#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "exchange/convert_forms.h"
#include "nyx.h"
#include "tests/exchange/convert_harness.h"
#include "tests/support/ref/convert.h"

namespace nyx::test {
namespace {

// ---------------------------------------------------------------------------
// nyxiScale models, from the formulas of each form.

template <class D>
D ScaleWidenModel(Nyx8u x) {
  const uint32_t r16 = (uint32_t{x} << 8) | x;
  if constexpr (std::is_same_v<D, Nyx16u>)
    return static_cast<Nyx16u>(r16);
  else if constexpr (std::is_same_v<D, Nyx16s>)
    return static_cast<Nyx16s>(static_cast<int32_t>(r16) - 32768);
  else
    return static_cast<Nyx32s>((uint32_t{x} * 0x01010101u) ^ 0x80000000u);
}

inline int RoundHalfEvenInt(double v) {
  return static_cast<int>(ref::RoundMode(v, ref::kNearestEven));
}

template <class S>
Nyx8u ScaleNarrowModel(S x, bool accurate) {
  if (!accurate) {
    // Floor division by 256 written out (an arithmetic shift of a negative
    // value rounds down).
    auto shr = [](int64_t v, int k) {
      return static_cast<int64_t>(std::floor(std::ldexp(static_cast<double>(v), -k)));
    };
    int64_t v = x;
    if constexpr (std::is_same_v<S, Nyx16u>) v -= 32768;
    const int k = std::is_same_v<S, Nyx32s> ? 24 : 8;
    return static_cast<Nyx8u>(shr(v - shr(v, 8), k) + 128);
  }
  if constexpr (std::is_same_v<S, Nyx32s>) {
    const double y =
        static_cast<double>(x) * (255.0 / 4294967295.0) + 255.0 * 2147483648.0 / 4294967295.0;
    return ref::SaturateValue<Nyx8u>(RoundHalfEvenInt(y));
  } else {
    const float bias = std::is_same_v<S, Nyx16s> ? 32768.0f : 0.0f;
    const float y = (static_cast<float>(x) + bias) * (1.0f / 257.0f);
    return ref::SaturateValue<Nyx8u>(RoundHalfEvenInt(y));
  }
}

template <class S, class D, class Fn, class... Extra>
ImageCall<S, D> BindScale(Fn fn, Extra... extra) {
  return
      [=](const S* s, int ss, D* d, int ds, NyxiSize r) { return fn(s, ss, d, ds, r, extra...); };
}

template <class S, class D, class Model, class Fn, class... Extra>
void CheckScaleForm(Fn c1, Fn c3, Fn c4, Fn ac4, Model model, const std::string& what,
                    Extra... extra) {
  std::mt19937 rng(9);
  const std::vector<S> in = InputsOf<S>(rng);
  const int width = in.size() > 4096 ? 256 : 37;
  const int height = static_cast<int>((in.size() + width - 1) / width);
  std::vector<S> used;
  ExpectModel(used,
              RunPadded(BindScale<S, D>(c1, extra...), in, width, height, 1, false, &used, rng),
              model, what + " C1");
  ExpectModel(in, RunContiguous(BindScale<S, D>(c1, extra...), in, static_cast<int>(in.size()), 1),
              model, what + " merged");
  ExpectModel(used, RunPadded(BindScale<S, D>(c3, extra...), in, 11, 4, 3, false, &used, rng),
              model, what + " C3");
  ExpectModel(used, RunPadded(BindScale<S, D>(c4, extra...), in, 11, 4, 4, false, &used, rng),
              model, what + " C4");
  ExpectModel(used, RunPadded(BindScale<S, D>(ac4, extra...), in, 11, 4, 4, true, &used, rng),
              model, what + " AC4", true);
}

#define NYX_SCALE_FNS(S, D) \
  nyxiScale_##S##D##_C1R, nyxiScale_##S##D##_C3R, nyxiScale_##S##D##_C4R, nyxiScale_##S##D##_AC4R

TEST(Scale, WideningEveryValue) {
#define NYX_TEST_SCALE_WIDEN(S, D) \
  CheckScaleForm<Nyx##S, Nyx##D>(NYX_SCALE_FNS(S, D), ScaleWidenModel<Nyx##D>, #S #D);
  NYX_SCALE_WIDEN_FORMS(NYX_TEST_SCALE_WIDEN)
}

TEST(Scale, NarrowingEveryValueBothPaths) {
#define NYX_TEST_SCALE_HINT(S, D)                                                                 \
  for (int hint : {0, 1, 2, 3}) {                                                                 \
    CheckScaleForm<Nyx##S, Nyx##D>(                                                               \
        NYX_SCALE_FNS(S, D), [hint](Nyx##S x) { return ScaleNarrowModel<Nyx##S>(x, hint == 2); }, \
        #S #D " hint " + std::to_string(hint), static_cast<NyxHintAlgorithm>(hint));              \
  }
  NYX_SCALE_HINT_FORMS(NYX_TEST_SCALE_HINT)
}

TEST(Scale, ByteToFloatRange) {
  for (auto [lo, hi] : {std::pair{0.0f, 1.0f}, std::pair{-1.0f, 1.0f}, std::pair{10.0f, 10.5f},
                        std::pair{-3e5f, 7e6f}}) {
    auto model = [lo, hi](Nyx8u x) {
      const float k = (hi - lo) * 0.003921568859368563f;
      return lo + static_cast<float>(x) * k;
    };
    CheckScaleForm<Nyx8u, Nyx32f>(NYX_SCALE_FNS(8u, 32f), model, "8u32f", lo, hi);
  }
}

TEST(Scale, FloatToByteRange) {
  for (auto [lo, hi] : {std::pair{0.0f, 1.0f}, std::pair{-1.0f, 1.0f}, std::pair{-1000.0f, 2000.0f},
                        std::pair{0.0f, 255.0f}}) {
    auto model = [lo, hi](Nyx32f x) {
      const float a = 255.0f / (hi - lo);
      const float b = -lo * a;
      const float y = std::fma(x, a, b);
      return ref::SaturateValue<Nyx8u>(ref::RoundMode(y, ref::kNearestEven));
    };
    CheckScaleForm<Nyx32f, Nyx8u>(NYX_SCALE_FNS(32f, 8u), model, "32f8u", lo, hi);
  }
}

// Rows long enough for the prefetching rounds of the widening kernels.
TEST(Scale, WideningLongRows) {
#define NYX_TEST_SCALE_WIDEN_LONG(S, D) \
  CheckLongRows<Nyx##S, Nyx##D>(nyxiScale_##S##D##_C1R, ScaleWidenModel<Nyx##D>, #S #D);
  NYX_SCALE_WIDEN_FORMS(NYX_TEST_SCALE_WIDEN_LONG)
  for (auto [lo, hi] : {std::pair{0.0f, 1.0f}, std::pair{-3e5f, 7e6f}}) {
    auto model = [lo, hi](Nyx8u x) {
      const float k = (hi - lo) * 0.003921568859368563f;
      return lo + static_cast<float>(x) * k;
    };
    CheckLongRows<Nyx8u, Nyx32f>(BindScale<Nyx8u, Nyx32f>(nyxiScale_8u32f_C1R, lo, hi), model,
                                 "8u32f");
  }
}

TEST(Scale, KnownValues) {
  const Nyx8u b[2] = {0, 255};
  Nyx16s s[2];
  ASSERT_EQ(nyxiScale_8u16s_C1R(b, 2, s, 4, {2, 1}), nyxStsNoErr);
  EXPECT_EQ(s[0], -32768);
  EXPECT_EQ(s[1], 32767);
  const Nyx16s w[2] = {-32768, 32767};
  Nyx8u o[2];
  ASSERT_EQ(nyxiScale_16s8u_C1R(w, 4, o, 2, {2, 1}, nyxAlgHintFast), nyxStsNoErr);
  EXPECT_EQ(o[0], 0);
  EXPECT_EQ(o[1], 255);
  Nyx32f f[2];
  EXPECT_EQ(nyxiScale_8u32f_C1R(nullptr, 2, f, 8, {2, 1}, 1.0f, 1.0f), nyxStsScaleRangeErr);
  EXPECT_EQ(nyxiScale_8u32f_C1R(nullptr, 2, f, 8, {2, 1}, 0.0f, 1.0f), nyxStsNullPtrErr);
  EXPECT_EQ(nyxiScale_32f8u_C1R(nullptr, 2, o, 8, {0, 1}, 2.0f, 1.0f), nyxStsScaleRangeErr);
  EXPECT_EQ(nyxiScale_32f8u_C1R(f, 8, o, 2, {2, 1}, 0.0f, NAN), nyxStsScaleRangeErr);
}

// ---------------------------------------------------------------------------
// nyxiScaleC: the model converts with the C library in the current rounding
// mode, as the rule says the kernels do.

template <class T>
double AsDouble(T x) {
  return static_cast<double>(x);
}

template <class D>
D FromSum(double y) {
  if constexpr (std::is_floating_point_v<D>) {
    return static_cast<D>(y);
  } else {
    if (std::isnan(y)) return std::numeric_limits<D>::min();
    return ref::SaturateValue<D>(std::nearbyint(y));
  }
}

template <class S, class D>
D ScaleCModel(S x, double m, double a, bool accurate) {
  // Same types and an identity within the double epsilon: a copy.
  if constexpr (std::is_same_v<S, D>) {
    if (std::fabs(m - 1.0) < 2.220446049250313e-16 && std::fabs(a) < 2.220446049250313e-16) {
      return x;
    }
  }
  if (accurate) return FromSum<D>(std::fma(AsDouble(x), m, a));
  const float y = std::fma(static_cast<float>(x), static_cast<float>(m), static_cast<float>(a));
  if constexpr (std::is_same_v<D, double>)
    return static_cast<double>(y);
  else if constexpr (std::is_same_v<D, float>)
    return y;
  else
    return FromSum<D>(y);
}

template <class S, class D>
using ScaleCFn = NyxStatus (*)(const S*, int, Nyx64f, Nyx64f, D*, int, NyxiSize, NyxHintAlgorithm);

template <class S, class D>
void CheckScaleCForm(ScaleCFn<S, D> fn, const std::string& what) {
  std::mt19937 rng(13);
  const std::vector<S> in = InputsOf<S>(rng, 1200);
  const int width = in.size() > 4096 ? 256 : 29;
  const int height = static_cast<int>((in.size() + width - 1) / width);
  std::vector<S> used;
  for (auto [m, a] : {std::pair{1.0, 0.0}, std::pair{0.5, 3.25}, std::pair{-1.75, 100.5},
                      std::pair{1.0 / 3.0, -1e-3}, std::pair{300.0, -7e4}, std::pair{1e-7, 2.5}}) {
    for (int hint : {0, 1, 2}) {
      auto call = [=](const S* s, int ss, D* d, int ds, NyxiSize r) {
        return fn(s, ss, m, a, d, ds, r, static_cast<NyxHintAlgorithm>(hint));
      };
      auto model = [=](S x) { return ScaleCModel<S, D>(x, m, a, hint == 2); };
      const std::string tag = what + " m " + std::to_string(m) + " a " + std::to_string(a) +
                              " hint " + std::to_string(hint);
      ExpectModel(used, RunPadded<S, D>(call, in, width, height, 1, false, &used, rng), model, tag);
      ExpectModel(in, RunContiguous<S, D>(call, in, static_cast<int>(in.size()), 1), model, tag);
      if (::testing::Test::HasFailure()) return;
    }
  }
}

TEST(ScaleC, EveryPair) {
#define NYX_TEST_SCALEC(S, D) CheckScaleCForm<Nyx##S, Nyx##D>(nyxiScaleC_##S##D##_C1R, #S #D);
#define NYX_TEST_SCALEC_SAME(T) CheckScaleCForm<Nyx##T, Nyx##T>(nyxiScaleC_##T##_C1R, #T);
  NYX_SCALEC_PAIRS(NYX_TEST_SCALEC)
  NYX_SCALEC_TYPES(NYX_TEST_SCALEC_SAME)
}

// Rows long enough for the prefetching rounds of the widening kernels, with
// both the single and the double kernel, at every pair of types.
template <class S, class D>
void CheckScaleCLongRows(ScaleCFn<S, D> fn, const std::string& what) {
  for (int hint : {0, 2}) {
    auto call = [=](const S* s, int ss, D* d, int ds, NyxiSize r) {
      return fn(s, ss, 0.75, -3.5, d, ds, r, static_cast<NyxHintAlgorithm>(hint));
    };
    auto model = [=](S x) { return ScaleCModel<S, D>(x, 0.75, -3.5, hint == 2); };
    CheckLongRows<S, D>(call, model, what + " hint " + std::to_string(hint));
  }
}

TEST(ScaleC, LongRows) {
#define NYX_TEST_SCALEC_LONG(S, D) CheckScaleCLongRows<Nyx##S, Nyx##D>(nyxiScaleC_##S##D##_C1R, #S #D);
  NYX_SCALEC_PAIRS(NYX_TEST_SCALEC_LONG)
}

// In place, every type: the same values as the two-image form.
template <class T>
void CheckInPlace(NyxStatus (*ip)(Nyx64f, Nyx64f, T*, int, NyxiSize, NyxHintAlgorithm),
                  ScaleCFn<T, T> two) {
  std::mt19937 rng(17);
  PaddedImage<T> a(33, 5, 1, 3, 8), b(33, 5, 1, 3, 8), src(33, 5, 1, 3, 8);
  src.FillRandom(rng);
  for (int hint : {1, 2}) {
    for (int y = 0; y < 5; ++y)
      for (int x = 0; x < 33; ++x) a.at(x, y) = src.at(x, y);
    const auto h = static_cast<NyxHintAlgorithm>(hint);
    ASSERT_EQ(ip(0.75, -2.5, a.roi(), a.step(), a.size(), h), nyxStsNoErr);
    ASSERT_EQ(two(src.roi(), src.step(), 0.75, -2.5, b.roi(), b.step(), b.size(), h), nyxStsNoErr);
    EXPECT_TRUE(a.OutsideIntact());
    for (int y = 0; y < 5; ++y)
      for (int x = 0; x < 33; ++x) ASSERT_TRUE(SameValue(a.at(x, y), b.at(x, y)));
  }
}

TEST(ScaleC, InPlaceEveryType) {
#define NYX_TEST_SCALEC_IP(T) CheckInPlace<Nyx##T>(nyxiScaleC_##T##_C1IR, nyxiScaleC_##T##_C1R);
  NYX_SCALEC_TYPES(NYX_TEST_SCALEC_IP)
}

// The copy shortcut tests nothing of its own: the copy's statuses stand, and
// the destination receives the source bits (NaN payloads included).
TEST(ScaleC, IdentityIsACopy) {
  EXPECT_EQ(nyxiScaleC_8u_C1R(nullptr, 1, 1.0, 0.0, nullptr, 1, {4, 4}, nyxAlgHintNone),
            nyxStsNullPtrErr);
  Nyx8u one = 3, out = 0;
  EXPECT_EQ(nyxiScaleC_8u_C1R(&one, 0, 1.0, 0.0, &out, 0, {1, 2}, nyxAlgHintNone), nyxStsNoErr);
  EXPECT_EQ(out, 3);
  EXPECT_EQ(nyxiScaleC_8u_C1R(&one, 0, 2.0, 0.0, &out, 0, {1, 2}, nyxAlgHintNone), nyxStsStepErr);
  EXPECT_EQ(nyxiScaleC_8u_C1IR(1.0, 1e-17, &one, 0, {1, 1}, nyxAlgHintNone), nyxStsNoErr);
  const double snan_bits[2] = {std::nan("0x5"), -0.0};
  double got[2] = {1, 1};
  EXPECT_EQ(nyxiScaleC_64f_C1R(snan_bits, 16, 1.0 + 1e-16, 0.0, got, 16, {2, 1}, nyxAlgHintFast),
            nyxStsNoErr);
  EXPECT_EQ(std::memcmp(got, snan_bits, 16), 0);
  Nyx8s s8 = -5, d8 = 0;
  EXPECT_EQ(nyxiScaleC_8s_C1R(&s8, 1, 1.0, 0.0, &d8, 1, {1, 1}, nyxAlgHintAccurate), nyxStsNoErr);
  EXPECT_EQ(d8, -5);
}

// The caller's rounding mode stands in ScaleC, and is left as it was.
TEST(ScaleC, CallerRoundingModeStands) {
  const float src[4] = {1.25f, -1.25f, 2.5f, 1e10f};
  for (unsigned mode : {0x0000u, 0x2000u, 0x4000u, 0x6000u}) {
    const int fe = mode == 0        ? FE_TONEAREST
                   : mode == 0x2000 ? FE_DOWNWARD
                   : mode == 0x4000 ? FE_UPWARD
                                    : FE_TOWARDZERO;
    std::fesetround(fe);
    Nyx16s want[4];
    for (int i = 0; i < 4; ++i) want[i] = ScaleCModel<float, Nyx16s>(src[i], 2.0, 0.0, i % 2 == 0);
    std::fesetround(FE_TONEAREST);
    const unsigned word = 0x1F80u | mode;
    Nyx16s got[4];
    {
      CallerMxcsr caller(word);
      ASSERT_EQ(nyxiScaleC_32f16s_C1R(src, 8, 2.0, 0.0, got, 4, {1, 2}, nyxAlgHintAccurate),
                nyxStsNoErr);
      ASSERT_EQ(nyxiScaleC_32f16s_C1R(src + 1, 8, 2.0, 0.0, got + 1, 4, {1, 2}, nyxAlgHintFast),
                nyxStsNoErr);
      EXPECT_EQ(_mm_getcsr(), word);
    }
    for (int i = 0; i < 4; ++i) EXPECT_EQ(got[i], want[i]) << i << " mode " << mode;
  }
}

}  // namespace
}  // namespace nyx::test
