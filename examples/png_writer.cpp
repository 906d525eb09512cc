#include "png_writer.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace nyx_demo {
namespace {

constexpr std::array<uint32_t, 256> MakeCrcTable() {
  std::array<uint32_t, 256> table{};
  for (uint32_t n = 0; n < 256; ++n) {
    uint32_t c = n;
    for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
    table[n] = c;
  }
  return table;
}

constexpr std::array<uint32_t, 256> kCrcTable = MakeCrcTable();

// Running CRC-32 (ISO 3309 / PNG); start with 0xFFFFFFFF, finish by inverting.
uint32_t UpdateCrc(uint32_t crc, const uint8_t* data, size_t size) {
  for (size_t i = 0; i < size; ++i) crc = kCrcTable[(crc ^ data[i]) & 0xFF] ^ (crc >> 8);
  return crc;
}

uint32_t Adler32(const uint8_t* data, size_t size) {
  constexpr uint32_t kMod = 65521;
  uint32_t a = 1, b = 0;
  while (size > 0) {
    // 5552 is the largest run that cannot overflow 32-bit sums before reducing.
    size_t run = size < 5552 ? size : 5552;
    for (size_t i = 0; i < run; ++i) {
      a += data[i];
      b += a;
    }
    a %= kMod;
    b %= kMod;
    data += run;
    size -= run;
  }
  return (b << 16) | a;
}

void PutBe32(std::vector<uint8_t>& out, uint32_t v) {
  out.push_back(static_cast<uint8_t>(v >> 24));
  out.push_back(static_cast<uint8_t>(v >> 16));
  out.push_back(static_cast<uint8_t>(v >> 8));
  out.push_back(static_cast<uint8_t>(v));
}

bool WriteChunk(std::FILE* f, const char type[4], const uint8_t* data, size_t size) {
  std::vector<uint8_t> head;
  PutBe32(head, static_cast<uint32_t>(size));
  head.insert(head.end(), type, type + 4);
  uint32_t crc = UpdateCrc(0xFFFFFFFFu, head.data() + 4, 4);
  crc = UpdateCrc(crc, data, size) ^ 0xFFFFFFFFu;
  std::vector<uint8_t> tail;
  PutBe32(tail, crc);
  return std::fwrite(head.data(), 1, 8, f) == 8 &&
         (size == 0 || std::fwrite(data, 1, size, f) == size) &&
         std::fwrite(tail.data(), 1, 4, f) == 4;
}

}  // namespace

bool WritePng(const char* path, const uint8_t* pixels, int width, int height, int stride_bytes,
              int channels) {
  if (path == nullptr || pixels == nullptr || width <= 0 || height <= 0) return false;
  if (channels != 1 && channels != 3 && channels != 4) return false;
  const size_t row_bytes = static_cast<size_t>(width) * static_cast<size_t>(channels);
  if (static_cast<size_t>(std::llabs(stride_bytes)) < row_bytes) return false;

  // Scanlines, each prefixed with filter type 0 (none).
  std::vector<uint8_t> raw;
  raw.reserve((row_bytes + 1) * static_cast<size_t>(height));
  for (int y = 0; y < height; ++y) {
    const uint8_t* row = pixels + static_cast<ptrdiff_t>(y) * stride_bytes;
    raw.push_back(0);
    raw.insert(raw.end(), row, row + row_bytes);
  }

  // zlib stream: header (deflate, 32K window, no dictionary), stored blocks, Adler-32.
  constexpr size_t kMaxBlock = 65535;
  std::vector<uint8_t> z;
  z.reserve(raw.size() + raw.size() / kMaxBlock * 5 + 16);
  z.push_back(0x78);
  z.push_back(0x01);
  size_t pos = 0;
  do {
    const size_t len = raw.size() - pos < kMaxBlock ? raw.size() - pos : kMaxBlock;
    const bool last = pos + len == raw.size();
    z.push_back(last ? 1 : 0);  // BFINAL bit, BTYPE 00 (stored); already byte aligned.
    z.push_back(static_cast<uint8_t>(len));
    z.push_back(static_cast<uint8_t>(len >> 8));
    z.push_back(static_cast<uint8_t>(~len));
    z.push_back(static_cast<uint8_t>(~len >> 8));
    z.insert(z.end(), raw.data() + pos, raw.data() + pos + len);
    pos += len;
  } while (pos < raw.size());
  PutBe32(z, Adler32(raw.data(), raw.size()));

  std::vector<uint8_t> ihdr;
  PutBe32(ihdr, static_cast<uint32_t>(width));
  PutBe32(ihdr, static_cast<uint32_t>(height));
  const uint8_t color_type = channels == 1 ? 0 : channels == 3 ? 2 : 6;
  ihdr.insert(ihdr.end(), {8, color_type, 0, 0, 0});  // depth, color, deflate, filter, no interlace

  std::FILE* f = std::fopen(path, "wb");
  if (f == nullptr) return false;
  static const uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  bool ok = std::fwrite(kSignature, 1, 8, f) == 8 && WriteChunk(f, "IHDR", ihdr.data(), 13);
  // Chunk lengths are capped at 2^31 - 1; split the stream over several IDAT chunks.
  constexpr size_t kMaxChunk = size_t{1} << 30;
  for (size_t off = 0; ok && off < z.size(); off += kMaxChunk) {
    const size_t len = z.size() - off < kMaxChunk ? z.size() - off : kMaxChunk;
    ok = WriteChunk(f, "IDAT", z.data() + off, len);
  }
  ok = ok && WriteChunk(f, "IEND", nullptr, 0);
  return (std::fclose(f) == 0) && ok;
}

}  // namespace nyx_demo
