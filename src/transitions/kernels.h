// Row kernels of the two-dimensional transitions: bytes, a byte count and plain numbers in, one
// output row out. Vector variants give the scalar variant's bytes exactly. Scalar kernels that a
// vector file calls for its tail are defined out of line in kernels.cpp: an inline copy compiled
// in a -msse4.1 file could be the one the linker keeps for every caller.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace vek {

// out = a + floor((b - a) * weight / 128) per byte, weight 0..127.
void LerpRowScalar(const uint8_t* a, const uint8_t* b, uint8_t* out, std::size_t bytes, int weight);
void LerpRowSse41(const uint8_t* a, const uint8_t* b, uint8_t* out, std::size_t bytes, int weight);
using LerpRowFn = void (*)(const uint8_t*, const uint8_t*, uint8_t*, std::size_t, int);

// B over A through B's alpha: transparent keeps A, opaque takes B, anything between blends the
// colour bytes by alpha / 256 and makes the pixel opaque.
void AlphaOverRow(const uint8_t* a, const uint8_t* b, uint8_t* out, int pixels);
void AlphaOverRowSse2(const uint8_t* a, const uint8_t* b, uint8_t* out, int pixels);

// Row copies of whole 4-byte pixels: `pixels` pixels from column `from` of a source row to column
// `to` of an output row. Nothing is copied for a count of 0 or less. The moves are 16-byte vector
// moves, not memcpy: from a few kilobytes on, the C library copies with a string move, which some
// processors run several times slower when the output lies just past the source within its page (as
// a host's frames allocated one after the other do).
// `ahead` is the distance in bytes from the source to what the next visited row will copy, usually
// the same columns a row further on: those lines are prefetched as the copy goes, because the
// hardware prefetcher starts every short run cold. 0 prefetches nothing new. A prefetch never
// faults, so past the last row it is harmless.
void CopyPixels(const uint8_t* source, int from, uint8_t* out, int to, int pixels, std::ptrdiff_t ahead = 0);
using CopyPixelsFn = void (*)(const uint8_t* source, int from, uint8_t* out, int to, int pixels,
                              std::ptrdiff_t ahead);
// The same with non-temporal stores only, so that writing a large output does not push the sources
// out of the caches. StreamFenceSse2 orders them before anything written after it, and makes them
// visible to other threads.
void StreamPixelsSse2(const uint8_t* source, int from, uint8_t* out, int to, int pixels, std::ptrdiff_t ahead);
void StreamFillSse2(uint8_t* out, int to, int pixels, const uint8_t pixel[4]);
void StreamFenceSse2();
// `pixels` copies of one pixel (its four bytes as stored, byte 0 first) from column `to`.
void FillPixels(uint8_t* out, int to, int pixels, const uint8_t pixel[4]);
using FillPixelsFn = void (*)(uint8_t* out, int to, int pixels, const uint8_t pixel[4]);
// A row of runs taken in turn from two rows at the same place: pixels [0, cuts[0]) from `first`,
// [cuts[0], cuts[1]) from `second`, [cuts[1], cuts[2]) from `first` again ..., and the last run up to
// `pixels`. A cut is held between the one before it and `pixels`, so empty runs only flip the turn.
void AlternateRuns(const uint8_t* first, const uint8_t* second, uint8_t* out, int pixels, const int* cuts,
                   int count, CopyPixelsFn copy, std::ptrdiff_t ahead);

// The soft edge: k = clamp(t + mask, 0, 31) per pixel from a mask word holding -m, and each colour
// byte moves (B - A) * k / 32 of the way; the alpha byte is not written.
void SoftEdgeRowScalar(const uint8_t* a, const uint8_t* b, const int32_t* mask, uint8_t* out, int pixels, int t);
// The vector soft edge: mask words hold the byte -m four times, k = clamp(t - m, 0, 32) and all four
// bytes move, so k = 32 gives B; an odd last pixel takes the scalar rule (its mask byte read back
// as -m).
void SoftEdgeRowSse41(const uint8_t* a, const uint8_t* b, const int32_t* mask, uint8_t* out, int pixels, int t);
// The same sixteen pixels at a time, where Avx512KernelsUsable().
void SoftEdgeRowAvx512(const uint8_t* a, const uint8_t* b, const int32_t* mask, uint8_t* out, int pixels, int t);

