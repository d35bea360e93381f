// vekhost list and info, as text for people and as JSON for tools.
#include <algorithm>
#include <charconv>
#include <map>
#include <nlohmann/json.hpp>
#include <variant>

#include "commands.h"
#include "vekhost/value.h"

namespace vek::tool {
namespace {

// Keys in the order written, so the class id leads each object.
using json = nlohmann::ordered_json;

// nlohmann writes floats as doubles (0.2f as 0.20000000298023224); going through the shortest
// text of the float gives the number the tables were written with.
double ShortestDouble(float value) {
  char buffer[32];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
  double shortest = 0;
  std::from_chars(buffer, end, shortest);
  return shortest;
}

json ValueJson(const host::Value& value) {
  if (const auto* whole = std::get_if<int64_t>(&value)) return *whole;
  if (const auto* number = std::get_if<float>(&value)) return ShortestDouble(*number);
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  json numbers = json::array();
  for (float number : std::get<std::vector<float>>(value)) numbers.push_back(ShortestDouble(number));
  return numbers;
}

// The rows whose name id stays without options (the plug-in's tables are fixed), keyed by effect
// and parameter.
struct ValueNoteRow {
  std::string_view classId, key, note;
};
constexpr ValueNoteRow kValueNotes[] = {
    {"DSP_CO_ColorAdj", "P6",
     "0 off, 1 split left/right (original left, result right), 2 split top/bottom (original top, result bottom)"},
};

json ParamJson(const host::Effect& effect, const host::Param& param) {
  json row = {{"key", param.key},
              {"nameId", param.nameId},
              {"shortName", param.shortName},
              {"descriptionId", param.descriptionId ? json(*param.descriptionId) : json(nullptr)},
              {"options", param.options},
              {"type", host::TypeName(param.typeCode)},
              {"typeCode", param.typeCode},
              {"editorKind", param.editorKind},
              {"min", ValueJson(param.minimum)},
              {"max", ValueJson(param.maximum)},
              {"default", ValueJson(param.defaultValue)},
              {"size", param.valueSize},
              {"offset", param.offset},
              {"animatable", param.animatable},
              {"group", param.group},
              {"scope", param.scope},
              {"interpolated", param.interpolate != nullptr}};
  if (const std::string_view note = ValueNote(effect.classId, param.key); !note.empty()) row["values"] = note;
  return row;
}

json EffectJson(const host::Effect& effect) {
  json params = json::array();
  for (const host::Param& param : effect.params) params.push_back(ParamJson(effect, param));
  const VekEffectDescriptor& row = *effect.descriptor;
  return {{"classId", effect.classId},
          {"nameId", effect.nameId},
          {"descriptionId", effect.descriptionId},
          {"author", effect.author},
          {"vendor", effect.vendor},
          {"category", effect.category},
          {"categoryName", host::CategoryName(effect.category)},
          {"subId", effect.subId},
          {"subclass", effect.subclass},
          {"inputs", effect.inputs},
          {"privateBytes", effect.privateBytes},
          {"valueBlockBytes", effect.valueBlockBytes},
          {"words", row.words},
          {"params", params}};
}

// Columns padded to their widest cell, two spaces apart.
void PrintTable(const std::vector<std::vector<std::string>>& rows, const std::string& indent, std::ostream& out) {
  std::vector<std::size_t> widths;
  for (const auto& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t k = 0; k < row.size(); ++k) widths[k] = std::max(widths[k], row[k].size());
  }
  for (const auto& row : rows) {
    std::string line = indent;
    for (std::size_t k = 0; k < row.size(); ++k) {
      line += row[k];
      if (k + 1 < row.size()) line += std::string(widths[k] - row[k].size() + 2, ' ');
    }
    out << line << '\n';
  }
}

std::string Words(const VekEffectDescriptor& row) {
  std::string text;
  for (std::size_t k = 0; k < std::size(row.words); ++k) {
    if (k) text += ' ';
    text += 'F' + std::to_string(k) + '=' + std::to_string(row.words[k]);
  }
  return text;
}

std::string Callbacks(const VekEffectCallbacks& callbacks) {
  const std::pair<const char*, bool> slots[] = {
      {"Init", callbacks.init != nullptr},         {"Destroy", callbacks.destroy != nullptr},
      {"SetInput", callbacks.setInput != nullptr}, {"Process", callbacks.process != nullptr},
      {"Prepare", callbacks.prepare != nullptr},   {"ReleaseResources", callbacks.releaseResources != nullptr}};
  std::string text;
  for (const auto& [name, present] : slots) {
    if (!text.empty()) text += ' ';
    text += name;
    if (!present) text += "(null)";
  }
  return text;
}

void PrintInfo(const host::Effect& effect, std::ostream& out) {
  const VekEffectDescriptor& row = *effect.descriptor;
  out << effect.classId << '\n';
  PrintTable({{"name id", effect.nameId},
              {"description id", effect.descriptionId},
              {"author", effect.author},
              {"vendor", effect.vendor},
              {"category", std::to_string(effect.category) + " (" + host::CategoryName(effect.category) + ")"},
              {"subclass", effect.subclass + " (sub-id " + std::to_string(effect.subId) + ")"},
              {"inputs", std::to_string(effect.inputs)},
              {"private bytes", std::to_string(effect.privateBytes)},
              {"value block", std::to_string(effect.valueBlockBytes) + " bytes"},
              {"words", Words(row)},
              {"callbacks", Callbacks(row.callbacks)}},
             "  ", out);
  out << "\nparameters (" << effect.params.size() << ")\n";
  std::vector<std::vector<std::string>> table = {
      {"key", "name id", "type", "range", "default", "size", "offset", "animatable", "group", "scope"}};
  for (const host::Param& param : effect.params) {
    table.push_back({param.key, param.nameId, host::TypeName(param.typeCode), host::FormatRange(param),
                     host::FormatValue(param, param.defaultValue), std::to_string(param.valueSize),
                     std::to_string(param.offset), param.animatable ? "yes" : "no", std::to_string(param.group),
                     std::to_string(param.scope)});
  }
  PrintTable(table, "  ", out);
  for (const host::Param& param : effect.params) {
    if (param.options.empty()) continue;
    std::string options;
    for (std::size_t k = 0; k < param.options.size(); ++k) {
      if (k) options += ", ";
      options += std::to_string(k) + ' ' + param.options[k];
    }
    out << "  " << param.key << " options: " << options << '\n';
  }
  for (const host::Param& param : effect.params) {
    if (const std::string_view note = ValueNote(effect.classId, param.key); !note.empty()) {
      out << "  " << param.key << " values: " << note << '\n';
    }
  }
}

}  // namespace

