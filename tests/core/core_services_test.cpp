// The core library: allocator, cache queries, feature mask, status texts.
#include <cpuid.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <set>
#include <string>

#include "core/fpenv/mxcsr.h"
#include "core/frame/frame.h"
#include "nyx.h"

namespace {

TEST(CoreAlloc, BlocksAre64ByteAligned) {
  for (int len : {0, 1, 63, 64, 65, 4096, 1 << 20}) {
    void* p = nyxMalloc(len);
    ASSERT_NE(p, nullptr) << len;
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
    nyxFree(p);
    p = nyxMalloc_L(len);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
    nyxFree(p);
  }
  EXPECT_EQ(nyxMalloc(-1), nullptr);
  EXPECT_EQ(nyxMalloc_L(-1), nullptr);
}

TEST(CoreCache, ReportsTheLastLevelCache) {
  int size = 0;
  ASSERT_EQ(nyxGetMaxCacheSizeB(&size), nyxStsNoErr);
  EXPECT_GE(size, 256 * 1024);
  // Where the C library knows the caches, ours is at least the largest it names.
  long l3 = sysconf(_SC_LEVEL3_CACHE_SIZE), l2 = sysconf(_SC_LEVEL2_CACHE_SIZE);
  long known = l3 > l2 ? l3 : l2;
  if (known > 0) {
    EXPECT_GE(static_cast<long>(size), known);
  }
  EXPECT_EQ(nyxGetMaxCacheSizeB(nullptr), nyxStsNullPtrErr);

  int line = 0;
  ASSERT_EQ(nyx_get_cache_line_size(&line), nyxStsNoErr);
  EXPECT_EQ(line, 64);
  EXPECT_EQ(nyx_get_cache_line_size(nullptr), nyxStsNullPtrErr);
}

TEST(CoreFeatures, AnswersFromTheProcessor) {
  // The variant is built for AVX2 and FMA: if this runs, both are there.
  EXPECT_NE(ownGetFeature(NYX_CPU_AVX2 | NYX_CPU_FMA | NYX_CPU_AVX), 0);
  __builtin_cpu_init();
  EXPECT_EQ(ownGetFeature(NYX_CPU_AVX512F) != 0, __builtin_cpu_supports("avx512f") != 0);
  EXPECT_EQ(ownGetFeature(NYX_CPU_AVX512VBMI) != 0,
            __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vbmi"));
  EXPECT_EQ(ownGetFeature(NYX_CPU_AVX512VNNI) != 0,
            __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vnni"));
  // The two-feature mask asks for both.
  EXPECT_EQ(ownGetFeature(0x408000000ull) != 0,
            ownGetFeature(0x400000000ull) != 0 && ownGetFeature(0x8000000ull) != 0);
  // Bits the library does not know are answered with zero.
  EXPECT_EQ(ownGetFeature(0x1ull), 0);
  EXPECT_EQ(ownGetFeature(NYX_CPU_AVX2 | (1ull << 63)), 0);
}

TEST(CoreStatus, EveryStatusHasItsOwnText) {
  const NyxStatus all[] = {48,  52,  46,  39,  40,  35,  30,  29,  8,    7,    3,    2,
                           1,   0,   -2,  -5,  -6,  -7,  -8,  -9,  -10,  -11,  -12,  -13,
                           -14, -16, -17, -18, -19, -21, -22, -23, -24,  -33,  -34,  -36,
                           -37, -47, -49, -50, -51, -53, -56, -57, -58,  -59,  -60,  -106,
                           -107, -108, -125, -210, -211, -212, -213, -225, -227, -228, -231,
                           -232, -233};
  std::set<std::string> seen;
  for (NyxStatus s : all) {
    const char* text = nyxGetStatusString(s);
    ASSERT_NE(text, nullptr);
    EXPECT_TRUE(seen.insert(text).second) << "duplicate text for " << s;
    EXPECT_EQ(std::string(text).rfind("nyxSts", 0), 0u) << s;
  }
  EXPECT_STREQ(nyxGetStatusString(-1), "Unknown error");
  EXPECT_STREQ(nyxGetStatusString(1000), "Unknown warning");
}

TEST(Mxcsr, ScopeSetsAndRestores) {
  const unsigned before = _mm_getcsr();
  {
    nyx::MxcsrScope s(nyx::kMxcsrRoundZero, nyx::kMxcsrRoundMask);
    EXPECT_EQ(_mm_getcsr() & nyx::kMxcsrRoundMask, nyx::kMxcsrRoundZero);
    nyx::MxcsrScope inner(nyx::kMxcsrRoundUp, nyx::kMxcsrRoundMask);
    EXPECT_EQ(_mm_getcsr() & nyx::kMxcsrRoundMask, nyx::kMxcsrRoundUp);
  }
  EXPECT_EQ(_mm_getcsr(), before);
  nyx::ps_set_ssx(0x6000, 0x2000);  // only the masked bit changes
  EXPECT_EQ(_mm_getcsr() & 0x6000, (before & 0x4000) | 0x2000);
  _mm_setcsr(before);
}

TEST(SpecBlock, AlignsToTheNext64ByteBoundary) {
  alignas(64) unsigned char block[256];
  for (int off = 0; off < 64; ++off) {
    const uint8_t* p = nyx::frame::AlignSpec(block + off);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
    EXPECT_EQ(p - (block + off), off == 0 ? 0 : 64 - off);
  }
  nyx::frame::WriteTag(block, 0x4B617389u);
  EXPECT_TRUE(nyx::frame::TagMatches(block, 0x4B617389u));
  EXPECT_FALSE(nyx::frame::TagMatches(block, 0x4B61738Au));
}

TEST(RowWalk, VisitsEveryRowOnceInOrder) {
  for (int h : {0, 1, 7, 8, 9, 16, 23}) {
    std::string order;
    nyx::frame::WalkRows(h, [&](int64_t y) { order += static_cast<char>('a' + y); });
    std::string expect;
    for (int y = 0; y < h; ++y) expect += static_cast<char>('a' + y);
    EXPECT_EQ(order, expect);
  }
}

TEST(LongFallBack, NarrowsOnlyWhenStridesAndCountFit) {
  using nyx::frame::FitsPlain;
  EXPECT_TRUE(FitsPlain(NyxiSizeL{100, 100}, 1, NyxSizeL{100}, NyxSizeL{-100}));
  EXPECT_FALSE(FitsPlain(NyxiSizeL{100, 100}, 1, NyxSizeL{0x7fffffff}));
  EXPECT_FALSE(FitsPlain(NyxiSizeL{100, 100}, 1, NyxSizeL{-0x7fffffff}));
  EXPECT_TRUE(FitsPlain(NyxiSizeL{0x7ffffffe, 1}, 1, NyxSizeL{1}));
  EXPECT_FALSE(FitsPlain(NyxiSizeL{0x7fffffff, 1}, 1, NyxSizeL{1}));
  EXPECT_FALSE(FitsPlain(NyxiSizeL{0x20000000, 1}, 4, NyxSizeL{1}));
  EXPECT_TRUE(FitsPlain(NyxiSizeL{0x1fffffff, 1}, 4, NyxSizeL{1}));
}

}  // namespace
