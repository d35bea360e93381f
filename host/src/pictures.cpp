#include "vekhost/pictures.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "vekhost/error.h"

namespace vek::host {
namespace {

struct Colour {
  float r, g, b, a = 255;
};

Colour Mix(Colour from, Colour to, float t) {
  t = std::clamp(t, 0.0f, 1.0f);
  return {from.r + (to.r - from.r) * t, from.g + (to.g - from.g) * t, from.b + (to.b - from.b) * t,
          from.a + (to.a - from.a) * t};
}

// 0 at whole numbers, 1 halfway between: the teeth of a ridge.
float Triangle(float t) {
  return 1.0f - std::fabs(2.0f * (t - std::floor(t)) - 1.0f);
}

// A point on the picture: x across in units of the height (0..aspect), y down (0..1), and the
// pixel it came from for one-pixel patterns.
struct Point {
  float x, y;
  int column, row;
  float pixel;  // one pixel in height units
};

float Distance(const Point& p, float cx, float cy) {
  return std::hypot(p.x - cx, p.y - cy);
}

// Inside the triangle a, b, c (any winding).
bool InTriangle(const Point& p, float ax, float ay, float bx, float by, float cx, float cy) {
  const auto side = [&](float x0, float y0, float x1, float y1) {
    return (x1 - x0) * (p.y - y0) - (y1 - y0) * (p.x - x0);
  };
  const float d0 = side(ax, ay, bx, by), d1 = side(bx, by, cx, cy), d2 = side(cx, cy, ax, ay);
  return (d0 >= 0 && d1 >= 0 && d2 >= 0) || (d0 <= 0 && d1 <= 0 && d2 <= 0);
}

Colour WarmLandscape(const Point& p, float aspect) {
  constexpr float kHorizon = 0.58f;
  Colour c;
  if (p.y < kHorizon) {
    c = Mix({255, 80, 50}, {255, 214, 120}, p.y / kHorizon);
    if (p.x < 0.18f * aspect && p.y < 0.2f && p.column % 2 == 0) c = Mix(c, {255, 255, 255}, 0.35f);
    const float sun = Distance(p, 0.72f * aspect, 0.26f);
    if (sun < 0.11f) {
      c = {255, 248, 170};
    } else if (sun < 0.11f + std::max(0.015f, p.pixel)) {
      c = {200, 60, 30};
    }
    const float u = p.x / aspect;
    const float ridge = kHorizon - 0.17f * Triangle(u * 2.3f + 0.1f) - 0.05f * Triangle(u * 9.0f);
    if (p.y >= ridge) c = Mix({150, 50, 70}, {80, 25, 45}, (p.y - ridge) / (kHorizon - ridge + p.pixel));
  } else {
    const int band = int((p.y - kHorizon) / 0.07f);
    const Colour base = band % 2 ? Colour{200, 115, 35} : Colour{230, 170, 60};
    c = Mix(base, {110, 50, 20}, (p.y - kHorizon) / (1.0f - kHorizon) * 0.6f);
    if ((p.column + p.row) % 5 == 0) c = Mix(c, {60, 20, 10}, 0.35f);  // one-pixel furrows
  }
  if (InTriangle(p, 0.06f * aspect, 0.96f, 0.32f * aspect, 0.96f, 0.17f * aspect, 0.66f)) c = {205, 20, 70};
  const float left = 0.68f * aspect, right = 0.93f * aspect, top = 0.66f, bottom = 0.92f;
  if (p.x >= left && p.x < right && p.y >= top && p.y < bottom) {
    const float border = std::max(0.02f, p.pixel);
    const bool edge = p.x < left + border || p.x >= right - border || p.y < top + border || p.y >= bottom - border;
    const bool inner = p.x >= (left + right) / 2;
    c = edge ? Colour{90, 20, 10} : inner && (p.column + p.row) % 2 ? Colour{120, 40, 20} : Colour{255, 236, 200};
  }
  return c;
}

Colour CoolGeometry(const Point& p, float aspect, int cell) {
  const float u = p.x / aspect;
  const Colour ground = Mix({20, 40, 130}, {40, 190, 180}, (u + p.y) / 2);
  const bool light = (p.column / cell + p.row / cell) % 2 == 1;
  Colour c = light ? Mix(ground, {80, 110, 230}, 0.55f) : ground;
  if (light && u > 0.66f) c.a = 140;
  if (p.y < 0.14f) c = {120, 220, 255, std::round(255 * u)};
  if (p.y > 0.9f && (p.column - p.row) % 3 == 0) c = {200, 220, 255};

  const float rings = Distance(p, 0.26f * aspect, 0.55f);
  if (rings < 0.26f) {
    const float ringWidth = std::max(0.02f, p.pixel);
    c = rings > 0.26f - ringWidth      ? Colour{255, 255, 255}
        : int(rings / p.pixel / 2) % 2 ? Colour{230, 240, 255}
                                       : Colour{60, 70, 160};
  }
  const float disc = Distance(p, 0.62f * aspect, 0.42f);
  if (disc < 0.17f) c = disc > 0.17f - std::max(0.025f, p.pixel) ? Colour{0, 230, 230} : Colour{150, 80, 230};
  const float hole = Distance(p, 0.84f * aspect, 0.72f);
  if (hole < 0.15f) {
    if (hole > 0.15f - std::max(0.02f, p.pixel)) {
      c = {255, 255, 255};
    } else {
      c.a = 0;  // the colour under the hole is kept for effects that ignore alpha
    }
  }
  return c;
}

uint8_t Byte(float value) {
  return uint8_t(std::lround(std::clamp(value, 0.0f, 255.0f)));
}

}  // namespace

Frame BuiltInPicture(Picture picture, int width, int height) {
  if (width < 1 || height < 1 || width > kMaxFrameSide || height > kMaxFrameSide) {
    throw Error("a picture of " + SizeText(width, height) + " cannot be made; sides are 1 to " +
                std::to_string(kMaxFrameSide));
  }
  const float aspect = float(width) / float(height), pixel = 1.0f / float(height);
  const int cell = std::max(2, height / 6);
  Frame frame(width, height);
  for (int row = 0; row < height; ++row) {
    for (int column = 0; column < width; ++column) {
      const Point p{(float(column) + 0.5f) * pixel, (float(row) + 0.5f) * pixel, column, row, pixel};
      const Colour c = picture == Picture::kA ? WarmLandscape(p, aspect) : CoolGeometry(p, aspect, cell);
      uint8_t* target = frame.Pixel(column, row);
      target[0] = Byte(c.b), target[1] = Byte(c.g), target[2] = Byte(c.r), target[3] = Byte(c.a);
    }
  }
  return frame;
}

}  // namespace vek::host
