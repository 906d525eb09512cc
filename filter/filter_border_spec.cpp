// The block of the general kernel filter: its size query, the three init
// calls and the mode call. The layout is in filter/filter_border.h.
#include <cstdint>
#include <cstring>

#include "core/entry/entry.h"
#include "core/frame/frame.h"
#include "filter/filter_border.h"

namespace nyx::kfilter {
namespace {

using I = __int128;

bool IsKernelType(NyxDataType t) { return t == nyx16s || t == nyx32f; }

// The kind an init call makes for this data type, kernel type and channels.
int32_t KindFor(NyxDataType data, NyxDataType kernel, int nc, int64_t kw, int64_t kh) {
  if (data == nyx64f) return kFloat64f;
  if (kernel == nyx16s && KeepsIntegerTaps(data, nc, kw, kh)) return data == nyx8u ? kInt8u : kInt16s;
  if (data == nyx8u) return kFloat8u;
  if (data == nyx16s) return kFloat16s;
  if (data == nyx16u) return kFloat16u;
  return kFloat32f;
}

// Bytes of the extended rectangles: the larger strip rectangle, or the whole
// extended ROI when the kernel is not smaller than it; an extent of 2 counts
// its far side as 2 (mirror needs the pixel to reflect).
I RectangleBytes(I W, I H, I kw, I kh, I es, I nc) {
  I area;
  if (kw < W && kh < H) {
    const I rb = kh == 2 ? 2 : kh - 1 - (kh - 1) / 2, rr = kw == 2 ? 2 : kw - 1 - (kw - 1) / 2;
    const I a = rb > 0 ? (W + kw - 1) * (kh - 1 + rb) : 0;
    const I b = rr > 0 ? (kw - 1 + rr) * (H + kh - 1) : 0;
    area = a > b ? a : b;
  } else {
    area = (W + kw - 1) * (H + kh - 1);
  }
  return ((area * es * nc + 31) & ~I{31}) + 32;
}

// Kernel scratch by kind, row length (samples) and kernel shape, rounded up
// to 64 bytes.
I ScratchBytes(int32_t kind, I w, I kw, I kh) {
  I s;
  if (kind == kInt8u || kind == kInt16s) {
    if (kw == 1) {
      s = 80 * kh + ((8 * w + 24) & ~I{31});
    } else if (kh == 1) {
      s = 0;
    } else {
      s = 4 * (((8 * kw + 8) & ~I{15}) * kh + w) + 28;
      if (ownGetFeature(NYX_CPU_AVX512VNNI) != 0) {
        const I dot = 64 * kh * ((kw + 3) / 4);
        if (dot > s) s = dot;
      }
    }
  } else if (kind == kFloat32f) {
    s = kw == 1 || kh == 1 ? 8 * w : 32 * kw * kh;
  } else {
    s = kw == 1 ? 8 * w + 16 * kw * kh : (kh == 1 ? 4 * w + 16 : 4 * (w + 8 * kw * kh) + 12);
  }
  return (s + 63) & ~I{63};
}

NyxStatus GetSize(NyxiSize k, NyxiSize roi, NyxDataType data, NyxDataType kernel, int nc,
                  int* spec_size, int* buffer_size) {
  if (k.width < 1 || k.height < 1 || frame::BadSize(roi)) return nyxStsSizeErr;
  if (data != nyx8u && data != nyx16u && data != nyx16s && data != nyx32f) {
    if (data != nyx64f || kernel != nyx64f) return nyxStsDataTypeErr;
    if (nc != 1) return nyxStsChannelErr;
  }
  if (nc < 1 || nc > 4) return IsKernelType(kernel) ? nyxStsChannelErr : nyxStsDataTypeErr;
  if (spec_size == nullptr || buffer_size == nullptr) {
    return IsKernelType(kernel) ? nyxStsNullPtrErr : nyxStsDataTypeErr;
  }
  if (data != nyx64f && (!IsKernelType(kernel) || (data == nyx32f && kernel != nyx32f))) {
    return nyxStsDataTypeErr;
  }
  const I kw = k.width, kh = k.height, W = roi.width, H = roi.height;
  const int32_t kind = KindFor(data, kernel, nc, k.width, k.height);
  if (kind == kFloat64f) {
    *spec_size = static_cast<int>(191 + Align64(static_cast<size_t>(8 * kw * kh)));
    const I size = RectangleBytes(W, H, kw, kh, 8, 1) + 126 + 64 * kw * kh + 128;
    if (size >= (I{1} << 31)) {
      *buffer_size = 0;
      return nyxStsSizeOverflowErr;
    }
    *buffer_size = static_cast<int>(size);
    return nyxStsNoErr;
  }
  const I e = kind == kInt8u || kind == kInt16s ? 2 : 4;
  const I kw_even = (kw + 1) & ~I{1};
  auto align64 = [](I v) { return (v + 63) & ~I{63}; };
  I spec = 191 + align64(kw * kh * e) + align64(80 * kh * kw_even);
  if (data == nyx32f && nc == 1) spec += 64 * kw * kh;
  const I es = data == nyx8u ? 1 : (data == nyx32f ? 4 : 2);
  const I size = RectangleBytes(W, H, kw, kh, es, nc) + ScratchBytes(kind, W * nc, kw, kh) + 63;
  if (spec >= (I{1} << 31) || size >= (I{1} << 31)) {
    *buffer_size = 0;
    return nyxStsSizeOverflowErr;
  }
  *spec_size = static_cast<int>(spec);
  *buffer_size = static_cast<int>(size);
  return nyxStsNoErr;
}

// ---------------------------------------------------------------------------
// Init.

// Accurate integer sums exist only for 8-bit samples and one-channel 16s.
bool AccurateIgnored(int round_mode, NyxDataType data, int nc) {
  return (round_mode & kAccurateBit) != 0 && data != nyx8u && !(data == nyx16s && nc == 1);
}

SpecHeader BaseHeader(int32_t kind, NyxiSize k, int nc, int round_mode) {
  SpecHeader h{};
  h.kind = kind;
  h.kw = k.width;
  h.kh = k.height;
  h.reciprocal = h.divisor_f = h.divisor_f2 = 1.0f;
  h.divisor = 1;
  h.divisor_d = 1.0;
  h.round_mode = round_mode;
  h.num_channels = nc;
  return h;
}

// The divisor fields: class 0 for 1, class 1 for a power of two (shift,
// half, mask, reciprocal 2^-shift), class 2 otherwise (1.0f / divisor).
void SetDivisor(SpecHeader* h, int divisor) {
  h->divisor = divisor;
  h->divisor_f2 = static_cast<float>(divisor);
  if (divisor == 1) {
    h->divisor_class = 0;
    h->reciprocal = h->divisor_f = 1.0f;
  } else if (divisor > 0 && (divisor & (divisor - 1)) == 0) {
    h->divisor_class = 1;
    h->shift = __builtin_ctz(static_cast<unsigned>(divisor));
    h->half = 1 << (h->shift - 1);
    h->shift_mask = (1 << h->shift) - 1;
    float r = 1.0f;
    for (int i = 0; i < h->shift; ++i) r *= 0.5f;
    h->reciprocal = h->divisor_f = r;
  } else {
    h->divisor_class = 2;
    h->reciprocal = 1.0f / static_cast<float>(divisor);
    h->divisor_f = static_cast<float>(divisor);
  }
  h->divisor_d = static_cast<double>(h->divisor_f);
}

void WriteHeader(uint8_t* block, SpecHeader h, size_t prepared_count) {
  h.taps = TapsOf(block);
  h.prepared = PreparedOf(block, h.kind, h.kw, h.kh);
  h.prepared_count = static_cast<int32_t>(prepared_count);
  std::memset(block + sizeof h, 0, kHeaderBytes - sizeof h);
  std::memcpy(block, &h, sizeof h);
}

// Copies n taps reversed into dst; when they are already there, reverses them.
template <class T>
void Flip(const T* src, T* dst, int64_t n) {
  if (static_cast<const void*>(src) == static_cast<const void*>(dst)) {
    for (int64_t a = 0, b = n - 1; a < b; ++a, --b) {
      const T t = dst[a];
      dst[a] = dst[b];
      dst[b] = t;
    }
  } else {
    for (int64_t i = 0; i < n; ++i) dst[i] = src[n - 1 - i];
  }
}

// Float taps already flipped in the block: the replicated table and header.
void FinishFloat(uint8_t* block, int32_t kind, NyxiSize k, int nc, int round_mode) {
  const int64_t n = int64_t{k.width} * k.height;
  const float* taps = reinterpret_cast<const float*>(TapsOf(block));
  float* rep = reinterpret_cast<float*>(const_cast<uint8_t*>(PreparedOf(block, kind, k.width, k.height)));
  const int64_t copies = kind == kFloat32f && nc == 1 ? 16 : 8;
  for (int64_t i = 0; i < n; ++i)
    for (int64_t c = 0; c < copies; ++c) rep[i * copies + c] = taps[i];
  WriteHeader(block, BaseHeader(kind, k, nc, round_mode & ~kAccurateBit), static_cast<size_t>(n * copies));
}

int32_t FloatKind(NyxDataType data) {
  return data == nyx8u ? kFloat8u : (data == nyx16s ? kFloat16s : (data == nyx16u ? kFloat16u : kFloat32f));
}

NyxStatus Init16s(const Nyx16s* kernel, NyxiSize k, int divisor, NyxDataType data, int nc,
                  int round_mode, NyxiFilterBorderSpec* spec) {
  if (frame::AnyNull(kernel, spec)) return nyxStsNullPtrErr;
  if (k.width < 1 || k.height < 1) return nyxStsSizeErr;
  if (data != nyx8u && data != nyx16u && data != nyx16s) return nyxStsDataTypeErr;
  if (nc < 1 || nc > 4) return nyxStsChannelErr;
  if (static_cast<unsigned>(round_mode & ~kAccurateBit) > 2) return nyxStsRoundModeErr;
  if (divisor == 0) return nyxStsZeroDivisorErr;
  const NyxStatus st = AccurateIgnored(round_mode, data, nc) ? nyxStsAccurateHintIgnoredWrn : nyxStsNoErr;
  uint8_t* block = frame::AlignSpec(spec);
  const int64_t n = int64_t{k.width} * k.height;
  if (!KeepsIntegerTaps(data, nc, k.width, k.height)) {
    float* taps = reinterpret_cast<float*>(TapsOf(block));
    const double inv = 1.0 / static_cast<double>(divisor);
    for (int64_t i = 0; i < n; ++i) taps[i] = static_cast<float>(static_cast<double>(kernel[n - 1 - i]) * inv);
    FinishFloat(block, FloatKind(data), k, nc, round_mode);
    return st;
  }
  const int32_t kind = data == nyx16s ? kInt16s : kInt8u;
  int16_t* taps = reinterpret_cast<int16_t*>(TapsOf(block));
  Flip(kernel, taps, n);
  // Pairs of each kernel row, the last one of an odd row padded with 0.
  const int64_t np = (k.width + 1) / 2;
  int32_t* pairs = reinterpret_cast<int32_t*>(const_cast<uint8_t*>(PreparedOf(block, kind, k.width, k.height)));
  for (int64_t j = 0; j < k.height; ++j) {
    for (int64_t p = 0; p < np; ++p) {
      const int16_t a = taps[j * k.width + 2 * p];
      const int16_t b = 2 * p + 1 < k.width ? taps[j * k.width + 2 * p + 1] : 0;
      pairs[j * np + p] = static_cast<int32_t>(static_cast<uint16_t>(a) | (static_cast<uint32_t>(static_cast<uint16_t>(b)) << 16));
    }
  }
  SpecHeader h = BaseHeader(kind, k, nc, round_mode);
  SetDivisor(&h, divisor);
  WriteHeader(block, h, static_cast<size_t>(np * k.height));
  return st;
}

NyxStatus Init32f(const Nyx32f* kernel, NyxiSize k, NyxDataType data, int nc, int round_mode,
                  NyxiFilterBorderSpec* spec) {
  if (frame::AnyNull(kernel, spec)) return nyxStsNullPtrErr;
  if (k.width < 1 || k.height < 1) return nyxStsSizeErr;
  if (data != nyx8u && data != nyx16u && data != nyx16s && data != nyx32f) return nyxStsDataTypeErr;
  if (nc < 1 || nc > 4) return nyxStsChannelErr;
  if (static_cast<unsigned>(round_mode & ~kAccurateBit) > 2) return nyxStsRoundModeErr;
  const NyxStatus st = AccurateIgnored(round_mode, data, nc) ? nyxStsAccurateHintIgnoredWrn : nyxStsNoErr;
  uint8_t* block = frame::AlignSpec(spec);
  Flip(kernel, reinterpret_cast<float*>(TapsOf(block)), int64_t{k.width} * k.height);
  FinishFloat(block, FloatKind(data), k, nc, round_mode);
  return st;
}

NyxStatus Init64f(const Nyx64f* kernel, NyxiSize k, NyxDataType data, int nc, int round_mode,
                  NyxiFilterBorderSpec* spec) {
  if (frame::AnyNull(kernel, spec)) return nyxStsNullPtrErr;
  if (k.width < 1 || k.height < 1) return nyxStsSizeErr;
  if (data != nyx64f) return nyxStsDataTypeErr;
  if (nc != 1) return nyxStsChannelErr;
  if ((round_mode & ~kAccurateBit) != 1) return nyxStsRoundModeErr;
  const NyxStatus st = AccurateIgnored(round_mode, data, nc) ? nyxStsAccurateHintIgnoredWrn : nyxStsNoErr;
  uint8_t* block = frame::AlignSpec(spec);
  Flip(kernel, reinterpret_cast<double*>(TapsOf(block)), int64_t{k.width} * k.height);
  WriteHeader(block, BaseHeader(kFloat64f, k, nc, round_mode & ~kAccurateBit), 0);
  return st;
}

// Offsets exist where the kind converts to integers with an offset: 8-bit
// integer taps, 8-bit and 16u float taps. The accurate hint reaches the
// integer kinds only.
NyxStatus SetMode(int hint, int offset, NyxiFilterBorderSpec* spec) {
  if (spec == nullptr) return nyxStsNullPtrErr;
  uint8_t* block = frame::AlignSpec(spec);
  SpecHeader h;
  std::memcpy(&h, block, sizeof h);
  const int32_t kind = h.kind;
  if ((kind == kInt16s || kind == kFloat16s || kind == kFloat32f || kind == kFloat64f) && offset != 0) {
    return nyxStsNotSupportedModeErr;
  }
  if (kind == kFloat64f) return nyxStsNoErr;
  if (hint == nyxAlgHintAccurate) {
    if (kind == kInt8u || (kind == kInt16s && h.num_channels == 1)) h.round_mode |= kAccurateBit;
  } else {
    h.round_mode &= 3;
  }
  h.offset = offset;
  if (kind <= 2 || hint == nyxAlgHintAccurate) {
    h.offset_f = static_cast<float>(int64_t{offset} * h.divisor);
    h.hint = hint;
  }
  std::memcpy(block, &h, sizeof h);
  return nyxStsNoErr;
}

}  // namespace
}  // namespace nyx::kfilter

