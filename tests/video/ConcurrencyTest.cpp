#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "VideoTestSupport.h"
#include "video/CDraw.h"
#include "video/CVDECH264.h"
#include "video/CVDECHi265.h"
#include "video/CVDECHis.h"

namespace zp {
namespace {

using samples::VideoCodec;

// Captures and draws from other threads while the decoder replaces its picture: each must see
// a whole picture or none, never planes the decoder has already let go of.
void DecodeWhileCapturing(CVDEC* dec, VideoCodec codec) {
  const auto frames =
      samples::EncodeVideo({.codec = codec, .width = 176, .height = 144, .frames = 40, .gop = 10});
  ASSERT_EQ(frames.size(), 40u);
  dec->InitDecoder(0);

  std::atomic<bool> done{false};
  std::thread decoder([&] {
    for (const auto& f : frames) {
      videotest::DecodeFrame(dec, f);
    }
    done = true;
  });
  std::thread drawer([&] {
    CDraw draw;
    while (!done) {
      dec->DecodeData()->DrawFrame(&draw);
    }
  });
  const TempDir dir;
  const std::string path = (dir.path() / "concurrent.bmp").string();
  while (!done) {
    if (dec->CaptureBMP(path.c_str()) == 1) {
      const videotest::BmpImage bmp = videotest::ReadBmp(path);
      EXPECT_EQ(bmp.width, 176);
      EXPECT_EQ(bmp.height, 144);
    }
  }
  decoder.join();
  drawer.join();
  EXPECT_EQ(dec->CaptureBMP(path.c_str()), 1);  // the last picture stays capturable
}

// CVDECH264 in HEVC mode is left out: it decodes with libavcodec's frame threads, whose own
// synchronisation a thread checker cannot see in an uninstrumented libavcodec. Its picture
// hand-over is the same code as in H.264 mode.
TEST(VideoThreads, CapturesAndDrawsRaceTheDecoderSafely) {
  CVDECH264 h264(false, nullptr);
  DecodeWhileCapturing(&h264, VideoCodec::H264);
  CVDECHis his;
  DecodeWhileCapturing(&his, VideoCodec::H264);
  CVDECHi265 hi265;
  DecodeWhileCapturing(&hi265, VideoCodec::H265);
}

}  // namespace
}  // namespace zp
