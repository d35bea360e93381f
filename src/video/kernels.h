// Row kernels of the video effects and the photo corrections: bytes, a pixel count and tables or
// plain numbers in, one output run out. A run may span many rows, as frames have no row padding.
// Vector variants give the scalar variant's bytes exactly. Kernels are defined out of line in
// kernels.cpp, so no copy compiled in a -msse4.1 file can stand in for the scalar one.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vek {

// A byte table for the three colour bytes, each entry already shifted to its byte's place in the
// pixel, so that a pixel costs three lookups and one store.
struct ColourTable {
  uint32_t placed[3][256];
};
ColourTable PlaceTable(const uint8_t (&table)[256]);
// Each colour byte through the table, alpha copied.
void LookUpColourBytes(const uint8_t* source, uint8_t* out, std::size_t pixels, const ColourTable& table);
// One table for all three colour bytes with bytes 0 and 1 looked up as a pair: two lookups a pixel
// instead of three. Filling its 64K pairs costs about a tenth of a frame's copy, so it pays for
// whole frames, not for rows.
struct PairedColourTable {
  uint16_t pairs[65536];  // at b0 | b1 << 8: table[b0] | table[b1] << 8
  uint32_t third[256];    // table[b2] << 16
};
void PlacePairedTable(const uint8_t (&table)[256], PairedColourTable& paired);
// The same bytes as LookUpColourBytes through PlaceTable(table).
void LookUpColourPairs(const uint8_t* source, uint8_t* out, std::size_t pixels, const PairedColourTable& table);

// A byte table for each colour byte, in byte order.
struct ChannelTables {
  uint8_t channel[3][256];
};
// Each colour byte through its channel's table, alpha copied, sixteen pixels a step: at memory
// speed where the scalar lookups take several times as long. `out` may be `source`. Only where
// Avx512KernelsUsable().
void LookUpChannelsVbmi(const uint8_t* source, uint8_t* out, std::size_t pixels, const ChannelTables& tables);

// The posterize table of 2 to 64 levels, placed for whole pixels, and the same table as arithmetic
// for the vector kernel: entry[i] = min(255, (((i * levels) & 0xFF00) * multiplier >> 16) >> shift).
struct PosterizeTable {
  uint8_t entry[256];
  ColourTable colours;
  ChannelTables channels;  // entry for each colour byte
  uint16_t levels;
  uint16_t multiplier;
  int shift;
};
PosterizeTable BuildPosterizeTable(uint32_t levels);

// Each colour byte through the table, alpha copied; LookUpColourBytes is the scalar variant.
void PosterizeRowArgbSse2(const uint8_t* source, uint8_t* out, std::size_t pixels, const PosterizeTable& table);
// Luma/chroma pixels (V, U, Y, alpha) posterized in RGB; only the change is carried back, so the
// chroma of a pixel the table leaves alone does not drift through the round trip.
void PosterizeRowAyuv(const uint8_t* source, uint8_t* out, std::size_t pixels, const PosterizeTable& table);
void PosterizeRowAyuvSse41(const uint8_t* source, uint8_t* out, std::size_t pixels, const PosterizeTable& table);
using PosterizeRowFn = void (*)(const uint8_t*, uint8_t*, std::size_t, const PosterizeTable&);

// The row mirrored left to right, sixteen pixels at a time. The row is read from its end; `ahead` is
// the distance in bytes to the row read next, whose lines are prefetched as the copy goes, because
// the hardware prefetcher starts every row read backwards cold. A prefetch never faults, so past
// the last row it is harmless.
void MirrorRow(const uint8_t* source, uint8_t* out, int pixels, std::ptrdiff_t ahead);

// Histograms of colour bytes 0, 1 and 2, counted on top of what they hold.
void CountColourBytes(const uint8_t* pixels, std::size_t count, uint32_t (&histograms)[3][256]);
// The same count with three increments for two pixels instead of six: bytes 0 and 1 of each pixel
// as one pair (at byte 0 | byte 1 << 8), and byte 2 of two neighbouring pixels as another (at the
// first's | the second's << 8). The store of each increment is what a count waits on, so fewer and
// wider increments count faster, and neighbouring pixels are alike enough that their pairs stay in
// the caches. `pairs` is scratch for three zeroed tables: the pairs of bytes 0 and 1 go to two of
// them, which neighbouring pixels take in turn, since in a picture's runs of equal pixels each
// increment would otherwise wait for the one before it. The histograms are counted on top of what
// they hold.
constexpr std::size_t kPairTableEntries = 65536, kPairCountEntries = 3 * kPairTableEntries;
void CountColourPairs(const uint8_t* pixels, std::size_t count, uint32_t* pairs, uint32_t (&histograms)[3][256]);

