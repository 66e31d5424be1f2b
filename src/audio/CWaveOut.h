#pragma once
#include <atomic>
#include <cstdint>
#include <memory>

#include "audio/CAudioCacheControl.h"
#include "common/CFrameQueue.h"
#include "common/CMutexLock.h"

namespace zp {

class CADEC;

// Pulls the next frame when there is no frame buffer (the audio file player): fills *head and
// up to capacity bytes at data; returns non-zero when it gave a frame. It may leave a lock held
// and hand it over in *frameLock: the wave-out leaves it once the frame is decoded.
using PullFrameCallback = int (*)(QueueFrameHead* head, uint8_t* data, uint32_t capacity, CMutexLock** frameLock,
                                  uint64_t user);

// One sound device with two rotating buffers in our own memory. Each time the device has
// played a buffer, the buffer is refilled from the frame buffer (or the pull callback) through
// the decoder, with gain, and queued again; every 500 ms the frame buffer is trimmed so that
// the sound keeps up (CAudioCacheControl). The device is SDL2 audio: its callback copies our
// buffers into SDL's, and finishing one of ours stands for the device handing a buffer back.
class CWaveOut {
 public:
  static constexpr uint8_t kStatePlaying = 0;
  static constexpr uint8_t kStateStopping = 1;
  static constexpr uint8_t kStateClosed = 2;
  static constexpr uint32_t kScratchSize = 10240;

  // tick: the clock of the cache rules (the platform tick count when empty).
  explicit CWaveOut(CAudioCacheControl::TickSource tick = {});
  ~CWaveOut();
  CWaveOut(const CWaveOut&) = delete;
  CWaveOut& operator=(const CWaveOut&) = delete;

  // Opens the device in the decoder's format (8000 Hz mono without one) and starts playing;
  // 1 on success, 0 when already playing or the device does not open.
  int Start();
  // Waits for a refill under way, then closes the device. Nothing when not playing.
  void Stop();

  // The decoder is not owned; it is replaced under DecoderLock().
  void SetDecoder(CADEC* decoder);
  CADEC* GetDecoder();
  // Not owned. Set these before Start: the sound thread reads them without a lock.
  void SetFrameBuffer(CFrameQueue* frames) { m_pFrames = frames; }
  void SetPullCallback(PullFrameCallback callback, uint64_t user);
  // Refills play zeros while set.
  void SetSilence(bool silence) { m_nSilence = silence ? 1 : 0; }
  // Percent 0 to 100 on both channels; only with an open device.
  void SetVolume(uint16_t percent);
  // The left channel in percent; 0 without a device.
  uint16_t GetVolume() const;
  // 0 is unity; anything else is held to 1.0 to 25.0, so it never attenuates.
  void SetGain(double gain);
  double GetGain() const { return m_dGain; }
  void SetMaxCacheMinSecond(uint32_t ms) { m_CacheControl.SetMaxCacheMinSecond(ms); }
  uint32_t MaxCacheMinSecond() const { return m_CacheControl.MaxCacheMinSecond(); }
  // How many empty refills in a row keep the buffer's old sound before it turns to silence;
  // below 1 means 0.
  void SetNoDataEmptyCount(int32_t count) { m_nNoDataEmptyLimit = count < 1 ? 0 : static_cast<uint32_t>(count); }
  void SetLongClear(bool on) { m_CacheControl.SetLongClear(on); }
  void SetSkipCacheControl(bool on) { m_nSkipCacheControl = on ? 1 : 0; }
  void SetEchoContext(void* context) { m_pEchoContext = context; }
  void* EchoContext() const { return m_pEchoContext; }
  // The playing video's time (µs) that the cache rules keep audio close to; 0 for none.
  void SetReferenceTime(uint64_t us) { m_CacheControl.SetReferenceTime(us); }

  uint8_t State() const { return m_nState; }
  // The length of one device buffer in bytes.
  uint32_t SizeOut() const { return m_size_out; }
  uint64_t LastStamp() const { return m_u64LastStamp; }
  CMutexLock* DecoderLock() { return &m_decoderLock; }

 private:
  struct WaveBuffer {
    std::unique_ptr<uint8_t[]> data;  // 2 * m_size_out bytes, of which m_size_out are played
    uint32_t length = 0;
    bool queued = false;
  };

  static void DeviceCallback(void* user, uint8_t* stream, int len);
  void FillDevice(uint8_t* stream, uint32_t len);
  void CopyWithVolume(uint8_t* dest, const uint8_t* src, uint32_t len) const;
  void OnBufferDone(int index);
  void RefillBuffer(WaveBuffer* buffer);
  void WavHeadInit(int* rate);
  bool OpenDevice(int rate);
  void CloseDevice();
  void ReleaseAudio();
  void FreeBuffers();
  void InputWaveData(uint8_t* buffer, uint32_t len);
  int DecoderWave(uint8_t* out, uint32_t position, uint32_t limit);
  int DecodeQueued(uint8_t* out, uint32_t position, uint32_t limit, uint32_t* framesPerSecond);
  int DecodePulled(uint8_t* out, uint32_t position, uint32_t limit);
  int DecodeToOut(uint64_t stamp, uint32_t length, uint8_t* out, uint32_t room, bool keepWhatFits);
  void ApplyGain(int16_t* samples, uint32_t count) const;

  WaveBuffer m_WaveHdr[2];
  std::atomic<uint8_t> m_nState{kStateClosed};
  uint32_t m_hWaveOut = 0;  // the SDL device, 0 when closed
  // SDL's audio subsystem, held from the first start until this object goes (under the SDL
  // audio lock): its shutdown can take 100 ms (ALSA joins its device-watch thread), and Start
  // and Stop run under the player's play lock, where pictures would wait for it.
  bool m_bAudioHeld = false;
  uint32_t m_nEmptyCount = 0;
  std::atomic<uint32_t> m_nNoDataEmptyLimit{0};
  uint32_t m_size_out = 1280;
  uint16_t m_nChannels = 1;
  CFrameQueue* m_pFrames = nullptr;
  PullFrameCallback m_pfnPull = nullptr;
  uint64_t m_u64PullUser = 0;
  std::unique_ptr<uint8_t[]> m_pFrameScratch;
  std::unique_ptr<int16_t[]> m_pPcmScratch;
  CMutexLock m_decoderLock;
  CADEC* m_pDecoder = nullptr;
  std::atomic<uint32_t> m_nSilence{0};
  std::atomic<uint32_t> m_nInCallback{0};
  std::atomic<uint32_t> m_nStopping{0};
  CAudioCacheControl m_CacheControl;
  std::atomic<uint64_t> m_u64LastStamp{0};
  std::atomic<double> m_dGain{0.0};
  std::atomic<void*> m_pEchoContext{nullptr};
  std::atomic<uint32_t> m_nSkipCacheControl{0};
  std::atomic<uint32_t> m_dwVolume{0xFFFFFFFFu};  // left in the low half, right in the high half
  // The device's read position: the buffer being played and the bytes of it already played.
  int m_nPlaying = 0;
  uint32_t m_nPlayOffset = 0;
};

}  // namespace zp
