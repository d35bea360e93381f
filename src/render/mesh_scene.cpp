#include "render/mesh_scene.h"

#include <emmintrin.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>

#include "image/rows.h"

namespace vek::render {

// --- Mesh ---

Mesh::~Mesh() {
  Release();
}

Mesh::Mesh(Mesh&& other) noexcept {
  *this = static_cast<Mesh&&>(other);
}

Mesh& Mesh::operator=(Mesh&& other) noexcept {
  if (this != &other) {
    Release();
    vertices = other.vertices, triangles = other.triangles;
    vertexCount = other.vertexCount, triangleCount = other.triangleCount;
    other.vertices = nullptr, other.triangles = nullptr;
    other.vertexCount = other.triangleCount = 0;
  }
  return *this;
}

void Mesh::Release() noexcept {
  std::free(vertices);
  std::free(triangles);
  vertices = nullptr, triangles = nullptr;
  vertexCount = triangleCount = 0;
}

bool Mesh::Allocate(int vertexCount_, int triangleCount_) noexcept {
  Release();
  // Triangles and draw-list entries index with 16 bits.
  if (vertexCount_ <= 0 || vertexCount_ > 65536 || triangleCount_ <= 0 || triangleCount_ > 65536) return false;
  vertices = static_cast<MeshVertex*>(std::calloc(std::size_t(vertexCount_), sizeof(MeshVertex)));
  triangles = static_cast<MeshTriangle*>(std::calloc(std::size_t(triangleCount_), sizeof(MeshTriangle)));
  if (!vertices || !triangles) {
    Release();
    return false;
  }
  vertexCount = vertexCount_, triangleCount = triangleCount_;
  return true;
}

bool Mesh::Box(float x0, float x1, float y0, float y1, float z0, float z1, const uint8_t rgb[3]) noexcept {
  if (!Allocate(24, 12)) return false;
  // Each face: its corners top-left, top-right, bottom-left, bottom-right as seen from outside,
  // its outward normal and what it shows.
  struct FaceCorners {
    float corner[4][3];
    float normal[3];
    MeshFace face;
  };
  const FaceCorners faces[6] = {
      {{{x0, y1, z1}, {x1, y1, z1}, {x0, y0, z1}, {x1, y0, z1}}, {0, 0, 1}, kFaceFront},
      {{{x1, y1, z0}, {x0, y1, z0}, {x1, y0, z0}, {x0, y0, z0}}, {0, 0, -1}, kFaceBack},
      {{{x1, y1, z1}, {x1, y1, z0}, {x1, y0, z1}, {x1, y0, z0}}, {1, 0, 0}, kFaceNone},
      {{{x0, y1, z0}, {x0, y1, z1}, {x0, y0, z0}, {x0, y0, z1}}, {-1, 0, 0}, kFaceNone},
      {{{x0, y1, z0}, {x1, y1, z0}, {x0, y1, z1}, {x1, y1, z1}}, {0, 1, 0}, kFaceNone},
      {{{x0, y0, z1}, {x1, y0, z1}, {x0, y0, z0}, {x1, y0, z0}}, {0, -1, 0}, kFaceNone},
  };
  constexpr float kCornerU[4] = {0, 1, 0, 1}, kCornerV[4] = {0, 0, 1, 1};
  for (int f = 0; f < 6; ++f) {
    for (int k = 0; k < 4; ++k) {
      MeshVertex& v = vertices[f * 4 + k];
      std::memcpy(v.position, faces[f].corner[k], sizeof v.position);
      std::memcpy(v.normal, faces[f].normal, sizeof v.normal);
      v.u = kCornerU[k], v.v = kCornerV[k];
    }
    // Top-left, top-right, bottom-right and top-left, bottom-right, bottom-left: clockwise.
    const uint16_t base = uint16_t(f * 4);
    triangles[f * 2] = {{base, uint16_t(base + 1), uint16_t(base + 3)}, {rgb[0], rgb[1], rgb[2]}, faces[f].face};
    triangles[f * 2 + 1] = {{base, uint16_t(base + 3), uint16_t(base + 2)}, {rgb[0], rgb[1], rgb[2]}, faces[f].face};
  }
  return true;
}

void Mesh::MapImage(MeshFace face, const float corners[8]) noexcept {
  if (!corners) return;
  // Every vertex of a triangle of that face takes the corners' coordinates blended by its place
  // on the face.
  for (int k = 0; k < triangleCount; ++k) {
    if (triangles[k].face != face) continue;
    for (uint16_t index : triangles[k].vertex) {
      MeshVertex& v = vertices[index];
      const float w[4] = {(1 - v.u) * (1 - v.v), v.u * (1 - v.v), (1 - v.u) * v.v, v.u * v.v};
      v.s = w[0] * corners[0] + w[1] * corners[2] + w[2] * corners[4] + w[3] * corners[6];
      v.t = w[0] * corners[1] + w[1] * corners[3] + w[2] * corners[5] + w[3] * corners[7];
    }
  }
}

// --- Scene ---

namespace {

// Blocks x0..x1-1 of a pair of rows of the drawing image, 2 x 2 pixels each, set to one pixel.
void FillBlocks(uint32_t* row0, int drawWidth, int x0, int x1, uint32_t pixel) {
  std::fill(row0 + 2 * x0, row0 + 2 * x1, pixel);
  std::fill(row0 + drawWidth + 2 * x0, row0 + drawWidth + 2 * x1, pixel);
}

// Each 2 x 2 block of two rows averaged into one pixel: (a + b + c + d + 2) / 4 for every byte.
uint32_t ReduceBlock(uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
  const uint32_t even = (a & 0xFF00FF) + (b & 0xFF00FF) + (c & 0xFF00FF) + (d & 0xFF00FF) + 0x00020002;
  const uint32_t odd =
      ((a >> 8) & 0xFF00FF) + ((b >> 8) & 0xFF00FF) + ((c >> 8) & 0xFF00FF) + ((d >> 8) & 0xFF00FF) + 0x00020002;
  return ((even >> 2) & 0xFF00FF) | ((odd << 6) & 0xFF00FF00);
}

void Reduce(const uint32_t* row0, int drawWidth, uint32_t* out, int x0, int x1) {
  const uint32_t* row1 = row0 + drawWidth;
  const __m128i zero = _mm_setzero_si128(), two = _mm_set1_epi16(2);
  int x = x0;
  for (; x + 2 <= x1; x += 2) {
    // Four pixels of each row, as 16-bit lanes: the two blocks' columns summed over both rows.
    const __m128i top = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row0 + 2 * x));
    const __m128i bottom = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row1 + 2 * x));
    const __m128i first = _mm_add_epi16(_mm_unpacklo_epi8(top, zero), _mm_unpacklo_epi8(bottom, zero));
    const __m128i second = _mm_add_epi16(_mm_unpackhi_epi8(top, zero), _mm_unpackhi_epi8(bottom, zero));
    const __m128i sums = _mm_add_epi16(_mm_unpacklo_epi64(first, second), _mm_unpackhi_epi64(first, second));
    const __m128i mean = _mm_srli_epi16(_mm_add_epi16(sums, two), 2);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out + x), _mm_packus_epi16(mean, mean));
  }
  for (; x < x1; ++x) out[x] = ReduceBlock(row0[2 * x], row0[2 * x + 1], row1[2 * x], row1[2 * x + 1]);
}

