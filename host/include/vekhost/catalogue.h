// The catalogue as a host reads it: one Effect per descriptor row, one Param per parameter row,
// with the strings split and the values read through their pointers by type.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vek_dsp/abi.h"
#include "vekhost/value.h"

namespace vek::host {

struct Param {
  const VekParamDescriptor* row = nullptr;
  std::string key;                   // "P2"
  std::string nameId;                // the text before the first ';' of the row's name id
  std::string shortName;             // "Direction" for "IDS_Tr_Param_Direction_Name"
  std::vector<std::string> options;  // enumeration options, numbered from 0
  std::optional<std::string> descriptionId;
  uint32_t typeCode = 0;
  uint32_t editorKind = 0;
  Value minimum;
  Value maximum;
  Value defaultValue;
  uint32_t valueSize = 0;
  std::size_t offset = 0;  // in the value block: the sizes of the rows before
  bool animatable = false;
  int32_t group = 0;
  int32_t scope = 0;
  VekInterpolateFn interpolate = nullptr;
};

struct Effect {
  const VekEffectDescriptor* descriptor = nullptr;
  std::string classId;
  std::string nameId;
  std::string descriptionId;
  std::string author;
  std::string vendor;
  std::string subclass;
  uint32_t category = 0;
  uint32_t subId = 0;
  uint32_t inputs = 0;
  uint64_t privateBytes = 0;
  std::vector<Param> params;
  std::size_t valueBlockBytes = 0;

  // By key ("P2"), name id ("IDS_Tr_Param_Direction_Name") or short name ("Direction"), in any
  // case. Throws Error listing the valid keys.
  const Param& FindParam(std::string_view name) const;
};

// Null text reads as empty. Throws Error for a row a host cannot use: no class id or key, a missing
// table or value pointer, an unknown type code, a value size other than its type's.
Effect ReadEffect(const VekEffectDescriptor& row);

// "video effect", "transition" ... for word F0; "category N" for a number no row uses.
std::string CategoryName(uint32_t category);

// The effect with the class id, in any case. Throws Error naming the closest ids by edit distance.
const Effect& FindEffect(const std::vector<Effect>& effects, std::string_view classId);

}  // namespace vek::host