NYX_ENTRY(NyxStatus, nyxiFilterBorderGetSize,
          (NyxiSize kernelSize, NyxiSize dstRoiSize, NyxDataType dataType, NyxDataType kernelType,
           int numChannels, int* pSpecSize, int* pBufferSize),
          (kernelSize, dstRoiSize, dataType, kernelType, numChannels, pSpecSize, pBufferSize)) {
  return nyx::kfilter::GetSize(kernelSize, dstRoiSize, dataType, kernelType, numChannels, pSpecSize,
                               pBufferSize);
}

NYX_ENTRY(NyxStatus, nyxiFilterBorderInit_16s,
          (const Nyx16s* pKernel, NyxiSize kernelSize, int divisor, NyxDataType dataType,
           int numChannels, NyxRoundMode roundMode, NyxiFilterBorderSpec* pSpec),
          (pKernel, kernelSize, divisor, dataType, numChannels, roundMode, pSpec)) {
  return nyx::kfilter::Init16s(pKernel, kernelSize, divisor, dataType, numChannels,
                               static_cast<int>(roundMode), pSpec);
}

NYX_ENTRY(NyxStatus, nyxiFilterBorderInit_32f,
          (const Nyx32f* pKernel, NyxiSize kernelSize, NyxDataType dataType, int numChannels,
           NyxRoundMode roundMode, NyxiFilterBorderSpec* pSpec),
          (pKernel, kernelSize, dataType, numChannels, roundMode, pSpec)) {
  return nyx::kfilter::Init32f(pKernel, kernelSize, dataType, numChannels, static_cast<int>(roundMode),
                               pSpec);
}

NYX_ENTRY(NyxStatus, nyxiFilterBorderInit_64f,
          (const Nyx64f* pKernel, NyxiSize kernelSize, NyxDataType dataType, int numChannels,
           NyxRoundMode roundMode, NyxiFilterBorderSpec* pSpec),
          (pKernel, kernelSize, dataType, numChannels, roundMode, pSpec)) {
  return nyx::kfilter::Init64f(pKernel, kernelSize, dataType, numChannels, static_cast<int>(roundMode),
                               pSpec);
}

NYX_ENTRY(NyxStatus, nyxiFilterBorderSetMode,
          (NyxHintAlgorithm hint, int offset, NyxiFilterBorderSpec* pSpec), (hint, offset, pSpec)) {
  return nyx::kfilter::SetMode(static_cast<int>(hint), offset, pSpec);
}
