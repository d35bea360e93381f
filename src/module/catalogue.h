// The module descriptor and the catalogue of 93 effects that it leads to.
#pragma once

#include <span>

#include "vek_dsp/abi.h"

namespace vek {

constexpr uint64_t kModuleVersion = 16;
constexpr std::size_t kEffectCount = 93;

// The one writable record of the module: its two handle fields change at load and in the exports.
VekModuleDescriptor& ModuleDescriptor() noexcept;
std::span<const VekEffectDescriptor, kEffectCount> EffectTable() noexcept;

}  // namespace vek
