#include "audio/CADEC.h"

#include <new>

#include "audio/CADECArm.h"
#include "audio/CADECFaad.h"
#include "audio/CADECG711.h"
#include "audio/CADECHis.h"
#include "audio/CADECNelly.h"
#include "audio/CADECPcm.h"
#include "common/LogAccess.h"

namespace zp {

CADEC::CADEC() = default;

CADEC::~CADEC() {
  delete[] m_pSrcIn;
  delete[] m_pSrcOut;
  if (m_pSrcState != nullptr) {
    src_delete(m_pSrcState);
  }
}

bool CADEC::InputFirstAudioData(const uint8_t*, uint32_t) { return false; }

uint32_t CADEC::AacRateOfCoder(uint32_t nCoderType) {
  switch (nCoderType) {
    case 12:
      return 8000;
    case 13:
      return 16000;
    case 15:
      return 24000;
    case 22:
      return 32000;
    case 23:
      return 40000;
    case 24:
      return 44100;
    case 25:
      return 48000;
    default:
      return 0;
  }
}

CADEC* CADEC::S_InitAudioDecoder(uint32_t nCoderType, uint32_t /*flag: accepted, no effect*/) {
  LogError("%s nCoderType:%d", "CADEC::S_InitAudioDecoder", static_cast<int>(nCoderType));
  if (AacRateOfCoder(nCoderType) != 0) {
    return new (std::nothrow) CADECFaad(nCoderType);
  }
  switch (nCoderType) {
    case 14:
      return new (std::nothrow) CADECArm(nCoderType);
    case 17:
    case 18:
      return new (std::nothrow) CADECG711(nCoderType);
    case 19:
      return new (std::nothrow) CADECNelly(nCoderType);
    case 20:
    case 21:
      return new (std::nothrow) CADECPcm(nCoderType);
    default:
      // 0 to 11 and 16 are voice-engine types; anything else gets one too, whose
      // InitDecoder then fails.
      return new (std::nothrow) CADECHis(nCoderType);
  }
}

void CADEC::SetWaveFormat(uint16_t channels, uint32_t rate, uint16_t bits) {
  m_WaveFormat.wFormatTag = 1;
  m_WaveFormat.nChannels = channels;
  m_WaveFormat.nSamplesPerSec = rate;
  m_WaveFormat.wBitsPerSample = bits;
  m_WaveFormat.nBlockAlign = static_cast<uint16_t>(bits * channels / 8);
  m_WaveFormat.nAvgBytesPerSec = rate * m_WaveFormat.nBlockAlign;
  m_WaveFormat.cbSize = 0;
}

void CADEC::SetPcmCallback(PcmCallback callback, uint64_t user) {
  m_pfnPcm = callback;
  m_u64PcmUser = user;
}

void CADEC::SetPacing(uint32_t framesPerSecond, uint32_t frameMs) {
  nFramePreSecond = framesPerSecond;
  m_nFrameMs = frameMs;
}

void CADEC::SetResample(bool enable, uint32_t channels, uint32_t rate) {
  m_bResample = enable ? 1 : 0;
  m_nResampleChannels = channels;
  m_nResampleRate = rate;
}

bool CADEC::MakeConverter(bool logIt) {
  if (m_nResampleRate == m_WaveFormat.nSamplesPerSec || m_pSrcState != nullptr || m_WaveFormat.nSamplesPerSec == 0) {
    return false;
  }
  int error = 0;
  m_pSrcState = src_new(SRC_SINC_FASTEST, 1, &error);
  if (m_pSrcState == nullptr) {
    LogError("%s src_new nError:%s", "CADEC::InitResamples", src_strerror(error));
    return false;
  }
  m_SrcData.src_ratio = static_cast<double>(m_nResampleRate) / m_WaveFormat.nSamplesPerSec;
  if (m_pSrcIn == nullptr) {
    m_pSrcIn = new (std::nothrow) float[kResampleBufferSamples];
  }
  if (m_pSrcOut == nullptr) {
    m_pSrcOut = new (std::nothrow) float[kResampleBufferSamples];
  }
  if (m_pSrcIn == nullptr || m_pSrcOut == nullptr) {
    src_delete(m_pSrcState);
    m_pSrcState = nullptr;
    return false;
  }
  m_SrcData.data_in = m_pSrcIn;
  m_SrcData.data_out = m_pSrcOut;
  m_SrcData.output_frames = kResampleBufferSamples;
  if (logIt) {
    LogInfo("%s ", "CADEC::InitResamples");
  }
  return true;
}

void CADEC::InitResamples() { MakeConverter(true); }

void CADEC::InitAecResamples() {
  // The rate is forced to 16000 on purpose: the wave-out takes the decoder's format when it
  // starts, and the echo canceller works on 16 kHz output.
  if (m_WaveFormat.nSamplesPerSec != 0) {
    SetWaveFormat(m_WaveFormat.nChannels, 16000, m_WaveFormat.wBitsPerSample);
  }
  MakeConverter(false);
}

void CADEC::SamplerateTransform(int16_t* out, uint32_t* outBytes, const int16_t* in, uint32_t inBytes,
                                uint32_t outCapacity) {
  if (m_pSrcState == nullptr || out == nullptr || outBytes == nullptr || in == nullptr) {
    return;
  }
  uint32_t frames = inBytes / 2;
  if (frames > kResampleBufferSamples) {
    frames = kResampleBufferSamples;
  }
  // By value, no scaling: the converter is linear, so 16-bit magnitudes pass through as they are.
  for (uint32_t i = 0; i < frames; ++i) {
    m_pSrcIn[i] = static_cast<float>(in[i]);
  }
  m_SrcData.input_frames = frames;
  m_SrcData.data_in = m_pSrcIn;
  m_SrcData.data_out = m_pSrcOut;
  const uint32_t capacity = outCapacity / 2;
  uint32_t written = 0;
  while (m_SrcData.input_frames >= 1) {
    const int error = src_process(m_pSrcState, &m_SrcData);
    if (error != 0) {
      LogInfo("%s src_process nError:%s", "CADEC::SamplerateTransform", src_strerror(error));
      return;
    }
    if (m_SrcData.output_frames_gen == 0) {
      *outBytes = 0;
      LogInfo("%s src_process m_src_data.output_frames_gen=0", "CADEC::SamplerateTransform");
      return;
    }
    const uint32_t passStart = written;
    for (long i = 0; i < m_SrcData.output_frames_gen && written < capacity; ++i) {
      // Truncated to 16 bits without clipping, as it always was.
      out[written++] = static_cast<int16_t>(static_cast<int32_t>(m_pSrcOut[i]));
    }
    // Only the last pass is reported; callers were built around that count. What did not fit
    // the output is not counted.
    *outBytes = (written - passStart) * 2;
    if (m_SrcData.input_frames_used == 0) {
      return;  // nothing more will be taken: stop rather than spin
    }
    m_SrcData.data_in += m_SrcData.input_frames_used;
    m_SrcData.input_frames -= m_SrcData.input_frames_used;
  }
}

}  // namespace zp
