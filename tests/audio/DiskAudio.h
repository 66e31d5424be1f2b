#pragma once
// SDL's disk audio driver in place of the sound card: it writes every buffer the device takes
// from us to one file and records the microphone from another (silence once that ends), pacing
// itself with a fixed delay per buffer.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "common/TempDir.h"
#include "support/Deadline.h"

namespace zp::test {

// 16-bit little-endian words of a file (empty when it cannot be read).
inline std::vector<int16_t> ReadWords(const std::string& path) {
  const std::vector<uint8_t> bytes = ReadBytes(path);
  std::vector<int16_t> words(bytes.size() / 2);
  for (size_t i = 0; i < words.size(); ++i) {
    words[i] = static_cast<int16_t>(bytes[2 * i] | (bytes[2 * i + 1] << 8));
  }
  return words;
}

// 16-bit samples as the bytes of a device buffer.
inline std::vector<uint8_t> Bytes(const std::vector<int16_t>& samples) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(samples.data());
  return {bytes, bytes + samples.size() * 2};
}

class DiskAudio {
 public:
  // Must be made before the first device opens. delayMs: the driver's pause per buffer (it
  // plays faster than real time when that is shorter than a buffer).
  explicit DiskAudio(int delayMs = 5, const std::vector<uint8_t>& microphone = {}) {
    setenv("SDL_AUDIODRIVER", "disk", 1);
    setenv("SDL_DISKAUDIOFILE", path_.c_str(), 1);
    setenv("SDL_DISKAUDIOFILEIN", dir_.File("microphone.raw", {microphone.begin(), microphone.end()}).c_str(), 1);
    setenv("SDL_DISKAUDIODELAY", std::to_string(delayMs).c_str(), 1);
  }

  // The 16-bit samples played so far from the first one we gave the device, once at least
  // `samples` of them were (empty on timeout). SDL plays silence of its own until the device is
  // unpaused, and how much depends on timing: the zeros in front are skipped (what the library
  // plays first, the start fill, is never zero).
  std::vector<int16_t> WaitForSamples(size_t samples) const {
    std::vector<int16_t> played;
    const bool enough = WaitUntil([&] {
      played = Samples();
      played.erase(played.begin(), std::find_if(played.begin(), played.end(), [](int16_t s) { return s != 0; }));
      return played.size() >= samples;
    }, std::chrono::seconds(10));
    return enough ? played : std::vector<int16_t>();
  }

  std::vector<int16_t> Samples() const { return ReadWords(path_); }

 private:
  TempDir dir_;
  std::string path_ = (dir_.path() / "played.raw").string();
};

// A rising ramp of n samples as a microphone's bytes: no two neighbouring buffers alike.
inline std::vector<uint8_t> Ramp(size_t n) {
  std::vector<int16_t> ramp(n);
  for (size_t i = 0; i < n; ++i) {
    ramp[i] = static_cast<int16_t>(i * 7 - 20000);
  }
  return Bytes(ramp);
}

// One sample of the 0x64 byte fill that the first two device buffers play.
inline constexpr int16_t kStartFillSample = 0x6464;

inline std::vector<int16_t> Cat(std::initializer_list<std::vector<int16_t>> parts) {
  std::vector<int16_t> all;
  for (const auto& part : parts) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

// The samples [from, from + n) of played sound (shorter when it ends first).
inline std::vector<int16_t> Slice(const std::vector<int16_t>& played, size_t from, size_t n) {
  if (from >= played.size()) {
    return {};
  }
  const size_t end = std::min(played.size(), from + n);
  return std::vector<int16_t>(played.begin() + static_cast<long>(from), played.begin() + static_cast<long>(end));
}

}  // namespace zp::test
