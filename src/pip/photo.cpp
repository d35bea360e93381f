#include "pip/photo.h"

#include <memory>
#include <new>

CPhoto::CPhoto(uint8_t* pixels, int width, int height) noexcept
    : pixels_(pixels),
      width_(width),
      height_(height),
      pixelCount_(std::size_t(width) * std::size_t(height)),
      byteSize_(pixelCount_ * 4) {}

std::array<CPhoto::Histogram, 3> CPhoto::CountChannels() const noexcept {
  std::array<Histogram, 3> histograms{};
  for (std::size_t p = 0; p < byteSize_; p += 4) {
    ++histograms[0][pixels_[p]];
    ++histograms[1][pixels_[p + 1]];
    ++histograms[2][pixels_[p + 2]];
  }
  return histograms;
}

CPhoto::Histogram CPhoto::CountAllChannels() const noexcept {
  const std::array<Histogram, 3> histograms = CountChannels();
  Histogram all;
  for (int i = 0; i < 256; ++i) all[i] = histograms[0][i] + histograms[1][i] + histograms[2][i];
  return all;
}

void CPhoto::Apply(const std::array<Table, 3>& tables) noexcept {
  for (std::size_t p = 0; p < byteSize_; p += 4) {
    pixels_[p] = tables[0][pixels_[p]];
    pixels_[p + 1] = tables[1][pixels_[p + 1]];
    pixels_[p + 2] = tables[2][pixels_[p + 2]];
  }
}

namespace vek {

CPhoto::Table StretchTable(const CPhoto::Histogram& histogram, uint32_t total, float blackFraction,
                           float whiteFraction, int minimumSpread) noexcept {
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
  CPhoto::Table table;
  const float scale = 255.0f / float(high - low);
  for (int i = 0; i < 256; ++i) {
    table[i] = i <= low ? 0 : i >= high ? 255 : uint8_t(float(i - low) * scale);
  }
  return table;
}

}  // namespace vek

int CPhoto::LevelsStretch(float blackFraction, float whiteFraction) noexcept {
  const std::array<Histogram, 3> histograms = CountChannels();
  std::array<Table, 3> tables;
  for (int channel = 0; channel < 3; ++channel) {
    tables[channel] =
        vek::StretchTable(histograms[channel], uint32_t(pixelCount_), blackFraction, whiteFraction, 16);
  }
  Apply(tables);
  return 1;
}

// Kept on purpose: the minimum spread is 2 here against 16 for the levels stretch.
int CPhoto::ContrastStretch(float blackFraction, float whiteFraction) noexcept {
  const Table table =
      vek::StretchTable(CountAllChannels(), uint32_t(3 * pixelCount_), blackFraction, whiteFraction, 2);
  Apply({table, table, table});
  return 1;
}

int CPhoto::Equalize() noexcept {
  if (pixelCount_ == 0) return 1;
  const Histogram histogram = CountAllChannels();
  const int32_t pixels = int32_t(pixelCount_);
  std::array<int32_t, 256> entry;
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
  Table table;
  for (int i = 0; i < 256; ++i) table[i] = uint8_t(entry[i]);
  Apply({table, table, table});
  return 1;
}

// The overlay of a colour byte o under the inverted grey g, blended by degree / 256, is one table
// of 256 x 256 bytes for the frame, so each colour byte costs one lookup.
int CPhoto::ContrastMask(int32_t degree) noexcept {
  std::unique_ptr<uint8_t[]> blended(new (std::nothrow) uint8_t[256 * 256]);
  auto result = [degree](int grey, int original) {
    const int overlay = original <= 127 ? grey * original / 127 : grey + (((original - 127) * (255 - grey)) >> 7);
    return uint8_t((overlay * degree + original * (256 - degree)) >> 8);
  };
  if (blended) {
    for (int grey = 0; grey < 256; ++grey) {
      for (int original = 0; original < 256; ++original) blended[grey * 256 + original] = result(grey, original);
    }
  }
  for (std::size_t p = 0; p < byteSize_; p += 4) {
    uint8_t* pixel = pixels_ + p;
    const int grey = 255 - (pixel[0] + pixel[1] + pixel[2]) / 3;
    for (int c = 0; c < 3; ++c) pixel[c] = blended ? blended[grey * 256 + pixel[c]] : result(grey, pixel[c]);
  }
  return 1;
}
