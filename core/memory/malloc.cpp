// The image allocator: 64-byte aligned rows, the stride reported to the
// caller. Failures are reported only by a null pointer.
#include <cstdint>

#include "core/entry/entry.h"

namespace nyx {
namespace {

// Plain form: 32-bit sizes. The step is cleared first and set before the
// total is checked, so a failure on the total leaves a non-zero step behind:
// callers test the pointer, not the step.
void* AllocImage(int width, int height, int* step, int pixel_bytes) {
  if (!step) return nullptr;
  *step = 0;
  if (width < 1 || height < 1) return nullptr;
  if (static_cast<int64_t>(width) * pixel_bytes >= (int64_t{1} << 31)) return nullptr;
  int64_t row = (static_cast<int64_t>(width) * pixel_bytes + 63) & ~int64_t{63};
  *step = static_cast<int>(row);
  int64_t total = row * height;
  if (total > 0x7fffffff) return nullptr;
  return nyxMalloc(static_cast<int>(total));
}

// Does the 64-bit product of two non-negative values fit, checked on 32-bit
// halves: the product of the upper halves and each cross product must fit in
// 32 bits.
bool ProductFits(uint64_t a, uint64_t b, uint64_t* out) {
  uint64_t ah = a >> 32, al = a & 0xffffffffu, bh = b >> 32, bl = b & 0xffffffffu;
  if (ah * bh > 0xffffffffu) return false;
  if (ah * bl > 0xffffffffu || al * bh > 0xffffffffu) return false;
  unsigned __int128 p = static_cast<unsigned __int128>(a) * b;
  if (p >> 63) return false;
  *out = static_cast<uint64_t>(p);
  return true;
}

void* AllocImageL(NyxSizeL width, NyxSizeL height, NyxSizeL* step, int pixel_bytes) {
  if (!step) return nullptr;
  *step = 0;
  if (width < 1 || height < 1) return nullptr;
  unsigned __int128 bytes = static_cast<unsigned __int128>(width) * pixel_bytes;
  if (bytes >> 63) return nullptr;
  uint64_t raw = static_cast<uint64_t>(bytes);
  uint64_t row = (raw + 63) & ~uint64_t{63};
  if (row < raw) return nullptr;
  *step = static_cast<NyxSizeL>(row);
  uint64_t total;
  if (!ProductFits(row, static_cast<uint64_t>(height), &total)) return nullptr;
  return nyxMalloc_L(static_cast<NyxSizeL>(total));
}

}  // namespace
}  // namespace nyx

// Bytes a pixel of each form.
#define NYX_PIXEL_BYTES_C1(S) (S)
#define NYX_PIXEL_BYTES_C2(S) (2 * (S))
#define NYX_PIXEL_BYTES_C3(S) (3 * (S))
#define NYX_PIXEL_BYTES_C4(S) (4 * (S))
#define NYX_PIXEL_BYTES_AC4(S) (4 * (S))

#define NYX_EMIT_MALLOC(T, D)                                                                  \
  NYX_ENTRY(Nyx##T*, nyxiMalloc_##T##_##D, (int widthPixels, int heightPixels, int* pStepBytes), \
            (widthPixels, heightPixels, pStepBytes)) {                                       \
    return static_cast<Nyx##T*>(nyx::AllocImage(widthPixels, heightPixels, pStepBytes,         \
                                                NYX_PIXEL_BYTES_##D(int(sizeof(Nyx##T)))));  \
  }                                                                                            \
  NYX_ENTRY(Nyx##T*, nyxiMalloc_##T##_##D##_L,                                                 \
            (NyxSizeL widthPixels, NyxSizeL heightPixels, NyxSizeL* pStepBytes),               \
            (widthPixels, heightPixels, pStepBytes)) {                                         \
    return static_cast<Nyx##T*>(nyx::AllocImageL(widthPixels, heightPixels, pStepBytes,        \
                                                 NYX_PIXEL_BYTES_##D(int(sizeof(Nyx##T))))); \
  }

#define NYX_EMIT_MALLOC_T(T) \
  NYX_EMIT_MALLOC(T, C1) NYX_EMIT_MALLOC(T, C2) NYX_EMIT_MALLOC(T, C3) NYX_EMIT_MALLOC(T, C4) \
  NYX_EMIT_MALLOC(T, AC4)

NYX_EMIT_MALLOC_T(8u)
NYX_EMIT_MALLOC_T(16u)
NYX_EMIT_MALLOC_T(16s)
NYX_EMIT_MALLOC_T(32s)
NYX_EMIT_MALLOC_T(32f)
NYX_EMIT_MALLOC_T(32sc)
NYX_EMIT_MALLOC_T(32fc)

NYX_ENTRY(void, nyxiFree, (void* ptr), (ptr)) { nyxFree(ptr); }
