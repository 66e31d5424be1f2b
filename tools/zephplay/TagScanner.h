#pragma once
// Finds the frames of a tagged recorder stream as its bytes go by, in pieces of any size, for
// the tool's own use: pacing what it sends and telling how far behind the picture is. Each frame
// is a little-endian header (tag word, payload length, ...) and its payload; bytes between
// frames are garbage and are skipped one at a time until a tag word turns up.
//
// Tag words: byte 3 'c', byte 2 'd', byte 1 '0' key frame, '1' predicted, '2' audio, '8'
// auxiliary, '9' user data; or "1wb" (file audio); byte 0 is a sub-code below 0x40. Video
// headers are 32 bytes with the stamp at 16, the others 16 bytes with an audio stamp at 8.
#include <cstddef>
#include <cstdint>

struct ScannedFrame {
  uint64_t offset = 0;     // of the header, counted from the first byte ever fed
  uint32_t tag = 0;        // the whole tag word, sub-code included
  uint32_t headLength = 0;
  uint32_t length = 0;     // payload bytes after the header
  uint64_t stampUs = 0;    // video and audio only
  bool video = false;
  bool key = false;
  bool audio = false;
  bool data = false;       // user data ("9dc")

  uint64_t End() const { return offset + headLength + length; }
  bool HasStamp() const { return video || audio; }
};

class TagScanner {
 public:
  // A length above this is taken for garbage that happens to look like a tag: a real frame of
  // that size does not occur, and believing it would swallow the frames behind it.
  static constexpr uint32_t kMaxFrameLength = 16u << 20;
  // Where a video and an audio header keep their stamps.
  static constexpr uint32_t kVideoStampOffset = 16;
  static constexpr uint32_t kAudioStampOffset = 8;

  // Consumes bytes of `data` until a frame header is complete (true, *frame filled; its payload
  // is skipped by the following calls) or the bytes run out (false). *used: bytes consumed.
  bool Next(const uint8_t* data, size_t length, size_t* used, ScannedFrame* frame);

 private:
  // The header length for the tag word at the start of m_head, 0 when it is no tag.
  uint32_t HeadLength() const;
  bool FinishHead(ScannedFrame* frame);

  uint8_t m_head[32] = {};
  uint32_t m_have = 0;
  uint64_t m_skip = 0;
  uint64_t m_offset = 0;  // of the next byte to consume
};
