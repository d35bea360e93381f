// vekhost render: one effect on pictures or videos, written as PNG files or as a video.
#include <algorithm>
#include <cctype>
#include <chrono>
#include <cmath>
#include <iomanip>
#include <memory>
#include <optional>
#include <sstream>
#include <utility>
#include <variant>

#include "commands.h"
#include "progress_bar.h"
#include "vekhost/error.h"
#include "vekhost/image_io.h"
#include "vekhost/media.h"
#include "vekhost/pictures.h"

namespace vek::tool {
namespace {

constexpr FrameSize kDefaultSize{640, 360};

// The output name with the frame number at its %d or %0Nd ("%%" is a percent sign), and the
// number of such places. Any other conversion is refused.
struct NumberedName {
  std::string name;
  int places = 0;
};

NumberedName NameForFrame(std::string_view pattern, int index) {
  NumberedName result;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] != '%') {
      result.name += pattern[i];
      continue;
    }
    std::size_t end = i + 1;
    while (end < pattern.size() && pattern[end] >= '0' && pattern[end] <= '9') ++end;
    const std::string_view flags = pattern.substr(i + 1, end - i - 1);
    if (end < pattern.size() && pattern[end] == '%' && flags.empty()) {
      result.name += '%';
    } else if (end < pattern.size() && pattern[end] == 'd' && (flags.empty() || (flags[0] == '0' && flags.size() <= 2))) {
      const std::string number = std::to_string(index);
      const std::size_t width = flags.empty() ? 0 : std::size_t(std::stoi(std::string(flags)));
      result.name += std::string(width > number.size() ? width - number.size() : 0, '0') + number;
      ++result.places;
    } else {
      throw host::Error("the output name \"" + std::string(pattern) +
                        "\" may hold only %d or %0Nd for the frame number");
    }
    i = end;
  }
  return result;
}

// PNG files or one video; whatever was written is removed again unless Finish is reached, so a
// failed rendering leaves no output.
class FrameWriter {
 public:
  FrameWriter(const std::string& output, int frames, host::VideoFormat format, host::Soundtrack sound)
      : output_(output), format_(std::move(format)), sound_(std::move(sound)), isVideo_(host::IsVideoPath(output)) {
    if (isVideo_) return;
    if (!host::IsPngPath(output)) {
      throw host::Error("cannot write \"" + output +
                        "\": give a .png name or a video name (.mp4, .mov, .mkv, .gif, .webm)");
    }
    const int places = NameForFrame(output, 0).places;
    if (places > 1) throw host::Error("the output name \"" + output + "\" holds more than one frame number");
    if (frames > 1 && places == 0) {
      throw host::Error(std::to_string(frames) +
                        " frames are written one picture a frame: give a name with a frame number such as "
                        "out_%03d.png, or a video name");
    }
  }
  ~FrameWriter() {
    if (finished_) return;
    video_.reset();
    std::error_code ignored;
    for (const std::filesystem::path& path : written_) std::filesystem::remove(path, ignored);
  }
  FrameWriter(const FrameWriter&) = delete;
  FrameWriter& operator=(const FrameWriter&) = delete;

  void Write(const host::Frame& frame, int index) {
    if (isVideo_) {
      if (!video_) {
        video_ = std::make_unique<host::VideoWriter>(output_, frame.width, frame.height, format_, sound_);
      }
      video_->Write(frame);
      return;
    }
    written_.emplace_back(NameForFrame(output_, index).name);
    const bool square = format_.displayWidth == 0 || format_.displayHeight == 0;
    host::WritePng(frame, written_.back(),
                   square ? host::PixelAspect{}
                          : host::PixelAspect::Of(uint64_t(format_.displayWidth) * uint64_t(frame.height),
                                                  uint64_t(frame.width) * uint64_t(format_.displayHeight)));
  }
  void Finish() {
    if (video_) video_->Finish();
    finished_ = true;
  }

 private:
  std::string output_;
  host::VideoFormat format_;
  host::Soundtrack sound_;
  bool isVideo_;
  std::unique_ptr<host::VideoWriter> video_;
  std::vector<std::filesystem::path> written_;
  bool finished_ = false;
};

struct Input {
  char letter;
  std::string file;  // empty for a built-in picture
  double start;      // seconds into a video where the rendering starts
  std::unique_ptr<host::FrameSource> source;
  host::Frame resized;

  // An interlaced clip is resampled field by field.
  const host::Frame& Next(FrameSize size) {
    const host::Frame& frame = source->Next();
    if (frame.width == size.width && frame.height == size.height) return frame;
    const bool interlaced = Video() && Video()->fieldOrder != host::FieldOrder::kProgressive;
    resized = interlaced ? host::ResizedFields(frame, size.width, size.height)
                         : host::Resized(frame, size.width, size.height);
    return resized;
  }
  const host::VideoFacts* Video() const { return source && source->Video() ? &*source->Video() : nullptr; }
};

