#include "audio/CAudioFilePlayer.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "audio/AdtsHeader.h"
#include "audio/CADEC.h"
#include "common/CAutoLock.h"
#include "common/LogAccess.h"

namespace zp {

CAudioFilePlayer::~CAudioFilePlayer() { Stop(); }

void CAudioFilePlayer::SetMessageCallback(MessageCallback callback, uint64_t user) {
  CAutoLock lock(&m_CallbackLock);
  m_pfnMsg = callback;
  m_u64MsgUser = user;
}

uint32_t CAudioFilePlayer::CoderTypeOfRate(uint32_t rate) {
  switch (rate) {
    case 24000:
      return 15;
    case 48000:
      return 25;
    case 40000:
      return 23;
    case 32000:
      return 22;
    case 16000:
      return 13;
    default:
      return rate >= 44000 && rate < 48000 ? 24 : 12;
  }
}

int32_t CAudioFilePlayer::Start(const std::string& path) {
  if (m_pFile != nullptr) {
    return 1;
  }
  // A second start while playing starts over: the sound thread must let go of the frames.
  Stop();
  // Opened for update although only read: a file that cannot be written is not played, as
  // callers have always seen it.
  m_pFile = std::fopen(path.c_str(), "rb+");
  if (m_pFile == nullptr) {
    LogError("%s cannot open %s", "CAudioFilePlayer::Start", path.c_str());
    return 1;
  }
  m_strPath = path;
  const bool loaded = LoadFrames();
  std::fclose(m_pFile);
  m_pFile = nullptr;
  if (!loaded || m_Frames.empty()) {
    return 1;
  }
  m_WaveOut.SetNoDataEmptyCount(0);
  m_WaveOut.SetPullCallback(&CAudioFilePlayer::PullFrame, reinterpret_cast<uint64_t>(this));
  const uint32_t rate = 1024000 / m_nFrameMs;
  m_pDecoder = CADEC::S_InitAudioDecoder(CoderTypeOfRate(rate), 0);
  if (m_pDecoder == nullptr) {
    return 0;
  }
  m_pDecoder->InitDecoder(0);
  m_WaveOut.SetDecoder(m_pDecoder);
  if (m_WaveOut.Start() == 0) {
    LogError("%s no sound device", "CAudioFilePlayer::Start");
  }
  return 0;
}

bool CAudioFilePlayer::LoadFrames() {
  m_Frames.clear();
  m_nPlayIndex = 0;
  m_nFrameMs = 0;
  m_nPlayTime = 0;
  m_bEndReported = 0;
  if (std::fseek(m_pFile, 0, SEEK_END) != 0) {
    return false;
  }
  const long size = std::ftell(m_pFile);
  if (size <= 0 || size >= kMaxFileSize) {
    LogError("%s file size %ld refused", "CAudioFilePlayer::Start", size);
    return false;
  }
  std::rewind(m_pFile);
  while (ReadFrame()) {
  }
  return true;
}

bool CAudioFilePlayer::ReadFrame() {
  uint8_t head[7];
  AdtsHeader header;
  if (std::fread(head, 1, sizeof head, m_pFile) != sizeof head || !ParseAdtsHeader(head, sizeof head, &header) ||
      header.frameLength < sizeof head) {
    return false;
  }
  if (m_nFrameMs == 0) {
    // The first header sets the pace: the rate's frame of 1024 samples, in whole milliseconds.
    m_nFrameMs = 1024000 / header.sampleRate;
  }
  std::vector<uint8_t> frame(header.frameLength);
  std::memcpy(frame.data(), head, sizeof head);
  const size_t rest = header.frameLength - sizeof head;
  // A short read skips the frame; the next header read decides whether loading goes on.
  if (std::fread(frame.data() + sizeof head, 1, rest, m_pFile) == rest) {
    m_Frames.push_back(std::move(frame));
  }
  return true;
}

void CAudioFilePlayer::Stop() {
  m_WaveOut.Stop();
  m_WaveOut.SetDecoder(nullptr);
  m_WaveOut.SetPullCallback(nullptr, 0);
  delete m_pDecoder;
  m_pDecoder = nullptr;
  if (m_pFile != nullptr) {
    std::fclose(m_pFile);
    m_pFile = nullptr;
  }
}

void CAudioFilePlayer::Send(int32_t code) {
  CAutoLock lock(&m_CallbackLock);
  if (m_pfnMsg != nullptr) {
    m_pfnMsg(code, m_nPlayTime / 1000, m_u64MsgUser);
  }
}

int CAudioFilePlayer::PullFrame(QueueFrameHead* head, uint8_t* data, uint32_t capacity, CMutexLock**,
                                uint64_t user) {
  return reinterpret_cast<CAudioFilePlayer*>(user)->OnPull(head, data, capacity);
}

int CAudioFilePlayer::OnPull(QueueFrameHead* head, uint8_t* data, uint32_t capacity) {
  const uint32_t index = m_nPlayIndex;
  if (index >= m_Frames.size()) {
    if (m_bEndReported == 0) {
      m_bEndReported = 1;
      Send(kMsgEnd);
    }
    return 0;
  }
  const std::vector<uint8_t>& frame = m_Frames[index];
  const uint32_t playTime = m_nPlayTime + m_nFrameMs;
  m_nPlayTime = playTime;
  head->nLength = static_cast<uint32_t>(frame.size());
  head->u64Stamp = playTime;
  std::memcpy(data, frame.data(), std::min<size_t>(frame.size(), capacity));
  m_nPlayIndex = index + 1;
  if (playTime % 1000 <= m_nFrameMs) {
    Send(kMsgProgress);
  }
  return 1;
}

}  // namespace zp
