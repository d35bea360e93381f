// The cut, the cross-fade and the lay-over at 1920x1080 and 3840x2160, scalar and vector, whole
// frame and one field, each beside the plain loops it is measured against; whole frames on two
// workers too.
#include "effect_bench.h"

namespace vek::bench {
namespace {

[[maybe_unused]] const bool kRegistered = [] {
  for (Size size : {Size{1920, 1080}, Size{3840, 2160}}) {
    const Baselines baselines = RegisterBaselines(size);
    for (int field : {0, 1}) {
      const std::string suffix = Name({"/", size.Name(), field ? "/field" : "/frame"});
      for (int hint : {0, 3}) {
        RegisterEffect(Name({"Fade/", hint ? "vector" : "scalar", suffix}), baselines.readTwoWriteOne,
                       {"DSP_TR_Fade", size, hint, field, 1, {}});
      }
      RegisterEffect(Name({"NoEffect", suffix}), baselines.copy, {"DSP_TR_NoEffect", size, 0, field, 1, {}});
      RegisterEffect(Name({"Blending", suffix}), baselines.readTwoWriteOne, {"DSP_TR_Blending", size, 0, field, 1, {}});
    }
    // Whole frames split their rows over two workers, as a host on two processors sets up.
    const std::string split = Name({"/", size.Name(), "/frame/workers2"});
    RegisterEffect(Name({"Fade/vector", split}), baselines.readTwoWriteOne, {"DSP_TR_Fade", size, 3, 0, 2, {}});
    RegisterEffect(Name({"Blending", split}), baselines.readTwoWriteOne, {"DSP_TR_Blending", size, 0, 0, 2, {}});
  }
  return true;
}();

}  // namespace
}  // namespace vek::bench
