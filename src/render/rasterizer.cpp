#include "render/rasterizer.h"

#include <emmintrin.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "image/rows.h"
#include "vek_dsp/colour.h"

namespace vek::render {
namespace {

using ScreenVertex = RasterizerGen::ScreenVertex;
using Prepared = RasterizerGen::Prepared;
using Target = RasterizerGen::Target;
using Plane = RasterizerGen::Plane;

constexpr int kSubpixelBits = 8;
constexpr double kSubpixels = 1 << kSubpixelBits;
// Projected coordinates beyond this many pixels are clipped to the screen first, so that the
// exact edge functions stay far inside 64 bits.
constexpr float kGuardBand = float(1 << 20);
constexpr float kFarthest = -std::numeric_limits<float>::infinity();

// Fill kinds: the three sampling modes of a textured fill, and the untextured fill.
enum Kind { kNearest = kSampleNearest, kBilinear = kSampleBilinear, kBilinearClamp = kSampleBilinearClamp, kPlain };

// --- Eye space: lighting and clipping against the near and far planes ---

struct EyeVertex {
  float x, y, depth, s, t, r, g, b;
};

EyeVertex Mix(const EyeVertex& a, const EyeVertex& b, float k) {
  auto at = [k](float u, float v) { return u + (v - u) * k; };
  return {at(a.x, b.x), at(a.y, b.y), at(a.depth, b.depth), at(a.s, b.s),
          at(a.t, b.t), at(a.r, b.r), at(a.g, b.g),         at(a.b, b.b)};
}

ScreenVertex Mix(const ScreenVertex& a, const ScreenVertex& b, float k) {
  auto at = [k](float u, float v) { return u + (v - u) * k; };
  return {at(a.x, b.x), at(a.y, b.y), at(a.q, b.q), at(a.s, b.s), at(a.t, b.t),
          at(a.r, b.r), at(a.g, b.g), at(a.b, b.b), at(a.z, b.z)};
}

// Sutherland-Hodgman against one plane: keeps the vertices where distance(v) >= 0.
template <class Vertex, class Distance>
int ClipPolygon(const Vertex* in, int count, Vertex* out, int capacity, Distance&& distance) {
  int written = 0;
  for (int k = 0; k < count; ++k) {
    const Vertex& a = in[k];
    const Vertex& b = in[(k + 1) % count];
    const float da = distance(a), db = distance(b);
    if (da >= 0 && written < capacity) out[written++] = a;
    if ((da >= 0) != (db >= 0) && written < capacity) out[written++] = Mix(a, b, da / (da - db));
  }
  return written;
}

float Dot(const float* a, const float* b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

void Normalise(float* v) {
  const float length2 = Dot(v, v);
  if (length2 > 0) {
    const float scale = 1.0f / std::sqrt(length2);
    v[0] *= scale, v[1] *= scale, v[2] *= scale;
  }
}

// x^16 by squaring: the shininess of every surface.
float Shine(float x) {
  x *= x, x *= x, x *= x;
  return x * x;
}

int64_t FloorDiv(int64_t a, int64_t b) {
  return a >= 0 ? a / b : -((-a + b - 1) / b);
}

int64_t Snap(float v) {
  return int64_t(std::floor(double(v) * kSubpixels + 0.5));
}

// floor(v) as an integer, with v held to +-2^29 first (not a number counts as the low end), so
// that the difference of two such values fits 32 bits.
inline int32_t FloorToInt(float v) {
  constexpr float kLimit = float(1 << 29);
  if (!(v > -kLimit)) v = -kLimit;
  if (v > kLimit) v = kLimit;
  const int32_t i = int32_t(v);
  return i - (float(i) > v);
}

// FloorToInt on four lanes.
inline __m128i FloorToInt4(__m128 v) {
  const __m128 limit = _mm_set1_ps(float(1 << 29));
  // max takes its second operand when the first is not a number.
  v = _mm_min_ps(_mm_max_ps(v, _mm_sub_ps(_mm_setzero_ps(), limit)), limit);
  const __m128i i = _mm_cvttps_epi32(v);
  return _mm_add_epi32(i, _mm_castps_si128(_mm_cmpgt_ps(_mm_cvtepi32_ps(i), v)));
}

// 0..255 lit intensity to the 0..256 factor that multiplies a byte (255 becomes 256, exact).
inline int32_t LightFactor(float lit) {
  const int32_t factor = FloorToInt(lit * (256.0f / 255.0f) + 0.5f);
  return factor < 0 ? 0 : factor > 256 ? 256 : factor;
}

// --- Pixels ---

// floor((a (256 - f) + b f) / 256) for each byte: the blend every bilinear sample is made of.
inline uint32_t Lerp2(uint32_t a, uint32_t b, uint32_t f) {
  const uint32_t rb = (((a & 0xFF00FF) * (256 - f) + (b & 0xFF00FF) * f) >> 8) & 0xFF00FF;
  const uint32_t ag = (((a >> 8) & 0xFF00FF) * (256 - f) + ((b >> 8) & 0xFF00FF) * f) & 0xFF00FF00;
  return rb | ag;
}

// The light's luma, the one factor of the luma/chroma path.
inline int32_t LumaFactor(const int32_t* light) {
  return (77 * light[0] + 150 * light[1] + 29 * light[2] + 128) >> 8;
}

// Lighting of a textured pixel: each colour byte moves from a dark value towards itself by its
// factor: (c L + dark (256 - L)) / 256. ARGB: dark is 0 and each channel has its factor. AYUV: dark
// is black (16, 128, 128) and luma and chroma share the light's luma. Alpha is kept.
template <bool Ayuv>
inline uint32_t Modulate(uint32_t p, const int32_t* light) {
  uint32_t out = p & 0xFF000000;
  if constexpr (Ayuv) {
    const uint32_t l = uint32_t(LumaFactor(light)), dark[3] = {128, 128, 16};
    for (int c = 0; c < 3; ++c) out |= ((((p >> (8 * c)) & 0xFF) * l + dark[c] * (256 - l)) >> 8) << (8 * c);
  } else {
    for (int c = 0; c < 3; ++c) out |= ((((p >> (8 * c)) & 0xFF) * uint32_t(light[2 - c])) >> 8) << (8 * c);
  }
  return out;
}

// The same in 16-bit lanes, two pixels' worth: factors, and the dark values times 256 - L.
struct LaneLight {
  __m128i factor, dark;
};
template <bool Ayuv>
LaneLight MakeLaneLight(const int32_t* light) {
  if constexpr (Ayuv) {
    const int16_t l = int16_t(LumaFactor(light)), rest = int16_t(256 - l);
    return {_mm_setr_epi16(l, l, l, 256, l, l, l, 256),
            _mm_setr_epi16(int16_t(128 * rest), int16_t(128 * rest), int16_t(16 * rest), 0, int16_t(128 * rest),
                           int16_t(128 * rest), int16_t(16 * rest), 0)};
  } else {
    const int16_t b = int16_t(light[2]), g = int16_t(light[1]), r = int16_t(light[0]);
    return {_mm_setr_epi16(b, g, r, 256, b, g, r, 256), _mm_setzero_si128()};
  }
}

// An RGB colour (bytes blue, green, red, alpha) lit by 0..256 factors, in the buffer's layout.
template <bool Ayuv>
inline uint32_t LitColour(const uint8_t* colour, const int32_t* light) {
  const uint8_t r = uint8_t((colour[2] * light[0]) >> 8), g = uint8_t((colour[1] * light[1]) >> 8),
                b = uint8_t((colour[0] * light[2]) >> 8);
  const uint32_t alpha = uint32_t(colour[3]) << 24;
  if constexpr (Ayuv) {
    const VekYuv yuv = VekRgbToYuv(r, g, b);
    return alpha | uint32_t(yuv.y) << 16 | uint32_t(yuv.u) << 8 | yuv.v;
  } else {
    return alpha | uint32_t(r) << 16 | uint32_t(g) << 8 | b;
  }
}

inline uint32_t Blend(uint32_t under, uint32_t over, int32_t alpha) {
  const int32_t weight = alpha + (alpha >> 7);
  uint32_t out = 0;
  for (int shift = 0; shift < 32; shift += 8) {
    const int32_t a = int32_t((under >> shift) & 0xFF), b = int32_t((over >> shift) & 0xFF);
    out |= uint32_t(a + (((b - a) * weight) >> 8)) << shift;
  }
  return out;
}

inline int32_t Wrap(int32_t i, int32_t size, int32_t mask) {
  if (uint32_t(i) < uint32_t(size)) return i;
  if (mask) return i & mask;
  i %= size;
  return i < 0 ? i + size : i;
}

inline int32_t Clamp(int32_t i, int32_t size) {
  return i < 0 ? 0 : i >= size ? size - 1 : i;
}

// Texture coordinates are fixed point with kTexelBits fraction bits; for the bilinear kinds they are
// measured from texel centres. The weights are the top 8 fraction bits. With coordinates held to
// +-2^29, textures up to 2^17 texels across are addressed exactly.
constexpr int kTexelBits = 12;
constexpr int kWeightShift = kTexelBits - 8;
inline int32_t TexelOf(int32_t c) {
  return c >> kTexelBits;
}
inline uint32_t WeightOf(int32_t c) {
  return uint32_t(c >> kWeightShift) & 255;
}

// One texel anywhere: coordinates outside the texture repeat or are held at its edges.
template <int K>
inline uint32_t Sample(const TextureRecord& texture, int32_t u, int32_t v) {
  const int32_t w = texture.width, h = texture.height;
  const int32_t maskX = texture.log2Width || w == 1 ? w - 1 : 0, maskY = texture.log2Height || h == 1 ? h - 1 : 0;
  const int32_t xi = TexelOf(u), yi = TexelOf(v);
  if constexpr (K == kNearest) {
    return texture.pixels[std::size_t(Wrap(yi, h, maskY)) * std::size_t(w) + std::size_t(Wrap(xi, w, maskX))];
  } else {
    int32_t x0, x1, y0, y1;
    if constexpr (K == kBilinearClamp) {
      x0 = Clamp(xi, w), x1 = Clamp(xi + 1, w), y0 = Clamp(yi, h), y1 = Clamp(yi + 1, h);
    } else {
      x0 = Wrap(xi, w, maskX), x1 = Wrap(xi + 1, w, maskX), y0 = Wrap(yi, h, maskY), y1 = Wrap(yi + 1, h, maskY);
    }
    const uint32_t* row0 = texture.pixels + std::size_t(y0) * std::size_t(w);
    const uint32_t* row1 = texture.pixels + std::size_t(y1) * std::size_t(w);
    const uint32_t fx = WeightOf(u), fy = WeightOf(v);
    return Lerp2(Lerp2(row0[x0], row1[x0], fy), Lerp2(row0[x1], row1[x1], fy), fx);
  }
}

// (a (256 - f) + b f) >> 8 in 16-bit lanes: the blend of Lerp2, exact for bytes a and b.
inline __m128i LerpLanes(__m128i a, __m128i b, __m128i f) {
  return _mm_srli_epi16(_mm_add_epi16(_mm_mullo_epi16(a, _mm_sub_epi16(_mm_set1_epi16(256), f)), _mm_mullo_epi16(b, f)),
                        8);
}

// Modulate's lighting of pixels in 16-bit lanes.
inline __m128i LightLanes(__m128i c, const LaneLight& light) {
  return _mm_srli_epi16(_mm_add_epi16(_mm_mullo_epi16(c, light.factor), light.dark), 8);
}

// A bilinear texel whose four texels lie inside the texture, in 16-bit lanes 0..3: the same
// integer blends as Sample, rows first, then columns.
inline __m128i SampleInside(const uint32_t* topLeft, std::size_t stride, uint32_t fx, uint32_t fy) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i top = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(topLeft)), zero);
  const __m128i bottom = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(topLeft + stride)), zero);
  const __m128i column = LerpLanes(top, bottom, _mm_set1_epi16(int16_t(fy)));
  return LerpLanes(column, _mm_unpackhi_epi64(column, column), _mm_set1_epi16(int16_t(fx)));
}

