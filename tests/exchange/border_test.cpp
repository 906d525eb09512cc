// Border copies of images: every form through the public API against the
// index model, then the order of the argument tests and the equal-pointer
// routes.
#include "tests/support/ref/border.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "exchange/border_forms.h"
#include "nyx.h"
#include "tests/support/guarded.h"
#include "tests/support/image.h"
#include "tests/support/status_table.h"

namespace nyx::test {
namespace {

using ref::BorderMode;

// One form, its four entries behind one signature each. `value` is the
// constant (one sample a channel) or ignored.
template <class T>
struct Form {
  BorderMode mode;
  int channels;
  bool alpha;
  NyxStatus (*r)(const T*, int, NyxiSize, T*, int, NyxiSize, int, int, const T*);
  NyxStatus (*ir)(T*, int, NyxiSize, NyxiSize, int, int, const T*);
  NyxStatus (*r_l)(const T*, NyxSizeL, NyxiSizeL, T*, NyxSizeL, NyxiSizeL, NyxSizeL, NyxSizeL,
                   const T*);
  NyxStatus (*ir_l)(T*, NyxSizeL, NyxiSizeL, NyxiSizeL, NyxSizeL, NyxSizeL, const T*);
};

struct Frame {
  int top, left, right, bottom;
};

// Rows aligned to the sample size, but not to any vector width.
template <class T>
PaddedImage<T> MakeImage(int w, int h, int ch) {
  return PaddedImage<T>(w, h, ch, 3, 5 * static_cast<int>(sizeof(T)));
}

template <class T>
bool SameBits(const T& a, const T& b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

// Checks dst against the model: colour samples from the mapped source pixel
// or the value; a kept alpha sample (and the frame's source rectangle in
// place, which the model reads from `src`) equal to `before`.
template <class T>
::testing::AssertionResult MatchesModel(const Form<T>& f, const PaddedImage<T>& src,
                                        const PaddedImage<T>& before, const PaddedImage<T>& dst,
                                        const Frame& fr, const T* value) {
  const int sw = src.width(), sh = src.height();
  std::vector<int64_t> mx(dst.width()), my(dst.height());
  for (int x = 0; x < dst.width(); ++x) mx[x] = ref::BorderSource(f.mode, x - fr.left, sw);
  for (int y = 0; y < dst.height(); ++y) my[y] = ref::BorderSource(f.mode, y - fr.top, sh);
  for (int y = 0; y < dst.height(); ++y) {
    for (int x = 0; x < dst.width(); ++x) {
      const bool inside = x >= fr.left && x < fr.left + sw && y >= fr.top && y < fr.top + sh;
      for (int c = 0; c < f.channels; ++c) {
        T want;
        if (f.alpha && c == 3) {
          want = before.at(x, y, c);
        } else if (inside) {
          want = src.at(x - fr.left, y - fr.top, c);
        } else if (f.mode == BorderMode::kConst) {
          want = value[c];
        } else {
          want = src.at(static_cast<int>(mx[x]), static_cast<int>(my[y]), c);
        }
        if (!SameBits(dst.at(x, y, c), want)) {
          return ::testing::AssertionFailure()
                 << "pixel (" << x << ", " << y << ") channel " << c << " of " << dst.width() << "x"
                 << dst.height() << " from " << sw << "x" << sh << " top " << fr.top << " left "
                 << fr.left;
        }
      }
    }
  }
  if (!dst.OutsideIntact()) return ::testing::AssertionFailure() << "write outside the ROI";
  return ::testing::AssertionSuccess();
}

template <class T>
void CheckFrame(const Form<T>& f, int sw, int sh, const Frame& fr, std::mt19937& rng) {
  const int dw = fr.left + sw + fr.right, dh = fr.top + sh + fr.bottom;
  const NyxiSize ss{sw, sh}, ds{dw, dh};
  const NyxiSizeL ssl{sw, sh}, dsl{dw, dh};
  PaddedImage<T> src = MakeImage<T>(sw, sh, f.channels);
  src.FillRandom(rng);
  T value[4];
  for (T& v : value) v = PaddedImage<T>::RandomSample(rng);
  const T* vp = f.mode == BorderMode::kConst ? value : nullptr;
  SCOPED_TRACE(::testing::Message() << sw << "x" << sh << " t" << fr.top << " l" << fr.left << " r"
                                    << fr.right << " b" << fr.bottom);
  for (int wide = 0; wide < 2; ++wide) {
    PaddedImage<T> dst = MakeImage<T>(dw, dh, f.channels);
    const PaddedImage<T> before = dst;
    const NyxStatus st =
        wide ? f.r_l(src.roi(), src.step(), ssl, dst.roi(), dst.step(), dsl, fr.top, fr.left, vp)
             : f.r(src.roi(), src.step(), ss, dst.roi(), dst.step(), ds, fr.top, fr.left, vp);
    ASSERT_EQ(st, nyxStsNoErr) << (wide ? "R_L" : "R");
    ASSERT_TRUE(MatchesModel(f, src, before, dst, fr, value)) << (wide ? "R_L" : "R");
  }
  for (int wide = 0; wide < 2; ++wide) {
    // In place: the source stands inside the destination already, with its
    // own alpha; everything else holds the sentinel.
    PaddedImage<T> dst = MakeImage<T>(dw, dh, f.channels);
    for (int y = 0; y < sh; ++y) {
      std::memcpy(&dst.at(fr.left, y + fr.top), src.row(y), sizeof(T) * sw * f.channels);
    }
    const PaddedImage<T> before = dst;
    T* p = &dst.at(fr.left, fr.top);
    const NyxStatus st = wide ? f.ir_l(p, dst.step(), ssl, dsl, fr.top, fr.left, vp)
                              : f.ir(p, dst.step(), ss, ds, fr.top, fr.left, vp);
    ASSERT_EQ(st, nyxStsNoErr) << (wide ? "IR_L" : "IR");
    ASSERT_TRUE(MatchesModel(f, src, before, dst, fr, value)) << (wide ? "IR_L" : "IR");
  }
}

// Source sizes 1 to 9 on both axes, borders from none to three times the
// source on every side.
template <class T>
void CheckForm(const Form<T>& f) {
  std::mt19937 rng(1234u + static_cast<unsigned>(f.mode) * 7u + f.channels);
  for (int sw = 1; sw <= 9; ++sw) {
    for (int sh = 1; sh <= 9; ++sh) {
      std::uniform_int_distribution<int> bx(0, 3 * sw), by(0, 3 * sh);
      const Frame frames[] = {
          {0, 0, 0, 0}, {3 * sh, 3 * sw, 3 * sw, 3 * sh}, {by(rng), bx(rng), bx(rng), by(rng)}};
      for (const Frame& fr : frames) {
        CheckFrame(f, sw, sh, fr, rng);
        if (::testing::Test::HasFatalFailure()) return;
      }
    }
  }
}

// ---------------------------------------------------------------------------
// Forms, from the same tables as the entries.

struct FormCase {
  std::string name;
  std::function<void()> check;
};

#define NYX_TV_C1 *v
#define NYX_TV_C3 v
#define NYX_TV_C4 v
#define NYX_TV_AC4 v
#define NYX_TCH_C1 1
#define NYX_TCH_C3 3
#define NYX_TCH_C4 4
#define NYX_TCH_AC4 4

// The four entries of one form behind the signatures of Form<Nyx##T>.
#define NYX_MAKE_FORM(Op, MODE, T, D, ...)                                                       \
  Form<Nyx##T> {                                                                                \
    MODE, NYX_TCH_##D, std::string(#D) == "AC4",                                                \
        [](const Nyx##T* s, int ss, NyxiSize sz, Nyx##T* d, int ds, NyxiSize dz, int t, int l,  \
           const Nyx##T* v) { return nyxi##Op##_##T##_##D##R(s, ss, sz, d, ds, dz, t, l __VA_ARGS__); }, \
        [](Nyx##T* s, int ss, NyxiSize sz, NyxiSize dz, int t, int l, const Nyx##T* v) {        \
          return nyxi##Op##_##T##_##D##IR(s, ss, sz, dz, t, l __VA_ARGS__);                              \
        },                                                                                      \
        [](const Nyx##T* s, NyxSizeL ss, NyxiSizeL sz, Nyx##T* d, NyxSizeL ds, NyxiSizeL dz,    \
           NyxSizeL t, NyxSizeL l, const Nyx##T* v) {                                           \
          return nyxi##Op##_##T##_##D##R_L(s, ss, sz, d, ds, dz, t, l __VA_ARGS__);                      \
        },                                                                                      \
        [](Nyx##T* s, NyxSizeL ss, NyxiSizeL sz, NyxiSizeL dz, NyxSizeL t, NyxSizeL l,          \
           const Nyx##T* v) { return nyxi##Op##_##T##_##D##IR_L(s, ss, sz, dz, t, l __VA_ARGS__); }      \
  }

#define NYX_TEST_FORM(Op, MODE, T, D, ...) \
  FormCase{#Op "_" #T "_" #D, [] { CheckForm(NYX_MAKE_FORM(Op, MODE, T, D, __VA_ARGS__)); }},

#define NYX_TCOMMA ,
#define NYX_TEST_CONST(T, D) \
  NYX_TEST_FORM(CopyConstBorder, BorderMode::kConst, T, D, NYX_TCOMMA NYX_TV_##D)
#define NYX_TEST_REPL(T, D) NYX_TEST_FORM(CopyReplicateBorder, BorderMode::kRepl, T, D, )
#define NYX_TEST_MIRROR(T, D) NYX_TEST_FORM(CopyMirrorBorder, BorderMode::kMirror, T, D, )
#define NYX_TEST_WRAP(T, D) NYX_TEST_FORM(CopyWrapBorder, BorderMode::kWrap, T, D, )

void RunAll(const std::vector<FormCase>& cases) {
  for (const FormCase& c : cases) {
    SCOPED_TRACE(c.name);
    c.check();
    if (::testing::Test::HasFatalFailure()) return;
  }
}

TEST(CopyBorderForms, Const) { RunAll({NYX_COPY_CONST_BORDER_FORMS(NYX_TEST_CONST)}); }
TEST(CopyBorderForms, Replicate) { RunAll({NYX_COPY_REPLICATE_BORDER_FORMS(NYX_TEST_REPL)}); }
TEST(CopyBorderForms, Mirror) { RunAll({NYX_COPY_MIRROR_BORDER_FORMS(NYX_TEST_MIRROR)}); }
TEST(CopyBorderForms, Wrap) { RunAll({NYX_COPY_WRAP_BORDER_FORMS(NYX_TEST_WRAP)}); }

// ---------------------------------------------------------------------------
// Rows long enough for the vector paths, and borders wide enough for the
// doubling copies, on the layouts that have them.

TEST(CopyBorderWide, LongRowsAndWideBorders) {
  std::mt19937 rng(99);
  const Form<Nyx8u> mirror{
      BorderMode::kMirror,
      1,
      false,
      [](const Nyx8u* s, int ss, NyxiSize sz, Nyx8u* d, int ds, NyxiSize dz, int t, int l,
         const Nyx8u*) { return nyxiCopyMirrorBorder_8u_C1R(s, ss, sz, d, ds, dz, t, l); },
      nullptr,
      nullptr,
      nullptr};
  const Form<Nyx16u> mirror16{
      BorderMode::kMirror,
      4,
      false,
      [](const Nyx16u* s, int ss, NyxiSize sz, Nyx16u* d, int ds, NyxiSize dz, int t, int l,
         const Nyx16u*) { return nyxiCopyMirrorBorder_16u_C4R(s, ss, sz, d, ds, dz, t, l); },
      nullptr,
      nullptr,
      nullptr};
  const Form<Nyx32f> wrap{
      BorderMode::kWrap,
      1,
      false,
      [](const Nyx32f* s, int ss, NyxiSize sz, Nyx32f* d, int ds, NyxiSize dz, int t, int l,
         const Nyx32f*) { return nyxiCopyWrapBorder_32f_C1R(s, ss, sz, d, ds, dz, t, l); },
      nullptr,
      nullptr,
      nullptr};
  const Form<Nyx16s> repl{
      BorderMode::kRepl,
      4,
      true,
      [](const Nyx16s* s, int ss, NyxiSize sz, Nyx16s* d, int ds, NyxiSize dz, int t, int l,
         const Nyx16s*) { return nyxiCopyReplicateBorder_16s_AC4R(s, ss, sz, d, ds, dz, t, l); },
      nullptr,
      nullptr,
      nullptr};
  const Form<Nyx8u> konst{
      BorderMode::kConst,
      3,
      false,
      [](const Nyx8u* s, int ss, NyxiSize sz, Nyx8u* d, int ds, NyxiSize dz, int t, int l,
         const Nyx8u* v) { return nyxiCopyConstBorder_8u_C3R(s, ss, sz, d, ds, dz, t, l, v); },
      nullptr,
      nullptr,
      nullptr};
  auto one = [&](const auto& f, auto sample, int sw, int sh, Frame fr) {
    using T = decltype(sample);
    PaddedImage<T> src = MakeImage<T>(sw, sh, f.channels);
    src.FillRandom(rng);
    T value[4];
    for (T& v : value) v = PaddedImage<T>::RandomSample(rng);
    const int dw = fr.left + sw + fr.right, dh = fr.top + sh + fr.bottom;
    PaddedImage<T> dst = MakeImage<T>(dw, dh, f.channels);
    const PaddedImage<T> before = dst;
    ASSERT_EQ(f.r(src.roi(), src.step(), {sw, sh}, dst.roi(), dst.step(), {dw, dh}, fr.top, fr.left,
                  value),
              nyxStsNoErr);
    EXPECT_TRUE(MatchesModel(f, src, before, dst, fr, value)) << sw << "x" << sh;
  };
  for (int sw : {31, 32, 33, 100, 257}) {
    one(mirror, Nyx8u{}, sw, 2, {1, 45, 70, 2});
    one(mirror16, Nyx16u{}, sw, 2, {0, 19, 40, 1});
    one(wrap, Nyx32f{}, sw, 2, {2, 33, 9, 0});
    one(repl, Nyx16s{}, sw, 2, {1, 17, 40, 1});
    one(konst, Nyx8u{}, sw, 2, {1, 40, 35, 1});
  }
  // Borders hundreds of times wider than a tiny source.
  for (int sw : {1, 2, 3, 5}) {
    one(mirror, Nyx8u{}, sw, 3, {20, 700, 333, 41});
    one(wrap, Nyx32f{}, sw, 3, {9, 513, 300, 17});
    one(mirror16, Nyx16u{}, sw, 2, {3, 250, 251, 6});
  }
}

// ---------------------------------------------------------------------------
// Side strips of every width from 0 to 40 next to a source wide enough that
// each strip is one run of the map, on every pixel size from 1 to 16 bytes:
// the strips are written in vector blocks with a last block that ends at the
// strip's end, and fills in pieces of 32, 16, 8, 4, 2 and 1 bytes.

template <class T>
void CheckStrips(const Form<T>& f) {
  std::mt19937 rng(77u + static_cast<unsigned>(f.mode) * 5u + f.channels);
  for (int left = 0; left <= 40; ++left) {
    const int right = (left * 7 + 3) % 41;
    CheckFrame(f, 70, 3, {2, left, right, 1}, rng);
    if (::testing::Test::HasFatalFailure()) return;
  }
}

#define NYX_VA_CONST(D) , NYX_TV_##D
#define NYX_VA_NONE(D)
#define NYX_STRIP_CASE(Op, MODE, VAM, T, D) \
  FormCase{#Op "_" #T "_" #D, [] { CheckStrips(NYX_MAKE_FORM(Op, MODE, T, D, VAM(D))); }},
#define NYX_STRIP_CASES(Op, MODE, VAM)    \
  NYX_STRIP_CASE(Op, MODE, VAM, 8u, C1)   \
  NYX_STRIP_CASE(Op, MODE, VAM, 16u, C1)  \
  NYX_STRIP_CASE(Op, MODE, VAM, 8u, C3)   \
  NYX_STRIP_CASE(Op, MODE, VAM, 32f, C1)  \
  NYX_STRIP_CASE(Op, MODE, VAM, 16s, C3)  \
  NYX_STRIP_CASE(Op, MODE, VAM, 16u, C4)  \
  NYX_STRIP_CASE(Op, MODE, VAM, 32s, C3)  \
  NYX_STRIP_CASE(Op, MODE, VAM, 32f, C4)

TEST(CopyBorderStrips, EveryWidthOnEveryPixelSize) {
  RunAll({NYX_STRIP_CASES(CopyConstBorder, BorderMode::kConst, NYX_VA_CONST)
              NYX_STRIP_CASES(CopyReplicateBorder, BorderMode::kRepl, NYX_VA_NONE)
                  NYX_STRIP_CASES(CopyMirrorBorder, BorderMode::kMirror, NYX_VA_NONE)});
  std::mt19937 rng(3);
  // Wrap strips copy the far end of the row.
  for (int left = 0; left <= 40; ++left) {
    CheckFrame(NYX_MAKE_FORM(CopyWrapBorder, BorderMode::kWrap, 32f, C1), 70, 3,
               {1, left, 40 - left, 2}, rng);
    if (HasFatalFailure()) return;
  }
}

// Rows above and below are made as soon as the rows they copy are, when the
// source lies apart from the destination; an R form whose source already
// stands at its place inside the destination (the pointers differ) keeps the
// order rows, then frame rows, and gives the model's result.
TEST(CopyBorderOrder, SourceInsideDestinationThroughR) {
  std::mt19937 rng(21);
  const int sw = 37, sh = 20;
  const Frame fr{17, 5, 9, 18};
  const int dw = fr.left + sw + fr.right, dh = fr.top + sh + fr.bottom;
  const Form<Nyx8u> forms[] = {
      NYX_MAKE_FORM(CopyConstBorder, BorderMode::kConst, 8u, C3, NYX_VA_CONST(C3)),
      NYX_MAKE_FORM(CopyReplicateBorder, BorderMode::kRepl, 8u, C3),
      NYX_MAKE_FORM(CopyMirrorBorder, BorderMode::kMirror, 8u, C3)};
  for (const Form<Nyx8u>& f : forms) {
    PaddedImage<Nyx8u> src = MakeImage<Nyx8u>(sw, sh, 3);
    src.FillRandom(rng);
    PaddedImage<Nyx8u> dst = MakeImage<Nyx8u>(dw, dh, 3);
    for (int y = 0; y < sh; ++y) {
      std::memcpy(&dst.at(fr.left, y + fr.top), src.row(y), 3 * sw);
    }
    const PaddedImage<Nyx8u> before = dst;
    const Nyx8u value[3] = {9, 8, 7};
    ASSERT_EQ(f.r(&dst.at(fr.left, fr.top), dst.step(), {sw, sh}, dst.roi(), dst.step(), {dw, dh},
                  fr.top, fr.left, value),
              nyxStsNoErr);
    EXPECT_TRUE(MatchesModel(f, src, before, dst, fr, value)) << static_cast<int>(f.mode);
  }
}

// ---------------------------------------------------------------------------
// Order of the tests, and nothing written on failure.

TEST(CopyBorderStatus, ReplicateAndMirrorOrder) {
  PaddedImage<Nyx8u> src = MakeImage<Nyx8u>(4, 3, 1), dst = MakeImage<Nyx8u>(8, 6, 1);
  const auto snap = dst.Snapshot();
  Nyx8u* s = src.roi();
  Nyx8u* d = dst.roi();
  const int ss = src.step(), ds = dst.step();
  using Fn = NyxStatus (*)(const Nyx8u*, int, NyxiSize, Nyx8u*, int, NyxiSize, int, int);
  for (Fn fn : {&nyxiCopyReplicateBorder_8u_C1R, &nyxiCopyMirrorBorder_8u_C1R}) {
    ExpectStatuses({
        {"null src before step",
         [&] {
           return fn(nullptr, 0, {4, 3}, d, ds, {8, 6}, 1, 1);
         },
         nyxStsNullPtrErr},
        {"null dst",
         [&] {
           return fn(s, ss, {4, 3}, nullptr, ds, {8, 6}, 1, 1);
         },
         nyxStsNullPtrErr},
        {"src step 0 before size",
         [&] {
           return fn(s, 0, {0, 3}, d, ds, {8, 6}, 1, 1);
         },
         nyxStsStepErr},
        {"dst step -1",
         [&] {
           return fn(s, ss, {4, 3}, d, -1, {8, 6}, 1, 1);
         },
         nyxStsStepErr},
        {"src width 0 before top",
         [&] {
           return fn(s, ss, {0, 3}, d, ds, {8, 6}, -1, 1);
         },
         nyxStsSizeErr},
        {"dst height 0",
         [&] {
           return fn(s, ss, {4, 3}, d, ds, {8, 0}, 1, 1);
         },
         nyxStsSizeErr},
        {"top -1",
         [&] {
           return fn(s, ss, {4, 3}, d, ds, {8, 6}, -1, 1);
         },
         nyxStsSizeErr},
        {"left -1",
         [&] {
           return fn(s, ss, {4, 3}, d, ds, {8, 6}, 1, -1);
         },
         nyxStsSizeErr},
        {"too wide",
         [&] {
           return fn(s, ss, {4, 3}, d, ds, {8, 6}, 1, 5);
         },
         nyxStsSizeErr},
        {"too high",
         [&] {
           return fn(s, ss, {4, 3}, d, ds, {8, 6}, 4, 1);
         },
         nyxStsSizeErr},
        {"left so large the sum wraps",
         [&] {
           return fn(s, ss, {4, 3}, d, ds, {8, 6}, 1, INT_MAX);
         },
         nyxStsSizeErr},
        {"equal null pointers",
         [&] {
           return fn(nullptr, 1, {4, 3}, nullptr, ds, {8, 6}, 1, 1);
         },
         nyxStsNullPtrErr},
        // Equal pointers go in place first: the in-place step test sees
        // dstStep.
        {"equal pointers, dst step 0",
         [&] {
           return fn(d, ss, {4, 3}, d, 0, {8, 6}, 1, 1);
         },
         nyxStsStepErr},
    });
    EXPECT_TRUE(dst.SameAs(snap));
  }
  // The exact fit is accepted: no right and no bottom border.
  EXPECT_EQ(nyxiCopyReplicateBorder_8u_C1R(s, ss, {4, 3}, d, ds, {8, 6}, 3, 4), nyxStsNoErr);
}

TEST(CopyBorderStatus, WrapAndConstOrder) {
  PaddedImage<Nyx32s> src = MakeImage<Nyx32s>(4, 3, 1), dst = MakeImage<Nyx32s>(8, 6, 1);
  PaddedImage<Nyx8u> src3 = MakeImage<Nyx8u>(4, 3, 3), dst3 = MakeImage<Nyx8u>(8, 6, 3);
  const auto snap = dst.Snapshot(), snap3 = dst3.Snapshot();
  Nyx32s* s = src.roi();
  Nyx32s* d = dst.roi();
  Nyx8u* s3 = src3.roi();
  Nyx8u* d3 = dst3.roi();
  const int ss = src.step(), ds = dst.step(), ss3 = src3.step(), ds3 = dst3.step();
  const Nyx8u v3[3] = {1, 2, 3};
  ExpectStatuses({
      // Wrap tests before it looks at equal pointers, with both steps.
      {"wrap equal pointers, src step -5",
       [&] {
         return nyxiCopyWrapBorder_32s_C1R(d, -5, {4, 3}, d, ds, {8, 6}, 1, 1);
       },
       nyxStsStepErr},
      {"wrap equal pointers, too wide",
       [&] {
         return nyxiCopyWrapBorder_32s_C1R(d, ds, {4, 3}, d, ds, {8, 6}, 1, 5);
       },
       nyxStsSizeErr},
      {"wrap null",
       [&] {
         return nyxiCopyWrapBorder_32s_C1R(s, 0, {0, 3}, nullptr, ds, {8, 6}, 1, 1);
       },
       nyxStsNullPtrErr},
      {"wrap IR step",
       [&] {
         return nyxiCopyWrapBorder_32s_C1IR(d, 0, {4, 3}, {8, 6}, 1, 1);
       },
       nyxStsStepErr},
      {"wrap IR_L null",
       [&] {
         return nyxiCopyWrapBorder_32s_C1IR_L(nullptr, 0, {4, 3}, {8, 6}, 1, 1);
       },
       nyxStsNullPtrErr},
      // Const never goes in place: equal pointers with a bad src step fail.
      {"const equal pointers, src step -5",
       [&] {
         return nyxiCopyConstBorder_32s_C1R(d, -5, {4, 3}, d, ds, {8, 6}, 1, 1, 7);
       },
       nyxStsStepErr},
      // The value pointer comes last in R, with the pointers in IR.
      {"const C3 null value after size",
       [&] {
         return nyxiCopyConstBorder_8u_C3R(s3, ss3, {4, 3}, d3, ds3, {8, 6}, 9, 1, nullptr);
       },
       nyxStsSizeErr},
      {"const C3 null value after steps",
       [&] {
         return nyxiCopyConstBorder_8u_C3R(s3, 0, {4, 3}, d3, ds3, {8, 6}, 1, 1, nullptr);
       },
       nyxStsStepErr},
      {"const C3 null value",
       [&] {
         return nyxiCopyConstBorder_8u_C3R(s3, ss3, {4, 3}, d3, ds3, {8, 6}, 1, 1, nullptr);
       },
       nyxStsNullPtrErr},
      {"const AC4_L null value",
       [&] {
         return nyxiCopyConstBorder_8u_AC4R_L(s3, ss3, {1, 3}, d3, ds3, {2, 6}, 1, 1, nullptr);
       },
       nyxStsNullPtrErr},
      {"const C3 IR null value before step",
       [&] {
         return nyxiCopyConstBorder_8u_C3IR(d3, 0, {4, 3}, {8, 6}, 1, 1, nullptr);
       },
       nyxStsNullPtrErr},
      {"const C4 IR_L null value before size",
       [&] {
         return nyxiCopyConstBorder_8u_C4IR_L(d3, ds3, {0, 3}, {8, 6}, 1, 1, nullptr);
       },
       nyxStsNullPtrErr},
      {"const C3 IR size",
       [&] {
         return nyxiCopyConstBorder_8u_C3IR(d3, ds3, {4, 3}, {8, 6}, -1, 1, v3);
       },
       nyxStsSizeErr},
      {"const C1 R_L too high",
       [&] {
         return nyxiCopyConstBorder_32s_C1R_L(s, ss, {4, 3}, d, ds, {8, 6}, 4, 0, 1);
       },
       nyxStsSizeErr},
      {"const C1 R_L huge left",
       [&] {
         return nyxiCopyConstBorder_32s_C1R_L(s, ss, {4, 3}, d, ds, {8, 6}, 0, INT64_MAX, 1);
       },
       nyxStsSizeErr},
  });
  EXPECT_TRUE(dst.SameAs(snap));
  EXPECT_TRUE(dst3.SameAs(snap3));
}

// Equal pointers: Replicate, Mirror and Wrap run the in-place form with
// dstStep, so the frame lies before pDst; Const copies from the pointer.
TEST(CopyBorderEqualPointers, InPlaceRoutes) {
  std::mt19937 rng(5);
  const int sw = 5, sh = 4, top = 2, left = 3, dw = 11, dh = 9;
  using R = NyxStatus (*)(const Nyx32s*, int, NyxiSize, Nyx32s*, int, NyxiSize, int, int);
  using IR = NyxStatus (*)(Nyx32s*, int, NyxiSize, NyxiSize, int, int);
  const std::pair<R, IR> pairs[] = {
      {&nyxiCopyReplicateBorder_32s_C1R, &nyxiCopyReplicateBorder_32s_C1IR},
      {&nyxiCopyMirrorBorder_32s_C1R, &nyxiCopyMirrorBorder_32s_C1IR},
      {&nyxiCopyWrapBorder_32s_C1R, &nyxiCopyWrapBorder_32s_C1IR}};
  for (const auto& [r, ir] : pairs) {
    PaddedImage<Nyx32s> a = MakeImage<Nyx32s>(dw, dh, 1);
    for (int y = 0; y < sh; ++y) {
      for (int x = 0; x < sw; ++x) a.at(left + x, top + y) = static_cast<Nyx32s>(rng());
    }
    PaddedImage<Nyx32s> b = a;
    // The R form's own srcStep is a valid but different value: it must be
    // ignored (Wrap tests it, so it must be valid).
    Nyx32s* pa = &a.at(left, top);
    ASSERT_EQ(r(pa, a.step() + 4, {sw, sh}, pa, a.step(), {dw, dh}, top, left), nyxStsNoErr);
    ASSERT_EQ(ir(&b.at(left, top), b.step(), {sw, sh}, {dw, dh}, top, left), nyxStsNoErr);
    EXPECT_TRUE(a.SameAs(b.Snapshot()));
    EXPECT_NE(a.at(0, 0),
              static_cast<Nyx32s>(0xA5A5A5A5));  // the frame before pDst is made
  }
  // Const with equal pointers: the destination starts at the pointer given.
  PaddedImage<Nyx32s> c = MakeImage<Nyx32s>(dw, dh, 1);
  for (int y = 0; y < sh; ++y) {
    for (int x = 0; x < sw; ++x) c.at(x, y) = x + 10 * y;
  }
  ASSERT_EQ(nyxiCopyConstBorder_32s_C1R(c.roi(), c.step(), {sw, sh}, c.roi(), c.step(), {dw, dh}, 0,
                                        0, -7),
            nyxStsNoErr);
  for (int y = 0; y < dh; ++y) {
    for (int x = 0; x < dw; ++x) {
      EXPECT_EQ(c.at(x, y), x < sw && y < sh ? x + 10 * y : -7) << x << "," << y;
    }
  }
  EXPECT_TRUE(c.OutsideIntact());
  // With a frame, the source is overwritten as the call goes, but the frame
  // is still made from the pointer given, and nothing before it is touched.
  PaddedImage<Nyx32s> e = MakeImage<Nyx32s>(dw, dh, 1);
  ASSERT_EQ(nyxiCopyConstBorder_32s_C1R(e.roi(), e.step(), {sw, sh}, e.roi(), e.step(), {dw, dh}, 1,
                                        2, -7),
            nyxStsNoErr);
  for (int y = 0; y < dh; ++y) {
    for (int x = 0; x < dw; ++x) {
      if (y < 1 || y >= 1 + sh || x < 2 || x >= 2 + sw) {
        EXPECT_EQ(e.at(x, y), -7) << x << "," << y;
      }
    }
  }
  EXPECT_TRUE(e.OutsideIntact());
}

// All borders zero is a plain copy.
TEST(CopyBorderEdges, ZeroBordersArePlainCopy) {
  std::mt19937 rng(8);
  PaddedImage<Nyx16u> src = MakeImage<Nyx16u>(6, 5, 3);
  src.FillRandom(rng);
  PaddedImage<Nyx16u> dst = MakeImage<Nyx16u>(6, 5, 3);
  ASSERT_EQ(nyxiCopyMirrorBorder_16u_C3R(src.roi(), src.step(), {6, 5}, dst.roi(), dst.step(),
                                         {6, 5}, 0, 0),
            nyxStsNoErr);
  for (int y = 0; y < 5; ++y) EXPECT_EQ(std::memcmp(src.row(y), dst.row(y), 6 * 3 * 2), 0);
  EXPECT_TRUE(dst.OutsideIntact());
}

// _L strides past 2^31: rows far apart in a sparse mapping.
TEST(CopyBorderWide, StridesBeyond32Bits) {
  const int64_t step = (int64_t{1} << 31) + 64;
  SparseRegion region(static_cast<size_t>(step * 4 + 4096));
  if (region.data() == nullptr) GTEST_SKIP() << "no room for a sparse mapping";
  Nyx32f* dst = reinterpret_cast<Nyx32f*>(region.data());
  const Nyx32f src[2][3] = {{1, 2, 3}, {4, 5, 6}};
  ASSERT_EQ(nyxiCopyMirrorBorder_32f_C1R_L(&src[0][0], 12, {3, 2}, dst, step, {6, 4}, 1, 2),
            nyxStsNoErr);
  // Rows map to source rows 1 0 1 0, columns to 2 1 0 1 2 1.
  const int rows[] = {1, 0, 1, 0}, cols[] = {2, 1, 0, 1, 2, 1};
  for (int y = 0; y < 4; ++y) {
    const Nyx32f* row = reinterpret_cast<const Nyx32f*>(region.data() + step * y);
    for (int x = 0; x < 6; ++x) EXPECT_EQ(row[x], src[rows[y]][cols[x]]) << x << "," << y;
  }
}

}  // namespace
}  // namespace nyx::test
