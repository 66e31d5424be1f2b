#include <SDL2/SDL.h>
#include <gtest/gtest.h>
#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include <atomic>
#include <numeric>

#include "VideoTestSupport.h"
#include "video/CDraw.h"
#include "video/CFFmpegHwGlue.h"
#include "video/CVideoDecodeData.h"
#include "video/Hi264Dec.h"

extern "C" {
#include <libavutil/frame.h>
}

namespace zp {
namespace {

using videotest::Psnr;

// A picture held as a Hi264-kind record, so the tests pick its size freely.
struct HeldPicture {
  std::vector<uint8_t> yuv;
  PictureInfo info;
  HI264DEC_FRAME record{};
  HeldPicture(int index, int w, int h) {
    samples::MakePicture(index, w, h, &yuv);
    info = videotest::ViewPicture(yuv, w, h);
    record = {info.pY, info.pU, info.pV, info.nWidth, info.nHeight, info.nYStride, info.nUVStride, 0, 0, 0};
  }
};

struct Notifications {
  std::atomic<int> decode{0}, display{0};
  uint64_t lastStamp = 0;
  uint32_t shownW = 0, index = 0;
  static void OnDecode(uint64_t stamp, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t index, void* user) {
    auto* self = static_cast<Notifications*>(user);
    ++self->decode;
    self->lastStamp = stamp;
    self->index = index;
  }
  static void OnDisplay(uint32_t, uint64_t, uint32_t, uint32_t, uint64_t, uint32_t shownW, uint32_t,
                        uint32_t, void* user) {
    auto* self = static_cast<Notifications*>(user);
    ++self->display;
    self->shownW = shownW;
  }
};

TEST(PictureOutput, HeadlessDrawThrottlesAndReinitialisesOnceOnASizeChange) {
  CDraw draw;
  Notifications n;
  draw.SetDecCB(&Notifications::OnDecode, &n);
  draw.SetDisplayCB(&Notifications::OnDisplay, &n);
  draw.SetIndex(3);
  uint32_t now = 0xFFFFFFF0u;  // the throttle works across the tick count's wrap
  CVideoDecodeData data([&now] { return now; });
  EXPECT_EQ(data.DrawFrame(nullptr), 0);
  EXPECT_EQ(data.DrawFrame(&draw), 0);  // no picture yet
  HeldPicture small(0, 320, 240);
  EXPECT_EQ(draw.Upload(small.info), -1);  // before InitDraw

  data.SetPicture(kPictureHi264, &small.record, 1000);
  EXPECT_EQ(data.DrawFrame(&draw), 1);
  EXPECT_TRUE(draw.IsInit());
  EXPECT_EQ(draw.Present(), -1);   // presented once per upload
  EXPECT_EQ(draw.DrawYUV420(small.record.pY, small.record.pU, small.record.pV, 319, 160, 1, 0), -1);
  EXPECT_EQ(n.display.load(), 1);  // headless: still notified, shown at 0 x 0
  EXPECT_EQ(n.shownW, 0u);
  EXPECT_EQ(n.index, 3u);
  EXPECT_EQ(n.lastStamp, 1000u);
  // Within 16 ms a draw answers 1 and draws nothing; at 16 ms it draws.
  for (const auto& [step, decodes] : {std::pair{15u, 1}, {1u, 2}, {15u, 2}, {16u, 3}}) {
    now += step;
    EXPECT_EQ(data.DrawFrame(&draw), 1);
    EXPECT_EQ(n.decode.load(), decodes) << "after " << step << " ms";
  }

  const char* const change = "Resolution Change (320 X 240) (640 X 360)";
  const size_t changesBefore = videotest::LogCount(change);
  HeldPicture big(0, 640, 360);
  data.SetPicture(kPictureHi264, &big.record, 2000);
  for (int i = 0; i < 2; ++i) {
    now += 16;
    EXPECT_EQ(data.DrawFrame(&draw), 1);
  }
  EXPECT_EQ(std::make_pair(draw.Width(), draw.Height()), std::make_pair(640u, 360u));
  EXPECT_EQ(videotest::LogCount(change), changesBefore + 1);

  // An abnormal picture is not drawn.
  HeldPicture narrow(0, 100, 600);
  narrow.record.uWidth = 99;
  data.SetPicture(kPictureHi264, &narrow.record, 3000);
  now += 16;
  EXPECT_EQ(data.DrawFrame(&draw), 0);
  EXPECT_EQ(n.decode.load(), 5);
}

TEST(PictureOutput, GlueReadsBackPlanarPicturesFromSemiPlanarAndPlanarFrames) {
  constexpr int kW = 162, kH = 100;  // odd chroma width: 81
  HeldPicture src(4, kW, kH);
  AVFrame* nv12 = av_frame_alloc();
  nv12->format = AV_PIX_FMT_NV12;
  nv12->width = kW;
  nv12->height = kH;
  nv12->pts = 1234;
  ASSERT_EQ(av_frame_get_buffer(nv12, 0), 0);
  for (int r = 0; r < kH; ++r) {
    std::memcpy(nv12->data[0] + r * nv12->linesize[0], src.record.pY + r * kW, kW);
    for (int x = 0; r < kH / 2 && x < kW / 2; ++x) {
      nv12->data[1][r * nv12->linesize[1] + 2 * x] = src.record.pU[r * (kW / 2) + x];
      nv12->data[1][r * nv12->linesize[1] + 2 * x + 1] = src.record.pV[r * (kW / 2) + x];
    }
  }
  CFFmpegHwGlue glue;
  PictureInfo out;
  ASSERT_TRUE(glue.RetrieveHwData(nv12, &out));
  EXPECT_EQ(out.u64Stamp, 1234u);
  EXPECT_TRUE(videotest::PackPicture(out) == videotest::PackPicture(src.info));

  nv12->format = AV_PIX_FMT_YUV420P;
  ASSERT_TRUE(glue.RetrieveHwData(nv12, &out));
  EXPECT_EQ(out.pU, nv12->data[1]);  // described in place, not copied
  EXPECT_EQ(out.nUVStride, static_cast<uint32_t>(nv12->linesize[1]));
  nv12->format = AV_PIX_FMT_RGB24;
  EXPECT_FALSE(glue.RetrieveHwData(nv12, &out));
  av_frame_free(&nv12);
}

// The window tests: a real X window on an Xvfb of the test program's own.
class WindowDraw : public ::testing::Test {
 protected:
  static constexpr int kW = 320, kH = 240;