// SampleInside on a texture turned on its side (its columns stored as rows): the pair loaded from a
// row is a column pair of the picture, so the pairs are blended first, then the two results; fx
// and fy weigh the turned texture's columns and rows, the picture's rows and columns.
inline __m128i SampleInsideTurned(const uint32_t* topLeft, std::size_t stride, uint32_t fx, uint32_t fy) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i top = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(topLeft)), zero);
  const __m128i bottom = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(topLeft + stride)), zero);
  const __m128i columns =
      LerpLanes(_mm_unpacklo_epi64(top, bottom), _mm_unpackhi_epi64(top, bottom), _mm_set1_epi16(int16_t(fx)));
  return LerpLanes(columns, _mm_unpackhi_epi64(columns, columns), _mm_set1_epi16(int16_t(fy)));
}

// RunInside forms texel offsets with 16-bit multiply-adds: textures up to this many texels across
// and down.
constexpr int32_t kMaxRunInsideSize = 32767;

// How many pixels ahead RunInside prefetches texels. Walking along a picture's rows, a pixel meets
// a new line only every few pixels, and the texels must be asked for far ahead to arrive in time;
// walking across them (a picture turned on its side), every pixel or two meets new lines, and asking
// that far ahead would want more lines in flight than the processor keeps.
int PrefetchDistance(int32_t du, int32_t dv) {
  return 4 * int64_t(std::abs(dv)) <= int64_t(std::abs(du)) ? 48 : 16;
}