// The two passes around the drawing of each run of rows of the drawing image, over the columns its
// fills touch in each pair of rows. The run's rows are in `image`, its first row first; the
// target's pixels that no fill touches get the background.
struct Passes {
  using RowCoverage = RasterizerGen::RowCoverage;
  uint32_t* target;
  int width;
  uint32_t background;

  // The target's row under row pair (row, row + 1) of the drawing image.
  uint32_t* Out(int row) const { return target + std::size_t(row / 2) * width; }

  static void Before(void* context, int y0, int y1, const RowCoverage* rows, uint32_t* image) {
    const Passes& p = *static_cast<const Passes*>(context);
    for (int y = y0; y + 1 < y1; y += 2) {
      const RowCoverage &top = rows[y - y0], &bottom = rows[y - y0 + 1];
      const int from = std::min(top.from, bottom.from), to = std::max(top.to, bottom.to);
      uint32_t* out = p.Out(y);
      if (from > to) {
        std::fill(out, out + p.width, p.background);
        continue;
      }
      std::fill(out, out + from / 2, p.background);
      std::fill(out + to / 2 + 1, out + p.width, p.background);
      uint32_t* pair = image + std::size_t(y - y0) * 2 * p.width;
      // Blocks whose four pixels the fills overwrite need no background: only the others get it.
      int x = from / 2;
      if (top.solidCount >= 0 && bottom.solidCount >= 0) {
        for (int i = 0, j = 0; i < top.solidCount && j < bottom.solidCount;) {
          const int a = std::max(top.solidFrom[i], bottom.solidFrom[j]),
                    b = std::min(top.solidTo[i], bottom.solidTo[j]);
          const int firstBlock = (a + 1) / 2, lastBlock = (b + 1) / 2 - 1;
          if (firstBlock <= lastBlock) {
            if (firstBlock > x) FillBlocks(pair, 2 * p.width, x, firstBlock, p.background);
            x = std::max(x, lastBlock + 1);
          }
          (top.solidTo[i] < bottom.solidTo[j] ? i : j)++;
        }
      }
      if (x <= to / 2) FillBlocks(pair, 2 * p.width, x, to / 2 + 1, p.background);
    }
  }
  static void After(void* context, int y0, int y1, const RowCoverage* rows, const uint32_t* image) {
    const Passes& p = *static_cast<const Passes*>(context);
    for (int y = y0; y + 1 < y1; y += 2) {
      const int from = std::min(rows[y - y0].from, rows[y - y0 + 1].from);
      const int to = std::max(rows[y - y0].to, rows[y - y0 + 1].to);
      if (from <= to) Reduce(image + std::size_t(y - y0) * 2 * p.width, 2 * p.width, p.Out(y), from / 2, to / 2 + 1);
    }
  }
};

}  // namespace

