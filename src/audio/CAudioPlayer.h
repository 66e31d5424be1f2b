#pragma once
#include <cstdint>

#include "audio/CWaveOut.h"
#include "common/CFrameQueue.h"

namespace zp {

class CADEC;

// The stand-alone talk-back player: a frame buffer, a decoder and a wave-out. The exported
// calls come from the caller's threads (one at a time); the wave-out refills on the sound
// thread.
class CAudioPlayer {
 public:
  static constexpr uint32_t kFrames = 100;
  static constexpr uint32_t kBytes = 64000;
  // Pure-audio mode grows the frame buffer when it is full, up to this size.
  static constexpr uint32_t kMaxGrownBytes = 32u << 20;

  CAudioPlayer();
  virtual ~CAudioPlayer();
  CAudioPlayer(const CAudioPlayer&) = delete;
  CAudioPlayer& operator=(const CAudioPlayer&) = delete;

  // 0, or -1 when already open or memory runs out.
  int Open();
  void Close();
  // Replaces the decoder by one for the head's coder type and restarts the device in its
  // format. 0, also when the decoder could not be made; -1 for a head shorter than its fields.
  int InputAudioHead(const uint8_t* head, uint32_t len);
  // A frame with its 12-byte head (u32 length, u64 stamp); 0, or -1 without a decoder or for
  // a frame shorter than its head.
  int InputAudioData(const uint8_t* frame, uint32_t len, uint64_t stamp);
  // A bare payload stamped with stamp; 0, or -1 without a decoder.
  int InputAudioFrame(const uint8_t* payload, uint32_t len, uint64_t stamp);
  // 0 when a frame of len bytes would fit, else -3.
  int CheckAudioData(uint32_t len);
  // Non-zero: empty the frame buffer; zero: stop the device (until the next head).
  void PlayAudioSound(int32_t flag);
  void SetAudioDelay(uint32_t ms);
  // A full frame buffer grows instead of dropping, and the cache rules are off.
  void SetPureAudioMode();
  void ResetBuffer() { m_FrameBuffer.Reset(); }
  // Echo cancellation on (the capture side calls this): -1 when not open.
  int OpenEchoCancellation(void* context);

  CWaveOut& WaveOut() { return m_WaveOut; }
  CFrameQueue& FrameBuffer() { return m_FrameBuffer; }
  bool IsOpen() const { return m_bOpened != 0; }

 private:
  void DropDecoder();
  void WriteFrame(const uint8_t* data, uint32_t len, uint64_t stamp);
  void WriteFrameOrDrop(const uint8_t* data, uint32_t len, uint64_t stamp);
  bool Grow();
  void OfferFirstData(const uint8_t* payload, uint32_t len);
  void StoreHisUnits(const uint8_t* payload, uint32_t len, uint64_t stamp);

  uint32_t m_nAudioDelay = 0;
  CFrameQueue m_FrameBuffer;
  CADEC* m_pDecoder = nullptr;
  CWaveOut m_WaveOut;
  uint8_t m_bOpened = 0;
  uint8_t m_bEcho = 0;
  uint8_t m_bPureAudio = 0;
};

}  // namespace zp
