// What a host pays per instance before any frame: filling the value block with the defaults, beside
// a plain copy of as many bytes.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "module/catalogue.h"
#include "module/instance_contract.h"
#include "ratio_reporter.h"

namespace {

const VekEffectDescriptor& LargestTable() {
  const VekEffectDescriptor* largest = &vek::EffectTable()[0];
  for (const VekEffectDescriptor& row : vek::EffectTable()) {
    if (row.words[VEK_WORD_PARAM_COUNT] > largest->words[VEK_WORD_PARAM_COUNT]) largest = &row;
  }
  return *largest;
}

uint32_t BlockBytes(const VekEffectDescriptor& row) {
  return vek::ParamOffset(row.params, row.words[VEK_WORD_PARAM_COUNT]);
}

void FillDefaults(benchmark::State& state) {
  const VekEffectDescriptor& row = LargestTable();
  std::vector<uint8_t> values(BlockBytes(row));
  for (auto _ : state) {
    vek::FillDefaults(row.params, row.words[VEK_WORD_PARAM_COUNT], values.data());
    benchmark::DoNotOptimize(values.data());
    benchmark::ClobberMemory();
  }
  state.SetLabel(row.classId);
}
void CopyValueBlock(benchmark::State& state) {
  const VekEffectDescriptor& row = LargestTable();
  std::vector<uint8_t> source(BlockBytes(row), 1), values(BlockBytes(row));
  for (auto _ : state) {
    std::memcpy(values.data(), source.data(), values.size());
    benchmark::DoNotOptimize(values.data());
    benchmark::ClobberMemory();
  }
}
[[maybe_unused]] const bool kRegistered = [] {
  vek::bench::RegisterBaseline("memcpy/value-block", CopyValueBlock);
  vek::bench::RegisterAgainst("Init/fill-defaults", "memcpy/value-block", FillDefaults);
  return true;
}();

}  // namespace
