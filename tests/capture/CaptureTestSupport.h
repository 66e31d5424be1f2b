#pragma once
// SDL's disk driver as the microphone: it records from a raw file, pacing itself with a short
// delay per buffer, and plays silence once the file ends.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "zephplay.h"

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

// Polls done() until it holds or the deadline passes: a broken capture fails, never hangs.
template <typename Done>
bool WaitUntil(Done done, int timeoutMs = 10000) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

// What a capture delivers to its callback, buffer by buffer. CloseInside closes the capture in
// `self` (when set) from inside the callback, with the capture's own Close export.
template <typename Handle, int32_t(ZEPHPLAY_CALL* Close)(Handle*)>
struct Delivered {
  std::mutex lock;
  std::vector<std::vector<uint8_t>> buffers;
  std::atomic<Handle*> self{nullptr};
  std::atomic<int32_t> closeResult{1};

  static void ZEPHPLAY_CALL Take(const uint8_t* data, uint32_t len, uint64_t user) {
    auto* d = reinterpret_cast<Delivered*>(user);
    std::lock_guard<std::mutex> hold(d->lock);
    d->buffers.emplace_back(data, data + len);
  }
  static void ZEPHPLAY_CALL CloseInside(const uint8_t*, uint32_t, uint64_t user) {
    auto* d = reinterpret_cast<Delivered*>(user);
    if (Handle* h = d->self.load()) {
      d->closeResult = Close(h);
    }
  }
  size_t Count() {
    std::lock_guard<std::mutex> hold(lock);
    return buffers.size();
  }
  // The buffers back to back, each from byte `skip` on.
  std::vector<uint8_t> Joined(size_t skip = 0) {
    std::lock_guard<std::mutex> hold(lock);
    std::vector<uint8_t> all;
    for (const auto& b : buffers) {
      all.insert(all.end(), b.begin() + static_cast<long>(std::min(skip, b.size())), b.end());
    }
    return all;
  }
  bool WaitForBuffers(size_t n) { return WaitUntil([&] { return Count() >= n; }); }
  bool WaitForBytes(size_t n) { return WaitUntil([&] { return Joined().size() >= n; }); }
};

}  // namespace zp::test