// Interlaced as --interlace says, else as the first video input is, unless one field is rendered.
host::FieldOrder FieldOrderOf(const RenderRequest& request, const Input (&inputs)[2]) {
  if (request.interlace == "top") return host::FieldOrder::kTopFirst;
  if (request.interlace == "bottom") return host::FieldOrder::kBottomFirst;
  if (!request.interlace.empty() || !request.setup.field.empty()) return host::FieldOrder::kProgressive;
  for (const Input& input : inputs) {
    if (input.Video()) return input.Video()->fieldOrder;
  }
  return host::FieldOrder::kProgressive;
}

// Without --display: the size a rendering of `size` is shown at when the first input file's pixels
// are not square, so that it keeps that clip's or picture's shape; 0 by 0 for square pixels.
FrameSize DisplayOfInputs(const Input (&inputs)[2], FrameSize size) {
  for (const Input& input : inputs) {
    if (input.file.empty()) continue;
    const double aspect = input.source->PixelAspectRatio();
    if (aspect == 1.0) break;
    const double shape = input.source->Width() * aspect / input.source->Height();
    return {int(std::lround(size.height * shape)), size.height};
  }
  return {0, 0};
}

// The first video input's rate: the rendering's, so that every clip keeps its speed.
std::string RateOfVideos(const Input (&inputs)[2]) {
  for (const Input& input : inputs) {
    if (input.Video() && !input.Video()->rate.empty()) return input.Video()->rate;
  }
  return host::kVideoFramesPerSecond;
}

double LengthInSeconds(const host::VideoFacts& video) {
  return video.frames / host::FramesPerSecond(video.rate);
}

// A start is a time inside a video input.
void CheckStart(const Input& input) {
  if (input.start <= 0) return;
  const std::string option = std::string("--") + char(std::tolower(input.letter)) + "-start";
  if (!input.Video()) {
    throw host::Error(option + " is a time in a video; input " + input.letter + " is " +
                      (input.file.empty() ? "the built-in picture" : "the picture " + input.file));
  }
  if (input.Video()->frames > 0 && input.start >= LengthInSeconds(*input.Video())) {
    std::ostringstream length;
    length.imbue(std::locale::classic());
    length << std::fixed << std::setprecision(2) << LengthInSeconds(*input.Video());
    throw host::Error(option + " is past the end of " + input.file + ", which lasts " + length.str() + " s");
  }
}

// Without --frames: as many frames as the shortest video input lasts from its start, at the
// rendering's rate, so that no clip is held on its last frame; one for pictures alone.
int FramesOfVideos(const Input (&inputs)[2], const std::string& rate) {
  int frames = 0;
  for (const Input& input : inputs) {
    const host::VideoFacts* video = input.Video();
    if (!video) continue;
    if (video->frames < 1) throw host::Error("cannot tell how many frames " + input.file + " has; give --frames");
    const double seconds = LengthInSeconds(*video) - input.start;
    // Whole frames; the nudge keeps an exact count such as 0.4 s at 25 from rounding down.
    const int lasting = std::max(1, int(seconds * host::FramesPerSecond(rate) + 1e-6));
    frames = frames == 0 ? lasting : std::min(frames, lasting);
  }
  return std::max(frames, 1);
}

// The clips' sound in a video: a one-input effect keeps its clip's; a transition cross-fades A's
// into B's as it goes from A to B, or holds both at the gains of its fixed progress.
host::Soundtrack SoundOf(const Input (&inputs)[2], bool transition, std::optional<float> heldProgress, int frames) {
  host::Soundtrack sound{frames, {}};
  for (const Input& input : inputs) {
    if (!input.Video() || !input.Video()->sound) continue;
    host::SoundSource source{.path = input.file, .startSeconds = input.start};
    if (transition) {
      const auto gain = [&](float progress) { return std::sqrt(input.letter == 'A' ? 1.0f - progress : progress); };
      source.startGain = gain(heldProgress.value_or(0.0f));
      source.endGain = gain(heldProgress.value_or(1.0f));
    }
    sound.sources.push_back(source);
  }
  return sound;
}

}  // namespace

