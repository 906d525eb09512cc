// The box filter's rounding rules on every sum they can meet, the cases the
// rules single out, the buffer query's numbers and coverage, the order of
// tests of every entry, and the borderless window sums.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "nyx.h"
#include "tests/support/guarded.h"
#include "tests/support/ref/box.h"
#include "tests/support/status_table.h"

namespace {

using nyx::test::ExpectStatuses;
using nyx::test::GuardedBuffer;
using nyx::test::StatusCase;

int BoxBufferSize(NyxiSize roi, NyxiSize mask, NyxDataType type, int nc) {
  // Also checks the query against a 1x1 ROI's worst case used by BoxOfWindow.
  int size = -1;
  EXPECT_EQ(nyxiFilterBoxBorderGetBufferSize(roi, mask, type, nc, &size), nyxStsNoErr);
  return size;
}

// A window of mw*mh samples per channel whose sum is s: samples differ by at
// most one. The image is exactly the window, so the ROI is its anchor pixel
// and the word 0xF0 reads only real memory.
template <class T>
std::vector<T> WindowWithSum(int mw, int mh, int nc, const int64_t* sums, int64_t base) {
  const int64_t n = int64_t{mw} * mh;
  std::vector<T> img(static_cast<size_t>(n * nc));
  for (int c = 0; c < nc; ++c) {
    const int64_t s = sums[c] - base * n;  // sum above the per-sample base
    const int64_t q = s >= 0 ? s / n : -((-s + n - 1) / n);
    const int64_t rem = s - q * n;
    for (int64_t i = 0; i < n; ++i)
      img[static_cast<size_t>(i * nc + c)] = static_cast<T>(base + q + (i < rem));
  }
  return img;
}

template <class T, class Fn>
T BoxOfWindow(Fn fn, int mw, int mh, int nc, const int64_t* sums, int64_t base, int channel) {
  const std::vector<T> img = WindowWithSum<T>(mw, mh, nc, sums, base);
  const int step = mw * nc * static_cast<int>(sizeof(T));
  const T* anchor = img.data() + ((mh - 1) / 2) * mw * nc + ((mw - 1) / 2) * nc;
  T out[4] = {};
  static std::vector<Nyx8u> buffer(1 << 16);  // above the query for a 1x1 ROI and these masks
  EXPECT_EQ(fn(anchor, step, out, 4 * sizeof(T), NyxiSize{1, 1}, NyxiSize{mw, mh}, 0xF0, nullptr,
               buffer.data()),
            nyxStsNoErr);
  return out[channel];
}

TEST(BoxRounding, MultiplyShiftConstantsOnEverySum) {
  for (int m : {3, 5, 7}) {
    const uint64_t k = m == 3 ? 29128 : (m == 5 ? 671088 : 342392);
    const int shift = m == 3 ? 18 : 24;
    for (int64_t s = 0; s <= 255 * m * m; ++s) {
      const int64_t want = nyx::ref::MulShiftRule(s, k, shift);
      ASSERT_EQ(BoxOfWindow<Nyx8u>(nyxiFilterBoxBorder_8u_C1R, m, m, 1, &s, 0, 0), want)
          << m << "x" << m << " S " << s;
    }
  }
  // All 255: 2295 * 29128 + 0x20000 shifted by 18 is 255.
  EXPECT_EQ(nyx::ref::MulShiftRule(2295, 29128, 18), 255);
}

TEST(BoxRounding, NearestEvenOfTheFloatProductOnEverySum) {
  // 8u: masks of even and odd area, r exact and inexact, C1 and C3 (C1 5x5
  // takes the multiply-shift rule instead and is skipped there).
  for (NyxiSize mask :
       {NyxiSize{4, 4}, NyxiSize{3, 5}, NyxiSize{9, 1}, NyxiSize{15, 15}, NyxiSize{5, 5},
        NyxiSize{1, 3}, NyxiSize{17, 15}, NyxiSize{13, 13}, NyxiSize{16, 16}, NyxiSize{17, 17}}) {
    const float r = 1.0f / static_cast<float>(mask.width * mask.height);
    for (int64_t s = 0; s <= 255 * mask.width * mask.height; ++s) {
      const int64_t want = nyx::ref::NearestEvenRule(s, r);
      if (mask.width != 5) {
        ASSERT_EQ(
            BoxOfWindow<Nyx8u>(nyxiFilterBoxBorder_8u_C1R, mask.width, mask.height, 1, &s, 0, 0),
            want)
            << mask.width << "x" << mask.height << " S " << s;
      }
      const int64_t sums[3] = {s, 255 * mask.width * mask.height - s, s / 2};
      ASSERT_EQ(
          BoxOfWindow<Nyx8u>(nyxiFilterBoxBorder_8u_C3R, mask.width, mask.height, 3, sums, 0, 1),
          nyx::ref::NearestEvenRule(sums[1], r));
    }
  }
  // 16-bit C1: 3x3 uses the float nearest 1/9, 0.1111111119f.
  EXPECT_EQ(1.0f / 9.0f, 0.1111111119f);
  std::mt19937 rng(5);
  for (int i = 0; i < 20000; ++i) {
    const int64_t s = std::uniform_int_distribution<int64_t>(-32768 * 9, 32767 * 9)(rng);
    const int64_t want = nyx::ref::NearestEvenRule(s, 1.0f / 9.0f);
    ASSERT_EQ(BoxOfWindow<Nyx16s>(nyxiFilterBoxBorder_16s_C1R, 3, 3, 1, &s, -32768, 0), want) << s;
    const int64_t su = s + 32768 * 9;
    ASSERT_EQ(BoxOfWindow<Nyx16u>(nyxiFilterBoxBorder_16u_C1R, 3, 3, 1, &su, 0, 0),
              nyx::ref::NearestEvenRule(su, 1.0f / 9.0f));
  }
}

TEST(BoxRounding, HalfUpInOneFusedMultiplyAdd) {
  std::mt19937 rng(9);
  for (NyxiSize mask : {NyxiSize{2, 1}, NyxiSize{3, 3}, NyxiSize{5, 4}}) {
    const int64_t n = int64_t{mask.width} * mask.height;
    const float r = 1.0f / static_cast<float>(n);
    for (int i = 0; i < 6000; ++i) {
      int64_t sums[4];
      for (int64_t& s : sums) s = std::uniform_int_distribution<int64_t>(0, 65535 * n)(rng);
      if (i < 3 * 65535 && n == 2) sums[0] = i;  // every sum of the 2x1 mask near 0
      const int c = i % 3;
      const int64_t u = nyx::ref::HalfUpRule(sums[c], r);
      ASSERT_EQ(
          BoxOfWindow<Nyx16u>(nyxiFilterBoxBorder_16u_C4R, mask.width, mask.height, 4, sums, 0, c),
          u);
      ASSERT_EQ(
          BoxOfWindow<Nyx16u>(nyxiFilterBoxBorder_16u_AC4R, mask.width, mask.height, 4, sums, 0, c),
          u);
      // 16s: the same sums seen as biased samples.
      int64_t signed_sums[4];
      for (int k = 0; k < 4; ++k) signed_sums[k] = sums[k] - 32768 * n;
      ASSERT_EQ(BoxOfWindow<Nyx16s>(nyxiFilterBoxBorder_16s_C4R, mask.width, mask.height, 4,
                                    signed_sums, -32768, c),
                u - 32768);
    }
  }
}

// The two rounding families on the mean -0.5 and -1.5 of 16s samples.
TEST(BoxRounding, SignedHalvesDifferBetweenC1AndAC4) {
  auto mean2 = [](auto fn, int nc, Nyx16s a, Nyx16s b) {
    Nyx16s img[8] = {a, a, a, 0, b, b, b, 0};
    if (nc == 1) img[1] = b;
    Nyx16s out[4] = {};
    std::vector<Nyx8u> buffer(static_cast<size_t>(BoxBufferSize({1, 1}, {2, 1}, nyx16s, 4)));
    EXPECT_EQ(fn(img, 16, out, 8, NyxiSize{1, 1}, NyxiSize{2, 1}, 0xF0, nullptr, buffer.data()),
              nyxStsNoErr);
    return out[0];
  };
  EXPECT_EQ(mean2(nyxiFilterBoxBorder_16s_AC4R, 4, -1, 0), 0);
  EXPECT_EQ(mean2(nyxiFilterBoxBorder_16s_C4R, 4, -1, 0), 0);
  EXPECT_EQ(mean2(nyxiFilterBoxBorder_16s_C1R, 1, -1, 0), 0);
  EXPECT_EQ(mean2(nyxiFilterBoxBorder_16s_AC4R, 4, -1, -2), -1);
  EXPECT_EQ(mean2(nyxiFilterBoxBorder_16s_C1R, 1, -1, -2), -2);
  EXPECT_EQ(mean2(nyxiFilterBoxBorder_16s_C1R, 1, 1, 2), 2);
  EXPECT_EQ(mean2(nyxiFilterBoxBorder_16s_AC4R, 4, 1, 2), 2);
}

// ---------------------------------------------------------------------------
// Cases the rules single out.

TEST(BoxCases, OnePixelRoiWithReplicateIsThePixel) {
  for (int p = 0; p < 256; ++p) {
    Nyx8u src = static_cast<Nyx8u>(p), dst = 0;
    std::vector<Nyx8u> buffer(static_cast<size_t>(BoxBufferSize({1, 1}, {3, 3}, nyx8u, 1)));
    ASSERT_EQ(nyxiFilterBoxBorder_8u_C1R(&src, 1, &dst, 1, {1, 1}, {3, 3}, nyxBorderRepl, nullptr,
                                         buffer.data()),
              nyxStsNoErr);
    ASSERT_EQ(dst, p);
  }
}

TEST(BoxCases, OneByOneMaskKeepsTheSource) {
  std::mt19937 rng(3);
  std::vector<Nyx8u> s8(40 * 7);
  std::vector<Nyx32f> s32(40 * 7);
  for (auto& v : s8) v = static_cast<Nyx8u>(rng());
  for (auto& v : s32) v = std::uniform_real_distribution<float>(-5, 5)(rng);
  std::vector<Nyx8u> d8(s8.size());
  std::vector<Nyx32f> d32(s32.size());
  std::vector<Nyx8u> buffer(static_cast<size_t>(BoxBufferSize({40, 7}, {1, 1}, nyx32f, 1)));
  ASSERT_EQ(nyxiFilterBoxBorder_8u_C1R(s8.data(), 40, d8.data(), 40, {40, 7}, {1, 1}, 3, nullptr,
                                       buffer.data()),
            nyxStsNoErr);
  EXPECT_EQ(d8, s8);
  ASSERT_EQ(nyxiFilterBoxBorder_32f_C1R(s32.data(), 160, d32.data(), 160, {40, 7}, {1, 1}, 1,
                                        nullptr, buffer.data()),
            nyxStsNoErr);
  EXPECT_EQ(0, std::memcmp(d32.data(), s32.data(), d32.size() * 4));
  // In place, a 1x1 float mask leaves the image as it is.
  const std::vector<Nyx32f> before = s32;
  ASSERT_EQ(nyxiFilterBoxBorder_32f_C1R(s32.data(), 160, s32.data(), 160, {40, 7}, {1, 1}, 1,
                                        nullptr, buffer.data()),
            nyxStsNoErr);
  EXPECT_EQ(0, std::memcmp(before.data(), s32.data(), s32.size() * 4));
}

// A 2x2 mask reads one column right and one row down, none left or up: the
// source ends at a guard page and starts after one.
TEST(BoxCases, EvenMaskReachesRightAndDownOnly) {
  const int W = 37, H = 5;
  GuardedBuffer mem(static_cast<size_t>((W + 1) * (H + 1)), true);
  for (size_t i = 0; i < mem.size(); ++i) mem.data()[i] = static_cast<Nyx8u>(i * 7);
  std::vector<Nyx8u> dst(W * H),
      buffer(static_cast<size_t>(BoxBufferSize({W, H}, {2, 2}, nyx8u, 1)));
  ASSERT_EQ(nyxiFilterBoxBorder_8u_C1R(mem.data(), W + 1, dst.data(), W, {W, H}, {2, 2}, 0xF0,
                                       nullptr, buffer.data()),
            nyxStsNoErr);
  const Nyx8u* s = mem.data();
  for (int y = 0; y < H; ++y)
    for (int x = 0; x < W; ++x) {
      const int sum = s[y * (W + 1) + x] + s[y * (W + 1) + x + 1] + s[(y + 1) * (W + 1) + x] +
                      s[(y + 1) * (W + 1) + x + 1];
      ASSERT_EQ(dst[y * W + x], nyx::ref::NearestEvenRule(sum, 0.25f));
    }
}

// Mirror with a 2x2 mask on a 3x3 image: the pixel past the last column and
// row is column (row) 1, not the edge pixel.
TEST(BoxCases, MirrorWithMaskOfTwoReflectsAcrossTheEdge) {
  const Nyx16u src[9] = {10, 20, 30, 40, 50, 60, 70, 80, 90};
  for (auto word : {nyxBorderMirror, nyxBorderRepl}) {
    Nyx16u dst[9] = {};
    std::vector<Nyx8u> buffer(static_cast<size_t>(BoxBufferSize({3, 3}, {2, 2}, nyx16u, 1)));
    ASSERT_EQ(
        nyxiFilterBoxBorder_16u_C1R(src, 6, dst, 6, {3, 3}, {2, 2}, word, nullptr, buffer.data()),
        nyxStsNoErr);
    // (2,2) averages 90, its right neighbour, the one below and the corner.
    const int want = word == nyxBorderMirror ? (90 + 80 + 60 + 50 + 2) / 4 : 90;
    EXPECT_EQ(dst[8], want);
    EXPECT_EQ(dst[2], word == nyxBorderMirror ? (30 + 20 + 60 + 50) / 4 : (30 + 30 + 60 + 60) / 4);
  }
}

// ---------------------------------------------------------------------------
// The buffer query: its numbers, and that no path uses more.

TEST(BoxBuffer, QueryNumbers) {
  // Worked by hand from the size rule (S + K + R + P against X).
  EXPECT_EQ(BoxBufferSize({1920, 1080}, {3, 3}, nyx8u, 1), 139008);
  EXPECT_EQ(BoxBufferSize({1920, 1080}, {5, 5}, nyx16s, 3), 808448);
  EXPECT_EQ(BoxBufferSize({1920, 1080}, {2, 2}, nyx32f, 1), 131328);
  EXPECT_EQ(BoxBufferSize({10, 4}, {3, 5}, nyx32f, 4), 9088);
  EXPECT_EQ(BoxBufferSize({1, 1}, {1, 1}, nyx8u, 1), 832);
  int a = 0, b = 0;
  for (NyxiSize roi : {NyxiSize{7, 3}, NyxiSize{640, 480}}) {
    ASSERT_EQ(nyxiFilterBoxBorderGetBufferSize(roi, {4, 6}, nyx16u, 4, &a), nyxStsNoErr);
    ASSERT_EQ(nyxiSumWindowGetBufferSize(roi, {4, 6}, nyx16u, 4, &b), nyxStsNoErr);
    EXPECT_EQ(a, b);
  }
}

template <class T, class Fn>
void RunGuarded(Fn fn, NyxDataType type, int nc, NyxiSize roi, NyxiSize mask, NyxiBorderType word,
                bool in_place, bool alpha = false) {
  const int pad = std::max(mask.width, mask.height);
  const int step = (roi.width + 2 * pad) * nc * static_cast<int>(sizeof(T));
  std::vector<T> src(static_cast<size_t>(step / sizeof(T)) * (roi.height + 2 * pad), T(1));
  std::vector<T> dst(src.size());
  T* s = src.data() + pad * (step / sizeof(T)) + pad * nc;
  T* d = in_place ? s : dst.data() + pad * (step / sizeof(T)) + pad * nc;
  int size = 0;
  ASSERT_EQ(nyxiFilterBoxBorderGetBufferSize(roi, mask, type, nc, &size), nyxStsNoErr);
  GuardedBuffer buffer(static_cast<size_t>(size));
  const T value[4] = {T(2), T(2), T(2), T(2)};
  ASSERT_EQ(fn(s, step, d, step, roi, mask, word, value, buffer.data()), nyxStsNoErr);
  // A constant image stays constant under every border but the constant.
  if ((word & 0xF) != 6) {
    for (int y = 0; y < roi.height; ++y)
      for (int x = 0; x < roi.width * nc; ++x) {
        if (alpha && x % 4 == 3) continue;
        ASSERT_EQ(d[y * static_cast<int>(step / sizeof(T)) + x], T(1)) << x << "," << y;
      }
  }
}

// Every path (direct, small ROI, strips; in place and not) with buffers of
// exactly the queried size ending at a guard page.
TEST(BoxBuffer, QueryCoversEveryPath) {
  const NyxiBorderType words[] = {1, 3, 6, 0x13, 0x23, 0x41, 0x86, 0xF0, 0x71, 0xB3};
  const int extents[] = {1, 2, 3, 4, 8, 9, 17};
  const NyxiSize rois[] = {{1, 1}, {2, 3}, {5, 2}, {9, 9}, {10, 19}, {33, 6}, {70, 21}};
  for (int mw : extents)
    for (int mh : extents)
      for (NyxiSize roi : rois)
        for (NyxiBorderType word : words) {
          SCOPED_TRACE(::testing::Message() << mw << "x" << mh << " roi " << roi.width << "x"
                                            << roi.height << " word " << word);
          const bool in_place = ((mw + mh + word) & 1) != 0;
          RunGuarded<Nyx8u>(nyxiFilterBoxBorder_8u_C1R, nyx8u, 1, roi, {mw, mh}, word, in_place);
          RunGuarded<Nyx16s>(nyxiFilterBoxBorder_16s_AC4R, nyx16s, 4, roi, {mw, mh}, word,
                             !in_place, true);
          RunGuarded<Nyx32f>(nyxiFilterBoxBorder_32f_C1R, nyx32f, 1, roi, {mw, mh}, word, in_place);
          RunGuarded<Nyx32f>(nyxiFilterBoxBorder_32f_C3R, nyx32f, 3, roi, {mw, mh}, word,
                             !in_place);
          RunGuarded<Nyx16u>(nyxiFilterBoxBorder_16u_C3R, nyx16u, 3, roi, {mw, mh}, word, in_place);
          RunGuarded<Nyx8u>(nyxiFilterBoxBorder_8u_C4R, nyx8u, 4, roi, {mw, mh}, word, !in_place);
          if (HasFatalFailure()) return;
        }
}

// ---------------------------------------------------------------------------
// Order of tests.

TEST(BoxStatus, IntegerAndAlphaMembers) {
  Nyx8u s_mem[64] = {}, d_mem[64] = {}, b_mem[4096] = {};
  const Nyx8u v_mem[4] = {};
  const Nyx8u* const s = s_mem;
  Nyx8u* const d = d_mem;
  Nyx8u* const b = b_mem;
  const Nyx8u* const v = v_mem;
  auto box = [&](const Nyx8u* ps, int ss, Nyx8u* pd, int ds, NyxiSize roi, NyxiSize m,
                 NyxiBorderType w, const Nyx8u* pv, Nyx8u* pb) {
    return [=] { return nyxiFilterBoxBorder_8u_C1R(ps, ss, pd, ds, roi, m, w, pv, pb); };
  };
  auto sum = [&](const Nyx8u* ps, int ss, NyxiSize roi, NyxiSize m, NyxiBorderType w,
                 const Nyx8u* pv) {
    Nyx32s* pd = reinterpret_cast<Nyx32s*>(d);
    return [=] { return nyxiSumWindow_8u32s_AC4R(ps, ss, pd, 16, roi, m, w, pv, b); };
  };
  const NyxiSize ok{2, 2}, m3{3, 3};
  ExpectStatuses({
      {"null source before a bad step", box(nullptr, 0, d, 4, ok, m3, 1, v, b), nyxStsNullPtrErr},
      {"null buffer", box(s, 4, d, 4, ok, m3, 1, v, nullptr), nyxStsNullPtrErr},
      {"null destination", box(s, 4, nullptr, 4, ok, m3, 1, v, b), nyxStsNullPtrErr},
      {"step before size", box(s, 0, d, 4, {0, 2}, m3, 1, v, b), nyxStsStepErr},
      {"negative destination step", box(s, 4, d, -4, ok, m3, 1, v, b), nyxStsStepErr},
      {"size before mask", box(s, 4, d, 4, {2, 0}, {0, 3}, 1, v, b), nyxStsSizeErr},
      {"mask before word", box(s, 4, d, 4, ok, {3, 0}, 0x100, v, b), nyxStsMaskSizeErr},
      {"word above 0xFF", box(s, 4, d, 4, ok, m3, 0x1F0, v, b), nyxStsBorderErr},
      {"flags with no mode", box(s, 4, d, 4, ok, m3, 0x40, v, b), nyxStsBorderErr},
      {"wrap", box(s, 4, d, 4, ok, m3, nyxBorderWrap, v, b), nyxStsBorderErr},
      {"mirror with repeat", box(s, 4, d, 4, ok, m3, nyxBorderMirrorR, v, b), nyxStsBorderErr},
      {"mode 5", box(s, 4, d, 4, ok, m3, 5, v, b), nyxStsBorderErr},
      {"transparent", box(s, 4, d, 4, ok, m3, nyxBorderTransp, v, b), nyxStsBorderErr},
      {"mode 0", box(s, 4, d, 4, ok, m3, 0, v, b), nyxStsBorderErr},
      {"bad mode before null value", box(s, 4, d, 4, ok, m3, 0x02, nullptr, b), nyxStsBorderErr},
      {"constant needs its value", box(s, 4, d, 4, ok, m3, 6, nullptr, b), nyxStsNullPtrErr},
      {"all flags with constant", box(s, 4, d, 4, ok, m3, 0xF6, nullptr, b), nyxStsNullPtrErr},
      {"all flags alone", box(s + 20, 8, d, 4, ok, m3, 0xF0, nullptr, b), nyxStsNoErr},
      {"replicate with no value", box(s + 20, 8, d, 4, ok, m3, 0x31, nullptr, b), nyxStsNoErr},
      {"AC4 word above 0xFF", sum(s, 16, ok, m3, 0x101, v), nyxStsBorderErr},
      {"AC4 mode 2", sum(s, 16, ok, m3, 2, v), nyxStsBorderErr},
      {"AC4 null value", sum(s, 16, ok, m3, 0x46, nullptr), nyxStsNullPtrErr},
      {"AC4 mask", sum(s, 16, ok, {-1, 2}, 3, v), nyxStsMaskSizeErr},
      {"AC4 null source", sum(nullptr, 16, ok, m3, 3, v), nyxStsNullPtrErr},
  });
}

TEST(BoxStatus, FloatMembersKeepTheirOwnWordTests) {
  float s[256] = {}, d[256] = {}, v[4] = {};
  Nyx8u b[8192] = {};
  auto c1 = [&](NyxiBorderType w, const float* pv, NyxiSize m = {3, 3}) {
    return [=, &s, &d, &b] {
      return nyxiFilterBoxBorder_32f_C1R(s + 40, 32, d, 32, {4, 4}, m, w, pv, b);
    };
  };
  auto sum_c4 = [&](NyxiBorderType w, const float* pv) {
    return [=, &s, &d, &b] {
      return nyxiSumWindow_32f_C4R(s + 84, 64, d, 64, {4, 4}, {3, 3}, w, pv, b);
    };
  };
  auto ac4 = [&](NyxiBorderType w, const float* pv) {
    return [=, &s, &d, &b] {
      return nyxiFilterBoxBorder_32f_AC4R(s, 64, d, 64, {4, 4}, {3, 3}, w, pv, b);
    };
  };
  ExpectStatuses({
      {"no range test", c1(0x301, v), nyxStsNoErr},
      {"wrap runs as constant", c1(nyxBorderWrap, v), nyxStsNoErr},
      {"mode 0 runs as constant", c1(0, v), nyxStsNoErr},
      {"flags with no mode", c1(0x40, v), nyxStsNoErr},
      {"constant needs its value", c1(6, nullptr), nyxStsNullPtrErr},
      {"constant with flags needs its value", c1(0x56, nullptr), nyxStsNullPtrErr},
      {"0xF6 needs its value", c1(0xF6, nullptr), nyxStsNullPtrErr},
      {"0x106 needs its value", c1(0x106, nullptr), nyxStsNullPtrErr},
      {"mode 14 is not tested", c1(0xE, nullptr), nyxStsNoErr},
      {"mask before the value", c1(6, nullptr, {0, 3}), nyxStsMaskSizeErr},
      {"1x1 mask still tests the value", c1(6, nullptr, {1, 1}), nyxStsNullPtrErr},
      {"window sums alike", sum_c4(0x1FF, v), nyxStsNoErr},
      {"window sums value", sum_c4(0x16, nullptr), nyxStsNullPtrErr},
      {"AC4 follows the integer rules", ac4(0x101, v), nyxStsBorderErr},
      {"AC4 mode 2", ac4(2, v), nyxStsBorderErr},
  });
  // Mode 0, 2, 4, 5, 7 run as constant: the same pixels as word 6.
  std::mt19937 rng(2);
  for (float& x : s) x = std::uniform_real_distribution<float>(0, 1)(rng);
  const float value[1] = {7.5f};
  float want[16], got[16];
  ASSERT_EQ(nyxiFilterBoxBorder_32f_C1R(s + 40, 32, want, 16, {4, 4}, {3, 3}, 6, value, b),
            nyxStsNoErr);
  for (NyxiBorderType w : {0u, 2u, 4u, 5u, 7u, 0x10Cu}) {
    ASSERT_EQ(nyxiFilterBoxBorder_32f_C1R(s + 40, 32, got, 16, {4, 4}, {3, 3}, w, value, b),
              nyxStsNoErr);
    EXPECT_EQ(0, std::memcmp(want, got, sizeof want)) << w;
  }
}

TEST(BoxStatus, BufferQueries) {
  int size = 0;
  auto q = [&](NyxiSize roi, NyxiSize m, int type, int nc, int* p) {
    return [=] {
      return nyxiFilterBoxBorderGetBufferSize(roi, m, static_cast<NyxDataType>(type), nc, p);
    };
  };
  auto qs = [&](NyxiSize roi, NyxiSize m, int type, int nc, int* p) {
    return
        [=] { return nyxiSumWindowGetBufferSize(roi, m, static_cast<NyxDataType>(type), nc, p); };
  };
  ExpectStatuses({
      {"null before size", q({0, 0}, {3, 3}, 1, 1, nullptr), nyxStsNullPtrErr},
      {"size before mask", q({0, 5}, {0, 3}, 1, 1, &size), nyxStsSizeErr},
      {"mask before type", q({5, 5}, {3, -1}, 2, 1, &size), nyxStsMaskSizeErr},
      {"type before channels", q({5, 5}, {3, 3}, 19, 2, &size), nyxStsDataTypeErr},
      {"8s is not a type here", q({5, 5}, {3, 3}, 2, 1, &size), nyxStsDataTypeErr},
      {"channels", q({5, 5}, {3, 3}, 13, 2, &size), nyxStsNumChannelsErr},
      {"overflow", q({10000000, 2}, {3, 3}, 13, 4, &size), nyxStsSizeOverflowErr},
      {"no overflow", q({60000, 60000}, {3, 3}, 13, 4, &size), nyxStsNoErr},
      {"mask not below the ROI, area too big", q({2, 2}, {50000, 50000}, 1, 1, &size),
       nyxStsSizeOverflowErr},
      {"window sums null", qs({5, 5}, {3, 3}, 1, 1, nullptr), nyxStsNullPtrErr},
      {"window sums channels", qs({5, 5}, {3, 3}, 5, 0, &size), nyxStsNumChannelsErr},
      {"window sums type", qs({5, 5}, {3, 3}, 6, 1, &size), nyxStsDataTypeErr},
  });
  size = 12345;
  EXPECT_EQ(nyxiFilterBoxBorderGetBufferSize({10000000, 2}, {3, 3}, nyx32f, 4, &size),
            nyxStsSizeOverflowErr);
  EXPECT_EQ(size, 12345) << "nothing is stored on overflow";
}

TEST(BoxStatus, BorderlessForms) {
  double s64[64] = {}, d64[64] = {};
  Nyx16s s16[64] = {};
  float d32[64] = {};
  auto box64 = [&](const double* ps, int ss, double* pd, int ds, NyxiSize roi, NyxiSize m) {
    return [=] { return nyxiFilterBox_64f_C1R(ps, ss, pd, ds, roi, m, {0, 0}); };
  };
  auto row = [&](const Nyx16s* ps, NyxiSize roi, int m, int a) {
    return [=, &d32] { return nyxiSumWindowRow_16s32f_C3R(ps, 64, d32, 64, roi, m, a); };
  };
  auto col = [&](const Nyx16s* ps, float* pd, NyxiSize roi, int m, int a) {
    return [=] { return nyxiSumWindowColumn_16s32f_C1R(ps, 16, pd, 16, roi, m, a); };
  };
  ExpectStatuses({
      {"64f null", box64(nullptr, 0, d64, 0, {0, 0}, {3, 3}), nyxStsNullPtrErr},
      {"64f size before step", box64(s64, 0, d64, 0, {0, 2}, {3, 3}), nyxStsSizeErr},
      {"64f mask is a size", box64(s64, 64, d64, 64, {2, 2}, {3, 0}), nyxStsSizeErr},
      {"64f source step below the mask's row", box64(s64, 8 * 4 - 1, d64, 64, {2, 2}, {3, 3}),
       nyxStsStepErr},
      {"64f destination step", box64(s64, 64, d64, 15, {2, 2}, {3, 3}), nyxStsStepErr},
      {"64f exact steps", box64(s64, 32, d64, 16, {2, 2}, {3, 3}), nyxStsNoErr},
      {"row null", row(nullptr, {2, 2}, 3, 1), nyxStsNullPtrErr},
      {"row mask before anchor", row(s16 + 6, {2, 2}, 0, 5), nyxStsMaskSizeErr},
      {"row negative anchor", row(s16 + 6, {2, 2}, 3, -1), nyxStsAnchorErr},
      {"row anchor at mask", row(s16 + 6, {2, 2}, 3, 3), nyxStsAnchorErr},
      {"row empty ROI is no error", row(s16 + 6, {0, 2}, 3, 1), nyxStsNoErr},
      {"column null destination", col(s16, nullptr, {2, 2}, 3, 1), nyxStsNullPtrErr},
      {"column anchor", col(s16 + 16, d32, {2, 2}, 2, 2), nyxStsAnchorErr},
      {"column empty ROI", col(s16 + 16, d32, {3, -1}, 2, 1), nyxStsNoErr},
  });
  for (float x : d32) EXPECT_EQ(x, 0.0f) << "an empty ROI writes nothing";
}

// ---------------------------------------------------------------------------
// Borderless sums against the rule.

template <class T, int kNc>
void CheckRowColumn(NyxStatus (*row)(const T*, int, Nyx32f*, int, NyxiSize, int, int),
                    NyxStatus (*col)(const T*, int, Nyx32f*, int, NyxiSize, int, int)) {
  std::mt19937 rng(kNc * 100 + sizeof(T));
  for (int mask : {1, 2, 3, 7, 16, 40, 300}) {
    for (int anchor : {0, mask / 2, mask - 1}) {
      const int W = 29, H = 11;
      const int sw = (W + mask) * kNc, sh = H + mask;  // samples a row, rows
      std::vector<T> src(static_cast<size_t>(sw) * sh);
      for (T& v : src) {
        v = static_cast<T>(std::uniform_int_distribution<int64_t>(
            std::numeric_limits<T>::min(), std::numeric_limits<T>::max())(rng));
      }
      std::vector<float> dr(W * kNc * H), dc(W * kNc * H);
      const int ss = sw * static_cast<int>(sizeof(T)), ds = W * kNc * 4;
      // Row reads anchor pixels left of the ROI; Column anchor rows above.
      ASSERT_EQ(row(src.data() + anchor * kNc, ss, dr.data(), ds, {W, H}, mask, anchor),
                nyxStsNoErr);
      ASSERT_EQ(col(src.data() + static_cast<size_t>(anchor) * sw, ss, dc.data(), ds, {W, H}, mask,
                    anchor),
                nyxStsNoErr);
      for (int y = 0; y < H; ++y)
        for (int i = 0; i < W * kNc; ++i) {
          int64_t exact = 0;
          for (int k = 0; k < mask; ++k) exact += src[static_cast<size_t>(y) * sw + i + k * kNc];
          ASSERT_EQ(dr[y * W * kNc + i], static_cast<float>(exact)) << mask << " " << i << "," << y;
          // Column: the float sum down the first rows, then the running value.
          float running = 0;
          for (int k = 0; k < mask; ++k) {
            const float v = static_cast<float>(src[static_cast<size_t>(k) * sw + i]);
            running = k == 0 ? v : running + v;
          }
          for (int yy = 1; yy <= y; ++yy) {
            const int64_t enter = src[static_cast<size_t>(yy + mask - 1) * sw + i];
            const int64_t leave = src[static_cast<size_t>(yy - 1) * sw + i];
            running += static_cast<float>(enter - leave);
          }
          ASSERT_EQ(dc[y * W * kNc + i], running) << mask << " " << i << "," << y;
          if (sizeof(T) == 1) {  // 8-bit column sums are exact
            int64_t down = 0;
            for (int k = 0; k < mask; ++k) down += src[static_cast<size_t>(y + k) * sw + i];
            ASSERT_EQ(running, static_cast<float>(down));
          }
        }
    }
  }
}

TEST(BoxBorderless, RowAndColumnSums) {
  CheckRowColumn<Nyx8u, 1>(nyxiSumWindowRow_8u32f_C1R, nyxiSumWindowColumn_8u32f_C1R);
  CheckRowColumn<Nyx8u, 3>(nyxiSumWindowRow_8u32f_C3R, nyxiSumWindowColumn_8u32f_C3R);
  CheckRowColumn<Nyx8u, 4>(nyxiSumWindowRow_8u32f_C4R, nyxiSumWindowColumn_8u32f_C4R);
  CheckRowColumn<Nyx16u, 1>(nyxiSumWindowRow_16u32f_C1R, nyxiSumWindowColumn_16u32f_C1R);
  CheckRowColumn<Nyx16u, 3>(nyxiSumWindowRow_16u32f_C3R, nyxiSumWindowColumn_16u32f_C3R);
  CheckRowColumn<Nyx16u, 4>(nyxiSumWindowRow_16u32f_C4R, nyxiSumWindowColumn_16u32f_C4R);
  CheckRowColumn<Nyx16s, 1>(nyxiSumWindowRow_16s32f_C1R, nyxiSumWindowColumn_16s32f_C1R);
  CheckRowColumn<Nyx16s, 3>(nyxiSumWindowRow_16s32f_C3R, nyxiSumWindowColumn_16s32f_C3R);
  CheckRowColumn<Nyx16s, 4>(nyxiSumWindowRow_16s32f_C4R, nyxiSumWindowColumn_16s32f_C4R);
}

TEST(BoxBorderless, Box64fAtTheCallersAnchor) {
  std::mt19937 rng(64);
  for (NyxiSize mask :
       {NyxiSize{1, 1}, NyxiSize{3, 3}, NyxiSize{5, 2}, NyxiSize{2, 7}, NyxiSize{6, 6}}) {
    for (NyxiPoint anchor : {NyxiPoint{0, 0}, NyxiPoint{mask.width - 1, mask.height / 2}}) {
      const int W = 13, H = 6, sw = W + mask.width - 1, sh = H + mask.height - 1;
      std::vector<double> src(static_cast<size_t>(sw) * sh), dst(W * H, -1.0);
      for (double& v : src) v = std::uniform_real_distribution<double>(-100, 100)(rng);
      const double* at = src.data() + static_cast<size_t>(anchor.y) * sw + anchor.x;
      ASSERT_EQ(nyxiFilterBox_64f_C1R(at, sw * 8, dst.data(), W * 8, {W, H}, mask, anchor),
                nyxStsNoErr);
      for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x) {
          double v = 0;
          for (int j = 0; j < mask.height; ++j) {
            double h = src[static_cast<size_t>(y + j) * sw + x];
            for (int i = 1; i < mask.width; ++i) h += src[static_cast<size_t>(y + j) * sw + x + i];
            v = j == 0 ? h : v + h;
          }
          ASSERT_EQ(dst[y * W + x], v * (1.0 / (mask.width * mask.height))) << x << "," << y;
        }
    }
  }
}

}  // namespace

