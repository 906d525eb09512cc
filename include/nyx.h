/* nyx: image-processing primitives for x86-64 Linux.
 *
 * One header for the whole library. Every operation is a plain C function on
 * caller-owned pixel buffers: a pointer to the first pixel of the region of
 * interest (ROI), a row stride in BYTES and a size in PIXELS. Each returns a
 * NyxStatus: 0 success, negative error (nothing written), positive warning.
 *
 * Link with `pkg-config --cflags --libs nyx` or CMake's `find_package(nyx)`.
 * The header compiles as C99 and as C++.
 */
#ifndef NYX_H_
#define NYX_H_

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define NYX_API __attribute__((visibility("default")))
#else
#define NYX_API
#endif

/* ------------------------------------------------------------------------ */
/* Sample types                                                             */
/* ------------------------------------------------------------------------ */

typedef uint8_t Nyx8u;
typedef int8_t Nyx8s;
typedef uint16_t Nyx16u;
typedef int16_t Nyx16s;
typedef uint32_t Nyx32u;
typedef int32_t Nyx32s;
typedef int64_t Nyx64s;
typedef uint64_t Nyx64u;
typedef float Nyx32f;
typedef double Nyx64f;
typedef struct { Nyx16s re, im; } Nyx16sc;
typedef struct { Nyx32s re, im; } Nyx32sc;
typedef struct { Nyx32f re, im; } Nyx32fc;
typedef struct { Nyx64f re, im; } Nyx64fc;

/* ------------------------------------------------------------------------ */
/* Sizes, points, rectangles                                                */
/* ------------------------------------------------------------------------ */

typedef int64_t NyxSizeL; /* a 64-bit length or stride */

typedef struct { int width, height; } NyxiSize;
typedef struct { NyxSizeL width, height; } NyxiSizeL;
typedef struct { int x, y; } NyxiPoint;
typedef struct { NyxSizeL x, y; } NyxiPointL;
typedef struct { int x, y, width, height; } NyxiRect;
typedef struct { NyxSizeL x, y, width, height; } NyxiRectL;

/* ------------------------------------------------------------------------ */
/* Status                                                                   */
/* ------------------------------------------------------------------------ */

typedef int32_t NyxStatus;

enum {
  nyxStsSizeAdjustedWrn = 48,
  nyxStsAccurateHintIgnoredWrn = 52,
  nyxStsAntialiasIgnoredWrn = 46,
  nyxStsEvenMedianWeightWrn = 39,
  nyxStsVolumeNoIntersectionWrn = 40,
  nyxStsOddSizeWrn = 35,
  nyxStsQuadOutsideWrn = 30,
  nyxStsNoIntersectionWrn = 29,
  nyxStsLnNegArgWrn = 8,
  nyxStsLnZeroArgWrn = 7,
  nyxStsSqrtNegArgWrn = 3,
  nyxStsDivByZeroWrn = 2,
  nyxStsNoOperationWrn = 1,
  nyxStsNoErr = 0,
  nyxStsErr = -2,
  nyxStsBadArgErr = -5,
  nyxStsSizeErr = -6,
  nyxStsRangeErr = -7,
  nyxStsNullPtrErr = -8,
  nyxStsMemAllocErr = -9,
  nyxStsDivByZeroErr = -10,
  nyxStsOutOfRangeErr = -11,
  nyxStsScaleRangeErr = -12,
  nyxStsContextMatchErr = -13,
  nyxStsNotSupportedModeErr = -14,
  nyxStsStepErr = -16,
  nyxStsFftOrderErr = -17,
  nyxStsFftFlagErr = -18,
  nyxStsThresholdErr = -19,
  nyxStsMomentZeroErr = -21,
  nyxStsMirrorFlipErr = -22,
  nyxStsInterpolationErr = -23,
  nyxStsResizeFactorErr = -24,
  nyxStsMaskSizeErr = -33,
  nyxStsAnchorErr = -34,
  nyxStsEpsValErr = -36,
  nyxStsStepTooShortErr = -37,
  nyxStsChannelErr = -47,
  nyxStsZeroParamErr = -49,
  nyxStsAlphaTypeErr = -50,
  nyxStsZeroDivisorErr = -51,
  nyxStsNumChannelsErr = -53,
  nyxStsCoeffErr = -56,
  nyxStsRectErr = -57,
  nyxStsQuadErr = -58,
  nyxStsDataTypeErr = -59,
  nyxStsChannelOrderErr = -60,
  nyxStsLutLevelsErr = -106,
  nyxStsHistoLevelsErr = -107,
  nyxStsNotEvenStepErr = -108,
  nyxStsNoiseRangeErr = -125,
  nyxStsQualityIndexErr = -210,
  nyxStsWeightErr = -211,
  nyxStsDecimateFractionErr = -212,
  nyxStsRoundModeErr = -213,
  nyxStsBorderErr = -225,
  nyxStsYuvSizeErr = -227,
  nyxStsAlgTypeErr = -228,
  nyxStsWarpDirectionErr = -231,
  nyxStsSizeOverflowErr = -232,
  nyxStsWarpTransformErr = -233
};

