#pragma once
#include <cstdint>
#include <memory>

#include "audio/CWaveIn.h"

struct SpeexPreprocessState_;

namespace zp {

class CEchoCanceller;

// Called with one captured buffer (PCM, cleaned when asked); data lives until the call returns.
using CaptureCallback = void (*)(const uint8_t* data, uint32_t len, uint64_t user);

// Microphone capture for talk-back: one wave-in whose full buffers are cleaned (an echo
// canceller when one is set, else the speexdsp noise suppressor when the process-wide use-speex
// flag was set at construction) and handed to the caller's callback on the sound device's thread.
class CAudioCapture {
 public:
  CAudioCapture();
  virtual ~CAudioCapture();
  CAudioCapture(const CAudioCapture&) = delete;
  CAudioCapture& operator=(const CAudioCapture&) = delete;

  // 16-bit mono at rate. False when already open or the device does not open (then closed).
  bool Open(CaptureCallback callback, uint64_t user, uint32_t rate, uint32_t bufferSize);
  // The caller's own PCM format; the noise suppressor runs only on 16-bit mono.
  bool OpenFormat(CaptureCallback callback, uint64_t user, const WaveInFormat& format, uint32_t bufferSize);
  // False, and nothing done, when called from inside the callback.
  bool Close();

  // Not owned; set before Open.
  void SetEchoCanceller(CEchoCanceller* canceller) { m_pEcho = canceller; }
  bool HasPreprocessor() const { return m_pPreprocess != nullptr; }
  uint32_t PreprocessFrameSize() const { return m_nFrameSize; }

  // The suppressor's frame in samples: 160, 128 or 80, chosen by what divides the buffer size.
  static uint32_t FrameSizeFor(uint32_t bufferSize);

 private:
  static void OnWaveIn(uint8_t* data, uint32_t len, uint64_t user);
  void Clean(uint8_t* data, uint32_t len);
  bool CreatePreprocessor(uint32_t bufferSize);

  std::unique_ptr<CWaveIn> m_pWaveIn;
  CaptureCallback m_pfnCallback = nullptr;
  uint64_t m_u64User = 0;
  uint32_t m_nSampleRate = 0;
  CEchoCanceller* m_pEcho = nullptr;
  uint32_t m_nUseSpeex = 0;
  SpeexPreprocessState_* m_pPreprocess = nullptr;
  uint32_t m_nFrameSize = 0;
};

}  // namespace zp
