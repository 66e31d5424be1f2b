#include <gtest/gtest.h>

#include <filesystem>

#include "VideoTestSupport.h"
#include "video/CVDECH264.h"
#include "video/Hi264Dec.h"
#include "video/PictureCapture.h"
#include "zephplay.h"

namespace zp {
namespace {

// A decoded picture from a real stream: odd strides and all.
class Captures : public ::testing::Test {
 protected:
  void SetUp() override {
    frames = samples::EncodeVideo({.width = 320, .height = 240, .frames = 1});
    ASSERT_EQ(frames.size(), 1u);
    decoder.InitDecoder(0);
    ASSERT_EQ(decoder.DecodeOneFrame(CVDEC::kKeyFrameType, frames[0].data.data(),
                                     static_cast<uint32_t>(frames[0].data.size()), 40000), 1);
    ASSERT_TRUE(decoder.GetPicture(&picture));
  }
  std::string File(const std::string& name) const { return (dir.path() / name).string(); }

  TempDir dir;
  std::vector<samples::EncodedFrame> frames;
  CVDECH264 decoder{false, nullptr};
  PictureInfo picture;
};

// The BMP against the reference conversion, the JPEG (baseline 4:4:4 with a comment) against the BMP.
TEST_F(Captures, BmpEqualsTheReferenceConversionAndJpegIsCloseToIt) {
  const std::string bmpPath = File("a.bmp");
  const std::string jpgPath = File("a.jpg");
  ASSERT_EQ(decoder.CaptureBMP(bmpPath.c_str()), 1);
  ASSERT_EQ(decoder.CaptureJPEG(jpgPath.c_str()), 1);
  const videotest::BmpImage bmp = videotest::ReadBmp(bmpPath);
  ASSERT_EQ(std::make_pair(bmp.width, bmp.height), std::make_pair(320, 240));
  const std::vector<uint8_t> ref = videotest::ReferenceRgb(picture);
  int worst = 0;
  for (size_t i = 0; i < ref.size(); ++i) {
    worst = std::max(worst, std::abs(static_cast<int>(ref[i]) - bmp.rgb[i]));
  }
  EXPECT_LE(worst, 1);  // fixed point against floating point

  const videotest::JpegImage jpg = videotest::ReadJpeg(jpgPath);
  ASSERT_EQ(std::make_pair(jpg.width, jpg.height), std::make_pair(320, 240));
  for (int c = 0; c < 3; ++c) {
    EXPECT_EQ(jpg.hSamp[c] * 10 + jpg.vSamp[c], 11) << "component " << c;  // 4:4:4
  }
  EXPECT_FALSE(jpg.comment.empty());
  EXPECT_GE(videotest::Psnr(jpg.rgb, bmp.rgb), 38.0);

  // Rows padded to four bytes: an odd width.
  std::vector<uint8_t> yuv;
  samples::MakePicture(3, 102, 100, &yuv);
  const PictureInfo odd = videotest::ViewPicture(yuv, 102, 100);
  ASSERT_EQ(SavePictureBMP(odd, bmpPath.c_str()), CaptureResult::kWritten);
  const videotest::BmpImage oddBmp = videotest::ReadBmp(bmpPath);
  ASSERT_EQ(oddBmp.width, 102);
  EXPECT_GT(videotest::Psnr(oddBmp.rgb, videotest::ReferenceRgb(odd)), 48.0);
}

TEST_F(Captures, PicturesBelow100AreAbnormalAndUnwritablePathsKeepTheirAnswers) {
  std::vector<uint8_t> yuv;
  samples::MakePicture(0, 100, 600, &yuv);
  const PictureInfo view = videotest::ViewPicture(yuv, 100, 600);
  HI264DEC_FRAME tall{view.pY, view.pU, view.pV, 0, 0, 100, 50, 0, 0, 0};
  CVideoDecodeData data;
  data.SetPicture(kPictureHi264, &tall, 5);
  const std::string path = File("tall.bmp");
  PictureInfo info;
  for (const auto& [w, h, ok] : {std::tuple{99u, 600u, false}, {100u, 99u, false}, {100u, 100u, true}}) {
    tall.uWidth = w;
    tall.uHeight = h;
    EXPECT_EQ(data.GetFrameInfo(&info), ok) << w << " x " << h;
    EXPECT_EQ(data.CaptureBMP(path.c_str()), ok ? 1 : 0);
    EXPECT_EQ(data.CaptureJPEG(path.c_str()), ok ? 1 : 0);
    EXPECT_EQ(std::filesystem::exists(path), ok);
  }
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
  EXPECT_GT(videotest::Psnr(bmp.rgb, videotest::ReferenceRgb(picture)), 48.0);

  // Key frames of a reordering stream come out too (held back by the decoder until the end).
  const auto reordered = samples::EncodeVideo({.frames = 6, .bFrames = true});
  ASSERT_FALSE(reordered.empty());
  EXPECT_EQ(ZEPHPLAY_IFrameToBMP(reordered[0].data.data(),
                                 static_cast<uint32_t>(reordered[0].data.size()), path.c_str()), 0);

  const uint8_t junk[64] = {0, 0, 0, 1, 0x65, 1, 2, 3};
  const uint8_t* key = frames[0].data.data();
  const uint32_t size = static_cast<uint32_t>(frames[0].data.size());
  for (const auto& [data, length, to] : {std::tuple{junk, uint32_t{sizeof(junk)}, path.c_str()},
                                         {nullptr, 10u, path.c_str()}, {key, 0u, path.c_str()},
                                         {key, size, nullptr}, {key, size, "/nonexistent-dir/x.bmp"}}) {
    EXPECT_EQ(ZEPHPLAY_IFrameToBMP(data, length, to), -1) << length;
  }
}

}  // namespace
}  // namespace zp
