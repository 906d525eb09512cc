// Copy family: copies and fills against memcpy/memset of the same bytes, and
// transpose, mirror, planar copies and channel swaps against the OpenCV peer.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "nyx.h"

#ifdef NYX_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

namespace {

constexpr int kW = 1920, kH = 1080;
constexpr int kBigW = 8192, kBigH = 8192;  // 64 MiB of 8u

// Images are 64-byte aligned, as nyxiMalloc and cv::Mat give them, so that
// both sides of a comparison see the same alignment.
template <class T>
struct Buffer {
  explicit Buffer(size_t n)
      : n_(n), p_(static_cast<T*>(std::aligned_alloc(64, (n * sizeof(T) + 63) / 64 * 64))) {}
  ~Buffer() { std::free(p_); }
  Buffer(const Buffer&) = delete;
  Buffer(Buffer&& o) noexcept : n_(o.n_), p_(o.p_) { o.p_ = nullptr; }
  T* data() { return p_; }
  size_t size() const { return n_; }
  T& operator[](size_t i) { return p_[i]; }
  size_t n_;
  T* p_;
};

Buffer<uint8_t> Bytes(size_t n) {
  Buffer<uint8_t> v(n);
  for (size_t i = 0; i < n; ++i) v[i] = static_cast<uint8_t>(i * 31 + (i >> 11));
  return v;
}

void SetBytes(benchmark::State& st, size_t bytes) {
  st.SetBytesProcessed(static_cast<int64_t>(st.iterations()) * static_cast<int64_t>(bytes));
}

void CopyNyx(benchmark::State& st, int w, int h) {
  auto s = Bytes(size_t(w) * h), d = Bytes(size_t(w) * h);
  for (auto _ : st) {
    nyxiCopy_8u_C1R(s.data(), w, d.data(), w, {w, h});
    benchmark::DoNotOptimize(d.data());
  }
  SetBytes(st, size_t(w) * h);
}
void CopyMemcpy(benchmark::State& st, int w, int h) {
  auto s = Bytes(size_t(w) * h), d = Bytes(size_t(w) * h);
  for (auto _ : st) {
    std::memcpy(d.data(), s.data(), size_t(w) * h);
    benchmark::DoNotOptimize(d.data());
  }
  SetBytes(st, size_t(w) * h);
}
void SetNyx(benchmark::State& st, int w, int h) {
  auto d = Bytes(size_t(w) * h);
  for (auto _ : st) {
    nyxiSet_8u_C1R(7, d.data(), w, {w, h});
    benchmark::DoNotOptimize(d.data());
  }
  SetBytes(st, size_t(w) * h);
}
void SetMemset(benchmark::State& st, int w, int h) {
  auto d = Bytes(size_t(w) * h);
  for (auto _ : st) {
    std::memset(d.data(), 7, size_t(w) * h);
    benchmark::DoNotOptimize(d.data());
  }
  SetBytes(st, size_t(w) * h);
}

BENCHMARK_CAPTURE(CopyNyx, c, kW, kH)->Name("Copy_8u_C1R/1920x1080/nyx")->UseRealTime();
BENCHMARK_CAPTURE(CopyMemcpy, c, kW, kH)->Name("Copy_8u_C1R/1920x1080/memcpy")->UseRealTime();
BENCHMARK_CAPTURE(CopyNyx, c, kBigW, kBigH)->Name("Copy_8u_C1R/64MiB/nyx")->UseRealTime();
BENCHMARK_CAPTURE(CopyMemcpy, c, kBigW, kBigH)->Name("Copy_8u_C1R/64MiB/memcpy")->UseRealTime();
BENCHMARK_CAPTURE(SetNyx, c, kW, kH)->Name("Set_8u_C1R/1920x1080/nyx")->UseRealTime();
BENCHMARK_CAPTURE(SetMemset, c, kW, kH)->Name("Set_8u_C1R/1920x1080/memset")->UseRealTime();
BENCHMARK_CAPTURE(SetNyx, c, kBigW, kBigH)->Name("Set_8u_C1R/64MiB/nyx")->UseRealTime();
BENCHMARK_CAPTURE(SetMemset, c, kBigW, kBigH)->Name("Set_8u_C1R/64MiB/memset")->UseRealTime();

template <class T>
void TransposeNyx(benchmark::State& st) {
  Buffer<T> s(size_t(kW) * kH), d(size_t(kW) * kH);
  for (size_t i = 0; i < s.size(); ++i) s[i] = static_cast<T>(i % 251);
  for (auto _ : st) {
    if constexpr (sizeof(T) == 1)
      nyxiTranspose_8u_C1R(s.data(), kW, d.data(), kH, {kW, kH});
    else
      nyxiTranspose_32f_C1R(s.data(), kW * 4, d.data(), kH * 4, {kW, kH});
    benchmark::DoNotOptimize(d.data());
  }
  SetBytes(st, s.size() * sizeof(T));
}
BENCHMARK(TransposeNyx<Nyx8u>)->Name("Transpose_8u_C1R/1920x1080/nyx")->UseRealTime();
BENCHMARK(TransposeNyx<Nyx32f>)->Name("Transpose_32f_C1R/1920x1080/nyx")->UseRealTime();

void MirrorNyx(benchmark::State& st, int flip) {
  auto s = Bytes(size_t(kW) * kH), d = Bytes(size_t(kW) * kH);
  for (auto _ : st) {
    nyxiMirror_8u_C1R(s.data(), kW, d.data(), kW, {kW, kH}, NyxiAxis(flip));
    benchmark::DoNotOptimize(d.data());
  }
  SetBytes(st, s.size());
}
BENCHMARK_CAPTURE(MirrorNyx, f, 0)->Name("Mirror_8u_C1R/flip0/1920x1080/nyx")->UseRealTime();
BENCHMARK_CAPTURE(MirrorNyx, f, 1)->Name("Mirror_8u_C1R/flip1/1920x1080/nyx")->UseRealTime();
BENCHMARK_CAPTURE(MirrorNyx, f, 2)->Name("Mirror_8u_C1R/flip2/1920x1080/nyx")->UseRealTime();

template <int N>
void SplitNyx(benchmark::State& st) {
  auto s = Bytes(size_t(kW) * kH * N);
  std::vector<Buffer<uint8_t>> p;
  for (int c = 0; c < N; ++c) p.push_back(Bytes(size_t(kW) * kH));
  Nyx8u* planes[4];
  for (int c = 0; c < N; ++c) planes[c] = p[c].data();
  for (auto _ : st) {
    if constexpr (N == 3)
      nyxiCopy_8u_C3P3R(s.data(), kW * N, planes, kW, {kW, kH});
    else
      nyxiCopy_8u_C4P4R(s.data(), kW * N, planes, kW, {kW, kH});
    benchmark::DoNotOptimize(planes[N - 1]);
  }
  SetBytes(st, s.size());
}
template <int N>
void MergeNyx(benchmark::State& st) {
  std::vector<Buffer<uint8_t>> p;
  for (int c = 0; c < N; ++c) p.push_back(Bytes(size_t(kW) * kH));
  const Nyx8u* planes[4];
  for (int c = 0; c < N; ++c) planes[c] = p[c].data();
  auto d = Bytes(size_t(kW) * kH * N);
  for (auto _ : st) {
    if constexpr (N == 3)
      nyxiCopy_8u_P3C3R(planes, kW, d.data(), kW * N, {kW, kH});
    else
      nyxiCopy_8u_P4C4R(planes, kW, d.data(), kW * N, {kW, kH});
    benchmark::DoNotOptimize(d.data());
  }
  SetBytes(st, d.size());
}
void SwapNyx(benchmark::State& st) {
  auto s = Bytes(size_t(kW) * kH * 3), d = Bytes(size_t(kW) * kH * 3);
  const int order[3] = {2, 1, 0};
  for (auto _ : st) {
    nyxiSwapChannels_8u_C3R(s.data(), kW * 3, d.data(), kW * 3, {kW, kH}, order);
    benchmark::DoNotOptimize(d.data());
  }
  SetBytes(st, s.size());
}
BENCHMARK(SplitNyx<3>)->Name("Copy_8u_C3P3R/1920x1080/nyx")->UseRealTime();
BENCHMARK(MergeNyx<3>)->Name("Copy_8u_P3C3R/1920x1080/nyx")->UseRealTime();
BENCHMARK(SplitNyx<4>)->Name("Copy_8u_C4P4R/1920x1080/nyx")->UseRealTime();
BENCHMARK(MergeNyx<4>)->Name("Copy_8u_P4C4R/1920x1080/nyx")->UseRealTime();
BENCHMARK(SwapNyx)->Name("SwapChannels_8u_C3R/1920x1080/nyx")->UseRealTime();

#ifdef NYX_HAVE_OPENCV
struct SingleThread {
  SingleThread() { cv::setNumThreads(1); }
} single_thread;

template <int kType>
void TransposeCv(benchmark::State& st) {
  cv::Mat s(kH, kW, kType), d;
  cv::randu(s, 0, 255);
  d.create(kW, kH, kType);
  for (auto _ : st) {
    cv::transpose(s, d);
    benchmark::DoNotOptimize(d.data);
  }
  SetBytes(st, s.total() * s.elemSize());
}
BENCHMARK(TransposeCv<CV_8UC1>)->Name("Transpose_8u_C1R/1920x1080/cv")->UseRealTime();
BENCHMARK(TransposeCv<CV_32FC1>)->Name("Transpose_32f_C1R/1920x1080/cv")->UseRealTime();

void MirrorCv(benchmark::State& st, int code) {
  cv::Mat s(kH, kW, CV_8UC1), d(kH, kW, CV_8UC1);
  cv::randu(s, 0, 255);
  for (auto _ : st) {
    cv::flip(s, d, code);
    benchmark::DoNotOptimize(d.data);
  }
  SetBytes(st, s.total());
}
// Our flip 0 exchanges rows (OpenCV code 0), flip 1 columns (code 1), 2 both (-1).
BENCHMARK_CAPTURE(MirrorCv, f, 0)->Name("Mirror_8u_C1R/flip0/1920x1080/cv")->UseRealTime();
BENCHMARK_CAPTURE(MirrorCv, f, 1)->Name("Mirror_8u_C1R/flip1/1920x1080/cv")->UseRealTime();
BENCHMARK_CAPTURE(MirrorCv, f, -1)->Name("Mirror_8u_C1R/flip2/1920x1080/cv")->UseRealTime();

template <int N>
void SplitCv(benchmark::State& st) {
  cv::Mat s(kH, kW, CV_8UC(N));
  cv::randu(s, 0, 255);
  std::vector<cv::Mat> planes;
  for (int c = 0; c < N; ++c) planes.emplace_back(kH, kW, CV_8UC1);
  for (auto _ : st) {
    cv::split(s, planes);
    benchmark::DoNotOptimize(planes[N - 1].data);
  }
  SetBytes(st, s.total() * N);
}
template <int N>
void MergeCv(benchmark::State& st) {
  std::vector<cv::Mat> planes;
  for (int c = 0; c < N; ++c) planes.emplace_back(kH, kW, CV_8UC1);
  for (auto& p : planes) cv::randu(p, 0, 255);
  cv::Mat d(kH, kW, CV_8UC(N));
  for (auto _ : st) {
    cv::merge(planes, d);
    benchmark::DoNotOptimize(d.data);
  }
  SetBytes(st, d.total() * N);
}
void SwapCv(benchmark::State& st) {
  cv::Mat s(kH, kW, CV_8UC3), d(kH, kW, CV_8UC3);
  cv::randu(s, 0, 255);
  const int from_to[] = {0, 2, 1, 1, 2, 0};
  for (auto _ : st) {
    cv::mixChannels(&s, 1, &d, 1, from_to, 3);
    benchmark::DoNotOptimize(d.data);
  }
  SetBytes(st, s.total() * 3);
}
BENCHMARK(SplitCv<3>)->Name("Copy_8u_C3P3R/1920x1080/cv")->UseRealTime();
BENCHMARK(MergeCv<3>)->Name("Copy_8u_P3C3R/1920x1080/cv")->UseRealTime();
BENCHMARK(SplitCv<4>)->Name("Copy_8u_C4P4R/1920x1080/cv")->UseRealTime();
BENCHMARK(MergeCv<4>)->Name("Copy_8u_P4C4R/1920x1080/cv")->UseRealTime();
BENCHMARK(SwapCv)->Name("SwapChannels_8u_C3R/1920x1080/cv")->UseRealTime();
#endif

}  // namespace
