// Software prefetch of a stream's data some bytes ahead of where a loop is.
//
// A prefetch never faults, so the address may lie past the end of an image
// or outside every object; it is formed as an integer for that reason
// (pointer arithmetic past an object's end is not allowed).
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "core/simd/vec.h"

namespace nyx::avx2 {

NYX_INLINE void PrefetchRead(const void* p, ptrdiff_t ahead_bytes) {
  _mm_prefetch(reinterpret_cast<const char*>(reinterpret_cast<uintptr_t>(p) + ahead_bytes),
               _MM_HINT_T0);
}

// PREFETCHW fetches the line for writing, so that a later store finds it
// owned; processors without it execute the encoding as a no-op.
NYX_INLINE void PrefetchWrite(const void* p, ptrdiff_t ahead_bytes) {
  __asm__("prefetchw (%0)" : : "r"(reinterpret_cast<uintptr_t>(p) + ahead_bytes));
}

}  // namespace nyx::avx2
