#pragma once
// The shared reference decoder under the name the audio decoder export tests still use.
#include "AvReference.h"

namespace zp::test {
using AvAudioDecoder = AvDecoder;
}