// out = a + floor((b - a) * weight / 256) per byte, one weight 0..255 per pixel.
void WeightedRowScalar(const uint8_t* a, const uint8_t* b, const uint8_t* weights, uint8_t* out, int pixels);
void WeightedRowSse2(const uint8_t* a, const uint8_t* b, const uint8_t* weights, uint8_t* out, int pixels,
                     std::ptrdiff_t ahead);
// The same sixteen pixels at a time, where Avx512KernelsUsable().
void WeightedRowAvx512(const uint8_t* a, const uint8_t* b, const uint8_t* weights, uint8_t* out, int pixels,
                       std::ptrdiff_t ahead);

// WeightedRow of two sampled rows: a and b are pixels columns[x] of their rows. Unless `ahead` is 0,
// the rows `ahead` bytes on are asked for too, where the columns read them.
void SampledWeightedRow(const uint8_t* a, const uint8_t* b, const int* columns, const uint8_t* weights, uint8_t* out,
                        int pixels, std::ptrdiff_t ahead);
// The same sixteen pixels at a time, where Avx512KernelsUsable(), each source's sixteen one permute
// where the columns lie within 32 of each other, as GatherPixelsAvx512 takes them.
void SampledWeightedRowAvx512(const uint8_t* a, const uint8_t* b, const int* columns, const uint8_t* weights,
                              uint8_t* out, int pixels, std::ptrdiff_t ahead);
// The same eight pixels at a time, where Avx2KernelsUsable(), for eight columns within 16.
void SampledWeightedRowAvx2(const uint8_t* a, const uint8_t* b, const int* columns, const uint8_t* weights,
                            uint8_t* out, int pixels, std::ptrdiff_t ahead);
using SampledWeightedRowFn = void (*)(const uint8_t* a, const uint8_t* b, const int* columns, const uint8_t* weights,
                                      uint8_t* out, int pixels, std::ptrdiff_t ahead);

// A circle's ring weights on one row, for 16 * blocks column distances k from `first` on:
// profile[min(rho - d, ringWidth - 1)] with d = ceil(sqrt(k * k + dy2)), put at right[k - first]
// and, mirrored, at leftOfFirst[first - k]. Where Avx512KernelsUsable(), for radii rho below
// kVectorRingRadius and every k * k + dy2 at most rho * rho.
inline constexpr int kVectorRingRadius = 4096;
void RingWeightsAvx512(const uint32_t* profile, int ringWidth, int rho, int dy2, int first, int blocks, uint8_t* right,
                       uint8_t* leftOfFirst);

// out pixel x = source pixel columns[x]: one sampled row. Unless `ahead` is 0, the source row
// `ahead` bytes on is asked for too, where the columns read it.
void GatherPixels(const uint8_t* source, const int* columns, uint8_t* out, int pixels, std::ptrdiff_t ahead);
// The same, where Avx512KernelsUsable(): sixteen pixels whose columns lie within 32 of each other,
// as a resampling's near-neighbour columns do, are one permute of the source pixels they span;
// others are taken one by one.
void GatherPixelsAvx512(const uint8_t* source, const int* columns, uint8_t* out, int pixels, std::ptrdiff_t ahead);
// The same eight pixels at a time, where Avx2KernelsUsable(), for eight columns within 16.
void GatherPixelsAvx2(const uint8_t* source, const int* columns, uint8_t* out, int pixels, std::ptrdiff_t ahead);
using GatherPixelsFn = void (*)(const uint8_t* source, const int* columns, uint8_t* out, int pixels,
                                std::ptrdiff_t ahead);
