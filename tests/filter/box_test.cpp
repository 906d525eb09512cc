// nyxiFilterBoxBorder and nyxiSumWindow: every form against the model on the
// extended image (masks 1x1 to 9x9, even and non-square; ROIs smaller than,
// equal to and larger than the mask; every accepted border word with real
// pixels around the ROI; in place and out of place; work buffers of exactly
// the queried size ending at a guard page), the rounding rules on every sum
// they can meet, and the order of tests.
#include "tests/support/ref/box.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "filter/box_forms.h"
#include "nyx.h"
#include "tests/support/guarded.h"
#include "tests/support/status_table.h"

namespace {

using nyx::ref::BoxMask;
using nyx::ref::ExtendedImage;
using nyx::test::GuardedBuffer;

enum class Op { kBox, kSum };

// An image whose every byte, ROI and margin, holds random samples: the
// margin is the real memory that in-memory border flags read.
template <class T>
class Field {
 public:
  Field(int w, int h, int nc, int pad, std::mt19937& rng) : w_(w), h_(h), nc_(nc), pad_(pad) {
    // The stride stays a multiple of the sample size but not of 32 bytes.
    step_ = static_cast<int>(sizeof(T)) * ((w + 2 * pad) * nc + 3);
    data_.resize(static_cast<size_t>(step_) * (h + 2 * pad) / sizeof(T) + 1);
    for (T& v : data_) v = Random(rng);
  }
  static T Random(std::mt19937& rng) {
    if constexpr (std::is_floating_point_v<T>) {
      return static_cast<T>(std::uniform_real_distribution<double>(-1000.0, 1000.0)(rng));
    } else {
      return static_cast<T>(std::uniform_int_distribution<int64_t>(
          std::numeric_limits<T>::min(), std::numeric_limits<T>::max())(rng));
    }
  }
  T* roi() { return data_.data() + Offset(0, 0); }
  int step() const { return step_; }
  T at(int64_t x, int64_t y, int c) const { return data_[Offset(x, y) + c]; }
  size_t Index(int64_t x, int64_t y, int c) const { return Offset(x, y) + c; }
  bool InRoi(size_t index) const {
    const int64_t row = static_cast<int64_t>(index) / (step_ / sizeof(T)) - pad_;
    const int64_t col = static_cast<int64_t>(index) % (step_ / sizeof(T)) - pad_ * nc_;
    return row >= 0 && row < h_ && col >= 0 && col < w_ * nc_;
  }
  const std::vector<T>& data() const { return data_; }

