#include "vekhost/buffer_service.h"

#include <array>
#include <new>

namespace vek::host {
namespace {

int32_t Unused(VekObject*) noexcept { return 0; }

// Images larger than this are refused rather than attempted.
constexpr uint64_t kMaxImageBytes = uint64_t(1) << 32;

}  // namespace

BufferService::BufferService() : object_{{nullptr}, this} {
  static const std::array<VekOperation, 8> operations = [] {
    std::array<VekOperation, 8> table;
    table.fill(reinterpret_cast<VekOperation>(&Unused));
    table[VEK_BUFFER_SLOT_WRAP] = reinterpret_cast<VekOperation>(static_cast<VekBufferWrapFn>(&Wrap));
    table[VEK_BUFFER_SLOT_CREATE] = reinterpret_cast<VekOperation>(static_cast<VekBufferCreateFn>(&Create));
    table[VEK_BUFFER_SLOT_RELEASE] = reinterpret_cast<VekOperation>(static_cast<VekBufferReleaseFn>(&Release));
    return table;
  }();
  object_.object.operations = operations.data();
}

VekImageBuffer* BufferService::Lend(Lent lent) noexcept {
  try {
    lent_.push_back(std::move(lent));
    return &lent_.back().record;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

VekImageBuffer* BufferService::Wrap(VekObject* self, uint8_t* pixels, uint32_t width, uint32_t height,
                                    uint32_t rowBytes) noexcept {
  if (!self || !pixels || width == 0 || height == 0 || rowBytes < uint64_t(width) * 4) return nullptr;
  return Owner(self).Lend({{pixels, width, height, rowBytes, 0}, nullptr});
}

VekImageBuffer* BufferService::Create(VekObject* self, uint32_t width, uint32_t height) noexcept {
  const uint64_t bytes = uint64_t(width) * height * 4;
  if (!self || width == 0 || height == 0 || bytes > kMaxImageBytes) return nullptr;
  std::unique_ptr<uint8_t[]> pixels(new (std::nothrow) uint8_t[bytes]);
  if (!pixels) return nullptr;
  uint8_t* data = pixels.get();
  return Owner(self).Lend({{data, width, height, width * 4, 0}, std::move(pixels)});
}

int32_t BufferService::Release(VekObject* self, VekImageBuffer* buffer) noexcept {
  if (!self || !buffer) return VEK_E_FAIL;
  std::list<Lent>& lent = Owner(self).lent_;
  for (auto it = lent.begin(); it != lent.end(); ++it) {
    if (&it->record == buffer) {
      lent.erase(it);
      return VEK_S_OK;
    }
  }
  return VEK_E_FAIL;  // not one of ours, or given back twice
}

}  // namespace vek::host
