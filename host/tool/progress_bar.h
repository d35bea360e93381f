// Progress of a long command on standard error, drawn only when that is a terminal.
#pragma once

#include <string>

namespace vek::tool {

class ProgressBar {
 public:
  ProgressBar(std::string label, int total);
  // Ends the line the bar was drawn on.
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void Step();

 private:
  std::string label_;
  int total_;
  int done_ = 0;
  bool shown_;
};

}  // namespace vek::tool
