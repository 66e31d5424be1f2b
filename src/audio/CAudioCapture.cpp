#include "audio/CAudioCapture.h"

#include <speex/speex_preprocess.h>

#include "audio/CEchoCanceller.h"
#include "common/LogAccess.h"
#include "common/Settings.h"

namespace zp {

CAudioCapture::CAudioCapture() : m_nUseSpeex(Settings::nUseSpeex.load(std::memory_order_relaxed) != 0 ? 1 : 0) {}

CAudioCapture::~CAudioCapture() { Close(); }

uint32_t CAudioCapture::FrameSizeFor(uint32_t bufferSize) {
  // Decided on the size in bytes and used as samples: kept, the recorders' captures are tuned
  // to the frames this gives (one run per 320-byte buffer, four per 1024-byte AAC buffer).
  if (bufferSize % 160 == 0) {
    return 160;
  }
  return bufferSize % 128 == 0 ? 128 : 80;
}

bool CAudioCapture::Open(CaptureCallback callback, uint64_t user, uint32_t rate, uint32_t bufferSize) {
  WaveInFormat format;
  format.nSamplesPerSec = rate;
  return OpenFormat(callback, user, format, bufferSize);
}

bool CAudioCapture::OpenFormat(CaptureCallback callback, uint64_t user, const WaveInFormat& format,
                               uint32_t bufferSize) {
  if (m_pWaveIn != nullptr) {
    LogError("%s already open", "CAudioCapture::Open");
    return false;
  }
  m_pWaveIn = std::make_unique<CWaveIn>();
  m_nSampleRate = format.nSamplesPerSec;
  m_pWaveIn->SetCallback(&CAudioCapture::OnWaveIn, reinterpret_cast<uint64_t>(this));
  // Stored before the device starts, so the device thread only ever reads them.
  m_pfnCallback = callback;
  m_u64User = user;
  const bool cleanable = format.nChannels == 1 && format.wBitsPerSample == 16;
  if ((m_nUseSpeex != 0 && cleanable && !CreatePreprocessor(bufferSize)) || !m_pWaveIn->Open(format, bufferSize)) {
    Close();
    return false;
  }
  return true;
}

bool CAudioCapture::CreatePreprocessor(uint32_t bufferSize) {
  m_nFrameSize = FrameSizeFor(bufferSize);
  m_pPreprocess = speex_preprocess_state_init(static_cast<int>(m_nFrameSize), static_cast<int>(m_nSampleRate));
  if (m_pPreprocess == nullptr) {
    LogError("%s speex_preprocess_state_init failed (%u, %u)", "CAudioCapture::Open", m_nFrameSize, m_nSampleRate);
    return false;
  }
  spx_int32_t on = 1;
  spx_int32_t off = 0;
  spx_int32_t agcLevel = 8000;
  float zero = 0.0f;
  speex_preprocess_ctl(m_pPreprocess, SPEEX_PREPROCESS_SET_DENOISE, &on);
  speex_preprocess_ctl(m_pPreprocess, SPEEX_PREPROCESS_SET_AGC, &off);
  speex_preprocess_ctl(m_pPreprocess, SPEEX_PREPROCESS_SET_AGC_LEVEL, &agcLevel);
  speex_preprocess_ctl(m_pPreprocess, SPEEX_PREPROCESS_SET_DEREVERB, &off);
  speex_preprocess_ctl(m_pPreprocess, SPEEX_PREPROCESS_SET_DEREVERB_DECAY, &zero);
  speex_preprocess_ctl(m_pPreprocess, SPEEX_PREPROCESS_SET_DEREVERB_LEVEL, &zero);
  return true;
}

bool CAudioCapture::Close() {
  if (m_pWaveIn != nullptr) {
    if (!m_pWaveIn->Close()) {
      return false;
    }
    m_pWaveIn.reset();  // no buffer arrives after this
  }
  if (m_pPreprocess != nullptr) {
    speex_preprocess_state_destroy(m_pPreprocess);
    m_pPreprocess = nullptr;
  }
  m_pfnCallback = nullptr;
  return true;
}

void CAudioCapture::OnWaveIn(uint8_t* data, uint32_t len, uint64_t user) {
  auto* self = reinterpret_cast<CAudioCapture*>(user);
  if (self->m_pfnCallback == nullptr) {
    return;
  }
  self->Clean(data, len);
  self->m_pfnCallback(data, len, self->m_u64User);
}

void CAudioCapture::Clean(uint8_t* data, uint32_t len) {
  if (m_pEcho != nullptr) {
    m_pEcho->Process(reinterpret_cast<int16_t*>(data), len, Settings::nAecParam2.load(std::memory_order_relaxed));
    return;
  }
  if (m_pPreprocess == nullptr) {
    return;
  }
  auto* samples = reinterpret_cast<spx_int16_t*>(data);
  for (uint32_t at = 0; at + m_nFrameSize <= len / 2; at += m_nFrameSize) {
    speex_preprocess_run(m_pPreprocess, samples + at);
  }
}

}  // namespace zp
