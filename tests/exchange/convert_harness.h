// Shared pieces of the conversion tests: input sets (every value of 8- and
// 16-bit types, edge and random values of wider ones, float specials), and
// runners that call a form on a padded image (sentinels all around, alpha
// watched at AC4) or on a contiguous one (merged rows), and compare every
// sample with a model.
#pragma once

#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "nyx.h"
#include "tests/support/image.h"

namespace nyx::test {

// Samples of rows that need not be aligned to the sample size (the padded
// images use odd strides).
template <class T>
T GetAt(const T* row, int i) {
  T v;
  std::memcpy(&v, row + i, sizeof v);
  return v;
}
template <class T>
void PutAt(T* row, int i, T v) {
  std::memcpy(row + i, &v, sizeof v);
}

// A rounding-mode word as a C caller may pass it (values outside the
// enumeration included), without a C++ conversion to the enum.
inline NyxRoundMode ModeOf(int value) {
  NyxRoundMode m;
  static_assert(sizeof m == sizeof value);
  std::memcpy(&m, &value, sizeof m);
  return m;
}

template <class S, class D>
using ImageCall = std::function<NyxStatus(const S*, int, D*, int, NyxiSize)>;

template <class T>
bool SameValue(T a, T b) {
  if constexpr (std::is_floating_point_v<T>) {
    return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
  } else {
    return a == b;
  }
}

inline std::vector<float> FloatSpecials() {
  const float inf = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  std::vector<float> v = {0.0f,
                          -0.0f,
                          nan,
                          -nan,
                          inf,
                          -inf,
                          0.5f,
                          -0.5f,
                          1.5f,
                          -1.5f,
                          2.5f,
                          -2.5f,
                          3.5f,
                          -0.4f,
                          0.49999997f,
                          -0.49999997f,
                          1.0f,
                          1.0000001f,
                          0.99999994f,
                          126.5f,
                          127.5f,
                          127.49999f,
                          -128.5f,
                          -128.49998f,
                          128.0f,
                          254.5f,
                          255.5f,
                          255.49998f,
                          256.0f,
                          -1.0f,
                          32767.5f,
                          32766.5f,
                          -32768.5f,
                          -32767.5f,
                          65534.5f,
                          65535.5f,
                          65535.496f,
                          65536.0f,
                          8388607.5f,
                          16777216.0f,
                          2147483520.0f,
                          2147483648.0f,
                          -2147483648.0f,
                          -2147483904.0f,
                          3e9f,
                          -3e9f,
                          4294967040.0f,
                          4294967296.0f,
                          1e30f,
                          -1e30f,
                          std::numeric_limits<float>::max(),
                          std::numeric_limits<float>::lowest(),
                          std::numeric_limits<float>::denorm_min(),
                          -std::numeric_limits<float>::denorm_min(),
                          std::numeric_limits<float>::min()};
  return v;
}

// Every value of an 8- or 16-bit type; edge and random values of others.
template <class T>
std::vector<T> InputsOf(std::mt19937& rng, size_t random_count = 4000) {
  std::vector<T> v;
  if constexpr (std::is_integral_v<T> && sizeof(T) <= 2) {
    for (int64_t x = std::numeric_limits<T>::min(); x <= std::numeric_limits<T>::max(); ++x) {
      v.push_back(static_cast<T>(x));
    }
  } else if constexpr (std::is_integral_v<T>) {
    const int64_t lo = std::numeric_limits<T>::min(), hi = std::numeric_limits<T>::max();
    for (int64_t e : {lo,
                      lo + 1,
                      hi,
                      hi - 1,
                      int64_t{0},
                      int64_t{1},
                      int64_t{-1},
                      int64_t{127},
                      int64_t{128},
                      int64_t{255},
                      int64_t{256},
                      int64_t{-128},
                      int64_t{-129},
                      int64_t{32767},
                      int64_t{32768},
                      int64_t{-32768},
                      int64_t{-32769},
                      int64_t{65535},
                      int64_t{65536},
                      int64_t{16777217},
                      int64_t{-16777217},
                      int64_t{0x7fffff80},
                      int64_t{0x80000000},
                      int64_t{0xffffff7f}}) {
      if (e >= lo && e <= hi) v.push_back(static_cast<T>(e));
    }
    std::uniform_int_distribution<int64_t> d(lo, hi);
    std::uniform_int_distribution<int> bits(0, 31);
    for (size_t i = 0; i < random_count; ++i) {
      // Half spread over the range, half of every magnitude.
      if (i & 1)
        v.push_back(static_cast<T>(d(rng)));
      else
        v.push_back(static_cast<T>(d(rng) >> bits(rng)));
    }
  } else {
    for (float f : FloatSpecials()) v.push_back(static_cast<T>(f));
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::uniform_int_distribution<int> e(-4, 34);
    for (size_t i = 0; i < random_count; ++i) {
      v.push_back(static_cast<T>(std::ldexp(u(rng), e(rng))));
    }
  }
  return v;
}

// Lays `values` (repeated as needed) over a width x height image of
// `channels` samples a pixel inside padded images, runs the call, and checks
// that no byte outside the ROI changed and, when keep_alpha, that every
// fourth destination sample kept its value. Returns the destination samples
// in order; the source samples used are returned in `used`.
template <class S, class D>
std::vector<D> RunPadded(const ImageCall<S, D>& call, const std::vector<S>& values, int width,
                         int height, int channels, bool keep_alpha, std::vector<S>* used,
                         std::mt19937& rng) {
  PaddedImage<S> src(width, height, channels, 2, 3);
  PaddedImage<D> dst(width, height, channels, 2, 7);
  size_t k = 0;
  used->clear();
  for (int y = 0; y < height; ++y) {
    for (int i = 0; i < width * channels; ++i) {
      PutAt(src.row(y), i, values[k++ % values.size()]);
      used->push_back(GetAt(src.row(y), i));
      PutAt(dst.row(y), i, PaddedImage<D>::RandomSample(rng));
    }
  }
  const PaddedImage<D> before = dst;
  EXPECT_EQ(call(src.roi(), src.step(), dst.roi(), dst.step(), src.size()), nyxStsNoErr);
  EXPECT_TRUE(dst.OutsideIntact()) << "write outside the ROI";
  std::vector<D> out;
  for (int y = 0; y < height; ++y) {
    for (int i = 0; i < width * channels; ++i) {
      if (keep_alpha && i % 4 == 3) {
        EXPECT_TRUE(SameValue(GetAt(dst.row(y), i), GetAt(before.row(y), i))) << "alpha changed at " << i;
      }
      out.push_back(GetAt(dst.row(y), i));
    }
  }
  return out;
}

// The same on contiguous rows (strides equal to the row bytes), so that rows
// merge into one.
template <class S, class D>
std::vector<D> RunContiguous(const ImageCall<S, D>& call, const std::vector<S>& values, int width,
                             int height) {
  std::vector<S> src(static_cast<size_t>(width) * height);
  for (size_t i = 0; i < src.size(); ++i) src[i] = values[i % values.size()];
  std::vector<D> dst(src.size() + 8, D(7));
  EXPECT_EQ(call(src.data(), width * static_cast<int>(sizeof(S)), dst.data(),
                 width * static_cast<int>(sizeof(D)), NyxiSize{width, height}),
            nyxStsNoErr);
  for (size_t i = src.size(); i < dst.size(); ++i) EXPECT_EQ(dst[i], D(7)) << "write past the end";
  dst.resize(src.size());
  return dst;
}

// Compares outputs with model(input) sample by sample; stops reporting after
// a few mismatches.
template <class S, class D, class Model>
void ExpectModel(const std::vector<S>& in, const std::vector<D>& out, Model&& model,
                 const std::string& what, bool skip_alpha = false) {
  ASSERT_EQ(in.size(), out.size());
  int bad = 0;
  for (size_t i = 0; i < in.size() && bad < 5; ++i) {
    if (skip_alpha && i % 4 == 3) continue;
    const D want = model(in[i]);
    if (!SameValue(out[i], want)) {
      ++bad;
      ADD_FAILURE() << what << ": input " << +in[i] << " gave " << +out[i] << ", want " << +want;
    }
  }
}

// Long rows, for the kernels that widen: row lengths on both sides of where
// their prefetching rounds start (a few hundred samples, more for byte
// sources), rows on three padded lines starting at different alignments, and
// one merged run of several thousand samples.
template <class S, class D, class Model>
void CheckLongRows(const ImageCall<S, D>& call, Model&& model, const std::string& what) {
  std::mt19937 rng(23);
  const std::vector<S> in = InputsOf<S>(rng, 3000);
  std::vector<S> used;
  for (int width : {255, 271, 272, 273, 279, 287, 288, 289, 300, 511, 527, 528, 529, 535, 543, 544,
                    545, 560, 1031, 2093}) {
    // A different stretch of the inputs for each width.
    std::vector<S> values(in.begin() + width % 97, in.end());
    ExpectModel(used, RunPadded(call, values, width, 3, 1, false, &used, rng), model,
                what + " width " + std::to_string(width));
    if (::testing::Test::HasFailure()) return;
  }
  std::vector<S> merged;
  for (size_t i = 0; i < 4133 * 2; ++i) merged.push_back(in[i % in.size()]);
  ExpectModel(merged, RunContiguous(call, in, 4133, 2), model, what + " merged");
}

// Sets the control word for the life of the object.
class CallerMxcsr {
 public:
  explicit CallerMxcsr(unsigned word) : saved_(_mm_getcsr()) { _mm_setcsr(word); }
  ~CallerMxcsr() { _mm_setcsr(saved_); }

 private:
  unsigned saved_;
};

}  // namespace nyx::test