  void SetUp() override {
    ASSERT_TRUE(server.Available()) << "Xvfb did not start (package xvfb, scripts/install-deps)";
    // The test program plays a host that uses SDL itself: it holds SDL's video subsystem and GL
    // library for its whole life, which the drawing module must leave alone. That also keeps the
    // GL driver loaded, so its process-wide allocations stay reachable for the leak checker; the
    // D-Bus connection SDL opens for input methods lasts until SDL_Quit, so it is made with leak
    // checking off.
    static const bool held = [] {
#if defined(__SANITIZE_ADDRESS__)
      __lsan::ScopedDisabler noLeakChecks;
#endif
      if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) {
        return false;
      }
      SDL_GL_LoadLibrary(nullptr);  // fails where there is no OpenGL: drawing goes without it
      return true;
    }();
    ASSERT_TRUE(held) << SDL_GetError();
    window = std::make_unique<videotest::XWindow>(kW, kH);
    ASSERT_TRUE(window->Ok());
    ASSERT_EQ(draw.SetHwnd(window->Handle()), 0);
  }

  // Draws the picture (upload, then present) and takes a screenshot of the window.
  std::vector<uint8_t> DrawAndShoot(const HeldPicture& pic) {
    if (!draw.IsInit() || draw.Width() != pic.record.uWidth) {
      draw.FreeDraw();
      EXPECT_EQ(draw.InitDraw(pic.record.uWidth, pic.record.uHeight), 0);
    }
    EXPECT_EQ(draw.Upload(pic.info), 0);
    EXPECT_EQ(draw.Present(), 0);
    EXPECT_TRUE(draw.Module()->HasRenderer());
    return window->Screenshot();
  }

  // The reference RGB of the picture scaled to the window (nearest neighbour), optionally
  // mirrored left-right.
  static std::vector<uint8_t> Expected(const HeldPicture& pic, bool mirror) {
    const PictureInfo& info = pic.info;
    const std::vector<uint8_t> rgb = videotest::ReferenceRgb(info);
    std::vector<uint8_t> out(static_cast<size_t>(kW) * kH * 3);
    for (int y = 0; y < kH; ++y) {
      for (int x = 0; x < kW; ++x) {
        const int sx = static_cast<int>((x + 0.5) * info.nWidth / kW);
        const int sy = static_cast<int>((y + 0.5) * info.nHeight / kH);
        const int mx = mirror ? static_cast<int>(info.nWidth) - 1 - sx : sx;
        std::memcpy(&out[(static_cast<size_t>(y) * kW + x) * 3],
                    &rgb[(static_cast<size_t>(sy) * info.nWidth + mx) * 3], 3);
      }
    }
    return out;
  }

