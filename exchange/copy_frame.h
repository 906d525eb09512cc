// Shared pieces of the copy family's frames: samples of the same width share
// code (16u through 16s, 32f through 32s, everything whole-pixel through one
// byte copy), and the byte copy that picks its path by size and cache.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "core/entry/entry.h"
#include "core/frame/frame.h"

namespace nyx::copy {

using frame::Layout;

// The unsigned integer of a sample's width: the type the shared code runs on.
template <size_t kBytes>
using UintOfSize = std::conditional_t<
    kBytes == 1, uint8_t,
    std::conditional_t<kBytes == 2, uint16_t, std::conditional_t<kBytes == 4, uint32_t, uint64_t>>>;
template <class T>
using Bits = UintOfSize<sizeof(T)>;

template <class T>
inline auto* AsBits(T* p) {
  if constexpr (std::is_const_v<T>)
    return reinterpret_cast<const Bits<T>*>(p);
  else
    return reinterpret_cast<Bits<T>*>(p);
}
template <class T>
inline auto* AsBytes(T* p) {
  if constexpr (std::is_const_v<T>)
    return reinterpret_cast<const uint8_t*>(p);
  else
    return reinterpret_cast<uint8_t*>(p);
}

// True when the largest cache could be queried and `total` bytes are at least
// its size divided by `divisor`. A failed query answers false.
bool AtLeastCacheShare(int64_t total, int divisor);

// The long-row copy: one run of n bytes (plain loop up to 32767 bytes,
// streaming from half the largest cache on, backward when the destination is
// a little above the source modulo the page).
void CopyLong(const uint8_t* src, uint8_t* dst, size_t n);

// The image byte copy: `row_bytes` per row, rows walked with their strides
// (any sign), merged into one run when both strides equal the row.
void CopyImageBytes(const uint8_t* src, int64_t src_step, uint8_t* dst, int64_t dst_step,
                    uint32_t row_bytes, int64_t height);

}  // namespace nyx::copy