// Bilinear texels inside the texture for a run of pixels with stepped coordinates: the common case
// of a picture on a face under one light, with no depth test and no blending. Four pixels at a
// time, their coordinates, weights and texel offsets in the lanes of a vector; the blends are
// those of SampleInside, or of SampleInsideTurned when `pixels` is a turned texture.
template <bool Lit, bool Turned>
void RunInside(uint32_t* out, int count, int32_t u, int32_t v, int32_t du, int32_t dv, const uint32_t* pixels,
               std::size_t stride, const LaneLight& light) {
  const __m128i zero = _mm_setzero_si128(), weightMask = _mm_set1_epi32(255);
  // A lane holding column c in its low and row r in its high 16 bits multiply-adds to r stride + c.
  const __m128i offsetFactors = _mm_set1_epi32(int32_t(uint32_t(stride) << 16 | 1u));
  const __m128i stepU = _mm_set1_epi32(4 * du), stepV = _mm_set1_epi32(4 * dv);
  __m128i us = _mm_setr_epi32(u, u + du, u + 2 * du, u + 3 * du);
  __m128i vs = _mm_setr_epi32(v, v + dv, v + 2 * dv, v + 3 * dv);
  // Only an address to prefetch: the lanes wrap as the coordinates' lanes do.
  const uint32_t distance = uint32_t(PrefetchDistance(du, dv));
  const __m128i reachU = _mm_set1_epi32(int32_t(distance * uint32_t(du)));
  const __m128i reachV = _mm_set1_epi32(int32_t(distance * uint32_t(dv)));
  // Texel offsets r stride + c from coordinates.
  auto offsetsOf = [&](__m128i uu, __m128i vv) {
    const __m128i columns = _mm_srli_epi32(uu, kTexelBits), rows = _mm_srli_epi32(vv, kTexelBits);
    return _mm_madd_epi16(_mm_or_si128(columns, _mm_slli_epi32(rows, 16)), offsetFactors);
  };
  // Texels of two pixels at offsets from a row: the pair of one pixel, then that of the other.
  auto pairs = [](const uint32_t* row, uint32_t first, uint32_t second) {
    return _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(row + first)),
                              _mm_loadl_epi64(reinterpret_cast<const __m128i*>(row + second)));
  };
  // Two pixels from their texel pairs (left, right of one pixel, then of the other) and weights
  // (one pixel's in lanes 0..3, the other's in 4..7).
  auto twoPixels = [&](__m128i top, __m128i bottom, __m128i fx, __m128i fy) {
    top = _mm_shuffle_epi32(top, _MM_SHUFFLE(3, 1, 2, 0));  // both left texels, then both right
    bottom = _mm_shuffle_epi32(bottom, _MM_SHUFFLE(3, 1, 2, 0));
    __m128i c;
    if constexpr (Turned) {
      const __m128i upper = LerpLanes(_mm_unpacklo_epi8(top, zero), _mm_unpackhi_epi8(top, zero), fx);
      const __m128i lower = LerpLanes(_mm_unpacklo_epi8(bottom, zero), _mm_unpackhi_epi8(bottom, zero), fx);
      c = LerpLanes(upper, lower, fy);
    } else {
      const __m128i left = LerpLanes(_mm_unpacklo_epi8(top, zero), _mm_unpacklo_epi8(bottom, zero), fy);
      const __m128i right = LerpLanes(_mm_unpackhi_epi8(top, zero), _mm_unpackhi_epi8(bottom, zero), fy);
      c = LerpLanes(left, right, fx);
    }
    return Lit ? LightLanes(c, light) : c;
  };
  const uint32_t* below = pixels + stride;
  int k = 0;
  for (; k + 4 <= count; k += 4) {
    // The texels of every pixel a few pixels ahead are asked for early: a picture turned on the
    // screen is walked across its rows, a new row (and page) every pixel or two. Only addresses
    // are formed; a prefetch may point past the texture without touching memory.
    alignas(16) uint32_t ahead[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(ahead), offsetsOf(_mm_add_epi32(us, reachU), _mm_add_epi32(vs, reachV)));
    for (const uint32_t lane : ahead) {
      const uintptr_t offset = uintptr_t(lane) * sizeof(uint32_t);
      _mm_prefetch(reinterpret_cast<const char*>(reinterpret_cast<uintptr_t>(pixels) + offset), _MM_HINT_T0);
      _mm_prefetch(reinterpret_cast<const char*>(reinterpret_cast<uintptr_t>(below) + offset), _MM_HINT_T0);
    }
    alignas(16) uint32_t offset[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(offset), offsetsOf(us, vs));
    // Weights in 16-bit lanes, fx of the four pixels, then fy; each repeated for a pixel's lanes.
    const __m128i weights = _mm_packs_epi32(_mm_and_si128(_mm_srli_epi32(us, kWeightShift), weightMask),
                                            _mm_and_si128(_mm_srli_epi32(vs, kWeightShift), weightMask));
    const __m128i fx = _mm_unpacklo_epi16(weights, weights), fy = _mm_unpackhi_epi16(weights, weights);
    const __m128i first = twoPixels(pairs(pixels, offset[0], offset[1]), pairs(below, offset[0], offset[1]),
                                    _mm_unpacklo_epi32(fx, fx), _mm_unpacklo_epi32(fy, fy));
    const __m128i second = twoPixels(pairs(pixels, offset[2], offset[3]), pairs(below, offset[2], offset[3]),
                                     _mm_unpackhi_epi32(fx, fx), _mm_unpackhi_epi32(fy, fy));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + k), _mm_packus_epi16(first, second));
    us = _mm_add_epi32(us, stepU), vs = _mm_add_epi32(vs, stepV);
  }
  for (u += k * du, v += k * dv; k < count; ++k, u += du, v += dv) {
    const uint32_t* topLeft = pixels + std::size_t(TexelOf(v)) * stride + std::size_t(TexelOf(u));
    __m128i c = Turned ? SampleInsideTurned(topLeft, stride, WeightOf(u), WeightOf(v))
                       : SampleInside(topLeft, stride, WeightOf(u), WeightOf(v));
    if constexpr (Lit) c = LightLanes(c, light);
    out[k] = uint32_t(_mm_cvtsi128_si32(_mm_packus_epi16(c, c)));
  }
}

// Perspective-correct texture coordinates are computed exactly at both ends of every run of this
// many pixels and stepped in integers between them.
constexpr int kRunShift = 5;
constexpr int kRun = 1 << kRunShift;

