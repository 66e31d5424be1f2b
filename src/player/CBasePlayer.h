#pragma once

namespace zp {

// The player object behind a play handle. File and stream players derive from it; a play
// handle destroys its player through this virtual destructor, which stops the player's threads.
class CBasePlayer {
 public:
  CBasePlayer() = default;
  virtual ~CBasePlayer();
  CBasePlayer(const CBasePlayer&) = delete;
  CBasePlayer& operator=(const CBasePlayer&) = delete;
};

}  // namespace zp