 private:
  size_t Offset(int64_t x, int64_t y) const {
    return static_cast<size_t>((y + pad_) * (step_ / sizeof(T)) + (x + pad_) * nc_);
  }
  int w_, h_, nc_, pad_, step_;
  std::vector<T> data_;
};

template <class T>
bool SameBits(T a, T b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

// The documented rounding of each form on the window of output (x, y).
template <Op kOp, class Src, class Dst, int kNc>
Dst Expected(const ExtendedImage<Src>& e, int64_t x, int64_t y, int c) {
  using namespace nyx::ref;
  const float r = Reciprocal(e.m);
  if constexpr (std::is_same_v<Src, float>) {
    const float v = WindowSumFloat(e, x, y, c);
    return kOp == Op::kBox ? v * r : v;
  } else {
    const int64_t s = WindowSum(e, x, y, c);
    const int64_t n = int64_t{e.m.mw} * e.m.mh;
    if constexpr (kOp == Op::kSum) {
      if constexpr (std::is_same_v<Dst, float>)
        return static_cast<float>(s);
      else
        return static_cast<Dst>(static_cast<float>(s));
    } else if constexpr (sizeof(Src) == 2 && kNc == 4) {
      const int64_t bias = std::is_signed_v<Src> ? 0x8000 : 0;
      const int64_t u = HalfUpRule(s + bias * n, r);
      return static_cast<Dst>((u < 0 ? 0 : (u > 0xFFFF ? 0xFFFF : u)) - bias);
    } else if (sizeof(Src) == 1 && kNc == 1 && e.m.mw == e.m.mh &&
               (e.m.mw == 3 || e.m.mw == 5 || e.m.mw == 7)) {
      const uint64_t k = e.m.mw == 3 ? 29128 : (e.m.mw == 5 ? 671088 : 342392);
      return SaturateInt<Dst>(MulShiftRule(s, k, e.m.mw == 3 ? 18 : 24));
    } else {
      return SaturateInt<Dst>(NearestEvenRule(s, r));
    }
  }
}

// One form: its entry, and the model of its border word.
template <Op kOp, class Src, class Dst, int kNc, bool kAlpha>
struct Form {
  using Fn = NyxStatus (*)(const Src*, int, Dst*, int, NyxiSize, NyxiSize, NyxiBorderType,
                           const Src*, Nyx8u*);
  static constexpr bool kFloatWord = std::is_same_v<Src, float> && !kAlpha;
  static constexpr NyxDataType kType =
      sizeof(Src) == 1
          ? nyx8u
          : (std::is_same_v<Src, float> ? nyx32f : (std::is_signed_v<Src> ? nyx16s : nyx16u));
  Fn fn;
  const char* name;

  static int Query(NyxiSize roi, NyxiSize mask) {
    int size = -1;
    const NyxStatus st = kOp == Op::kBox
                             ? nyxiFilterBoxBorderGetBufferSize(roi, mask, kType, kNc, &size)
                             : nyxiSumWindowGetBufferSize(roi, mask, kType, kNc, &size);
    EXPECT_EQ(st, nyxStsNoErr);
    return size;
  }

  // Mode and in-memory sides that the word means for this form.
  static void Decode(NyxiBorderType word, int* mode, unsigned* flags) {
    *flags = word & 0xF0;
    if (kFloatWord) {
      const unsigned low = word & 7;
      *mode = low == 3 ? 3 : (low == 1 ? 1 : 6);
    } else {
      *mode = static_cast<int>(word & 0xF);
    }
  }

  // Runs one call and compares every sample of the destination image.
  void Check(NyxiSize roi, NyxiSize mask, NyxiBorderType word, bool in_place,
             std::mt19937& rng) const {
    std::ostringstream what;
    what << name << " roi " << roi.width << "x" << roi.height << " mask " << mask.width << "x"
         << mask.height << " word 0x" << std::hex << word << (in_place ? " in place" : "");
    SCOPED_TRACE(what.str());
    if (!std::is_same_v<Src, Dst>) in_place = false;
    const int pad = std::max(mask.width, mask.height) + 1;
    Field<Src> src(roi.width, roi.height, kNc, pad, rng);
    const Field<Src> src0 = src;
    Field<Dst> dst(roi.width, roi.height, kNc, 2, rng);
    const Field<Dst> dst0 = dst;
    Src value[4];
    for (Src& v : value) v = Field<Src>::Random(rng);
    const int size = Query(roi, mask);
    ASSERT_GT(size, 0);
    GuardedBuffer buffer(static_cast<size_t>(size));
    NyxStatus st;
    if constexpr (std::is_same_v<Src, Dst>) {
      if (in_place) {
        st =
            fn(src.roi(), src.step(), src.roi(), src.step(), roi, mask, word, value, buffer.data());
      } else {
        st =
            fn(src.roi(), src.step(), dst.roi(), dst.step(), roi, mask, word, value, buffer.data());
      }
    } else {
      st = fn(src.roi(), src.step(), dst.roi(), dst.step(), roi, mask, word, value, buffer.data());
    }
    ASSERT_EQ(st, nyxStsNoErr);
    ExtendedImage<Src> e;
    e.pixel = [&src0](int64_t x, int64_t y, int c) { return src0.at(x, y, c); };
    e.W = roi.width;
    e.H = roi.height;
    e.m = BoxMask{mask.width, mask.height};
    Decode(word, &e.mode, &e.flags);
    e.value = value;
    // The image that holds the result, and what it held before.
    const std::vector<Dst>* before;
    const std::vector<Dst>* after;
    const Field<Dst>* out;
    if constexpr (std::is_same_v<Src, Dst>) {
      before = in_place ? &src0.data() : &dst0.data();
      after = in_place ? &src.data() : &dst.data();
      out = in_place ? &src : &dst;
    } else {
      before = &dst0.data();
      after = &dst.data();
      out = &dst;
    }
    for (size_t i = 0; i < after->size(); ++i) {
      if (!out->InRoi(i)) {
        ASSERT_TRUE(SameBits((*after)[i], (*before)[i])) << "outside the ROI at " << i;
      }
    }
    for (int y = 0; y < roi.height; ++y) {
      for (int x = 0; x < roi.width; ++x) {
        for (int c = 0; c < kNc; ++c) {
          const Dst got = out->at(x, y, c);
          if (kAlpha && c == 3) {
            const Dst old = (*before)[out->Index(x, y, c)];
            ASSERT_TRUE(SameBits(got, old)) << "alpha written at " << x << "," << y;
            continue;
          }
          const Dst want = Expected<kOp, Src, Dst, kNc>(e, x, y, c);
          ASSERT_TRUE(SameBits(got, want))
              << "at " << x << "," << y << "," << c << ": " << +got << " want " << +want;
        }
      }
    }
  }
};

// Border words a form accepts.
template <class F>
std::vector<NyxiBorderType> AcceptedWords() {
  std::vector<NyxiBorderType> words;
  const unsigned flag_sets[] = {0x00, 0x10, 0x20, 0x40, 0x80, 0x30, 0xC0, 0x50, 0xA0, 0x70, 0xB0};
  std::vector<unsigned> modes = {1, 3, 6};
  if (F::kFloatWord) modes = {1, 3, 6, 0, 2, 4, 5, 7, 9, 0xB};
  for (unsigned mode : modes)
    for (unsigned f : flag_sets) words.push_back(mode | f);
  words.push_back(0xF0);
  words.push_back(0xF1);
  words.push_back(0xF3);
  words.push_back(0xF6);
  if (F::kFloatWord) {
    words.push_back(0x301);  // bits above 0xFF are ignored by these members
    words.push_back(0x1243);
  }
  return words;
}

template <class F>
void CheckGrid(const F& form, uint32_t seed) {
  std::mt19937 rng(seed);
  const std::vector<NyxiBorderType> words = AcceptedWords<F>();
  const NyxiSize masks[] = {{1, 1}, {2, 2}, {3, 3}, {5, 5}, {7, 7}, {9, 9},
                            {2, 3}, {4, 1}, {1, 5}, {6, 9}, {8, 3}, {3, 8}};
  for (NyxiSize mask : masks) {
    const NyxiSize rois[] = {{1, 1},
                             {mask.width, mask.height},
                             {mask.width + 1, mask.height + 1},
                             {2 * mask.width + 3, 2 * mask.height + 2},
                             {41, 13}};
    for (NyxiSize roi : rois) {
      for (int k = 0; k < 3; ++k) {
        const NyxiBorderType plain[] = {1, 3, 6};
        const NyxiBorderType word = k == 0 ? plain[rng() % 3] : words[rng() % words.size()];
        form.Check(roi, mask, word, (rng() & 1) != 0, rng);
        if (::testing::Test::HasFatalFailure()) return;
      }
    }
  }
}

constexpr int ChannelsOf(std::string_view d) { return d == "C1" ? 1 : (d == "C3" ? 3 : 4); }

#define NYX_BOX_FORM_TEST2(KK, Name, TS, TD, tag, D)                                             \
  TEST(BoxForms, Name##_##tag##_##D) {                                                           \
    const Form<Op::k##KK, Nyx##TS, Nyx##TD, ChannelsOf(#D), std::string_view(#D) == "AC4"> form{ \
        &nyxi##Name##_##tag##_##D##R, #Name "_" #tag "_" #D};                                    \
    CheckGrid(form, 1000 + ChannelsOf(#D) + sizeof(Nyx##TS) * 10);                               \
  }
#define NYX_BOX_FORM_TEST_Box(...) NYX_BOX_FORM_TEST2(Box, FilterBoxBorder, __VA_ARGS__)
#define NYX_BOX_FORM_TEST_Sum(...) NYX_BOX_FORM_TEST2(Sum, SumWindow, __VA_ARGS__)
#define NYX_BOX_FORM_TEST(KK, TS, TD, tag, D) NYX_BOX_FORM_TEST_##KK(TS, TD, tag, D)
NYX_BOX_FORMS(NYX_BOX_FORM_TEST)

}  // namespace

namespace {

// Masks whose sums outgrow 16-bit (8u) or 30-bit (16-bit samples) lanes take
// wider sums; results keep to the same rules.
TEST(BoxForms, LargeMasksKeepTheRules) {
  std::mt19937 rng(77);
  const Form<Op::kBox, Nyx8u, Nyx8u, 3, false> box8{&nyxiFilterBoxBorder_8u_C3R, "8u C3"};
  const Form<Op::kBox, Nyx8u, Nyx8u, 1, false> box8c1{&nyxiFilterBoxBorder_8u_C1R, "8u C1"};
  const Form<Op::kBox, Nyx16u, Nyx16u, 1, false> box16u{&nyxiFilterBoxBorder_16u_C1R, "16u C1"};
  const Form<Op::kBox, Nyx16s, Nyx16s, 4, true> box16s{&nyxiFilterBoxBorder_16s_AC4R, "16s AC4"};
  const Form<Op::kSum, Nyx16s, Nyx32f, 4, false> sum16s{&nyxiSumWindow_16s32f_C4R, "16s32f C4"};
  const Form<Op::kSum, Nyx8u, Nyx32s, 1, false> sum8u{&nyxiSumWindow_8u32s_C1R, "8u32s C1"};
  box8.Check({5, 4}, {20, 20}, 1, false, rng);
  box8c1.Check({40, 30}, {17, 19}, 3, true, rng);
  box8c1.Check({40, 30}, {16, 16}, 0x46, false, rng);
  box16u.Check({3, 2}, {130, 131}, 3, true, rng);
  box16s.Check({2, 3}, {150, 120}, 6, false, rng);
  sum16s.Check({3, 3}, {140, 140}, 1, false, rng);
  sum8u.Check({30, 20}, {33, 11}, 0x83, false, rng);
}

}  // namespace
