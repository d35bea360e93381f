// The command-line words that become record fields, shared by render, demo and bench.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <thread>

#include "commands.h"
#include "vekhost/error.h"

namespace vek::tool {

FrameSize ParseSize(std::string_view text) {
  const std::size_t cross = text.find_first_of("xX");
  FrameSize size{0, 0};
  const auto number = [](std::string_view digits, int& value) {
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return error == std::errc() && end == digits.data() + digits.size();
  };
  if (cross == std::string_view::npos || !number(text.substr(0, cross), size.width) ||
      !number(text.substr(cross + 1), size.height) || size.width < 1 || size.height < 1 ||
      size.width > host::kMaxFrameSide || size.height > host::kMaxFrameSide) {
    throw host::Error("size \"" + std::string(text) + "\" is not WIDTHxHEIGHT with sides of 1 to " +
                      std::to_string(host::kMaxFrameSide));
  }
  return size;
}

host::RenderSetup MakeSetup(const SetupArguments& arguments, FrameSize size) {
  host::RenderSetup setup;
  setup.width = size.width;
  setup.height = size.height;
  setup.fieldMode = arguments.field == "even"  ? VEK_FIELD_EVEN
                    : arguments.field == "odd" ? VEK_FIELD_ODD
                                               : VEK_FIELD_FRAME;
  setup.lumaChroma = arguments.layout == "ayuv";
  setup.workerCount =
      arguments.threads > 0 ? arguments.threads : int32_t(std::max(1u, std::thread::hardware_concurrency()));
  setup.renderHint = arguments.simd == "off" ? 0 : 3;
  setup.randomSeed = arguments.seed;
  setup.offsetMode = arguments.offset < 0 ? 1 : arguments.offset > 0 ? 2 : 0;
  setup.offsetAmount = std::abs(arguments.offset);
  setup.alphaAware = arguments.alphaAware;
  if (!arguments.display.empty()) {
    const FrameSize display = ParseSize(arguments.display);
    setup.displayWidth = display.width;
    setup.displayHeight = display.height;
  }
  return setup;
}

}  // namespace vek::tool