std::string_view ValueNote(std::string_view classId, std::string_view key) {
  for (const ValueNoteRow& row : kValueNotes) {
    if (row.classId == classId && row.key == key) return row.note;
  }
  return {};
}

std::vector<CategoryGroup> GroupCatalogue(const std::vector<host::Effect>& effects) {
  std::map<uint32_t, std::map<std::pair<uint32_t, std::string>, std::vector<const host::Effect*>>> sorted;
  for (const host::Effect& effect : effects) {
    sorted[effect.category][{effect.subId, effect.subclass}].push_back(&effect);
  }
  std::vector<CategoryGroup> groups;
  for (auto& [category, subclasses] : sorted) {
    CategoryGroup& group = groups.emplace_back(CategoryGroup{category, {}});
    for (auto& [subclass, members] : subclasses) {
      group.subclasses.push_back({subclass.first, subclass.second, std::move(members)});
    }
  }
  return groups;
}

void ListCommand(const host::Plugin& plugin, bool asJson, std::ostream& out) {
  const std::vector<host::Effect>& effects = plugin.Effects();
  if (asJson) {
    json list = json::array();
    for (const host::Effect& effect : effects) list.push_back(EffectJson(effect));
    out << list.dump(2) << '\n';
    return;
  }
  std::size_t width = 0;
  for (const host::Effect& effect : effects) width = std::max(width, effect.classId.size());
  out << effects.size() << " effects in " << plugin.Path().string() << '\n';
  for (const CategoryGroup& group : GroupCatalogue(effects)) {
    out << '\n' << host::CategoryName(group.category) << " (category " << group.category << ")\n";
    for (const SubclassGroup& subclass : group.subclasses) {
      out << "  " << subclass.subclass << " (sub-id " << subclass.subId << ")\n";
      for (const host::Effect* effect : subclass.effects) {
        const std::size_t count = effect->params.size();
        out << "    " << effect->classId << std::string(width - effect->classId.size() + 2, ' ') << count
            << (count == 1 ? " parameter\n" : " parameters\n");
      }
    }
  }
}

void InfoCommand(const host::Plugin& plugin, std::string_view classId, bool asJson, std::ostream& out) {
  const host::Effect& effect = plugin.FindEffect(classId);
  if (asJson) {
    out << EffectJson(effect).dump(2) << '\n';
  } else {
    PrintInfo(effect, out);
  }
}

}  // namespace vek::tool
