// nyxiFilterBorder at 1920x1080: 8u with a 5x5 integer kernel and 32f with a
// 7x7 float kernel, beside cv::filter2D with the same kernel and replicate.
#include <vector>

#include "bench/support/bench_util.h"
#include "nyx.h"

#ifdef NYX_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

using nyx::bench::Buffer;
using nyx::bench::kFullH;
using nyx::bench::kFullW;

constexpr int kDiv5 = 100;
std::vector<Nyx16s> Kernel5() {
  std::vector<Nyx16s> k(25);
  for (int i = 0; i < 25; ++i) k[i] = static_cast<Nyx16s>((i * 7) % 11 - 3);
  return k;
}
std::vector<float> Kernel7() {
  std::vector<float> k(49);
  for (int i = 0; i < 49; ++i) k[i] = 0.01f * static_cast<float>((i * 5) % 13) - 0.03f;
  return k;
}

template <class T>
void Run(benchmark::State& state, NyxiSize ks, NyxDataType type, bool int_taps) {
  const int w = kFullW, h = kFullH;
  Buffer src(size_t(w) * h * sizeof(T), 1), dst(size_t(w) * h * sizeof(T), 2);
  if constexpr (sizeof(T) == 4) {
    for (size_t i = 0; i < size_t(w) * h; ++i) src.as<float>()[i] = static_cast<float>(src.as<uint8_t>()[i % 4096]);
  }
  int spec_size = 0, buf_size = 0;
  nyxiFilterBorderGetSize(ks, {w, h}, type, int_taps ? nyx16s : nyx32f, 1, &spec_size, &buf_size);
  Buffer spec{static_cast<size_t>(spec_size)}, buf{static_cast<size_t>(buf_size)};
  auto* sp = reinterpret_cast<NyxiFilterBorderSpec*>(spec.as());
  if (int_taps) nyxiFilterBorderInit_16s(Kernel5().data(), ks, kDiv5, type, 1, nyxRndNear, sp);
  else nyxiFilterBorderInit_32f(Kernel7().data(), ks, type, 1, nyxRndNear, sp);
  const int step = w * static_cast<int>(sizeof(T));
  for (auto _ : state) {
    if constexpr (sizeof(T) == 1) {
      nyxiFilterBorder_8u_C1R(src.as<T>(), step, dst.as<T>(), step, {w, h}, nyxBorderRepl, nullptr, sp, buf.as());
    } else {
      nyxiFilterBorder_32f_C1R(src.as<T>(), step, dst.as<T>(), step, {w, h}, nyxBorderRepl, nullptr, sp, buf.as());
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * int64_t{w} * h);
}

void Int5x5Nyx(benchmark::State& s) { Run<Nyx8u>(s, {5, 5}, nyx8u, true); }
void Float7x7Nyx(benchmark::State& s) { Run<Nyx32f>(s, {7, 7}, nyx32f, false); }
BENCHMARK(Int5x5Nyx)->Name("FilterBorder_8u_C1R/5x5int/1920x1080/nyx")->UseRealTime();
BENCHMARK(Float7x7Nyx)->Name("FilterBorder_32f_C1R/7x7/1920x1080/nyx")->UseRealTime();

#ifdef NYX_HAVE_OPENCV
// OpenCV correlates; the flipped kernel makes the same convolution.
void Int5x5Cv(benchmark::State& state) {
  nyx::bench::SingleThreadPeer();
  cv::Mat src(kFullH, kFullW, CV_8UC1), dst;
  cv::randu(src, 0, 256);
  const std::vector<Nyx16s> k = Kernel5();
  cv::Mat kf(5, 5, CV_32F);
  for (int i = 0; i < 25; ++i) kf.at<float>(4 - i / 5, 4 - i % 5) = static_cast<float>(k[i]) / kDiv5;
  for (auto _ : state) {
    cv::filter2D(src, dst, CV_8U, kf, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * int64_t{kFullW} * kFullH);
}
void Float7x7Cv(benchmark::State& state) {
  nyx::bench::SingleThreadPeer();
  cv::Mat src(kFullH, kFullW, CV_32FC1), dst;
  cv::randu(src, 0, 255);
  const std::vector<float> k = Kernel7();
  cv::Mat kf(7, 7, CV_32F);
  for (int i = 0; i < 49; ++i) kf.at<float>(6 - i / 7, 6 - i % 7) = k[i];
  for (auto _ : state) {
    cv::filter2D(src, dst, CV_32F, kf, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * int64_t{kFullW} * kFullH);
}
BENCHMARK(Int5x5Cv)->Name("FilterBorder_8u_C1R/5x5int/1920x1080/cv")->UseRealTime();
BENCHMARK(Float7x7Cv)->Name("FilterBorder_32f_C1R/7x7/1920x1080/cv")->UseRealTime();
#endif

}  // namespace
