// The plug-in as the tests' host sees it: loaded once per test program through its two exports.
#pragma once

#include <span>

#include "vekhost/plugin.h"

namespace vek::test {

inline const host::Plugin& LoadedPlugin() {
  static const host::Plugin plugin(VEK_TEST_PLUGIN_PATH);
  return plugin;
}

inline std::span<const VekEffectDescriptor> Rows() {
  const VekModuleDescriptor& module = LoadedPlugin().Module();
  return {module.effects, std::size_t(module.effectCount)};
}

}  // namespace vek::test
