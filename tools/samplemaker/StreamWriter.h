#pragma once
// Writers of test material in the forms the library is fed: raw tagged streams as a recorder
// sends them (optionally with garbage between frames, and cut into random pieces), vendor ".mpg"
// files and GREC recordings. Random choices come from a seed, so a failing case can be replayed.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "SampleEncoder.h"

namespace zp::samples {

// A frame ready for a stream or a file: the whole tag word (sub-code byte included), the payload
// and the stamp in microseconds. Stamps are written only for the kinds whose header has one.
struct TaggedFrame {
  uint32_t tag = 0;
  std::vector<uint8_t> data;
  uint64_t stampUs = 0;
};

// Audio tag of live streams: "2dc" with sub-code '0', the word that the players' type table
// knows as audio (0x63643230).
inline constexpr uint32_t kStreamAudioTag = 0x63643230;
// Audio tag of recorded files: "1wb" with sub-code 0.
inline constexpr uint32_t kFileAudioTag = 0x62773100;

// Video frames tagged "0dc" (key) or "1dc" (other) with sub-code 0, in decode order, merged with
// the audio frames tagged `audioTag`. An audio frame goes before the video frame whose decode
// time it precedes (the decode time of the i-th video frame is the i-th smallest video stamp),
// so the result is ordered as a recorder sends it even when B-frames reorder the stamps.
std::vector<TaggedFrame> MergeFrames(const std::vector<EncodedFrame>& video, const std::vector<EncodedFrame>& audio,
                                     uint32_t audioTag);

// `frames` followed by `times` - 1 copies of them, the k-th copy's stamps moved on by k x
// `periodUs`: a long stream from one short encoding (every copy starts with a key frame when the
// original does, and H.264/H.265 decoders restart cleanly there). `times` below 1 gives nothing.
std::vector<TaggedFrame> RepeatFrames(const std::vector<TaggedFrame>& frames, int times, uint64_t periodUs);

// Appends one frame: its header (32 bytes for video, 16 for every other kind; unused fields
// zero) and its payload. False, with nothing appended, for a tag of no known kind.
bool AppendFrame(const TaggedFrame& frame, std::vector<uint8_t>* out);

struct StreamOptions {
  uint32_t seed = 1;
  // Up to this many garbage bytes (a random count, possibly 0) between consecutive frames.
  uint32_t garbageMax = 0;
  // Up to this many garbage bytes before the first frame, as when a stream is joined midway.
  uint32_t leadingGarbageMax = 0;
};

// Garbage never holds the bytes 'd' (0x64) or 'w' (0x77), so no tag can be read inside it or
// across its edges: a parser that resynchronises correctly finds exactly the frames written.
struct WrittenStream {
  std::vector<uint8_t> bytes;
  std::vector<size_t> frameOffsets;  // offset of each frame's header in `bytes`
};
WrittenStream MakeStream(const std::vector<TaggedFrame>& frames, const StreamOptions& options);

// Cuts `size` bytes into consecutive pieces of 1 to `maxPiece` bytes (random lengths from
// `seed`); returns the lengths, which add up to `size`. `maxPiece` 0 is taken as 1.
std::vector<size_t> CutLengths(size_t size, uint32_t seed, size_t maxPiece);
// The same cut applied to `bytes`.
std::vector<std::vector<uint8_t>> CutIntoPieces(const std::vector<uint8_t>& bytes, uint32_t seed, size_t maxPiece);

struct MpgOptions {
  // Appends a key-frame index trailer (u32 0x08070620, u32 16, then per key frame: u32 0,
  // u32 header offset, u64 stamp), as some recorders leave at the end of their files.
  bool keyFrameIndex = false;
};
// A vendor recorded file: the frames back to back from offset 0, with no head and no padding.
std::vector<uint8_t> MakeMpgFile(const std::vector<TaggedFrame>& frames, const MpgOptions& options);

// Writes `bytes` to `path`, replacing the file; false when it cannot be written.
bool WriteFileBytes(const std::string& path, const std::vector<uint8_t>& bytes);

}  // namespace zp::samples
