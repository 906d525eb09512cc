// Minimal PNG encoder for the demos: 8-bit gray, RGB or RGBA, no compression.
#ifndef NYX_EXAMPLES_PNG_WRITER_H_
#define NYX_EXAMPLES_PNG_WRITER_H_

#include <cstdint>

namespace nyx_demo {

// Writes `pixels` (height rows of width * channels bytes, rows stride_bytes apart; a negative
// stride walks upwards in memory) to `path` as an 8-bit PNG. channels: 1 gray, 3 RGB, 4 RGBA.
// The image data is stored uncompressed, so files are about as large as the pixels.
// Returns false on invalid arguments or any I/O failure.
bool WritePng(const char* path, const uint8_t* pixels, int width, int height, int stride_bytes,
              int channels);

}  // namespace nyx_demo

#endif  // NYX_EXAMPLES_PNG_WRITER_H_
