#include "player/CBasePlayer.h"

namespace zp {

CBasePlayer::~CBasePlayer() = default;

}  // namespace zp
