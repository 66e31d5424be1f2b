// An MP4 recording fed what a live stream may bring a recorder: real access units of small H.264
// and HEVC streams (two sizes, so codec and size change mid-recording, and B-frames), cut short,
// with bytes overwritten, stamped forward, backward or alike, announced as key frames or not,
// mixed with arbitrary bytes; sound of a coder type from the input (G.711, AAC, PCM, garbage),
// through the library's transcoder; the stream attribute and the head at any point. Nothing may
// crash, read out of bounds or leak, every answer is 0 or -1, and libavformat reads the file
// that was closed without a crash of its own.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/log.h>
}

#include "SampleEncoder.h"
#include "common/ByteOrder.h"
#include "media/CRecWriterMp4.h"
#include "media/FrameFormat.h"
#include "media/GrecFormat.h"
#include "media/StreamAttr.h"
#include "player/CRecAudioTranscoder.h"

namespace {

using zp::samples::EncodedFrame;

void Check(bool ok) {
  if (!ok) {
    std::abort();
  }
}

struct Samples {
  std::vector<EncodedFrame> video[3];  // H.264 64x64 with B-frames, H.264 96x64, HEVC 64x64
  std::vector<EncodedFrame> sound[3];  // G.711 A-law, AAC at 8000 Hz, 16-bit PCM
  uint32_t coders[3] = {};
};

const Samples& Sample() {
  static const Samples s = [] {
    av_log_set_level(AV_LOG_QUIET);
    zp::CRecAudioTranscoder::Register();
    Samples m;
    using zp::samples::VideoCodec;
    m.video[0] = zp::samples::EncodeVideo({.width = 64, .height = 64, .frames = 12, .gop = 6, .bFrames = true});
    m.video[1] = zp::samples::EncodeVideo({.width = 96, .height = 64, .frames = 6, .gop = 3});
    m.video[2] = zp::samples::EncodeVideo({.codec = VideoCodec::H265, .width = 64, .height = 64, .frames = 6, .gop = 3});
    const zp::samples::AudioCodec codecs[3] = {zp::samples::AudioCodec::G711A, zp::samples::AudioCodec::AacAdts,
                                               zp::samples::AudioCodec::Pcm16};
    for (int i = 0; i < 3; ++i) {
      const zp::samples::AudioParams a{.codec = codecs[i], .frames = 8};
      m.sound[i] = zp::samples::EncodeAudio(a);
      m.coders[i] = zp::samples::CoderTypeOf(a);
      Check(!m.video[i].empty() && !m.sound[i].empty());
    }
    return m;
  }();
  return s;
}

const std::string& Path() {
  static const std::string path = std::string(getenv("TMPDIR") ? getenv("TMPDIR") : "/tmp") + "/fuzz_mp4_writer.mp4";
  return path;
}

// The record's bytes past its 8 op bytes: what a garbage frame or an overwrite takes.
struct Reader {
  const uint8_t* data;
  size_t size;
  size_t at = 0;
  bool Next(uint8_t* op) {
    if (at + 8 > size) {
      return false;
    }
    std::memcpy(op, data + at, 8);
    at += 8;
    return true;
  }
};

// A sample frame chosen by op[1], cut to op[6] sixteenths when op[6] is below 16, with the byte
// at op[2..3] replaced by op[4] when op[5] is odd.
std::vector<uint8_t> Shape(const std::vector<EncodedFrame>& frames, const uint8_t* op) {
  std::vector<uint8_t> bytes = frames[op[1] % frames.size()].data;
  if (op[6] < 16) {
    bytes.resize(bytes.size() * op[6] / 16);
  }
  if ((op[5] & 1) != 0 && !bytes.empty()) {
    bytes[(op[2] | op[3] << 8) % bytes.size()] = op[4];
  }
  return bytes;
}

void ReadBack() {
  AVFormatContext* fmt = nullptr;
  if (avformat_open_input(&fmt, ("file:" + Path()).c_str(), nullptr, nullptr) < 0) {
    return;
  }
  AVPacket* pkt = av_packet_alloc();
  while (av_read_frame(fmt, pkt) >= 0) {
    av_packet_unref(pkt);
  }
  av_packet_free(&pkt);
  avformat_close_input(&fmt);
}

}  // namespace

// Records of 8 bytes: kind, sample, overwrite offset (2), overwrite value, flags, cut, stamp step.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Samples& s = Sample();
  zp::CRecWriterMp4 w;
  Check(w.OpenWriter(Path().c_str(), zp::CRecWriter::kNarrowPath) == 0);
  Reader in{data, size};
  uint8_t op[8];
  uint64_t stamp = 5000000000ull;
  while (in.Next(op)) {
    stamp += static_cast<uint64_t>(static_cast<int64_t>(static_cast<int8_t>(op[7])) * 20000);
    const std::vector<EncodedFrame>& video = s.video[op[5] / 2 % 3];
    int result = 0;
    switch (op[0] % 6) {
      case 0:
      case 1: {
        const std::vector<uint8_t> frame = Shape(video, op);
        const bool key = op[0] % 6 == 0;
        result = w.WriteFrame(frame.data(), static_cast<uint32_t>(frame.size()), key ? zp::FRAME_TAG_I : zp::FRAME_TAG_P,
                              stamp, nullptr, nullptr);
        break;
      }
      case 2: {
        const std::vector<uint8_t> sound = Shape(s.sound[op[5] / 2 % 3], op);
        result = w.WriteFrame(sound.data(), static_cast<uint32_t>(sound.size()), zp::FRAME_TAG_WAVE, stamp, nullptr,
                              nullptr);
        break;
      }
      case 3: {  // arbitrary bytes of the input, of any kind
        const size_t n = std::min<size_t>(op[6], size - in.at);
        const uint32_t tags[] = {zp::FRAME_TAG_I, zp::FRAME_TAG_P, zp::FRAME_TAG_WAVE, zp::FRAME_TAG_EXT,
                                 zp::FRAME_TAG_DATA, zp::FRAME_TAG_AUDIO};
        result = w.WriteFrame(data + in.at, static_cast<uint32_t>(n), tags[op[1] % 6], stamp, nullptr, nullptr);
        in.at += n;
        break;
      }
      case 4: {  // the sound's coder type: one of the samples', or any
        uint8_t attr[zp::kStreamAttrSize] = {};
        zp::WriteU32(attr, zp::kStreamAttrMagic);
        zp::WriteU32(attr + zp::kStreamAttrAudioCodec, (op[1] & 1) != 0 ? s.coders[op[5] / 2 % 3] : op[2]);
        result = w.SetStreamAttr(attr, (op[4] & 1) != 0 ? sizeof attr : op[4]);
        break;
      }
      default: {
        uint8_t head[zp::grec::kHeadLength] = {};
        zp::WriteU32(head + zp::grec::kOffStreamKind, s.coders[op[5] / 2 % 3]);
        std::memcpy(head + zp::grec::kOffStartTime, op + 1, 6);
        result = w.SetFileHead(head, sizeof head);
        break;
      }
    }
    Check(result == 0 || result == -1);
  }
  Check(w.CloseWriter() == 0);
  ReadBack();
  return 0;
}
