#include "render/texture_manager.h"

#include <cstdlib>

namespace vek::render {
namespace {

// The sizes whose logarithm a texture records, searched largest first; any other size records 0.
constexpr struct {
  int32_t size;
  uint32_t shift;
} kPowers[] = {{1024, 10}, {512, 9}, {256, 8}, {128, 7}, {64, 6}, {32, 5}, {16, 4}, {8, 3}, {4, 2}, {2, 1}, {1, 0}};

uint32_t Log2(int32_t size) {
  for (const auto& power : kPowers) {
    if (power.size == size) return power.shift;
  }
  return 0;
}

}  // namespace

TextureManager::~TextureManager() {
  while (head_) {
    TextureRecord* next = head_->next;
    std::free(head_);
    head_ = next;
  }
}

TextureRecord* TextureManager::CreateTexture(const uint32_t* pixels, int32_t width, int32_t height) noexcept {
  if (!pixels) return nullptr;
  auto* record = static_cast<TextureRecord*>(std::malloc(sizeof(TextureRecord)));
  if (!record) return nullptr;
  *record = TextureRecord{nullptr, height, width, Log2(height), Log2(width), pixels};
  // The list holds at most one record per texture id, so walking it to the tail stays short.
  TextureRecord** tail = &head_;
  while (*tail) tail = &(*tail)->next;
  *tail = record;
  return record;
}

void TextureManager::ReleaseTexture(TextureRecord* record) noexcept {
  if (!record) return;
  for (TextureRecord** link = &head_; *link; link = &(*link)->next) {
    if (*link == record) {
      *link = record->next;
      std::free(record);
      return;
    }
  }
}

}  // namespace vek::render
