// nyxiSet: fill an image with a value.
//
// Null, then size; no stride test (zero and negative strides are walked as
// given). Rows merge into one run when the stride equals the row's bytes.
#include <string.h>

#include "core/frame/frame.h"
#include "exchange/set.h"

NYX_ENTRY(NyxStatus, nyxiSet_8u_C1R, (Nyx8u value, Nyx8u* pDst, int dstStep, NyxiSize roiSize),
          (value, pDst, dstStep, roiSize)) {
  using namespace nyx::frame;
  if (AnyNull(pDst)) return nyxStsNullPtrErr;
  if (BadSize(roiSize)) return nyxStsSizeErr;
  const size_t width = static_cast<size_t>(roiSize.width);
  if (dstStep == roiSize.width) {
    memset(pDst, value, width * static_cast<size_t>(roiSize.height));
    return nyxStsNoErr;
  }
  WalkRows(roiSize.height, [&](int64_t y) { memset(RowAt(pDst, dstStep, y), value, width); });
  return nyxStsNoErr;
}

// AC4: the first three samples of each pixel; the fourth stays.
NYX_ENTRY(NyxStatus, nyxiSet_8u_AC4R,
          (const Nyx8u value[3], Nyx8u* pDst, int dstStep, NyxiSize roiSize),
          (value, pDst, dstStep, roiSize)) {
  using namespace nyx::frame;
  if (AnyNull(value, pDst)) return nyxStsNullPtrErr;
  if (BadSize(roiSize)) return nyxStsSizeErr;
  const Nyx8u v0 = value[0], v1 = value[1], v2 = value[2];
  const int width = roiSize.width;
  WalkRows(roiSize.height, [&](int64_t y) {
    Nyx8u* p = RowAt(pDst, dstStep, y);
    for (int x = 0; x < width; ++x, p += 4) {
      p[0] = v0;
      p[1] = v1;
      p[2] = v2;
    }
  });
  return nyxStsNoErr;
}
