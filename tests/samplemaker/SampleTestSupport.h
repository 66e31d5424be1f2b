#pragma once
// The frame layout as the sample maker's tests read it, on their own, without the library's
// readers or format helpers.
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "StreamWriter.h"

namespace zp::samples::test {

constexpr uint32_t kI = 0x63643000;
constexpr uint32_t kP = 0x63643100;
constexpr uint32_t kAudio = 0x63643200;
constexpr uint32_t kWave = 0x62773100;
constexpr uint32_t kExt = 0x63643800;
constexpr uint32_t kData = 0x63643900;

inline uint32_t Kind(uint32_t tag) { return tag & 0xFFFFFF00u; }
inline bool IsVideo(uint32_t tag) { return Kind(tag) == kI || Kind(tag) == kP; }
inline size_t HeadLength(uint32_t tag) { return IsVideo(tag) ? 32 : 16; }

inline uint32_t Le32(const std::vector<uint8_t>& b, size_t at) {
  return static_cast<uint32_t>(b[at]) | static_cast<uint32_t>(b[at + 1]) << 8 | static_cast<uint32_t>(b[at + 2]) << 16 |
         static_cast<uint32_t>(b[at + 3]) << 24;
}
inline uint64_t Le64(const std::vector<uint8_t>& b, size_t at) {
  return Le32(b, at) | static_cast<uint64_t>(Le32(b, at + 4)) << 32;
}

// The stamp field of the header at `at`: where the kind keeps one.
inline uint64_t StampAt(const std::vector<uint8_t>& b, size_t at) {
  return IsVideo(Le32(b, at)) ? Le64(b, at + 16) : Le64(b, at + 8);
}

inline std::vector<uint8_t> ReadFileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace zp::samples::test
