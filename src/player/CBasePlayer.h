#pragma once
#include <atomic>
#include <cstdint>
#include <memory>

#include "audio/CADEC.h"
#include "audio/CWaveOut.h"
#include "common/CFrameQueue.h"
#include "common/CMutexLock.h"
#include "common/CThreadBase.h"
#include "platform/Tick.h"
#include "player/CPictureRing.h"
#include "player/CPlayTiming.h"
#include "player/CWakeSignal.h"
#include "video/CDraw.h"
#include "video/CVDEC.h"
#include "video/CVideoDecodeData.h"
#include "video/Hi264Dec.h"
#include "zephplay.h"

namespace zp {

// User-data callback: payload, payload length, frame type, stamp (µs), user value.
using UsrDataCallBack = void (*)(const uint8_t* pData, uint32_t nLength, uint32_t nType,
                                 uint64_t u64Stamp, uint64_t u64User);

// The player object behind a play handle: the frame queues, the decoders, the picture ring,
// drawing, sound, the callbacks and two threads (play: the derived class's PlayThread; decode:
// the decode loop). File and stream players derive from it and fill the frame queues.
//
// Threads and locks: callers' threads run the setters and the virtual operations. Each
// callback slot has its own lock, held while its callback runs, so a setter waits for a running
// callback. The decoder lock guards the video decoder (decode, redraw, capture, text), the audio
// lock the audio decoder, the play lock pause, step and rate. A callback slot's lock is
// released before the decoder lock is taken. The queues and the picture ring lock themselves;
// the shown picture's lock is taken before the ring's. Pictures are drawn on the play thread
// (or the caller's, for OneByOne, steps, seeks and FlashWnd), so the display callbacks run
// there.
//
// Callbacks run on the player's own threads (decode, play) or the sound device's thread (PCM).
// From such a thread the player cannot be stopped, closed or destroyed: it would wait for the
// very thread it runs on. IsOwnThread() tells, and Stop, Close and the play handle's close
// refuse there (-1 / 1 and a log line); close the handle from another thread instead.
class CBasePlayer {
 public:
  static constexpr uint32_t kWorkBufferSize = 102400;
  static constexpr int kLateFrameCount = 500;

  CBasePlayer();
  // Slot 0. The derived player stops the threads before this runs.
  virtual ~CBasePlayer();
  CBasePlayer(const CBasePlayer&) = delete;
  CBasePlayer& operator=(const CBasePlayer&) = delete;

  // Slots 1 to 14, in this order; results as the exports pass them on.
  virtual int Pause(uint32_t nFlag);            // 0
  virtual int OneByOne();                       // 0
  virtual int SetPlayRate(int32_t nRate);       // 0
  virtual int GetPlayTime(uint32_t* pMinSecond);  // base: writes 0, returns 1
  virtual int PlaySound();                      // 0; 1 when sound is already on
  virtual int StopSound();                      // 0; 1 when sound is off
  virtual int SetVolume(uint16_t nVolume);      // 0
  virtual int SetGain(double dGain);            // 0
  virtual int CaptureBMP(const char* pPath);    // 0 saved; -1 no picture or not written
  virtual int CaptureJPEG(const char* pPath);   // 0 saved; -1 no picture or not written
  virtual int SetPlayIFrame(uint32_t nFlag);    // 0
  virtual int IsSkipToKeyFrame(uint32_t nFlag);  // base: 0
  virtual int PlayThread();                     // base: 0
  virtual void ReleasePlay();                   // base: nothing

  // Non-virtual setters.
  int SetPlayBackIFrame(uint32_t nFlag);  // 0
  // Stores the flag; only a change marks decode-video-changed (the next key frame clears it).
  void SetDecodeVideo(uint32_t nFlag);

  // Callback setters, argument order as the exports take them; all answer 0.
  int SetDecCallBack(uint64_t u64User, ZEPHPLAY_DecCallBack pfn);
  int SetUsrDataBack(uint64_t u64User, UsrDataCallBack pfn);
  int SetDisplayCallBack(uint64_t u64User, ZEPHPLAY_DisplayCallBack pfn);
  int SetDecCBEx(uint64_t u64User, ZEPHPLAY_DecCBEx pfn);
  int SetAudioDecDataCallBack(PcmCallback pfn, uint64_t u64User);
  int SetSizeCallBack(ZEPHPLAY_SizeCallBack pfn, uint64_t u64User);

