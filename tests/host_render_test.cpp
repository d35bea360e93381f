// vekhost render, demo and bench end to end: pictures written by the tool are read back and
// compared with the cross-fade computed here from the built-in pictures.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <regex>
#include <vector>

#include "platform/platform.h"
#include "plugin_fixture.h"
#include "vekhost/audio.h"
#include "vekhost/error.h"
#include "vekhost/frame.h"
#include "vekhost/image_io.h"
#include "vekhost/media.h"
#include "vekhost/pictures.h"
#include "vekhost/render.h"
#include "vekhost_run.h"

namespace {

using vek::host::Frame;
using vek::host::Picture;
using vek::test::Outcome;
using vek::test::Quoted;
using vek::test::ScratchFolder;

constexpr int kWidth = 37, kHeight = 21;

Outcome Tool(const std::string& arguments) {
  return vek::test::Vekhost(vek::test::kPlugin + arguments);
}

Frame BuiltIn(Picture picture) {
  return vek::host::BuiltInPicture(picture, kWidth, kHeight);
}

// Every byte moves floor((B - A) * w / 128) from A towards B, with w = trunc(progress * 127).
Frame Fade(const Frame& a, const Frame& b, float progress) {
  const int weight = int(progress * 127);
  Frame out = a;
  for (std::size_t i = 0; i < out.bytes.size(); ++i) {
    out.bytes[i] = uint8_t(a.bytes[i] + int(std::floor((b.bytes[i] - a.bytes[i]) * weight / 128.0)));
  }
  return out;
}

// The first effect that answers Process with VEK_E_NOTIMPL today, if one is left.
std::optional<std::string> NotImplementedEffect() {
  for (const vek::host::Effect& effect : vek::test::LoadedPlugin().Effects()) {
    if (vek::host::IsAudio(effect)) continue;
    try {
      vek::host::Renderer renderer(effect, {8, 4});
      renderer.Render(Frame(8, 4), Frame(8, 4));
    } catch (const vek::host::Error& error) {
      if (error.Status() == VEK_E_NOTIMPL) return effect.classId;
    }
  }
  return std::nullopt;
}

bool RowIs(const Frame& frame, int y, const Frame& expected) {
  return std::equal(frame.Pixel(0, y), frame.Pixel(0, y) + frame.RowBytes(), expected.Pixel(0, y));
}

bool RowIsBlack(const Frame& frame, int y) {
  return std::all_of(frame.Pixel(0, y), frame.Pixel(0, y) + frame.RowBytes(), [](uint8_t v) { return v == 0; });
}

// Mean difference of the colour bytes, for pictures that went through a lossy codec.
double MeanColourDifference(const Frame& a, const Frame& b) {
  double sum = 0;
  for (std::size_t i = 0; i < a.bytes.size(); ++i) {
    if (i % 4 != 3) sum += std::abs(int(a.bytes[i]) - int(b.bytes[i]));
  }
  return sum / double(a.bytes.size() / 4 * 3);
}

const std::string kSize = " --size " + std::to_string(kWidth) + "x" + std::to_string(kHeight) + " ";

// vekhost render with the arguments into the folder's file of that name, read back; a failed run
// fails the test and gives an empty frame.
Frame Rendered(const ScratchFolder& folder, const std::string& arguments, const std::string& name = "out.png") {
  const Outcome run = Tool("render " + arguments + " -o " + Quoted(folder / name));
  EXPECT_EQ(run.status, 0) << arguments << ": " << run.err;
  return run.status == 0 ? vek::host::ReadImage(folder / name) : Frame();
}

TEST(VekhostRender, FadeOfTheBuiltInPicturesFollowsTheFormulaInBothLayouts) {
  ScratchFolder folder("vek_render_fade");
  const Frame a = BuiltIn(Picture::kA), b = BuiltIn(Picture::kB);

  const Outcome run = Tool("render DSP_TR_Fade --progress 0.3" + kSize + "-o " + Quoted(folder / "fade.png"));
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("1 frame in "), std::string::npos) << run.out;
  const Frame out = vek::host::ReadImage(folder / "fade.png");
  ASSERT_EQ(out.width, kWidth);
  ASSERT_EQ(out.height, kHeight);
  EXPECT_EQ(out.bytes, Fade(a, b, 0.3f).bytes);