// out[i] = table[indices[i] - offset] for nondecreasing indices.
void GatherBytes(const uint8_t* table, const int* indices, int offset, uint8_t* out, int count);
// The same, where Avx512KernelsUsable(): 64 bytes whose indices lie within 128 of each other are one
// permute of the table bytes they span.
void GatherBytesAvx512(const uint8_t* table, const int* indices, int offset, uint8_t* out, int count);
using GatherBytesFn = void (*)(const uint8_t* table, const int* indices, int offset, uint8_t* out, int count);
// Two sampled rows cross-faded: with a = a[columnsA[x]] and b = b[columnsB[x]], each byte of out
// pixel x is a + floor((b - a) * weight / 128), weight 0..127.
void SampledLerpRowScalar(const uint8_t* a, const int* columnsA, const uint8_t* b, const int* columnsB, uint8_t* out,
                          int pixels, int weight);
void SampledLerpRowSse2(const uint8_t* a, const int* columnsA, const uint8_t* b, const int* columnsB, uint8_t* out,
                        int pixels, int weight);

// Burn: map values from `threshold` on show A, values below threshold - kBurnBand show B, and the
// band between them flame colour number value - threshold + kBurnBand (4 bytes each), opaque where
// A or B is.
inline constexpr int kBurnBand = 30;
void BurnRowScalar(const int32_t* map, const uint8_t* a, const uint8_t* b, uint8_t* out, int pixels,
                   int32_t threshold, const uint8_t* flame);
// A row of the map cut into spans of kBurnSpan pixels (the last one shorter): `bounds` receives the
// lowest and the highest value of each span. Most spans lie wholly on one side of the front, so
// the vector burn copies them from A or B without reading their values. It writes every pixel
// through `copy`, the spans the front crosses from a buffer of their own, so that a streaming copy
// makes every store of the row stream.
inline constexpr int kBurnSpan = 64;
constexpr std::size_t BurnSpans(std::size_t pixels) { return (pixels + kBurnSpan - 1) / kBurnSpan; }
void BurnSpanBounds(const int32_t* map, int pixels, int32_t* bounds);
void BurnRowSse2(const int32_t* map, const int32_t* spanBounds, const uint8_t* a, const uint8_t* b, uint8_t* out,
                 int pixels, int32_t threshold, const uint8_t* flame, CopyPixelsFn copy,
                 std::ptrdiff_t ahead);

// Threshold: A's pixel where the key pixel is at least `limit` bright, else B's. An ARGB key's
// brightness is the sum of bytes 0..2 (the limit is then 3t), a luma/chroma key's its byte 2.
void ThresholdRowScalar(const uint8_t* key, const uint8_t* a, const uint8_t* b, uint8_t* out, int pixels, int limit,
                        bool lumaKey);
void ThresholdRowSse2(const uint8_t* key, const uint8_t* a, const uint8_t* b, uint8_t* out, int pixels, int limit,
                      bool lumaKey);
void ThresholdRowAvx512(const uint8_t* key, const uint8_t* a, const uint8_t* b, uint8_t* out, int pixels, int limit,
                        bool lumaKey);

// X-ray, ARGB, with Y the pixel's luma and n = 255 - Y its negative grey. The negative phase moves
// each colour byte c to (c * (1024 - weight) + n * weight) >> 10; the tone phase sets all three to
// the tone of n: u = shift + 4n (shift -765..255), capped at 255, where u is above n, else n. Alpha
// is kept.
void XRayNegativeRowScalar(const uint8_t* source, uint8_t* out, int pixels, int weight);
void XRayNegativeRowSse2(const uint8_t* source, uint8_t* out, int pixels, int weight);
void XRayNegativeRowAvx512(const uint8_t* source, uint8_t* out, int pixels, int weight);
void XRayToneRowScalar(const uint8_t* source, uint8_t* out, int pixels, int shift);
void XRayToneRowSse2(const uint8_t* source, uint8_t* out, int pixels, int shift);
void XRayToneRowAvx512(const uint8_t* source, uint8_t* out, int pixels, int shift);
// X-ray, luma/chroma: the same greys, as the luma of (g, g, g) with chroma 128. The negative phase
// moves the luma Y toward the luma of the grey 255 - Y and both chroma bytes toward 128, each byte c
// to c + floor((target - c) * weight / 1024); the tone phase gives the luma of the grey that the
// ARGB tone phase makes of n = 255 - Y, and chroma 128. Alpha is kept.
void XRayLumaNegativeRowScalar(const uint8_t* source, uint8_t* out, int pixels, int weight);
void XRayLumaNegativeRowSse2(const uint8_t* source, uint8_t* out, int pixels, int weight);
void XRayLumaNegativeRowAvx512(const uint8_t* source, uint8_t* out, int pixels, int weight);
void XRayLumaToneRowScalar(const uint8_t* source, uint8_t* out, int pixels, int shift);
void XRayLumaToneRowSse2(const uint8_t* source, uint8_t* out, int pixels, int shift);
void XRayLumaToneRowAvx512(const uint8_t* source, uint8_t* out, int pixels, int shift);
// Colour bytes 0..2 move toward colour[0..2], c + floor((colour - c) * weight / 1024), weight
// 0..1024; alpha is kept.
void TowardColourRowScalar(const uint8_t* source, uint8_t* out, int pixels, int weight, const uint8_t* colour);
void TowardColourRowSse2(const uint8_t* source, uint8_t* out, int pixels, int weight, const uint8_t* colour);
void TowardColourRowAvx512(const uint8_t* source, uint8_t* out, int pixels, int weight, const uint8_t* colour);