// One row of one triangle, pixels first..last. Every value is computed from the row and the
// pixel's offset within the span alone, so bands of any size give the same bytes.
template <int K, bool Ayuv, bool Flat>
void Span(const Prepared& tri, const Target& target, int row, int first, int last) {
  uint32_t* out = target.colour + std::size_t(row - target.firstRow) * std::size_t(target.width) + first;
  float* depth =
      target.depth && tri.depthTest ? target.depth + std::size_t(row) * std::size_t(target.width) + first : nullptr;
  const float dy = float(row) + 0.5f - tri.oy, dx = float(first) + 0.5f - tri.ox;
  auto start = [&](const Plane& p) { return p.at + p.dy * dy + p.dx * dx; };
  const float q0 = start(tri.q), s0 = start(tri.s), t0 = start(tri.t), z0 = start(tri.z);
  const float r0 = Flat ? 0 : start(tri.r), g0 = Flat ? 0 : start(tri.g), b0 = Flat ? 0 : start(tri.b);
  const bool blend = tri.colour[3] != 255;
  const int32_t bias = K == kNearest ? 0 : 1 << (kTexelBits - 1);
  const int count = last - first + 1;
  const TextureRecord* texture = tri.texture;
  const LaneLight lanes = MakeLaneLight<Ayuv>(tri.light);
  const bool modulate = !Flat || tri.modulate;
  // Exact coordinates of the pixels at offsets k[0..3], one division for the four.
  auto coordinates = [&](__m128i k, int32_t* u, int32_t* v) {
    const __m128 at = _mm_cvtepi32_ps(k);
    auto plane = [at](float start, float step) {
      return _mm_add_ps(_mm_set1_ps(start), _mm_mul_ps(_mm_set1_ps(step), at));
    };
    const __m128 w = _mm_div_ps(_mm_set1_ps(1.0f), plane(q0, tri.q.dx));
    const __m128i texelBias = _mm_set1_epi32(bias);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(u),
                     _mm_sub_epi32(FloorToInt4(_mm_mul_ps(plane(s0, tri.s.dx), w)), texelBias));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(v),
                     _mm_sub_epi32(FloorToInt4(_mm_mul_ps(plane(t0, tri.t.dx), w)), texelBias));
  };
  if constexpr (K == kPlain && Flat) {
    if (!depth && !blend) {
      std::fill(out, out + count, tri.flatPixel);
      return;
    }
  }
  // Pixels first..last one by one, from coordinates (u, v) at the first; `inside` says that all
  // their texels lie inside the texture.
  auto pixels = [&](int first, int last, int32_t u, int32_t v, int32_t du, int32_t dv, bool inside) {
    for (int k = first; k <= last; ++k, u += du, v += dv) {
      if (depth) {
        const float z = z0 + tri.z.dx * float(k);
        if (!(z > depth[k])) continue;
        depth[k] = z;
      }
      int32_t light[3] = {tri.light[0], tri.light[1], tri.light[2]};
      if constexpr (!Flat) {
        const float w = 1.0f / (q0 + tri.q.dx * float(k));
        light[0] = LightFactor((r0 + tri.r.dx * float(k)) * w);
        light[1] = LightFactor((g0 + tri.g.dx * float(k)) * w);
        light[2] = LightFactor((b0 + tri.b.dx * float(k)) * w);
      }
      uint32_t pixel;
      if constexpr (K == kPlain) {
        pixel = Flat ? tri.flatPixel : LitColour<Ayuv>(tri.colour, light);
      } else if (K != kNearest && inside) {
        const std::size_t stride = std::size_t(texture->width);
        const uint32_t* topLeft = texture->pixels + std::size_t(TexelOf(v)) * stride + std::size_t(TexelOf(u));
        __m128i c = SampleInside(topLeft, stride, WeightOf(u), WeightOf(v));
        if (modulate) c = LightLanes(c, Flat ? lanes : MakeLaneLight<Ayuv>(light));
        pixel = uint32_t(_mm_cvtsi128_si32(_mm_packus_epi16(c, c)));
      } else {
        pixel = Sample<K>(*texture, u, v);
        if (modulate) pixel = Modulate<Ayuv>(pixel, light);
      }
      out[k] = blend ? Blend(out[k], pixel, tri.colour[3]) : pixel;
    }
  };
  // A run of kRun pixels with a pixel after it steps over kRun intervals to that pixel, whose
  // exact coordinates start the next run; a last, shorter run steps to its own last pixel. The
  // pixels where runs end are taken four runs at a time: pixel 0 and the ends of runs 0..2 first,
  // then those of the next four runs.
  alignas(16) int32_t endU[4], endV[4];
  int endsHeld = 0;  // endU[i] holds where run endsHeld + i ends (run -1 "ends" at pixel 0)
  const auto endOfRun = [count](int r) { return std::min((r + 1) * kRun, count - 1); };
  int32_t nextU = 0, nextV = 0;
  if constexpr (K != kPlain) {
    coordinates(_mm_setr_epi32(0, endOfRun(0), endOfRun(1), endOfRun(2)), endU, endV);
    nextU = endU[0], nextV = endV[0];
    endsHeld = -1;
  }
  for (int run = 0; run < count; run += kRun) {
    const int end = std::min(run + kRun, count) - 1;
    int32_t u = nextU, v = nextV, du = 0, dv = 0;
    bool inside = false;
    if constexpr (K != kPlain) {
      const int r = run >> kRunShift;
      if (end > run && r - endsHeld > 3) {
        coordinates(_mm_setr_epi32(endOfRun(r), endOfRun(r + 1), endOfRun(r + 2), endOfRun(r + 3)), endU, endV);
        endsHeld = r;
      }
      if (run + kRun < count) {
        nextU = endU[r - endsHeld], nextV = endV[r - endsHeld];
        du = (nextU - u) >> kRunShift, dv = (nextV - v) >> kRunShift;
      } else if (end > run) {
        du = (endU[r - endsHeld] - u) / (end - run), dv = (endV[r - endsHeld] - v) / (end - run);
      }
      // Stepping is linear, so the run's texels lie between those of its ends.
      const int32_t uLast = u + du * (end - run), vLast = v + dv * (end - run);
      const int32_t reach = K == kNearest ? 1 : 2;
      inside = std::min(u, uLast) >= 0 && TexelOf(std::max(u, uLast)) + reach <= texture->width &&
               std::min(v, vLast) >= 0 && TexelOf(std::max(v, vLast)) + reach <= texture->height;
      if (K != kNearest && Flat && !depth && !blend && texture->width <= kMaxRunInsideSize &&
          texture->height <= kMaxRunInsideSize) {
        // The pixels whose texels all lie inside form one stretch of the run, stepping being
        // linear; the few at its ends that reach past an edge (the picture's last column and row)
        // are sampled one by one.
        const auto texelsInside = [&](int k) {
          const int32_t uk = u + du * (k - run), vk = v + dv * (k - run);
          return uk >= 0 && vk >= 0 && TexelOf(uk) + 2 <= texture->width && TexelOf(vk) + 2 <= texture->height;
        };
        int from = run, to = end;
        if (!inside) {
          while (from <= to && !texelsInside(from)) ++from;
          while (to >= from && !texelsInside(to)) --to;
        }
        if (from <= to) {
          const int32_t uFrom = u + du * (from - run), vFrom = v + dv * (from - run);
          const int n = to - from + 1;
          if (tri.turned && std::abs(dv) > std::abs(du)) {
            // Down the picture's columns: along the rows of its turned copy.
            const std::size_t stride = std::size_t(texture->height);
            if (modulate) {
              RunInside<true, true>(out + from, n, vFrom, uFrom, dv, du, tri.turned, stride, lanes);
            } else {
              RunInside<false, true>(out + from, n, vFrom, uFrom, dv, du, tri.turned, stride, lanes);
            }
          } else {
            const std::size_t stride = std::size_t(texture->width);
            if (modulate) {
              RunInside<true, false>(out + from, n, uFrom, vFrom, du, dv, texture->pixels, stride, lanes);
            } else {
              RunInside<false, false>(out + from, n, uFrom, vFrom, du, dv, texture->pixels, stride, lanes);
            }
          }
          pixels(run, from - 1, u, v, du, dv, false);
          pixels(to + 1, end, u + du * (to + 1 - run), v + dv * (to + 1 - run), du, dv, false);
          continue;
        }
      }
    }
    pixels(run, end, u, v, du, dv, inside);
  }
}

