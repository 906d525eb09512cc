// The border word decoder and the index maps (see border.h for the rules).
#include "core/border/border.h"

namespace nyx::border {

NyxStatus Decode(NyxiBorderType word, ModeSet accepted, Border* out) {
  if (word > 0xFFu) return nyxStsBorderErr;
  if (word == kInMemAll) {
    *out = Border{kNone, kInMemAll};
    return nyxStsNoErr;
  }
  const uint32_t mode = word & 0xFu;
  if (!accepted.Has(mode)) return nyxStsBorderErr;
  *out = Border{static_cast<Mode>(mode), word & 0xF0u};
  return nyxStsNoErr;
}

int64_t MapIndex(Mode mode, int64_t i, int64_t n) {
  switch (mode) {
    case kRepl:
      return ReplIndex(i, n);
    case kWrap:
      return WrapIndex(i, n);
    case kMirror:
      return MirrorIndex(i, n);
    case kMirrorR:
      return MirrorRIndex(i, n);
    default:
      return -1;
  }
}

int64_t Period(Mode mode, int64_t n) {
  switch (mode) {
    case kWrap:
      return n;
    case kMirror:
      return n == 1 ? 1 : 2 * n - 2;
    case kMirrorR:
      return 2 * n;
    default:
      return 0;
  }
}

MapRun RunAt(Mode mode, int64_t i, int64_t n) {
  constexpr int64_t kForever = INT64_MAX;
  if (n == 1 || mode == kRepl) {
    if (n == 1 || i >= n - 1) return {n - 1, 0, kForever};
    if (i < 0) return {0, 0, -i};
    return {i, 1, n - 1 - i};  // the last pixel starts the right-hand run
  }
  if (mode == kWrap) {
    const int64_t s = FloorMod(i, n);
    return {s, 1, n - s};
  }
  if (mode == kMirror || mode == kMirrorR) {
    // Rising half r = 0 .. n-1, then the falling half back toward 0 (Mirror
    // stops at 1, so the edge pixel is not repeated; MirrorR reaches 0).
    const int64_t p = mode == kMirror ? 2 * n - 2 : 2 * n;
    const int64_t r = FloorMod(i, p);
    if (r < n) return {r, 1, n - r};
    const int64_t top = mode == kMirror ? p - r : p - 1 - r;
    return {top, -1, p - r};
  }
  return {-1, 0, kForever};
}

}  // namespace nyx::border
