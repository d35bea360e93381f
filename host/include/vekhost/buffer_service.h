// The host's buffer service: it lends images to effects, wrapping pixels they already have or
// making new ones, and takes them back. It owns what it made until the effect gives it back, or
// until the service goes.
#pragma once

#include <cstdint>
#include <list>
#include <memory>

#include "vek_dsp/abi.h"

namespace vek::host {

class BufferService {
 public:
  BufferService();
  BufferService(const BufferService&) = delete;
  BufferService& operator=(const BufferService&) = delete;

  // The object an instance record points to.
  VekObject* Object() { return &object_.object; }
  // Images lent and not given back yet.
  int Outstanding() const { return int(lent_.size()); }

 private:
  // The plug-in hands the object back as `self`; the owner is found beside it.
  struct ServiceObject {
    VekObject object;
    BufferService* owner;
  };
  struct Lent {
    VekImageBuffer record;
    std::unique_ptr<uint8_t[]> pixels;  // null for a wrapped image
  };

  static BufferService& Owner(VekObject* self) { return *reinterpret_cast<ServiceObject*>(self)->owner; }
  static VekImageBuffer* Wrap(VekObject* self, uint8_t* pixels, uint32_t width, uint32_t height,
                              uint32_t rowBytes) noexcept;
  static VekImageBuffer* Create(VekObject* self, uint32_t width, uint32_t height) noexcept;
  static int32_t Release(VekObject* self, VekImageBuffer* buffer) noexcept;
  VekImageBuffer* Lend(Lent lent) noexcept;

  ServiceObject object_;
  std::list<Lent> lent_;
};

}  // namespace vek::host
