// The host library's pictures: PNG and JPEG files written here with libpng and libjpeg and read
// back through ReadImage, the luma/chroma conversion of frames, resampling and the built-in pictures.
#include <gtest/gtest.h>

#include <jpeglib.h>
#include <png.h>
#include <cstdio>

#include <algorithm>
#include <array>
#include <random>
#include <set>
#include <vector>

#include "scratch_files.h"
#include "vek_dsp/colour.h"
#include "vekhost/error.h"
#include "vekhost/frame.h"
#include "vekhost/image_io.h"
#include "vekhost/pictures.h"

namespace {

using vek::host::Frame;
using vek::test::ScratchFolder;

Frame RandomFrame(int width, int height, uint32_t seed) {
  Frame frame(width, height);
  std::mt19937 generator(seed);
  for (uint8_t& byte : frame.bytes) byte = uint8_t(generator());
  return frame;
}

// A PNG file as an encoder other than ours writes it: rows of samples in the file's own format.
struct RawPng {
  int width, height, bitDepth, colourType;
  std::vector<std::vector<uint8_t>> rows;
  std::vector<png_color> palette = {};
  std::vector<uint8_t> paletteAlpha = {};
  bool interlaced = false;
  std::array<png_uint_32, 2> pixelsAcrossAndDown = {0, 0};  // a pHYs chunk in metres when set

