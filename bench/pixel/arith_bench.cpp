// Benchmarks of the arithmetic family beside the OpenCV peer (one thread)
// and a memory yardstick: a memcpy that moves the same bytes as the
// operation (two images read and one written: a copy of one and a half
// images, which reads and writes as many bytes).
#include <benchmark/benchmark.h>

#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "nyx.h"

#ifdef NYX_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

namespace {

template <class T>
struct Images {
  int width, height, channels;
  std::vector<T> a, b, d, e;
  Images(int w, int h, int c) : width(w), height(h), channels(c) {
    const size_t n = static_cast<size_t>(w) * h * c;
    std::mt19937 rng(1);
    a.resize(n);
    b.resize(n);
    d.resize(n);
    e.resize(n + n / 2);
    for (size_t i = 0; i < n; ++i) {
      a[i] = static_cast<T>(rng() % 200 + 1);  // non-zero: divisors too
      b[i] = static_cast<T>(rng() % 250);
    }
  }
  int step() const { return width * channels * static_cast<int>(sizeof(T)); }
  NyxiSize size() const { return {width, height}; }
  size_t bytes() const { return d.size() * sizeof(T); }
#ifdef NYX_HAVE_OPENCV
  cv::Mat Wrap(std::vector<T>& v, int depth) {
    return cv::Mat(height, width, CV_MAKETYPE(depth, channels), v.data());
  }
#endif
};

// Registers <name>/<size>/{nyx,cv,memcpy}.
template <class T>
void Register(const std::string& name, int w, int h, int c,
              std::function<void(Images<T>&)> ours,
              std::function<void(Images<T>&)> peer) {
  const std::string base = name + "/" + std::to_string(w) + "x" + std::to_string(h) + "/";
  auto run = [=](benchmark::State& st, std::function<void(Images<T>&)> fn) {
    Images<T> img(w, h, c);
    for (auto _ : st) {
      fn(img);
      benchmark::DoNotOptimize(img.d.data());
      benchmark::ClobberMemory();
    }
    st.SetBytesProcessed(static_cast<int64_t>(st.iterations()) * img.bytes());
  };
  benchmark::RegisterBenchmark((base + "nyx").c_str(), run, ours)->UseRealTime();
#ifdef NYX_HAVE_OPENCV
  if (peer) benchmark::RegisterBenchmark((base + "cv").c_str(), run, peer)->UseRealTime();
#endif
  benchmark::RegisterBenchmark((base + "memcpy").c_str(), run, [](Images<T>& m) {
    std::memcpy(m.e.data(), m.a.data(), m.bytes());
    std::memcpy(m.e.data() + m.d.size(), m.b.data(), m.bytes() / 2);
  })->UseRealTime();
}

#ifdef NYX_HAVE_OPENCV
#define NYX_PEER(body) [](auto& m) { body; }
#else
#define NYX_PEER(body) nullptr
#endif

using Fn8u = NyxStatus (*)(const Nyx8u*, int, const Nyx8u*, int, Nyx8u*, int, NyxiSize, int);
using Fn16s = NyxStatus (*)(const Nyx16s*, int, const Nyx16s*, int, Nyx16s*, int, NyxiSize, int);
using FnF = NyxStatus (*)(const Nyx32f*, int, const Nyx32f*, int, Nyx32f*, int, NyxiSize);

template <class T, class F>
std::function<void(Images<T>&)> Ours(F fn, int sf) {
  return [fn, sf](Images<T>& m) {
    fn(m.a.data(), m.step(), m.b.data(), m.step(), m.d.data(), m.step(), m.size(), sf);
  };
}
template <class F>
std::function<void(Images<Nyx32f>&)> OursF(F fn) {
  return [fn](Images<Nyx32f>& m) {
    fn(m.a.data(), m.step(), m.b.data(), m.step(), m.d.data(), m.step(), m.size());
  };
}

using P8 = std::function<void(Images<Nyx8u>&)>;

int RegisterAll() {
#ifdef NYX_HAVE_OPENCV
  cv::setNumThreads(1);
#endif
  struct Size {
    int w, h;
  };
  for (Size s : {Size{1920, 1080}, Size{256, 256}}) {
    for (int c : {1, 3}) {
      const std::string d = c == 1 ? "C1" : "C3";
      const Fn8u add8 = c == 1 ? nyxiAdd_8u_C1RSfs : nyxiAdd_8u_C3RSfs;
      const Fn8u sub8 = c == 1 ? nyxiSub_8u_C1RSfs : nyxiSub_8u_C3RSfs;
      const Fn8u mul8 = c == 1 ? nyxiMul_8u_C1RSfs : nyxiMul_8u_C3RSfs;
      for (int sf : {0, 1}) {
        const std::string t = "_8u_" + d + "RSfs/sf" + std::to_string(sf);
        const double k = sf ? 0.5 : 1.0;
        Register<Nyx8u>("Add" + t, s.w, s.h, c, Ours<Nyx8u>(add8, sf),
                        sf ? P8(NYX_PEER(cv::addWeighted(m.Wrap(m.a, CV_8U), 0.5, m.Wrap(m.b, CV_8U), 0.5, 0, m.Wrap(m.d, CV_8U))))
                           : P8(NYX_PEER(cv::add(m.Wrap(m.a, CV_8U), m.Wrap(m.b, CV_8U), m.Wrap(m.d, CV_8U)))));
        Register<Nyx8u>("Sub" + t, s.w, s.h, c, Ours<Nyx8u>(sub8, sf),
                        sf ? P8(NYX_PEER(cv::addWeighted(m.Wrap(m.b, CV_8U), 0.5, m.Wrap(m.a, CV_8U), -0.5, 0, m.Wrap(m.d, CV_8U))))
                           : P8(NYX_PEER(cv::subtract(m.Wrap(m.b, CV_8U), m.Wrap(m.a, CV_8U), m.Wrap(m.d, CV_8U)))));
#ifdef NYX_HAVE_OPENCV
        Register<Nyx8u>("Mul" + t, s.w, s.h, c, Ours<Nyx8u>(mul8, sf), [k](auto& m) {
          cv::multiply(m.Wrap(m.a, CV_8U), m.Wrap(m.b, CV_8U), m.Wrap(m.d, CV_8U), k);
        });
#else
        Register<Nyx8u>("Mul" + t, s.w, s.h, c, Ours<Nyx8u>(mul8, sf), nullptr);
#endif
      }
      const Fn16s add16 = c == 1 ? nyxiAdd_16s_C1RSfs : nyxiAdd_16s_C3RSfs;
      const Fn16s sub16 = c == 1 ? nyxiSub_16s_C1RSfs : nyxiSub_16s_C3RSfs;
      const Fn16s mul16 = c == 1 ? nyxiMul_16s_C1RSfs : nyxiMul_16s_C3RSfs;
      const std::string t16 = "_16s_" + d + "RSfs/sf0";
      Register<Nyx16s>("Add" + t16, s.w, s.h, c, Ours<Nyx16s>(add16, 0),
                       NYX_PEER(cv::add(m.Wrap(m.a, CV_16S), m.Wrap(m.b, CV_16S), m.Wrap(m.d, CV_16S))));
      Register<Nyx16s>("Sub" + t16, s.w, s.h, c, Ours<Nyx16s>(sub16, 0),
                       NYX_PEER(cv::subtract(m.Wrap(m.b, CV_16S), m.Wrap(m.a, CV_16S), m.Wrap(m.d, CV_16S))));
      Register<Nyx16s>("Mul" + t16, s.w, s.h, c, Ours<Nyx16s>(mul16, 0),
                       NYX_PEER(cv::multiply(m.Wrap(m.a, CV_16S), m.Wrap(m.b, CV_16S), m.Wrap(m.d, CV_16S))));
      const FnF addf = c == 1 ? nyxiAdd_32f_C1R : nyxiAdd_32f_C3R;
      const FnF subf = c == 1 ? nyxiSub_32f_C1R : nyxiSub_32f_C3R;
      const FnF mulf = c == 1 ? nyxiMul_32f_C1R : nyxiMul_32f_C3R;
      const std::string tf = "_32f_" + d + "R";
      Register<Nyx32f>("Add" + tf, s.w, s.h, c, OursF(addf),
                       NYX_PEER(cv::add(m.Wrap(m.a, CV_32F), m.Wrap(m.b, CV_32F), m.Wrap(m.d, CV_32F))));
      Register<Nyx32f>("Sub" + tf, s.w, s.h, c, OursF(subf),
                       NYX_PEER(cv::subtract(m.Wrap(m.b, CV_32F), m.Wrap(m.a, CV_32F), m.Wrap(m.d, CV_32F))));
      Register<Nyx32f>("Mul" + tf, s.w, s.h, c, OursF(mulf),
                       NYX_PEER(cv::multiply(m.Wrap(m.a, CV_32F), m.Wrap(m.b, CV_32F), m.Wrap(m.d, CV_32F))));
    }
    Register<Nyx8u>("Div_8u_C1RSfs/sf0", s.w, s.h, 1, Ours<Nyx8u>(nyxiDiv_8u_C1RSfs, 0),
                    NYX_PEER(cv::divide(m.Wrap(m.b, CV_8U), m.Wrap(m.a, CV_8U), m.Wrap(m.d, CV_8U))));
    Register<Nyx32f>("Div_32f_C1R", s.w, s.h, 1, OursF(nyxiDiv_32f_C1R),
                     NYX_PEER(cv::divide(m.Wrap(m.b, CV_32F), m.Wrap(m.a, CV_32F), m.Wrap(m.d, CV_32F))));
  }
  return 0;
}

const int kRegistered = RegisterAll();

}  // namespace
