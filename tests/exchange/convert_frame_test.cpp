// The frame of the conversion family: order of tests, the control word of
// the float paths, and the bit packing forms.
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "exchange/convert_forms.h"
#include "nyx.h"
#include "tests/exchange/convert_harness.h"
#include "tests/support/ref/convert.h"
#include "tests/support/status_table.h"

namespace nyx::test {
namespace {

// ---------------------------------------------------------------------------
// Order of tests, expanded over the forms tables. `call(src, dst, step, roi)`
// runs a form with both pointers and strides given.

using Probe = std::function<NyxStatus(bool src_null, bool dst_null, int src_step, int dst_step,
                                      NyxiSize roi)>;

// C1 and AC4 forms: null, size, stride below 1.
void ExpectNullSizeStride(const Probe& p, const std::string& what) {
  ExpectStatuses({
      {what + " null src, zero width",
       [&] {
         return p(true, false, 64, 64, {0, 1});
       },
       nyxStsNullPtrErr},
      {what + " null dst",
       [&] {
         return p(false, true, 0, 0, {1, 1});
       },
       nyxStsNullPtrErr},
      {what + " zero height, zero stride",
       [&] {
         return p(false, false, 0, 0, {1, 0});
       },
       nyxStsSizeErr},
      {what + " zero stride",
       [&] {
         return p(false, false, 0, 0, {1, 1});
       },
       nyxStsStepErr},
      {what + " negative stride",
       [&] {
         return p(false, false, -64, -64, {1, 1});
       },
       nyxStsStepErr},
      {what + " zero source stride",
       [&] {
         return p(false, false, 0, 64, {1, 1});
       },
       nyxStsStepErr},
      {what + " zero destination stride",
       [&] {
         return p(false, false, 64, 0, {1, 1});
       },
       nyxStsStepErr},
      {what + " fine",
       [&] {
         return p(false, false, 64, 64, {2, 2});
       },
       nyxStsNoErr},
  });
}

// C3 and C4 forms test the width first, then run the C1 order.
void ExpectRouted(const Probe& p, const std::string& what) {
  ExpectStatuses({
      {what + " null, zero width",
       [&] {
         return p(true, true, 0, 0, {0, 1});
       },
       nyxStsSizeErr},
      {what + " null, zero height",
       [&] {
         return p(true, false, 0, 0, {1, 0});
       },
       nyxStsNullPtrErr},
      {what + " zero height",
       [&] {
         return p(false, false, 0, 0, {1, 0});
       },
       nyxStsSizeErr},
      {what + " zero stride",
       [&] {
         return p(false, false, 0, 0, {1, 1});
       },
       nyxStsStepErr},
  });
}

alignas(64) uint8_t g_src[4096];
alignas(64) uint8_t g_dst[4096];

template <class S, class D, class Fn, class... Extra>
Probe MakeProbe(Fn fn, Extra... extra) {
  return [=](bool sn, bool dn, int ss, int ds, NyxiSize roi) {
    return fn(sn ? nullptr : reinterpret_cast<const S*>(g_src), ss,
              dn ? nullptr : reinterpret_cast<D*>(g_dst), ds, roi, extra...);
  };
}

TEST(ConvertFrame, OrderOfTestsConvert) {
#define NYX_ORDER_PLAIN(S, D)                                                              \
  ExpectNullSizeStride(MakeProbe<Nyx##S, Nyx##D>(nyxiConvert_##S##D##_C1R), #S #D "C1");   \
  ExpectNullSizeStride(MakeProbe<Nyx##S, Nyx##D>(nyxiConvert_##S##D##_AC4R), #S #D "AC4"); \
  ExpectRouted(MakeProbe<Nyx##S, Nyx##D>(nyxiConvert_##S##D##_C3R), #S #D "C3");           \
  ExpectRouted(MakeProbe<Nyx##S, Nyx##D>(nyxiConvert_##S##D##_C4R), #S #D "C4");
#define NYX_ORDER_PLAIN_C1(S, D) \
  ExpectNullSizeStride(MakeProbe<Nyx##S, Nyx##D>(nyxiConvert_##S##D##_C1R), #S #D "C1");
#define NYX_ORDER_ROUND(S, D)                                                                   \
  for (NyxRoundMode m : {nyxRndZero, nyxRndNear, nyxRndFinancial}) {                            \
    ExpectNullSizeStride(MakeProbe<Nyx##S, Nyx##D>(nyxiConvert_##S##D##_C1R, m), #S #D "C1");   \
    ExpectNullSizeStride(MakeProbe<Nyx##S, Nyx##D>(nyxiConvert_##S##D##_AC4R, m), #S #D "AC4"); \
    ExpectRouted(MakeProbe<Nyx##S, Nyx##D>(nyxiConvert_##S##D##_C3R, m), #S #D "C3");           \
    ExpectRouted(MakeProbe<Nyx##S, Nyx##D>(nyxiConvert_##S##D##_C4R, m), #S #D "C4");           \
  }
  NYX_CONVERT_PLAIN_FORMS(NYX_ORDER_PLAIN)
  NYX_CONVERT_PLAIN_C1_FORMS(NYX_ORDER_PLAIN_C1)
  NYX_CONVERT_ROUND_FORMS(NYX_ORDER_ROUND)
}

TEST(ConvertFrame, OrderOfTestsScaleFactorForms) {
#define NYX_ORDER_SFS(S, D)                                                                       \
  {                                                                                               \
    ExpectNullSizeStride(MakeProbe<Nyx##S, Nyx##D>(nyxiConvert_##S##D##_C1RSfs, nyxRndNear, 40),  \
                         #S #D "Sfs");                                                            \
    const Probe bad =                                                                             \
        MakeProbe<Nyx##S, Nyx##D>(nyxiConvert_##S##D##_C1RSfs, ModeOf(3), 40); \
    ExpectStatuses({{#S #D " mode 3",                                                             \
                     [&] {                                                                        \
                       return bad(false, false, 64, 64, {1, 1});                                  \
                     },                                                                           \
                     nyxStsNotSupportedModeErr},                                                  \
                    {#S #D " mode 3, stride",                                                     \
                     [&] {                                                                        \
                       return bad(false, false, 0, 0, {1, 1});                                    \
                     },                                                                           \
                     nyxStsStepErr},                                                              \
                    {#S #D " mode 3, null",                                                       \
                     [&] {                                                                        \
                       return bad(true, false, 64, 64, {1, 1});                                   \
                     },                                                                           \
                     nyxStsNullPtrErr}});                                                         \
  }
  NYX_CONVERT_SFS_FLOAT_FORMS(NYX_ORDER_SFS)
  NYX_CONVERT_SFS_INT_FORMS(NYX_ORDER_SFS)
  Nyx32u* p = reinterpret_cast<Nyx32u*>(g_dst);
  EXPECT_EQ(nyxiConvert_32f32u_C1IRSfs(nullptr, 0, {0, 0}, nyxRndZero, 0), nyxStsNullPtrErr);
  EXPECT_EQ(nyxiConvert_32f32u_C1IRSfs(p, 0, {0, 1}, nyxRndZero, 0), nyxStsSizeErr);
  EXPECT_EQ(nyxiConvert_32f32u_C1IRSfs(p, 0, {1, 1}, nyxRndZero, 0), nyxStsStepErr);
  EXPECT_EQ(nyxiConvert_32f32u_C1IRSfs(p, 4, {1, 1}, ModeOf(3), 0),
            nyxStsNotSupportedModeErr);
}

TEST(ConvertFrame, OrderOfTestsScale) {
#define NYX_ORDER_SCALE_PLAIN(S, D)                                                      \
  ExpectNullSizeStride(MakeProbe<Nyx##S, Nyx##D>(nyxiScale_##S##D##_C1R), #S #D "C1");   \
  ExpectNullSizeStride(MakeProbe<Nyx##S, Nyx##D>(nyxiScale_##S##D##_AC4R), #S #D "AC4"); \
  ExpectRouted(MakeProbe<Nyx##S, Nyx##D>(nyxiScale_##S##D##_C3R), #S #D "C3");           \
  ExpectRouted(MakeProbe<Nyx##S, Nyx##D>(nyxiScale_##S##D##_C4R), #S #D "C4");
#define NYX_ORDER_SCALE_HINT(S, D)                                                            \
  for (NyxHintAlgorithm h : {nyxAlgHintFast, nyxAlgHintAccurate}) {                           \
    ExpectNullSizeStride(MakeProbe<Nyx##S, Nyx##D>(nyxiScale_##S##D##_C1R, h), #S #D "C1");   \
    ExpectNullSizeStride(MakeProbe<Nyx##S, Nyx##D>(nyxiScale_##S##D##_AC4R, h), #S #D "AC4"); \
    ExpectRouted(MakeProbe<Nyx##S, Nyx##D>(nyxiScale_##S##D##_C3R, h), #S #D "C3");           \
    ExpectRouted(MakeProbe<Nyx##S, Nyx##D>(nyxiScale_##S##D##_C4R, h), #S #D "C4");           \
  }
#define NYX_ORDER_SCALE_RANGE(S, D)                                                              \
  {                                                                                              \
    ExpectNullSizeStride(MakeProbe<Nyx##S, Nyx##D>(nyxiScale_##S##D##_C1R, 0.0f, 1.0f), #S #D);  \
    ExpectNullSizeStride(MakeProbe<Nyx##S, Nyx##D>(nyxiScale_##S##D##_AC4R, 0.0f, 1.0f), #S #D); \
    ExpectRouted(MakeProbe<Nyx##S, Nyx##D>(nyxiScale_##S##D##_C3R, 0.0f, 1.0f), #S #D "C3");     \
    const Probe c1 = MakeProbe<Nyx##S, Nyx##D>(nyxiScale_##S##D##_C1R, 1.0f, 1.0f);              \
    const Probe ac4 = MakeProbe<Nyx##S, Nyx##D>(nyxiScale_##S##D##_AC4R, 2.0f, -1.0f);           \
    const Probe c4 = MakeProbe<Nyx##S, Nyx##D>(nyxiScale_##S##D##_C4R, 2.0f, -1.0f);             \
    ExpectStatuses({{#S #D " empty range first",                                                 \
                     [&] {                                                                       \
                       return c1(true, true, 0, 0, {0, 0});                                      \
                     },                                                                          \
                     nyxStsScaleRangeErr},                                                       \
                    {#S #D " AC4 empty range first",                                             \
                     [&] {                                                                       \
                       return ac4(true, true, 0, 0, {0, 0});                                     \
                     },                                                                          \
                     nyxStsScaleRangeErr},                                                       \
                    {#S #D " C4 width before range",                                             \
                     [&] {                                                                       \
                       return c4(true, true, 0, 0, {0, 1});                                      \
                     },                                                                          \
                     nyxStsSizeErr},                                                             \
                    {#S #D " C4 empty range",                                                    \
                     [&] {                                                                       \
                       return c4(true, true, 0, 0, {1, 1});                                      \
                     },                                                                          \
                     nyxStsScaleRangeErr}});                                                     \
  }
  NYX_SCALE_WIDEN_FORMS(NYX_ORDER_SCALE_PLAIN)
  NYX_SCALE_HINT_FORMS(NYX_ORDER_SCALE_HINT)
  NYX_SCALE_RANGE_FORMS(NYX_ORDER_SCALE_RANGE)
}

TEST(ConvertFrame, OrderOfTestsScaleC) {
  // ScaleC puts its constants before the destination: adapt the argument order.
#define NYX_SCALEC_PROBE_N(Name, S, D)                                                         \
  ExpectNullSizeStride(                                                                        \
      [](bool sn, bool dn, int ss, int ds, NyxiSize roi) {                                     \
        return Name(sn ? nullptr : reinterpret_cast<const Nyx##S*>(g_src), ss, 2.0, 1.0,       \
                    dn ? nullptr : reinterpret_cast<Nyx##D*>(g_dst), ds, roi, nyxAlgHintFast); \
      },                                                                                       \
      #Name);
#define NYX_SCALEC_PROBE(S, D) NYX_SCALEC_PROBE_N(nyxiScaleC_##S##D##_C1R, S, D)
#define NYX_SCALEC_PROBE_SAME(T)                                                              \
  NYX_SCALEC_PROBE_N(nyxiScaleC_##T##_C1R, T, T)                                              \
  ExpectStatuses(                                                                             \
      {{#T " IR null",                                                                        \
        [] {                                                                                  \
          return nyxiScaleC_##T##_C1IR(2.0, 0.0, nullptr, 0, {0, 0}, nyxAlgHintAccurate);     \
        },                                                                                    \
        nyxStsNullPtrErr},                                                                    \
       {#T " IR size",                                                                        \
        [] {                                                                                  \
          return nyxiScaleC_##T##_C1IR(2.0, 0.0, reinterpret_cast<Nyx##T*>(g_dst), 0, {1, 0}, \
                                       nyxAlgHintAccurate);                                   \
        },                                                                                    \
        nyxStsSizeErr},                                                                       \
       {#T " IR stride",                                                                      \
        [] {                                                                                  \
          return nyxiScaleC_##T##_C1IR(2.0, 0.0, reinterpret_cast<Nyx##T*>(g_dst), 0, {1, 1}, \
                                       nyxAlgHintAccurate);                                   \
        },                                                                                    \
        nyxStsStepErr}});
  NYX_SCALEC_PAIRS(NYX_SCALEC_PROBE)
  NYX_SCALEC_TYPES(NYX_SCALEC_PROBE_SAME)
}

// ---------------------------------------------------------------------------
// The control word: every float path restores the caller's whole word, flags
// included, also with a non-default rounding mode and after a failed test;
// and results follow the form's own rounding, not the caller's.

struct FloatPath {
  std::string what;
  std::function<NyxStatus(bool fail)> call;
};

alignas(64) float g_f[16] = {2.5f,   -2.5f, 3e9f,  NAN,    INFINITY, 1e-40f, 0.49999997f, 255.5f,
                             -1e10f, 1.5f,  7.25f, 100.5f, 3.5f,     -0.5f,  65535.5f,    12.5f};
alignas(64) double g_d[16] = {2.5,   -2.5, 3e9,  NAN,   INFINITY, 1e-300, 0.5,     255.5,
                              -1e10, 1.5,  7.25, 100.5, 3.5,      -0.5,   65535.5, 12.5};
alignas(64) int32_t g_i[16] = {INT32_MIN, INT32_MAX, 16777217, -16777217, 16777219, 0, 1,  -1,
                               33554435,  5,         6,        7,         8,        9, 10, 11};
alignas(64) uint8_t g_out[256];

std::vector<FloatPath> FloatPaths() {
  std::vector<FloatPath> v;
  auto f = [](bool fail) { return fail ? nullptr : g_f; };
  const NyxiSize roi{4, 4};
  for (int mode : {0, 1, 2}) {
    const auto m = ModeOf(mode);
    v.push_back({"32f8u mode " + std::to_string(mode),
                 [=](bool fail) { return nyxiConvert_32f8u_C1R(f(fail), 16, g_out, 4, roi, m); }});
    v.push_back({"32f16s AC4 mode " + std::to_string(mode), [=](bool fail) {
                   return nyxiConvert_32f16s_AC4R(f(fail), 16, reinterpret_cast<Nyx16s*>(g_out), 8,
                                                  {1, 4}, m);
                 }});
    v.push_back({"32f8u Sfs mode " + std::to_string(mode), [=](bool fail) {
                   return nyxiConvert_32f8u_C1RSfs(f(fail), 16, g_out, 4, roi, m, -127);
                 }});
    v.push_back({"32f32s Sfs mode " + std::to_string(mode), [=](bool fail) {
                   return nyxiConvert_32f32s_C1RSfs(f(fail), 16, reinterpret_cast<Nyx32s*>(g_out),
                                                    16, roi, m, 1);
                 }});
    v.push_back({"64f16u Sfs mode " + std::to_string(mode), [=](bool fail) {
                   return nyxiConvert_64f16u_C1RSfs(
                       fail ? nullptr : g_d, 32, reinterpret_cast<Nyx16u*>(g_out), 8, roi, m, -2);
                 }});
  }
  v.push_back({"32s32f", [](bool fail) {
                 return nyxiConvert_32s32f_C1R(fail ? nullptr : g_i, 16,
                                               reinterpret_cast<Nyx32f*>(g_out), 16, {4, 4});
               }});
  v.push_back({"32u32f", [](bool fail) {
                 return nyxiConvert_32u32f_C1R(fail ? nullptr : reinterpret_cast<Nyx32u*>(g_i), 16,
                                               reinterpret_cast<Nyx32f*>(g_out), 16, {4, 4});
               }});
  v.push_back({"Scale 8u32f", [](bool fail) {
                 return nyxiScale_8u32f_C1R(fail ? nullptr : g_src, 4,
                                            reinterpret_cast<Nyx32f*>(g_out), 16, {4, 4}, -1.0f,
                                            3.0f);
               }});
  v.push_back({"Scale 32f8u", [=](bool fail) {
                 return nyxiScale_32f8u_C1R(f(fail), 16, g_out, 4, {4, 4}, -3.0f, 300.0f);
               }});
  v.push_back({"Scale 16s8u accurate", [](bool fail) {
                 return nyxiScale_16s8u_C1R(fail ? nullptr : reinterpret_cast<Nyx16s*>(g_i), 8,
                                            g_out, 4, {4, 4}, nyxAlgHintAccurate);
               }});
  v.push_back(
      {"Scale 32s8u accurate", [](bool fail) {
         return nyxiScale_32s8u_C1R(fail ? nullptr : g_i, 16, g_out, 4, {4, 4}, nyxAlgHintAccurate);
       }});
  for (int hint : {1, 2}) {
    const auto h = static_cast<NyxHintAlgorithm>(hint);
    v.push_back({"ScaleC 32f8u hint " + std::to_string(hint), [=](bool fail) {
                   return nyxiScaleC_32f8u_C1R(f(fail), 16, 3.5, -2.0, g_out, 4, roi, h);
                 }});
    v.push_back({"ScaleC 64f32s hint " + std::to_string(hint), [=](bool fail) {
                   return nyxiScaleC_64f32s_C1R(fail ? nullptr : g_d, 32, 1e9, 0.5,
                                                reinterpret_cast<Nyx32s*>(g_out), 16, roi, h);
                 }});
  }
  return v;
}

TEST(ConvertFrame, ControlWordRestoredEverywhere) {
  // Default, round up with the invalid flag already set, toward zero with
  // flush-to-zero, and round down with every exception flag set.
  for (unsigned word : {0x1F80u, 0x5F81u, 0xFF80u, 0x3FBFu}) {
    for (const FloatPath& p : FloatPaths()) {
      for (bool fail : {false, true}) {
        CallerMxcsr caller(word);
        const NyxStatus st = p.call(fail);
        const unsigned after = _mm_getcsr();
        EXPECT_EQ(st, fail ? nyxStsNullPtrErr : nyxStsNoErr) << p.what;
        EXPECT_EQ(after, word) << p.what << (fail ? " (failed test)" : "") << std::hex
                               << " caller 0x" << word;
      }
    }
  }
}

// Results do not follow the caller's rounding mode where the form fixes its
// own: the same outputs under every caller word.
TEST(ConvertFrame, ResultsIgnoreCallerRounding) {
  for (const FloatPath& p : FloatPaths()) {
    if (p.what.rfind("ScaleC", 0) == 0) continue;  // ScaleC uses the caller's mode
    std::vector<uint8_t> reference;
    for (unsigned word : {0x1F80u, 0x3F80u, 0x5F80u, 0x7F80u, 0x9FC0u}) {
      std::memset(g_out, 0x5A, sizeof g_out);
      {
        CallerMxcsr caller(word);
        ASSERT_EQ(p.call(false), nyxStsNoErr);
      }
      std::vector<uint8_t> got(g_out, g_out + sizeof g_out);
      if (reference.empty()) reference = got;
      EXPECT_EQ(got, reference) << p.what << std::hex << " caller 0x" << word;
    }
  }
}

// ---------------------------------------------------------------------------
// Packed bits.

template <class T>
void CheckBinGray(NyxStatus (*to_gray)(const Nyx8u*, int, int, T*, int, NyxiSize, T, T),
                  NyxStatus (*to_bin)(const T*, int, Nyx8u*, int, int, NyxiSize, T)) {
  std::mt19937 rng(21);
  const T lo = static_cast<T>(std::is_signed_v<T> ? -7 : 3), hi = static_cast<T>(200);
  for (int width : {1, 3, 8, 9, 17, 40, 67}) {
    for (int offset : {0, 1, 5, 7, 8, 13, 17}) {
      const int height = 3;
      const int step = (offset + width + 7) / 8 + 2;
      std::vector<Nyx8u> bits(step * height + 5);
      for (auto& b : bits) b = static_cast<Nyx8u>(rng());
      auto bit_at = [&](const std::vector<Nyx8u>& buf, int x, int y) {
        const int k = offset + x;
        return (buf[y * step + k / 8] >> (k % 8)) & 1;
      };
      PaddedImage<T> gray(width, height, 1, 3, 8);
      ASSERT_EQ(to_gray(bits.data(), step, offset, gray.roi(), gray.step(), gray.size(), lo, hi),
                nyxStsNoErr);
      EXPECT_TRUE(gray.OutsideIntact());
      for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
          ASSERT_EQ(gray.at(x, y), bit_at(bits, x, y) ? hi : lo) << width << " " << offset;

      // Back: samples above the threshold set bits; all other bits stay.
      PaddedImage<T> samples(width, height, 1, 3, 8);
      samples.FillRandom(rng);
      const T threshold =
          static_cast<T>(std::is_floating_point_v<T> ? 0 : (std::is_signed_v<T> ? -5 : 100));
      samples.at(0, 0) = threshold;  // equal: the bit is cleared
      std::vector<Nyx8u> out(bits.size());
      for (auto& b : out) b = static_cast<Nyx8u>(rng());
      const std::vector<Nyx8u> before = out;
      ASSERT_EQ(to_bin(samples.roi(), samples.step(), out.data(), step, offset, samples.size(),
                       threshold),
                nyxStsNoErr);
      for (int y = 0; y < height + 1; ++y) {
        for (int k = 0; k < 8 * step && y * step + k / 8 < static_cast<int>(out.size()); ++k) {
          const int x = k - offset;
          const int got = (out[y * step + k / 8] >> (k % 8)) & 1;
          int want = (before[y * step + k / 8] >> (k % 8)) & 1;
          if (y < height && x >= 0 && x < width) {
            const T s = samples.at(x, y);
            if constexpr (std::is_floating_point_v<T>)
              want = s > threshold;
            else
              want = static_cast<std::make_unsigned_t<T>>(s) >
                     static_cast<std::make_unsigned_t<T>>(threshold);
          }
          ASSERT_EQ(got, want) << "width " << width << " offset " << offset << " y " << y << " k "
                               << k;
        }
      }
    }
  }
  Nyx8u b = 0;
  T g{};
  ExpectStatuses({
      {"to gray null",
       [&] {
         return to_gray(nullptr, 1, -1, &g, 0, {0, 1}, lo, hi);
       },
       nyxStsNullPtrErr},
      {"to gray size",
       [&] {
         return to_gray(&b, 0, -1, &g, 0, {1, 0}, lo, hi);
       },
       nyxStsSizeErr},
      {"to gray stride",
       [&] {
         return to_gray(&b, 0, -1, &g, 4, {1, 1}, lo, hi);
       },
       nyxStsStepErr},
      {"to gray offset",
       [&] {
         return to_gray(&b, 1, -1, &g, 4, {1, 1}, lo, hi);
       },
       nyxStsSizeErr},
      {"to bin null",
       [&] {
         return to_bin(&g, 4, nullptr, 1, -1, {0, 1}, lo);
       },
       nyxStsNullPtrErr},
      {"to bin size",
       [&] {
         return to_bin(&g, 0, &b, 1, -1, {0, 1}, lo);
       },
       nyxStsSizeErr},
      {"to bin stride",
       [&] {
         return to_bin(&g, 4, &b, -1, -1, {1, 1}, lo);
       },
       nyxStsStepErr},
      {"to bin offset",
       [&] {
         return to_bin(&g, 4, &b, 1, -1, {1, 1}, lo);
       },
       nyxStsSizeErr},
  });
}

TEST(BinGray, RoundTripAndKeptBits) {
#define NYX_TEST_BINGRAY(T) \
  CheckBinGray<Nyx##T>(nyxiBinToGray_1u##T##_C1R, nyxiGrayToBin_##T##1u_C1R);
  NYX_BINGRAY_FORMS(NYX_TEST_BINGRAY)
  const Nyx8u eq = 10;
  Nyx8u bit = 0xFF;
  EXPECT_EQ(nyxiGrayToBin_8u1u_C1R(&eq, 1, &bit, 1, 0, {1, 1}, 10), nyxStsNoErr);
  EXPECT_EQ(bit, 0xFE);
  const Nyx16s neg = -1;  // 0xFFFF unsigned: above 100
  bit = 0;
  EXPECT_EQ(nyxiGrayToBin_16s1u_C1R(&neg, 2, &bit, 1, 3, {1, 1}, 100), nyxStsNoErr);
  EXPECT_EQ(bit, 0x08);
}

}  // namespace
}  // namespace nyx::test
