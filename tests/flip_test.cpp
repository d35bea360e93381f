// DSP_TR_3DFlip and DSP_TR_3DFlipTwo driven through the reference host. The slab's motions are
// worked out here in double precision and its corners projected with the scene's camera; the
// rendered silhouette must match their hull to within a pixel.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "geometric_run.h"
#include "render/mesh_scene.h"

namespace {

using vek::host::Instance;
using vek::render::MeshScene;
using vek::test::Frame;
using vek::test::LoadedPlugin;

constexpr double kPi = 3.14159265358979323846;
constexpr double kThickness = 0.5;

// --- The slab's motion, in double precision ---

using Matrix = std::array<double, 16>;  // row-major, translation in column 3

Matrix Multiply(const Matrix& a, const Matrix& b) {
  Matrix out{};
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      for (int k = 0; k < 4; ++k) out[r * 4 + c] += a[r * 4 + k] * b[k * 4 + c];
    }
  }
  return out;
}
Matrix Translation(double x, double y, double z) {
  return {1, 0, 0, x, 0, 1, 0, y, 0, 0, 1, z, 0, 0, 0, 1};
}
// Counter-clockwise about the axis, looking from its tip: c I + s [axis]x + (1 - c) axis axis^T.
Matrix Rotation(double angle, double x, double y, double z) {
  const double n = std::sqrt(x * x + y * y + z * z), axis[3] = {x / n, y / n, z / n};
  const double c = std::cos(angle), s = std::sin(angle);
  const double cross[9] = {0, -axis[2], axis[1], axis[2], 0, -axis[0], -axis[1], axis[0], 0};
  Matrix m = Translation(0, 0, 0);
  for (int r = 0; r < 3; ++r) {
    for (int k = 0; k < 3; ++k) m[r * 4 + k] = (r == k ? c : 0) + s * cross[r * 3 + k] + (1 - c) * axis[r] * axis[k];
  }
  return m;
}

// DSP_TR_3DFlip: up, down, left, right; offset is the lateral shift already faded.
Matrix FlipMotion(int direction, double p, double offset) {
  const double sign = direction == 0 || direction == 3 ? 1 : -1;
  const bool horizontalAxis = direction < 2;
  return Multiply(Translation(offset, 0, -kThickness / 2 - 4 * std::sin(kPi * p)),
                  Rotation(sign * kPi * p, horizontalAxis ? 1 : 0, horizontalAxis ? 0 : 1, 0));
}

// DSP_TR_3DFlipTwo: FullFlip, Handspring, HeadTail.
Matrix FlipTwoMotion(int type, double p) {
  const double t = kThickness;
  if (type == 0) {
    return Multiply(Multiply(Translation(0, 0, -t / 2 - 4 * std::sin(kPi * p)), Rotation(1.5 * kPi * p, 0, 0, 1)),
                    Rotation(-kPi * p, 1, -1, 0));
  }
  if (type == 1) {
    Matrix m = Multiply(Translation(0, 0, -t / 2), Translation(0, 0, -2));
    m = Multiply(Multiply(m, Rotation(2 * kPi * p, 1, 0, 0)), Translation(0, 0, 2));
    return Multiply(m, Rotation(-kPi * p, 1, 0, 0));
  }
  const double arc = 2 * p - 1;
  return Multiply(Multiply(Translation(0, 0, -t / 2 - 12 * (1 - arc * arc)), Rotation(1.5 * kPi * p, 0, 0, 1)),
                  Rotation(-7 * kPi * p, 1, -1, 0));
}

// The point (x, y, z, 1) through the matrix.
using Point3 = std::array<double, 3>;
Point3 Apply(const Matrix& m, const Point3& v) {
  Point3 out;
  for (int r = 0; r < 3; ++r) out[r] = m[r * 4] * v[0] + m[r * 4 + 1] * v[1] + m[r * 4 + 2] * v[2] + m[r * 4 + 3];
  return out;
}

struct Point {
  double x, y;
};

