// zephplay-samplemaker: makes synthetic sample streams and recordings for libzephplay.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "SampleEncoder.h"
#include "StreamWriter.h"
#include "GrecWriter.h"

namespace {

using namespace zp::samples;

const char kUsage[] =
    "Usage: zephplay-samplemaker [options] -o FILE\n"
    "Makes synthetic sample material for libzephplay: a moving picture and a tone, encoded and\n"
    "stamped in microseconds, written as a raw tagged stream as a recorder sends it, a vendor\n"
    ".mpg file, a GREC recording (through the library's recording writer) or a bare elementary\n"
    "stream. The same options always give the same bytes (GREC heads hold the time of writing).\n"
    "\n"
    "Output:\n"
    "  -o, --output FILE        file to write (required)\n"
    "  -f, --format KIND        stream (default), mpg, grec, es-video (Annex-B access units\n"
    "                           back to back) or es-audio (audio frames back to back)\n"
    "Video:\n"
    "  --video CODEC            h264 (default), h265 or none\n"
    "  --size WxH               picture size, even, 32x32 to 4096x2304 (default 352x288)\n"
    "  --frames N               number of pictures (default 50)\n"
    "  --gop N                  a key frame every N pictures (default 25)\n"
    "  --bframes                use B-frames (two between reference pictures)\n"
    "  --fps N                  pictures per second (default 25)\n"
    "  --preset NAME            encoder speed preset (default ultrafast)\n"
    "Audio:\n"
    "  --audio CODEC            g711a (default), g711u, pcm (16-bit little-endian), aac (ADTS),\n"
    "                           hisi-g711a, hisi-g711u (units 00 01 LL 00 + payload) or none\n"
    "  --rate HZ                sample rate (default 8000)\n"
    "  --channels N             channels (default 1; the hisi forms are mono)\n"
    "  --samples-per-frame N    samples per channel in one frame, ignored for aac (default 160)\n"
    "  --audio-frames N         audio frames (default: as long as the video, 50 without video)\n"
    "  --audio-tag WORD         tag word of audio frames, decimal or 0x hex (default 0x63643230\n"
    "                           \"02dc\" in streams, 0x62773100 \"1wb\" in .mpg and GREC files)\n"
    "Stamps and length:\n"
    "  --start-us N             add N microseconds to every stamp (default 0), e.g. to append\n"
    "                           a later stretch to a GREC recording\n"
    "  --repeat N               write the encoded stretch N times over, each copy's stamps\n"
    "                           moved on by its length: long files from a short encoding\n"
    "                           (not for the es- formats)\n"
    "Stream:\n"
    "  --garbage N              up to N garbage bytes between frames (default 0)\n"
    "  --leading-garbage N      up to N garbage bytes before the first frame (default 0)\n"
    "  --cut N                  also write FILE.cuts: the lengths of random pieces of 1 to N\n"
    "                           bytes that cover the stream, one per line, for feeding it in\n"
    "                           pieces\n"
    "  --seed N                 seed of the garbage and the cuts (default 1)\n"
    "Vendor .mpg file:\n"
    "  --vendor-index           append a key-frame index trailer (0x08070620)\n"
    "GREC recording:\n"
    "  --append                 continue the closed recording at FILE instead of replacing it\n"
    "  --unfinished             leave the file as if the writer had died before closing: no\n"
    "                           index trailer, index offset 0 in the head\n"
    "  --cut-tail N             with --unfinished, also cut N bytes off the end\n"
    "  A new recording with audio names its audio coder type at head byte 180 (g711a 17,\n"
    "  g711u 18, pcm 20/21, aac 12..25 by rate, hisi-g711a 10, hisi-g711u 11), so that the\n"
    "  file player decodes it with the right codec.\n"
    "\n"
    "  -h, --help               show this text\n"
    "\n"
    "Garbage never contains the bytes 'd' or 'w', so it can hold no frame tag.\n"
    "Exit status: 0 when the file was written, 1 on a failure, 2 on bad options.\n";

struct Options {
  std::string output;
  std::string format = "stream";
  std::string video = "h264";
  std::string audio = "g711a";
  VideoParams vp;
  AudioParams ap;
  int audioFrames = -1;
  uint64_t startUs = 0;
  int repeat = 1;
  long long audioTag = -1;
  StreamOptions stream;
  size_t cut = 0;
  MpgOptions mpg;
  bool append = false;
  bool unfinished = false;
  uint32_t cutTail = 0;
};

bool KnownFormat(const std::string& f) {
  return f == "stream" || f == "mpg" || f == "es-video" || f == "es-audio" || f == "grec";
}

bool ParseNumber(std::string_view text, long long lo, long long hi, long long* out) {
  const std::string s(text);
  char* end = nullptr;
  errno = 0;
  const long long v = std::strtoll(s.c_str(), &end, 0);
  if (s.empty() || errno != 0 || *end != '\0' || v < lo || v > hi) {
    return false;
  }
  *out = v;
  return true;
}

bool ParseSize(std::string_view text, VideoParams* vp) {
  const size_t x = text.find('x');
  long long w = 0;
  long long h = 0;
  if (x == std::string_view::npos || !ParseNumber(text.substr(0, x), 1, 65536, &w) ||
      !ParseNumber(text.substr(x + 1), 1, 65536, &h)) {
    return false;
  }
  vp->width = static_cast<int>(w);
  vp->height = static_cast<int>(h);
  return true;
}

bool SetAudioCodec(const std::string& name, AudioParams* ap) {
  static const std::pair<const char*, AudioCodec> kNames[] = {
      {"g711a", AudioCodec::G711A},          {"g711u", AudioCodec::G711U},
      {"pcm", AudioCodec::Pcm16},            {"aac", AudioCodec::AacAdts},
      {"hisi-g711a", AudioCodec::HisiG711A}, {"hisi-g711u", AudioCodec::HisiG711U},
  };
  for (const auto& [n, c] : kNames) {
    if (name == n) {
      ap->codec = c;
      return true;
    }
  }
  return name == "none";
}

// Applies one option that takes a value; false when the option is unknown or its value bad.
bool ApplyValue(std::string_view opt, std::string_view value, Options* o) {
  long long n = 0;
  auto num = [&](long long lo, long long hi) { return ParseNumber(value, lo, hi, &n); };
  if (opt == "-o" || opt == "--output") {
    o->output = value;
  } else if (opt == "-f" || opt == "--format") {
    o->format = value;
    return KnownFormat(o->format);
  } else if (opt == "--video") {
    o->video = value;
    o->vp.codec = o->video == "h265" ? VideoCodec::H265 : VideoCodec::H264;
    return o->video == "h264" || o->video == "h265" || o->video == "none";
  } else if (opt == "--size") {
    return ParseSize(value, &o->vp);
  } else if (opt == "--frames" && num(1, 1000000)) {
    o->vp.frames = static_cast<int>(n);
  } else if (opt == "--gop" && num(1, 100000)) {
    o->vp.gop = static_cast<int>(n);
  } else if (opt == "--fps" && num(1, 240)) {
    o->vp.fps = static_cast<int>(n);
  } else if (opt == "--preset") {
    static std::string preset;  // VideoParams keeps a pointer; the text lives as long as the program
    preset = value;
    o->vp.preset = preset.c_str();
  } else if (opt == "--audio") {
    o->audio = value;
    return SetAudioCodec(o->audio, &o->ap);
  } else if (opt == "--rate" && num(1, 96000)) {
    o->ap.sampleRate = static_cast<int>(n);
  } else if (opt == "--channels" && num(1, 8)) {
    o->ap.channels = static_cast<int>(n);
  } else if (opt == "--samples-per-frame" && num(1, 65536)) {
    o->ap.samplesPerFrame = static_cast<int>(n);
  } else if (opt == "--audio-frames" && num(1, 10000000)) {
    o->audioFrames = static_cast<int>(n);
  } else if (opt == "--repeat" && num(1, 1000000)) {
    o->repeat = static_cast<int>(n);
  } else if (opt == "--start-us" && num(0, 1LL << 62)) {
    o->startUs = static_cast<uint64_t>(n);
  } else if (opt == "--audio-tag" && num(0, 0xFFFFFFFFLL)) {
    o->audioTag = n;
  } else if (opt == "--garbage" && num(0, 1 << 20)) {
    o->stream.garbageMax = static_cast<uint32_t>(n);
  } else if (opt == "--leading-garbage" && num(0, 1 << 20)) {
    o->stream.leadingGarbageMax = static_cast<uint32_t>(n);
  } else if (opt == "--cut" && num(1, 1 << 30)) {
    o->cut = static_cast<size_t>(n);
  } else if (opt == "--cut-tail" && num(0, 0xFFFFFFFFLL)) {
    o->cutTail = static_cast<uint32_t>(n);
  } else if (opt == "--seed" && num(0, 0xFFFFFFFFLL)) {
    o->stream.seed = static_cast<uint32_t>(n);
  } else {
    return false;
  }
  return true;
}

// 0 to go on, else the exit status.
int ParseArgs(int argc, char** argv, Options* o) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view opt = argv[i];
    if (opt == "-h" || opt == "--help") {
      std::fputs(kUsage, stdout);
      return -1;
    }
    if (opt == "--bframes") {
      o->vp.bFrames = true;
    } else if (opt == "--vendor-index") {
      o->mpg.keyFrameIndex = true;
    } else if (opt == "--append") {
      o->append = true;
    } else if (opt == "--unfinished") {
      o->unfinished = true;
    } else if (i + 1 >= argc || !ApplyValue(opt, argv[i + 1], o)) {
      std::fprintf(stderr, "zephplay-samplemaker: bad option or value: %s\n", argv[i]);
      return 2;
    } else {
      ++i;
    }
  }
  if (o->output.empty()) {
    std::fprintf(stderr, "zephplay-samplemaker: no output file (-o FILE); see --help\n");
    return 2;
  }
  return 0;
}

