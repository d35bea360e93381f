// The texture store, the SGL context's state machine and its rasterizer on small scenes whose
// pixels the tests work out themselves.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <iterator>
#include <random>
#include <vector>

#include "render/sgl_gen.h"
#include "render/texture_manager.h"
#include "vek_dsp/colour.h"

namespace {

using namespace vek::render;

// --- Texture store ---

TEST(TextureManager, RecordsSizesInListOrderAndNeverTouchesPixels) {
  std::vector<uint32_t> pixels = {1, 2, 3, 4};
  {
    TextureManager store;
    TextureRecord* odd = store.CreateTexture(pixels.data(), 640, 480);
    TextureRecord* tall = store.CreateTexture(pixels.data(), 256, 1024);
    TextureRecord* wide = store.CreateTexture(pixels.data(), 2048, 1);
    ASSERT_TRUE(odd && tall && wide);
    EXPECT_EQ(odd->width, 640);
    EXPECT_EQ(odd->height, 480);
    EXPECT_EQ(odd->log2Width | odd->log2Height, 0u) << "no powers of two";
    EXPECT_EQ(tall->log2Width, 8u);
    EXPECT_EQ(tall->log2Height, 10u);
    EXPECT_EQ(wide->log2Width, 0u) << "above 1024 is not in the table";
    EXPECT_EQ(store.CreateTexture(nullptr, 4, 4), nullptr);
    ASSERT_EQ(store.Head(), odd);
    EXPECT_EQ(odd->next, tall) << "records are appended at the tail";
    store.ReleaseTexture(tall);
    EXPECT_EQ(odd->next, wide);
    store.ReleaseTexture(odd);
    EXPECT_EQ(store.Head(), wide) << "the head moves on";
    TextureRecord stranger{};
    store.ReleaseTexture(&stranger);
    store.ReleaseTexture(nullptr);
    EXPECT_EQ(store.Head(), wide);
    store.ReleaseTexture(wide);
    EXPECT_EQ(store.Head(), nullptr);
    store.ReleaseTexture(wide);  // the second release finds nothing (a sanitizer build reports a double free)
    store.CreateTexture(pixels.data(), 2, 2);
  }
  EXPECT_EQ(pixels, (std::vector<uint32_t>{1, 2, 3, 4}));
}

// --- Context state ---

TEST(SglState, DefaultsAndTheErrorWord) {
  SGLGen gl(0);
  EXPECT_EQ(gl.GetError(), kSglNoError);
  int32_t viewport[4] = {-1, -1, -1, -1};
  gl.GetIntegers(kSglViewportQuery, viewport, 4);
  EXPECT_EQ(std::vector<int32_t>(viewport, viewport + 4), (std::vector<int32_t>{0, 0, 256, 256}));
  int32_t lights = 0;
  gl.GetIntegers(kSglLightCountQuery, &lights, 1);
  EXPECT_EQ(lights, 8);
  gl.GetIntegers(99, &lights, 1);
  EXPECT_EQ(gl.GetError(), kSglInvalidEnum);
  EXPECT_EQ(gl.GetError(), kSglInvalidEnum) << "reading does not reset the error";
  gl.Enable(kSglCullFace);
  EXPECT_EQ(gl.GetError(), kSglNoError) << "the next operation stores 31";
  const float colour[4] = {1, 1, 1, 1};
  const std::pair<std::function<void()>, int> refused[] = {
      {[&] { gl.Enable(1); }, kSglInvalidEnum},
      {[&] { gl.SetRasterPath(2); }, kSglInvalidEnum},
      {[&] { gl.SetFrontFace(31); }, kSglInvalidEnum},
      {[&] { gl.SetMatrixMode(27); }, kSglInvalidEnum},
      {[&] { gl.SetLight(kSglLight0 + 8, kSglAmbient, colour); }, kSglInvalidEnum},
      {[&] { gl.SetLight(kSglLight0, kSglLighting, colour); }, kSglInvalidEnum},
      {[&] { gl.Viewport(1, 0, 4, 4); }, kSglInvalidValue},
      {[&] { gl.Viewport(0, 0, -4, 4); }, kSglInvalidValue}};
  for (std::size_t k = 0; k < std::size(refused); ++k) {
    refused[k].first();
    EXPECT_EQ(gl.GetError(), refused[k].second) << "case " << k;
  }
}

TEST(SglState, BeginAndVertexOutsideTheirPlace) {
  SGLGen gl(0);
  const float origin[3] = {0, 0, 0}, marked[3] = {5, 0, 0};
  gl.Vertex3fv(origin);
  EXPECT_EQ(gl.GetError(), kSglInvalidOperation) << "a vertex outside Begin";
  gl.End();
  EXPECT_EQ(gl.GetError(), kSglInvalidOperation);
  gl.Begin(27);
  EXPECT_EQ(gl.GetError(), kSglInvalidEnum);
  gl.Begin(kSglTriangles);
  EXPECT_EQ(gl.GetError(), kSglInvalidOperation) << "GetError inside Begin stores 32";
  gl.Vertex3fv(marked);
  gl.Begin(kSglTriangles);  // refused: the vertex count goes on
  gl.Enable(kSglCullFace);  // refused
  gl.Vertex3fv(origin);
  gl.Vertex3fv(origin);
  gl.End();
  EXPECT_EQ(gl.Finish(), kSglNoError);
  ASSERT_NE(gl.Triangles()[0].vertices[0], nullptr) << "three vertices closed a triangle";
  EXPECT_EQ(gl.Triangles()[0].vertices[0]->object[0], 5.0f);
  EXPECT_EQ(gl.Triangles()[0].facing, 1) << "culling stayed off, so the degenerate triangle reached the test";
}

TEST(SglState, TextureIds) {
  SGLGen gl(0);
  std::vector<uint32_t> ids(70, 0);
  gl.GenTextures(70, ids.data());
  EXPECT_EQ(gl.GetError(), kSglInvalidValue) << "only 63 ids exist";
  for (uint32_t k = 0; k < 63; ++k) EXPECT_EQ(ids[k], k + 1);
  EXPECT_EQ(ids[63], 0u);

  gl.BindTexture(kSglTexture2D, 64);
  EXPECT_EQ(gl.GetError(), kSglInvalidOperation) << "an id out of range is an operation error, not a value error";
  gl.BindTexture(20, 1);
  EXPECT_EQ(gl.GetError(), kSglInvalidEnum);

  // An id stays free until an image is stored under it.
  std::vector<uint32_t> pixels(16, 0xFF00FF00);
  uint32_t first = 0, second = 0;
  gl.GenTextures(1, &first);
  gl.BindTexture(kSglTexture2D, first);
  gl.TexImage(kSglTexture2D, 0, kSglInternalFormat, 4, 4, 0, kSglPixelFormat, kSglPixelType, pixels.data());
  EXPECT_EQ(gl.GetError(), kSglNoError);
  gl.GenTextures(1, &second);
  EXPECT_EQ(first, 1u);
  EXPECT_EQ(second, 2u);
  gl.TexImage(kSglTexture2D, 0, kSglInternalFormat, 4, 4, 0, 99, kSglPixelType, pixels.data());
  EXPECT_EQ(gl.GetError(), kSglInvalidEnum);
  const uint32_t stale[2] = {first, 200};
  gl.DeleteTextures(2, stale);
  EXPECT_EQ(gl.GetError(), kSglNoError) << "ids of 64 and more are skipped";
  gl.GenTextures(1, &second);
  EXPECT_EQ(second, 1u) << "a deleted id is free again";
  gl.DeleteTextures(-1, stale);
  EXPECT_EQ(gl.GetError(), kSglInvalidValue);
}

TEST(SglState, ColourConversionsWrapExceptTheClearColour) {
  SGLGen gl(0);
  gl.Color3f(1.5f, 0.0f, 1.0f);
  EXPECT_EQ(gl.CurrentColour(), 0xFF7E00FFu) << "1.5 * 255 = 382, whose low byte is 126";
  gl.Color4d(-0.5, 0.5, 0.2, 0.0);
  EXPECT_EQ(gl.CurrentColour(), 0x00817F33u) << "-127.5 truncates to -127, whose low byte is 0x81";
  gl.Color4ub(1, 2, 3, 4);
  EXPECT_EQ(gl.CurrentColour(), 0x04010203u);
  gl.Color3dv(nullptr);
  EXPECT_EQ(gl.CurrentColour(), 0x04010203u);
  gl.SetClearColor(1.5, -1.0, 0.5, 2.0);
  EXPECT_EQ(gl.ClearColour(), 0xFFFF007Fu);
}

TEST(SglState, ModelViewOperations) {
  SGLGen gl(0);
  auto expectNear = [&](const std::vector<double>& expected, const char* what) {
    for (int k = 0; k < 16; ++k) EXPECT_NEAR(gl.ModelView()[k], expected[k], 1e-6) << what << " element " << k;
  };
  gl.Rotate(45.0, 0.0, 0.0, 2.0);
  expectNear({0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, "Rotate(45) about z turns by 90 degrees");
  gl.LoadIdentity();
  gl.Translate(1, 2, 3);
  gl.Translate(1, 0, -1);
  expectNear({1, 0, 0, 2, 0, 1, 0, 2, 0, 0, 1, 2, 0, 0, 0, 1}, "translations add up");
  gl.SetMatrixMode(kSglProjection);
  gl.Translate(5, 5, 5);
  expectNear({1, 0, 0, 2, 0, 1, 0, 2, 0, 0, 1, 2, 0, 0, 0, 1}, "projection mode leaves the model-view alone");
  gl.SetMatrixMode(kSglModelView);
  gl.LoadIdentity();
  const float columns[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 7, 8, 9, 1};  // a translation, column by column
  gl.MultMatrixf(columns);
  expectNear({1, 0, 0, 7, 0, 1, 0, 8, 0, 0, 1, 9, 0, 0, 0, 1}, "MultMatrixf transposes");
  gl.LoadIdentity();
  gl.LookAt(0, 0, 5, 0, 0, 0, 0, 1, 0);
  expectNear({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, -5, 0, 0, 0, 1}, "looking down -z from z = 5");
  gl.LoadIdentity();
  gl.LookAt(3, 0, 0, 0, 0, 0, 0, 1, 0);
  // From +x towards the origin: the view's right is -z, its back (+z of the eye) is +x.
  expectNear({0, 0, -1, 0, 0, 1, 0, 0, 1, 0, 0, -3, 0, 0, 0, 1}, "looking down -x from x = 3");
}

// --- Rendering ---

struct Canvas {
  Canvas(int w, int h) : width(w), height(h), pixels(std::size_t(w) * h, 0), gl(0) {
    gl.Viewport(0, 0, w, h);
    gl.SetColorBuffer(pixels.data());
  }
  // Eye space in pixels: x right, y down the image, like the rows.
  void PixelProjection() {
    gl.SetMatrixMode(kSglProjection);
    gl.Ortho(0, width, -height, 0, -10, 10);
    gl.SetMatrixMode(kSglModelView);
  }
  void Vertex(double x, double y, double z = 0) {
    const float v[3] = {float(x), float(-y), float(z)};
    gl.Vertex3fv(v);
  }
  uint32_t At(int x, int y) const { return pixels[std::size_t(y) * width + x]; }
  int width, height;
  std::vector<uint32_t> pixels;
  SGLGen gl;
};

std::vector<uint32_t> RandomTexture(int w, int h, uint32_t seed) {
  std::vector<uint32_t> texels(std::size_t(w) * h);
  std::mt19937 generator(seed);
  for (uint32_t& t : texels) t = generator();
  return texels;
}

void TexturedQuad(Canvas& c, double x0, double y0, double x1, double y1, double z = 0) {
  const double corners[4][4] = {{x0, y0, 0, 0}, {x1, y0, 1, 0}, {x1, y1, 1, 1}, {x0, y1, 0, 1}};
  for (int k : {0, 1, 2, 0, 2, 3}) {
    c.gl.TexCoord2d(corners[k][2], corners[k][3]);
    c.Vertex(corners[k][0], corners[k][1], z);
  }
}

void BindTexture(SGLGen& gl, const std::vector<uint32_t>& texels, int w, int h) {
  uint32_t id = 0;
  gl.GenTextures(1, &id);
  gl.BindTexture(kSglTexture2D, id);
  gl.TexImage(kSglTexture2D, 0, kSglInternalFormat, w, h, 0, kSglPixelFormat, kSglPixelType, texels.data());
  gl.Enable(kSglTexture2D);
}

TEST(Rasterizer, AQuadFacingTheCameraReproducesItsTextureExactly) {
  for (bool perspective : {false, true}) {
    for (auto [w, h] : {std::pair{16, 16}, std::pair{37, 23}}) {
      Canvas c(w, h);
      const std::vector<uint32_t> texels = RandomTexture(w, h, uint32_t(w));
      BindTexture(c.gl, texels, w, h);
      c.gl.SetMatrixMode(kSglProjection);
      if (perspective) {
        // The plane 4 units away fills the frustum's far-scaled box exactly.
        c.gl.Frustum(-w / 8.0, w / 8.0, -h / 8.0, h / 8.0, 1, 100);
        c.gl.SetMatrixMode(kSglModelView);
        c.gl.Begin(kSglTriangles);
        TexturedQuad(c, -w / 2.0, -h / 2.0, w / 2.0, h / 2.0, -4);
      } else {
        c.gl.Ortho(0, w, -h, 0, -10, 10);
        c.gl.SetMatrixMode(kSglModelView);
        c.gl.Begin(kSglTriangles);
        TexturedQuad(c, 0, 0, w, h);
      }
      c.gl.End();
      EXPECT_EQ(c.pixels, texels) << (perspective ? "perspective " : "orthographic ") << w << "x" << h;
    }
  }
}

TEST(Rasterizer, BilinearSamplingOfAFlatTextureIsExactAndBlendsNeighbours) {
  Canvas c(8, 1);
  c.PixelProjection();
  // Two texels; the quad maps them onto 8 pixels: pixel centres fall at 1/8 .. 15/16 of the way.
  const std::vector<uint32_t> texels = {0x00000000, 0x80402010};
  BindTexture(c.gl, texels, 2, 1);
  c.gl.Enable(kSglSampleBilinearClamp);
  c.gl.Begin(kSglTriangles);
  TexturedQuad(c, 0, 0, 8, 1);
  c.gl.End();
  for (int x = 0; x < 8; ++x) {
    // Texel coordinate of the centre, measured from texel centres, held at the edges.
    const double u = std::clamp((x + 0.5) / 8.0 * 2.0 - 0.5, 0.0, 1.0);
    const uint32_t weight = uint32_t(u * 256.0);
    for (int byte = 0; byte < 4; ++byte) {
      const uint32_t b = (texels[1] >> (8 * byte)) & 0xFF;
      EXPECT_EQ((c.At(x, 0) >> (8 * byte)) & 0xFF, (b * weight) >> 8) << "pixel " << x << " byte " << byte;
    }
  }
}

// Pixels whose centre lies inside a convex polygon by more than a margin (negative: outside).
// Distance of (x, y) from the edge a -> b, positive on its right as the picture is seen: the
// inside of a polygon that runs clockwise.
double EdgeDistance(std::pair<double, double> a, std::pair<double, double> b, double x, double y) {
  const auto [x0, y0] = a;
  const auto [x1, y1] = b;
  return ((x1 - x0) * (y - y0) - (y1 - y0) * (x - x0)) / std::hypot(x1 - x0, y1 - y0);
}

TEST(Rasterizer, TrianglesSharingEdgesCoverEveryPixelOnce) {
  std::mt19937 generator(5);
  std::uniform_real_distribution<double> jitter(-0.5, 0.5);
  for (int trial = 0; trial < 20; ++trial) {
    Canvas c(48, 40);
    c.PixelProjection();
    // A fan of triangles around a centre; half-transparent, so a pixel drawn twice shows a second
    // blend. Odd trials put every corner on a pixel centre, so that shared edges run exactly
    // through pixel centres and the tie rule decides.
    const bool onCentres = trial % 2 == 1;
    auto place = [&](double v) { return onCentres ? std::floor(v) + 0.5 : v; };
    const double cx = place(24 + jitter(generator) * 4), cy = place(20 + jitter(generator) * 4);
    std::vector<std::pair<double, double>> rim;
    const int sides = 4 + trial % 7;
    for (int k = 0; k < sides; ++k) {
      const double angle = 2 * 3.14159265358979323846 * k / sides + jitter(generator) * 0.3;
      rim.emplace_back(place(cx + std::cos(angle) * (15 + jitter(generator) * 4)),
                       place(cy + std::sin(angle) * (15 + jitter(generator) * 4)));
    }
    c.gl.Color4ub(255, 255, 255, 128);
    c.gl.Begin(kSglTriangles);
    for (int k = 0; k < sides; ++k) {
      c.Vertex(cx, cy);
      c.Vertex(rim[k].first, rim[k].second);
      c.Vertex(rim[(k + 1) % sides].first, rim[(k + 1) % sides].second);
    }
    c.gl.End();
    // White at alpha 128 over zero bytes: 255 * 129 / 256 in the colour bytes, 128 * 129 / 256 in alpha.
    const uint32_t once = 0x40808080;
    // Inside the fan by a margin from its rim; the spokes between its triangles count as inside.
    auto inside = [&](double x, double y, double margin) {
      for (int k = 0; k < sides; ++k) {
        const std::pair<double, double> centre{cx, cy}, a = rim[k], b = rim[(k + 1) % sides];
        const double spoke = std::min(margin, -1e-9);
        if (EdgeDistance(centre, a, x, y) >= spoke && EdgeDistance(a, b, x, y) >= margin &&
            EdgeDistance(b, centre, x, y) >= spoke) {
          return true;
        }
      }
      return false;
    };
    for (int y = 0; y < c.height; ++y) {
      for (int x = 0; x < c.width; ++x) {
        const uint32_t p = c.At(x, y);
        ASSERT_TRUE(p == 0 || p == once) << "trial " << trial << " pixel " << x << "," << y << " drawn twice";
        if (inside(x + 0.5, y + 0.5, 0.01)) {
          ASSERT_EQ(p, once) << "gap at " << x << "," << y;
        }
        if (!inside(x + 0.5, y + 0.5, -0.01)) {
          ASSERT_EQ(p, 0u) << "outside at " << x << "," << y;
        }
      }
    }
  }
}

TEST(Rasterizer, TheDepthTestHidesTheFartherTriangleInEitherOrder) {
  for (bool nearFirst : {true, false}) {
    Canvas c(20, 20);
    c.PixelProjection();
    c.gl.Enable(kSglDepthTest);
    c.gl.Clear(kSglDepthBufferBit);
    c.gl.Begin(kSglTriangles);
    for (int pass = 0; pass < 2; ++pass) {
      const bool nearOne = (pass == 0) == nearFirst;
      c.gl.Color3ub(nearOne ? 255 : 0, 0, nearOne ? 0 : 255);
      const double z = nearOne ? 1.0 : -1.0;  // larger z is nearer the viewer
      const double shift = nearOne ? 0 : 6;
      c.Vertex(shift, shift, z), c.Vertex(14 + shift, shift, z), c.Vertex(shift, 14 + shift, z);
    }
    c.gl.End();
    EXPECT_EQ(c.At(6, 6), 0xFFFF0000u) << "overlap shows the near red one, near first " << nearFirst;
    EXPECT_EQ(c.At(12, 10), 0xFF0000FFu) << "blue alone";
    EXPECT_EQ(c.At(2, 2), 0xFFFF0000u) << "red alone";
  }
}

TEST(Rasterizer, CullingByFacing) {
  for (int frontFace : {kSglCounterClockwise, kSglClockwise}) {
    for (bool clockwise : {false, true}) {
      Canvas c(10, 10);
      c.PixelProjection();
      c.gl.Enable(kSglCullFace);
      c.gl.SetFrontFace(frontFace);
      c.gl.Begin(kSglTriangles);
      // (0, 0) -> (9, 0) -> (0, 9) on the picture runs clockwise as the viewer sees it.
      c.Vertex(0, 0);
      if (clockwise) {
        c.Vertex(9, 0), c.Vertex(0, 9);
      } else {
        c.Vertex(0, 9), c.Vertex(9, 0);
      }
      c.gl.End();
      const bool drawn = c.At(2, 2) != 0;
      EXPECT_EQ(drawn, clockwise == (frontFace == kSglClockwise)) << frontFace << " clockwise " << clockwise;
      EXPECT_EQ(c.gl.Triangles()[0].facing, clockwise ? 1 : 0) << "facing: the negated orientation test";
    }
  }
}

TEST(Rasterizer, The257thTriangleFlushesTheFirstBatchAndDrawsTheSame) {
  std::mt19937 generator(9);
  std::uniform_real_distribution<double> place(0, 60);
  std::vector<double> corners(257 * 6);
  for (double& v : corners) v = place(generator);
  auto draw = [&](bool oneBatch) {
    Canvas c(64, 64);
    c.PixelProjection();
    c.gl.Begin(kSglTriangles);
    for (int t = 0; t < 257; ++t) {
      if (!oneBatch && t > 0) {
        c.gl.End();
        c.gl.Begin(kSglTriangles);
      }
      c.gl.Color4ub(uint8_t(t), uint8_t(t * 7), uint8_t(t * 13), 200);
      for (int k = 0; k < 3; ++k) c.Vertex(corners[t * 6 + k * 2], corners[t * 6 + k * 2 + 1]);
    }
    c.gl.End();
    return c.pixels;
  };
  const std::vector<uint32_t> batched = draw(true);
  EXPECT_EQ(batched, draw(false));
  EXPECT_GT(std::count_if(batched.begin(), batched.end(), [](uint32_t p) { return p != 0; }), 1000);
}

TEST(Rasterizer, ClearIgnoresTheClearColourAndTheErrorWord) {
  Canvas c(6, 6);
  std::fill(c.pixels.begin(), c.pixels.end(), 0x12345678u);
  c.gl.SetClearColor(1, 1, 1, 1);
  c.gl.Enable(99);
  c.gl.Clear(kSglColourBufferBit);
  EXPECT_TRUE(std::all_of(c.pixels.begin(), c.pixels.end(), [](uint32_t p) { return p == 0; }));
  EXPECT_EQ(c.gl.GetError(), kSglInvalidEnum);
}

TEST(Rasterizer, ReadPixelsAndTheColourBufferRules) {
  SGLGen gl(0);
  gl.Viewport(0, 0, 3, 2);
  gl.Color3ub(10, 20, 30);
  gl.SetMatrixMode(kSglProjection);
  gl.Ortho(0, 3, 0, 2, -1, 1);
  gl.SetMatrixMode(kSglModelView);
  gl.Begin(kSglTriangles);
  const float a[3] = {0, 0, 0}, b[3] = {3, 0, 0}, d[3] = {0, 2, 0};
  gl.Vertex3fv(a), gl.Vertex3fv(b), gl.Vertex3fv(d);
  gl.End();
  std::vector<uint32_t> out(6, 1);
  gl.ReadPixels(0, 0, 3, 3, kSglPixelFormat, kSglPixelType, out.data());
  EXPECT_EQ(gl.GetError(), kSglInvalidValue);
  gl.ReadPixels(0, 0, 3, 2, kSglPixelFormat, 0, out.data());
  EXPECT_EQ(gl.GetError(), kSglInvalidEnum);
  gl.ReadPixels(0, 0, 3, 2, kSglPixelFormat, kSglPixelType, out.data());
  EXPECT_EQ(gl.GetError(), kSglNoError);
  EXPECT_EQ(out[3], 0xFF0A141Eu) << "bottom-left pixel, row 1";
  EXPECT_EQ(out[2], 0u) << "top-right pixel lies outside";

  gl.Viewport(0, 0, 0, 0);
  gl.SetMatrixMode(kSglProjection);
  gl.Frustum(-1, 1, -1, 1, 1, 10);
  EXPECT_EQ(gl.GetError(), kSglInvalidOperation) << "no colour buffer";
  gl.ReadPixels(0, 0, 0, 0, kSglPixelFormat, kSglPixelType, out.data());
  EXPECT_EQ(gl.GetError(), kSglInvalidOperation);
}

// A 4 x 4 square facing the viewer under light 0, lit flat because every corner gets the same
// light; the pixel that its colour (200, 100, 50) becomes.
uint32_t LitSquare(int layout, const float* ambient, const float* diffuse, const float* specular,
                   const float* position) {
  Canvas c(4, 4);
  c.gl.SetMatrixMode(kSglProjection);
  c.gl.Ortho(-2, 2, -2, 2, -10, 10);  // the square's centre at the eye's axis
  c.gl.SetMatrixMode(kSglModelView);
  c.gl.SetRasterizerMode(layout);
  c.gl.Enable(kSglLighting);
  c.gl.Enable(kSglLight0);
  c.gl.SetLight(kSglLight0, kSglAmbient, ambient);
  c.gl.SetLight(kSglLight0, kSglDiffuse, diffuse);
  c.gl.SetLight(kSglLight0, kSglSpecular, specular);
  c.gl.SetLight(kSglLight0, kSglPosition, position);
  const float normal[3] = {0, 0, 1};  // towards the viewer
  c.gl.Normal3fv(normal);
  c.gl.Color3ub(200, 100, 50);
  c.gl.Begin(kSglTriangles);
  const float corners[4][3] = {{-2, 2, 0}, {2, 2, 0}, {2, -2, 0}, {-2, -2, 0}};
  for (int k : {0, 1, 2, 0, 2, 3}) c.gl.Vertex3fv(corners[k]);
  c.gl.End();
  EXPECT_EQ(c.At(0, 0), c.At(3, 2)) << "one light over the whole square";
  return c.At(1, 1);
}

// The colour times a 0..256 factor, in the layout's bytes.
uint32_t Expected(int layout, uint32_t factor) {
  const uint8_t r = uint8_t(200 * factor >> 8), g = uint8_t(100 * factor >> 8), b = uint8_t(50 * factor >> 8);
  if (layout == kLayoutAyuv) {
    const VekYuv yuv = VekRgbToYuv(r, g, b);
    return 0xFF000000u | uint32_t(yuv.y) << 16 | uint32_t(yuv.u) << 8 | yuv.v;
  }
  return 0xFF000000u | uint32_t(r) << 16 | uint32_t(g) << 8 | b;
}

// Light bytes become a factor of lit * 256 / 255, rounded.
uint32_t Factor(double lit) {
  return uint32_t(std::min(256.0, std::floor(lit * 256.0 / 255.0 + 0.5)));
}

TEST(Rasterizer, LightingInBothLayouts) {
  const float ambient[4] = {0.2f, 0.2f, 0.2f, 1}, diffuse[4] = {0.6f, 0.6f, 0.6f, 1}, none[4] = {0, 0, 0, 1};
  const float shiny[4] = {0.2f, 0.2f, 0.2f, 1};
  const float ahead[4] = {0, 0, 1, 0};  // directional, from the viewer's side
  const float above[4] = {0, 0, 2, 1};  // a point 2 in front of the square's centre
  for (int layout : {kLayoutArgb, kLayoutAyuv}) {
    // Bytes 51 and 153 of 255: the diffuse part is whole when the light faces the square.
    EXPECT_EQ(LitSquare(layout, ambient, diffuse, none, ahead), Expected(layout, Factor(51 + 153))) << layout;
    // The half vector of that light and the viewer is the normal: the specular part is whole too.
    EXPECT_EQ(LitSquare(layout, ambient, diffuse, shiny, ahead), Expected(layout, Factor(51 + 153 + 51))) << layout;
    // A point light seen from each corner at 2 / sqrt(2^2 + 2^2 + 2^2) of the normal's direction.
    EXPECT_EQ(LitSquare(layout, ambient, diffuse, none, above), Expected(layout, Factor(51 + 153 / std::sqrt(3.0))))
        << layout;
  }
}

}  // namespace
