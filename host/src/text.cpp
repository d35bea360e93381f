#include "text.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <numeric>

namespace vek::host {

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = char(std::tolower(static_cast<unsigned char>(c)));
  return lower;
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && Lower(a) == Lower(b);
}

std::size_t EditDistance(std::string_view a, std::string_view b) {
  const std::string x = Lower(a), y = Lower(b);
  // Three rows of the optimal-string-alignment table: a swap of neighbours is one typo, not two.
  std::vector<std::size_t> before(y.size() + 1), previous(y.size() + 1), current(y.size() + 1);
  std::iota(previous.begin(), previous.end(), std::size_t{0});
  for (std::size_t i = 1; i <= x.size(); ++i) {
    current[0] = i;
    for (std::size_t j = 1; j <= y.size(); ++j) {
      current[j] = std::min({previous[j] + 1, current[j - 1] + 1, previous[j - 1] + (x[i - 1] == y[j - 1] ? 0 : 1)});
      if (i > 1 && j > 1 && x[i - 1] == y[j - 2] && x[i - 2] == y[j - 1]) {
        current[j] = std::min(current[j], before[j - 2] + 1);
      }
    }
    std::swap(before, previous);
    std::swap(previous, current);
  }
  return previous[y.size()];
}

std::string_view Trim(std::string_view text) {
  const auto isSpace = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
  return text;
}

std::vector<std::string_view> Split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (std::size_t start = 0;;) {
    const std::size_t end = text.find(separator, start);
    parts.push_back(text.substr(start, end - start));
    if (end == std::string_view::npos) return parts;
    start = end + 1;
  }
}

std::string Join(const std::vector<std::string>& parts, std::string_view separator) {
  std::string joined;
  for (const std::string& part : parts) {
    if (!joined.empty()) joined += separator;
    joined += part;
  }
  return joined;
}

std::string StatusText(int32_t status) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "0x%08X", static_cast<uint32_t>(status));
  return buffer;
}

namespace {

void AppendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += char(c);
  } else if (c < 0x800) {
    out += char(0xC0 | (c >> 6));
    out += char(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += char(0xE0 | (c >> 12));
    out += char(0x80 | ((c >> 6) & 0x3F));
    out += char(0x80 | (c & 0x3F));
  } else {
    out += char(0xF0 | (c >> 18));
    out += char(0x80 | ((c >> 12) & 0x3F));
    out += char(0x80 | ((c >> 6) & 0x3F));
    out += char(0x80 | (c & 0x3F));
  }
}

bool IsHighSurrogate(char32_t c) {
  return c >= 0xD800 && c <= 0xDBFF;
}
bool IsLowSurrogate(char32_t c) {
  return c >= 0xDC00 && c <= 0xDFFF;
}

}  // namespace

std::string Utf16ToUtf8(std::u16string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (IsHighSurrogate(c) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
      c = 0x10000 + ((c - 0xD800) << 10) + (char32_t(text[++i]) - 0xDC00);
    } else if (IsHighSurrogate(c) || IsLowSurrogate(c)) {
      c = 0xFFFD;
    }
    AppendUtf8(out, c);
  }
  return out;
}

std::optional<std::u16string> Utf8ToUtf16(std::string_view text) {
  std::u16string out;
  for (std::size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i]);
    const std::size_t length = lead < 0x80           ? 1
                               : (lead >> 5) == 0x6  ? 2
                               : (lead >> 4) == 0xE  ? 3
                               : (lead >> 3) == 0x1E ? 4
                                                     : 0;
    if (length == 0 || i + length > text.size()) return std::nullopt;
    char32_t c = length == 1 ? lead : lead & (0x7F >> length);
    for (std::size_t k = 1; k < length; ++k) {
      const auto next = static_cast<unsigned char>(text[i + k]);
      if ((next >> 6) != 0x2) return std::nullopt;
      c = (c << 6) | (next & 0x3F);
    }
    constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (c < kSmallest[length] || c > 0x10FFFF || IsHighSurrogate(c) || IsLowSurrogate(c)) return std::nullopt;
    if (c >= 0x10000) {
      out += char16_t(0xD800 + ((c - 0x10000) >> 10));
      out += char16_t(0xDC00 + ((c - 0x10000) & 0x3FF));
    } else {
      out += char16_t(c);
    }
    i += length;
  }
  return out;
}

}  // namespace vek::host
