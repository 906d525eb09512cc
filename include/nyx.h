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

/* Enumerated arguments are held in ints, so that any value a caller passes
 * is representable; values outside a call's set are refused with a status. */

/* Values that size queries and Init calls compare against. */
typedef int NyxDataType;
enum {
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
};

typedef int NyxRoundMode;
enum { nyxRndZero = 0, nyxRndNear = 1, nyxRndFinancial = 2 };

typedef int NyxCmpOp;
enum {
  nyxCmpLess = 0,
  nyxCmpLessEq = 1,
  nyxCmpEq = 2,
  nyxCmpGreaterEq = 3,
  nyxCmpGreater = 4
};

typedef int NyxiAxis;
enum {
  nyxAxsHorizontal = 0, /* rows exchange */
  nyxAxsVertical = 1,   /* columns exchange */
  nyxAxsBoth = 2,
  nyxAxs45 = 3,         /* main diagonal */
  nyxAxs135 = 4         /* the other diagonal */
};

typedef int NyxHintAlgorithm;
enum {
  nyxAlgHintNone = 0,
  nyxAlgHintFast = 1,
  nyxAlgHintAccurate = 2
};

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

typedef struct { Nyx32u borderLeft, borderTop, borderRight, borderBottom; } NyxiBorderSize;
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

typedef int NyxiWarpDirection;
enum { nyxWarpForward = 0, nyxWarpBackward = 1 };

/* Mask sizes of the fixed-kernel filters. */
typedef int NyxiMaskSize;
enum { nyxMskSize3x3 = 33, nyxMskSize5x5 = 55 };
typedef int NyxiDistanceMethodType;
enum { nyxDistNormL1 = 2, nyxDistNormL2 = 4 };

/* Porter-Duff kinds of the alpha composition family; +6 means premultiplied. */
typedef int NyxiAlphaType;
enum {
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
};

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

/* The constant argument: one value by value at C1, three (C3, AC4: no
 * constant for alpha) or four (C4) by pointer. */
#define NYX_ARITH_CONST_C1(T) Nyx##T value
#define NYX_ARITH_CONST_C3(T) const Nyx##T value[3]
#define NYX_ARITH_CONST_C4(T) const Nyx##T value[4]
#define NYX_ARITH_CONST_AC4(T) const Nyx##T value[3]

/* Two images with a scale factor: plain, in place, and the _L twins. */
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

/* Two float images. */
#define NYX_BINARY_F32_PROTO(Op, D)                                                          \
  NYX_API NyxStatus nyxi##Op##_32f_##D##R(const Nyx32f* pSrc1, int src1Step,                 \
                                          const Nyx32f* pSrc2, int src2Step, Nyx32f* pDst,   \
                                          int dstStep, NyxiSize roiSize);                    \
  NYX_API NyxStatus nyxi##Op##_32f_##D##IR(const Nyx32f* pSrc, int srcStep, Nyx32f* pSrcDst, \
                                           int srcDstStep, NyxiSize roiSize);                \
  NYX_API NyxStatus nyxi##Op##_32f_##D##R_L(const Nyx32f* pSrc1, NyxSizeL src1Step,          \
                                            const Nyx32f* pSrc2, NyxSizeL src2Step,          \
                                            Nyx32f* pDst, NyxSizeL dstStep,                  \
                                            NyxiSizeL roiSize);                              \
  NYX_API NyxStatus nyxi##Op##_32f_##D##IR_L(const Nyx32f* pSrc, NyxSizeL srcStep,           \
                                             Nyx32f* pSrcDst, NyxSizeL srcDstStep,           \
                                             NyxiSizeL roiSize);

/* An image and constants with a scale factor. */
#define NYX_CONST_SFS_PROTO(Op, T, D)                                                       \
  NYX_API NyxStatus nyxi##Op##_##T##_##D##RSfs(const Nyx##T* pSrc, int srcStep,             \
                                               NYX_ARITH_CONST_##D(T), Nyx##T* pDst,        \
                                               int dstStep, NyxiSize roiSize,               \
                                               int scaleFactor);                            \
  NYX_API NyxStatus nyxi##Op##_##T##_##D##IRSfs(NYX_ARITH_CONST_##D(T), Nyx##T* pSrcDst,    \
                                                int srcDstStep, NyxiSize roiSize,           \
                                                int scaleFactor);                           \
  NYX_API NyxStatus nyxi##Op##_##T##_##D##RSfs_L(const Nyx##T* pSrc, NyxSizeL srcStep,      \
                                                 NYX_ARITH_CONST_##D(T), Nyx##T* pDst,      \
                                                 NyxSizeL dstStep, NyxiSizeL roiSize,       \
                                                 int scaleFactor);                          \
  NYX_API NyxStatus nyxi##Op##_##T##_##D##IRSfs_L(NYX_ARITH_CONST_##D(T), Nyx##T* pSrcDst,  \
                                                  NyxSizeL srcDstStep, NyxiSizeL roiSize,   \
                                                  int scaleFactor);

/* A float image and constants. */
#define NYX_CONST_F32_PROTO(Op, D)                                                             \
  NYX_API NyxStatus nyxi##Op##_32f_##D##R(const Nyx32f* pSrc, int srcStep,                     \
                                          NYX_ARITH_CONST_##D(32f), Nyx32f* pDst, int dstStep, \
                                          NyxiSize roiSize);                                   \
  NYX_API NyxStatus nyxi##Op##_32f_##D##IR(NYX_ARITH_CONST_##D(32f), Nyx32f* pSrcDst,          \
                                           int srcDstStep, NyxiSize roiSize);                  \
  NYX_API NyxStatus nyxi##Op##_32f_##D##R_L(const Nyx32f* pSrc, NyxSizeL srcStep,              \
                                            NYX_ARITH_CONST_##D(32f), Nyx32f* pDst,            \
                                            NyxSizeL dstStep, NyxiSizeL roiSize);              \
  NYX_API NyxStatus nyxi##Op##_32f_##D##IR_L(NYX_ARITH_CONST_##D(32f), Nyx32f* pSrcDst,        \
                                             NyxSizeL srcDstStep, NyxiSizeL roiSize);

