// Video in and out through an ffmpeg process (raw 32-bit frames in the ARGB byte order on a pipe),
// and the inputs of a rendering as sequences of frames. ffmpeg is optional: without it on PATH
// only the video paths fail, with a message that says so.
#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>

#include "vekhost/frame.h"

namespace vek::host {

inline constexpr int kVideoFramesPerSecond = 25;

// Names ending .mp4, .mov, .mkv, .gif or .webm, in any case.
bool IsVideoPath(const std::filesystem::path& path);

// The frames of a video file, decoded by ffmpeg after ffprobe has given the size.
class VideoReader {
 public:
  // Decodes at most maxFrames frames. Throws Error when ffmpeg or ffprobe is missing or the file
  // has no video stream they can read.
  VideoReader(const std::filesystem::path& path, int maxFrames);
  ~VideoReader();
  VideoReader(const VideoReader&) = delete;
  VideoReader& operator=(const VideoReader&) = delete;

  int Width() const { return width_; }
  int Height() const { return height_; }
  // The next frame into `frame`; false at the end. Throws Error when ffmpeg failed.
  bool Read(Frame& frame);

 private:
  std::filesystem::path path_;
  int width_ = 0;
  int height_ = 0;
  std::FILE* process_ = nullptr;
};

// A video file written by ffmpeg at kVideoFramesPerSecond: H.264 in yuv420p for .mp4, .mov and
// .mkv, VP9 for .webm, a palette made from the frames for .gif. Odd sizes are padded to even ones
// where the codec needs them.
class VideoWriter {
 public:
  // Starts ffmpeg; throws Error when it is missing or the name is no video name.
  VideoWriter(const std::filesystem::path& path, int width, int height);
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
  // A PNG or JPEG file (told by its first bytes), otherwise a video of which at most maxFrames are
  // decoded. Throws Error for a missing or unreadable file.
  FrameSource(const std::filesystem::path& path, int maxFrames);
  ~FrameSource();

  int Width() const { return current_.width; }
  int Height() const { return current_.height; }
  // The frame for the next step of the sequence.
  const Frame& Next();

 private:
  Frame current_;
  std::unique_ptr<VideoReader> video_;
  bool started_ = false;
};

}  // namespace vek::host
