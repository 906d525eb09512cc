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
  int width = 0, height = 0, channels = 0;
  Image(int w, int h, int ch) : width(w), height(h), channels(ch) {
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
  bool ok = nyx_demo::WritePng(path.c_str(), img.data, img.width, img.height, img.step,
                               img.channels);
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

  Image src(kW, kH, 3), flipped(kW, kH, 3), out(kW, kH, 3), rgba(kW, kH, 4);
  MakeTestImage(src);
  MakeTestImage(rgba);
  Save(dir, "source.png", src);

  const NyxiSize roi{kW, kH};
  std::vector<Timing> times;
  auto run = [&](const char* name, const char* file, Image& shown, const std::function<NyxStatus()>& fn) {
    Check(fn(), name);
    if (file) Save(dir, file, shown);
    times.push_back({name, TimeIt([&] { fn(); })});
  };

  // Copy and channel operations.
  run("nyxiMirror_8u_C3R (vertical axis)", "mirror.png", flipped, [&] {
    return nyxiMirror_8u_C3R(src.data, src.step, flipped.data, flipped.step, roi, nyxAxsVertical);
  });
  Image transposed(kH, kW, 3);
  run("nyxiTranspose_8u_C3R", "transpose.png", transposed, [&] {
    return nyxiTranspose_8u_C3R(src.data, src.step, transposed.data, transposed.step, roi);
  });
  const int bgr[3] = {2, 1, 0};
  run("nyxiSwapChannels_8u_C3R (RGB to BGR)", "swap_channels.png", out, [&] {
    return nyxiSwapChannels_8u_C3R(src.data, src.step, out.data, out.step, roi, bgr);
  });

  // Arithmetic: (a + b) / 2 with round half to even is a blend of the image
  // and its mirror; the saturated sum brightens.
  run("nyxiAdd_8u_C3RSfs sf=1 (blend)", "add_blend.png", out, [&] {
    return nyxiAdd_8u_C3RSfs(src.data, src.step, flipped.data, flipped.step, out.data, out.step,
                             roi, 1);
  });
  run("nyxiAdd_8u_C3RSfs sf=0 (saturated sum)", "add_saturated.png", out, [&] {
    return nyxiAdd_8u_C3RSfs(src.data, src.step, flipped.data, flipped.step, out.data, out.step,
                             roi, 0);
  });
  const Nyx8u tint[3] = {255, 160, 96};
  run("nyxiMulCScale_8u_C3R (tint)", "tint.png", out, [&] {
    return nyxiMulCScale_8u_C3R(src.data, src.step, tint, out.data, out.step, roi);
  });
  const Nyx8u red[3] = {200, 30, 30};
  const NyxiSize box{kW / 2, kH / 2};
  run("nyxiSet_8u_AC4R (quarter box)", "set_ac4_box.png", rgba, [&] {
    return nyxiSet_8u_AC4R(red, rgba.Row(kH / 4) + 4 * (kW / 4), rgba.step, box);
  });

  // Conversion round trip through floats, with a contrast stretch.
  Nyx32f* f = nullptr;
  int fstep = 0;
  f = nyxiMalloc_32f_C3(kW, kH, &fstep);
  run("nyxiConvert_8u32f_C3R", nullptr, out, [&] {
    return nyxiConvert_8u32f_C3R(src.data, src.step, f, fstep, roi);
  });
  run("nyxiScale_32f8u_C3R (range 64..192)", "scale_contrast.png", out, [&] {
    return nyxiScale_32f8u_C3R(f, fstep, out.data, out.step, roi, 64.0f, 192.0f);
  });
  nyxiFree(f);

  // Border extension: a mirrored frame of 48 pixels.
  const int b = 48;
  Image framed(kW + 2 * b, kH + 2 * b, 3);
  run("nyxiCopyMirrorBorder_8u_C3R (48 px)", "mirror_border.png", framed, [&] {
    return nyxiCopyMirrorBorder_8u_C3R(src.data, src.step, roi, framed.data, framed.step,
                                       {framed.width, framed.height}, b, b);
  });

  // Box filter: a 15x15 mean with replicated edges.
  int buf_size = 0;
  const NyxiSize mask{15, 15};
  Check(nyxiFilterBoxBorderGetBufferSize(roi, mask, nyx8u, 3, &buf_size), "box buffer size");
  Nyx8u* buf = static_cast<Nyx8u*>(nyxMalloc(buf_size));
  run("nyxiFilterBoxBorder_8u_C3R 15x15", "box_blur.png", out, [&] {
    return nyxiFilterBoxBorder_8u_C3R(src.data, src.step, out.data, out.step, roi, mask,
                                      nyxBorderRepl, nullptr, buf);
  });
  nyxFree(buf);

  // General kernel filter: a 3x3 sharpen (centre 9, neighbours -1, divisor 1).
  const Nyx16s sharpen[9] = {-1, -1, -1, -1, 9, -1, -1, -1, -1};
  const NyxiSize ksize{3, 3};
  int spec_size = 0;
  Check(nyxiFilterBorderGetSize(ksize, roi, nyx8u, nyx16s, 3, &spec_size, &buf_size),
        "filter sizes");
  auto* spec = static_cast<NyxiFilterBorderSpec*>(nyxMalloc(spec_size));
  buf = static_cast<Nyx8u*>(nyxMalloc(buf_size));
  Check(nyxiFilterBorderInit_16s(sharpen, ksize, 1, nyx8u, 3, nyxRndNear, spec), "filter init");
  run("nyxiFilterBorder_8u_C3R 3x3 sharpen", "sharpen.png", out, [&] {
    return nyxiFilterBorder_8u_C3R(src.data, src.step, out.data, out.step, roi, nyxBorderRepl,
                                   nullptr, spec, buf);
  });
  nyxFree(buf);
  nyxFree(spec);

  std::printf("\n%-44s %12s\n", "operation (640x480)", "median us");
  for (const Timing& t : times) std::printf("%-44s %12.1f\n", t.name.c_str(), t.micros);
  return 0;
}
