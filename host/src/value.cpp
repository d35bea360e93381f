#include "vekhost/value.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "text.h"
#include "vekhost/catalogue.h"
#include "vekhost/error.h"

namespace vek::host {
namespace {

struct TypeInfo {
  uint32_t code;
  const char* name;
  uint32_t size;
};

constexpr TypeInfo kTypes[] = {
    {VEK_TYPE_BYTE, "byte", 1},         {VEK_TYPE_ENUM, "enum", 4},     {VEK_TYPE_INT, "int", 4},
    {VEK_TYPE_FLOAT, "float", 4},       {VEK_TYPE_COLOUR, "colour", 4}, {VEK_TYPE_SWITCH, "switch", 4},
    {VEK_TYPE_STRING, "string", 8},     {VEK_TYPE_RECT, "rect", 16},    {VEK_TYPE_WIDE_STRING, "wstring", 8},
    {VEK_TYPE_POSITION, "position", 8},
};

const TypeInfo* FindType(uint32_t code) {
  for (const TypeInfo& type : kTypes) {
    if (type.code == code) return &type;
  }
  return nullptr;
}

template <class T>
T Load(const void* source) {
  T value;
  std::memcpy(&value, source, sizeof value);
  return value;
}

std::vector<float> LoadFloats(const void* source, std::size_t count) {
  std::vector<float> values(count);
  std::memcpy(values.data(), source, count * sizeof(float));
  return values;
}

std::string LoadWideText(const void* source) {
  const auto* units = Load<const uint16_t*>(source);
  std::u16string text;
  for (; units && *units; ++units) text += char16_t(*units);
  return Utf16ToUtf8(text);
}

std::string FormatFloat(float value) {
  char buffer[32];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

std::string FormatFloats(const std::vector<float>& values) {
  std::string text;
  for (float value : values) {
    if (!text.empty()) text += ',';
    text += FormatFloat(value);
  }
  return text;
}

std::string Describe(const Param& param) {
  return param.key + " (" + param.shortName + ")";
}

[[noreturn]] void ThrowWrongType(const Param& param, std::string_view expected, std::string_view text) {
  throw Error("parameter " + Describe(param) + " is a " + TypeName(param.typeCode) + ": expected " +
              std::string(expected) + ", got \"" + std::string(text) + "\"");
}

[[noreturn]] void ThrowOutOfRange(const Param& param, std::string_view text, const std::string& range) {
  throw Error("parameter " + Describe(param) + " is out of range: " + std::string(text) + " is not in " + range);
}

int64_t ParseWhole(const Param& param, std::string_view text, std::string_view expected) {
  int64_t value = 0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (result.ec != std::errc() || result.ptr != end) ThrowWrongType(param, expected, text);
  return value;
}

int64_t CheckWhole(const Param& param, int64_t value, std::string_view text) {
  if (value < std::get<int64_t>(param.minimum) || value > std::get<int64_t>(param.maximum)) {
    ThrowOutOfRange(param, text, FormatRange(param));
  }
  return value;
}

float ParseFloat(const Param& param, std::string_view text, std::string_view whole, const std::string& range) {
  float value = 0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (result.ec == std::errc::result_out_of_range && result.ptr == end) ThrowOutOfRange(param, whole, range);
  if (result.ec != std::errc() || result.ptr != end || !std::isfinite(value)) {
    ThrowWrongType(param, param.typeCode == VEK_TYPE_FLOAT ? "a number" : "numbers separated by commas", whole);
  }
  return value;
}

std::vector<float> ParseFloats(const Param& param, std::string_view text, std::size_t count, std::string_view expected,
                               const std::string& range) {
  const std::vector<std::string_view> parts = Split(text, ',');
  if (parts.size() != count) ThrowWrongType(param, expected, text);
  std::vector<float> values;
  for (std::string_view part : parts) values.push_back(ParseFloat(param, Trim(part), text, range));
  return values;
}

int64_t ParseColour(const Param& param, std::string_view text) {
  constexpr std::string_view kExpected = "#RRGGBB or 0xRRGGBB";
  std::string_view digits;
  if (text.starts_with('#') && text.size() == 7) {
    digits = text.substr(1);
  } else if ((text.starts_with("0x") || text.starts_with("0X")) && text.size() > 2 && text.size() <= 8) {
    digits = text.substr(2);
  } else {
    ThrowWrongType(param, kExpected, text);
  }
  uint32_t value = 0;
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
  if (result.ec != std::errc() || result.ptr != digits.data() + digits.size()) ThrowWrongType(param, kExpected, text);
  return CheckWhole(param, value, text);
}

// A switch is on or off whatever its row's range says: some tables store 0..0 or 1..1 there.
int64_t ParseSwitch(const Param& param, std::string_view text) {
  const std::string word = Lower(text);
  if (word == "1" || word == "on" || word == "true") return 1;
  if (word == "0" || word == "off" || word == "false") return 0;
  ThrowWrongType(param, "on/off, true/false or 1/0", text);
}

int64_t ParseOption(const Param& param, std::string_view text) {
  for (std::size_t k = 0; k < param.options.size(); ++k) {
    if (EqualsIgnoringCase(param.options[k], text)) return CheckWhole(param, int64_t(k), text);
  }
  std::string expected = "an option number " + FormatRange(param);
  if (!param.options.empty()) expected = "one of " + Join(param.options, ", ") + " or " + expected;
  return CheckWhole(param, ParseWhole(param, text, expected), text);
}

// A rectangle row's minimum and maximum are rectangles too (0,0,0,0 and 0,0,1,1 for the whole
// frame), so each edge is checked against the span the two cover on its own axis.
struct RectSpans {
  float across[2];
  float down[2];
};

RectSpans SpansOf(const Param& param) {
  const auto& low = std::get<std::vector<float>>(param.minimum);
  const auto& high = std::get<std::vector<float>>(param.maximum);
  return {{std::min(low[0], low[2]), std::max(high[0], high[2])},
          {std::min(low[1], low[3]), std::max(high[1], high[3])}};
}

std::vector<float> ParseRect(const Param& param, std::string_view text) {
  const RectSpans spans = SpansOf(param);
  const std::string range = FormatRange(param);
  std::vector<float> edges = ParseFloats(param, text, 4, "left,top,right,bottom", range);
  for (std::size_t k = 0; k < 4; ++k) {
    const float* span = k % 2 == 0 ? spans.across : spans.down;
    if (edges[k] < span[0] || edges[k] > span[1]) ThrowOutOfRange(param, text, range);
  }
  return edges;
}

std::vector<float> ParsePosition(const Param& param, std::string_view text) {
  const auto& low = std::get<std::vector<float>>(param.minimum);
  const auto& high = std::get<std::vector<float>>(param.maximum);
  const std::string range = FormatRange(param);
  std::vector<float> point = ParseFloats(param, text, 2, "x,y", range);
  for (std::size_t k = 0; k < 2; ++k) {
    if (point[k] < low[k] || point[k] > high[k]) ThrowOutOfRange(param, text, range);
  }
  return point;
}

}  // namespace

std::string TypeName(uint32_t typeCode) {
  const TypeInfo* type = FindType(typeCode);
  return type ? type->name : "type " + std::to_string(typeCode);
}

uint32_t TypeSize(uint32_t typeCode) {
  const TypeInfo* type = FindType(typeCode);
  return type ? type->size : 0;
}

Value LoadValue(uint32_t typeCode, const void* source) {
  switch (typeCode) {
    case VEK_TYPE_BYTE:
      return int64_t{Load<uint8_t>(source)};
    case VEK_TYPE_ENUM:
    case VEK_TYPE_INT:
    case VEK_TYPE_SWITCH:
      return int64_t{Load<int32_t>(source)};
    case VEK_TYPE_COLOUR:
      return int64_t{Load<uint32_t>(source)};
    case VEK_TYPE_FLOAT:
      return Load<float>(source);
    case VEK_TYPE_RECT:
      return LoadFloats(source, 4);
    case VEK_TYPE_POSITION:
      return LoadFloats(source, 2);
    case VEK_TYPE_STRING: {
      const char* text = Load<const char*>(source);
      return std::string(text ? text : "");
    }
    case VEK_TYPE_WIDE_STRING:
      return LoadWideText(source);
    default:
      throw Error("no value of " + TypeName(typeCode) + " can be read");
  }
}

std::string FormatValue(const Param& param, const Value& value) {
  if (const auto* number = std::get_if<float>(&value)) return FormatFloat(*number);
  if (const auto* numbers = std::get_if<std::vector<float>>(&value)) return FormatFloats(*numbers);
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  const int64_t whole = std::get<int64_t>(value);
  if (param.typeCode == VEK_TYPE_ENUM && whole >= 0 && std::size_t(whole) < param.options.size()) {
    return param.options[std::size_t(whole)];
  }
  if (param.typeCode == VEK_TYPE_SWITCH && (whole == 0 || whole == 1)) return whole ? "on" : "off";
  if (param.typeCode == VEK_TYPE_COLOUR) {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "#%06llX", static_cast<unsigned long long>(whole));
    return buffer;
  }
  return std::to_string(whole);
}

std::string FormatRange(const Param& param) {
  switch (param.typeCode) {
    case VEK_TYPE_STRING:
    case VEK_TYPE_WIDE_STRING:
      return "";
    case VEK_TYPE_ENUM:
    case VEK_TYPE_SWITCH:
      return std::to_string(std::get<int64_t>(param.minimum)) + ".." + std::to_string(std::get<int64_t>(param.maximum));
    case VEK_TYPE_RECT: {
      const RectSpans spans = SpansOf(param);
      return FormatFloat(spans.across[0]) + ".." + FormatFloat(spans.across[1]) + " across, " +
             FormatFloat(spans.down[0]) + ".." + FormatFloat(spans.down[1]) + " down";
    }
    case VEK_TYPE_POSITION: {
      const auto& low = std::get<std::vector<float>>(param.minimum);
      const auto& high = std::get<std::vector<float>>(param.maximum);
      return "x " + FormatFloat(low[0]) + ".." + FormatFloat(high[0]) + ", y " + FormatFloat(low[1]) + ".." +
             FormatFloat(high[1]);
    }
    default:
      return FormatValue(param, param.minimum) + ".." + FormatValue(param, param.maximum);
  }
}

Value ParseValue(const Param& param, std::string_view text) {
  const std::string_view trimmed = Trim(text);
  switch (param.typeCode) {
    case VEK_TYPE_BYTE:
    case VEK_TYPE_INT:
      return CheckWhole(param, ParseWhole(param, trimmed, "a whole number"), trimmed);
    case VEK_TYPE_ENUM:
      return ParseOption(param, trimmed);
    case VEK_TYPE_SWITCH:
      return ParseSwitch(param, trimmed);
    case VEK_TYPE_COLOUR:
      return ParseColour(param, trimmed);
    case VEK_TYPE_FLOAT: {
      const std::string range = FormatRange(param);
      const float value = ParseFloat(param, trimmed, trimmed, range);
      if (value < std::get<float>(param.minimum) || value > std::get<float>(param.maximum)) {
        ThrowOutOfRange(param, trimmed, range);
      }
      return value;
    }
    case VEK_TYPE_RECT:
      return ParseRect(param, trimmed);
    case VEK_TYPE_POSITION:
      return ParsePosition(param, trimmed);
    case VEK_TYPE_STRING:
      return std::string(text);
    case VEK_TYPE_WIDE_STRING:
      if (!Utf8ToUtf16(text)) throw Error("parameter " + Describe(param) + " is a wstring: the text is not UTF-8");
      return std::string(text);
    default:
      throw Error("parameter " + Describe(param) + " has " + TypeName(param.typeCode) + ", which no host can set");
  }
}

}  // namespace vek::host
