// SGLGen: the implementation of SGL, with the projection box and the colour buffer.
#pragma once

#include "render/sgl.h"

namespace vek::render {

// The rotation of `radians` about the axis (x, y, z), row-major with the translation column 3;
// the identity for a zero axis.
void RotationMatrix(double radians, double x, double y, double z, float out[16]) noexcept;
void TranslationMatrix(double x, double y, double z, float out[16]) noexcept;
// target = target * factor, both row-major 4 x 4.
void MultiplyInPlace(float* target, const float* factor) noexcept;

class SGLGen final : public SGL {
 public:
  // optionWord is kept and not read. The colour buffer of the default 256 x 256 viewport is
  // allocated here; without memory the context has none and GetError() says 32.
  explicit SGLGen(int32_t optionWord) noexcept;
  ~SGLGen() override;

  void SetClearColor(double red, double green, double blue, double alpha) noexcept override;
  void SetRasterPath(int32_t path) noexcept override;
  void Enable(int32_t cap) noexcept override;
  void Disable(int32_t cap) noexcept override;
  void Viewport(int32_t x, int32_t y, int32_t width, int32_t height) noexcept override;
  void GetIntegers(int32_t what, int32_t* out, int32_t count) noexcept override;
  void SetLight(int32_t light, int32_t what, const float* values) noexcept override;
  void GenTextures(int32_t count, uint32_t* ids) noexcept override;
  void DeleteTextures(int32_t count, const uint32_t* ids) noexcept override;
  void BindTexture(int32_t target, uint32_t id) noexcept override;
  void TexImage(int32_t target, int32_t level, int32_t internalFormat, int32_t width, int32_t height, int32_t border,
                int32_t format, int32_t type, const void* pixels) noexcept override;
  void Clear(uint32_t mask) noexcept override;
  void SetFrontFace(int32_t value) noexcept override;
  void SetMatrixMode(int32_t mode) noexcept override;
  void LoadIdentity() noexcept override;
  void Translate(double x, double y, double z) noexcept override;
  void Rotate(double angle, double x, double y, double z) noexcept override;
  void MultMatrixf(const float* m) noexcept override;
  void MultMatrixd(const double* m) noexcept override;
  void LookAt(double eyeX, double eyeY, double eyeZ, double centreX, double centreY, double centreZ, double upX,
              double upY, double upZ) noexcept override;
  void Color3ub(uint8_t red, uint8_t green, uint8_t blue) noexcept override;
  void Color3d(double red, double green, double blue) noexcept override;
  void Color3f(float red, float green, float blue) noexcept override;
  void Color4ub(uint8_t red, uint8_t green, uint8_t blue, uint8_t alpha) noexcept override;
  void Color4d(double red, double green, double blue, double alpha) noexcept override;
  void Color4f(float red, float green, float blue, float alpha) noexcept override;
  void Color3fv(const float* rgb) noexcept override;
  void Color3dv(const double* rgb) noexcept override;
  void Color3ubv(const uint8_t* rgb) noexcept override;
  void Color4fv(const float* rgba) noexcept override;
  void Color4dv(const double* rgba) noexcept override;
  void Color4ubv(const uint8_t* rgba) noexcept override;
  void TexCoord2d(double s, double t) noexcept override;
  void Begin(int32_t mode) noexcept override;
  void Normal3fv(const float* normal) noexcept override;
  void Normal3dv(const double* normal) noexcept override;
  void Vertex3fv(const float* position) noexcept override;
  void Vertex3dv(const double* position) noexcept override;
  void End() noexcept override;
  int32_t Finish() noexcept override;
  void ReadPixels(int32_t x, int32_t y, int32_t width, int32_t height, int32_t format, int32_t type,
                  void* out) noexcept override;
  void Frustum(double left, double right, double bottom, double top, double near, double far) noexcept override;
  void Ortho(double left, double right, double bottom, double top, double near, double far) noexcept override;
  int32_t GetError() noexcept override;
  void SetColorBuffer(uint32_t* pixels) noexcept override;
  void SetRasterizerMode(int32_t value) noexcept override;
  void Flush() noexcept override;

  const uint32_t* ColourBuffer() const noexcept { return colourBuffer_; }

 private:
  // Stores 32 and answers false between Begin and End; otherwise stores 31.
  bool Outside() noexcept;
  void InitRasterizer() noexcept;
  void FreeOwnedBuffer() noexcept;
  void SetColour(uint8_t red, uint8_t green, uint8_t blue, uint8_t alpha) noexcept;
  void Multiply(const float* factor) noexcept;

  double left_ = -1.0, right_ = 1.0, top_ = 1.0, bottom_ = -1.0, near_ = 1.0, far_ = 10.0;
  int32_t perspective_ = 0;
  int32_t viewport_[4] = {0, 0, 256, 256};
  uint32_t* colourBuffer_ = nullptr;
  int32_t external_ = 0;
};

}  // namespace vek::render
