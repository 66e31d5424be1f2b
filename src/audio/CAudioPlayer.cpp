#include "audio/CAudioPlayer.h"

#include <algorithm>
#include <cstdio>

#include "audio/AudioHead.h"
#include "audio/CADEC.h"
#include "common/CAutoLock.h"
#include "common/FrameTypes.h"
#include "common/LogAccess.h"

namespace zp {
namespace {

constexpr int kKeepOnOverflow = 50;
constexpr uint32_t kHexDumpBytes = 32;

bool StartsUnit(const uint8_t* p, uint32_t len) { return len >= 4 && p[0] == 0x00 && p[1] == 0x01; }

}  // namespace

CAudioPlayer::CAudioPlayer() = default;

CAudioPlayer::~CAudioPlayer() { Close(); }

int CAudioPlayer::Open() {
  if (m_bOpened != 0) {
    return -1;
  }
  if (m_FrameBuffer.Init(kFrames, kBytes) == 0) {
    return -1;
  }
  m_WaveOut.SetMaxCacheMinSecond(m_nAudioDelay);
  m_WaveOut.SetFrameBuffer(&m_FrameBuffer);
  m_bOpened = 1;
  return 0;
}

void CAudioPlayer::DropDecoder() {
  m_WaveOut.SetDecoder(nullptr);
  delete m_pDecoder;
  m_pDecoder = nullptr;
}

void CAudioPlayer::Close() {
  if (m_bOpened == 0) {
    return;
  }
  m_bEcho = 0;
  m_WaveOut.Stop();
  DropDecoder();
  m_FrameBuffer.Reset();
  m_bOpened = 0;
}

int CAudioPlayer::InputAudioHead(const uint8_t* head, uint32_t len) {
  AudioHeadFields fields;
  if (!ParseAudioHead(head, len, &fields)) {
    LogError("%s bad head len:%d", "CAudioPlayer::InputAudioHead", static_cast<int>(len));
    return -1;
  }
  // Stopped first, so that the device reopens in the new decoder's format.
  m_WaveOut.Stop();
  DropDecoder();
  m_pDecoder = CADEC::S_InitAudioDecoder(fields.nCoderType, 0);
  if (m_pDecoder == nullptr) {
    return 0;
  }
  m_pDecoder->InitDecoder(fields.nFrmLen);  // a decoder that fails here plays nothing
  m_WaveOut.SetDecoder(m_pDecoder);
  m_WaveOut.Start();
  if (m_bEcho != 0) {
    CAutoLock lock(m_WaveOut.DecoderLock());
    m_pDecoder->InitAecResamples();
  }
  return 0;
}

void CAudioPlayer::OfferFirstData(const uint8_t* payload, uint32_t len) {
  bool reinitialised = false;
  {
    CAutoLock lock(m_WaveOut.DecoderLock());
    reinitialised = m_pDecoder->InputFirstAudioData(payload, len);
  }
  if (reinitialised) {
    m_FrameBuffer.Reset();
    m_WaveOut.Stop();
    m_WaveOut.Start();
  }
}

bool CAudioPlayer::Grow() {
  const uint32_t frames = m_FrameBuffer.SlotCount() - 1;
  const uint32_t bytes = m_FrameBuffer.Capacity();
  if (bytes >= kMaxGrownBytes / 3 * 2) {
    return false;
  }
  return m_FrameBuffer.Resize(frames * 3 / 2, bytes * 3 / 2) != 0;
}

void CAudioPlayer::WriteFrame(const uint8_t* data, uint32_t len, uint64_t stamp) {
  const QueueFrameHead head{FRAME_TYPE_AUDIO, len, stamp};
  if (m_FrameBuffer.WriteFrame(head, data) != 0) {
    return;
  }
  if (m_bPureAudio != 0) {
    Grow();
  } else {
    LogDetail("CAudioPlayer InputAudioData WriteFrame Failed(%d,%d)", m_FrameBuffer.GetFrameNum(),
              static_cast<int>(m_FrameBuffer.FreeBytes()));
    m_FrameBuffer.ReserveFrameEx(kKeepOnOverflow);
  }
  m_FrameBuffer.WriteFrame(head, data);  // a frame larger than the whole buffer is lost
}

void CAudioPlayer::WriteFrameOrDrop(const uint8_t* data, uint32_t len, uint64_t stamp) {
  const QueueFrameHead head{FRAME_TYPE_AUDIO, len, stamp};
  if (m_FrameBuffer.WriteFrame(head, data) != 0 || m_bPureAudio == 0) {
    return;
  }
  if (Grow()) {
    m_FrameBuffer.WriteFrame(head, data);
  }
}

void CAudioPlayer::StoreHisUnits(const uint8_t* payload, uint32_t len, uint64_t stamp) {
  uint32_t offset = 0;
  while (StartsUnit(payload + offset, len - offset)) {
    const uint32_t unit = 4u + 2u * payload[offset + 2];
    if (unit > len - offset) {
      break;
    }
    WriteFrame(payload + offset, unit, stamp);
    offset += unit;
  }
  if (offset == 0 && len != 0) {
    WriteFrame(payload, len, stamp);  // not units after all: one frame, as sent
  }
}

int CAudioPlayer::InputAudioData(const uint8_t* frame, uint32_t len, uint64_t stamp) {
  CLogFile2* log = LogFile(true);
  if (log->Threshold() <= 0 && frame != nullptr) {
    char title[96];
    std::snprintf(title, sizeof title, "%s len:%d Stamp:%lld", "CAudioPlayer::InputAudioData", static_cast<int>(len),
                  static_cast<long long>(stamp));
    log->WriteHex(0, title, frame, std::min(len, kHexDumpBytes));
  }
  if (m_pDecoder == nullptr) {
    return -1;
  }
  if (frame == nullptr || len < kAudioFrameHead) {
    LogError("%s short frame len:%d", "CAudioPlayer::InputAudioData", static_cast<int>(len));
    return -1;
  }
  const uint64_t frameStamp = ReadU64(frame + 4);
  const uint8_t* payload = frame + kAudioFrameHead;
  const uint32_t payloadLen = len - kAudioFrameHead;
  OfferFirstData(payload, payloadLen);
  if (m_pDecoder->IsHisFrame()) {
    StoreHisUnits(payload, payloadLen, frameStamp);
  } else if (payloadLen != 0) {
    WriteFrame(payload, payloadLen, frameStamp);
  }
  return 0;
}

int CAudioPlayer::InputAudioFrame(const uint8_t* payload, uint32_t len, uint64_t stamp) {
  if (m_pDecoder == nullptr) {
    return -1;
  }
  if (payload == nullptr || len == 0) {
    return 0;
  }
  OfferFirstData(payload, len);
  if (!StartsUnit(payload, len)) {
    WriteFrameOrDrop(payload, len, stamp);
    return 0;
  }
  // Every unit is taken to be as long as the first; its counter byte counts into the length.
  const uint32_t unit = 4u + 2u * ReadU16(payload + 2);
  for (uint32_t i = 0; i < len / unit; ++i) {
    WriteFrameOrDrop(payload + i * unit, unit, stamp);
  }
  return 0;
}

int CAudioPlayer::CheckAudioData(uint32_t len) {
  if (m_FrameBuffer.FreeBytes() < len) {
    return -3;
  }
  if (static_cast<uint32_t>(m_FrameBuffer.GetFrameNum()) + 1 == m_FrameBuffer.SlotCount()) {
    return -3;
  }
  return 0;
}

void CAudioPlayer::PlayAudioSound(int32_t flag) {
  if (flag != 0) {
    m_FrameBuffer.Reset();
  } else {
    m_WaveOut.Stop();
  }
}

void CAudioPlayer::SetAudioDelay(uint32_t ms) {
  m_nAudioDelay = ms;
  m_WaveOut.SetMaxCacheMinSecond(ms);
}

void CAudioPlayer::SetPureAudioMode() {
  m_bPureAudio = 1;
  m_WaveOut.SetSkipCacheControl(true);
}

int CAudioPlayer::OpenEchoCancellation(void* context) {
  if (m_bOpened == 0) {
    return -1;
  }
  m_bEcho = 1;
  m_WaveOut.SetEchoContext(context);
  CAutoLock lock(m_WaveOut.DecoderLock());
  if (m_pDecoder != nullptr) {
    m_pDecoder->InitAecResamples();
  }
  return 0;
}

}  // namespace zp
