// Samples whose bits matter but not their meaning (copies, fills, border
// moves) go through the unsigned integer of the same width.
#pragma once

#include <cstdint>
#include <type_traits>

namespace nyx {

template <class T>
using BitsOf =
    std::conditional_t<sizeof(T) == 1, uint8_t,
                       std::conditional_t<sizeof(T) == 2, uint16_t,
                                          std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>>>;

}  // namespace nyx
