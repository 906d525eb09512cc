// Frame behaviour of the arithmetic family as tables of {call, status}: the
// order of tests of each family, strides that some families refuse and others
// walk, the shortcuts that must not read the source, zero divisors, and the
// _L fall-back.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "tests/pixel/arith_forms.h"
#include "tests/support/guarded.h"
#include "tests/support/image.h"
#include "tests/support/status_table.h"

namespace nyx::test {
namespace {

template <class T>
struct Bufs {
  std::vector<T> a = std::vector<T>(64, T(3)), b = std::vector<T>(64, T(5)),
                 d = std::vector<T>(64, T(0));
};

// Add, Sub, Mul: null then size at C1 and AC4; C3 and C4 test the width
// first; no stride test at all.
template <class T>
void BinaryOrder(const char* op) {
  for (const BinaryForm<T>& f : BinaryForms<T>(op)) {
    Bufs<T> m;
    const std::string n = f.name;
    const bool routed = f.channels != 1 && !f.alpha;
    T* const null = nullptr;
    ExpectStatuses({
        {n + " null, width 0", [&] { return f.plain(null, 8, m.b.data(), 8, m.d.data(), 8, {0, 1}, 0); },
         routed ? nyxStsSizeErr : nyxStsNullPtrErr},
        {n + " null", [&] { return f.plain(m.a.data(), 8, m.b.data(), 8, null, 8, {1, 1}, 0); },
         nyxStsNullPtrErr},
        {n + " null, height 0", [&] { return f.plain(null, 8, m.b.data(), 8, m.d.data(), 8, {1, 0}, 0); },
         nyxStsNullPtrErr},
        {n + " height 0", [&] { return f.plain(m.a.data(), 8, m.b.data(), 8, m.d.data(), 8, {1, 0}, 0); },
         nyxStsSizeErr},
        {n + " stride 0", [&] { return f.plain(m.a.data(), 0, m.b.data(), 0, m.d.data(), 0, {2, 3}, 0); },
         nyxStsNoErr},
        {n + " negative strides",
         [&] { return f.plain(m.a.data() + 32, -16, m.b.data() + 32, -16, m.d.data() + 32, -16, {1, 2}, 0); },
         nyxStsNoErr},
        {n + "_L strides above 2^31, width 0",
         [&] { return f.plain_l(null, NyxSizeL{1} << 33, null, 8, null, 8, {0, 5}, 0); }, nyxStsNoErr},
        {n + "_L width 0", [&] { return f.plain_l(m.a.data(), 8, m.b.data(), 8, m.d.data(), 8, {0, 5}, 0); },
         nyxStsSizeErr},
    });
  }
}

TEST(ArithStatus, BinaryOrder) {
  for (const char* op : {"Add", "Sub", "Mul"}) {
    BinaryOrder<Nyx8u>(op);
    BinaryOrder<Nyx16u>(op);
    BinaryOrder<Nyx16s>(op);
    BinaryOrder<Nyx32f>(op);
  }
}

// Stride 0 with height 2 writes the same row twice.
TEST(ArithStatus, StrideZeroWritesOneRowTwice) {
  const Nyx8u a[4] = {1, 2, 3, 4}, b[4] = {10, 20, 30, 40};
  Nyx8u d[4] = {};
  EXPECT_EQ(nyxiAdd_8u_C1RSfs(a, 0, b, 0, d, 0, {4, 2}, 0), nyxStsNoErr);
  EXPECT_EQ(d[3], 44);
}

// From the zero threshold up the sources are not read (they point at a page
// that faults on any access), and AC4 alpha stays.
template <class T>
void ZeroShortcutReadsNothing(const char* op, int sf) {
  NoAccessPage page;
  for (const BinaryForm<T>& f : BinaryForms<T>(op)) {
    PaddedImage<T> d(9, 3, f.channels, 3, 5 * sizeof(T));
    d.Fill([](int x, int, int c) { return x + c + 1; });
    EXPECT_EQ(f.plain(page.as<T>(), 0, page.as<T>(), 0, d.roi(), d.step(), d.size(), sf), nyxStsNoErr)
        << f.name;
    for (int x = 0; x < 9; ++x)
      for (int c = 0; c < f.channels; ++c) {
        ASSERT_EQ(d.at(x, 2, c), (f.alpha && c == 3) ? T(x + c + 1) : T(0)) << f.name;
      }
  }
}

TEST(ArithStatus, ZeroShortcutReadsNoSource) {
  ZeroShortcutReadsNothing<Nyx8u>("Add", 10);
  ZeroShortcutReadsNothing<Nyx8u>("Sub", 9);
  ZeroShortcutReadsNothing<Nyx8u>("Mul", 17);
  ZeroShortcutReadsNothing<Nyx16s>("Add", 17);
  ZeroShortcutReadsNothing<Nyx16s>("Mul", 31);
  ZeroShortcutReadsNothing<Nyx16u>("Add", 18);
  ZeroShortcutReadsNothing<Nyx16u>("Sub", 17);
  ZeroShortcutReadsNothing<Nyx16u>("Mul", 33);
}

// Constant forms: null (source, constants, destination), then size, then the
// shortcuts; no stride test. 16u takes its copy and zero shortcuts first.
template <class T>
void ConstOrder(const char* op) {
  const bool u16 = std::is_same_v<T, Nyx16u>;
  const std::string o = op;
  const T identity = o == "Mul" ? T(1) : T(0);
  for (const ConstForm<T>& f : ConstForms<T>(op)) {
    Bufs<T> m;
    const std::string n = f.name;
    T* const null = nullptr;
    const T id[4] = {identity, identity, identity, identity}, v[4] = {2, 2, 2, 2};
    std::vector<StatusCase> cases = {
        {n + " null source", [&] { return f.plain(null, 8, v, m.d.data(), 8, {1, 1}, 0); }, nyxStsNullPtrErr},
        {n + " null, width 0", [&] { return f.plain(m.a.data(), 8, v, null, 8, {0, 1}, 0); }, nyxStsNullPtrErr},
        {n + " width 0", [&] { return f.plain(m.a.data(), 8, v, m.d.data(), 8, {0, 1}, 0); }, nyxStsSizeErr},
        {n + " stride 0", [&] { return f.plain(m.a.data(), 0, v, m.d.data(), 0, {2, 2}, 1); }, nyxStsNoErr},
        // The copy shortcut: 16u goes straight to the copy (its own tests).
        {n + " copy, null source", [&] { return f.plain(null, 8, id, m.d.data(), 8, {1, 1}, 0); },
         nyxStsNullPtrErr},
        {n + " copy, width 0", [&] { return f.plain(m.a.data(), 8, id, m.d.data(), 8, {0, 1}, 0); },
         nyxStsSizeErr},
        {n + "I copy, null", [&] { return f.inplace(id, null, 8, {1, 1}, 0); },
         u16 ? nyxStsNoErr : nyxStsNullPtrErr},
        {n + "I copy, width 0", [&] { return f.inplace(id, m.d.data(), 8, {0, 1}, 0); },
         u16 ? nyxStsNoErr : nyxStsSizeErr},
        // The zero shortcut: 16u tests only the source before the fill.
        {n + " zero, null source", [&] { return f.plain(null, 8, v, m.d.data(), 8, {1, 1}, 40); },
         nyxStsNullPtrErr},
        {n + " zero, null destination", [&] { return f.plain(m.a.data(), 8, v, null, 8, {1, 1}, 40); },
         nyxStsNullPtrErr},
        {n + " zero, height 0", [&] { return f.plain(m.a.data(), 8, v, m.d.data(), 8, {1, 0}, 40); },
         nyxStsSizeErr},
        {n + "_L strides above 2^31, width 0",
         [&] { return f.plain_l(null, NyxSizeL{3} << 31, v, null, 8, {0, 2}, 0); }, nyxStsNoErr},
    };
    if (f.channels > 1) {
      cases.push_back({n + " null constants", [&] { return f.plain(m.a.data(), 8, null, m.d.data(), 8, {1, 1}, 0); },
                       nyxStsNullPtrErr});
    }
    ExpectStatuses(cases);
  }
}

TEST(ArithStatus, ConstOrder) {
  for (const char* op : {"Add", "Sub", "Mul"}) {
    ConstOrder<Nyx8u>(op);
    ConstOrder<Nyx16u>(op);
    ConstOrder<Nyx16s>(op);
  }
}

// Shortcuts of the constant forms that do not read the source.
TEST(ArithStatus, ConstShortcutsReadNoSource) {
  NoAccessPage page;
  Nyx8u d8[4] = {7, 7, 7, 7};
  EXPECT_EQ(nyxiAddC_8u_C1RSfs(page.as<Nyx8u>(), 1, 3, d8, 4, {4, 1}, -8), nyxStsNoErr);
  EXPECT_EQ(d8[2], 255);  // every sum saturates
  EXPECT_EQ(nyxiMulC_8u_C1RSfs(page.as<Nyx8u>(), 1, 0, d8, 4, {4, 1}, -100), nyxStsNoErr);
  EXPECT_EQ(d8[2], 0);
  EXPECT_EQ(nyxiSubC_8u_C1RSfs(page.as<Nyx8u>(), 1, 3, d8, 4, {4, 1}, 9), nyxStsNoErr);
  Nyx16u d16[8] = {7, 7, 7, 7, 7, 7, 7, 9};
  const Nyx16u c3[3] = {1, 2, 3};
  EXPECT_EQ(nyxiAddC_16u_AC4RSfs(page.as<Nyx16u>(), 8, c3, d16, 16, {2, 1}, -16), nyxStsNoErr);
  EXPECT_EQ(d16[0], 65535);
  EXPECT_EQ(d16[7], 9);  // alpha kept
  EXPECT_EQ(nyxiDivC_16s_C1RSfs(page.as<Nyx16s>(), 2, 3, reinterpret_cast<Nyx16s*>(d16), 2,
                                {4, 1}, 16),
            nyxStsNoErr);
  EXPECT_EQ(d16[3], 0);
  const float zero3[3] = {0, 0, 0};
  float df[4];
  EXPECT_EQ(nyxiMulC_32f_C3R(nullptr, 12, zero3, df, 12, {1, 1}), nyxStsNullPtrErr);
}

// Div, DivC, Div_Round: null, size, stride; then DivC's zero constant and
// Div_Round's mode. No C3 routing.
TEST(ArithStatus, DivisionOrder) {
  Bufs<Nyx8u> m;
  Nyx8u* const null = nullptr;
  const Nyx8u c3[3] = {1, 0, 2}, c3ok[3] = {1, 2, 3};
  const auto mode3 = static_cast<NyxRoundMode>(3);
  ExpectStatuses({
      {"Div null, width 0, stride 0", [&] { return nyxiDiv_8u_C1RSfs(null, 0, m.b.data(), 0, m.d.data(), 0, {0, 1}, 0); },
       nyxStsNullPtrErr},
      {"Div C3 null, width 0", [&] { return nyxiDiv_8u_C3RSfs(null, 8, m.b.data(), 8, m.d.data(), 8, {0, 1}, 0); },
       nyxStsNullPtrErr},
      {"Div width 0, stride 0", [&] { return nyxiDiv_8u_C1RSfs(m.a.data(), 0, m.b.data(), 0, m.d.data(), 0, {0, 1}, 0); },
       nyxStsSizeErr},
      {"Div stride 0", [&] { return nyxiDiv_8u_C1RSfs(m.a.data(), 0, m.b.data(), 8, m.d.data(), 8, {1, 1}, 0); },
       nyxStsStepErr},
      {"Div negative stride", [&] { return nyxiDiv_16s_C1RSfs(reinterpret_cast<Nyx16s*>(m.a.data()), 8,
                                                               reinterpret_cast<Nyx16s*>(m.b.data()), 8,
                                                               reinterpret_cast<Nyx16s*>(m.d.data()), -8, {1, 1}, 0); },
       nyxStsStepErr},
      {"Div I stride 0", [&] { return nyxiDiv_8u_C1IRSfs(m.a.data(), 8, m.d.data(), 0, {1, 1}, 0); }, nyxStsStepErr},
      {"Div 32f stride 0", [&] { return nyxiDiv_32f_AC4R(reinterpret_cast<float*>(m.a.data()), 16,
                                                          reinterpret_cast<float*>(m.b.data()), 0,
                                                          reinterpret_cast<float*>(m.d.data()), 16, {1, 1}); },
       nyxStsStepErr},
      {"DivC stride 0, value 0", [&] { return nyxiDivC_8u_C1RSfs(m.a.data(), 0, 0, m.d.data(), 8, {1, 1}, 0); },
       nyxStsStepErr},
      {"DivC value 0", [&] { return nyxiDivC_8u_C1RSfs(m.a.data(), 8, 0, m.d.data(), 8, {1, 1}, 0); },
       nyxStsDivByZeroErr},
      {"DivC value 0, zero scale", [&] { return nyxiDivC_16u_C1RSfs(reinterpret_cast<Nyx16u*>(m.a.data()), 8, 0,
                                                                     reinterpret_cast<Nyx16u*>(m.d.data()), 8, {1, 1}, 40); },
       nyxStsDivByZeroErr},
      {"DivC C3 one constant 0", [&] { return nyxiDivC_8u_C3RSfs(m.a.data(), 8, c3, m.d.data(), 8, {1, 1}, 0); },
       nyxStsDivByZeroErr},
      {"DivC C3 null constants", [&] { return nyxiDivC_8u_C3RSfs(m.a.data(), 8, nullptr, m.d.data(), 8, {1, 1}, 0); },
       nyxStsNullPtrErr},
      {"DivC 32f -0", [&] { return nyxiDivC_32f_C1R(reinterpret_cast<float*>(m.a.data()), 8, -0.0f,
                                                     reinterpret_cast<float*>(m.d.data()), 8, {1, 1}); },
       nyxStsDivByZeroErr},
      {"Div_Round stride 0, mode 3", [&] { return nyxiDiv_Round_8u_C1RSfs(m.a.data(), 0, m.b.data(), 8, m.d.data(), 8, {1, 1}, mode3, 0); },
       nyxStsStepErr},
      {"Div_Round mode 3", [&] { return nyxiDiv_Round_8u_C1RSfs(m.a.data(), 8, m.b.data(), 8, m.d.data(), 8, {1, 1}, mode3, 0); },
       nyxStsRoundModeErr},
      {"Div_Round width 0, mode 3", [&] { return nyxiDiv_Round_8u_C1RSfs(m.a.data(), 8, m.b.data(), 8, m.d.data(), 8, {0, 1}, mode3, 0); },
       nyxStsSizeErr},
      {"MulScale null, stride 0", [&] { return nyxiMulScale_8u_C1R(null, 0, m.b.data(), 8, m.d.data(), 8, {0, 1}); },
       nyxStsNullPtrErr},
      {"MulScale stride 0, width 0", [&] { return nyxiMulScale_8u_C1R(m.a.data(), 0, m.b.data(), 8, m.d.data(), 8, {0, 1}); },
       nyxStsStepErr},
      {"MulScale width 0", [&] { return nyxiMulScale_8u_C1R(m.a.data(), 8, m.b.data(), 8, m.d.data(), 8, {0, 1}); },
       nyxStsSizeErr},
      {"MulCScale stride 0, width 0", [&] { return nyxiMulCScale_8u_C3R(m.a.data(), 0, c3ok, m.d.data(), 8, {0, 1}); },
       nyxStsStepErr},
  });
  // A refused call writes nothing.
  EXPECT_EQ(m.d, std::vector<Nyx8u>(64, 0));
}

TEST(ArithStatus, MulC64fOrder) {
  Bufs<Nyx16s> m;
  const double c[3] = {1, 2, 3};
  ExpectStatuses({
      {"null constants", [&] { return nyxiMulC64f_16s_C3R(m.a.data(), 8, nullptr, m.d.data(), 8, {1, 1}, nyxAlgHintNone, nyxRndNear); },
       nyxStsNullPtrErr},
      {"null, width 0", [&] { return nyxiMulC64f_16s_C3R(nullptr, 8, c, m.d.data(), 8, {0, 1}, nyxAlgHintNone, nyxRndNear); },
       nyxStsNullPtrErr},
      {"width 0", [&] { return nyxiMulC64f_16s_C3R(m.a.data(), 8, c, m.d.data(), 8, {0, 1}, nyxAlgHintNone, nyxRndNear); },
       nyxStsSizeErr},
      {"stride 0", [&] { return nyxiMulC64f_16s_C3R(m.a.data(), 0, c, m.d.data(), 0, {2, 2}, nyxAlgHintNone, nyxRndNear); },
       nyxStsNoErr},
  });
}

// A zero divisor warns and the run completes; alpha samples do not count.
TEST(ArithStatus, ZeroDivisorWarnings) {
  const Nyx8u div_ac4[8] = {1, 2, 3, 0, 4, 5, 6, 0}, num[8] = {9, 9, 9, 9, 9, 9, 9, 9};
  Nyx8u d[8] = {};
  EXPECT_EQ(nyxiDiv_8u_AC4RSfs(div_ac4, 8, num, 8, d, 8, {2, 1}, 0), nyxStsNoErr);
  EXPECT_EQ(d[6], 2);  // 9 / 6 = 1.5 -> 2
  EXPECT_EQ(nyxiDiv_Round_8u_AC4RSfs(div_ac4, 8, num, 8, d, 8, {2, 1}, nyxRndZero, 0), nyxStsNoErr);
  EXPECT_EQ(d[6], 1);
  const float fdiv[8] = {1, 2, 3, 0, 4, 5, 6, 0}, fnum[8] = {1, 1, 1, 1, 1, 1, 1, 1};
  float fd[8] = {};
  EXPECT_EQ(nyxiDiv_32f_AC4R(fdiv, 32, fnum, 32, fd, 32, {2, 1}), nyxStsNoErr);
  // The row with the zero is the first; the last row has none: still warned.
  const Nyx16s a[6] = {0, 1, 1, 1, 1, 1}, b[6] = {-5, 1, 1, 1, 1, 1};
  Nyx16s e[6];
  EXPECT_EQ(nyxiDiv_16s_C1RSfs(a, 4, b, 4, e, 4, {2, 3}, 0), nyxStsDivByZeroWrn);
  EXPECT_EQ(e[0], -32768);
}

// The _L fall-back with strides beyond 32 bits: rows walked in chunks.
TEST(ArithStatus, LargeStridesWalkInChunks) {
  const NyxSizeL step = NyxSizeL{3} << 30;  // 3 GiB
  SparseRegion src1(2 * step), src2(2 * step), dst(2 * step);
  if (!src1.data() || !src2.data() || !dst.data()) GTEST_SKIP() << "no address space";
  for (NyxSizeL row : {NyxSizeL{0}, step}) {
    for (int i = 0; i < 64; ++i) {
      src1.data()[row + i] = static_cast<Nyx8u>(row ? i + 1 : i);
      src2.data()[row + i] = static_cast<Nyx8u>(row ? 0 : 2 * i);
    }
  }
  EXPECT_EQ(nyxiAdd_8u_C1RSfs_L(src1.data(), step, src2.data(), step, dst.data(), step, {64, 2}, 1),
            nyxStsNoErr);
  EXPECT_EQ(dst.data()[5], 8);          // (5 + 10) / 2 = 7.5 -> 8
  EXPECT_EQ(dst.data()[step + 5], 3);   // 6 / 2
  EXPECT_EQ(nyxiSub_8u_AC4RSfs_L(src1.data(), step, src2.data(), step, dst.data(), step, {16, 2}, 0),
            nyxStsNoErr);
  EXPECT_EQ(dst.data()[5], 5);          // 10 - 5
  EXPECT_EQ(dst.data()[7], 10);  // alpha kept from the Add above: (7 + 14) / 2 = 10.5 -> 10
  // Div keeps the warning of the first row although the last has none.
  EXPECT_EQ(nyxiDiv_8u_C1RSfs_L(src1.data(), step, src2.data(), step, dst.data(), step, {64, 2}, 0),
            nyxStsDivByZeroWrn);
  EXPECT_EQ(nyxiDiv_8u_C1RSfs_L(src1.data() + 1, step, src2.data() + 1, step, dst.data(), step,
                                {63, 2}, 0),
            nyxStsNoErr);
  const Nyx8u v3[3] = {1, 2, 3};
  EXPECT_EQ(nyxiAddC_8u_C3RSfs_L(src1.data(), step, v3, dst.data(), step, {4, 2}, 0), nyxStsNoErr);
  EXPECT_EQ(dst.data()[step + 5], 6 + 3);
}

}  // namespace
}  // namespace nyx::test
