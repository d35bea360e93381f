#include "vekhost/instance.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "text.h"
#include "vekhost/error.h"

namespace vek::host {
namespace {

// The stand-in host objects accept every operation and report success. The named slots get
// functions of the type the plug-in calls them with; the others only need to exist.
int32_t DoNothing(VekObject*) noexcept {
  return 0;
}
int32_t Blend(VekObject*, const uint8_t*, const uint8_t*, uint8_t*, uint32_t, uint32_t, int32_t, uint64_t, uint64_t,
              uint64_t, uint64_t, int32_t, int32_t, int32_t) noexcept {
  return 0;
}

template <std::size_t N>
std::array<VekOperation, N> Operations(std::size_t slot, VekOperation operation) {
  std::array<VekOperation, N> operations;
  operations.fill(reinterpret_cast<VekOperation>(static_cast<VekHostNotifyFn>(&DoNothing)));
  operations[slot] = operation;
  return operations;
}

const auto kHostOperations =
    Operations<32>(VEK_HOST_SLOT_NOTIFY, reinterpret_cast<VekOperation>(static_cast<VekHostNotifyFn>(&DoNothing)));
const auto kAcceleratorOperations = Operations<32>(
    VEK_ACCELERATOR_SLOT_BLEND, reinterpret_cast<VekOperation>(static_cast<VekAcceleratorBlendFn>(&Blend)));

template <class T>
const T& Expect(const Param& param, const Value& value) {
  if (const T* held = std::get_if<T>(&value)) return *held;
  throw Error("parameter " + param.key + " cannot take that kind of value: it is a " + TypeName(param.typeCode));
}

void CheckOwnRow(const Effect& effect, const Param& param) {
  const auto same = [&](const Param& own) { return &own == &param; };
  if (std::none_of(effect.params.begin(), effect.params.end(), same)) {
    throw Error("parameter " + param.key + " is not a row of " + effect.classId);
  }
}

template <class T>
void Store(uint8_t* target, T value) {
  std::memcpy(target, &value, sizeof value);
}

}  // namespace

Instance::Instance(const Effect& effect)
    : effect_(effect),
      privateBlock_(new uint8_t[effect.privateBytes]()),
      values_(new uint8_t[effect.valueBlockBytes]()),
      hostObject_{kHostOperations.data()},
      accelerator_{kAcceleratorOperations.data()},
      record_{} {
  record_.descriptor = effect.descriptor;
  record_.hostObject = &hostObject_;
  record_.privateBlock = privateBlock_.get();
  record_.paramValues = values_.get();
  record_.accelerator = &accelerator_;
  record_.bufferService = bufferService_.Object();
  Call("Init", effect.descriptor->callbacks.init);
}

Instance::~Instance() {
  // Nothing useful can be done with a failure while tearing down, so the statuses are not read.
  const VekEffectCallbacks& callbacks = effect_.descriptor->callbacks;
  if (callbacks.releaseResources) callbacks.releaseResources(&record_);
  if (callbacks.destroy) callbacks.destroy(&record_);
}

void Instance::Set(std::string_view param, std::string_view text) {
  const Param& row = effect_.FindParam(param);
  Set(row, ParseValue(row, text));
}

void Instance::Set(const Param& param, const Value& value) {
  CheckOwnRow(effect_, param);
  uint8_t* target = values_.get() + param.offset;
  switch (param.typeCode) {
    case VEK_TYPE_BYTE:
      return Store(target, uint8_t(Expect<int64_t>(param, value)));
    case VEK_TYPE_ENUM:
    case VEK_TYPE_INT:
    case VEK_TYPE_SWITCH:
      return Store(target, int32_t(Expect<int64_t>(param, value)));
    case VEK_TYPE_COLOUR:
      return Store(target, uint32_t(Expect<int64_t>(param, value)));
    case VEK_TYPE_FLOAT:
      return Store(target, Expect<float>(param, value));
    case VEK_TYPE_RECT:
    case VEK_TYPE_POSITION: {
      const auto& numbers = Expect<std::vector<float>>(param, value);
      if (numbers.size() * sizeof(float) != param.valueSize) {
        throw Error("parameter " + param.key + " takes " + std::to_string(param.valueSize / sizeof(float)) +
                    " numbers");
      }
      std::memcpy(target, numbers.data(), param.valueSize);
      return;
    }
    case VEK_TYPE_STRING: {
      const std::string& text = texts_[param.offset] = Expect<std::string>(param, value);
      return Store(target, text.c_str());
    }
    case VEK_TYPE_WIDE_STRING: {
      const auto converted = Utf8ToUtf16(Expect<std::string>(param, value));
      if (!converted) throw Error("parameter " + param.key + " takes UTF-8 text");
      const std::u16string& text = wideTexts_[param.offset] = *converted;
      return Store(target, reinterpret_cast<const uint16_t*>(text.c_str()));
    }
    default:
      throw Error("parameter " + param.key + " has " + TypeName(param.typeCode) + ", which no host can set");
  }
}

Value Instance::Get(std::string_view param) const {
  return Get(effect_.FindParam(param));
}

Value Instance::Get(const Param& param) const {
  CheckOwnRow(effect_, param);
  return LoadValue(param.typeCode, values_.get() + param.offset);
}

void Instance::SetInput(int32_t index, uint8_t* frame) {
  const VekSetInputFn setInput = effect_.descriptor->callbacks.setInput;
  if (!setInput) return;
  VekInputSample& sample = samples_[index];
  sample.privateBlock = privateBlock_.get();
  sample.frame = frame;
  // Without key frames the volume is the same at both ends of an audio block: the first value.
  sample.paramValues = values_.get();
  sample.endValueOffset = 0;
  if (const VekStatus status = setInput(index, &sample); status != VEK_S_OK) {
    throw Error(effect_.classId + ": SetInput(" + std::to_string(index) + ") returned " + StatusText(status), status);
  }
}

void Instance::Prepare() {
  Call("Prepare", effect_.descriptor->callbacks.prepare);
}

void Instance::Process(uint8_t* output) {
  record_.output = output;
  Call("Process", effect_.descriptor->callbacks.process);
}

void Instance::ReleaseResources() {
  Call("ReleaseResources", effect_.descriptor->callbacks.releaseResources);
}

void Instance::Call(const char* what, VekInstanceFn callback) {
  if (!callback) return;
  if (const VekStatus status = callback(&record_); status != VEK_S_OK) {
    throw Error(effect_.classId + ": " + what + " returned " + StatusText(status), status);
  }
}

}  // namespace vek::host
