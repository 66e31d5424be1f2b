#include <gtest/gtest.h>

#include <filesystem>

#include "SampleEncoder.h"
#include "VideoTestSupport.h"
#include "video/CVDECH264.h"
#include "video/Hi264Dec.h"
#include "video/PictureCapture.h"
#include "zephplay.h"

namespace zp {
namespace {

using videotest::TestPath;

// A decoded picture from a real stream: odd strides and all.
class Captures : public ::testing::Test {
 protected:
  void SetUp() override {
    samples::VideoParams p;
    p.width = 320;
    p.height = 240;
    p.frames = 1;
    frames = samples::EncodeVideo(p);
    ASSERT_EQ(frames.size(), 1u);
    decoder.InitDecoder(0);
    ASSERT_EQ(decoder.DecodeOneFrame(CVDEC::kKeyFrameType, frames[0].data.data(),
                                     static_cast<uint32_t>(frames[0].data.size()), 40000), 1);
    ASSERT_TRUE(decoder.GetPicture(&picture));
  }
  void TearDown() override {
    for (const auto& f : files) {
      std::filesystem::remove(f);
    }
  }
  std::string File(const std::string& name) {
    files.push_back(TestPath(name));
    return files.back();
  }

  std::vector<samples::EncodedFrame> frames;
  CVDECH264 decoder{false, nullptr};
  PictureInfo picture;
  std::vector<std::string> files;
};

TEST_F(Captures, BmpReadBackEqualsTheReferenceConversion) {
  const std::string path = File("a.bmp");
  EXPECT_EQ(decoder.CaptureBMP(path.c_str()), 1);
  const videotest::BmpImage bmp = videotest::ReadBmp(path);
  ASSERT_EQ(bmp.width, 320);
  ASSERT_EQ(bmp.height, 240);
  EXPECT_EQ(bmp.dataOffset, 54u);
  EXPECT_EQ(bmp.infoSize, 40u);
  EXPECT_EQ(bmp.planes, 1);
  EXPECT_EQ(bmp.compression, 0u);
  EXPECT_EQ(std::filesystem::file_size(path), 54u + 320u * 240u * 3u);
  const std::vector<uint8_t> ref = videotest::ReferenceRgbImage(picture);
  int worst = 0;
  for (size_t i = 0; i < ref.size(); ++i) {
    worst = std::max(worst, std::abs(static_cast<int>(ref[i]) - bmp.rgb[i]));
  }
  EXPECT_LE(worst, 1);  // fixed point against floating point

  // Rows padded to four bytes: an odd width.
  std::vector<uint8_t> yuv;
  samples::MakePicture(3, 102, 100, &yuv);
  const PictureInfo odd = videotest::ViewPicture(yuv, 102, 100);
  const std::string oddPath = File("odd.bmp");
  ASSERT_EQ(SavePictureBMP(odd, oddPath.c_str()), CaptureResult::kWritten);
  const videotest::BmpImage oddBmp = videotest::ReadBmp(oddPath);
  ASSERT_EQ(oddBmp.width, 102);
  EXPECT_GT(videotest::Psnr(oddBmp.rgb, videotest::ReferenceRgbImage(odd)), 48.0);
}

TEST_F(Captures, JpegIsBaseline444WithACommentAndCloseToTheBmp) {
  const std::string bmpPath = File("b.bmp");
  const std::string jpgPath = File("b.jpg");
  ASSERT_EQ(decoder.CaptureBMP(bmpPath.c_str()), 1);
  ASSERT_EQ(decoder.CaptureJPEG(jpgPath.c_str()), 1);
  const videotest::JpegImage jpg = videotest::ReadJpeg(jpgPath);
  ASSERT_EQ(jpg.width, 320);
  ASSERT_EQ(jpg.height, 240);
  EXPECT_EQ(jpg.hSamp[0], 1);
  EXPECT_EQ(jpg.vSamp[0], 1);
  EXPECT_EQ(jpg.hSamp[1], 1);
  EXPECT_EQ(jpg.vSamp[2], 1);
  EXPECT_FALSE(jpg.comment.empty());
  const double psnr = videotest::Psnr(jpg.rgb, videotest::ReadBmp(bmpPath).rgb);
  EXPECT_GE(psnr, 38.0) << psnr;
}

TEST_F(Captures, PicturesBelow100AreAbnormalAndUnwritablePathsKeepTheirAnswers) {
  std::vector<uint8_t> yuv;
  samples::MakePicture(0, 100, 100, &yuv);
  CVideoDecodeData data;
  AVFrame* frame = av_frame_alloc();
  frame->width = 100;
  frame->height = 100;
  frame->format = AV_PIX_FMT_YUV420P;
  ASSERT_EQ(av_frame_get_buffer(frame, 0), 0);
  data.SetPicture(kPictureAvFrame, frame, 0);
  PictureInfo info;
  EXPECT_TRUE(data.GetFrameInfo(&info));
  av_frame_free(&frame);

  std::vector<uint8_t> tallYuv;
  samples::MakePicture(0, 100, 600, &tallYuv);
  HI264DEC_FRAME tall{};
  tall.pY = tallYuv.data();
  tall.pU = tall.pY + 100 * 600;
  tall.pV = tall.pU + 50 * 300;
  tall.uWidth = 99;
  tall.uHeight = 600;
  tall.uYStride = 100;
  tall.uUVStride = 50;
  data.SetPicture(kPictureHi264, &tall, 5);
  EXPECT_FALSE(data.GetFrameInfo(&info));
  const std::string path = File("tall.bmp");
  EXPECT_EQ(data.CaptureBMP(path.c_str()), 0);
  EXPECT_EQ(data.CaptureJPEG(path.c_str()), 0);
  EXPECT_FALSE(std::filesystem::exists(path));
  tall.uWidth = 100;
  EXPECT_TRUE(data.GetFrameInfo(&info));
  EXPECT_EQ(info.u64Stamp, 5u);

  // A path that cannot be opened: BMP still answers 1, JPEG 0.
  EXPECT_EQ(data.CaptureBMP("/nonexistent-dir/x.bmp"), 1);
  EXPECT_EQ(data.CaptureJPEG("/nonexistent-dir/x.jpg"), 0);
  data.SetPicture(kPictureNone, nullptr, 0);
  EXPECT_EQ(data.CaptureBMP(path.c_str()), 0);
}

TEST_F(Captures, IFrameToBmpExportDecodesOneKeyFrame) {
  const std::string path = File("export.bmp");
  ASSERT_EQ(ZEPHPLAY_IFrameToBMP(frames[0].data.data(), static_cast<uint32_t>(frames[0].data.size()),
                                 path.c_str()), 0);
  const videotest::BmpImage bmp = videotest::ReadBmp(path);
  ASSERT_EQ(bmp.width, 320);
  EXPECT_GT(videotest::Psnr(bmp.rgb, videotest::ReferenceRgbImage(picture)), 48.0);

  // Key frames of a reordering stream come out too (held back by the decoder until the end).
  samples::VideoParams p;
  p.frames = 6;
  p.bFrames = true;
  const auto reordered = samples::EncodeVideo(p);
  ASSERT_FALSE(reordered.empty());
  EXPECT_EQ(ZEPHPLAY_IFrameToBMP(reordered[0].data.data(),
                                 static_cast<uint32_t>(reordered[0].data.size()), path.c_str()), 0);

  const uint8_t junk[64] = {0, 0, 0, 1, 0x65, 1, 2, 3};
  EXPECT_EQ(ZEPHPLAY_IFrameToBMP(junk, sizeof(junk), path.c_str()), -1);
  EXPECT_EQ(ZEPHPLAY_IFrameToBMP(nullptr, 10, path.c_str()), -1);
  EXPECT_EQ(ZEPHPLAY_IFrameToBMP(frames[0].data.data(), 0, path.c_str()), -1);
  EXPECT_EQ(ZEPHPLAY_IFrameToBMP(frames[0].data.data(), 10, nullptr), -1);
  EXPECT_EQ(ZEPHPLAY_IFrameToBMP(frames[0].data.data(),
                                 static_cast<uint32_t>(frames[0].data.size()), "/nonexistent-dir/x.bmp"), -1);
}

}  // namespace
}  // namespace zp
