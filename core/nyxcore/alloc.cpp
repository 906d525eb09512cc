// Aligned allocation for the variant library and its callers.
//
// Every block starts on a 64-byte boundary: the image allocator rounds row
// strides to 64 bytes, so each row of an image from nyxiMalloc_* is aligned.
#include <stdlib.h>

#include "nyx.h"

namespace {
constexpr size_t kAlign = 64;

void* AlignedBlock(size_t length) {
  void* p = nullptr;
  // posix_memalign with a zero length may return a unique pointer or null;
  // ask for one byte so that a zero length still gives a block to free.
  if (posix_memalign(&p, kAlign, length ? length : 1) != 0) return nullptr;
  return p;
}
}  // namespace

extern "C" {

void* nyxMalloc(int length) {
  if (length < 0) return nullptr;
  return AlignedBlock(static_cast<size_t>(length));
}

void* nyxMalloc_L(NyxSizeL length) {
  if (length < 0) return nullptr;
  return AlignedBlock(static_cast<size_t>(length));
}

void nyxFree(void* ptr) { free(ptr); }

}  // extern "C"
