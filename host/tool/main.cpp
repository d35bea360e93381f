// vekhost: loads the vek_dsp plug-in as a video editor does and reports what its tables describe.
#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <string>

#include "commands.h"
#include "vekhost/plugin.h"

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
  CLI11_PARSE(app, argc, argv);

  try {
    const vek::host::Plugin plugin(vek::host::LocatePlugin(pluginPath));
    if (list->parsed()) {
      vek::tool::ListCommand(plugin, json, std::cout);
    } else if (info->parsed()) {
      vek::tool::InfoCommand(plugin, classId, json, std::cout);
    } else if (docs->parsed()) {
      vek::tool::DocsCommand(plugin, output);
    }
  } catch (const std::exception& error) {
    std::cerr << "vekhost: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
