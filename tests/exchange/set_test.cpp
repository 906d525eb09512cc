// nyxiSet in every form: the written samples take the value, AC4 alpha and
// the other channels of a CR form stay, masked forms write only where the
// mask is not zero. The pattern fill is driven through heads, rounds and
// tails, and through its streaming stores.
#include "exchange/copy_forms.h"
#include "exchange/copy_kernels.h"
#include "tests/exchange/copy_util.h"

namespace nyx::test {
namespace {

template <class T>
T Value(int c) {
  return PaddedImage<T>::RandomSample(Rng()) + static_cast<T>(c);
}

template <class T>
PaddedImage<Nyx8u> RandomMask(int w, int h) {
  PaddedImage<Nyx8u> m(w, h, 1);
  m.Fill([](int, int, int) { return Rng()() % 3 == 0 ? 0 : 1 + Rng()() % 255; });
  return m;
}

template <class T>
void CheckSetForms(const char* name) {
  SCOPED_TRACE(name);
  using C1 = NyxStatus (*)(T, T*, int, NyxiSize);
  using CN = NyxStatus (*)(const T*, T*, int, NyxiSize);
  using C1M = NyxStatus (*)(T, T*, int, NyxiSize, const Nyx8u*, int);
  using CNM = NyxStatus (*)(const T*, T*, int, NyxiSize, const Nyx8u*, int);
  struct Forms {
    C1 c1;
    CN c3, c4, ac4;
    C1 c3c, c4c;
    C1M c1m;
    CNM c3m, c4m, ac4m;
  };
  Forms f{};
  if constexpr (std::is_same_v<T, Nyx8u>) {
    f = {nyxiSet_8u_C1R,  nyxiSet_8u_C3R,  nyxiSet_8u_C4R,  nyxiSet_8u_AC4R, nyxiSet_8u_C3CR,
         nyxiSet_8u_C4CR, nyxiSet_8u_C1MR, nyxiSet_8u_C3MR, nyxiSet_8u_C4MR, nyxiSet_8u_AC4MR};
  } else if constexpr (std::is_same_v<T, Nyx16u>) {
    f = {nyxiSet_16u_C1R,  nyxiSet_16u_C3R,  nyxiSet_16u_C4R,  nyxiSet_16u_AC4R, nyxiSet_16u_C3CR,
         nyxiSet_16u_C4CR, nyxiSet_16u_C1MR, nyxiSet_16u_C3MR, nyxiSet_16u_C4MR, nyxiSet_16u_AC4MR};
  } else if constexpr (std::is_same_v<T, Nyx16s>) {
    f = {nyxiSet_16s_C1R,  nyxiSet_16s_C3R,  nyxiSet_16s_C4R,  nyxiSet_16s_AC4R, nyxiSet_16s_C3CR,
         nyxiSet_16s_C4CR, nyxiSet_16s_C1MR, nyxiSet_16s_C3MR, nyxiSet_16s_C4MR, nyxiSet_16s_AC4MR};
  } else if constexpr (std::is_same_v<T, Nyx32s>) {
    f = {nyxiSet_32s_C1R,  nyxiSet_32s_C3R,  nyxiSet_32s_C4R,  nyxiSet_32s_AC4R, nyxiSet_32s_C3CR,
         nyxiSet_32s_C4CR, nyxiSet_32s_C1MR, nyxiSet_32s_C3MR, nyxiSet_32s_C4MR, nyxiSet_32s_AC4MR};
  } else {
    f = {nyxiSet_32f_C1R,  nyxiSet_32f_C3R,  nyxiSet_32f_C4R,  nyxiSet_32f_AC4R, nyxiSet_32f_C3CR,
         nyxiSet_32f_C4CR, nyxiSet_32f_C1MR, nyxiSet_32f_C3MR, nyxiSet_32f_C4MR, nyxiSet_32f_AC4MR};
  }
  const T v[4] = {Value<T>(0), Value<T>(1), Value<T>(2), Value<T>(3)};
  for (NyxiSize sz : {NyxiSize{1, 1}, NyxiSize{5, 3}, NyxiSize{37, 4}, NyxiSize{101, 7}}) {
    const int w = sz.width, h = sz.height;
    auto run = [&](int ch, auto call, auto expect, const char* what) {
      PaddedImage<T> dst = RandomImage<T>(w, h, ch);
      const PaddedImage<T> before = dst;
      ASSERT_EQ(call(dst), nyxStsNoErr) << what;
      ExpectImage(
          dst, [&](int x, int y, int c) { return expect(before, x, y, c); }, what);
    };
    const PaddedImage<Nyx8u> mask = RandomMask<T>(w, h);
    auto all = [&](const PaddedImage<T>&, int, int, int c) { return v[c]; };
    auto keep_alpha = [&](const PaddedImage<T>& b, int x, int y, int c) {
      return c == 3 ? b.at(x, y, c) : v[c];
    };
    auto masked = [&](int n) {
      return [&, n](const PaddedImage<T>& b, int x, int y, int c) {
        return mask.at(x, y) && c < n ? v[c] : b.at(x, y, c);
      };
    };
    auto channel = [&](int k) {
      return [&, k](const PaddedImage<T>& b, int x, int y, int c) {
        return c == k ? v[0] : b.at(x, y, c);
      };
    };
    run(
        1, [&](PaddedImage<T>& d) { return f.c1(v[0], d.roi(), d.step(), sz); }, all, "C1");
    run(
        3, [&](PaddedImage<T>& d) { return f.c3(v, d.roi(), d.step(), sz); }, all, "C3");
    run(
        4, [&](PaddedImage<T>& d) { return f.c4(v, d.roi(), d.step(), sz); }, all, "C4");
    run(
        4, [&](PaddedImage<T>& d) { return f.ac4(v, d.roi(), d.step(), sz); }, keep_alpha, "AC4");
    run(
        3, [&](PaddedImage<T>& d) { return f.c3c(v[0], d.roi() + 2, d.step(), sz); }, channel(2),
        "C3CR");
    run(
        4, [&](PaddedImage<T>& d) { return f.c4c(v[0], d.roi() + 1, d.step(), sz); }, channel(1),
        "C4CR");
    run(
        1,
        [&](PaddedImage<T>& d) {
          return f.c1m(v[0], d.roi(), d.step(), sz, mask.roi(), mask.step());
        },
        masked(1), "C1MR");
    run(
        3,
        [&](PaddedImage<T>& d) { return f.c3m(v, d.roi(), d.step(), sz, mask.roi(), mask.step()); },
        masked(3), "C3MR");
    run(
        4,
        [&](PaddedImage<T>& d) { return f.c4m(v, d.roi(), d.step(), sz, mask.roi(), mask.step()); },
        masked(4), "C4MR");
    run(
        4,
        [&](PaddedImage<T>& d) {
          return f.ac4m(v, d.roi(), d.step(), sz, mask.roi(), mask.step());
        },
        masked(3), "AC4MR");
  }
}

TEST(Set, EveryFormAgainstTheModel) {
#define CHECK_TYPE(T) CheckSetForms<Nyx##T>(#T);
  NYX_COPY_TYPES(CHECK_TYPE)
#undef CHECK_TYPE
}

// Heads, 96-byte rounds and tails of the pattern fill: every width up to 300
// bytes at every start offset within a vector, pixels of 1 to 16 bytes.
TEST(SetPaths, PatternFillAtEveryOffsetAndLength) {
  const uint8_t value[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  for (int period : {1, 2, 3, 4, 6, 8, 12, 16}) {
    const avx2::Pattern pat = avx2::MakePattern(value, period);
    GuardedBuffer buf(400);
    for (int stream = 0; stream < 2; ++stream) {
      for (size_t n = 1; n <= 300; ++n) {
        // `after` bytes between the fill and the guard page stay as they were.
        for (size_t after = 0; after < 32; after += 7) {
          uint8_t* d = buf.data() + buf.size() - after - n;
          std::memset(buf.data(), 0xEE, buf.size());
          if (stream)
            avx2::FillPattern<true>(d, n, pat), avx2::StoreFence();
          else
            avx2::FillPattern<false>(d, n, pat);
          for (size_t i = 0; i < n; ++i) {
            ASSERT_EQ(d[i], value[i % period])
                << "period " << period << " n " << n << " after " << after << " i " << i;
          }
          for (uint8_t* p = buf.data(); p < buf.data() + buf.size(); ++p) {
            if (p < d || p >= d + n) {
              ASSERT_EQ(*p, 0xEE) << "written outside";
            }
          }
        }
      }
    }
  }
}

TEST(SetPaths, ContiguousRowsZeroAndNegativeStrides) {
  // Stride equal to the row: one run over the whole image.
  std::vector<Nyx16s> img(13 * 7 * 3 + 1, 99);
  const Nyx16s v[3] = {-1, 2, -3};
  ASSERT_EQ(nyxiSet_16s_C3R(v, img.data(), 13 * 3 * 2, {13, 7}), nyxStsNoErr);
  for (size_t i = 0; i + 1 < img.size(); ++i) ASSERT_EQ(img[i], v[i % 3]);
  EXPECT_EQ(img.back(), 99);
  // A negative stride walks upwards, a zero stride fills one row again.
  PaddedImage<Nyx32f> dst = RandomImage<Nyx32f>(9, 4, 1);
  ASSERT_EQ(nyxiSet_32f_C1R(2.5f, dst.row(3), -dst.step(), {9, 4}), nyxStsNoErr);
  ExpectImage(
      dst, [](int, int, int) { return 2.5f; }, "negative stride");
  PaddedImage<Nyx8u> one = RandomImage<Nyx8u>(40, 1, 1);
  ASSERT_EQ(nyxiSet_8u_C1R(7, one.roi(), 0, {40, 5}), nyxStsNoErr);
  ExpectImage(
      one, [](int, int, int) { return 7; }, "zero stride");
}

// Long rows (past the length where uniform bytes take the string fill):
// values whose bytes differ, and a value whose bytes agree.
TEST(SetPaths, LongRowsOfEveryPattern) {
  for (int w : {2100, 5000}) {
    PaddedImage<Nyx16s> c1 = RandomImage<Nyx16s>(w, 2, 1);
    ASSERT_EQ(nyxiSet_16s_C1R(0x0102, c1.roi(), c1.step(), {w, 2}), nyxStsNoErr);
    ExpectImage(c1, [](int, int, int) { return 0x0102; }, "16s C1");
    PaddedImage<Nyx8u> c3 = RandomImage<Nyx8u>(w, 2, 3);
    const Nyx8u v3[3] = {9, 8, 7};
    ASSERT_EQ(nyxiSet_8u_C3R(v3, c3.roi(), c3.step(), {w, 2}), nyxStsNoErr);
    ExpectImage(c3, [&](int, int, int c) { return v3[c]; }, "8u C3");
    PaddedImage<Nyx32f> f = RandomImage<Nyx32f>(w, 2, 1);
    ASSERT_EQ(nyxiSet_32f_C1R(0.0f, f.roi(), f.step(), {w, 2}), nyxStsNoErr);
    ExpectImage(f, [](int, int, int) { return 0.0f; }, "32f zero");
  }
}

TEST(Set, GuardPagesAndAlphaAtTheEnd) {
  for (int w : {1, 2, 7, 32, 33, 95, 96, 97, 300}) {
    GuardedImage<Nyx8u> img(w, 2, 4, 3);
    std::vector<uint8_t> alpha;
    for (int y = 0; y < 2; ++y)
      for (int x = 0; x < w; ++x) alpha.push_back(img.at(x, y, 3));
    const Nyx8u v[3] = {10, 20, 30};
    ASSERT_EQ(nyxiSet_8u_AC4R(v, img.roi(), img.step, {w, 2}), nyxStsNoErr);
    for (int y = 0; y < 2; ++y) {
      for (int x = 0; x < w; ++x) {
        ASSERT_EQ(img.at(x, y, 0), 10);
        ASSERT_EQ(img.at(x, y, 2), 30);
        ASSERT_EQ(img.at(x, y, 3), alpha[y * w + x]) << "alpha written at " << x;
      }
    }
    GuardedImage<Nyx16u> c3(w, 2, 3, 2);
    const Nyx16u v3[3] = {1, 2, 65535};
    ASSERT_EQ(nyxiSet_16u_C3R(v3, c3.roi(), c3.step, {w, 2}), nyxStsNoErr);
    for (int x = 0; x < w; ++x) ASSERT_EQ(c3.at(x, 1, 2), 65535);
  }
}

TEST(Set, OrderOfTests) {
  Nyx8u d[64] = {}, m[64] = {};
  const Nyx8u v[4] = {};
  ExpectStatuses({
      {"null, zero width",
       [&] {
         return nyxiSet_8u_C1R(1, nullptr, 8, {0, 0});
       },
       nyxStsNullPtrErr},
      {"null value",
       [&] {
         return nyxiSet_8u_C3R(nullptr, d, 8, {1, 1});
       },
       nyxStsNullPtrErr},
      {"null mask",
       [&] {
         return nyxiSet_8u_C1MR(1, d, 8, {1, 1}, nullptr, 8);
       },
       nyxStsNullPtrErr},
      {"mask zero width",
       [&] {
         return nyxiSet_8u_AC4MR(v, d, 8, {0, 1}, m, 8);
       },
       nyxStsSizeErr},
      {"zero height",
       [&] {
         return nyxiSet_8u_C4CR(1, d, 8, {1, 0});
       },
       nyxStsSizeErr},
      {"negative width",
       [&] {
         return nyxiSet_8u_C1R(1, d, 8, {-1, 1});
       },
       nyxStsSizeErr},
      {"CR null",
       [&] {
         return nyxiSet_8u_C3CR(1, nullptr, 8, {0, 1});
       },
       nyxStsNullPtrErr},
  });
}

}  // namespace
}  // namespace nyx::test
