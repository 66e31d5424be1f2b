#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>

#include "VideoTestSupport.h"
#include "common/CLibraryConfig.h"
#include "video/CVDECH264.h"
#include "video/CVDECHi265.h"
#include "video/CVDECHis.h"

namespace zp {
namespace {

using samples::EncodedFrame;
using samples::VideoCodec;
using test::Picture;

std::vector<EncodedFrame> Encode(VideoCodec codec, int w, int h, int frames, bool bFrames,
                                 int gop = 12) {
  return samples::EncodeVideo(
      {.codec = codec, .width = w, .height = h, .frames = frames, .gop = gop, .bFrames = bFrames});
}

// Packs each picture an initialised decoder puts out (via its picture callback and its current
// picture, which must agree) and the sizes its size callback reports.
struct Collector {
  CVDEC* dec;
  std::vector<Picture> pictures;
  std::vector<std::pair<int, int>> sizes;
  int mismatches = 0;

  explicit Collector(CVDEC* d) : dec(d) {
    dec->SetDecCallBack(reinterpret_cast<uintptr_t>(this), &OnPicture);
    dec->SetSizeCallBack(&OnSize, reinterpret_cast<uintptr_t>(this));
  }
  static void OnPicture(uint64_t user, const uint8_t* y, const uint8_t* u, const uint8_t* v,
                        int32_t ys, int32_t us, int32_t vs, int32_t w, int32_t h, uint64_t) {
    auto* self = reinterpret_cast<Collector*>(static_cast<uintptr_t>(user));
    self->pictures.push_back(videotest::PackPicture(y, u, v, ys, us, w, h));
    if (us != vs) {
      ++self->mismatches;
    }
  }
  static void OnSize(int32_t w, int32_t h, uint64_t user) {
    reinterpret_cast<Collector*>(static_cast<uintptr_t>(user))->sizes.emplace_back(w, h);
  }
  // Feeds frames [from, to); answers the sum of DecodeOneFrame's answers.
  int Feed(const std::vector<EncodedFrame>& frames, size_t from = 0, size_t to = SIZE_MAX) {
    int out = 0;
    for (size_t i = from; i < std::min(to, frames.size()); ++i) {
      const size_t before = pictures.size();
      const int r = videotest::DecodeFrame(dec, frames[i]);
      out += r;
      // A picture out: a callback, its last picture GetPicture's. None: no callback.
      PictureInfo info;
      const bool agree = r == 1 ? pictures.size() > before && dec->GetPicture(&info) &&
                                      videotest::PackPicture(info) == pictures.back()
                                : pictures.size() == before;
      mismatches += agree ? 0 : 1;
    }
    return out;
  }
};

// The pictures a decoder put out are libavcodec's first ones for the same units, bit for bit,
// and only the reordering delay is missing at the end.
void ExpectPrefixOf(const std::vector<Picture>& got, const std::vector<EncodedFrame>& frames, bool hevc,
                    size_t maxMissing) {
  const std::vector<Picture> ref = test::DecodeAllPictures(hevc ? "hevc" : "h264", frames);
  ASSERT_LE(got.size(), ref.size());
  EXPECT_GE(got.size() + maxMissing, ref.size());
  for (size_t i = 0; i < got.size(); ++i) {
    ASSERT_TRUE(got[i] == ref[i]) << "picture " << i << " differs";
  }
}

class H264DecoderMatches : public ::testing::TestWithParam<std::tuple<VideoCodec, bool>> {};

// The stream changes size at frame 36: a size callback each time, pictures bit for bit.
TEST_P(H264DecoderMatches, PlanesEqualDirectDecodeAndEarlyFramesAreDropped) {
  const auto [codec, bFrames] = GetParam();
  const bool hevc = codec == VideoCodec::H265;
  auto frames = Encode(codec, 352, 288, 36, bFrames);
  const auto second = Encode(codec, 640, 360, 12, bFrames);
  frames.insert(frames.end(), second.begin(), second.end());
  ASSERT_EQ(frames.size(), 48u);

  CVDECH264 dec(hevc, nullptr);
  ASSERT_EQ(dec.InitDecoder(0), 1u);
  Collector col(&dec);
  const int delivered = col.Feed(frames);
  EXPECT_EQ(delivered, static_cast<int>(col.pictures.size()));
  EXPECT_EQ(col.mismatches, 0);
  ExpectPrefixOf(col.pictures, frames, hevc, 4);
  const std::vector<std::pair<int, int>> sizes = {{352, 288}, {640, 360}};
  EXPECT_EQ(col.sizes, sizes);

  // Joining mid-GOP: nothing comes out before the next key frame, then it decodes as a
  // stream that starts there.
  CVDECH264 late(hevc, nullptr);
  late.InitDecoder(0);
  Collector lateCol(&late);
  EXPECT_EQ(lateCol.Feed(frames, 3, 12), 0);
  ASSERT_TRUE(frames[12].key);
  lateCol.Feed(frames, 12);
  const std::vector<EncodedFrame> tail(frames.begin() + 12, frames.end());
  ExpectPrefixOf(lateCol.pictures, tail, hevc, 4);
  EXPECT_GT(lateCol.pictures.size(), 27u);
}

INSTANTIATE_TEST_SUITE_P(Streams, H264DecoderMatches,
                         ::testing::Combine(::testing::Values(VideoCodec::H264, VideoCodec::H265),
                                            ::testing::Values(false, true)),
                         [](const auto& info) {
                           return std::string(std::get<0>(info.param) == VideoCodec::H264 ? "H264" : "HEVC") +
                                  (std::get<1>(info.param) ? "_BFrames" : "_NoBFrames");
                         });

TEST(HisiDecoders, GiveLibavcodecsPictures) {
  const auto check = [](CVDEC* dec, VideoCodec codec, bool bFrames, size_t maxMissing) {
    const auto frames = Encode(codec, 352, 288, 30, bFrames);
    Collector col(dec);
    col.Feed(frames);
    EXPECT_EQ(col.mismatches, 0);
    ExpectPrefixOf(col.pictures, frames, codec == VideoCodec::H265, maxMissing);
  };
  // Without reordering every frame gives its picture; with B-frames Hi264 drains every picture it
  // holds back.
  CVDECHis his, hisB;
  EXPECT_EQ(his.InitDecoder(0), 1u);
  check(&his, VideoCodec::H264, false, 0);
  hisB.InitDecoder(0);
  check(&hisB, VideoCodec::H264, true, 4);

  CVDECHi265 hi265;
  // The core came up, yet the initialised flag stays clear: set on failure only.
  EXPECT_EQ(hi265.InitDecoder(0), 0u);
  EXPECT_TRUE(hi265.HasCore());
  EXPECT_FALSE(hi265.IsInit());
  check(&hi265, VideoCodec::H265, false, 1);
}

TEST(HisiDecoders, MacroblockLimitsFollowThePictureClass) {
  // 1280x720 exceeds the D1 limit (768 x 640) and fits the 720P and 1080P ones.
  const auto frames = Encode(VideoCodec::H264, 1280, 720, 3, false);
  for (const auto& [picClass, pictures] : {std::pair<uint8_t, int>{4, 0}, {2, 0}, {5, 3}, {6, 3}}) {
    CVDECHis his;
    his.SetPictureClass(picClass);
    his.InitDecoder(0);
    Collector col(&his);
    EXPECT_EQ(col.Feed(frames), pictures) << static_cast<int>(picClass);
    EXPECT_EQ(col.pictures.size(), static_cast<size_t>(pictures));
  }
}

TEST(H264Decoder, BadInputNeverCrashesAndDecodingResumesAtTheNextKeyFrame) {
  for (VideoCodec codec : {VideoCodec::H264, VideoCodec::H265}) {
    const bool hevc = codec == VideoCodec::H265;
    const auto frames = Encode(codec, 352, 288, 24, false);
    CVDECH264 dec(hevc, nullptr);
    dec.InitDecoder(0);
    std::mt19937 rng(7);
    std::vector<uint8_t> noise(4000);
    std::generate(noise.begin(), noise.end(), [&rng] { return static_cast<uint8_t>(rng()); });
    // Random bytes announced as a key frame, then truncated units, then an empty frame.
    const char* const failed = "CVDECH264::DecodeOneFrame iframe fail data bframe:";
    const size_t failedBefore = videotest::LogCount(failed);
    EXPECT_EQ(dec.DecodeOneFrame(CVDEC::kKeyFrameType, noise.data(),
                                 static_cast<uint32_t>(noise.size()), 0), 0);
    EXPECT_GT(videotest::LogCount(failed), failedBefore);
    for (size_t i = 0; i < 12; ++i) {
      const auto& f = frames[i];
      dec.DecodeOneFrame(videotest::FrameType(f), f.data.data(), static_cast<uint32_t>(f.data.size() / 3), f.stampUs);
    }
    EXPECT_EQ(dec.DecodeOneFrame(CVDEC::kKeyFrameType, nullptr, 0, 0), 0);

    // A parameter set claiming an absurd size: the first bytes after the start code of the
    // key frame's first unit are mangled.
    std::vector<uint8_t> absurd = frames[0].data;
    for (size_t i = 5; i < 14 && i < absurd.size(); ++i) {
      absurd[i] = 0xFF;
    }
    dec.DecodeOneFrame(CVDEC::kKeyFrameType, absurd.data(), static_cast<uint32_t>(absurd.size()), 0);

    // The next clean key frame decodes again.
    Collector col(&dec);
    col.Feed(frames, 12);
    EXPECT_GE(col.pictures.size(), 10u);
    const std::vector<EncodedFrame> tail(frames.begin() + 12, frames.end());
    const auto ref = test::DecodeAllPictures(hevc ? "hevc" : "h264", tail);
    // A picture of the damaged data may still come out first; the rest are clean.
    const auto clean = std::count_if(col.pictures.begin(), col.pictures.end(), [&](const Picture& p) {
      return std::find(ref.begin(), ref.end(), p) != ref.end();
    });
    EXPECT_GE(clean, 10) << (hevc ? "HEVC" : "H.264");
  }
}

TEST(H264Decoder, DebugDumpFollowsTheWriteFileKey) {
  const std::string ini = CLibraryConfig::Instance().AppIniPath();
  ASSERT_FALSE(std::filesystem::exists(ini)) << ini << " is in the way";
  std::ofstream(ini) << "[CONFIG]\nWriteFile=1\n";
  const std::string oldTmp = std::getenv("TMPDIR") != nullptr ? std::getenv("TMPDIR") : "";
  const TempDir dir;
  setenv("TMPDIR", dir.path().c_str(), 1);

  // Key frames at 0, 6 and 12: the size is known from the first picture on, so the dump opens
  // at frame 6 and takes every frame and picture from there.
  const auto frames = Encode(VideoCodec::H264, 176, 144, 18, false, 6);
  {
    CVDECH264 dec(false, nullptr);
    dec.InitDecoder(0);
    Collector(&dec).Feed(frames);
  }
  std::filesystem::remove(ini);
  oldTmp.empty() ? unsetenv("TMPDIR") : setenv("TMPDIR", oldTmp.c_str(), 1);

  std::map<std::string, std::vector<uint8_t>> dumps;  // by the name's prefix and extension
  for (const auto& entry : std::filesystem::directory_iterator(dir.path() / "zephplay-dump")) {
    dumps[entry.path().filename().string().substr(0, 4) + entry.path().extension().string()] =
        test::ReadBytes(entry.path());
  }
  EXPECT_EQ(dumps.size(), 2u);
  const std::vector<uint8_t>& raw = dumps["264_.264"];
  const std::vector<uint8_t>& yuv = dumps["yuv_.yuv"];
  const auto ref = test::DecodeAllPictures("h264", frames);
  ASSERT_EQ(ref.size(), frames.size());
  std::vector<uint8_t> expectedRaw, expectedYuv;
  for (size_t i = 6; i < frames.size(); ++i) {
    expectedRaw.insert(expectedRaw.end(), frames[i].data.begin(), frames[i].data.end());
    for (const auto* plane : {&ref[i].y, &ref[i].u, &ref[i].v}) {
      expectedYuv.insert(expectedYuv.end(), plane->begin(), plane->end());
    }
  }
  EXPECT_TRUE(raw == expectedRaw) << raw.size() << " bytes, expected " << expectedRaw.size();
  EXPECT_TRUE(yuv == expectedYuv) << yuv.size() << " bytes, expected " << expectedYuv.size();
}

}  // namespace
}  // namespace zp
