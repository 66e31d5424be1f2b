#pragma once
// SDL's disk driver as the microphone: it records from a raw file, pacing itself with a short
// delay per buffer, and plays silence once the file ends.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/Deadline.h"

namespace zp::test {

class DiskMicrophone {
 public:
  // Must be made before the capture opens.
  explicit DiskMicrophone(const std::vector<uint8_t>& bytes) {
    path_ = (std::filesystem::temp_directory_path() /
             ("zp-mic-" + std::to_string(getpid()) + "-" + std::to_string(counter_++) + ".raw"))
                .string();
    std::ofstream(path_, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    setenv("SDL_AUDIODRIVER", "disk", 1);
    setenv("SDL_DISKAUDIOFILEIN", path_.c_str(), 1);
    setenv("SDL_DISKAUDIODELAY", "1", 1);
  }
  ~DiskMicrophone() { std::filesystem::remove(path_); }
  DiskMicrophone(const DiskMicrophone&) = delete;
  DiskMicrophone& operator=(const DiskMicrophone&) = delete;

 private:
  static inline int counter_ = 0;
  std::string path_;
};

// 16-bit samples, little-endian, as bytes.
inline std::vector<uint8_t> Bytes(const std::vector<int16_t>& samples) {
  const auto* p = reinterpret_cast<const uint8_t*>(samples.data());
  return std::vector<uint8_t>(p, p + samples.size() * 2);
}

// A rising ramp of n samples: no two neighbouring buffers alike.
inline std::vector<uint8_t> Ramp(size_t n) {
  std::vector<int16_t> ramp(n);
  for (size_t i = 0; i < n; ++i) {
    ramp[i] = static_cast<int16_t>(i * 7 - 20000);
  }
  return Bytes(ramp);
}

}  // namespace zp::test
