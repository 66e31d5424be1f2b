// zephplay talk --codec NAME [--speex] [--out FILE] [--save] [--seconds N]
// Captures the microphone (or SDL's disk capture file), encodes it in a recorder's format with
// the library's capture-and-encode, writes the framed stream (12-byte head, then the payload, per
// frame) to FILE, and prints each second the frames so far and the level of the sound as the far
// end will hear it (decoded again by the library). --save also has the library save the payloads
// to a temporary file, whose path is printed at the end.
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Commands.h"
#include "zephplay.h"

namespace {

struct Codec {
  const char* name;
  int32_t coderType;
};

constexpr Codec kCodecs[] = {
    {"g711a", 17},    {"g711u", 18},    {"g726-16", 9},   {"g726-24", 8},   {"g726-32", 7},
    {"g726-40", 1},   {"adpcm", 2},     {"aac-8k", 12},   {"aac-16k", 13},  {"aac-24k", 15},
    {"aac-32k", 22},  {"aac-40k", 23},  {"aac-44k", 24},  {"aac-48k", 25},  {"amr", 14},
    {"pcm", 20},
};

struct TalkOptions {
  const Codec* codec = nullptr;
  bool speex = false;
  bool save = false;
  std::string out;
  double seconds = 5;
};

// What the capture-and-encode worker hands over; read by the main thread once a second.
struct Talk {
  std::mutex lock;
  std::FILE* out = nullptr;
  ZEPHPLAY_AUDIODECODER* decoder = nullptr;
  std::vector<uint8_t> pcm = std::vector<uint8_t>(65536);
  uint64_t frames = 0;
  uint64_t bytes = 0;
  double energy = 0;
  uint64_t samples = 0;

