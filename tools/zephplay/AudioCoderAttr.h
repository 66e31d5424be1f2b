#pragma once
// --audio-coder, the sound's coder type where the source names none: `live` and `wall` hand the
// player a stream attribute that names only it, `convert` writes it into the recording's head.
#include <cstdint>
#include <vector>

// The record (ZEPHPLAY_STREAM_ATTR_SIZE bytes): magic and audio coder type; the video codec and
// picture class stay 0, which keeps the player's decoder and queue as they are.
std::vector<uint8_t> AudioCoderAttr(uint32_t coder);
// Parses the option's value: a coder type of 0 to 25.
bool ParseAudioCoder(const char* text, long* coder);