  const float defaultProgress =
      std::get<float>(vek::test::LoadedPlugin().FindEffect("DSP_TR_Fade").params[0].defaultValue);
  EXPECT_EQ(Rendered(folder, "DSP_TR_Fade --simd off --threads 3" + kSize).bytes, Fade(a, b, defaultProgress).bytes)
      << "without --progress the effect's default P1 is used";
  const Frame inLumaChroma = Fade(vek::host::ArgbToAyuv(a), vek::host::ArgbToAyuv(b), 0.7f);
  EXPECT_EQ(Rendered(folder, "DSP_TR_Fade --layout ayuv --set P1=0.7" + kSize).bytes,
            vek::host::AyuvToArgb(inLumaChroma).bytes)
      << "frames go in as V, U, Y, A and the output comes back as RGB";
}

TEST(VekhostRender, FramesSweepTheTransitionIntoNumberedFiles) {
  ScratchFolder folder("vek_render_frames");
  const Outcome run = Tool("render DSP_TR_Fade --frames 3" + kSize + "-o " + Quoted(folder / "fade_%03d.png"));
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("3 frames in "), std::string::npos) << run.out;
  EXPECT_NE(run.out.find(" fps)"), std::string::npos) << run.out;
  const Frame a = BuiltIn(Picture::kA), b = BuiltIn(Picture::kB);
  for (int k = 0; k < 3; ++k) {
    const auto path = folder / ("fade_00" + std::to_string(k) + ".png");
    ASSERT_TRUE(std::filesystem::exists(path)) << path;
    EXPECT_EQ(vek::host::ReadImage(path).bytes, Fade(a, b, float(k) / 2).bytes) << "frame " << k;
  }
  EXPECT_FALSE(std::filesystem::exists(folder / "fade_003.png"));
}

TEST(VekhostRender, FieldRenderWritesItsRowsAndLeavesTheOthersBlackAndTransparent) {
  ScratchFolder folder("vek_render_field");
  const Frame a = BuiltIn(Picture::kA), b = BuiltIn(Picture::kB);
  const Frame even = Rendered(folder, "DSP_TR_Fade --progress 0.6 --field even" + kSize), expected = Fade(a, b, 0.6f);
  for (int y = 0; y < kHeight; ++y) {
    EXPECT_TRUE(y % 2 == 0 ? RowIs(even, y, expected) : RowIsBlack(even, y)) << "row " << y;
  }

  const Frame odd = Rendered(folder, "DSP_TR_Fade --progress 0.6 --field odd --layout ayuv" + kSize);
  const Frame expectedOdd = vek::host::AyuvToArgb(Fade(vek::host::ArgbToAyuv(a), vek::host::ArgbToAyuv(b), 0.6f));
  for (int y = 0; y < kHeight; ++y) {
    EXPECT_TRUE(y % 2 == 1 ? RowIs(odd, y, expectedOdd) : RowIsBlack(odd, y)) << "row " << y;
  }
}

// An interlaced frame holds two fields rendered at their own moments: progress j/3 for the fields
// j = 0 to 3 of two frames, the top or the bottom field first.
TEST(VekhostRender, InterlacedFramesTakeEachFieldAtItsOwnProgress) {
  ScratchFolder folder("vek_render_interlace");
  const Frame a = BuiltIn(Picture::kA), b = BuiltIn(Picture::kB);
  for (const std::string order : {"top", "bottom"}) {
    const Outcome run =
        Tool("render DSP_TR_Fade --frames 2 --interlace " + order + kSize + "-o " + Quoted(folder / "i_%d.png"));
    ASSERT_EQ(run.status, 0) << run.err;
    for (int k = 0; k < 2; ++k) {
      const Frame frame = vek::host::ReadImage(folder / ("i_" + std::to_string(k) + ".png"));
      int wrongRows = 0;
      for (int y = 0; y < kHeight; ++y) {
        const int moment = 2 * k + ((y % 2 == 0) == (order == "top") ? 0 : 1);
        wrongRows += !RowIs(frame, y, Fade(a, b, float(moment) / 3.0f));
      }
      EXPECT_EQ(wrongRows, 0) << order << " field first, frame " << k;
    }
  }
}