namespace {

// Without in-memory flags nothing outside the ROI is read: the source is a
// tight image between two guard pages.
template <class T, int kNc>
void ReadsOnlyTheRoi(NyxStatus (*fn)(const T*, int, T*, int, NyxiSize, NyxiSize, NyxiBorderType,
                                     const T*, Nyx8u*),
                     NyxDataType type) {
  for (NyxiSize roi : {NyxiSize{37, 9}, NyxiSize{5, 3}, NyxiSize{1, 1}, NyxiSize{64, 2}}) {
    for (NyxiSize mask : {NyxiSize{3, 3}, NyxiSize{2, 2}, NyxiSize{7, 4}, NyxiSize{16, 5}}) {
      for (NyxiBorderType word : {1u, 3u, 6u}) {
        for (bool in_place : {false, true}) {
          const size_t samples = static_cast<size_t>(roi.width) * roi.height * kNc;
          GuardedBuffer src(samples * sizeof(T), true);
          for (size_t i = 0; i < samples; ++i) src.as<T>()[i] = static_cast<T>(i % 97);
          std::vector<T> dst(samples);
          int size = 0;
          ASSERT_EQ(nyxiFilterBoxBorderGetBufferSize(roi, mask, type, kNc, &size), nyxStsNoErr);
          GuardedBuffer buffer(static_cast<size_t>(size));
          const T value[4] = {T(1), T(2), T(3), T(4)};
          const int step = roi.width * kNc * static_cast<int>(sizeof(T));
          T* out = in_place ? src.as<T>() : dst.data();
          ASSERT_EQ(fn(src.as<T>(), step, out, step, roi, mask, word, value, buffer.data()),
                    nyxStsNoErr);
        }
      }
    }
  }
}

TEST(BoxCases, ReadsNothingOutsideTheRoi) {
  ReadsOnlyTheRoi<Nyx8u, 1>(nyxiFilterBoxBorder_8u_C1R, nyx8u);
  ReadsOnlyTheRoi<Nyx8u, 3>(nyxiFilterBoxBorder_8u_C3R, nyx8u);
  ReadsOnlyTheRoi<Nyx16u, 4>(nyxiFilterBoxBorder_16u_AC4R, nyx16u);
  ReadsOnlyTheRoi<Nyx16s, 4>(nyxiFilterBoxBorder_16s_C4R, nyx16s);
  ReadsOnlyTheRoi<Nyx32f, 1>(nyxiFilterBoxBorder_32f_C1R, nyx32f);
  ReadsOnlyTheRoi<Nyx32f, 3>(nyxiSumWindow_32f_C3R, nyx32f);
}

}  // namespace
