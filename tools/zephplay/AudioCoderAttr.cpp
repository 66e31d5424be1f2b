#include "AudioCoderAttr.h"

#include <cstdlib>

#include "zephplay.h"

namespace {

constexpr long kMaxAudioCoder = 25;

void PutU32(std::vector<uint8_t>* record, uint32_t at, uint32_t value) {
  for (uint32_t b = 0; b < 4; ++b) {
    (*record)[at + b] = static_cast<uint8_t>(value >> (8 * b));
  }
}

}  // namespace

std::vector<uint8_t> AudioCoderAttr(uint32_t coder) {
  std::vector<uint8_t> record(ZEPHPLAY_STREAM_ATTR_SIZE, 0);
  PutU32(&record, 0, ZEPHPLAY_STREAM_ATTR_MAGIC);
  PutU32(&record, ZEPHPLAY_STREAM_ATTR_AUDIO_CODER, coder);
  return record;
}

bool ParseAudioCoder(const char* text, long* coder) {
  char* end = nullptr;
  *coder = std::strtol(text, &end, 10);
  return end != text && *end == '\0' && *coder >= 0 && *coder <= kMaxAudioCoder;
}
