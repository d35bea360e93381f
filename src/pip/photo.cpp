#include "pip/photo.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <new>

#include "image/cpu.h"
#include "image/rows.h"

CPhoto::CPhoto(const uint8_t* original, uint8_t* pixels, int width, int height, int32_t workers) noexcept
    : original_(original),
      pixels_(pixels),
      width_(width),
      height_(height),
      workers_(workers),
      pixelCount_(std::size_t(width) * std::size_t(height)) {}

template <class Apply>
void CPhoto::ForEachBand(Apply&& apply) const noexcept {
  const std::size_t rowPixels = std::size_t(width_);
  vek::ParallelRows(workers_, height_, [&](int y0, int y1) {
    const std::size_t at = std::size_t(y0) * rowPixels * 4;
    apply(original_ + at, pixels_ + at, std::size_t(y1 - y0) * rowPixels);
  });
}

namespace {

// Below this many pixels, clearing and splitting the pair counts, or filling the pair table, costs
// more than they save.
constexpr std::size_t kPairedFrom = std::size_t(1) << 18;

// Large bands count their colour bytes in pairs, when the pair tables can be had.
void CountBand(const uint8_t* source, std::size_t pixels, uint32_t (&histograms)[3][256]) noexcept {
  if (pixels >= kPairedFrom) {
    const std::unique_ptr<uint32_t[]> pairs(new (std::nothrow) uint32_t[vek::kPairCountEntries]());
    if (pairs) {
      vek::CountColourPairs(source, pixels, pairs.get(), histograms);
      return;
    }
  }
  vek::CountColourBytes(source, pixels, histograms);
}

}  // namespace

void CPhoto::CountChannels(uint32_t (&histograms)[3][256]) const noexcept {
  // Each band counts into its own histograms, then adds them to the frame's.
  ForEachBand([&](const uint8_t* source, uint8_t*, std::size_t pixels) {
    uint32_t band[3][256] = {};
    CountBand(source, pixels, band);
    for (int channel = 0; channel < 3; ++channel) {
      for (int i = 0; i < 256; ++i) {
        std::atomic_ref<uint32_t>(histograms[channel][i]).fetch_add(band[channel][i], std::memory_order_relaxed);
      }
    }
  });
}

void CPhoto::CountAllChannels(Histogram& all) const noexcept {
  uint32_t histograms[3][256] = {};
  CountChannels(histograms);
  for (int i = 0; i < 256; ++i) all[i] = histograms[0][i] + histograms[1][i] + histograms[2][i];
}

namespace vek {

Stretch StretchBetweenCuts(const CPhoto::Histogram& histogram, uint32_t total, float blackFraction, float whiteFraction,
                           int minimumSpread) noexcept {
  const uint32_t blackCount = uint32_t(float(total) * blackFraction);
  const uint32_t whiteCount = uint32_t(float(total) * whiteFraction);
  int low = 0, high = 255;
  for (uint32_t sum = 0; low < 255; ++low) {
    if ((sum += histogram[low]) >= blackCount) break;
  }
  for (uint32_t sum = 0; high > 0; --high) {
    if ((sum += histogram[high]) >= whiteCount) break;
  }
  if (high - low < minimumSpread) {
    const int widen = low - high + minimumSpread;
    high += widen >> 1;
    low += (widen >> 1) - widen;
    if (high > 255) {
      low += 255 - high;
      high = 255;
    } else if (low < 0) {
      high -= low;
      low = 0;
    }
  }
  return {low, high, 255.0f / float(high - low)};
}

}  // namespace vek

int CPhoto::LevelsStretch(float blackFraction, float whiteFraction) noexcept {
  uint32_t histograms[3][256] = {};
  CountChannels(histograms);
  vek::Stretch stretches[3];
  for (int channel = 0; channel < 3; ++channel) {
    stretches[channel] =
        vek::StretchBetweenCuts(histograms[channel], uint32_t(pixelCount_), blackFraction, whiteFraction, 16);
  }
  ApplyStretches(stretches);
  return 1;
}

void CPhoto::LookUpChannels(const vek::ChannelTables& tables) noexcept {
  ForEachBand([&](const uint8_t* source, uint8_t* out, std::size_t pixels) {
    vek::LookUpChannelsVbmi(source, out, pixels, tables);
  });
}