  static void ZEPHPLAY_CALL OnFrame(const uint8_t* frame, uint32_t len, uint64_t user) {
    static_cast<Talk*>(reinterpret_cast<void*>(user))->Take(frame, len);
  }
  void Take(const uint8_t* frame, uint32_t len) {
    std::lock_guard<std::mutex> hold(lock);
    ++frames;
    bytes += len;
    if (out != nullptr) {
      std::fwrite(frame, 1, len, out);
    }
    uint32_t room = static_cast<uint32_t>(pcm.size());
    if (len > 12 && ZEPHPLAY_AudioDecoderFrame(decoder, frame + 12, len - 12, pcm.data(), &room) == 0) {
      const auto* s = reinterpret_cast<const int16_t*>(pcm.data());
      for (uint32_t i = 0; i < room / 2; ++i) {
        energy += double(s[i]) * s[i];
      }
      samples += room / 2;
    }
  }
  // dBFS of the sound since the last call (-inf printed as -99).
  double TakeLevel() {
    std::lock_guard<std::mutex> hold(lock);
    const double level = samples == 0 || energy == 0 ? -99 : 10 * std::log10(energy / samples / (32768.0 * 32768.0));
    energy = 0;
    samples = 0;
    return level;
  }
};

int Usage() {
  std::fprintf(stderr, "usage: zephplay talk --codec NAME [--speex] [--out FILE] [--save] [--seconds N]\ncodecs:");
  for (const Codec& c : kCodecs) {
    std::fprintf(stderr, " %s", c.name);
  }
  std::fprintf(stderr, "\n");
  return 2;
}

bool Parse(int argc, char** argv, TalkOptions* o) {
  for (int i = 0; i < argc; ++i) {
    const std::string a = argv[i];
    const bool hasValue = i + 1 < argc;
    if (a == "--codec" && hasValue) {
      const std::string name = argv[++i];
      for (const Codec& c : kCodecs) {
        o->codec = name == c.name ? &c : o->codec;
      }
    } else if (a == "--out" && hasValue) {
      o->out = argv[++i];
    } else if (a == "--seconds" && hasValue) {
      o->seconds = std::atof(argv[++i]);
    } else if (a == "--speex") {
      o->speex = true;
    } else if (a == "--save") {
      o->save = true;
    } else {
      return false;
    }
  }
  return o->codec != nullptr && o->seconds > 0;
}

// The library's own decoder for the codec, fed the head its encoder writes.
ZEPHPLAY_AUDIODECODER* OpenDecoder(int32_t coderType) {
  ZEPHPLAY_AUDIOENCODER* encoder = nullptr;
  ZEPHPLAY_AUDIODECODER* decoder = nullptr;
  uint8_t head[512];
  uint32_t headLength = 0;
  if (ZEPHPLAY_OpenAudioEncoder(&encoder, static_cast<uint32_t>(coderType)) != 0) {
    return nullptr;
  }
  ZEPHPLAY_AudioEncoderHead(encoder, head, &headLength);
  ZEPHPLAY_CloseAudioEncoder(encoder);
  if (ZEPHPLAY_OpenAudioDecoder(&decoder) != 0 || ZEPHPLAY_AudioDecoderHead(decoder, head, headLength) != 0) {
    ZEPHPLAY_CloseAudioDecoder(decoder);
    return nullptr;
  }
  return decoder;
}

int Record(const TalkOptions& o, Talk* talk) {
  ZEPHPLAY_ACE* ace = nullptr;
  ZEPHPLAY_SetUseSpeex(o.speex ? 1 : 0);
  if (ZEPHPLAY_ACEOpen(&ace, o.codec->coderType, reinterpret_cast<uint64_t>(talk), &Talk::OnFrame) != 0) {
    std::fprintf(stderr, "zephplay: the microphone does not open (see the library's log)\n");
    return 1;
  }
  if (o.save && ZEPHPLAY_ACEStartSaveToFile(ace) != 0) {
    std::fprintf(stderr, "zephplay: no temporary file to save into\n");
  }
  const auto start = std::chrono::steady_clock::now();
  const auto end = start + std::chrono::milliseconds(static_cast<int64_t>(o.seconds * 1000));
  for (auto next = start + std::chrono::seconds(1); next < end + std::chrono::seconds(1); next += std::chrono::seconds(1)) {
    std::this_thread::sleep_until(std::min(next, end));
    const double at = std::chrono::duration<double>(std::min(next, end) - start).count();
    const double level = talk->TakeLevel();
    std::lock_guard<std::mutex> hold(talk->lock);
    std::printf("%6.1f s  %6llu frames  %9llu bytes  level %6.1f dBFS\n", at,
                static_cast<unsigned long long>(talk->frames), static_cast<unsigned long long>(talk->bytes), level);
    std::fflush(stdout);
  }
  char saved[260] = {0};
  ZEPHPLAY_ACEGetSavePath(ace, saved);
  ZEPHPLAY_ACEStopSaveToFile(ace);
  ZEPHPLAY_ACEClose(ace);
  std::printf("talk: %llu frames, %llu bytes of %s in %.1f s%s%s\n", static_cast<unsigned long long>(talk->frames),
              static_cast<unsigned long long>(talk->bytes), o.codec->name, o.seconds, o.save ? ", saved to " : "",
              o.save ? saved : "");
  return talk->frames > 0 ? 0 : 1;
}

}  // namespace

int RunTalk(int argc, char** argv) {
  TalkOptions o;
  if (!Parse(argc, argv, &o)) {
    return Usage();
  }
  Talk talk;
  if (!o.out.empty() && (talk.out = std::fopen(o.out.c_str(), "wb")) == nullptr) {
    std::fprintf(stderr, "zephplay: cannot write %s\n", o.out.c_str());
    return 1;
  }
  talk.decoder = OpenDecoder(o.codec->coderType);
  const int result = Record(o, &talk);
  if (talk.out != nullptr) {
    std::fclose(talk.out);
  }
  ZEPHPLAY_CloseAudioDecoder(talk.decoder);
  if (result == 1 && talk.frames == 0) {
    std::fprintf(stderr, "zephplay: no sound came from the microphone\n");
  }
  return result;
}
