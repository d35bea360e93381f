#include "render/sgl_gen.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "render/small_matrix.h"
#include "render/trig.h"

namespace vek::render {
namespace {

// Colour components: times 255, truncated toward zero, low 8 bits kept.
// Kept on purpose: values outside 0..1 wrap around (1.5 gives 126), as they always have.
uint8_t ColourByte(double value) {
  const double scaled = value * 255.0;
  if (!(std::fabs(scaled) < 2147483647.0)) return 0;
  return uint8_t(int32_t(scaled));
}
uint8_t ColourByte(float value) {
  const float scaled = value * 255.0f;
  if (!(std::fabs(scaled) < 2147483647.0f)) return 0;
  return uint8_t(int32_t(scaled));
}

double Clamp01(double value) {
  return value > 1.0 ? 1.0 : value >= 0.0 ? value : 0.0;
}

constexpr float kDepthLimit = 1e6f;

}  // namespace

void TranslationMatrix(double x, double y, double z, float out[16]) noexcept {
  const float m[16] = {1, 0, 0, float(x), 0, 1, 0, float(y), 0, 0, 1, float(z), 0, 0, 0, 1};
  std::memcpy(out, m, sizeof m);
}

void RotationMatrix(double radians, double x, double y, double z, float out[16]) noexcept {
  TranslationMatrix(0, 0, 0, out);
  const double length2 = x * x + y * y + z * z;
  if (!(length2 > 0.0)) return;
  const double scale = 1.0 / std::sqrt(length2);
  x *= scale, y *= scale, z *= scale;
  const double c = Cos(radians), s = Sin(radians), d = 1.0 - c;
  const double m[9] = {x * x * d + c,     x * y * d - z * s, x * z * d + y * s,  //
                       y * x * d + z * s, y * y * d + c,     y * z * d - x * s,  //
                       x * z * d - y * s, y * z * d + x * s, z * z * d + c};
  for (int r = 0; r < 3; ++r) {
    for (int k = 0; k < 3; ++k) out[r * 4 + k] = float(m[r * 3 + k]);
  }
}

void MultiplyInPlace(float* target, const float* factor) noexcept {
  SmallMatrix<4, 4> a(target);
  const SmallMatrix<4, 4> b(const_cast<float*>(factor));
  a = a * b;
}

SGLGen::SGLGen(int32_t optionWord) noexcept : SGL(optionWord) {
  colourBuffer_ = static_cast<uint32_t*>(std::calloc(std::size_t(256) * 256, sizeof(uint32_t)));
  if (!colourBuffer_) error_ = kSglInvalidOperation;
  InitRasterizer();
}

// The texture store and the rasterizer go with the members, after the colour buffer.
SGLGen::~SGLGen() {
  FreeOwnedBuffer();
}

bool SGLGen::Outside() noexcept {
  error_ = insideBegin_ ? kSglInvalidOperation : kSglNoError;
  return !insideBegin_;
}

void SGLGen::FreeOwnedBuffer() noexcept {
  if (!external_) std::free(colourBuffer_);
  colourBuffer_ = nullptr;
  external_ = 0;
}

// Image rows run downward, so the rasterizer gets top and bottom negated.
void SGLGen::InitRasterizer() noexcept {
  rasterizer_.Init(float(perspective_), float(viewport_[2]), float(viewport_[3]), float(-top_), float(-bottom_),
                   float(left_), float(right_), float(near_), float(far_), colourBuffer_);
}

void SGLGen::SetClearColor(double red, double green, double blue, double alpha) noexcept {
  if (!Outside()) return;
  clearColour_ = uint32_t(ColourByte(Clamp01(alpha))) << 24 | uint32_t(ColourByte(Clamp01(red))) << 16 |
                 uint32_t(ColourByte(Clamp01(green))) << 8 | ColourByte(Clamp01(blue));
}

void SGLGen::SetRasterPath(int32_t path) noexcept {
  if (!Outside()) return;
  if (path == 0 || path == 1) {
    rasterPath_ = path;
  } else {
    error_ = kSglInvalidEnum;
  }
}

void SGLGen::Enable(int32_t cap) noexcept {
  if (!Outside()) return;
  switch (cap) {
    case kSglDepthTest:
      depthTest_ = true, rasterizer_.SetDepthTest(true);
      return;
    case kSglCullFace:
      cullFace_ = true;
      return;
    case kSglSampleBilinear:
      sampleBilinear_ = true;
      return;
    case kSglSampleBilinearClamp:
      sampleClamp_ = true;
      return;
    case kSglLighting:
      rasterizer_.SetLighting(true);
      return;
    case kSglTexture2D:
      texturing_ = true;
      return;
    default:
      if (cap >= kSglLight0 && cap < kSglLight0 + kMaxLights) {
        rasterizer_.SetLightEnabled(cap - kSglLight0, true);
      } else {
        error_ = kSglInvalidEnum;
      }
  }
}

void SGLGen::Disable(int32_t cap) noexcept {
  if (!Outside()) return;
  switch (cap) {
    case kSglDepthTest:
      depthTest_ = false, rasterizer_.SetDepthTest(false);
      return;
    case kSglCullFace:
      cullFace_ = false;
      return;
    case kSglSampleBilinear:
      sampleBilinear_ = false;
      return;
    case kSglSampleBilinearClamp:
      sampleClamp_ = false;
      return;
    case kSglLighting:
      rasterizer_.SetLighting(false);
      return;
    case kSglTexture2D:
      texturing_ = false;
      return;
    default:
      if (cap >= kSglLight0 && cap < kSglLight0 + kMaxLights) {
        rasterizer_.SetLightEnabled(cap - kSglLight0, false);
      } else {
        error_ = kSglInvalidEnum;
      }
  }
}

void SGLGen::Viewport(int32_t x, int32_t y, int32_t width, int32_t height) noexcept {
  if (!Outside()) return;
  // Sides up to 32767 keep every pixel index and byte count of the buffer in range.
  if (x != 0 || y != 0 || width < 0 || height < 0 || width > 32767 || height > 32767) {
    error_ = kSglInvalidValue;
    return;
  }
  FreeOwnedBuffer();
  viewport_[2] = width, viewport_[3] = height;
  const std::size_t pixels = std::size_t(width) * std::size_t(height);
  if (pixels > 0) {
    colourBuffer_ = static_cast<uint32_t*>(std::calloc(pixels, sizeof(uint32_t)));
    if (!colourBuffer_) error_ = kSglInvalidValue;
  }
  InitRasterizer();
}

void SGLGen::GetIntegers(int32_t what, int32_t* out, int32_t count) noexcept {
  if (!out || !Outside()) return;
  if (what == kSglViewportQuery) {
    if (count >= 4) std::copy(viewport_, viewport_ + 4, out);
  } else if (what == kSglLightCountQuery) {
    if (count >= 1) out[0] = kMaxLights;
  } else {
    error_ = kSglInvalidEnum;
  }
}

void SGLGen::SetLight(int32_t light, int32_t what, const float* values) noexcept {
  if (!values || !Outside()) return;
  if (light < kSglLight0 || light >= kSglLight0 + kMaxLights) {
    error_ = kSglInvalidEnum;
    return;
  }
  const int index = light - kSglLight0;
  switch (what) {
    case kSglAmbient:
    case kSglDiffuse:
    case kSglSpecular:
      rasterizer_.SetLightColour(index, what - kSglAmbient, ColourByte(values[0]), ColourByte(values[1]),
                                 ColourByte(values[2]));
      return;
    case kSglPosition:
      rasterizer_.SetLightPosition(index, values[0], values[1], -values[2], values[3]);
      return;
    default:
      error_ = kSglInvalidEnum;
  }
}

void SGLGen::GenTextures(int32_t count, uint32_t* ids) noexcept {
  if (!ids || !Outside()) return;
  if (count < 0) {
    error_ = kSglInvalidValue;
    return;
  }
  int32_t written = 0;
  for (uint32_t id = 1; id < kSglTextureIds && written < count; ++id) {
    if (!textureTable_[id]) ids[written++] = id;
  }
  if (written < count) error_ = kSglInvalidValue;
}

void SGLGen::DeleteTextures(int32_t count, const uint32_t* ids) noexcept {
  if (!Outside()) return;
  if (count < 0) {
    error_ = kSglInvalidValue;
    return;
  }
  if (!ids) return;
  for (int32_t k = 0; k < count; ++k) {
    if (ids[k] >= kSglTextureIds || !textureTable_[ids[k]]) continue;
    textures_.ReleaseTexture(textureTable_[ids[k]]);
    textureTable_[ids[k]] = nullptr;
  }
}

void SGLGen::BindTexture(int32_t target, uint32_t id) noexcept {
  if (!Outside()) return;
  if (target != kSglTexture2D) {
    error_ = kSglInvalidEnum;
  } else if (id >= kSglTextureIds) {
    error_ = kSglInvalidOperation;
  } else {
    boundTexture_ = id;
  }
}

void SGLGen::TexImage(int32_t target, int32_t, int32_t internalFormat, int32_t width, int32_t height, int32_t,
                      int32_t format, int32_t type, const void* pixels) noexcept {
  if (!pixels || !Outside()) return;
  if (target != kSglTexture2D || internalFormat != kSglInternalFormat || format != kSglPixelFormat ||
      type != kSglPixelType) {
    error_ = kSglInvalidEnum;
    return;
  }
  if (width <= 0 || height <= 0) {
    error_ = kSglInvalidValue;
    return;
  }
  textures_.ReleaseTexture(textureTable_[boundTexture_]);
  textureTable_[boundTexture_] = textures_.CreateTexture(static_cast<const uint32_t*>(pixels), width, height);
}

// Kept on purpose: the clear colour is not used, the buffer becomes zero bytes, and the error word
// is neither tested nor set.
void SGLGen::Clear(uint32_t mask) noexcept {
  if (mask & kSglDepthBufferBit) rasterizer_.ClearDepth();
  if ((mask & kSglColourBufferBit) && colourBuffer_) {
    std::memset(colourBuffer_, 0, std::size_t(viewport_[2]) * std::size_t(viewport_[3]) * sizeof(uint32_t));
  }
}

void SGLGen::SetFrontFace(int32_t value) noexcept {
  if (!Outside()) return;
  if (value == kSglClockwise || value == kSglCounterClockwise) {
    frontFace_ = value;
  } else {
    error_ = kSglInvalidEnum;
  }
}

void SGLGen::SetMatrixMode(int32_t mode) noexcept {
  if (!Outside()) return;
  if (mode == kSglModelView || mode == kSglProjection) {
    matrixMode_ = mode;
  } else {
    error_ = kSglInvalidEnum;
  }
}

void SGLGen::Multiply(const float* factor) noexcept {
  MultiplyInPlace(current_, factor);
  identity_ = 0;
}

void SGLGen::LoadIdentity() noexcept {
  if (!Outside() || matrixMode_ != kSglModelView || identity_) return;
  TranslationMatrix(0, 0, 0, current_);
  identity_ = 1;
}

void SGLGen::Translate(double x, double y, double z) noexcept {
  if (!Outside() || matrixMode_ != kSglModelView) return;
  float m[16];
  TranslationMatrix(x, y, z, m);
  Multiply(m);
}

// Kept on purpose: the angle turns by angle * pi / 90 radians, twice the angle read as degrees.
void SGLGen::Rotate(double angle, double x, double y, double z) noexcept {
  if (!Outside() || matrixMode_ != kSglModelView) return;
  float m[16];
  RotationMatrix(angle * kPi / 90.0, x, y, z, m);
  Multiply(m);
}

// The 16 values arrive column by column.
void SGLGen::MultMatrixf(const float* m) noexcept {
  if (!m || !Outside() || matrixMode_ != kSglModelView) return;
  float rows[16];
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) rows[r * 4 + c] = m[c * 4 + r];
  }
  Multiply(rows);
}

