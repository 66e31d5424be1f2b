#include "RecordingFrames.h"

#include <strings.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

constexpr uint32_t kHeadLength = 512;
constexpr uint32_t kOffIndex = 68;
constexpr uint32_t kOffFirstFrame = 72;
// Large reads: the copy runs at the speed of the disk, not of the calls.
constexpr size_t kReadSize = 4u << 20;

uint32_t ReadU32(const uint8_t* p) { return p[0] | p[1] << 8 | p[2] << 16 | static_cast<uint32_t>(p[3]) << 24; }

bool EndsWithMpg(const char* path) {
  const size_t n = std::strlen(path);
  return n >= 4 && strcasecmp(path + n - 4, ".mpg") == 0;
}

}  // namespace

bool RecordingFrames::Open(const char* path, std::string* why) {
  m_file.reset(std::fopen(path, "rb"));
  struct stat st;
  if (m_file == nullptr || fstat(fileno(m_file.get()), &st) != 0) {
    *why = std::strerror(errno);
    return false;
  }
  m_mpg = EndsWithMpg(path);
  const uint64_t size = static_cast<uint64_t>(st.st_size);
  if (m_mpg) {
    m_total = size;
  } else if (!ReadHead(size, why)) {
    return false;
  }
  m_left = m_total;
  m_buffer.resize(static_cast<size_t>(std::min<uint64_t>(kReadSize, std::max<uint64_t>(m_total, 1))));
  return true;
}

bool RecordingFrames::ReadHead(uint64_t fileSize, std::string* why) {
  uint8_t head[kHeadLength];
  if (std::fread(head, 1, kHeadLength, m_file.get()) != kHeadLength) {
    *why = "too short for a recording head";
    return false;
  }
  const uint64_t start = uint64_t{kHeadLength} + ReadU32(head + kOffFirstFrame);
  const uint64_t index = ReadU32(head + kOffIndex);
  const uint64_t end = index != 0 && index < fileSize ? index : fileSize;
  m_total = end > start ? end - start : 0;
  if (start != kHeadLength && std::fseek(m_file.get(), static_cast<long>(start), SEEK_SET) != 0) {
    *why = std::strerror(errno);
    return false;
  }
  std::memset(head + kOffFirstFrame, 0, 4);
  m_head.assign(head, head + kHeadFieldsLength);
  return true;
}

bool RecordingFrames::Refill() {
  const size_t want = static_cast<size_t>(std::min<uint64_t>(m_buffer.size(), m_left));
  m_have = want == 0 ? 0 : std::fread(m_buffer.data(), 1, want, m_file.get());
  m_pos = 0;
  m_left -= m_have;
  m_failed = m_have < want;
  return m_have > 0;
}

bool RecordingFrames::Taken(const ScannedFrame& f) {
  if (f.video) {
    return (f.tag & 0x0Fu) == 0;
  }
  return f.audio || f.data;  // auxiliary frames are not
}

uint32_t RecordingFrames::WriterTag(const ScannedFrame& f) {
  if (f.video) {
    return f.key ? kKeyTag : kVideoTag;
  }
  return f.audio ? kAudioTag : kDataTag;
}

bool RecordingFrames::Next(Frame* frame) {
  for (;;) {
    if (m_pos == m_have && !Refill()) {
      return false;
    }
    size_t used = 0;
    const bool whole = m_assembler.Next(m_buffer.data() + m_pos, m_have - m_pos, &used);
    m_pos += used;
    const ScannedFrame& f = m_assembler.Frame();
    if (!whole || !Taken(f)) {
      continue;
    }
    frame->tag = WriterTag(f);
    frame->stampUs = f.stampUs;
    frame->data = m_assembler.Payload();
    frame->length = f.length;
    return true;
  }
}
