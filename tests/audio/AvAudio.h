#pragma once
// The shared reference decoder under the name the decoder export and encoder tests still use.
#include "AvReference.h"

namespace zp::test {
using AvAudioDecoder = AvDecoder;
}