  // Window and drawing (results: 0, or the drawing adapter's).
  int SetPlayWnd(void* hWnd);
  int SetPlayWndEx(void* hWnd, uint64_t u64Value, uint32_t nValue);
  int AdjustedWndRect();
  // Redraws the last picture; -1 while there is no video decoder.
  int FlashWnd();
  int SetColorParams(uint32_t nBrightness, uint32_t nContrast, uint32_t nSaturation,
                     uint32_t nHue, uint32_t nReset);
  int GetColorParams(uint32_t* pBrightness, uint32_t* pContrast, uint32_t* pSaturation,
                     uint32_t* pHue);
  // To the video decoder when one is open, else to the drawing adapter; 0.
  int ShowOSDText(uint32_t nIndex, const char* pText, uint32_t nX, uint32_t nY, uint32_t nColor,
                  uint32_t nSize, uint32_t nFlags);
  int SetMirrorMode(uint32_t nMode);
  int SetZoom(uint32_t nPercent, uint32_t nCenterX, uint32_t nCenterY);
  int SetOffsetStart(uint32_t nEnable, const ZEPHPLAY_POINT* pStart);
  int SetOffsetEnd(const ZEPHPLAY_POINT* pEnd);

  // 1 when a video decoder exists afterwards, else 0.
  int CreateVDecoder(uint32_t nType, uint32_t nHis, void* pParam1, void* pParam2,
                     uint8_t nOption);
  // Codec id 0: the configured default coder. Always 1.
  int CreateADecoder(uint32_t nCodecId, uint32_t nValue1, uint32_t nValue2, uint32_t nValue3);

  // True on the player's play or decode thread, or inside any of its callbacks (which a step or
  // a seek runs on the caller's thread).
  bool IsOwnThread() const;
  bool HasVDecoder();

 protected:
  // While it lives, the caller's code that this player runs counts as the player's own thread:
  // a close from inside a callback is refused rather than waiting for itself.
  class CallerCodeScope {
   public:
    explicit CallerCodeScope(const CBasePlayer* pPlayer);
    ~CallerCodeScope();
    CallerCodeScope(const CallerCodeScope&) = delete;
    CallerCodeScope& operator=(const CallerCodeScope&) = delete;

   private:
    const CBasePlayer* m_pOuter;
  };

  bool StartThreads();
  // Stops both threads (no time limit). False, doing nothing, on the player's own thread.
  bool StopThreads();
  // Closes the video decoder and the audio decoder (and the sound output that uses it).
  void CloseDecoders();
  // A video frame of nType was queued (into an empty queue when bWasEmpty): input no longer
  // counts as drained, and the decode loop is woken when it may be waiting for that frame.
  void NotifyVideoQueued(uint32_t nType, bool bWasEmpty);
  // Only the wake: for input that never ends, whose frames need no count for the drain at the
  // end (the count's atomic increment was a tenth of a live stream's input path).
  void WakeDecodeFor(uint32_t nType, bool bWasEmpty);
  // Set when no more video will come (end of file): once the queue is empty the decode loop
  // takes the pictures the decoder still holds (reordering delay) and restarts it.
  void SetEndOfInput(bool bEnd) { m_nEndOfInput = bEnd ? 1 : 0; }
  // The end of input is set and every queued frame has been decoded and shown.
  bool IsInputDrained();
  // Closes and reopens the video decoder, forgetting what it held.
  void ResetVDecoder();
  // Shows the next picture of the ring: false (after waiting up to 20 ms for one) when empty.
  bool ShowNextPicture();
  // Drops every picture of the ring, the shown one too.
  void ClearPictures();
  void ResetPacing();
  // Is the next picture due after nIntervalMs (pacing with carry)?
  bool IsDue(uint32_t nIntervalMs);
  // How long until the next picture would be due; 0 when it is.
  uint32_t MsUntilDue(uint32_t nIntervalMs);
  // The interval (general form) from the current picture to the next one in the ring; false
  // when the ring has no next picture.
  bool NextInterval(uint32_t* pIntervalMs);
  bool IsPaused() const { return m_nPause != 0; }
  bool IsKeyFrameOnly() const;
  // The caller holds the play lock: sets or clears pause without logging.
  void SetPausedLocked(bool bPaused);
  // Waits up to ms, ending early when a picture arrives or the play state changes. It ends on
  // the tick that the pacing waits for, so that the wake-up itself does not count as lateness.
  void WaitPlayWake(uint32_t ms) { m_playWake.WaitUntil(platform::TickDeadline(ms)); }
  // Ends a WaitPlayWake early: new input that the play loop may act on.
  void WakePlay() { m_playWake.Notify(); }
  // Flash (redraw) without a result: a pending one is armed when asked (FlashWnd's step).
  void Repaint(bool bMarkPending);
  // Completes a pending flash once its 500 ms have passed.
  void ServiceRepaint();
  // The lag (pacing carry): a lag of at least the next interval shows the next picture at once.
  void SetPacingLag(uint32_t nLagMs);
  const CThreadBase& PlayThreadObject() const { return m_PlayThread; }

