// Border copies at 1920x1080 with 16 pixels on every side, beside the peer's
// copyMakeBorder with the matching border and a plain copy of the same
// destination bytes.
#include <benchmark/benchmark.h>
#include <string.h>

#include <cstdint>
#include <string>
#include <vector>

#include "nyx.h"

#ifdef NYX_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

constexpr int kW = 1920, kH = 1080, kB = 16;

enum class Kind { kConst, kRepl, kMirror, kWrap };

template <class T, int kCh>
struct Images {
  std::vector<T> src, dst;
  int src_step = kW * kCh * static_cast<int>(sizeof(T));
  int dst_step = (kW + 2 * kB) * kCh * static_cast<int>(sizeof(T));
  Images()
      : src(static_cast<size_t>(kW) * kH * kCh),
        dst(static_cast<size_t>(kW + 2 * kB) * (kH + 2 * kB) * kCh) {
    for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<T>(i * 7 % 251);
  }
};

template <class T, int kCh>
NyxStatus CallNyx(Kind kind, Images<T, kCh>& im);

#define NYX_BENCH_CALLS(T, D, CH)                                                                 \
  template <>                                                                                     \
  NyxStatus CallNyx<Nyx##T, CH>(Kind kind, Images<Nyx##T, CH> & im) {                             \
    const NyxiSize s{kW, kH}, d{kW + 2 * kB, kH + 2 * kB};                                        \
    const Nyx##T* src = im.src.data();                                                            \
    Nyx##T* dst = im.dst.data();                                                                  \
    switch (kind) {                                                                               \
      case Kind::kConst:                                                                          \
        return nyxiCopyConstBorder_##T##_##D##R(src, im.src_step, s, dst, im.dst_step, d, kB, kB, \
                                                NYX_BENCH_VALUE_##D(T));                          \
      case Kind::kRepl:                                                                           \
        return nyxiCopyReplicateBorder_##T##_##D##R(src, im.src_step, s, dst, im.dst_step, d, kB, \
                                                    kB);                                          \
      case Kind::kMirror:                                                                         \
        return nyxiCopyMirrorBorder_##T##_##D##R(src, im.src_step, s, dst, im.dst_step, d, kB,    \
                                                 kB);                                             \
      case Kind::kWrap:                                                                           \
        return NYX_BENCH_WRAP_##T(src, im.src_step, s, dst, im.dst_step, d, kB, kB);              \
    }                                                                                             \
    return nyxStsErr;                                                                             \
  }

const Nyx8u kValue8[3] = {1, 2, 3};
#define NYX_BENCH_VALUE_C1(T) Nyx##T(5)
#define NYX_BENCH_VALUE_C3(T) kValue8
// The 8u forms have no Wrap: the 32s form moves the same bytes for C1 rows
// whose byte width is a multiple of 4, so it stands in for the 8u workload.
#define NYX_BENCH_WRAP_8u(src, ss, s, dst, ds, d, t, l)                                         \
  nyxiCopyWrapBorder_32s_C1R(reinterpret_cast<const Nyx32s*>(src), ss, {s.width / 4, s.height}, \
                             reinterpret_cast<Nyx32s*>(dst), ds, {d.width / 4, d.height}, t,    \
                             l / 4)
#define NYX_BENCH_WRAP_32f(src, ss, s, dst, ds, d, t, l) \
  nyxiCopyWrapBorder_32f_C1R(src, ss, s, dst, ds, d, t, l)

NYX_BENCH_CALLS(8u, C1, 1)
NYX_BENCH_CALLS(32f, C1, 1)

template <>
NyxStatus CallNyx<Nyx8u, 3>(Kind kind, Images<Nyx8u, 3>& im) {
  const NyxiSize s{kW, kH}, d{kW + 2 * kB, kH + 2 * kB};
  switch (kind) {
    case Kind::kConst:
      return nyxiCopyConstBorder_8u_C3R(im.src.data(), im.src_step, s, im.dst.data(), im.dst_step,
                                        d, kB, kB, kValue8);
    case Kind::kRepl:
      return nyxiCopyReplicateBorder_8u_C3R(im.src.data(), im.src_step, s, im.dst.data(),
                                            im.dst_step, d, kB, kB);
    case Kind::kMirror:
      return nyxiCopyMirrorBorder_8u_C3R(im.src.data(), im.src_step, s, im.dst.data(), im.dst_step,
                                         d, kB, kB);
    case Kind::kWrap:
      break;
  }
  return nyxStsErr;
}

template <class T, int kCh>
void BM_Nyx(benchmark::State& state, Kind kind) {
  Images<T, kCh> im;
  for (auto _ : state) {
    benchmark::DoNotOptimize(CallNyx<T, kCh>(kind, im));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(im.dst.size() * sizeof(T)));
}

template <class T, int kCh>
void BM_Memcpy(benchmark::State& state) {
  Images<T, kCh> im;
  std::vector<T> from(im.dst.size(), T(1));
  for (auto _ : state) {
    memcpy(im.dst.data(), from.data(), im.dst.size() * sizeof(T));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(im.dst.size() * sizeof(T)));
}

#ifdef NYX_HAVE_OPENCV
template <class T, int kCh>
void BM_Cv(benchmark::State& state, Kind kind) {
  cv::setNumThreads(1);
  Images<T, kCh> im;
  const int type = CV_MAKETYPE(cv::DataType<T>::depth, kCh);
  cv::Mat src(kH, kW, type, im.src.data(), static_cast<size_t>(im.src_step));
  cv::Mat dst(kH + 2 * kB, kW + 2 * kB, type, im.dst.data(), static_cast<size_t>(im.dst_step));
  const int border = kind == Kind::kConst    ? cv::BORDER_CONSTANT
                     : kind == Kind::kRepl   ? cv::BORDER_REPLICATE
                     : kind == Kind::kMirror ? cv::BORDER_REFLECT_101
                                             : cv::BORDER_WRAP;
  const cv::Scalar value(1, 2, 3);
  for (auto _ : state) {
    cv::copyMakeBorder(src, dst, kB, kB, kB, kB, border, value);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(im.dst.size() * sizeof(T)));
}
#endif

template <class T, int kCh>
void Register(const std::string& layout) {
  const std::string size = "/1920x1080b16/";
  const std::pair<Kind, const char*> kinds[] = {{Kind::kConst, "Const"},
                                                {Kind::kRepl, "Replicate"},
                                                {Kind::kMirror, "Mirror"},
                                                {Kind::kWrap, "Wrap"}};
  for (const auto& [kind, name] : kinds) {
    if (kind == Kind::kWrap && kCh == 3) continue;
    const std::string w = std::string("CopyBorder") + name + "_" + layout + size;
    benchmark::RegisterBenchmark((w + "nyx").c_str(), BM_Nyx<T, kCh>, kind)->UseRealTime();
#ifdef NYX_HAVE_OPENCV
    benchmark::RegisterBenchmark((w + "cv").c_str(), BM_Cv<T, kCh>, kind)->UseRealTime();
#endif
    benchmark::RegisterBenchmark((w + "memcpy").c_str(), BM_Memcpy<T, kCh>)->UseRealTime();
  }
}

[[maybe_unused]] const bool kRegistered = [] {
  Register<Nyx8u, 1>("8u_C1");
  Register<Nyx8u, 3>("8u_C3");
  Register<Nyx32f, 1>("32f_C1");
  return true;
}();

}  // namespace
