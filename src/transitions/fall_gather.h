// The colour split's gathered row for the instruction sets that blend by a mask held in a vector
// (SSE4.1, AVX2). Each of their files instantiates it with a lane type of its own, declared in that
// file's anonymous namespace: every instantiation is then local to the file, so no copy compiled for
// one instruction set can stand in for another's.
#pragma once

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

#include "transitions/kernels.h"

namespace vek::fall_gather {

// Lanes::kBytes bytes of pixels at `at`, the farthest candidate first, so that a nearer one, from a
// lower source row, wins.
template <class Lanes, int kCount, bool kLumaChroma>
void Step(const uint8_t* const* candidates, const uint8_t* b, uint8_t* out, std::size_t at, bool stream) {
  auto chosen = Lanes::Load(b + at);
  for (int k = kCount - 1; k >= 0; --k) {
    const auto colours = Lanes::Load(candidates[k] + at);
    chosen = Lanes::Blend(chosen, colours, Lanes::template Lands<kLumaChroma>(colours, k));
  }
  if (stream) {
    Lanes::Stream(out + at, chosen);
  } else {
    Lanes::Store(out + at, chosen);
  }
}

// Returns the pixels done, a multiple of the lane width.
template <class Lanes, int kCount, bool kLumaChroma>
int Row(const uint8_t* const* candidates, const uint8_t* b, uint8_t* out, int pixels, bool stream) {
  constexpr int kPixels = int(Lanes::kBytes / 4);
  int x = 0;
  for (; x + 16 <= pixels; x += 16) {
    const std::size_t at = std::size_t(x) * 4;
    _mm_prefetch(reinterpret_cast<const char*>(b + at + kFallGatherAhead), _MM_HINT_T0);
    if constexpr (kCount > 0) {
      _mm_prefetch(reinterpret_cast<const char*>(candidates[0] + at + kFallGatherAhead), _MM_HINT_T0);
    }
    for (std::size_t part = 0; part < 64; part += Lanes::kBytes) {
      Step<Lanes, kCount, kLumaChroma>(candidates, b, out, at + part, stream);
    }
  }
  for (; x + kPixels <= pixels; x += kPixels) {
    Step<Lanes, kCount, kLumaChroma>(candidates, b, out, std::size_t(x) * 4, stream);
  }
  return x;
}

template <class Lanes, bool kLumaChroma>
int RowOfCount(const uint8_t* const* candidates, int count, const uint8_t* b, uint8_t* out, int pixels, bool stream) {
  return WithFallCount(
      count, [&](auto k) { return Row<Lanes, decltype(k)::value, kLumaChroma>(candidates, b, out, pixels, stream); });
}

// Each count and layout with its own unrolled loop. The last pixels are gathered aside by the
// scalar row and stored one by one, streamed too in a streamed row: a cached store into a line that
// is being streamed would flush it half written.
template <class Lanes>
void GatherRow(const uint8_t* const* candidates, int count, const uint8_t* b, uint8_t* out, int pixels, bool lumaChroma,
               bool stream) {
  stream = stream && (reinterpret_cast<uintptr_t>(out) & (Lanes::kBytes - 1)) == 0;
  const int x = lumaChroma ? RowOfCount<Lanes, true>(candidates, count, b, out, pixels, stream)
                           : RowOfCount<Lanes, false>(candidates, count, b, out, pixels, stream);
  const uint8_t* rest[kFallClasses];
  for (int k = 0; k < count; ++k) rest[k] = candidates[k] + std::size_t(x) * 4;
  int32_t last[Lanes::kBytes / 4 - 1];
  FallGatherRowScalar(rest, count, b + std::size_t(x) * 4, reinterpret_cast<uint8_t*>(last), pixels - x, lumaChroma);
  for (int i = 0; i < pixels - x; ++i) {
    uint8_t* target = out + std::size_t(x + i) * 4;
    if (stream) {
      _mm_stream_si32(reinterpret_cast<int*>(target), last[i]);
    } else {
      std::memcpy(target, &last[i], 4);
    }
  }
}

}  // namespace vek::fall_gather
