#pragma once
// libavcodec as the outside judge of our decoders and of the sample maker's data: a bare
// send/receive decoder for sound and pictures, an encoder for sound, and the measures the tests
// compare with. Shared by every test program and the audio benchmark.
#include <cstddef>
#include <cstdint>
#include <vector>

struct AVCodecContext;
struct AVFrame;
struct AVPacket;

namespace zp::test {

// What a raw sound codec cannot read from its data; codecs that can ignore it.
struct AvOptions {
  int sampleRate = 8000;
  int channels = 1;
  int blockAlign = 0;
  int bitsPerCodedSample = 0;
  int64_t bitRate = 0;
};

// A 4:2:0 picture with packed planes (no padding). == compares the size and the pixels only, so
// our decoders' pictures compare with the reference's.
struct Picture {
  int width = 0;
  int height = 0;
  bool key = false;
  int64_t pts = 0;
  std::vector<uint8_t> y, u, v;
  bool operator==(const Picture& o) const {
    return width == o.width && height == o.height && y == o.y && u == o.u && v == o.v;
  }
};

Picture PackPicture(const uint8_t* y, const uint8_t* u, const uint8_t* v, int yStride, int uvStride,
                    int width, int height);

class AvDecoder {
 public:
  AvDecoder(const char* name, const AvOptions& options = {});
  ~AvDecoder();
  AvDecoder(const AvDecoder&) = delete;
  AvDecoder& operator=(const AvDecoder&) = delete;

  bool ok() const { return ctx_ != nullptr; }
  // Of the last sound frame decoded.
  int channels() const { return channels_; }
  int sampleRate() const { return rate_; }

  // Appends what one packet decodes to as interleaved 16-bit samples (float output scaled by
  // 32768 and rounded); false on a decoder error.
  bool Decode(const uint8_t* data, size_t size, std::vector<int16_t>* out);
  // Appends the pictures one access unit gives out, stamped with pts; null data flushes.
  bool DecodePictures(const uint8_t* data, size_t size, int64_t pts, std::vector<Picture>* out);
  // Decodes without copying anything out and counts the samples: the benchmarks' baseline.
  int64_t DecodeBare(const uint8_t* data, size_t size);

 private:
  bool Send(const uint8_t* data, size_t size, int64_t pts);
  void CollectSound(std::vector<int16_t>* out);

  AVCodecContext* ctx_ = nullptr;
  AVFrame* frame_ = nullptr;
  AVPacket* packet_ = nullptr;
  int channels_ = 0;
  int rate_ = 0;
};

// Every picture the units from `first` on decode to (each stamped with its stampUs), flushed.
template <class Units>
std::vector<Picture> DecodeAllPictures(const char* name, const Units& units, size_t first = 0) {
  std::vector<Picture> out;
  AvDecoder decoder(name);
  for (size_t i = first; i < units.size() && decoder.ok(); ++i) {
    decoder.DecodePictures(units[i].data.data(), units[i].data.size(), static_cast<int64_t>(units[i].stampUs), &out);
  }
  if (decoder.ok()) {
    decoder.DecodePictures(nullptr, 0, 0, &out);
  }
  return out;
}

// The sound of every packet in turn (a packet is a byte vector or has one as .data); empty when
// the decoder cannot open or refuses a packet, so that no comparison with it passes.
inline const std::vector<uint8_t>& PacketBytes(const std::vector<uint8_t>& packet) { return packet; }
template <class Unit>
const std::vector<uint8_t>& PacketBytes(const Unit& unit) {
  return unit.data;
}
template <class Packets>
std::vector<int16_t> AvDecodeAll(const char* name, const Packets& packets, const AvOptions& options = {}) {
  AvDecoder decoder(name, options);
  std::vector<int16_t> out;
  for (const auto& packet : packets) {
    const std::vector<uint8_t>& bytes = PacketBytes(packet);
    if (!decoder.ok() || !decoder.Decode(bytes.data(), bytes.size(), &out)) {
      return {};
    }
  }
  return out;
}

// Encodes 16-bit sound into packets with an encoder that takes float or 16-bit samples, in the
// encoder's own frame size or, for encoders that take any (G.726), packetSamples a packet.
std::vector<std::vector<uint8_t>> AvEncode(const char* name, const std::vector<int16_t>& pcm, int rate,
                                           int channels, int64_t bitRate, int packetSamples = 0);

// Signal-to-noise ratio of test against reference in dB over n samples (200 when equal).
double SnrDb(const int16_t* reference, const int16_t* test, size_t n);
// Peak signal-to-noise ratio of two 8-bit images in dB over n bytes (99 when equal).
double PsnrDb(const uint8_t* a, const uint8_t* b, size_t n);

}  // namespace zp::test
