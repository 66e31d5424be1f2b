#pragma once
// Shared helpers of the media tests: synthetic frames, whole-file reads, and a GREC layout reader
// written apart from the library's readers.
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "media/CRecFile.h"
#include "media/FrameFormat.h"

namespace mediatest {

struct Frame {
  uint32_t tag = 0;
  std::vector<uint8_t> data;
  uint64_t stamp = 0;
};

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

inline std::vector<uint8_t> ReadFileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void WriteFileBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                              static_cast<std::streamsize>(bytes.size()));
}

// Appends a frame in stream form (no padding) with the given whole tag word.
inline void AppendStreamFrame(std::vector<uint8_t>* out, uint32_t tag, const std::vector<uint8_t>& data,
                              uint64_t stamp) {
  uint8_t head[zp::kMaxHeadLength];
  const uint32_t h = zp::WriteFrameHeader(head, tag, static_cast<uint32_t>(data.size()), stamp);
  zp::WriteU32(head, tag);
  out->insert(out->end(), head, head + h);
  out->insert(out->end(), data.begin(), data.end());
}

// What a reader returned: type, stamp, payload (with the header for stepped key frames).
struct Read {
  uint32_t type = 0;
  uint64_t stamp = 0;
  std::vector<uint8_t> data;
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
