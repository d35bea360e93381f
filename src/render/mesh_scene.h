// MeshScene: objects made of textured triangle meshes, each with its own transform, drawn through
// an SGL context farthest triangle first. The camera looks down -z at the picture plane z = 0,
// which it shows exactly: x from -2 to 2 across the frame, y from -2 / aspect to 2 / aspect.
// With supersampling the scene draws an image twice the frame in each direction, a run of rows at
// a time, and reduces it with a 2 x 2 box filter, which leaves flat areas exactly as they were.
#pragma once

#include <cstdint>

#include "render/sgl_gen.h"

namespace vek::render {

// Which image of its object a triangle shows.
enum MeshFace : uint8_t { kFaceNone = 0, kFaceFront = 1, kFaceBack = 2 };

struct MeshVertex {
  float position[3];
  float normal[3];
  float s, t;
  float u, v;  // where the vertex lies on its face: 0..1 from the face's top-left corner
};

struct MeshTriangle {
  uint16_t vertex[3];  // wound clockwise as seen from the side that shows
  uint8_t colour[3];   // red, green, blue
  uint8_t face;        // MeshFace
};

// Vertices and triangles owned by the mesh; moved, never copied.
class Mesh {
 public:
  Mesh() noexcept = default;
  ~Mesh();
  Mesh(Mesh&& other) noexcept;
  Mesh& operator=(Mesh&& other) noexcept;
  Mesh(const Mesh&) = delete;
  Mesh& operator=(const Mesh&) = delete;

  // Room for the given counts, contents zero; false when memory runs out.
  bool Allocate(int vertexCount, int triangleCount) noexcept;
  // A box over the ranges, every face in one colour. The face at z1 is the front, the one at z0
  // the back; seen from outside, every face is wound clockwise.
  bool Box(float x0, float x1, float y0, float y1, float z0, float z1, const uint8_t rgb[3]) noexcept;
  // Texture coordinates of one face from its four corners (s, t pairs: top-left, top-right,
  // bottom-left, bottom-right, as the face is seen from outside with +y up, or for the top and
  // bottom faces with the far and the near edge up).
  void MapImage(MeshFace face, const float corners[8]) noexcept;

  MeshVertex* vertices = nullptr;
  MeshTriangle* triangles = nullptr;
  int vertexCount = 0;
  int triangleCount = 0;

 private:
  void Release() noexcept;
};

class MeshScene {
 public:
  static constexpr int kMaxObjects = 400;
  static constexpr float kPictureHalfWidth = 2.0f;
  static constexpr float kCameraDistance = 4.0f;
  static constexpr float kNear = 0.5f;
  static constexpr float kFar = 100.0f;
  // Rows of the supersampled image drawn, upsampled and reduced together while in the cache.
  static constexpr int kRunRows = 16;

  // optionWord is handed to the context when it is made.
  explicit MeshScene(int32_t optionWord) noexcept;
  ~MeshScene();
  MeshScene(const MeshScene&) = delete;
  MeshScene& operator=(const MeshScene&) = delete;

  // Sizes the scene for width x height frames: makes the context on first use, sets its viewport
  // (twice the frame in each direction with supersampling) and its render state.
  // False when the context reports an error or memory runs out.
  bool Size(int width, int height, bool supersample) noexcept;
  int Width() const noexcept { return width_; }
  int Height() const noexcept { return height_; }

  // Takes the mesh's content as the next object; its number (from 1), or 0 when full.
  int AddObject(Mesh& mesh) noexcept;
  // The images an object's front and back faces show: width x height 32-bit pixels that the
  // caller keeps alive while the scene draws. Null leaves a face untextured.
  bool BindImages(int object, const uint8_t* front, const uint8_t* back, int width, int height) noexcept;
  // New texture coordinates for one face of an object's mesh (see Mesh::MapImage).
  void MapImage(int object, MeshFace face, const float corners[8]) noexcept;
  // The frame the scene draws into (width x height pixels).
  bool SetRenderTarget(uint8_t* target) noexcept;
  // 1: frames are AYUV.
  void SetPixelFormat(int32_t flag) noexcept;
  void SetWorkers(int32_t workers) noexcept;

  void ResetTransform(int object) noexcept;
  void Translate(int object, float x, float y, float z) noexcept;
  void Rotate(int object, float radians, float x, float y, float z) noexcept;

  // Transforms every vertex, sorts all triangles by depth and draws them over a background of one
  // pixel value, writing every pixel of the target.
  bool Draw(uint32_t background) noexcept;

  // Frees the objects and the context; the scene can be sized again.
  void ReleaseContent() noexcept;

  SGLGen* Context() noexcept { return context_; }
  const float* Transform(int object) const noexcept;

  // One triangle of the draw list, with the depth range of its transformed corners.
  struct DrawItem {
    uint16_t object;
    uint16_t triangle;
    float minZ, maxZ;
  };
  // < 0: a is drawn before b (it is farther), > 0 after, 0 either way.
  static int CompareDepth(const DrawItem* a, const DrawItem* b) noexcept;

 private:
  struct Image {
    const uint32_t* pixels;
    int width, height;
    uint32_t textureId;
    const uint32_t* uploaded;
  };
  struct Object {
    float transform[16];
    bool identity;
    Mesh mesh;
    Image images[2];  // front, back
  };

  Object* Find(int object) noexcept;
  void UploadImages() noexcept;
  void SetCamera() noexcept;
  void Submit() noexcept;

  int32_t optionWord_;
  int32_t workers_ = 1;
  int32_t pixelFormat_ = 0;
  int width_ = 0, height_ = 0;
  bool supersample_ = false;
  SGLGen* context_ = nullptr;
  uint32_t* target_ = nullptr;

  Object* objects_[kMaxObjects] = {};
  int objectCount_ = 0;
  float* world_ = nullptr;  // transformed position and normal of every vertex, 6 floats each
  DrawItem* drawList_ = nullptr;
  int capacityVertices_ = 0, capacityTriangles_ = 0;
};

}  // namespace vek::render
