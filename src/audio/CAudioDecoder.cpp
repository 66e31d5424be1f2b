#include "audio/CAudioDecoder.h"

#include <algorithm>
#include <cstring>

#include "audio/AudioHead.h"
#include "audio/CADEC.h"
#include "audio/CADECG711.h"
#include "common/LogAccess.h"

namespace zp {
namespace {

constexpr uint32_t kFirstCoderType = 1;
constexpr uint32_t kLastCoderType = 25;

}  // namespace

CAudioDecoder::CAudioDecoder() : m_pScratch(new int16_t[kScratchBytes / sizeof(int16_t)]) {}

CAudioDecoder::~CAudioDecoder() = default;

void CAudioDecoder::Replace(uint32_t nCoderType, uint32_t nFrmLen) {
  m_pDecoder.reset(CADEC::S_InitAudioDecoder(nCoderType, 0));
  if (m_pDecoder != nullptr) {
    m_pDecoder->InitDecoder(nFrmLen);  // a decoder that fails here decodes nothing
  }
}

int CAudioDecoder::DecoderHead(const uint8_t* head, uint32_t len) {
  AudioHeadFields fields;
  if (!ParseAudioHead(head, len, &fields)) {
    LogError("%s bad head len:%d", "CAudioDecoder::DecoderHead", static_cast<int>(len));
    return -1;
  }
  if (m_pDecoder != nullptr) {
    if (m_pDecoder->CoderType() == fields.nCoderType) {
      return 0;
    }
    if (fields.nCoderType < kFirstCoderType || fields.nCoderType > kLastCoderType) {
      return 0;  // a head of an unknown coder leaves the working decoder alone
    }
  }
  Replace(fields.nCoderType, fields.nFrmLen);
  if (m_pDecoder != nullptr && fields.nChannels == 1 && fields.nSampleRate == 8000) {
    m_pDecoder->SetResample(true, 1, 8000);
    m_pDecoder->InitResamples();
    LogInfo("%s InitResamples", "CAudioDecoder::DecoderHead");
  }
  return 0;
}

int CAudioDecoder::DecoderHeadType(uint32_t nCoderType) {
  Replace(nCoderType, 0);
  return 0;
}

bool CAudioDecoder::WaveFormat(uint16_t* channels, uint32_t* samplesPerSec, uint32_t* avgBytesPerSec,
                               uint16_t* bitsPerSample) const {
  if (m_pDecoder == nullptr) {
    return false;
  }
  const zp::WaveFormat& format = m_pDecoder->GetWaveFormat();
  *channels = format.nChannels;
  *samplesPerSec = format.nSamplesPerSec;
  *avgBytesPerSec = format.nAvgBytesPerSec;
  *bitsPerSample = format.wBitsPerSample;
  return true;
}

bool CAudioDecoder::IsAac() const {
  return m_pDecoder != nullptr && CADEC::AacRateOfCoder(m_pDecoder->CoderType()) != 0;
}

uint32_t CAudioDecoder::AacSampleRate() const {
  if (m_pDecoder == nullptr) {
    return 8000;
  }
  return CADEC::AacRateOfCoder(m_pDecoder->CoderType());
}

uint32_t CAudioDecoder::DecodeOne(const uint8_t* in, uint32_t len, uint8_t* out, uint32_t room) {
  // The count carries the capacity in bytes on entry (the AAC decoder reads it).
  auto samples = static_cast<uint16_t>(std::min(room, kScratchBytes) & ~1u);
  if (samples == 0) {
    return 0;
  }
  m_pDecoder->DecoderFrame(in, static_cast<int32_t>(len), m_pScratch.get(), &samples);
  const uint32_t bytes = std::min<uint32_t>(samples * 2u, kScratchBytes);
  if (bytes > room) {
    return 0;
  }
  std::memcpy(out, m_pScratch.get(), bytes);
  return bytes;
}

CAudioDecoder::Step CAudioDecoder::StepOf(uint32_t nCoderType) {
  switch (nCoderType) {
    case 17:
    case 18:
      return {CADECG711::kStepBytes, 2 * CADECG711::kStepBytes, true};
    case 20:
    case 21:
      return {sizeof(int16_t), sizeof(int16_t), false};  // half a sample at the end is dropped
    default:
      return {};  // one frame per call
  }
}

uint32_t CAudioDecoder::DecodeUnits(const uint8_t* in, uint32_t len, uint8_t* out, uint32_t capacity) {
  uint32_t offset = 0;
  uint32_t written = 0;
  while (len - offset >= 4 && in[offset] == 0x00 && in[offset + 1] == 0x01) {
    const uint32_t unit = 4u + 2u * in[offset + 2];
    if (unit > len - offset) {
      break;
    }
    written += DecodeOne(in + offset, unit, out + written, capacity - written);
    offset += unit;
  }
  return written;
}

// One call of the decoder gives at most GetOutSize() bytes, so a longer buffer goes in pieces of
// whole steps, as many as the output has room for.
uint32_t CAudioDecoder::DecodeSteps(const uint8_t* in, uint32_t len, uint8_t* out, uint32_t capacity, Step step) {
  if (step.wholeOnly && len % step.in != 0) {
    LogError("%s len:%u is not whole pieces of %u", "CAudioDecoder::AudioDecoderFrame", len, step.in);
    return 0;
  }
  const auto outSize = static_cast<uint32_t>(m_pDecoder->GetOutSize());
  const uint32_t perCall = std::min(outSize, kScratchBytes) / step.out;
  uint32_t offset = 0;
  uint32_t written = 0;
  for (;;) {
    const uint32_t steps = std::min({(len - offset) / step.in, perCall, (capacity - written) / step.out});
    if (steps == 0) {
      return written;
    }
    const uint32_t bytes = DecodeOne(in + offset, steps * step.in, out + written, capacity - written);
    if (bytes == 0) {
      return written;
    }
    offset += steps * step.in;
    written += bytes;
  }
}

uint32_t CAudioDecoder::AudioDecoderFrame(const uint8_t* in, uint32_t len, uint8_t* out, uint32_t capacity) {
  if (m_pDecoder == nullptr || in == nullptr || out == nullptr || len == 0) {
    return 0;
  }
  if (m_pDecoder->IsHisFrame()) {
    return DecodeUnits(in, len, out, capacity);
  }
  const Step step = StepOf(m_pDecoder->CoderType());
  if (step.in == 0) {
    return DecodeOne(in, std::min<uint32_t>(len, INT32_MAX), out, capacity);
  }
  return DecodeSteps(in, len, out, capacity, step);
}

}  // namespace zp