// A linear stretch of one colour byte: 0 up to `low`, 255 from `high`, trunc((v - low) * scale)
// between, the product in single precision.
struct Stretch {
  int32_t low;
  int32_t high;
  float scale;
};
uint8_t Stretched(const Stretch& stretch, int value);
// Each colour byte through its channel's stretch, alpha copied. The vector kernel works in 16-bit
// integer lanes with a multiplier fitted to the single-precision products, so its bytes are
// Stretched's for every spread from 1 to 255.
void StretchRowSse2(const uint8_t* source, uint8_t* out, std::size_t pixels, const Stretch (&channels)[3]);
// The same eight pixels at a time, where Avx2KernelsUsable().
void StretchRowAvx2(const uint8_t* source, uint8_t* out, std::size_t pixels, const Stretch (&channels)[3]);
using StretchRowFn = void (*)(const uint8_t*, uint8_t*, std::size_t, const Stretch (&)[3]);

// The contrast mask: each colour byte o under the inverted grey g = 255 - (c0 + c1 + c2) / 3 of
// its pixel becomes the overlay g * o / 127 (o <= 127) or g + (o - 127) * (255 - g) / 128, blended
// with o by degree / 256; alpha copied.
void ContrastMaskRow(const uint8_t* source, uint8_t* out, std::size_t pixels, int32_t degree);
// The same for degrees 0 to 256, in 16-bit lanes.
void ContrastMaskRowSse2(const uint8_t* source, uint8_t* out, std::size_t pixels, int32_t degree);
// The same sixteen pixels at a time, where Avx512KernelsUsable().
void ContrastMaskRowAvx512(const uint8_t* source, uint8_t* out, std::size_t pixels, int32_t degree);

// Sums of the four bytes over a block of `rows` rows of `pixels` pixels, `stride` bytes apart; when
// `opaqueOnly`, pixels of alpha 0 are left out. Returns the number of pixels counted. Sums and count
// wrap round past 32 bits.
uint32_t SumBlock(const uint8_t* first, std::size_t stride, int pixels, int rows, bool opaqueOnly, uint32_t sums[4]);
uint32_t SumBlockSse2(const uint8_t* first, std::size_t stride, int pixels, int rows, bool opaqueOnly,
                      uint32_t sums[4]);
// The same sums kept per pixel: the four bytes of each of `pixels` pixels down `rows` rows added to
// `sums` (four lanes a pixel). 16 bits hold `kColumnSumRows` rows of 255. When `opaqueOnly`, pixels
// of alpha 0 add nothing and `counts` (one a pixel) gets how many did; otherwise it is not touched.
constexpr int kColumnSumRows = 257;
void AddColumnSums(const uint8_t* first, std::size_t stride, int pixels, int rows, bool opaqueOnly, uint16_t* sums,
                   uint16_t* counts);
void AddColumnSumsSse2(const uint8_t* first, std::size_t stride, int pixels, int rows, bool opaqueOnly, uint16_t* sums,
                       uint16_t* counts);
// The same sixteen pixels at a time, where Avx512KernelsUsable().
void AddColumnSumsAvx512(const uint8_t* first, std::size_t stride, int pixels, int rows, bool opaqueOnly,
                         uint16_t* sums, uint16_t* counts);

// An ellipse's coverage of pixel centres, 0 outside to 256 well inside: with d the pixel centre's
// offset from the centre in radii, (1 - |d|) * reach / edge cut to 0..1, in 256ths.
struct RoundMask {
  float centreX, centreY, radiusX, radiusY, reach, edge;
};
int RoundCoverage(const RoundMask& mask, int x, int y);
// Pixels [from, to) of row y: `over` laid over `source` into `out` by the coverage c, each byte
// s + (o - s) * c / 256 (floored). `over` may be `out`.
void BlendRoundRow(const uint8_t* source, const uint8_t* over, uint8_t* out, int from, int to, int y,
                   const RoundMask& mask);
void BlendRoundRowSse2(const uint8_t* source, const uint8_t* over, uint8_t* out, int from, int to, int y,
                       const RoundMask& mask);
// BlendRoundRow on [from, to) and on its mirror image [mirror + 1 - to, mirror + 1 - from), where
// `mirror` is 2 * centreX - 1, a whole number. A pixel centre and its mirror image lie the same exact
// distance from the centre, so the vector kernel works the coverage out once for both.
void BlendRoundRowMirrored(const uint8_t* source, const uint8_t* over, uint8_t* out, int from, int to, int mirror,
                           int y, const RoundMask& mask);
void BlendRoundRowMirroredSse2(const uint8_t* source, const uint8_t* over, uint8_t* out, int from, int to, int mirror,
                               int y, const RoundMask& mask);
// The same sixteen pixels at a time, where Avx512KernelsUsable().
void BlendRoundRowAvx512(const uint8_t* source, const uint8_t* over, uint8_t* out, int from, int to, int y,
                         const RoundMask& mask);
void BlendRoundRowMirroredAvx512(const uint8_t* source, const uint8_t* over, uint8_t* out, int from, int to, int mirror,
                                 int y, const RoundMask& mask);

}  // namespace vek
