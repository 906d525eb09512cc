// The streamed form of the widening conversion kernel. Calls only take it when
// their traffic passes the largest cache (hundreds of MiB here), so the row
// kernel is driven directly: after a head of single samples up to a 64-byte
// line it writes whole lines with non-temporal stores and the rest with
// cached ones. Every start offset within a line and every count around a few
// lines must give the exact widened samples and leave the bytes around the
// row alone.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "exchange/convert_kernels.h"

namespace nyx::test {
namespace {

template <class D>
void CheckStreamedWidening() {
  constexpr size_t kMax = 300;
  std::mt19937 rng(7);
  std::vector<uint8_t> src(kMax);
  for (auto& v : src) v = static_cast<uint8_t>(rng());
  // Room for the row at any offset within a line, with guard lines around it.
  std::vector<D> buf(kMax + 3 * 64 / sizeof(D));
  D* base = buf.data() + ((0 - reinterpret_cast<uintptr_t>(buf.data())) & 63) / sizeof(D) +
            64 / sizeof(D);
  ASSERT_EQ(reinterpret_cast<uintptr_t>(base) & 63, 0u);
  const D guard = static_cast<D>(-7);
  for (size_t off = 0; off < 64 / sizeof(D); ++off) {
    for (size_t n = 1; n <= kMax - 10; n += (n < 100 ? 1 : 13)) {
      std::fill(buf.begin(), buf.end(), guard);
      D* d = base + off;
      avx2::MapRow<uint8_t, D, D, avx2::Same, false, true>(src.data(), d, n, avx2::Same{});
      for (size_t i = 0; i < n; ++i) {
        ASSERT_EQ(d[i], static_cast<D>(src[i])) << "offset " << off << " n " << n << " i " << i;
      }
      for (D* p = buf.data(); p < d; ++p) ASSERT_EQ(*p, guard) << "before, n " << n;
      for (D* p = d + n; p < buf.data() + buf.size(); ++p) ASSERT_EQ(*p, guard) << "after, n " << n;
    }
  }
}

TEST(ConvertStream, WidensTo16sOverEveryLineOffset) { CheckStreamedWidening<int16_t>(); }
TEST(ConvertStream, WidensTo32fOverEveryLineOffset) { CheckStreamedWidening<float>(); }

}  // namespace
}  // namespace nyx::test