  void Write(const std::filesystem::path& path) {
    std::FILE* file = std::fopen(path.string().c_str(), "wb");
    ASSERT_NE(file, nullptr);
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_IHDR(png, info, width, height, bitDepth, colourType, interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (!palette.empty()) png_set_PLTE(png, info, palette.data(), int(palette.size()));
    if (!paletteAlpha.empty()) png_set_tRNS(png, info, paletteAlpha.data(), int(paletteAlpha.size()), nullptr);
    if (pixelsAcrossAndDown[0] != 0) {
      png_set_pHYs(png, info, pixelsAcrossAndDown[0], pixelsAcrossAndDown[1], PNG_RESOLUTION_METER);
    }
    png_write_info(png, info);
    std::vector<png_bytep> pointers;
    for (auto& row : rows) pointers.push_back(row.data());
    png_write_image(png, pointers.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
  }
};

void ExpectPixel(const Frame& frame, int x, int y, int r, int g, int b, int a) {
  const uint8_t* p = frame.Pixel(x, y);
  EXPECT_EQ((std::vector<int>{p[2], p[1], p[0], p[3]}), (std::vector<int>{r, g, b, a})) << "pixel " << x << "," << y;
}

TEST(PngFiles, WrittenFramesReadBackExactly) {
  ScratchFolder folder("vek_png");
  for (auto [width, height] : {std::pair{1, 1}, std::pair{7, 5}, std::pair{64, 3}}) {
    const Frame frame = RandomFrame(width, height, uint32_t(width * 31 + height));
    vek::host::WritePng(frame, folder / "frame.png");
    const Frame back = vek::host::ReadImage(folder / "frame.png");
    EXPECT_EQ(back.width, width);
    EXPECT_EQ(back.height, height);
    EXPECT_EQ(back.bytes, frame.bytes) << width << "x" << height;
  }
}

TEST(PngFiles, EveryColourTypeAndDepthBecomesEightBitArgb) {
  ScratchFolder folder("vek_png_types");
  const auto path = folder / "in.png";

  // 16-bit grey with alpha: samples are scaled to 8 bits, grey fills red, green and blue.
  RawPng grey16{
      3, 1, 16, PNG_COLOR_TYPE_GRAY_ALPHA, {{0x00, 0x00, 0xFF, 0xFF, 0x80, 0x80, 0x40, 0x00, 0xFF, 0xFF, 0x00, 0x00}}};
  grey16.Write(path);
  Frame frame = vek::host::ReadImage(path);
  ASSERT_EQ(frame.width, 3);
  ExpectPixel(frame, 0, 0, 0, 0, 0, 255);
  ExpectPixel(frame, 1, 0, 128, 128, 128, 64);
  ExpectPixel(frame, 2, 0, 255, 255, 255, 0);

  // A palette with transparency entries; the pixels past those entries are opaque.
  RawPng indexed{4, 1, 8, PNG_COLOR_TYPE_PALETTE, {{0, 1, 2, 3}}};
  indexed.palette = {{10, 20, 30}, {200, 100, 50}, {0, 255, 0}, {1, 2, 3}};
  indexed.paletteAlpha = {0, 128};
  indexed.Write(path);
  frame = vek::host::ReadImage(path);
  ExpectPixel(frame, 0, 0, 10, 20, 30, 0);
  ExpectPixel(frame, 1, 0, 200, 100, 50, 128);
  ExpectPixel(frame, 2, 0, 0, 255, 0, 255);
  ExpectPixel(frame, 3, 0, 1, 2, 3, 255);

  // 1-bit grey, two rows, interlaced.
  RawPng bits{9, 2, 1, PNG_COLOR_TYPE_GRAY, {{0b10100000, 0b10000000}, {0b01010000, 0b00000000}}};
  bits.interlaced = true;
  bits.Write(path);
  frame = vek::host::ReadImage(path);
  ASSERT_EQ(frame.height, 2);
  for (int x = 0; x < 9; ++x) {
    const int top = x == 0 || x == 2 || x == 8 ? 255 : 0, bottom = x == 1 || x == 3 ? 255 : 0;
    ExpectPixel(frame, x, 0, top, top, top, 255);
    ExpectPixel(frame, x, 1, bottom, bottom, bottom, 255);
  }

  // 8-bit RGB without alpha: red stays red (the byte order of the frame is B, G, R, A).
  RawPng rgb{2, 1, 8, PNG_COLOR_TYPE_RGB, {{255, 0, 0, 1, 2, 3}}};
  rgb.Write(path);
  frame = vek::host::ReadImage(path);
  ExpectPixel(frame, 0, 0, 255, 0, 0, 255);
  ExpectPixel(frame, 1, 0, 1, 2, 3, 255);
}

// `density`: the JFIF unit and the pixels a unit across and down.
void WriteJpeg(const std::filesystem::path& path, int width, int height, int components,
               const std::vector<uint8_t>& samples, std::array<int, 3> density = {0, 1, 1}) {
  std::FILE* file = std::fopen(path.string().c_str(), "wb");
  ASSERT_NE(file, nullptr);
  jpeg_compress_struct info;
  jpeg_error_mgr errors;
  info.err = jpeg_std_error(&errors);
  jpeg_create_compress(&info);
  jpeg_stdio_dest(&info, file);
  info.image_width = JDIMENSION(width);
  info.image_height = JDIMENSION(height);
  info.input_components = components;
  info.in_color_space = components == 3 ? JCS_RGB : JCS_GRAYSCALE;
  jpeg_set_defaults(&info);
  jpeg_set_quality(&info, 100, TRUE);
  info.comp_info[0].h_samp_factor = info.comp_info[0].v_samp_factor = 1;  // no chroma subsampling
  info.density_unit = UINT8(density[0]);
  info.X_density = UINT16(density[1]);
  info.Y_density = UINT16(density[2]);
  jpeg_start_compress(&info, TRUE);
  while (info.next_scanline < info.image_height) {
    JSAMPROW row = const_cast<JSAMPROW>(samples.data() + std::size_t(info.next_scanline) * width * components);
    jpeg_write_scanlines(&info, &row, 1);
  }
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
  std::fclose(file);
}

// Flat 8x8 blocks of colour survive JPEG almost unchanged, so each pixel can be checked.
TEST(JpegFiles, ReadAsOpaqueArgbInTheRightChannels) {
  ScratchFolder folder("vek_jpeg");
  constexpr int kWidth = 24, kHeight = 16;
  const uint8_t colours[][3] = {{230, 30, 20}, {20, 200, 40}, {30, 40, 220}, {250, 250, 250}, {5, 5, 5}, {128, 64, 32}};
  std::vector<uint8_t> rgb;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const uint8_t* colour = colours[(y / 8) * 3 + x / 8];
      rgb.insert(rgb.end(), colour, colour + 3);
    }
  }
  WriteJpeg(folder / "blocks.jpg", kWidth, kHeight, 3, rgb);
  const Frame frame = vek::host::ReadImage(folder / "blocks.jpg");
  ASSERT_EQ(frame.width, kWidth);
  ASSERT_EQ(frame.height, kHeight);
  int worst = 0;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const uint8_t* p = frame.Pixel(x, y);
      const uint8_t* source = rgb.data() + (std::size_t(y) * kWidth + x) * 3;
      for (int c = 0; c < 3; ++c) worst = std::max(worst, std::abs(int(p[2 - c]) - int(source[c])));
      ASSERT_EQ(p[3], 255);
    }
  }
  EXPECT_LE(worst, 6) << "a channel swap or a shifted row would be off by far more";

  std::vector<uint8_t> grey(std::size_t(kWidth) * kHeight);
  for (std::size_t i = 0; i < grey.size(); ++i) grey[i] = i % kWidth < 8 ? 40 : 200;
  WriteJpeg(folder / "grey.jpg", kWidth, kHeight, 1, grey);
  const Frame greyFrame = vek::host::ReadImage(folder / "grey.jpg");
  for (int x : {0, 3, 12, 20}) {
    const uint8_t* p = greyFrame.Pixel(x, 5);
    EXPECT_NEAR(p[0], x < 8 ? 40 : 200, 3);
    EXPECT_EQ(p[0], p[1]);
    EXPECT_EQ(p[1], p[2]);
    EXPECT_EQ(p[3], 255);
  }
}

