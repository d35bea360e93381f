// vekhost: loads the vek_dsp plug-in as a video editor does and reports what its tables describe.
#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <string>

#include "commands.h"
#include "vekhost/plugin.h"

namespace {

// The record fields render and bench both take.
void AddSetupOptions(CLI::App* command, vek::tool::SetupArguments& setup) {
  command->add_option("--field", setup.field, "One field: even (fieldMode 1) or odd (2); the other rows stay black")
      ->check(CLI::IsMember({"even", "odd"}));
  command->add_option("--threads", setup.threads, "workerCount; default: one per processor")
      ->check(CLI::PositiveNumber);
  command->add_option("--simd", setup.simd, "on: renderHint 3 (SSE4.1 paths), off: 0")
      ->capture_default_str()
      ->check(CLI::IsMember({"on", "off"}));
  command->add_option("--offset", setup.offset,
                      "Sideways shift of the 3D flip's object in scene units (the card is 4 wide): below 0 "
                      "offset mode 1, above 0 mode 2, 0 none");
  command->add_option("--display", setup.display,
                      "WIDTHxHEIGHT the frames are shown at, when their pixels are not square (sourceGeometry), "
                      "e.g. 1920x1080 for 1440x1080 HDV; default: the first input file's own (a clip's sample aspect, "
                      "a picture's pHYs or JFIF density), else square pixels");
  command->add_flag("--alpha-aware", setup.alphaAware,
                    "Set the instance's alpha-aware flag: effects that can keep alpha (the mosaic) carry it "
                    "through instead of writing 0");
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"Loads the vek_dsp plug-in as a host does and reports its effect catalogue."};
  app.require_subcommand(1);
  app.fallthrough();
  std::string pluginPath;
  app.add_option(
      "--plugin", pluginPath,
      std::string("Plug-in to load; default: $VEK_DSP_PLUGIN, else ") + vek::host::kPluginFileName + " beside vekhost");

  bool json = false;
  std::string classId, output;
  CLI::App* list = app.add_subcommand("list", "The catalogue by category and subclass");
  list->add_flag("--json", json, "An array of effect objects for tools");
  CLI::App* info = app.add_subcommand("info", "One effect's descriptor words and parameters");
  info->add_option("ID", classId, "Class id, e.g. DSP_TR_Wipe")->required();
  info->add_flag("--json", json, "One effect object for tools");
  CLI::App* docs = app.add_subcommand("docs", "Write the effect catalogue in Markdown");
  docs->add_option("-o,--output", output, "File to write, e.g. docs/effects.md")->required();

  vek::tool::RenderRequest render;
  CLI::App* renderCommand =
      app.add_subcommand("render", "Render one effect on pictures or videos into PNG files or a video");
  renderCommand->add_option("EFFECT", render.classId, "Class id, e.g. DSP_TR_Fade")->required();
  renderCommand->add_option("-a", render.inputA, "Input A: PNG, JPEG or a video; default: the built-in picture A");
  renderCommand->add_option("-b", render.inputB, "Input B of a transition: as -a; default: the built-in picture B");
  renderCommand->add_option("--a-start", render.startA, "Seconds into a video -a where the rendering starts; default 0")
      ->check(CLI::NonNegativeNumber);
  renderCommand->add_option("--b-start", render.startB, "Seconds into a video -b where the rendering starts; default 0")
      ->check(CLI::NonNegativeNumber);
  renderCommand->add_option("--progress", render.progress,
                            "A transition at this progress (0..1) in every frame; default: P1's default");
  renderCommand
      ->add_option("--frames", render.frames,
                   "N frames, a transition going through progress k/(N-1); default: as many as the shortest "
                   "video input lasts from its start, else one")
      ->check(CLI::PositiveNumber);
  renderCommand
      ->add_option("-o,--output", render.output,
                   "out.png; for several frames a pattern such as out_%03d.png, or a video: .mp4 .mov .mkv .gif .webm")
      ->required();
  renderCommand->add_option("--set", render.settings, "KEY=VALUE: a parameter by key, name id or short name")
      ->allow_extra_args(false);
  renderCommand->add_option("--size", render.size, "WIDTHxHEIGHT; default: the first input's size, else 640x360");
  renderCommand->add_flag("--resize", render.resize,
                          "Resample inputs of another size (bilinear) instead of refusing them");
  renderCommand
      ->add_option("--layout", render.setup.layout,
                   "Frame layout: argb, or ayuv (colourLayout 1, converted in and out)")
      ->check(CLI::IsMember({"argb", "ayuv"}));
  renderCommand->add_option("--seed", render.setup.seed, "randomSeed of the instance");
  renderCommand
      ->add_option("--interlace", render.interlace,
                   "Each frame as two fields at two moments of a transition, top (even rows) or bottom first, "
                   "or none; default: as the first video input, else none")
      ->check(CLI::IsMember({"top", "bottom", "none"}));
  AddSetupOptions(renderCommand, render.setup);

  vek::tool::AudioRequest audio;
  CLI::App* audioCommand =
      app.add_subcommand("audio", "Mix WAV files block by block through a volume effect, each with its own ramp");
  audioCommand->add_option("EFFECT", audio.classId, "DSP_AU_VolumeAdj or DSP_AU_VolumeAdj_Exp")->required();
  audioCommand->add_option("INPUTS", audio.inputs, "1 to 16 PCM WAV files of one format")->required();
  audioCommand->add_option("--volume", audio.volumes, "INPUT:VOLUME or INPUT:START:END, a ramp across the mix")
      ->allow_extra_args(false);
  audioCommand->add_option("--block", audio.block, "Frames a block")->capture_default_str();
  audioCommand->add_option("-o,--output", audio.output, "The mix, a WAV file")->required();

  std::string demoOutput = "contact_sheet.png", demoSize = "160x90";
  CLI::App* demo = app.add_subcommand("demo", "Draw the contact sheet: every effect on the built-in pictures");
  demo->add_option("-o,--output", demoOutput, "PNG file to write")->capture_default_str();
  demo->add_option("--size", demoSize, "Size of one cell's picture")->capture_default_str();

  std::string benchId, benchSize = "1920x1080";
  vek::tool::SetupArguments benchSetup;
  CLI::App* bench =
      app.add_subcommand("bench", "Time one effect's Process beside memcpy and a read-two-write-one loop");
  bench->add_option("EFFECT", benchId, "Class id, e.g. DSP_TR_Fade")->required();
  bench->add_option("--size", benchSize, "Frame size")->capture_default_str();
  AddSetupOptions(bench, benchSetup);
  CLI11_PARSE(app, argc, argv);

  try {
    const vek::host::Plugin plugin(vek::host::LocatePlugin(pluginPath));
    if (list->parsed()) {
      vek::tool::ListCommand(plugin, json, std::cout);
    } else if (info->parsed()) {
      vek::tool::InfoCommand(plugin, classId, json, std::cout);
    } else if (docs->parsed()) {
      vek::tool::DocsCommand(plugin, output);
    } else if (renderCommand->parsed()) {
      vek::tool::RenderCommand(plugin, render, std::cout);
    } else if (audioCommand->parsed()) {
      vek::tool::AudioCommand(plugin, audio, std::cout);
    } else if (demo->parsed()) {
      vek::tool::DemoCommand(plugin, demoOutput, vek::tool::ParseSize(demoSize), std::cout);
    } else if (bench->parsed()) {
      vek::tool::BenchCommand(plugin, benchId, vek::tool::ParseSize(benchSize), benchSetup, std::cout);
    }
  } catch (const std::exception& error) {
    std::cerr << "vekhost: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
