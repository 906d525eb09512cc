// Shared pieces of the benchmarks: image buffers, the size label, the
// memory yardstick.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#ifdef NYX_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

namespace nyx::bench {

constexpr int kFullW = 1920, kFullH = 1080;

// A 64-byte aligned buffer of random bytes.
class Buffer {
 public:
  explicit Buffer(size_t bytes, uint32_t seed = 1) : bytes_(bytes) {
    mem_ = static_cast<uint8_t*>(std::aligned_alloc(64, (bytes + 63) / 64 * 64));
    std::mt19937 rng(seed);
    for (size_t i = 0; i < bytes; ++i) mem_[i] = static_cast<uint8_t>(rng());
  }
  ~Buffer() { std::free(mem_); }
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;
  template <class T = uint8_t>
  T* as() {
    return reinterpret_cast<T*>(mem_);
  }
  size_t size() const { return bytes_; }

 private:
  uint8_t* mem_;
  size_t bytes_;
};

inline void SetBytes(benchmark::State& state, size_t bytes_per_iter) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes_per_iter));
}

// The memory yardstick: memcpy of `bytes` in the same process.
inline void MemcpyYardstick(benchmark::State& state, size_t bytes) {
  Buffer src(bytes, 3), dst(bytes, 4);
  for (auto _ : state) {
    std::memcpy(dst.as(), src.as(), bytes);
    benchmark::DoNotOptimize(dst.as());
    benchmark::ClobberMemory();
  }
  SetBytes(state, bytes);
}

inline void SingleThreadPeer() {
#ifdef NYX_HAVE_OPENCV
  cv::setNumThreads(1);
#endif
}

}  // namespace nyx::bench
