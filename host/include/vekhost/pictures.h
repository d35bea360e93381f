// The two pictures the host renders on when no files are given, drawn in code at any size. Both
// have gradients, hard edges and one-pixel detail; B has partly and fully transparent parts so that
// alpha-aware effects show what they do. The same size always gives the same bytes.
#pragma once

#include "vekhost/frame.h"

namespace vek::host {

enum class Picture {
  kA,  // warm: a sky with a sun, a ridge of hills, furrowed fields and a few sharp shapes; opaque
  kB,  // cool: a checkerboard over a diagonal gradient, rings and discs, a fading band and holes
};

// An ARGB frame; throws Error for a size outside 1..kMaxFrameSide.
Frame BuiltInPicture(Picture picture, int width, int height);

}  // namespace vek::host
