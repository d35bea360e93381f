// The one exception type of the reference host: every failure a user can cause or see.
#pragma once

#include <stdexcept>
#include <string>

#include "vek_dsp/abi.h"

namespace vek::host {

class Error : public std::runtime_error {
 public:
  explicit Error(const std::string& message, VekStatus status = VEK_S_OK)
      : std::runtime_error(message), status_(status) {}
  // The status word of the callback that failed; VEK_S_OK when no callback did.
  VekStatus Status() const { return status_; }

 private:
  VekStatus status_;
};

}  // namespace vek::host
