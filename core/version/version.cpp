// The version record of this variant.
#include "core/entry/entry.h"

namespace {
constexpr NyxLibraryVersion kVersion = {
    2026,
    0,
    0,
    static_cast<int>(0xA7AD6EBCu),
    {'d', '1', 0, 0, 0, 0, 0, 0},
    "nyxIP AVX-10.2 (d1)",
    "2026.0.0 (r0xa7ad6ebc)",
    "Mar 27 2026",
    12,
};
}  // namespace

NYX_ENTRY(const NyxLibraryVersion*, nyxiGetLibVersion, (void), ()) { return &kVersion; }
