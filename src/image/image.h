// Images of 4-byte pixels: views over a host's frame buffers and owned images, in the ARGB or the
// luma/chroma (AYUV) layout.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "vek_dsp/colour.h"

namespace VEKImageUtility {

struct Rgba {
  uint8_t r, g, b, a;
};

class CImageBase {
 public:
  static constexpr int kBytesPerPixel = 4;

  CImageBase() = default;
  virtual ~CImageBase() = default;
  CImageBase(const CImageBase&) = delete;
  CImageBase& operator=(const CImageBase&) = delete;

  // A view over pixels someone else owns; rowBytes 0 means packed rows (width * 4).
  void Attach(uint8_t* pixels, int width, int height, std::size_t rowBytes = 0) noexcept;
  // An image of its own, its bytes undefined; false (and an empty image) when memory runs out.
  bool Allocate(int width, int height) noexcept;
  void Release() noexcept;

  int Width() const noexcept { return width_; }
  int Height() const noexcept { return height_; }
  std::size_t RowBytes() const noexcept { return rowBytes_; }
  bool Empty() const noexcept { return pixels_ == nullptr; }
  uint8_t* Row(int y) noexcept { return pixels_ + std::size_t(y) * rowBytes_; }
  const uint8_t* Row(int y) const noexcept { return pixels_ + std::size_t(y) * rowBytes_; }

  // The four bytes of a colour in this image's layout, byte 0 first.
  virtual uint32_t Pixel(Rgba colour) const noexcept = 0;
  void Fill(uint32_t pixel) noexcept;
  void FillColour(Rgba colour) noexcept { Fill(Pixel(colour)); }
  // Copies the common top-left area of another image.
  void CopyFrom(const CImageBase& source) noexcept;

 private:
  void SetView(uint8_t* pixels, int width, int height, std::size_t rowBytes) noexcept;

  uint8_t* pixels_ = nullptr;
  std::unique_ptr<uint8_t[]> owned_;
  int width_ = 0;
  int height_ = 0;
  std::size_t rowBytes_ = 0;
};

// Byte 0 blue, 1 green, 2 red, 3 alpha.
class CImageARGB final : public CImageBase {
 public:
  uint32_t Pixel(Rgba colour) const noexcept override;
};

// Byte 0 V, 1 U, 2 Y, 3 alpha: black is 128, 128, 16, 0.
class CImageAYUV final : public CImageBase {
 public:
  uint32_t Pixel(Rgba colour) const noexcept override;
};

}  // namespace VEKImageUtility