MeshScene::MeshScene(int32_t optionWord) noexcept : optionWord_(optionWord) {}

MeshScene::~MeshScene() {
  ReleaseContent();
}

void MeshScene::ReleaseContent() noexcept {
  for (Object*& object : objects_) {
    delete object;
    object = nullptr;
  }
  objectCount_ = 0;
  delete context_;
  context_ = nullptr;
  std::free(world_);
  std::free(drawList_);
  world_ = nullptr, drawList_ = nullptr, target_ = nullptr;
  capacityVertices_ = capacityTriangles_ = 0;
  width_ = height_ = 0;
}

bool MeshScene::Size(int width, int height, bool supersample) noexcept {
  // Unsized until every step has succeeded, so that nothing draws with half a set-up.
  width_ = height_ = 0;
  target_ = nullptr;
  const int scale = supersample ? 2 : 1;
  if (width <= 0 || height <= 0 || width > 32767 / scale || height > 32767 / scale) return false;
  if (!context_) context_ = new (std::nothrow) SGLGen(optionWord_);
  if (!context_) return false;
  if (context_->GetError() != kSglNoError) {
    ReleaseContent();
    return false;
  }
  SGLGen& gl = *context_;
  gl.Viewport(0, 0, width * scale, height * scale);
  if (gl.GetError() != kSglNoError) return false;
  gl.Enable(kSglTexture2D);
  gl.Enable(kSglCullFace);
  gl.SetFrontFace(kSglClockwise);
  gl.Disable(kSglDepthTest);  // the depth sort orders the triangles instead
  gl.SetRasterPath(0);
  // Pictures are sampled bilinearly, held at their edges so that a border takes no colour from
  // the opposite one.
  gl.Enable(kSglSampleBilinearClamp);
  gl.Enable(kSglLighting);
  gl.Enable(kSglLight0);
  const float ambient[4] = {0.1f, 0.1f, 0.1f, 1.0f}, diffuse[4] = {1, 1, 1, 1}, specular[4] = {0, 0, 0, 1};
  const float position[4] = {0.0f, -0.5f, 1.0f, 0.0f};  // a directional light from slightly below
  gl.SetLight(kSglLight0, kSglAmbient, ambient);
  gl.SetLight(kSglLight0, kSglDiffuse, diffuse);
  gl.SetLight(kSglLight0, kSglSpecular, specular);
  gl.SetLight(kSglLight0, kSglPosition, position);
  gl.Rasterizer().SetWorkers(workers_);
  gl.SetRasterizerMode(pixelFormat_);
  if (gl.GetError() != kSglNoError) return false;
  width_ = width, height_ = height, supersample_ = supersample;
  return true;
}

int MeshScene::AddObject(Mesh& mesh) noexcept {
  if (objectCount_ == kMaxObjects || mesh.vertexCount == 0) return 0;
  const int vertices = capacityVertices_ + mesh.vertexCount, triangles = capacityTriangles_ + mesh.triangleCount;
  auto* world = static_cast<float*>(std::realloc(world_, std::size_t(vertices) * 6 * sizeof(float)));
  if (!world) return 0;
  world_ = world;
  auto* list = static_cast<DrawItem*>(std::realloc(drawList_, std::size_t(triangles) * sizeof(DrawItem)));
  if (!list) return 0;
  drawList_ = list;
  Object* object = new (std::nothrow) Object{};
  if (!object) return 0;
  capacityVertices_ = vertices, capacityTriangles_ = triangles;
  TranslationMatrix(0, 0, 0, object->transform);
  object->identity = true;
  object->mesh = static_cast<Mesh&&>(mesh);
  objects_[objectCount_++] = object;
  return objectCount_;
}

