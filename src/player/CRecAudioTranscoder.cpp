#include "player/CRecAudioTranscoder.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "audio/CADEC.h"

namespace zp {

namespace {

constexpr uint32_t kAac8000 = 12;
constexpr uint32_t kAacRates[][2] = {{8000, 12}, {16000, 13}, {24000, 15}, {32000, 22},
                                     {40000, 23}, {44100, 24}, {48000, 25}};

uint32_t AacCoderOfRate(uint32_t rate) {
  for (const auto& r : kAacRates) {
    if (r[0] == rate) {
      return r[1];
    }
  }
  return kAac8000;
}

// About two bits a sample: what a mono channel at the source's rate can take (the encoder's
// default, 128 kbit/s, is more than an 8000 Hz channel holds, and searching for it was the
// slowest part of a recording's conversion). Capped where more would not be heard.
constexpr uint32_t kBitsPerSample = 2;
constexpr uint32_t kMaxBitRate = 64000;

CAENC::Tuning TuningOfRate(uint32_t rate) {
  CAENC::Tuning tuning;
  tuning.bitRate = std::min(kBitsPerSample * rate, kMaxBitRate);
  tuning.fastSearch = true;
  return tuning;
}

IAudioTranscoder* MakeTranscoder() { return new (std::nothrow) CRecAudioTranscoder; }

}  // namespace

CRecAudioTranscoder::CRecAudioTranscoder()
    : m_pPcm(new (std::nothrow) uint8_t[kPcmBytes]),
      m_pHeld(new (std::nothrow) uint8_t[kHeld]),
      m_pOut(new (std::nothrow) uint8_t[CAudioEncoder::OutputSize(CAudioEncoder::kAacPiece)]) {}

void CRecAudioTranscoder::Register() { IAudioTranscoder::SetMaker(MakeTranscoder); }

bool CRecAudioTranscoder::Open(uint32_t nCoderType, uint32_t* sampleRate) {
  if (!m_pPcm || !m_pHeld || !m_pOut) {
    return false;
  }
  m_Decoder.DecoderHeadType(nCoderType);
  if (m_Decoder.Decoder() == nullptr) {
    return false;
  }
  *sampleRate = m_Decoder.IsAac() ? m_Decoder.AacSampleRate() : 8000;
  return m_Encoder.Open(AacCoderOfRate(*sampleRate), 1, TuningOfRate(*sampleRate));
}

bool CRecAudioTranscoder::Decode(const uint8_t* data, uint32_t length) {
  const uint32_t bytes = m_Decoder.AudioDecoderFrame(data, length, m_pPcm.get(), kPcmBytes);
  uint16_t channels = 1;
  uint32_t rate = 0, avg = 0;
  uint16_t bits = 0;
  m_nChannels = m_Decoder.WaveFormat(&channels, &rate, &avg, &bits) && channels > 1 ? channels : 1;
  const uint32_t mono = MixToMono(bytes);
  // Sound that does not fit is dropped rather than grown into: the encoder takes it far faster
  // than frames arrive, so only a stalled caller could fill it.
  const uint32_t take = mono < kHeld - m_nHeld ? mono : kHeld - m_nHeld;
  std::memcpy(m_pHeld.get() + m_nHeld, m_pPcm.get(), take);
  m_nHeld += take;
  return mono != 0;
}

uint32_t CRecAudioTranscoder::MixToMono(uint32_t bytes) {
  if (m_nChannels == 1) {
    return bytes;
  }
  auto* pcm = reinterpret_cast<int16_t*>(m_pPcm.get());
  const uint32_t frames = bytes / 2 / m_nChannels;
  for (uint32_t i = 0; i < frames; ++i) {
    int32_t sum = 0;
    for (uint32_t c = 0; c < m_nChannels; ++c) {
      sum += pcm[i * m_nChannels + c];
    }
    pcm[i] = static_cast<int16_t>(sum / static_cast<int32_t>(m_nChannels));
  }
  return frames * 2;
}

bool CRecAudioTranscoder::NextFrame(const uint8_t** frame, uint32_t* length) {
  uint32_t used = 0;
  uint32_t outLen = 0;
  bool got = false;
  // Whole 1024-byte pieces only, one at a time: the encoder gives at most one frame a piece.
  while (!got && used + CAudioEncoder::kAacPiece <= m_nHeld) {
    uint32_t piece = CAudioEncoder::kAacPiece;
    got = m_Encoder.EncodeOneFrame(m_pHeld.get() + used, &piece, m_pOut.get(), &outLen);
    used += piece;
  }
  std::memmove(m_pHeld.get(), m_pHeld.get() + used, m_nHeld - used);
  m_nHeld -= used;
  if (!got && !(m_bFinished && m_Encoder.DrainFrame(m_pOut.get(), &outLen))) {
    return false;
  }
  *frame = m_pOut.get() + CAudioEncoder::kFrameHead;
  *length = outLen - CAudioEncoder::kFrameHead;
  return true;
}

void CRecAudioTranscoder::Finish() {
  m_bFinished = true;
  const uint32_t partial = m_nHeld % CAudioEncoder::kAacPiece;
  if (partial == 0) {
    return;
  }
  // kHeld is a whole number of pieces, so the padded piece always fits.
  const uint32_t pad = CAudioEncoder::kAacPiece - partial;
  std::memset(m_pHeld.get() + m_nHeld, 0, pad);
  m_nHeld += pad;
}

}  // namespace zp