/* ------------------------------------------------------------------------ */
/* Enumerations and constants                                               */
/* ------------------------------------------------------------------------ */

/* Values that size queries and Init calls compare against. */
typedef enum {
  nyx8u = 1,
  nyx8s = 2,
  nyx16u = 5,
  nyx16s = 7,
  nyx32u = 9,
  nyx32s = 11,
  nyx32f = 13,
  nyx64u = 15,
  nyx64s = 17,
  nyx64f = 19
} NyxDataType;

typedef enum { nyxRndZero = 0, nyxRndNear = 1, nyxRndFinancial = 2 } NyxRoundMode;

typedef enum {
  nyxCmpLess = 0,
  nyxCmpLessEq = 1,
  nyxCmpEq = 2,
  nyxCmpGreaterEq = 3,
  nyxCmpGreater = 4
} NyxCmpOp;

typedef enum {
  nyxAxsHorizontal = 0, /* rows exchange */
  nyxAxsVertical = 1,   /* columns exchange */
  nyxAxsBoth = 2,
  nyxAxs45 = 3,         /* main diagonal */
  nyxAxs135 = 4         /* the other diagonal */
} NyxiAxis;

typedef enum {
  nyxAlgHintNone = 0,
  nyxAlgHintFast = 1,
  nyxAlgHintAccurate = 2
} NyxHintAlgorithm;

/* Border word: low four bits the mode, next four the in-memory flags. */
typedef uint32_t NyxiBorderType;
enum {
  nyxBorderRepl = 1,
  nyxBorderWrap = 2,
  nyxBorderMirror = 3,
  nyxBorderMirrorR = 4,
  nyxBorderConst = 6,
  nyxBorderTransp = 7,
  nyxBorderInMemTop = 0x10,
  nyxBorderInMemBottom = 0x20,
  nyxBorderInMemLeft = 0x40,
  nyxBorderInMemRight = 0x80,
  nyxBorderInMem = 0xF0,
  nyxBorderInMemFront = 0x1000,
  nyxBorderInMemBack = 0x2000
};

typedef struct { int borderLeft, borderTop, borderRight, borderBottom; } NyxiBorderSize;
typedef struct { int width, height, depth; } NyxrVolume;
typedef struct { NyxSizeL width, height, depth; } NyxrVolumeL;

/* Interpolation codes of the geometric families. */
enum {
  nyxInterNearest = 1,
  nyxInterLinear = 2,
  nyxInterCubic = 4,
  nyxInterCubic2 = 6,
  nyxInterSuper = 8,
  nyxInterLanczos = 16,
  nyxSmoothEdge = (int)0x80000000u
};

typedef enum { nyxWarpForward = 0, nyxWarpBackward = 1 } NyxiWarpDirection;

/* Mask sizes of the fixed-kernel filters. */
typedef enum { nyxMskSize3x3 = 33, nyxMskSize5x5 = 55 } NyxiMaskSize;
typedef enum { nyxDistNormL1 = 2, nyxDistNormL2 = 4 } NyxiDistanceMethodType;

