// The vekhost commands, each writing to the stream it is given; errors are thrown as vek::host::Error.
#pragma once

#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "vekhost/plugin.h"

namespace vek::tool {

void ListCommand(const host::Plugin& plugin, bool asJson, std::ostream& out);
void InfoCommand(const host::Plugin& plugin, std::string_view classId, bool asJson, std::ostream& out);
void DocsCommand(const host::Plugin& plugin, const std::filesystem::path& output);

// The catalogue by category (ascending), then subclass (by sub-id), each in catalogue order.
struct SubclassGroup {
  uint32_t subId;
  std::string subclass;
  std::vector<const host::Effect*> effects;
};
struct CategoryGroup {
  uint32_t category;
  std::vector<SubclassGroup> subclasses;
};
std::vector<CategoryGroup> GroupCatalogue(const std::vector<host::Effect>& effects);

}  // namespace vek::tool
