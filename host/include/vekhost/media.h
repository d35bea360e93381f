// Video in and out through an ffmpeg process (raw 32-bit frames in the ARGB byte order on a pipe),
// and the inputs of a rendering as sequences of frames. ffmpeg is optional: without it on PATH
// only the video paths fail, with a message that says so.
#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "vekhost/frame.h"
#include "vekhost/image_io.h"

namespace vek::host {

// The rate of a video made from pictures alone.
inline constexpr const char* kVideoFramesPerSecond = "25";

// Names ending .mp4, .mov, .mkv, .gif or .webm, in any case.
bool IsVideoPath(const std::filesystem::path& path);

// How a video's frames are scanned: whole, or as two fields of alternate rows taken at two moments,
// the top field (rows 0, 2, 4 ...) or the bottom one first.
enum class FieldOrder { kProgressive, kTopFirst, kBottomFirst };

// What ffprobe reports of a video's first video stream, and whether the file has sound.
struct VideoFacts {
  int width = 0;
  int height = 0;
  int frames = 0;      // its packets, one a frame; 0 when not counted or ffprobe could not count them
  std::string rate;    // frames a second as ffprobe gives it, e.g. "30000/1001"; empty when unknown
  bool sound = false;  // an audio stream beside it
  FieldOrder fieldOrder = FieldOrder::kProgressive;  // as shown; progressive also when not marked
  double pixelAspect = 1.0;                          // a pixel's width over its height as shown: 4/3 for 1440x1080 HDV
};

// "30000/1001" or "25" as frames a second; kVideoFramesPerSecond for a text that is neither.
double FramesPerSecond(const std::string& rate);

// Whether a probe counts the frames: ffprobe then reads the whole file, which takes a while for a
// long one.
enum class FrameCount { kCounted, kNotNeeded };

// Asks ffprobe, which decodes nothing. Throws Error when ffprobe is missing or the file has no
// video stream it can read.
VideoFacts ProbeVideo(const std::filesystem::path& path, FrameCount count = FrameCount::kCounted);

// How much of a video is decoded, and at which rate.
struct DecodePlan {
  int maxFrames = 0;          // 0: every frame
  std::string rate;           // frames a second; empty: the video's own frames
  double startSeconds = 0.0;  // where decoding starts in the video
};

// The frames of a probed video file, decoded by ffmpeg.
class VideoReader {
 public:
  // Decodes the frames the plan asks for. At a given rate, frames are repeated or dropped to keep
  // the clip's timing. Throws Error when ffmpeg is missing.
  VideoReader(const std::filesystem::path& path, const VideoFacts& facts, const DecodePlan& plan);
  ~VideoReader();
  VideoReader(const VideoReader&) = delete;
  VideoReader& operator=(const VideoReader&) = delete;

  // The next frame into `frame`; false at the end. Throws Error when ffmpeg failed.
  bool Read(Frame& frame);

 private:
  std::filesystem::path path_;
  VideoFacts facts_;
  std::FILE* process_ = nullptr;
};

// A clip's sound carried into a written video. Its gain goes from startGain to endGain over the
// video with the power (the gain squared) changing evenly, so that one clip going from 1 to 0 and
// another from 0 to 1 cross-fade at an even loudness.
struct SoundSource {
  std::filesystem::path path;
  float startGain = 1.0f;
  float endGain = 1.0f;
  double startSeconds = 0.0;  // where the sound starts in the file, as its clip's pictures do
};

// The sound of a written video of `frames` frames: its sources mixed, and cut where the video ends.
struct Soundtrack {
  int frames = 0;
  std::vector<SoundSource> sources;
};

// How a written video is shown: its rate, its scan, and the size its frames are shown at.
struct VideoFormat {
  std::string rate = kVideoFramesPerSecond;  // a number or a fraction such as "30000/1001"
  FieldOrder fieldOrder = FieldOrder::kProgressive;
  int displayWidth = 0;  // 0: square pixels
  int displayHeight = 0;
};

// A video file written by ffmpeg in the format given: H.264 in yuv420p for .mp4, .mov and .mkv, VP9
// for .webm, a palette made from the frames for .gif. Odd sizes are padded to even ones where the
// codec needs them. Its sound is AAC, Opus in .webm; a .gif takes none. Interlaced frames are coded
// as fields in H.264 and marked with their order in .mp4, .mov and .mkv; .webm and .gif have no
// field coding and keep them as frames. A display size is kept as the video's aspect.
class VideoWriter {
 public:
  // Starts ffmpeg; throws Error when it is missing or the name is no video name.
  VideoWriter(const std::filesystem::path& path, int width, int height, const VideoFormat& format,
              const Soundtrack& sound = {});
  // Without a successful Finish the file is removed: a failed rendering leaves no output.
  ~VideoWriter();
  VideoWriter(const VideoWriter&) = delete;
  VideoWriter& operator=(const VideoWriter&) = delete;

  void Write(const Frame& argb);
  // Waits for ffmpeg to finish the file; throws Error when it failed.
  void Finish();

 private:
  std::filesystem::path path_;
  int width_;
  int height_;
  std::FILE* process_ = nullptr;
  bool finished_ = false;
};

// One input of a rendering: a still picture, or a video whose last frame is held once it ends.
class FrameSource {
 public:
  explicit FrameSource(Frame still);
  // A PNG or JPEG file (told by its first bytes) is read; a video is probed, and decoded from the
  // first Next on. Throws Error for a missing or unreadable file.
  explicit FrameSource(const std::filesystem::path& path, FrameCount count = FrameCount::kCounted);
  ~FrameSource();

  int Width() const { return current_.width; }
  int Height() const { return current_.height; }
  // The facts of a video source; empty for a picture.
  const std::optional<VideoFacts>& Video() const { return videoFacts_; }
  // A pixel's width over its height where the source is shown: a video's sample aspect, a
  // picture's as its file gives it; 1 for square pixels and for a frame given as it is.
  double PixelAspectRatio() const { return videoFacts_ ? videoFacts_->pixelAspect : stillAspect_.Ratio(); }
  // Before the first Next: what of a video is decoded.
  void PlanDecoding(DecodePlan plan) { plan_ = std::move(plan); }
  // The frame for the next step of the sequence. Throws Error when a video has no frame at all.
  const Frame& Next();

 private:
  std::filesystem::path path_;
  Frame current_;  // black at the video's size until the first Next
  PixelAspect stillAspect_;
  std::optional<VideoFacts> videoFacts_;
  std::unique_ptr<VideoReader> video_;
  DecodePlan plan_;
  bool started_ = false;
};

}  // namespace vek::host
