#include "vekhost/catalogue.h"

#include <algorithm>

#include "text.h"
#include "vekhost/error.h"

namespace vek::host {
namespace {

std::string Text(const char* text) {
  return text ? text : "";
}

// "IDS_Tr_Param_Direction_Name" -> "Direction"; a name id of another shape stays whole.
std::string ShortName(std::string_view nameId) {
  constexpr std::string_view kMarker = "_Param_", kSuffix = "_Name";
  const std::size_t marker = nameId.find(kMarker);
  if (!nameId.starts_with("IDS_") || marker == std::string_view::npos) return std::string(nameId);
  std::string_view name = nameId.substr(marker + kMarker.size());
  if (name.ends_with(kSuffix) && name.size() > kSuffix.size()) name.remove_suffix(kSuffix.size());
  return std::string(name);
}

Param ReadParam(const std::string& classId, const VekParamDescriptor& row, std::size_t offset) {
  Param param;
  param.row = &row;
  if (!row.key || !row.nameId) throw Error(classId + ": a parameter row has no key or name id");
  param.key = row.key;
  const std::string where = classId + " parameter " + param.key;
  const std::vector<std::string_view> words = Split(row.nameId, ';');
  param.nameId = words.front();
  param.shortName = ShortName(param.nameId);
  param.options.assign(words.begin() + 1, words.end());
  if (row.descriptionId) param.descriptionId = row.descriptionId;
  param.typeCode = row.typeCode;
  if (TypeSize(row.typeCode) == 0) throw Error(where + " has the unknown type code " + std::to_string(row.typeCode));
  if (row.valueSize != TypeSize(row.typeCode)) {
    throw Error(where + " is a " + TypeName(row.typeCode) + " of " + std::to_string(row.valueSize) + " bytes, not " +
                std::to_string(TypeSize(row.typeCode)));
  }
  if (!row.minimum || !row.maximum || !row.defaultValue) throw Error(where + " lacks a minimum, maximum or default");
  param.editorKind = row.editorKind;
  param.minimum = LoadValue(row.typeCode, row.minimum);
  param.maximum = LoadValue(row.typeCode, row.maximum);
  param.defaultValue = LoadValue(row.typeCode, row.defaultValue);
  param.valueSize = row.valueSize;
  param.offset = offset;
  param.animatable = row.animatable != 0;
  param.group = row.group;
  param.scope = row.scope;
  param.interpolate = row.interpolate;
  return param;
}

}  // namespace

Effect ReadEffect(const VekEffectDescriptor& row) {
  if (!row.classId) throw Error("a catalogue row has no class id");
  Effect effect;
  effect.descriptor = &row;
  effect.classId = row.classId;
  effect.nameId = Text(row.nameId);
  effect.descriptionId = Text(row.descriptionId);
  effect.author = Text(row.author);
  effect.vendor = Text(row.vendor);
  effect.subclass = Text(row.subclass);
  effect.category = row.words[VEK_WORD_CATEGORY];
  effect.subId = row.words[VEK_WORD_SUB_ID];
  effect.inputs = row.words[VEK_WORD_INPUT_COUNT];
  effect.privateBytes = row.privateBytes;
  const uint32_t count = row.words[VEK_WORD_PARAM_COUNT];
  if (count > 0 && !row.params)
    throw Error(effect.classId + " has " + std::to_string(count) + " parameters but no table");
  for (uint32_t k = 0; k < count; ++k) {
    effect.params.push_back(ReadParam(effect.classId, row.params[k], effect.valueBlockBytes));
    effect.valueBlockBytes += row.params[k].valueSize;
  }
  return effect;
}

const Param& Effect::FindParam(std::string_view name) const {
  for (auto field : {&Param::key, &Param::nameId, &Param::shortName}) {
    for (const Param& param : params) {
      if (EqualsIgnoringCase(param.*field, name)) return param;
    }
  }
  std::vector<std::string> valid;
  for (const Param& param : params) valid.push_back(param.key + " (" + param.shortName + ")");
  throw Error("unknown parameter \"" + std::string(name) + "\" of " + classId +
              (valid.empty() ? "; it has no parameters" : "; valid keys: " + Join(valid, ", ")));
}

std::string CategoryName(uint32_t category) {
  switch (category) {
    case VEK_CATEGORY_VIDEO:
      return "video effect";
    case VEK_CATEGORY_TRANSITION:
      return "transition";
    case VEK_CATEGORY_PICTURE_IN_PICTURE:
      return "picture-in-picture";
    case VEK_CATEGORY_COLOUR:
      return "colour adjustment";
    case VEK_CATEGORY_AUDIO:
      return "audio";
    case VEK_CATEGORY_AUTO_CORRECTION:
      return "automatic correction";
    default:
      return "category " + std::to_string(category);
  }
}

const Effect& FindEffect(const std::vector<Effect>& effects, std::string_view classId) {
  constexpr std::size_t kSuggestions = 3;
  for (const Effect& effect : effects) {
    if (EqualsIgnoringCase(effect.classId, classId)) return effect;
  }
  std::vector<std::pair<std::size_t, const Effect*>> ranked;
  for (const Effect& effect : effects) ranked.emplace_back(EditDistance(effect.classId, classId), &effect);
  std::stable_sort(ranked.begin(), ranked.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> closest;
  for (std::size_t k = 0; k < std::min(kSuggestions, ranked.size()); ++k) closest.push_back(ranked[k].second->classId);
  throw Error("unknown effect \"" + std::string(classId) + "\"" +
              (closest.empty() ? std::string() : "; closest: " + Join(closest, ", ")));
}

}  // namespace vek::host