/* Division with a chosen rounding (NyxRoundMode): no _L forms. */
#define NYX_DIV_ROUND_PROTO(T, D)                                                             \
  NYX_API NyxStatus nyxiDiv_Round_##T##_##D##RSfs(                                            \
      const Nyx##T* pSrc1, int src1Step, const Nyx##T* pSrc2, int src2Step, Nyx##T* pDst,     \
      int dstStep, NyxiSize roiSize, NyxRoundMode rndMode, int scaleFactor);                  \
  NYX_API NyxStatus nyxiDiv_Round_##T##_##D##IRSfs(const Nyx##T* pSrc, int srcStep,           \
                                                   Nyx##T* pSrcDst, int srcDstStep,           \
                                                   NyxiSize roiSize, NyxRoundMode rndMode,    \
                                                   int scaleFactor);

#define NYX_ARITH_SFS_PROTO_T(T)                                                               \
  NYX_BINARY_SFS_PROTO(Add, T, C1) NYX_BINARY_SFS_PROTO(Add, T, C3)                            \
  NYX_BINARY_SFS_PROTO(Add, T, C4) NYX_BINARY_SFS_PROTO(Add, T, AC4)                           \
  NYX_BINARY_SFS_PROTO(Sub, T, C1) NYX_BINARY_SFS_PROTO(Sub, T, C3)                            \
  NYX_BINARY_SFS_PROTO(Sub, T, C4) NYX_BINARY_SFS_PROTO(Sub, T, AC4)                           \
  NYX_BINARY_SFS_PROTO(Mul, T, C1) NYX_BINARY_SFS_PROTO(Mul, T, C3)                            \
  NYX_BINARY_SFS_PROTO(Mul, T, C4) NYX_BINARY_SFS_PROTO(Mul, T, AC4)                           \
  NYX_BINARY_SFS_PROTO(Div, T, C1) NYX_BINARY_SFS_PROTO(Div, T, C3)                            \
  NYX_BINARY_SFS_PROTO(Div, T, C4) NYX_BINARY_SFS_PROTO(Div, T, AC4)                           \
  NYX_CONST_SFS_PROTO(AddC, T, C1) NYX_CONST_SFS_PROTO(AddC, T, C3)                            \
  NYX_CONST_SFS_PROTO(AddC, T, C4) NYX_CONST_SFS_PROTO(AddC, T, AC4)                           \
  NYX_CONST_SFS_PROTO(SubC, T, C1) NYX_CONST_SFS_PROTO(SubC, T, C3)                            \
  NYX_CONST_SFS_PROTO(SubC, T, C4) NYX_CONST_SFS_PROTO(SubC, T, AC4)                           \
  NYX_CONST_SFS_PROTO(MulC, T, C1) NYX_CONST_SFS_PROTO(MulC, T, C3)                            \
  NYX_CONST_SFS_PROTO(MulC, T, C4) NYX_CONST_SFS_PROTO(MulC, T, AC4)                           \
  NYX_CONST_SFS_PROTO(DivC, T, C1) NYX_CONST_SFS_PROTO(DivC, T, C3)                            \
  NYX_CONST_SFS_PROTO(DivC, T, C4) NYX_CONST_SFS_PROTO(DivC, T, AC4)                           \
  NYX_DIV_ROUND_PROTO(T, C1) NYX_DIV_ROUND_PROTO(T, C3) NYX_DIV_ROUND_PROTO(T, C4)             \
  NYX_DIV_ROUND_PROTO(T, AC4)
NYX_ARITH_SFS_PROTO_T(8u)
NYX_ARITH_SFS_PROTO_T(16u)
NYX_ARITH_SFS_PROTO_T(16s)

#define NYX_ARITH_F32_PROTO_D(D)                                                              \
  NYX_BINARY_F32_PROTO(Add, D) NYX_BINARY_F32_PROTO(Sub, D) NYX_BINARY_F32_PROTO(Mul, D)      \
  NYX_BINARY_F32_PROTO(Div, D) NYX_CONST_F32_PROTO(AddC, D) NYX_CONST_F32_PROTO(SubC, D)      \
  NYX_CONST_F32_PROTO(MulC, D) NYX_CONST_F32_PROTO(DivC, D)
NYX_ARITH_F32_PROTO_D(C1)
NYX_ARITH_F32_PROTO_D(C3)
NYX_ARITH_F32_PROTO_D(C4)
NYX_ARITH_F32_PROTO_D(AC4)

/* Products of samples taken as fractions of the full range (255 * x gives x
 * at 8u): no scale factor. */
#define NYX_MUL_SCALE_PROTO(T, D)                                                               \
  NYX_API NyxStatus nyxiMulScale_##T##_##D##R(const Nyx##T* pSrc1, int src1Step,               \
                                              const Nyx##T* pSrc2, int src2Step, Nyx##T* pDst, \
                                              int dstStep, NyxiSize roiSize);                  \
  NYX_API NyxStatus nyxiMulScale_##T##_##D##IR(const Nyx##T* pSrc, int srcStep,                \
                                               Nyx##T* pSrcDst, int srcDstStep,                \
                                               NyxiSize roiSize);                              \
  NYX_API NyxStatus nyxiMulCScale_##T##_##D##R(const Nyx##T* pSrc, int srcStep,                \
                                               NYX_ARITH_CONST_##D(T), Nyx##T* pDst,           \
                                               int dstStep, NyxiSize roiSize);                 \
  NYX_API NyxStatus nyxiMulCScale_##T##_##D##IR(NYX_ARITH_CONST_##D(T), Nyx##T* pSrcDst,       \
                                                int srcDstStep, NyxiSize roiSize);
