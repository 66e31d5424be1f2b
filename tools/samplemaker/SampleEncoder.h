#pragma once
// Synthetic test material: moving pictures encoded to H.264/H.265 and sound encoded to the audio
// formats that recorders send. Everything is deterministic for its parameters, so tests and
// benchmarks make their data at run time and nothing generated is kept in the tree.
#include <cstdint>
#include <vector>

namespace zp::samples {

enum class VideoCodec { H264, H265 };

// Even sizes from 32x32 to 4096x2304 are accepted; recorders send 352x288 to 1920x1080.
// `gop` is the distance between key frames; `bFrames` allows up to two B-frames in a row.
struct VideoParams {
  VideoCodec codec = VideoCodec::H264;
  int width = 352;
  int height = 288;
  int frames = 50;
  int gop = 25;
  bool bFrames = false;
  int fps = 25;
  const char* preset = "ultrafast";
};

// One encoded frame. Video: an Annex-B access unit (key frames carry their parameter sets);
// audio: one packet in the codec's own framing.
struct EncodedFrame {
  std::vector<uint8_t> data;
  uint64_t stampUs = 0;  // presentation time in microseconds, the first frame at 0
  bool key = false;      // video: an IDR picture; audio: always true
};

// Synthetic moving picture (YUV 4:2:0 planes, deterministic for a frame index and size).
void MakePicture(int index, int width, int height, std::vector<uint8_t>* yuv420);

// Annex-B access units in decode order, stamped in microseconds; empty on failure (bad
// parameters or an encoder that does not open; the reason goes to stderr).
std::vector<EncodedFrame> EncodeVideo(const VideoParams& params);

enum class AudioCodec { AacAdts, G711A, G711U, Pcm16, HisiG711A, HisiG711U };

// `samplesPerFrame` is ignored for AAC, whose frames always hold 1024 samples per channel.
// The HiSilicon forms are mono and need an even `samplesPerFrame` of at most 510.
struct AudioParams {
  AudioCodec codec = AudioCodec::G711A;
  int sampleRate = 8000;
  int channels = 1;
  int frames = 50;
  int samplesPerFrame = 160;
};

// Synthetic sound (16-bit interleaved, deterministic).
void MakeSound(int startSample, int samples, int sampleRate, int channels, std::vector<int16_t>* pcm);

// Encoded audio frames (AAC: one ADTS frame each; HiSilicon: "00 01 50 00" + 160 bytes), stamped
// in µs; exactly `frames` of them, or empty on failure.
std::vector<EncodedFrame> EncodeAudio(const AudioParams& params);

// Samples per channel that one encoded frame of `params` holds.
int SamplesPerEncodedFrame(const AudioParams& params);

// The library's audio coder type that decodes this sound (what a recording head names), or 0
// when no coder type takes it (G.711 or the voice engine at other rates than 8000 Hz, stereo
// PCM, AAC at a rate without a coder type).
uint32_t CoderTypeOf(const AudioParams& params);

}  // namespace zp::samples
