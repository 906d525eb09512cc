// Channel moves: SwapChannels, Dup, the planar copies, the channel copies and
// the masked copy, each against a per-sample model. Widths run from 1 past
// several vector rounds so that both the shuffle rounds and the pixel tail
// are checked, and images end at guard pages.
#include <memory>

#include "exchange/copy_forms.h"
#include "tests/exchange/copy_util.h"

namespace nyx::test {
namespace {

const int kWidths[] = {1, 2, 5, 15, 16, 17, 31, 32, 33, 47, 64, 70, 129};

template <class T>
using SwapFn = NyxStatus (*)(const T*, int, T*, int, NyxiSize, const int*);
template <class T>
using SwapFillFn = NyxStatus (*)(const T*, int, T*, int, NyxiSize, const int*, T);

// in_ch -> out_ch with order; an order entry >= in_ch takes `fill` (C3C4),
// keep_alpha leaves channel 3 (AC4).
template <class T>
void CheckSwap(int in_ch, int out_ch, bool keep_alpha, const int* order,
               const std::function<NyxStatus(const T*, int, T*, int, NyxiSize)>& call, T fill,
               const char* name) {
  SCOPED_TRACE(name);
  for (int w : kWidths) {
    for (int h : {1, 3}) {
      PaddedImage<T> src = RandomImage<T>(w, h, in_ch);
      PaddedImage<T> dst = RandomImage<T>(w, h, out_ch, 1, 7);
      const PaddedImage<T> before = dst;
      ASSERT_EQ(call(src.roi(), src.step(), dst.roi(), dst.step(), {w, h}), nyxStsNoErr);
      ExpectImage(
          dst,
          [&](int x, int y, int c) {
            if (keep_alpha && c == 3) return before.at(x, y, c);
            return order[c] >= in_ch ? fill : src.at(x, y, order[c]);
          },
          name);
    }
  }
}

template <class T>
void CheckSwapForms(SwapFn<T> c3, SwapFn<T> c4, SwapFn<T> ac4, SwapFillFn<T> c3c4, SwapFn<T> c4c3,
                    const char* name) {
  SCOPED_TRACE(name);
  const int o3[3] = {2, 0, 1}, o4[4] = {3, 1, 0, 2}, o34[4] = {7, 2, 0, 1}, o43[3] = {3, 0, 2};
  using std::placeholders::_1;
  auto bind = [](SwapFn<T> f, const int* o) {
    return [f, o](const T* s, int ss, T* d, int ds, NyxiSize r) { return f(s, ss, d, ds, r, o); };
  };
  const T fill = PaddedImage<T>::RandomSample(Rng());
  CheckSwap<T>(3, 3, false, o3, bind(c3, o3), fill, "C3");
  CheckSwap<T>(4, 4, false, o4, bind(c4, o4), fill, "C4");
  CheckSwap<T>(4, 4, true, o3, bind(ac4, o3), fill, "AC4");
  CheckSwap<T>(4, 3, false, o43, bind(c4c3, o43), fill, "C4C3");
  CheckSwap<T>(
      3, 4, false, o34,
      [&](const T* s, int ss, T* d, int ds, NyxiSize r) {
        return c3c4(s, ss, d, ds, r, o34, fill);
      },
      fill, "C3C4");
}

TEST(SwapChannels, EveryFormAgainstTheModel) {
#define CHECK_TYPE(T)                                                               \
  CheckSwapForms<Nyx##T>(nyxiSwapChannels_##T##_C3R, nyxiSwapChannels_##T##_C4R,    \
                         nyxiSwapChannels_##T##_AC4R, nyxiSwapChannels_##T##_C3C4R, \
                         nyxiSwapChannels_##T##_C4C3R, #T);
  NYX_COPY_TYPES(CHECK_TYPE)
#undef CHECK_TYPE
}

TEST(SwapChannels, InPlaceReadsEveryPixelBeforeWriting) {
  for (int w : kWidths) {
    PaddedImage<Nyx8u> img = RandomImage<Nyx8u>(w, 3, 3);
    const PaddedImage<Nyx8u> orig = img;
    const int order[3] = {2, 1, 0};
    ASSERT_EQ(nyxiSwapChannels_8u_C3R(img.roi(), img.step(), img.roi(), img.step(), {w, 3}, order),
              nyxStsNoErr);
    ExpectImage(
        img, [&](int x, int y, int c) { return orig.at(x, y, 2 - c); }, "C3R same pointer");
    ASSERT_EQ(nyxiSwapChannels_8u_C3IR(img.roi(), img.step(), {w, 3}, order), nyxStsNoErr);
    ExpectImage(
        img, [&](int x, int y, int c) { return orig.at(x, y, c); }, "C3IR back");
    PaddedImage<Nyx8u> img4 = RandomImage<Nyx8u>(w, 2, 4);
    const PaddedImage<Nyx8u> orig4 = img4;
    const int order4[4] = {1, 2, 3, 0};
    ASSERT_EQ(nyxiSwapChannels_8u_C4IR(img4.roi(), img4.step(), {w, 2}, order4), nyxStsNoErr);
    ExpectImage(
        img4, [&](int x, int y, int c) { return orig4.at(x, y, (c + 1) % 4); }, "C4IR");
  }
}

TEST(SwapChannels, ContiguousRowsAndGuardPages) {
  for (int w : {1, 10, 11, 32, 43}) {
    GuardedImage<Nyx8u> src(w, 4, 3), dst(w, 4, 3);  // packed rows: one merged run
    const int order[3] = {1, 2, 0};
    ASSERT_EQ(nyxiSwapChannels_8u_C3R(src.roi(), src.step, dst.roi(), dst.step, {w, 4}, order),
              nyxStsNoErr);
    for (int y = 0; y < 4; ++y) {
      for (int x = 0; x < w; ++x) {
        for (int c = 0; c < 3; ++c) ASSERT_EQ(dst.at(x, y, c), src.at(x, y, order[c]));
      }
    }
    GuardedImage<Nyx16u> s4(w, 2, 4, 6), d3(w, 2, 3, 2);
    const int o43[3] = {3, 2, 1};
    ASSERT_EQ(nyxiSwapChannels_16u_C4C3R(s4.roi(), s4.step, d3.roi(), d3.step, {w, 2}, o43),
              nyxStsNoErr);
    for (int x = 0; x < w; ++x) ASSERT_EQ(d3.at(x, 1, 0), s4.at(x, 1, 3));
  }
}

TEST(SwapChannels, OrderOfTests) {
  Nyx8u a[256] = {}, b[256] = {};
  const int ok3[3] = {2, 1, 0}, bad3[3] = {0, 3, 1}, neg3[3] = {0, -1, 1};
  const int ok4[4] = {3, 2, 1, 0}, bad4[4] = {0, 1, 2, 4}, fill4[4] = {0, 1, 2, 99},
            neg4[4] = {-1, 0, 1, 2};
  ExpectStatuses({
      {"null order",
       [&] {
         return nyxiSwapChannels_8u_C3R(a, 12, b, 12, {0, 1}, nullptr);
       },
       nyxStsNullPtrErr},
      {"size before stride",
       [&] {
         return nyxiSwapChannels_8u_C3R(a, 0, b, 12, {0, 1}, bad3);
       },
       nyxStsSizeErr},
      {"zero stride",
       [&] {
         return nyxiSwapChannels_8u_C3R(a, 0, b, 12, {4, 1}, bad3);
       },
       nyxStsStepErr},
      {"zero stride in place",
       [&] {
         return nyxiSwapChannels_8u_C4IR(a, 0, {4, 1}, ok4);
       },
       nyxStsStepErr},
      {"stride -12",
       [&] {
         return nyxiSwapChannels_8u_C3R(a + 48, -12, b + 48, -12, {4, 4}, ok3);
       },
       nyxStsNoErr},
      {"index 3 at C3",
       [&] {
         return nyxiSwapChannels_8u_C3R(a, 12, b, 12, {4, 1}, bad3);
       },
       nyxStsChannelOrderErr},
      {"negative index at C3",
       [&] {
         return nyxiSwapChannels_16s_C3R(reinterpret_cast<Nyx16s*>(a), 24,
                                         reinterpret_cast<Nyx16s*>(b), 24, {4, 1}, neg3);
       },
       nyxStsChannelOrderErr},
      {"index 3 at AC4",
       [&] {
         return nyxiSwapChannels_8u_AC4R(a, 16, b, 16, {4, 1}, bad3);
       },
       nyxStsChannelOrderErr},
      {"index 4 at C4",
       [&] {
         return nyxiSwapChannels_8u_C4R(a, 16, b, 16, {4, 1}, bad4);
       },
       nyxStsChannelOrderErr},
      {"index 3 at C4C3",
       [&] {
         return nyxiSwapChannels_8u_C4C3R(a, 16, b, 12, {4, 1}, ok4);
       },
       nyxStsNoErr},
      {"index 99 at C3C4 is the fill",
       [&] {
         return nyxiSwapChannels_8u_C3C4R(a, 12, b, 16, {4, 1}, fill4, 5);
       },
       nyxStsNoErr},
      {"negative at C3C4",
       [&] {
         return nyxiSwapChannels_8u_C3C4R(a, 12, b, 16, {4, 1}, neg4, 5);
       },
       nyxStsChannelOrderErr},
  });
}

// --- Dup, channel copies, planar copies, masked copies ----------------------

TEST(Dup, EverySampleToEveryChannel) {
  for (int w : kWidths) {
    PaddedImage<Nyx8u> src = RandomImage<Nyx8u>(w, 3, 1);
    PaddedImage<Nyx8u> d3 = RandomImage<Nyx8u>(w, 3, 3), d4 = RandomImage<Nyx8u>(w, 3, 4);
    ASSERT_EQ(nyxiDup_8u_C1C3R(src.roi(), src.step(), d3.roi(), d3.step(), {w, 3}), nyxStsNoErr);
    ASSERT_EQ(nyxiDup_8u_C1C4R(src.roi(), src.step(), d4.roi(), d4.step(), {w, 3}), nyxStsNoErr);
    ExpectImage(
        d3, [&](int x, int y, int) { return src.at(x, y); }, "C1C3");
    ExpectImage(
        d4, [&](int x, int y, int) { return src.at(x, y); }, "C1C4");
  }
  Nyx8u a[8] = {};
  ExpectStatuses({{"null",
                   [&] {
                     return nyxiDup_8u_C1C3R(nullptr, 1, a, 3, {0, 1});
                   },
                   nyxStsNullPtrErr},
                  {"size",
                   [&] {
                     return nyxiDup_8u_C1C4R(a, 1, a, 3, {1, 0});
                   },
                   nyxStsSizeErr}});
}

// kIn-channel source, kOut-channel destination; `move` samples from source
// channel sc onwards go to destination channel dc onwards.
template <class T>
void CheckChannelCopy(NyxStatus (*fn)(const T*, int, T*, int, NyxiSize), int in_ch, int out_ch,
                      int sc, int dc, int move, const char* name) {
  SCOPED_TRACE(name);
  for (int w : {1, 9, 40}) {
    PaddedImage<T> src = RandomImage<T>(w, 3, in_ch);
    PaddedImage<T> dst = RandomImage<T>(w, 3, out_ch);
    const PaddedImage<T> before = dst;
    ASSERT_EQ(fn(src.roi() + sc, src.step(), dst.roi() + dc, dst.step(), {w, 3}), nyxStsNoErr);
    ExpectImage(
        dst,
        [&](int x, int y, int c) {
          return c >= dc && c < dc + move ? src.at(x, y, sc + c - dc) : before.at(x, y, c);
        },
        name);
  }
}

TEST(CopyChannels, EveryChannelForm) {
#define CHECK_TYPE(T)                                                          \
  CheckChannelCopy<Nyx##T>(nyxiCopy_##T##_C3C1R, 3, 1, 1, 0, 1, #T " C3C1");   \
  CheckChannelCopy<Nyx##T>(nyxiCopy_##T##_C4C1R, 4, 1, 3, 0, 1, #T " C4C1");   \
  CheckChannelCopy<Nyx##T>(nyxiCopy_##T##_C1C3R, 1, 3, 0, 2, 1, #T " C1C3");   \
  CheckChannelCopy<Nyx##T>(nyxiCopy_##T##_C1C4R, 1, 4, 0, 1, 1, #T " C1C4");   \
  CheckChannelCopy<Nyx##T>(nyxiCopy_##T##_C3CR, 3, 3, 2, 2, 1, #T " C3CR");    \
  CheckChannelCopy<Nyx##T>(nyxiCopy_##T##_C4CR, 4, 4, 3, 3, 1, #T " C4CR");    \
  CheckChannelCopy<Nyx##T>(nyxiCopy_##T##_C3AC4R, 3, 4, 0, 0, 3, #T " C3AC4"); \
  CheckChannelCopy<Nyx##T>(nyxiCopy_##T##_AC4C3R, 4, 3, 0, 0, 3, #T " AC4C3");
  NYX_COPY_TYPES(CHECK_TYPE)
#undef CHECK_TYPE
}

template <class T, int N>
void CheckPlanar(NyxStatus (*to)(const T*, int, T* const*, int, NyxiSize),
                 NyxStatus (*from)(const T* const*, int, T*, int, NyxiSize), const char* name) {
  SCOPED_TRACE(name);
  for (int w : kWidths) {
    const int h = 3;
    PaddedImage<T> src = RandomImage<T>(w, h, N);
    std::vector<PaddedImage<T>> planes;
    for (int c = 0; c < N; ++c) planes.push_back(RandomImage<T>(w, h, 1, 2, 11));
    T* pp[N];
    for (int c = 0; c < N; ++c) pp[c] = planes[c].roi();
    ASSERT_EQ(to(src.roi(), src.step(), pp, planes[0].step(), {w, h}), nyxStsNoErr);
    for (int c = 0; c < N; ++c) {
      ExpectImage(
          planes[c], [&](int x, int y, int) { return src.at(x, y, c); }, "to planes");
    }
    PaddedImage<T> back = RandomImage<T>(w, h, N, 1, 0);
    const T* cp[N];
    for (int c = 0; c < N; ++c) cp[c] = planes[c].roi();
    ASSERT_EQ(from(cp, planes[0].step(), back.roi(), back.step(), {w, h}), nyxStsNoErr);
    ExpectImage(
        back, [&](int x, int y, int c) { return src.at(x, y, c); }, "from planes");
  }
  // Null tests: the array and the image, then each plane in order, then size.
  T a[64] = {};
  T* with_null[4] = {a, a, nullptr, a};
  const T* cwith_null[4] = {a, nullptr, a, a};
  ExpectStatuses({
      {"null array",
       [&] {
         return to(a, 16, nullptr, 16, {0, 0});
       },
       nyxStsNullPtrErr},
      {"null plane",
       [&] {
         return to(a, 16, with_null, 16, {0, 0});
       },
       nyxStsNullPtrErr},
      {"null plane back",
       [&] {
         return from(cwith_null, 16, a, 16, {0, 0});
       },
       nyxStsNullPtrErr},
      {"null image",
       [&] {
         return from(cwith_null, 16, nullptr, 16, {1, 1});
       },
       nyxStsNullPtrErr},
  });
}

TEST(CopyPlanar, ToPlanesAndBack) {
#define CHECK_TYPE(T)                                                          \
  CheckPlanar<Nyx##T, 3>(nyxiCopy_##T##_C3P3R, nyxiCopy_##T##_P3C3R, #T " 3"); \
  CheckPlanar<Nyx##T, 4>(nyxiCopy_##T##_C4P4R, nyxiCopy_##T##_P4C4R, #T " 4");
  NYX_COPY_TYPES(CHECK_TYPE)
#undef CHECK_TYPE
}

// Rows long enough for many rounds, each plane and the interleaved image
// ending at a guard page: the rounds fetch lines ahead of the data (past the
// end of the last row too), and must neither fault nor touch a byte beyond
// the ROI. Without gaps between rows the rows run as one.
template <class T, int N>
void CheckPlanarGuarded(NyxStatus (*to)(const T*, int, T* const*, int, NyxiSize),
                        NyxStatus (*from)(const T* const*, int, T*, int, NyxiSize)) {
  for (const auto& [w, gap] : {std::pair{1925, 7}, std::pair{4099, 5}, std::pair{1925, 0},
                              std::pair{37, 0}}) {
    const int h = 3;
    GuardedImage<T> src(w, h, N, gap * sizeof(T)), back(w, h, N, gap * sizeof(T));
    std::unique_ptr<GuardedImage<T>> planes[N];
    T* pp[N];
    const T* cp[N];
    for (int c = 0; c < N; ++c) {
      planes[c] = std::make_unique<GuardedImage<T>>(w, h, 1, gap ? 5 * sizeof(T) : 0);
      cp[c] = pp[c] = planes[c]->roi();
    }
    const int plane_step = planes[0]->step;
    ASSERT_EQ(to(src.roi(), src.step, pp, plane_step, {w, h}), nyxStsNoErr);
    ASSERT_EQ(from(cp, plane_step, back.roi(), back.step, {w, h}), nyxStsNoErr);
    for (int y = 0; y < h; ++y) {
      for (int x = 0; x < w; ++x) {
        for (int c = 0; c < N; ++c) {
          ASSERT_TRUE(SameBits(planes[c]->at(x, y), src.at(x, y, c))) << w << " " << x << "," << y;
          ASSERT_TRUE(SameBits(back.at(x, y, c), src.at(x, y, c))) << w << " " << x << "," << y;
        }
      }
    }
  }
}

TEST(CopyPlanar, LongRowsEndingAtGuardPages) {
  CheckPlanarGuarded<Nyx8u, 3>(nyxiCopy_8u_C3P3R, nyxiCopy_8u_P3C3R);
  CheckPlanarGuarded<Nyx8u, 4>(nyxiCopy_8u_C4P4R, nyxiCopy_8u_P4C4R);
  CheckPlanarGuarded<Nyx16u, 3>(nyxiCopy_16u_C3P3R, nyxiCopy_16u_P3C3R);
  CheckPlanarGuarded<Nyx32f, 4>(nyxiCopy_32f_C4P4R, nyxiCopy_32f_P4C4R);
}

template <class T>
void CheckMasked(NyxStatus (*fn)(const T*, int, T*, int, NyxiSize, const Nyx8u*, int), int ch,
                 bool alpha, const char* name) {
  SCOPED_TRACE(name);
  for (NyxiSize sz : {NyxiSize{1, 1}, NyxiSize{6, 2}, NyxiSize{35, 4}}) {
    for (int zero_mask = 0; zero_mask < 2; ++zero_mask) {
      PaddedImage<T> src = RandomImage<T>(sz.width, sz.height, ch);
      PaddedImage<T> dst = RandomImage<T>(sz.width, sz.height, ch);
      PaddedImage<Nyx8u> mask(sz.width, sz.height, 1);
      mask.Fill([&](int, int, int) { return zero_mask ? 0 : (Rng()() % 2) * (1 + Rng()() % 255); });
      const auto snap = dst.Snapshot();
      const PaddedImage<T> before = dst;
      ASSERT_EQ(fn(src.roi(), src.step(), dst.roi(), dst.step(), sz, mask.roi(), mask.step()),
                nyxStsNoErr);
      if (zero_mask) {
        EXPECT_TRUE(dst.SameAs(snap)) << "a zero mask changed the destination";
      }
      ExpectImage(
          dst,
          [&](int x, int y, int c) {
            return mask.at(x, y) && !(alpha && c == 3) ? src.at(x, y, c) : before.at(x, y, c);
          },
          name);
    }
  }
  // Packed images below 32768 a side run as one row.
  std::vector<T> s(50 * ch * 3), d(50 * ch * 3);
  std::vector<Nyx8u> m(150);
  for (size_t i = 0; i < s.size(); ++i) s[i] = static_cast<T>(i % 100 + 1);
  for (size_t i = 0; i < m.size(); ++i) m[i] = i % 3 == 0;
  const int row = static_cast<int>(50 * ch * sizeof(T));
  ASSERT_EQ(fn(s.data(), row, d.data(), row, {50, 3}, m.data(), 50), nyxStsNoErr);
  for (size_t i = 0; i < d.size(); ++i) {
    const bool set = m[i / ch] && !(alpha && i % 4 == 3);
    ASSERT_EQ(d[i], set ? s[i] : T(0)) << i;
  }
}

TEST(CopyMasked, EveryMaskedForm) {
#define CHECK_TYPE(T)                                             \
  CheckMasked<Nyx##T>(nyxiCopy_##T##_C1MR, 1, false, #T " C1MR"); \
  CheckMasked<Nyx##T>(nyxiCopy_##T##_C3MR, 3, false, #T " C3MR"); \
  CheckMasked<Nyx##T>(nyxiCopy_##T##_C4MR, 4, false, #T " C4MR"); \
  CheckMasked<Nyx##T>(nyxiCopy_##T##_AC4MR, 4, true, #T " AC4MR");
  NYX_COPY_TYPES(CHECK_TYPE)
#undef CHECK_TYPE
  Nyx8u a[16] = {};
  ExpectStatuses({
      {"null mask",
       [&] {
         return nyxiCopy_8u_C1MR(a, 4, a, 4, {0, 1}, nullptr, 4);
       },
       nyxStsNullPtrErr},
      {"size",
       [&] {
         return nyxiCopy_8u_C3MR(a, 4, a, 4, {1, 0}, a, 4);
       },
       nyxStsSizeErr},
      {"channel null",
       [&] {
         return nyxiCopy_8u_C3C1R(nullptr, 4, a, 4, {0, 1});
       },
       nyxStsNullPtrErr},
      {"channel size",
       [&] {
         return nyxiCopy_8u_C1C4R(a, 4, a, 4, {0, 1});
       },
       nyxStsSizeErr},
  });
}

}  // namespace
}  // namespace nyx::test

