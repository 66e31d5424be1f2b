#pragma once
#include <atomic>
#include <mutex>

#include "audio/DiskAudio.h"
#include "zephplay.h"

namespace zp::test {

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