// A point of the slab (object space) on the output frame, in pixels, through the scene's camera:
// the plane z = 0 shows x from -2 to 2 across the frame.
Point Project(const Matrix& m, const Point3& v, int width, int height) {
  const auto [wx, wy, wz] = Apply(m, v);
  const double scale = MeshScene::kCameraDistance / (MeshScene::kCameraDistance - wz);
  const double half = MeshScene::kPictureHalfWidth, halfHeight = half * height / width;
  return {(wx * scale + half) / (2 * half) * width, (halfHeight - wy * scale) / (2 * halfHeight) * height};
}

// The convex hull of the slab's eight corners, clockwise as the picture is seen (rows downward).
std::vector<Point> Silhouette(const Matrix& m, int width, int height) {
  const double halfHeight = MeshScene::kPictureHalfWidth * height / width;
  std::vector<Point> points;
  for (double x : {-2.0, 2.0}) {
    for (double y : {-halfHeight, halfHeight}) {
      for (double z : {-kThickness / 2, kThickness / 2}) points.push_back(Project(m, {x, y, z}, width, height));
    }
  }
  std::sort(points.begin(), points.end(), [](Point a, Point b) { return a.x < b.x || (a.x == b.x && a.y < b.y); });
  auto turn = [](Point o, Point a, Point b) { return (a.x - o.x) * (b.y - o.y) - (a.y - o.y) * (b.x - o.x); };
  std::vector<Point> hull(2 * points.size());
  std::size_t k = 0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    while (k >= 2 && turn(hull[k - 2], hull[k - 1], points[i]) <= 0) --k;
    hull[k++] = points[i];
  }
  for (std::size_t i = points.size() - 1, lower = k + 1; i > 0; --i) {
    while (k >= lower && turn(hull[k - 2], hull[k - 1], points[i - 1]) <= 0) --k;
    hull[k++] = points[i - 1];
  }
  hull.resize(k - 1);
  return hull;
}

// Signed distance of a point from the hull's boundary: positive inside.
double Inside(const std::vector<Point>& hull, double x, double y) {
  double distance = 1e30;
  for (std::size_t k = 0; k < hull.size(); ++k) {
    const Point a = hull[k], b = hull[(k + 1) % hull.size()];
    distance =
        std::min(distance, ((b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x)) / std::hypot(b.x - a.x, b.y - a.y));
  }
  return distance;
}

// --- Renderings ---

constexpr int kWidth = 96, kHeight = 54;

// Sources that never show the background: every alpha byte is 255.
Frame Opaque(int width, int height, uint32_t seed) {
  Frame frame = Frame::Random(width, height, seed);
  for (std::size_t i = 3; i < frame.bytes.size(); i += 4) frame.bytes[i] = 255;
  return frame;
}

struct FlipShot {
  const char* id;
  float progress;
  int option;
  int layout = 0;
  int offsetMode = 0;
  float offsetAmount = 0;
};

Frame Render(const FlipShot& shot, Frame& a, Frame& b) {
  vek::test::EffectRun run(shot.id);
  vek::test::SetShot(run, shot.id, {shot.progress, shot.option});
  run.Instance().Record().offsetMode = shot.offsetMode;
  run.Instance().Record().offsetAmount = shot.offsetAmount;
  return run.Render(a, b, {0, 0, 1, shot.layout});
}

std::string Describe(const FlipShot& shot) {
  return std::string(shot.id) + " option " + std::to_string(shot.option) + " p " + std::to_string(shot.progress) +
         " layout " + std::to_string(shot.layout) + " offset mode " + std::to_string(shot.offsetMode);
}

const uint8_t kArgbBackground[4] = {0, 0, 0, 0};
const uint8_t kAyuvBackground[4] = {128, 128, 16, 0};  // V, U, Y, alpha: black

// Every pixel more than a pixel outside the slab's projected hull is background, every pixel more
// than a pixel inside it is covered (opaque).
void ExpectSilhouette(const FlipShot& shot, const Matrix& motion) {
  Frame a = Opaque(kWidth, kHeight, 1), b = Opaque(kWidth, kHeight, 2);
  const Frame out = Render(shot, a, b);
  const std::vector<Point> hull = Silhouette(motion, kWidth, kHeight);
  const uint8_t* background = shot.layout == 1 ? kAyuvBackground : kArgbBackground;
  int covered = 0;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const double inside = Inside(hull, x + 0.5, y + 0.5);
      const uint8_t* pixel = vek::test::At(out, x, y);
      if (inside < -1.0) {
        ASSERT_EQ(std::memcmp(pixel, background, 4), 0) << Describe(shot) << ": background at " << x << "," << y;
      }
      if (inside > 1.0) {
        ASSERT_EQ(pixel[3], 255) << Describe(shot) << ": slab at " << x << "," << y;
        ++covered;
      }
    }
  }
  EXPECT_GT(covered, 0) << Describe(shot) << ": the slab shows somewhere";
}

