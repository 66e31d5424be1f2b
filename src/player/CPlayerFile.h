#pragma once
#include <cstddef>
#include <cstdint>

#include "media/CRecFile.h"
#include "player/CBasePlayer.h"

namespace zp {

// End callback: end kind (0: forward playback ran out of frames; 1: backward playback reached
// the beginning), user value. Runs on the play thread.
using EndCallBack = void (*)(uint32_t nEndKind, uint64_t u64User);

// Plays a recorded file (GREC, or vendor ".mpg") on a play handle of kind 0: pulls frames from
// the reader into the frame queues and runs the play thread that paces and shows pictures.
// States: opened (reader, no threads), playing, paused, stopped, closed (no reader).
// Results: 0 success, 1 failure unless said otherwise.
class CPlayerFile : public CBasePlayer {
 public:
  static constexpr uint32_t kVideoQueueFrames = 300;
  static constexpr uint32_t kVideoQueueBytes = 1536000;
  static constexpr uint32_t kAudioQueueFrames = 1000;
  static constexpr uint32_t kAudioQueueBytes = 512000;
  static constexpr int kReadAhead = 10;
  static constexpr int kPreRollFrames = 10;
  static constexpr size_t kFileInfoCopyBytes = 20;

  CPlayerFile();
  ~CPlayerFile() override;

  // 1 (logged) when no reader can be made for the path; nDrawMode goes to the drawing adapter.
  int OpenFile(const char* pPath, uint32_t nDrawMode);
  // Stop, drop the reader, close both decoders; 0 (-1 on the player's own thread).
  int Close();
  // Always from the beginning of the file, rate 0, not paused, sound off; 1 without a reader
  // (or on the player's own thread).
  int Play();
  // Stops both threads and the sound; 0 (1 on the player's own thread).
  int Stop();
  // The first 20 bytes of the reader's FileInfo; 1 without a reader.
  int GetFileInfo(void* pInfo);
  // Milliseconds from the file's begin; 1 when the reader cannot seek there (nothing changes).
  int SetPlayTime(uint32_t nMinSecond);
  // Called once per end of data; reading any frame again re-arms it. 0.
  int SetEndCallBack(uint64_t u64User, EndCallBack pfn);
  // Two values kept for callers; nothing reads them.
  void SetUserValues(uint32_t nValue, uint64_t u64Value);

  int OneByOne() override;
  // (current picture stamp - file begin stamp) / 1000, in u64 arithmetic truncated to 32 bits.
  int GetPlayTime(uint32_t* pMinSecond) override;
  int PlayThread() override;
  // Shows the next (nFlag != 0) or previous key frame; 0 when one was shown, else -1.
  virtual int PlayOneIFrame(uint32_t nFlag);

 private:
  // H.265 when the first video frame says so, else H.264.
  uint32_t ProbeDecoderType();
  void Rewind();
  bool ReadFrames(int nCount);
  void QueueVideo(const uint8_t* pData, uint32_t nLength, uint32_t nType, uint64_t u64Stamp);
  // Cut into codec frames by the audio decoder's frame-size answer.
  void QueueAudio(const FrameHead& frame);
  bool FetchKeyFrame(bool bForward);
  // Waits (up to 10 x 20 ms) for the decoder to give the picture of a fetched key frame.
  bool ShowLoneKeyFrame();
  // One step of playing (the play lock held); the time to wait before the next, 0 after a
  // picture was shown.
  uint32_t ForwardStep();
  uint32_t BackwardStep();
  void FireEnd(uint32_t nEndKind);
  void ReArm();

  CRecFile* m_pRecFile = nullptr;
  CMutexLock m_EndLock;
  CMutexLock m_ValueLock;
  uint32_t m_nUserValue = 0;
  uint64_t m_u64UserValue = 0;
  EndCallBack m_pfnEnd = nullptr;
  uint64_t m_u64EndUser = 0;
  uint32_t m_nEndFired = 0;
  uint32_t m_nFileEnd = 0;
};

}  // namespace zp
