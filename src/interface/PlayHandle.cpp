#include "interface/PlayHandle.h"

#include <new>

#include "common/LogAccess.h"
#include "player/CPlayerFile.h"
#include "player/CPlayerStream.h"

namespace zp {

CBasePlayer* LookupAnyPlayer(const PlayHandle* handle) { return handle != nullptr ? handle->pPlayer : nullptr; }

CBasePlayer* LookupStreamPlayer(const PlayHandle* handle) {
  return handle != nullptr && handle->nKind == kPlayerKindStream ? handle->pPlayer : nullptr;
}

CBasePlayer* LookupFilePlayer(const PlayHandle* handle) {
  return handle != nullptr && handle->nKind == kPlayerKindFile ? handle->pPlayer : nullptr;
}

int OpenPlayHandle(PlayHandle** out) {
  if (out == nullptr) {
    return -1;
  }
  auto* handle = new (std::nothrow) PlayHandle();
  if (handle == nullptr) {
    return -1;
  }
  *out = handle;
  return 0;
}

int ClosePlayHandle(PlayHandle* handle) {
  if (handle == nullptr) {
    return -1;
  }
  // A player cannot wait for its own threads to end: closing from one of its callbacks is
  // refused, and the handle stays usable.
  if (handle->pPlayer != nullptr && handle->pPlayer->IsOwnThread()) {
    LogError("%s refused on the player's own thread", "ClosePlayHandle");
    return -1;
  }
  // Every kind, known or not, is destroyed through the virtual destructor of the player.
  delete handle->pPlayer;
  delete handle;
  return 0;
}

bool CanTakePlayer(const PlayHandle* handle) { return handle != nullptr && handle->pPlayer == nullptr; }

int AttachFilePlayer(PlayHandle* handle, const char* path, uint32_t nDrawMode) {
  auto* player = new (std::nothrow) CPlayerFile();
  if (player == nullptr) {
    return -1;
  }
  player->OpenFile(path, nDrawMode);  // kept: callers learn of a bad file from GetFileInfo or Play
  handle->pPlayer = player;
  handle->nKind = kPlayerKindFile;
  return 0;
}

int AttachStreamPlayer(PlayHandle* handle, uint32_t nVideoQueueBytes, uint32_t nUnpaced) {
  auto* player = new (std::nothrow) CPlayerStream();
  if (player == nullptr) {
    return -1;
  }
  player->Open(nVideoQueueBytes, nUnpaced);
  handle->pPlayer = player;
  handle->nKind = kPlayerKindStream;
  return 0;
}

}  // namespace zp
