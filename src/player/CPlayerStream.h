#pragma once
#include <atomic>
#include <cstdint>
#include <memory>

#include "common/CMutexLock.h"
#include "media/CRecWriter.h"
#include "media/StreamAttr.h"
#include "player/CBasePlayer.h"
#include "player/CStreamCache.h"
#include "player/CStreamInput.h"
#include "player/CStreamTiming.h"
#include "player/IPlayGroup.h"

namespace zp {

// Plays a live stream on a play handle of kind 1. The caller pushes raw bytes (cut into frames
// by a CStreamInput) or whole frames; video goes to the video queue, audio to the audio queue,
// and the play loop shows pictures in one of three modes:
//   0 delay-controlled: buffers until the video span reaches the minimum delay, plays, and
//     catches up (play speed 1) while the span is at or above the maximum delay;
//   1 cached: every frame received is appended to a temporary file and played from there,
//     which allows seeking and stepping within the stream;
//   2 immediate (a new player's mode): every picture as soon as it is decoded.
// Frames can also be passed on to a recording writer, whatever the mode.
//
// Locks, in the order they nest: the threads lock (held while the threads are stopped or
// started, never inside another), the play lock, the decoder lock, the cache's index lock, the
// input lock (the stream input), a queue's own lock. The recorder lock and the attribute lock are
// leaves (the writer's own lock aside).
class CPlayerStream : public CBasePlayer, private IStreamFrameSink {
 public:
  static constexpr uint32_t kModeDelay = 0;
  static constexpr uint32_t kModeCached = 1;
  static constexpr uint32_t kModeImmediate = 2;
  static constexpr uint32_t kQueueFrames = 1000;
  static constexpr uint32_t kAudioQueueBytes = 480000;
  static constexpr uint32_t kParseBufferBytes = 307200;
  static constexpr uint32_t kDefaultMinDelayMs = 2000;
  static constexpr uint32_t kDefaultMaxDelayMs = 6000;

  CPlayerStream();
  ~CPlayerStream() override;

  // Queues, decoders (codec 0, picture class 2; the configured default audio coder), the
  // audio's live-latency mode outside mode 1, the threads. nUnpaced: delay control in mode 0
  // also without hardware decoding. 0.
  int Open(uint32_t nVideoQueueBytes, uint32_t nUnpaced);
  // Stops the threads, closes the decoders, removes the cache file, stops recording. 0; -1 on
  // the player's own thread (nothing done).
  int CloseStream();
  // Refused silently when fewer than the bytes held. 0.
  int SetPlayBuffer(uint32_t nBytes);
  int SetStreamMode(uint32_t nMode);  // 0
  // 0; 1 for a pair out of range (min < 100, max > 60000, max <= min). Nothing changes, and 0,
  // while the configuration disables delay setting.
  int SetDelayTime(uint32_t nMinMs, uint32_t nMaxMs);
  // Shorter than 284 bytes or a wrong magic: ignored. 0.
  int SetStreamAttr(const uint8_t* pAttr, uint32_t nLength);
  // The parser path: 0, or -3 when the parser cannot take the bytes now (nothing kept).
  int InputStreamData(const uint8_t* pData, uint32_t nLength);
  // The frame path: 0; -1 unknown type; -3 queue full; -4 type 2. bFromCaller: a frame pushed
  // by the caller (cached in mode 1) rather than one played from the cache.
  int InputFrameData(const uint8_t* pData, uint32_t nLength, uint32_t nType, uint64_t u64Stamp,
                     bool bFromCaller);
  int ResetStream();  // 0
  // Cached frames not yet played: 0 when there are some, else -1.
  int GetVideoFrameNum(uint32_t* pFrames);
  int GetSourceBufferRemain(uint32_t* pBytes);  // 0
  // Positioning within the cache: 0, or -1 when no entry fits.
  int SetPlayTime(uint32_t nMinSecond);
  int SeekIFramStamp(uint64_t u64Stamp);
  int PlayOneFrameData(uint32_t nBackward, uint32_t nAllowNonKey);
  // 0 when a recorder runs afterwards, else 1.
  int StartPlayRecord(const char* pPath, uint32_t nType);
  int StopPlayRecord();  // 0; 1 when none ran
  // The recording's length in bytes so far; -1 without one.
  int GetPlayRecordStatus();
  int GetPlayStamp(uint64_t* pStamp);  // 0
  // For the group: seconds between the play position and the newest cached frame.
  int GetBufferedSeconds(uint32_t* pSeconds);
  // Links the player to the group that paces it (the mode-1 cycle then asks the group rather
  // than its own clock). Before Open: the play thread reads it without a lock.
  void SetGroup(IPlayGroup* pGroup) { m_pGroup = pGroup; }

