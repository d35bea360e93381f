#include "vekhost/frame.h"

#include <algorithm>
#include <cmath>

#include "vek_dsp/colour.h"
#include "vekhost/error.h"

namespace vek::host {
namespace {

// The two source samples and the weight of the second for each output position on one axis.
struct Tap {
  int first;
  int second;
  float weight;
};

std::vector<Tap> Taps(int from, int to) {
  std::vector<Tap> taps(static_cast<std::size_t>(to));
  const float scale = float(from) / float(to);
  for (int i = 0; i < to; ++i) {
    const float position = std::clamp((float(i) + 0.5f) * scale - 0.5f, 0.0f, float(from - 1));
    const int first = int(position);
    taps[std::size_t(i)] = {first, std::min(first + 1, from - 1), position - float(first)};
  }
  return taps;
}

// Rows first, first + 2, first + 4 ... of a frame, as a frame of their own.
Frame FieldOf(const Frame& frame, int first) {
  Frame field(frame.width, (frame.height - first + 1) / 2);
  for (int y = 0; y < field.height; ++y) {
    std::copy_n(frame.Pixel(0, first + 2 * y), frame.RowBytes(), field.Pixel(0, y));
  }
  return field;
}

}  // namespace

Frame::Frame(int width, int height, std::array<uint8_t, 4> pixel)
    : width(width), height(height), bytes(std::size_t(std::max(width, 0)) * std::size_t(std::max(height, 0)) * 4) {
  for (std::size_t i = 0; i < bytes.size(); i += 4) std::copy(pixel.begin(), pixel.end(), bytes.begin() + i);
}

std::string SizeText(int width, int height) {
  return std::to_string(width) + "x" + std::to_string(height);
}

Frame ArgbToAyuv(const Frame& argb) {
  Frame ayuv = argb;
  for (std::size_t i = 0; i < ayuv.bytes.size(); i += 4) {
    uint8_t* p = ayuv.bytes.data() + i;
    const VekYuv yuv = VekRgbToYuv(p[2], p[1], p[0]);
    p[0] = yuv.v, p[1] = yuv.u, p[2] = yuv.y;
  }
  return ayuv;
}

Frame AyuvToArgb(const Frame& ayuv) {
  Frame argb = ayuv;
  for (std::size_t i = 0; i < argb.bytes.size(); i += 4) {
    uint8_t* p = argb.bytes.data() + i;
    const VekRgb rgb = VekYuvToRgb(p[2], p[1], p[0]);
    p[0] = rgb.b, p[1] = rgb.g, p[2] = rgb.r;
  }
  return argb;
}

Frame Resized(const Frame& frame, int width, int height) {
  if (width <= 0 || height <= 0 || frame.width <= 0 || frame.height <= 0) {
    throw Error("cannot resample a " + SizeText(frame.width, frame.height) + " frame to " + SizeText(width, height));
  }
  const std::vector<Tap> columns = Taps(frame.width, width), rows = Taps(frame.height, height);
  Frame out(width, height);
  for (int y = 0; y < height; ++y) {
    const Tap& row = rows[std::size_t(y)];
    for (int x = 0; x < width; ++x) {
      const Tap& column = columns[std::size_t(x)];
      const uint8_t* p00 = frame.Pixel(column.first, row.first);
      const uint8_t* p01 = frame.Pixel(column.second, row.first);
      const uint8_t* p10 = frame.Pixel(column.first, row.second);
      const uint8_t* p11 = frame.Pixel(column.second, row.second);
      uint8_t* target = out.Pixel(x, y);
      for (int c = 0; c < 4; ++c) {
        const float top = float(p00[c]) + (float(p01[c]) - float(p00[c])) * column.weight;
        const float bottom = float(p10[c]) + (float(p11[c]) - float(p10[c])) * column.weight;
        target[c] = uint8_t(std::lround(top + (bottom - top) * row.weight));
      }
    }
  }
  return out;
}

Frame ResizedFields(const Frame& frame, int width, int height) {
  if (frame.height < 2 || height < 2) return Resized(frame, width, height);
  Frame out(width, height);
  for (int first : {0, 1}) {
    const Frame field = Resized(FieldOf(frame, first), width, (height - first + 1) / 2);
    for (int y = 0; y < field.height; ++y) {
      std::copy_n(field.Pixel(0, y), field.RowBytes(), out.Pixel(0, first + 2 * y));
    }
  }
  return out;
}

}  // namespace vek::host
