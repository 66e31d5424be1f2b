#include <gtest/gtest.h>

#include <atomic>
#include <numeric>
#include <thread>

#include "VideoTestSupport.h"
#include "platform/CEvent.h"
#include "video/CVDECH264.h"
#include "video/CDraw.h"

namespace zp {
namespace {

constexpr uint32_t kDeadlineMs = 15000;

// A drawing object whose display waits in present until the test lets it go. Uploads also read
// the whole luma plane, so the thread checker sees them against the decoder's hand-over.
class StalledDraw : public CDraw {
 public:
  int Upload(const PictureInfo& p) override {
    for (const uint8_t* row = p.pY; row < p.pY + size_t{p.nYStride} * p.nHeight; row += p.nYStride) {
      m_nSum = std::accumulate(row, row + p.nWidth, m_nSum);
    }
    return CDraw::Upload(p);
  }
  int Present() override {
    presenting.Set();
    release.Wait(2 * kDeadlineMs);  // bounded, should the test fail before it releases
    return CDraw::Present();
  }

  platform::CEvent presenting, release;

 private:
  uint64_t m_nSum = 0;
};

using videotest::DecodeFrame;

// While one picture is being presented (and the present does not come back), the decoder
// hands over every further picture: the present runs outside the picture lock.
TEST(VideoThreads, ASlowPresentDoesNotHoldUpTheDecoder) {
  const auto frames = samples::EncodeVideo({.width = 176, .height = 144, .frames = 30, .gop = 10});
  ASSERT_EQ(frames.size(), 30u);
  CVDECH264 dec(false, nullptr);
  dec.InitDecoder(0);
  ASSERT_EQ(DecodeFrame(&dec, frames[0]), 1);

  StalledDraw output;
  std::thread drawer([&] { dec.DecodeData()->DrawFrame(&output); });
  const bool presenting = output.presenting.Wait(kDeadlineMs);
  std::atomic<int> pictures{0};
  platform::CEvent decoded;
  std::thread decoder([&] {
    for (size_t i = 1; i < frames.size(); ++i) {
      pictures += DecodeFrame(&dec, frames[i]);
    }
    decoded.Set();
  });
  const bool inTime = decoded.Wait(kDeadlineMs);
  output.release.Set();
  decoder.join();
  drawer.join();
  EXPECT_TRUE(presenting);
  EXPECT_TRUE(inTime) << "held up by the present after " << pictures.load() << " pictures";
  EXPECT_EQ(pictures.load(), 29);
}

}  // namespace
}  // namespace zp
