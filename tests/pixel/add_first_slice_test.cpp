// nyxiAdd_8u end to end: every 8-bit pair at every scale factor, every form,
// the order of tests, strides, the Set shortcut and the _L rules.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "nyx.h"
#include "tests/support/guarded.h"
#include "tests/support/image.h"
#include "tests/support/ref/round.h"
#include "tests/support/status_table.h"

namespace {

using nyx::ref::ScaleSfs;
using nyx::test::GuardedBuffer;
using nyx::test::PaddedImage;

Nyx8u RefAdd(int a, int b, int sf) { return ScaleSfs<Nyx8u>(a + b, sf); }

// A 256x256 image of every pair: src1 = x, src2 = y. Rows end at a guard page
// (the last row is the last thing in the buffer), widths are not multiples
// of the vector width in the ROI-offset runs below.
TEST(AddFirstSlice, AllPairsEveryScaleFactor) {
  GuardedBuffer a(256 * 256), b(256 * 256), d(256 * 256);
  for (int y = 0; y < 256; ++y)
    for (int x = 0; x < 256; ++x) {
      a.data()[y * 256 + x] = static_cast<Nyx8u>(x);
      b.data()[y * 256 + x] = static_cast<Nyx8u>(y);
    }
  for (int sf = -10; sf <= 12; ++sf) {
    std::fill(d.data(), d.data() + d.size(), 0x5A);
    ASSERT_EQ(nyxiAdd_8u_C1RSfs(a.data(), 256, b.data(), 256, d.data(), 256, {256, 256}, sf),
              nyxStsNoErr);
    for (int y = 0; y < 256; ++y)
      for (int x = 0; x < 256; ++x)
        ASSERT_EQ(d.data()[y * 256 + x], RefAdd(x, y, sf)) << x << "+" << y << " sf " << sf;
  }
}

TEST(AddFirstSlice, EdgeValuesFromTheRule) {
  auto one = [](Nyx8u a, Nyx8u b, int sf) {
    Nyx8u d = 0x77;
    EXPECT_EQ(nyxiAdd_8u_C1RSfs(&a, 1, &b, 1, &d, 1, {1, 1}, sf), nyxStsNoErr);
    return static_cast<int>(d);
  };
  EXPECT_EQ(one(3, 4, 1), 4);      // 3.5 -> 4
  EXPECT_EQ(one(2, 3, 1), 2);      // 2.5 -> 2
  EXPECT_EQ(one(255, 255, 9), 1);  // 510 / 512
  EXPECT_EQ(one(255, 255, 10), 0);
  EXPECT_EQ(one(1, 0, -7), 128);
  EXPECT_EQ(one(1, 0, -8), 255);
  EXPECT_EQ(one(0, 0, -100), 0);
  EXPECT_EQ(one(200, 100, 0), 255);
}

// Every length through 3 vector blocks and odd offsets: the split into blocks
// and the one-sample tail must agree with the rule, and a kernel must not read
// or write past the row (the buffers end at a guard page).
TEST(AddFirstSlice, EveryCountAndOffsetStaysInItsRow) {
  std::mt19937 rng(7);
  for (int sf : {0, 1, 3, -2, -9}) {
    for (int n = 1; n <= 200; ++n) {
      for (int off = 0; off < 4; ++off) {
        GuardedBuffer a(n + off), b(n + off), d(n + off);
        for (int i = 0; i < n + off; ++i) {
          a.data()[i] = static_cast<Nyx8u>(rng());
          b.data()[i] = static_cast<Nyx8u>(rng());
        }
        ASSERT_EQ(nyxiAdd_8u_C1RSfs(a.data() + off, 0, b.data() + off, 0, d.data() + off, 0,
                                    {n, 1}, sf),
                  nyxStsNoErr);
        for (int i = 0; i < n; ++i)
          ASSERT_EQ(d.data()[off + i], RefAdd(a.data()[off + i], b.data()[off + i], sf))
              << "n " << n << " off " << off << " sf " << sf;
      }
    }
  }
}

// All forms through the API, in ROIs inside sentinel padding: out of place
// against the rule, in place against out of place, alpha of AC4 untouched.
template <int kChannels, bool kAlpha>
void CheckForm(NyxStatus (*fn)(const Nyx8u*, int, const Nyx8u*, int, Nyx8u*, int, NyxiSize, int),
               NyxStatus (*fn_i)(const Nyx8u*, int, Nyx8u*, int, NyxiSize, int)) {
  std::mt19937 rng(kChannels * 10 + kAlpha);
  for (int sf : {-9, -3, 0, 1, 2, 9, 10, 12}) {
    for (NyxiSize roi : {NyxiSize{1, 1}, NyxiSize{37, 5}, NyxiSize{130, 9}}) {
      PaddedImage<Nyx8u> a(roi.width, roi.height, kChannels), b(roi.width, roi.height, kChannels),
          d(roi.width, roi.height, kChannels);
      a.FillRandom(rng);
      b.FillRandom(rng);
      d.FillRandom(rng);
      const PaddedImage<Nyx8u> b0 = b, d0 = d;
      ASSERT_EQ(fn(a.roi(), a.step(), b.roi(), b.step(), d.roi(), d.step(), roi, sf), nyxStsNoErr);
      ASSERT_EQ(fn_i(a.roi(), a.step(), b.roi(), b.step(), roi, sf), nyxStsNoErr);
      for (int y = 0; y < roi.height; ++y)
        for (int x = 0; x < roi.width; ++x)
          for (int c = 0; c < kChannels; ++c) {
            if (kAlpha && c == 3) {
              ASSERT_EQ(d.at(x, y, c), d0.at(x, y, c)) << "alpha written, sf " << sf;
              ASSERT_EQ(b.at(x, y, c), b0.at(x, y, c)) << "alpha written in place, sf " << sf;
            } else {
              ASSERT_EQ(d.at(x, y, c), RefAdd(a.at(x, y, c), b0.at(x, y, c), sf))
                  << x << "," << y << "," << c << " sf " << sf;
              ASSERT_EQ(b.at(x, y, c), d.at(x, y, c)) << "in place differs, sf " << sf;
            }
          }
      EXPECT_TRUE(d.OutsideIntact());
      EXPECT_TRUE(b.OutsideIntact());
    }
  }
}

TEST(AddFirstSlice, FormsAgreeWithTheRuleAndKeepAlpha) {
  CheckForm<1, false>(nyxiAdd_8u_C1RSfs, nyxiAdd_8u_C1IRSfs);
  CheckForm<3, false>(nyxiAdd_8u_C3RSfs, nyxiAdd_8u_C3IRSfs);
  CheckForm<4, false>(nyxiAdd_8u_C4RSfs, nyxiAdd_8u_C4IRSfs);
  CheckForm<4, true>(nyxiAdd_8u_AC4RSfs, nyxiAdd_8u_AC4IRSfs);
}

// The order of tests: C1 and AC4 test null before size; C3 and C4 test the
// width first (they route to C1), then null, then the height (from C1).
TEST(AddFirstSlice, StatusOrder) {
  Nyx8u p[16] = {};
  using F = NyxStatus (*)(const Nyx8u*, int, const Nyx8u*, int, Nyx8u*, int, NyxiSize, int);
  std::vector<nyx::test::StatusCase> cases;
  for (auto [name, fn, width_first] :
       {std::tuple<const char*, F, bool>{"C1", nyxiAdd_8u_C1RSfs, false},
        {"AC4", nyxiAdd_8u_AC4RSfs, false},
        {"C3", nyxiAdd_8u_C3RSfs, true},
        {"C4", nyxiAdd_8u_C4RSfs, true}}) {
    const std::string n = name;
    cases.push_back({n + " null, zero width", [fn] { return fn(nullptr, 1, nullptr, 1, nullptr, 1, {0, 1}, 0); },
                     width_first ? nyxStsSizeErr : nyxStsNullPtrErr});
    cases.push_back({n + " null, zero height", [fn] { return fn(nullptr, 1, nullptr, 1, nullptr, 1, {1, 0}, 0); },
                     nyxStsNullPtrErr});
    cases.push_back({n + " null dst", [fn, &p] { return fn(p, 1, p, 1, nullptr, 1, {1, 1}, 0); },
                     nyxStsNullPtrErr});
    cases.push_back({n + " null src2", [fn, &p] { return fn(p, 1, nullptr, 1, p, 1, {1, 1}, 0); },
                     nyxStsNullPtrErr});
    cases.push_back({n + " negative height", [fn, &p] { return fn(p, 1, p, 1, p, 1, {1, -1}, 0); },
                     nyxStsSizeErr});
    cases.push_back({n + " zero strides accepted", [fn, &p] { return fn(p, 0, p, 0, p, 0, {1, 3}, 0); },
                     nyxStsNoErr});
    cases.push_back({n + " null at sf 10 (Set shortcut)", [fn] { return fn(nullptr, 1, nullptr, 1, nullptr, 1, {1, 1}, 10); },
                     nyxStsNullPtrErr});
  }
  nyx::test::ExpectStatuses(cases);
}

TEST(AddFirstSlice, FailedTestsWriteNothing) {
  PaddedImage<Nyx8u> a(8, 4, 1), d(8, 4, 1);
  const auto snap = d.Snapshot();
  EXPECT_EQ(nyxiAdd_8u_C1RSfs(a.roi(), a.step(), nullptr, 8, d.roi(), d.step(), {8, 4}, 0),
            nyxStsNullPtrErr);
  EXPECT_EQ(nyxiAdd_8u_C1RSfs(a.roi(), a.step(), a.roi(), a.step(), d.roi(), d.step(), {8, 0}, 10),
            nyxStsSizeErr);
  EXPECT_TRUE(d.SameAs(snap));
}

// Stride 0 on all images and height 2 writes the same row twice; negative
// strides walk upwards.
TEST(AddFirstSlice, ZeroAndNegativeStrides) {
  Nyx8u a[3] = {1, 2, 3}, b[3] = {10, 20, 30}, d[3] = {};
  ASSERT_EQ(nyxiAdd_8u_C1RSfs(a, 0, b, 0, d, 0, {3, 2}, 0), nyxStsNoErr);
  EXPECT_EQ(d[0], 11);
  EXPECT_EQ(d[2], 33);
  // Three rows stored bottom-up, walked with a negative stride.
  Nyx8u s1[3][2] = {{1, 1}, {2, 2}, {3, 3}}, s2[3][2] = {{4, 4}, {5, 5}, {6, 6}}, out[3][2] = {};
  ASSERT_EQ(nyxiAdd_8u_C1RSfs(&s1[2][0], -2, &s2[2][0], -2, &out[0][0], 2, {2, 3}, 0), nyxStsNoErr);
  EXPECT_EQ(out[0][0], 9);  // 3 + 6
  EXPECT_EQ(out[1][1], 7);  // 2 + 5
  EXPECT_EQ(out[2][0], 5);  // 1 + 4
}

// From scale factor 10 the call is a Set of zero: the sources are not read,
// and AC4 keeps alpha through the AC4 fill.
TEST(AddFirstSlice, SetShortcutReadsNoSource) {
  nyx::test::NoAccessPage page;
  PaddedImage<Nyx8u> d(9, 3, 1);
  d.Fill([](int x, int y, int) { return x + y + 1; });
  ASSERT_EQ(nyxiAdd_8u_C1RSfs(page.as<Nyx8u>(), 9, page.as<Nyx8u>(), 9, d.roi(), d.step(), {9, 3}, 10),
            nyxStsNoErr);
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 9; ++x) EXPECT_EQ(d.at(x, y), 0);
  PaddedImage<Nyx8u> q(5, 2, 4);
  q.Fill([](int, int, int c) { return 100 + c; });
  ASSERT_EQ(nyxiAdd_8u_AC4RSfs(page.as<Nyx8u>(), 0, page.as<Nyx8u>(), 0, q.roi(), q.step(), {5, 2}, 200),
            nyxStsNoErr);
  for (int x = 0; x < 5; ++x) {
    EXPECT_EQ(q.at(x, 1, 0), 0);
    EXPECT_EQ(q.at(x, 1, 2), 0);
    EXPECT_EQ(q.at(x, 1, 3), 103);
  }
  EXPECT_TRUE(q.OutsideIntact());
}

