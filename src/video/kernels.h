// Row kernels of the video effects: bytes, a pixel count and tables in, one output row out. Vector
// variants give the scalar variant's bytes exactly. Kernels are defined out of line in kernels.cpp,
// so no copy compiled in a -msse4.1 file can stand in for the scalar one.
#pragma once

#include <cstdint>

namespace vek {

// Each colour byte through the table, alpha copied.
void PosterizeRowArgb(const uint8_t* source, uint8_t* out, int pixels, const uint8_t* table);
// Luma/chroma pixels (V, U, Y, alpha) posterized in RGB; only the change is carried back, so the
// chroma of a pixel the table leaves alone does not drift through the round trip.
void PosterizeRowAyuv(const uint8_t* source, uint8_t* out, int pixels, const uint8_t* table);
void PosterizeRowAyuvSse41(const uint8_t* source, uint8_t* out, int pixels, const uint8_t* table);
// The row mirrored left to right.
void MirrorRow(const uint8_t* source, uint8_t* out, int pixels);

}  // namespace vek
