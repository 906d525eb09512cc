// The border word decoder and the index maps, against the rule.
//
// The decoder is internal to the library, so its source is compiled into
// this test directly.
#include "core/border/border.cpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "tests/support/ref/border.h"

namespace nyx::border {
namespace {

using ref::BorderMode;

// ---------------------------------------------------------------------------
// Decoder

struct Family {
  const char* name;
  ModeSet set;
  std::vector<uint32_t> modes;  // the accepted mode values, written out
};

std::vector<Family> Families() {
  return {{"filter", kFilterModes, {1, 3, 6}},
          {"median", kMedianModes, {1, 6}},
          {"resize", kResizeModes, {1, 3, 4}},
          {"warp", kWarpModes, {1, 6, 7}}};
}

bool Contains(const std::vector<uint32_t>& v, uint32_t x) {
  for (uint32_t e : v) {
    if (e == x) return true;
  }
  return false;
}

TEST(BorderWord, EveryByteWordAgainstTheRule) {
  for (const Family& f : Families()) {
    for (uint32_t word = 0; word <= 0xFF; ++word) {
      Border b{kMirrorR, 0x50};  // must stay untouched on failure
      const NyxStatus st = Decode(word, f.set, &b);
      const bool accepted = word == 0xF0 || Contains(f.modes, word & 0xF);
      if (!accepted) {
        EXPECT_EQ(st, nyxStsBorderErr) << f.name << " word " << word;
        EXPECT_EQ(b.mode, kMirrorR);
        EXPECT_EQ(b.flags, 0x50u);
        continue;
      }
      ASSERT_EQ(st, nyxStsNoErr) << f.name << " word " << word;
      EXPECT_EQ(b.flags, word & 0xF0) << f.name << " word " << word;
      EXPECT_EQ(static_cast<uint32_t>(b.mode), word == 0xF0 ? 0u : (word & 0xF));
      EXPECT_EQ(b.AllInMem(), (word & 0xF0) == 0xF0);
      EXPECT_EQ(b.InMemTop(), (word & 0x10) != 0);
      EXPECT_EQ(b.InMemBottom(), (word & 0x20) != 0);
      EXPECT_EQ(b.InMemLeft(), (word & 0x40) != 0);
      EXPECT_EQ(b.InMemRight(), (word & 0x80) != 0);
    }
  }
}

TEST(BorderWord, HighBitsAreRefusedBeforeTheMode) {
  Border b;
  for (uint32_t word :
       {0x100u, 0x101u, 0x1F0u, 0x10F0u, 0x30F0u, 0x1001u, 0x80000001u, 0xFFFFFFFFu}) {
    for (const Family& f : Families()) EXPECT_EQ(Decode(word, f.set, &b), nyxStsBorderErr) << word;
  }
}

TEST(BorderWord, NamedCases) {
  Border b;
  // 0x41: Repl everywhere but the left, which is read from memory.
  ASSERT_EQ(Decode(nyxBorderRepl | nyxBorderInMemLeft, kFilterModes, &b), nyxStsNoErr);
  EXPECT_EQ(b.mode, kRepl);
  EXPECT_TRUE(b.InMemLeft());
  EXPECT_FALSE(b.InMemTop() || b.InMemRight() || b.InMemBottom() || b.AllInMem());
  // A flag alone has mode bits zero and is not 0xF0.
  EXPECT_EQ(Decode(nyxBorderInMemLeft, kFilterModes, &b), nyxStsBorderErr);
  EXPECT_EQ(Decode(0xE0, kFilterModes, &b), nyxStsBorderErr);
  // 0xF0 is accepted by every family, also one whose set is empty.
  EXPECT_EQ(Decode(nyxBorderInMem, ModeSet{}, &b), nyxStsNoErr);
  EXPECT_FALSE(b.ReadsValue());
  // All flags with a valid mode behave as 0xF0 for the sides.
  for (uint32_t word : {0xF1u, 0xF3u, 0xF6u}) {
    ASSERT_EQ(Decode(word, kFilterModes, &b), nyxStsNoErr);
    EXPECT_TRUE(b.AllInMem());
  }
  // ... but their mode must still be accepted.
  EXPECT_EQ(Decode(0xF2, kFilterModes, &b), nyxStsBorderErr);
  EXPECT_EQ(Decode(0xF4, kMedianModes, &b), nyxStsBorderErr);
}

TEST(BorderWord, ConstantPointerIsTestedOnlyInModeSix) {
  const int value = 7;
  Border b;
  ASSERT_EQ(Decode(nyxBorderConst, kFilterModes, &b), nyxStsNoErr);
  EXPECT_EQ(CheckValue<int>(b, nullptr), nyxStsNullPtrErr);
  EXPECT_EQ(CheckValue(b, &value), nyxStsNoErr);
  ASSERT_EQ(Decode(nyxBorderConst | nyxBorderInMemTop, kWarpModes, &b), nyxStsNoErr);
  EXPECT_EQ(CheckValue<int>(b, nullptr), nyxStsNullPtrErr);
  for (uint32_t word : {0xF0u, 0x01u, 0x03u, 0x31u}) {
    ASSERT_EQ(Decode(word, kFilterModes, &b), nyxStsNoErr);
    EXPECT_EQ(CheckValue<int>(b, nullptr), nyxStsNoErr) << word;
  }
}

// ---------------------------------------------------------------------------
// Index maps

constexpr Mode kMapModes[] = {kRepl, kWrap, kMirror, kMirrorR};

BorderMode RefOf(Mode m) { return static_cast<BorderMode>(m); }

TEST(BorderMap, AgainstReflectionModelNearTheImage) {
  for (Mode m : kMapModes) {
    for (int64_t n = 1; n <= 9; ++n) {
      for (int64_t i = -40 * n; i <= 40 * n; ++i) {
        const int64_t want = ref::BorderSource(RefOf(m), i, n);
        ASSERT_EQ(MapIndex(m, i, n), want) << "mode " << m << " n " << n << " i " << i;
      }
    }
  }
}

TEST(BorderMap, NamedSequences) {
  // Mirror, width 3, from i = -5: 1 0 1 2 1 then the image 0 1 2, then 1 0.
  const int64_t mirror[] = {1, 0, 1, 2, 1, 0, 1, 2, 1, 0, 1};
  for (int k = 0; k < 11; ++k) EXPECT_EQ(MirrorIndex(k - 5, 3), mirror[k]) << k;
  // MirrorR, width 3, from i = -4: 1 0 0 1 2 2 1 0 (edge pixels repeated).
  const int64_t mirror_r[] = {2, 1, 0, 0, 1, 2, 2, 1, 0};
  for (int k = 0; k < 9; ++k) EXPECT_EQ(MirrorRIndex(k - 3, 3), mirror_r[k]) << k;
  const int64_t wrap[] = {1, 2, 0, 1, 2, 0, 1};
  for (int k = 0; k < 7; ++k) EXPECT_EQ(WrapIndex(k - 2, 3), wrap[k]) << k;
  // Width 1: every mode gives the single pixel.
  for (Mode m : kMapModes) {
    for (int64_t i : {int64_t{-1000000007}, int64_t{-2}, int64_t{-1}, int64_t{0}, int64_t{1},
                      int64_t{5}, INT64_MAX}) {
      EXPECT_EQ(MapIndex(m, i, 1), 0) << m << " " << i;
    }
  }
  EXPECT_EQ(MapIndex(kConst, 0, 5), -1);
  EXPECT_EQ(MapIndex(kNone, 0, 5), -1);
}

TEST(BorderMap, FarIndicesFollowThePeriod) {
  // An index far away gives what its remainder near the image gives.
  const int64_t far[] = {
      INT64_MIN,     INT64_MIN + 1, -(int64_t{1} << 40) - 3, (int64_t{1} << 50) + 11,
      INT64_MAX - 1, INT64_MAX};
  for (Mode m : {kWrap, kMirror, kMirrorR}) {
    for (int64_t n : {2, 3, 7, 1920, 33554431}) {
      const int64_t p = Period(m, n);
      for (int64_t i : far) {
        // A near twin of i: same remainder modulo p, computed in 128 bits.
        const __int128 r = ((static_cast<__int128>(i) % p) + p) % p;
        const int64_t near = static_cast<int64_t>(r) - 2 * p;
        const int64_t got = MapIndex(m, i, n);
        EXPECT_EQ(got, ref::BorderSource(RefOf(m), near, n)) << m << " n " << n << " i " << i;
        EXPECT_GE(got, 0);
        EXPECT_LT(got, n);
      }
    }
  }
  EXPECT_EQ(ReplIndex(INT64_MIN, 5), 0);
  EXPECT_EQ(ReplIndex(INT64_MAX, 5), 4);
}

TEST(BorderMap, PeriodIsTheSmallestRepeat) {
  for (Mode m : {kWrap, kMirror, kMirrorR}) {
    for (int64_t n = 2; n <= 9; ++n) {
      const int64_t p = Period(m, n);
      for (int64_t q = 1; q <= p; ++q) {
        bool repeats = true;
        for (int64_t i = -3 * p; i < 3 * p && repeats; ++i) {
          repeats = MapIndex(m, i, n) == MapIndex(m, i + q, n);
        }
        EXPECT_EQ(repeats, q == p) << m << " n " << n << " q " << q;
      }
    }
  }
  EXPECT_EQ(Period(kRepl, 5), 0);
}

TEST(BorderMap, RunsDescribeTheMap) {
  for (Mode m : kMapModes) {
    for (int64_t n = 1; n <= 9; ++n) {
      for (int64_t i = -30; i <= 30; ++i) {
        const MapRun run = RunAt(m, i, n);
        ASSERT_GE(run.len, 1);
        ASSERT_TRUE(run.dir == -1 || run.dir == 0 || run.dir == 1);
        const int64_t steps = run.len < 40 ? run.len : 40;
        for (int64_t k = 0; k < steps; ++k) {
          ASSERT_EQ(MapIndex(m, i + k, n), run.src + run.dir * k)
              << "mode " << m << " n " << n << " i " << i << " k " << k;
        }
      }
    }
  }
}

}  // namespace
}  // namespace nyx::border