  // Whole seconds from the first cached frame to the play position: 0; -1 at the end (the
  // last frame's time) or with an empty cache.
  int GetPlayTime(uint32_t* pMinSecond) override;
  // Is-buffer-full (see CStreamTiming::IsBufferFull).
  int IsSkipToKeyFrame(uint32_t nFlag) override;
  int PlayThread() override;
  void ReleasePlay() override;

 private:
  // IStreamFrameSink: the frames cut from InputStreamData's bytes.
  int PutFrame(uint32_t nTag, uint64_t u64Stamp, const uint8_t* pPart1, uint32_t nLength1, const uint8_t* pPart2,
               uint32_t nLength2, bool bGrow) override;
  int BeginFrame(uint32_t nTag, uint64_t u64Stamp, uint32_t nTotal, const uint8_t* pPart, uint32_t nLength) override;
  bool AppendFrame(const uint8_t* pPart, uint32_t nLength) override;
  int InputVideoFrame(const uint8_t* pData, uint32_t nLength, uint32_t nType, uint64_t u64Stamp);
  // The same, the payload in two parts; without bGrow a full queue refuses at once, neither
  // growing nor logging.
  int InputVideoParts(const uint8_t* pPart1, uint32_t nLength1, const uint8_t* pPart2, uint32_t nLength2,
                      uint32_t nType, uint64_t u64Stamp, bool bGrow);
  // False for a video frame before the first key frame, which is dropped; a key frame ends the
  // wait.
  bool PassKeyWait(uint32_t nType);
  // The wake-ups that a queued video frame calls for.
  void VideoQueued(uint32_t nType, bool bWasEmpty);
  int InputAudioFrame(const uint8_t* pData, uint32_t nLength, uint32_t nType, uint64_t u64Stamp);
  void GrowVideoQueue();
  void PushAudio(const QueueFrameHead& head, const uint8_t* pData);
  // The decoder lock is held: the video decoder exists and suits the attribute's codec (and
  // watermark option).
  bool KeepsVideoDecoder(const uint8_t* pAttr);
  // ... and has the attribute's picture class: nothing to change.
  bool VideoDecoderFits(const uint8_t* pAttr);
  void UpdateVideoDecoder(const uint8_t* pAttr, bool* pChanged);
  void UpdateAudioDecoder(const uint8_t* pAttr);
  void SizeQueueForClass(uint8_t nClass, bool* pChanged);
  void StopRecordLocked();

  // Play loop: one cycle under the play lock; the ms to wait for new data or a picture.
  uint32_t PlayCycle();
  uint32_t ModeCycle();
  uint32_t ImmediateCycle();
  uint32_t DelayCycle();
  uint32_t CachedCycle();
  uint32_t CachedAudioCycle();
  uint32_t GroupCycle();
  void RefillFromCache();
  void StartPlaying();
  bool PlayNext(bool bShow);
  // The queued video's span; *pQueued (may be null) whether any video is queued, from the same
  // look at the queue.
  CStreamTiming::Span VideoSpan(bool* pQueued = nullptr);
  bool IsDelayControlled();
  bool IsReversePlay() const { return m_nPlayBackIFrame != 0; }
  // The play lock is held: clears both queues and the decoded pictures.
  void ClearQueued();
  // The play lock is held: moves the cache to the entry and shows it.
  void PlayFrom(int nEntry);

  uint32_t m_nDefaultMinDelay = kDefaultMinDelayMs;
  uint32_t m_nDefaultMaxDelay = kDefaultMaxDelayMs;
  std::atomic<uint32_t> m_nMinDelay{kDefaultMinDelayMs};
  std::atomic<uint32_t> m_nMaxDelay{kDefaultMaxDelayMs};
  uint32_t m_nDelayEnable = 1;
  std::atomic<uint32_t> m_nStreamMode{kModeImmediate};
  std::atomic<uint32_t> m_nPlaying{0};
  uint32_t m_nNoPictureSince = 0;  // play thread: tick since when mode 0 found no picture, 0 none
  std::atomic<uint32_t> m_nWaitKey{1};
  std::atomic<uint32_t> m_nAudioOnly{1};
  std::atomic<uint32_t> m_nUnpaced{0};
  std::atomic<uint64_t> m_u64LastVideoStamp{0};
  CMutexLock m_ThreadsLock;  // outermost: whether the threads run, and stopping them
  uint32_t m_nThreadsRunning = 0;
  CMutexLock m_InputLock;
  CStreamInput m_Input{this, kParseBufferBytes};
  uint32_t m_nPartialType = 0;  // the type of the video frame under way in the queue
  CStreamCache m_Cache;
  IPlayGroup* m_pGroup = nullptr;  // the multi-play-back group, if any
  CMutexLock m_AttrLock;
  uint8_t m_StreamAttr[kStreamAttrSize] = {};
  std::atomic<uint32_t> m_nAttrAudioCodec{0};
  CMutexLock m_RecordLock;
  CRecWriter* m_pRecorder = nullptr;
  uint32_t m_nRecordStatus[2] = {0, 0};
};

}  // namespace zp