// --display fills the record's source geometry: the centre wipe's circle is round on a display
// twice as wide as the frame, so in pixels it is half as wide as it is tall.
TEST(VekhostRender, DisplaySizeKeepsTheCentreWipeRoundWhereItIsShown) {
  ScratchFolder folder("vek_render_display");
  const std::string wipe = "DSP_TR_WipeCenter --size 128x64 --progress ";
  const Frame b = Rendered(folder, wipe + "1", "b.png");
  const auto extentOfB = [&](const std::string& display) {
    const Frame out = Rendered(folder, wipe + "0.3" + display);
    const auto isB = [&](int x, int y) { return std::equal(out.Pixel(x, y), out.Pixel(x, y) + 4, b.Pixel(x, y)); };
    std::pair<int, int> acrossAndDown{0, 0};
    for (int x = 0; x < out.width; ++x) acrossAndDown.first += isB(x, out.height / 2);
    for (int y = 0; y < out.height; ++y) acrossAndDown.second += isB(out.width / 2, y);
    return acrossAndDown;
  };
  const auto [across, down] = extentOfB("");
  EXPECT_GT(across, 10);
  EXPECT_NEAR(across, down, 1);
  const auto [wideAcross, wideDown] = extentOfB(" --display 256x64");
  EXPECT_LT(wideDown, 64) << "the circle is cut by the frame";
  EXPECT_NEAR(2 * wideAcross, wideDown, 3);

  // A picture written so is marked with its pixels' shape, and gives it to a rendering made from it.
  const vek::host::PixelAspect wide = vek::host::ReadStill(folder / "out.png").pixelAspect;
  EXPECT_EQ((std::pair{wide.width, wide.height}), (std::pair{2u, 1u}));
  Rendered(folder, wipe + "0 --display 256x64", "wide_a.png");
  Rendered(folder, wipe + "1 --display 256x64", "wide_b.png");
  const std::string fromPictures =
      "DSP_TR_WipeCenter --progress 0.3 -a " + Quoted(folder / "wide_a.png") + " -b " + Quoted(folder / "wide_b.png");
  const Frame own = Rendered(folder, fromPictures, "own.png");
  EXPECT_EQ(own.bytes, Rendered(folder, fromPictures + " --display 256x64").bytes);
  EXPECT_NE(own.bytes, Rendered(folder, fromPictures + " --display 128x64").bytes);
  const vek::host::PixelAspect kept = vek::host::ReadStill(folder / "own.png").pixelAspect;
  EXPECT_EQ((std::pair{kept.width, kept.height}), (std::pair{2u, 1u}));
}

TEST(VekhostRender, SignedOffsetChoosesTheFlipsOffsetModeAndAmount) {
  ScratchFolder folder("vek_render_offset");
  const Frame a = BuiltIn(Picture::kA), b = BuiltIn(Picture::kB);
  const vek::host::Effect& flip = vek::test::LoadedPlugin().FindEffect("DSP_TR_3DFlip");
  auto inProcess = [&](int32_t mode, float amount) {
    vek::host::RenderSetup setup{kWidth, kHeight};
    setup.offsetMode = mode;
    setup.offsetAmount = amount;
    vek::host::Renderer renderer(flip, setup);
    renderer.SetProgress(0.5f);
    return renderer.Render(a, b).bytes;
  };
  for (auto [offset, mode] : {std::pair{"-1.5", 1}, {"1.5", 2}}) {
    const auto shifted =
        Rendered(folder, std::string("DSP_TR_3DFlip --progress 0.5 --threads 1 --offset ") + offset + kSize).bytes;
    EXPECT_EQ(shifted, inProcess(mode, 1.5f)) << "--offset " << offset;
    EXPECT_NE(shifted, inProcess(0, 0.0f)) << "--offset " << offset << " moves the card";
  }
}

TEST(VekhostRender, AlphaAwareFlagKeepsTheMosaicsAlpha) {
  ScratchFolder folder("vek_render_alpha");
  vek::host::RenderSetup setup{kWidth, kHeight};
  setup.alphaAware = true;
  vek::host::Renderer renderer(vek::test::LoadedPlugin().FindEffect("DSP_VI_Mosaic"), setup);
  const Frame expected = renderer.Render(BuiltIn(Picture::kA), Frame(kWidth, kHeight));
  EXPECT_EQ(Rendered(folder, "DSP_VI_Mosaic --alpha-aware" + kSize).bytes, expected.bytes);
  EXPECT_NE(expected.Pixel(kWidth / 2, kHeight / 2)[3], 0) << "the blocks keep the picture's alpha";
}