MeshScene::Object* MeshScene::Find(int object) noexcept {
  return object >= 1 && object <= objectCount_ ? objects_[object - 1] : nullptr;
}

const float* MeshScene::Transform(int object) const noexcept {
  return object >= 1 && object <= objectCount_ ? objects_[object - 1]->transform : nullptr;
}

bool MeshScene::BindImages(int object, const uint8_t* front, const uint8_t* back, int width, int height) noexcept {
  Object* found = Find(object);
  if (!found || width <= 0 || height <= 0) return false;
  const uint8_t* pixels[2] = {front, back};
  for (int k = 0; k < 2; ++k) {
    Image& image = found->images[k];
    image.pixels = reinterpret_cast<const uint32_t*>(pixels[k]);
    if (image.width != width || image.height != height) image.uploaded = nullptr;
    image.width = width, image.height = height;
  }
  return true;
}

void MeshScene::MapImage(int object, MeshFace face, const float corners[8]) noexcept {
  if (Object* found = Find(object)) found->mesh.MapImage(face, corners);
}

bool MeshScene::SetRenderTarget(uint8_t* target) noexcept {
  if (!context_ || !target || width_ == 0) return false;
  target_ = reinterpret_cast<uint32_t*>(target);
  if (!supersample_) context_->SetColorBuffer(target_);
  return context_->GetError() == kSglNoError;
}

void MeshScene::SetPixelFormat(int32_t flag) noexcept {
  pixelFormat_ = flag;
  if (context_) context_->SetRasterizerMode(flag);
}

void MeshScene::SetWorkers(int32_t workers) noexcept {
  workers_ = workers;
  if (context_) context_->Rasterizer().SetWorkers(workers);
}

void MeshScene::ResetTransform(int object) noexcept {
  if (Object* found = Find(object)) {
    TranslationMatrix(0, 0, 0, found->transform);
    found->identity = true;
  }
}

void MeshScene::Translate(int object, float x, float y, float z) noexcept {
  if (Object* found = Find(object)) {
    float m[16];
    TranslationMatrix(x, y, z, m);
    MultiplyInPlace(found->transform, m);
    found->identity = false;
  }
}

void MeshScene::Rotate(int object, float radians, float x, float y, float z) noexcept {
  if (Object* found = Find(object)) {
    float m[16];
    RotationMatrix(radians, x, y, z, m);
    MultiplyInPlace(found->transform, m);
    found->identity = false;
  }
}

int MeshScene::CompareDepth(const DrawItem* a, const DrawItem* b) noexcept {
  if (!a || !b) return 0;
  if (a->minZ >= b->maxZ) return 1;
  if (b->minZ >= a->maxZ) return -1;
  const float sumA = a->minZ + a->maxZ, sumB = b->minZ + b->maxZ;
  return sumA > sumB ? 1 : sumA < sumB ? -1 : 0;
}

void MeshScene::UploadImages() noexcept {
  SGLGen& gl = *context_;
  for (int k = 0; k < objectCount_; ++k) {
    for (Image& image : objects_[k]->images) {
      if (!image.pixels || image.pixels == image.uploaded) continue;
      if (image.textureId == 0) {
        uint32_t id = 0;
        gl.GenTextures(1, &id);
        if (gl.GetError() != kSglNoError) continue;
        image.textureId = id;
      }
      gl.BindTexture(kSglTexture2D, image.textureId);
      gl.TexImage(kSglTexture2D, 0, kSglInternalFormat, image.width, image.height, 0, kSglPixelFormat, kSglPixelType,
                  image.pixels);
      image.uploaded = image.pixels;
    }
  }
}

// The camera sits kCameraDistance in front of the picture plane; the frustum shows the plane's
// picture rectangle exactly.
void MeshScene::SetCamera() noexcept {
  SGLGen& gl = *context_;
  const double halfWidth = kPictureHalfWidth * kNear / kCameraDistance;
  const double halfHeight = halfWidth * height_ / width_;
  gl.SetMatrixMode(kSglProjection);
  gl.Frustum(-halfWidth, halfWidth, -halfHeight, halfHeight, kNear, kFar);
  gl.SetMatrixMode(kSglModelView);
  gl.LoadIdentity();
  gl.Translate(0.0, 0.0, -double(kCameraDistance));
}