TEST(Flip, SilhouetteOfEveryMotionFollowsTheProjectedSlab) {
  for (float p : {0.05f, 0.3f, 0.5f, 0.6f, 0.7f, 0.95f}) {
    for (int direction = 0; direction < 4; ++direction) {
      for (int layout : {0, 1}) ExpectSilhouette({"DSP_TR_3DFlip", p, direction, layout}, FlipMotion(direction, p, 0));
    }
    for (int type = 0; type < 3; ++type) ExpectSilhouette({"DSP_TR_3DFlipTwo", p, type}, FlipTwoMotion(type, p));
  }
}

TEST(Flip, OffsetModesShiftTheSlabFadingInAndOut) {
  const float amount = 0.8f;
  for (int mode : {1, 2}) {
    const double sign = mode == 1 ? -1 : 1;
    // Faded in: half the amount at p = 0.05; whole between 0.1 and 0.9; faded out again at 0.95.
    for (auto [p, share] : {std::pair{0.05f, 0.5}, std::pair{0.5f, 1.0}, std::pair{0.95f, 0.5}}) {
      FlipShot shot{"DSP_TR_3DFlip", p, 3, 0, mode, amount};
      ExpectSilhouette(shot, FlipMotion(3, p, sign * amount * share));
    }
  }
  // DSP_TR_3DFlipTwo has no lateral offset.
  FlipShot two{"DSP_TR_3DFlipTwo", 0.5f, 0, 0, 1, amount};
  ExpectSilhouette(two, FlipTwoMotion(0, 0.5));
}

TEST(Flip, BothEndsAreTheSourcesExactlyAndBadOptionsAreRefused) {
  for (const char* id : {"DSP_TR_3DFlip", "DSP_TR_3DFlipTwo"}) {
    vek::test::ExpectEndsAreTheSources(id, 37, 23);
    vek::test::ExpectBadOptionsAreRefused(id);
    Frame a = Frame::Random(20, 12, 5), b = Frame::Random(20, 12, 6);
    EXPECT_EQ(Render({id, 0.0f, 1, 0, 2, 3.0f}, a, b).bytes, a.bytes) << id << " with an offset";
    EXPECT_EQ(Render({id, 1.0f, 2, 1, 1, 3.0f}, a, b).bytes, b.bytes) << id << " with an offset";
  }
}

// Quadrants of four colours: which one appears where tells whether a face reads the right way round.
Frame Quadrants(int width, int height) {
  const uint8_t colours[4][3] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 255}};  // TL, TR, BL, BR as RGB
  Frame frame = Frame::Filled(width, height, 0);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const uint8_t* rgb = colours[(y >= height / 2) * 2 + (x >= width / 2)];
      uint8_t* p = frame.Pixel(x, y);
      p[0] = rgb[2], p[1] = rgb[1], p[2] = rgb[0], p[3] = 255;
    }
  }
  return frame;
}

// Which quadrant colour a pixel shows under any grey light; -1 when too dark to tell.
int QuadrantAt(const Frame& frame, int x, int y) {
  const uint8_t* p = vek::test::At(frame, x, y);
  const int b = p[0], g = p[1], r = p[2], top = std::max({r, g, b});
  if (top < 12) return -1;
  if (std::min({r, g, b}) * 10 > top * 6) return 3;
  return r == top ? 0 : g == top ? 1 : 2;
}

Matrix RigidInverse(const Matrix& m) {
  Matrix out{};
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) out[r * 4 + c] = m[c * 4 + r];
    out[r * 4 + 3] = -(m[r] * m[3] + m[4 + r] * m[7] + m[8 + r] * m[11]);
  }
  out[15] = 1;
  return out;
}