  videotest::XServer& server = videotest::XServer::Shared();
  std::unique_ptr<videotest::XWindow> window;
  CDraw draw;
};

TEST_F(WindowDraw, ScreenshotsFollowScaleMirrorTextPlayRectangleAndColours) {
  const HeldPicture scaled(9, 160, 120);  // drawn at twice its size
  EXPECT_GE(Psnr(DrawAndShoot(scaled), Expected(scaled, false)), 30.0);
  const HeldPicture pic(5, kW, kH);
  const std::vector<uint8_t> plain = DrawAndShoot(pic);
  ASSERT_FALSE(plain.empty()) << "screenshot failed";
  EXPECT_GE(Psnr(plain, Expected(pic, false)), 30.0);

  ASSERT_EQ(draw.SetMirrorMode(1), 0);
  const std::vector<uint8_t> mirrored = DrawAndShoot(pic);
  EXPECT_GE(Psnr(mirrored, Expected(pic, true)), 30.0);
  EXPECT_LT(Psnr(mirrored, plain), 25.0);
  draw.SetMirrorMode(0);

  const auto count = [](int x0, int x1, int y0, int y1, const auto& holds) {
    size_t n = 0;
    for (int y = y0; y < y1; ++y) {
      for (int x = x0; x < x1; ++x) {
        n += holds((static_cast<size_t>(y) * kW + x) * 3) ? 1 : 0;
      }
    }
    return n;
  };
  ASSERT_EQ(draw.SetOSDText(2, "ZEPH 42", 10, 200, 0x00FFFF, 24, 1), 0);
  const std::vector<uint8_t> texted = DrawAndShoot(pic);
  const auto changed = [&](size_t i) {
    return std::abs(texted[i] - plain[i]) + std::abs(texted[i + 1] - plain[i + 1]) +
           std::abs(texted[i + 2] - plain[i + 2]) > 30;
  };
  const size_t changedInBox = count(10, 160, 195, 235, changed);
  EXPECT_GT(changedInBox, 200u);
  EXPECT_LT(count(0, kW, 0, kH, changed) - changedInBox, 50u);

  ASSERT_EQ(draw.SetOSDText(2, nullptr, 0, 0, 0, 0, 0), 0);
  EXPECT_GE(Psnr(DrawAndShoot(pic), plain), 40.0);  // the text is gone again

  const ZEPHPLAY_RECT half{0, 0, kW / 2, kH};
  ASSERT_EQ(draw.SetPlayRect(&half), 0);
  const std::vector<uint8_t> left = DrawAndShoot(pic);
  EXPECT_EQ(count(kW / 2 + 2, kW, 0, kH, [&](size_t i) { return left[i] != 0; }), 0u);  // black background
  draw.SetPlayRect(nullptr);

  ASSERT_EQ(draw.SetColorParams(90, 50, 50, 50, 0), 0);
  const std::vector<uint8_t> bright = DrawAndShoot(pic);
  const auto sum = [](const std::vector<uint8_t>& v) { return std::accumulate(v.begin(), v.end(), uint64_t{0}); };
  EXPECT_GT(sum(bright), sum(plain) + plain.size() * 20);
  draw.SetColorParams(0, 0, 0, 0, 1);
  EXPECT_GE(Psnr(DrawAndShoot(pic), plain), 40.0);
}

TEST_F(WindowDraw, TheHostsOwnSdlIsLeftAsItWas) {
  SDL_SetHint(SDL_HINT_VIDEO_FOREIGN_WINDOW_OPENGL, "0");
  {
    CDraw other;
    ASSERT_EQ(other.SetHwnd(window->Handle()), 0);
    ASSERT_EQ(other.InitDraw(kW, kH), 0);
    const HeldPicture pic(1, kW, kH);
    ASSERT_EQ(other.DrawYUV420(pic.record.pY, pic.record.pU, pic.record.pV, kW, kW / 2, 1, 0), 0);
    EXPECT_TRUE(other.Module()->HasRenderer());
  }
  // The module's own reference is gone; the host's video subsystem and its hint are not.
  EXPECT_NE(SDL_WasInit(SDL_INIT_VIDEO), 0u);
  EXPECT_STREQ(SDL_GetHint(SDL_HINT_VIDEO_FOREIGN_WINDOW_OPENGL), "0");
  SDL_Window* own = SDL_CreateWindow("host", 0, 0, 64, 64, SDL_WINDOW_HIDDEN);
  EXPECT_NE(own, nullptr) << SDL_GetError();
  SDL_DestroyWindow(own);
}

}  // namespace
}  // namespace zp