void MeshScene::Submit() noexcept {
  SGLGen& gl = *context_;
  const int count = [&] {
    int n = 0;
    for (int k = 0; k < objectCount_; ++k) n += objects_[k]->mesh.triangleCount;
    return n;
  }();
  int firstVertex[kMaxObjects];
  for (int k = 0, base = 0; k < objectCount_; ++k) firstVertex[k] = base, base += objects_[k]->mesh.vertexCount;
  uint32_t boundId = ~0u;
  bool open = false;
  for (int n = 0; n < count; ++n) {
    const DrawItem& item = drawList_[n];
    const Object& object = *objects_[item.object];
    const MeshTriangle& triangle = object.mesh.triangles[item.triangle];
    const Image* image = triangle.face == kFaceFront  ? &object.images[0]
                         : triangle.face == kFaceBack ? &object.images[1]
                                                      : nullptr;
    const uint32_t id = image && image->pixels && image->uploaded ? image->textureId : 0;
    if (id != boundId) {
      if (open) gl.End();
      gl.BindTexture(kSglTexture2D, id);
      gl.Begin(kSglTriangles);
      open = true;
      boundId = id;
    }
    gl.Color3ub(triangle.colour[0], triangle.colour[1], triangle.colour[2]);
    for (uint16_t index : triangle.vertex) {
      const float* p = world_ + std::size_t(firstVertex[item.object] + index) * 6;
      const MeshVertex& v = object.mesh.vertices[index];
      gl.Normal3fv(p + 3);
      gl.TexCoord2d(v.s, v.t);
      gl.Vertex3fv(p);
    }
  }
  if (open) gl.End();
}

bool MeshScene::Draw(uint32_t background) noexcept {
  if (!context_ || !target_ || width_ == 0) return false;
  // Every vertex by its object's matrix; depth is not negated here, so farther is more negative.
  int vertex = 0, items = 0;
  for (int k = 0; k < objectCount_; ++k) {
    const Object& object = *objects_[k];
    const float* m = object.transform;
    const int first = vertex;
    for (int v = 0; v < object.mesh.vertexCount; ++v, ++vertex) {
      const MeshVertex& in = object.mesh.vertices[v];
      const float x = in.position[0], y = in.position[1], z = in.position[2];
      const float nx = in.normal[0], ny = in.normal[1], nz = in.normal[2];
      float* out = world_ + std::size_t(vertex) * 6;
      out[0] = m[0] * x + m[1] * y + m[2] * z + m[3];
      out[1] = m[4] * x + m[5] * y + m[6] * z + m[7];
      out[2] = m[8] * x + m[9] * y + m[10] * z + m[11];
      out[3] = m[0] * nx + m[1] * ny + m[2] * nz;
      out[4] = m[4] * nx + m[5] * ny + m[6] * nz;
      out[5] = m[8] * nx + m[9] * ny + m[10] * nz;
    }
    for (int t = 0; t < object.mesh.triangleCount; ++t) {
      const uint16_t* corner = object.mesh.triangles[t].vertex;
      const float z0 = world_[std::size_t(first + corner[0]) * 6 + 2],
                  z1 = world_[std::size_t(first + corner[1]) * 6 + 2],
                  z2 = world_[std::size_t(first + corner[2]) * 6 + 2];
      drawList_[items++] = {uint16_t(k), uint16_t(t), std::min({z0, z1, z2, 1e6f}), std::max({z0, z1, z2, -1e6f})};
    }
  }
  // Farthest first. The comparison is no strict order when depth ranges overlap; a merge sort
  // copes with that and gives the same order on every platform.
  std::stable_sort(drawList_, drawList_ + items,
                   [](const DrawItem& a, const DrawItem& b) { return CompareDepth(&a, &b) < 0; });

  UploadImages();
  SetCamera();
  if (!supersample_) {
    ParallelRows(workers_, height_, [&](int y0, int y1) {
      std::fill(target_ + std::size_t(y0) * width_, target_ + std::size_t(y1) * width_, background);
    });
    Submit();
    return context_->GetError() == kSglNoError;
  }
  // The fills wait until all are set up, then are drawn run by run of rows over the background;
  // after drawing, each 2 x 2 block is averaged back into one pixel, which leaves the background
  // as it is. Where nothing is drawn the target gets the background straight away.
  RasterizerGen& raster = context_->Rasterizer();
  raster.Hold(true);
  Submit();
  raster.Hold(false);
  Passes passes{target_, width_, background};
  return raster.ExecuteInRuns(kRunRows, {&passes, &Passes::Before, &Passes::After}) &&
         context_->GetError() == kSglNoError;
}

}  // namespace vek::render
