// The border word and the index maps of the border modes.
//
// A NyxiBorderType is a 32-bit word: the low four bits the mode, the next
// four the in-memory flags (a side whose flag is set is read from the
// caller's memory and takes no part in the mode); no higher bit may be set.
// Every family that takes a word decodes it here, in this order:
//
//   1. a word above 0xFF is refused (nyxStsBorderErr);
//   2. the word 0xF0 is accepted as it is: no mode is looked at, no constant
//      is read;
//   3. the mode (word & 0xF) must be in the family's accepted set, otherwise
//      nyxStsBorderErr;
//   4. in mode 6 the constant is read, and a null pointer to it is
//      nyxStsNullPtrErr (CheckValue; each family places this test among its
//      own argument tests);
//   5. the flags (word & 0xF0) choose the real sides independently of the
//      mode, so 0xF1, 0xF3, 0xF6 behave as 0xF0 once accepted.
//
// Index maps take any index, however far outside the axis [0, n), n >= 1:
//
//   Repl     clamp to 0 .. n-1
//   Wrap     i mod n
//   Mirror   edge pixel not repeated (.. 2 1 | 0 1 2 | 1 0 ..): period 2n-2
//   MirrorR  edge pixel repeated (.. 1 0 | 0 1 2 | 2 1 ..): period 2n
//
// Runs describe the same maps piecewise for copy loops: from index i on, the
// source index moves by dir (+1, -1 or 0) for len steps.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "nyx.h"

namespace nyx::border {

enum Mode : uint32_t {
  kNone = 0,  // the word 0xF0: every side in memory, no mode
  kRepl = nyxBorderRepl,
  kWrap = nyxBorderWrap,
  kMirror = nyxBorderMirror,
  kMirrorR = nyxBorderMirrorR,
  kConst = nyxBorderConst,
  kTransp = nyxBorderTransp,
};

// The modes a family accepts, one bit per mode value.
class ModeSet {
 public:
  constexpr ModeSet(std::initializer_list<Mode> modes) {
    for (Mode m : modes) bits_ |= 1u << m;
  }
  constexpr bool Has(uint32_t mode) const { return mode < 16 && ((bits_ >> mode) & 1u) != 0; }

 private:
  uint32_t bits_ = 0;
};

// The accepted sets of the families that take a word.
inline constexpr ModeSet kFilterModes{kRepl, kMirror, kConst};    // box, kernel, min/max, ...
inline constexpr ModeSet kMedianModes{kRepl, kConst};             // median, Laplace, Sharpen, ...
inline constexpr ModeSet kResizeModes{kRepl, kMirror, kMirrorR};  // every resize interpolator
inline constexpr ModeSet kWarpModes{kRepl, kConst, kTransp};      // affine, perspective, ...

inline constexpr uint32_t kInMemTop = nyxBorderInMemTop;
inline constexpr uint32_t kInMemBottom = nyxBorderInMemBottom;
inline constexpr uint32_t kInMemLeft = nyxBorderInMemLeft;
inline constexpr uint32_t kInMemRight = nyxBorderInMemRight;
inline constexpr uint32_t kInMemAll = nyxBorderInMem;

// A decoded word.
struct Border {
  Mode mode = kNone;   // kNone only for the word 0xF0
  uint32_t flags = 0;  // word & 0xF0

  bool InMemTop() const { return (flags & kInMemTop) != 0; }
  bool InMemBottom() const { return (flags & kInMemBottom) != 0; }
  bool InMemLeft() const { return (flags & kInMemLeft) != 0; }
  bool InMemRight() const { return (flags & kInMemRight) != 0; }
  // Every side real: the operation runs straight on the caller's memory.
  bool AllInMem() const { return flags == kInMemAll; }
  // The constant is read (and its pointer tested) only in mode 6.
  bool ReadsValue() const { return mode == kConst; }
};

// Steps 1, 2, 3 and 5 above. On success fills *out and returns nyxStsNoErr;
// on failure returns nyxStsBorderErr and leaves *out alone.
NyxStatus Decode(NyxiBorderType word, ModeSet accepted, Border* out);

// Step 4: nyxStsNullPtrErr when the decoded mode reads a constant through a
// null pointer, otherwise nyxStsNoErr.
template <class T>
inline NyxStatus CheckValue(const Border& b, const T* value) {
  return b.ReadsValue() && value == nullptr ? nyxStsNullPtrErr : nyxStsNoErr;
}

// ---------------------------------------------------------------------------
// Index maps. All take n >= 1 and any i.

// i mod m taken into 0 .. m-1 (m >= 1).
inline int64_t FloorMod(int64_t i, int64_t m) {
  const int64_t r = i % m;
  return r < 0 ? r + m : r;
}

inline int64_t ReplIndex(int64_t i, int64_t n) { return i < 0 ? 0 : (i > n - 1 ? n - 1 : i); }

inline int64_t WrapIndex(int64_t i, int64_t n) { return FloorMod(i, n); }

inline int64_t MirrorIndex(int64_t i, int64_t n) {
  if (n == 1) return 0;
  const int64_t p = 2 * n - 2;
  const int64_t r = FloorMod(i, p);
  return r < n ? r : p - r;
}

inline int64_t MirrorRIndex(int64_t i, int64_t n) {
  const int64_t p = 2 * n;
  const int64_t r = FloorMod(i, p);
  return r < n ? r : p - 1 - r;
}

// The source index of index i under a mode that reads the source (Repl,
// Wrap, Mirror, MirrorR); any other mode gives -1.
int64_t MapIndex(Mode mode, int64_t i, int64_t n);

// The length after which a mode's map repeats on an axis of n pixels
// (0 for Repl, which never repeats).
int64_t Period(Mode mode, int64_t n);

// From index i on, the source index starts at `src` and moves by `dir` for
// `len` indices (len >= 1; INT64_MAX when the run never ends).
struct MapRun {
  int64_t src;
  int dir;
  int64_t len;
};
MapRun RunAt(Mode mode, int64_t i, int64_t n);

}  // namespace nyx::border
