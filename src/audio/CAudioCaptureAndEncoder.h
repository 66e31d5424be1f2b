#pragma once
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "audio/CAudioCapture.h"
#include "audio/CAudioEncoder.h"
#include "common/CFrameQueue.h"
#include "common/CMutexLock.h"
#include "common/CThreadBase.h"
#include "platform/CEvent.h"

namespace zp {

// Talk-back in the recorder's own format: each captured buffer is encoded on the sound thread
// and queued; a worker thread of our own hands the frames (12-byte head included) to the
// caller, and appends their payloads to a temporary file while saving.
class CAudioCaptureAndEncoder {
 public:
  static constexpr uint32_t kOutputBytes = 2048;
  static constexpr uint32_t kQueueFrames = 150;
  static constexpr uint32_t kQueueBytes = 25000;
  static constexpr uint32_t kMaxPath = 260;

  // An encoder that fails to open leaves the object capturing and delivering nothing.
  explicit CAudioCaptureAndEncoder(uint32_t nCoderType);
  virtual ~CAudioCaptureAndEncoder();
  CAudioCaptureAndEncoder(const CAudioCaptureAndEncoder&) = delete;
  CAudioCaptureAndEncoder& operator=(const CAudioCaptureAndEncoder&) = delete;

  // Starts the worker, then the capture at the coder type's AAC rate (1024-byte buffers) or at
  // 8000 Hz (320-byte buffers). False, with everything stopped again, when either fails.
  bool Open(CaptureCallback callback, uint64_t user);
  // Stops the worker (waiting for it), then the capture. False, and nothing done, from inside
  // the caller's callback (the worker) or the capture's.
  bool Close();

  // 0 with a new temporary file ("AudioFile..."); 1 when one is open or none can be made.
  int StartSaveToFile();
  void StopSaveToFile();
  std::string SavePath();
  // The last delivery's tick minus the first's, in ms.
  uint32_t DeliveredSpanMs();

 private:
  static void OnCaptured(const uint8_t* data, uint32_t len, uint64_t user);
  static uint32_t WorkerEntry(void* self);
  uint32_t Work();
  void Deliver(const uint8_t* frame, uint32_t len);

  CAudioCapture m_Capture;
  std::unique_ptr<CAudioEncoder> m_pEncoder;
  uint32_t m_nCoderType;
  uint8_t m_OutBuffer[kOutputBytes] = {};
  uint8_t m_DeliverBuffer[kOutputBytes] = {};
  CFrameQueue m_FrameBuffer;
  CaptureCallback m_pfnCallback = nullptr;
  uint64_t m_u64User = 0;
  CThreadBase m_Thread;
  platform::CEvent m_DataReady;  // set by the sound thread for each queued frame
  CMutexLock m_lock;
  std::string m_SavePath;
  std::FILE* m_pSaveFile = nullptr;
  uint32_t m_dwFirstTick = 0;
  uint32_t m_dwLastTick = 0;
  std::atomic<uint32_t> m_nWorkerThread{0};  // who may not close us
};

}  // namespace zp
