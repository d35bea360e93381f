// One use of an effect, created and driven as a host does it: the instance record, the private
// and value blocks the host owns, stand-in host objects, and the callbacks in the host's order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "vek_dsp/abi.h"
#include "vekhost/buffer_service.h"
#include "vekhost/catalogue.h"
#include "vekhost/value.h"

namespace vek::host {

class Instance {
 public:
  // Allocates the blocks, fills the record and calls Init. Throws Error if Init fails.
  explicit Instance(const Effect& effect);
  // ReleaseResources, then Destroy, then the blocks are freed.
  ~Instance();
  // The record and the samples point into this object, so it stays where it was made.
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  // Width, height, field mode and the other fields a host sets before Prepare and Process.
  VekEffectInstance& Record() { return record_; }
  // The effect's own state, for hosts and tests that look into it.
  uint8_t* PrivateBlock() { return privateBlock_.get(); }
  uint8_t* Values() { return values_.get(); }
  const BufferService& Buffers() const { return bufferService_; }

  // The parameter by key, name id or short name (see Effect::FindParam), from text checked
  // against its type and range (see ParseValue). The overloads taking a Param take only rows of
  // this instance's effect and do no range check. Throws Error.
  void Set(std::string_view param, std::string_view text);
  void Set(const Param& param, const Value& value);
  Value Get(std::string_view param) const;
  Value Get(const Param& param) const;

  // Each callback the effect has; a status other than VEK_S_OK throws Error.
  void SetInput(int32_t index, uint8_t* frame);
  // An audio block with its own volume ramp: the sample record of this index carries a value block
  // of its own, the values at the block's start followed by the values at its end, and the offset
  // of the end volume in it. Throws Error as SetInput does.
  void SetAudioInput(int32_t index, uint8_t* block, float startVolume, float endVolume);
  void Prepare();
  void Process(uint8_t* output);
  void ReleaseResources();

 private:
  void Call(const char* what, VekInstanceFn callback);

  const Effect& effect_;
  std::unique_ptr<uint8_t[]> privateBlock_;
  std::unique_ptr<uint8_t[]> values_;
  VekObject hostObject_;
  VekObject accelerator_;
  BufferService bufferService_;
  VekEffectInstance record_;
  // One sample record per input index, alive as long as the instance, as a host keeps its own.
  std::map<int32_t, VekInputSample> samples_;
  // The value blocks of the audio samples, one per input index.
  std::map<int32_t, std::vector<uint8_t>> sampleValues_;
  // The string rows hold pointers into these, so the host keeps the texts for the instance's life.
  std::map<std::size_t, std::string> texts_;
  std::map<std::size_t, std::u16string> wideTexts_;
};

}  // namespace vek::host