// A pixel's shape: written as a PNG's pHYs chunk, and read from another writer's PNG (in metres) and
// from a JPEG's JFIF density, with or without a unit. A shape past 16:1 reads as square.
TEST(ImageFiles, PixelShapeTravelsWithThePicture) {
  using vek::host::PixelAspect;
  ScratchFolder folder("vek_pixel_shape");
  const auto shapeOf = [&](const std::string& name) {
    const PixelAspect aspect = vek::host::ReadStill(folder / name).pixelAspect;
    return std::pair{aspect.width, aspect.height};
  };
  const Frame frame = RandomFrame(9, 4, 5);
  vek::host::WritePng(frame, folder / "hdv.png", PixelAspect::Of(1920 * 1080, 1440 * 1080));
  EXPECT_EQ(shapeOf("hdv.png"), (std::pair{4u, 3u}));
  EXPECT_EQ(vek::host::ReadImage(folder / "hdv.png").bytes, frame.bytes);
  vek::host::WritePng(frame, folder / "square.png");
  EXPECT_EQ(shapeOf("square.png"), (std::pair{1u, 1u}));
  EXPECT_EQ(vek::test::ReadFile(folder / "square.png").find("pHYs"), std::string::npos) << "square is not marked";

  RawPng raw{2, 1, 8, PNG_COLOR_TYPE_GRAY, {{10, 20}}};
  raw.pixelsAcrossAndDown = {2835, 5670};  // 72 and 144 a inch: pixels twice as wide as high
  raw.Write(folder / "metres.png");
  EXPECT_EQ(shapeOf("metres.png"), (std::pair{2u, 1u}));
  raw.pixelsAcrossAndDown = {1, 17};
  raw.Write(folder / "extreme.png");
  EXPECT_EQ(shapeOf("extreme.png"), (std::pair{1u, 1u}));

  const std::vector<uint8_t> grey(64, 128);
  WriteJpeg(folder / "shape.jpg", 8, 8, 1, grey, {0, 10, 11});
  EXPECT_EQ(shapeOf("shape.jpg"), (std::pair{11u, 10u}));
  WriteJpeg(folder / "dpi.jpg", 8, 8, 1, grey, {1, 300, 150});
  EXPECT_EQ(shapeOf("dpi.jpg"), (std::pair{1u, 2u}));
  WriteJpeg(folder / "plain.jpg", 8, 8, 1, grey);
  EXPECT_EQ(shapeOf("plain.jpg"), (std::pair{1u, 1u}));
}