// _L: a call that fits is the plain form (its statuses included); one that
// does not walks rows and chunks, and an empty size is then success.
TEST(AddFirstSlice, LongForms) {
  Nyx8u a[4] = {1, 2, 3, 4}, b[4] = {5, 6, 7, 8}, d[4] = {};
  EXPECT_EQ(nyxiAdd_8u_C1RSfs_L(a, 4, b, 4, d, 4, NyxiSizeL{4, 1}, 0), nyxStsNoErr);
  EXPECT_EQ(d[3], 12);
  EXPECT_EQ(nyxiAdd_8u_C1RSfs_L(a, 4, b, 4, d, 4, NyxiSizeL{0, 1}, 0), nyxStsSizeErr);
  EXPECT_EQ(nyxiAdd_8u_C1RSfs_L(nullptr, 4, b, 4, d, 4, NyxiSizeL{0, 1}, 0), nyxStsNullPtrErr);
  const NyxSizeL big = NyxSizeL{0x80000000};
  EXPECT_EQ(nyxiAdd_8u_C1RSfs_L(a, big, b, big, d, big, NyxiSizeL{0, 1}, 0), nyxStsNoErr);
  EXPECT_EQ(nyxiAdd_8u_C3RSfs_L(a, big, b, big, d, big, NyxiSizeL{1, -3}, 0), nyxStsNoErr);
  EXPECT_EQ(nyxiAdd_8u_AC4IRSfs_L(a, big, d, big, NyxiSizeL{-1, 1}, 0), nyxStsNoErr);

  // Two real rows 2^31 + 64 bytes apart, walked by the chunked path.
  nyx::test::SparseRegion region((size_t{1} << 32) + 4096 * 4);
  if (!region.data()) GTEST_SKIP() << "cannot reserve 4 GiB of address space";
  const NyxSizeL step = big + 64;
  Nyx8u* base = region.data();
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 100; ++x) base[y * step + x] = static_cast<Nyx8u>(x + y);
  // src1 = rows at base, src2 = the same rows, dst at base + 200 (same stride).
  ASSERT_EQ(nyxiAdd_8u_C1RSfs_L(base, step, base, step, base + 200, step, NyxiSizeL{100, 2}, 1),
            nyxStsNoErr);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 100; ++x) ASSERT_EQ(base[y * step + 200 + x], x + y);
  // AC4 through its one-row pieces keeps alpha.
  for (int x = 0; x < 25; ++x) base[step + 1000 + 4 * x + 3] = 77;
  ASSERT_EQ(nyxiAdd_8u_AC4RSfs_L(base, step, base, step, base + 1000, step, NyxiSizeL{25, 2}, 0),
            nyxStsNoErr);
  for (int x = 0; x < 25; ++x) {
    EXPECT_EQ(base[step + 1000 + 4 * x + 3], 77);
    EXPECT_EQ(base[step + 1000 + 4 * x], std::min(255, 2 * (4 * x + 1)));
  }
}

}  // namespace
