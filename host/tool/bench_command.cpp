// vekhost bench: Process of one effect on the built-in pictures, timed beside two plain loops
// measured in the same run, so that the ratios say more than the times of one machine.
#include <algorithm>
#include <chrono>
#include <cstring>
#include <functional>
#include <iomanip>

#include "commands.h"
#include "vekhost/error.h"
#include "vekhost/pictures.h"

namespace vek::tool {
namespace {

constexpr double kBatchSeconds = 0.05;
constexpr int kBatches = 5;

// The best time of one run over several batches, each long enough for the clock; a batch's
// first run is timed with it, so caches are warm for all but one.
double SecondsPerRun(const std::function<void()>& run) {
  using Clock = std::chrono::steady_clock;
  const auto time = [&](long runs) {
    const auto start = Clock::now();
    for (long k = 0; k < runs; ++k) run();
    return std::chrono::duration<double>(Clock::now() - start).count();
  };
  long runs = 1;
  while (time(runs) < kBatchSeconds && runs < (1L << 30)) runs *= 2;
  double best = time(runs);
  for (int k = 1; k < kBatches; ++k) best = std::min(best, time(runs));
  return best / double(runs);
}

}  // namespace

void BenchCommand(const host::Plugin& plugin, std::string_view classId, FrameSize size, const SetupArguments& arguments,
                  std::ostream& out) {
  const host::Effect& effect = plugin.FindEffect(classId);
  const host::RenderSetup setup = MakeSetup(arguments, size);
  host::Renderer renderer(effect, setup);
  const host::Frame a = host::BuiltInPicture(host::Picture::kA, size.width, size.height);
  const host::Frame b = host::BuiltInPicture(host::Picture::kB, size.width, size.height);
  renderer.SetInputs(a, b);
  renderer.Process();  // an effect that does not render stops here, before anything is timed

  // The loops read the output back into `sink`, so the compiler cannot drop them.
  std::vector<uint8_t> target(a.bytes.size());
  volatile uint8_t sink = 0;
  const double copy = SecondsPerRun([&] {
    std::memcpy(target.data(), a.bytes.data(), target.size());
    sink = target[target.size() / 2];
  });
  const double readTwo = SecondsPerRun([&] {
    const uint8_t *first = a.bytes.data(), *second = b.bytes.data();
    uint8_t* out = target.data();
    const std::size_t count = target.size();
    for (std::size_t i = 0; i < count; ++i) out[i] = uint8_t((first[i] + second[i]) >> 1);
    sink = target[target.size() / 2];
  });
  const double process = SecondsPerRun([&] { renderer.Process(); });

  const char* field = setup.fieldMode == VEK_FIELD_EVEN  ? "even field"
                      : setup.fieldMode == VEK_FIELD_ODD ? "odd field"
                                                         : "whole frame";
  out << effect.classId << " at " << size.width << "x" << size.height << ", " << setup.workerCount
      << (setup.workerCount == 1 ? " worker, " : " workers, ") << "simd " << (setup.renderHint >= 3 ? "on" : "off")
      << ", " << field << '\n';
  const auto line = [&](const char* name, double seconds) {
    out << "  " << std::left << std::setw(22) << name << std::right << std::fixed << std::setprecision(1)
        << std::setw(10) << seconds * 1e6 << " us";
  };
  line("memcpy of one frame", copy);
  out << '\n';
  line("read two, write one", readTwo);
  out << '\n';
  line("Process", process);
  out << std::setprecision(2) << "   " << process / copy << " x memcpy   " << process / readTwo
      << " x read-two-write-one\n";
}

}  // namespace vek::tool
