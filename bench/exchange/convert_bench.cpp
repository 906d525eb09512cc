// Conversion family: nyxiConvert, nyxiScale, nyxiScaleC at 1920x1080 and a
// small size, C1, contiguous rows; the peer is cv::Mat::convertTo with the
// same pair of types (and the matching alpha and beta).
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <type_traits>
#include <utility>

#include "nyx.h"

#ifdef NYX_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

namespace {

struct Size2 {
  int w, h;
};
constexpr Size2 kSizes[] = {{1920, 1080}, {64, 64}};
constexpr size_t kMaxBytes = size_t{1920} * 1080 * sizeof(double);

// One source and one destination area for every benchmark of this file, on
// 64-byte boundaries as the image allocator gives them. Ours, the peer and the
// yardstick of a workload all run on these same pages: at this image size the
// work is bound by the cache and memory system, and separate allocations land
// on different physical pages whose cache-set conflicts move a result by up to
// ten per cent from one allocation to the next, in either direction.
struct Arena {
  void* src = std::aligned_alloc(64, kMaxBytes);
  void* dst = std::aligned_alloc(64, kMaxBytes);
};
Arena& Shared() {
  static Arena arena;
  return arena;
}

// Fills the shared source with n random samples (floats within -50..300, so
// that narrowing both saturates and rounds) and clears the destination.
template <class S, class D>
std::pair<S*, D*> Prepare(size_t n) {
  auto* src = static_cast<S*>(Shared().src);
  auto* dst = static_cast<D*>(Shared().dst);
  std::mt19937 rng(1);
  for (size_t i = 0; i < n; ++i) {
    if constexpr (std::is_floating_point_v<S>)
      src[i] = static_cast<S>(std::uniform_real_distribution<double>(-50, 300)(rng));
    else
      src[i] = static_cast<S>(rng());
  }
  std::memset(dst, 0, n * sizeof(D));
  return {src, dst};
}

std::string SizeName(Size2 s) { return std::to_string(s.w) + "x" + std::to_string(s.h); }

// Registers Workload/<size>/nyx, .../cv and .../memcpy (the destination's
// bytes copied) for one pair of types.
template <class S, class D, class Ours>
void Register(const std::string& workload, Ours ours, int cv_src, int cv_dst, double alpha,
              double beta) {
  for (Size2 sz : kSizes) {
    const std::string base = workload + "/" + SizeName(sz);
    const size_t n = static_cast<size_t>(sz.w) * sz.h;
    benchmark::RegisterBenchmark((base + "/nyx").c_str(), [=](benchmark::State& st) {
      auto [src, dst] = Prepare<S, D>(n);
      for (auto _ : st) {
        ours(src, sz.w * static_cast<int>(sizeof(S)), dst, sz.w * static_cast<int>(sizeof(D)),
             NyxiSize{sz.w, sz.h});
        benchmark::DoNotOptimize(dst);
        benchmark::ClobberMemory();
      }
      st.SetBytesProcessed(st.iterations() * n * (sizeof(S) + sizeof(D)));
    })->UseRealTime();
#ifdef NYX_HAVE_OPENCV
    benchmark::RegisterBenchmark((base + "/cv").c_str(), [=](benchmark::State& st) {
      cv::setNumThreads(1);
      auto [src, dst] = Prepare<S, D>(n);
      // convertTo keeps a destination of the right size and type, so it
      // writes where ours does.
      cv::Mat m(sz.h, sz.w, cv_src, src);
      cv::Mat out(sz.h, sz.w, cv_dst, dst);
      for (auto _ : st) {
        m.convertTo(out, cv_dst, alpha, beta);
        benchmark::DoNotOptimize(out.data);
        benchmark::ClobberMemory();
      }
      if (out.data != static_cast<void*>(dst)) st.SkipWithError("convertTo reallocated");
      st.SetBytesProcessed(st.iterations() * n * (sizeof(S) + sizeof(D)));
    })->UseRealTime();
#endif
    benchmark::RegisterBenchmark((base + "/memcpy").c_str(), [=](benchmark::State& st) {
      auto [src, dst] = Prepare<D, D>(n);
      for (auto _ : st) {
        std::memcpy(dst, src, n * sizeof(D));
        benchmark::DoNotOptimize(dst);
        benchmark::ClobberMemory();
      }
    })->UseRealTime();
  }
}

#ifndef NYX_HAVE_OPENCV
enum { CV_8U = 0, CV_16S = 3, CV_32F = 5 };
#endif

int RegisterAll() {
  Register<Nyx8u, Nyx32f>("Convert_8u32f_C1R", nyxiConvert_8u32f_C1R, CV_8U, CV_32F, 1.0, 0.0);
  Register<Nyx32f, Nyx8u>(
      "Convert_32f8u_C1R",
      [](const Nyx32f* s, int ss, Nyx8u* d, int ds, NyxiSize r) {
        return nyxiConvert_32f8u_C1R(s, ss, d, ds, r, nyxRndNear);
      },
      CV_32F, CV_8U, 1.0, 0.0);
  Register<Nyx16s, Nyx8u>("Convert_16s8u_C1R", nyxiConvert_16s8u_C1R, CV_16S, CV_8U, 1.0, 0.0);
  Register<Nyx8u, Nyx16s>("Convert_8u16s_C1R", nyxiConvert_8u16s_C1R, CV_8U, CV_16S, 1.0, 0.0);
  Register<Nyx32f, Nyx16s>(
      "Convert_32f16s_C1R",
      [](const Nyx32f* s, int ss, Nyx16s* d, int ds, NyxiSize r) {
        return nyxiConvert_32f16s_C1R(s, ss, d, ds, r, nyxRndNear);
      },
      CV_32F, CV_16S, 1.0, 0.0);
  Register<Nyx8u, Nyx32f>(
      "Scale_8u32f_C1R",
      [](const Nyx8u* s, int ss, Nyx32f* d, int ds, NyxiSize r) {
        return nyxiScale_8u32f_C1R(s, ss, d, ds, r, 0.0f, 1.0f);
      },
      CV_8U, CV_32F, 1.0 / 255.0, 0.0);
  Register<Nyx8u, Nyx32f>(
      "ScaleC_8u32f_C1R",
      [](const Nyx8u* s, int ss, Nyx32f* d, int ds, NyxiSize r) {
        // No hint, as most callers pass: the single-precision kernel.
        return nyxiScaleC_8u32f_C1R(s, ss, 0.75, -3.5, d, ds, r, nyxAlgHintNone);
      },
      CV_8U, CV_32F, 0.75, -3.5);
  return 0;
}

const int kRegistered = RegisterAll();

}  // namespace
