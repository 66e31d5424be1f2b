#pragma once
// Shared helpers of the media tests: synthetic frames, recordings written through the sample
// maker, whole-file reads.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "GrecWriter.h"
#include "StreamWriter.h"
#include "common/TempDir.h"
#include "media/CRecFile.h"
#include "media/FrameFormat.h"
#include "support/Deadline.h"

namespace mediatest {

using Frame = zp::samples::TaggedFrame;

inline std::vector<uint8_t> RandomBytes(std::mt19937& rng, size_t n) {
  std::vector<uint8_t> out(n);
  for (auto& b : out) {
    b = static_cast<uint8_t>(rng());
  }
  return out;
}

// A recorder-like sequence: a key frame every `gop` video frames, "1wb" audio after each video
// frame when `audio`, 40 ms apart; payload lengths random in [0, maxLength].
inline std::vector<Frame> MakeFrames(uint32_t seed, int videoFrames, int gop, bool audio, size_t maxLength = 3000) {
  std::mt19937 rng(seed);
  std::vector<Frame> frames;
  for (int i = 0; i < videoFrames; ++i) {
    const uint64_t stamp = 1000000000ull + static_cast<uint64_t>(i) * 40000;
    frames.push_back({i % gop == 0 ? zp::FRAME_TAG_I : zp::FRAME_TAG_P, RandomBytes(rng, rng() % (maxLength + 1)), stamp});
    if (audio) {
      frames.push_back({zp::FRAME_TAG_WAVE, RandomBytes(rng, 1 + rng() % 320), stamp + 20000});
    }
  }
  return frames;
}

// Frames in stream form (no padding), back to back.
inline std::vector<uint8_t> StreamBytes(const std::vector<Frame>& frames) {
  std::vector<uint8_t> out;
  for (const Frame& f : frames) {
    zp::samples::AppendFrame(f, &out);
  }
  return out;
}

using zp::test::ReadBytes;

// A recording written through the library's writer; `unfinished` leaves it as a killed writer would.
inline std::string Record(const TempDir& dir, const std::string& name, const std::vector<Frame>& frames,
                          bool unfinished = false) {
  const std::string path = (dir.path() / name).string();
  zp::samples::GrecOptions options;
  options.unfinished = unfinished;
  EXPECT_TRUE(zp::samples::WriteGrecFile(path, frames, options).ok) << name;
  return path;
}

inline std::unique_ptr<zp::CRecFile> Open(const std::string& path) {
  return std::unique_ptr<zp::CRecFile>(zp::CRecFile::CreateRecFile(path.c_str()));
}

// What a reader or a parser returned: type or tag, stamp, payload (with the header for stepped
// key frames).
struct Read {
  uint32_t type = 0;
  uint64_t stamp = 0;
  std::vector<uint8_t> data;
  bool operator==(const Read&) const = default;
};

inline std::vector<Read> ReadAll(zp::CRecFile* reader, size_t limit = 1000000) {
  std::vector<Read> out;
  zp::FrameHead* frame = nullptr;
  while (out.size() < limit && reader->ReadFrame(&frame) == 0) {
    out.push_back({frame->nType, frame->u64Stamp, {frame->pData, frame->pData + frame->nLength}});
    reader->ReleaseFrame(frame);
  }
  return out;
}

}  // namespace mediatest
