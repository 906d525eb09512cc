// nyxiFilterBorder and nyxiFilter_64f: every form against the model on the
// extended image (kernels 1x1 to 11x11, rows, columns, even sizes; random
// integer and float taps; ROIs around the kernel size; every accepted border
// word with real pixels around the ROI; the rounding modes, the accurate
// path and offsets; Spec blocks and work buffers of exactly the queried size
// ending at a guard page).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <sstream>
#include <type_traits>
#include <vector>

#include "nyx.h"
#include "tests/support/guarded.h"
#include "tests/support/image.h"
#include "tests/support/ref/filter_border.h"

namespace {

using nyx::ref::BoxMask;
using nyx::ref::ExtendedImage;
using nyx::test::GuardedBuffer;
using nyx::test::PaddedImage;

template <class T>
constexpr NyxDataType kType = sizeof(T) == 1   ? nyx8u
                              : sizeof(T) == 8 ? nyx64f
                              : std::is_same_v<T, float>
                                  ? nyx32f
                                  : (std::is_signed_v<T> ? nyx16s : nyx16u);

template <class T>
using BorderFn = NyxStatus (*)(const T*, int, T*, int, NyxiSize, NyxiBorderType, const T*,
                               const NyxiFilterBorderSpec*, Nyx8u*);

template <class T, int kNc>
BorderFn<T> Entry();
#define NYX_ENTRY_OF(T, D, NC) \
  template <>                  \
  [[maybe_unused]] BorderFn<Nyx##T> Entry<Nyx##T, NC>() { return nyxiFilterBorder_##T##_##D##R; }
NYX_ENTRY_OF(8u, C1, 1)
NYX_ENTRY_OF(8u, C3, 3)
NYX_ENTRY_OF(8u, C4, 4)
NYX_ENTRY_OF(16u, C1, 1)
NYX_ENTRY_OF(16u, C3, 3)
NYX_ENTRY_OF(16u, C4, 4)
NYX_ENTRY_OF(16s, C1, 1)
NYX_ENTRY_OF(16s, C3, 3)
NYX_ENTRY_OF(16s, C4, 4)
NYX_ENTRY_OF(32f, C1, 1)
NYX_ENTRY_OF(32f, C3, 3)
NYX_ENTRY_OF(32f, C4, 4)
NYX_ENTRY_OF(64f, C1, 1)
#undef NYX_ENTRY_OF

template <class T>
bool SameBits(T a, T b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

// A source whose every sample, ROI and margin, is random: the margin is the
// real memory that in-memory border flags read.
template <class T>
struct Field {
  int w, h, nc, pad, step;
  std::vector<T> data;
  Field(int w_, int h_, int nc_, int pad_, std::mt19937& rng) : w(w_), h(h_), nc(nc_), pad(pad_) {
    step = static_cast<int>(sizeof(T)) * ((w + 2 * pad) * nc + 1);
    data.resize(static_cast<size_t>(step) / sizeof(T) * (h + 2 * pad));
    for (T& v : data) v = PaddedImage<T>::RandomSample(rng);
  }
  size_t Index(int64_t x, int64_t y, int c) const {
    return static_cast<size_t>((y + pad) * (step / sizeof(T)) + (x + pad) * nc + c);
  }
  T* roi() { return data.data() + Index(0, 0, 0); }
  T at(int64_t x, int64_t y, int c) const { return data[Index(x, y, c)]; }
};

struct Case {
  int kw, kh;
  NyxiSize roi;
  NyxiBorderType word;
  bool int_taps;
  int mode;       // 0, 1, 2
  bool accurate;  // bit 4 at init
  int divisor;
  bool set_mode;  // then SetMode(hint, offset)
  int hint, offset;
};

std::string Describe(const Case& c) {
  std::ostringstream s;
  s << "kernel " << c.kw << "x" << c.kh << " roi " << c.roi.width << "x" << c.roi.height
    << " word 0x" << std::hex << c.word << std::dec << (c.int_taps ? " int" : " float")
    << " mode " << c.mode << (c.accurate ? " accurate" : "") << " divisor " << c.divisor;
  if (c.set_mode) s << " hint " << c.hint << " offset " << c.offset;
  return s.str();
}

// The integer taps stay integer for 8u, and for 16s with one channel, a
// kernel at least 3 wide and more than 1 high.
template <class T, int kNc>
bool IntegerPath(const Case& c) {
  if (!c.int_taps) return false;
  if constexpr (sizeof(T) == 1) return true;
  if constexpr (std::is_same_v<T, Nyx16s>) return kNc == 1 && c.kw >= 3 && c.kh > 1;
  return false;
}

// Offsets exist for 8-bit integer taps and for 8u and 16u float taps.
template <class T, int kNc>
bool OffsetAllowed(const Case& c) {
  if (IntegerPath<T, kNc>(c)) return sizeof(T) == 1;
  return sizeof(T) == 1 || std::is_same_v<T, Nyx16u>;
}

template <class T, int kNc>
void RunCase(Case c, std::mt19937& rng) {
  SCOPED_TRACE(Describe(c));
  const NyxiSize ks{c.kw, c.kh};
  const int n = c.kw * c.kh;
  const NyxDataType ktype = c.int_taps ? nyx16s : (sizeof(T) == 8 ? nyx64f : nyx32f);
  int spec_size = 0, buf_size = 0;
  ASSERT_EQ(nyxiFilterBorderGetSize(ks, c.roi, kType<T>, ktype, kNc, &spec_size, &buf_size),
            nyxStsNoErr);
  GuardedBuffer spec_mem(static_cast<size_t>(spec_size));
  auto* spec = reinterpret_cast<NyxiFilterBorderSpec*>(spec_mem.data());
  const int rm = c.mode | (c.accurate ? 16 : 0);
  std::vector<int16_t> ki(static_cast<size_t>(n));
  std::vector<float> kf(static_cast<size_t>(n));
  std::vector<double> kd(static_cast<size_t>(n));
  const bool wide_taps = std::uniform_int_distribution<int>(0, 3)(rng) == 0;
  for (int i = 0; i < n; ++i) {
    ki[i] = static_cast<int16_t>(wide_taps ? std::uniform_int_distribution<int>(-32768, 32767)(rng)
                                           : std::uniform_int_distribution<int>(-40, 60)(rng));
    kf[i] = static_cast<float>(std::uniform_real_distribution<double>(-1.5, 2.0)(rng));
    kd[i] = std::uniform_real_distribution<double>(-1.5, 2.0)(rng);
  }
  NyxStatus st;
  if constexpr (sizeof(T) == 8) {
    st = nyxiFilterBorderInit_64f(kd.data(), ks, nyx64f, 1, static_cast<NyxRoundMode>(1), spec);
  } else if (c.int_taps) {
    st = nyxiFilterBorderInit_16s(ki.data(), ks, c.divisor, kType<T>, kNc,
                                  static_cast<NyxRoundMode>(rm), spec);
  } else {
    st = nyxiFilterBorderInit_32f(kf.data(), ks, kType<T>, kNc, static_cast<NyxRoundMode>(rm), spec);
  }
  const bool integer = IntegerPath<T, kNc>(c);
  const bool warn = c.accurate && sizeof(T) != 1 && !(std::is_same_v<T, Nyx16s> && kNc == 1) &&
                    sizeof(T) != 8;
  ASSERT_EQ(st, warn ? nyxStsAccurateHintIgnoredWrn : nyxStsNoErr);
  bool accurate = integer && c.accurate;
  int offset = 0;
  float offset_f = 0.0f;
  if (c.set_mode && sizeof(T) != 8) {
    if (!OffsetAllowed<T, kNc>(c)) c.offset = 0;
    ASSERT_EQ(nyxiFilterBorderSetMode(static_cast<NyxHintAlgorithm>(c.hint), c.offset, spec),
              nyxStsNoErr);
    if (integer) accurate = c.hint == 2;  // any other hint clears the accurate bit
    offset = c.offset;
    if (integer) offset_f = static_cast<float>(c.offset * c.divisor);
    else if (c.hint == 2) offset_f = static_cast<float>(c.offset);
  }
  // Float taps made from integer taps: each divided by the divisor in double.
  if (c.int_taps && !integer) {
    for (int i = 0; i < n; ++i)
      kf[i] = static_cast<float>(static_cast<double>(ki[i]) * (1.0 / static_cast<double>(c.divisor)));
  }

  const int pad = 6;
  Field<T> src(c.roi.width, c.roi.height, kNc, pad, rng);
  PaddedImage<T> dst(c.roi.width, c.roi.height, kNc, 2, 8);
  T value[4];
  for (T& v : value) v = PaddedImage<T>::RandomSample(rng);
  GuardedBuffer buffer(static_cast<size_t>(buf_size));
  const BorderFn<T> fn = Entry<T, kNc>();
  ASSERT_EQ(fn(src.roi(), src.step, dst.roi(), dst.step(), c.roi, c.word, value, spec, buffer.data()),
            nyxStsNoErr);
  ASSERT_TRUE(dst.OutsideIntact());

  ExtendedImage<T> e;
  e.pixel = [&src](int64_t x, int64_t y, int ch) { return src.at(x, y, ch); };
  e.W = c.roi.width;
  e.H = c.roi.height;
  e.m = BoxMask{c.kw, c.kh};
  e.mode = static_cast<int>(c.word & 0xF);
  e.flags = c.word & 0xF0;
  e.value = value;
  const bool two_d = c.kw > 1 && c.kh > 1;
  const bool fast = two_d && !accurate && c.mode < 2;
  for (int y = 0; y < c.roi.height; ++y) {
    for (int x = 0; x < c.roi.width; ++x) {
      for (int ch = 0; ch < kNc; ++ch) {
        T want;
        if constexpr (std::is_floating_point_v<T>) {
          if constexpr (sizeof(T) == 8) want = nyx::ref::ConvChain<double>(e, kd.data(), x, y, ch);
          else want = nyx::ref::ConvChain<float>(e, kf.data(), x, y, ch);
        } else if (integer) {
          const int32_t s = nyx::ref::ConvSum(e, ki.data(), x, y, ch);
          want = nyx::ref::SaturateInt<T>(
              fast ? nyx::ref::FastRule(s, c.divisor, c.mode, offset)
                   : nyx::ref::ExactRule(s, c.divisor, c.mode, offset, two_d && c.mode == 0));
        } else {
          want = nyx::ref::FloatToSample<T>(nyx::ref::ConvChain<float>(e, kf.data(), x, y, ch),
                                            offset_f, c.mode);
        }
        const T got = dst.at(x, y, ch);
        ASSERT_TRUE(SameBits(got, want)) << "at " << x << "," << y << "," << ch << ": got "
                                         << +got << " want " << +want;
      }
    }
  }
}

const NyxiBorderType kWords[] = {1, 3, 6, 0xF0, 0x41, 0x83, 0x16, 0x23, 0xD1, 0xF3, 0x36, 0xB3};
const int kShapes[][2] = {{1, 1}, {1, 4}, {5, 1}, {2, 2}, {3, 3}, {2, 5}, {4, 3}, {5, 5},
                          {6, 4}, {7, 7}, {1, 11}, {11, 1}, {11, 11}, {3, 8}, {9, 2}};
const int kDivisors[] = {1, 2, 8, 3, 7, 25, -5, 100, 64};

template <class T, int kNc>
void Sweep(uint32_t seed, int rois_per_shape) {
  std::mt19937 rng(seed);
  for (const auto& sh : kShapes) {
    const int kw = sh[0], kh = sh[1];
    const NyxiSize rois[] = {{1, 1}, {kw, kh}, {kw + 1, kh + 2}, {18, 5}, {37, 11}, {70, 13}};
    for (int r = 0; r < rois_per_shape; ++r) {
      Case c{};
      c.kw = kw;
      c.kh = kh;
      c.roi = rois[std::uniform_int_distribution<int>(0, 5)(rng)];
      c.word = kWords[std::uniform_int_distribution<int>(0, 11)(rng)];
      c.int_taps = !std::is_floating_point_v<T> && (rng() & 1);
      c.mode = std::uniform_int_distribution<int>(0, 2)(rng);
      c.accurate = (rng() % 4) == 0;
      c.divisor = kDivisors[std::uniform_int_distribution<int>(0, 8)(rng)];
      c.set_mode = (rng() % 3) == 0;
      c.hint = std::uniform_int_distribution<int>(0, 2)(rng);
      c.offset = std::uniform_int_distribution<int>(-20, 20)(rng);
      RunCase<T, kNc>(c, rng);
      if (::testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(FilterBorder, Model8u) {
  Sweep<Nyx8u, 1>(1, 6);
  Sweep<Nyx8u, 3>(2, 3);
  Sweep<Nyx8u, 4>(3, 3);
}
TEST(FilterBorder, Model16s) {
  Sweep<Nyx16s, 1>(4, 6);
  Sweep<Nyx16s, 3>(5, 2);
  Sweep<Nyx16s, 4>(6, 2);
}
TEST(FilterBorder, Model16u) {
  Sweep<Nyx16u, 1>(7, 3);
  Sweep<Nyx16u, 3>(8, 2);
  Sweep<Nyx16u, 4>(9, 2);
}
TEST(FilterBorder, Model32f) {
  Sweep<Nyx32f, 1>(10, 6);
  Sweep<Nyx32f, 3>(11, 2);
  Sweep<Nyx32f, 4>(12, 2);
}
TEST(FilterBorder, Model64f) { Sweep<Nyx64f, 1>(13, 4); }

// Wide rows: vector blocks of every width, the four-row blocks and tails.
TEST(FilterBorder, WideRows) {
  std::mt19937 rng(21);
  for (int w : {15, 16, 17, 33, 47, 131}) {
    for (int k : {2, 3, 5, 7}) {
      Case c{k, k, {w, 9}, 1, true, 1, false, 9, false, 0, 0};
      RunCase<Nyx8u, 1>(c, rng);
      c.divisor = 16;
      c.mode = 0;
      RunCase<Nyx16s, 1>(c, rng);
      c.int_taps = false;
      RunCase<Nyx32f, 1>(c, rng);
      RunCase<Nyx8u, 3>(c, rng);
    }
  }
}

// Float taps on a source that ends at a guard page, every pixel read from
// memory (word 0xF0): heights that make groups of 5, 4, 2 and 1 rows;
// kernels lower than a group (smaller groups), as high and higher; kernel
// widths 3, 5 and 7 (unrolled for one-channel float) and others; rows of
// several blocks, one block, a last block that overlaps its neighbour, and
// rows narrower than a block (masked vectors for float samples, a vector
// from each end or one output at a time for the others).
template <class T, int kNc>
void BlockShapes(int kw, int kh, int w, int h, std::mt19937& rng) {
  SCOPED_TRACE(::testing::Message() << "kernel " << kw << "x" << kh << " roi " << w << "x" << h
                                    << " channels " << kNc << " sample bytes " << sizeof(T));
  const NyxiSize ks{kw, kh}, roi{w, h};
  const int n = kw * kh;
  int spec_size = 0, buf_size = 0;
  ASSERT_EQ(nyxiFilterBorderGetSize(ks, roi, kType<T>, sizeof(T) == 8 ? nyx64f : nyx32f, kNc,
                                    &spec_size, &buf_size),
            nyxStsNoErr);
  std::vector<uint8_t> spec_mem(static_cast<size_t>(spec_size)), buf(static_cast<size_t>(buf_size));
  auto* spec = reinterpret_cast<NyxiFilterBorderSpec*>(spec_mem.data());
  std::vector<float> kf(static_cast<size_t>(n));
  std::vector<double> kd(static_cast<size_t>(n));
  for (int i = 0; i < n; ++i) {
    kf[i] = static_cast<float>(std::uniform_real_distribution<double>(-1.5, 2.0)(rng));
    kd[i] = kf[i] * 1.000001;
  }
  if constexpr (sizeof(T) == 8) {
    ASSERT_EQ(nyxiFilterBorderInit_64f(kd.data(), ks, nyx64f, 1, nyxRndNear, spec), nyxStsNoErr);
  } else {
    ASSERT_EQ(nyxiFilterBorderInit_32f(kf.data(), ks, kType<T>, kNc, nyxRndNear, spec), nyxStsNoErr);
  }
  // Rows of exactly the samples the call may read, the last one against the
  // guard page.
  const int row = (w + kw - 1) * kNc, rows = h + kh - 1;
  GuardedBuffer src(sizeof(T) * static_cast<size_t>(row) * rows);
  T* s = src.as<T>();
  for (int i = 0; i < row * rows; ++i) s[i] = PaddedImage<T>::RandomSample(rng);
  PaddedImage<T> dst(w, h, kNc, 2, 8);
  const int ax = (kw - 1) / 2, ay = (kh - 1) / 2;
  const T* origin = s + ay * row + ax * kNc;
  const BorderFn<T> fn = Entry<T, kNc>();
  ASSERT_EQ(fn(origin, static_cast<int>(sizeof(T)) * row, dst.roi(), dst.step(), roi, 0xF0, nullptr,
               spec, buf.data()),
            nyxStsNoErr);
  ASSERT_TRUE(dst.OutsideIntact());
  ExtendedImage<T> e;
  e.pixel = [&](int64_t x, int64_t y, int ch) { return s[(y + ay) * row + (x + ax) * kNc + ch]; };
  e.W = w;
  e.H = h;
  e.m = BoxMask{kw, kh};
  e.mode = 1;
  e.flags = 0xF0;
  e.value = nullptr;
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      for (int ch = 0; ch < kNc; ++ch) {
        T want;
        if constexpr (sizeof(T) == 8) want = nyx::ref::ConvChain<double>(e, kd.data(), x, y, ch);
        else if constexpr (std::is_same_v<T, float>)
          want = nyx::ref::ConvChain<float>(e, kf.data(), x, y, ch);
        else
          want = nyx::ref::FloatToSample<T>(nyx::ref::ConvChain<float>(e, kf.data(), x, y, ch), 0.0f, 1);
        ASSERT_TRUE(SameBits(dst.at(x, y, ch), want)) << "at " << x << "," << y << "," << ch;
      }
    }
  }
}

TEST(FilterBorder, FloatBlockShapes) {
  std::mt19937 rng(61);
  const int kKernels[][2] = {{2, 2}, {3, 3}, {3, 6}, {5, 4}, {7, 7}, {1, 6}, {9, 1}, {4, 2}};
  for (const auto& k : kKernels) {
    for (int h : {1, 2, 3, 4, 5, 6, 7, 9}) {
      for (int w : {1, 3, 7, 8, 9, 20, 24, 25, 47, 49}) {
        BlockShapes<Nyx32f, 1>(k[0], k[1], w, h, rng);
        if (::testing::Test::HasFatalFailure()) return;
      }
    }
    for (int w : {1, 5, 9, 26, 50}) {
      BlockShapes<Nyx8u, 1>(k[0], k[1], w, 6, rng);
      BlockShapes<Nyx32f, 3>(k[0], k[1], w, 5, rng);
      BlockShapes<Nyx16s, 4>(k[0], k[1], w, 3, rng);
      BlockShapes<Nyx64f, 1>(k[0], k[1], w, 7, rng);
      if (::testing::Test::HasFatalFailure()) return;
    }
  }
}

// The rounding rules at their edges, through 1 by 1 (exact rule) and 2 by 2
// (fast rule) kernels on a constant image.
template <int kW, int kH>
int OnOnes(int tap, int divisor, int mode, int value = 1) {
  std::vector<Nyx16s> k(kW * kH, 0);
  k[0] = static_cast<Nyx16s>(tap);
  int spec_size, buf_size;
  const NyxiSize ks{kW, kH}, roi{20, 4};
  EXPECT_EQ(nyxiFilterBorderGetSize(ks, roi, nyx8u, nyx16s, 1, &spec_size, &buf_size), nyxStsNoErr);
  std::vector<uint8_t> spec(static_cast<size_t>(spec_size)), buf(static_cast<size_t>(buf_size));
  auto* sp = reinterpret_cast<NyxiFilterBorderSpec*>(spec.data());
  EXPECT_EQ(nyxiFilterBorderInit_16s(k.data(), ks, divisor, nyx8u, 1, static_cast<NyxRoundMode>(mode), sp),
            nyxStsNoErr);
  std::vector<Nyx8u> src(80, static_cast<Nyx8u>(value)), dst(80, 0);
  EXPECT_EQ(nyxiFilterBorder_8u_C1R(src.data(), 20, dst.data(), 20, roi, nyxBorderRepl, nullptr, sp,
                                    buf.data()),
            nyxStsNoErr);
  for (Nyx8u v : dst) EXPECT_EQ(v, dst[0]);
  return dst[0];
}

TEST(FilterBorder, RoundingEdges) {
  // Divisor 2 rounds 3/2 and 5/2 to the even 2 in mode 1, on both paths.
  EXPECT_EQ((OnOnes<1, 1>(3, 2, 1)), 2);
  EXPECT_EQ((OnOnes<1, 1>(5, 2, 1)), 2);
  EXPECT_EQ((OnOnes<2, 2>(3, 2, 1)), 2);
  EXPECT_EQ((OnOnes<2, 2>(5, 2, 1)), 2);
  // The fast power-of-two rule is nearest even in mode 0 too; the exact one truncates.
  EXPECT_EQ((OnOnes<2, 2>(5, 2, 0)), 2);
  EXPECT_EQ((OnOnes<2, 2>(7, 2, 0)), 4);
  EXPECT_EQ((OnOnes<1, 1>(7, 2, 0)), 3);
  // Half up in mode 2; toward zero in mode 0 through the reciprocal.
  EXPECT_EQ((OnOnes<1, 1>(5, 2, 2)), 3);
  EXPECT_EQ((OnOnes<2, 2>(5, 2, 2)), 3);
  EXPECT_EQ((OnOnes<2, 2>(20, 3, 0)), 6);
  EXPECT_EQ((OnOnes<2, 2>(20, 3, 1)), 7);
  // Negative sums give 0; large sums saturate.
  EXPECT_EQ((OnOnes<3, 3>(-9, 1, 1, 200)), 0);
  EXPECT_EQ((OnOnes<3, 3>(9, 1, 1, 200)), 255);
}

TEST(FilterBorder, OneByOneCopies) {
  std::mt19937 rng(5);
  for (int word : {1, 3, 6, 0xF0}) {
    Case c{1, 1, {23, 3}, static_cast<NyxiBorderType>(word), true, 1, false, 1, false, 0, 0};
    RunCase<Nyx8u, 1>(c, rng);
    RunCase<Nyx16s, 1>(c, rng);
    RunCase<Nyx16u, 4>(c, rng);
  }
  // And the copy is exact: compare against the source directly.
  const Nyx32f one = 1.0f;
  int spec_size, buf_size;
  ASSERT_EQ(nyxiFilterBorderGetSize({1, 1}, {9, 2}, nyx32f, nyx32f, 1, &spec_size, &buf_size), 0);
  std::vector<uint8_t> spec(static_cast<size_t>(spec_size)), buf(static_cast<size_t>(buf_size));
  auto* sp = reinterpret_cast<NyxiFilterBorderSpec*>(spec.data());
  ASSERT_EQ(nyxiFilterBorderInit_32f(&one, {1, 1}, nyx32f, 1, nyxRndNear, sp), 0);
  std::vector<float> src(18), dst(18, 0.0f);
  for (int i = 0; i < 18; ++i) src[i] = -3.25f * static_cast<float>(i) + 0.125f;
  src[3] = -0.0f;
  ASSERT_EQ(nyxiFilterBorder_32f_C1R(src.data(), 36, dst.data(), 36, {9, 2}, nyxBorderRepl, nullptr,
                                     sp, buf.data()),
            0);
  for (int i = 0; i < 18; ++i) EXPECT_EQ(dst[i], src[i]);
}

// Tall narrow ROIs with wide kernels: the left and right strip rectangles
// are the largest thing the buffer holds. The buffer has exactly the queried
// size and ends at a guard page, so a run that put both strips' rectangles
// side by side (or kept their joined outputs) would fault.
template <class T, int kNc>
void SideStrips(std::mt19937& rng) {
  const int kKernels[][2] = {{11, 3}, {9, 2}, {2, 2}, {7, 1}, {6, 4}, {15, 5}};
  const NyxiBorderType kSideWords[] = {1, 3, 6, 0x13, 0x23, 0x36, 0x31};
  for (const auto& k : kKernels) {
    const int kw = k[0], kh = k[1];
    const int rr = kw == 2 ? 2 : kw - 1 - (kw - 1) / 2, rb = kh == 2 ? 2 : kh - 1 - (kh - 1) / 2;
    for (const NyxiSize roi : {NyxiSize{kw + 1, 64}, NyxiSize{kw + 3, 41}}) {
      // The case only matters if the strips, not the rows, set the size.
      ASSERT_GT((kw - 1 + rr) * (roi.height + kh - 1), (roi.width + kw - 1) * (kh - 1 + rb))
          << kw << "x" << kh;
      for (const NyxiBorderType word : kSideWords) {
        const bool integer = !std::is_floating_point_v<T> && (rng() & 1);
        Case c{kw, kh, roi, word, integer, 1, false, 7, false, 0, 0};
        RunCase<T, kNc>(c, rng);
        if (::testing::Test::HasFatalFailure()) return;
      }
    }
  }
}

TEST(FilterBorder, SideStripsFitQueriedBuffer) {
  std::mt19937 rng(41);
  SideStrips<Nyx8u, 1>(rng);
  SideStrips<Nyx8u, 3>(rng);
  SideStrips<Nyx16s, 1>(rng);
  SideStrips<Nyx16u, 4>(rng);
  SideStrips<Nyx32f, 1>(rng);
  SideStrips<Nyx32f, 4>(rng);
  SideStrips<Nyx64f, 1>(rng);
}

// Source equal to destination is refused for every form, and neither the
// image nor the work buffer is written.
template <class T, int kNc>
void InPlaceRefused(std::mt19937& rng) {
  const NyxiSize ks{5, 3}, roi{19, 12};
  const NyxDataType ktype = sizeof(T) == 8 ? nyx64f : nyx32f;
  int spec_size = 0, buf_size = 0;
  ASSERT_EQ(nyxiFilterBorderGetSize(ks, roi, kType<T>, ktype, kNc, &spec_size, &buf_size),
            nyxStsNoErr);
  GuardedBuffer spec_mem(static_cast<size_t>(spec_size));
  auto* spec = reinterpret_cast<NyxiFilterBorderSpec*>(spec_mem.data());
  if constexpr (sizeof(T) == 8) {
    const double taps[15] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    ASSERT_EQ(nyxiFilterBorderInit_64f(taps, ks, nyx64f, 1, nyxRndNear, spec), nyxStsNoErr);
  } else {
    float taps[15];
    for (int i = 0; i < 15; ++i) taps[i] = 0.25f * static_cast<float>(i - 6);
    ASSERT_EQ(nyxiFilterBorderInit_32f(taps, ks, kType<T>, kNc, nyxRndNear, spec), nyxStsNoErr);
  }
  PaddedImage<T> img(roi.width, roi.height, kNc, 2, 8);
  img.FillRandom(rng);
  const std::vector<uint8_t> before = img.Snapshot();
  GuardedBuffer buffer(static_cast<size_t>(buf_size));
  std::memset(buffer.data(), 0xA5, buffer.size());
  const T value[4] = {};
  const BorderFn<T> fn = Entry<T, kNc>();
  for (const NyxiBorderType word : {1, 3, 6, 0xF0, 0x41}) {
    EXPECT_EQ(fn(img.roi(), img.step(), img.roi(), img.step(), roi, word, value, spec,
                              buffer.data()),
              nyxStsNotSupportedModeErr)
        << "word " << word;
  }
  EXPECT_TRUE(img.SameAs(before));
  for (size_t i = 0; i < buffer.size(); ++i) ASSERT_EQ(buffer.data()[i], 0xA5) << "byte " << i;
}

TEST(FilterBorder, InPlaceRefused) {
  std::mt19937 rng(43);
  InPlaceRefused<Nyx8u, 1>(rng);
  InPlaceRefused<Nyx8u, 3>(rng);
  InPlaceRefused<Nyx8u, 4>(rng);
  InPlaceRefused<Nyx16u, 1>(rng);
  InPlaceRefused<Nyx16s, 3>(rng);
  InPlaceRefused<Nyx16s, 4>(rng);
  InPlaceRefused<Nyx32f, 1>(rng);
  InPlaceRefused<Nyx32f, 3>(rng);
  InPlaceRefused<Nyx64f, 1>(rng);
}

// nyxiFilter_64f_C1R: the caller's anchor, which may lie anywhere.
TEST(Filter64f, Model) {
  std::mt19937 rng(31);
  for (const auto& sh : kShapes) {
    const int kw = sh[0], kh = sh[1];
    for (NyxiPoint anchor : {NyxiPoint{0, 0}, NyxiPoint{kw - 1, kh - 1}, NyxiPoint{kw / 2, kh / 3}}) {
      const NyxiSize roi{std::uniform_int_distribution<int>(1, 40)(rng), 7};
      Field<double> src(roi.width + kw, roi.height + kh, 1, 1, rng);
      PaddedImage<double> dst(roi.width, roi.height, 1, 2, 8);
      std::vector<double> k(static_cast<size_t>(kw * kh));
      for (double& v : k) v = std::uniform_real_distribution<double>(-2, 2)(rng);
      int size = 0;
      ASSERT_EQ(nyxiFilterGetBufSize_64f_C1R({kw, kh}, roi.width, &size), nyxStsNoErr);
      EXPECT_EQ(size, 64 * kw * kh + 128);
      GuardedBuffer buf(static_cast<size_t>(size));
      // (0, 0) of the call is (kw-1-ax, kh-1-ay) of the field.
      const double* p = src.roi() + (kw - 1 - anchor.x) + (kh - 1 - anchor.y) * (src.step / 8);
      ASSERT_EQ(nyxiFilter_64f_C1R(p, src.step, dst.roi(), dst.step(), roi, k.data(), {kw, kh}, anchor,
                                   buf.data()),
                nyxStsNoErr);
      ASSERT_TRUE(dst.OutsideIntact());
      for (int y = 0; y < roi.height; ++y) {
        for (int x = 0; x < roi.width; ++x) {
          double acc = 0;
          for (int j = kh - 1; j >= 0; --j)
            for (int i = kw - 1; i >= 0; --i)
              acc = std::fma(k[j * kw + i], src.at(x + kw - 1 - i, y + kh - 1 - j, 0), acc);
          ASSERT_TRUE(SameBits(dst.at(x, y), acc)) << kw << "x" << kh << " at " << x << "," << y;
        }
      }
    }
  }
}

}  // namespace
