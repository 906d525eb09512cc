// Test images: a ROI inside a padded allocation whose every byte outside the
// ROI holds a sentinel, so a write outside the ROI (or into a sample the call
// must keep, such as AC4 alpha) is caught.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

#include "nyx.h"

namespace nyx::test {

inline constexpr uint8_t kSentinel = 0xA5;

template <class T>
class PaddedImage {
 public:
  // pad_pixels on every side; extra_step_bytes widens the stride beyond the
  // padded row.
  PaddedImage(int width, int height, int channels, int pad_pixels = 3, int extra_step_bytes = 5)
      : width_(width), height_(height), channels_(channels), pad_(pad_pixels) {
    const size_t pixel = sizeof(T) * static_cast<size_t>(channels);
    // Rows keep samples on their natural alignment: the extra bytes are
    // rounded up to whole samples (for 8-bit images the stride stays odd).
    const size_t extra = (static_cast<size_t>(extra_step_bytes) + sizeof(T) - 1) / sizeof(T) * sizeof(T);
    step_ = static_cast<int>(pixel * (width + 2 * pad_pixels) + extra);
    rows_ = height + 2 * pad_pixels;
    bytes_.assign(static_cast<size_t>(step_) * rows_ + 64, kSentinel);
    // The ROI's first byte is placed at an offset that is not a multiple of
    // the vector width, so kernels see unaligned rows.
    origin_ = static_cast<size_t>(step_) * pad_pixels + pixel * pad_pixels + 3 * sizeof(T);
    roi_bytes_ = pixel * static_cast<size_t>(width);
  }

  T* roi() { return reinterpret_cast<T*>(bytes_.data() + origin_); }
  const T* roi() const { return reinterpret_cast<const T*>(bytes_.data() + origin_); }
  int step() const { return step_; }
  int width() const { return width_; }
  int height() const { return height_; }
  int channels() const { return channels_; }
  NyxiSize size() const { return {width_, height_}; }

  T* row(int y) { return reinterpret_cast<T*>(bytes_.data() + origin_ + static_cast<size_t>(y) * step_); }
  const T* row(int y) const {
    return reinterpret_cast<const T*>(bytes_.data() + origin_ + static_cast<size_t>(y) * step_);
  }
  T& at(int x, int y, int c = 0) { return row(y)[x * channels_ + c]; }
  T at(int x, int y, int c = 0) const { return row(y)[x * channels_ + c]; }

  // Fills the ROI with uniform random samples over the whole type range.
  void FillRandom(std::mt19937& rng) {
    for (int y = 0; y < height_; ++y) {
      T* p = row(y);
      for (int i = 0; i < width_ * channels_; ++i) p[i] = RandomSample(rng);
    }
  }
  template <class F>
  void Fill(F&& f) {  // f(x, y, c) -> sample
    for (int y = 0; y < height_; ++y)
      for (int x = 0; x < width_; ++x)
        for (int c = 0; c < channels_; ++c) at(x, y, c) = static_cast<T>(f(x, y, c));
  }

  // True when no byte outside the ROI changed.
  bool OutsideIntact() const {
    for (size_t i = 0; i < bytes_.size(); ++i) {
      if (bytes_[i] != kSentinel && !InRoi(i)) return false;
    }
    return true;
  }

  std::vector<uint8_t> Snapshot() const { return bytes_; }
  bool SameAs(const std::vector<uint8_t>& snap) const { return snap == bytes_; }

  static T RandomSample(std::mt19937& rng) {
    if constexpr (std::is_floating_point_v<T>) {
      return static_cast<T>(std::uniform_real_distribution<double>(-1000.0, 1000.0)(rng));
    } else {
      using W = std::conditional_t<std::is_signed_v<T>, int64_t, uint64_t>;
      std::uniform_int_distribution<W> d(std::numeric_limits<T>::min(), std::numeric_limits<T>::max());
      return static_cast<T>(d(rng));
    }
  }

 private:
  bool InRoi(size_t i) const {
    if (i < origin_) return false;
    size_t off = i - origin_;
    size_t y = off / step_, x = off % step_;
    return y < static_cast<size_t>(height_) && x < roi_bytes_;
  }

  int width_, height_, channels_, pad_;
  int step_ = 0, rows_ = 0;
  size_t origin_ = 0, roi_bytes_ = 0;
  std::vector<uint8_t> bytes_;
};

}  // namespace nyx::test
