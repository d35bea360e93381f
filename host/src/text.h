// Small text helpers of the host library: case, distance, splitting and the UTF conversions that
// the wide-string rows need.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vek::host {

std::string Lower(std::string_view text);
bool EqualsIgnoringCase(std::string_view a, std::string_view b);
// Edits between the lower-case forms of a and b: insertions, deletions, replacements and swaps
// of neighbouring letters each count one.
std::size_t EditDistance(std::string_view a, std::string_view b);

std::string_view Trim(std::string_view text);
std::vector<std::string_view> Split(std::string_view text, char separator);
std::string Join(const std::vector<std::string>& parts, std::string_view separator);
// A status word as the Windows manner writes it: "0x80004005".
std::string StatusText(int32_t status);

// Unpaired surrogates become U+FFFD; the strings come from the host or the tables, not from files.
std::string Utf16ToUtf8(std::u16string_view text);
// Empty when the text is not valid UTF-8.
std::optional<std::u16string> Utf8ToUtf16(std::string_view text);

}  // namespace vek::host
