// A 5x7 pixel font with two rows of descenders for labels drawn into frames: A-Z, a-z, 0-9 and _ . , : - ( ) space; any
// other character is drawn as a question mark.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "vekhost/frame.h"

namespace vek::tool {

inline constexpr int kGlyphHeight = 9;
inline constexpr int kGlyphAdvance = 6;  // five columns and one of space

// Pixels across the text at the scale.
inline int TextWidth(std::string_view text, int scale = 1) {
  return int(text.size()) * kGlyphAdvance * scale;
}

// Draws the text with its top left corner at x, y in the colour (ARGB bytes), each font pixel a
// scale x scale square; whatever falls outside the frame is left out.
void DrawText(host::Frame& frame, int x, int y, std::string_view text, std::array<uint8_t, 4> colour, int scale = 1);

}  // namespace vek::tool
