#pragma once
#include <atomic>
#include <cstdint>
#include <memory>

#include "common/CFrameQueue.h"
#include "common/CMutexLock.h"

namespace zp {

class CADEC;

// Pulls the next frame when there is no frame buffer (the audio file player): fills *head and
// up to capacity bytes at data; returns non-zero when it gave a frame. *frameLock may receive a
// lock the callback left held, which the wave-out leaves once the frame is decoded.
using PullFrameCallback = int (*)(QueueFrameHead* head, uint8_t* data, uint32_t capacity, CMutexLock** frameLock,
                                  uint64_t user);

// One sound device with two rotating buffers in our own memory. Each time the device has
// played a buffer, the buffer is refilled from the frame buffer (or the pull callback) through
// the decoder, with gain, and queued again; every 500 ms the frame buffer is trimmed so that the
// sound keeps up. The device is SDL2 audio: its callback takes the place of the buffer-done
// notification and copies our buffers into SDL's.
class CWaveOut {
 public:
  static constexpr uint8_t kStatePlaying = 0;
  static constexpr uint8_t kStateStopping = 1;
  static constexpr uint8_t kStateClosed = 2;
  static constexpr uint32_t kScratchSize = 10240;

  CWaveOut();
  ~CWaveOut();
  CWaveOut(const CWaveOut&) = delete;
  CWaveOut& operator=(const CWaveOut&) = delete;

  // Opens the device in the decoder's format; 1 on success, 0 when already playing or the
  // device does not open.
  int Start();
  void Stop();

  void SetDecoder(CADEC* decoder);
  CADEC* GetDecoder();
  void SetFrameBuffer(CFrameQueue* frames);
  void SetPullCallback(PullFrameCallback callback, uint64_t user);
  void SetSilence(bool silence) { m_nSilence = silence ? 1 : 0; }
  // Percent 0 to 100, both channels; only with an open device.
  void SetVolume(uint16_t percent);
  uint16_t GetVolume();
  // 0 is unity; anything else is held to 1.0 to 25.0 (so no attenuation, on purpose).
  void SetGain(double gain);
  double GetGain() const { return m_dGain; }
  void SetMaxCacheMinSecond(uint32_t ms) { m_nMaxCacheMinSecond = ms; }
  void SetNoDataEmptyCount(int32_t count) { m_nNoDataEmptyLimit = count < 1 ? 0 : static_cast<uint32_t>(count); }
  void SetLongClear(bool on) { m_nLongClear = on ? 1 : 0; }
  void SetSkipCacheControl(bool on) { m_nSkipCacheControl = on ? 1 : 0; }
  void SetEchoContext(void* context) { m_pEchoContext = context; }
  void SetReferenceTime(uint64_t us) { m_u64ReferenceTime = us; }

  uint8_t State() const { return m_nState.load(); }
  uint32_t SizeOut() const { return m_size_out; }
  uint64_t LastStamp() const { return m_u64LastStamp; }
  // The lock that guards the decoder; owners take it to replace one.
  CMutexLock* DecoderLock() { return &m_decoderLock; }

  // The device side (the sound thread): one buffer has been played.
  void OnBufferDone(int index);
  // The device side: the device has closed.
  void OnClose();

 private:
  struct WaveBuffer {
    std::unique_ptr<uint8_t[]> data;
    uint32_t length = 0;
    bool prepared = false;
    bool queued = false;
  };

  static void DeviceCallback(void* user, uint8_t* stream, int len);
  void FillDevice(uint8_t* stream, int len);
  void CopyWithVolume(uint8_t* dest, const uint8_t* src, uint32_t len);
  void WavHeadInit();
  void FreeBuffers();
  int InputWaveData(uint8_t* buffer, uint32_t len);
  int DecoderWave(uint8_t* out, uint32_t position, uint32_t limit);
  int DecodeQueued(uint8_t* out, uint32_t position, uint32_t limit, int* framesPerSecond);
  int DecodePulled(uint8_t* out, uint32_t position, uint32_t limit);
  void ApplyGain(int16_t* samples, uint32_t count) const;
  void CacheControl(int framesPerSecond);

  WaveBuffer m_WaveHdr[2];
  std::atomic<uint8_t> m_nState{kStateClosed};
  uint32_t m_hWaveOut = 0;  // SDL device id, 0 when closed
  bool m_bSdlAudio = false;
  uint32_t m_nEmptyCount = 0;
  uint32_t m_nNoDataEmptyLimit = 0;
  std::unique_ptr<uint8_t[]> m_pWork[2];
  uint32_t m_size_out = 1280;
  uint16_t m_nChannels = 1;
  CFrameQueue* m_pFrames = nullptr;
  PullFrameCallback m_pfnPull = nullptr;
  uint64_t m_u64PullUser = 0;
  uint32_t m_nScratchSize = kScratchSize;
  std::unique_ptr<uint8_t[]> m_pFrameScratch;
  std::unique_ptr<int16_t[]> m_pPcmScratch;
  CMutexLock m_decoderLock;
  CADEC* m_pDecoder = nullptr;
  std::atomic<uint32_t> m_nSilence{0};
  std::atomic<uint32_t> m_nInCallback{0};
  std::atomic<uint32_t> m_nStopping{0};
  std::atomic<uint32_t> m_nMaxCacheMinSecond{0};
  uint32_t m_nLastCheckTick = 0;
  std::atomic<uint64_t> m_u64ReferenceTime{0};
  uint32_t m_nCreateTick = 0;
  std::atomic<uint64_t> m_u64LastStamp{0};
  std::atomic<double> m_dGain{0.0};
  void* m_pEchoContext = nullptr;
  std::atomic<uint32_t> m_nLongClear{0};
  std::atomic<uint32_t> m_nSkipCacheControl{0};
  std::atomic<uint32_t> m_dwVolume{0xFFFFFFFFu};
  // The device's read position: the buffer being played and the bytes of it already played.
  int m_nPlaying = 0;
  uint32_t m_nPlayOffset = 0;
};

}  // namespace zp
