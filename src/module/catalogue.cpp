#include "module/catalogue.h"

#include <string_view>

#include "audio/audio_effects.h"
#include "color/color_effects.h"
#include "pip/pip_effects.h"
#include "transitions/transitions.h"
#include "transitions3d/transitions3d.h"
#include "video/video_effects.h"

namespace vek {
namespace {

extern VekModuleDescriptor gModuleDescriptor;

struct RowWords {
  uint32_t category, subId, f2, inputs, f6, f9, flags, f13, f14, f16;
};

template <class Effect>
constexpr VekEffectDescriptor MakeRow(const char* classId, const char* nameId, const char* descriptionId,
                                      const char* author, const char* vendor, std::string_view kind,
                                      const char* subclass, RowWords w) {
  const uint32_t mediaKind = kind == "AU" ? 0 : 1;
  return VekEffectDescriptor{
      classId, nameId, descriptionId, author, vendor,
      {w.category, w.subId, w.f2, mediaKind, w.inputs, 0, w.f6, 1, 0, w.f9, w.flags, 0, 0, w.f13, w.f14, 1, w.f16,
       Effect::kParamCount},
      Effect::kParams.data(), &gModuleDescriptor, Effect::kPrivateBytes,
      {&Effect::Init, &Effect::Destroy, &Effect::SetInput, &Effect::Process, nullptr, &Effect::Prepare,
       &Effect::ReleaseResources, nullptr},
      nullptr, subclass};
}

#define ROW_AUTHORED(n, KIND, Kind, Name, cat, sub, subclass, f2, in, f6, f9, f10, f13, f14, f16, author, vendor) \
  MakeRow<KIND##_##Name>("DSP_" #KIND "_" #Name, "IDS_DSP_" #Kind "_" #Name "_Name",                             \
                         "IDS_DSP_" #Kind "_" #Name "_Desc", author, vendor, #KIND, "DSP_SUBCLASS_" #subclass,   \
                         {cat, sub, f2, in, f6, f9, f10, f13, f14, f16}),
#define ROW(n, KIND, Kind, Name, cat, sub, subclass, f2, in, f6, f9, f10, f13, f14, f16)                         \
  ROW_AUTHORED(n, KIND, Kind, Name, cat, sub, subclass, f2, in, f6, f9, f10, f13, f14, f16,                      \
               "DSP " #Kind "_" #Name " Author", "DSP " #Kind "_" #Name " Vendor")

constinit const VekEffectDescriptor kEffectTable[] = {
#include "module/catalogue.inc"
};

#undef ROW
#undef ROW_AUTHORED
#define ROW(n, ...) n,
#define ROW_AUTHORED(n, ...) n,
constexpr int kRowNumbers[] = {
#include "module/catalogue.inc"
};
#undef ROW
#undef ROW_AUTHORED

constexpr bool RowsAreNumberedInOrder() {
  for (int k = 0; k < int(std::size(kRowNumbers)); ++k) {
    if (kRowNumbers[k] != k) return false;
  }
  return true;
}
static_assert(std::size(kEffectTable) == kEffectCount && RowsAreNumberedInOrder());

VekModuleDescriptor gModuleDescriptor = {
    kModuleVersion, "IDS_Module_Name", "IDS_Module_Desc", "Module Author", "Module Vendor",
    nullptr,        nullptr,           kEffectCount,      kEffectTable,
};

}  // namespace

VekModuleDescriptor& ModuleDescriptor() noexcept { return gModuleDescriptor; }

std::span<const VekEffectDescriptor, kEffectCount> EffectTable() noexcept {
  return std::span<const VekEffectDescriptor, kEffectCount>(kEffectTable, kEffectCount);
}

}  // namespace vek
