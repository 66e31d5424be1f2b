#include "audio/CWaveIn.h"

#include <SDL.h>

#include <algorithm>
#include <cstring>

#include "audio/SdlAudioLock.h"
#include "common/CAutoLock.h"
#include "common/LogAccess.h"
#include "platform/ThreadId.h"

namespace zp {

CWaveIn::~CWaveIn() { Close(); }

void CWaveIn::SetCallback(WaveInCallback callback, uint64_t user) {
  CAutoLock lock(&m_callbackLock);
  m_pfnCallback = callback;
  m_u64User = user;
}

bool CWaveIn::Open(const WaveInFormat& format, uint32_t bufferSize) {
  const bool pcm = format.wBitsPerSample == 8 || format.wBitsPerSample == 16;
  if (m_nState != kStateClosed || bufferSize == 0 || !pcm || format.nChannels == 0 || format.nChannels > 2 ||
      format.nSamplesPerSec == 0) {
    LogError("%s cannot record %u Hz, %u channels, %u bits in %u-byte buffers", "CWaveIn::Open",
             format.nSamplesPerSec, format.nChannels, format.wBitsPerSample, bufferSize);
    return false;
  }
  m_nBufferSize = bufferSize;
  for (WaveBuffer& buffer : m_WaveHdr) {
    buffer.data.reset(new uint8_t[bufferSize]);
    buffer.recorded = 0;
  }
  m_nFilling = 0;
  m_nStop = 0;
  if (!OpenDevice(format)) {
    for (WaveBuffer& buffer : m_WaveHdr) {
      buffer.data.reset();
    }
    return false;
  }
  m_nState = kStateRecording;
  SDL_PauseAudioDevice(m_hWaveIn, 0);
  return true;
}

bool CWaveIn::OpenDevice(const WaveInFormat& format) {
  CAutoLock lock(&SdlAudioLock());
  if (SDL_InitSubSystem(SDL_INIT_AUDIO) != 0) {
    LogError("%s SDL_InitSubSystem failed: %s", "CWaveIn::Open", SDL_GetError());
    return false;
  }
  SDL_AudioSpec want{};
  want.freq = static_cast<int>(format.nSamplesPerSec);
  want.format = format.wBitsPerSample == 8 ? AUDIO_U8 : AUDIO_S16SYS;
  want.channels = static_cast<Uint8>(format.nChannels);
  const uint32_t frameBytes = format.nChannels * (format.wBitsPerSample / 8u);
  want.samples = static_cast<Uint16>(std::clamp<uint32_t>(m_nBufferSize / frameBytes, 64, 4096));
  want.callback = &CWaveIn::DeviceCallback;
  want.userdata = this;
  // No changes allowed: SDL converts from whatever the device records into the asked format.
  m_hWaveIn = SDL_OpenAudioDevice(nullptr, 1, &want, nullptr, 0);
  if (m_hWaveIn == 0) {
    LogError("%s SDL_OpenAudioDevice failed: %s", "CWaveIn::Open", SDL_GetError());
    SDL_QuitSubSystem(SDL_INIT_AUDIO);
    return false;
  }
  return true;
}

void CWaveIn::DeviceCallback(void* user, uint8_t* stream, int len) {
  static_cast<CWaveIn*>(user)->OnCaptured(stream, static_cast<uint32_t>(len));
}

void CWaveIn::OnCaptured(const uint8_t* stream, uint32_t len) {
  CAutoLock lock(&m_deviceLock);
  while (len > 0 && m_nStop == 0) {
    WaveBuffer* buffer = &m_WaveHdr[m_nFilling];
    const uint32_t take = std::min(len, m_nBufferSize - buffer->recorded);
    std::memcpy(buffer->data.get() + buffer->recorded, stream, take);
    buffer->recorded += take;
    stream += take;
    len -= take;
    if (buffer->recorded == m_nBufferSize) {
      OnBufferFull(buffer);
      m_nFilling ^= 1;
    }
  }
}

void CWaveIn::OnBufferFull(WaveBuffer* buffer) {
  {
    CAutoLock lock(&m_callbackLock);
    if (m_pfnCallback != nullptr) {
      m_nCallbackThread = platform::CurrentThreadId();
      m_pfnCallback(buffer->data.get(), m_nBufferSize, m_u64User);
      m_nCallbackThread = 0;
    }
  }
  buffer->recorded = 0;
}

bool CWaveIn::Close() {
  if (m_nCallbackThread == platform::CurrentThreadId()) {
    // Closing joins the device thread, which is this one.
    LogError("%s refused inside the capture callback", "CWaveIn::Close");
    return false;
  }
  uint8_t recording = kStateRecording;
  if (!m_nState.compare_exchange_strong(recording, kStateStopping)) {
    return true;
  }
  {
    CAutoLock lock(&m_deviceLock);
    m_nStop = 1;
  }
  CloseDevice();
  m_nState = kStateClosed;
  for (WaveBuffer& buffer : m_WaveHdr) {
    buffer.data.reset();
    buffer.recorded = 0;
  }
  return true;
}

void CWaveIn::CloseDevice() {
  CAutoLock lock(&SdlAudioLock());
  // Joins the device thread, outside our device lock, which that thread may be waiting for.
  SDL_CloseAudioDevice(m_hWaveIn);
  SDL_QuitSubSystem(SDL_INIT_AUDIO);
  m_hWaveIn = 0;
}

}  // namespace zp
