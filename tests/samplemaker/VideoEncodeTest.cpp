#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <string>

#include "AvDecode.h"
#include "SampleEncoder.h"

namespace zp::samples {
namespace {

using test::AvDecoder;
using test::DecodedPicture;

const char* DecoderName(VideoCodec c) { return c == VideoCodec::H264 ? "h264" : "hevc"; }

uint64_t StampOf(int index, int fps) { return static_cast<uint64_t>(index) * 1000000u / static_cast<uint64_t>(fps); }

// Decodes the access units from `first` on, each with its stamp as pts.
std::vector<DecodedPicture> Decode(VideoCodec codec, const std::vector<EncodedFrame>& frames, size_t first = 0) {
  AvDecoder dec(DecoderName(codec));
  std::vector<DecodedPicture> out;
  EXPECT_TRUE(dec.ok());
  for (size_t i = first; i < frames.size() && dec.ok(); ++i) {
    EXPECT_TRUE(dec.Video(frames[i].data.data(), frames[i].data.size(), static_cast<int64_t>(frames[i].stampUs), &out));
  }
  if (dec.ok()) {
    dec.Video(nullptr, 0, 0, &out);
  }
  return out;
}

double LumaPsnr(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b, size_t n) {
  double se = 0;
  for (size_t i = 0; i < n; ++i) {
    const double d = static_cast<double>(a[i]) - b[i];
    se += d * d;
  }
  const double mse = se / static_cast<double>(n);
  return mse == 0 ? 99.0 : 10.0 * std::log10(255.0 * 255.0 / mse);
}

// What the encoder hands out decodes, through an outside decoder, to the asked number of pictures
// of the asked size, with key frames exactly every `gop` pictures and stamps that say where; the
// pictures are the synthetic ones, and they move.
TEST(EncodeVideo, DecodesToTheAskedPicturesAndKeyFrames) {
  struct Case {
    VideoCodec codec;
    int width, height, frames, gop;
    bool bFrames;
  } cases[] = {{VideoCodec::H264, 352, 288, 24, 8, false}, {VideoCodec::H264, 352, 288, 24, 8, true},
               {VideoCodec::H265, 352, 288, 24, 8, false}, {VideoCodec::H265, 352, 288, 24, 8, true},
               {VideoCodec::H264, 1920, 1080, 4, 2, false}, {VideoCodec::H265, 1920, 1080, 5, 4, true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << DecoderName(c.codec) << " " << c.width << "x" << c.height
                                    << (c.bFrames ? " with B-frames" : ""));
    VideoParams p;
    p.codec = c.codec;
    p.width = c.width;
    p.height = c.height;
    p.frames = c.frames;
    p.gop = c.gop;
    p.bFrames = c.bFrames;
    const std::vector<EncodedFrame> frames = EncodeVideo(p);
    ASSERT_EQ(frames.size(), static_cast<size_t>(c.frames));

    // The stamps and the Annex-B framing are judged by the decoder below; the key flags here.
    std::set<uint64_t> keyStamps;
    std::set<uint64_t> expectedKeys;
    bool reordered = false;
    for (size_t i = 0; i < frames.size(); ++i) {
      if (frames[i].key) {
        keyStamps.insert(frames[i].stampUs);
      }
      if (i % static_cast<size_t>(c.gop) == 0) {
        expectedKeys.insert(StampOf(static_cast<int>(i), p.fps));
      }
      reordered = reordered || (i > 0 && frames[i].stampUs < frames[i - 1].stampUs);
    }
    EXPECT_EQ(keyStamps, expectedKeys);
    EXPECT_EQ(reordered, c.bFrames) << "B-frames show as stamps out of order in decode order";

    const std::vector<DecodedPicture> pictures = Decode(c.codec, frames);
    ASSERT_EQ(pictures.size(), static_cast<size_t>(c.frames));
    for (size_t i = 0; i < pictures.size(); ++i) {
      EXPECT_EQ(pictures[i].width, c.width);
      EXPECT_EQ(pictures[i].height, c.height);
      EXPECT_EQ(static_cast<uint64_t>(pictures[i].pts), StampOf(static_cast<int>(i), p.fps));
      EXPECT_EQ(pictures[i].key, i % static_cast<size_t>(c.gop) == 0) << "picture " << i;
    }
    std::vector<uint8_t> source;
    const int probe = c.frames - 1;
    MakePicture(probe, c.width, c.height, &source);
    const size_t lumaSize = static_cast<size_t>(c.width) * c.height;
    EXPECT_GT(LumaPsnr(source, pictures[static_cast<size_t>(probe)].luma, lumaSize), 28.0);
    EXPECT_NE(pictures.front().luma, pictures.back().luma);
  }
}

// Each key frame carries its parameter sets, so a player that joins at any key frame can decode;
// and the same parameters give the same bytes, so a failure can be replayed.
TEST(EncodeVideo, KeyFramesStandAloneAndOutputRepeats) {
  for (VideoCodec codec : {VideoCodec::H264, VideoCodec::H265}) {
    VideoParams p;
    p.codec = codec;
    p.frames = 12;
    p.gop = 5;
    const std::vector<EncodedFrame> frames = EncodeVideo(p);
    ASSERT_EQ(frames.size(), 12u);
    ASSERT_TRUE(frames[10].key);
    const std::vector<DecodedPicture> tail = Decode(codec, frames, 10);
    ASSERT_EQ(tail.size(), 2u);
    EXPECT_TRUE(tail[0].key);

    const std::vector<EncodedFrame> again = EncodeVideo(p);
    ASSERT_EQ(again.size(), frames.size());
    for (size_t i = 0; i < frames.size(); ++i) {
      EXPECT_EQ(again[i].data, frames[i].data);
      EXPECT_EQ(again[i].stampUs, frames[i].stampUs);
    }
  }
}

TEST(EncodeVideo, RefusesBadParameters) {
  const auto refused = [](auto change) {
    VideoParams p;
    p.frames = 2;
    change(p);
    return EncodeVideo(p).empty();
  };
  EXPECT_TRUE(refused([](VideoParams& p) { p.width = 351; }));
  EXPECT_TRUE(refused([](VideoParams& p) { p.frames = 0; }));
  EXPECT_TRUE(refused([](VideoParams& p) { p.gop = 0; }));
  EXPECT_TRUE(refused([](VideoParams& p) { p.preset = "no-such-preset"; }));
  EXPECT_FALSE(refused([](VideoParams&) {}));
}

}  // namespace
}  // namespace zp::samples