#define NYX_MUL_SCALE_PROTO_T(T) \
  NYX_MUL_SCALE_PROTO(T, C1) NYX_MUL_SCALE_PROTO(T, C3) NYX_MUL_SCALE_PROTO(T, C4) \
  NYX_MUL_SCALE_PROTO(T, AC4)
NYX_MUL_SCALE_PROTO_T(8u)
NYX_MUL_SCALE_PROTO_T(16u)

/* Products with double constants (one a channel, by pointer); hint
 * nyxAlgHintAccurate multiplies in double precision, any other value in single
 * precision with the constant rounded to float. rndMode: NyxRoundMode. */
#define NYX_MULC64F_PROTO(T, D, N)                                                            \
  NYX_API NyxStatus nyxiMulC64f_##T##_##D##R(const Nyx##T* pSrc, int srcStep,                 \
                                             const Nyx64f value[N], Nyx##T* pDst, int dstStep, \
                                             NyxiSize roiSize, NyxHintAlgorithm hint,         \
                                             NyxRoundMode rndMode);                           \
  NYX_API NyxStatus nyxiMulC64f_##T##_##D##IR(const Nyx64f value[N], Nyx##T* pSrcDst,         \
                                              int srcDstStep, NyxiSize roiSize,               \
                                              NyxHintAlgorithm hint, NyxRoundMode rndMode);
#define NYX_MULC64F_PROTO_T(T) \
  NYX_MULC64F_PROTO(T, C1, 1) NYX_MULC64F_PROTO(T, C3, 3) NYX_MULC64F_PROTO(T, C4, 4)
NYX_MULC64F_PROTO_T(8u)
NYX_MULC64F_PROTO_T(16u)
NYX_MULC64F_PROTO_T(16s)
NYX_MULC64F_PROTO_T(32f)

/* END SECTION arith */

/* --- Copy, set and channel operations ------------------------------------
 * Copies, fills and channel moves; no stride tests except where noted
 * (SwapChannels refuses a zero stride, the diagonal Mirror a stride below 1).
 * BEGIN SECTION copy */

#define NYX_COPY_PROTO(T, D)                                                             \
  NYX_API NyxStatus nyxiCopy_##T##_##D##R(const Nyx##T* pSrc, int srcStep, Nyx##T* pDst, \
                                          int dstStep, NyxiSize roiSize);                \
  NYX_API NyxStatus nyxiCopy_##T##_##D##R_L(const Nyx##T* pSrc, NyxSizeL srcStep,        \
                                            Nyx##T* pDst, NyxSizeL dstStep,              \
                                            NyxiSizeL roiSize);
/* Masked copy: a pixel is written where its 8u mask sample is not zero. */
#define NYX_COPY_M_PROTO(T, D)                                                            \
  NYX_API NyxStatus nyxiCopy_##T##_##D##MR(const Nyx##T* pSrc, int srcStep, Nyx##T* pDst, \
                                           int dstStep, NyxiSize roiSize,                 \
                                           const Nyx8u* pMask, int maskStep);
/* Channel moves (C3C1, C1C3, C3CR, C3AC4, ...): the pointers of a one-channel
 * side of a C3C1/C1C3 pair and both pointers of a CR form point at the channel. */
#define NYX_COPY_CH_PROTO(T, D)                                                          \
  NYX_API NyxStatus nyxiCopy_##T##_##D(const Nyx##T* pSrc, int srcStep, Nyx##T* pDst,    \
                                       int dstStep, NyxiSize roiSize);
/* Interleaved to planes and back: all planes share one stride. */
#define NYX_COPY_PLANAR_PROTO(T, N)                                                         \
  NYX_API NyxStatus nyxiCopy_##T##_C##N##P##N##R(const Nyx##T* pSrc, int srcStep,          \
                                                 Nyx##T* const pDst[N], int dstStep,       \
                                                 NyxiSize roiSize);                        \
  NYX_API NyxStatus nyxiCopy_##T##_P##N##C##N##R(const Nyx##T* const pSrc[N], int srcStep, \
                                                 Nyx##T* pDst, int dstStep, NyxiSize roiSize);
#define NYX_SET_PROTO_C1(T) \
  NYX_API NyxStatus nyxiSet_##T##_C1R(Nyx##T value, Nyx##T* pDst, int dstStep, NyxiSize roiSize);
#define NYX_SET_PROTO_CN(T, D, N)                                                          \
  NYX_API NyxStatus nyxiSet_##T##_##D##R(const Nyx##T value[N], Nyx##T* pDst, int dstStep, \
                                         NyxiSize roiSize);
