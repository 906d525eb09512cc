// Helpers of the copy family's tests: padded images of any sample type,
// bitwise sample comparison, and images whose last byte touches a guard page.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "nyx.h"
#include "tests/support/guarded.h"
#include "tests/support/image.h"
#include "tests/support/status_table.h"

namespace nyx::test {

inline std::mt19937& Rng() {
  static std::mt19937 rng(20261122);
  return rng;
}

template <class T>
bool SameBits(T a, T b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

// `extra` bytes widen the stride; for samples wider than a byte it is rounded
// down to whole samples, so that rows stay aligned to the sample.
template <class T>
PaddedImage<T> RandomImage(int w, int h, int ch, int pad = 3, int extra = 5) {
  PaddedImage<T> img(w, h, ch, pad, extra / int(sizeof(T)) * int(sizeof(T)));
  img.FillRandom(Rng());
  return img;
}

// An image of w by h pixels of `ch` samples in a guarded buffer: rows are
// packed (stride = row bytes + gap) and the last row ends where a no-access
// page begins, so a read or write past the ROI faults.
template <class T>
struct GuardedImage {
  GuardedImage(int w, int h, int ch, int gap = 0)
      : width(w),
        height(h),
        channels(ch),
        step(static_cast<int>(w * ch * sizeof(T)) + gap),
        buf(static_cast<size_t>(step) * (h - 1) + w * ch * sizeof(T)) {
    for (size_t i = 0; i < buf.size(); ++i) buf.data()[i] = static_cast<uint8_t>(Rng()());
  }
  T* roi() { return buf.as<T>(); }
  T& at(int x, int y, int c = 0) {
    return reinterpret_cast<T*>(buf.data() + static_cast<size_t>(y) * step)[x * channels + c];
  }
  int width, height, channels, step;
  GuardedBuffer buf;
};

// Expects every sample of `img` to equal expect(x, y, c).
template <class T, class F>
void ExpectImage(const PaddedImage<T>& img, F&& expect, const char* what) {
  int bad = 0;
  for (int y = 0; y < img.height() && bad < 5; ++y) {
    for (int x = 0; x < img.width() && bad < 5; ++x) {
      for (int c = 0; c < img.channels(); ++c) {
        const T want = static_cast<T>(expect(x, y, c));
        if (!SameBits(img.at(x, y, c), want)) {
          ADD_FAILURE() << what << ": sample (" << x << ", " << y << ", " << c << ") is "
                        << +img.at(x, y, c) << ", expected " << +want;
          ++bad;
        }
      }
    }
  }
  EXPECT_TRUE(img.OutsideIntact()) << what << ": a byte outside the ROI changed";
}

}  // namespace nyx::test