// A stretch is a function of the byte alone: as a table it costs one vector lookup where the
// processor has them.
void CPhoto::ApplyStretches(const vek::Stretch (&stretches)[3]) noexcept {
  if (vek::Avx512KernelsUsable()) {
    vek::ChannelTables tables;
    for (int channel = 0; channel < 3; ++channel) {
      for (int value = 0; value < 256; ++value) {
        tables.channel[channel][value] = vek::Stretched(stretches[channel], value);
      }
    }
    LookUpChannels(tables);
    return;
  }
  const vek::StretchRowFn row = vek::Avx2KernelsUsable() ? vek::StretchRowAvx2 : vek::StretchRowSse2;
  ForEachBand([&](const uint8_t* source, uint8_t* out, std::size_t pixels) { row(source, out, pixels, stretches); });
}

// Kept on purpose: the minimum spread is 2 here against 16 for the levels stretch.
int CPhoto::ContrastStretch(float blackFraction, float whiteFraction) noexcept {
  Histogram all;
  CountAllChannels(all);
  const vek::Stretch stretch = vek::StretchBetweenCuts(all, uint32_t(3 * pixelCount_), blackFraction, whiteFraction, 2);
  const vek::Stretch stretches[3] = {stretch, stretch, stretch};
  ApplyStretches(stretches);
  return 1;
}

int CPhoto::Equalize() noexcept {
  if (pixelCount_ == 0) return 1;
  Histogram histogram;
  CountAllChannels(histogram);
  const int32_t pixels = int32_t(pixelCount_);
  int32_t entry[256];
  uint32_t cumulative = 0;
  for (int i = 0; i < 256; ++i) {
    cumulative += histogram[i];
    // Kept on purpose: the product is taken in 32 bits and wraps for frames above about 8.4
    // million pixels, as hosts have always rendered it.
    entry[i] = int32_t(cumulative * 85u) / pixels;
  }
  // The slope is limited against the entry two places back.
  for (int i = 2; i < 256; ++i) {
    const int32_t previous = entry[i - 2];
    if (entry[i] > previous + 4) {
      entry[i] = previous + 4;
    } else if (entry[i] < previous + 1) {
      entry[i] = previous + 1;
    }
    if (entry[i] > 255) entry[i] = 255;
  }
  for (int i = 0; i < 256; ++i) {
    if (i == 0) {
      entry[0] = (entry[1] + 3 * entry[0]) >> 2;
    } else if (i == 255) {
      entry[255] = (entry[254] + 3 * entry[255]) >> 2;
    } else {
      entry[i] = (entry[i - 1] + 2 * entry[i] + entry[i + 1]) >> 2;
    }
  }
  const int32_t lo = entry[0], hi = entry[255];
  if (lo > 0 || hi < 255) {
    for (int i = 0; i < 256; ++i) entry[i] += (i * (255 - hi) - (255 - i) * lo) / 255;
  }
  uint8_t table[256];
  for (int i = 0; i < 256; ++i) table[i] = uint8_t(entry[i]);
  if (vek::Avx512KernelsUsable()) {
    vek::ChannelTables tables;
    for (auto& channel : tables.channel) std::copy(table, table + 256, channel);
    LookUpChannels(tables);
    return 1;
  }
  // Large frames look bytes 0 and 1 up as pairs, when the pair table can be had.
  const std::unique_ptr<vek::PairedColourTable> paired(
      pixelCount_ >= kPairedFrom ? new (std::nothrow) vek::PairedColourTable : nullptr);
  if (paired) {
    vek::PlacePairedTable(table, *paired);
    ForEachBand([&](const uint8_t* source, uint8_t* out, std::size_t pixels) {
      vek::LookUpColourPairs(source, out, pixels, *paired);
    });
    return 1;
  }
  const vek::ColourTable placed = vek::PlaceTable(table);
  ForEachBand([&](const uint8_t* source, uint8_t* out, std::size_t pixels) {
    vek::LookUpColourBytes(source, out, pixels, placed);
  });
  return 1;
}

// The vector kernel holds degrees up to 256 in 16-bit lanes; hosts may send any other.
int CPhoto::ContrastMask(int32_t degree) noexcept {
  const auto vectorMask = vek::Avx512KernelsUsable() ? vek::ContrastMaskRowAvx512 : vek::ContrastMaskRowSse2;
  const auto mask = degree >= 0 && degree <= 256 ? vectorMask : vek::ContrastMaskRow;
  ForEachBand([&](const uint8_t* source, uint8_t* out, std::size_t pixels) { mask(source, out, pixels, degree); });
  return 1;
}