#define NYX_SET_PROTO_MORE(T)                                                                  \
  NYX_API NyxStatus nyxiSet_##T##_C3CR(Nyx##T value, Nyx##T* pDst, int dstStep,                \
                                       NyxiSize roiSize);                                      \
  NYX_API NyxStatus nyxiSet_##T##_C4CR(Nyx##T value, Nyx##T* pDst, int dstStep,                \
                                       NyxiSize roiSize);                                      \
  NYX_API NyxStatus nyxiSet_##T##_C1MR(Nyx##T value, Nyx##T* pDst, int dstStep,                \
                                       NyxiSize roiSize, const Nyx8u* pMask, int maskStep);    \
  NYX_API NyxStatus nyxiSet_##T##_C3MR(const Nyx##T value[3], Nyx##T* pDst, int dstStep,       \
                                       NyxiSize roiSize, const Nyx8u* pMask, int maskStep);    \
  NYX_API NyxStatus nyxiSet_##T##_C4MR(const Nyx##T value[4], Nyx##T* pDst, int dstStep,       \
                                       NyxiSize roiSize, const Nyx8u* pMask, int maskStep);    \
  NYX_API NyxStatus nyxiSet_##T##_AC4MR(const Nyx##T value[3], Nyx##T* pDst, int dstStep,      \
                                        NyxiSize roiSize, const Nyx8u* pMask, int maskStep);
/* dstOrder[c] is the source channel of destination channel c. In C3C4R an
 * entry above 2 takes val instead. */
#define NYX_SWAP_PROTO(T)                                                                       \
  NYX_API NyxStatus nyxiSwapChannels_##T##_C3R(const Nyx##T* pSrc, int srcStep, Nyx##T* pDst,  \
                                               int dstStep, NyxiSize roiSize,                  \
                                               const int dstOrder[3]);                         \
  NYX_API NyxStatus nyxiSwapChannels_##T##_C4R(const Nyx##T* pSrc, int srcStep, Nyx##T* pDst,  \
                                               int dstStep, NyxiSize roiSize,                  \
                                               const int dstOrder[4]);                         \
  NYX_API NyxStatus nyxiSwapChannels_##T##_AC4R(const Nyx##T* pSrc, int srcStep, Nyx##T* pDst, \
                                                int dstStep, NyxiSize roiSize,                 \
                                                const int dstOrder[3]);                        \
  NYX_API NyxStatus nyxiSwapChannels_##T##_C3C4R(const Nyx##T* pSrc, int srcStep,              \
                                                 Nyx##T* pDst, int dstStep, NyxiSize roiSize,  \
                                                 const int dstOrder[4], Nyx##T val);           \
  NYX_API NyxStatus nyxiSwapChannels_##T##_C4C3R(const Nyx##T* pSrc, int srcStep,              \
                                                 Nyx##T* pDst, int dstStep, NyxiSize roiSize,  \
                                                 const int dstOrder[3]);
/* The ROI size is the source's; the destination is height by width. */
#define NYX_TRANSPOSE_PROTO(T, D)                                                              \
  NYX_API NyxStatus nyxiTranspose_##T##_##D##R(const Nyx##T* pSrc, int srcStep, Nyx##T* pDst, \
                                               int dstStep, NyxiSize roiSize);                 \
  NYX_API NyxStatus nyxiTranspose_##T##_##D##IR(Nyx##T* pSrcDst, int srcDstStep,              \
                                                NyxiSize roiSize);
#define NYX_MIRROR_PROTO(T, D)                                                              \
  NYX_API NyxStatus nyxiMirror_##T##_##D##R(const Nyx##T* pSrc, int srcStep, Nyx##T* pDst, \
                                            int dstStep, NyxiSize roiSize, NyxiAxis flip); \
  NYX_API NyxStatus nyxiMirror_##T##_##D##IR(Nyx##T* pSrcDst, int srcDstStep,              \
                                             NyxiSize roiSize, NyxiAxis flip);
#define NYX_COPY_SET_PROTO_T(T)                                                              \
  NYX_COPY_PROTO(T, C1) NYX_COPY_PROTO(T, C3) NYX_COPY_PROTO(T, C4) NYX_COPY_PROTO(T, AC4)   \
  NYX_COPY_M_PROTO(T, C1) NYX_COPY_M_PROTO(T, C3) NYX_COPY_M_PROTO(T, C4)                    \
  NYX_COPY_M_PROTO(T, AC4) NYX_COPY_CH_PROTO(T, C3C1R) NYX_COPY_CH_PROTO(T, C4C1R)           \
  NYX_COPY_CH_PROTO(T, C1C3R) NYX_COPY_CH_PROTO(T, C1C4R) NYX_COPY_CH_PROTO(T, C3CR)         \
  NYX_COPY_CH_PROTO(T, C4CR) NYX_COPY_CH_PROTO(T, C3AC4R) NYX_COPY_CH_PROTO(T, AC4C3R)       \
  NYX_COPY_PLANAR_PROTO(T, 3) NYX_COPY_PLANAR_PROTO(T, 4)                                    \
  NYX_SET_PROTO_C1(T) NYX_SET_PROTO_CN(T, C3, 3) NYX_SET_PROTO_CN(T, C4, 4)                  \
  NYX_SET_PROTO_CN(T, AC4, 3) NYX_SET_PROTO_MORE(T) NYX_SWAP_PROTO(T)                        \
  NYX_TRANSPOSE_PROTO(T, C1) NYX_TRANSPOSE_PROTO(T, C3) NYX_TRANSPOSE_PROTO(T, C4)           \
  NYX_MIRROR_PROTO(T, C1) NYX_MIRROR_PROTO(T, C3) NYX_MIRROR_PROTO(T, C4)                    \
  NYX_MIRROR_PROTO(T, AC4)
NYX_COPY_SET_PROTO_T(8u)
NYX_COPY_SET_PROTO_T(16u)
NYX_COPY_SET_PROTO_T(16s)
NYX_COPY_SET_PROTO_T(32s)
NYX_COPY_SET_PROTO_T(32f)

/* flags: nyxCopyStreamStore, nyxCopyStreamLoad; other bits are ignored. The
 * bytes written never depend on the flags. */
