#include "TagScanner.h"

#include <algorithm>
#include <cstring>

namespace {

uint32_t ReadU32(const uint8_t* p) { return p[0] | p[1] << 8 | p[2] << 16 | static_cast<uint32_t>(p[3]) << 24; }

uint64_t ReadU64(const uint8_t* p) { return ReadU32(p) | static_cast<uint64_t>(ReadU32(p + 4)) << 32; }

}  // namespace

uint32_t TagScanner::HeadLength() const {
  if (m_head[0] >= 0x40) {
    return 0;
  }
  if (m_head[1] == '1' && m_head[2] == 'w' && m_head[3] == 'b') {
    return 16;
  }
  if (m_head[2] != 'd' || m_head[3] != 'c') {
    return 0;
  }
  switch (m_head[1]) {
    case '0':
    case '1':
      return 32;
    case '2':
    case '8':
    case '9':
      return 16;
    default:
      return 0;
  }
}

bool TagScanner::FinishHead(ScannedFrame* frame) {
  const uint32_t length = ReadU32(m_head + 4);
  if (length > kMaxFrameLength) {
    return false;
  }
  *frame = ScannedFrame();
  frame->offset = m_offset - m_have;
  frame->tag = ReadU32(m_head);
  frame->headLength = m_have;
  frame->length = length;
  frame->video = m_have == 32;
  frame->key = frame->video && m_head[1] == '0';
  frame->audio = m_head[1] == '2' || m_head[3] == 'b';
  frame->data = m_head[1] == '9' && m_head[3] == 'c';
  if (frame->video || frame->audio) {
    frame->stampUs = ReadU64(m_head + (frame->video ? kVideoStampOffset : kAudioStampOffset));
  }
  m_skip = length;
  m_have = 0;
  return true;
}

bool TagScanner::Next(const uint8_t* data, size_t length, size_t* used, ScannedFrame* frame) {
  size_t pos = 0;
  while (pos < length) {
    if (m_skip > 0) {
      const size_t take = static_cast<size_t>(std::min<uint64_t>(m_skip, length - pos));
      pos += take;
      m_offset += take;
      m_skip -= take;
      continue;
    }
    const uint32_t need = m_have < 4 ? 4 : HeadLength();
    if (need == 0) {
      // Not a tag: the word moves on by one byte.
      std::memmove(m_head, m_head + 1, --m_have);
      continue;
    }
    const size_t take = std::min<size_t>(need - m_have, length - pos);
    std::memcpy(m_head + m_have, data + pos, take);
    m_have += static_cast<uint32_t>(take);
    pos += take;
    m_offset += take;
    if (m_have < need || need == 4) {
      continue;
    }
    if (FinishHead(frame)) {
      *used = pos;
      return true;
    }
    std::memmove(m_head, m_head + 1, --m_have);
  }
  *used = pos;
  return false;
}