// A shows upright on the front; at the end of the motion B stands where A stood at its start, so
// B's quadrant q lies where the end motion takes the picture plane's quadrant q from.
void ExpectFacesReadUpright(const char* id, int option, float p, const Matrix& motion, const Matrix& end) {
  Frame a = Quadrants(kWidth, kHeight), b = Quadrants(kWidth, kHeight);
  const Frame out = Render({id, p, option}, a, b);
  const double halfHeight = MeshScene::kPictureHalfWidth * kHeight / kWidth, t = kThickness / 2;
  const Matrix back = RigidInverse(end);
  int checked = 0;
  for (int q = 0; q < 4; ++q) {
    const double x = q % 2 ? 1 : -1, y = q / 2 ? -halfHeight / 2 : halfHeight / 2;
    // On the front at z = t; on the back where the end motion brings the plane point (x, y, 0).
    for (const bool onFront : {true, false}) {
      const Point3 point = onFront ? Point3{x, y, t} : Apply(back, {x, y, 0});
      // Only a face turned towards the camera shows: its outward normal against the view ray.
      const auto [wx, wy, wz] = Apply(motion, point);
      const double facing = -motion[2] * wx - motion[6] * wy + motion[10] * (MeshScene::kCameraDistance - wz);
      if ((onFront ? facing : -facing) <= 0.05) continue;
      const Point at = Project(motion, point, kWidth, kHeight);
      if (at.x < 1 || at.y < 1 || at.x > kWidth - 1 || at.y > kHeight - 1) continue;
      EXPECT_EQ(QuadrantAt(out, int(at.x), int(at.y)), q)
          << id << " option " << option << " p " << p << (onFront ? " front" : " back") << " quadrant " << q;
      ++checked;
    }
  }
  EXPECT_GE(checked, 2) << id << " option " << option << " p " << p;
}

TEST(Flip, FrontAndBackReadTheRightWayRound) {
  for (int direction = 0; direction < 4; ++direction) {
    for (float p : {0.1f, 0.35f, 0.65f, 0.9f}) {
      ExpectFacesReadUpright("DSP_TR_3DFlip", direction, p, FlipMotion(direction, p, 0), FlipMotion(direction, 1, 0));
    }
  }
  for (int type = 0; type < 3; ++type) {
    for (float p : {0.1f, 0.35f, 0.65f, 0.9f}) {
      ExpectFacesReadUpright("DSP_TR_3DFlipTwo", type, p, FlipTwoMotion(type, p), FlipTwoMotion(type, 1));
    }
  }
}

// One instance through frames of another size, other inputs and other progress: each frame must
// be drawn as a fresh instance draws it, with nothing of the earlier ones showing through the
// supersampled image the scene keeps between calls (the slab at 0.1 is nearer, so it covers
// everything the one at 0.35 leaves partly covered).
TEST(Flip, EachFrameDependsOnItsOwnInputsAndSizeOnly) {
  for (const char* id : {"DSP_TR_3DFlip", "DSP_TR_3DFlipTwo"}) {
    Frame smallA = Frame::Random(40, 30, 1), smallB = Frame::Random(40, 30, 2);
    Frame otherA = Frame::Random(kWidth, kHeight, 3), otherB = Frame::Random(kWidth, kHeight, 4);
    Frame a = Frame::Random(kWidth, kHeight, 5), b = Frame::Random(kWidth, kHeight, 6);
    Instance instance(LoadedPlugin().FindEffect(id));
    instance.Prepare();
    for (auto [p, first, second] :
         {std::tuple{0.4f, &smallA, &smallB}, std::tuple{0.1f, &otherA, &otherB}, std::tuple{0.35f, &a, &b}}) {
      instance.Set("P1", std::to_string(p));
      instance.Record().width = uint32_t(first->width);
      instance.Record().height = uint32_t(first->height);
      instance.SetInput(0, first->Data());
      instance.SetInput(1, second->Data());
      Frame out = Frame::Filled(first->width, first->height, 0);
      instance.Process(out.Data());
      EXPECT_EQ(out.bytes, Render({id, p, 0}, *first, *second).bytes) << id << " " << first->width << " p " << p;
    }
  }
}

}  // namespace
