// Large merges of 8- and 16-bit planes into an interleaved image: from 4 MiB
// of destination on they store around the cache, after a head of single
// pixels that aligns the destination. Whatever the path, each destination
// sample is its plane's sample and nothing outside the ROI is written. The
// splits back into planes (cached stores, the four-channel ones through a
// transpose) are checked on the same images.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "nyx.h"
#include "tests/exchange/copy_util.h"

namespace nyx::test {
namespace {

constexpr int64_t kStreamFrom = int64_t{4} << 20;  // destination bytes

template <class T>
using MergeFn = NyxStatus (*)(const T* const*, int, T*, int, NyxiSize);
template <class T>
using SplitFn = NyxStatus (*)(const T*, int, T* const*, int, NyxiSize);

// Rows of the given width, enough of them for at least `bytes` of
// interleaved destination.
int RowsFor(int64_t bytes, int width, int channels, size_t sample) {
  return static_cast<int>(bytes / (int64_t{width} * channels * int64_t(sample)) + 1);
}

// Padded images: every row starts at its own offset modulo 64, so each row
// takes its own head before the streamed body (or, where no head can align a
// four-channel destination, runs with cached stores). `pad` and `extra` set
// that geometry; `pad` 0 with `extra` 0 packs the rows into one long run.
template <class T, int N>
void CheckPaddedMerge(MergeFn<T> merge, SplitFn<T> split, int w, int pad, int extra) {
  SCOPED_TRACE(testing::Message() << "w " << w << " pad " << pad << " extra " << extra);
  const int h = RowsFor(kStreamFrom, w, N, sizeof(T));
  std::vector<PaddedImage<T>> planes;
  for (int c = 0; c < N; ++c) planes.push_back(RandomImage<T>(w, h, 1, pad, extra));
  const T* cp[N];
  for (int c = 0; c < N; ++c) cp[c] = planes[c].roi();
  PaddedImage<T> dst(w, h, N, pad, extra);
  ASSERT_EQ(merge(cp, planes[0].step(), dst.roi(), dst.step(), {w, h}), nyxStsNoErr);
  ExpectImage(
      dst, [&](int x, int y, int c) { return planes[c].at(x, y); }, "merged");

  std::vector<PaddedImage<T>> back;
  for (int c = 0; c < N; ++c) back.emplace_back(w, h, 1, pad, extra);
  T* bp[N];
  for (int c = 0; c < N; ++c) bp[c] = back[c].roi();
  ASSERT_EQ(split(dst.roi(), dst.step(), bp, back[0].step(), {w, h}), nyxStsNoErr);
  for (int c = 0; c < N; ++c) {
    ExpectImage(
        back[c], [&](int x, int y, int) { return planes[c].at(x, y); }, "split back");
  }
}

// Packed planes and image in plain allocations (aligned for the widest
// sample), so the whole call is one long row whose destination a head can
// always align; sentinel bytes follow the image.
template <class T, int N>
void CheckPackedMerge(MergeFn<T> merge, int w) {
  SCOPED_TRACE(testing::Message() << "packed w " << w);
  const int h = RowsFor(kStreamFrom, w, N, sizeof(T));
  const size_t pixels = size_t(w) * h;
  std::vector<std::vector<T>> planes(N, std::vector<T>(pixels));
  for (auto& p : planes) {
    for (T& v : p) v = static_cast<T>(Rng()());
  }
  const T* cp[N];
  for (int c = 0; c < N; ++c) cp[c] = planes[c].data();
  constexpr size_t kTail = 64;
  for (size_t lead : {size_t{0}, size_t{1}}) {  // destination aligned or one sample off
    std::vector<T> dst(lead + pixels * N + kTail, static_cast<T>(kSentinel * 0x0101u));
    const int step = static_cast<int>(w * N * sizeof(T));
    ASSERT_EQ(merge(cp, w * int(sizeof(T)), dst.data() + lead, step, {w, h}), nyxStsNoErr);
    for (size_t i = 0; i < pixels; ++i) {
      for (int c = 0; c < N; ++c) {
        ASSERT_EQ(dst[lead + i * N + c], planes[c][i]) << "lead " << lead << " pixel " << i;
      }
    }
    for (size_t i = 0; i < lead; ++i) EXPECT_EQ(dst[i], static_cast<T>(kSentinel * 0x0101u));
    for (size_t i = lead + pixels * N; i < dst.size(); ++i) {
      ASSERT_EQ(dst[i], static_cast<T>(kSentinel * 0x0101u)) << "past the image, lead " << lead;
    }
  }
}

TEST(CopyPlanarStream, ThreePlanesOfBytes) {
  CheckPackedMerge<Nyx8u, 3>(nyxiCopy_8u_P3C3R, 1001);
  // Odd strides: each row's head differs.
  CheckPaddedMerge<Nyx8u, 3>(nyxiCopy_8u_P3C3R, nyxiCopy_8u_C3P3R, 1001, 3, 5);
  // Short rows: a head of up to 63 pixels, two or four streamed rounds of 32
  // and a tail per row.
  CheckPaddedMerge<Nyx8u, 3>(nyxiCopy_8u_P3C3R, nyxiCopy_8u_C3P3R, 130, 2, 3);
}

TEST(CopyPlanarStream, FourPlanesOfBytes) {
  CheckPackedMerge<Nyx8u, 4>(nyxiCopy_8u_P4C4R, 999);
  // A stride of 1 modulo 4 with the ROI on a 4-byte boundary in row 0: every
  // fourth row can be aligned and streams, the others cannot.
  CheckPaddedMerge<Nyx8u, 4>(nyxiCopy_8u_P4C4R, nyxiCopy_8u_C4P4R, 1001, 1, 5);
  // Packed rows one byte off the 4-byte grid: no head aligns them.
  CheckPaddedMerge<Nyx8u, 4>(nyxiCopy_8u_P4C4R, nyxiCopy_8u_C4P4R, 1023, 0, 0);
}

TEST(CopyPlanarStream, SixteenBitPlanes) {
  CheckPackedMerge<Nyx16u, 3>(nyxiCopy_16u_P3C3R, 777);
  CheckPaddedMerge<Nyx16s, 3>(nyxiCopy_16s_P3C3R, nyxiCopy_16s_C3P3R, 777, 3, 5);
  CheckPackedMerge<Nyx16s, 4>(nyxiCopy_16s_P4C4R, 515);
  // A stride of 2 modulo 8 with row 0 on an 8-byte boundary: rows 0, 4, 8, ...
  // stream.
  CheckPaddedMerge<Nyx16u, 4>(nyxiCopy_16u_P4C4R, nyxiCopy_16u_C4P4R, 515, 1, 10);
}

}  // namespace
}  // namespace nyx::test