  // Members, in order.
  struct CallbackSlot {
    CMutexLock lock;
    void* pfn = nullptr;
    uint64_t u64User = 0;
  };
  CallbackSlot m_DecCB;
  CallbackSlot m_UsrDataCB;
  CallbackSlot m_DisplayCB;
  CallbackSlot m_DecCBEx;
  CallbackSlot m_PcmCB;
  CallbackSlot m_SizeCB;
  CThreadBase m_PlayThread;
  CThreadBase m_DecodeThread;
  CFrameQueue m_VideoFrames;
  CFrameQueue m_AudioFrames;
  CPictureRing m_PictureRing;
  // The decode thread's reference to the picture it pushes next (moved into the ring).
  AVFrame* m_pPictureRef = nullptr;
  CDraw m_Draw;
  void* m_hWnd = nullptr;
  CMutexLock m_DecoderLock;
  CVDEC* m_pVDecoder = nullptr;
  CMutexLock m_AudioLock;
  CADEC* m_pADecoder = nullptr;
  CWaveOut m_WaveOut;
  std::atomic<uint64_t> m_u64LastShowStamp{0};
  std::unique_ptr<uint8_t[]> m_pWorkBuffer;
  uint32_t m_nWorkBufferSize = 0;
  std::atomic<uint32_t> m_nSoundOn{0};
  CMutexLock m_PlayLock;
  CMutexLock m_TimingLock;        // a leaf lock: the timing is read from several threads
  CPlayTiming m_Timing;           // the pacing tick and carry, the flash and draw ticks
  std::atomic<uint64_t> m_u64CurStamp{0};  // the current picture's stamp
  uint64_t m_u64CurStamp2 = 0;
  std::atomic<uint32_t> m_nPause{0};
  std::atomic<int32_t> m_nPlayRate{0};
  std::atomic<uint32_t> m_nPlayIFrame{0};
  std::atomic<uint32_t> m_nSkipToKeyFrame{0};
  std::atomic<uint32_t> m_nDecodeVideo{1};
  std::atomic<uint32_t> m_nDecodeVideoChanged{1};
  std::atomic<uint32_t> m_nPlayBackIFrame{0};

 private:
  static uint32_t DecodeThreadEntry(void* pPlayer);
  static uint32_t PlayThreadEntry(void* pPlayer);
  static void DisplayHook(uint32_t nIndex, uint64_t u64Window, uint32_t nWidth, uint32_t nHeight,
                          uint64_t u64Stamp, uint32_t nShownWidth, uint32_t nShownHeight,
                          uint32_t nDrawMs, void* pPlayer);
  static void DecodeHook(uint64_t u64Stamp, uint32_t nWidth, uint32_t nHeight, uint32_t nYStride,
                         uint32_t nUVStride, uint32_t nIndex, void* pPlayer);
  static void PcmHook(const int16_t* pcm, uint32_t samples, uint32_t channels, uint32_t bits,
                      uint32_t rate, uint64_t stamp, uint64_t user);
  uint32_t DecodeLoop();
  // One pass of the decode loop; false when the loop must end.
  bool DecodePass();
  bool RingFullPass();
  bool DropToKeyFrame();
  bool ReadIntoWorkBuffer(QueueFrameHead* pHead, bool* pGrown);
  void DeliverUserData(const QueueFrameHead& head);
  void DecodeVideoFrame(const QueueFrameHead& head);
  // Takes the decoder's current picture (its description and, where it gives one, a
  // reference) under the decoder lock; false without a picture.
  bool TakePictureLocked(PictureInfo* pPicture);
  void PushWhenRoom(const PictureInfo& picture, uint32_t nGeneration);
  bool DrainAtEnd();
  // Makes the next picture of the ring the shown one; false when none waits.
  bool AdvanceShown(uint64_t* pStamp);
  int CaptureWith(const char* pPath, bool bJpeg);
  void CloseVDecoderLocked();
  void CloseADecoderLocked();
  void RedrawLocked();
  void RedrawIfDecoder();

  CWakeSignal m_decodeWake;  // a frame queued, room in the ring, a stop
  CWakeSignal m_playWake;    // a picture pushed, pause or rate changed, a stop
  // The ring's shown picture as the picture output sees it (throttle, size checks, captures).
  // Its lock (the show lock) is taken before the ring's.
  CVideoDecodeData m_ShowData;
  HI264DEC_FRAME m_ShowFrame{};
  std::atomic<uint32_t> m_nEndOfInput{0};
  std::atomic<uint32_t> m_nInputSeq{0};    // video frames queued
  std::atomic<uint32_t> m_nDrainedSeq{0};  // m_nInputSeq when the decoder was last drained
  uint64_t m_u64LastInStamp = 0;           // the decode thread's last two input stamps
  uint64_t m_u64PrevInStamp = 0;
};

}  // namespace zp