void SGLGen::MultMatrixd(const double* m) noexcept {
  if (!m) return;
  float values[16];
  for (int k = 0; k < 16; ++k) values[k] = float(m[k]);
  MultMatrixf(values);
}

void SGLGen::LookAt(double eyeX, double eyeY, double eyeZ, double centreX, double centreY, double centreZ, double upX,
                    double upY, double upZ) noexcept {
  if (!Outside() || matrixMode_ != kSglModelView) return;
  float forwardValues[3] = {float(centreX - eyeX), float(centreY - eyeY), float(centreZ - eyeZ)};
  float upValues[3] = {float(upX), float(upY), float(upZ)};
  SmallMatrix<3, 1> forward(forwardValues), up(upValues);
  for (SmallMatrix<3, 1>* v : {&forward, &up}) {
    SmallMatrix<1, 3> row(v->Data());
    const float length2 = (row * *v)(0, 0);
    if (length2 != 0.0f) {
      SmallMatrix<1, 1> scale;
      float inverse = InvSqrt(length2);
      scale.Borrow(&inverse);
      *v = *v * scale;
    }
  }
  auto cross = [](const float* a, const float* b, float* out) {
    out[0] = a[1] * b[2] - a[2] * b[1];
    out[1] = a[2] * b[0] - a[0] * b[2];
    out[2] = a[0] * b[1] - a[1] * b[0];
  };
  float side[3], trueUp[3];
  cross(forwardValues, upValues, side);
  cross(side, forwardValues, trueUp);
  const float m[16] = {side[0],
                       side[1],
                       side[2],
                       0,  //
                       trueUp[0],
                       trueUp[1],
                       trueUp[2],
                       0,  //
                       -forwardValues[0],
                       -forwardValues[1],
                       -forwardValues[2],
                       0,  //
                       0,
                       0,
                       0,
                       1};
  Multiply(m);
  Translate(-eyeX, -eyeY, -eyeZ);
}