NYX_API NyxStatus nyxiCopyManaged_8u_C1R(const Nyx8u* pSrc, int srcStep, Nyx8u* pDst,
                                         int dstStep, NyxiSize roiSize, int flags);
NYX_API NyxStatus nyxiDup_8u_C1C3R(const Nyx8u* pSrc, int srcStep, Nyx8u* pDst, int dstStep,
                                   NyxiSize roiSize);
NYX_API NyxStatus nyxiDup_8u_C1C4R(const Nyx8u* pSrc, int srcStep, Nyx8u* pDst, int dstStep,
                                   NyxiSize roiSize);
NYX_API NyxStatus nyxiSwapChannels_8u_C3IR(Nyx8u* pSrcDst, int srcDstStep, NyxiSize roiSize,
                                           const int dstOrder[3]);
NYX_API NyxStatus nyxiSwapChannels_8u_C4IR(Nyx8u* pSrcDst, int srcDstStep, NyxiSize roiSize,
                                           const int dstOrder[4]);
NYX_API NyxStatus nyxiTranspose_32fc_C1R(const Nyx32fc* pSrc, int srcStep, Nyx32fc* pDst,
                                         int dstStep, NyxiSize roiSize);

/* END SECTION copy */

/* --- Border extension -----------------------------------------------------
 * Copy a source into a larger destination at (topBorderHeight,
 * leftBorderWidth) and make the frame around it: Const fills it with one
 * value per channel (C1 by value, C3 and AC4 three, C4 four), Replicate
 * repeats the edge pixels, Mirror reflects about the edge pixel (not
 * repeated), Wrap repeats the image periodically. Borders may be any width.
 * AC4 forms leave the fourth sample of every destination pixel as it was.
 * IR forms: pSrc stands inside the destination already; the destination
 * starts topBorderHeight rows and leftBorderWidth pixels before it and only
 * the frame is written. The R forms of Replicate and Mirror given equal
 * pointers run as the IR form (with dstStep) before any test; Wrap does so
 * after its tests.
 * BEGIN SECTION border */

#define NYX_BORDER_VALUE_C1(T) Nyx##T value
#define NYX_BORDER_VALUE_C3(T) const Nyx##T value[3]
#define NYX_BORDER_VALUE_C4(T) const Nyx##T value[4]
#define NYX_BORDER_VALUE_AC4(T) const Nyx##T value[3]

#define NYX_COPY_BORDER_PROTO(Op, T, D)                                                        \
  NYX_API NyxStatus nyxi##Op##_##T##_##D##R(const Nyx##T* pSrc, int srcStep, NyxiSize srcRoiSize, \
                                            Nyx##T* pDst, int dstStep, NyxiSize dstRoiSize,      \
                                            int topBorderHeight, int leftBorderWidth);           \
  NYX_API NyxStatus nyxi##Op##_##T##_##D##IR(Nyx##T* pSrc, int srcDstStep, NyxiSize srcRoiSize,  \
                                             NyxiSize dstRoiSize, int topBorderHeight,           \
                                             int leftBorderWidth);                               \
  NYX_API NyxStatus nyxi##Op##_##T##_##D##R_L(                                                   \
      const Nyx##T* pSrc, NyxSizeL srcStep, NyxiSizeL srcRoiSize, Nyx##T* pDst, NyxSizeL dstStep, \
      NyxiSizeL dstRoiSize, NyxSizeL topBorderHeight, NyxSizeL leftBorderWidth);                 \
  NYX_API NyxStatus nyxi##Op##_##T##_##D##IR_L(Nyx##T* pSrc, NyxSizeL srcDstStep,                \
                                               NyxiSizeL srcRoiSize, NyxiSizeL dstRoiSize,       \
                                               NyxSizeL topBorderHeight,                         \
                                               NyxSizeL leftBorderWidth);

#define NYX_COPY_CONST_BORDER_PROTO(T, D)                                                       \
  NYX_API NyxStatus nyxiCopyConstBorder_##T##_##D##R(                                           \
      const Nyx##T* pSrc, int srcStep, NyxiSize srcRoiSize, Nyx##T* pDst, int dstStep,          \
      NyxiSize dstRoiSize, int topBorderHeight, int leftBorderWidth, NYX_BORDER_VALUE_##D(T));  \
  NYX_API NyxStatus nyxiCopyConstBorder_##T##_##D##IR(                                          \
      Nyx##T* pSrc, int srcDstStep, NyxiSize srcRoiSize, NyxiSize dstRoiSize,                   \
      int topBorderHeight, int leftBorderWidth, NYX_BORDER_VALUE_##D(T));                       \
  NYX_API NyxStatus nyxiCopyConstBorder_##T##_##D##R_L(                                         \
      const Nyx##T* pSrc, NyxSizeL srcStep, NyxiSizeL srcRoiSize, Nyx##T* pDst,                 \
      NyxSizeL dstStep, NyxiSizeL dstRoiSize, NyxSizeL topBorderHeight,                         \
      NyxSizeL leftBorderWidth, NYX_BORDER_VALUE_##D(T));                                       \
  NYX_API NyxStatus nyxiCopyConstBorder_##T##_##D##IR_L(                                        \
      Nyx##T* pSrc, NyxSizeL srcDstStep, NyxiSizeL srcRoiSize, NyxiSizeL dstRoiSize,            \
      NyxSizeL topBorderHeight, NyxSizeL leftBorderWidth, NYX_BORDER_VALUE_##D(T));

