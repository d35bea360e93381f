// CPhoto: a photo as a view over a pixel buffer someone else owns, with the corrections that work
// from the picture's own statistics.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

class CPhoto {
 public:
  // A view of width x height pixels of 4 bytes (colour bytes 0..2, alpha 3), rows without gaps.
  CPhoto(uint8_t* pixels, int width, int height) noexcept;

  // Each colour byte stretched alone between its own cut points: removes casts as well.
  int LevelsStretch(float blackFraction, float whiteFraction) noexcept;
  // One stretch from the histogram of all colour bytes, applied to all three.
  int ContrastStretch(float blackFraction, float whiteFraction) noexcept;
  // Histogram equalisation with a limited slope.
  int Equalize() noexcept;
  // An inverted grey overlay that lifts shadows and tames highlights, blended by degree / 256.
  int ContrastMask(int32_t degree) noexcept;

  using Histogram = std::array<uint32_t, 256>;
  using Table = std::array<uint8_t, 256>;

 private:
  // One histogram per colour byte, in one pass.
  std::array<Histogram, 3> CountChannels() const noexcept;
  // One histogram of all three colour bytes.
  Histogram CountAllChannels() const noexcept;
  // Each colour byte through its channel's table, in one pass; alpha is left alone.
  void Apply(const std::array<Table, 3>& tables) noexcept;

  uint8_t* pixels_;
  int width_;
  int height_;
  std::size_t pixelCount_;
  std::size_t byteSize_;
};

namespace vek {

// The stretch between the cut points of a histogram that holds `total` counts, the points at least
// `minimumSpread` apart.
CPhoto::Table StretchTable(const CPhoto::Histogram& histogram, uint32_t total, float blackFraction,
                           float whiteFraction, int minimumSpread) noexcept;

}  // namespace vek
