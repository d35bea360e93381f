// Audio inputs of an Instance: a sample record per input index with its own ramped value block.
#include <cstring>

#include "text.h"
#include "vekhost/error.h"
#include "vekhost/instance.h"

namespace vek::host {

void Instance::SetAudioInput(int32_t index, uint8_t* block, float startVolume, float endVolume) {
  const VekSetInputFn setInput = effect_.descriptor->callbacks.setInput;
  if (!setInput) return;
  if (effect_.params.empty() || effect_.params.front().typeCode != VEK_TYPE_FLOAT) {
    throw Error(effect_.classId + " has no volume row");
  }
  // The values at the block's start, then the values at its end; the volume is the first row.
  const std::size_t size = effect_.valueBlockBytes, volume = effect_.params.front().offset;
  std::vector<uint8_t>& values = sampleValues_[index];
  values.resize(2 * size);
  std::memcpy(values.data(), values_.get(), size);
  std::memcpy(values.data() + size, values_.get(), size);
  std::memcpy(values.data() + volume, &startVolume, sizeof startVolume);
  std::memcpy(values.data() + size + volume, &endVolume, sizeof endVolume);
  VekInputSample& sample = samples_[index];
  sample.privateBlock = privateBlock_.get();
  sample.frame = block;
  sample.paramValues = values.data();
  sample.endValueOffset = int32_t(size + volume);
  if (const VekStatus status = setInput(index, &sample); status != VEK_S_OK) {
    throw Error(effect_.classId + ": SetInput(" + std::to_string(index) + ") returned " + StatusText(status), status);
  }
}

}  // namespace vek::host
