#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>

extern "C" {
#include <libavutil/log.h>
}

#include "SampleEncoder.h"
#include "VideoTestSupport.h"
#include "common/Settings.h"
#include "video/CVDECH264.h"

namespace zp {
namespace {

using samples::EncodedFrame;

// A glue whose every step can be made to fail. It never touches the codec context, so the
// decoding underneath stays software and each transition can be watched on its own.
struct FakeGlue : IHwAccelGlue {
  struct Script {
    int initCalls = 0, detachCalls = 0, presentCalls = 0, presentAgainCalls = 0;
    bool failInit = false;      // no device / initialisation fails
    bool failPresent = false;   // presenting fails
    void* lastWindow = nullptr;
    int lastCodedWidth = 0;
  };
  explicit FakeGlue(Script* s) : script(s) {}
  bool Init(AVCodecContext* ctx, void* hWnd) override {
    ++script->initCalls;
    script->lastWindow = hWnd;
    script->lastCodedWidth = ctx->coded_width;
    return !script->failInit;
  }
  void Detach(AVCodecContext*) override { ++script->detachCalls; }
  AVPixelFormat GetFormat(AVCodecContext*, const AVPixelFormat*) override { return AV_PIX_FMT_NONE; }
  int Present(AVCodecContext*, const AVFrame*) override {
    ++script->presentCalls;
    return script->failPresent ? -1 : 0;
  }
  int PresentAgain() override {
    ++script->presentAgainCalls;
    return 0;
  }
  bool CaptureBMP(const char*) override { return true; }
  bool CaptureJPEG(const char*) override { return false; }
  int SetOSDText(uint32_t, const char*, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) override { return 0; }
  int SetColorParams(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) override { return 0; }
  int GetPictureSize(uint32_t* w, uint32_t* h) override {
    *w = 1;
    *h = 2;
    return 0;
  }
  Script* script;
};

class HwStates : public ::testing::Test {
 protected:
  void SetUp() override {
    Settings::nUseDXVA2 = 1;
    samples::VideoParams p;
    p.frames = 24;
    p.gop = 8;
    frames = samples::EncodeVideo(p);
    ASSERT_EQ(frames.size(), 24u);
    samples::VideoParams big = p;
    big.width = 640;
    big.height = 480;
    bigFrames = samples::EncodeVideo(big);
  }
  std::unique_ptr<CVDECH264> Make(bool allowed = true) {
    auto dec = std::make_unique<CVDECH264>(false, &window, std::make_unique<FakeGlue>(&script));
    dec->SetHwAllowed(allowed);
    dec->InitDecoder(0);
    return dec;
  }
  int Feed(CVDECH264* dec, const EncodedFrame& f) {
    return dec->DecodeOneFrame(f.key ? CVDEC::kKeyFrameType : 0x63643100, f.data.data(),
                               static_cast<uint32_t>(f.data.size()), f.stampUs);
  }
  int Pictures(CVDECH264* dec) {
    PictureInfo info;
    return dec->GetPicture(&info) ? 1 : 0;
  }

