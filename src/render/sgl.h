// SGL: the interface of the renderer's immediate-mode graphics context and the state its one
// implementation (SGLGen) works on. Errors are recorded in an error word that reading does not
// reset; nothing is thrown.
#pragma once

#include <cstdint>

#include "render/rasterizer.h"
#include "render/texture_manager.h"

namespace vek::render {

// Error words.
enum SglError : int32_t {
  kSglNoError = 31,
  kSglInvalidOperation = 32,  // between Begin and End, no colour buffer, texture id out of range
  kSglInvalidEnum = 33,
  kSglInvalidValue = 34,  // negative count, size mismatch, allocation failure
};

// Enumeration values.
enum SglEnum : int32_t {
  kSglDepthTest = 2,
  kSglCullFace = 3,
  kSglSampleBilinear = 4,       // textured fills sample bilinearly, repeating
  kSglSampleBilinearClamp = 5,  // ... with coordinates held at the edges; wins over 4
  kSglViewportQuery = 6,
  kSglLightCountQuery = 7,
  kSglLighting = 8,
  kSglLight0 = 9,  // lights 0..7 are 9..16
  kSglAmbient = 17,
  kSglDiffuse = 18,
  kSglSpecular = 19,
  kSglPosition = 20,
  kSglTexture2D = 21,
  kSglInternalFormat = 22,
  kSglPixelFormat = 23,
  kSglPixelType = 24,
  kSglModelView = 25,
  kSglProjection = 26,
  kSglTriangles = 28,
  kSglClockwise = 29,
  kSglCounterClockwise = 30,
};
inline constexpr uint32_t kSglDepthBufferBit = 0x100;
inline constexpr uint32_t kSglColourBufferBit = 0x4000;

inline constexpr int kSglTextureIds = 64;
inline constexpr int kSglBatchTriangles = 256;
inline constexpr int kSglBatchVertices = 3 * kSglBatchTriangles;

struct SglVertex {
  float object[3];
  float eye[3];     // filled by Flush; eye[2] is the depth, growing away from the viewer
  float normal[3];  // z negated on entry
  float s, t;
};

struct SglTriangle {
  uint8_t colour[2][4];  // blue, green, red, alpha of the current colour when the triangle closed
  const SglVertex* vertices[3];
  const TextureRecord* texture;  // of the id bound when the triangle closed; null when none
  int32_t facing;                // set by Flush: the negation of the orientation test
  float minDepth, maxDepth;      // set by Flush
};

class SGL {
 public:
  // The operations in slot order.
  virtual ~SGL() = default;
  virtual void SetClearColor(double red, double green, double blue, double alpha) noexcept = 0;
  virtual void SetRasterPath(int32_t path) noexcept = 0;
  virtual void Enable(int32_t cap) noexcept = 0;
  virtual void Disable(int32_t cap) noexcept = 0;
  virtual void Viewport(int32_t x, int32_t y, int32_t width, int32_t height) noexcept = 0;
  virtual void GetIntegers(int32_t what, int32_t* out, int32_t count) noexcept = 0;
  virtual void SetLight(int32_t light, int32_t what, const float* values) noexcept = 0;
  virtual void GenTextures(int32_t count, uint32_t* ids) noexcept = 0;
  virtual void DeleteTextures(int32_t count, const uint32_t* ids) noexcept = 0;
  virtual void BindTexture(int32_t target, uint32_t id) noexcept = 0;
  virtual void TexImage(int32_t target, int32_t level, int32_t internalFormat, int32_t width, int32_t height,
                        int32_t border, int32_t format, int32_t type, const void* pixels) noexcept = 0;
  virtual void Clear(uint32_t mask) noexcept = 0;
  virtual void SetFrontFace(int32_t value) noexcept = 0;
  virtual void SetMatrixMode(int32_t mode) noexcept = 0;
  virtual void LoadIdentity() noexcept = 0;
  virtual void Translate(double x, double y, double z) noexcept = 0;
  virtual void Rotate(double angle, double x, double y, double z) noexcept = 0;
  virtual void MultMatrixf(const float* m) noexcept = 0;
  virtual void MultMatrixd(const double* m) noexcept = 0;
  virtual void LookAt(double eyeX, double eyeY, double eyeZ, double centreX, double centreY, double centreZ, double upX,
                      double upY, double upZ) noexcept = 0;
  virtual void Color3ub(uint8_t red, uint8_t green, uint8_t blue) noexcept = 0;
  virtual void Color3d(double red, double green, double blue) noexcept = 0;
  virtual void Color3f(float red, float green, float blue) noexcept = 0;
  virtual void Color4ub(uint8_t red, uint8_t green, uint8_t blue, uint8_t alpha) noexcept = 0;
  virtual void Color4d(double red, double green, double blue, double alpha) noexcept = 0;
  virtual void Color4f(float red, float green, float blue, float alpha) noexcept = 0;
  virtual void Color3fv(const float* rgb) noexcept = 0;
  virtual void Color3dv(const double* rgb) noexcept = 0;
  virtual void Color3ubv(const uint8_t* rgb) noexcept = 0;
  virtual void Color4fv(const float* rgba) noexcept = 0;
  virtual void Color4dv(const double* rgba) noexcept = 0;
  virtual void Color4ubv(const uint8_t* rgba) noexcept = 0;
  virtual void TexCoord2d(double s, double t) noexcept = 0;
  virtual void Begin(int32_t mode) noexcept = 0;
  virtual void Normal3fv(const float* normal) noexcept = 0;
  virtual void Normal3dv(const double* normal) noexcept = 0;
  virtual void Vertex3fv(const float* position) noexcept = 0;
  virtual void Vertex3dv(const double* position) noexcept = 0;
  virtual void End() noexcept = 0;
  virtual int32_t Finish() noexcept = 0;
  virtual void ReadPixels(int32_t x, int32_t y, int32_t width, int32_t height, int32_t format, int32_t type,
                          void* out) noexcept = 0;
  virtual void Frustum(double left, double right, double bottom, double top, double near, double far) noexcept = 0;
  virtual void Ortho(double left, double right, double bottom, double top, double near, double far) noexcept = 0;
  virtual int32_t GetError() noexcept = 0;
  virtual void SetColorBuffer(uint32_t* pixels) noexcept = 0;
  virtual void SetRasterizerMode(int32_t value) noexcept = 0;
  virtual void Flush() noexcept = 0;

