// Parameter values as a host shows and takes them: read from the plug-in's constants and value
// blocks, written as text a user can type back, parsed from text with the row's type and range.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vek::host {

struct Param;

// Whole numbers carry byte, enumeration, integer, switch and colour rows; a list of floats the
// rectangle and position rows; text both string types (wide strings converted to UTF-8).
using Value = std::variant<int64_t, float, std::vector<float>, std::string>;

// "byte", "enum", "int", "float", "colour", "switch", "string", "rect", "wstring", "position".
std::string TypeName(uint32_t typeCode);
// The bytes a value of the type takes in a value block; 0 for a code no table uses.
uint32_t TypeSize(uint32_t typeCode);

// Reads a value of the type from memory that may be unaligned: a row's constant or a value block.
// A null string pointer reads as empty text.
Value LoadValue(uint32_t typeCode, const void* source);

// Text that ParseValue takes back: the option word of an enumeration, on/off, #RRGGBB, "l,t,r,b".
std::string FormatValue(const Param& param, const Value& value);
// "minimum..maximum" of the row (enumerations and switches as numbers, a rectangle's edges and a
// position's coordinates per axis); empty for the string types.
std::string FormatRange(const Param& param);

// The value the text gives for the row. Throws Error when the text does not fit the row's type or
// lies outside the row's range (a switch takes on and off whatever range its row stores).
Value ParseValue(const Param& param, std::string_view text);

}  // namespace vek::host