  void* window = reinterpret_cast<void*>(uintptr_t{0x1234});
  FakeGlue::Script script;
  std::vector<EncodedFrame> frames, bigFrames;
};

TEST_F(HwStates, OffWhenNotWantedOrNotAllowed) {
  auto notAllowed = Make(false);
  EXPECT_EQ(Feed(notAllowed.get(), frames[0]), 1);
  Settings::nUseDXVA2 = 0;
  auto notWanted = Make(true);
  Settings::nUseDXVA2 = 1;
  EXPECT_EQ(Feed(notWanted.get(), frames[0]), 1);
  EXPECT_EQ(script.initCalls, 0);
  EXPECT_FALSE(notWanted->IsDxvaInUse());
  EXPECT_EQ(notAllowed->HwSetOSDText(0, "x", 0, 0, 0, 0, 0), 1);  // not in the hardware path
}

TEST_F(HwStates, PendingWaitsForAKeyFrameThenActivePresentsWithoutThePicturePath) {
  auto dec = Make();
  EXPECT_EQ(Feed(dec.get(), frames[1]), 0);  // pending: a non-key frame cannot start it
  EXPECT_EQ(script.initCalls, 0);
  EXPECT_EQ(Feed(dec.get(), frames[0]), 1);
  EXPECT_EQ(dec->DxvaActive(), 1u);
  EXPECT_TRUE(dec->IsDxvaInUse());
  EXPECT_EQ(script.initCalls, 1);
  EXPECT_EQ(script.lastWindow, window);
  EXPECT_EQ(script.lastCodedWidth, 352);  // the size read from the parameter set
  EXPECT_EQ(script.presentCalls, 1);
  EXPECT_EQ(Pictures(dec.get()), 0);      // presented by the glue, not in the picture path
  for (size_t i = 1; i < 8; ++i) {
    EXPECT_EQ(Feed(dec.get(), frames[i]), 1);
  }
  EXPECT_EQ(script.presentCalls, 8);
  dec->Refresh();
  EXPECT_EQ(script.presentAgainCalls, 1);
  uint32_t w = 0, h = 0;
  EXPECT_EQ(dec->HwGetPictureSize(&w, &h), 0);
  EXPECT_EQ(dec->CaptureBMP("/nonexistent/x.bmp"), 1);  // from the glue's surface
}

TEST_F(HwStates, FirstStartFailingIsUnsupportedForGoodAndSoftwareCarriesOn) {
  script.failInit = true;
  auto dec = Make();
  EXPECT_EQ(Feed(dec.get(), frames[0]), 1);
  EXPECT_EQ(dec->DxvaUnsupported(), 1u);
  EXPECT_EQ(dec->DxvaActive(), 0u);
  EXPECT_GE(script.detachCalls, 1);
  EXPECT_EQ(Pictures(dec.get()), 1);
  script.failInit = false;
  for (size_t i = 1; i < 12; ++i) {
    EXPECT_EQ(Feed(dec.get(), frames[i]), 1);
  }
  EXPECT_EQ(script.initCalls, 1);  // never tried again, even at the key frame 8
  EXPECT_FALSE(dec->IsDxvaInUse());
}

TEST_F(HwStates, PresentFailureGoesFailedUntilTheGlueStartsAgainOnAKeyFrame) {
  auto dec = Make();
  ASSERT_EQ(Feed(dec.get(), frames[0]), 1);
  ASSERT_EQ(dec->DxvaActive(), 1u);

  // Presenting fails and the restart fails too: failed, nothing shown, waits for a key frame.
  script.failPresent = true;
  script.failInit = true;
  EXPECT_EQ(Feed(dec.get(), frames[1]), 0);
  EXPECT_EQ(dec->DxvaFailed(), 1u);
  EXPECT_EQ(dec->DxvaUnsupported(), 0u);
  EXPECT_TRUE(dec->IsDxvaInUse());
  for (size_t i = 2; i < 8; ++i) {
    EXPECT_EQ(Feed(dec.get(), frames[i]), 0);
  }
  EXPECT_EQ(Pictures(dec.get()), 0);
  const int initsBefore = script.initCalls;
  EXPECT_EQ(Feed(dec.get(), frames[8]), 0);  // key frame: tried again, fails again
  EXPECT_EQ(script.initCalls, initsBefore + 1);
  EXPECT_EQ(dec->DxvaFailed(), 1u);

  // The glue recovers at the next key frame: active again, the frame decoded again and shown.
  script.failInit = false;
  script.failPresent = false;
  for (size_t i = 9; i < 16; ++i) {
    EXPECT_EQ(Feed(dec.get(), frames[i]), 0);
  }
  const int presentsBefore = script.presentCalls;
  EXPECT_EQ(Feed(dec.get(), frames[16]), 1);
  EXPECT_EQ(dec->DxvaActive(), 1u);
  EXPECT_EQ(dec->DxvaFailed(), 0u);
  EXPECT_EQ(script.presentCalls, presentsBefore + 1);
  EXPECT_EQ(Feed(dec.get(), frames[17]), 1);
}

TEST_F(HwStates, RestartingGlueThatNeverPresentsDoesNotLoop) {
  auto dec = Make();
  ASSERT_EQ(Feed(dec.get(), frames[0]), 1);
  script.failPresent = true;  // starts every time, presents never
  EXPECT_EQ(Feed(dec.get(), frames[8]), 0);
  EXPECT_LE(script.presentCalls, 3);
}

TEST_F(HwStates, SizeChangeOnAKeyFrameRestartsTheGlueAtTheNewSize) {
  ASSERT_FALSE(bigFrames.empty());
  auto dec = Make();
  ASSERT_EQ(Feed(dec.get(), frames[0]), 1);
  EXPECT_EQ(script.initCalls, 1);
  EXPECT_EQ(Feed(dec.get(), frames[8]), 1);  // same size: no restart
  EXPECT_EQ(script.initCalls, 1);
  const char* const change =
      "CVDECH264::DecodeOneFrame dxva2 change! w:352 h:288 --> w:640 h:480";
  const size_t changesBefore = videotest::CountIn(videotest::LogText(), change);
  EXPECT_EQ(Feed(dec.get(), bigFrames[0]), 1);
  EXPECT_EQ(videotest::CountIn(videotest::LogText(), change), changesBefore + 1);
  EXPECT_EQ(script.initCalls, 2);
  EXPECT_EQ(script.lastCodedWidth, 640);
  EXPECT_EQ(dec->Width(), 640u);
  EXPECT_EQ(dec->DxvaActive(), 1u);
}

TEST_F(HwStates, PlatformGlueFallsBackToSoftwareWithoutHardware) {
  // This machine has no hardware decoder (or no window): the real glue must leave a working
  // software decoder behind.
  static std::string glueMessages;
  av_log_set_callback([](void*, int level, const char* format, va_list args) {
    if (level <= AV_LOG_ERROR) {
      char line[256];
      std::vsnprintf(line, sizeof(line), format, args);
      glueMessages += line;
    }
  });
  auto dec = std::make_unique<CVDECH264>(false, &window);
  dec->SetHwAllowed(true);
  dec->InitDecoder(0);
  int pictures = 0;
  for (const auto& f : frames) {
    pictures += Feed(dec.get(), f);
  }
  av_log_set_callback(&av_log_default_callback);
  if (dec->DxvaActive() != 0) {
    GTEST_SKIP() << "hardware decoding is available here";
  }
  EXPECT_EQ(dec->DxvaUnsupported(), 1u);
  EXPECT_NE(glueMessages.find(hwmsg::kCreateDevice), std::string::npos) << glueMessages;
  EXPECT_EQ(pictures, 24);
}

}  // namespace
}  // namespace zp
