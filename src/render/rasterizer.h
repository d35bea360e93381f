// RasterizerGen: turns the rendering context's eye-space triangles into pixels of its colour
// buffer. Set-up (lighting, clipping, projection, edge and attribute equations) runs on the
// calling thread; the fills are queued and drawn in runs of rows shared among the workers, each
// run drawing every queued triangle in order over its own rows, so the bytes do not depend on
// the number of workers.
//
// Conventions:
// - Eye space as the context hands it over: x right, y up, depth growing away from the viewer;
//   normals and light positions have their z negated the same way.
// - The projection box arrives with top and bottom negated, because image rows run downward:
//   row = (-y * n / depth - top) / (bottom - top) * height in perspective, without n / depth in
//   orthographic projection; columns likewise from left and right. Triangles are clipped against
//   the near and far planes, and against the screen when they reach far beyond it.
// - Pixel (i, j) is sampled at its centre (i + 0.5, j + 0.5). Vertices are snapped to 1/256 pixel
//   and coverage is decided exactly in integers with the top-left rule, so an edge two triangles
//   share is drawn exactly once.
// - Texture coordinate (0, 0) is the first pixel of the texture's first row, (1, 1) the far
//   corner of its last one. Path 0 computes them perspective-correct every 32 pixels of a row and
//   steps them linearly in between; textures of any size work, powers of two repeat by masking.
//   Before drawing, a texture that the fills walk down its columns over many pixels is copied
//   turned on its side, so that those rows read it along its lines; the bytes stay the same.
// - Lighting is per vertex: every enabled light adds ambient + diffuse (N.L) + specular (N.H)^16,
//   each colour channel up to 255. A textured pixel is its texel lit by that colour (AYUV: luma
//   and chroma scaled towards black by the light's luma); an untextured one the triangle's colour
//   lit, converted to AYUV on that path. Alpha below 255 in the colour blends the triangle.
#pragma once

#include <cstddef>
#include <cstdint>

#include "render/texture_manager.h"

namespace vek::render {

struct RasterVertex {
  float x, y, depth;
  float nx, ny, nz;
  float s, t;
};

// How a textured fill reads its texture.
enum SamplingMode : int32_t {
  kSampleNearest = 0,        // the texel under the sample; coordinates repeat outside 0..1
  kSampleBilinear = 1,       // the four nearest texels weighted; coordinates repeat
  kSampleBilinearClamp = 2,  // the same with coordinates held at the texture's edges: a picture
                             // mapped 0..1 gets no colour from its opposite edge at its borders
};

// The pixel layout of the colour buffer and textures (SetMode).
enum PixelLayout : int32_t { kLayoutArgb = 0, kLayoutAyuv = 1 };

inline constexpr int kMaxLights = 8;

class RasterizerGen {
 public:
  RasterizerGen() noexcept;
  virtual ~RasterizerGen();
  RasterizerGen(const RasterizerGen&) = delete;
  RasterizerGen& operator=(const RasterizerGen&) = delete;

  // The projection and the colour buffer of width x height pixels (null: nothing is drawn).
  // perspective is 0 for an orthographic projection. Fills still queued are dropped.
  virtual void Init(float perspective, float width, float height, float top, float bottom, float left, float right,
                    float near, float far, uint32_t* colour) noexcept;

  // Pixel path: kLayoutAyuv draws luma/chroma pixels, any other value ARGB.
  virtual void SetMode(int32_t value) noexcept { mode_ = value; }
  int32_t Mode() const noexcept { return mode_; }
  // Bands the fills are split into; below 2 the calling thread draws alone.
  void SetWorkers(int32_t workers) noexcept { workers_ = workers; }

  virtual void SetDepthTest(bool on) noexcept { depthTest_ = on; }
  virtual void SetLighting(bool on) noexcept { lighting_ = on; }
  virtual void SetLightEnabled(int light, bool on) noexcept;
  // which: 0 ambient, 1 diffuse, 2 specular; components 0..255.
  virtual void SetLightColour(int light, int which, int red, int green, int blue) noexcept;
  // w = 0: a directional light shining from (x, y, z); otherwise a point light at (x, y, z) / w.
  virtual void SetLightPosition(int light, float x, float y, float z, float w) noexcept;
  // Every pixel of the depth buffer to the farthest value.
  virtual void ClearDepth() noexcept;

  // Non-zero when the triangle turns counter-clockwise as the viewer sees it.
  virtual int Orientation(const RasterVertex& a, const RasterVertex& b, const RasterVertex& c) const noexcept;

  // Lights, clips and projects one triangle with the routines of raster path 0 (perspective-correct
  // attributes, smooth shading) or 1 (screen-linear attributes, one colour per triangle); false
  // when nothing of it can be seen. colour is blue, green, red, alpha; alpha below 255 blends.
  virtual bool SetUp(int32_t path, const RasterVertex& a, const RasterVertex& b, const RasterVertex& c,
                     const uint8_t colour[4]) noexcept;
  // Queue the triangle last set up with its fill.
  virtual void FillTextured(const TextureRecord* texture, int32_t samplingMode) noexcept;
  virtual void FillUntextured(int32_t path) noexcept;
  // Draws every queued fill into the colour (and depth) buffer; while held, keeps them queued.
  virtual void Execute() noexcept;