template <int K>
RasterizerGen::SpanFn ChooseSpan(bool ayuv, bool flat) {
  if (ayuv) return flat ? &Span<K, true, true> : &Span<K, true, false>;
  return flat ? &Span<K, false, true> : &Span<K, false, false>;
}

RasterizerGen::SpanFn ChooseSpan(int kind, bool ayuv, bool flat) {
  switch (kind) {
    case kNearest:
      return ChooseSpan<kNearest>(ayuv, flat);
    case kBilinear:
      return ChooseSpan<kBilinear>(ayuv, flat);
    case kBilinearClamp:
      return ChooseSpan<kBilinearClamp>(ayuv, flat);
    default:
      return ChooseSpan<kPlain>(ayuv, flat);
  }
}

// Columns c0..c1-1 of a w x h picture as rows c0..c1-1 of `turned`, h pixels each: in blocks of 64
// rows, four columns of four rows at a time.
void TurnColumns(const uint32_t* pixels, int w, int h, uint32_t* turned, int c0, int c1) {
  const std::size_t in = std::size_t(w), out = std::size_t(h);
  for (int y0 = 0; y0 < h; y0 += 64) {
    const int y1 = std::min(h, y0 + 64), fourRows = y0 + (y1 - y0) / 4 * 4;
    int c = c0;
    for (; c + 4 <= c1; c += 4) {
      for (int y = y0; y < fourRows; y += 4) {
        const uint32_t* from = pixels + std::size_t(y) * in + std::size_t(c);
        const __m128i r0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
        const __m128i r1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + in));
        const __m128i r2 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 2 * in));
        const __m128i r3 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 3 * in));
        const __m128i low01 = _mm_unpacklo_epi32(r0, r1), high01 = _mm_unpackhi_epi32(r0, r1);
        const __m128i low23 = _mm_unpacklo_epi32(r2, r3), high23 = _mm_unpackhi_epi32(r2, r3);
        uint32_t* to = turned + std::size_t(c) * out + std::size_t(y);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_unpacklo_epi64(low01, low23));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + out), _mm_unpackhi_epi64(low01, low23));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 2 * out), _mm_unpacklo_epi64(high01, high23));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 3 * out), _mm_unpackhi_epi64(high01, high23));
      }
      for (int y = fourRows; y < y1; ++y)
        for (int k = 0; k < 4; ++k)
          turned[std::size_t(c + k) * out + std::size_t(y)] = pixels[std::size_t(y) * in + std::size_t(c + k)];
    }
    for (; c < c1; ++c)
      for (int y = y0; y < y1; ++y)
        turned[std::size_t(c) * out + std::size_t(y)] = pixels[std::size_t(y) * in + std::size_t(c)];
  }
}

// The plane through three values at three points, anchored at the first point.
Plane MakePlane(const double* x, const double* y, double det, float a0, float a1, float a2) {
  const double e1x = x[1] - x[0], e1y = y[1] - y[0], e2x = x[2] - x[0], e2y = y[2] - y[0];
  const double d1 = double(a1) - a0, d2 = double(a2) - a0;
  return {a0, float((d1 * e2y - d2 * e1y) / det), float((d2 * e1x - d1 * e2x) / det)};
}

}  // namespace

RasterizerGen::RasterizerGen() noexcept = default;

RasterizerGen::~RasterizerGen() {
  for (uint32_t* pixels : turned_) std::free(pixels);
  std::free(depth_);
  std::free(queue_);
  std::free(runImages_);
}

void RasterizerGen::Init(float perspective, float width, float height, float top, float bottom, float left, float right,
                         float near, float far, uint32_t* colour) noexcept {
  perspective_ = perspective != 0.0f;
  const int w = width >= 1 && width < 65536 ? int(width) : 0, h = height >= 1 && height < 65536 ? int(height) : 0;
  if (std::size_t(w) * std::size_t(h) != depthPixels_) {
    std::free(depth_);
    depth_ = nullptr;
    depthPixels_ = 0;
  }
  width_ = w, height_ = h;
  top_ = top, bottom_ = bottom, left_ = left, right_ = right, near_ = near, far_ = far;
  colour_ = w && h ? colour : nullptr;
  queued_ = 0;
  pendingCount_ = 0;
}

void RasterizerGen::SetLightEnabled(int light, bool on) noexcept {
  if (light >= 0 && light < kMaxLights) lights_[light].enabled = on;
}

void RasterizerGen::SetLightColour(int light, int which, int red, int green, int blue) noexcept {
  if (light < 0 || light >= kMaxLights || which < 0 || which > 2) return;
  LightSource& source = lights_[light];
  float* target = which == 0 ? source.ambient : which == 1 ? source.diffuse : source.specular;
  target[0] = float(red), target[1] = float(green), target[2] = float(blue);
}

void RasterizerGen::SetLightPosition(int light, float x, float y, float z, float w) noexcept {
  if (light < 0 || light >= kMaxLights) return;
  float* position = lights_[light].position;
  position[0] = x, position[1] = y, position[2] = z, position[3] = w;
}

float* RasterizerGen::DepthBuffer() noexcept {
  if (!depth_ && width_ > 0 && height_ > 0) {
    const std::size_t pixels = std::size_t(width_) * std::size_t(height_);
    depth_ = static_cast<float*>(std::malloc(pixels * sizeof(float)));
    if (!depth_) return nullptr;
    depthPixels_ = pixels;
    std::fill(depth_, depth_ + pixels, kFarthest);
  }
  return depth_;
}

void RasterizerGen::ClearDepth() noexcept {
  if (depth_) {
    std::fill(depth_, depth_ + depthPixels_, kFarthest);
  } else {
    DepthBuffer();
  }
}

int RasterizerGen::Orientation(const RasterVertex& a, const RasterVertex& b, const RasterVertex& c) const noexcept {
  // In the viewer's frame (z towards the viewer) the normal of a counter-clockwise triangle points
  // at the eye: at the origin for a perspective, along +z for an orthographic projection.
  const double ax = a.x, ay = a.y, az = -double(a.depth);
  const double e1x = b.x - ax, e1y = b.y - ay, e1z = -double(b.depth) - az;
  const double e2x = c.x - ax, e2y = c.y - ay, e2z = -double(c.depth) - az;
  const double nx = e1y * e2z - e1z * e2y, ny = e1z * e2x - e1x * e2z, nz = e1x * e2y - e1y * e2x;
  const double facing = perspective_ ? -(nx * ax + ny * ay + nz * az) : nz;
  return facing > 0 ? 1 : 0;
}

