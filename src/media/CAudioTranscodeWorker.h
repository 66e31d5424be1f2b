#pragma once
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>

#include "common/CFrameQueue.h"
#include "common/CThreadBase.h"
#include "media/IAudioTranscoder.h"

namespace zp {

// Runs an opened IAudioTranscoder on a thread of its own, so that a recording's sound is decoded
// and encoded while the writer goes on with the video: a conversion's wall time is then the
// longer of the two, not their sum, and a live recorder's input thread no longer pays for the
// encoder.
//
// One thread (the writer's) calls Put, Take, Finish and Wait; the worker calls the transcoder.
// Both queues are made once, at Start: nothing is allocated a frame. Frames come out in the order
// their sound went in, exactly as the transcoder would give them on the writer's own thread.
class CAudioTranscodeWorker {
 public:
  // The largest payload Put takes, and the largest frame Take gives.
  static constexpr uint32_t kMaxPayload = 64 * 1024;
  static constexpr uint32_t kMaxFrame = 8 * 1024;

  explicit CAudioTranscodeWorker(std::unique_ptr<IAudioTranscoder> transcoder);
  // Ends the thread; what was not taken is dropped.
  ~CAudioTranscodeWorker();
  CAudioTranscodeWorker(const CAudioTranscodeWorker&) = delete;
  CAudioTranscodeWorker& operator=(const CAudioTranscodeWorker&) = delete;

  // False when the queues or the thread cannot be made.
  bool Start();
  // Queues one payload; false when it does not fit now (take frames, wait, try again). A payload
  // over kMaxPayload never fits: the caller drops it.
  bool Put(const uint8_t* data, uint32_t length, uint64_t stamp);
  // The next AAC frame into out (kMaxFrame bytes), and the stamp of the first payload that gave
  // sound; false when none is ready.
  bool Take(uint8_t* out, uint32_t* length, uint64_t* firstStamp);
  // No more payloads: the transcoder pads and drains what it holds once the queue is empty.
  void Finish();
  // True once Finish has been served and every frame taken.
  bool IsDone();
  // Waits up to ms, or until a frame is ready, a payload of any size fits or the worker is done.
  void Wait(uint32_t ms);

 private:
  static uint32_t Entry(void* self);
  uint32_t Run();
  // Hands the transcoder's frames to the output queue, waiting for room; false on a stop.
  bool PassFrames();

  std::unique_ptr<IAudioTranscoder> m_pTranscoder;
  CFrameQueue m_In;
  CFrameQueue m_Out;
  std::unique_ptr<uint8_t[]> m_pPayload;  // the worker's copy of the payload it decodes
  std::mutex m_lock;
  std::condition_variable m_workerCond;  // a payload queued, room in the output, finish, stop
  std::condition_variable m_writerCond;  // a payload taken, a frame given, done
  bool m_bFinish = false;
  bool m_bStop = false;
  bool m_bDone = false;
  bool m_bSound = false;          // the worker's own
  uint64_t m_u64FirstStamp = 0;   // the worker's own
  CThreadBase m_Thread;
};

}  // namespace zp