/* Porter-Duff kinds of the alpha composition family; +6 means premultiplied. */
typedef enum {
  nyxAlphaOver = 0,
  nyxAlphaIn = 1,
  nyxAlphaOut = 2,
  nyxAlphaATop = 3,
  nyxAlphaXor = 4,
  nyxAlphaPlus = 5,
  nyxAlphaOverPremul = 6,
  nyxAlphaInPremul = 7,
  nyxAlphaOutPremul = 8,
  nyxAlphaATopPremul = 9,
  nyxAlphaXorPremul = 10,
  nyxAlphaPlusPremul = 11
} NyxiAlphaType;

/* Flags of nyxiCopyManaged. */
enum { nyxCopyStreamStore = 1, nyxCopyStreamLoad = 2 };

/* Normalisation flags of the transforms. */
enum {
  NYX_FFT_DIV_FWD_BY_N = 1,
  NYX_FFT_DIV_INV_BY_N = 2,
  NYX_DIV_BY_SQRTN = 4,
  NYX_FFT_NODIV_BY_ANY = 8
};

/* ------------------------------------------------------------------------ */
/* Version                                                                  */
/* ------------------------------------------------------------------------ */

typedef struct {
  int major;          /* version year */
  int minor;
  int majorBuild;     /* update */
  int build;          /* source revision */
  char targetCpu[8];  /* NUL-padded tag of the variant */
  const char* Name;
  const char* Version;
  const char* BuildDate;
  int abiMajor;       /* major number of the shared object's file name */
} NyxLibraryVersion;

/* ======================================================================== */
/* Core library (libnyxcore)                                                */
/* ======================================================================== */

/* Feature bits answered by ownGetFeature. A mask asks for all its bits. */
#define NYX_CPU_SSE42 0x0000000000000080ull
#define NYX_CPU_AVX 0x0000000000000100ull
#define NYX_CPU_AVX2 0x0000000000008000ull
#define NYX_CPU_FMA 0x0000000000010000ull
#define NYX_CPU_BMI2 0x0000000000040000ull
#define NYX_CPU_AVX512F 0x0000000020000000ull   /* 512-bit registers usable */
#define NYX_CPU_AVX512VNNI 0x0000000008000000ull /* 16-bit dot products */
#define NYX_CPU_AVX512VBMI 0x0000000400000000ull /* byte permutes */

NYX_API void* nyxMalloc(int length);
NYX_API void* nyxMalloc_L(NyxSizeL length);
NYX_API void nyxFree(void* ptr);
NYX_API NyxStatus nyxGetMaxCacheSizeB(int* pSizeByte);
NYX_API NyxStatus nyx_get_cache_line_size(int* pSizeByte);
NYX_API int ownGetFeature(Nyx64u mask);
/* Short English text of a status value; never null. */
NYX_API const char* nyxGetStatusString(NyxStatus status);

/* ======================================================================== */
/* Variant library (libnyxid1)                                              */
/* ======================================================================== */

/* --- Memory and version -------------------------------------------------- */

NYX_API const NyxLibraryVersion* nyxiGetLibVersion(void);
NYX_API void nyxiFree(void* ptr);

#define NYX_MALLOC_PROTO(T, D)                                                    \
  NYX_API Nyx##T* nyxiMalloc_##T##_##D(int widthPixels, int heightPixels,         \
                                       int* pStepBytes);                          \
  NYX_API Nyx##T* nyxiMalloc_##T##_##D##_L(NyxSizeL widthPixels, NyxSizeL heightPixels, \
                                           NyxSizeL* pStepBytes);
#define NYX_MALLOC_PROTO_T(T) \
  NYX_MALLOC_PROTO(T, C1) NYX_MALLOC_PROTO(T, C2) NYX_MALLOC_PROTO(T, C3) \
  NYX_MALLOC_PROTO(T, C4) NYX_MALLOC_PROTO(T, AC4)
NYX_MALLOC_PROTO_T(8u)
NYX_MALLOC_PROTO_T(16u)
NYX_MALLOC_PROTO_T(16s)
NYX_MALLOC_PROTO_T(32s)
NYX_MALLOC_PROTO_T(32f)
NYX_MALLOC_PROTO_T(32sc)
NYX_MALLOC_PROTO_T(32fc)
#undef NYX_MALLOC_PROTO_T
#undef NYX_MALLOC_PROTO

