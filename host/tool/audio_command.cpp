// vekhost audio: WAV files mixed block by block through a volume effect, each with its own ramp.
#include <charconv>
#include <cmath>
#include <iomanip>

#include "commands.h"
#include "vekhost/audio.h"
#include "vekhost/error.h"
#include "vekhost/render.h"

namespace vek::tool {
namespace {

// "INDEX:START" or "INDEX:START:END", the volumes checked against the effect's volume row.
void ApplyVolume(const host::Effect& effect, std::string_view text, std::vector<host::VolumeRamp>& ramps) {
  const auto fail = [&](const std::string& why) {
    throw host::Error("--volume " + std::string(text) + ": " + why);
  };
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) fail("give INPUT:VOLUME or INPUT:START:END");
  std::size_t index = 0;
  const std::string_view number = text.substr(0, colon);
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), index);
  if (error != std::errc() || end != number.data() + number.size()) fail("the input is counted from 0");
  if (index >= ramps.size()) fail("there are only " + std::to_string(ramps.size()) + " inputs, counted from 0");
  const std::string_view volumes = text.substr(colon + 1);
  const std::size_t second = volumes.find(':');
  const auto parse = [&](std::string_view part) {
    try {
      return std::get<float>(host::ParseValue(effect.params.front(), part));
    } catch (const host::Error& bad) {
      fail(bad.what());
    }
    return 0.0f;
  };
  const float start = parse(volumes.substr(0, second));
  ramps[index] = {start, second == std::string_view::npos ? start : parse(volumes.substr(second + 1))};
}

}  // namespace

void AudioCommand(const host::Plugin& plugin, const AudioRequest& request, std::ostream& out) {
  const host::Effect& effect = plugin.FindEffect(request.classId);
  if (!host::IsAudio(effect)) throw host::Error(effect.classId + " is not an audio effect; audio takes the volume effects");
  if (request.inputs.size() > std::size_t(host::kMaxAudioInputs)) {
    throw host::Error("the volume effects mix at most 16 inputs, not " + std::to_string(request.inputs.size()));
  }
  if (request.block < 1 || request.block > 20000) throw host::Error("--block takes 1 to 20000 frames");
  std::filesystem::path output(request.output);
  std::string extension = output.extension().string();
  for (char& c : extension) c = char(std::tolower(static_cast<unsigned char>(c)));
  if (extension != ".wav") throw host::Error("cannot write \"" + request.output + "\": give a .wav name");

  std::vector<host::VolumeRamp> ramps(request.inputs.size());
  for (const std::string& volume : request.volumes) ApplyVolume(effect, volume, ramps);
  std::vector<host::Audio> inputs;
  for (const std::string& input : request.inputs) inputs.push_back(host::ReadWav(input));
  for (std::size_t i = 1; i < inputs.size(); ++i) {
    if (!(inputs[i].format == inputs[0].format)) {
      throw host::Error(request.inputs[i] + " is " + host::FormatText(inputs[i].format) + " but " + request.inputs[0] +
                        " is " + host::FormatText(inputs[0].format) + ": convert them to one format first");
    }
  }
  host::MixReport report;
  const host::Audio mix = host::MixAudio(effect, inputs, ramps, request.block, report);
  host::WriteWav(mix, output);
  const double decibels = report.peak > 0 ? 20.0 * std::log10(report.peak) : -INFINITY;
  out << "mixed " << inputs.size() << (inputs.size() == 1 ? " input" : " inputs") << " ("
      << host::FormatText(mix.format) << ") in " << report.blocks << " blocks of " << request.block << " frames into "
      << request.output << '\n'
      << "peak " << std::fixed << std::setprecision(4) << report.peak << " of full scale (" << std::setprecision(1)
      << decibels << " dBFS)\n"
      << "limiter touched " << report.limitedBlocks << " of " << report.blocks << " blocks\n";
}

}  // namespace vek::tool
