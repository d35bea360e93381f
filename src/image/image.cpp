#include "image/image.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace VEKImageUtility {

void CImageBase::Attach(uint8_t* pixels, int width, int height, std::size_t rowBytes) noexcept {
  Release();
  SetView(pixels, width, height, rowBytes);
}

void CImageBase::SetView(uint8_t* pixels, int width, int height, std::size_t rowBytes) noexcept {
  if (!pixels || width <= 0 || height <= 0) return;
  pixels_ = pixels;
  width_ = width;
  height_ = height;
  rowBytes_ = rowBytes ? rowBytes : std::size_t(width) * kBytesPerPixel;
}

bool CImageBase::Allocate(int width, int height) noexcept {
  Release();
  if (width <= 0 || height <= 0) return false;
  owned_.reset(new (std::nothrow) uint8_t[std::size_t(width) * std::size_t(height) * kBytesPerPixel]);
  if (!owned_) return false;
  SetView(owned_.get(), width, height, 0);
  return true;
}

void CImageBase::Release() noexcept {
  pixels_ = nullptr;
  owned_.reset();
  width_ = height_ = 0;
  rowBytes_ = 0;
}

void CImageBase::Fill(uint32_t pixel) noexcept {
  uint8_t bytes[kBytesPerPixel];
  std::memcpy(bytes, &pixel, sizeof bytes);
  for (int y = 0; y < height_; ++y) {
    uint8_t* row = Row(y);
    for (int x = 0; x < width_; ++x) std::memcpy(row + x * kBytesPerPixel, bytes, sizeof bytes);
  }
}

void CImageBase::CopyFrom(const CImageBase& source) noexcept {
  const int width = std::min(width_, source.width_), height = std::min(height_, source.height_);
  for (int y = 0; y < height; ++y) std::memcpy(Row(y), source.Row(y), std::size_t(width) * kBytesPerPixel);
}

namespace {
uint32_t Pack(uint8_t b0, uint8_t b1, uint8_t b2, uint8_t b3) {
  const uint8_t bytes[4] = {b0, b1, b2, b3};
  uint32_t pixel;
  std::memcpy(&pixel, bytes, sizeof pixel);
  return pixel;
}
}  // namespace

uint32_t CImageARGB::Pixel(Rgba colour) const noexcept { return Pack(colour.b, colour.g, colour.r, colour.a); }

uint32_t CImageAYUV::Pixel(Rgba colour) const noexcept {
  const VekYuv yuv = VekRgbToYuv(colour.r, colour.g, colour.b);
  return Pack(yuv.v, yuv.u, yuv.y, colour.a);
}

}  // namespace VEKImageUtility
