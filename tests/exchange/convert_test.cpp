// nyxiConvert without a scale factor: exact widening, saturating narrowing,
// signed to unsigned, float to integer in every rounding mode.
#include "tests/support/ref/convert.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "exchange/convert_forms.h"
#include "nyx.h"
#include "tests/exchange/convert_harness.h"

namespace nyx::test {
namespace {

// Value kept, saturated to D, or (32-bit integers to float) rounded to the
// nearest single; the tests run in the default rounding mode, where a plain
// cast from double rounds to nearest.
template <class S, class D>
D ExactModel(S x) {
  if constexpr (std::is_floating_point_v<D>) {
    return static_cast<D>(static_cast<double>(x));
  } else {
    return ref::SaturateValue<D>(static_cast<double>(x));
  }
}

// Runs one form at C1 over the inputs: padded (row by row) and contiguous
// (merged rows), widths that leave vector tails.
template <class S, class D, class Model>
void CheckC1(const ImageCall<S, D>& call, Model&& model, const std::string& what) {
  std::mt19937 rng(7);
  const std::vector<S> in = InputsOf<S>(rng);
  std::vector<S> used;
  const int width = in.size() > 4096 ? 253 : 61;
  const int height = static_cast<int>((in.size() + width - 1) / width);
  ExpectModel(used, RunPadded(call, in, width, height, 1, false, &used, rng), model, what);
  ExpectModel(in, RunContiguous(call, in, static_cast<int>(in.size()), 1), model,
              what + " one row");
  const std::vector<S> head(in.begin(), in.begin() + std::min<size_t>(in.size(), 1000));
  std::vector<S> merged;
  for (int i = 0; i < 37 * 27; ++i) merged.push_back(head[i % head.size()]);
  ExpectModel(merged, RunContiguous(call, head, 37, 27), model, what + " merged");
}

// C3, C4 and AC4 on random data (the same model per sample; AC4 keeps alpha).
template <class S, class D, class Model>
void CheckLayouts(const ImageCall<S, D>& c3, const ImageCall<S, D>& c4, const ImageCall<S, D>& ac4,
                  Model&& model, const std::string& what) {
  std::mt19937 rng(11);
  const std::vector<S> in = InputsOf<S>(rng, 500);
  std::vector<S> used;
  for (int width : {1, 5, 19}) {
    ExpectModel(used, RunPadded(c3, in, width, 3, 3, false, &used, rng), model, what + " C3");
    ExpectModel(used, RunPadded(c4, in, width, 3, 4, false, &used, rng), model, what + " C4");
    ExpectModel(used, RunPadded(ac4, in, width, 3, 4, true, &used, rng), model, what + " AC4",
                true);
  }
}

#define NYX_TEST_PLAIN(S, D)                                                            \
  CheckC1<Nyx##S, Nyx##D>(nyxiConvert_##S##D##_C1R, ExactModel<Nyx##S, Nyx##D>, #S #D); \
  CheckLayouts<Nyx##S, Nyx##D>(nyxiConvert_##S##D##_C3R, nyxiConvert_##S##D##_C4R,      \
                               nyxiConvert_##S##D##_AC4R, ExactModel<Nyx##S, Nyx##D>, #S #D);
#define NYX_TEST_PLAIN_C1(S, D) \
  CheckC1<Nyx##S, Nyx##D>(nyxiConvert_##S##D##_C1R, ExactModel<Nyx##S, Nyx##D>, #S #D);

TEST(Convert, WideningAndNarrowingEveryValue){NYX_CONVERT_PLAIN_FORMS(NYX_TEST_PLAIN)
                                                  NYX_CONVERT_PLAIN_C1_FORMS(NYX_TEST_PLAIN_C1)}
#define NYX_TEST_RS(S, D)                                                                     \
  CheckC1<Nyx##S, Nyx##D>(                                                                    \
      nyxiConvert_##S##D##_C1Rs, [](Nyx##S x) { return static_cast<Nyx##D>(x < 0 ? 0 : x); }, \
      #S #D);

TEST(Convert, SignedToUnsignedEveryValue){NYX_CONVERT_RS_FORMS(NYX_TEST_RS)}

// Rows long enough for the prefetching rounds of the widening kernels; the
// other forms run the same rows through their own rounds.
TEST(Convert, LongRows) {
#define NYX_TEST_LONG(S, D)                                                                 \
  CheckLongRows<Nyx##S, Nyx##D>(nyxiConvert_##S##D##_C1R, ExactModel<Nyx##S, Nyx##D>, #S #D);
  NYX_CONVERT_PLAIN_FORMS(NYX_TEST_LONG)
  NYX_CONVERT_PLAIN_C1_FORMS(NYX_TEST_LONG)
#define NYX_TEST_LONG_RS(S, D)                                                                \
  CheckLongRows<Nyx##S, Nyx##D>(                                                              \
      nyxiConvert_##S##D##_C1Rs, [](Nyx##S x) { return static_cast<Nyx##D>(x < 0 ? 0 : x); }, \
      #S #D " Rs");
  NYX_CONVERT_RS_FORMS(NYX_TEST_LONG_RS)
}

TEST(Convert, SignedToUnsignedHasNoStrideTest) {
  const Nyx8s src[2] = {-1, 5};
  Nyx8u dst[2] = {9, 9};
  EXPECT_EQ(nyxiConvert_8s8u_C1Rs(src, 0, dst, 0, {2, 3}), nyxStsNoErr);
  EXPECT_EQ(dst[0], 0);
  EXPECT_EQ(dst[1], 5);
  EXPECT_EQ(nyxiConvert_8s8u_C1Rs(src, -4, dst, 0, {0, 1}), nyxStsSizeErr);
  EXPECT_EQ(nyxiConvert_8s8u_C1Rs(nullptr, -4, dst, 0, {0, 1}), nyxStsNullPtrErr);
}

// Float to integer: every mode (3 acts as mode 2) over the specials and
// random values, at every layout.
template <class D>
void CheckRoundForm(NyxStatus (*c1)(const Nyx32f*, int, D*, int, NyxiSize, NyxRoundMode),
                    NyxStatus (*c3)(const Nyx32f*, int, D*, int, NyxiSize, NyxRoundMode),
                    NyxStatus (*c4)(const Nyx32f*, int, D*, int, NyxiSize, NyxRoundMode),
                    NyxStatus (*ac4)(const Nyx32f*, int, D*, int, NyxiSize, NyxRoundMode),
                    const std::string& what) {
  for (int mode : {0, 1, 2, 3}) {
    const NyxRoundMode m = ModeOf(mode);
    auto bind = [m](auto fn) {
      return ImageCall<Nyx32f, D>([fn, m](const Nyx32f* s, int ss, D* d, int ds, NyxiSize r) {
        return fn(s, ss, d, ds, r, m);
      });
    };
    auto model = [mode](Nyx32f x) { return ref::ConvertFloat<D>(x, static_cast<unsigned>(mode)); };
    const std::string tag = what + " mode " + std::to_string(mode);
    CheckC1<Nyx32f, D>(bind(c1), model, tag);
    CheckLayouts<Nyx32f, D>(bind(c3), bind(c4), bind(ac4), model, tag);
  }
}

#define NYX_TEST_ROUND(S, D)                                                 \
  CheckRoundForm<Nyx##D>(nyxiConvert_##S##D##_C1R, nyxiConvert_##S##D##_C3R, \
                         nyxiConvert_##S##D##_C4R, nyxiConvert_##S##D##_AC4R, #S #D);

TEST(Convert, FloatToIntegerEveryModeAndSpecial){NYX_CONVERT_ROUND_FORMS(NYX_TEST_ROUND)}

// The cases a user meets first, stated as numbers.
TEST(Convert, FloatToIntegerKnownValues) {
  // A C caller may pass any int as the mode word: call through the int form.
  using IntModeFn = NyxStatus (*)(const Nyx32f*, int, Nyx8u*, int, NyxiSize, int);
  const auto convert = reinterpret_cast<IntModeFn>(&nyxiConvert_32f8u_C1R);
  auto one = [&](float x, int mode) {
    Nyx8u d = 77;
    EXPECT_EQ(convert(&x, 4, &d, 1, {1, 1}, mode), nyxStsNoErr);
    return static_cast<int>(d);
  };
  const float nan = std::nanf(""), inf = INFINITY;
  EXPECT_EQ(one(3e9f, 1), 255);
  EXPECT_EQ(one(nan, 1), 0);
  EXPECT_EQ(one(inf, 1), 0);
  EXPECT_EQ(one(nan, 2), 255);
  EXPECT_EQ(one(inf, 2), 255);
  EXPECT_EQ(one(-inf, 2), 0);
  EXPECT_EQ(one(2.5f, 1), 2);
  EXPECT_EQ(one(2.5f, 2), 3);
  EXPECT_EQ(one(2.5f, 0), 2);
  EXPECT_EQ(one(2.5f, 7), 3);
  EXPECT_EQ(one(2.5f, -1), 3);
  for (int mode : {0, 1, 2}) EXPECT_EQ(one(-0.4f, mode), 0);
  Nyx16s s16 = 0;
  const float big = 1e10f;
  EXPECT_EQ(nyxiConvert_32f16s_C1R(&big, 4, &s16, 2, {1, 1}, nyxRndNear), nyxStsNoErr);
  EXPECT_EQ(s16, 32767);
  EXPECT_EQ(nyxiConvert_32f16s_C1R(&nan, 4, &s16, 2, {1, 1}, nyxRndNear), nyxStsNoErr);
  EXPECT_EQ(s16, -32768);
  const Nyx16s v16[2] = {-1, 300};
  Nyx8u d8[2];
  EXPECT_EQ(nyxiConvert_16s8u_C1R(v16, 4, d8, 2, {2, 1}), nyxStsNoErr);
  EXPECT_EQ(d8[0], 0);
  EXPECT_EQ(d8[1], 255);
}

// The fix-up pass keeps alpha: a too-large alpha source must not turn the
// kept alpha (here the indefinite's value) into the maximum.
TEST(Convert, FixUpKeepsAlpha) {
  const float src[8] = {3e9f, 1.0f, 2.0f, 3e9f, 1e20f, -1e20f, NAN, 5e9f};
  Nyx8u dst[8] = {1, 1, 1, 0, 1, 1, 1, 0};
  ASSERT_EQ(nyxiConvert_32f8u_AC4R(src, 32, dst, 8, {2, 1}, nyxRndNear), nyxStsNoErr);
  const Nyx8u want[8] = {255, 1, 2, 0, 255, 0, 0, 0};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(dst[i], want[i]) << i;
}

}  // namespace
}  // namespace nyx::test