/* --- Arithmetic with scale factors ---------------------------------------
 * Integer forms store saturate(round_half_even(x * 2^-scaleFactor)).
 * Sub and Div take the first source as subtrahend and divisor.
 * BEGIN SECTION arith */

#define NYX_BINARY_SFS_PROTO(Op, T, D)                                                    \
  NYX_API NyxStatus nyxi##Op##_##T##_##D##RSfs(const Nyx##T* pSrc1, int src1Step,         \
                                               const Nyx##T* pSrc2, int src2Step,         \
                                               Nyx##T* pDst, int dstStep, NyxiSize roiSize, \
                                               int scaleFactor);                          \
  NYX_API NyxStatus nyxi##Op##_##T##_##D##IRSfs(const Nyx##T* pSrc, int srcStep,          \
                                                Nyx##T* pSrcDst, int srcDstStep,          \
                                                NyxiSize roiSize, int scaleFactor);       \
  NYX_API NyxStatus nyxi##Op##_##T##_##D##RSfs_L(                                         \
      const Nyx##T* pSrc1, NyxSizeL src1Step, const Nyx##T* pSrc2, NyxSizeL src2Step,     \
      Nyx##T* pDst, NyxSizeL dstStep, NyxiSizeL roiSize, int scaleFactor);                \
  NYX_API NyxStatus nyxi##Op##_##T##_##D##IRSfs_L(const Nyx##T* pSrc, NyxSizeL srcStep,   \
                                                  Nyx##T* pSrcDst, NyxSizeL srcDstStep,   \
                                                  NyxiSizeL roiSize, int scaleFactor);

NYX_BINARY_SFS_PROTO(Add, 8u, C1)
NYX_BINARY_SFS_PROTO(Add, 8u, C3)
NYX_BINARY_SFS_PROTO(Add, 8u, C4)
NYX_BINARY_SFS_PROTO(Add, 8u, AC4)

/* END SECTION arith */

/* --- Copy, set and channel operations ------------------------------------
 * BEGIN SECTION copy */

#define NYX_COPY_PROTO(T, D)                                                             \
  NYX_API NyxStatus nyxiCopy_##T##_##D##R(const Nyx##T* pSrc, int srcStep, Nyx##T* pDst, \
                                          int dstStep, NyxiSize roiSize);                \
  NYX_API NyxStatus nyxiCopy_##T##_##D##R_L(const Nyx##T* pSrc, NyxSizeL srcStep,        \
                                            Nyx##T* pDst, NyxSizeL dstStep,              \
                                            NyxiSizeL roiSize);
#define NYX_SET_PROTO_C1(T) \
  NYX_API NyxStatus nyxiSet_##T##_C1R(Nyx##T value, Nyx##T* pDst, int dstStep, NyxiSize roiSize);
#define NYX_SET_PROTO_CN(T, D, N)                                                          \
  NYX_API NyxStatus nyxiSet_##T##_##D##R(const Nyx##T value[N], Nyx##T* pDst, int dstStep, \
                                         NyxiSize roiSize);
#define NYX_COPY_SET_PROTO_T(T)                                                    \
  NYX_COPY_PROTO(T, C1) NYX_COPY_PROTO(T, C3) NYX_COPY_PROTO(T, C4) NYX_COPY_PROTO(T, AC4) \
  NYX_SET_PROTO_C1(T) NYX_SET_PROTO_CN(T, C3, 3) NYX_SET_PROTO_CN(T, C4, 4)        \
  NYX_SET_PROTO_CN(T, AC4, 3)
NYX_COPY_SET_PROTO_T(8u)
NYX_COPY_SET_PROTO_T(16u)
NYX_COPY_SET_PROTO_T(16s)
NYX_COPY_SET_PROTO_T(32s)
NYX_COPY_SET_PROTO_T(32f)

/* END SECTION copy */