TEST(ImageFiles, UnreadableFilesAreRefusedWithTheirName) {
  ScratchFolder folder("vek_bad_images");
  const auto message = [](const std::filesystem::path& path) {
    try {
      vek::host::ReadImage(path);
    } catch (const vek::host::Error& error) {
      return std::string(error.what());
    }
    return std::string("no error");
  };
  EXPECT_NE(message(folder / "missing.png").find("missing.png"), std::string::npos);
  std::ofstream(folder / "text.png") << "not a picture";
  EXPECT_NE(message(folder / "text.png").find("neither a PNG nor a JPEG"), std::string::npos);
  EXPECT_FALSE(vek::host::IsImageFile(folder / "text.png"));

  vek::host::WritePng(RandomFrame(16, 16, 3), folder / "whole.png");
  const std::string whole = vek::test::ReadFile(folder / "whole.png");
  std::ofstream(folder / "cut.png", std::ios::binary) << whole.substr(0, whole.size() / 2);
  EXPECT_TRUE(vek::host::IsImageFile(folder / "cut.png"));
  EXPECT_NE(message(folder / "cut.png").find("cut.png"), std::string::npos);
  std::ofstream(folder / "cut.jpg", std::ios::binary) << "\xFF\xD8\xFF\xE0 truncated";
  EXPECT_NE(message(folder / "cut.jpg").find("cannot read the JPEG file"), std::string::npos);
}

TEST(LumaChroma, FramesRoundTripWithinTwoLevelsAndCarryAlpha) {
  Frame argb(52 * 52, 52);
  for (int b = 0; b < 52; ++b) {
    for (int g = 0; g < 52; ++g) {
      for (int r = 0; r < 52; ++r) {
        uint8_t* p = argb.Pixel(g * 52 + r, b);
        p[0] = uint8_t(b * 5), p[1] = uint8_t(g * 5), p[2] = uint8_t(r * 5), p[3] = uint8_t(r * 7 + g);
      }
    }
  }
  const Frame ayuv = vek::host::ArgbToAyuv(argb);
  const Frame back = vek::host::AyuvToArgb(ayuv);
  int worst = 0;
  for (std::size_t i = 0; i < argb.bytes.size(); ++i) {
    if (i % 4 == 3) {
      ASSERT_EQ(ayuv.bytes[i], argb.bytes[i]) << "alpha is carried into the luma/chroma frame";
      ASSERT_EQ(back.bytes[i], argb.bytes[i]) << "and back";
    } else {
      worst = std::max(worst, std::abs(int(back.bytes[i]) - int(argb.bytes[i])));
    }
  }
  EXPECT_LE(worst, 2);

  // Byte order V, U, Y, A, with the transforms of colour.h.
  const uint8_t* red = ayuv.Pixel(51, 0);
  const VekYuv expected = VekRgbToYuv(255, 0, 0);
  EXPECT_EQ((std::vector<int>{red[0], red[1], red[2]}), (std::vector<int>{expected.v, expected.u, expected.y}));

  const Frame black = vek::host::ArgbToAyuv(Frame(2, 2, vek::host::kArgbBlack));
  EXPECT_EQ(black.bytes, Frame(2, 2, vek::host::kAyuvBlack).bytes);
  EXPECT_EQ(vek::host::AyuvToArgb(black).bytes, Frame(2, 2, vek::host::kArgbBlack).bytes);
}

