// The mixer behind both volume effects: its state, which is the whole private block, the queue of
// ramped inputs, the mixing kernels and the peak limiter. Kernels take plain pointers and numbers;
// the scalar ones are defined out of line in mixer.cpp, so no copy compiled in the -msse4.1 file
// can stand in for them.
#pragma once

#include <cstdint>

#include "vek_dsp/abi.h"

namespace vek::audio {

constexpr int kMaxInputs = 16;
constexpr int kMaxChannels = 8;
constexpr int kMaxFrames = 20000;      // samples per channel of one block
constexpr int kMaxSampleRate = 192000;
constexpr int kGainBits = 11;          // gains are fixed point with 11 fractional bits
constexpr float kMaxVolume = 4.0f;     // the widest volume row; larger volumes are taken as 4

// The limiter's constants: sections of at most kSectionFrames (taken whole below kWholeSection),
// threshold kThreshold of the ceiling, and the two numbers its recovery rate is derived from.
constexpr int kSectionFrames = 1600;
constexpr int kWholeSection = 2400;
constexpr float kThreshold = 0.33f;
constexpr float kRecoveryDivisor = 10855.0f;
constexpr float kRecoveryCeilingFactor = 40.0f;
constexpr int kTargetGroup = 16;           // frames that share one point of the gain curve
constexpr float kAttackStep = 1.0f / 64;   // the most the gain falls from one frame to the next
constexpr float kRestGap = 1.0f / 65536;   // a gain this close to 1 is taken as 1: the limiter rests

// One queued input: its volume ramp as floats and as the fixed-point ramp the kernels run.
struct InputSlot {
  float startVolume;
  float endVolume;
  float floatStep;
  int32_t gain;           // current gain, 11 fractional bits
  int32_t gainStep;       // integer step per sample
  int32_t remainderStep;  // |g1 - g0| mod N
  int32_t remainder;      // the remainder accumulator
  uint8_t rising;
  uint8_t rampActive;
};

struct LimiterState {
  int32_t lastCeiling;   // the ceiling the state below belongs to; 0 before the first block
  float ceilingValue;
  float gain;            // the gain at the end of the last block, 1 at rest
  int32_t reserved;
  float peaks[kMaxFrames];     // per frame: the loudest channel, then the gain applied
  float targets[kMaxFrames / kTargetGroup + 1];  // per group of frames: the curve's gain
  float edges[kMaxFrames / kTargetGroup + 2];    // the planned gain at each group's start
  uint8_t shifts[kMaxFrames];  // 32-bit audio: the planar value of frame f is the mix >> shifts[f]
};

// The private block, field for field.
struct MixerState {
  int32_t sampleRate;
  int32_t channels;
  int32_t bitsPerSample;
  int32_t gainProcessing;     // always 1 once Prepare has run
  int32_t samplesPerChannel;
  float limiterCoefficient;
  int32_t queued;
  InputSlot slots[kMaxInputs];
  // The read cursor of each slot, one table per sample width.
  const uint8_t* cursors8[kMaxInputs];
  const uint8_t* cursors16[kMaxInputs];
  const uint8_t* cursors24[kMaxInputs];
  const uint8_t* cursors32[kMaxInputs];
  int32_t rampLength;         // N = channels * samples - 1
  int32_t planar[kMaxChannels][kMaxFrames];
  LimiterState limiter;
};

// What the host hands to Prepare: the four words at offset 124 of the instance.
struct AudioFormat {
  int32_t sampleRate, channels, bitsPerSample, samplesPerChannel;
};

// Fails with VEK_E_FAIL, changing nothing, for a format the mixer cannot take.
VekStatus PrepareMixer(MixerState& state, const AudioFormat& format) noexcept;
// True once Prepare has set the state up (a zeroed or foreign block is not usable).
bool MixerReady(const MixerState& state) noexcept;
// Queues one input block with its start and end volume; VEK_E_FAIL when 16 are queued.
VekStatus AddInput(MixerState& state, float startVolume, float endVolume, const uint8_t* block) noexcept;
// Mixes the queue into one output block and empties it; VEK_E_POINTER for a null output, with the
// queue left as it was. `vector` picks the SSE4.1 kernels where there are some.
VekStatus Mix(MixerState& state, uint8_t* output, bool vector) noexcept;
// One sample's step of a slot's ramp (nothing when the ramp is not active).
void AdvanceRamp(InputSlot& slot, int32_t rampLength) noexcept;

// --- Kernels -----------------------------------------------------------------------------------
// A mixing job: the queued inputs' cursors and ramps and where the mix goes. Samples are counted
// interleaved: sample k is channel k % channels of frame k / channels.
struct MixJob {
  const uint8_t* const* cursors;
  InputSlot* slots;
  int inputs;
  int channels;
  int32_t rampLength;
  int32_t (*planar)[kMaxFrames];
};

// 8- and 16-bit samples accumulated in 32 bits, samples [first, last) of the block; the caller
// makes sure no sum can overflow. Each slot's ramp is advanced once per sample. Gains stay within
// +-8,192 as AddInput makes them (the SSE4.1 form carries short ramps in 16-bit lanes).
void MixNarrowScalar(const MixJob& job, int bits, int first, int last);
void MixNarrowSse41(const MixJob& job, int bits, int samples);
// Any width accumulated in 64 bits, whole frames; 32-bit frames too loud for the planar buffer are
// stored shifted right, with the shift in `shifts`.
void MixWideScalar(const MixJob& job, int bits, int frames, uint8_t* shifts);

// The limiter's gain for each frame, written over `limiter.peaks`. Returns false when the limiter
// rests (gain 1 throughout): the block then passes exactly as it is.
bool LimiterGains(LimiterState& limiter, const int32_t (*planar)[kMaxFrames], int channels, int frames,
                  int32_t ceiling, bool shifted) noexcept;

}  // namespace vek::audio
