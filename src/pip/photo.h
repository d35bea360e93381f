// CPhoto: a photo as a view over pixels someone else owns, with the corrections that work from the
// picture's own statistics.
#pragma once

#include <cstddef>
#include <cstdint>

#include "video/kernels.h"

class CPhoto {
 public:
  // A view of width x height pixels of 4 bytes (colour bytes 0..2, alpha 3), rows without gaps. A
  // correction reads the picture from `original` and writes the corrected one into `pixels`, which
  // may be the same buffer: the picture is read once to count and once more as it is written. Both
  // passes are split into bands of rows over `workers` oneTBB tasks; the counts are exact sums and
  // every pixel is corrected alone, so any worker count gives the same bytes.
  CPhoto(const uint8_t* original, uint8_t* pixels, int width, int height, int32_t workers = 1) noexcept;

  // Each colour byte stretched alone between its own cut points: removes casts as well.
  int LevelsStretch(float blackFraction, float whiteFraction) noexcept;
  // One stretch from the histogram of all colour bytes, applied to all three.
  int ContrastStretch(float blackFraction, float whiteFraction) noexcept;
  // Histogram equalisation with a limited slope.
  int Equalize() noexcept;
  // An inverted grey overlay that lifts shadows and tames highlights, blended by degree / 256, in
  // one pass.
  int ContrastMask(int32_t degree) noexcept;

  using Histogram = uint32_t[256];

 private:
  // The histograms of the three colour bytes.
  void CountChannels(uint32_t (&histograms)[3][256]) const noexcept;
  // The histogram of all three colour bytes.
  void CountAllChannels(Histogram& all) const noexcept;
  // Each colour byte through its channel's table, where vek::Avx512KernelsUsable().
  void LookUpChannels(const vek::ChannelTables& tables) noexcept;
  // Each colour byte through its channel's stretch.
  void ApplyStretches(const vek::Stretch (&stretches)[3]) noexcept;
  // apply(source, out, pixels) over the bands of rows, `out` the output's pixel at `source`'s place.
  template <class Apply> void ForEachBand(Apply&& apply) const noexcept;

  const uint8_t* original_;
  uint8_t* pixels_;
  int width_;
  int height_;
  int32_t workers_;
  std::size_t pixelCount_;
};

namespace vek {

// The stretch between the cut points of a histogram that holds `total` counts, the points at least
// `minimumSpread` apart.
Stretch StretchBetweenCuts(const CPhoto::Histogram& histogram, uint32_t total, float blackFraction,
                           float whiteFraction, int minimumSpread) noexcept;

}  // namespace vek
