/* The public header compiles as C99 and links from C. Built as part of the
 * core test binary. */
#include "nyx.h"

int nyx_header_c_smoke(void);
int nyx_header_c_smoke(void) {
  NyxiSize roi = {1, 1};
  Nyx8u a = 1, b = 2, d = 0;
  const NyxLibraryVersion* v = nyxiGetLibVersion();
  if (nyxiAdd_8u_C1RSfs(&a, 1, &b, 1, &d, 1, roi, 0) != nyxStsNoErr) return -1;
  return v->abiMajor * 1000 + d;
}