#define NYX_COPY_BORDER_PROTO_T(T)                                                              \
  NYX_COPY_CONST_BORDER_PROTO(T, C1) NYX_COPY_CONST_BORDER_PROTO(T, C3)                         \
  NYX_COPY_CONST_BORDER_PROTO(T, C4) NYX_COPY_CONST_BORDER_PROTO(T, AC4)                        \
  NYX_COPY_BORDER_PROTO(CopyReplicateBorder, T, C1)                                             \
  NYX_COPY_BORDER_PROTO(CopyReplicateBorder, T, C3)                                             \
  NYX_COPY_BORDER_PROTO(CopyReplicateBorder, T, C4)                                             \
  NYX_COPY_BORDER_PROTO(CopyReplicateBorder, T, AC4)                                            \
  NYX_COPY_BORDER_PROTO(CopyMirrorBorder, T, C1) NYX_COPY_BORDER_PROTO(CopyMirrorBorder, T, C3) \
  NYX_COPY_BORDER_PROTO(CopyMirrorBorder, T, C4)
NYX_COPY_BORDER_PROTO_T(8u)
NYX_COPY_BORDER_PROTO_T(16u)
NYX_COPY_BORDER_PROTO_T(16s)
NYX_COPY_BORDER_PROTO_T(32s)
NYX_COPY_BORDER_PROTO_T(32f)
NYX_COPY_BORDER_PROTO(CopyWrapBorder, 32s, C1)
NYX_COPY_BORDER_PROTO(CopyWrapBorder, 32f, C1)
#undef NYX_COPY_BORDER_PROTO_T

/* Volumes: planes are extended one by one with the same top and left;
 * forwardBorderDepth planes go before the source planes and the rest after.
 * Const fills the forward and backward planes with *pValue; Replicate repeats
 * the first and last extended planes. Steps are in bytes. */
#define NYX_COPY_VOLUME_BORDER_PROTO(T)                                                         \
  NYX_API NyxStatus nyxrCopyConstBorder_##T##_C1V(                                              \
      const Nyx##T* pSrc, int srcPlaneStep, int srcStep, NyxrVolume srcRoiVolume, Nyx##T* pDst, \
      int dstPlaneStep, int dstStep, NyxrVolume dstRoiVolume, int topBorderHeight,             \
      int leftBorderWidth, int forwardBorderDepth, const Nyx##T* pValue);                      \
  NYX_API NyxStatus nyxrCopyConstBorder_##T##_C1V_L(                                            \
      const Nyx##T* pSrc, NyxSizeL srcPlaneStep, NyxSizeL srcStep, Nyx##T* pDst,                \
      NyxSizeL dstPlaneStep, NyxSizeL dstStep, NyxrVolumeL srcRoiVolume,                        \
      NyxrVolumeL dstRoiVolume, NyxSizeL topBorderHeight, NyxSizeL leftBorderWidth,             \
      NyxSizeL forwardBorderDepth, const Nyx##T* pValue);                                       \
  NYX_API NyxStatus nyxrCopyReplicateBorder_##T##_C1V(                                          \
      const Nyx##T* pSrc, int srcPlaneStep, int srcStep, NyxrVolume srcRoiVolume, Nyx##T* pDst, \
      int dstPlaneStep, int dstStep, NyxrVolume dstRoiVolume, int topBorderHeight,             \
      int leftBorderWidth, int forwardBorderDepth);                                             \
  NYX_API NyxStatus nyxrCopyReplicateBorder_##T##_C1V_L(                                        \
      const Nyx##T* pSrc, NyxSizeL srcPlaneStep, NyxSizeL srcStep, Nyx##T* pDst,                \
      NyxSizeL dstPlaneStep, NyxSizeL dstStep, NyxrVolumeL srcRoiVolume,                        \
      NyxrVolumeL dstRoiVolume, NyxSizeL topBorderHeight, NyxSizeL leftBorderWidth,             \
      NyxSizeL forwardBorderDepth);
NYX_COPY_VOLUME_BORDER_PROTO(8u)
NYX_COPY_VOLUME_BORDER_PROTO(16u)
NYX_COPY_VOLUME_BORDER_PROTO(16s)
NYX_COPY_VOLUME_BORDER_PROTO(32f)
NYX_COPY_VOLUME_BORDER_PROTO(64f)
#undef NYX_COPY_VOLUME_BORDER_PROTO

/* END SECTION border */
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
/* --- Conversion and scaling -----------------------------------------------
 * NyxRoundMode: 0 toward zero, 1 nearest even, 2 ties away from zero.
 * Rows whose strides equal their row bytes are processed as one row.
 * BEGIN SECTION convert */

#define NYX_CONVERT_PROTO(S, D, Desc)                                              \
  NYX_API NyxStatus nyxiConvert_##S##D##_##Desc##R(const Nyx##S* pSrc, int srcStep, \
                                                   Nyx##D* pDst, int dstStep,      \
                                                   NyxiSize roiSize);
#define NYX_CONVERT_PROTO_ALL(S, D)                                              \
  NYX_CONVERT_PROTO(S, D, C1) NYX_CONVERT_PROTO(S, D, C3) NYX_CONVERT_PROTO(S, D, C4) \
  NYX_CONVERT_PROTO(S, D, AC4)
#define NYX_CONVERT_ROUND_PROTO(S, D, Desc)                                        \
  NYX_API NyxStatus nyxiConvert_##S##D##_##Desc##R(const Nyx##S* pSrc, int srcStep, \
                                                   Nyx##D* pDst, int dstStep,      \
                                                   NyxiSize roiSize, NyxRoundMode roundMode);
#define NYX_CONVERT_ROUND_PROTO_ALL(S, D)                                              \
  NYX_CONVERT_ROUND_PROTO(S, D, C1) NYX_CONVERT_ROUND_PROTO(S, D, C3)                   \
  NYX_CONVERT_ROUND_PROTO(S, D, C4) NYX_CONVERT_ROUND_PROTO(S, D, AC4)
