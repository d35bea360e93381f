// Transitions that split a whole frame's rows over the instance's workers: any worker count gives the
// bytes of one worker, on frames whose mixed rows are cached and on frames whose rows stream.
#include <cstdlib>

#include "geometric_run.h"

namespace {

using namespace vek::test;

TEST(RowSplit, EveryWorkerCountWritesTheBytesOfOneWorker) {
  struct Size {
    int width, height;
    std::initializer_list<float> progresses;
  };
  // 75 rows end in a short chunk of rows; the large frame streams its mixed rows, and Collapse at
  // p 0.2 starts its bands below rows that only B reaches. The X-ray's three phases are p 0.2, 0.55
  // and 0.9; Door draws row by row at p 0.2 and down its narrow groups at 0.55 and 0.9.
  const Size sizes[] = {{97, 75, {0.2f, 0.55f, 0.9f}}, {kStreamedWidth, kStreamedHeight, {0.2f}}};
  for (const char* id :
       {"DSP_TR_Fade", "DSP_TR_Blending", "DSP_TR_Wipe", "DSP_TR_DirtyWipe", "DSP_TR_Box", "DSP_TR_WipeClock",
        "DSP_TR_Cross", "DSP_TR_Slide", "DSP_TR_Shove", "DSP_TR_Swap", "DSP_TR_Door", "DSP_TR_Shutter",
        "DSP_TR_Splices", "DSP_TR_Burn", "DSP_TR_Collapse", "DSP_TR_Threshold", "DSP_TR_XRay", "DSP_TR_ColorSplit"}) {
    for (const Size& size : sizes) {
      Frame a = Frame::Random(size.width, size.height, 61), b = Frame::Random(size.width, size.height, 62);
      for (int option = 0; option < OptionCount(id); ++option) {
        for (float progress : size.progresses) {
          const auto render = [&](int workers) {
            std::srand(5);  // DirtyWipe's band draws from the unseeded generator
            return RenderShot(id, a, b, {progress, option, {0, 0, workers}});
          };
          const Frame one = render(1);
          for (int workers : {2, 3}) {
            SCOPED_TRACE(testing::Message() << id << " " << size.width << "x" << size.height << " option " << option
                                            << " progress " << progress << ", " << workers << " workers");
            EXPECT_FRAME_EQ(render(workers), one);
          }
        }
      }
    }
  }
}

}  // namespace
