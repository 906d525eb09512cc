// The nyx demo: prints the version record, makes a synthetic test image in
// memory, runs every operation built so far on it, writes the results as PNG
// files and prints a timing table.
//
//   nyx_demo [output-directory]      (default: demo-out)
#include <sys/stat.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "examples/png_writer.h"
#include "nyx.h"

namespace {

constexpr int kW = 640, kH = 480;

struct Image {
  Nyx8u* data = nullptr;
  int step = 0;
  int channels = 0;
  Image(int w, int h, int ch) : channels(ch) {
    data = ch == 1 ? nyxiMalloc_8u_C1(w, h, &step)
                   : (ch == 3 ? nyxiMalloc_8u_C3(w, h, &step) : nyxiMalloc_8u_C4(w, h, &step));
  }
  ~Image() { nyxiFree(data); }
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;
  Nyx8u* Row(int y) { return data + static_cast<ptrdiff_t>(y) * step; }
};

// Rings of colour over a diagonal ramp: smooth areas, edges and every hue.
void MakeTestImage(Image& img) {
  for (int y = 0; y < kH; ++y) {
    Nyx8u* p = img.Row(y);
    for (int x = 0; x < kW; ++x, p += img.channels) {
      double dx = x - kW / 2.0, dy = y - kH / 2.0, r = std::sqrt(dx * dx + dy * dy);
      double a = std::atan2(dy, dx);
      double ring = 0.5 + 0.5 * std::cos(r / 6.0);
      p[0] = static_cast<Nyx8u>(255 * ring * (0.5 + 0.5 * std::cos(a)));
      p[1] = static_cast<Nyx8u>(255 * ring * (0.5 + 0.5 * std::cos(a + 2.094)));
      p[2] = static_cast<Nyx8u>((x + y) * 255 / (kW + kH));
      if (img.channels == 4) p[3] = 255;
    }
  }
}

struct Timing {
  std::string name;
  double micros;
};

double TimeIt(const std::function<void()>& fn) {
  fn();  // warm up
  std::vector<double> runs;
  for (int i = 0; i < 15; ++i) {
    auto t0 = std::chrono::steady_clock::now();
    fn();
    auto t1 = std::chrono::steady_clock::now();
    runs.push_back(std::chrono::duration<double, std::micro>(t1 - t0).count());
  }
  std::sort(runs.begin(), runs.end());
  return runs[runs.size() / 2];
}

void Save(const std::string& dir, const char* name, Image& img) {
  std::string path = dir + "/" + name;
  bool ok = nyx_demo::WritePng(path.c_str(), img.data, kW, kH, img.step, img.channels);
  std::printf("  wrote %s%s\n", path.c_str(), ok ? "" : " (FAILED)");
}

void Check(NyxStatus st, const char* what) {
  if (st != nyxStsNoErr) std::printf("  %s: %s\n", what, nyxGetStatusString(st));
}

}  // namespace

int main(int argc, char** argv) {
  std::string dir = argc > 1 ? argv[1] : "demo-out";
  mkdir(dir.c_str(), 0755);

  const NyxLibraryVersion* v = nyxiGetLibVersion();
  std::printf("%s\n  version %s, built %s, target %s, ABI %d\n", v->Name, v->Version, v->BuildDate,
              v->targetCpu, v->abiMajor);
  int cache = 0;
  if (nyxGetMaxCacheSizeB(&cache) == nyxStsNoErr) {
    std::printf("  largest cache: %d KiB\n", cache / 1024);
  }

  Image src(kW, kH, 3), inv(kW, kH, 3), out(kW, kH, 3), rgba(kW, kH, 4);
  MakeTestImage(src);
  MakeTestImage(rgba);
  // A second image: the first one upside down, made with plain loops.
  for (int y = 0; y < kH; ++y) std::memcpy(inv.Row(y), src.Row(kH - 1 - y), kW * 3);
  Save(dir, "source.png", src);

  const NyxiSize roi{kW, kH};
  std::vector<Timing> times;

  Check(nyxiAdd_8u_C3RSfs(src.data, src.step, inv.data, inv.step, out.data, out.step, roi, 1),
        "Add sf 1");
  Save(dir, "add_blend.png", out);  // (a + b) / 2: a blend of the two images
  times.push_back({"nyxiAdd_8u_C3RSfs sf=1 (blend)", TimeIt([&] {
                     nyxiAdd_8u_C3RSfs(src.data, src.step, inv.data, inv.step, out.data,
                                       out.step, roi, 1);
                   })});

  Check(nyxiAdd_8u_C3RSfs(src.data, src.step, inv.data, inv.step, out.data, out.step, roi, 0),
        "Add sf 0");
  Save(dir, "add_saturated.png", out);
  times.push_back({"nyxiAdd_8u_C3RSfs sf=0 (saturated sum)", TimeIt([&] {
                     nyxiAdd_8u_C3RSfs(src.data, src.step, inv.data, inv.step, out.data,
                                       out.step, roi, 0);
                   })});

  const Nyx8u red[3] = {200, 30, 30};
  const NyxiSize box{kW / 2, kH / 2};
  Check(nyxiSet_8u_AC4R(red, rgba.Row(kH / 4) + 4 * (kW / 4), rgba.step, box), "Set AC4");
  Save(dir, "set_ac4_box.png", rgba);
  times.push_back({"nyxiSet_8u_AC4R (quarter box)", TimeIt([&] {
                     nyxiSet_8u_AC4R(red, rgba.Row(kH / 4) + 4 * (kW / 4), rgba.step, box);
                   })});

  std::printf("\n%-44s %12s\n", "operation (640x480)", "median us");
  for (const Timing& t : times) std::printf("%-44s %12.1f\n", t.name.c_str(), t.micros);
  return 0;
}