TEST(VekhostRender, FileInputsOfAnotherSizeAreRefusedUnlessResized) {
  ScratchFolder folder("vek_render_files");
  const Frame a = vek::host::BuiltInPicture(Picture::kA, 40, 30), b = vek::host::BuiltInPicture(Picture::kB, 20, 10);
  vek::host::WritePng(a, folder / "a.png");
  vek::host::WritePng(b, folder / "b.png");
  const std::string inputs = " -a " + Quoted(folder / "a.png") + " -b " + Quoted(folder / "b.png");

  const Outcome run = Tool("render DSP_TR_Fade" + inputs + " -o " + Quoted(folder / "out.png"));
  EXPECT_NE(run.status, 0);
  EXPECT_NE(run.err.find("20x10"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("--resize"), std::string::npos) << run.err;
  EXPECT_FALSE(std::filesystem::exists(folder / "out.png"));

  const Frame out = Rendered(folder, "DSP_TR_Fade --progress 0.4 --resize" + inputs);
  EXPECT_EQ(out.width, 40) << "the first input gives the size";
  EXPECT_EQ(out.bytes, Fade(a, vek::host::Resized(b, 40, 30), 0.4f).bytes);
}

bool FfmpegInstalled() {
  return !vek::platform::FindProgram("ffmpeg").empty() && !vek::platform::FindProgram("ffprobe").empty();
}

// A video that ffmpeg makes from the input arguments, e.g. its own test sources; the exit status.
int MakeVideo(const std::string& inputs, const std::filesystem::path& path) {
  return std::system(("ffmpeg -v error -y " + inputs + " -pix_fmt yuv444p " + Quoted(path)).c_str());
}

// A video's sound, mixed to one channel of 16-bit samples by ffmpeg; empty when it has none.
std::vector<int16_t> SoundOf(const std::filesystem::path& video) {
  const std::filesystem::path wav = video.string() + ".wav";
  const std::string command = "ffmpeg -v quiet -y -i " + Quoted(video) + " -vn -ac 1 -c:a pcm_s16le " + Quoted(wav);
  if (std::system(command.c_str()) != 0) return {};
  const vek::host::Audio audio = vek::host::ReadWav(wav);
  std::vector<int16_t> samples(audio.samples.size() / 2);
  std::memcpy(samples.data(), audio.samples.data(), samples.size() * 2);
  return samples;
}

// The root mean square of the fifth of the samples numbered `fifth` (0 to 4).
double LoudnessOfFifth(const std::vector<int16_t>& samples, int fifth) {
  const std::size_t from = samples.size() * fifth / 5, to = samples.size() * (fifth + 1) / 5;
  double sum = 0;
  for (std::size_t i = from; i < to; ++i) sum += double(samples[i]) * samples[i];
  return to > from ? std::sqrt(sum / double(to - from)) : 0.0;
}

TEST(VekhostRender, VideoWrittenThroughFfmpegReadsBackAsInput) {
  if (!FfmpegInstalled()) GTEST_SKIP() << "ffmpeg is not on PATH";
  ScratchFolder folder("vek_render_video");
  constexpr int kVideoWidth = 64, kVideoHeight = 36;
  Outcome run = Tool("render DSP_TR_Fade --frames 3 --size 64x36 -o " + Quoted(folder / "fade.mp4"));
  ASSERT_EQ(run.status, 0) << run.err;
  ASSERT_TRUE(std::filesystem::exists(folder / "fade.mp4"));

  // A cut sweeping five frames over three-frame videos: A's frames 0 and 1, then B's frame 2, held.
  const std::string video = Quoted(folder / "fade.mp4");
  run = Tool("render DSP_TR_NoEffect --frames 5 -a " + video + " -b " + video + " -o " + Quoted(folder / "cut_%d.png"));
  ASSERT_EQ(run.status, 0) << run.err;
  Frame frames[5];
  for (int k = 0; k < 5; ++k) frames[k] = vek::host::ReadImage(folder / ("cut_" + std::to_string(k) + ".png"));
  EXPECT_EQ(frames[0].width, kVideoWidth);
  EXPECT_EQ(frames[0].height, kVideoHeight);
  EXPECT_NE(frames[0].bytes, frames[1].bytes);
  EXPECT_EQ(frames[2].bytes, frames[3].bytes) << "a video that has ended holds its last frame";
  EXPECT_EQ(frames[3].bytes, frames[4].bytes);

  const Frame a = vek::host::BuiltInPicture(Picture::kA, kVideoWidth, kVideoHeight);
  const Frame b = vek::host::BuiltInPicture(Picture::kB, kVideoWidth, kVideoHeight);
  Frame swapped = a;
  for (std::size_t i = 0; i < swapped.bytes.size(); i += 4) std::swap(swapped.bytes[i], swapped.bytes[i + 2]);
  const double lossy = MeanColourDifference(frames[0], a);
  EXPECT_LT(lossy, 12.0) << "frame 0 of the video is picture A through a lossy codec";
  EXPECT_GT(MeanColourDifference(frames[0], swapped), 4 * lossy) << "the check tells red from blue";
  EXPECT_LT(MeanColourDifference(frames[4], Fade(a, b, 1.0f)), 14.0) << "the last frame is the end of the fade";
}

// Without --frames a rendering takes as many frames as its shortest video input, at the rate of
// its first one.
TEST(VekhostRender, VideoInputsGiveTheFrameCountAndTheRate) {
  if (!FfmpegInstalled()) GTEST_SKIP() << "ffmpeg is not on PATH";
  ScratchFolder folder("vek_render_video_length");
  const std::string five = Quoted(folder / "five.mp4"), four = Quoted(folder / "four.mkv");
  ASSERT_EQ(MakeVideo("-f lavfi -i testsrc=size=48x32:rate=30000/1001 -frames:v 5", folder / "five.mp4"), 0);
  ASSERT_EQ(MakeVideo("-f lavfi -i color=c=red:size=48x32:rate=25 -frames:v 4", folder / "four.mkv"), 0);

  Outcome run = Tool("render DSP_VI_FlipCanvas -a " + five + " -o " + Quoted(folder / "flipped.webm"));
  ASSERT_EQ(run.status, 0) << run.err;
  const vek::host::VideoFacts flipped = vek::host::ProbeVideo(folder / "flipped.webm");
  EXPECT_EQ(flipped.frames, 5);
  EXPECT_EQ(flipped.rate, "30000/1001");

  run = Tool("render DSP_TR_NoEffect -a " + five + " -b " + four + " -o " + Quoted(folder / "cut_%d.png"));
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(std::filesystem::exists(folder / "cut_3.png"));
  EXPECT_FALSE(std::filesystem::exists(folder / "cut_4.png")) << "the shorter clip sets the length";
  const Frame red(48, 32, {0, 0, 255, 255});
  const double atEnd = MeanColourDifference(vek::host::ReadImage(folder / "cut_3.png"), red);
  EXPECT_LT(atEnd, 14.0) << "the transition reaches B on the last frame";
  EXPECT_GT(MeanColourDifference(vek::host::ReadImage(folder / "cut_0.png"), red), 4 * atEnd) << "and starts on A";

  // At ten frames a second, B's four frames last 0.4 s: longer than A's five, each shown three times.
  ASSERT_EQ(MakeVideo("-f lavfi -i testsrc=size=48x32:rate=10 -frames:v 4", folder / "ten.mkv"), 0);
  run = Tool("render DSP_TR_Wipe --progress 1 -a " + five + " -b " + Quoted(folder / "ten.mkv") + " -o " +
             Quoted(folder / "retimed_%d.png"));
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(std::filesystem::exists(folder / "retimed_4.png"));
  EXPECT_FALSE(std::filesystem::exists(folder / "retimed_5.png"));
  const auto retimed = [&](int k) {
    return vek::host::ReadImage(folder / ("retimed_" + std::to_string(k) + ".png")).bytes;
  };
  EXPECT_EQ(retimed(0), retimed(2)) << "B's first frame lasts a tenth of a second";
  EXPECT_NE(retimed(2), retimed(3));

  run = Tool("render DSP_TR_Fade -a " + five + " -o " + Quoted(folder / "one.png"));
  EXPECT_NE(run.status, 0);
  EXPECT_NE(run.err.find("5 frames"), std::string::npos) << run.err;
  EXPECT_FALSE(std::filesystem::exists(folder / "one.png"));
}

// A one-input effect keeps its clip's sound; a transition fades A's out as it goes to B.
TEST(VekhostRender, ClipSoundIsKeptAndCrossFaded) {
  if (!FfmpegInstalled()) GTEST_SKIP() << "ffmpeg is not on PATH";
  ScratchFolder folder("vek_render_sound");
  ASSERT_EQ(MakeVideo("-f lavfi -i testsrc=size=48x32:rate=25 -f lavfi -i sine=frequency=440:sample_rate=48000 "
                      "-t 0.8 -c:a pcm_s16le",
                      folder / "tone.mkv"),
            0);
  ASSERT_EQ(MakeVideo("-f lavfi -i color=c=red:size=48x32:rate=25 -t 0.8", folder / "silent.mkv"), 0);
  const std::vector<int16_t> tone = SoundOf(folder / "tone.mkv");
  ASSERT_FALSE(tone.empty());

  Outcome run =
      Tool("render DSP_VI_FlipCanvas -a " + Quoted(folder / "tone.mkv") + " -o " + Quoted(folder / "flip.mp4"));
  ASSERT_EQ(run.status, 0) << run.err;
  const std::vector<int16_t> kept = SoundOf(folder / "flip.mp4");
  ASSERT_FALSE(kept.empty()) << "the flipped clip has no sound";
  for (int fifth = 1; fifth < 4; ++fifth) {
    EXPECT_NEAR(LoudnessOfFifth(kept, fifth), LoudnessOfFifth(tone, fifth), 0.1 * LoudnessOfFifth(tone, fifth));
  }

  run = Tool("render DSP_TR_Fade -a " + Quoted(folder / "tone.mkv") + " -b " + Quoted(folder / "silent.mkv") + " -o " +
             Quoted(folder / "fade.mkv"));
  ASSERT_EQ(run.status, 0) << run.err;
  const std::vector<int16_t> faded = SoundOf(folder / "fade.mkv");
  ASSERT_FALSE(faded.empty()) << "A's sound is not in the transition";
  EXPECT_GT(LoudnessOfFifth(faded, 0), 0.8 * LoudnessOfFifth(tone, 0));
  EXPECT_LT(LoudnessOfFifth(faded, 4), 0.6 * LoudnessOfFifth(tone, 4)) << "A's sound does not fade out";
}

// --a-start and --b-start take each clip from that time on: its pictures, its sound and its length.
TEST(VekhostRender, StartTimesPickWhereEachClipIsTaken) {
  if (!FfmpegInstalled()) GTEST_SKIP() << "ffmpeg is not on PATH";
  ScratchFolder folder("vek_render_start");
  // One second at ten frames a second: red and silent, then blue with a tone, from 0.5 s on.
  ASSERT_EQ(
      MakeVideo("-f lavfi -i \"color=c=red:size=48x32:rate=10:d=0.5[r];color=c=blue:size=48x32:rate=10:d=0.5[b];"
                "[r][b]concat=n=2:v=1:a=0\" -f lavfi -i \"aevalsrc='if(lt(t,0.5),0,0.5*sin(2*PI*440*t))':s=48000:d=1\" "
                "-c:a pcm_s16le",
                folder / "halves.mkv"),
      0);
  const std::string clip = Quoted(folder / "halves.mkv");
  const Frame red(48, 32, {0, 0, 255, 255}), blue(48, 32, {255, 0, 0, 255});
  const auto isBlue = [&](const std::string& name) {
    const Frame frame = vek::host::ReadImage(folder / name);
    return MeanColourDifference(frame, blue) < 14.0 && MeanColourDifference(frame, red) > 100.0;
  };

  Outcome run = Tool("render DSP_VI_FlipCanvas -a " + clip + " --a-start 0.5 -o " + Quoted(folder / "late_%d.png"));
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(isBlue("late_0.png")) << "the clip is taken from its second half";
  EXPECT_TRUE(std::filesystem::exists(folder / "late_4.png"));
  EXPECT_FALSE(std::filesystem::exists(folder / "late_5.png")) << "half a second is left after the start";

  run = Tool("render DSP_TR_Wipe --progress 1 -a " + clip + " -b " + clip + " --b-start 0.5 -o " +
             Quoted(folder / "b_late_%d.png"));
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(isBlue("b_late_0.png")) << "B starts where --b-start says";
  EXPECT_FALSE(std::filesystem::exists(folder / "b_late_5.png"));

  run = Tool("render DSP_TR_NoEffect -a " + clip + " --a-start 0.5 -b " + clip + " -o " + Quoted(folder / "cut.mkv"));
  ASSERT_EQ(run.status, 0) << run.err;
  const std::vector<int16_t> sound = SoundOf(folder / "cut.mkv");
  ASSERT_FALSE(sound.empty());
  EXPECT_GT(LoudnessOfFifth(sound, 0), 0.5 * 0.5 * 32767 / std::sqrt(2.0)) << "A's sound starts with its pictures";

  for (const std::string& arguments :
       {"DSP_TR_Fade -a " + clip + " --a-start 1", std::string("DSP_TR_Fade --a-start 0.2")}) {
    run = Tool("render " + arguments + " -o " + Quoted(folder / "refused.png"));
    EXPECT_NE(run.status, 0) << arguments;
    EXPECT_NE(run.err.find("--a-start"), std::string::npos) << run.err;
  }
  EXPECT_FALSE(std::filesystem::exists(folder / "refused.png"));
}

// An interlaced clip is rendered in its own field order unless --interlace says otherwise, and the
// video written is coded and marked that way.
TEST(VekhostRender, InterlacedClipsKeepTheirFieldOrder) {
  if (!FfmpegInstalled()) GTEST_SKIP() << "ffmpeg is not on PATH";
  using vek::host::FieldOrder;
  ScratchFolder folder("vek_render_field_order");
  ASSERT_EQ(MakeVideo("-f lavfi -i testsrc=size=48x32:rate=25 -frames:v 3 -c:v libx264 -flags +ilme+ildct -top 0",
                      folder / "bottom.mp4"),
            0);
  const std::string clip = Quoted(folder / "bottom.mp4");
  const auto orderOf = [&](const std::string& arguments, const std::string& name) {
    const Outcome run = Tool("render " + arguments + " -o " + Quoted(folder / name));
    EXPECT_EQ(run.status, 0) << arguments << ": " << run.err;
    return run.status == 0 ? vek::host::ProbeVideo(folder / name).fieldOrder : FieldOrder::kProgressive;
  };
  EXPECT_EQ(vek::host::ProbeVideo(folder / "bottom.mp4").fieldOrder, FieldOrder::kBottomFirst);
  EXPECT_EQ(orderOf("DSP_VI_FlipCanvas -a " + clip, "kept.mp4"), FieldOrder::kBottomFirst);
  EXPECT_EQ(orderOf("DSP_VI_FlipCanvas -a " + clip + " --interlace none", "whole.mp4"), FieldOrder::kProgressive);
  EXPECT_EQ(orderOf("DSP_TR_Fade --frames 2 --interlace top", "top.mkv"), FieldOrder::kTopFirst);

  // Resampled field by field, a clip of white even rows and black odd ones keeps them apart.
  ASSERT_EQ(MakeVideo("-f lavfi -i \"color=size=48x32,format=rgb24,geq=r='if(mod(Y,2),0,255)':g='if(mod(Y,2),0,255)':"
                      "b='if(mod(Y,2),0,255)'\" -frames:v 1 -c:v libx264 -flags +ilme+ildct -top 0",
                      folder / "striped.mp4"),
            0);
  const Frame resized =
      Rendered(folder, "DSP_TR_NoEffect --progress 0 --size 40x20 --resize -a " + Quoted(folder / "striped.mp4"));
  ASSERT_EQ(resized.height, 20);
  for (int y = 0; y < resized.height; ++y) {
    int sum = 0;
    for (int x = 0; x < resized.width; ++x) sum += resized.Pixel(x, y)[1];
    EXPECT_EQ(sum / resized.width > 128, y % 2 == 0) << "row " << y << " mixes the fields: " << sum / resized.width;
  }
}

// A clip whose pixels are not square is rendered for the size it is shown at, and the video
// written keeps that shape.
TEST(VekhostRender, ClipsOfWidePixelsKeepTheirShape) {
  if (!FfmpegInstalled()) GTEST_SKIP() << "ffmpeg is not on PATH";
  ScratchFolder folder("vek_render_pixel_aspect");
  ASSERT_EQ(MakeVideo("-f lavfi -i testsrc=size=72x48:rate=25 -vf setsar=4/3 -frames:v 1", folder / "wide.mkv"), 0);
  const std::string clip = " -a " + Quoted(folder / "wide.mkv");
  EXPECT_NEAR(vek::host::ProbeVideo(folder / "wide.mkv").pixelAspect, 4.0 / 3.0, 1e-9);

  const auto render = [&](const std::string& arguments, const std::string& name) {
    const Outcome run =
        Tool("render DSP_TR_WipeCenter --progress 0.3" + clip + arguments + " -o " + Quoted(folder / name));
    EXPECT_EQ(run.status, 0) << arguments << ": " << run.err;
    return folder / name;
  };
  const auto bytes = [](const std::filesystem::path& png) { return vek::host::ReadImage(png).bytes; };
  const std::vector<uint8_t> own = bytes(render("", "own.png"));
  EXPECT_EQ(own, bytes(render(" --display 96x48", "told.png"))) << "a 72x48 clip of 4:3 pixels is shown at 96x48";
  EXPECT_NE(own, bytes(render(" --display 72x48", "square.png")));

  EXPECT_NEAR(vek::host::ProbeVideo(render("", "kept.mkv")).pixelAspect, 4.0 / 3.0, 1e-9);
  EXPECT_NEAR(vek::host::ProbeVideo(render(" --size 96x48 --resize", "square.mp4")).pixelAspect, 1.0, 1e-9);
}

#if !defined(_WIN32)
TEST(VekhostRender, VideoWithoutFfmpegFailsWithAMessageAndNoFile) {
  ScratchFolder folder("vek_render_no_ffmpeg");
  const Outcome run = vek::test::Vekhost(
      vek::test::kPlugin + "render DSP_TR_Fade --frames 2 --size 16x8 -o " + Quoted(folder / "out.mp4"),
      "PATH=" + Quoted(folder.Path()) + " ");
  EXPECT_NE(run.status, 0);
  EXPECT_NE(run.err.find("needs ffmpeg"), std::string::npos) << run.err;
  EXPECT_FALSE(std::filesystem::exists(folder / "out.mp4"));
}
#endif

TEST(VekhostRender, FailuresExitNonZeroWithAMessageAndWriteNothing) {
  ScratchFolder folder("vek_render_errors");
  const std::string out = " -o " + Quoted(folder / "out_%02d.png");
  const auto expectFailure = [&](const std::string& arguments, const std::string& message) {
    const Outcome run = Tool("render " + arguments + out);
    EXPECT_NE(run.status, 0) << arguments;
    EXPECT_NE(run.err.find(message), std::string::npos) << arguments << ": " << run.err;
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path())) << arguments << " left a file";
  };
  expectFailure("DSP_TR_Fade -a " + Quoted(folder / "missing.png"), "missing.png");
  expectFailure("DSP_TR_Fdae", "DSP_TR_Fade");
  expectFailure("DSP_TR_Wipe --set P2=Sideways", "Sideways");
  expectFailure("DSP_TR_Fade --set Speed=2", "valid keys");
  expectFailure("DSP_TR_Fade --progress 1.5", "1.5");
  expectFailure("DSP_TR_Fade --frames 2 --progress 0.5", "--progress");
  expectFailure("DSP_AU_VolumeAdj", "audio");
  expectFailure("DSP_TR_Fade --size 10", "WIDTHxHEIGHT");
  const Outcome unnumbered = Tool("render DSP_TR_Fade --frames 2 -o " + Quoted(folder / "out.png"));
  EXPECT_NE(unnumbered.status, 0);
  EXPECT_NE(unnumbered.err.find("%03d"), std::string::npos) << unnumbered.err;

  const std::optional<std::string> missing = NotImplementedEffect();
  if (!missing) GTEST_SKIP() << "every effect renders";
  expectFailure(*missing + " --frames 3", *missing + " is not implemented yet");
}

