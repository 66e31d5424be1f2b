#include "audio/CAudioCaptureAndEncoder.h"

#include <algorithm>

#include "audio/CADEC.h"
#include "common/ByteOrder.h"
#include "common/CAutoLock.h"
#include "common/FrameTypes.h"
#include "common/LogAccess.h"
#include "platform/TempFile.h"
#include "platform/ThreadId.h"
#include "platform/Tick.h"

namespace zp {
namespace {

constexpr uint32_t kVoiceBuffer = 320;
constexpr uint32_t kAacBuffer = 1024;
constexpr uint32_t kVoiceRate = 8000;
constexpr uint32_t kWorkerWaitMs = 10;

}  // namespace

CAudioCaptureAndEncoder::CAudioCaptureAndEncoder(uint32_t nCoderType)
    : m_pEncoder(std::make_unique<CAudioEncoder>()), m_nCoderType(nCoderType) {
  if (!m_pEncoder->Open(nCoderType, 0)) {
    LogError("%s no encoder for coder type %u", "CAudioCaptureAndEncoder", nCoderType);
    m_pEncoder.reset();
  }
  m_FrameBuffer.Init(kQueueFrames, kQueueBytes);
}

CAudioCaptureAndEncoder::~CAudioCaptureAndEncoder() {
  Close();
  StopSaveToFile();
}

bool CAudioCaptureAndEncoder::Open(CaptureCallback callback, uint64_t user) {
  const uint32_t aacRate = CADEC::AacRateOfCoder(m_nCoderType);
  m_pfnCallback = callback;
  m_u64User = user;
  if (!m_Thread.Start(&CAudioCaptureAndEncoder::WorkerEntry, this)) {
    return false;
  }
  const uint32_t rate = aacRate != 0 ? aacRate : kVoiceRate;
  const uint32_t buffer = aacRate != 0 ? kAacBuffer : kVoiceBuffer;
  if (!m_Capture.Open(&CAudioCaptureAndEncoder::OnCaptured, reinterpret_cast<uint64_t>(this), rate, buffer)) {
    Close();
    return false;
  }
  return true;
}

bool CAudioCaptureAndEncoder::Close() {
  if (m_nWorkerThread == platform::CurrentThreadId()) {
    LogError("%s refused inside the capture callback", "CAudioCaptureAndEncoder::Close");
    return false;
  }
  if (m_Thread.IsRunning()) {
    m_Thread.Stop(platform::kInfinite);
  }
  m_nWorkerThread = 0;
  return m_Capture.Close();
}

void CAudioCaptureAndEncoder::OnCaptured(const uint8_t* data, uint32_t len, uint64_t user) {
  auto* self = reinterpret_cast<CAudioCaptureAndEncoder*>(user);
  uint32_t outLen = 0;
  if (self->m_pEncoder == nullptr || CAudioEncoder::OutputSize(len) > kOutputBytes ||
      !self->m_pEncoder->EncodeFrame(data, len, self->m_OutBuffer, &outLen) || outLen < 1) {
    return;
  }
  // The tick in ms times 1000 in 32 bits, as the recorders stamp talk-back: it wraps about
  // every 71.6 minutes, and the far end only looks at differences.
  const uint32_t stamp = platform::TickCountMs() * 1000u;
  const QueueFrameHead head{FRAME_TYPE_AUDIO, outLen, stamp};
  if (self->m_FrameBuffer.WriteFrame(head, self->m_OutBuffer) == 0) {
    // A full queue is emptied rather than grown: talk-back wants the newest sound.
    self->m_FrameBuffer.Reset();
    self->m_FrameBuffer.WriteFrame(head, self->m_OutBuffer);
  }
  self->m_DataReady.Set();
}

uint32_t CAudioCaptureAndEncoder::WorkerEntry(void* self) {
  return static_cast<CAudioCaptureAndEncoder*>(self)->Work();
}

uint32_t CAudioCaptureAndEncoder::Work() {
  m_nWorkerThread = platform::CurrentThreadId();
  while (!m_Thread.WaitStop(0)) {
    QueueFrameHead head;
    uint32_t size = kOutputBytes;
    if (m_FrameBuffer.PopIfFits(&head, m_DeliverBuffer, &size) != 0) {
      Deliver(m_DeliverBuffer, head.nLength);
      continue;
    }
    if (size > kOutputBytes) {
      m_FrameBuffer.Pop(&head, nullptr);  // never queued by us; dropped rather than stuck
      continue;
    }
    // Woken by the next queued frame, so it goes out at once; the 10 ms bound keeps the stop
    // check going. The queue is looked at again after the reset, so no frame waits for a wake.
    m_DataReady.Wait(kWorkerWaitMs);
    m_DataReady.Reset();
  }
  return 0;
}

void CAudioCaptureAndEncoder::Deliver(const uint8_t* frame, uint32_t len) {
  const uint32_t now = platform::TickCountMs();
  {
    CAutoLock lock(&m_lock);
    if (m_dwFirstTick == 0) {
      m_dwFirstTick = now;
    }
    m_dwLastTick = now;
    if (m_pSaveFile != nullptr && len >= CAudioEncoder::kFrameHead) {
      const uint32_t payload = std::min(ReadU32(frame), len - CAudioEncoder::kFrameHead);
      std::fwrite(frame + CAudioEncoder::kFrameHead, 1, payload, m_pSaveFile);
    }
  }
  if (m_pfnCallback != nullptr) {
    m_pfnCallback(frame, len, m_u64User);
  }
}

int CAudioCaptureAndEncoder::StartSaveToFile() {
  CAutoLock lock(&m_lock);
  if (m_pSaveFile != nullptr) {
    return 1;
  }
  const std::string path = platform::CreateTempFile("AudioFile");
  if (path.empty() || path.size() >= kMaxPath) {
    LogError("%s no temporary file", "CAudioCaptureAndEncoder::StartSaveToFile");
    return 1;
  }
  m_pSaveFile = std::fopen(path.c_str(), "wb+");
  if (m_pSaveFile == nullptr) {
    return 1;
  }
  m_SavePath = path;
  m_dwFirstTick = 0;
  m_dwLastTick = 0;
  return 0;
}

void CAudioCaptureAndEncoder::StopSaveToFile() {
  CAutoLock lock(&m_lock);
  if (m_pSaveFile != nullptr) {
    std::fclose(m_pSaveFile);
    m_pSaveFile = nullptr;
  }
}

std::string CAudioCaptureAndEncoder::SavePath() {
  CAutoLock lock(&m_lock);
  return m_SavePath;
}

uint32_t CAudioCaptureAndEncoder::DeliveredSpanMs() {
  CAutoLock lock(&m_lock);
  return m_dwLastTick - m_dwFirstTick;
}

}  // namespace zp
