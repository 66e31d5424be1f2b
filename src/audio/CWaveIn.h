#pragma once
#include <atomic>
#include <cstdint>
#include <memory>

#include "common/CMutexLock.h"

namespace zp {

// The PCM a wave-in records: channels, rate and sample size (8-bit unsigned or 16-bit signed).
struct WaveInFormat {
  uint32_t nSamplesPerSec = 8000;
  uint16_t nChannels = 1;
  uint16_t wBitsPerSample = 16;
};

// Called on the sound device's thread with one full buffer; data lives until the call returns.
using WaveInCallback = void (*)(uint8_t* data, uint32_t len, uint64_t user);


// One capture device with two rotating buffers in our own memory. The device is SDL2 capture:
// its callback fills our current buffer, and a buffer that has filled stands for the device
// handing a recorded buffer back. Only full buffers are delivered; a partly filled one is
// dropped at close.
class CWaveIn {
 public:
  static constexpr uint8_t kStateRecording = 0;
  static constexpr uint8_t kStateStopping = 1;
  static constexpr uint8_t kStateClosed = 2;

  CWaveIn() = default;
  ~CWaveIn();
  CWaveIn(const CWaveIn&) = delete;
  CWaveIn& operator=(const CWaveIn&) = delete;

  // Opens the default capture device and starts recording; false when already open, the
  // format is not 8- or 16-bit PCM on 1 or 2 channels, the size is 0, or the device fails.
  bool Open(const WaveInFormat& format, uint32_t bufferSize);
  // Once only, from recording: no buffer is delivered after it returns; a callback under way
  // is waited for. False, and nothing done, when called from inside the callback.
  bool Close();
  void SetCallback(WaveInCallback callback, uint64_t user);

  uint8_t State() const { return m_nState; }
  uint32_t BufferSize() const { return m_nBufferSize; }

 private:
  struct WaveBuffer {
    std::unique_ptr<uint8_t[]> data;
    uint32_t recorded = 0;
  };

  static void DeviceCallback(void* user, uint8_t* stream, int len);
  void OnCaptured(const uint8_t* stream, uint32_t len);
  void OnBufferFull(WaveBuffer* buffer);
  bool OpenDevice(const WaveInFormat& format);
  void CloseDevice();

  WaveBuffer m_WaveHdr[2];
  std::atomic<uint8_t> m_nState{kStateClosed};
  uint32_t m_hWaveIn = 0;  // the SDL device, 0 when closed
  uint32_t m_nBufferSize = 0;
  CMutexLock m_deviceLock;
  std::atomic<uint32_t> m_nStop{0};
  CMutexLock m_callbackLock;
  WaveInCallback m_pfnCallback = nullptr;
  uint64_t m_u64User = 0;
  int m_nFilling = 0;  // the buffer the device writes into
  std::atomic<uint32_t> m_nCallbackThread{0};  // the device thread while it delivers, else 0
};

}  // namespace zp