void SGLGen::SetColour(uint8_t red, uint8_t green, uint8_t blue, uint8_t alpha) noexcept {
  colour_ = uint32_t(alpha) << 24 | uint32_t(red) << 16 | uint32_t(green) << 8 | blue;
}

void SGLGen::Color3ub(uint8_t red, uint8_t green, uint8_t blue) noexcept {
  SetColour(red, green, blue, 255);
}
void SGLGen::Color3d(double red, double green, double blue) noexcept {
  SetColour(ColourByte(red), ColourByte(green), ColourByte(blue), 255);
}
void SGLGen::Color3f(float red, float green, float blue) noexcept {
  SetColour(ColourByte(red), ColourByte(green), ColourByte(blue), 255);
}
void SGLGen::Color4ub(uint8_t red, uint8_t green, uint8_t blue, uint8_t alpha) noexcept {
  SetColour(red, green, blue, alpha);
}
void SGLGen::Color4d(double red, double green, double blue, double alpha) noexcept {
  SetColour(ColourByte(red), ColourByte(green), ColourByte(blue), ColourByte(alpha));
}
void SGLGen::Color4f(float red, float green, float blue, float alpha) noexcept {
  SetColour(ColourByte(red), ColourByte(green), ColourByte(blue), ColourByte(alpha));
}
void SGLGen::Color3fv(const float* rgb) noexcept {
  if (rgb) Color3f(rgb[0], rgb[1], rgb[2]);
}
void SGLGen::Color3dv(const double* rgb) noexcept {
  if (rgb) Color3d(rgb[0], rgb[1], rgb[2]);
}
void SGLGen::Color3ubv(const uint8_t* rgb) noexcept {
  if (rgb) Color3ub(rgb[0], rgb[1], rgb[2]);
}
void SGLGen::Color4fv(const float* rgba) noexcept {
  if (rgba) Color4f(rgba[0], rgba[1], rgba[2], rgba[3]);
}
void SGLGen::Color4dv(const double* rgba) noexcept {
  if (rgba) Color4d(rgba[0], rgba[1], rgba[2], rgba[3]);
}
void SGLGen::Color4ubv(const uint8_t* rgba) noexcept {
  if (rgba) Color4ub(rgba[0], rgba[1], rgba[2], rgba[3]);
}