int DefaultAudioFrames(const Options& o) {
  if (o.video == "none") {
    return 50;
  }
  const long long samples = static_cast<long long>(o.vp.frames) * o.ap.sampleRate / o.vp.fps;
  const int per = SamplesPerEncodedFrame(o.ap);
  return static_cast<int>(std::max<long long>(1, (samples + per - 1) / per));
}

std::vector<uint8_t> Concatenate(const std::vector<EncodedFrame>& frames) {
  std::vector<uint8_t> out;
  for (const EncodedFrame& f : frames) {
    out.insert(out.end(), f.data.begin(), f.data.end());
  }
  return out;
}

bool WriteCuts(const std::string& path, size_t size, uint32_t seed, size_t maxPiece) {
  std::ofstream out(path, std::ios::trunc);
  for (size_t n : CutLengths(size, seed, maxPiece)) {
    out << n << '\n';
  }
  return static_cast<bool>(out);
}

// The length of the encoded stretch: the video's, else the audio's.
uint64_t StretchUs(const Options& o, size_t audioFrames) {
  if (o.video != "none") {
    return static_cast<uint64_t>(o.vp.frames) * 1000000u / static_cast<uint64_t>(o.vp.fps);
  }
  return audioFrames * static_cast<uint64_t>(SamplesPerEncodedFrame(o.ap)) * 1000000u /
         static_cast<uint64_t>(o.ap.sampleRate);
}

