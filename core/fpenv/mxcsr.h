// The control and status word of the vector unit (MXCSR).
//
// Kernels that need a rounding mode or flush-to-zero set it through a scope
// object, which restores the caller's word on every exit.
#pragma once

#include <immintrin.h>

namespace nyx {

inline unsigned ps_get_ssx() { return _mm_getcsr(); }

// new word = (value and mask) or (old word and not mask)
inline void ps_set_ssx(unsigned value, unsigned mask) {
  _mm_setcsr((value & mask) | (_mm_getcsr() & ~mask));
}

inline constexpr unsigned kMxcsrRoundMask = 0x6000;
inline constexpr unsigned kMxcsrRoundNearest = 0x0000;
inline constexpr unsigned kMxcsrRoundDown = 0x2000;
inline constexpr unsigned kMxcsrRoundUp = 0x4000;
inline constexpr unsigned kMxcsrRoundZero = 0x6000;
inline constexpr unsigned kMxcsrFlushZero = 0x8040;  // FTZ and DAZ

// Sets the bits of `mask` to `value` for the life of the object. When the
// word already holds them, the control word is not written at all.
class MxcsrScope {
 public:
  MxcsrScope(unsigned value, unsigned mask) : saved_(ps_get_ssx()) {
    changed_ = (saved_ & mask) != (value & mask);
    if (changed_) ps_set_ssx(value, mask);
  }
  ~MxcsrScope() {
    if (changed_) _mm_setcsr(saved_);
  }
  MxcsrScope(const MxcsrScope&) = delete;
  MxcsrScope& operator=(const MxcsrScope&) = delete;

 private:
  unsigned saved_;
  bool changed_;
};

}  // namespace nyx