void SGLGen::TexCoord2d(double s, double t) noexcept {
  texCoord_[0] = s, texCoord_[1] = t, texCoord_[2] = 0.0, texCoord_[3] = 1.0;
}

void SGLGen::Begin(int32_t mode) noexcept {
  if (!Outside()) return;
  if (mode != kSglTriangles) {
    error_ = kSglInvalidEnum;
    return;
  }
  primitive_ = mode;
  pendingVertices_ = vertexInTriangle_ = pendingTriangles_ = 0;
  insideBegin_ = true;
}

void SGLGen::Normal3fv(const float* normal) noexcept {
  if (normal) normal_[0] = normal[0], normal_[1] = normal[1], normal_[2] = normal[2];
}

void SGLGen::Normal3dv(const double* normal) noexcept {
  if (normal) normal_[0] = normal[0], normal_[1] = normal[1], normal_[2] = normal[2];
}

void SGLGen::Vertex3fv(const float* position) noexcept {
  if (!position) return;
  if (!insideBegin_) {
    error_ = kSglInvalidOperation;
    return;
  }
  error_ = kSglNoError;
  if (pendingTriangles_ == kSglBatchTriangles) Flush();
  SglVertex& v = vertices_[pendingVertices_++];
  v.object[0] = position[0], v.object[1] = position[1], v.object[2] = position[2];
  v.normal[0] = float(normal_[0]), v.normal[1] = float(normal_[1]), v.normal[2] = -float(normal_[2]);
  v.s = float(texCoord_[0]), v.t = float(texCoord_[1]);
  if (++vertexInTriangle_ < 3) return;
  vertexInTriangle_ = 0;
  SglTriangle& triangle = triangles_[pendingTriangles_++];
  const uint8_t colour[4] = {uint8_t(colour_), uint8_t(colour_ >> 8), uint8_t(colour_ >> 16), uint8_t(colour_ >> 24)};
  std::memcpy(triangle.colour[0], colour, 4);
  std::memcpy(triangle.colour[1], colour, 4);
  for (int k = 0; k < 3; ++k) triangle.vertices[k] = &vertices_[pendingVertices_ - 3 + k];
  triangle.texture = textureTable_[boundTexture_];
  triangle.facing = 0;
  triangle.minDepth = triangle.maxDepth = 0.0f;
}

