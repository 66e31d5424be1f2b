#include "audio/CADECFaad.h"

#include <algorithm>
#include <cstring>

#include "audio/AdtsHeader.h"
#include "common/LogAccess.h"

namespace zp {
namespace {

constexpr uint32_t kStereoFromHeader = 2000000;
constexpr uint32_t kMonoFromHeader = 1000000;

}  // namespace

CADECFaad::CADECFaad(uint32_t nCoderType) {
  m_nCoderType = nCoderType;
  const uint32_t rate = AacRateOfCoder(nCoderType);
  SetWaveFormat(2, rate, 16);
  SetPacing(rate / 1000, 1024000 / rate);
}

// The handle is closed here too: nothing gains from leaking it.
CADECFaad::~CADECFaad() { ReleaseDecoder(); }

int CADECFaad::InitDecoder(uint32_t nFrmLen) {
  LogInfo("%s Coder:%d nFrmLen=%d, m_WaveFormat.nSamplesPerSec=%d, m_WaveFormat.nChannels=%d",
          "CADECFaad::InitDecoder", static_cast<int>(m_nCoderType), static_cast<int>(nFrmLen),
          static_cast<int>(m_WaveFormat.nSamplesPerSec), static_cast<int>(m_WaveFormat.nChannels));
  if (nFrmLen >= kMonoFromHeader) {
    const uint32_t rate = nFrmLen >= kStereoFromHeader ? nFrmLen % kStereoFromHeader : nFrmLen % kMonoFromHeader;
    if (rate == 0) {
      return 0;  // only InputFirstAudioData makes these values, never with a rate of 0
    }
    SetWaveFormat(2, rate, m_WaveFormat.wBitsPerSample);
    SetPacing(rate / 1000, 1024000 / rate);
  } else if (!(nFrmLen == 1 && m_WaveFormat.nChannels == 1)) {
    const uint32_t rate = AacRateOfCoder(m_nCoderType);
    SetWaveFormat(2, rate == 0 ? 8000 : rate, m_WaveFormat.wBitsPerSample);
  }
  SetWaveFormat(m_WaveFormat.nChannels, m_WaveFormat.nSamplesPerSec, m_WaveFormat.wBitsPerSample);
  LogInfo("%s m_WaveFormat.nSamplesPerSec=%d, m_WaveFormat.nChannels=%d", "CADECFaad::InitDecoder",
          static_cast<int>(m_WaveFormat.nSamplesPerSec), static_cast<int>(m_WaveFormat.nChannels));

  ReleaseDecoder();
  return OpenHandle() ? 1 : 0;
}

bool CADECFaad::OpenHandle() {
  m_hDecoder = NeAACDecOpen();
  if (m_hDecoder == nullptr) {
    return false;
  }
  NeAACDecConfigurationPtr config = NeAACDecGetCurrentConfiguration(m_hDecoder);
  if (m_bAac1Chn != 0) {
    config->defObjectType = MAIN;
    config->defSampleRate = 8000;
    config->outputFormat = FAAD_FMT_16BIT;
  } else {
    config->defObjectType = LC;
  }
  config->dontUpSampleImplicitSBR = 1;
  NeAACDecSetConfiguration(m_hDecoder, config);
  m_bInit = 0;
  return true;
}

int CADECFaad::ReleaseDecoder() {
  if (m_hDecoder == nullptr) {
    return 0;
  }
  NeAACDecClose(m_hDecoder);
  m_hDecoder = nullptr;
  m_bInit = 0;
  return 1;
}

int CADECFaad::DecoderFrame(const uint8_t* in, int32_t len, int16_t* out, uint16_t* outLen) {
  const uint32_t capacity = *outLen;
  *outLen = 0;
  if (m_hDecoder == nullptr || in == nullptr || len <= 0) {
    return 0;
  }
  auto* data = const_cast<unsigned char*>(in);
  if (m_bInit == 0) {
    unsigned long rate = 0;
    unsigned char channels = 0;
    const long res = NeAACDecInit(m_hDecoder, data, static_cast<unsigned long>(len), &rate, &channels);
    if (res < 0) {
      LogInfo("%s NeAACDecInit Fail res=%d", "CADECFaad::DecoderFrame", static_cast<int>(res));
      // A failed NeAACDecInit may keep what it allocated and allocate it anew on the next try:
      // start the next try from a fresh handle.
      NeAACDecClose(m_hDecoder);
      OpenHandle();
      return 0;
    }
    m_nSampleRate = static_cast<uint32_t>(rate);
    m_nChannels = channels;
    LogInfo("%s NeAACDecInit OK sample=%d chn=%d", "CADECFaad::DecoderFrame", static_cast<int>(rate),
            static_cast<int>(channels));
    m_bInit = 1;
  }
  NeAACDecFrameInfo info{};
  void* pcm = NeAACDecDecode(m_hDecoder, &info, data, static_cast<unsigned long>(len));
  if (pcm != nullptr && info.error == 0 && info.samples != 0) {
    // samples x channels, kept so: for stereo output it is the 16-bit byte count. Never more
    // than the decoder produced or than the output holds.
    uint32_t bytes = static_cast<uint32_t>(info.samples * info.channels);
    bytes = std::min<uint32_t>(bytes, static_cast<uint32_t>(info.samples * 2));
    bytes = std::min<uint32_t>(bytes, static_cast<uint32_t>(GetOutSize()));
    if (capacity != 0) {
      bytes = std::min(bytes, capacity);
    }
    std::memcpy(out, pcm, bytes);
    *outLen = static_cast<uint16_t>(bytes / 2);
  }
  if (*outLen >= 1 && m_bResample != 0 && m_nResampleRate != m_WaveFormat.nSamplesPerSec) {
    uint32_t bytes = 0;
    SamplerateTransform(out, &bytes, out, *outLen * 2u, capacity != 0 ? capacity : static_cast<uint32_t>(GetOutSize()));
    *outLen = static_cast<uint16_t>(bytes / 2);
  }
  return 1;
}

bool CADECFaad::InputFirstAudioData(const uint8_t* data, uint32_t len) {
  if (m_bAdtsExamined != 0) {
    return false;
  }
  m_bAdtsExamined = 1;  // set first: a payload that fails is not looked at again
  AdtsHeader header;
  if (!ParseAdtsHeader(data, len, &header)) {
    return false;
  }
  LogError("%s Detach OK channel=%d SamplesPerSec=%d", "CADECFaad::InputFirstAudioData",
           static_cast<int>(header.channelConfiguration), static_cast<int>(header.sampleRate));
  if (header.channelConfiguration == 1) {
    ReleaseDecoder();
    InitDecoder(kMonoFromHeader + header.sampleRate);
    return true;
  }
  if (header.channelConfiguration == 2) {
    ReleaseDecoder();
    InitDecoder(kStereoFromHeader + header.sampleRate);
    return true;
  }
  return false;
}

}  // namespace zp

namespace zp {

uint32_t CADECFaad::GetFrameSize(const uint8_t* data, uint32_t len) {
  AdtsHeader header;
  if (!ParseAdtsHeader(data, len, &header) || header.frameLength < header.HeaderLength()) {
    return len;
  }
  return header.frameLength;
}

}  // namespace zp
