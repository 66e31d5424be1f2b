#include "audio/CWaveOut.h"

#include <SDL.h>

#include <algorithm>
#include <cstring>

#include "audio/CADEC.h"
#include "common/CAutoLock.h"
#include "interface/log/LogAccess.h"
#include "platform/Tick.h"

namespace zp {
namespace {

constexpr uint32_t kCacheCheckMs = 500;
constexpr uint8_t kStartFill = 0x64;

}  // namespace

CWaveOut::CWaveOut()
    : m_pFrameScratch(new uint8_t[kScratchSize]),
      m_pPcmScratch(new int16_t[kScratchSize / sizeof(int16_t)]),
      m_nCreateTick(platform::TickCountMs()) {}

CWaveOut::~CWaveOut() { Stop(); }

void CWaveOut::SetDecoder(CADEC* decoder) {
  CAutoLock lock(&m_decoderLock);
  m_pDecoder = decoder;
}

CADEC* CWaveOut::GetDecoder() {
  CAutoLock lock(&m_decoderLock);
  return m_pDecoder;
}

void CWaveOut::SetFrameBuffer(CFrameQueue* frames) { m_pFrames = frames; }

void CWaveOut::SetPullCallback(PullFrameCallback callback, uint64_t user) {
  m_pfnPull = callback;
  m_u64PullUser = user;
}

void CWaveOut::SetVolume(uint16_t percent) {
  if (m_hWaveOut == 0) {
    return;
  }
  const uint32_t half = std::min<uint32_t>(percent, 100) * 65535u / 100u;
  m_dwVolume = half | (half << 16);
}

uint16_t CWaveOut::GetVolume() {
  if (m_hWaveOut == 0) {
    return 0;
  }
  return static_cast<uint16_t>((m_dwVolume.load() & 0xFFFF) * 100u / 65535u);
}

void CWaveOut::SetGain(double gain) {
  // Below 1 acts as 1: the gain only ever raises the level.
  m_dGain = gain == 0.0 ? 0.0 : std::clamp(gain, 1.0, 25.0);
}

void CWaveOut::WavHeadInit() {
  int channels = 1;
  int rate = 8000;
  m_size_out = 1280;
  {
    CAutoLock lock(&m_decoderLock);
    if (m_pDecoder != nullptr) {
      channels = m_pDecoder->GetWaveFormat().nChannels;
      rate = static_cast<int>(m_pDecoder->GetWaveFormat().nSamplesPerSec);
      m_size_out = static_cast<uint32_t>(m_pDecoder->GetOutSize());
    }
  }
  m_nChannels = static_cast<uint16_t>(channels);
  LogInfo("%s wavefmt.nChannels:%d wavefmt.nSamplesPerSec:%d m_size_out:%d", "CWaveOut::WavHeadInit", channels, rate,
          static_cast<int>(m_size_out));
}

void CWaveOut::FreeBuffers() {
  for (int i = 0; i < 2; ++i) {
    m_WaveHdr[i].data.reset();
    m_WaveHdr[i].length = 0;
    m_WaveHdr[i].prepared = false;
    m_WaveHdr[i].queued = false;
    m_pWork[i].reset();
  }
}

int CWaveOut::Start() {
  if (m_nState == kStatePlaying) {
    return 0;
  }
  WavHeadInit();
  for (WaveBuffer& buffer : m_WaveHdr) {
    buffer.data.reset(new uint8_t[2 * m_size_out]);
    // The first two buffers play this fill before any sound; the devices in the field were
    // tuned with it, so it stays.
    std::memset(buffer.data.get(), kStartFill, m_size_out);
    std::memset(buffer.data.get() + m_size_out, 0, m_size_out);
    buffer.length = m_size_out;
  }
  if (SDL_InitSubSystem(SDL_INIT_AUDIO) != 0) {
    LogError("%s SDL_InitSubSystem failed: %s", "CWaveOut::Start", SDL_GetError());
    FreeBuffers();
    return 0;
  }
  CADEC* decoder = GetDecoder();
  SDL_AudioSpec want{};
  want.freq = decoder != nullptr ? static_cast<int>(decoder->GetWaveFormat().nSamplesPerSec) : 8000;
  want.format = AUDIO_S16SYS;
  want.channels = static_cast<Uint8>(m_nChannels);
  want.samples = static_cast<Uint16>(m_size_out / (2u * m_nChannels));
  want.callback = &CWaveOut::DeviceCallback;
  want.userdata = this;
  SDL_AudioSpec have{};
  m_nPlaying = 0;
  m_nPlayOffset = 0;
  m_hWaveOut = SDL_OpenAudioDevice(nullptr, 0, &want, &have, 0);
  if (m_hWaveOut == 0) {
    LogError("%s SDL_OpenAudioDevice failed: %s", "CWaveOut::Start", SDL_GetError());
    FreeBuffers();
    SDL_QuitSubSystem(SDL_INIT_AUDIO);
    return 0;
  }
  m_bSdlAudio = true;
  for (int i = 0; i < 2; ++i) {
    m_WaveHdr[i].prepared = true;
    m_pWork[i].reset(new uint8_t[2 * m_size_out]);
    m_WaveHdr[i].queued = true;
  }
  m_nSilence = 0;
  m_nStopping = 0;
  m_nState = kStatePlaying;
  SDL_PauseAudioDevice(m_hWaveOut, 0);
  return 1;
}

void CWaveOut::Stop() {
  if (m_nState != kStatePlaying) {
    return;
  }
  m_nStopping = 1;
  while (m_nInCallback != 0) {
    platform::SleepMs(10);
  }
  m_nState = kStateStopping;
  // Closing joins the device thread, which then reports the close as the old device did.
  SDL_CloseAudioDevice(m_hWaveOut);
  OnClose();
  for (int i = 0; i < 200 && m_nState != kStateClosed; ++i) {
    platform::SleepMs(10);
  }
  FreeBuffers();
  m_hWaveOut = 0;
  if (m_bSdlAudio) {
    SDL_QuitSubSystem(SDL_INIT_AUDIO);
    m_bSdlAudio = false;
  }
}

void CWaveOut::OnClose() {
  m_WaveHdr[0].prepared = false;
  m_WaveHdr[1].prepared = false;
  m_nState = kStateClosed;
}

void CWaveOut::DeviceCallback(void* user, uint8_t* stream, int len) {
  static_cast<CWaveOut*>(user)->FillDevice(stream, len);
}

void CWaveOut::FillDevice(uint8_t* stream, int len) {
  uint32_t pos = 0;
  const auto total = static_cast<uint32_t>(len);
  while (pos < total) {
    WaveBuffer& buffer = m_WaveHdr[m_nPlaying];
    if (!buffer.queued || buffer.data == nullptr) {
      std::memset(stream + pos, 0, total - pos);  // nothing queued: the device plays silence
      return;
    }
    const uint32_t n = std::min(buffer.length - m_nPlayOffset, total - pos);
    CopyWithVolume(stream + pos, buffer.data.get() + m_nPlayOffset, n);
    pos += n;
    m_nPlayOffset += n;
    if (m_nPlayOffset >= buffer.length) {
      buffer.queued = false;
      m_nPlayOffset = 0;
      OnBufferDone(m_nPlaying);
      m_nPlaying ^= 1;
    }
  }
}

void CWaveOut::CopyWithVolume(uint8_t* dest, const uint8_t* src, uint32_t len) {
  const uint32_t volume = m_dwVolume;
  if (volume == 0xFFFFFFFFu) {
    std::memcpy(dest, src, len);
    return;
  }
  const uint32_t left = volume & 0xFFFF;
  const uint32_t right = volume >> 16;
  for (uint32_t i = 0; i + 1 < len; i += 2) {
    int16_t sample;
    std::memcpy(&sample, src + i, 2);
    const bool isRight = m_nChannels == 2 && ((i / 2) % 2) == 1;
    sample = static_cast<int16_t>(sample * static_cast<int32_t>(isRight ? right : left) / 65535);
    std::memcpy(dest + i, &sample, 2);
  }
}

void CWaveOut::OnBufferDone(int index) {
  if (m_nState != kStatePlaying) {
    return;
  }
  WaveBuffer& buffer = m_WaveHdr[index];
  buffer.prepared = true;
  // Counted before the stopping flag is read, so Stop never misses a refill under way.
  ++m_nInCallback;
  if (m_nStopping != 0) {
    --m_nInCallback;
    return;
  }
  if (m_pFrames == nullptr && m_pfnPull == nullptr) {
    --m_nInCallback;
    return;
  }
  if (m_nSilence != 0) {
    std::memset(buffer.data.get(), 0, buffer.length);
  } else {
    InputWaveData(buffer.data.get(), buffer.length);
  }
  buffer.queued = true;
  --m_nInCallback;
}

int CWaveOut::InputWaveData(uint8_t* buffer, uint32_t len) {
  LogDetail("%s nBufferLen:%d", "CWaveOut::InputWaveData", static_cast<int>(len));
  const uint32_t limit = std::min(len, m_size_out);
  uint32_t position = 0;
  for (;;) {
    const int result = DecoderWave(buffer, position, limit);
    if (result < 1) {
      ++m_nEmptyCount;
      break;
    }
    position += static_cast<uint32_t>(result);
    m_nEmptyCount = 0;
  }
  if (position <= m_size_out && m_nEmptyCount == 0) {
    LogDetail("%s Len:%d", "CWaveOut::InputWaveData", static_cast<int>(position));
  }
  if (m_nEmptyCount > m_nNoDataEmptyLimit) {
    // Below the limit the tail keeps what it held, so the last sound repeats for a while.
    const uint32_t room = 2 * m_size_out - std::min(position, 2 * m_size_out);
    std::memset(buffer + position, 0, std::min(len, room));
  }
  return static_cast<int>(position);
}

void CWaveOut::ApplyGain(int16_t* samples, uint32_t count) const {
  const double stored = m_dGain;
  const double gain = stored != 0.0 ? stored : 1.0;
  if (gain == 1.0) {
    return;
  }
  for (uint32_t i = 0; i < count; ++i) {
    const double v = static_cast<double>(samples[i]) * gain;
    samples[i] = static_cast<int16_t>(std::clamp(static_cast<int32_t>(v), -32768, 32767));
  }
}

int CWaveOut::DecodeQueued(uint8_t* out, uint32_t position, uint32_t limit, int* framesPerSecond) {
  QueueFrameHead head;
  uint32_t size = kScratchSize;
  if (m_pFrames->PopIfFits(&head, m_pFrameScratch.get(), &size) == 0) {
    if (size > kScratchSize) {
      m_pFrames->Pop(&head, nullptr);  // larger than any frame we can decode: dropped
    }
    return 0;
  }
  m_u64LastStamp = head.u64Stamp;
  *framesPerSecond = 50;
  CAutoLock lock(&m_decoderLock);
  if (m_pDecoder == nullptr) {
    return 0;
  }
  uint16_t samples = static_cast<uint16_t>(limit);
  m_pDecoder->DecoderFrame(m_pFrameScratch.get(), static_cast<int32_t>(head.nLength), m_pPcmScratch.get(), &samples);
  auto* dest = reinterpret_cast<int16_t*>(out + position);
  if (static_cast<uint32_t>(samples) * 2 <= limit - position) {
    std::memcpy(dest, m_pPcmScratch.get(), static_cast<size_t>(samples) * 2);
  } else {
    samples = 0;  // does not fit what is left of the buffer: the frame is lost
  }
  ApplyGain(dest, samples);
  if (PcmCallback callback = m_pDecoder->GetPcmCallback(); callback != nullptr) {
    const WaveFormat& format = m_pDecoder->GetWaveFormat();
    callback(dest, samples, format.nChannels, format.wBitsPerSample, format.nSamplesPerSec, head.u64Stamp,
             m_pDecoder->PcmUser());
  }
  *framesPerSecond = static_cast<int>(m_pDecoder->FramePreSecond());
  return samples * 2;
}

int CWaveOut::DecodePulled(uint8_t* out, uint32_t position, uint32_t limit) {
  if (position >= limit) {
    return 0;
  }
  QueueFrameHead head;
  CMutexLock* frameLock = nullptr;
  if (m_pfnPull(&head, m_pFrameScratch.get(), kScratchSize, &frameLock, m_u64PullUser) == 0) {
    return 0;
  }
  m_u64LastStamp = head.u64Stamp;
  int result = 0;
  {
    CAutoLock lock(&m_decoderLock);
    if (m_pDecoder != nullptr) {
      uint16_t samples = static_cast<uint16_t>(limit);
      const uint32_t length = std::min(head.nLength, kScratchSize);
      m_pDecoder->DecoderFrame(m_pFrameScratch.get(), static_cast<int32_t>(length), m_pPcmScratch.get(), &samples);
      if (static_cast<uint32_t>(samples) * 2 > limit - position) {
        samples = 0;
      }
      auto* dest = reinterpret_cast<int16_t*>(out + position);
      std::memcpy(dest, m_pPcmScratch.get(), static_cast<size_t>(samples) * 2);
      ApplyGain(dest, samples);
      if (PcmCallback callback = m_pDecoder->GetPcmCallback(); callback != nullptr) {
        const WaveFormat& format = m_pDecoder->GetWaveFormat();
        callback(dest, samples, format.nChannels, format.wBitsPerSample, format.nSamplesPerSec, head.u64Stamp,
                 m_pDecoder->PcmUser());
      }
      result = samples * 2;
    }
  }
  if (frameLock != nullptr) {
    frameLock->Unlock();
  }
  return result;
}

void CWaveOut::CacheControl(int framesPerSecond) {
  const uint32_t now = platform::TickCountMs();
  if (now - m_nLastCheckTick < kCacheCheckMs) {
    return;
  }
  const char* name = "CWaveOut::DecoderWave";
  LogError("%s GetFrameNum:%d, nFramePreSecond:%d", name, m_pFrames->GetFrameNum(), framesPerSecond);
  if (m_pFrames->GetFrameNum() >= static_cast<int>(framesPerSecond * 1.5)) {
    m_pFrames->ReserveFrameEx(framesPerSecond / 4);
    LogInfo("%s GetFrameNum()/nFramePreSecond >  ReserveFrameEx %d", name, m_pFrames->GetFrameNum());
  }
  const uint32_t maxCache = m_nMaxCacheMinSecond;
  const uint64_t reference = m_u64ReferenceTime;
  const uint64_t stamp = m_u64LastStamp;
  uint32_t span = 0;
  if (maxCache >= 1) {
    if (m_pFrames->GetFrameSpan(&span) != 0 && span > maxCache) {
      m_pFrames->ReserveFrameEx(framesPerSecond / 4);
      LogInfo("%s GetFrameSpan() > m_nMaxCacheMinSecond(%d) ReserveFrameEx %d", name, static_cast<int>(maxCache),
              m_pFrames->GetFrameNum());
    }
  } else if (reference == 0) {
    if (m_pFrames->GetFrameSpan(&span) != 0 && span >= 1500) {
      m_pFrames->ReserveFrameEx(10);
    }
  } else if (stamp != 0 && stamp < reference) {
    const auto lag = static_cast<uint32_t>((reference - stamp) / 1000);
    const uint32_t threshold = m_nLongClear != 0 ? 2500 : 800;
    if (lag >= threshold) {
      m_pFrames->ClearFrame(reference);
      LogInfo("%s dwTime:%d(Threshold:%d) ClearFrame FrameNum:%d", name, static_cast<int>(lag),
              static_cast<int>(threshold), m_pFrames->GetFrameNum());
    }
  }
  m_nLastCheckTick = now;
}

int CWaveOut::DecoderWave(uint8_t* out, uint32_t position, uint32_t limit) {
  if (m_pFrames != nullptr) {
    int framesPerSecond = 50;
    const int result = DecodeQueued(out, position, limit, &framesPerSecond);
    if (m_nSkipCacheControl != 0) {
      return result;
    }
    CacheControl(framesPerSecond);
    return result;
  }
  if (m_pfnPull != nullptr) {
    return DecodePulled(out, position, limit);  // no cache control on this path
  }
  return 0;
}

}  // namespace zp
