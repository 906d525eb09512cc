// Every form of the arithmetic family through the public API: ROIs inside
// sentinel-filled padding (a write outside the ROI is caught), AC4 alpha
// kept, plain, in-place and _L entries, against the scalar models.
#include <gtest/gtest.h>

// GCC 12 reports a false -Wrestrict inside std::string's operator+ at -O3.
#pragma GCC diagnostic ignored "-Wrestrict"

#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/pixel/arith_forms.h"
#include "tests/support/image.h"
#include "tests/support/ref/arith.h"

namespace nyx::test {
namespace {

using ref::ArithOp;

// Samples that reach every role: small values (where rounding shows), zeros,
// the ends of the range, anything.
template <class T>
T MixedSample(std::mt19937& rng) {
  const int pick = static_cast<int>(rng() % 8);
  if constexpr (std::is_floating_point_v<T>) {
    const float special[] = {0.0f, -0.0f, 1.0f, -3.0f, 0.5f, 1e30f, -1e-30f, 7.0f};
    if (pick == 0) return special[rng() % 8];
    if (pick == 1) return static_cast<T>(static_cast<int>(rng() % 64) - 32);
    return PaddedImage<T>::RandomSample(rng);
  } else {
    using L = std::numeric_limits<T>;
    if (pick == 0) return 0;
    if (pick == 1) return L::max();
    if (pick == 2) return L::min();
    if (pick <= 4) return static_cast<T>(static_cast<int>(rng() % 9) - (L::is_signed ? 4 : 0));
    if (pick == 5) return static_cast<T>(static_cast<int>(rng() % 600) - (L::is_signed ? 300 : 0));
    return PaddedImage<T>::RandomSample(rng);
  }
}

template <class T>
void FillMixed(PaddedImage<T>& img, std::mt19937& rng) {
  img.Fill([&](int, int, int) { return MixedSample<T>(rng); });
}

template <class T>
bool Same(T a, T b) {
  if constexpr (std::is_floating_point_v<T>) return ref::SameBits(a, b);
  else return a == b;
}

std::string Describe(const std::string& name, bool in_place, bool large, int width) {
  std::string s = name;
  s.append(in_place ? " I" : "").append(large ? " _L" : "").append(" width ");
  s.append(std::to_string(width));
  return s;
}

// Rows padded by an odd number of samples: strides that are no multiple of the
// vector width, with every sample on its natural alignment.
template <class T>
constexpr int kExtraStep = 5 * sizeof(T);

const NyxiSize kSizes[] = {{37, 5}, {3, 2}};

// Checks dst against expect(x, y, c) and the padding of all images.
template <class T, class E>
void CheckImage(const std::string& what, const PaddedImage<T>& dst, E&& expect) {
  ASSERT_TRUE(dst.OutsideIntact()) << what << ": wrote outside the ROI";
  int bad = 0;
  for (int y = 0; y < dst.height(); ++y) {
    for (int x = 0; x < dst.width(); ++x) {
      for (int c = 0; c < dst.channels(); ++c) {
        const T want = expect(x, y, c);
        if (!Same(dst.at(x, y, c), want) && bad++ < 3) {
          ADD_FAILURE() << what << " at (" << x << "," << y << "," << c << "): got "
                        << +dst.at(x, y, c) << ", want " << +want;
        }
      }
    }
  }
  EXPECT_EQ(bad, 0) << what;
}

// Runs `entries` entries of a two-image form (0 plain, 1 in place, 2 plain
// _L, 3 in-place _L) through call(entry, s1, s2, d, size) on fresh random
// images; model(a, b) is the value of a sample from the first source a and the
// second b. Division forms warn when a colour sample of the divisor is 0.
template <class T, class Call, class M>
void RunTwo(const std::string& name, int channels, bool alpha, int entries, Call&& call,
            M&& model, bool warns, std::mt19937& rng,
            const std::vector<NyxiSize>& sizes = {std::begin(kSizes), std::end(kSizes)},
            bool gapless = false) {
  for (NyxiSize size : sizes) {
    for (int entry = 0; entry < entries; ++entry) {
      const bool in_place = entry % 2 == 1;
      // Gapless: the stride is the row's bytes, sentinels only before the
      // first row and after the last.
      PaddedImage<T> s1(size.width, size.height, channels, gapless ? 0 : 3,
                        gapless ? 0 : kExtraStep<T>);
      PaddedImage<T> s2 = s1, d = s1;
      FillMixed(s1, rng);
      FillMixed(s2, rng);
      FillMixed(d, rng);
      const PaddedImage<T> s1_old = s1, s2_old = s2, d_old = in_place ? s2 : d;
      bool zero = false;
      for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x)
          for (int c = 0; c < (alpha ? 3 : channels); ++c) zero |= s1.at(x, y, c) == T(0);
      const NyxStatus st = call(entry, s1, s2, d, size);
      const std::string what = Describe(name, in_place, entry >= 2, size.width);
      EXPECT_EQ(st, warns && zero ? nyxStsDivByZeroWrn : nyxStsNoErr) << what;
      EXPECT_TRUE(s1.SameAs(s1_old.Snapshot())) << what << ": first source changed";
      if (!in_place) {
        EXPECT_TRUE(s2.SameAs(s2_old.Snapshot())) << what << ": second source changed";
      }
      CheckImage(what, in_place ? s2 : d, [&](int x, int y, int c) {
        if (alpha && c == 3) return d_old.at(x, y, c);
        return model(s1_old.at(x, y, c), s2_old.at(x, y, c));
      });
    }
  }
}

template <class T, class M>
void RunBinary(const BinaryForm<T>& f, int sf, M model, bool warns, std::mt19937& rng,
               int entries = 4,
               const std::vector<NyxiSize>& sizes = {std::begin(kSizes), std::end(kSizes)},
               bool gapless = false) {
  RunTwo<T>(std::string(f.name) + " sf " + std::to_string(sf), f.channels, f.alpha, entries,
            [&](int entry, PaddedImage<T>& s1, PaddedImage<T>& s2, PaddedImage<T>& d,
                NyxiSize size) {
              const NyxiSizeL sl{size.width, size.height};
              switch (entry) {
                case 0: return f.plain(s1.roi(), s1.step(), s2.roi(), s2.step(), d.roi(), d.step(), size, sf);
                case 1: return f.inplace(s1.roi(), s1.step(), s2.roi(), s2.step(), size, sf);
                case 2: return f.plain_l(s1.roi(), s1.step(), s2.roi(), s2.step(), d.roi(), d.step(), sl, sf);
                default: return f.inplace_l(s1.roi(), s1.step(), s2.roi(), s2.step(), sl, sf);
              }
            },
            model, warns, rng, sizes, gapless);
}

// The same for an image and constants: model(value of the channel, sample).
template <class T, class Call, class M>
void RunOne(const std::string& name, int channels, bool alpha, int entries, Call&& call,
            M&& model, std::mt19937& rng,
            const std::vector<NyxiSize>& sizes = {std::begin(kSizes), std::end(kSizes)}) {
  for (NyxiSize size : sizes) {
    for (int entry = 0; entry < entries; ++entry) {
      const bool in_place = entry % 2 == 1;
      PaddedImage<T> s(size.width, size.height, channels, 3, kExtraStep<T>), d = s;
      FillMixed(s, rng);
      FillMixed(d, rng);
      const PaddedImage<T> s_old = s, d_old = in_place ? s : d;
      const NyxStatus st = call(entry, s, d, size);
      const std::string what = Describe(name, in_place, entry >= 2, size.width);
      EXPECT_EQ(st, nyxStsNoErr) << what;
      if (!in_place) {
        EXPECT_TRUE(s.SameAs(s_old.Snapshot())) << what << ": source changed";
      }
      CheckImage(what, in_place ? s : d, [&](int x, int y, int c) {
        if (alpha && c == 3) return d_old.at(x, y, c);
        return model(c, s_old.at(x, y, c));
      });
    }
  }
}

template <class T, class M>
void RunConst(const ConstForm<T>& f, const T* values, int sf, M model, std::mt19937& rng,
              int entries = 4,
              const std::vector<NyxiSize>& sizes = {std::begin(kSizes), std::end(kSizes)}) {
  std::string name = std::string(f.name) + " sf " + std::to_string(sf) + " values";
  for (int c = 0; c < 4; ++c) name += " " + std::to_string(+values[c]);
  RunOne<T>(name, f.channels, f.alpha, entries,
            [&](int entry, PaddedImage<T>& s, PaddedImage<T>& d, NyxiSize size) {
              const NyxiSizeL sl{size.width, size.height};
              switch (entry) {
                case 0: return f.plain(s.roi(), s.step(), values, d.roi(), d.step(), size, sf);
                case 1: return f.inplace(values, s.roi(), s.step(), size, sf);
                case 2: return f.plain_l(s.roi(), s.step(), values, d.roi(), d.step(), sl, sf);
                default: return f.inplace_l(values, s.roi(), s.step(), sl, sf);
              }
            },
            [&](int c, T x) { return model(values[c], x); }, rng, sizes);
}

// Scale factors around every threshold of an operation on T.
template <class T>
std::vector<int> ScaleFactors(ArithOp op) {
  if (std::is_same_v<T, Nyx8u>) {
    if (op == ArithOp::kDiv) return {-17, -16, -15, -3, 0, 1, 2, 8, 9, 12};
    return {-100, -9, -8, -7, -1, 0, 1, 2, 5, 8, 9, 10, 16, 17, 40};
  }
  if (op == ArithOp::kDiv) return {-33, -31, -30, -7, 0, 1, 3, 15, 16, 17, 18};
  return {-100, -18, -17, -16, -15, -14, -1, 0, 1, 2, 7, 15, 16, 17, 18, 30, 31, 32, 33, 40};
}

const ArithOp kOps[] = {ArithOp::kAdd, ArithOp::kSub, ArithOp::kMul, ArithOp::kDiv};

template <class T>
void AllIntegerForms() {
  std::mt19937 rng(1234 + sizeof(T));
  for (ArithOp op : kOps) {
    for (const BinaryForm<T>& f : BinaryForms<T>(ref::OpName(op))) {
      for (int sf : ScaleFactors<T>(op)) {
        RunBinary(f, sf, [&](T a, T b) { return ref::IntOp(op, a, b, sf); }, op == ArithOp::kDiv,
                  rng);
      }
    }
    for (const ConstForm<T>& f : ConstForms<T>(ref::OpName(op))) {
      for (int sf : ScaleFactors<T>(op)) {
        // Random constants, the identity (copy shortcut at sf 0), zeros (the
        // fill of MulC, the bound kernel of AddC) and constants that are all
        // non-zero (the fill with the top of the range at the bound of AddC).
        const T one = 1, big = std::numeric_limits<T>::max();
        std::vector<std::vector<T>> sets = {{0, 0, 0, 0}, {one, one, one, one}, {big, 3, one, 7}};
        std::vector<T> r(4);
        for (T& v : r) v = MixedSample<T>(rng);
        sets.push_back(r);
        for (const std::vector<T>& v : sets) {
          std::vector<T> values = v;
          if (op == ArithOp::kDiv) {
            for (T& x : values) x = x == 0 ? T(5) : x;  // a constant 0 is an error
          }
          RunConst(f, values.data(), sf,
                   [&](T value, T x) { return ref::IntOp(op, value, x, sf); }, rng);
        }
      }
    }
  }
}

TEST(ArithForms, Integer8u) { AllIntegerForms<Nyx8u>(); }
TEST(ArithForms, Integer16u) { AllIntegerForms<Nyx16u>(); }
TEST(ArithForms, Integer16s) { AllIntegerForms<Nyx16s>(); }

TEST(ArithForms, Float) {
  std::mt19937 rng(99);
  for (ArithOp op : kOps) {
    for (const BinaryForm<float>& f : BinaryForms<float>(ref::OpName(op))) {
      RunBinary(f, 0, [&](float a, float b) { return ref::FloatOp(op, a, b); },
                op == ArithOp::kDiv, rng);
    }
    for (const ConstForm<float>& f : ConstForms<float>(ref::OpName(op))) {
      const float values[4] = {3.0f, -0.75f, 1e-3f, 10.0f};
      if (op == ArithOp::kDiv) {
        // The product with the rounded reciprocal, not a quotient.
        RunConst(f, values, 0, [&](float value, float x) {
          volatile float one = 1.0f;
          return ref::FloatOp(ArithOp::kMul, one / value, x);
        }, rng);
      } else {
        RunConst(f, values, 0, [&](float value, float x) { return ref::FloatOp(op, value, x); },
                 rng);
      }
    }
  }
}

// Images whose rows follow each other with no gap in all three images are
// walked as one long row: every two-image form at the scale factors of each
// role, plain, in place and _L, with the sentinels right before the first row
// and after the last. (The padded tests above take the walk row by row.)
template <class T>
void GaplessForms(std::mt19937& rng) {
  const std::vector<NyxiSize> sizes = {{37, 5}, {3, 7}, {64, 3}};
  for (ArithOp op : kOps) {
    std::vector<int> sfs = {0};
    if constexpr (std::is_integral_v<T>) sfs = {-100, -2, 0, 1, 3};
    for (const BinaryForm<T>& f : BinaryForms<T>(ref::OpName(op))) {
      for (int sf : sfs) {
        RunBinary(f, sf, [&](T a, T b) {
          if constexpr (std::is_integral_v<T>) return ref::IntOp(op, a, b, sf);
          else return ref::FloatOp(op, a, b);
        }, op == ArithOp::kDiv, rng, 4, sizes, true);
      }
    }
  }
}

TEST(ArithForms, GaplessRows) {
  std::mt19937 rng(41);
  GaplessForms<Nyx8u>(rng);
  GaplessForms<Nyx16u>(rng);
  GaplessForms<Nyx16s>(rng);
  GaplessForms<float>(rng);
}

// Destinations of 16 MiB and more: a streamed C4 float row, and AC4
// constant rows written past the caches piece by piece (alpha kept), with
// nothing written outside the ROI.
TEST(ArithForms, LargeImages) {
  std::mt19937 rng(31);
  // 16 MiB and more: 32f C4 1030 x 1030, 16u AC4 1030 x 2040.
  RunBinary(BinaryForms<float>("Mul")[2], 0,
            [](float a, float b) { return ref::FloatOp(ArithOp::kMul, a, b); }, false, rng, 2,
            {{1030, 1030}});
  const Nyx16u v4[4] = {3, 200, 7, 9};
  RunConst(ConstForms<Nyx16u>("Sub")[3], v4, 1,
           [](Nyx16u v, Nyx16u x) { return ref::IntOp(ArithOp::kSub, v, x, 1); }, rng, 1,
           {{1030, 2040}});
}

#define NYX_TEST_LAYOUTS(M, T) M(T, C1) M(T, C3) M(T, C4) M(T, AC4)

// Two-image rows without alpha are streamed by the row kernels themselves
// once the distinct images hold 2 MiB or more, past a head up to a 64-byte
// line boundary: every integer store width (bytes, words narrowed to bytes,
// words from 32 bits, words from the 16-bit product), plain and in place, on
// odd pitches so that rows start at every alignment.
TEST(ArithForms, StreamedRows) {
  std::mt19937 rng(37);
  // At the threshold: 3 images of 720 KiB stream, the in-place call (two
  // images) does not.
  RunBinary(BinaryForms<Nyx16s>("Mul")[0], 0,
            [](Nyx16s a, Nyx16s b) { return ref::IntOp(ArithOp::kMul, a, b, 0); }, false, rng, 2,
            {{600, 614}});
  RunBinary(BinaryForms<float>("Add")[0], 0,
            [](float a, float b) { return ref::FloatOp(ArithOp::kAdd, a, b); }, false, rng, 2,
            {{300, 614}});
  RunBinary(BinaryForms<float>("Div")[0], 0,
            [](float a, float b) { return ref::FloatOp(ArithOp::kDiv, a, b); }, true, rng, 2,
            {{300, 614}});
  RunBinary(BinaryForms<Nyx8u>("Add")[1], 0,  // 8u C3: 5.6 MB
            [](Nyx8u a, Nyx8u b) { return ref::IntOp(ArithOp::kAdd, a, b, 0); }, false, rng, 2,
            {{1100, 1700}});
  RunBinary(BinaryForms<Nyx8u>("Mul")[2], 3,  // 8u C4: 5.3 MB
            [](Nyx8u a, Nyx8u b) { return ref::IntOp(ArithOp::kMul, a, b, 3); }, false, rng, 2,
            {{1200, 1100}});
  RunBinary(BinaryForms<Nyx16s>("Sub")[0], 1,  // 16s C1: 5.4 MB
            [](Nyx16s a, Nyx16s b) { return ref::IntOp(ArithOp::kSub, a, b, 1); }, false, rng, 2,
            {{1800, 1500}});
  const std::vector<ScaleForm<Nyx8u>> scale_forms = {NYX_TEST_MUL_SCALE(8u, C1)};  // 5.3 MB
  const ScaleForm<Nyx8u>& scale = scale_forms[0];
  RunTwo<Nyx8u>(scale.name, 1, false, 1,
                [&](int, PaddedImage<Nyx8u>& s1, PaddedImage<Nyx8u>& s2, PaddedImage<Nyx8u>& d,
                    NyxiSize size) {
                  return scale.plain(s1.roi(), s1.step(), s2.roi(), s2.step(), d.roi(), d.step(), size);
                },
                [](Nyx8u a, Nyx8u b) { return ref::MulScale(a, b); }, false, rng, {{2400, 2200}});
}

template <class T>
void DivRoundForms(const std::vector<DivRoundForm<T>>& forms, int float_lo, int float_hi) {
  std::mt19937 rng(7);
  for (const DivRoundForm<T>& f : forms) {
    for (int mode = 0; mode <= 2; ++mode) {
      for (int sf : {float_lo - 3, float_lo - 1, float_lo, -2, 0, 1, 3, float_hi, float_hi + 1,
                     float_hi + 2, float_hi + 9}) {
        const auto m = static_cast<NyxRoundMode>(mode);
        RunTwo<T>(std::string(f.name) + " mode " + std::to_string(mode) + " sf " +
                      std::to_string(sf),
                  f.channels, f.alpha, 2,
                  [&](int entry, PaddedImage<T>& s1, PaddedImage<T>& s2, PaddedImage<T>& d,
                      NyxiSize size) {
                    if (entry == 0) {
                      return f.plain(s1.roi(), s1.step(), s2.roi(), s2.step(), d.roi(), d.step(),
                                     size, m, sf);
                    }
                    return f.inplace(s1.roi(), s1.step(), s2.roi(), s2.step(), size, m, sf);
                  },
                  [&](T a, T b) { return ref::DivRound<T>(a, b, mode, sf, float_lo, float_hi); },
                  true, rng);
      }
    }
  }
}

TEST(ArithForms, DivRound) {
  DivRoundForms<Nyx8u>({NYX_TEST_LAYOUTS(NYX_TEST_DIV_ROUND, 8u)}, -15, 8);
  DivRoundForms<Nyx16u>({NYX_TEST_LAYOUTS(NYX_TEST_DIV_ROUND, 16u)}, -31, 16);
  DivRoundForms<Nyx16s>({NYX_TEST_LAYOUTS(NYX_TEST_DIV_ROUND, 16s)}, -30, 15);
}

template <class T>
void MulScaleForms(const std::vector<ScaleForm<T>>& forms) {
  std::mt19937 rng(8);
  for (const ScaleForm<T>& f : forms) {
    RunTwo<T>(f.name, f.channels, f.alpha, 2,
              [&](int entry, PaddedImage<T>& s1, PaddedImage<T>& s2, PaddedImage<T>& d,
                  NyxiSize size) {
                if (entry == 0) {
                  return f.plain(s1.roi(), s1.step(), s2.roi(), s2.step(), d.roi(), d.step(), size);
                }
                return f.inplace(s1.roi(), s1.step(), s2.roi(), s2.step(), size);
              },
              [](T a, T b) { return ref::MulScale(a, b); }, false, rng);
    const T top = std::numeric_limits<T>::max();
    for (const std::vector<T>& values :
         std::vector<std::vector<T>>{{top, 0, 1, 2}, {MixedSample<T>(rng), MixedSample<T>(rng),
                                                      MixedSample<T>(rng), MixedSample<T>(rng)}}) {
      RunOne<T>(std::string("MulC") + (f.name + 3), f.channels, f.alpha, 2,
                [&](int entry, PaddedImage<T>& s, PaddedImage<T>& d, NyxiSize size) {
                  if (entry == 0) return f.cplain(s.roi(), s.step(), values.data(), d.roi(), d.step(), size);
                  return f.cinplace(values.data(), s.roi(), s.step(), size);
                },
                [&](int c, T x) { return ref::MulScale(values[c], x); }, rng);
    }
  }
}

TEST(ArithForms, MulScale) {
  MulScaleForms<Nyx8u>({NYX_TEST_LAYOUTS(NYX_TEST_MUL_SCALE, 8u)});
  MulScaleForms<Nyx16u>({NYX_TEST_LAYOUTS(NYX_TEST_MUL_SCALE, 16u)});
}

#define NYX_TEST_LAYOUTS3(M, T) M(T, C1) M(T, C3) M(T, C4)

template <class T>
void MulC64fForms(const std::vector<MulC64fForm<T>>& forms) {
  std::mt19937 rng(9);
  const double values[4] = {1.5, -0.3, 0.1, 1000.25};
  const double small[4] = {0.5, 2.5, -1.0, 1.0 / 3};
  for (const MulC64fForm<T>& f : forms) {
    for (const double* v : {values, small}) {
      for (int hint : {0, 2}) {
        for (int mode = 0; mode <= 2; ++mode) {
          const auto h = static_cast<NyxHintAlgorithm>(hint);
          const auto m = static_cast<NyxRoundMode>(mode);
          RunOne<T>(std::string(f.name) + " hint " + std::to_string(hint) + " mode " +
                        std::to_string(mode),
                    f.channels, false, 2,
                    [&](int entry, PaddedImage<T>& s, PaddedImage<T>& d, NyxiSize size) {
                      if (entry == 0) return f.plain(s.roi(), s.step(), v, d.roi(), d.step(), size, h, m);
                      return f.inplace(v, s.roi(), s.step(), size, h, m);
                    },
                    [&](int c, T x) { return ref::MulC64f<T>(x, v[c], hint == 2, mode); }, rng);
        }
      }
    }
  }
}

TEST(ArithForms, MulC64f) {
  MulC64fForms<Nyx8u>({NYX_TEST_LAYOUTS3(NYX_TEST_MULC64F, 8u)});
  MulC64fForms<Nyx16u>({NYX_TEST_LAYOUTS3(NYX_TEST_MULC64F, 16u)});
  MulC64fForms<Nyx16s>({NYX_TEST_LAYOUTS3(NYX_TEST_MULC64F, 16s)});
  MulC64fForms<Nyx32f>({NYX_TEST_LAYOUTS3(NYX_TEST_MULC64F, 32f)});
}

}  // namespace
}  // namespace nyx::test
