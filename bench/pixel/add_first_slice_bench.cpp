// nyxiAdd_8u_C1RSfs at scale factors 0 and 1 beside cv::add, and the memcpy
// yardstick of the destination's bytes.
#include "bench/support/bench_util.h"
#include "nyx.h"

#ifdef NYX_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

namespace {

using nyx::bench::Buffer;
using nyx::bench::kFullH;
using nyx::bench::kFullW;

void AddNyx(benchmark::State& state, int sf) {
  const int w = kFullW, h = kFullH;
  Buffer a(size_t(w) * h, 1), b(size_t(w) * h, 2), d(size_t(w) * h, 3);
  for (auto _ : state) {
    nyxiAdd_8u_C1RSfs(a.as(), w, b.as(), w, d.as(), w, {w, h}, sf);
    benchmark::ClobberMemory();
  }
  nyx::bench::SetBytes(state, size_t(w) * h * 3);
}

void AddSf0Nyx(benchmark::State& state) { AddNyx(state, 0); }
void AddSf1Nyx(benchmark::State& state) { AddNyx(state, 1); }
void AddYardstick(benchmark::State& state) {
  nyx::bench::MemcpyYardstick(state, size_t(kFullW) * kFullH);
}
BENCHMARK(AddSf0Nyx)->Name("Add_8u_C1RSfs/sf0/1920x1080/nyx")->UseRealTime();
BENCHMARK(AddYardstick)->Name("Add_8u_C1RSfs/sf0/1920x1080/memcpy")->UseRealTime();
BENCHMARK(AddSf1Nyx)->Name("Add_8u_C1RSfs/sf1/1920x1080/nyx")->UseRealTime();

#ifdef NYX_HAVE_OPENCV
void AddCv(benchmark::State& state) {
  nyx::bench::SingleThreadPeer();
  cv::Mat a(kFullH, kFullW, CV_8UC1), b(kFullH, kFullW, CV_8UC1), d(kFullH, kFullW, CV_8UC1);
  cv::randu(a, 0, 256);
  cv::randu(b, 0, 256);
  for (auto _ : state) {
    cv::add(a, b, d);
    benchmark::ClobberMemory();
  }
  nyx::bench::SetBytes(state, size_t(kFullW) * kFullH * 3);
}
BENCHMARK(AddCv)->Name("Add_8u_C1RSfs/sf0/1920x1080/cv")->UseRealTime();
#endif

}  // namespace