/* --- Box filter and window sums ------------------------------------------
 * FilterBoxBorder: mean of the mask around each pixel; SumWindow: the sum.
 * The anchor is fixed at ((mw-1)/2, (mh-1)/2); pixels beyond the ROI come
 * from the border word (replicate, mirror, constant, or real memory on the
 * sides flagged in-memory). The work buffer is sized by the matching query.
 * BEGIN SECTION filter-box */

#define NYX_BOX_BORDER_PROTO(Op, TS, TD, tag, D)                                        \
  NYX_API NyxStatus nyxi##Op##_##tag##_##D##R(                                          \
      const Nyx##TS* pSrc, int srcStep, Nyx##TD* pDst, int dstStep, NyxiSize roiSize,   \
      NyxiSize maskSize, NyxiBorderType border, const Nyx##TS* pBorderValue,            \
      Nyx8u* pBuffer);
#define NYX_BOX_BORDER_PROTO_T(Op, TS, TD, tag)                                           \
  NYX_BOX_BORDER_PROTO(Op, TS, TD, tag, C1) NYX_BOX_BORDER_PROTO(Op, TS, TD, tag, C3)     \
  NYX_BOX_BORDER_PROTO(Op, TS, TD, tag, C4) NYX_BOX_BORDER_PROTO(Op, TS, TD, tag, AC4)
NYX_BOX_BORDER_PROTO_T(FilterBoxBorder, 8u, 8u, 8u)
NYX_BOX_BORDER_PROTO_T(FilterBoxBorder, 16u, 16u, 16u)
NYX_BOX_BORDER_PROTO_T(FilterBoxBorder, 16s, 16s, 16s)
NYX_BOX_BORDER_PROTO_T(FilterBoxBorder, 32f, 32f, 32f)
NYX_BOX_BORDER_PROTO_T(SumWindow, 8u, 32s, 8u32s)
NYX_BOX_BORDER_PROTO_T(SumWindow, 16u, 32f, 16u32f)
NYX_BOX_BORDER_PROTO_T(SumWindow, 16s, 32f, 16s32f)
NYX_BOX_BORDER_PROTO_T(SumWindow, 32f, 32f, 32f)
#undef NYX_BOX_BORDER_PROTO_T
#undef NYX_BOX_BORDER_PROTO

NYX_API NyxStatus nyxiFilterBoxBorderGetBufferSize(NyxiSize roiSize, NyxiSize maskSize,
                                                   NyxDataType dataType, int numChannels,
                                                   int* pBufferSize);
NYX_API NyxStatus nyxiSumWindowGetBufferSize(NyxiSize roiSize, NyxiSize maskSize,
                                             NyxDataType dataType, int numChannels,
                                             int* pBufferSize);

/* No border: the source must hold everything the mask reaches. */
NYX_API NyxStatus nyxiFilterBox_64f_C1R(const Nyx64f* pSrc, int srcStep, Nyx64f* pDst,
                                        int dstStep, NyxiSize dstRoiSize, NyxiSize maskSize,
                                        NyxiPoint anchor);

/* Sums of maskSize samples along a row or a column, starting anchor samples
 * before the output position; no border. */
#define NYX_SUM_WINDOW_1D_PROTO(Dir, TS, tag, D)                                          \
  NYX_API NyxStatus nyxiSumWindow##Dir##_##tag##_##D##R(const Nyx##TS* pSrc, int srcStep, \
                                                        Nyx32f* pDst, int dstStep,        \
                                                        NyxiSize dstRoiSize, int maskSize, \
                                                        int anchor);
#define NYX_SUM_WINDOW_1D_PROTO_T(TS, tag)                                                   \
  NYX_SUM_WINDOW_1D_PROTO(Row, TS, tag, C1) NYX_SUM_WINDOW_1D_PROTO(Row, TS, tag, C3)       \
  NYX_SUM_WINDOW_1D_PROTO(Row, TS, tag, C4) NYX_SUM_WINDOW_1D_PROTO(Column, TS, tag, C1)    \
  NYX_SUM_WINDOW_1D_PROTO(Column, TS, tag, C3) NYX_SUM_WINDOW_1D_PROTO(Column, TS, tag, C4)
