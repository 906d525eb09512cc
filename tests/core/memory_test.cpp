// The image allocator's step and null rules, and the version record.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "nyx.h"

namespace {

TEST(ImageMalloc, RowsAreRoundedTo64BytesAndAligned) {
  int step = -1;
  Nyx8u* p = nyxiMalloc_8u_C1(100, 10, &step);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(step, 128);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
  std::memset(p, 1, 1280);  // the whole block is usable
  nyxiFree(p);
}

// Bytes a pixel of each form, checked through the reported step of a width
// whose row is an exact multiple of 64 bytes for every pixel size.
TEST(ImageMalloc, StepFollowsPixelBytesOfEveryForm) {
  struct Form {
    void* (*alloc)(int, int, int*);
    int bytes;
  };
#define FORM(T, D, B) {[](int w, int h, int* s) -> void* { return nyxiMalloc_##T##_##D(w, h, s); }, B}
  const Form forms[] = {
      FORM(8u, C1, 1),    FORM(8u, C2, 2),    FORM(8u, C3, 3),    FORM(8u, C4, 4),
      FORM(8u, AC4, 4),   FORM(16u, C1, 2),   FORM(16u, C3, 6),   FORM(16s, C2, 4),
      FORM(16s, AC4, 8),  FORM(32s, C1, 4),   FORM(32s, C3, 12),  FORM(32f, C4, 16),
      FORM(32f, AC4, 16), FORM(32sc, C1, 8),  FORM(32sc, C3, 24), FORM(32fc, C2, 16),
      FORM(32fc, C4, 32), FORM(32fc, AC4, 32)};
#undef FORM
  for (const Form& f : forms) {
    int step = 0;
    void* p = f.alloc(64, 3, &step);
    ASSERT_NE(p, nullptr) << f.bytes;
    EXPECT_EQ(step, 64 * f.bytes);
    nyxiFree(p);
    p = f.alloc(1, 1, &step);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(step, 64 * ((f.bytes + 63) / 64));
    nyxiFree(p);
  }
}

TEST(ImageMalloc, FailuresReportOnlyThroughNull) {
  int step = 77;
  EXPECT_EQ(nyxiMalloc_8u_C1(0, 10, &step), nullptr);
  EXPECT_EQ(step, 0);
  step = 77;
  EXPECT_EQ(nyxiMalloc_8u_C1(-5, 10, &step), nullptr);
  EXPECT_EQ(step, 0);
  step = 77;
  EXPECT_EQ(nyxiMalloc_8u_C1(10, 0, &step), nullptr);
  EXPECT_EQ(step, 0);
  EXPECT_EQ(nyxiMalloc_8u_C1(10, 10, nullptr), nullptr);

  // The step is stored before the total is checked.
  EXPECT_EQ(nyxiMalloc_8u_C1(1000000, 4000, &step), nullptr);
  EXPECT_EQ(step, 1000000);

  // Width times pixel bytes must stay below 2^31.
  EXPECT_EQ(nyxiMalloc_8u_C3(0x2AAAAAAB, 1, &step), nullptr);
  EXPECT_EQ(step, 0);
  EXPECT_EQ(nyxiMalloc_16s_C1(0x40000000, 1, &step), nullptr);
  EXPECT_EQ(step, 0);
}

TEST(ImageMalloc, LongFormsUse64BitSizes) {
  NyxSizeL step = -1;
  Nyx32f* p = nyxiMalloc_32f_C3_L(100, 7, &step);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(step, 1216);  // 1200 rounded up to 64
  EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
  nyxiFree(p);  // a block of either allocator may be freed

  step = 5;
  EXPECT_EQ(nyxiMalloc_8u_C1_L(0, 1, &step), nullptr);
  EXPECT_EQ(step, 0);
  EXPECT_EQ(nyxiMalloc_8u_C1_L(1, 1, nullptr), nullptr);
  // A row of 2^40 bytes times 2^30 rows cannot be represented: null, with
  // the rounded step left behind.
  EXPECT_EQ(nyxiMalloc_8u_C1_L(NyxSizeL{1} << 40, NyxSizeL{1} << 30, &step), nullptr);
  EXPECT_EQ(step, NyxSizeL{1} << 40);
  // Width times bytes at or above 2^63: null with step 0.
  EXPECT_EQ(nyxiMalloc_32fc_C4_L(NyxSizeL{1} << 60, 1, &step), nullptr);
  EXPECT_EQ(step, 0);
}

TEST(ImageMalloc, FreeOfNullIsHarmless) { nyxiFree(nullptr); }

TEST(Version, RecordIsExact) {
  const NyxLibraryVersion* v = nyxiGetLibVersion();
  ASSERT_NE(v, nullptr);
  EXPECT_EQ(v, nyxiGetLibVersion());
  EXPECT_EQ(v->major, 2026);
  EXPECT_EQ(v->minor, 0);
  EXPECT_EQ(v->majorBuild, 0);
  EXPECT_EQ(static_cast<uint32_t>(v->build), 0xA7AD6EBCu);
  const char tag[8] = {'d', '1', 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(std::memcmp(v->targetCpu, tag, 8), 0);
  EXPECT_STREQ(v->Name, "nyxIP AVX-10.2 (d1)");
  EXPECT_STREQ(v->Version, "2026.0.0 (r0xa7ad6ebc)");
  EXPECT_STREQ(v->BuildDate, "Mar 27 2026");
  EXPECT_EQ(v->abiMajor, 12);
}

}  // namespace

extern "C" int nyx_header_c_smoke(void);

namespace {
TEST(PublicHeader, UsableFromC) { EXPECT_EQ(nyx_header_c_smoke(), 12003); }
}  // namespace
