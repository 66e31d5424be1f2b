#pragma once
#include <atomic>
#include <cstdint>
#include <memory>

#include "common/CMutexLock.h"
#include "common/CThreadBase.h"
#include "player/CGroupClock.h"
#include "player/CPlayerStream.h"
#include "player/IPlayGroup.h"

namespace zp {

// A multi-play-back group: 1 to 15 stream players in the cached mode, each showing a frame only
// once the group's shared clock has reached its stamp. The caller pushes each channel's frames
// through the group, which keeps the clock's stamps and routes the frame to the channel's
// player; a clock thread advances the clock every 10 ms.
//
// Threads and locks: the clock lock guards the clock and is a leaf: the players' play threads
// take it inside their play lock (Admit, IsPaused), so nothing calls into a player while holding
// it. The players are made with the group and live until it is destroyed.
class CPlayGroup : public IPlayGroup {
 public:
  static constexpr int32_t kMaxPlayers = 15;
  static constexpr uint32_t kAllPlayers = 0xFFFFFFFFu;
  static constexpr uint32_t kClockPeriodMs = 10;

  // nCount players in the cached mode, linked to the group; nCount must be 1..15.
  explicit CPlayGroup(int32_t nCount);
  // Stops the clock and closes every player: only from a thread that IsOwnThread() refuses.
  ~CPlayGroup() override;
  CPlayGroup(const CPlayGroup&) = delete;
  CPlayGroup& operator=(const CPlayGroup&) = delete;

  static bool IsValidCount(int32_t nCount) { return nCount >= 1 && nCount <= kMaxPlayers; }

  int32_t Count() const { return m_nCount; }
  // The player at nIndex; null outside 0..count-1.
  CPlayerStream* Player(uint32_t nIndex);
  // True on a thread of one of the players (a callback): the group cannot be closed from there.
  bool IsOwnThread() const;

  // Stores the channel numbers (count of them), opens every player as a stream and starts the
  // clock. 0; 1 when the group was opened before (nothing changes).
  int OpenStream(const uint32_t* pChannels, uint32_t nVideoQueueBytes, uint32_t nUnpaced);
  // Clock bookkeeping, then the frame goes to its channel's player (types 1 and 2 to every
  // player): the player's result; 1 for an unknown channel or a group not opened.
  int InputFrameData(uint32_t nChannel, const uint8_t* pData, uint32_t nLength, uint32_t nType,
                     uint64_t u64Stamp);
  // The largest buffered-seconds value over the players (0 when none has any).
  uint32_t MaxBufferedSeconds();

  uint64_t GetPlayStamp();
  void SetPlayStamp(uint64_t u64Stamp);
  void SeekPlayStamp(uint64_t u64Stamp);
  uint32_t GetPlayTime();
  void Pause(uint32_t nFlag);
  void SetPlayRate(int32_t nRate);
  // Backwards (nonzero) or forwards: every player and the clock.
  void SetPlayBackIFrame(uint32_t nFlag);
  // kAllPlayers: pauses the group and steps every player, 0. Otherwise that player's result,
  // 1 for an index out of range.
  int PlayOneFrame(uint32_t nIndex, uint32_t nBackward, uint32_t nAllowNonKey);
  // kAllPlayers: every player's recording, 0. Otherwise that player's result, 1 out of range.
  int StopPlayRecord(uint32_t nIndex);

  bool Admit(uint64_t u64Stamp) override;
  bool IsPaused() override;

 private:
  static uint32_t ClockEntry(void* pGroup);
  uint32_t ClockThread();
  int IndexOf(uint32_t nChannel) const;

  std::unique_ptr<CPlayerStream[]> m_pPlayers;
  uint32_t m_nChannels[16] = {};
  int32_t m_nCount = 0;
  CThreadBase m_ClockThread;
  std::atomic<bool> m_bOpen{false};
  CMutexLock m_ClockLock;
  CGroupClock m_Clock;
};

}  // namespace zp
