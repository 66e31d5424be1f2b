#include "media/CAudioTranscodeWorker.h"

#include <chrono>
#include <new>

#include "platform/CEvent.h"

namespace zp {

namespace {

// A few seconds of any source's sound: the worker keeps far ahead of the frames' arrival, so
// only a conversion, which writes faster than real time, ever fills it.
constexpr uint32_t kInFrames = 512;
constexpr uint32_t kInBytes = 512 * 1024;
constexpr uint32_t kOutFrames = 128;
constexpr uint32_t kOutBytes = 128 * 1024;

}  // namespace

CAudioTranscodeWorker::CAudioTranscodeWorker(std::unique_ptr<IAudioTranscoder> transcoder)
    : m_pTranscoder(std::move(transcoder)) {}

CAudioTranscodeWorker::~CAudioTranscodeWorker() {
  {
    std::lock_guard<std::mutex> lock(m_lock);
    m_bStop = true;
  }
  m_workerCond.notify_all();
  m_Thread.Stop(platform::kInfinite);
}

bool CAudioTranscodeWorker::Start() {
  m_pPayload.reset(new (std::nothrow) uint8_t[kMaxPayload]);
  if (m_pTranscoder == nullptr || m_pPayload == nullptr || m_In.Init(kInFrames, kInBytes) == 0 ||
      m_Out.Init(kOutFrames, kOutBytes) == 0) {
    return false;
  }
  return m_Thread.Start(&CAudioTranscodeWorker::Entry, this);
}

bool CAudioTranscodeWorker::Put(const uint8_t* data, uint32_t length, uint64_t stamp) {
  if (length > kMaxPayload) {
    return false;
  }
  {
    std::lock_guard<std::mutex> lock(m_lock);
    if (m_bFinish || m_In.WriteFrame(QueueFrameHead{0, length, stamp}, data) == 0) {
      return false;
    }
  }
  m_workerCond.notify_one();
  return true;
}

bool CAudioTranscodeWorker::Take(uint8_t* out, uint32_t* length, uint64_t* firstStamp) {
  QueueFrameHead head;
  uint32_t size = kMaxFrame;
  {
    std::lock_guard<std::mutex> lock(m_lock);
    if (m_Out.PopIfFits(&head, out, &size) == 0) {
      return false;
    }
  }
  m_workerCond.notify_one();
  *length = head.nLength;
  *firstStamp = head.u64Stamp;
  return true;
}

void CAudioTranscodeWorker::Finish() {
  {
    std::lock_guard<std::mutex> lock(m_lock);
    m_bFinish = true;
  }
  m_workerCond.notify_one();
}

bool CAudioTranscodeWorker::IsDone() {
  std::lock_guard<std::mutex> lock(m_lock);
  return m_bDone && m_Out.GetFrameNum() == 0;
}

void CAudioTranscodeWorker::Wait(uint32_t ms) {
  std::unique_lock<std::mutex> lock(m_lock);
  m_writerCond.wait_for(lock, std::chrono::milliseconds(ms), [this] {
    const bool room = !m_bFinish && !m_In.IsFull() && m_In.FreeBytes() >= kMaxPayload;
    return m_bDone || m_Out.GetFrameNum() != 0 || room;
  });
}

uint32_t CAudioTranscodeWorker::Entry(void* self) { return static_cast<CAudioTranscodeWorker*>(self)->Run(); }

uint32_t CAudioTranscodeWorker::Run() {
  for (;;) {
    QueueFrameHead head;
    uint32_t size = kMaxPayload;
    {
      std::unique_lock<std::mutex> lock(m_lock);
      m_workerCond.wait(lock, [this] { return m_bStop || m_bFinish || m_In.GetFrameNum() != 0; });
      if (m_bStop) {
        return 0;
      }
      if (m_In.PopIfFits(&head, m_pPayload.get(), &size) == 0) {
        break;  // finishing, and every payload served
      }
    }
    m_writerCond.notify_one();
    if (m_pTranscoder->Decode(m_pPayload.get(), head.nLength) && !m_bSound) {
      m_bSound = true;
      m_u64FirstStamp = head.u64Stamp;
    }
    if (!PassFrames()) {
      return 0;
    }
  }
  m_pTranscoder->Finish();
  if (PassFrames()) {
    std::lock_guard<std::mutex> lock(m_lock);
    m_bDone = true;
  }
  m_writerCond.notify_one();
  return 0;
}

bool CAudioTranscodeWorker::PassFrames() {
  const uint8_t* frame = nullptr;
  uint32_t length = 0;
  while (m_pTranscoder->NextFrame(&frame, &length)) {
    if (length > kMaxFrame) {
      continue;  // no AAC frame of one channel comes near it
    }
    std::unique_lock<std::mutex> lock(m_lock);
    while (!m_bStop && m_Out.WriteFrame(QueueFrameHead{0, length, m_u64FirstStamp}, frame) == 0) {
      m_workerCond.wait(lock);
    }
    if (m_bStop) {
      return false;
    }
    lock.unlock();
    m_writerCond.notify_one();
  }
  return true;
}

}  // namespace zp