  // What the fills of a run do to one of its rows: the columns they touch, and, as sorted runs of
  // columns, those they are sure to overwrite (known only when no fill blends or tests depth and
  // there are at most kMaxSolid such runs; otherwise solidCount is -1).
  static constexpr int kMaxSolid = 8;
  struct RowCoverage {
    int from, to;  // none when from > to
    int solidCount;
    int solidFrom[kMaxSolid], solidTo[kMaxSolid];
  };
  // Work around the drawing of held fills, run by run of image rows y0..y1-1; rows[k] is row y0 + k,
  // and `image` holds the run's rows, Width() pixels each, row y0 first.
  struct RunHooks {
    void* context;
    void (*before)(void* context, int y0, int y1, const RowCoverage* rows, uint32_t* image);
    void (*after)(void* context, int y0, int y1, const RowCoverage* rows, const uint32_t* image);
  };
  static constexpr int kMaxRunRows = 64;
  // Fills queued while held wait for ExecuteInRuns.
  void Hold(bool on) noexcept { holding_ = on; }
  // Draws the queued fills in runs of `rows` image rows (even, at most kMaxRunRows), every run of
  // the image from row 0, each between its hooks, not into the colour buffer but into rows of the
  // run alone, one set per worker and used again run after run: what a run draws never leaves the
  // cache, and the hooks give it its background and take the result. Only the columns of a row
  // that the coverage names are drawn; the others hold what an earlier run left. The runs are
  // shared among the workers. False, with the fills dropped, when memory for the rows runs out.
  bool ExecuteInRuns(int rows, const RunHooks& hooks) noexcept;

  int Width() const noexcept { return width_; }
  int Height() const noexcept { return height_; }

  // A vertex after projection: pixel position, then values that vary linearly across the screen:
  // q (1 / depth, or 1 for screen-linear attributes), s, t and the lit colour each times q, and
  // the nearness that the depth test compares (larger is nearer).
  struct ScreenVertex {
    float x, y, q, s, t, r, g, b, z;
  };
  // A plane over the screen: the value at pixel centre (px, py) is at + dx (px - ox) + dy (py - oy).
  struct Plane {
    float at, dx, dy;
  };
  struct Prepared;
  // Row y of the image is colour + (y - firstRow) * width; the depth buffer holds every row.
  struct Target {
    uint32_t* colour;
    float* depth;
    int width;
    int firstRow;
  };
  using SpanFn = void (*)(const Prepared& triangle, const Target& target, int row, int first, int last);
  // A set-up triangle ready to fill: exact edge functions, bounds, attribute planes and its fill.
  struct Prepared {
    // E(i, j) = ei i + ej j + e0 at the centre of pixel (i, j), in 1/65536 pixel^2; inside where E >= 0.
    int64_t ei[3], ej[3], e0[3];
    int x0, x1, y0, y1;  // pixel bounds on the screen, inclusive
    float ox, oy;
    Plane q, s, t, r, g, b, z;
    int32_t light[3];    // red, green, blue 0..256 when the lighting is the same over the triangle
    uint32_t flatPixel;  // the pixel of an untextured triangle of one colour
    uint8_t colour[4];   // blue, green, red, alpha
    bool flat, modulate, depthTest;
    bool bilinear;  // a bilinear kind of textured fill
    const TextureRecord* texture;
    // The texture turned on its side (its columns stored as rows), when fills walk down its columns
    // over many pixels; null otherwise.
    const uint32_t* turned;
    SpanFn span;
  };

 private:
  struct LightSource {
    bool enabled;
    float ambient[3], diffuse[3], specular[3];
    float position[4];
  };

  void Light(const RasterVertex& v, float lit[3]) const noexcept;
  bool Prepare(const ScreenVertex& a, const ScreenVertex& b, const ScreenVertex& c, Prepared& out) const noexcept;
  void Queue(bool textured, const TextureRecord* texture, int32_t samplingMode) noexcept;
  float* DepthBuffer() noexcept;

  // Projection and target.
  bool perspective_ = false;
  int width_ = 0, height_ = 0;
  float top_ = -1, bottom_ = 1, left_ = -1, right_ = 1, near_ = 1, far_ = 10;
  uint32_t* colour_ = nullptr;
  float* depth_ = nullptr;
  std::size_t depthPixels_ = 0;
  bool depthTest_ = false;
  int32_t mode_ = kLayoutArgb;
  int32_t workers_ = 1;

  bool lighting_ = false;
  LightSource lights_[kMaxLights] = {};

  // The triangle last set up: a convex polygon after clipping.
  static constexpr int kMaxPolygon = 12;
  ScreenVertex pending_[kMaxPolygon];
  int pendingCount_ = 0;
  int32_t pendingPath_ = 0;
  uint8_t pendingColour_[4] = {};
  bool pendingFlat_ = true;
  float pendingLight_[3] = {};  // the lit colour of the first corner, 0..255

  // The queue grows as fills arrive; without memory for more, a held fill is dropped and an
  // unheld queue drawn early.
  bool Grow() noexcept;
  // run(target, y0, y1, worker) for each run; worker numbers the workers from 0.
  template <class RunFn>
  void ForEachRun(int rows, bool wholeImage, RunFn&& run) noexcept;
  // What the queued fills cover in each row y0..y1-1, and their drawing in those rows.
  void Coverage(int y0, int y1, RowCoverage* rows) const noexcept;
  void DrawRows(const Target& target, int y0, int y1) const noexcept;
  Prepared* queue_ = nullptr;
  int queued_ = 0;
  int capacity_ = 0;
  bool holding_ = false;
  uint32_t* runImages_ = nullptr;  // ExecuteInRuns' rows, a run's worth per worker
  std::size_t runImagePixels_ = 0;

  // Turned copies of the textures that the queued fills walk down the columns of, made before the
  // fills are drawn; their memory is kept for the next drawing.
  void TurnWalkedTextures() noexcept;
  static constexpr int kMaxTurned = 2;
  uint32_t* turned_[kMaxTurned] = {};
  std::size_t turnedPixels_[kMaxTurned] = {};
};

}  // namespace vek::render
