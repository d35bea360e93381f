#include "progress_bar.h"

#include <iostream>

#include "platform/platform.h"

namespace vek::tool {

namespace {
constexpr int kBarWidth = 30;
}  // namespace

ProgressBar::ProgressBar(std::string label, int total)
    : label_(std::move(label)), total_(total), shown_(total > 1 && platform::StandardErrorIsTerminal()) {}

ProgressBar::~ProgressBar() {
  if (shown_ && done_ > 0) std::cerr << '\n' << std::flush;
}

void ProgressBar::Step() {
  ++done_;
  if (!shown_) return;
  const int filled = done_ * kBarWidth / total_;
  std::cerr << '\r' << label_ << " [" << std::string(std::size_t(filled), '#')
            << std::string(std::size_t(kBarWidth - filled), '.') << "] " << done_ << '/' << total_ << std::flush;
}

}  // namespace vek::tool