NYX_SUM_WINDOW_1D_PROTO_T(8u, 8u32f)
NYX_SUM_WINDOW_1D_PROTO_T(16u, 16u32f)
NYX_SUM_WINDOW_1D_PROTO_T(16s, 16s32f)
#undef NYX_SUM_WINDOW_1D_PROTO_T
#undef NYX_SUM_WINDOW_1D_PROTO

/* END SECTION filter-box */

/* --- General kernel filter -----------------------------------------------
 * FilterBorder: convolution with a caller's kernel (flipped in both axes at
 * init), fixed anchor ((kw-1)/2, (kh-1)/2), pixels beyond the ROI from the
 * border word. Integer taps carry a divisor and a rounding mode; float taps
 * are summed with fused multiply-adds. The Spec block and the work buffer are
 * sized by nyxiFilterBorderGetSize. Filter_64f: no border, caller's anchor.
 * BEGIN SECTION filter-kernel */

typedef struct NyxiFilterBorderSpec NyxiFilterBorderSpec;

NYX_API NyxStatus nyxiFilterBorderGetSize(NyxiSize kernelSize, NyxiSize dstRoiSize,
                                          NyxDataType dataType, NyxDataType kernelType,
                                          int numChannels, int* pSpecSize, int* pBufferSize);
NYX_API NyxStatus nyxiFilterBorderInit_16s(const Nyx16s* pKernel, NyxiSize kernelSize,
                                           int divisor, NyxDataType dataType, int numChannels,
                                           NyxRoundMode roundMode, NyxiFilterBorderSpec* pSpec);
NYX_API NyxStatus nyxiFilterBorderInit_32f(const Nyx32f* pKernel, NyxiSize kernelSize,
                                           NyxDataType dataType, int numChannels,
                                           NyxRoundMode roundMode, NyxiFilterBorderSpec* pSpec);
NYX_API NyxStatus nyxiFilterBorderInit_64f(const Nyx64f* pKernel, NyxiSize kernelSize,
                                           NyxDataType dataType, int numChannels,
                                           NyxRoundMode roundMode, NyxiFilterBorderSpec* pSpec);
NYX_API NyxStatus nyxiFilterBorderSetMode(NyxHintAlgorithm hint, int offset,
                                          NyxiFilterBorderSpec* pSpec);

#define NYX_FILTER_BORDER_PROTO(T, D)                                                    \
  NYX_API NyxStatus nyxiFilterBorder_##T##_##D##R(                                       \
      const Nyx##T* pSrc, int srcStep, Nyx##T* pDst, int dstStep, NyxiSize dstRoiSize,   \
      NyxiBorderType border, const Nyx##T* pBorderValue, const NyxiFilterBorderSpec* pSpec, \
      Nyx8u* pBuffer);
#define NYX_FILTER_BORDER_PROTO_T(T) \
  NYX_FILTER_BORDER_PROTO(T, C1) NYX_FILTER_BORDER_PROTO(T, C3) NYX_FILTER_BORDER_PROTO(T, C4)
NYX_FILTER_BORDER_PROTO_T(8u)
NYX_FILTER_BORDER_PROTO_T(16u)
NYX_FILTER_BORDER_PROTO_T(16s)
NYX_FILTER_BORDER_PROTO_T(32f)
NYX_FILTER_BORDER_PROTO(64f, C1)
#undef NYX_FILTER_BORDER_PROTO_T
#undef NYX_FILTER_BORDER_PROTO

/* dst(x, y) = sum of pKernel[j*kw + i] * src(x + anchor.x - i, y + anchor.y - j). */
NYX_API NyxStatus nyxiFilter_64f_C1R(const Nyx64f* pSrc, int srcStep, Nyx64f* pDst,
                                     int dstStep, NyxiSize dstRoiSize, const Nyx64f* pKernel,
                                     NyxiSize kernelSize, NyxiPoint anchor, Nyx8u* pBuffer);
NYX_API NyxStatus nyxiFilterGetBufSize_64f_C1R(NyxiSize kernelSize, int dstRoiWidth,
                                               int* pBufferSize);

/* END SECTION filter-kernel */

#ifdef __cplusplus
}
#endif

#endif /* NYX_H_ */
