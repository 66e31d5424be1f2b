#pragma once
// What a client hands the audio exports: the 512-byte audio head and arbitrary payloads.
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace zp::test {

inline std::vector<uint8_t> Head(uint16_t coder, uint16_t channels = 1, uint16_t rate = 8000) {
  std::vector<uint8_t> head(512, 0);
  const uint16_t fields[6] = {1, 0x6000, coder, 104, channels, rate};
  std::memcpy(head.data(), fields, sizeof fields);
  return head;
}

inline std::vector<uint8_t> RandomBytes(size_t n, uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<uint8_t> bytes(n);
  for (auto& b : bytes) {
    b = static_cast<uint8_t>(random());
  }
  return bytes;
}

}  // namespace zp::test
