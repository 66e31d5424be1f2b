// The video decoders fed random frame sequences: real access units of small H.264 and HEVC
// streams (two sizes each, so sizes change), cut short, with bytes overwritten, out of order,
// announced as key frames or not, mixed with arbitrary bytes. Every picture that comes out
// must be readable to its last byte and convertible, and nothing may crash or leak.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

#include "SampleEncoder.h"
#include "video/CVDECH264.h"
#include "video/CVDECHi265.h"
#include "video/CVDECHis.h"
#include "video/PictureCapture.h"

namespace {

using zp::samples::EncodedFrame;

constexpr uint32_t kPFrameType = 0x63643100;

void Check(bool ok) {
  if (!ok) {
    std::abort();
  }
}

struct BaseStreams {
  std::vector<EncodedFrame> streams[2][2];  // [hevc][size]
};

const BaseStreams& Bases() {
  static const BaseStreams bases = [] {
    BaseStreams b;
    for (int hevc = 0; hevc < 2; ++hevc) {
      zp::samples::VideoParams p;
      p.codec = hevc != 0 ? zp::samples::VideoCodec::H265 : zp::samples::VideoCodec::H264;
      p.width = 176;
      p.height = 144;
      p.frames = 10;
      p.gop = 5;
      p.bFrames = true;
      b.streams[hevc][0] = zp::samples::EncodeVideo(p);
      p.width = 240;
      p.height = 128;
      p.frames = 6;
      p.gop = 3;
      p.bFrames = false;
      b.streams[hevc][1] = zp::samples::EncodeVideo(p);
      Check(!b.streams[hevc][0].empty() && !b.streams[hevc][1].empty());
    }
    return b;
  }();
  return bases;
}

struct Reader {
  const uint8_t* data;
  size_t size;
  size_t at = 0;
  bool More() const { return at < size; }
  uint32_t Byte() { return at < size ? data[at++] : 0; }
  uint32_t Word() { return Byte() | Byte() << 8; }
};

struct PictureSink {
  uint64_t pictures = 0;
  volatile uint8_t sink = 0;
  static void OnPicture(uint64_t user, const uint8_t* y, const uint8_t* u, const uint8_t* v,
                        int32_t ys, int32_t us, int32_t vs, int32_t w, int32_t h, uint64_t) {
    auto* self = reinterpret_cast<PictureSink*>(static_cast<uintptr_t>(user));
    Check(w > 0 && h > 0 && ys >= w && us >= (w + 1) / 2 && vs >= (w + 1) / 2);
    ++self->pictures;
    // Touch the first and last byte of every row of every plane.
    for (int32_t r = 0; r < h; ++r) {
      self->sink = self->sink + y[static_cast<ptrdiff_t>(r) * ys] +
                   y[static_cast<ptrdiff_t>(r) * ys + w - 1];
    }
    for (int32_t r = 0; r < (h + 1) / 2; ++r) {
      const int32_t cw = (w + 1) / 2;
      self->sink = self->sink + u[static_cast<ptrdiff_t>(r) * us + cw - 1] +
                   v[static_cast<ptrdiff_t>(r) * vs + cw - 1];
    }
  }
};

std::unique_ptr<zp::CVDEC> MakeDecoder(bool hevc, bool adapter) {
  if (!adapter) {
    return std::make_unique<zp::CVDECH264>(hevc, nullptr);
  }
  if (hevc) {
    return std::make_unique<zp::CVDECHi265>();
  }
  auto his = std::make_unique<zp::CVDECHis>();
  his->SetPictureClass(6);
  return his;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  av_log_set_level(AV_LOG_QUIET);
  Bases();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Reader in{data, size};
  const uint32_t mode = in.Byte();
  const bool hevc = (mode & 1) != 0;
  const bool adapter = (mode & 2) != 0;
  const auto& streams = Bases().streams[hevc ? 1 : 0];
  std::unique_ptr<zp::CVDEC> dec = MakeDecoder(hevc, adapter);
  PictureSink sink;
  dec->SetDecCallBack(reinterpret_cast<uintptr_t>(&sink), &PictureSink::OnPicture);
  dec->InitDecoder(0);

  std::vector<uint8_t> frame;
  std::vector<uint8_t> rgb;
  size_t cursor[2] = {0, 0};
  uint64_t stamp = 0;
  for (int ops = 0; in.More() && ops < 64; ++ops) {
    const uint32_t op = in.Byte();
    const uint32_t which = (op >> 2) & 1;
    const EncodedFrame& base = streams[which][cursor[which]++ % streams[which].size()];
    bool key = base.key;
    switch (op & 3) {
      case 0:  // a real unit as it is
        frame = base.data;
        break;
      case 1:  // a real unit cut short
        frame.assign(base.data.begin(), base.data.begin() + base.data.size() * in.Byte() / 256);
        break;
      case 2: {  // a real unit with some bytes overwritten
        frame = base.data;
        for (uint32_t n = in.Byte() % 8; n > 0; --n) {
          const uint32_t at = in.Word();
          frame[at % frame.size()] = static_cast<uint8_t>(in.Byte());
        }
        break;
      }
      default: {  // arbitrary bytes
        const uint32_t length = in.Word() % 4096;
        frame.clear();
        for (uint32_t i = 0; i < length && in.More(); ++i) {
          frame.push_back(static_cast<uint8_t>(in.Byte()));
        }
        break;
      }
    }
    if ((op & 0x10) != 0) {
      key = !key;  // announced wrongly
    }
    if ((op & 0x20) != 0) {
      dec->UnInit();
      dec->InitDecoder(0);
    }
    stamp += 40000;
    const uint64_t before = sink.pictures;
    const int r = dec->DecodeOneFrame(key ? zp::CVDEC::kKeyFrameType : kPFrameType, frame.data(),
                                      static_cast<uint32_t>(frame.size()), stamp);
    Check(r == 0 || r == 1);
    Check(r == 0 ? sink.pictures == before : sink.pictures > before);
    zp::PictureInfo picture;
    if (r == 1 && rgb.empty() && dec->GetPicture(&picture)) {
      const size_t rowBytes = static_cast<size_t>(picture.nWidth) * 3;
      rgb.resize(rowBytes * picture.nHeight);
      zp::ConvertPictureToRgb(picture, rgb.data(), rowBytes, true, true);
    }
  }
  return 0;
}
