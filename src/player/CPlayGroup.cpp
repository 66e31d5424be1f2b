#include "player/CPlayGroup.h"

#include <algorithm>

#include "common/CAutoLock.h"
#include "common/LogAccess.h"
#include "platform/CEvent.h"
#include "platform/Tick.h"

namespace zp {

namespace {

constexpr uint32_t kAttrType = 1;
constexpr uint32_t kRefusedType = 2;

}  // namespace

CPlayGroup::CPlayGroup(int32_t nCount)
    : m_pPlayers(new CPlayerStream[static_cast<size_t>(nCount)]), m_nCount(nCount) {
  for (int32_t i = 0; i < m_nCount; ++i) {
    m_pPlayers[i].SetStreamMode(CPlayerStream::kModeCached);
    m_pPlayers[i].SetGroup(this);
  }
}

CPlayGroup::~CPlayGroup() {
  m_ClockThread.Stop(platform::kInfinite);
  for (int32_t i = 0; i < m_nCount; ++i) {
    m_pPlayers[i].CloseStream();
  }
}

CPlayerStream* CPlayGroup::Player(uint32_t nIndex) {
  return nIndex < static_cast<uint32_t>(m_nCount) ? &m_pPlayers[nIndex] : nullptr;
}

bool CPlayGroup::IsOwnThread() const {
  for (int32_t i = 0; i < m_nCount; ++i) {
    if (m_pPlayers[i].IsOwnThread()) {
      return true;
    }
  }
  return false;
}

int CPlayGroup::OpenStream(const uint32_t* pChannels, uint32_t nVideoQueueBytes, uint32_t nUnpaced) {
  if (m_bOpen) {
    LogInfo("%s opened before", "CPlayGroup::OpenStream");
    return 1;
  }
  std::copy(pChannels, pChannels + m_nCount, m_nChannels);
  for (int32_t i = 0; i < m_nCount; ++i) {
    m_pPlayers[i].Open(nVideoQueueBytes, nUnpaced);
  }
  m_ClockThread.Start(&CPlayGroup::ClockEntry, this);
  m_bOpen = true;
  return 0;
}

int CPlayGroup::IndexOf(uint32_t nChannel) const {
  if (m_nCount == 1) {
    return 0;  // a single player takes every channel
  }
  const uint32_t* end = m_nChannels + m_nCount;
  const uint32_t* found = std::find(m_nChannels, end, nChannel);
  return found != end ? static_cast<int>(found - m_nChannels) : -1;
}

int CPlayGroup::InputFrameData(uint32_t nChannel, const uint8_t* pData, uint32_t nLength, uint32_t nType,
                               uint64_t u64Stamp) {
  if (!m_bOpen) {
    LogInfo("%s not opened", "CPlayGroup::InputFrameData");
    return 1;
  }
  {
    CAutoLock clock(&m_ClockLock);
    m_Clock.NoteFrame(nType, u64Stamp);
  }
  if (nType == kAttrType || nType == kRefusedType) {
    int result = 0;
    for (int32_t i = 0; i < m_nCount; ++i) {
      const int one = m_pPlayers[i].InputFrameData(pData, nLength, nType, u64Stamp, true);
      result = result != 0 ? result : one;
    }
    return result;
  }
  const int index = IndexOf(nChannel);
  if (index < 0) {
    LogDetail("%s channel %u unknown", "CPlayGroup::InputFrameData", nChannel);
    return 1;
  }
  return m_pPlayers[index].InputFrameData(pData, nLength, nType, u64Stamp, true);
}

uint32_t CPlayGroup::MaxBufferedSeconds() {
  uint32_t most = 0;
  for (int32_t i = 0; i < m_nCount; ++i) {
    uint32_t seconds = 0;
    if (m_pPlayers[i].GetBufferedSeconds(&seconds) == 0) {
      most = std::max(most, seconds);
    }
  }
  return most;
}

uint64_t CPlayGroup::GetPlayStamp() {
  CAutoLock clock(&m_ClockLock);
  return m_Clock.PlayStamp();
}

void CPlayGroup::SetPlayStamp(uint64_t u64Stamp) {
  CAutoLock clock(&m_ClockLock);
  m_Clock.SetPlayStamp(u64Stamp);
}

void CPlayGroup::SeekPlayStamp(uint64_t u64Stamp) {
  CAutoLock clock(&m_ClockLock);
  m_Clock.SeekPlayStamp(u64Stamp);
}

uint32_t CPlayGroup::GetPlayTime() {
  CAutoLock clock(&m_ClockLock);
  return m_Clock.PlayedSeconds();
}

void CPlayGroup::Pause(uint32_t nFlag) {
  {
    CAutoLock clock(&m_ClockLock);
    m_Clock.SetPaused(nFlag != 0);
  }
  if (nFlag != 0) {
    return;  // pausing only stops the clock; the players keep their own state
  }
  for (int32_t i = 0; i < m_nCount; ++i) {
    m_pPlayers[i].Pause(0);
  }
}

void CPlayGroup::SetPlayRate(int32_t nRate) {
  if (IsPaused()) {
    Pause(0);
  }
  CAutoLock clock(&m_ClockLock);
  m_Clock.SetRate(nRate);
}

void CPlayGroup::SetPlayBackIFrame(uint32_t nFlag) {
  for (int32_t i = 0; i < m_nCount; ++i) {
    m_pPlayers[i].SetPlayBackIFrame(nFlag);
  }
  CAutoLock clock(&m_ClockLock);
  m_Clock.SetReverse(nFlag != 0);
}

int CPlayGroup::PlayOneFrame(uint32_t nIndex, uint32_t nBackward, uint32_t nAllowNonKey) {
  if (nIndex != kAllPlayers) {
    CPlayerStream* player = Player(nIndex);
    return player != nullptr ? player->PlayOneFrameData(nBackward, nAllowNonKey) : 1;
  }
  {
    CAutoLock clock(&m_ClockLock);
    m_Clock.SetPaused(true);
  }
  for (int32_t i = 0; i < m_nCount; ++i) {
    m_pPlayers[i].PlayOneFrameData(nBackward, nAllowNonKey);
  }
  return 0;
}

int CPlayGroup::StopPlayRecord(uint32_t nIndex) {
  if (nIndex != kAllPlayers) {
    CPlayerStream* player = Player(nIndex);
    return player != nullptr ? player->StopPlayRecord() : 1;
  }
  for (int32_t i = 0; i < m_nCount; ++i) {
    m_pPlayers[i].StopPlayRecord();
  }
  return 0;
}

bool CPlayGroup::Admit(uint64_t u64Stamp) {
  CAutoLock clock(&m_ClockLock);
  return m_Clock.Admit(u64Stamp);
}

bool CPlayGroup::IsPaused() {
  CAutoLock clock(&m_ClockLock);
  return m_Clock.IsPaused();
}

uint32_t CPlayGroup::ClockEntry(void* pGroup) { return static_cast<CPlayGroup*>(pGroup)->ClockThread(); }

uint32_t CPlayGroup::ClockThread() {
  do {
    CAutoLock clock(&m_ClockLock);
    m_Clock.Tick(platform::TickCountMs());
  } while (!m_ClockThread.WaitStop(kClockPeriodMs));
  return 0;
}

}  // namespace zp