void SGLGen::Vertex3dv(const double* position) noexcept {
  if (!position) return;
  const float values[3] = {float(position[0]), float(position[1]), float(position[2])};
  Vertex3fv(values);
}

void SGLGen::End() noexcept {
  if (!insideBegin_) {
    error_ = kSglInvalidOperation;
    return;
  }
  error_ = kSglNoError;
  if (primitive_ == kSglTriangles) Flush();
  insideBegin_ = false;
}

int32_t SGLGen::Finish() noexcept {
  error_ = insideBegin_ ? kSglInvalidOperation : kSglNoError;
  return error_;
}

void SGLGen::ReadPixels(int32_t x, int32_t y, int32_t width, int32_t height, int32_t format, int32_t type,
                        void* out) noexcept {
  if (!out || !Outside()) return;
  if (format != kSglPixelFormat || type != kSglPixelType) {
    error_ = kSglInvalidEnum;
  } else if (x != 0 || y != 0 || width != viewport_[2] || height != viewport_[3]) {
    error_ = kSglInvalidValue;
  } else if (!colourBuffer_) {
    error_ = kSglInvalidOperation;
  } else {
    std::memcpy(out, colourBuffer_, std::size_t(width) * std::size_t(height) * sizeof(uint32_t));
  }
}

void SGLGen::Frustum(double left, double right, double bottom, double top, double near, double far) noexcept {
  if (!Outside()) return;
  left_ = left, right_ = right, bottom_ = bottom, top_ = top, near_ = near, far_ = far;
  if (!colourBuffer_) {
    error_ = kSglInvalidOperation;
  } else if (matrixMode_ == kSglProjection) {
    perspective_ = 1;
    InitRasterizer();
  }
}

