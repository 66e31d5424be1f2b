#include <gtest/gtest.h>

#include "video/CDrawParams.h"

namespace zp {
namespace {

using Rect = CDrawParams::Rect;

// Values a setter refuses (zoom below 100 or above 800, negative or missing offsets, an empty
// play rectangle, colour above 100) change nothing.
TEST(DrawParams, SourceRectCropsAndZoomsInsideThePicture) {
  const struct {
    ZEPHPLAY_POINT start, end;
    uint32_t zoom, zx, zy;
    Rect want;
  } cases[] = {
      {{10, 20}, {30, 40}, 100, 0, 0, {10, 20, 280, 180}},
      {{200, 0}, {119, 0}, 100, 0, 0, {0, 0, 320, 240}},   // would leave 1 pixel: ignored
      {{-1, 0}, {0, 0}, 99, 0, 0, {0, 0, 320, 240}},       // refused
      {{0, 0}, {0, -1}, 801, 0, 0, {0, 0, 320, 240}},      // refused
      {{0, 0}, {0, 0}, 200, 0, 0, {80, 60, 160, 120}},     // centred
      {{0, 0}, {0, 0}, 200, 310, 5, {160, 0, 160, 120}},   // pushed back inside
      {{10, 20}, {30, 40}, 400, 0, 0, {115, 88, 70, 45}},  // zoom within the crop
  };
  for (const auto& c : cases) {
    CDrawParams p;
    p.SetOffsetStart(1, &c.start);
    p.SetOffsetEnd(&c.end);
    EXPECT_EQ(p.SetZoom(c.zoom, c.zx, c.zy), c.zoom >= 100 && c.zoom <= 800 ? 0 : -1);
    EXPECT_EQ(p.SourceRect(320, 240), c.want) << c.start.x << "," << c.zoom << "," << c.zx;
  }
}

TEST(DrawParams, TargetRectClipsThePlayRectangleAndKeepsTheAspect) {
  const struct {
    ZEPHPLAY_RECT play;
    bool keep;
    Rect src, want;
  } cases[] = {
      {{0, 0, 0, 0}, false, {0, 0, 320, 240}, {0, 0, 640, 480}},  // empty: refused
      {{0, 0, 0, 0}, true, {0, 0, 320, 120}, {0, 120, 640, 240}},
      {{0, 0, 0, 0}, true, {0, 0, 100, 400}, {260, 0, 120, 480}},
      {{10, 10, 110, 60}, false, {0, 0, 320, 240}, {10, 10, 100, 50}},
      {{600, 400, 900, 900}, false, {0, 0, 320, 240}, {600, 400, 40, 80}},
      {{0, 0, 320, 480}, true, {0, 0, 320, 240}, {0, 120, 320, 240}},
  };
  for (const auto& c : cases) {
    CDrawParams p;
    p.SetPlayRect(&c.play);
    p.SetKeepAspect(c.keep);
    EXPECT_EQ(p.TargetRect(c.src, 640, 480), c.want) << c.src.w << "x" << c.src.h << " " << c.keep;
  }
}

TEST(DrawParams, ColourAdjustmentOfLumaAndChroma) {
  const struct {
    uint32_t b, c, s, h;
    uint8_t y[4], u, v;
  } cases[] = {
      {50, 50, 50, 50, {16, 100, 235, 255}, 200, 60},   // neutral: unchanged
      {101, 0, 0, 0, {16, 100, 235, 255}, 200, 60},     // refused
      {100, 50, 50, 50, {144, 228, 255, 255}, 200, 60},
      {0, 50, 50, 50, {0, 0, 107, 127}, 200, 60},
      {50, 0, 50, 50, {16, 16, 16, 16}, 200, 60},
      {50, 100, 50, 50, {16, 184, 255, 255}, 200, 60},
      {50, 50, 0, 50, {16, 100, 235, 255}, 128, 128},
      {50, 50, 50, 100, {16, 100, 235, 255}, 56, 196},  // hue turned half way round
      {50, 50, 50, 75, {16, 100, 235, 255}, 196, 200},  // a quarter
  };
  const uint8_t y[4] = {16, 100, 235, 255}, u = 200, v = 60;
  PictureInfo in{.nWidth = 2, .nHeight = 2, .pY = y, .nYStride = 2, .pU = &u, .pV = &v, .nUVStride = 1};
  for (const auto& c : cases) {
    CDrawParams p;
    p.SetColorParams(c.b, c.c, c.s, c.h, 0);
    uint8_t out[6] = {};
    p.ApplyColor(in, out);
    const uint8_t want[6] = {c.y[0], c.y[1], c.y[2], c.y[3], c.u, c.v};
    EXPECT_TRUE(std::equal(out, out + 6, want)) << c.b << " " << c.c << " " << c.s << " " << c.h;
  }
}

}  // namespace
}  // namespace zp
