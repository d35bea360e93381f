// DSP_PI_Still, DSP_PI_AlphaMask, DSP_PI_Rotate, DSP_PI_Script: source B as a framed picture over
// source A, cut out by a mask, turned in space, or driven by a script.
#include <algorithm>
#include <array>

#include "pip/pip_effects.h"

using namespace vek;

namespace {

constexpr Slot Place(int32_t group, Animation animation = Animation::kDefault) {
  return {group, kScopeGlobal, animation};
}

// The rows every overlay shares: placement, frame, shadow, colour key and glow. Colours that
// change what is cut out or filled (key, matte, glow) are not key-framed.
constexpr std::array<VekParamDescriptor, 22> kOverlayRows = {
    SwitchRow<1>("P1", "IDS_Pi_Param_Enable_Name", "IDS_Pi_Param_Enable_Desc", Place(0)),
    FloatRow<0.0f, 1.0f, 0.7f>("P2", "IDS_Pi_Param_PosX_Name", "IDS_Pi_Param_PosX_Desc", Place(1)),
    FloatRow<0.0f, 1.0f, 0.3f>("P3", "IDS_Pi_Param_PosY_Name", "IDS_Pi_Param_PosY_Desc", Place(1)),
    FloatRow<0.01f, 1.0f, 0.4f>("P4", "IDS_Pi_Param_Width_Name", "IDS_Pi_Param_Width_Desc", Place(2)),
    FloatRow<0.01f, 1.0f, 0.4f>("P5", "IDS_Pi_Param_Height_Name", "IDS_Pi_Param_Height_Desc", Place(2)),
    ChoiceRow<"IDS_Pi_Param_Fit_Name;Stretch;Fit;Fill">("P6", "IDS_Pi_Param_Fit_Desc", Place(3, Animation::kAnimated)),
    ColourRow<0x000000>("P7", "IDS_Pi_Param_BackColor_Name", "IDS_Pi_Param_BackColor_Desc", ColourEditor::kPlain,
                        Place(4, Animation::kFixed)),
    ByteRow<0, 255, 255>("P8", "IDS_Pi_Param_Opacity_Name", "IDS_Pi_Param_Opacity_Desc", Place(5)),
    IntRow<0, 64, 4>("P9", "IDS_Pi_Param_BorderWidth_Name", "IDS_Pi_Param_BorderWidth_Desc", Place(6)),
    ColourRow<0xFFFFFF>("P10", "IDS_Pi_Param_BorderColor_Name", "IDS_Pi_Param_BorderColor_Desc",
                        ColourEditor::kPlain, Place(7)),
    IntRow<0, 100, 0>("P11", "IDS_Pi_Param_CornerRadius_Name", "IDS_Pi_Param_CornerRadius_Desc", Place(8)),
    SwitchRow<1>("P12", "IDS_Pi_Param_Shadow_Name", "IDS_Pi_Param_Shadow_Desc", Place(9)),
    ColourRow<0x000000>("P13", "IDS_Pi_Param_ShadowColor_Name", "IDS_Pi_Param_ShadowColor_Desc",
                        ColourEditor::kPlain, Place(10)),
    IntRow<0, 100, 8>("P14", "IDS_Pi_Param_ShadowDistance_Name", "IDS_Pi_Param_ShadowDistance_Desc", Place(11)),
    IntRow<0, 359, 135>("P15", "IDS_Pi_Param_ShadowAngle_Name", "IDS_Pi_Param_ShadowAngle_Desc", Place(12)),
    ByteRow<0, 255, 128>("P16", "IDS_Pi_Param_ShadowOpacity_Name", "IDS_Pi_Param_ShadowOpacity_Desc", Place(13)),
    ByteRow<0, 64, 12>("P17", "IDS_Pi_Param_ShadowSoftness_Name", "IDS_Pi_Param_ShadowSoftness_Desc", Place(14)),
    SwitchRow<0>("P18", "IDS_Pi_Param_ColorKeyEnable_Name", "IDS_Pi_Param_ColorKeyEnable_Desc", Place(15)),
    ColourRow<0xFF00FF>("P19", "IDS_Pi_Param_ColorKey_Name", "IDS_Pi_Param_ColorKey_Desc", ColourEditor::kPicked,
                        Place(16, Animation::kFixed)),
    ByteRow<0, 127, 32>("P20", "IDS_Pi_Param_Tolerance_Name", "IDS_Pi_Param_Tolerance_Desc", Place(17)),
    IntRow<0, 64, 0>("P21", "IDS_Pi_Param_GlowSize_Name", "IDS_Pi_Param_GlowSize_Desc", Place(18)),
    ColourRow<0xFFFF80>("P22", "IDS_Pi_Param_GlowColor_Name", "IDS_Pi_Param_GlowColor_Desc", ColourEditor::kPlain,
                        Place(19, Animation::kFixed)),
};

inline constexpr const char* kDefaultMaskFile = "MASK.RAW";

template <std::size_t N>
constexpr std::array<VekParamDescriptor, kOverlayRows.size() + N> WithOverlayRows(
    const std::array<VekParamDescriptor, N>& own) {
  std::array<VekParamDescriptor, kOverlayRows.size() + N> rows{};
  std::copy(kOverlayRows.begin(), kOverlayRows.end(), rows.begin());
  std::copy(own.begin(), own.end(), rows.begin() + kOverlayRows.size());
  return rows;
}

constexpr auto kStillRows = WithOverlayRows(Rows(
    ChoiceRow<"IDS_Pi_Param_Blend_Name;Normal;Multiply;Screen;Overlay">("P23", "IDS_Pi_Param_Blend_Desc", Place(20)),
    ColourRow<0xFFFFFF>("P24", "IDS_Pi_Param_TintColor_Name", "IDS_Pi_Param_TintColor_Desc", ColourEditor::kPlain,
                        Place(21)),
    StringRow("P25", "IDS_Pi_Param_FrameFile_Name", "IDS_Pi_Param_FrameFile_Desc", &kEmptyText, Place(22)),
    WideStringRow("P26", "IDS_Pi_Param_FrameFile_NameW", "IDS_Pi_Param_FrameFile_Desc", &kEmptyWideText,
                  WideEditor::kFile, Place(22))));

constexpr auto kAlphaMaskRows = WithOverlayRows(Rows(
    StringRow("P23", "IDS_Pi_Param_MaskFile_Name", "IDS_Pi_Param_MaskFile_Desc", &kDefaultMaskFile, Place(20)),
    WideStringRow("P24", "IDS_Pi_Param_MaskFile_NameW", "IDS_Pi_Param_MaskFile_Desc", &kEmptyWideText,
                  WideEditor::kFile, Place(20)),
    ChoiceRow<"IDS_Pi_Param_MaskChannel_Name;Luma;Alpha;Red;Green;Blue">("P25", "IDS_Pi_Param_MaskChannel_Desc",
                                                                          Place(21)),
    SwitchRow<0>("P26", "IDS_Pi_Param_MaskInvert_Name", "IDS_Pi_Param_MaskInvert_Desc", Place(22)),
    ByteRow<0, 64, 4>("P27", "IDS_Pi_Param_MaskFeather_Name", "IDS_Pi_Param_MaskFeather_Desc", Place(23)),
    ChoiceRow<"IDS_Pi_Param_MaskFit_Name;Stretch;Tile;Center">("P28", "IDS_Pi_Param_MaskFit_Desc", Place(24)),
    ColourRow<0xFFFFFF>("P29", "IDS_Pi_Param_EdgeColor_Name", "IDS_Pi_Param_EdgeColor_Desc", ColourEditor::kPlain,
                        Place(25, Animation::kFixed))));

constexpr auto kRotateRows = WithOverlayRows(Rows(
    FloatRow<-360.0f, 360.0f, 0.0f>("P23", "IDS_Pi_Param_Rotation_Name", "IDS_Pi_Param_Rotation_Desc", Place(20)),
    FloatRow<-90.0f, 90.0f, 0.0f>("P24", "IDS_Pi_Param_TiltX_Name", "IDS_Pi_Param_TiltX_Desc", Place(21)),
    FloatRow<-90.0f, 90.0f, 0.0f>("P25", "IDS_Pi_Param_TiltY_Name", "IDS_Pi_Param_TiltY_Desc", Place(21)),
    FloatRow<0.0f, 1.0f, 0.5f>("P26", "IDS_Pi_Param_Perspective_Name", "IDS_Pi_Param_Perspective_Desc", Place(22)),
    ChoiceRow<"IDS_Pi_Param_BackFace_Name;Mirror;Color;Hide">("P27", "IDS_Pi_Param_BackFace_Desc",
                                                              Place(23, Animation::kAnimated)),
    ColourRow<0x808080>("P28", "IDS_Pi_Param_BackFaceColor_Name", "IDS_Pi_Param_BackFaceColor_Desc",
                        ColourEditor::kPlain, Place(24, Animation::kFixed)),
    SwitchRow<0>("P29", "IDS_Pi_Param_Reflection_Name", "IDS_Pi_Param_Reflection_Desc", Place(25)),
    ByteRow<0, 255, 96>("P30", "IDS_Pi_Param_ReflectionOpacity_Name", "IDS_Pi_Param_ReflectionOpacity_Desc",
                        Place(26)),
    IntRow<0, 100, 0>("P31", "IDS_Pi_Param_ReflectionDistance_Name", "IDS_Pi_Param_ReflectionDistance_Desc",
                      Place(27))));

}  // namespace

constinit decltype(PI_Still::kParams) PI_Still::kParams = kStillRows;
constinit decltype(PI_AlphaMask::kParams) PI_AlphaMask::kParams = kAlphaMaskRows;
constinit decltype(PI_Rotate::kParams) PI_Rotate::kParams = kRotateRows;

// The script is text the companion library runs; an empty one draws nothing.
constinit decltype(PI_Script::kParams) PI_Script::kParams = Rows(
    WideStringRow("P1", "IDS_Pi_Param_Script_Name", "IDS_Pi_Param_Script_Desc", &kEmptyWideText, WideEditor::kText,
                  Place(0)));
