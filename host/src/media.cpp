#include "vekhost/media.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <locale>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "text.h"
#include "vekhost/error.h"
#include "vekhost/image_io.h"

namespace vek::host {
namespace {

std::string Utf8(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

platform::PathString FindTool(const std::string& name, const std::string& purpose) {
  const platform::PathString program = platform::FindProgram(name);
  if (program.empty()) {
    throw Error(purpose + " needs " + name + ", which is not on PATH; install ffmpeg (Debian: apt-get install ffmpeg)" +
                " or use PNG and JPEG files");
  }
  return program;
}

// The codec arguments for a video name; empty for a name that is no video.
std::vector<std::string> CodecArguments(const std::filesystem::path& path) {
  const std::string extension = Lower(path.extension().string());
  const std::string evenSize = "pad=ceil(iw/2)*2:ceil(ih/2)*2";
  if (extension == ".mp4" || extension == ".mov") {
    return {"-c:v", "libx264", "-pix_fmt", "yuv420p", "-crf", "18", "-vf", evenSize, "-movflags", "+faststart"};
  }
  if (extension == ".mkv") return {"-c:v", "libx264", "-pix_fmt", "yuv420p", "-crf", "18", "-vf", evenSize};
  if (extension == ".webm") {
    return {"-c:v", "libvpx-vp9", "-pix_fmt", "yuv420p", "-crf", "32", "-b:v", "0", "-vf", evenSize};
  }
  if (extension == ".gif") return {"-filter_complex", "split[a][b];[a]palettegen[p];[b][p]paletteuse", "-loop", "0"};
  return {};
}

// H.264 coded as fields, marked top or bottom first; nothing for other codecs or whole frames.
std::vector<std::string> FieldArguments(const std::vector<std::string>& codec, FieldOrder order) {
  if (order == FieldOrder::kProgressive || std::find(codec.begin(), codec.end(), "libx264") == codec.end()) return {};
  const bool top = order == FieldOrder::kTopFirst;
  return {"-flags", "+ilme+ildct", "-top", top ? "1" : "0", "-field_order", top ? "tt" : "bb"};
}

// The sound codec for a video name; empty for a name whose format takes no sound.
std::vector<std::string> SoundCodecArguments(const std::filesystem::path& path) {
  const std::string extension = Lower(path.extension().string());
  if (extension == ".gif") return {};
  if (extension == ".webm") return {"-c:a", "libopus", "-b:a", "160k"};
  return {"-c:a", "aac", "-b:a", "192k"};
}

// Seconds as ffmpeg reads them, whatever the locale.
std::string SecondsText(double seconds) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text.precision(9);
  text << seconds;
  return text.str();
}

// The filter graph that takes each source's first audio stream (inputs 1 and on) to 48 kHz, gives
// it its gain curve, cuts it where the video ends and mixes them into [sound]. Channel layouts are
// left to ffmpeg: a clip keeps its own, and two clips are mixed in one that ffmpeg agrees on.
std::string SoundGraph(const Soundtrack& sound, double seconds) {
  std::ostringstream graph;
  graph.imbue(std::locale::classic());
  graph.precision(9);
  for (std::size_t i = 0; i < sound.sources.size(); ++i) {
    const SoundSource& source = sound.sources[i];
    const double startPower = double(source.startGain) * source.startGain;
    const double change = double(source.endGain) * source.endGain - startPower;
    graph << "[" << i + 1 << ":a:0]aresample=48000,volume=volume='sqrt(max(" << startPower << "+(" << change
          << ")*min(t/" << seconds << ",1),0))':eval=frame,atrim=end=" << seconds << "[s" << i << "];";
  }
  for (std::size_t i = 0; i < sound.sources.size(); ++i) graph << "[s" << i << "]";
  graph << "amix=inputs=" << sound.sources.size() << ":normalize=0:duration=longest[sound]";
  return graph.str();
}

// ffprobe's report on a file as its sections ([STREAM], [FRAME] ...) of "key=value" lines, in
// order; empty when ffprobe failed.
using ProbeSection = std::map<std::string, std::string>;
std::vector<ProbeSection> ProbeSections(const std::filesystem::path& path, std::vector<std::string> arguments) {
  const platform::PathString ffprobe = FindTool("ffprobe", "reading the video " + path.string());
  arguments.insert(arguments.begin(), {"-v", "error"});
  arguments.push_back(Utf8(path));
  std::FILE* probe = platform::OpenProcess(ffprobe, arguments, platform::ProcessPipe::kRead);
  if (!probe) throw Error("cannot start ffprobe for " + path.string());
  std::vector<ProbeSection> sections;
  ProbeSection section;
  char buffer[256];
  while (std::fgets(buffer, sizeof buffer, probe)) {
    const std::string line(Trim(buffer));
    const std::size_t equals = line.find('=');
    if (equals != std::string::npos) section[line.substr(0, equals)] = line.substr(equals + 1);
    if (line == "[/STREAM]" || line == "[/FRAME]") sections.push_back(std::move(section)), section.clear();
  }
  if (platform::CloseProcess(probe) != 0) sections.clear();
  return sections;
}

// How the first frame is scanned, as its decoder tells: containers' own marks are often missing,
// and ffprobe guesses top first for an unmarked H.264 stream in .mp4.
FieldOrder FirstFrameFieldOrder(const std::filesystem::path& path) {
  const std::vector<ProbeSection> frames = ProbeSections(
      path,
      {"-select_streams", "v:0", "-read_intervals", "%+#1", "-show_entries", "frame=interlaced_frame,top_field_first"});
  if (frames.empty()) return FieldOrder::kProgressive;
  const auto said = [&](const char* key) {
    const auto found = frames.front().find(key);
    return found != frames.front().end() && found->second == "1";
  };
  if (!said("interlaced_frame")) return FieldOrder::kProgressive;
  return said("top_field_first") ? FieldOrder::kTopFirst : FieldOrder::kBottomFirst;
}

}  // namespace

bool IsVideoPath(const std::filesystem::path& path) {
  return !CodecArguments(path).empty();
}

double FramesPerSecond(const std::string& rate) {
  const std::size_t slash = rate.find('/');
  const double count = std::atof(rate.substr(0, slash).c_str());
  const double seconds = slash == std::string::npos ? 1.0 : std::atof(rate.substr(slash + 1).c_str());
  return count > 0 && seconds > 0 ? count / seconds : std::atof(kVideoFramesPerSecond);
}

VideoFacts ProbeVideo(const std::filesystem::path& path, FrameCount count) {
  std::vector<std::string> arguments = {
      "-show_entries",
      "stream=codec_type,width,height,avg_frame_rate,r_frame_rate,nb_read_packets,sample_aspect_ratio"};
  if (count == FrameCount::kCounted) arguments.push_back("-count_packets");
  VideoFacts facts;
  bool video = false;
  for (ProbeSection& stream : ProbeSections(path, arguments)) {
    if (stream["codec_type"] == "audio") facts.sound = true;
    if (stream["codec_type"] != "video" || video) continue;  // the first video stream is the one read
    video = true;
    facts.width = std::atoi(stream["width"].c_str());
    facts.height = std::atoi(stream["height"].c_str());
    facts.frames = std::max(0, std::atoi(stream["nb_read_packets"].c_str()));
    // "0:1" and "N/A" say the pixels' aspect is not known: taken as square.
    const std::string& aspect = stream["sample_aspect_ratio"];
    const std::size_t colon = aspect.find(':');
    const double across = std::atof(aspect.substr(0, colon).c_str());
    const double down = colon == std::string::npos ? 0.0 : std::atof(aspect.substr(colon + 1).c_str());
    if (across > 0 && down > 0) facts.pixelAspect = across / down;
    // The average keeps a variable-rate video's length; "0/0" is ffprobe's word for a rate it does
    // not know.
    for (const char* key : {"avg_frame_rate", "r_frame_rate"}) {
      if (facts.rate.empty() && std::atoi(stream[key].c_str()) > 0) facts.rate = stream[key];
    }
  }
  if (!video || facts.width < 1 || facts.height < 1 || facts.width > kMaxFrameSide || facts.height > kMaxFrameSide) {
    throw Error(path.string() + " is neither a PNG or JPEG picture nor a video that ffmpeg can read");
  }
  facts.fieldOrder = FirstFrameFieldOrder(path);
  return facts;
}

VideoReader::VideoReader(const std::filesystem::path& path, const VideoFacts& facts, const DecodePlan& plan)
    : path_(path), facts_(facts) {
  const platform::PathString ffmpeg = FindTool("ffmpeg", "reading the video " + path.string());
  // Rotation metadata is not applied, so the frames keep the size ffprobe reported. A seek before
  // the input decodes from the key frame before it and drops what lies before the start.
  std::vector<std::string> arguments = {"-v", "error", "-nostdin", "-noautorotate"};
  if (plan.startSeconds > 0) arguments.insert(arguments.end(), {"-ss", SecondsText(plan.startSeconds)});
  arguments.insert(arguments.end(), {"-i", Utf8(path), "-map", "0:v:0"});
  if (!plan.rate.empty()) arguments.insert(arguments.end(), {"-vf", "fps=" + plan.rate});
  if (plan.maxFrames > 0) arguments.insert(arguments.end(), {"-frames:v", std::to_string(plan.maxFrames)});
  arguments.insert(arguments.end(), {"-f", "rawvideo", "-pix_fmt", "bgra", "-"});
  process_ = platform::OpenProcess(ffmpeg, arguments, platform::ProcessPipe::kRead);
  if (!process_) throw Error("cannot start ffmpeg for " + path.string());
}

VideoReader::~VideoReader() {
  platform::CloseProcess(process_);
}

bool VideoReader::Read(Frame& frame) {
  if (!process_) return false;
  frame = Frame(facts_.width, facts_.height);
  if (std::fread(frame.bytes.data(), 1, frame.bytes.size(), process_) == frame.bytes.size()) return true;
  const int status = platform::CloseProcess(process_);
  process_ = nullptr;
  if (status != 0)
    throw Error("ffmpeg could not decode " + path_.string() + " (exit status " + std::to_string(status) + ")");
  return false;
}

VideoWriter::VideoWriter(const std::filesystem::path& path, int width, int height, const VideoFormat& format,
                         const Soundtrack& sound)
    : path_(path), width_(width), height_(height) {
  const std::string& rate = format.rate;
  std::vector<std::string> arguments = {
      "-v", "error", "-y", "-f", "rawvideo", "-pix_fmt", "bgra", "-s", SizeText(width, height), "-r", rate, "-i", "-"};
  const std::vector<std::string> codec = CodecArguments(path);
  if (codec.empty()) throw Error(path.string() + " is not a video name (.mp4, .mov, .mkv, .gif, .webm)");
  const std::vector<std::string> soundCodec = SoundCodecArguments(path);
  if (!sound.sources.empty() && !soundCodec.empty()) {
    for (const SoundSource& source : sound.sources) {
      if (source.startSeconds > 0) arguments.insert(arguments.end(), {"-ss", SecondsText(source.startSeconds)});
      arguments.insert(arguments.end(), {"-i", Utf8(source.path)});
    }
    const double seconds = std::max(sound.frames, 1) / FramesPerSecond(rate);
    arguments.insert(arguments.end(),
                     {"-filter_complex", SoundGraph(sound, seconds), "-map", "0:v", "-map", "[sound]"});
    arguments.insert(arguments.end(), soundCodec.begin(), soundCodec.end());
  }
  arguments.insert(arguments.end(), codec.begin(), codec.end());
  const std::vector<std::string> fields = FieldArguments(codec, format.fieldOrder);
  arguments.insert(arguments.end(), fields.begin(), fields.end());
  if (format.displayWidth > 0 && format.displayHeight > 0) {
    arguments.insert(arguments.end(),
                     {"-aspect", std::to_string(format.displayWidth) + ":" + std::to_string(format.displayHeight)});
  }
  arguments.push_back(Utf8(path));
  process_ = platform::OpenProcess(FindTool("ffmpeg", "writing the video " + path.string()), arguments,
                                   platform::ProcessPipe::kWrite);
  if (!process_) throw Error("cannot start ffmpeg for " + path.string());
}

VideoWriter::~VideoWriter() {
  if (finished_) return;
  platform::CloseProcess(process_);
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
}

void VideoWriter::Write(const Frame& argb) {
  if (argb.width != width_ || argb.height != height_) {
    throw Error("a " + SizeText(argb.width, argb.height) + " frame cannot go into the " + SizeText(width_, height_) +
                " video " + path_.string());
  }
  if (std::fwrite(argb.bytes.data(), 1, argb.bytes.size(), process_) != argb.bytes.size()) {
    throw Error("ffmpeg stopped taking frames for " + path_.string());
  }
}

void VideoWriter::Finish() {
  const int status = platform::CloseProcess(process_);
  process_ = nullptr;
  if (status != 0)
    throw Error("ffmpeg could not write " + path_.string() + " (exit status " + std::to_string(status) + ")");
  finished_ = true;
}

FrameSource::FrameSource(Frame still) : current_(std::move(still)) {}

FrameSource::FrameSource(const std::filesystem::path& path, FrameCount count) : path_(path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) throw Error("no such file: " + path.string());
  if (IsImageFile(path)) {
    Still still = ReadStill(path);
    current_ = std::move(still.frame);
    stillAspect_ = still.pixelAspect;
  } else {
    videoFacts_ = ProbeVideo(path, count);
    current_ = Frame(videoFacts_->width, videoFacts_->height);
  }
}

FrameSource::~FrameSource() = default;

const Frame& FrameSource::Next() {
  if (videoFacts_ && !started_) {
    video_ = std::make_unique<VideoReader>(path_, *videoFacts_, plan_);
    if (!video_->Read(current_)) {
      throw Error(path_.string() + " has no video frames that ffmpeg can decode" +
                  (plan_.startSeconds > 0 ? " from " + SecondsText(plan_.startSeconds) + " s on" : ""));
    }
  } else if (video_) {
    Frame next;
    if (video_->Read(next)) {
      current_ = std::move(next);
    } else {
      video_.reset();
    }
  }
  started_ = true;
  return current_;
}

}  // namespace vek::host
