// Builders of parameter rows. Every value a row points to is a constant with static storage:
// template parameter objects, so equal values are shared and the tables are built at compile time.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "vek_dsp/abi.h"

namespace vek {

// Shared constants stay out of the plug-in's dynamic symbol table, which holds the two exports only.
#if defined(_WIN32)
#define VEK_HIDDEN_CONSTANT
#else
#define VEK_HIDDEN_CONSTANT [[gnu::visibility("hidden")]]
#endif

struct RectValue { float left, top, right, bottom; };
struct PointValue { float x, y; };

template <class T, T V> VEK_HIDDEN_CONSTANT inline constexpr T kValue = V;
template <RectValue V> VEK_HIDDEN_CONSTANT inline constexpr RectValue kRect = V;
template <PointValue V> VEK_HIDDEN_CONSTANT inline constexpr PointValue kPoint = V;

// A name id with its enumeration options as a template argument, so the option count is known
// when the row is built and the maximum cannot disagree with the option list.
template <std::size_t N> struct OptionText {
  char chars[N];
  constexpr OptionText(const char (&text)[N]) { std::copy_n(text, N, chars); }
  constexpr int32_t OptionCount() const { return int32_t(std::count(chars, chars + N, ';')); }
};

constexpr int32_t kScopeEffect = -1;   // the effect's own rows
constexpr int32_t kScopeGlobal = 0;    // every row of the audio, picture-in-picture and colour effects and of DSP_TR_Swing
constexpr int32_t kScopeMask = 99;     // effect-area and salient rows

enum class Animation { kDefault, kAnimated, kFixed };

// Where a row sits in the host's editor: its group, scope and whether it can be key-framed.
struct Slot {
  int32_t group;
  int32_t scope = kScopeEffect;
  Animation animation = Animation::kDefault;
};

constexpr uint32_t Animatable(Slot slot, bool byDefault) {
  return slot.animation == Animation::kDefault ? byDefault : slot.animation == Animation::kAnimated;
}

constexpr VekParamDescriptor MakeRow(const char* key, const char* nameId, const char* descriptionId,
                                     uint32_t type, uint32_t editor, uint32_t size, const void* min,
                                     const void* max, const void* def, Slot slot, bool animatedByDefault) {
  return VekParamDescriptor{key, nameId, descriptionId, min, max, def, def, def, def, {0, 0, 0}, type, editor,
                            size, Animatable(slot, animatedByDefault), 0, nullptr, slot.group, slot.scope};
}

template <uint8_t Min, uint8_t Max, uint8_t Def>
constexpr VekParamDescriptor ByteRow(const char* key, const char* name, const char* desc, Slot slot) {
  return MakeRow(key, name, desc, VEK_TYPE_BYTE, VEK_EDITOR_NUMBER, 1, &kValue<uint8_t, Min>,
                 &kValue<uint8_t, Max>, &kValue<uint8_t, Def>, slot, true);
}

template <int32_t Min, int32_t Max, int32_t Def>
constexpr VekParamDescriptor IntRow(const char* key, const char* name, const char* desc, Slot slot) {
  return MakeRow(key, name, desc, VEK_TYPE_INT, VEK_EDITOR_NUMBER, 4, &kValue<int32_t, Min>,
                 &kValue<int32_t, Max>, &kValue<int32_t, Def>, slot, true);
}

template <float Min, float Max, float Def>
constexpr VekParamDescriptor FloatRow(const char* key, const char* name, const char* desc, Slot slot) {
  return MakeRow(key, name, desc, VEK_TYPE_FLOAT, VEK_EDITOR_NUMBER, 4, &kValue<float, Min>,
                 &kValue<float, Max>, &kValue<float, Def>, slot, true);
}

template <OptionText Name, int32_t Def = 0>
constexpr VekParamDescriptor ChoiceRow(const char* key, const char* desc, Slot slot) {
  static_assert(Name.OptionCount() > 0 && Def >= 0 && Def < Name.OptionCount());
  return MakeRow(key, Name.chars, desc, VEK_TYPE_ENUM, VEK_EDITOR_CHOICE, 4, &kValue<int32_t, 0>,
                 &kValue<int32_t, Name.OptionCount() - 1>, &kValue<int32_t, Def>, slot, false);
}

// Switches keep the minimum and maximum as each table stores them, which is not always 0 and 1.
template <int32_t Def, int32_t Min = 0, int32_t Max = 1>
constexpr VekParamDescriptor SwitchRow(const char* key, const char* name, const char* desc, Slot slot) {
  return MakeRow(key, name, desc, VEK_TYPE_SWITCH, VEK_EDITOR_SWITCH, 4, &kValue<int32_t, Min>,
                 &kValue<int32_t, Max>, &kValue<int32_t, Def>, slot, false);
}

// A colour row; picked colours are keys the user takes from the picture with an eyedropper.
enum class ColourEditor : uint32_t { kPlain = VEK_EDITOR_COLOUR, kPicked = VEK_EDITOR_COLOUR_PICKED };
template <uint32_t Def>
constexpr VekParamDescriptor ColourRow(const char* key, const char* name, const char* desc, ColourEditor editor,
                                       Slot slot) {
  return MakeRow(key, name, desc, VEK_TYPE_COLOUR, uint32_t(editor), 4, &kValue<uint32_t, 0>,
                 &kValue<uint32_t, 0x00FFFFFF>, &kValue<uint32_t, Def>, slot, true);
}

template <RectValue Min, RectValue Max, RectValue Def>
constexpr VekParamDescriptor RectRow(const char* key, const char* name, const char* desc, Slot slot) {
  return MakeRow(key, name, desc, VEK_TYPE_RECT, VEK_EDITOR_RECT, 16, &kRect<Min>, &kRect<Max>, &kRect<Def>, slot,
                 true);
}

// Positions are offsets of a point from the frame centre in fractions of the frame: (0, 0) is the
// centre, (-0.5, -0.5) the top-left corner.
template <PointValue Def>
constexpr VekParamDescriptor PositionRow(const char* key, const char* name, const char* desc, Slot slot) {
  return MakeRow(key, name, desc, VEK_TYPE_POSITION, VEK_EDITOR_POSITION, 8, &kPoint<PointValue{-0.5f, -0.5f}>,
                 &kPoint<PointValue{0.5f, 0.5f}>, &kPoint<Def>, slot, true);
}

// String rows hold a pointer in the value block; the default points to a constant string pointer.
constexpr VekParamDescriptor StringRow(const char* key, const char* name, const char* desc,
                                       const char* const* def, Slot slot) {
  return MakeRow(key, name, desc, VEK_TYPE_STRING, VEK_EDITOR_FILE, 8, def, def, def, slot, false);
}
enum class WideEditor : uint32_t { kText = VEK_EDITOR_TEXT, kFile = VEK_EDITOR_FILE };
constexpr VekParamDescriptor WideStringRow(const char* key, const char* name, const char* desc,
                                           const char16_t* const* def, WideEditor editor, Slot slot) {
  return MakeRow(key, name, desc, VEK_TYPE_WIDE_STRING, uint32_t(editor), 8, def, def, def, slot, false);
}

inline constexpr const char* kEmptyText = "";
inline constexpr const char16_t* kEmptyWideText = u"";

constexpr VekParamDescriptor Interpolated(VekParamDescriptor row, VekInterpolateFn interpolate) {
  row.interpolate = interpolate;
  return row;
}

// A parameter table with exactly as many rows as it is given.
template <class... Row>
constexpr std::array<VekParamDescriptor, sizeof...(Row)> Rows(const Row&... rows) {
  return {rows...};
}

// The progress row every transition starts with: values 3 to 5 hold 0, 0, 1.
template <float Def>
constexpr VekParamDescriptor ProgressRow(int32_t scope = kScopeEffect) {
  VekParamDescriptor row = FloatRow<0.0f, 1.0f, Def>("P1", "IDS_Tr_Param_Percentage_Name",
                                                     "IDS_Tr_Param_Percentage_Desc", {0, scope});
  row.value3 = &kValue<float, 0.0f>;
  row.value4 = &kValue<float, 0.0f>;
  row.value5 = &kValue<float, 1.0f>;
  return row;
}

// The second row of a transition: one of the shared direction or type enumerations.
template <OptionText Name>
constexpr VekParamDescriptor TransitionChoiceRow(const char* desc, int32_t scope = kScopeEffect) {
  return ChoiceRow<Name>("P2", desc, {1, scope});
}

// The effect-area rows that end most video effects' tables, and the salient row that ends all of them.
constexpr VekParamDescriptor kSharedMaskRows[] = {
    RectRow<RectValue{0, 0, 0, 0}, RectValue{0, 0, 1, 1}, RectValue{0, 0, 1, 1}>(
        "MP1", "IDS_Vi_Param_Mask_V2_Name", nullptr, {90, kScopeMask}),
    ChoiceRow<"IDS_Vi_Param_MaskType_Name;box;circle;none">("MP2", nullptr, {91, kScopeMask}),
    FloatRow<0.0f, 2.0f, 0.0f>("MP3", "IDS_Vi_Param_MaskBlurRadius_Name", nullptr, {92, kScopeMask}),
    SwitchRow<0>("MP4", "IDS_Vi_Param_InverseEffectArea_Name", nullptr, {93, kScopeMask}),
};
constexpr VekParamDescriptor kSalientRow =
    ChoiceRow<"IDS_Vi_Param_SalientType_Name;All;FG;BG">("SalientP1", nullptr, {99, kScopeMask});

// A video effect's own rows followed by the shared area rows and the salient row.
template <class... Row>
constexpr std::array<VekParamDescriptor, sizeof...(Row) + 5> RowsWithSharedArea(const Row&... own) {
  return {own..., kSharedMaskRows[0], kSharedMaskRows[1], kSharedMaskRows[2], kSharedMaskRows[3], kSalientRow};
}

// The older area rows that a few effects keep under their own keys.
constexpr VekParamDescriptor OwnMaskRow(int index, const char* key) {
  constexpr VekParamDescriptor rows[] = {
      RectRow<RectValue{0, 0, 0, 0}, RectValue{0, 0, 1, 1}, RectValue{0, 0, 1, 1}>(
          "", "IDS_Vi_Param_Mask_Name", "IDS_Vi_Param_Mask_Desc", {90, kScopeMask}),
      ChoiceRow<"IDS_Vi_Param_MaskType_Name;box;circle;none">("", "IDS_Vi_Param_MaskType_Desc", {91, kScopeMask}),
      FloatRow<0.0f, 2.0f, 0.0f>("", "IDS_Vi_Param_MaskBlurRadius_Name", "IDS_Vi_Param_MaskBlurRadius_Desc",
                                 {92, kScopeMask}),
      SwitchRow<0>("", "IDS_Vi_Param_InverseEffectArea_Name", nullptr, {93, kScopeMask}),
  };
  VekParamDescriptor row = rows[index];
  row.key = key;
  return row;
}

}  // namespace vek
