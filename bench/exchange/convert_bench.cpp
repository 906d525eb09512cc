// Conversion family: nyxiConvert, nyxiScale, nyxiScaleC at 1920x1080 and a
// small size, C1, contiguous rows; the peer is cv::Mat::convertTo with the
// same pair of types (and the matching alpha and beta).
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "nyx.h"

#ifdef NYX_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

namespace {

template <class T>
struct AlignedAlloc {
  using value_type = T;
  AlignedAlloc() = default;
  template <class U>
  AlignedAlloc(const AlignedAlloc<U>&) {}
  T* allocate(size_t n) {
    return static_cast<T*>(std::aligned_alloc(64, (n * sizeof(T) + 63) / 64 * 64));
  }
  void deallocate(T* p, size_t) { std::free(p); }
  bool operator==(const AlignedAlloc&) const { return true; }
};

struct Size2 {
  int w, h;
};
constexpr Size2 kSizes[] = {{1920, 1080}, {64, 64}};

// Buffers on 64-byte boundaries, as the image allocator gives them.
template <class T>
using Buffer = std::vector<T, AlignedAlloc<T>>;

template <class T>
Buffer<T> Random(size_t n) {
  std::mt19937 rng(1);
  Buffer<T> v(n);
  for (auto& x : v) {
    if constexpr (std::is_floating_point_v<T>)
      x = static_cast<T>(std::uniform_real_distribution<double>(-50, 300)(rng));
    else
      x = static_cast<T>(rng());
  }
  return v;
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
      auto src = Random<S>(n);
      Buffer<D> dst(n);
      for (auto _ : st) {
        ours(src.data(), sz.w * static_cast<int>(sizeof(S)), dst.data(),
             sz.w * static_cast<int>(sizeof(D)), NyxiSize{sz.w, sz.h});
        benchmark::DoNotOptimize(dst.data());
      }
      st.SetBytesProcessed(st.iterations() * n * (sizeof(S) + sizeof(D)));
    })->UseRealTime();
#ifdef NYX_HAVE_OPENCV
    benchmark::RegisterBenchmark((base + "/cv").c_str(), [=](benchmark::State& st) {
      cv::setNumThreads(1);
      auto src = Random<S>(n);
      cv::Mat m(sz.h, sz.w, cv_src, src.data());
      // The destination is a buffer like ours (convertTo keeps it: same size
      // and type), so both run on identically placed memory.
      Buffer<D> dst(n);
      cv::Mat out(sz.h, sz.w, cv_dst, dst.data());
      for (auto _ : st) {
        m.convertTo(out, cv_dst, alpha, beta);
        benchmark::DoNotOptimize(out.data);
      }
      st.SetBytesProcessed(st.iterations() * n * (sizeof(S) + sizeof(D)));
    })->UseRealTime();
#endif
    benchmark::RegisterBenchmark((base + "/memcpy").c_str(), [=](benchmark::State& st) {
      Buffer<D> a(n, D(1)), b(n);
      for (auto _ : st) {
        std::memcpy(b.data(), a.data(), n * sizeof(D));
        benchmark::DoNotOptimize(b.data());
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
        return nyxiScaleC_8u32f_C1R(s, ss, 0.75, -3.5, d, ds, r, nyxAlgHintFast);
      },
      CV_8U, CV_32F, 0.75, -3.5);
  return 0;
}

const int kRegistered = RegisterAll();

}  // namespace
