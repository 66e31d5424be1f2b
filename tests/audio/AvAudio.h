#pragma once
// The shared reference decoder under its old name, with libavcodec's headers, which the decoder
// export and encoder tests that include this also use directly.
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
}

#include "AvReference.h"

namespace zp::test {
using AvAudioDecoder = AvDecoder;
}