namespace nyx::test {
namespace {

// 32-bit planar copies that move at least the largest cache (bytes read and
// written) store around the cache; the samples are the same.
TEST(CopyPlanar, StreamingWhenMovingTheLargestCache) {
  int cache = 0;
  ASSERT_EQ(nyxGetMaxCacheSizeB(&cache), nyxStsNoErr);
  const size_t pixels = std::max<size_t>(static_cast<size_t>(cache) / 24 + 1, 0x80001 / 24 + 1);
  if (pixels * 12 > (200u << 20)) GTEST_SKIP() << "largest cache too big for a quick test";
  const int w = 4096 + 5, h = static_cast<int>(pixels / w + 1);
  std::vector<Nyx32s> src(size_t(w) * h * 3), back(src.size(), 0);
  std::vector<Nyx32s> p0(size_t(w) * h), p1(p0.size()), p2(p0.size());
  for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<Nyx32s>(i * 2654435761u);
  Nyx32s* const planes[3] = {p0.data(), p1.data(), p2.data()};
  ASSERT_EQ(nyxiCopy_32s_C3P3R(src.data(), w * 12, planes, w * 4, {w, h}), nyxStsNoErr);
  for (size_t i = 0; i < p0.size(); i += 4099) {
    ASSERT_EQ(p0[i], src[3 * i]);
    ASSERT_EQ(p2[i], src[3 * i + 2]);
  }
  const Nyx32s* const cplanes[3] = {p0.data(), p1.data(), p2.data()};
  ASSERT_EQ(nyxiCopy_32s_P3C3R(cplanes, w * 4, back.data(), w * 12, {w, h}), nyxStsNoErr);
  EXPECT_TRUE(back == src);
}

}  // namespace
}  // namespace nyx::test
