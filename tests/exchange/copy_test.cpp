// nyxiCopy (whole pixels, _L) and nyxiCopyManaged: every form against the
// rule "destination sample = source sample, AC4 alpha stays", each path of the
// byte copy driven by the sizes, strides and addresses that select it.
#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "exchange/copy_forms.h"
#include "tests/exchange/copy_util.h"

namespace nyx::test {
namespace {

template <class T>
using CopyFn = NyxStatus (*)(const T*, int, T*, int, NyxiSize);
template <class T>
using CopyLFn = NyxStatus (*)(const T*, NyxSizeL, T*, NyxSizeL, NyxiSizeL);

template <class T>
void CheckCopyForm(CopyFn<T> fn, CopyLFn<T> fn_l, int ch, bool alpha, const char* name) {
  SCOPED_TRACE(name);
  for (NyxiSize sz : {NyxiSize{1, 1}, NyxiSize{7, 3}, NyxiSize{33, 5}, NyxiSize{130, 9}}) {
    for (int use_l = 0; use_l < 2; ++use_l) {
      PaddedImage<T> src = RandomImage<T>(sz.width, sz.height, ch);
      PaddedImage<T> dst = RandomImage<T>(sz.width, sz.height, ch, 2, 9);
      const PaddedImage<T> before = dst;
      const auto src_snap = src.Snapshot();
      const NyxStatus st =
          use_l ? fn_l(src.roi(), src.step(), dst.roi(), dst.step(), {sz.width, sz.height})
                : fn(src.roi(), src.step(), dst.roi(), dst.step(), sz);
      ASSERT_EQ(st, nyxStsNoErr);
      ExpectImage(
          dst,
          [&](int x, int y, int c) {
            return alpha && c == 3 ? before.at(x, y, c) : src.at(x, y, c);
          },
          use_l ? "_L" : "plain");
      EXPECT_TRUE(src.SameAs(src_snap)) << "source written";
    }
  }
}

TEST(Copy, EveryPixelFormCopiesAndKeepsAlpha) {
#define CHECK_FORM(T, D)                                                                 \
  CheckCopyForm<Nyx##T>(nyxiCopy_##T##_##D##R, nyxiCopy_##T##_##D##R_L,                  \
                        std::string(#D) == "C1" ? 1 : (std::string(#D) == "C3" ? 3 : 4), \
                        std::string(#D) == "AC4", #T "_" #D);
#define CHECK_TYPE(T) NYX_COPY_PIXEL_FORMS(CHECK_FORM, T)
  NYX_COPY_TYPES(CHECK_TYPE)
#undef CHECK_TYPE
#undef CHECK_FORM
}

// A model of the byte copy over raw memory: row y of `bytes` bytes.
void ModelCopy(const uint8_t* s, int64_t ss, uint8_t* d, int64_t ds, int64_t bytes, int64_t h) {
  for (int64_t y = 0; y < h; ++y) std::memmove(d + y * ds, s + y * ss, bytes);
}

// Runs nyxiCopy_8u_C1R on w x h bytes at the given byte offsets inside two
// page-aligned arenas and compares with the model, bytes between rows too.
void CheckBytes(int w, int h, int ss, int ds, size_t src_off, size_t dst_off) {
  const size_t span_s = static_cast<size_t>(std::abs(ss)) * (h - 1) + w;
  const size_t span_d = static_cast<size_t>(std::abs(ds)) * (h - 1) + w;
  const size_t arena = ((std::max(span_s + src_off, span_d + dst_off) + 8192) / 4096 + 1) * 4096;
  std::unique_ptr<uint8_t, decltype(&std::free)> sa(
      static_cast<uint8_t*>(std::aligned_alloc(4096, arena)), &std::free);
  std::unique_ptr<uint8_t, decltype(&std::free)> da(
      static_cast<uint8_t*>(std::aligned_alloc(4096, arena)), &std::free);
  for (size_t i = 0; i < arena; ++i) sa.get()[i] = static_cast<uint8_t>(i * 7 + (i >> 9));
  for (size_t i = 0; i < arena; ++i) da.get()[i] = static_cast<uint8_t>(~(i * 3));
  std::vector<uint8_t> want(da.get(), da.get() + arena);
  const uint8_t* s = sa.get() + src_off + (ss < 0 ? span_s - w : 0);
  uint8_t* d = da.get() + dst_off + (ds < 0 ? span_d - w : 0);
  ModelCopy(s, ss, want.data() + (d - da.get()), ds, w, h);
  ASSERT_EQ(nyxiCopy_8u_C1R(s, ss, d, ds, {w, h}), nyxStsNoErr);
  ASSERT_EQ(std::memcmp(want.data(), da.get(), arena), 0)
      << "w=" << w << " h=" << h << " strides " << ss << "," << ds << " offsets " << src_off << ","
      << dst_off;
}

TEST(CopyPaths, ThinRowsEveryWidthBelow512) {
  for (int w = 1; w <= 511; ++w) CheckBytes(w, 3, w + 7, w + 13, w % 5, (w * 3) % 64);
  CheckBytes(512, 3, 600, 640, 1, 0);  // first width past the thin kernel
}

TEST(CopyPaths, ContiguousRowsRunAsOne) {
  // Width 5 with strides of 5: height times 5 bytes in one run.
  CheckBytes(5, 9, 5, 5, 0, 3);
  // A destination stride of 6 leaves every sixth byte alone.
  CheckBytes(5, 9, 5, 6, 0, 3);
  // Long runs: the plain loop, then the forward and the backward long copy.
  for (int w : {100, 32767, 32768, 70001}) CheckBytes(w, 2, w, w, 0, 1000);
}

TEST(CopyPaths, DestinationJustAboveSourceInThePageCopiesBackward) {
  // (dst mod 4096) - (src mod 4096) below 160 selects the backward copy, both
  // for a long run and for aligned rows with equal strides.
  for (size_t delta : {0, 1, 63, 64, 159, 160, 4095}) {
    CheckBytes(40000, 2, 40000, 40000, 512, 512 + delta);        // one long run
    CheckBytes(1024, 5, 2048, 2048, 512, (512 + delta) % 4096);  // aligned rows
    CheckBytes(1000, 5, 2048, 2048, 512, (512 + delta) % 4096);  // unaligned width
  }
}

TEST(CopyPaths, NegativeAndZeroStrides) {
  CheckBytes(600, 6, -700, 800, 3, 5);  // source walked upwards
  CheckBytes(40, 6, 50, -64, 0, 64);    // destination walked upwards
  // A zero source stride writes the first row into every row.
  PaddedImage<Nyx8u> src = RandomImage<Nyx8u>(37, 1, 1);
  PaddedImage<Nyx8u> dst = RandomImage<Nyx8u>(37, 4, 1);
  ASSERT_EQ(nyxiCopy_8u_C1R(src.roi(), 0, dst.roi(), dst.step(), {37, 4}), nyxStsNoErr);
  ExpectImage(
      dst, [&](int x, int, int) { return src.at(x, 0); }, "zero stride");
}

// Beyond half the largest cache the copy streams around the cache; the bytes
// are the same. The size comes from the cache query (at least 64 MiB).
TEST(CopyPaths, StreamingBeyondHalfTheLargestCache) {
  int cache = 0;
  ASSERT_EQ(nyxGetMaxCacheSizeB(&cache), nyxStsNoErr);
  const size_t total = std::max<size_t>(static_cast<size_t>(cache) / 2 + 4096, 64u << 20);
  if (total > (300u << 20)) GTEST_SKIP() << "largest cache too big for a quick streaming test";
  const int w = 8192 + 3, pad = 64;
  const int h = static_cast<int>(total / w + 1);
  const size_t bytes = static_cast<size_t>(w + pad) * h;
  std::vector<uint8_t> src(bytes), dst(bytes, 0x5A);
  for (size_t i = 0; i + 1 < bytes; i += 8) src[i] = static_cast<uint8_t>(i >> 3), src[i + 1] = 1;
  // Rows with gaps (row walk), then the same bytes as one contiguous run.
  ASSERT_EQ(nyxiCopy_8u_C1R(src.data(), w + pad, dst.data(), w + pad, {w, h}), nyxStsNoErr);
  for (int y = 0; y < h; y += 97) {
    ASSERT_EQ(std::memcmp(&src[size_t(y) * (w + pad)], &dst[size_t(y) * (w + pad)], w), 0);
    ASSERT_EQ(dst[size_t(y) * (w + pad) + w], 0x5A) << "gap written";
  }
  ASSERT_EQ(nyxiCopy_8u_C1R(src.data(), w + pad, dst.data(), w + pad, {w + pad, h}), nyxStsNoErr);
  EXPECT_EQ(std::memcmp(src.data(), dst.data(), bytes), 0);
}

TEST(CopyManaged, EveryFlagGivesTheSameBytes) {
  for (int flags : {0, 1, 2, 3, 0x10, 0x7fffffff}) {
    for (NyxiSize sz : {NyxiSize{1, 1}, NyxiSize{31, 3}, NyxiSize{257, 4}, NyxiSize{100, 50}}) {
      for (int contiguous = 0; contiguous < 2; ++contiguous) {
        PaddedImage<Nyx8u> src = RandomImage<Nyx8u>(sz.width, sz.height, 1);
        PaddedImage<Nyx8u> dst = RandomImage<Nyx8u>(sz.width, sz.height, 1, 1, 3);
        if (contiguous) {
          std::vector<uint8_t> s(sz.width * sz.height), d(sz.width * sz.height + 1, 7);
          for (auto& v : s) v = static_cast<uint8_t>(Rng()());
          ASSERT_EQ(nyxiCopyManaged_8u_C1R(s.data(), sz.width, d.data() + 1, sz.width, sz, flags),
                    nyxStsNoErr);
          EXPECT_EQ(std::memcmp(s.data(), d.data() + 1, s.size()), 0) << "flags " << flags;
          EXPECT_EQ(d[0], 7);
        } else {
          ASSERT_EQ(nyxiCopyManaged_8u_C1R(src.roi(), src.step(), dst.roi(), dst.step(), sz, flags),
                    nyxStsNoErr);
          ExpectImage(
              dst, [&](int x, int y, int) { return src.at(x, y); }, "managed");
        }
      }
    }
  }
}

// The streamed paths split a row into a head, whole 64-byte lines and a tail
// by the destination's address: every offset within a line and every length
// around a few lines, with guard bytes on both sides.
TEST(CopyManaged, StreamedRowsAtEveryLineOffset) {
  std::vector<uint8_t> src(400), buf(64 + 400 + 64 + 64);
  for (auto& v : src) v = static_cast<uint8_t>(Rng()());
  uint8_t* base = buf.data() + ((0 - reinterpret_cast<uintptr_t>(buf.data())) & 63);
  for (int flags : {1, 3}) {
    for (int off = 0; off < 64; ++off) {
      for (int n = 1; n <= 330; n += (n < 140 ? 1 : 7)) {
        std::fill(buf.begin(), buf.end(), uint8_t{0xA5});
        uint8_t* d = base + off;
        ASSERT_EQ(nyxiCopyManaged_8u_C1R(src.data() + (off & 7), n, d, n, {n, 1}, flags),
                  nyxStsNoErr);
        ASSERT_EQ(std::memcmp(d, src.data() + (off & 7), n), 0)
            << "flags " << flags << " offset " << off << " n " << n;
        for (uint8_t* p = buf.data(); p < d; ++p) ASSERT_EQ(*p, 0xA5) << "before, n " << n;
        for (uint8_t* p = d + n; p < buf.data() + buf.size(); ++p) ASSERT_EQ(*p, 0xA5) << "after";
      }
    }
  }
}

TEST(CopyL, HugeStridesWalkRowByRow) {
  const NyxSizeL big = NyxSizeL{3} << 30;  // above the 32-bit range
  SparseRegion src(static_cast<size_t>(big) * 2 + 4096), dst(static_cast<size_t>(big) * 2 + 4096);
  if (!src.data() || !dst.data()) GTEST_SKIP() << "no address space for the sparse region";
  for (int y = 0; y < 3; ++y) {
    for (int i = 0; i < 100; ++i) src.data()[y * big + i] = static_cast<uint8_t>(y * 100 + i);
  }
  ASSERT_EQ(nyxiCopy_8u_C1R_L(src.data(), big, dst.data(), big, {25, 3}), nyxStsNoErr);
  for (int y = 0; y < 3; ++y) {
    EXPECT_EQ(std::memcmp(src.data() + y * big, dst.data() + y * big, 25), 0);
    EXPECT_EQ(dst.data()[y * big + 25], 0);
  }
  for (int y = 0; y < 3; ++y) std::memset(dst.data() + y * big, 0, 32);
  ASSERT_EQ(nyxiCopy_8u_AC4R_L(src.data(), big, dst.data(), big, {5, 3}), nyxStsNoErr);
  // AC4 through the fall-back: alpha (zeroed above) stays.
  for (int y = 0; y < 3; ++y) {
    for (int i = 0; i < 20; ++i) {
      EXPECT_EQ(dst.data()[y * big + i], i % 4 == 3 ? 0 : src.data()[y * big + i]) << y << "," << i;
    }
  }
  // The fall-back does not report an empty size once the strides are large.
  EXPECT_EQ(nyxiCopy_8u_AC4R_L(src.data(), big, dst.data(), big, {0, 3}), nyxStsNoErr);
  EXPECT_EQ(nyxiCopy_8u_AC4R_L(src.data(), 64, dst.data(), 64, {0, 3}), nyxStsSizeErr);
  EXPECT_EQ(nyxiCopy_8u_C1R_L(src.data(), big, dst.data(), big, {0, 3}), nyxStsSizeErr);
}

TEST(Copy, GuardPagesAtTheEndOfBothImages) {
  for (int w : {1, 3, 31, 32, 33, 200, 511, 512, 1000}) {
    for (int ch : {1, 3, 4}) {
      GuardedImage<Nyx8u> src(w, 3, ch, 5), dst(w, 3, ch, 5);
      NyxStatus st = ch == 1   ? nyxiCopy_8u_C1R(src.roi(), src.step, dst.roi(), dst.step, {w, 3})
                     : ch == 3 ? nyxiCopy_8u_C3R(src.roi(), src.step, dst.roi(), dst.step, {w, 3})
                               : nyxiCopy_8u_AC4R(src.roi(), src.step, dst.roi(), dst.step, {w, 3});
      ASSERT_EQ(st, nyxStsNoErr);
      for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < w * ch; ++x) {
          if (ch == 4 && x % 4 == 3) continue;
          ASSERT_EQ(dst.at(x / ch, y, x % ch), src.at(x / ch, y, x % ch)) << w << " " << ch;
        }
      }
    }
  }
}

TEST(Copy, OrderOfTests) {
  Nyx8u a[64] = {}, b[64] = {};
  Nyx32f f[64] = {};
  ExpectStatuses({
      {"null source, zero width",
       [&] {
         return nyxiCopy_8u_C1R(nullptr, 8, b, 8, {0, 1});
       },
       nyxStsNullPtrErr},
      {"null destination",
       [&] {
         return nyxiCopy_8u_C3R(a, 8, nullptr, 8, {1, 1});
       },
       nyxStsNullPtrErr},
      {"zero width",
       [&] {
         return nyxiCopy_8u_C1R(a, 8, b, 8, {0, 1});
       },
       nyxStsSizeErr},
      {"zero height",
       [&] {
         return nyxiCopy_32f_AC4R(f, 8, f + 32, 8, {1, 0});
       },
       nyxStsSizeErr},
      {"negative stride",
       [&] {
         return nyxiCopy_8u_C1R(a + 32, -8, b, 8, {8, 4});
       },
       nyxStsNoErr},
      {"zero strides",
       [&] {
         return nyxiCopy_8u_C4R(a, 0, b, 0, {2, 9});
       },
       nyxStsNoErr},
      {"_L null",
       [&] {
         return nyxiCopy_16s_C1R_L(nullptr, 8, nullptr, 8, {0, 0});
       },
       nyxStsNullPtrErr},
      {"_L size",
       [&] {
         return nyxiCopy_32s_C4R_L(reinterpret_cast<Nyx32s*>(a), 8, reinterpret_cast<Nyx32s*>(b), 8,
                                   {1, -1});
       },
       nyxStsSizeErr},
      {"managed null",
       [&] {
         return nyxiCopyManaged_8u_C1R(a, 8, nullptr, 8, {0, 0}, 1);
       },
       nyxStsNullPtrErr},
      {"managed size",
       [&] {
         return nyxiCopyManaged_8u_C1R(a, 8, b, 8, {0, 1}, 1);
       },
       nyxStsSizeErr},
  });
}

}  // namespace
}  // namespace nyx::test
