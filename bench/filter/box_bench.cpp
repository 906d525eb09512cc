// The box filter and window sums at 1920x1080 with a replicated border,
// beside cv::blur and cv::boxFilter (unnormalised, to CV_32S).
#include <type_traits>
#include <vector>

#include "bench/support/bench_util.h"
#include "nyx.h"

#ifdef NYX_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

using nyx::bench::Buffer;
using nyx::bench::kFullH;
using nyx::bench::kFullW;

template <class S, class D, class Fn>
void RunNyx(benchmark::State& state, Fn fn, NyxDataType type, int nc, int m) {
  const int w = kFullW, h = kFullH;
  Buffer src(sizeof(S) * nc * w * h, 1), dst(sizeof(D) * nc * w * h, 2);
  if constexpr (std::is_same_v<S, float>) {
    for (size_t i = 0; i < size_t(nc) * w * h; ++i) src.as<float>()[i] = float(i % 251);
  }
  int size = 0;
  nyxiFilterBoxBorderGetBufferSize({w, h}, {m, m}, type, nc, &size);
  Buffer buffer(size, 3);
  for (auto _ : state) {
    fn(src.as<S>(), int(sizeof(S)) * nc * w, dst.as<D>(), int(sizeof(D)) * nc * w, NyxiSize{w, h},
       NyxiSize{m, m}, nyxBorderRepl, nullptr, buffer.as());
    benchmark::ClobberMemory();
  }
  nyx::bench::SetBytes(state, size_t(w) * h * nc * sizeof(S));
}

void Box8uC1(benchmark::State& s, int m) {
  RunNyx<Nyx8u, Nyx8u>(s, nyxiFilterBoxBorder_8u_C1R, nyx8u, 1, m);
}
void Box8uC1_3(benchmark::State& s) { Box8uC1(s, 3); }
void Box8uC1_5(benchmark::State& s) { Box8uC1(s, 5); }
void Box8uC1_15(benchmark::State& s) { Box8uC1(s, 15); }
void Box8uC3_5(benchmark::State& s) {
  RunNyx<Nyx8u, Nyx8u>(s, nyxiFilterBoxBorder_8u_C3R, nyx8u, 3, 5);
}
void Box32fC1_5(benchmark::State& s) {
  RunNyx<Nyx32f, Nyx32f>(s, nyxiFilterBoxBorder_32f_C1R, nyx32f, 1, 5);
}
void Sum8u32sC1_5(benchmark::State& s) {
  RunNyx<Nyx8u, Nyx32s>(s, nyxiSumWindow_8u32s_C1R, nyx8u, 1, 5);
}
BENCHMARK(Box8uC1_3)->Name("FilterBoxBorder_8u_C1R/3x3/1920x1080/nyx")->UseRealTime();
BENCHMARK(Box8uC1_5)->Name("FilterBoxBorder_8u_C1R/5x5/1920x1080/nyx")->UseRealTime();
BENCHMARK(Box8uC1_15)->Name("FilterBoxBorder_8u_C1R/15x15/1920x1080/nyx")->UseRealTime();
BENCHMARK(Box8uC3_5)->Name("FilterBoxBorder_8u_C3R/5x5/1920x1080/nyx")->UseRealTime();
BENCHMARK(Box32fC1_5)->Name("FilterBoxBorder_32f_C1R/5x5/1920x1080/nyx")->UseRealTime();
BENCHMARK(Sum8u32sC1_5)->Name("SumWindow_8u32s_C1R/5x5/1920x1080/nyx")->UseRealTime();

#ifdef NYX_HAVE_OPENCV
void RunCv(benchmark::State& state, int type, int ddepth, int m, bool normalize) {
  nyx::bench::SingleThreadPeer();
  cv::Mat src(kFullH, kFullW, type), dst;
  cv::randu(src, 0, 255);
  for (auto _ : state) {
    if (normalize) {
      cv::blur(src, dst, cv::Size(m, m), cv::Point(-1, -1), cv::BORDER_REPLICATE);
    } else {
      cv::boxFilter(src, dst, ddepth, cv::Size(m, m), cv::Point(-1, -1), false,
                    cv::BORDER_REPLICATE);
    }
    benchmark::ClobberMemory();
  }
  nyx::bench::SetBytes(state, src.total() * src.elemSize());
}
void CvBox8uC1_3(benchmark::State& s) { RunCv(s, CV_8UC1, -1, 3, true); }
void CvBox8uC1_5(benchmark::State& s) { RunCv(s, CV_8UC1, -1, 5, true); }
void CvBox8uC1_15(benchmark::State& s) { RunCv(s, CV_8UC1, -1, 15, true); }
void CvBox8uC3_5(benchmark::State& s) { RunCv(s, CV_8UC3, -1, 5, true); }
void CvBox32fC1_5(benchmark::State& s) { RunCv(s, CV_32FC1, -1, 5, true); }
void CvSum8u32sC1_5(benchmark::State& s) { RunCv(s, CV_8UC1, CV_32S, 5, false); }
BENCHMARK(CvBox8uC1_3)->Name("FilterBoxBorder_8u_C1R/3x3/1920x1080/cv")->UseRealTime();
BENCHMARK(CvBox8uC1_5)->Name("FilterBoxBorder_8u_C1R/5x5/1920x1080/cv")->UseRealTime();
BENCHMARK(CvBox8uC1_15)->Name("FilterBoxBorder_8u_C1R/15x15/1920x1080/cv")->UseRealTime();
BENCHMARK(CvBox8uC3_5)->Name("FilterBoxBorder_8u_C3R/5x5/1920x1080/cv")->UseRealTime();
BENCHMARK(CvBox32fC1_5)->Name("FilterBoxBorder_32f_C1R/5x5/1920x1080/cv")->UseRealTime();
BENCHMARK(CvSum8u32sC1_5)->Name("SumWindow_8u32s_C1R/5x5/1920x1080/cv")->UseRealTime();
#endif

}  // namespace
