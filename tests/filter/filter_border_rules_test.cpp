// The general kernel filter's block layout, size queries, init and mode
// statuses, and the order of tests of every call.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "nyx.h"
#include "tests/support/status_table.h"

namespace {

using nyx::test::ExpectStatuses;

// A caller's block, deliberately 8 bytes past a 64-byte boundary.
struct Block {
  std::vector<uint8_t> mem = std::vector<uint8_t>(1 << 16);
  NyxiFilterBorderSpec* spec() {
    const uintptr_t a = reinterpret_cast<uintptr_t>(mem.data());
    return reinterpret_cast<NyxiFilterBorderSpec*>(mem.data() + ((64 - a % 64) % 64) + 8);
  }
  const uint8_t* at() {  // the block proper: aligned up to 64
    return reinterpret_cast<const uint8_t*>(spec()) + 56;
  }
  template <class T>
  T Field(size_t offset) {
    T v;
    std::memcpy(&v, at() + offset, sizeof v);
    return v;
  }
};

TEST(FilterBorderSpec, LayoutAfterInit16s) {
  Block b;
  const Nyx16s k[6] = {1, 2, 3, 4, 5, 6};  // 3 wide, 2 high
  ASSERT_EQ(nyxiFilterBorderInit_16s(k, {3, 2}, 8, nyx8u, 3, nyxRndNear, b.spec()), nyxStsNoErr);
  EXPECT_EQ(b.Field<int32_t>(0), 0);  // kind
  EXPECT_EQ(b.Field<int32_t>(4), 3);
  EXPECT_EQ(b.Field<int32_t>(8), 2);
  EXPECT_EQ(b.Field<int32_t>(12), 1);  // power of two
  EXPECT_EQ(b.Field<int32_t>(16), 3);
  EXPECT_EQ(b.Field<int32_t>(20), 4);
  EXPECT_EQ(b.Field<float>(24), 0.125f);
  EXPECT_EQ(b.Field<float>(28), 0.125f);
  EXPECT_EQ(b.Field<int32_t>(32), 8);
  EXPECT_EQ(b.Field<double>(40), 0.125);
  EXPECT_EQ(b.Field<int32_t>(48), 7);
  EXPECT_EQ(b.Field<float>(52), 8.0f);
  EXPECT_EQ(b.Field<int32_t>(56), 1);
  EXPECT_EQ(b.Field<int32_t>(60), 0);
  EXPECT_EQ(b.Field<float>(64), 0.0f);
  EXPECT_EQ(b.Field<int32_t>(92), 3);
  EXPECT_EQ(b.Field<const void*>(72), b.at() + 128);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(b.Field<int16_t>(128 + 2 * i), k[5 - i]);  // flipped

  ASSERT_EQ(nyxiFilterBorderInit_16s(k, {3, 2}, 7, nyx16s, 1, nyxRndZero, b.spec()), nyxStsNoErr);
  EXPECT_EQ(b.Field<int32_t>(0), 1);
  EXPECT_EQ(b.Field<int32_t>(12), 2);
  EXPECT_EQ(b.Field<int32_t>(16), 0);
  EXPECT_EQ(b.Field<float>(24), 1.0f / 7.0f);
  EXPECT_EQ(b.Field<float>(28), 7.0f);
  EXPECT_EQ(b.Field<double>(40), 7.0);

  ASSERT_EQ(nyxiFilterBorderInit_16s(k, {3, 2}, 1, nyx8u, 1, nyxRndNear, b.spec()), nyxStsNoErr);
  EXPECT_EQ(b.Field<int32_t>(12), 0);
  EXPECT_EQ(b.Field<float>(24), 1.0f);
}

TEST(FilterBorderSpec, FloatKinds) {
  Block b;
  const Nyx16s k[6] = {1, 2, 3, 4, 5, -6};
  // 16s with a kernel 2 wide goes to float taps: kind 4, taps divided.
  ASSERT_EQ(nyxiFilterBorderInit_16s(k, {2, 3}, 4, nyx16s, 1, nyxRndNear, b.spec()), nyxStsNoErr);
  EXPECT_EQ(b.Field<int32_t>(0), 4);
  EXPECT_EQ(b.Field<float>(128), -1.5f);
  EXPECT_EQ(b.Field<float>(132), 1.25f);
  ASSERT_EQ(nyxiFilterBorderInit_16s(k, {3, 2}, 4, nyx16u, 1, nyxRndNear, b.spec()), nyxStsNoErr);
  EXPECT_EQ(b.Field<int32_t>(0), 5);
  ASSERT_EQ(nyxiFilterBorderInit_16s(k, {3, 2}, 4, nyx16s, 3, nyxRndNear, b.spec()), nyxStsNoErr);
  EXPECT_EQ(b.Field<int32_t>(0), 4);
  ASSERT_EQ(nyxiFilterBorderInit_16s(k, {1, 6}, 4, nyx16s, 1, nyxRndNear, b.spec()), nyxStsNoErr);
  EXPECT_EQ(b.Field<int32_t>(0), 4);
  const float kf[3] = {0.5f, 1.0f, 2.0f};
  const int kinds[][2] = {{nyx8u, 3}, {nyx16s, 4}, {nyx16u, 5}, {nyx32f, 6}};
  for (const auto& kd : kinds) {
    ASSERT_EQ(nyxiFilterBorderInit_32f(kf, {3, 1}, static_cast<NyxDataType>(kd[0]), 1,
                                       static_cast<NyxRoundMode>(2 | 16), b.spec()),
              kd[0] == nyx8u || kd[0] == nyx16s ? nyxStsNoErr : nyxStsAccurateHintIgnoredWrn);
    EXPECT_EQ(b.Field<int32_t>(0), kd[1]);
    EXPECT_EQ(b.Field<int32_t>(56), 2);  // bit 4 cleared
    EXPECT_EQ(b.Field<float>(128), 2.0f);
  }
  const double kd[2] = {1.0, -2.0};
  ASSERT_EQ(nyxiFilterBorderInit_64f(kd, {1, 2}, nyx64f, 1, nyxRndNear, b.spec()), nyxStsNoErr);
  EXPECT_EQ(b.Field<int32_t>(0), 7);
  EXPECT_EQ(b.Field<double>(128), -2.0);
}

TEST(FilterBorderSpec, AccurateHintWarnings) {
  Block b;
  const Nyx16s k[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1};
  const auto rm = static_cast<NyxRoundMode>(1 | 16);
  EXPECT_EQ(nyxiFilterBorderInit_16s(k, {3, 3}, 9, nyx8u, 4, rm, b.spec()), nyxStsNoErr);
  EXPECT_EQ(b.Field<int32_t>(56), 17);
  EXPECT_EQ(nyxiFilterBorderInit_16s(k, {3, 3}, 9, nyx16s, 1, rm, b.spec()), nyxStsNoErr);
  EXPECT_EQ(nyxiFilterBorderInit_16s(k, {3, 3}, 9, nyx16s, 3, rm, b.spec()), nyxStsAccurateHintIgnoredWrn);
  EXPECT_EQ(nyxiFilterBorderInit_16s(k, {3, 3}, 9, nyx16u, 1, rm, b.spec()), nyxStsAccurateHintIgnoredWrn);
  EXPECT_EQ(b.Field<int32_t>(0), 5);  // still made, in float taps
}

TEST(FilterBorderSpec, SetMode) {
  Block b;
  const Nyx16s k[4] = {1, 2, 3, 4};
  const float kf[4] = {1, 2, 3, 4};
  ASSERT_EQ(nyxiFilterBorderInit_16s(k, {2, 2}, 3, nyx8u, 1, nyxRndNear, b.spec()), nyxStsNoErr);
  EXPECT_EQ(nyxiFilterBorderSetMode(nyxAlgHintNone, 5, b.spec()), nyxStsNoErr);
  EXPECT_EQ(b.Field<int32_t>(60), 5);
  EXPECT_EQ(b.Field<float>(64), 15.0f);
  EXPECT_EQ(nyxiFilterBorderSetMode(nyxAlgHintAccurate, -2, b.spec()), nyxStsNoErr);
  EXPECT_EQ(b.Field<int32_t>(56), 17);
  EXPECT_EQ(b.Field<float>(64), -6.0f);
  EXPECT_EQ(b.Field<int32_t>(68), 2);
  EXPECT_EQ(nyxiFilterBorderSetMode(nyxAlgHintFast, 0, b.spec()), nyxStsNoErr);
  EXPECT_EQ(b.Field<int32_t>(56), 1);
  // Kinds without offsets: 16s integer taps, 16s float taps, 32f, 64f.
  ASSERT_EQ(nyxiFilterBorderInit_16s(k, {4, 1}, 1, nyx16s, 1, nyxRndNear, b.spec()), nyxStsNoErr);
  EXPECT_EQ(nyxiFilterBorderSetMode(nyxAlgHintNone, 1, b.spec()), nyxStsNotSupportedModeErr);
  ASSERT_EQ(nyxiFilterBorderInit_32f(kf, {2, 2}, nyx32f, 1, nyxRndNear, b.spec()), nyxStsNoErr);
  EXPECT_EQ(nyxiFilterBorderSetMode(nyxAlgHintNone, 5, b.spec()), nyxStsNotSupportedModeErr);
  EXPECT_EQ(nyxiFilterBorderSetMode(nyxAlgHintAccurate, 0, b.spec()), nyxStsNoErr);
  EXPECT_EQ(b.Field<int32_t>(56), 1);  // no accurate path for floats
  // 16u float taps: the offset is stored, and reaches offsetF only with hint 2.
  ASSERT_EQ(nyxiFilterBorderInit_32f(kf, {2, 2}, nyx16u, 1, nyxRndNear, b.spec()), nyxStsNoErr);
  EXPECT_EQ(nyxiFilterBorderSetMode(nyxAlgHintFast, 4, b.spec()), nyxStsNoErr);
  EXPECT_EQ(b.Field<int32_t>(60), 4);
  EXPECT_EQ(b.Field<float>(64), 0.0f);
  EXPECT_EQ(nyxiFilterBorderSetMode(nyxAlgHintAccurate, 4, b.spec()), nyxStsNoErr);
  EXPECT_EQ(b.Field<float>(64), 4.0f);
  const double kd[1] = {1.0};
  ASSERT_EQ(nyxiFilterBorderInit_64f(kd, {1, 1}, nyx64f, 1, nyxRndNear, b.spec()), nyxStsNoErr);
  EXPECT_EQ(nyxiFilterBorderSetMode(nyxAlgHintNone, 3, b.spec()), nyxStsNotSupportedModeErr);
  const std::vector<uint8_t> before(b.at(), b.at() + 128);
  EXPECT_EQ(nyxiFilterBorderSetMode(nyxAlgHintAccurate, 0, b.spec()), nyxStsNoErr);
  EXPECT_TRUE(std::equal(before.begin(), before.end(), b.at()));
  EXPECT_EQ(nyxiFilterBorderSetMode(nyxAlgHintNone, 0, nullptr), nyxStsNullPtrErr);
}

int SpecSize(NyxiSize k, NyxiSize roi, NyxDataType d, NyxDataType kt, int nc, int* buf = nullptr) {
  int s = -1, b = -1;
  EXPECT_EQ(nyxiFilterBorderGetSize(k, roi, d, kt, nc, &s, &b), nyxStsNoErr);
  if (buf != nullptr) *buf = b;
  return s;
}

TEST(FilterBorderSpec, Sizes) {
  // 191 + align64(kw*kh*E) + align64(80*kh*even(kw)) (+ 64*kw*kh for 32f, one channel).
  EXPECT_EQ(SpecSize({5, 5}, {100, 100}, nyx8u, nyx16s, 1), 191 + 64 + 2432);
  EXPECT_EQ(SpecSize({5, 5}, {100, 100}, nyx8u, nyx32f, 1), 191 + 128 + 2432);
  EXPECT_EQ(SpecSize({3, 3}, {100, 100}, nyx16u, nyx16s, 1), 191 + 64 + 960);
  EXPECT_EQ(SpecSize({7, 7}, {100, 100}, nyx32f, nyx32f, 1), 191 + 256 + 4480 + 3136);
  EXPECT_EQ(SpecSize({7, 7}, {100, 100}, nyx32f, nyx32f, 3), 191 + 256 + 4480);
  EXPECT_EQ(SpecSize({3, 2}, {10, 10}, nyx64f, nyx64f, 1), 191 + 64);
  // Buffers: rectangle bytes + scratch + 63. 32f 7x7 on 100x50: the larger
  // strip rectangle is (100+6)*(6+3) = 954 samples.
  int buf = 0;
  SpecSize({7, 7}, {100, 50}, nyx32f, nyx32f, 1, &buf);
  EXPECT_EQ(buf, (954 * 4 + 31) / 32 * 32 + 32 + (32 * 49 + 63) / 64 * 64 + 63);
  // A kernel not smaller than the ROI: the whole extended ROI.
  SpecSize({5, 1}, {4, 3}, nyx8u, nyx32f, 3, &buf);
  EXPECT_EQ(buf, (8 * 3 * 3 + 31) / 32 * 32 + 32 + (4 * 12 + 16 + 63) / 64 * 64 + 63);
  SpecSize({3, 3}, {20, 20}, nyx64f, nyx64f, 1, &buf);
  EXPECT_EQ(buf, (22 * 3 * 8 + 31) / 32 * 32 + 32 + 126 + 64 * 9 + 128);
}

TEST(FilterBorderSpec, GetSizeOrder) {
  int s, b;
  const NyxiSize k{3, 3}, r{10, 10};
  auto q = [&](NyxiSize kk, NyxiSize rr, int d, int kt, int nc, int* ps, int* pb) {
    return [=] {
      return nyxiFilterBorderGetSize(kk, rr, static_cast<NyxDataType>(d), static_cast<NyxDataType>(kt), nc,
                                     ps, pb);
    };
  };
  ExpectStatuses({
      {"kernel size first", q({0, 3}, r, 2, 2, 9, nullptr, nullptr), nyxStsSizeErr},
      {"roi size", q(k, {10, 0}, 2, 2, 9, nullptr, nullptr), nyxStsSizeErr},
      {"data type", q(k, r, 2, 13, 1, &s, &b), nyxStsDataTypeErr},
      {"64f needs 64f taps", q(k, r, 19, 13, 1, &s, &b), nyxStsDataTypeErr},
      {"64f one channel", q(k, r, 19, 19, 3, &s, &b), nyxStsChannelErr},
      {"channels, float taps", q(k, r, 1, 13, 5, nullptr, &b), nyxStsChannelErr},
      {"channels, other taps", q(k, r, 1, 19, 0, &s, &b), nyxStsDataTypeErr},
      {"null, 16s taps", q(k, r, 1, 7, 1, &s, nullptr), nyxStsNullPtrErr},
      {"null, other taps", q(k, r, 1, 19, 1, nullptr, &b), nyxStsDataTypeErr},
      {"null before 64f pairing", q(k, r, 19, 19, 1, nullptr, &b), nyxStsDataTypeErr},
      {"32f data needs float taps", q(k, r, 13, 7, 1, &s, &b), nyxStsDataTypeErr},
      {"8u with 64f taps", q(k, r, 1, 19, 1, &s, &b), nyxStsDataTypeErr},
      {"accepted", q(k, r, 7, 7, 4, &s, &b), nyxStsNoErr},
  });
  EXPECT_EQ(nyxiFilterBorderGetSize({50000, 50000}, {40000, 40000}, nyx32f, nyx32f, 4, &s, &b),
            nyxStsSizeOverflowErr);
  EXPECT_EQ(b, 0);
}

TEST(FilterBorderSpec, InitOrder) {
  Block b;
  const Nyx16s k[4] = {1, 1, 1, 1};
  const float kf[4] = {1, 1, 1, 1};
  const double kd[4] = {1, 1, 1, 1};
  auto i16 = [&](const Nyx16s* kk, NyxiSize ks, int div, int d, int nc, int rm, bool spec) {
    return [=, &b] {
      return nyxiFilterBorderInit_16s(kk, ks, div, static_cast<NyxDataType>(d), nc,
                                      static_cast<NyxRoundMode>(rm), spec ? b.spec() : nullptr);
    };
  };
  ExpectStatuses({
      {"null kernel", i16(nullptr, {0, 2}, 0, 2, 0, 9, true), nyxStsNullPtrErr},
      {"null spec", i16(k, {2, 2}, 1, 1, 1, 1, false), nyxStsNullPtrErr},
      {"size", i16(k, {2, 0}, 0, 2, 0, 9, true), nyxStsSizeErr},
      {"data type", i16(k, {2, 2}, 0, 13, 0, 9, true), nyxStsDataTypeErr},
      {"channels", i16(k, {2, 2}, 0, 1, 5, 9, true), nyxStsChannelErr},
      {"round mode", i16(k, {2, 2}, 0, 1, 1, 3, true), nyxStsRoundModeErr},
      {"round mode with bit 4", i16(k, {2, 2}, 0, 1, 1, 19, true), nyxStsRoundModeErr},
      {"divisor", i16(k, {2, 2}, 0, 1, 1, 18, true), nyxStsZeroDivisorErr},
      {"accepted", i16(k, {2, 2}, -3, 5, 2, 2, true), nyxStsNoErr},
  });
  ExpectStatuses({
      {"32f null", [&] { return nyxiFilterBorderInit_32f(nullptr, {0, 0}, nyx8u, 0, nyxRndNear, b.spec()); },
       nyxStsNullPtrErr},
      {"32f size", [&] { return nyxiFilterBorderInit_32f(kf, {0, 1}, static_cast<NyxDataType>(3), 0, nyxRndNear, b.spec()); },
       nyxStsSizeErr},
      {"32f data", [&] { return nyxiFilterBorderInit_32f(kf, {2, 2}, nyx64f, 0, nyxRndNear, b.spec()); },
       nyxStsDataTypeErr},
      {"32f channels", [&] { return nyxiFilterBorderInit_32f(kf, {2, 2}, nyx32f, 0, static_cast<NyxRoundMode>(7), b.spec()); },
       nyxStsChannelErr},
      {"32f mode", [&] { return nyxiFilterBorderInit_32f(kf, {2, 2}, nyx32f, 4, static_cast<NyxRoundMode>(7), b.spec()); },
       nyxStsRoundModeErr},
      {"64f data", [&] { return nyxiFilterBorderInit_64f(kd, {2, 2}, nyx32f, 3, nyxRndZero, b.spec()); },
       nyxStsDataTypeErr},
      {"64f channels", [&] { return nyxiFilterBorderInit_64f(kd, {2, 2}, nyx64f, 3, nyxRndZero, b.spec()); },
       nyxStsChannelErr},
      {"64f mode must be 1", [&] { return nyxiFilterBorderInit_64f(kd, {2, 2}, nyx64f, 1, nyxRndZero, b.spec()); },
       nyxStsRoundModeErr},
      {"64f accepted", [&] { return nyxiFilterBorderInit_64f(kd, {2, 2}, nyx64f, 1, nyxRndNear, b.spec()); },
       nyxStsNoErr},
  });
}

TEST(FilterBorderSpec, RunOrder) {
  Block b;
  const Nyx16s k[9] = {0, 0, 0, 0, 1, 0, 0, 0, 0};
  ASSERT_EQ(nyxiFilterBorderInit_16s(k, {3, 3}, 1, nyx8u, 1, nyxRndNear, b.spec()), nyxStsNoErr);
  std::vector<Nyx8u> src(400, 7), dst(400, 0), buf(1 << 14);
  const Nyx8u v = 9;
  const NyxiFilterBorderSpec* sp = b.spec();
  auto run = [&](const Nyx8u* s, int ss, Nyx8u* d, int ds, NyxiSize roi, NyxiBorderType w,
                 const Nyx8u* val, const NyxiFilterBorderSpec* p, Nyx8u* bb) {
    return [=] { return nyxiFilterBorder_8u_C1R(s, ss, d, ds, roi, w, val, p, bb); };
  };
  Nyx8u* S = src.data();
  Nyx8u* D = dst.data();
  Nyx8u* B = buf.data();
  ExpectStatuses({
      {"null source", run(nullptr, 0, D, 0, {0, 0}, 0x100, nullptr, sp, B), nyxStsNullPtrErr},
      {"null spec", run(S, 20, D, 20, {10, 10}, 1, nullptr, nullptr, B), nyxStsNullPtrErr},
      {"null buffer", run(S, 20, D, 20, {10, 10}, 1, nullptr, sp, nullptr), nyxStsNullPtrErr},
      {"constant without value, before size", run(S, 0, D, 0, {0, 0}, 0x106, nullptr, sp, B),
       nyxStsNullPtrErr},
      {"0xF6 without value", run(S, 20, D, 20, {10, 10}, 0xF6, nullptr, sp, B), nyxStsNullPtrErr},
      {"size before step", run(S, 0, D, 0, {10, 0}, 0x100, &v, sp, B), nyxStsSizeErr},
      {"source step sign", run(S, 0, D, 20, {10, 10}, 0x100, &v, sp, B), nyxStsStepErr},
      {"destination step short", run(S, 20, D, 9, {10, 10}, 0x100, &v, sp, B), nyxStsStepErr},
      {"word above 0xFF", run(S, 20, D, 10, {10, 10}, 0x101, &v, sp, B), nyxStsBorderErr},
      {"wrap refused", run(S, 20, D, 10, {10, 10}, 2, &v, sp, B), nyxStsBorderErr},
      {"flags without mode", run(S, 20, D, 10, {10, 10}, 0x40, &v, sp, B), nyxStsBorderErr},
      {"0xF2 refused", run(S, 20, D, 10, {10, 10}, 0xF2, &v, sp, B), nyxStsBorderErr},
      {"0xF0 accepted", run(S + 41, 20, D, 10, {10, 10}, 0xF0, nullptr, sp, B), nyxStsNoErr},
      {"short source step is not tested", run(S + 20, 1, D, 10, {10, 1}, 0xF0, nullptr, sp, B),
       nyxStsNoErr},
      {"in place: null value first", run(S, 20, S, 20, {10, 10}, 6, nullptr, sp, B),
       nyxStsNullPtrErr},
      {"in place: step first", run(S, 20, S, 9, {10, 10}, 1, &v, sp, B), nyxStsStepErr},
      {"in place: word first", run(S, 20, S, 20, {10, 10}, 2, &v, sp, B), nyxStsBorderErr},
      {"in place refused", run(S, 20, S, 20, {10, 10}, 1, &v, sp, B), nyxStsNotSupportedModeErr},
      {"in place refused for 0xF0", run(S + 41, 20, S + 41, 20, {10, 10}, 0xF0, nullptr, sp, B),
       nyxStsNotSupportedModeErr},
  });
  // The 32f forms decode the word the same way.
  const float kf[1] = {1.0f};
  ASSERT_EQ(nyxiFilterBorderInit_32f(kf, {1, 1}, nyx32f, 3, nyxRndNear, b.spec()), nyxStsNoErr);
  std::vector<float> fs(300), fd(300);
  EXPECT_EQ(nyxiFilterBorder_32f_C3R(fs.data(), 120, fd.data(), 120, {10, 2}, 2, nullptr, sp, B),
            nyxStsBorderErr);
  EXPECT_EQ(nyxiFilterBorder_32f_C3R(fs.data(), 120, fd.data(), 119, {10, 2}, 1, nullptr, sp, B),
            nyxStsStepErr);
}

TEST(Filter64f, Order) {
  std::vector<double> s(100), d(100), k(9);
  int size = 0;
  const NyxiPoint a{1, 1};
  ExpectStatuses({
      {"null", [&] { return nyxiFilter_64f_C1R(s.data(), 80, d.data(), 80, {0, 0}, nullptr, {3, 3}, a, nullptr); },
       nyxStsNullPtrErr},
      {"size", [&] { return nyxiFilter_64f_C1R(s.data(), 0, d.data(), 0, {5, 5}, k.data(), {3, 0}, a, nullptr); },
       nyxStsSizeErr},
      {"source step against width + kw - 1",
       [&] { return nyxiFilter_64f_C1R(s.data(), 55, d.data(), 80, {5, 2}, k.data(), {3, 3}, a, nullptr); },
       nyxStsStepErr},
      {"destination step", [&] { return nyxiFilter_64f_C1R(s.data(), 56, d.data(), 39, {5, 2}, k.data(), {3, 1}, {0, 0}, nullptr); },
       nyxStsStepErr},
      {"buffer query null", [&] { return nyxiFilterGetBufSize_64f_C1R({3, 3}, 0, nullptr); }, nyxStsNullPtrErr},
      {"buffer query size", [&] { return nyxiFilterGetBufSize_64f_C1R({3, 3}, 0, &size); }, nyxStsSizeErr},
  });
}

}  // namespace
