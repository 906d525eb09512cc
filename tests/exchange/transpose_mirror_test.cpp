// Transpose and Mirror in every form: out of place and in place against the
// index rules, full and partial 16 x 16 tiles, both diagonals, the overlap
// test and the order of tests.
#include "exchange/copy_forms.h"
#include "tests/exchange/copy_util.h"

namespace nyx::test {
namespace {

const NyxiSize kSizes[] = {{1, 1}, {1, 7}, {5, 1}, {16, 16}, {17, 33}, {40, 23}, {64, 48}};

template <class T>
void CheckTranspose(NyxStatus (*fn)(const T*, int, T*, int, NyxiSize),
                    NyxStatus (*fn_i)(T*, int, NyxiSize), int ch, const char* name) {
  SCOPED_TRACE(name);
  for (NyxiSize sz : kSizes) {
    PaddedImage<T> src = RandomImage<T>(sz.width, sz.height, ch);
    PaddedImage<T> dst = RandomImage<T>(sz.height, sz.width, ch, 2, 3);
    ASSERT_EQ(fn(src.roi(), src.step(), dst.roi(), dst.step(), sz), nyxStsNoErr);
    ExpectImage(
        dst, [&](int x, int y, int c) { return src.at(y, x, c); }, "out of place");
    if (fn_i == nullptr) continue;
    // In place on the square part; also through the plain form with the
    // same pointer (the destination stride is then ignored).
    const int n = std::min(sz.width, sz.height);
    for (int via_plain = 0; via_plain < 2; ++via_plain) {
      PaddedImage<T> sq = RandomImage<T>(n, n, ch);
      const PaddedImage<T> orig = sq;
      ASSERT_EQ(via_plain ? fn(sq.roi(), sq.step(), sq.roi(), 12345, {n, n})
                          : fn_i(sq.roi(), sq.step(), {n, n}),
                nyxStsNoErr);
      ExpectImage(
          sq, [&](int x, int y, int c) { return orig.at(y, x, c); }, "in place");
    }
  }
}

TEST(Transpose, EveryFormAgainstTheIndexRule) {
#define CHECK_TYPE(T)                                                                     \
  CheckTranspose<Nyx##T>(nyxiTranspose_##T##_C1R, nyxiTranspose_##T##_C1IR, 1, #T " C1"); \
  CheckTranspose<Nyx##T>(nyxiTranspose_##T##_C3R, nyxiTranspose_##T##_C3IR, 3, #T " C3"); \
  CheckTranspose<Nyx##T>(nyxiTranspose_##T##_C4R, nyxiTranspose_##T##_C4IR, 4, #T " C4");
  NYX_COPY_TYPES(CHECK_TYPE)
#undef CHECK_TYPE
  CheckTranspose<Nyx32f>(
      reinterpret_cast<NyxStatus (*)(const Nyx32f*, int, Nyx32f*, int, NyxiSize)>(
          nyxiTranspose_32fc_C1R),
      nullptr, 2, "32fc");
}

TEST(Transpose, GuardPagesAndNegativeStrides) {
  for (NyxiSize sz : {NyxiSize{16, 16}, NyxiSize{33, 17}, NyxiSize{3, 50}}) {
    GuardedImage<Nyx8u> src(sz.width, sz.height, 1), dst(sz.height, sz.width, 1);
    ASSERT_EQ(nyxiTranspose_8u_C1R(src.roi(), src.step, dst.roi(), dst.step, sz), nyxStsNoErr);
    for (int y = 0; y < sz.height; ++y) {
      for (int x = 0; x < sz.width; ++x) ASSERT_EQ(dst.at(y, x), src.at(x, y));
    }
    GuardedImage<Nyx32f> fs(sz.width, sz.height, 1), fd(sz.height, sz.width, 1);
    // The destination walked from its last row up: a transpose then a row flip.
    ASSERT_EQ(nyxiTranspose_32f_C1R(fs.roi(), fs.step, &fd.at(0, sz.width - 1), -fd.step, sz),
              nyxStsNoErr);
    for (int y = 0; y < sz.height; ++y) {
      for (int x = 0; x < sz.width; ++x) {
        ASSERT_TRUE(SameBits(fd.at(y, sz.width - 1 - x), fs.at(x, y)));
      }
    }
  }
}

TEST(Transpose, OrderOfTests) {
  Nyx8u a[64] = {}, b[64] = {};
  ExpectStatuses({
      {"null",
       [&] {
         return nyxiTranspose_8u_C1R(nullptr, 8, b, 8, {0, 1});
       },
       nyxStsNullPtrErr},
      {"size",
       [&] {
         return nyxiTranspose_8u_C1R(a, 8, b, 8, {0, 1});
       },
       nyxStsSizeErr},
      {"in place not square",
       [&] {
         return nyxiTranspose_8u_C1IR(a, 8, {4, 5});
       },
       nyxStsSizeErr},
      {"same pointer not square",
       [&] {
         return nyxiTranspose_8u_C1R(a, 8, a, 8, {4, 5});
       },
       nyxStsSizeErr},
      {"in place null",
       [&] {
         return nyxiTranspose_16s_C3IR(nullptr, 8, {0, 0});
       },
       nyxStsNullPtrErr},
      {"in place zero",
       [&] {
         return nyxiTranspose_8u_C1IR(a, 8, {0, 0});
       },
       nyxStsSizeErr},
      {"negative strides accepted",
       [&] {
         return nyxiTranspose_8u_C1R(a + 56, -8, b + 56, -8, {8, 8});
       },
       nyxStsNoErr},
  });
}

// --- Mirror ------------------------------------------------------------------

// Source pixel for destination (x, y) under flips 0..2.
inline int MirrorX(int flip, int x, int w) { return flip == 0 ? x : w - 1 - x; }
inline int MirrorY(int flip, int y, int h) { return flip == 1 ? y : h - 1 - y; }

template <class T>
void CheckMirror(NyxStatus (*fn)(const T*, int, T*, int, NyxiSize, NyxiAxis),
                 NyxStatus (*fn_i)(T*, int, NyxiSize, NyxiAxis), int ch, bool alpha,
                 const char* name) {
  SCOPED_TRACE(name);
  for (NyxiSize sz : kSizes) {
    for (int flip = 0; flip < 3; ++flip) {
      const int w = sz.width, h = sz.height;
      PaddedImage<T> src = RandomImage<T>(w, h, ch);
      PaddedImage<T> dst = RandomImage<T>(w, h, ch, 2, 3);
      const PaddedImage<T> before = dst;
      ASSERT_EQ(fn(src.roi(), src.step(), dst.roi(), dst.step(), sz, NyxiAxis(flip)), nyxStsNoErr);
      auto model = [&](const PaddedImage<T>& from, const PaddedImage<T>& keep) {
        return [&](int x, int y, int c) {
          if (alpha && c == 3) return keep.at(x, y, c);
          return from.at(MirrorX(flip, x, w), MirrorY(flip, y, h), c);
        };
      };
      ExpectImage(dst, model(src, before), "out of place");
      for (int via_plain = 0; via_plain < 2; ++via_plain) {
        PaddedImage<T> img = RandomImage<T>(w, h, ch);
        const PaddedImage<T> orig = img;
        ASSERT_EQ(via_plain ? fn(img.roi(), img.step(), img.roi(), img.step(), sz, NyxiAxis(flip))
                            : fn_i(img.roi(), img.step(), sz, NyxiAxis(flip)),
                  nyxStsNoErr);
        ExpectImage(img, model(orig, orig), "in place");
      }
    }
  }
}

TEST(Mirror, EveryFormEveryAxis) {
#define CHECK_TYPE(T, d1, d4)                                                           \
  CheckMirror<Nyx##T>(nyxiMirror_##T##_C1R, nyxiMirror_##T##_C1IR, 1, false, #T " C1"); \
  CheckMirror<Nyx##T>(nyxiMirror_##T##_C3R, nyxiMirror_##T##_C3IR, 3, false, #T " C3"); \
  CheckMirror<Nyx##T>(nyxiMirror_##T##_C4R, nyxiMirror_##T##_C4IR, 4, false, #T " C4"); \
  CheckMirror<Nyx##T>(nyxiMirror_##T##_AC4R, nyxiMirror_##T##_AC4IR, 4, true, #T " AC4");
  NYX_MIRROR_TYPES(CHECK_TYPE)
#undef CHECK_TYPE
}

TEST(Mirror, RowsOfEveryWidthInPlace) {
  // Pairs swapped from both ends; an odd middle pixel stays.
  for (int w = 1; w <= 80; ++w) {
    PaddedImage<Nyx16s> img = RandomImage<Nyx16s>(w, 1, 1);
    const PaddedImage<Nyx16s> orig = img;
    ASSERT_EQ(nyxiMirror_16s_C1IR(img.roi(), img.step(), {w, 1}, nyxAxsVertical), nyxStsNoErr);
    ExpectImage(
        img, [&](int x, int, int) { return orig.at(w - 1 - x, 0); }, "row");
    GuardedImage<Nyx8u> g(w, 2, 4), d(w, 2, 4);
    ASSERT_EQ(nyxiMirror_8u_AC4R(g.roi(), g.step, d.roi(), d.step, {w, 2}, nyxAxsBoth),
              nyxStsNoErr);
    for (int x = 0; x < w; ++x) ASSERT_EQ(d.at(x, 0, 1), g.at(w - 1 - x, 1, 1));
  }
}

// Diagonal flips: axis 3 is the transpose, axis 4 dst(x, y) = src(w-1-y, h-1-x).
template <class T>
void CheckDiagonal(NyxStatus (*fn)(const T*, int, T*, int, NyxiSize, NyxiAxis), int ch,
                   const char* name) {
  SCOPED_TRACE(name);
  for (NyxiSize sz : kSizes) {
    const int w = sz.width, h = sz.height;
    PaddedImage<T> src = RandomImage<T>(w, h, ch);
    PaddedImage<T> d3 = RandomImage<T>(h, w, ch), d4 = RandomImage<T>(h, w, ch);
    ASSERT_EQ(fn(src.roi(), src.step(), d3.roi(), d3.step(), sz, nyxAxs45), nyxStsNoErr);
    ASSERT_EQ(fn(src.roi(), src.step(), d4.roi(), d4.step(), sz, nyxAxs135), nyxStsNoErr);
    ExpectImage(
        d3, [&](int x, int y, int c) { return src.at(y, x, c); }, "axis 3");
    ExpectImage(
        d4, [&](int x, int y, int c) { return src.at(w - 1 - y, h - 1 - x, c); }, "axis 4");
  }
}

TEST(Mirror, DiagonalsWhereAccepted) {
  CheckDiagonal<Nyx8u>(nyxiMirror_8u_C1R, 1, "8u C1");
  CheckDiagonal<Nyx16u>(nyxiMirror_16u_C1R, 1, "16u C1");
  CheckDiagonal<Nyx32s>(nyxiMirror_32s_C1R, 1, "32s C1");
  CheckDiagonal<Nyx32f>(nyxiMirror_32f_C1R, 1, "32f C1");
  CheckDiagonal<Nyx8u>(nyxiMirror_8u_C4R, 4, "8u C4");
  Nyx8u a[256] = {}, b[256] = {};
  Nyx16s s[64] = {}, t[64] = {};
  ExpectStatuses({
      {"16s C1 has no diagonals",
       [&] {
         return nyxiMirror_16s_C1R(s, 8, t, 8, {2, 2}, nyxAxs45);
       },
       nyxStsMirrorFlipErr},
      {"8u C3 has no diagonals",
       [&] {
         return nyxiMirror_8u_C3R(a, 8, b, 8, {2, 2}, nyxAxs135);
       },
       nyxStsMirrorFlipErr},
      {"AC4 has no diagonals",
       [&] {
         return nyxiMirror_8u_AC4R(a, 8, b, 8, {2, 2}, nyxAxs45);
       },
       nyxStsMirrorFlipErr},
      {"in place has no diagonals",
       [&] {
         return nyxiMirror_8u_C1IR(a, 8, {2, 2}, nyxAxs45);
       },
       nyxStsMirrorFlipErr},
      {"same pointer and stride is in place",
       [&] {
         return nyxiMirror_8u_C1R(a, 8, a, 8, {2, 2}, nyxAxs45);
       },
       nyxStsMirrorFlipErr},
      {"overlap",
       [&] {
         return nyxiMirror_8u_C1R(a, 16, a + 17, 16, {4, 4}, nyxAxs45);
       },
       nyxStsNotSupportedModeErr},
      {"overlap, other order",
       [&] {
         return nyxiMirror_8u_C1R(a + 17, 16, a, 16, {4, 4}, nyxAxs135);
       },
       nyxStsNotSupportedModeErr},
      {"one corner inside",
       [&] {
         return nyxiMirror_8u_C1R(a, 16, a + 51, 16, {4, 4}, nyxAxs45);
       },
       nyxStsNotSupportedModeErr},
      {"interleaved rows do not meet",
       [&] {
         return nyxiMirror_8u_C1R(a, 32, a + 8, 32, {4, 4}, nyxAxs45);
       },
       nyxStsNoErr},
      // Only corners are looked at: a 10 x 1 row crossed by a 1 x 10 column
      // with no corner inside the other is not seen as an overlap.
      {"crossing without a corner",
       [&] {
         return nyxiMirror_8u_C1R(a + 20, 10, a + 5, 10, {10, 1}, nyxAxs45);
       },
       nyxStsNoErr},
      {"disjoint",
       [&] {
         return nyxiMirror_8u_C1R(a, 16, b, 16, {4, 4}, nyxAxs45);
       },
       nyxStsNoErr},
      {"stride before size",
       [&] {
         return nyxiMirror_8u_C1R(a, 0, b, 16, {0, 4}, nyxAxs45);
       },
       nyxStsStepErr},
      {"negative stride",
       [&] {
         return nyxiMirror_32s_C1R(reinterpret_cast<Nyx32s*>(a), -16, reinterpret_cast<Nyx32s*>(b),
                                   16, {1, 1}, nyxAxs135);
       },
       nyxStsStepErr},
      {"null before stride",
       [&] {
         return nyxiMirror_8u_C1R(nullptr, 0, b, 16, {0, 4}, nyxAxs45);
       },
       nyxStsNullPtrErr},
      {"size after stride",
       [&] {
         return nyxiMirror_16u_C1R(reinterpret_cast<Nyx16u*>(a), 16, reinterpret_cast<Nyx16u*>(b),
                                   16, {4, 0}, nyxAxs45);
       },
       nyxStsSizeErr},
  });
}

TEST(Mirror, OrderOfTests) {
  Nyx8u a[64] = {}, b[64] = {};
  ExpectStatuses({
      {"null",
       [&] {
         return nyxiMirror_8u_C1R(nullptr, 8, b, 8, {0, 1}, NyxiAxis(5));
       },
       nyxStsNullPtrErr},
      {"size before flip",
       [&] {
         return nyxiMirror_8u_C1R(a, 8, b, 8, {0, 1}, NyxiAxis(5));
       },
       nyxStsSizeErr},
      {"flip 5",
       [&] {
         return nyxiMirror_8u_C1R(a, 8, b, 8, {2, 2}, NyxiAxis(5));
       },
       nyxStsMirrorFlipErr},
      {"flip -1",
       [&] {
         return nyxiMirror_32f_C4R(reinterpret_cast<Nyx32f*>(a), 32, reinterpret_cast<Nyx32f*>(b),
                                   32, {1, 1}, NyxiAxis(-1));
       },
       nyxStsMirrorFlipErr},
      {"in place null",
       [&] {
         return nyxiMirror_16u_AC4IR(nullptr, 8, {1, 1}, nyxAxsBoth);
       },
       nyxStsNullPtrErr},
      {"in place size",
       [&] {
         return nyxiMirror_16u_AC4IR(reinterpret_cast<Nyx16u*>(a), 8, {1, 0}, NyxiAxis(7));
       },
       nyxStsSizeErr},
      {"width 1 in place",
       [&] {
         return nyxiMirror_8u_C1IR(a, 8, {1, 5}, nyxAxsVertical);
       },
       nyxStsNoErr},
      {"height 1 in place",
       [&] {
         return nyxiMirror_8u_C1IR(a, 8, {5, 1}, nyxAxsHorizontal);
       },
       nyxStsNoErr},
      {"no stride test",
       [&] {
         return nyxiMirror_8u_C1R(a, 0, b + 16, -8, {3, 3}, nyxAxsBoth);
       },
       nyxStsNoErr},
  });
}

}  // namespace
}  // namespace nyx::test