void SGLGen::Ortho(double left, double right, double bottom, double top, double near, double far) noexcept {
  if (!Outside()) return;
  left_ = left, right_ = right, bottom_ = bottom, top_ = top, near_ = near, far_ = far;
  if (matrixMode_ == kSglProjection) {
    perspective_ = 0;
    InitRasterizer();
  }
}

int32_t SGLGen::GetError() noexcept {
  if (insideBegin_) error_ = kSglInvalidOperation;
  return error_;
}

void SGLGen::SetColorBuffer(uint32_t* pixels) noexcept {
  if (!Outside()) return;
  FreeOwnedBuffer();
  colourBuffer_ = pixels;
  external_ = 1;
  InitRasterizer();
}

void SGLGen::SetRasterizerMode(int32_t value) noexcept {
  rasterizer_.SetMode(value);
}

void SGLGen::Flush() noexcept {
  const float* m = modelView_;
  for (int32_t k = 0; k < pendingVertices_; ++k) {
    SglVertex& v = vertices_[k];
    const float x = v.object[0], y = v.object[1], z = v.object[2];
    v.eye[0] = m[0] * x + m[1] * y + m[2] * z + m[3];
    v.eye[1] = m[4] * x + m[5] * y + m[6] * z + m[7];
    v.eye[2] = -(m[8] * x + m[9] * y + m[10] * z + m[11]);
  }
  const int32_t sampling = sampleClamp_ ? kSampleBilinearClamp : sampleBilinear_ ? kSampleBilinear : kSampleNearest;
  for (int32_t k = 0; k < pendingTriangles_; ++k) {
    SglTriangle& triangle = triangles_[k];
    RasterVertex corners[3];
    for (int c = 0; c < 3; ++c) {
      const SglVertex& v = *triangle.vertices[c];
      // Normals turn with the model-view matrix; its translation does not move them. The stored
      // z is negated, like the depth, before and after.
      const float nx = v.normal[0], ny = v.normal[1], nz = -v.normal[2];
      corners[c] = {v.eye[0],
                    v.eye[1],
                    v.eye[2],
                    m[0] * nx + m[1] * ny + m[2] * nz,
                    m[4] * nx + m[5] * ny + m[6] * nz,
                    -(m[8] * nx + m[9] * ny + m[10] * nz),
                    v.s,
                    v.t};
    }
    const int orientation = rasterizer_.Orientation(corners[0], corners[1], corners[2]);
    triangle.facing = !orientation;
    if (cullFace_ && ((orientation == 0 && frontFace_ == kSglCounterClockwise) ||
                      (orientation != 0 && frontFace_ == kSglClockwise))) {
      continue;
    }
    const float d0 = corners[0].depth, d1 = corners[1].depth, d2 = corners[2].depth;
    triangle.maxDepth = std::max({d0, d1, d2, -kDepthLimit});
    triangle.minDepth = std::min({d0, d1, d2, kDepthLimit});
    if (!(double(triangle.maxDepth) > near_)) continue;
    if (!rasterizer_.SetUp(rasterPath_, corners[0], corners[1], corners[2], triangle.colour[0])) continue;
    if (texturing_ && triangle.texture) {
      rasterizer_.FillTextured(triangle.texture, sampling);
    } else {
      rasterizer_.FillUntextured(rasterPath_);
    }
  }
  rasterizer_.Execute();
  pendingVertices_ = vertexInTriangle_ = pendingTriangles_ = 0;
}

}  // namespace vek::render