void RasterizerGen::Light(const RasterVertex& v, float lit[3]) const noexcept {
  if (!lighting_) {
    lit[0] = lit[1] = lit[2] = 255.0f;
    return;
  }
  float normal[3] = {v.nx, v.ny, v.nz};
  Normalise(normal);
  float toViewer[3] = {0.0f, 0.0f, -1.0f};
  if (perspective_) {
    toViewer[0] = -v.x, toViewer[1] = -v.y, toViewer[2] = -v.depth;
    Normalise(toViewer);
  }
  lit[0] = lit[1] = lit[2] = 0.0f;
  for (const LightSource& light : lights_) {
    if (!light.enabled) continue;
    float toLight[3] = {light.position[0], light.position[1], light.position[2]};
    if (light.position[3] != 0.0f) {
      const float inverse = 1.0f / light.position[3];
      toLight[0] = toLight[0] * inverse - v.x, toLight[1] = toLight[1] * inverse - v.y;
      toLight[2] = toLight[2] * inverse - v.depth;
    }
    Normalise(toLight);
    const float diffuse = std::max(0.0f, Dot(normal, toLight));
    float specular = 0.0f;
    if (diffuse > 0.0f) {
      float half[3] = {toLight[0] + toViewer[0], toLight[1] + toViewer[1], toLight[2] + toViewer[2]};
      Normalise(half);
      specular = Shine(std::max(0.0f, Dot(normal, half)));
    }
    for (int c = 0; c < 3; ++c) lit[c] += light.ambient[c] + light.diffuse[c] * diffuse + light.specular[c] * specular;
  }
  for (int c = 0; c < 3; ++c) lit[c] = std::min(255.0f, lit[c]);
}

bool RasterizerGen::SetUp(int32_t path, const RasterVertex& a, const RasterVertex& b, const RasterVertex& c,
                          const uint8_t colour[4]) noexcept {
  pendingCount_ = 0;
  if (!colour_) return false;
  const RasterVertex* corners[3] = {&a, &b, &c};
  EyeVertex eye[3];
  for (int k = 0; k < 3; ++k) {
    const RasterVertex& v = *corners[k];
    if (!std::isfinite(v.x) || !std::isfinite(v.y) || !std::isfinite(v.depth)) return false;
    float lit[3];
    Light(v, lit);
    eye[k] = {v.x, v.y, v.depth, v.s, v.t, lit[0], lit[1], lit[2]};
  }
  if (path == 1) {
    // Raster path 1 lights the triangle with one colour, the mean of its corners'.
    for (float EyeVertex::*channel : {&EyeVertex::r, &EyeVertex::g, &EyeVertex::b}) {
      const float mean = (eye[0].*channel + eye[1].*channel + eye[2].*channel) / 3.0f;
      for (EyeVertex& v : eye) v.*channel = mean;
    }
  }

  // Near and far planes in eye space, where every attribute is still linear.
  EyeVertex nearClipped[kMaxPolygon], clipped[kMaxPolygon];
  const float near = near_, far = far_;
  int count = ClipPolygon(eye, 3, nearClipped, kMaxPolygon, [near](const EyeVertex& v) { return v.depth - near; });
  count = ClipPolygon(nearClipped, count, clipped, kMaxPolygon, [far](const EyeVertex& v) { return far - v.depth; });
  if (count < 3) return false;
  // Lighting that is the same at every corner is applied once per triangle, not per pixel.
  pendingFlat_ = true;
  for (int k = 1; k < count; ++k) {
    pendingFlat_ &= clipped[k].r == clipped[0].r && clipped[k].g == clipped[0].g && clipped[k].b == clipped[0].b;
  }
  pendingLight_[0] = clipped[0].r, pendingLight_[1] = clipped[0].g, pendingLight_[2] = clipped[0].b;

  // Projection. Path 0 in perspective divides the attributes by depth, so that they can be
  // interpolated linearly on the screen and divided back per pixel.
  const bool divide = perspective_ && path != 1;
  const float scaleX = float(width_) / (right_ - left_), scaleY = float(height_) / (bottom_ - top_);
  bool outside = false;
  ScreenVertex screen[kMaxPolygon];
  for (int k = 0; k < count; ++k) {
    const EyeVertex& v = clipped[k];
    const float inverse = 1.0f / v.depth;
    const float x = perspective_ ? v.x * near * inverse : v.x, y = perspective_ ? -v.y * near * inverse : -v.y;
    const float q = divide ? inverse : 1.0f;
    ScreenVertex& s = screen[k];
    s = {(x - left_) * scaleX,
         (y - top_) * scaleY,
         q,
         v.s * q,
         v.t * q,
         v.r * q,
         v.g * q,
         v.b * q,
         perspective_ ? inverse : -v.depth};
    if (!std::isfinite(s.x) || !std::isfinite(s.y)) return false;
    outside |= std::fabs(s.x) > kGuardBand || std::fabs(s.y) > kGuardBand;
  }
  if (outside) {
    // Far outside the screen: clip to a rectangle one pixel larger than it, on the screen, where
    // the divided attributes are linear.
    const float w = float(width_) + 1.0f, h = float(height_) + 1.0f;
    ScreenVertex other[kMaxPolygon];
    count = ClipPolygon(screen, count, other, kMaxPolygon, [](const ScreenVertex& v) { return v.x + 1.0f; });
    count = ClipPolygon(other, count, screen, kMaxPolygon, [w](const ScreenVertex& v) { return w - v.x; });
    count = ClipPolygon(screen, count, other, kMaxPolygon, [](const ScreenVertex& v) { return v.y + 1.0f; });
    count = ClipPolygon(other, count, screen, kMaxPolygon, [h](const ScreenVertex& v) { return h - v.y; });
    if (count < 3) return false;
  }
  std::copy(screen, screen + count, pending_);
  pendingCount_ = count;
  pendingPath_ = path;
  std::copy(colour, colour + 4, pendingColour_);
  return true;
}

