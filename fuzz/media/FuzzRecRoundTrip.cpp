// Random frames through the GREC writer (sometimes in two sessions, appending) and back through
// the GREC reader: every frame must come back with its type, stamp and bytes.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "FuzzTempFile.h"
#include "media/CFileH264.h"
#include "media/CRecWriterGrec.h"

namespace {

struct Frame {
  uint32_t tag;
  const uint8_t* data;
  uint32_t length;
  uint64_t stamp;
};

void Check(bool ok) {
  if (!ok) {
    std::abort();
  }
}

// Each frame: 1 byte kind and length class, 2 bytes length, 8 bytes stamp, then the payload.
std::vector<Frame> Frames(const uint8_t* data, size_t size) {
  static constexpr uint32_t kTags[] = {zp::FRAME_TAG_I, zp::FRAME_TAG_P, zp::FRAME_TAG_WAVE, zp::FRAME_TAG_DATA};
  std::vector<Frame> frames;
  size_t at = 0;
  while (at + 11 <= size && frames.size() < 64) {
    const uint8_t control = data[at];
    uint32_t length = zp::ReadU16(data + at + 1) % 4096;
    const uint64_t stamp = zp::ReadU64(data + at + 3);
    at += 11;
    length = static_cast<uint32_t>(std::min<size_t>(length, size - at));
    frames.push_back({kTags[control % 4] | (control & 0x30u), data + at, length, stamp});
    at += length;
  }
  return frames;
}

void Write(zp::CRecWriterGrec* writer, const std::vector<Frame>& frames, size_t from, size_t to) {
  for (size_t i = from; i < to; ++i) {
    Check(writer->WriteFrame(frames[i].data, frames[i].length, frames[i].tag, frames[i].stamp, nullptr, nullptr) == 0);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) {
    return 0;
  }
  const uint8_t split = data[0];
  const std::vector<Frame> frames = Frames(data + 1, size - 1);
  const std::string path = fuzzmedia::ScratchPath(".grec");
  const size_t half = frames.empty() ? 0 : split % (frames.size() + 1);
  {
    zp::CRecWriterGrec writer;
    Check(writer.OpenWriter(path.c_str(), zp::CRecWriter::kNarrowPath) == 0);
    Write(&writer, frames, 0, half);
  }
  bool firstHasIndex = false;
  for (size_t i = 0; i < half; ++i) {
    const uint32_t kind = zp::TagKind(frames[i].tag);
    firstHasIndex = firstHasIndex || kind == zp::FRAME_TAG_I || kind == zp::FRAME_TAG_DATA;
  }
  {
    zp::CRecWriterGrec writer;
    uint32_t recorded = 0;
    Check(writer.OpenWriterEx(path.c_str(), &recorded, zp::CRecWriter::kNarrowPath) == 0);
    // Without an index the first session's frames are written over.
    Write(&writer, frames, firstHasIndex ? half : 0, frames.size());
  }
  bool anyKey = false;
  for (const Frame& f : frames) {
    anyKey = anyKey || zp::TagKind(f.tag) == zp::FRAME_TAG_I;
  }
  zp::CFileH264 reader;
  const int opened = reader.OpenFile(path.c_str());
  if (!anyKey) {
    return 0;  // without a key frame the span may not be found; opening is allowed to fail
  }
  Check(opened == 0);
  size_t i = 0;
  zp::FrameHead* frame = nullptr;
  while (reader.ReadFrame(&frame) == 0) {
    Check(i < frames.size());
    const Frame& want = frames[i++];
    const uint32_t kind = zp::TagKind(want.tag);
    Check(frame->nType == kind);
    Check(frame->u64Stamp == (kind == zp::FRAME_TAG_DATA ? 0 : want.stamp));
    Check(frame->nLength == want.length && std::memcmp(frame->pData, want.data, want.length) == 0);
    reader.ReleaseFrame(frame);
  }
  Check(i == frames.size());
  return 0;
}
