// Values of the arithmetic rules against the scalar models: every 8-bit
// pair (and every 8-bit constant) at every scale factor from below the bound
// to above the zero threshold, 16-bit boundary values and a large random
// sample at every scale factor, exact division, the float recipes, and
// kernels at every count and offset inside guarded buffers.
#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "core/fpenv/mxcsr.h"
#include "tests/pixel/arith_forms.h"
#include "tests/support/guarded.h"
#include "tests/support/ref/arith.h"

namespace nyx::test {
namespace {

using ref::ArithOp;

const ArithOp kOps[] = {ArithOp::kAdd, ArithOp::kSub, ArithOp::kMul, ArithOp::kDiv};

// The range of scale factors that covers every role of an operation on T,
// one beyond each threshold (the thresholds are the family's table).
template <class T>
std::pair<int, int> SfRange(ArithOp op) {
  const bool b8 = sizeof(T) == 1, s16 = std::is_signed_v<T>;
  switch (op) {
    case ArithOp::kAdd: return b8 ? std::pair{-10, 11} : (s16 ? std::pair{-18, 18} : std::pair{-18, 19});
    case ArithOp::kSub: return b8 ? std::pair{-10, 10} : std::pair{-18, 18};
    case ArithOp::kMul: return b8 ? std::pair{-10, 18} : (s16 ? std::pair{-17, 32} : std::pair{-19, 34});
    default: return b8 ? std::pair{-18, 11} : (s16 ? std::pair{-33, 18} : std::pair{-34, 19});
  }
}

// Runs the C1 form of op on rows of the pairs (a[i], b[i]) and compares.
template <class T>
void CheckPairs(ArithOp op, int sf, const std::vector<T>& a, const std::vector<T>& b, int width) {
  const BinaryForm<T> f = BinaryForms<T>(ref::OpName(op))[0];
  const int height = static_cast<int>(a.size()) / width;
  std::vector<T> d(a.size());
  const int step = width * static_cast<int>(sizeof(T));
  const NyxStatus st = f.plain(a.data(), step, b.data(), step, d.data(), step, {width, height}, sf);
  bool zero = false;
  int bad = 0;
  for (size_t i = 0; i < a.size(); ++i) {
    zero |= a[i] == 0;
    const T want = ref::IntOp(op, a[i], b[i], sf);
    if (d[i] != want && bad++ < 3) {
      ADD_FAILURE() << f.name << " sf " << sf << ": a " << +a[i] << " b " << +b[i] << " got "
                    << +d[i] << " want " << +want;
    }
  }
  EXPECT_EQ(bad, 0) << f.name << " sf " << sf;
  EXPECT_EQ(st, op == ArithOp::kDiv && zero ? nyxStsDivByZeroWrn : nyxStsNoErr);
}

TEST(ArithValues, Every8uPairAtEveryScaleFactor) {
  std::vector<Nyx8u> a(65536), b(65536);
  for (int i = 0; i < 65536; ++i) {
    a[i] = static_cast<Nyx8u>(i & 255);
    b[i] = static_cast<Nyx8u>(i >> 8);
  }
  for (ArithOp op : kOps) {
    const auto [lo, hi] = SfRange<Nyx8u>(op);
    for (int sf = lo; sf <= hi; ++sf) CheckPairs(op, sf, a, b, 256);
    CheckPairs(op, -1000, a, b, 256);
    CheckPairs(op, 1000, a, b, 256);
  }
}

// The 8u division works out the lanes of a block on different units (the
// divider, and multiply-add Newton steps), so every pair is checked at every
// position of a 32-sample block: the pair table rotated by 0 to 31 samples.
TEST(ArithValues, Every8uQuotientAtEveryLanePosition) {
  std::vector<Nyx8u> a(65536), b(65536);
  for (int shift = 0; shift < 32; ++shift) {
    for (int i = 0; i < 65536; ++i) {
      const int k = (i + shift) & 65535;
      a[i] = static_cast<Nyx8u>(k & 255);
      b[i] = static_cast<Nyx8u>(k >> 8);
    }
    for (int sf : {0, 1, -1}) CheckPairs(ArithOp::kDiv, sf, a, b, 256);
  }
}

template <class T>
std::vector<T> Boundaries() {
  std::vector<T> v = {0, 1, 2, 3, 4, 5, 7, 127, 128, 255, 256, 257, 1000, 16383, 16384, 32767};
  if constexpr (std::is_signed_v<T>) {
    for (int x : {-1, -2, -3, -4, -5, -7, -128, -255, -256, -1000, -16384, -32767, -32768}) {
      v.push_back(static_cast<T>(x));
    }
  } else {
    for (unsigned x : {32768u, 32769u, 40000u, 65533u, 65534u, 65535u}) v.push_back(static_cast<T>(x));
  }
  return v;
}

template <class T>
void SixteenBitPairs() {
  std::mt19937 rng(77);
  std::vector<T> a, b;
  const std::vector<T> edge = Boundaries<T>();
  for (T x : edge)
    for (T y : edge) a.push_back(x), b.push_back(y);
  std::uniform_int_distribution<int> any(std::numeric_limits<T>::min(), std::numeric_limits<T>::max());
  std::uniform_int_distribution<int> small(std::is_signed_v<T> ? -400 : 0, 400);
  while (a.size() % 512 != 0 || a.size() < 60000) {
    const int kind = static_cast<int>(rng() % 4);
    a.push_back(static_cast<T>(kind & 1 ? any(rng) : small(rng)));
    b.push_back(static_cast<T>(kind & 2 ? any(rng) : small(rng)));
  }
  for (ArithOp op : kOps) {
    const auto [lo, hi] = SfRange<T>(op);
    for (int sf = lo; sf <= hi; ++sf) CheckPairs(op, sf, a, b, 512);
    CheckPairs(op, -1000, a, b, 512);
    CheckPairs(op, 1000, a, b, 512);
  }
}

// At scale factor 0 the 16-bit product saturates in the sample type, from
// the low and high halves of the product: every sample value against the
// boundary values and a random set, at every lane position (65536 is a
// multiple of the block). 45 factors make an image of 5.9 MB, written with
// non-temporal stores.
template <class T>
void SixteenBitProductsAtSf0() {
  std::mt19937 rng(19);
  std::vector<T> factors = Boundaries<T>();
  std::uniform_int_distribution<int> any(std::numeric_limits<T>::min(), std::numeric_limits<T>::max());
  while (factors.size() < 45) factors.push_back(static_cast<T>(any(rng)));
  std::vector<T> a, b;
  for (T f : factors) {
    for (int i = 0; i < 65536; ++i) {
      a.push_back(static_cast<T>(i + std::numeric_limits<T>::min()));
      b.push_back(f);
    }
  }
  CheckPairs(ArithOp::kMul, 0, a, b, 4096);
  CheckPairs(ArithOp::kMul, 0, b, a, 4096);
  // Below the streaming size, as one run of 77 * 2561 samples, which ends
  // in a partial block (13 samples one at a time).
  a.resize(77 * 2561);
  b.resize(a.size());
  CheckPairs(ArithOp::kMul, 0, a, b, 77);
}

TEST(ArithValues, SixteenBitProductsAtScaleFactorZero) {
  SixteenBitProductsAtSf0<Nyx16s>();
  SixteenBitProductsAtSf0<Nyx16u>();
}

TEST(ArithValues, SixteenBitUnsignedPairs) { SixteenBitPairs<Nyx16u>(); }
TEST(ArithValues, SixteenBitSignedPairs) { SixteenBitPairs<Nyx16s>(); }

// C1 constant forms: every sample against each constant.
template <class T>
void CheckConst(ArithOp op, int sf, T value, const std::vector<T>& x) {
  const ConstForm<T> f = ConstForms<T>(ref::OpName(op))[0];
  const T values[4] = {value, value, value, value};
  std::vector<T> d(x.size());
  const int w = static_cast<int>(x.size());
  const int step = w * static_cast<int>(sizeof(T));
  ASSERT_EQ(f.plain(x.data(), step, values, d.data(), step, {w, 1}, sf), nyxStsNoErr)
      << f.name << " value " << +value << " sf " << sf;
  int bad = 0;
  for (int i = 0; i < w; ++i) {
    const T want = ref::IntOp(op, value, x[i], sf);
    if (d[i] != want && bad++ < 3) {
      ADD_FAILURE() << f.name << " value " << +value << " sf " << sf << " sample " << +x[i]
                    << ": got " << +d[i] << " want " << +want;
    }
  }
  EXPECT_EQ(bad, 0);
}

TEST(ArithValues, Every8uConstantAndSampleAtEveryScaleFactor) {
  std::vector<Nyx8u> x(256);
  for (int i = 0; i < 256; ++i) x[i] = static_cast<Nyx8u>(i);
  for (ArithOp op : kOps) {
    const auto [lo, hi] = SfRange<Nyx8u>(op);
    for (int sf = lo; sf <= hi; ++sf) {
      for (int v = op == ArithOp::kDiv ? 1 : 0; v < 256; ++v) CheckConst<Nyx8u>(op, sf, v, x);
    }
  }
}

template <class T>
void SixteenBitConstants() {
  std::mt19937 rng(5);
  std::vector<T> x = Boundaries<T>(), values = Boundaries<T>();
  std::uniform_int_distribution<int> any(std::numeric_limits<T>::min(), std::numeric_limits<T>::max());
  while (x.size() < 3000) x.push_back(static_cast<T>(x.size() % 2 ? any(rng) : any(rng) % 500));
  for (int i = 0; i < 20; ++i) values.push_back(static_cast<T>(i % 2 ? any(rng) : any(rng) % 300));
  for (ArithOp op : kOps) {
    const auto [lo, hi] = SfRange<T>(op);
    for (int sf = lo; sf <= hi; ++sf) {
      for (T v : values) {
        if (op != ArithOp::kDiv || v != 0) CheckConst<T>(op, sf, v, x);
      }
    }
  }
}

TEST(ArithValues, SixteenBitUnsignedConstants) { SixteenBitConstants<Nyx16u>(); }
TEST(ArithValues, SixteenBitSignedConstants) { SixteenBitConstants<Nyx16s>(); }

// The worked examples of the rule, each an independent check of one corner.
TEST(ArithValues, WorkedExamples) {
  auto one = [](auto fn, auto a, auto b, int sf) {
    decltype(a) d = 0;
    fn(&a, 1, &b, 1, &d, 1, NyxiSize{1, 1}, sf);
    return +d;
  };
  EXPECT_EQ(one(nyxiAdd_8u_C1RSfs, Nyx8u{3}, Nyx8u{4}, 1), 4);    // 3.5 -> 4
  EXPECT_EQ(one(nyxiAdd_8u_C1RSfs, Nyx8u{2}, Nyx8u{3}, 1), 2);    // 2.5 -> 2
  EXPECT_EQ(one(nyxiAdd_8u_C1RSfs, Nyx8u{255}, Nyx8u{255}, 9), 1);
  EXPECT_EQ(one(nyxiAdd_8u_C1RSfs, Nyx8u{1}, Nyx8u{0}, -7), 128);
  EXPECT_EQ(one(nyxiAdd_8u_C1RSfs, Nyx8u{1}, Nyx8u{0}, -8), 255);
  EXPECT_EQ(one(nyxiAdd_8u_C1RSfs, Nyx8u{0}, Nyx8u{0}, -100), 0);
  EXPECT_EQ(one(nyxiSub_8u_C1RSfs, Nyx8u{5}, Nyx8u{3}, 0), 0);  // 3 - 5 saturates
  EXPECT_EQ(one(nyxiSub_8u_C1RSfs, Nyx8u{3}, Nyx8u{5}, 0), 2);
  EXPECT_EQ(one(nyxiMul_8u_C1RSfs, Nyx8u{255}, Nyx8u{255}, 16), 1);
  EXPECT_EQ(one(nyxiMul_8u_C1RSfs, Nyx8u{255}, Nyx8u{255}, 17), 0);
  EXPECT_EQ(one(nyxiMul_16s_C1RSfs, Nyx16s{-32768}, Nyx16s{-32768}, 30), 1);
  EXPECT_EQ(one(nyxiMul_16s_C1RSfs, Nyx16s{-32768}, Nyx16s{-32768}, 31), 0);
  EXPECT_EQ(one(nyxiMul_16s_C1RSfs, Nyx16s{-32768}, Nyx16s{-32768}, 0), 32767);
  EXPECT_EQ(one(nyxiMul_16s_C1RSfs, Nyx16s{-1}, Nyx16s{1}, -15), -32768);
  EXPECT_EQ(one(nyxiMul_16s_C1RSfs, Nyx16s{-1}, Nyx16s{1}, -14), -16384);
  // 16u products at sf 32: bit 31 of the product.
  EXPECT_EQ(one(nyxiMul_16u_C1RSfs, Nyx16u{65535}, Nyx16u{65535}, 32), 1);
  EXPECT_EQ(one(nyxiMul_16u_C1RSfs, Nyx16u{32768}, Nyx16u{65535}, 32), 0);
  EXPECT_EQ(one(nyxiDiv_8u_C1RSfs, Nyx8u{0}, Nyx8u{7}, 0), 255);
  EXPECT_EQ(one(nyxiDiv_8u_C1RSfs, Nyx8u{0}, Nyx8u{0}, 0), 0);

  Nyx8u d = 0, s = 91;
  EXPECT_EQ(nyxiDivC_8u_C1RSfs(&s, 1, 14, &d, 1, {1, 1}, 0), nyxStsNoErr);
  EXPECT_EQ(d, 6);  // 6.5 -> 6, where a float reciprocal would give 7
  s = 183;
  EXPECT_EQ(nyxiDivC_8u_C1RSfs(&s, 1, 122, &d, 1, {1, 1}, 0), nyxStsNoErr);
  EXPECT_EQ(d, 2);  // 1.5 -> 2
  s = 0;
  EXPECT_EQ(nyxiAddC_8u_C1RSfs(&s, 1, 1, &d, 1, {1, 1}, -8), nyxStsNoErr);
  EXPECT_EQ(d, 255);
  s = 9;
  EXPECT_EQ(nyxiMulC_8u_C1RSfs(&s, 1, 0, &d, 1, {1, 1}, -100), nyxStsNoErr);
  EXPECT_EQ(d, 0);
  for (int x = 0; x < 256; ++x) {
    Nyx8u a = 255, b = static_cast<Nyx8u>(x), r = 0;
    nyxiMulScale_8u_C1R(&a, 1, &b, 1, &r, 1, {1, 1});
    ASSERT_EQ(r, x);
  }
}

TEST(ArithValues, DivCFloatIsAProductWithTheRoundedReciprocal) {
  std::mt19937 rng(3);
  std::vector<float> x(1000), d(1000);
  for (float& v : x) v = std::uniform_real_distribution<float>(-1e4f, 1e4f)(rng);
  x[0] = 3.0f;
  for (float value : {3.0f, 7.0f, -10.0f, 0.1f}) {
    ASSERT_EQ(nyxiDivC_32f_C1R(x.data(), 4000, value, d.data(), 4000, {1000, 1}), nyxStsNoErr);
    volatile float one = 1.0f;
    const float r = one / value;
    int quotient_differs = 0;
    for (int i = 0; i < 1000; ++i) {
      volatile float xi = x[i];
      ASSERT_TRUE(ref::SameBits(d[i], static_cast<float>(xi * r))) << value << " " << x[i];
      quotient_differs += !ref::SameBits(d[i], static_cast<float>(xi / value));
    }
    if (value == 3.0f) {
      EXPECT_TRUE(ref::SameBits(d[0], 3.0f * r));
      EXPECT_GT(quotient_differs, 0);  // the recipe is visible
    }
  }
}

TEST(ArithValues, DivFloatZeroDivisorsGiveTheIeeeValues) {
  const float inf = std::numeric_limits<float>::infinity(), nan = std::nanf("");
  const std::vector<float> divisor = {0.0f, 0.0f, -0.0f, -0.0f, 0.0f, 0.0f, 2.0f, 0.0f, 4.0f};
  const std::vector<float> dividend = {5.0f, -5.0f, 5.0f, -5.0f, 0.0f, nan, 1.0f, inf, 8.0f};
  std::vector<float> d(divisor.size());
  const int n = static_cast<int>(d.size());
  EXPECT_EQ(nyxiDiv_32f_C1R(divisor.data(), 4 * n, dividend.data(), 4 * n, d.data(), 4 * n, {n, 1}),
            nyxStsDivByZeroWrn);
  EXPECT_EQ(d[0], inf);
  EXPECT_EQ(d[1], -inf);
  EXPECT_EQ(d[2], -inf);
  EXPECT_EQ(d[3], inf);
  EXPECT_TRUE(std::isnan(d[4]));
  EXPECT_TRUE(std::isnan(d[5]));
  EXPECT_EQ(d[6], 0.5f);
  EXPECT_EQ(d[7], inf);
  EXPECT_EQ(d[8], 2.0f);
  // No zero divisor: no warning.
  EXPECT_EQ(nyxiDiv_32f_C1R(divisor.data() + 6, 4, dividend.data() + 6, 4, d.data(), 4, {1, 1}),
            nyxStsNoErr);
}

// Destinations of several MiB take the path with non-temporal stores: the
// same values, with rows that start at any alignment, and alpha kept.
TEST(ArithValues, DivFloatLargeImages) {
  std::mt19937 rng(21);
  for (int channels : {1, 4}) {
    for (int gap : {3, 0}) {  // odd pitch; no gap: the rows are one run
      const int width = 1100, height = 1000 / channels, row = width * channels + gap;
      std::vector<float> a(static_cast<size_t>(row) * height + 1), b(a.size()), d(a.size(), 7.0f);
      for (size_t i = 0; i < a.size(); ++i) {
        a[i] = rng() % 50 == 0 ? 0.0f : std::uniform_real_distribution<float>(-9, 9)(rng);
        b[i] = std::uniform_real_distribution<float>(-100, 100)(rng);
      }
      const int step = row * 4;
      const auto div = channels == 1 ? nyxiDiv_32f_C1R : nyxiDiv_32f_AC4R;
      const NyxStatus st =
          div(a.data() + 1, step, b.data() + 1, step, d.data() + 1, step, {width, height});
      EXPECT_EQ(st, nyxStsDivByZeroWrn);
      int bad = 0;
      for (size_t k = 0; k < d.size(); ++k) {
        const size_t i = k % row;  // the ROI of each row starts one sample in
        const bool in_roi = k >= 1 && k < 1 + static_cast<size_t>(row) * height &&
                            (gap == 0 || (i >= 1 && i < 1 + static_cast<size_t>(width) * channels));
        const bool alpha = channels == 4 && (k - 1) % row % 4 == 3;
        const float want = in_roi && !alpha ? ref::FloatOp(ArithOp::kDiv, a[k], b[k]) : 7.0f;
        bad += !ref::SameBits(d[k], want);
      }
      EXPECT_EQ(bad, 0) << channels << " gap " << gap;
    }
  }
}

// The rounding control is set only for the call: the caller's mode survives,
// and the results of modes 0 and 1 do not depend on it.
TEST(ArithValues, RoundingControlIsRestored) {
  const std::vector<Nyx8u> a = {3, 7, 2, 6, 9, 0}, b = {10, 200, 5, 255, 1, 4};
  std::vector<Nyx8u> ref_d(6), d(6);
  for (int mode = 0; mode <= 2; ++mode) {
    const auto m = static_cast<NyxRoundMode>(mode);
    nyxiDiv_Round_8u_C1RSfs(a.data(), 6, b.data(), 6, ref_d.data(), 6, {6, 1}, m, 0);
    for (unsigned rc : {kMxcsrRoundUp, kMxcsrRoundDown}) {
      const unsigned saved = _mm_getcsr();
      _mm_setcsr((saved & ~kMxcsrRoundMask) | rc);
      const NyxStatus st =
          nyxiDiv_Round_8u_C1RSfs(a.data(), 6, b.data(), 6, d.data(), 6, {6, 1}, m, 0);
      const unsigned after = _mm_getcsr() & kMxcsrRoundMask;
      const double c = 0.75;  // 7.5: the modes differ
      Nyx8u x = 10, y = 0;
      nyxiMulC64f_8u_C1R(&x, 1, &c, &y, 1, {1, 1}, nyxAlgHintAccurate, m);
      const unsigned after_mulc = _mm_getcsr() & kMxcsrRoundMask;
      _mm_setcsr(saved);
      EXPECT_EQ(st, nyxStsDivByZeroWrn);
      EXPECT_EQ(after, rc);
      EXPECT_EQ(after_mulc, rc);
      if (mode != 2) {
        EXPECT_EQ(d, ref_d) << "mode " << mode;
        EXPECT_EQ(y, mode == 0 ? 7 : 8);
      }
    }
  }
  // The three modes differ where they should: 7 / 2 = 3.5, 5 / 2 = 2.5.
  const Nyx8u two[2] = {2, 2}, num[2] = {7, 5};
  Nyx8u out[2];
  nyxiDiv_Round_8u_C1RSfs(two, 2, num, 2, out, 2, {2, 1}, nyxRndZero, 0);
  EXPECT_EQ(out[0], 3);
  EXPECT_EQ(out[1], 2);
  nyxiDiv_Round_8u_C1RSfs(two, 2, num, 2, out, 2, {2, 1}, nyxRndNear, 0);
  EXPECT_EQ(out[0], 4);
  EXPECT_EQ(out[1], 2);
  nyxiDiv_Round_8u_C1RSfs(two, 2, num, 2, out, 2, {2, 1}, nyxRndFinancial, 0);
  EXPECT_EQ(out[0], 4);
  EXPECT_EQ(out[1], 3);
}

// Kernels at every count from 1 and every start offset, with the row ending
// on a no-access page (an over-read or over-write faults), in place and not.
template <class T>
void CountsAndOffsets(ArithOp op, const std::vector<int>& sfs) {
  std::mt19937 rng(11);
  const BinaryForm<T> f = BinaryForms<T>(ref::OpName(op))[0];
  for (int n = 1; n <= 140; n += (n < 70 ? 1 : 13)) {
    for (int off = 0; off < 4; ++off) {
      GuardedBuffer ba((n + off) * sizeof(T)), bb((n + off) * sizeof(T)), bd((n + off) * sizeof(T));
      T* a = ba.as<T>() + off;
      T* b = bb.as<T>() + off;
      T* d = bd.as<T>() + off;
      for (int sf : sfs) {
        std::vector<T> want(n), a0(n), b0(n);
        for (int i = 0; i < n; ++i) {
          a[i] = a0[i] = static_cast<T>(rng() % 300);
          b[i] = b0[i] = static_cast<T>(rng());
          want[i] = ref::IntOp(op, a[i], b[i], sf);
        }
        const int step = n * static_cast<int>(sizeof(T));
        f.plain(a, step, b, step, d, step, {n, 1}, sf);
        for (int i = 0; i < n; ++i) ASSERT_EQ(d[i], want[i]) << f.name << " n " << n << " i " << i;
        f.inplace(a, step, b, step, {n, 1}, sf);
        for (int i = 0; i < n; ++i) ASSERT_EQ(b[i], want[i]) << f.name << " I n " << n << " i " << i;
      }
    }
  }
}

TEST(ArithValues, CountsAndOffsets) {
  for (ArithOp op : kOps) {
    CountsAndOffsets<Nyx8u>(op, {-9, -2, 0, 1, 3});
    CountsAndOffsets<Nyx16u>(op, {-17, -2, 0, 1, 5});
    CountsAndOffsets<Nyx16s>(op, {-16, -2, 0, 1, 5});
  }
}

}  // namespace
}  // namespace nyx::test
