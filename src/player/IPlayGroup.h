#pragma once
#include <cstdint>

namespace zp {

// What a stream player asks of the multi-play-back group that paces it: whether a picture (or
// a cached audio entry) of the given stamp may be shown now, and whether the group is paused
// (the player's sound then plays silence). Called on the player's play thread inside its play
// lock: an implementation must not call back into the player.
class IPlayGroup {
 public:
  virtual ~IPlayGroup() = default;
  virtual bool Admit(uint64_t u64Stamp) = 0;
  virtual bool IsPaused() = 0;
};

}  // namespace zp
