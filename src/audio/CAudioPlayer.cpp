#include "audio/CAudioPlayer.h"

#include <algorithm>

#include "audio/AudioHead.h"
#include "audio/CADEC.h"
#include "common/CAutoLock.h"
#include "interface/log/LogAccess.h"
#include "media/FrameFormat.h"

namespace zp {
namespace {

constexpr int kKeepOnOverflow = 50;

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

void CAudioPlayer::Close() {
  if (m_bOpened == 0) {
    return;
  }
  m_bEcho = 0;
  m_WaveOut.Stop();
  m_WaveOut.SetDecoder(nullptr);
  delete m_pDecoder;
  m_pDecoder = nullptr;
  m_FrameBuffer.Reset();
  m_bOpened = 0;
}

int CAudioPlayer::InputAudioHead(const uint8_t* head, uint32_t len) {
  AudioHeadFields fields;
  if (!ParseAudioHead(head, len, &fields)) {
    LogError("%s bad head len:%d", "CAudioPlayer::InputAudioHead", static_cast<int>(len));
    return -1;
  }
  // The device is restarted around the new decoder, so the sound thread never sees the old one.
  m_WaveOut.Stop();
  m_WaveOut.SetDecoder(nullptr);
  delete m_pDecoder;
  m_pDecoder = CADEC::S_InitAudioDecoder(fields.nCoderType, 0);
  if (m_pDecoder == nullptr) {
    return 0;
  }
  m_pDecoder->InitDecoder(fields.nFrmLen);
  m_WaveOut.SetDecoder(m_pDecoder);
  m_WaveOut.Start();
  if (m_bEcho != 0) {
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
  return m_FrameBuffer.Resize(frames * 3 / 2, m_FrameBuffer.Capacity() * 3 / 2) != 0;
}

int CAudioPlayer::WriteFrame(const uint8_t* data, uint32_t len, uint64_t stamp, bool logFailure) {
  const QueueFrameHead head{FRAME_TYPE_AUDIO, len, stamp};
  if (m_FrameBuffer.WriteFrame(head, data) != 0) {
    return 1;
  }
  if (m_bPureAudio != 0) {
    Grow();
  } else if (logFailure) {
    LogDetail("%s WriteFrame Failed(%d,%d)", "CAudioPlayer InputAudioData", m_FrameBuffer.GetFrameNum(),
              static_cast<int>(m_FrameBuffer.FreeBytes()));
    m_FrameBuffer.ReserveFrameEx(kKeepOnOverflow);
  } else {
    return 0;  // dropped silently
  }
  return m_FrameBuffer.WriteFrame(head, data);
}

int CAudioPlayer::InputAudioData(const uint8_t* frame, uint32_t len, uint64_t stamp) {
  if (LogFile(true)->Threshold() <= 0 && frame != nullptr) {
    LogFile(true)->WriteHex(0, "CAudioPlayer::InputAudioData", frame, std::min<uint32_t>(len, 32));
  }
  LogDetail("%s len:%d Stamp:%lld", "CAudioPlayer::InputAudioData", static_cast<int>(len),
            static_cast<long long>(stamp));
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
  if (!m_pDecoder->IsHisFrame()) {
    if (payloadLen != 0) {
      WriteFrame(payload, payloadLen, frameStamp, true);
    }
    return 0;
  }
  uint32_t offset = 0;
  while (offset + 4 <= payloadLen && payload[offset] == 0x00 && payload[offset + 1] == 0x01) {
    const uint32_t unit = 4u + 2u * payload[offset + 2];
    if (offset + unit > payloadLen) {
      break;
    }
    WriteFrame(payload + offset, unit, frameStamp, true);
    offset += unit;
  }
  if (offset == 0 && payloadLen != 0) {
    WriteFrame(payload, payloadLen, frameStamp, true);  // not units after all: one frame
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
  if (len >= 4 && payload[0] == 0x00 && payload[1] == 0x01) {
    const uint32_t unit = 4u + 2u * ReadU16(payload + 2);
    const uint32_t count = len / unit;
    for (uint32_t i = 0; i < count; ++i) {
      WriteFrame(payload + i * unit, unit, stamp, false);
    }
    return 0;
  }
  WriteFrame(payload, len, stamp, false);
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

void CAudioPlayer::ResetBuffer() { m_FrameBuffer.Reset(); }

int CAudioPlayer::OpenEchoCancellation(void* context) {
  if (m_bOpened == 0) {
    return -1;
  }
  m_bEcho = 1;
  m_pEchoContext = context;
  m_WaveOut.SetEchoContext(context);
  CAutoLock lock(m_WaveOut.DecoderLock());
  if (m_pDecoder != nullptr) {
    m_pDecoder->InitAecResamples();
  }
  return 0;
}

}  // namespace zp
