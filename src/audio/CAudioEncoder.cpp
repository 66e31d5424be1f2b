#include "audio/CAudioEncoder.h"

#include <cstring>

#include "audio/AudioHead.h"
#include "audio/CADEC.h"
#include "common/ByteOrder.h"
#include "platform/Tick.h"

namespace zp {

CAudioEncoder::~CAudioEncoder() { delete m_pEncoder; }

bool CAudioEncoder::Open(uint32_t nCoderType, uint8_t raw, const CAENC::Tuning& tuning) {
  if (m_pEncoder != nullptr) {
    return false;
  }
  m_nCoderType = nCoderType;
  m_pEncoder = CAENC::S_InitAudioEncoder(nCoderType);
  if (m_pEncoder == nullptr) {
    return false;
  }
  m_pEncoder->SetRawOutput(raw);
  m_pEncoder->SetTuning(tuning);
  m_bAacFraming = (raw != 0 || CADEC::AacRateOfCoder(nCoderType) != 0) ? 1 : 0;
  if (m_pEncoder->InitEncoder() == 0) {
    delete m_pEncoder;
    m_pEncoder = nullptr;
    return false;
  }
  return true;
}

void CAudioEncoder::Head(uint8_t* out, uint32_t* outLen) const {
  std::memset(out, 0, kAudioHeadLength);
  WriteU16(out, 1);
  WriteU16(out + 2, 0x6000);
  WriteU16(out + 4, static_cast<uint16_t>(m_nCoderType));
  WriteU16(out + 6, 104);
  *outLen = kAudioHeadLength;
}

void CAudioEncoder::WriteHead(uint8_t* out, uint32_t payload) const {
  // Tick x 1000 in 32 bits, then widened: the stamp wraps every 2^32 us (about 71.6 minutes),
  // as the recorders' own players expect.
  const uint32_t stamp = platform::TickCountMs() * 1000u;
  WriteU32(out, payload);
  WriteU64(out + 4, static_cast<uint64_t>(stamp));
}

bool CAudioEncoder::EncodeFrame(const uint8_t* pcm, uint32_t len, uint8_t* out, uint32_t* outLen) {
  if (m_pEncoder == nullptr) {
    return false;
  }
  const uint32_t piece = (m_bAacFraming != 0 && len >= kAacPiece) ? kAacPiece : kPiece;
  uint32_t payload = 0;
  for (uint32_t at = 0; at + piece <= len; at += piece) {
    uint32_t produced = 0;
    m_pEncoder->EncoderFrame(pcm + at, piece, out + kFrameHead + payload, &produced);
    payload += produced;
  }
  if (payload == 0) {
    return false;
  }
  WriteHead(out, payload);
  *outLen = kFrameHead + payload;
  return true;
}

bool CAudioEncoder::EncodeOneFrame(const uint8_t* pcm, uint32_t* len, uint8_t* out, uint32_t* outLen) {
  if (m_pEncoder == nullptr) {
    return false;
  }
  const uint32_t total = *len;
  uint32_t piece = kPiece;
  if (m_bAacFraming != 0 && total == kAacLargePiece) {
    piece = kAacLargePiece;
  } else if (m_bAacFraming != 0 && total % kAacPiece == 0) {
    piece = kAacPiece;
  }
  uint32_t payload = 0;
  uint32_t at = 0;
  while (payload == 0 && at + piece <= total) {
    m_pEncoder->EncoderFrame(pcm + at, piece, out + kFrameHead, &payload);
    at += piece;
  }
  *len = at;
  if (payload == 0) {
    return false;
  }
  WriteHead(out, payload);
  *outLen = kFrameHead + payload;
  return true;
}

bool CAudioEncoder::DrainFrame(uint8_t* out, uint32_t* outLen) {
  uint32_t payload = 0;
  if (m_pEncoder == nullptr || m_pEncoder->DrainFrame(out + kFrameHead, &payload) == 0) {
    return false;
  }
  WriteHead(out, payload);
  *outLen = kFrameHead + payload;
  return true;
}

}  // namespace zp
