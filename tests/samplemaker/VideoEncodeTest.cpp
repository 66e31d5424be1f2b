#include <gtest/gtest.h>

#include <algorithm>

#include "AvReference.h"
#include "SampleEncoder.h"

namespace zp::samples {
namespace {

const char* DecoderName(VideoCodec c) { return c == VideoCodec::H264 ? "h264" : "hevc"; }

uint64_t StampOf(size_t index, int fps) { return index * 1000000u / static_cast<uint64_t>(fps); }

// What the video tests take as given, judged by libavcodec: the units decode to the asked
// number of moving pictures of the asked size, stamped where they belong, key frames exactly every
// `gop` pictures and decodable on their own (a player joins there), B-frames as stamps out of
// order, and the same parameters give the same bytes.
TEST(EncodeVideo, DecodesToTheAskedPicturesAndKeyFrames) {
  const VideoParams cases[] = {{VideoCodec::H264, 352, 288, 24, 8, false}, {VideoCodec::H264, 352, 288, 24, 8, true},
                               {VideoCodec::H265, 352, 288, 24, 8, false}, {VideoCodec::H265, 1920, 1080, 5, 4, true}};
  for (const VideoParams& p : cases) {
    SCOPED_TRACE(testing::Message() << DecoderName(p.codec) << " " << p.width << "x" << p.height << " B " << p.bFrames);
    const std::vector<EncodedFrame> frames = EncodeVideo(p);
    ASSERT_EQ(frames.size(), static_cast<size_t>(p.frames));
    const auto earlier = [](const EncodedFrame& a, const EncodedFrame& b) { return a.stampUs < b.stampUs; };
    EXPECT_EQ(!std::is_sorted(frames.begin(), frames.end(), earlier), p.bFrames) << "stamps out of order";

    const std::vector<test::Picture> pictures = test::DecodeAllPictures(DecoderName(p.codec), frames);
    ASSERT_EQ(pictures.size(), frames.size());
    for (size_t i = 0; i < pictures.size(); ++i) {
      EXPECT_EQ(pictures[i].width, p.width);
      EXPECT_EQ(pictures[i].height, p.height);
      EXPECT_EQ(static_cast<uint64_t>(pictures[i].pts), StampOf(i, p.fps));
      EXPECT_EQ(pictures[i].key, i % static_cast<size_t>(p.gop) == 0) << "picture " << i;
      EXPECT_EQ(frames[i].key, frames[i].stampUs % StampOf(p.gop, p.fps) == 0) << "unit " << i;
    }
    std::vector<uint8_t> source;
    MakePicture(p.frames - 1, p.width, p.height, &source);
    EXPECT_GT(test::PsnrDb(source.data(), pictures.back().y.data(), pictures.back().y.size()), 28.0);
    EXPECT_NE(pictures.front().y, pictures.back().y);

    const size_t lastKey = static_cast<size_t>((p.frames - 1) / p.gop * p.gop);
    ASSERT_TRUE(frames[lastKey].key);
    const std::vector<test::Picture> tail = test::DecodeAllPictures(DecoderName(p.codec), frames, lastKey);
    ASSERT_EQ(tail.size(), frames.size() - lastKey);
    EXPECT_TRUE(tail[0].key);
    EXPECT_EQ(EncodeVideo(p)[lastKey].data, frames[lastKey].data);
  }
}

}  // namespace
}  // namespace zp::samples
