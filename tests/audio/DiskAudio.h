#pragma once
// What the library played, read back from SDL's disk audio driver: the driver writes every
// buffer the device takes from us to a file, pacing itself with a fixed delay per buffer.
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace zp::test {

// 16-bit little-endian words of a file (empty when it cannot be read).
inline std::vector<int16_t> ReadWords(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  std::vector<int16_t> words(bytes.size() / 2);
  for (size_t i = 0; i < words.size(); ++i) {
    words[i] = static_cast<int16_t>(bytes[2 * i] | (bytes[2 * i + 1] << 8));
  }
  return words;
}

class DiskAudio {
 public:
  // Must be made before the first device opens. delayMs: the driver's pause per buffer (it
  // plays faster than real time when that is shorter than a buffer).
  explicit DiskAudio(int delayMs = 5) {
    path_ = (std::filesystem::temp_directory_path() /
             ("zp-disk-audio-" + std::to_string(getpid()) + "-" + std::to_string(counter_++) + ".raw"))
                .string();
    setenv("SDL_AUDIODRIVER", "disk", 1);
    setenv("SDL_DISKAUDIOFILE", path_.c_str(), 1);
    setenv("SDL_DISKAUDIODELAY", std::to_string(delayMs).c_str(), 1);
  }
  ~DiskAudio() {
    std::error_code ec;
    std::filesystem::remove(path_, ec);
  }
  DiskAudio(const DiskAudio&) = delete;
  DiskAudio& operator=(const DiskAudio&) = delete;

  // The 16-bit samples played so far from the first one we gave the device, once at least
  // `samples` of them were (empty on timeout). SDL plays silence of its own until the device is
  // unpaused, and how much depends on timing: the zeros in front are skipped (what the library
  // plays first, the start fill, is never zero).
  std::vector<int16_t> WaitForSamples(size_t samples, int timeoutMs = 10000) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (std::chrono::steady_clock::now() < deadline) {
      std::vector<int16_t> played = Samples();
      size_t start = 0;
      while (start < played.size() && played[start] == 0) {
        ++start;
      }
      if (played.size() - start >= samples) {
        played.erase(played.begin(), played.begin() + static_cast<long>(start));
        return played;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return {};
  }

  std::vector<int16_t> Samples() const { return ReadWords(path_); }

 private:
  static inline int counter_ = 0;
  std::string path_;
};

// One sample of the 0x64 byte fill that the first two device buffers play.
inline constexpr int16_t kStartFillSample = 0x6464;

// n samples of the same value.
inline std::vector<int16_t> Same(size_t n, int16_t value) { return std::vector<int16_t>(n, value); }

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
