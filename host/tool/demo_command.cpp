// vekhost demo: the contact sheet, every effect of the catalogue in its order on the built-in
// pictures; transitions at three progress values, effects that do not render yet marked as such.
#include <algorithm>
#include <cstdio>

#include "bitmap_font.h"
#include "commands.h"
#include "progress_bar.h"
#include "vekhost/error.h"
#include "vekhost/image_io.h"
#include "vekhost/pictures.h"

namespace vek::tool {
namespace {

using Colour = std::array<uint8_t, 4>;

constexpr Colour Rgb(uint8_t r, uint8_t g, uint8_t b) {
  return {b, g, r, 255};
}

constexpr int kColumns = 12;
constexpr int kGap = 4;
constexpr int kMargin = 10;
constexpr int kLineHeight = kGlyphHeight + 1;
constexpr int kLabelHeight = 2 * kLineHeight + 2;
constexpr int kTitleHeight = 2 * kGlyphHeight + kLineHeight + 10;
constexpr int kCheckerSquare = 8;
constexpr float kProgressValues[] = {0.25f, 0.5f, 0.75f};

constexpr Colour kBackground = Rgb(32, 32, 36);
constexpr Colour kLabelBand = Rgb(18, 18, 20);
constexpr Colour kText = Rgb(232, 232, 232);
constexpr Colour kDimText = Rgb(150, 150, 160);
constexpr Colour kWarningText = Rgb(255, 130, 130);

enum class CellKind { kPicture, kNotImplemented, kAudio, kFailed };

struct Cell {
  CellKind kind;
  std::string classId;
  std::string caption;
  host::Frame picture;
};

void FillRect(host::Frame& frame, int x, int y, int width, int height, Colour colour) {
  for (int row = std::max(y, 0); row < std::min(y + height, frame.height); ++row) {
    for (int column = std::max(x, 0); column < std::min(x + width, frame.width); ++column) {
      std::copy(colour.begin(), colour.end(), frame.Pixel(column, row));
    }
  }
}

// As many characters as fit in the width.
std::string Fitted(const std::string& text, int width) {
  const std::size_t fit = std::size_t(std::max(width / kGlyphAdvance, 0));
  return text.size() <= fit ? text : text.substr(0, fit);
}

void DrawCentred(host::Frame& frame, int x, int y, int width, int height, const std::string& text, Colour colour) {
  const std::string shown = Fitted(text, width - 2);
  DrawText(frame, x + (width - TextWidth(shown)) / 2, y + (height - kGlyphHeight) / 2, shown, colour);
}

// The picture over a grey checkerboard, so that transparent parts show as such.
void DrawPicture(host::Frame& sheet, int x, int y, const host::Frame& picture) {
  for (int row = 0; row < picture.height; ++row) {
    for (int column = 0; column < picture.width; ++column) {
      const bool light = (row / kCheckerSquare + column / kCheckerSquare) % 2 == 0;
      const int ground = light ? 130 : 90;
      const uint8_t* source = picture.Pixel(column, row);
      uint8_t* target = sheet.Pixel(x + column, y + row);
      for (int c = 0; c < 3; ++c) target[c] = uint8_t(ground + (source[c] - ground) * source[3] / 255);
      target[3] = 255;
    }
  }
}

void DrawCell(host::Frame& sheet, int x, int y, FrameSize size, const Cell& cell) {
  switch (cell.kind) {
    case CellKind::kPicture:
      DrawPicture(sheet, x, y, cell.picture);
      break;
    case CellKind::kNotImplemented:
      FillRect(sheet, x, y, size.width, size.height, Rgb(70, 24, 24));
      for (int row = 0; row < size.height; ++row) {
        for (int column = (8 - row % 8) % 8; column < size.width; column += 8) {
          FillRect(sheet, x + column, y + row, 1, 1, Rgb(130, 45, 45));
        }
      }
      FillRect(sheet, x, y + size.height / 2 - kLineHeight / 2 - 1, size.width, kLineHeight + 2, Rgb(40, 10, 10));
      DrawCentred(sheet, x, y, size.width, size.height, "not implemented", kWarningText);
      break;
    case CellKind::kAudio:
      FillRect(sheet, x, y, size.width, size.height, Rgb(28, 40, 70));
      DrawCentred(sheet, x, y, size.width, size.height, "audio", kText);
      break;
    case CellKind::kFailed:
      FillRect(sheet, x, y, size.width, size.height, Rgb(110, 70, 0));
      DrawCentred(sheet, x, y, size.width, size.height, "failed", kText);
      break;
  }
  FillRect(sheet, x, y + size.height, size.width, kLabelHeight, kLabelBand);
  DrawText(sheet, x + 2, y + size.height + 2, Fitted(cell.classId, size.width - 4), kText);
  const Colour captionColour =
      cell.kind == CellKind::kPicture || cell.kind == CellKind::kAudio ? kDimText : kWarningText;
  DrawText(sheet, x + 2, y + size.height + 2 + kLineHeight, Fitted(cell.caption, size.width - 4), captionColour);
}

std::string ProgressCaption(float progress) {
  char text[16];
  std::snprintf(text, sizeof text, "p %.2f", double(progress));
  return text;
}

}  // namespace

void DemoCommand(const host::Plugin& plugin, const std::filesystem::path& output, FrameSize cell, std::ostream& out) {
  // The sheet shows what an editor that keeps alpha shows: effects that would drop it keep it.
  SetupArguments arguments;
  arguments.alphaAware = true;
  const host::RenderSetup setup = MakeSetup(arguments, cell);
  const host::Frame a = host::BuiltInPicture(host::Picture::kA, cell.width, cell.height);
  const host::Frame b = host::BuiltInPicture(host::Picture::kB, cell.width, cell.height);
  // One group of cells per effect; a transition's three stay on one row.
  std::vector<std::vector<Cell>> groups;
  int rendered = 0, notImplemented = 0, audio = 0;
  std::vector<std::string> failures;
  {
    ProgressBar bar("demo", int(plugin.Effects().size()));
    for (const host::Effect& effect : plugin.Effects()) {
      std::vector<Cell>& group = groups.emplace_back();
      try {
        if (host::IsAudio(effect)) {
          group.push_back({CellKind::kAudio, effect.classId, "no picture", {}});
          ++audio;
        } else {
          host::Renderer renderer(effect, setup);
          if (host::IsTransition(effect)) {
            for (float progress : kProgressValues) {
              renderer.SetProgress(progress);
              group.push_back({CellKind::kPicture, effect.classId, ProgressCaption(progress), renderer.Render(a, b)});
            }
          } else {
            group.push_back(
                {CellKind::kPicture, effect.classId, host::CategoryName(effect.category), renderer.Render(a, b)});
          }
          ++rendered;
        }
      } catch (const host::Error& error) {
        group.clear();
        if (error.Status() == VEK_E_NOTIMPL) {
          group.push_back({CellKind::kNotImplemented, effect.classId, "not implemented", {}});
          ++notImplemented;
        } else {
          group.push_back({CellKind::kFailed, effect.classId, "failed", {}});
          failures.push_back(error.what());
        }
      }
      bar.Step();
    }
  }

  std::vector<std::pair<int, int>> places;  // column and row of each cell, group by group
  int column = 0, rows = 1;
  for (const std::vector<Cell>& group : groups) {
    if (column > 0 && column + int(group.size()) > kColumns) column = 0, ++rows;
    for (std::size_t k = 0; k < group.size(); ++k) places.emplace_back(column++, rows - 1);
  }
  const int pitchX = cell.width + kGap, pitchY = cell.height + kLabelHeight + kGap;
  host::Frame sheet(2 * kMargin + kColumns * pitchX - kGap, 2 * kMargin + kTitleHeight + rows * pitchY - kGap,
                    kBackground);
  std::string summary = std::to_string(plugin.Effects().size()) + " effects: " + std::to_string(rendered) +
                        " rendered, " + std::to_string(notImplemented) + " not implemented, " + std::to_string(audio) +
                        " audio";
  if (!failures.empty()) summary += ", " + std::to_string(failures.size()) + " failed";
  DrawText(sheet, kMargin, kMargin, "vek_dsp contact sheet", kText, 2);
  DrawText(sheet, kMargin, kMargin + 2 * kGlyphHeight + 6, summary, kDimText);
  std::size_t next = 0;
  for (const std::vector<Cell>& group : groups) {
    for (const Cell& one : group) {
      const auto [x, y] = places[next++];
      DrawCell(sheet, kMargin + x * pitchX, kMargin + kTitleHeight + y * pitchY, cell, one);
    }
  }
  host::WritePng(sheet, output);
  out << output.string() << ": " << summary << '\n';
  if (!failures.empty()) {
    std::string list;
    for (const std::string& failure : failures) list += "\n  " + failure;
    throw host::Error(std::to_string(failures.size()) + " effects failed to render:" + list);
  }
}

}  // namespace vek::tool
