#pragma once
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "common/CMutexLock.h"

struct SpeexEchoState_;

namespace zp {

// An acoustic echo canceller for talk-back: the sound played (the far end, fed by the
// wave-out) is taken out of the captured sound (the near end), which is processed in place.
// Over speexdsp's echo canceller; 16-bit mono.
class CEchoCanceller {
 public:
  // A frame of 20 ms and a filter of 200 ms at the given rate.
  explicit CEchoCanceller(uint32_t rate);
  ~CEchoCanceller();
  CEchoCanceller(const CEchoCanceller&) = delete;
  CEchoCanceller& operator=(const CEchoCanceller&) = delete;

  bool Open();
  void Start();
  // Whole frames of data are cleaned; delayMs is how long the played sound takes to come back
  // into the microphone. Nothing happens unless started.
  void Process(int16_t* data, uint32_t bytes, int32_t delayMs);
  // The sound handed to the device, in order, on the sound thread.
  void FeedFarEnd(const int16_t* samples, uint32_t count);
  void Stop();
  void Close();

 private:
  const int16_t* FarEndAt(uint32_t delaySamples);

  uint32_t m_nRate;
  uint32_t m_nFrame;
  SpeexEchoState_* m_pState = nullptr;
  std::atomic<bool> m_bStarted{false};
  CMutexLock m_farLock;
  std::vector<int16_t> m_FarRing;  // the last second of far-end sound
  uint64_t m_u64FarWritten = 0;
  std::vector<int16_t> m_FarFrame;
  std::vector<int16_t> m_OutFrame;
};

}  // namespace zp
