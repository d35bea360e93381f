#include "vekhost/media.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
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

}  // namespace

bool IsVideoPath(const std::filesystem::path& path) {
  return !CodecArguments(path).empty();
}

VideoFacts ProbeVideo(const std::filesystem::path& path) {
  const platform::PathString ffprobe = FindTool("ffprobe", "reading the video " + path.string());
  std::FILE* probe = platform::OpenProcess(ffprobe,
                                           {"-v", "error", "-count_packets", "-select_streams", "v:0", "-show_entries",
                                            "stream=width,height,avg_frame_rate,r_frame_rate,nb_read_packets", "-of",
                                            "default=noprint_wrappers=1", Utf8(path)},
                                           platform::ProcessPipe::kRead);
  if (!probe) throw Error("cannot start ffprobe for " + path.string());
  VideoFacts facts;
  std::string averageRate, baseRate;
  char buffer[256];
  while (std::fgets(buffer, sizeof buffer, probe)) {
    const std::string line(Trim(buffer));
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) continue;
    const std::string key = line.substr(0, equals), value = line.substr(equals + 1);
    if (key == "width") facts.width = std::atoi(value.c_str());
    if (key == "height") facts.height = std::atoi(value.c_str());
    if (key == "nb_read_packets") facts.frames = std::max(0, std::atoi(value.c_str()));
    if (key == "avg_frame_rate") averageRate = value;
    if (key == "r_frame_rate") baseRate = value;
  }
  // The average keeps a variable-rate video's length; "0/0" is ffprobe's word for a rate it does
  // not know.
  for (const std::string& rate : {averageRate, baseRate}) {
    if (facts.rate.empty() && std::atoi(rate.c_str()) > 0) facts.rate = rate;
  }
  const int status = platform::CloseProcess(probe);
  if (status != 0 || facts.width < 1 || facts.height < 1 || facts.width > kMaxFrameSide ||
      facts.height > kMaxFrameSide) {
    throw Error(path.string() + " is neither a PNG or JPEG picture nor a video that ffmpeg can read");
  }
  return facts;
}

VideoReader::VideoReader(const std::filesystem::path& path, const VideoFacts& facts, int maxFrames)
    : path_(path), facts_(facts) {
  const platform::PathString ffmpeg = FindTool("ffmpeg", "reading the video " + path.string());
  // Rotation metadata is not applied, so the frames keep the size ffprobe reported.
  std::vector<std::string> arguments = {"-v", "error", "-nostdin", "-noautorotate", "-i", Utf8(path), "-map", "0:v:0"};
  if (maxFrames > 0) arguments.insert(arguments.end(), {"-frames:v", std::to_string(maxFrames)});
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

VideoWriter::VideoWriter(const std::filesystem::path& path, int width, int height, const std::string& rate)
    : path_(path), width_(width), height_(height) {
  std::vector<std::string> arguments = {
      "-v", "error", "-y", "-f", "rawvideo", "-pix_fmt", "bgra", "-s", SizeText(width, height), "-r", rate, "-i", "-"};
  const std::vector<std::string> codec = CodecArguments(path);
  if (codec.empty()) throw Error(path.string() + " is not a video name (.mp4, .mov, .mkv, .gif, .webm)");
  arguments.insert(arguments.end(), codec.begin(), codec.end());
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

FrameSource::FrameSource(const std::filesystem::path& path) : path_(path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) throw Error("no such file: " + path.string());
  if (IsImageFile(path)) {
    current_ = ReadImage(path);
  } else {
    videoFacts_ = ProbeVideo(path);
    current_ = Frame(videoFacts_->width, videoFacts_->height);
  }
}

FrameSource::~FrameSource() = default;

const Frame& FrameSource::Next() {
  if (videoFacts_ && !started_) {
    video_ = std::make_unique<VideoReader>(path_, *videoFacts_, frameLimit_);
    if (!video_->Read(current_)) throw Error(path_.string() + " has no video frames that ffmpeg can decode");
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
