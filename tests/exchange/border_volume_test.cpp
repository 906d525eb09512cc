// Border copies of volumes: every form against a voxel model, plane by
// plane, with the padding between rows and planes watched; then the order of
// the argument tests.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "exchange/border_forms.h"
#include "nyx.h"
#include "tests/support/image.h"
#include "tests/support/ref/border.h"
#include "tests/support/status_table.h"

namespace nyx::test {
namespace {

using ref::BorderMode;

// A volume in a byte block: rows padded by 3 samples, planes by 5 rows'
// worth plus 7 samples, every byte a sentinel to begin with.
template <class T>
struct Block {
  int w, h, d;
  int64_t step, plane;
  std::vector<uint8_t> bytes;

  Block(int w_, int h_, int d_) : w(w_), h(h_), d(d_) {
    step = static_cast<int64_t>(sizeof(T)) * (w + 3);
    plane = step * (h + 5) + static_cast<int64_t>(sizeof(T)) * 7;
    bytes.assign(static_cast<size_t>(plane * d), kSentinel);
  }
  T* data() { return reinterpret_cast<T*>(bytes.data()); }
  size_t Offset(int x, int y, int z) const {
    return static_cast<size_t>(plane * z + step * y) + sizeof(T) * x;
  }
  T Get(int x, int y, int z) const {
    T v;
    std::memcpy(&v, bytes.data() + Offset(x, y, z), sizeof v);
    return v;
  }
  void Put(int x, int y, int z, T v) { std::memcpy(bytes.data() + Offset(x, y, z), &v, sizeof v); }
  NyxrVolume volume() const { return {w, h, d}; }
  NyxrVolumeL volume_l() const { return {w, h, d}; }
};

template <class T>
struct VolumeForm {
  BorderMode mode;
  NyxStatus (*v)(const T*, int, int, NyxrVolume, T*, int, int, NyxrVolume, int, int, int, const T*);
  NyxStatus (*v_l)(const T*, NyxSizeL, NyxSizeL, T*, NyxSizeL, NyxSizeL, NyxrVolumeL, NyxrVolumeL,
                   NyxSizeL, NyxSizeL, NyxSizeL, const T*);
};

struct Frame3 {
  int top, left, front, bottom, right, back;
};

template <class T>
::testing::AssertionResult MatchesModel(BorderMode mode, const Block<T>& src, const Block<T>& dst,
                                        const Frame3& f, T value) {
  std::vector<bool> written(dst.bytes.size(), false);
  for (int z = 0; z < dst.d; ++z) {
    for (int y = 0; y < dst.h; ++y) {
      for (int x = 0; x < dst.w; ++x) {
        const int sx = x - f.left, sy = y - f.top, sz = z - f.front;
        const bool inside = sx >= 0 && sx < src.w && sy >= 0 && sy < src.h && sz >= 0 && sz < src.d;
        T want = value;
        if (inside || mode == BorderMode::kRepl) {
          want = src.Get(static_cast<int>(ref::BorderSource(BorderMode::kRepl, sx, src.w)),
                         static_cast<int>(ref::BorderSource(BorderMode::kRepl, sy, src.h)),
                         static_cast<int>(ref::BorderSource(BorderMode::kRepl, sz, src.d)));
        }
        const T got = dst.Get(x, y, z);
        if (std::memcmp(&got, &want, sizeof(T)) != 0) {
          return ::testing::AssertionFailure() << "voxel (" << x << ", " << y << ", " << z << ")";
        }
        for (size_t b = 0; b < sizeof(T); ++b) written[dst.Offset(x, y, z) + b] = true;
      }
    }
  }
  for (size_t i = 0; i < written.size(); ++i) {
    if (!written[i] && dst.bytes[i] != kSentinel) {
      return ::testing::AssertionFailure() << "padding byte " << i << " written";
    }
  }
  return ::testing::AssertionSuccess();
}

template <class T>
void CheckVolumeForm(const VolumeForm<T>& form) {
  std::mt19937 rng(77u + static_cast<unsigned>(form.mode));
  std::uniform_int_distribution<int> side(1, 4), pad(0, 5);
  for (int round = 0; round < 24; ++round) {
    Block<T> src(side(rng), side(rng), side(rng));
    for (int z = 0; z < src.d; ++z)
      for (int y = 0; y < src.h; ++y)
        for (int x = 0; x < src.w; ++x) src.Put(x, y, z, PaddedImage<T>::RandomSample(rng));
    // The first round has no border at all; the second a border on every side.
    Frame3 f{pad(rng), pad(rng), pad(rng), pad(rng), pad(rng), pad(rng)};
    if (round == 0) f = {0, 0, 0, 0, 0, 0};
    if (round == 1) f = {2, 3, 4, 5, 6, 7};
    const T value = PaddedImage<T>::RandomSample(rng);
    const T* vp = form.mode == BorderMode::kConst ? &value : nullptr;
    for (int wide = 0; wide < 2; ++wide) {
      Block<T> dst(src.w + f.left + f.right, src.h + f.top + f.bottom, src.d + f.front + f.back);
      const NyxStatus st =
          wide ? form.v_l(src.data(), src.plane, src.step, dst.data(), dst.plane, dst.step,
                          src.volume_l(), dst.volume_l(), f.top, f.left, f.front, vp)
               : form.v(src.data(), static_cast<int>(src.plane), static_cast<int>(src.step),
                        src.volume(), dst.data(), static_cast<int>(dst.plane),
                        static_cast<int>(dst.step), dst.volume(), f.top, f.left, f.front, vp);
      ASSERT_EQ(st, nyxStsNoErr);
      ASSERT_TRUE(MatchesModel(form.mode, src, dst, f, value))
          << (wide ? "_L " : "") << "round " << round;
    }
  }
}

#define NYX_TEST_VOLUME(T)                                                                         \
  {                                                                                                \
    SCOPED_TRACE(#T);                                                                              \
    using S = Nyx##T;                                                                              \
    CheckVolumeForm<S>(                                                                            \
        {BorderMode::kConst, &nyxrCopyConstBorder_##T##_C1V, &nyxrCopyConstBorder_##T##_C1V_L});   \
    CheckVolumeForm<S>(                                                                            \
        {BorderMode::kRepl,                                                                        \
         [](const S* s, int sp, int ss, NyxrVolume sv, S* d, int dp, int ds, NyxrVolume dv, int t, \
            int l, int fr, const S*) {                                                             \
           return nyxrCopyReplicateBorder_##T##_C1V(s, sp, ss, sv, d, dp, ds, dv, t, l, fr);       \
         },                                                                                        \
         [](const S* s, NyxSizeL sp, NyxSizeL ss, S* d, NyxSizeL dp, NyxSizeL ds, NyxrVolumeL sv,  \
            NyxrVolumeL dv, NyxSizeL t, NyxSizeL l, NyxSizeL fr, const S*) {                       \
           return nyxrCopyReplicateBorder_##T##_C1V_L(s, sp, ss, d, dp, ds, sv, dv, t, l, fr);     \
         }});                                                                                      \
  }

TEST(CopyVolumeBorder, EveryFormAgainstTheModel){NYX_VOLUME_BORDER_TYPES(NYX_TEST_VOLUME)}

TEST(CopyVolumeBorder, OrderOfTests) {
  Block<Nyx16s> src(3, 3, 2), dst(5, 6, 4);
  const auto before = dst.bytes;
  const Nyx16s* s = src.data();
  Nyx16s* d = dst.data();
  const int sp = static_cast<int>(src.plane), ss = static_cast<int>(src.step);
  const int dp = static_cast<int>(dst.plane), ds = static_cast<int>(dst.step);
  const NyxrVolume sv = src.volume(), dv = dst.volume();
  const Nyx16s v = 3;
  ExpectStatuses({
      {"null before extent",
       [&] {
         return nyxrCopyConstBorder_16s_C1V(nullptr, sp, ss, {0, 3, 2}, d, dp, ds, dv, 1, 1, 1, &v);
       },
       nyxStsNullPtrErr},
      {"extent before step",
       [&] {
         return nyxrCopyConstBorder_16s_C1V(s, sp, -1, sv, d, dp, ds, {5, 6, 0}, 1, 1, 1, &v);
       },
       nyxStsSizeErr},
      {"negative step before border",
       [&] { return nyxrCopyReplicateBorder_16s_C1V(s, sp, -2, sv, d, dp, ds, dv, -1, 1, 1); },
       nyxStsStepErr},
      {"plane step below row step",
       [&] { return nyxrCopyReplicateBorder_16s_C1V(s, sp, ss, sv, d, ds - 2, ds, dv, 1, 1, 1); },
       nyxStsStepErr},
      {"negative border before the value",
       [&] { return nyxrCopyConstBorder_16s_C1V(s, sp, ss, sv, d, dp, ds, dv, 1, 1, -1, nullptr); },
       nyxStsSizeErr},
      {"null value before the fit",
       [&] { return nyxrCopyConstBorder_16s_C1V(s, sp, ss, sv, d, dp, ds, dv, 9, 1, 1, nullptr); },
       nyxStsNullPtrErr},
      {"too deep",
       [&] { return nyxrCopyConstBorder_16s_C1V(s, sp, ss, sv, d, dp, ds, dv, 1, 1, 3, &v); },
       nyxStsSizeErr},
      {"too wide, _L",
       [&] {
         return nyxrCopyReplicateBorder_16s_C1V_L(s, sp, ss, d, dp, ds, {3, 3, 2}, {5, 6, 4}, 0, 3,
                                                  0);
       },
       nyxStsSizeErr},
      {"too high, _L",
       [&] {
         return nyxrCopyConstBorder_16s_C1V_L(s, sp, ss, d, dp, ds, {3, 3, 2}, {5, 6, 4}, 4, 0, 0,
                                              &v);
       },
       nyxStsSizeErr},
  });
  EXPECT_EQ(dst.bytes, before);
  // Zero steps are not refused: every row and plane is the same memory.
  Nyx16s one = 42, out[2] = {0, 0};
  EXPECT_EQ(nyxrCopyReplicateBorder_16s_C1V(&one, 0, 0, {1, 1, 1}, out, 0, 0, {1, 2, 3}, 1, 0, 1),
            nyxStsNoErr);
  EXPECT_EQ(out[0], 42);
  EXPECT_EQ(out[1], 0);
}

}  // namespace
}  // namespace nyx::test
