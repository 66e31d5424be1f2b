#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "SampleEncoder.h"
#include "platform/CEvent.h"
#include "video/CVDECH264.h"
#include "video/IPictureOutput.h"

namespace zp {
namespace {

constexpr uint32_t kDeadlineMs = 15000;

// A display that waits in present until the test lets it go. Uploads read the whole luma plane,
// as a texture upload does, so the thread checker sees them against the decoder's hand-over.
class StalledOutput : public IPictureOutput {
 public:
  int InitDraw(uint32_t nWidth, uint32_t nHeight) override {
    m_nWidth = nWidth;
    m_nHeight = nHeight;
    return 0;
  }
  int FreeDraw() override { return InitDraw(0, 0); }
  bool IsInit() const override { return m_nWidth != 0; }
  uint32_t Width() const override { return m_nWidth; }
  uint32_t Height() const override { return m_nHeight; }
  int Upload(const PictureInfo& p) override {
    for (uint32_t row = 0; row < p.nHeight; ++row) {
      for (uint32_t x = 0; x < p.nWidth; ++x) {
        m_nSum += p.pY[static_cast<size_t>(row) * p.nYStride + x];
      }
    }
    return 0;
  }
  int Present() override {
    presenting.Set();
    release.Wait(2 * kDeadlineMs);  // bounded, should the test fail before it releases
    return 0;
  }

  platform::CEvent presenting, release;

 private:
  uint32_t m_nWidth = 0, m_nHeight = 0;
  uint64_t m_nSum = 0;
};

int Decode(CVDEC* dec, const samples::EncodedFrame& f) {
  return dec->DecodeOneFrame(f.key ? CVDEC::kKeyFrameType : 0x63643100, f.data.data(),
                             static_cast<uint32_t>(f.data.size()), f.stampUs);
}

// While one picture is being presented (and the present does not come back), the decoder
// hands over every further picture: the present runs outside the picture lock.
TEST(VideoThreads, ASlowPresentDoesNotHoldUpTheDecoder) {
  samples::VideoParams p;
  p.width = 176;
  p.height = 144;
  p.frames = 30;
  p.gop = 10;
  const auto frames = samples::EncodeVideo(p);
  ASSERT_EQ(frames.size(), 30u);
  CVDECH264 dec(false, nullptr);
  dec.InitDecoder(0);
  ASSERT_EQ(Decode(&dec, frames[0]), 1);

  StalledOutput output;
  std::thread drawer([&] { dec.DecodeData()->DrawFrame(&output); });
  const bool presenting = output.presenting.Wait(kDeadlineMs);
  std::atomic<int> pictures{0};
  platform::CEvent decoded;
  std::thread decoder([&] {
    for (size_t i = 1; i < frames.size(); ++i) {
      pictures += Decode(&dec, frames[i]);
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