// Colour split, one output row gathered: a pixel of A falls m * fall rows, m its tone class ((byte 0
// + byte 1 + byte 2) >> 7, or (luma + 31) >> 6 in the luma/chroma layout; 0 counts as 1), and the
// lowest source row wins where several land. candidates[k] is the source row (k + 1) * fall above
// the output row, nearest first, up to kFallClasses of them; an output pixel takes the pixel of the
// nearest candidate whose class is k + 1 (for the nearest, 0 or 1), else B's.
inline constexpr int kFallClasses = 5;
void FallGatherRowScalar(const uint8_t* const* candidates, int count, const uint8_t* b, uint8_t* out, int pixels,
                         bool lumaChroma);
// visit(std::integral_constant<int, count>()) for a candidate count of 0 to kFallClasses, so that a
// vector row has a loop unrolled for each count. It is only instantiated with a callable local to
// one file, so no copy compiled for one instruction set can stand in for another's.
template <class Visit>
auto WithFallCount(int count, Visit&& visit) {
  static_assert(kFallClasses == 5, "a case for every count");
  switch (count) {
    case 0:
      return visit(std::integral_constant<int, 0>());
    case 1:
      return visit(std::integral_constant<int, 1>());
    case 2:
      return visit(std::integral_constant<int, 2>());
    case 3:
      return visit(std::integral_constant<int, 3>());
    case 4:
      return visit(std::integral_constant<int, 4>());
    default:
      return visit(std::integral_constant<int, 5>());
  }
}
// B's row and the nearest candidate are rows the frame has not read before, and the farther
// candidates compete with them for the processor's own prefetching: the vector rows ask for both
// this many bytes ahead, which runs into the next row at the end of this one.
inline constexpr std::size_t kFallGatherAhead = 2048;
using FallGatherRowFn = void (*)(const uint8_t* const* candidates, int count, const uint8_t* b, uint8_t* out,
                                 int pixels, bool lumaChroma, bool stream);
// The same four pixels at a time, where Sse41KernelsUsable(). With `stream`, a row that starts on
// 16 bytes is written past the cache, and the caller fences after the last row.
void FallGatherRowSse41(const uint8_t* const* candidates, int count, const uint8_t* b, uint8_t* out, int pixels,
                        bool lumaChroma, bool stream);
// The same eight pixels at a time, where Avx2KernelsUsable(); with `stream`, a row that starts on 32
// bytes is written past the cache, and the caller fences after the last row.
void FallGatherRowAvx2(const uint8_t* const* candidates, int count, const uint8_t* b, uint8_t* out, int pixels,
                       bool lumaChroma, bool stream);
// The same sixteen pixels at a time, where Avx512KernelsUsable(); with `stream`, a row that starts
// on a cache line is written past the cache.
void FallGatherRowAvx512(const uint8_t* const* candidates, int count, const uint8_t* b, uint8_t* out, int pixels,
                         bool lumaChroma, bool stream);

}  // namespace vek