void RenderCommand(const host::Plugin& plugin, const RenderRequest& request, std::ostream& out) {
  const host::Effect& effect = plugin.FindEffect(request.classId);
  if (host::IsAudio(effect)) throw host::Error(effect.classId + " is an audio effect; render takes pictures");
  const bool transition = host::IsTransition(effect), twoInputs = effect.inputs >= 2;
  if (!request.progress.empty() && !transition) {
    throw host::Error("--progress is for transitions; " + effect.classId + " is a " +
                      host::CategoryName(effect.category));
  }
  if (!request.progress.empty() && request.frames > 1) {
    throw host::Error("--frames renders the whole transition, progress 0 to 1; leave out --progress");
  }
  if (!request.inputB.empty() && !twoInputs) throw host::Error(effect.classId + " takes one input; -b has no use");
  if (request.frames < 0) throw host::Error("--frames takes a count of 1 or more");
  std::optional<float> heldProgress;
  if (!request.progress.empty()) {
    heldProgress = std::get<float>(host::ParseValue(effect.params.front(), request.progress));
  }

  if (request.startB > 0 && !twoInputs) throw host::Error(effect.classId + " takes one input; --b-start has no use");
  Input inputs[2] = {{'A', request.inputA, request.startA, nullptr, {}},
                     {'B', twoInputs ? request.inputB : "", request.startB, nullptr, {}}};
  // With --frames given, a clip's length is not needed.
  const host::FrameCount count = request.frames > 0 ? host::FrameCount::kNotNeeded : host::FrameCount::kCounted;
  for (Input& input : inputs) {
    if (!input.file.empty()) input.source = std::make_unique<host::FrameSource>(input.file, count);
    CheckStart(input);
  }
  if (!request.interlace.empty() && request.interlace != "none" && !request.setup.field.empty()) {
    throw host::Error("--interlace renders both fields; leave out --field");
  }
  const host::FieldOrder order = FieldOrderOf(request, inputs);
  const std::string rate = RateOfVideos(inputs);
  const int frames = request.frames > 0 ? request.frames : FramesOfVideos(inputs, rate);
  for (Input& input : inputs) {
    if (input.source) input.source->PlanDecoding({frames, rate, input.start});
  }
  FrameSize size = kDefaultSize;
  if (!request.size.empty()) {
    size = ParseSize(request.size);
  } else if (const Input* first = inputs[0].source ? &inputs[0] : inputs[1].source ? &inputs[1] : nullptr) {
    size = {first->source->Width(), first->source->Height()};
  }
  for (Input& input : inputs) {
    if (!input.source) {
      const host::Picture picture = input.letter == 'A' ? host::Picture::kA : host::Picture::kB;
      input.source = std::make_unique<host::FrameSource>(host::BuiltInPicture(picture, size.width, size.height));
    } else if ((input.source->Width() != size.width || input.source->Height() != size.height) && !request.resize) {
      throw host::Error(std::string("input ") + input.letter + " (" + input.file + ") is " +
                        host::SizeText(input.source->Width(), input.source->Height()) + ", the rendering " +
                        host::SizeText(size.width, size.height) + "; give --resize to resample it");
    }
  }

  host::RenderSetup setup = MakeSetup(request.setup, size);
  if (setup.displayWidth == 0) {
    const FrameSize display = DisplayOfInputs(inputs, size);
    setup.displayWidth = display.width;
    setup.displayHeight = display.height;
  }
  FrameWriter writer(request.output, frames, {rate, order, setup.displayWidth, setup.displayHeight},
                     SoundOf(inputs, transition, heldProgress, frames));
  host::Renderer renderer(effect, setup);
  for (const std::string& setting : request.settings) {
    const std::size_t equals = setting.find('=');
    if (equals == std::string::npos || equals == 0) throw host::Error("--set takes KEY=VALUE, not \"" + setting + "\"");
    renderer.GetInstance().Set(setting.substr(0, equals), setting.substr(equals + 1));
  }
  if (heldProgress) renderer.SetProgress(*heldProgress);

  const auto start = std::chrono::steady_clock::now();
  {
    ProgressBar bar("rendering " + effect.classId, frames);
    // An interlaced frame is two renders into one output, each field at its own moment: the
    // transition goes through progress j/(2N-1) over the 2N fields of N frames.
    const bool interlaced = order != host::FieldOrder::kProgressive,
               bottomFirst = order == host::FieldOrder::kBottomFirst;
    const int32_t fieldsInOrder[2] = {bottomFirst ? VEK_FIELD_ODD : VEK_FIELD_EVEN,
                                      bottomFirst ? VEK_FIELD_EVEN : VEK_FIELD_ODD};
    const int renders = interlaced ? 2 : 1, moments = frames * renders;
    for (int k = 0; k < frames; ++k) {
      const host::Frame& a = inputs[0].Next(size);
      const host::Frame& b = twoInputs ? inputs[1].Next(size) : a;
      renderer.SetInputs(a, b);
      for (int field = 0; field < renders; ++field) {
        if (interlaced) renderer.SetFieldMode(fieldsInOrder[field]);
        const int moment = k * renders + field;
        if (transition && !heldProgress && frames > 1) renderer.SetProgress(float(moment) / float(moments - 1));
        renderer.Process();
      }
      writer.Write(renderer.Output(), k);
      bar.Step();
    }
    writer.Finish();
  }
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  out << frames << (frames == 1 ? " frame" : " frames") << " in " << std::fixed << std::setprecision(2) << seconds
      << " s (" << std::setprecision(1) << (seconds > 0 ? frames / seconds : 0.0) << " fps)\n";
}

}  // namespace vek::tool
