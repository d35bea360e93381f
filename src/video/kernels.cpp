#include "video/kernels.h"
#include "video/stretch_row.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "vek_dsp/colour.h"

namespace vek {

ColourTable PlaceTable(const uint8_t (&table)[256]) {
  ColourTable placed;
  for (int channel = 0; channel < 3; ++channel) {
    for (int i = 0; i < 256; ++i) placed.placed[channel][i] = uint32_t(table[i]) << (8 * channel);
  }
  return placed;
}

namespace {

// Two pixels a store, the colour bytes from `colours` of each pixel's address and alpha copied. The
// indices are loaded byte by byte from memory, which leaves the arithmetic units to the lookups; both
// pixels are read before either is written, so `out` may be `source`.
template <class Colours>
void LookUpTwoAtATime(const uint8_t* source, uint8_t* out, std::size_t pixels, Colours colours) {
  std::size_t x = 0;
  for (; x + 2 <= pixels; x += 2) {
    uint64_t pair;
    std::memcpy(&pair, source + 4 * x, 8);
    pair = (pair & 0xFF000000FF000000u) | colours(source + 4 * x) | uint64_t(colours(source + 4 * x + 4)) << 32;
    std::memcpy(out + 4 * x, &pair, 8);
  }
  if (x < pixels) {
    uint32_t pixel;
    std::memcpy(&pixel, source + 4 * x, 4);
    pixel = (pixel & 0xFF000000u) | colours(source + 4 * x);
    std::memcpy(out + 4 * x, &pixel, 4);
  }
}

}  // namespace

void LookUpColourBytes(const uint8_t* source, uint8_t* out, std::size_t pixels, const ColourTable& table) {
  const auto& placed = table.placed;
  LookUpTwoAtATime(source, out, pixels, [&](const uint8_t* pixel) {
    return placed[0][pixel[0]] | placed[1][pixel[1]] | placed[2][pixel[2]];
  });
}

void PlacePairedTable(const uint8_t (&table)[256], PairedColourTable& paired) {
  for (uint32_t i = 0; i < 65536; ++i) paired.pairs[i] = uint16_t(table[i & 0xFF] | table[i >> 8] << 8);
  for (int i = 0; i < 256; ++i) paired.third[i] = uint32_t(table[i]) << 16;
}

void LookUpColourPairs(const uint8_t* source, uint8_t* out, std::size_t pixels, const PairedColourTable& table) {
  LookUpTwoAtATime(source, out, pixels, [&](const uint8_t* pixel) {
    uint16_t first;  // bytes 0 and 1 as stored: byte 0 low on the little-endian targets
    std::memcpy(&first, pixel, sizeof first);
    return uint32_t(table.pairs[first]) | table.third[pixel[2]];
  });
}

PosterizeTable BuildPosterizeTable(uint32_t levels) {
  PosterizeTable table{};
  for (uint32_t i = 0; i < 256; ++i) {
    const uint32_t step = (i * levels) >> 8;
    table.entry[i] = step < 1 ? 0 : step < levels - 1 ? uint8_t((step * 256) / (levels - 1)) : 255;
  }
  table.colours = PlaceTable(table.entry);
  for (auto& channel : table.channels.channel) std::copy(table.entry, table.entry + 256, channel);
  // step * 256 / (levels - 1) as a multiply-high: with the shift one below the divisor's bit width,
  // ceil(2^(16 + shift) / divisor) divides every step exactly up to 64 levels. Two levels take 65535
  // for 65536, which still brings the top step to 255.
  const uint32_t divisor = levels - 1;
  table.levels = uint16_t(levels);
  table.shift = std::max(0, int(std::bit_width(divisor - 1)) - 1);
  table.multiplier = uint16_t(std::min<uint32_t>(65535, ((1u << (16 + table.shift)) + divisor - 1) / divisor));
  return table;
}

void PosterizeRowAyuv(const uint8_t* source, uint8_t* out, std::size_t pixels, const PosterizeTable& table) {
  const uint8_t* entry = table.entry;
  for (std::size_t x = 0; x < pixels; ++x, source += 4, out += 4) {
    const int32_t y = source[2], u = source[1], v = source[0];
    const int32_t r = VekClampByte((4768 * y + 6537 * v - 910976) >> 12);
    const int32_t g = VekClampByte((4768 * y - 1602 * u - 3330 * v + 0x88000) >> 12);
    const int32_t b = VekClampByte((4768 * y + 8266 * u - 1132288) >> 12);
    const int32_t dr = entry[r] - r, dg = entry[g] - g, db = entry[b] - b;
    out[0] = VekClampByte(v + ((1798 * dr - 1507 * dg - 291 * db + 2048) >> 12));
    out[1] = VekClampByte(u + ((1798 * db - 1192 * dg - 606 * dr + 2048) >> 12));
    out[2] = VekClampByte(y + ((1053 * dr + 2064 * dg + 401 * db + 2048) >> 12));
    out[3] = source[3];
  }
}

void CountColourBytes(const uint8_t* pixels, std::size_t count, uint32_t (&histograms)[3][256]) {
  for (const uint8_t* end = pixels + 4 * count; pixels != end; pixels += 4) {
    ++histograms[0][pixels[0]], ++histograms[1][pixels[1]], ++histograms[2][pixels[2]];
  }
}

namespace {

// Adds a table of pair counts, entry(low | high << 8) for each pair, to the histograms of its low and
// high bytes (which may be one histogram).
template <class Entry>
void AddPairMargins(Entry&& entry, uint32_t (&low)[256], uint32_t (&high)[256]) {
  for (std::size_t upper = 0; upper < 256; ++upper) {
    uint32_t row = 0;
    for (std::size_t at = upper * 256, lower = 0; lower < 256; ++lower, ++at) {
      const uint32_t count = entry(at);
      low[lower] += count, row += count;
    }
    high[upper] += row;
  }
}

}  // namespace

void CountColourPairs(const uint8_t* pixels, std::size_t count, uint32_t* pairs, uint32_t (&histograms)[3][256]) {
  uint32_t* const otherPairs = pairs + kPairTableEntries;
  uint32_t* const neighbourPairs = pairs + 2 * kPairTableEntries;
  const uint8_t* const end = pixels + 4 * count;
  for (; end - pixels >= 16; pixels += 16) {
    uint64_t first, second;
    std::memcpy(&first, pixels, 8);
    std::memcpy(&second, pixels + 8, 8);
    ++pairs[uint16_t(first)], ++otherPairs[uint16_t(first >> 32)];
    ++neighbourPairs[uint8_t(first >> 16) | (uint32_t(first >> 40) & 0xff00)];
    ++pairs[uint16_t(second)], ++otherPairs[uint16_t(second >> 32)];
    ++neighbourPairs[uint8_t(second >> 16) | (uint32_t(second >> 40) & 0xff00)];
  }
  CountColourBytes(pixels, std::size_t(end - pixels) / 4, histograms);
  AddPairMargins([&](std::size_t at) { return pairs[at] + otherPairs[at]; }, histograms[0], histograms[1]);
  AddPairMargins([&](std::size_t at) { return neighbourPairs[at]; }, histograms[2], histograms[2]);
}

uint8_t Stretched(const Stretch& stretch, int value) {
  if (value <= stretch.low) return 0;
  return value >= stretch.high ? 255 : uint8_t(float(value - stretch.low) * stretch.scale);
}

namespace stretch_row {

Steps FitSteps(const Stretch& stretch) {
  Steps steps{int(stretch.scale), 0};
  for (int d = 1; d < stretch.high - stretch.low; ++d) {
    const uint32_t rest = uint32_t(Stretched(stretch, stretch.low + d) - d * steps.whole);
    steps.fraction = std::max(steps.fraction, (rest * 65536u + uint32_t(d) - 1) / uint32_t(d));
  }
  return steps;
}

}  // namespace stretch_row

namespace {

uint8_t ContrastMasked(int grey, int original, int32_t degree) {
  const int overlay = original <= 127 ? grey * original / 127 : grey + (((original - 127) * (255 - grey)) >> 7);
  // Degrees outside 0..255 are not refused: the products wrap in 32 bits.
  return uint8_t((uint32_t(overlay) * uint32_t(degree) + uint32_t(original) * (256u - uint32_t(degree))) >> 8);
}

}  // namespace

void ContrastMaskRow(const uint8_t* source, uint8_t* out, std::size_t pixels, int32_t degree) {
  for (std::size_t x = 0; x < pixels; ++x, source += 4, out += 4) {
    const int grey = 255 - (source[0] + source[1] + source[2]) / 3;
    for (int c = 0; c < 3; ++c) out[c] = ContrastMasked(grey, source[c], degree);
    out[3] = source[3];
  }
}

uint32_t SumBlock(const uint8_t* first, std::size_t stride, int pixels, int rows, bool opaqueOnly, uint32_t sums[4]) {
  uint32_t count = 0;
  sums[0] = sums[1] = sums[2] = sums[3] = 0;
  for (int row = 0; row < rows; ++row, first += stride) {
    for (const uint8_t *pixel = first, *end = first + 4 * std::size_t(pixels); pixel != end; pixel += 4) {
      if (opaqueOnly && pixel[3] == 0) continue;
      sums[0] += pixel[0], sums[1] += pixel[1], sums[2] += pixel[2], sums[3] += pixel[3];
      ++count;
    }
  }
  return count;
}

void AddColumnSums(const uint8_t* first, std::size_t stride, int pixels, int rows, bool opaqueOnly, uint16_t* sums,
                   uint16_t* counts) {
  for (int row = 0; row < rows; ++row, first += stride) {
    for (int x = 0; x < pixels; ++x) {
      const uint8_t* pixel = first + 4 * x;
      if (opaqueOnly && pixel[3] == 0) continue;
      for (int c = 0; c < 4; ++c) sums[4 * x + c] = uint16_t(sums[4 * x + c] + pixel[c]);
      if (opaqueOnly) ++counts[x];
    }
  }
}

int RoundCoverage(const RoundMask& mask, int x, int y) {
  const float dx = (x + 0.5f - mask.centreX) / mask.radiusX, dy = (y + 0.5f - mask.centreY) / mask.radiusY;
  const float inside = (1.0f - std::sqrt(dx * dx + dy * dy)) * mask.reach / mask.edge;
  return inside <= 0 ? 0 : inside >= 1 ? 256 : int(inside * 256.0f);
}

void BlendRoundRow(const uint8_t* source, const uint8_t* over, uint8_t* out, int from, int to, int y,
                   const RoundMask& mask) {
  for (int x = from; x < to; ++x) {
    const int coverage = RoundCoverage(mask, x, y);
    for (int c = 4 * x; c < 4 * x + 4; ++c) out[c] = uint8_t(source[c] + (((over[c] - source[c]) * coverage) >> 8));
  }
}

void BlendRoundRowMirrored(const uint8_t* source, const uint8_t* over, uint8_t* out, int from, int to, int mirror,
                           int y, const RoundMask& mask) {
  BlendRoundRow(source, over, out, from, to, y, mask);
  BlendRoundRow(source, over, out, mirror + 1 - to, mirror + 1 - from, y, mask);
}

}  // namespace vek