#define NYX_CONVERT_SFS_PROTO(S, D)                                                   \
  NYX_API NyxStatus nyxiConvert_##S##D##_C1RSfs(const Nyx##S* pSrc, int srcStep,      \
                                                Nyx##D* pDst, int dstStep,            \
                                                NyxiSize roiSize, NyxRoundMode roundMode, \
                                                int scaleFactor);
#define NYX_CONVERT_RS_PROTO(S, D)                                                  \
  NYX_API NyxStatus nyxiConvert_##S##D##_C1Rs(const Nyx##S* pSrc, int srcStep,      \
                                              Nyx##D* pDst, int dstStep, NyxiSize roiSize);

NYX_CONVERT_PROTO_ALL(8u, 16u)
NYX_CONVERT_PROTO_ALL(8u, 16s)
NYX_CONVERT_PROTO_ALL(8u, 32s)
NYX_CONVERT_PROTO_ALL(8u, 32f)
NYX_CONVERT_PROTO_ALL(8s, 32s)
NYX_CONVERT_PROTO_ALL(8s, 32f)
NYX_CONVERT_PROTO_ALL(16u, 32s)
NYX_CONVERT_PROTO_ALL(16u, 32f)
NYX_CONVERT_PROTO_ALL(16s, 32s)
NYX_CONVERT_PROTO_ALL(16s, 32f)
NYX_CONVERT_PROTO_ALL(16u, 8u)
NYX_CONVERT_PROTO_ALL(16s, 8u)
NYX_CONVERT_PROTO_ALL(32s, 8u)
NYX_CONVERT_PROTO_ALL(32s, 8s)
NYX_CONVERT_PROTO(8s, 16s, C1)
NYX_CONVERT_PROTO(16u, 32u, C1)
NYX_CONVERT_PROTO(32s, 32f, C1)
NYX_CONVERT_PROTO(32u, 32f, C1)
NYX_CONVERT_PROTO(8s, 64f, C1)

/* Float to integer. Mode 2 (any value above 1): NaN and +inf give the
 * type's maximum. Modes 0 and 1: values too large give the maximum, while
 * NaN and +inf give the type's minimum. */
NYX_CONVERT_ROUND_PROTO_ALL(32f, 8u)
NYX_CONVERT_ROUND_PROTO_ALL(32f, 8s)
NYX_CONVERT_ROUND_PROTO_ALL(32f, 16u)
NYX_CONVERT_ROUND_PROTO_ALL(32f, 16s)

/* saturate(round_mode(x * 2^-scaleFactor)); a mode outside 0..2 gives
 * nyxStsNotSupportedModeErr; NaN gives the type's minimum (0 if unsigned). */
NYX_CONVERT_SFS_PROTO(16s, 8s)
NYX_CONVERT_SFS_PROTO(16u, 16s)
NYX_CONVERT_SFS_PROTO(16u, 8s)
NYX_CONVERT_SFS_PROTO(32f, 16s)
NYX_CONVERT_SFS_PROTO(32f, 16u)
NYX_CONVERT_SFS_PROTO(32f, 32s)
NYX_CONVERT_SFS_PROTO(32f, 32u)
NYX_CONVERT_SFS_PROTO(32f, 8s)
NYX_CONVERT_SFS_PROTO(32f, 8u)
NYX_CONVERT_SFS_PROTO(32s, 16s)
NYX_CONVERT_SFS_PROTO(32s, 16u)
NYX_CONVERT_SFS_PROTO(32u, 16s)
NYX_CONVERT_SFS_PROTO(32u, 16u)
NYX_CONVERT_SFS_PROTO(32u, 32s)
NYX_CONVERT_SFS_PROTO(32u, 8s)
NYX_CONVERT_SFS_PROTO(32u, 8u)
NYX_CONVERT_SFS_PROTO(64f, 16s)
NYX_CONVERT_SFS_PROTO(64f, 16u)
NYX_CONVERT_SFS_PROTO(64f, 8s)
NYX_CONVERT_SFS_PROTO(64f, 8u)
NYX_CONVERT_SFS_PROTO(8u, 8s)
/* In place: the image holds 32f samples on entry and 32u samples on return. */
NYX_API NyxStatus nyxiConvert_32f32u_C1IRSfs(Nyx32u* pSrcDst, int srcDstStep, NyxiSize roiSize,
                                             NyxRoundMode roundMode, int scaleFactor);

NYX_CONVERT_RS_PROTO(8s, 8u)
NYX_CONVERT_RS_PROTO(8s, 16u)
NYX_CONVERT_RS_PROTO(8s, 32u)
NYX_CONVERT_RS_PROTO(16s, 16u)
NYX_CONVERT_RS_PROTO(16s, 32u)
NYX_CONVERT_RS_PROTO(32s, 32u)

/* nyxiScale: the full range of the source type onto that of the destination. */
#define NYX_SCALE_PROTO_T(S, D, Desc, Extra)                                     \
  NYX_API NyxStatus nyxiScale_##S##D##_##Desc##R(const Nyx##S* pSrc, int srcStep, \
                                                 Nyx##D* pDst, int dstStep,      \
                                                 NyxiSize roiSize NYX_SCALE_##Extra##_EXTRA);
#define NYX_SCALE_NO_EXTRA
#define NYX_SCALE_RANGE_EXTRA , Nyx32f vMin, Nyx32f vMax
#define NYX_SCALE_HINT_EXTRA , NyxHintAlgorithm hint
#define NYX_SCALE_PROTO_ALL(S, D, Extra)                                          \
  NYX_SCALE_PROTO_T(S, D, C1, Extra) NYX_SCALE_PROTO_T(S, D, C3, Extra)            \
  NYX_SCALE_PROTO_T(S, D, C4, Extra) NYX_SCALE_PROTO_T(S, D, AC4, Extra)
