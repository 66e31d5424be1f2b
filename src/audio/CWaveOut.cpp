#include "audio/CWaveOut.h"

#include <SDL.h>

#include <algorithm>
#include <cstring>

#include "audio/CADEC.h"
#include "audio/SdlAudioLock.h"
#include "common/CAutoLock.h"
#include "common/LogAccess.h"
#include "platform/Tick.h"

namespace zp {
namespace {

constexpr uint8_t kStartFill = 0x64;
constexpr uint32_t kDefaultSizeOut = 1280;
constexpr uint32_t kDefaultFramesPerSecond = 50;
constexpr uint32_t kFullVolume = 0xFFFFFFFFu;
constexpr uint32_t kWaitStepMs = 10;

}  // namespace

CWaveOut::CWaveOut(CAudioCacheControl::TickSource tick)
    : m_pFrameScratch(new uint8_t[kScratchSize]),
      m_pPcmScratch(new int16_t[kScratchSize / sizeof(int16_t)]),
      m_CacheControl(std::move(tick)) {}

CWaveOut::~CWaveOut() {
  Stop();
  ReleaseAudio();
}

void CWaveOut::SetDecoder(CADEC* decoder) {
  CAutoLock lock(&m_decoderLock);
  m_pDecoder = decoder;
}

CADEC* CWaveOut::GetDecoder() {
  CAutoLock lock(&m_decoderLock);
  return m_pDecoder;
}

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

uint16_t CWaveOut::GetVolume() const {
  if (m_hWaveOut == 0) {
    return 0;
  }
  return static_cast<uint16_t>((m_dwVolume.load() & 0xFFFFu) * 100u / 65535u);
}

void CWaveOut::SetGain(double gain) {
  // Below 1 acts as 1: the gain only ever raises the level.
  m_dGain = gain == 0.0 ? 0.0 : std::clamp(gain, 1.0, 25.0);
}

void CWaveOut::WavHeadInit(int* rate) {
  int channels = 1;
  *rate = 8000;
  m_size_out = kDefaultSizeOut;
  {
    CAutoLock lock(&m_decoderLock);
    if (m_pDecoder != nullptr) {
      channels = m_pDecoder->GetWaveFormat().nChannels;
      *rate = static_cast<int>(m_pDecoder->GetWaveFormat().nSamplesPerSec);
      m_size_out = static_cast<uint32_t>(m_pDecoder->GetOutSize());
    }
  }
  m_nChannels = static_cast<uint16_t>(channels);
  LogInfo("%s wavefmt.nChannels:%d wavefmt.nSamplesPerSec:%d m_size_out:%d", "CWaveOut::WavHeadInit", channels,
          *rate, static_cast<int>(m_size_out));
}

void CWaveOut::FreeBuffers() {
  for (WaveBuffer& buffer : m_WaveHdr) {
    buffer.data.reset();
    buffer.length = 0;
    buffer.queued = false;
  }
}

int CWaveOut::Start() {
  if (m_nState == kStatePlaying) {
    return 0;
  }
  int rate = 0;
  WavHeadInit(&rate);
  for (WaveBuffer& buffer : m_WaveHdr) {
    // Twice the length: an empty refill writes a whole buffer length of silence from wherever
    // the sound stopped.
    buffer.data.reset(new uint8_t[2 * m_size_out]);
    // The first two buffers play this fill before any sound; the devices in the field were
    // tuned with it, so it stays.
    std::memset(buffer.data.get(), kStartFill, m_size_out);
    std::memset(buffer.data.get() + m_size_out, 0, m_size_out);
    buffer.length = m_size_out;
    buffer.queued = true;
  }
  m_nPlaying = 0;
  m_nPlayOffset = 0;
  m_nEmptyCount = 0;
  m_nSilence = 0;
  m_nStopping = 0;
  // Playing before the device runs: its first callback may come at once.
  m_nState = kStatePlaying;
  if (!OpenDevice(rate)) {
    m_nState = kStateClosed;
    FreeBuffers();
    return 0;
  }
  return 1;
}

bool CWaveOut::OpenDevice(int rate) {
  if (rate <= 0 || m_nChannels == 0 || m_nChannels > 2) {
    LogError("%s no device for %d channels at %d Hz", "CWaveOut::Start", m_nChannels, rate);
    return false;
  }
  CAutoLock lock(&SdlAudioLock());
  if (!m_bAudioHeld) {
    if (SDL_InitSubSystem(SDL_INIT_AUDIO) != 0) {
      LogError("%s SDL_InitSubSystem failed: %s", "CWaveOut::Start", SDL_GetError());
      return false;
    }
    m_bAudioHeld = true;
  }
  SDL_AudioSpec want{};
  want.freq = rate;
  want.format = AUDIO_S16SYS;
  want.channels = static_cast<Uint8>(m_nChannels);
  want.samples = static_cast<Uint16>(m_size_out / (2u * m_nChannels));
  want.callback = &CWaveOut::DeviceCallback;
  want.userdata = this;
  // No changes allowed: SDL converts to whatever the device needs, so our buffers keep the
  // decoder's format.
  m_hWaveOut = SDL_OpenAudioDevice(nullptr, 0, &want, nullptr, 0);
  if (m_hWaveOut == 0) {
    LogError("%s SDL_OpenAudioDevice failed: %s", "CWaveOut::Start", SDL_GetError());
    return false;
  }
  SDL_PauseAudioDevice(m_hWaveOut, 0);
  return true;
}

void CWaveOut::CloseDevice() {
  CAutoLock lock(&SdlAudioLock());
  // Joins the device thread: no callback runs after this.
  SDL_CloseAudioDevice(m_hWaveOut);
  m_hWaveOut = 0;
}

void CWaveOut::ReleaseAudio() {
  CAutoLock lock(&SdlAudioLock());
  if (m_bAudioHeld) {
    SDL_QuitSubSystem(SDL_INIT_AUDIO);
    m_bAudioHeld = false;
  }
}

void CWaveOut::Stop() {
  if (m_nState != kStatePlaying) {
    return;
  }
  m_nStopping = 1;
  while (m_nInCallback != 0) {
    platform::SleepMs(kWaitStepMs);
  }
  m_nState = kStateStopping;
  CloseDevice();  // SDL closes synchronously: this is where the close is reported
  m_nState = kStateClosed;
  FreeBuffers();
}

void CWaveOut::DeviceCallback(void* user, uint8_t* stream, int len) {
  static_cast<CWaveOut*>(user)->FillDevice(stream, static_cast<uint32_t>(len));
}

void CWaveOut::FillDevice(uint8_t* stream, uint32_t len) {
  uint32_t pos = 0;
  while (pos < len) {
    if (!m_WaveHdr[m_nPlaying].queued) {
      m_nPlaying ^= 1;  // the device plays whatever is queued, in order
      m_nPlayOffset = 0;
      if (!m_WaveHdr[m_nPlaying].queued) {
        std::memset(stream + pos, 0, len - pos);  // nothing queued: the device is idle
        return;
      }
    }
    WaveBuffer& buffer = m_WaveHdr[m_nPlaying];
    const uint32_t n = std::min(buffer.length - m_nPlayOffset, len - pos);
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

void CWaveOut::CopyWithVolume(uint8_t* dest, const uint8_t* src, uint32_t len) const {
  const uint32_t volume = m_dwVolume;
  if (volume == kFullVolume) {
    std::memcpy(dest, src, len);
    return;
  }
  const int32_t halves[2] = {static_cast<int32_t>(volume & 0xFFFFu), static_cast<int32_t>(volume >> 16)};
  const uint32_t channels = m_nChannels == 2 ? 2 : 1;
  for (uint32_t i = 0; i + 1 < len; i += 2) {
    int16_t sample;
    std::memcpy(&sample, src + i, 2);
    const int32_t half = halves[(i / 2) % channels];
    sample = static_cast<int16_t>(sample * half / 65535);
    std::memcpy(dest + i, &sample, 2);
  }
}

void CWaveOut::OnBufferDone(int index) {
  if (m_nState != kStatePlaying) {
    return;
  }
  // Counted before the stopping flag is read, so Stop never misses a refill under way.
  ++m_nInCallback;
  if (m_nStopping == 0) {
    RefillBuffer(&m_WaveHdr[index]);
  }
  --m_nInCallback;
}

void CWaveOut::RefillBuffer(WaveBuffer* buffer) {
  if (m_pFrames == nullptr && m_pfnPull == nullptr) {
    return;  // not queued again: with nothing to play from, the device runs dry
  }
  if (m_nSilence != 0) {
    std::memset(buffer->data.get(), 0, buffer->length);
  } else {
    InputWaveData(buffer->data.get(), buffer->length);
  }
  buffer->queued = true;
}

void CWaveOut::InputWaveData(uint8_t* buffer, uint32_t len) {
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
    // Up to the limit the tail keeps what it held, so the last sound repeats for a while
    // before silence. The buffer is twice len long, so this stays inside it.
    std::memset(buffer + position, 0, len);
  }
}

int CWaveOut::DecoderWave(uint8_t* out, uint32_t position, uint32_t limit) {
  if (m_pFrames != nullptr) {
    uint32_t framesPerSecond = kDefaultFramesPerSecond;
    const int result = DecodeQueued(out, position, limit, &framesPerSecond);
    if (m_nSkipCacheControl == 0) {
      m_CacheControl.Check(m_pFrames, framesPerSecond, m_u64LastStamp);
    }
    return result;
  }
  if (m_pfnPull != nullptr) {
    return DecodePulled(out, position, limit);  // the puller paces itself: no cache rules
  }
  return 0;
}

int CWaveOut::DecodeQueued(uint8_t* out, uint32_t position, uint32_t limit, uint32_t* framesPerSecond) {
  QueueFrameHead head;
  uint32_t size = kScratchSize;
  if (m_pFrames->PopIfFits(&head, m_pFrameScratch.get(), &size) == 0) {
    if (size > kScratchSize) {
      m_pFrames->Pop(&head, nullptr);
      LogError("%s frame of %d bytes dropped", "CWaveOut::DecoderWave", static_cast<int>(size));
    }
    return 0;
  }
  m_u64LastStamp = head.u64Stamp;
  CAutoLock lock(&m_decoderLock);
  if (m_pDecoder == nullptr) {
    return 0;
  }
  // A frame that does not fit what is left of the buffer is lost, not kept for the next one.
  const int result = DecodeToOut(head.u64Stamp, head.nLength, out + position, limit - position, false);
  *framesPerSecond = m_pDecoder->FramePreSecond();
  return result;
}

int CWaveOut::DecodePulled(uint8_t* out, uint32_t position, uint32_t limit) {
  if (position >= limit) {
    return 0;  // a full buffer: the next frame waits for the next refill
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
      // Played up to the end of the buffer; the rest of the frame is cut off.
      result = DecodeToOut(head.u64Stamp, std::min(head.nLength, kScratchSize), out + position, limit - position,
                           true);
    }
  }
  if (frameLock != nullptr) {
    frameLock->Unlock();  // taken by the puller, handed over to us
  }
  return result;
}

int CWaveOut::DecodeToOut(uint64_t stamp, uint32_t length, uint8_t* out, uint32_t room, bool keepWhatFits) {
  // On entry the count carries the buffer length in bytes: the AAC decoder reads it as its
  // capacity.
  uint16_t samples = static_cast<uint16_t>(std::min<uint32_t>(m_size_out, kScratchSize));
  m_pDecoder->DecoderFrame(m_pFrameScratch.get(), static_cast<int32_t>(length), m_pPcmScratch.get(), &samples);
  uint32_t bytes = std::min<uint32_t>(samples * 2u, kScratchSize);
  if (bytes > room) {
    bytes = keepWhatFits ? room & ~1u : 0;
  }
  auto* pcm = reinterpret_cast<int16_t*>(out);
  std::memcpy(pcm, m_pPcmScratch.get(), bytes);
  ApplyGain(pcm, bytes / 2);
  if (PcmCallback callback = m_pDecoder->GetPcmCallback(); callback != nullptr) {
    const WaveFormat& format = m_pDecoder->GetWaveFormat();
    callback(pcm, bytes / 2, format.nChannels, format.wBitsPerSample, format.nSamplesPerSec, stamp,
             m_pDecoder->PcmUser());
  }
  return static_cast<int>(bytes);
}

void CWaveOut::ApplyGain(int16_t* samples, uint32_t count) const {
  const double stored = m_dGain;
  const double gain = stored != 0.0 ? stored : 1.0;
  if (gain == 1.0) {
    return;
  }
  for (uint32_t i = 0; i < count; ++i) {
    const auto scaled = static_cast<int32_t>(static_cast<double>(samples[i]) * gain);  // truncated
    samples[i] = static_cast<int16_t>(std::clamp(scaled, -32768, 32767));
  }
}

}  // namespace zp
