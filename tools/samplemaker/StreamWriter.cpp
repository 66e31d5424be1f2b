#include "StreamWriter.h"

#include <algorithm>
#include <fstream>
#include <random>

#include "media/FrameFormat.h"

namespace zp::samples {

namespace {

constexpr uint32_t kVendorIndexMagic = 0x08070620;
constexpr uint32_t kVendorIndexEntry = 16;

// std::mt19937's sequence is fixed by the standard; the distributions are not, so ranges are
// taken by modulo to keep a seed's output the same with every standard library.
uint32_t Below(std::mt19937& rng, uint32_t bound) { return bound == 0 ? 0 : static_cast<uint32_t>(rng() % bound); }

uint8_t GarbageByte(std::mt19937& rng) {
  for (;;) {
    const auto b = static_cast<uint8_t>(rng() & 0xFF);
    if (b != 'd' && b != 'w') {
      return b;
    }
  }
}

void AppendGarbage(std::mt19937& rng, uint32_t maxBytes, std::vector<uint8_t>* out) {
  const uint32_t n = Below(rng, maxBytes + 1);
  for (uint32_t i = 0; i < n; ++i) {
    out->push_back(GarbageByte(rng));
  }
}

void AppendU32(std::vector<uint8_t>* out, uint32_t v) {
  uint8_t b[4];
  WriteU32(b, v);
  out->insert(out->end(), b, b + 4);
}

void AppendU64(std::vector<uint8_t>* out, uint64_t v) {
  uint8_t b[8];
  WriteU64(b, v);
  out->insert(out->end(), b, b + 8);
}

}  // namespace

std::vector<TaggedFrame> MergeFrames(const std::vector<EncodedFrame>& video, const std::vector<EncodedFrame>& audio,
                                     uint32_t audioTag) {
  std::vector<uint64_t> decodeTimes;
  decodeTimes.reserve(video.size());
  for (const EncodedFrame& f : video) {
    decodeTimes.push_back(f.stampUs);
  }
  std::sort(decodeTimes.begin(), decodeTimes.end());
  std::vector<TaggedFrame> out;
  out.reserve(video.size() + audio.size());
  size_t a = 0;
  for (size_t v = 0; v < video.size(); ++v) {
    for (; a < audio.size() && audio[a].stampUs < decodeTimes[v]; ++a) {
      out.push_back(TaggedFrame{audioTag, audio[a].data, audio[a].stampUs});
    }
    out.push_back(TaggedFrame{video[v].key ? FRAME_TAG_I : FRAME_TAG_P, video[v].data, video[v].stampUs});
  }
  for (; a < audio.size(); ++a) {
    out.push_back(TaggedFrame{audioTag, audio[a].data, audio[a].stampUs});
  }
  return out;
}

std::vector<TaggedFrame> RepeatFrames(const std::vector<TaggedFrame>& frames, int times, uint64_t periodUs) {
  std::vector<TaggedFrame> out;
  if (times < 1) {
    return out;
  }
  out.reserve(frames.size() * static_cast<size_t>(times));
  for (int k = 0; k < times; ++k) {
    for (const TaggedFrame& f : frames) {
      out.push_back(TaggedFrame{f.tag, f.data, f.stampUs + static_cast<uint64_t>(k) * periodUs});
    }
  }
  return out;
}

bool AppendFrame(const TaggedFrame& frame, std::vector<uint8_t>* out) {
  uint8_t head[kMaxHeadLength];
  const uint32_t headLength =
      WriteFrameHeader(head, frame.tag, static_cast<uint32_t>(frame.data.size()), frame.stampUs);
  if (headLength == 0) {
    return false;
  }
  out->insert(out->end(), head, head + headLength);
  out->insert(out->end(), frame.data.begin(), frame.data.end());
  return true;
}

WrittenStream MakeStream(const std::vector<TaggedFrame>& frames, const StreamOptions& options) {
  std::mt19937 rng(options.seed);
  WrittenStream out;
  AppendGarbage(rng, options.leadingGarbageMax, &out.bytes);
  for (size_t i = 0; i < frames.size(); ++i) {
    if (i > 0) {
      AppendGarbage(rng, options.garbageMax, &out.bytes);
    }
    const size_t offset = out.bytes.size();
    if (AppendFrame(frames[i], &out.bytes)) {
      out.frameOffsets.push_back(offset);
    }
  }
  return out;
}

std::vector<size_t> CutLengths(size_t size, uint32_t seed, size_t maxPiece) {
  std::mt19937 rng(seed);
  const auto top = static_cast<uint32_t>(std::clamp<size_t>(maxPiece, 1, UINT32_MAX - 1));
  std::vector<size_t> lengths;
  for (size_t done = 0; done < size;) {
    const size_t n = std::min<size_t>(1 + Below(rng, top), size - done);
    lengths.push_back(n);
    done += n;
  }
  return lengths;
}

std::vector<std::vector<uint8_t>> CutIntoPieces(const std::vector<uint8_t>& bytes, uint32_t seed, size_t maxPiece) {
  std::vector<std::vector<uint8_t>> pieces;
  size_t at = 0;
  for (size_t n : CutLengths(bytes.size(), seed, maxPiece)) {
    pieces.emplace_back(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                        bytes.begin() + static_cast<std::ptrdiff_t>(at + n));
    at += n;
  }
  return pieces;
}

std::vector<uint8_t> MakeMpgFile(const std::vector<TaggedFrame>& frames, const MpgOptions& options) {
  std::vector<uint8_t> file;
  std::vector<std::pair<uint32_t, uint64_t>> keys;
  for (const TaggedFrame& f : frames) {
    const size_t offset = file.size();
    if (AppendFrame(f, &file) && TagKind(f.tag) == FRAME_TAG_I) {
      keys.emplace_back(static_cast<uint32_t>(offset), f.stampUs);
    }
  }
  if (!options.keyFrameIndex) {
    return file;
  }
  AppendU32(&file, kVendorIndexMagic);
  AppendU32(&file, kVendorIndexEntry);
  for (const auto& [offset, stamp] : keys) {
    AppendU32(&file, 0);
    AppendU32(&file, offset);
    AppendU64(&file, stamp);
  }
  return file;
}

bool WriteFileBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(out);
}

}  // namespace zp::samples