bool WriteOutput(const Options& o, const std::vector<EncodedFrame>& video, const std::vector<EncodedFrame>& audio,
                 uint64_t* size) {
  std::vector<uint8_t> bytes;
  if (o.format == "es-video" || o.format == "es-audio") {
    bytes = Concatenate(o.format == "es-video" ? video : audio);
  } else {
    const bool file = o.format != "stream";
    const uint32_t tag = o.audioTag >= 0 ? static_cast<uint32_t>(o.audioTag) : (file ? kFileAudioTag : kStreamAudioTag);
    std::vector<TaggedFrame> frames = MergeFrames(video, audio, tag);
    const uint64_t period = StretchUs(o, audio.size());
    if (o.format == "grec") {
      GrecOptions g;
      g.repeat = static_cast<uint32_t>(o.repeat);
      g.repeatPeriodUs = period;
      g.append = o.append;
      g.unfinished = o.unfinished;
      g.cutTail = o.cutTail;
      g.audioCoder = audio.empty() ? 0 : CoderTypeOf(o.ap);
      const GrecResult r = WriteGrecFile(o.output, frames, g);
      *size = r.fileSize;
      return r.ok;
    }
    if (o.repeat > 1) {
      frames = RepeatFrames(frames, o.repeat, period);
    }
    bytes = o.format == "mpg" ? MakeMpgFile(frames, o.mpg) : MakeStream(frames, o.stream).bytes;
  }
  *size = bytes.size();
  return WriteFileBytes(o.output, bytes);
}

int Run(const Options& o) {
  std::vector<EncodedFrame> video;
  std::vector<EncodedFrame> audio;
  if (o.video != "none" && o.format != "es-audio") {
    video = EncodeVideo(o.vp);
    if (video.empty()) {
      return 1;
    }
  }
  if (o.audio != "none" && o.format != "es-video") {
    AudioParams ap = o.ap;
    ap.frames = o.audioFrames > 0 ? o.audioFrames : DefaultAudioFrames(o);
    audio = EncodeAudio(ap);
    if (audio.empty()) {
      return 1;
    }
  }
  size_t keys = 0;
  for (EncodedFrame& f : video) {
    keys += f.key ? 1 : 0;
    f.stampUs += o.startUs;
  }
  for (EncodedFrame& f : audio) {
    f.stampUs += o.startUs;
  }
  uint64_t size = 0;
  if (!WriteOutput(o, video, audio, &size)) {
    std::fprintf(stderr, "zephplay-samplemaker: cannot write %s\n", o.output.c_str());
    return 1;
  }
  if (o.cut > 0 && !WriteCuts(o.output + ".cuts", size, o.stream.seed, o.cut)) {
    std::fprintf(stderr, "zephplay-samplemaker: cannot write %s.cuts\n", o.output.c_str());
    return 1;
  }
  // Elementary streams are written once; the tagged forms as often as asked.
  const size_t times = o.format.starts_with("es-") ? 1 : static_cast<size_t>(o.repeat);
  std::printf("%s: %llu bytes, %zu video frames (%zu key), %zu audio frames\n", o.output.c_str(),
              static_cast<unsigned long long>(size), video.size() * times, keys * times, audio.size() * times);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  const int rc = ParseArgs(argc, argv, &options);
  if (rc != 0) {
    return rc < 0 ? 0 : rc;
  }
  return Run(options);
}