bool RasterizerGen::Prepare(const ScreenVertex& v0, const ScreenVertex& v1, const ScreenVertex& v2,
                            Prepared& out) const noexcept {
  const ScreenVertex* v[3] = {&v0, &v1, &v2};
  int64_t X[3], Y[3];
  for (int k = 0; k < 3; ++k) X[k] = Snap(v[k]->x), Y[k] = Snap(v[k]->y);
  int64_t area = (X[1] - X[0]) * (Y[2] - Y[0]) - (Y[1] - Y[0]) * (X[2] - X[0]);
  if (area == 0) return false;
  if (area < 0) {
    std::swap(v[1], v[2]), std::swap(X[1], X[2]), std::swap(Y[1], Y[2]);
    area = -area;
  }
  // Bounds: the pixels whose centres lie within the snapped corners, on the screen.
  const int64_t half = int64_t(kSubpixels) / 2;
  auto firstCentre = [half](int64_t lo) {
    return int(FloorDiv(lo - half + int64_t(kSubpixels) - 1, int64_t(kSubpixels)));
  };
  auto lastCentre = [half](int64_t hi) { return int(FloorDiv(hi - half, int64_t(kSubpixels))); };
  out.x0 = std::max(0, firstCentre(std::min({X[0], X[1], X[2]})));
  out.x1 = std::min(width_ - 1, lastCentre(std::max({X[0], X[1], X[2]})));
  out.y0 = std::max(0, firstCentre(std::min({Y[0], Y[1], Y[2]})));
  out.y1 = std::min(height_ - 1, lastCentre(std::max({Y[0], Y[1], Y[2]})));
  if (out.x0 > out.x1 || out.y0 > out.y1) return false;

  // Edge k runs from corner k to corner k + 1; E = dx (py - y0) - dy (px - x0) is positive inside.
  // Top-left rule: pixels exactly on an edge belong to the triangle only when the edge is a left
  // edge (running up the screen) or a top edge (horizontal, running right).
  for (int k = 0; k < 3; ++k) {
    const int64_t x0 = X[k], y0 = Y[k], dx = X[(k + 1) % 3] - x0, dy = Y[(k + 1) % 3] - y0;
    const bool topLeft = dy < 0 || (dy == 0 && dx > 0);
    out.ei[k] = -dy * int64_t(kSubpixels);
    out.ej[k] = dx * int64_t(kSubpixels);
    out.e0[k] = dx * (half - y0) - dy * (half - x0) - (topLeft ? 0 : 1);
  }

  const double px[3] = {double(X[0]) / kSubpixels, double(X[1]) / kSubpixels, double(X[2]) / kSubpixels};
  const double py[3] = {double(Y[0]) / kSubpixels, double(Y[1]) / kSubpixels, double(Y[2]) / kSubpixels};
  const double det = double(area) / (kSubpixels * kSubpixels);
  out.ox = float(px[0]), out.oy = float(py[0]);
  auto plane = [&](float ScreenVertex::*field) {
    return MakePlane(px, py, det, v[0]->*field, v[1]->*field, v[2]->*field);
  };
  out.q = plane(&ScreenVertex::q), out.s = plane(&ScreenVertex::s), out.t = plane(&ScreenVertex::t);
  out.r = plane(&ScreenVertex::r), out.g = plane(&ScreenVertex::g), out.b = plane(&ScreenVertex::b);
  out.z = plane(&ScreenVertex::z);
  return true;
}

void RasterizerGen::Queue(bool textured, const TextureRecord* texture, int32_t samplingMode) noexcept {
  if (pendingCount_ < 3) return;
  const bool ayuv = mode_ == kLayoutAyuv;
  const int kind = !textured                                                           ? kPlain
                   : samplingMode == kSampleNearest || samplingMode == kSampleBilinear ? samplingMode
                                                                                       : kBilinearClamp;
  int32_t light[3];
  for (int c = 0; c < 3; ++c) light[c] = LightFactor(pendingLight_[c]);
  for (int k = 1; k + 1 < pendingCount_; ++k) {
    if (queued_ == capacity_ && !Grow()) {
      if (holding_) break;
      Execute();
    }
    Prepared& tri = queue_[queued_];
    if (!Prepare(pending_[0], pending_[k], pending_[k + 1], tri)) continue;
    tri.texture = texture;
    tri.turned = nullptr;
    tri.bilinear = kind == kBilinear || kind == kBilinearClamp;
    tri.depthTest = depthTest_;
    std::copy(pendingColour_, pendingColour_ + 4, tri.colour);
    tri.flat = pendingFlat_;
    std::copy(light, light + 3, tri.light);
    tri.modulate = light[0] != 256 || light[1] != 256 || light[2] != 256;
    tri.flatPixel = ayuv ? LitColour<true>(tri.colour, light) : LitColour<false>(tri.colour, light);
    if (textured) {
      // Texture coordinates straight to fixed-point texels.
      const float scaleS = float(texture->width) * float(1 << kTexelBits);
      const float scaleT = float(texture->height) * float(1 << kTexelBits);
      tri.s = {tri.s.at * scaleS, tri.s.dx * scaleS, tri.s.dy * scaleS};
      tri.t = {tri.t.at * scaleT, tri.t.dx * scaleT, tri.t.dy * scaleT};
    }
    tri.span = ChooseSpan(kind, ayuv, pendingFlat_);
    ++queued_;
  }
  pendingCount_ = 0;
}

void RasterizerGen::FillTextured(const TextureRecord* texture, int32_t samplingMode) noexcept {
  if (!texture || !texture->pixels || texture->width <= 0 || texture->height <= 0) {
    pendingCount_ = 0;
    return;
  }
  Queue(true, texture, samplingMode);
}

void RasterizerGen::FillUntextured(int32_t) noexcept {
  Queue(false, nullptr, 0);
}

bool RasterizerGen::Grow() noexcept {
  const int capacity = capacity_ ? 2 * capacity_ : 256;
  auto* grown = static_cast<Prepared*>(std::realloc(queue_, std::size_t(capacity) * sizeof(Prepared)));
  if (!grown) return false;
  queue_ = grown;
  capacity_ = capacity;
  return true;
}

// The columns triangle `tri` covers in row j, exactly, from its edge functions (none: lo > hi).
void CoveredSpan(const Prepared& tri, int j, int64_t& lo, int64_t& hi) {
  lo = tri.x0, hi = tri.x1;
  for (int e = 0; e < 3; ++e) {
    const int64_t c = tri.ej[e] * j + tri.e0[e];
    if (tri.ei[e] > 0) {
      lo = std::max(lo, -FloorDiv(c, tri.ei[e]));
    } else if (tri.ei[e] < 0) {
      hi = std::min(hi, FloorDiv(c, -tri.ei[e]));
    } else if (c < 0) {
      hi = lo - 1;
    }
  }
}

// Adds the columns a..b to a row's sorted runs of overwritten columns, joining runs that overlap
// or touch; too many runs make the row unknown.
void AddSolid(RasterizerGen::RowCoverage& row, int a, int b) {
  if (row.solidCount < 0) return;
  int from[RasterizerGen::kMaxSolid + 1], to[RasterizerGen::kMaxSolid + 1], count = 0;
  bool placed = false;
  for (int k = 0; k < row.solidCount; ++k) {
    if (row.solidTo[k] + 1 < a) {
      from[count] = row.solidFrom[k], to[count++] = row.solidTo[k];
    } else if (row.solidFrom[k] > b + 1) {
      if (!placed) from[count] = a, to[count++] = b, placed = true;
      from[count] = row.solidFrom[k], to[count++] = row.solidTo[k];
    } else {
      a = std::min(a, row.solidFrom[k]), b = std::max(b, row.solidTo[k]);
    }
    if (count > RasterizerGen::kMaxSolid) {
      row.solidCount = -1;
      return;
    }
  }
  if (!placed) from[count] = a, to[count++] = b;
  if (count > RasterizerGen::kMaxSolid) {
    row.solidCount = -1;
    return;
  }
  std::copy(from, from + count, row.solidFrom);
  std::copy(to, to + count, row.solidTo);
  row.solidCount = count;
}