NYX_SCALE_PROTO_ALL(8u, 16u, NO)
NYX_SCALE_PROTO_ALL(8u, 16s, NO)
NYX_SCALE_PROTO_ALL(8u, 32s, NO)
NYX_SCALE_PROTO_ALL(8u, 32f, RANGE)
NYX_SCALE_PROTO_ALL(32f, 8u, RANGE)
NYX_SCALE_PROTO_ALL(16s, 8u, HINT)
NYX_SCALE_PROTO_ALL(16u, 8u, HINT)
NYX_SCALE_PROTO_ALL(32s, 8u, HINT)

/* nyxiScaleC: dst = saturate(round(src * mVal + aVal)); hint 2 computes in
 * double, any other hint in single. */
#define NYX_SCALEC_PROTO(S, D)                                                       \
  NYX_API NyxStatus nyxiScaleC_##S##D##_C1R(const Nyx##S* pSrc, int srcStep, Nyx64f mVal, \
                                            Nyx64f aVal, Nyx##D* pDst, int dstStep,    \
                                            NyxiSize roiSize, NyxHintAlgorithm hint);
#define NYX_SCALEC_PROTO_SAME(T)                                                     \
  NYX_API NyxStatus nyxiScaleC_##T##_C1R(const Nyx##T* pSrc, int srcStep, Nyx64f mVal,    \
                                         Nyx64f aVal, Nyx##T* pDst, int dstStep,       \
                                         NyxiSize roiSize, NyxHintAlgorithm hint);     \
  NYX_API NyxStatus nyxiScaleC_##T##_C1IR(Nyx64f mVal, Nyx64f aVal, Nyx##T* pSrcDst,     \
                                          int srcDstStep, NyxiSize roiSize,            \
                                          NyxHintAlgorithm hint);
NYX_SCALEC_PROTO(8u, 8s) NYX_SCALEC_PROTO(8u, 16u) NYX_SCALEC_PROTO(8u, 16s)
NYX_SCALEC_PROTO(8u, 32s) NYX_SCALEC_PROTO(8u, 32f) NYX_SCALEC_PROTO(8u, 64f)
NYX_SCALEC_PROTO(8s, 8u) NYX_SCALEC_PROTO(8s, 16u) NYX_SCALEC_PROTO(8s, 16s)
NYX_SCALEC_PROTO(8s, 32s) NYX_SCALEC_PROTO(8s, 32f) NYX_SCALEC_PROTO(8s, 64f)
NYX_SCALEC_PROTO(16u, 8u) NYX_SCALEC_PROTO(16u, 8s) NYX_SCALEC_PROTO(16u, 16s)
NYX_SCALEC_PROTO(16u, 32s) NYX_SCALEC_PROTO(16u, 32f) NYX_SCALEC_PROTO(16u, 64f)
NYX_SCALEC_PROTO(16s, 8u) NYX_SCALEC_PROTO(16s, 8s) NYX_SCALEC_PROTO(16s, 16u)
NYX_SCALEC_PROTO(16s, 32s) NYX_SCALEC_PROTO(16s, 32f) NYX_SCALEC_PROTO(16s, 64f)
NYX_SCALEC_PROTO(32s, 8u) NYX_SCALEC_PROTO(32s, 8s) NYX_SCALEC_PROTO(32s, 16u)
NYX_SCALEC_PROTO(32s, 16s) NYX_SCALEC_PROTO(32s, 32f) NYX_SCALEC_PROTO(32s, 64f)
NYX_SCALEC_PROTO(32f, 8u) NYX_SCALEC_PROTO(32f, 8s) NYX_SCALEC_PROTO(32f, 16u)
NYX_SCALEC_PROTO(32f, 16s) NYX_SCALEC_PROTO(32f, 32s) NYX_SCALEC_PROTO(32f, 64f)
NYX_SCALEC_PROTO(64f, 8u) NYX_SCALEC_PROTO(64f, 8s) NYX_SCALEC_PROTO(64f, 16u)
NYX_SCALEC_PROTO(64f, 16s) NYX_SCALEC_PROTO(64f, 32s) NYX_SCALEC_PROTO(64f, 32f)
NYX_SCALEC_PROTO_SAME(8u) NYX_SCALEC_PROTO_SAME(8s) NYX_SCALEC_PROTO_SAME(16u)
NYX_SCALEC_PROTO_SAME(16s) NYX_SCALEC_PROTO_SAME(32s) NYX_SCALEC_PROTO_SAME(32f)
NYX_SCALEC_PROTO_SAME(64f)

/* Packed bits (least significant bit first) to samples and back; a bit
 * offset may be above 7. */
#define NYX_BINGRAY_PROTO(T)                                                            \
  NYX_API NyxStatus nyxiBinToGray_1u##T##_C1R(const Nyx8u* pSrc, int srcStep,             \
                                              int srcBitOffset, Nyx##T* pDst, int dstStep, \
                                              NyxiSize roiSize, Nyx##T loVal, Nyx##T hiVal); \
  NYX_API NyxStatus nyxiGrayToBin_##T##1u_C1R(const Nyx##T* pSrc, int srcStep, Nyx8u* pDst,  \
                                              int dstStep, int dstBitOffset,               \
                                              NyxiSize roiSize, Nyx##T threshold);
NYX_BINGRAY_PROTO(8u)
NYX_BINGRAY_PROTO(16u)
NYX_BINGRAY_PROTO(16s)
NYX_BINGRAY_PROTO(32f)

/* END SECTION convert */

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
