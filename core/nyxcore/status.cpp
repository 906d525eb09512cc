// Short messages for status values. Part of the core library so that the
// variant holds no text.
#include "nyx.h"

extern "C" const char* nyxGetStatusString(NyxStatus status) {
  switch (status) {
    case nyxStsSizeAdjustedWrn:
      return "nyxStsSizeAdjustedWrn: Size was adjusted to the initialised destination";
    case nyxStsAccurateHintIgnoredWrn:
      return "nyxStsAccurateHintIgnoredWrn: Accurate hint ignored: no accurate path";
    case nyxStsAntialiasIgnoredWrn:
      return "nyxStsAntialiasIgnoredWrn: Antialiasing ignored for this interpolation";
    case nyxStsEvenMedianWeightWrn:
      return "nyxStsEvenMedianWeightWrn: Even median weight";
    case nyxStsVolumeNoIntersectionWrn:
      return "nyxStsVolumeNoIntersectionWrn: Region does not intersect the volume";
    case nyxStsOddSizeWrn:
      return "nyxStsOddSizeWrn: Odd width or height";
    case nyxStsQuadOutsideWrn:
      return "nyxStsQuadOutsideWrn: Quadrangle lies outside the source";
    case nyxStsNoIntersectionWrn:
      return "nyxStsNoIntersectionWrn: Source and region do not intersect";
    case nyxStsLnNegArgWrn:
      return "nyxStsLnNegArgWrn: Logarithm of a negative value";
    case nyxStsLnZeroArgWrn:
      return "nyxStsLnZeroArgWrn: Logarithm of zero";
    case nyxStsSqrtNegArgWrn:
      return "nyxStsSqrtNegArgWrn: Square root of a negative value";
    case nyxStsDivByZeroWrn:
      return "nyxStsDivByZeroWrn: Division by zero";
    case nyxStsNoOperationWrn:
      return "nyxStsNoOperationWrn: Nothing to do";
    case nyxStsNoErr:
      return "nyxStsNoErr: No error";
    case nyxStsErr:
      return "nyxStsErr: Unspecified error";
    case nyxStsBadArgErr:
      return "nyxStsBadArgErr: Bad argument";
    case nyxStsSizeErr:
      return "nyxStsSizeErr: Wrong size";
    case nyxStsRangeErr:
      return "nyxStsRangeErr: Lower bound above upper bound";
    case nyxStsNullPtrErr:
      return "nyxStsNullPtrErr: Null pointer";
    case nyxStsMemAllocErr:
      return "nyxStsMemAllocErr: Memory allocation failed";
    case nyxStsDivByZeroErr:
      return "nyxStsDivByZeroErr: Constant divisor is zero";
    case nyxStsOutOfRangeErr:
      return "nyxStsOutOfRangeErr: Argument out of range";
    case nyxStsScaleRangeErr:
      return "nyxStsScaleRangeErr: Scale range is empty";
    case nyxStsContextMatchErr:
      return "nyxStsContextMatchErr: Spec or state block does not match";
    case nyxStsNotSupportedModeErr:
      return "nyxStsNotSupportedModeErr: Mode not supported";
    case nyxStsStepErr:
      return "nyxStsStepErr: Bad row stride";
    case nyxStsFftOrderErr:
      return "nyxStsFftOrderErr: Transform order out of range";
    case nyxStsFftFlagErr:
      return "nyxStsFftFlagErr: Bad transform normalisation flag";
    case nyxStsThresholdErr:
      return "nyxStsThresholdErr: Lower threshold above upper threshold";
    case nyxStsMomentZeroErr:
      return "nyxStsMomentZeroErr: Zero-order moment is zero";
    case nyxStsMirrorFlipErr:
      return "nyxStsMirrorFlipErr: Bad mirror axis";
    case nyxStsInterpolationErr:
      return "nyxStsInterpolationErr: Bad interpolation";
    case nyxStsResizeFactorErr:
      return "nyxStsResizeFactorErr: Resize factor not positive";
    case nyxStsMaskSizeErr:
      return "nyxStsMaskSizeErr: Bad mask size";
    case nyxStsAnchorErr:
      return "nyxStsAnchorErr: Anchor outside the mask";
    case nyxStsEpsValErr:
      return "nyxStsEpsValErr: Negative tolerance";
    case nyxStsStepTooShortErr:
      return "nyxStsStepTooShortErr: Row stride shorter than a row";
    case nyxStsChannelErr:
      return "nyxStsChannelErr: Bad channel";
    case nyxStsZeroParamErr:
      return "nyxStsZeroParamErr: Parameter is zero";
    case nyxStsAlphaTypeErr:
      return "nyxStsAlphaTypeErr: Bad alpha composition kind";
    case nyxStsZeroDivisorErr:
      return "nyxStsZeroDivisorErr: Kernel divisor is zero";
    case nyxStsNumChannelsErr:
      return "nyxStsNumChannelsErr: Bad number of channels";
    case nyxStsCoeffErr:
      return "nyxStsCoeffErr: Singular or degenerate coefficients";
    case nyxStsRectErr:
      return "nyxStsRectErr: Rectangle has no extent";
    case nyxStsQuadErr:
      return "nyxStsQuadErr: Degenerate quadrangle";
    case nyxStsDataTypeErr:
      return "nyxStsDataTypeErr: Data type not supported";
    case nyxStsChannelOrderErr:
      return "nyxStsChannelOrderErr: Bad channel order";
    case nyxStsLutLevelsErr:
      return "nyxStsLutLevelsErr: Too few look-up table levels";
    case nyxStsHistoLevelsErr:
      return "nyxStsHistoLevelsErr: Too few histogram levels";
    case nyxStsNotEvenStepErr:
      return "nyxStsNotEvenStepErr: Stride is not a multiple of the sample size";
    case nyxStsNoiseRangeErr:
      return "nyxStsNoiseRangeErr: Noise argument out of range";
    case nyxStsQualityIndexErr:
      return "nyxStsQualityIndexErr: Quality index denominator is zero";
    case nyxStsWeightErr:
      return "nyxStsWeightErr: Centre weight not positive";
    case nyxStsDecimateFractionErr:
      return "nyxStsDecimateFractionErr: Bad decimation fraction";
    case nyxStsRoundModeErr:
      return "nyxStsRoundModeErr: Bad rounding mode";
    case nyxStsBorderErr:
      return "nyxStsBorderErr: Border mode not accepted";
    case nyxStsYuvSizeErr:
      return "nyxStsYuvSizeErr: Odd YUV size or offset";
    case nyxStsAlgTypeErr:
      return "nyxStsAlgTypeErr: Bad algorithm word";
    case nyxStsWarpDirectionErr:
      return "nyxStsWarpDirectionErr: Bad warp direction";
    case nyxStsSizeOverflowErr:
      return "nyxStsSizeOverflowErr: Size too large";
    case nyxStsWarpTransformErr:
      return "nyxStsWarpTransformErr: Bad quad warp transform";
    default:
      return status < 0 ? "Unknown error" : "Unknown warning";
  }
}
