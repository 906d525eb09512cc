// Processor queries: cache sizes from CPUID, features from CPUID and XCR0.
#include <cpuid.h>
#include <unistd.h>

#include "nyx.h"

namespace {

struct Regs {
  unsigned a, b, c, d;
};

Regs Cpuid(unsigned leaf, unsigned sub) {
  Regs r{0, 0, 0, 0};
  __cpuid_count(leaf, sub, r.a, r.b, r.c, r.d);
  return r;
}

unsigned MaxLeaf(unsigned base) { return __get_cpuid_max(base, nullptr); }

unsigned long long Xcr0() {
  unsigned lo, hi;
  __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
  return (static_cast<unsigned long long>(hi) << 32) | lo;
}

// Walks the deterministic cache parameter leaf (4 on Intel, 0x8000001D on
// AMD) and returns the largest data or unified cache, or 0.
long long LargestCacheFromLeaf(unsigned leaf) {
  long long best = 0;
  for (unsigned sub = 0; sub < 16; ++sub) {
    Regs r = Cpuid(leaf, sub);
    unsigned type = r.a & 0x1f;
    if (type == 0) break;
    if (type == 2) continue;  // instruction cache
    long long ways = ((r.b >> 22) & 0x3ff) + 1;
    long long parts = ((r.b >> 12) & 0x3ff) + 1;
    long long line = (r.b & 0xfff) + 1;
    long long sets = static_cast<long long>(r.c) + 1;
    long long size = ways * parts * line * sets;
    if (size > best) best = size;
  }
  return best;
}

long long LargestCache() {
  long long size = 0;
  if (MaxLeaf(0) >= 4) size = LargestCacheFromLeaf(4);
  if (size == 0 && MaxLeaf(0x80000000u) >= 0x8000001Du) size = LargestCacheFromLeaf(0x8000001Du);
  if (size == 0) {
    long v = sysconf(_SC_LEVEL3_CACHE_SIZE);
    if (v <= 0) v = sysconf(_SC_LEVEL2_CACHE_SIZE);
    if (v > 0) size = v;
  }
  return size;
}

// The features this library knows, as the bits of its public feature mask.
unsigned long long DetectFeatures() {
  unsigned long long f = 0;
  unsigned max = MaxLeaf(0);
  if (max < 1) return 0;
  Regs l1 = Cpuid(1, 0);
  bool osxsave = (l1.c >> 27) & 1;
  unsigned long long xcr0 = osxsave ? Xcr0() : 0;
  bool ymm_os = (xcr0 & 0x6) == 0x6;
  bool zmm_os = (xcr0 & 0xe6) == 0xe6;
  if ((l1.c >> 20) & 1) f |= NYX_CPU_SSE42;
  if (((l1.c >> 28) & 1) && ymm_os) f |= NYX_CPU_AVX;
  if (((l1.c >> 12) & 1) && ymm_os) f |= NYX_CPU_FMA;
  if (max >= 7) {
    Regs l7 = Cpuid(7, 0);
    if (((l7.b >> 5) & 1) && ymm_os) f |= NYX_CPU_AVX2;
    if ((l7.b >> 8) & 1) f |= NYX_CPU_BMI2;
    bool avx512f = ((l7.b >> 16) & 1) && zmm_os;
    if (avx512f) {
      f |= NYX_CPU_AVX512F;
      if ((l7.c >> 11) & 1) f |= NYX_CPU_AVX512VNNI;
      if ((l7.c >> 1) & 1) f |= NYX_CPU_AVX512VBMI;
    }
  }
  return f;
}

constexpr unsigned long long kKnown = NYX_CPU_SSE42 | NYX_CPU_AVX | NYX_CPU_AVX2 | NYX_CPU_FMA |
                                      NYX_CPU_BMI2 | NYX_CPU_AVX512F | NYX_CPU_AVX512VNNI |
                                      NYX_CPU_AVX512VBMI;

}  // namespace

extern "C" {

NyxStatus nyxGetMaxCacheSizeB(int* pSizeByte) {
  if (!pSizeByte) return nyxStsNullPtrErr;
  long long size = LargestCache();
  if (size <= 0) return nyxStsNotSupportedModeErr;
  *pSizeByte = size > 0x7fffffff ? 0x7fffffff : static_cast<int>(size);
  return nyxStsNoErr;
}

NyxStatus nyx_get_cache_line_size(int* pSizeByte) {
  if (!pSizeByte) return nyxStsNullPtrErr;
  if (MaxLeaf(0) < 1) return nyxStsNotSupportedModeErr;
  // CLFLUSH line size, in 8-byte units.
  int line = static_cast<int>((Cpuid(1, 0).b >> 8) & 0xff) * 8;
  if (line == 0) return nyxStsNotSupportedModeErr;
  *pSizeByte = line;
  return nyxStsNoErr;
}

// Non-zero when the processor has every feature of the mask. A mask with a
// bit this library does not know is answered with zero.
int ownGetFeature(Nyx64u mask) {
  if (mask & ~kKnown) return 0;
  return (DetectFeatures() & mask) == mask ? 1 : 0;
}

}  // extern "C"
