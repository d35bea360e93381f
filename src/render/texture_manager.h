// The renderer's texture store: records that describe a caller's 32-bit pixel arrays. Pixels are
// never copied or freed here; the caller keeps them alive while a texture is in use.
#pragma once

#include <cstdint>

namespace vek::render {

struct TextureRecord {
  TextureRecord* next;  // null at the tail
  int32_t height;
  int32_t width;
  uint32_t log2Height;  // 0 when the height is no power of two up to 1024
  uint32_t log2Width;   // 0 when the width is no power of two up to 1024
  const uint32_t* pixels;
};

class TextureManager {
 public:
  TextureManager() noexcept = default;
  virtual ~TextureManager();
  TextureManager(const TextureManager&) = delete;
  TextureManager& operator=(const TextureManager&) = delete;

  // A new record at the tail of the list; null for null pixels or when memory runs out.
  TextureRecord* CreateTexture(const uint32_t* pixels, int32_t width, int32_t height) noexcept;
  // Unlinks and frees a record of this store; null or unknown records are ignored.
  void ReleaseTexture(TextureRecord* record) noexcept;

  const TextureRecord* Head() const noexcept { return head_; }

 private:
  TextureRecord* head_ = nullptr;
};

}  // namespace vek::render