TEST(VekhostDemo, ContactSheetCountsWhatRendersAndWhatDoesNot) {
  ScratchFolder folder("vek_demo");
  const Outcome run = Tool("demo --size 32x18 -o " + Quoted(folder / "sheet.png"));
  ASSERT_EQ(run.status, 0) << run.err;
  int rendered = 0, notImplemented = 0, audio = 0;
  for (const vek::host::Effect& effect : vek::test::LoadedPlugin().Effects()) {
    if (vek::host::IsAudio(effect)) {
      ++audio;
      continue;
    }
    try {
      vek::host::Renderer(effect, {32, 18})
          .Render(vek::host::BuiltInPicture(Picture::kA, 32, 18), vek::host::BuiltInPicture(Picture::kB, 32, 18));
    } catch (const vek::host::Error& error) {
      notImplemented += error.Status() == VEK_E_NOTIMPL;
      if (error.Status() != VEK_E_NOTIMPL) ADD_FAILURE() << effect.classId << ": " << error.what();
      continue;
    }
    ++rendered;
  }
  const std::string summary = std::to_string(vek::test::LoadedPlugin().Effects().size()) +
                              " effects: " + std::to_string(rendered) + " rendered, " + std::to_string(notImplemented) +
                              " not implemented, " + std::to_string(audio) + " audio";
  EXPECT_NE(run.out.find(summary), std::string::npos) << run.out << "expected: " << summary;
  const Frame sheet = vek::host::ReadImage(folder / "sheet.png");
  EXPECT_GT(sheet.width, 12 * 32);
  EXPECT_GT(sheet.height, 93 / 12 * 18);
}

TEST(VekhostBench, ReportsProcessAgainstBothBaselines) {
  const Outcome run = Tool("bench DSP_TR_Fade --size 32x18 --threads 1");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(std::regex_search(run.out, std::regex(R"(Process +[0-9.]+ us +[0-9.]+ x memcpy +[0-9.]+ x read)")))
      << run.out;
  EXPECT_NE(run.out.find("read two, write one"), std::string::npos) << run.out;

  const std::optional<std::string> missing = NotImplementedEffect();
  if (!missing) GTEST_SKIP() << "every effect renders";
  const Outcome refused = Tool("bench " + *missing + " --size 32x18");
  EXPECT_NE(refused.status, 0);
  EXPECT_NE(refused.err.find("not implemented yet"), std::string::npos) << refused.err;
}

}  // namespace
