#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <tuple>

extern "C" {
#include <libavutil/log.h>
}

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
    bool failInit = false, failPresent = false;
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
  int GetPictureSize(uint32_t*, uint32_t*) override { return -1; }
  Script* script;
};

class HwStates : public ::testing::Test {
 protected:
  void SetUp() override {
    Settings::nUseDXVA2 = 1;
    frames = samples::EncodeVideo({.frames = 24, .gop = 8});
    ASSERT_EQ(frames.size(), 24u);
  }
  std::unique_ptr<CVDECH264> Make(bool allowed = true, std::unique_ptr<IHwAccelGlue> glue = nullptr) {
    auto dec = std::make_unique<CVDECH264>(false, &window,
                                           glue ? std::move(glue) : std::make_unique<FakeGlue>(&script));
    dec->SetHwAllowed(allowed);
    dec->InitDecoder(0);
    return dec;
  }
  // The sum of DecodeOneFrame's answers for frames [from, to), by default frame from alone.
  int Feed(CVDECH264* dec, size_t from, size_t to = 0) {
    int sum = 0;
    for (size_t i = from; i < std::max(to, from + 1); ++i) {
      sum += videotest::DecodeFrame(dec, frames[i]);
    }
    return sum;
  }
  // The hardware path's state flags: active, failed, unsupported.
  static std::tuple<uint32_t, uint32_t, uint32_t> States(CVDECH264* dec) {
    return {dec->DxvaActive(), dec->DxvaFailed(), dec->DxvaUnsupported()};
  }
  int Pictures(CVDECH264* dec) {
    PictureInfo info;
    return dec->GetPicture(&info) ? 1 : 0;
  }

  void* window = reinterpret_cast<void*>(uintptr_t{0x1234});
  FakeGlue::Script script;
  std::vector<EncodedFrame> frames;
};

TEST_F(HwStates, OffWhenNotWantedOrNotAllowed) {
  for (const auto& [wanted, allowed] : {std::pair{1, false}, {0, true}}) {
    Settings::nUseDXVA2 = wanted;
    auto dec = Make(allowed);
    EXPECT_EQ(Feed(dec.get(), 0), 1);
    EXPECT_FALSE(dec->IsDxvaInUse());
    EXPECT_EQ(dec->HwSetOSDText(0, "x", 0, 0, 0, 0, 0), 1);  // not in the hardware path
  }
  Settings::nUseDXVA2 = 1;
  EXPECT_EQ(script.initCalls, 0);
}

TEST_F(HwStates, PendingWaitsForAKeyFrameThenActivePresentsWithoutThePicturePath) {
  auto dec = Make();
  EXPECT_EQ(Feed(dec.get(), 1), 0);  // pending: a non-key frame cannot start it
  EXPECT_EQ(script.initCalls, 0);
  EXPECT_EQ(Feed(dec.get(), 0), 1);
  EXPECT_EQ(States(dec.get()), std::make_tuple(1u, 0u, 0u));
  EXPECT_TRUE(dec->IsDxvaInUse());
  // Started once, on our window, at the size read from the parameter set, and presented.
  EXPECT_EQ(std::make_tuple(script.initCalls, script.lastWindow, script.lastCodedWidth, script.presentCalls),
            std::make_tuple(1, window, 352, 1));
  EXPECT_EQ(Pictures(dec.get()), 0);      // presented by the glue, not in the picture path
  EXPECT_EQ(Feed(dec.get(), 1, 8), 7);
  EXPECT_EQ(script.presentCalls, 8);
  dec->Refresh();
  EXPECT_EQ(script.presentAgainCalls, 1);
  EXPECT_EQ(dec->CaptureBMP("/nonexistent/x.bmp"), 1);  // from the glue's surface
}

TEST_F(HwStates, FirstStartFailingIsUnsupportedForGoodAndSoftwareCarriesOn) {
  script.failInit = true;
  auto dec = Make();
  EXPECT_EQ(Feed(dec.get(), 0), 1);
  EXPECT_EQ(States(dec.get()), std::make_tuple(0u, 0u, 1u));
  EXPECT_GE(script.detachCalls, 1);
  EXPECT_EQ(Pictures(dec.get()), 1);
  script.failInit = false;
  EXPECT_EQ(Feed(dec.get(), 1, 12), 11);
  EXPECT_EQ(script.initCalls, 1);  // never tried again, even at the key frame 8
  EXPECT_FALSE(dec->IsDxvaInUse());
}

TEST_F(HwStates, PresentFailureGoesFailedUntilTheGlueStartsAgainWithoutLooping) {
  auto dec = Make();
  ASSERT_EQ(Feed(dec.get(), 0), 1);
  ASSERT_EQ(dec->DxvaActive(), 1u);

  // Presenting fails and the restart fails too: failed, nothing shown, waits for a key frame.
  script.failPresent = true;
  script.failInit = true;
  EXPECT_EQ(Feed(dec.get(), 1), 0);
  EXPECT_EQ(States(dec.get()), std::make_tuple(0u, 1u, 0u));
  EXPECT_TRUE(dec->IsDxvaInUse());
  EXPECT_EQ(Feed(dec.get(), 2, 8), 0);
  EXPECT_EQ(Pictures(dec.get()), 0);
  const int initsBefore = script.initCalls;
  EXPECT_EQ(Feed(dec.get(), 8), 0);  // key frame: tried again, fails again
  EXPECT_EQ(script.initCalls, initsBefore + 1);
  EXPECT_EQ(dec->DxvaFailed(), 1u);

  // The glue recovers at the next key frame: active again, the frame decoded again and shown.
  script.failInit = false;
  script.failPresent = false;
  EXPECT_EQ(Feed(dec.get(), 9, 16), 0);
  const int presentsBefore = script.presentCalls;
  EXPECT_EQ(Feed(dec.get(), 16), 1);
  EXPECT_EQ(States(dec.get()), std::make_tuple(1u, 0u, 0u));
  EXPECT_EQ(script.presentCalls, presentsBefore + 1);
  EXPECT_EQ(Feed(dec.get(), 17), 1);

  // A glue that starts every time and presents never: the key frame is decoded again once only.
  script.failPresent = true;
  EXPECT_EQ(Feed(dec.get(), 0), 0);
  EXPECT_LE(script.presentCalls, presentsBefore + 4);
}

TEST_F(HwStates, SizeChangeOnAKeyFrameRestartsTheGlueAtTheNewSize) {
  const auto bigFrames = samples::EncodeVideo({.width = 640, .height = 480, .frames = 1});
  ASSERT_EQ(bigFrames.size(), 1u);
  auto dec = Make();
  ASSERT_EQ(Feed(dec.get(), 0), 1);
  EXPECT_EQ(script.initCalls, 1);
  EXPECT_EQ(Feed(dec.get(), 8), 1);  // same size: no restart
  EXPECT_EQ(script.initCalls, 1);
  const char* const change = "CVDECH264::DecodeOneFrame dxva2 change! w:352 h:288 --> w:640 h:480";
  const size_t changesBefore = videotest::LogCount(change);
  EXPECT_EQ(videotest::DecodeFrame(dec.get(), bigFrames[0]), 1);
  EXPECT_EQ(videotest::LogCount(change), changesBefore + 1);
  EXPECT_EQ(std::make_tuple(script.initCalls, script.lastCodedWidth, dec->Width()), std::make_tuple(2, 640, 640u));
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
  auto dec = Make(true, CreatePlatformHwAccelGlue());
  const int pictures = Feed(dec.get(), 0, frames.size());
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
