// zephplay [info]                 the library's version and the configuration it loaded
// zephplay --version              the version only
// zephplay info FILE [--json]     what a recording holds; an MP4 file is read with libavformat
#include <cstdio>
#include <cstring>
#include <string>

#include "Commands.h"
#include "Mp4Probe.h"
#include "zephplay.h"

namespace {

int PrintInfo(bool versionOnly) {
  ZEPHPLAY_LIBRARY_INFO info;
  std::memset(&info, 0, sizeof(info));
  info.nSize = sizeof(info);
  if (ZEPHPLAY_GetLibraryInfo(&info) != 0) {
    std::fprintf(stderr, "zephplay: the library gave no information\n");
    return 1;
  }
  if (versionOnly) {
    std::printf("%s\n", info.szVersion);
    return 0;
  }
  std::printf("libzephplay %s\n", info.szVersion);
  std::printf("library            %s\n", info.szLibraryPath);
  std::printf("configuration      %s\n", info.szConfigPath);
  std::printf("application dir    %s\n", info.szAppDirectory);
  std::printf("log file           %s (level %d)\n", info.szLogPath, info.nLogLevel);
  std::printf("[FixedDecoder] H264          %d\n", info.nFixedDecoderH264);
  std::printf("[CONFIG] DefaultAudioCoder   %d\n", info.nDefaultAudioCoder);
  std::printf("[CONFIG] VideoMinDelay       %d\n", info.nVideoMinDelay);
  std::printf("[CONFIG] VideoMaxDelay       %d\n", info.nVideoMaxDelay);
  std::printf("[CONFIG] VideoDelayEnable    %d\n", info.nVideoDelayEnable);
  std::printf("[CONFIG] WriteFile           %d\n", info.nWriteFile);
  return 0;
}

const char* KindName(uint32_t kind) { return kind == ZEPHPLAY_FILE_MPG ? "vendor mpg" : "grec"; }

const char* VideoCodecName(uint32_t codec) {
  switch (codec) {
    case ZEPHPLAY_VCODEC_H264:
      return "h264";
    case ZEPHPLAY_VCODEC_H265:
      return "h265";
    default:
      return "none";
  }
}

const char* AudioCodecName(uint32_t codec) {
  switch (codec) {
    case ZEPHPLAY_ACODEC_AAC:
      return "aac";
    case ZEPHPLAY_ACODEC_UNITS:
      return "voice-engine units";
    case ZEPHPLAY_ACODEC_RAW:
      return "raw (g711 or pcm)";
    default:
      return "none";
  }
}

// The start date as the head has it (the year counted from 2000).
std::string StartDate(const ZEPHPLAY_RECORD_INFO& r) {
  char text[48];
  std::snprintf(text, sizeof(text), "%04u-%02u-%02u %02u:%02u:%02u", 2000u + r.wYear, r.wMonth, r.wDay, r.wHour,
                r.wMinute, r.wSecond);
  return text;
}

// Strings in the JSON output come from fixed names and the file name, which is escaped.
std::string JsonString(const char* text) {
  std::string out = "\"";
  for (const char* p = text; *p != '\0'; ++p) {
    if (*p == '"' || *p == '\\') {
      out += '\\';
    }
    if (static_cast<unsigned char>(*p) < 0x20) {
      char escaped[8];
      std::snprintf(escaped, sizeof(escaped), "\\u%04x", *p);
      out += escaped;
      continue;
    }
    out += *p;
  }
  return out + "\"";
}

uint32_t DurationMs(const ZEPHPLAY_MEDIA_INFO& m) {
  return m.u64EndStamp > m.u64BeginStamp ? static_cast<uint32_t>((m.u64EndStamp - m.u64BeginStamp) / 1000) : 0;
}

void PrintMediaText(const char* file, const ZEPHPLAY_MEDIA_INFO& m) {
  std::printf("file        %s\n", file);
  std::printf("kind        %s\n", KindName(m.nFileKind));
  std::printf("start       %s\n", StartDate(m.info).c_str());
  std::printf("begin       %llu us\n", static_cast<unsigned long long>(m.u64BeginStamp));
  std::printf("end         %llu us\n", static_cast<unsigned long long>(m.u64EndStamp));
  std::printf("duration    %.3f s (file information: %.3f s)\n", DurationMs(m) / 1000.0,
              m.info.nTotalMinSecond / 1000.0);
  std::printf("video       %s %ux%u, %u frames, %u key frames\n", VideoCodecName(m.nVideoCodec), m.nWidth, m.nHeight,
              m.nVideoFrames, m.nKeyFrames);
  std::printf("audio       %s, %u frames\n", AudioCodecName(m.nAudioCodec), m.nAudioFrames);
}

void PrintMediaJson(const char* file, const ZEPHPLAY_MEDIA_INFO& m) {
  std::printf("{\"file\": %s, \"kind\": \"%s\", \"start\": \"%s\", \"begin_us\": %llu, \"end_us\": %llu, "
              "\"duration_ms\": %u, \"info_total_ms\": %u, \"video_codec\": \"%s\", \"width\": %u, \"height\": %u, \"video_frames\": %u, "
              "\"key_frames\": %u, \"audio_codec\": \"%s\", \"audio_frames\": %u}\n",
              JsonString(file).c_str(), KindName(m.nFileKind), StartDate(m.info).c_str(),
              static_cast<unsigned long long>(m.u64BeginStamp), static_cast<unsigned long long>(m.u64EndStamp),
              DurationMs(m), m.info.nTotalMinSecond, VideoCodecName(m.nVideoCodec), m.nWidth, m.nHeight, m.nVideoFrames,
              m.nKeyFrames, AudioCodecName(m.nAudioCodec), m.nAudioFrames);
}

uint64_t DurationMs(const Mp4Probe::Result& m) { return m.endUs > m.beginUs ? (m.endUs - m.beginUs) / 1000 : 0; }

// The recording's lines where they correspond; the video track's stored length stands where a
// recording gives its file information.
void PrintMp4Text(const char* file, const Mp4Probe::Result& m) {
  std::printf("file        %s\n", file);
  std::printf("kind        mp4\n");
  std::printf("start       %s\n", m.start.c_str());
  std::printf("begin       %llu us\n", static_cast<unsigned long long>(m.beginUs));
  std::printf("end         %llu us\n", static_cast<unsigned long long>(m.endUs));
  std::printf("duration    %.3f s (video track: %.3f s)\n", DurationMs(m) / 1000.0, m.trackMs / 1000.0);
  std::printf("video       %s %ux%u, %u frames, %u key frames\n", m.videoCodec.c_str(), m.width, m.height,
              m.videoFrames, m.keyFrames);
  std::printf("audio       %s %u Hz, %u frames\n", m.audioCodec.c_str(), m.audioRate, m.audioFrames);
}

void PrintMp4Json(const char* file, const Mp4Probe::Result& m) {
  std::printf("{\"file\": %s, \"kind\": \"mp4\", \"start\": \"%s\", \"begin_us\": %llu, \"end_us\": %llu, "
              "\"duration_ms\": %llu, \"track_ms\": %llu, \"video_codec\": %s, \"width\": %u, \"height\": %u, "
              "\"video_frames\": %u, \"key_frames\": %u, \"audio_codec\": %s, \"audio_rate\": %u, \"audio_frames\": %u}\n",
              JsonString(file).c_str(), m.start.c_str(), static_cast<unsigned long long>(m.beginUs),
              static_cast<unsigned long long>(m.endUs), static_cast<unsigned long long>(DurationMs(m)),
              static_cast<unsigned long long>(m.trackMs), JsonString(m.videoCodec.c_str()).c_str(), m.width,
              m.height, m.videoFrames, m.keyFrames, JsonString(m.audioCodec.c_str()).c_str(), m.audioRate,
              m.audioFrames);
}

int PrintMp4(const char* file, bool json) {
  Mp4Probe::Result mp4;
  if (!Mp4Probe::Probe(file, &mp4)) {
    std::fprintf(stderr, "zephplay: %s: not a recording the library can read\n", file);
    return 1;
  }
  (json ? PrintMp4Json : PrintMp4Text)(file, mp4);
  return 0;
}

int PrintMedia(const char* file, bool json) {
  ZEPHPLAY_MEDIA_INFO media;
  std::memset(&media, 0, sizeof(media));
  media.nSize = sizeof(media);
  if (ZEPHPLAY_GetMediaInfo(file, &media) != 0) {
    return PrintMp4(file, json);
  }
  (json ? PrintMediaJson : PrintMediaText)(file, media);
  return 0;
}

}  // namespace

int RunInfo(int argc, char** argv) {
  if (argc > 0 && argv[0][0] != '-') {
    const bool json = argc == 2 && std::strcmp(argv[1], "--json") == 0;
    if (argc > 2 || (argc == 2 && !json)) {
      std::fprintf(stderr, "usage: zephplay info FILE [--json]\n");
      return 2;
    }
    return PrintMedia(argv[0], json);
  }
  const bool versionOnly = argc > 0 && std::strcmp(argv[0], "--version") == 0;
  if (argc > (versionOnly ? 1 : 0)) {
    std::fprintf(stderr, "usage: zephplay [info [FILE [--json]] | --version]\n");
    return 2;
  }
  return PrintInfo(versionOnly);
}
