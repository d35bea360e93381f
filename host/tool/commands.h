// The vekhost commands, each writing to the stream it is given; errors are thrown as vek::host::Error.
#pragma once

#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "vekhost/plugin.h"
#include "vekhost/render.h"

namespace vek::tool {

void ListCommand(const host::Plugin& plugin, bool asJson, std::ostream& out);
// What the values of a parameter row mean where its name id carries no option words to say it
// (info and docs show it); empty for the other rows.
std::string_view ValueNote(std::string_view classId, std::string_view key);
void InfoCommand(const host::Plugin& plugin, std::string_view classId, bool asJson, std::ostream& out);
void DocsCommand(const host::Plugin& plugin, const std::filesystem::path& output);

// "640x360" as two sides of 1..kMaxFrameSide; throws host::Error.
struct FrameSize {
  int width;
  int height;
};
FrameSize ParseSize(std::string_view text);

// The record fields render and bench take from the command line, as given.
struct SetupArguments {
  std::string field;  // "", "even" or "odd"
  std::string layout = "argb";
  int threads = 0;  // 0: one worker per processor
  std::string simd = "on";
  uint32_t seed = 0;
  float offset = 0;  // signed: below 0 offset mode 1, above 0 mode 2, with its magnitude as the amount
  bool alphaAware = false;
  std::string display;  // "" or WIDTHxHEIGHT: the size the frames are shown at
};
host::RenderSetup MakeSetup(const SetupArguments& arguments, FrameSize size);

struct RenderRequest {
  std::string classId;
  std::string inputA;    // empty: the built-in picture A
  std::string inputB;    // empty: the built-in picture B
  std::string progress;  // empty: P1 as the value block holds it (its default unless --set gives it)
  int frames = 0;        // 0: as many as the shortest video input lasts, 1 for pictures alone
  double startA = 0.0;   // seconds into a video -a where the rendering starts
  double startB = 0.0;
  std::string interlace;  // "top" or "bottom" field first, or "none"; "": as the first video input
  std::string output;
  std::vector<std::string> settings;  // KEY=VALUE
  std::string size;                   // empty: the first input's size, else 640x360
  bool resize = false;
  SetupArguments setup;
};
void RenderCommand(const host::Plugin& plugin, const RenderRequest& request, std::ostream& out);

struct AudioRequest {
  std::string classId;
  std::vector<std::string> inputs;   // WAV files of one format
  std::vector<std::string> volumes;  // INPUT:VOLUME or INPUT:START:END
  int block = 1024;
  std::string output;
};
void AudioCommand(const host::Plugin& plugin, const AudioRequest& request, std::ostream& out);

void DemoCommand(const host::Plugin& plugin, const std::filesystem::path& output, FrameSize cell, std::ostream& out);

void BenchCommand(const host::Plugin& plugin, std::string_view classId, FrameSize size, const SetupArguments& setup,
                  std::ostream& out);

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
