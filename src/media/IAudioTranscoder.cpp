#include "media/IAudioTranscoder.h"

#include <atomic>

namespace zp {

namespace {

std::atomic<IAudioTranscoder::Maker> g_Maker{nullptr};

}  // namespace

void IAudioTranscoder::SetMaker(Maker maker) { g_Maker.store(maker); }

IAudioTranscoder* IAudioTranscoder::Make() {
  const Maker maker = g_Maker.load();
  return maker != nullptr ? maker() : nullptr;
}

}  // namespace zp