  // Not operations of the interface: what the scene and the tests reach directly.
  RasterizerGen& Rasterizer() noexcept { return rasterizer_; }
  const SglTriangle* Triangles() const noexcept { return triangles_; }
  const float* ModelView() const noexcept { return modelView_; }
  uint32_t CurrentColour() const noexcept { return colour_; }
  uint32_t ClearColour() const noexcept { return clearColour_; }
  int32_t OptionWord() const noexcept { return optionWord_; }

 protected:
  explicit SGL(int32_t optionWord) noexcept : optionWord_(optionWord) {}
  SGL(const SGL&) = delete;
  SGL& operator=(const SGL&) = delete;

  RasterizerGen rasterizer_;
  TextureManager textures_;
  float modelView_[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  uint8_t identity_ = 1;
  float* current_ = modelView_;
  double normal_[3] = {0, 0, 1};
  double texCoord_[4] = {0, 0, 0, 1};
  uint32_t boundTexture_ = 0;
  TextureRecord* textureTable_[kSglTextureIds] = {};
  uint32_t colour_ = 0xFFFFFFFF;  // alpha 24-31, red 16-23, green 8-15, blue 0-7
  uint32_t clearColour_ = 0;
  int32_t matrixMode_ = kSglModelView;
  int32_t rasterPath_ = 0;
  int32_t frontFace_ = kSglCounterClockwise;
  int32_t error_ = kSglNoError;
  bool depthTest_ = false, cullFace_ = false, sampleBilinear_ = false, sampleClamp_ = false, texturing_ = false;
  bool insideBegin_ = false;
  int32_t primitive_ = 0;
  int32_t pendingVertices_ = 0;
  int32_t vertexInTriangle_ = 0;
  int32_t pendingTriangles_ = 0;
  SglVertex vertices_[kSglBatchVertices] = {};
  SglTriangle triangles_[kSglBatchTriangles] = {};
  int32_t optionWord_;  // kept from the constructor; no operation reads it
};

}  // namespace vek::render
