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
using vek::test::Outcome;
using vek::test::Shot;
using vek::test::TryShot;

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
// Counter-clockwise about the axis, looking from its tip.
Matrix Rotation(double angle, double x, double y, double z) {
  const double n = std::sqrt(x * x + y * y + z * z);
  x /= n, y /= n, z /= n;
  const double c = std::cos(angle), s = std::sin(angle), d = 1 - c;
  return {x * x * d + c,
          x * y * d - z * s,
          x * z * d + y * s,
          0,
          y * x * d + z * s,
          y * y * d + c,
          y * z * d - x * s,
          0,
          x * z * d - y * s,
          y * z * d + x * s,
          z * z * d + c,
          0,
          0,
          0,
          0,
          1};
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

struct Point {
  double x, y;
};

// A point of the slab (object space) on the output frame, in pixels, through the scene's camera:
// the plane z = 0 shows x from -2 to 2 across the frame.
Point Project(const Matrix& m, double x, double y, double z, int width, int height) {
  const double wx = m[0] * x + m[1] * y + m[2] * z + m[3];
  const double wy = m[4] * x + m[5] * y + m[6] * z + m[7];
  const double wz = m[8] * x + m[9] * y + m[10] * z + m[11];
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
      for (double z : {-kThickness / 2, kThickness / 2}) points.push_back(Project(m, x, y, z, width, height));
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
  int workers = 1;
  int renderHint = 0;
  int fieldMode = 0;
};

Frame Render(const FlipShot& shot, Frame& a, Frame& b) {
  vek::test::EffectRun run(shot.id);
  vek::test::SetShot(run, shot.id, {shot.progress, shot.option});
  run.Instance().Record().offsetMode = shot.offsetMode;
  run.Instance().Record().offsetAmount = shot.offsetAmount;
  return run.Render(a, b, {shot.fieldMode, shot.renderHint, shot.workers, shot.layout});
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

TEST(Flip, SilhouetteOfEveryDirectionFollowsTheProjectedSlab) {
  for (int direction = 0; direction < 4; ++direction) {
    for (float p : {0.05f, 0.3f, 0.5f, 0.7f, 0.95f}) {
      for (int layout : {0, 1}) {
        ExpectSilhouette({"DSP_TR_3DFlip", p, direction, layout}, FlipMotion(direction, p, 0));
      }
    }
  }
}

TEST(FlipTwo, SilhouetteOfEveryMotionFollowsTheProjectedSlab) {
  for (int type = 0; type < 3; ++type) {
    for (float p : {0.1f, 0.3f, 0.5f, 0.6f, 0.9f}) {
      ExpectSilhouette({"DSP_TR_3DFlipTwo", p, type}, FlipTwoMotion(type, p));
    }
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

TEST(Flip, BothEndsAreTheSourcesExactly) {
  for (const char* id : {"DSP_TR_3DFlip", "DSP_TR_3DFlipTwo"}) {
    vek::test::ExpectEndsAreTheSources(id, 37, 23);
    Frame a = Frame::Random(20, 12, 5), b = Frame::Random(20, 12, 6);
    EXPECT_EQ(Render({id, 0.0f, 1, 0, 2, 3.0f}, a, b).bytes, a.bytes) << id << " with an offset";
    EXPECT_EQ(Render({id, 1.0f, 2, 1, 1, 3.0f}, a, b).bytes, b.bytes) << id << " with an offset";
  }
}

TEST(Flip, OptionsOutsideTheListAreRefusedAndWriteNothing) {
  vek::test::ExpectBadOptionsAreRefused("DSP_TR_3DFlip");
  vek::test::ExpectBadOptionsAreRefused("DSP_TR_3DFlipTwo");
}

TEST(Flip, EdgeOnAtTheMidpointLeavesBackgroundAboveAndBelow) {
  for (int layout : {0, 1}) {
    Frame a = Opaque(kWidth, kHeight, 3), b = Opaque(kWidth, kHeight, 4);
    const Frame out = Render({"DSP_TR_3DFlip", 0.5f, 0, layout}, a, b);
    const uint8_t* background = layout == 1 ? kAyuvBackground : kArgbBackground;
    // Edge-on and 4 units back, the slab is a band about the middle row; its thickness projects to
    // 0.5 * 4 / (4 + 4.25 - 9/8) of the frame's half-height of 9/8, about 6 rows of 54.
    int rowsWithSlab = 0;
    for (int y = 0; y < kHeight; ++y) {
      bool slab = false;
      for (int x = 0; x < kWidth; ++x) slab |= std::memcmp(vek::test::At(out, x, y), background, 4) != 0;
      rowsWithSlab += slab;
      if (y < kHeight / 2 - 5 || y > kHeight / 2 + 5) {
        EXPECT_FALSE(slab) << "layout " << layout << " row " << y;
      }
    }
    EXPECT_GE(rowsWithSlab, 4);
    EXPECT_LE(rowsWithSlab, 9);
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
    const double front[3] = {x, y, t};
    const double plane[3] = {x, y, 0};
    double onBack[3];
    for (int r = 0; r < 3; ++r)
      onBack[r] = back[r * 4] * plane[0] + back[r * 4 + 1] * plane[1] + back[r * 4 + 2] * plane[2] + back[r * 4 + 3];
    for (const double* point : std::initializer_list<const double*>{front, onBack}) {
      // Only a face turned towards the camera shows: its outward normal against the view ray.
      const double nz = point == front ? 1 : -1;
      const double nx = motion[2] * nz, ny = motion[6] * nz, nzWorld = motion[10] * nz;
      const double wx = motion[0] * point[0] + motion[1] * point[1] + motion[2] * point[2] + motion[3];
      const double wy = motion[4] * point[0] + motion[5] * point[1] + motion[6] * point[2] + motion[7];
      const double wz = motion[8] * point[0] + motion[9] * point[1] + motion[10] * point[2] + motion[11];
      if (nx * -wx + ny * -wy + nzWorld * (MeshScene::kCameraDistance - wz) <= 0.05) continue;
      const Point at = Project(motion, point[0], point[1], point[2], kWidth, kHeight);
      if (at.x < 1 || at.y < 1 || at.x > kWidth - 1 || at.y > kHeight - 1) continue;
      EXPECT_EQ(QuadrantAt(out, int(at.x), int(at.y)), q)
          << id << " option " << option << " p " << p << (point == front ? " front" : " back") << " quadrant " << q;
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

TEST(Flip, SameBytesForEveryWorkerCountRenderHintAndFieldMode) {
  Frame a = Frame::Random(160, 90, 7), b = Frame::Random(160, 90, 8);
  for (const FlipShot& base : {FlipShot{"DSP_TR_3DFlip", 0.3f, 0}, FlipShot{"DSP_TR_3DFlip", 0.62f, 2, 1, 2, 0.5f},
                               FlipShot{"DSP_TR_3DFlipTwo", 0.4f, 0}, FlipShot{"DSP_TR_3DFlipTwo", 0.7f, 2, 1}}) {
    const Frame reference = Render(base, a, b);
    for (int workers : {2, 3, 7}) {
      FlipShot shot = base;
      shot.workers = workers;
      shot.renderHint = 3;
      EXPECT_EQ(Render(shot, a, b).bytes, reference.bytes) << Describe(base) << " workers " << workers;
    }
    FlipShot field = base;
    field.fieldMode = 1;
    EXPECT_EQ(Render(field, a, b).bytes, reference.bytes) << Describe(base) << ": fields render the whole frame";
  }
}

// --- Lifecycle, through the raw callbacks where a host could misbehave ---

TEST(Flip, ReleaseTwiceAndProcessWithoutPrepareAreHarmless) {
  for (const char* id : {"DSP_TR_3DFlip", "DSP_TR_3DFlipTwo"}) {
    const VekEffectDescriptor& row = *LoadedPlugin().FindEffect(id).descriptor;
    Instance instance(LoadedPlugin().FindEffect(id));
    VekEffectInstance& record = instance.Record();
    record.width = 8, record.height = 6;
    Frame a = Frame::Random(8, 6, 1), b = Frame::Random(8, 6, 2), out = Frame::Filled(8, 6, vek::test::kUntouched);
    instance.SetInput(0, a.Data());
    instance.SetInput(1, b.Data());
    record.output = out.Data();
    EXPECT_EQ(row.callbacks.process(&record), VEK_S_OK) << id;
    EXPECT_TRUE(vek::test::AllBytesAre(out, vek::test::kUntouched)) << id << ": no scene, nothing drawn";
    EXPECT_EQ(row.callbacks.prepare(&record), VEK_S_OK);
    EXPECT_EQ(record.prepared & 0xFF, 1);
    EXPECT_EQ(row.callbacks.process(&record), VEK_S_OK);
    EXPECT_FALSE(vek::test::AllBytesAre(out, vek::test::kUntouched));
    EXPECT_EQ(row.callbacks.releaseResources(&record), VEK_S_OK);
    EXPECT_EQ(row.callbacks.releaseResources(&record), VEK_S_OK);
    EXPECT_EQ(row.callbacks.releaseResources(nullptr), VEK_E_FAIL);
    EXPECT_EQ(row.callbacks.process(nullptr), VEK_E_FAIL);
    EXPECT_EQ(row.callbacks.prepare(nullptr), VEK_E_FAIL);
    record.output = nullptr;
    EXPECT_EQ(row.callbacks.process(&record), VEK_E_FAIL) << "a missing output";
  }
}

// The supersampled image keeps the previous frame between calls; none of it may show through.
TEST(Flip, EachFrameDependsOnItsOwnInputsOnly) {
  for (const char* id : {"DSP_TR_3DFlip", "DSP_TR_3DFlipTwo"}) {
    Frame a = Frame::Random(kWidth, kHeight, 1), b = Frame::Random(kWidth, kHeight, 2);
    Frame otherA = Frame::Random(kWidth, kHeight, 3), otherB = Frame::Random(kWidth, kHeight, 4);
    Instance instance(LoadedPlugin().FindEffect(id));
    instance.Record().width = kWidth;
    instance.Record().height = kHeight;
    instance.Prepare();
    Frame out = Frame::Filled(kWidth, kHeight, 0);
    for (auto [p, first, second] : {std::tuple{"0.6", &otherA, &otherB}, std::tuple{"0.35", &a, &b}}) {
      instance.Set("P1", p);
      instance.SetInput(0, first->Data());
      instance.SetInput(1, second->Data());
      instance.Process(out.Data());
    }
    EXPECT_EQ(out.bytes, Render({id, 0.35f, 0}, a, b).bytes) << id << ": as a fresh instance draws it";
  }
}

TEST(Flip, ANewFrameSizeRebuildsTheSlab) {
  for (const char* id : {"DSP_TR_3DFlip", "DSP_TR_3DFlipTwo"}) {
    Instance instance(LoadedPlugin().FindEffect(id));
    instance.Set("P1", "0.4");
    instance.Prepare();
    Frame smallA = Frame::Random(40, 30, 1), smallB = Frame::Random(40, 30, 2);
    Frame largeA = Frame::Random(64, 36, 3), largeB = Frame::Random(64, 36, 4);
    for (Frame* pair : {&smallA, &largeA}) {
      Frame& first = *pair;
      Frame& second = pair == &smallA ? smallB : largeB;
      instance.Record().width = uint32_t(first.width);
      instance.Record().height = uint32_t(first.height);
      instance.SetInput(0, first.Data());
      instance.SetInput(1, second.Data());
      Frame out = Frame::Filled(first.width, first.height, 0);
      instance.Process(out.Data());
      if (pair == &largeA) {
        EXPECT_EQ(out.bytes, Render({id, 0.4f, 0}, largeA, largeB).bytes) << id << ": as a fresh instance draws it";
      }
    }
  }
}

}  // namespace