TEST(Resize, BilinearBetweenPixelCentres) {
  Frame two(2, 1);
  std::fill(two.bytes.begin() + 4, two.bytes.end(), 255);
  const Frame four = vek::host::Resized(two, 4, 1);
  for (int x = 0; x < 4; ++x) EXPECT_EQ(four.Pixel(x, 0)[1], (std::vector<int>{0, 64, 191, 255})[std::size_t(x)]);

  const Frame frame = RandomFrame(9, 7, 5);
  EXPECT_EQ(vek::host::Resized(frame, 9, 7).bytes, frame.bytes) << "the same size changes nothing";
  const Frame smaller = vek::host::Resized(frame, 3, 2);
  EXPECT_EQ(smaller.width, 3);
  EXPECT_EQ(smaller.bytes.size(), 3u * 2 * 4);
  EXPECT_THROW(vek::host::Resized(frame, 0, 2), vek::host::Error);
}

// Each field of an interlaced frame is resampled alone, into the same field of the result.
TEST(Resize, FieldByFieldKeepsTheFieldsApart) {
  const Frame frame = RandomFrame(6, 9, 11);
  for (const auto& [width, height] : {std::pair{4, 14}, std::pair{7, 5}, std::pair{6, 2}}) {
    const Frame out = vek::host::ResizedFields(frame, width, height);
    ASSERT_EQ(out.height, height);
    for (int first : {0, 1}) {
      Frame field(frame.width, (frame.height - first + 1) / 2);
      for (int y = 0; y < field.height; ++y) {
        std::copy_n(frame.Pixel(0, first + 2 * y), frame.RowBytes(), field.Pixel(0, y));
      }
      const Frame expected = vek::host::Resized(field, width, (height - first + 1) / 2);
      for (int y = 0; y < expected.height; ++y) {
        EXPECT_TRUE(
            std::equal(expected.Pixel(0, y), expected.Pixel(0, y) + expected.RowBytes(), out.Pixel(0, first + 2 * y)))
            << width << "x" << height << ", row " << first + 2 * y;
      }
    }
  }
  EXPECT_EQ(vek::host::ResizedFields(frame, 3, 1).bytes, vek::host::Resized(frame, 3, 1).bytes)
      << "one row has no second field";
}

TEST(BuiltInPictures, DetailedDistinctDeterministicAndPartlyTransparentB) {
  using vek::host::BuiltInPicture;
  using vek::host::Picture;
  const Frame a = BuiltInPicture(Picture::kA, 160, 90), b = BuiltInPicture(Picture::kB, 160, 90);
  EXPECT_EQ(a.bytes, BuiltInPicture(Picture::kA, 160, 90).bytes);
  EXPECT_EQ(b.bytes, BuiltInPicture(Picture::kB, 160, 90).bytes);

  const auto colours = [](const Frame& frame) {
    std::set<uint32_t> distinct;
    for (std::size_t i = 0; i < frame.bytes.size(); i += 4) {
      distinct.insert(uint32_t(frame.bytes[i]) | frame.bytes[i + 1] << 8 | frame.bytes[i + 2] << 16);
    }
    return distinct.size();
  };
  EXPECT_GT(colours(a), 200u) << "gradients and detail, not flat fills";
  EXPECT_GT(colours(b), 200u);
  std::size_t different = 0;
  for (std::size_t i = 0; i < a.bytes.size(); i += 4)
    different += !std::equal(&a.bytes[i], &a.bytes[i + 3], &b.bytes[i]);
  EXPECT_GT(different, a.bytes.size() / 4 * 9 / 10) << "A and B differ almost everywhere";

  std::set<int> alphaA, alphaB;
  for (std::size_t i = 3; i < a.bytes.size(); i += 4) alphaA.insert(a.bytes[i]), alphaB.insert(b.bytes[i]);
  EXPECT_EQ(alphaA, std::set<int>{255});
  EXPECT_TRUE(alphaB.count(0) && alphaB.count(255)) << "B has fully transparent and opaque parts";
  EXPECT_GT(alphaB.size(), 10u) << "and partly transparent ones";

  EXPECT_EQ(BuiltInPicture(Picture::kB, 1, 1).bytes.size(), 4u);
  EXPECT_THROW(BuiltInPicture(Picture::kA, 0, 10), vek::host::Error);
}

}  // namespace