void RasterizerGen::Coverage(int y0, int y1, RowCoverage* rows) const noexcept {
  bool opaque = true;
  for (int k = 0; k < queued_; ++k) opaque &= !queue_[k].depthTest && queue_[k].colour[3] == 255;
  for (int j = y0; j < y1; ++j)
    rows[j - y0].from = width_, rows[j - y0].to = -1, rows[j - y0].solidCount = opaque ? 0 : -1;
  for (int k = 0; k < queued_; ++k) {
    const Prepared& tri = queue_[k];
    for (int j = std::max(tri.y0, y0); j <= std::min(tri.y1, y1 - 1); ++j) {
      int64_t a, b;
      CoveredSpan(tri, j, a, b);
      if (a > b) continue;
      RowCoverage& row = rows[j - y0];
      row.from = std::min(row.from, int(a)), row.to = std::max(row.to, int(b));
      AddSolid(row, int(a), int(b));
    }
  }
}

void RasterizerGen::DrawRows(const Target& target, int y0, int y1) const noexcept {
  for (int k = 0; k < queued_; ++k) {
    const Prepared& tri = queue_[k];
    for (int j = std::max(tri.y0, y0); j <= std::min(tri.y1, y1 - 1); ++j) {
      int64_t a, b;
      CoveredSpan(tri, j, a, b);
      if (a <= b) tri.span(tri, target, j, int(a), int(b));
    }
  }
}

// The queued fills in runs of `rows` rows counted from row 0, either every run of the image or only
// those that a fill touches: run(target, y0, y1, worker) for each. Every pixel gets the same fills
// in the same order whichever worker draws its run.
template <class RunFn>
void RasterizerGen::ForEachRun(int rows, bool wholeImage, RunFn&& run) noexcept {
  if (!colour_ || (queued_ == 0 && !wholeImage)) {
    queued_ = 0;
    return;
  }
  bool anyDepth = false;
  int top = height_, bottom = -1;
  for (int k = 0; k < queued_; ++k) {
    anyDepth |= queue_[k].depthTest;
    top = std::min(top, queue_[k].y0), bottom = std::max(bottom, queue_[k].y1);
  }
  if (top > bottom) top = 0, bottom = height_ - 1;
  const Target target{colour_, anyDepth ? DepthBuffer() : nullptr, width_, 0};
  TurnWalkedTextures();
  const int firstRun = top / rows, lastRun = bottom / rows, allRuns = (height_ + rows - 1) / rows;
  const int begin = wholeImage ? 0 : firstRun, end = wholeImage ? allRuns : lastRun + 1;
  const int workers = std::max(1, std::min(workers_, end - begin));
  // Runs cost very different amounts (a tilted card covers some rows far wider than others, and
  // untouched runs only take the background), so each worker takes the next run when it is done
  // with one rather than a fixed share. A run's result does not depend on who draws it.
  std::atomic<int> next{begin};
  ParallelRows(workers, workers, [&](int worker0, int worker1) {
    for (int worker = worker0; worker < worker1; ++worker) {
      for (int r = next++; r < end; r = next++) run(target, r * rows, std::min((r + 1) * rows, height_), worker);
    }
  });
  queued_ = 0;
}

void RasterizerGen::TurnWalkedTextures() noexcept {
  // How many pixels of each texture the four-pixel loop would walk down its columns, estimated
  // from each fill's bounding box and its texture steps along a row at its first corner.
  struct Walked {
    const TextureRecord* texture;
    double pixels;
  };
  constexpr int kMostTextures = 8;
  Walked walked[kMostTextures];
  int textures = 0;
  for (int k = 0; k < queued_; ++k) {
    Prepared& tri = queue_[k];
    tri.turned = nullptr;
    const TextureRecord* texture = tri.texture;
    if (!texture || !tri.bilinear || !tri.flat || tri.depthTest || tri.colour[3] != 255 ||
        texture->width > kMaxRunInsideSize || texture->height > kMaxRunInsideSize) {
      continue;
    }
    // The steps of s / q and t / q along a row, both times q squared.
    const double du = double(tri.s.dx) * tri.q.at - double(tri.s.at) * tri.q.dx;
    const double dv = double(tri.t.dx) * tri.q.at - double(tri.t.at) * tri.q.dx;
    if (!(std::fabs(dv) > std::fabs(du))) continue;
    int at = 0;
    while (at < textures && walked[at].texture != texture) ++at;
    if (at == textures) {
      if (textures == kMostTextures) continue;
      walked[textures++] = {texture, 0.0};
    }
    walked[at].pixels += 0.5 * (double(tri.x1) - tri.x0 + 1) * (double(tri.y1) - tri.y0 + 1);
  }
  // A turned copy costs about as much as drawing half as many pixels down the columns saves.
  int slot = 0;
  for (int k = 0; k < textures && slot < kMaxTurned; ++k) {
    const TextureRecord& texture = *walked[k].texture;
    const std::size_t texels = std::size_t(texture.width) * std::size_t(texture.height);
    if (walked[k].pixels * 2 < double(texels)) continue;
    if (turnedPixels_[slot] < texels) {
      std::free(turned_[slot]);
      turned_[slot] = static_cast<uint32_t*>(std::malloc(texels * sizeof(uint32_t)));
      turnedPixels_[slot] = turned_[slot] ? texels : 0;
      if (!turned_[slot]) continue;  // drawn down the columns of the texture itself
    }
    uint32_t* turned = turned_[slot++];
    ParallelRows(workers_, texture.width,
                 [&](int c0, int c1) { TurnColumns(texture.pixels, texture.width, texture.height, turned, c0, c1); });
    for (int q = 0; q < queued_; ++q) {
      if (queue_[q].texture == &texture && queue_[q].bilinear) queue_[q].turned = turned;
    }
  }
}

void RasterizerGen::Execute() noexcept {
  if (holding_) return;
  ForEachRun(kMaxRunRows, false, [this](const Target& target, int y0, int y1, int) { DrawRows(target, y0, y1); });
}

bool RasterizerGen::ExecuteInRuns(int rows, const RunHooks& hooks) noexcept {
  rows = std::max(2, std::min(kMaxRunRows, rows & ~1));
  const std::size_t perWorker = std::size_t(rows) * std::size_t(width_);
  const std::size_t pixels = perWorker * std::size_t(std::max(1, workers_));
  if (runImagePixels_ < pixels) {
    std::free(runImages_);
    runImages_ = static_cast<uint32_t*>(std::malloc(pixels * sizeof(uint32_t)));
    runImagePixels_ = runImages_ ? pixels : 0;
    if (!runImages_) {
      queued_ = 0;
      return false;
    }
  }
  ForEachRun(rows, true, [&](const Target& target, int y0, int y1, int worker) {
    RowCoverage coverage[kMaxRunRows];
    Coverage(y0, y1, coverage);
    uint32_t* image = runImages_ + perWorker * std::size_t(worker);
    hooks.before(hooks.context, y0, y1, coverage, image);
    DrawRows({image, target.depth, target.width, y0}, y0, y1);
    hooks.after(hooks.context, y0, y1, coverage, image);
  });
  return true;
}

}  // namespace vek::render
