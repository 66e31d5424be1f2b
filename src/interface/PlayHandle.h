#pragma once
#include <cstdint>

#include "player/CBasePlayer.h"

namespace zp {

inline constexpr uint32_t kPlayerKindFile = 0;    // a file player, or no player yet
inline constexpr uint32_t kPlayerKindStream = 1;  // a stream player

// The record behind a play handle. The handle pointer itself is the registry entry: there is
// no list, and the record holds no lock (a caller must not close a handle another thread uses).
struct PlayHandle {
  uint32_t nKind = kPlayerKindFile;
  CBasePlayer* pPlayer = nullptr;
};

// The three lookups; each answers null when the handle cannot serve the call.
CBasePlayer* LookupAnyPlayer(const PlayHandle* handle);
CBasePlayer* LookupStreamPlayer(const PlayHandle* handle);
CBasePlayer* LookupFilePlayer(const PlayHandle* handle);

// 0 with *out set to a new record (kind 0, no player); -1 (out untouched) when out is null or
// the allocation fails.
int OpenPlayHandle(PlayHandle** out);
// -1 for null, and (logged) on one of the player's own threads (a callback of that player);
// otherwise destroys the player (if any) and the record, and returns 0.
int ClosePlayHandle(PlayHandle* handle);

// Whether the handle can be given a player: it is not null and has none yet.
bool CanTakePlayer(const PlayHandle* handle);
// Gives a handle that CanTakePlayer a new file player (kind 0) opened on path. The open's own
// result is not reported: a file that cannot be opened shows in the player's later answers.
// -1 (the handle unchanged) when the player cannot be allocated.
int AttachFilePlayer(PlayHandle* handle, const char* path, uint32_t nDrawMode);
// Gives a handle that CanTakePlayer a new stream player (kind 1), opened with the video queue's
// bytes and the unpaced flag. -1 (the handle unchanged) when the player cannot be allocated.
int AttachStreamPlayer(PlayHandle* handle, uint32_t nVideoQueueBytes, uint32_t nUnpaced);

}  // namespace zp
