// Export stubs and their hidden implementations.
//
// Every exported name is a one-line forwarder to the implementation of the
// same name with the variant prefix d1_ (the compiler emits a single jmp).
// The implementation is declared with exactly the type of the public
// prototype, so a definition that differs from the header does not compile.
//
//   NYX_ENTRY(NyxStatus, nyxiFoo_8u_C1R, (const Nyx8u* s, int ss, ...), (s, ss, ...)) {
//     return frame::Foo<...>(s, ss, ...);
//   }
#pragma once

#include "nyx.h"

#define NYX_HIDDEN __attribute__((visibility("hidden")))

// Declares d1_<name>, the implementation behind an export, for internal
// callers (families call each other only through these).
#define NYX_D1(name) extern "C" NYX_HIDDEN __attribute__((noinline)) decltype(name) d1_##name

#define NYX_ENTRY(ret, name, params, args)              \
  NYX_D1(name);                                         \
  extern "C" ret name params { return d1_##name args; } \
  extern "C" ret d1_##name params
