#pragma once
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "audio/CWaveOut.h"
#include "common/CMutexLock.h"

namespace zp {

class CADEC;

// Plays a file of ADTS AAC frames: the whole file is loaded as a list of frames, which the
// wave-out pulls one at a time and decodes. Progress (about once a second) and the end of the
// list are reported to a callback on the sound device's thread. One caller thread at a time.
class CAudioFilePlayer {
 public:
  static constexpr int32_t kMsgProgress = 1;
  static constexpr int32_t kMsgEnd = 2;
  static constexpr int64_t kMaxFileSize = 0x6400000;  // 100 MiB

  // code, seconds played, user value.
  using MessageCallback = void (*)(int32_t code, uint32_t seconds, uint64_t user);

  CAudioFilePlayer() = default;
  ~CAudioFilePlayer();
  CAudioFilePlayer(const CAudioFilePlayer&) = delete;
  CAudioFilePlayer& operator=(const CAudioFilePlayer&) = delete;

  void SetMessageCallback(MessageCallback callback, uint64_t user);
  // Loads the file (UTF-8 path) and starts playing; a player already playing starts over.
  // 0 when playing (or when no decoder could be made); 1 when the file cannot be opened for
  // reading and writing, is empty or 100 MiB or more, or holds no whole frame.
  int32_t Start(const std::string& path);
  // Stops the device and drops the decoder; the frame list and the play time stay.
  void Stop();
  // Non-zero: the device plays silence and no frame is taken, so the position holds.
  void Pause(bool pause) { m_WaveOut.SetSilence(pause); }

  uint32_t TotalTimeMs() const { return static_cast<uint32_t>(m_Frames.size()) * m_nFrameMs; }
  uint32_t PlayTimeMs() const { return m_nPlayTime; }

  // The decoder's coder type for a sample rate.
  static uint32_t CoderTypeOfRate(uint32_t rate);

 private:
  bool LoadFrames();
  // Reads one frame into the list; false at the end or at a bad header.
  bool ReadFrame();
  void Send(int32_t code);
  static int PullFrame(QueueFrameHead* head, uint8_t* data, uint32_t capacity, CMutexLock** frameLock,
                       uint64_t user);
  int OnPull(QueueFrameHead* head, uint8_t* data, uint32_t capacity);

  CADEC* m_pDecoder = nullptr;
  CWaveOut m_WaveOut;
  CMutexLock m_CallbackLock;
  MessageCallback m_pfnMsg = nullptr;
  uint64_t m_u64MsgUser = 0;
  uint32_t m_bEndReported = 0;
  FILE* m_pFile = nullptr;
  std::string m_strPath;
  std::vector<std::vector<uint8_t>> m_Frames;
  std::atomic<uint32_t> m_nPlayIndex{0};
  uint32_t m_nFrameMs = 0;
  std::atomic<uint32_t> m_nPlayTime{0};
};

}  // namespace zp
