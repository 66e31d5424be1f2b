// zephplay convert IN OUT: copies the frames of a GREC recording or a vendor .mpg file into a new
// recording through the library's writer: MP4 for an OUT ending in ".mp4" (the video as recorded,
// the sound re-encoded to AAC by the writer), else GREC. Damage stays behind: what cannot be read
// as a frame is not written.
#include <strings.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "AudioCoderAttr.h"
#include "Commands.h"
#include "ProgressLine.h"
#include "RecordingFrames.h"
#include "zephplay.h"

namespace {

struct Tally {
  uint32_t video = 0;
  uint32_t audio = 0;
  uint32_t other = 0;
  uint32_t refused = 0;
  uint64_t firstVideoUs = 0;
  uint64_t lastVideoUs = 0;

  uint32_t Written() const { return video + audio + other; }
  double Seconds() const { return video == 0 ? 0 : (lastVideoUs - firstVideoUs) / 1e6; }
};

constexpr uint32_t kHeadCoderAt = 180;  // the head's audio coder type (u32)

int Usage() {
  std::fprintf(stderr,
               "usage: zephplay convert IN OUT [--audio-coder N]\n"
               "  IN: GREC or .mpg; OUT: MP4 when it ends in .mp4, else GREC\n"
               "  --audio-coder the sound's coder type, for a source that names none (.mpg) or a wrong one\n");
  return 2;
}

bool EndsWithMp4(const char* path) {
  const size_t n = std::strlen(path);
  return n >= 4 && strcasecmp(path + n - 4, ".mp4") == 0;
}

bool SameFile(const char* a, const char* b) {
  struct stat sa;
  struct stat sb;
  return stat(a, &sa) == 0 && stat(b, &sb) == 0 && sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}

uint64_t FileSize(const char* path) {
  struct stat st;
  return stat(path, &st) == 0 ? static_cast<uint64_t>(st.st_size) : 0;
}

// The library's verdict on a GREC recording and its start date.
bool ReadStart(const char* path, ZEPHPLAY_RECORD_INFO* start) {
  ZEPHPLAY_READER* reader = nullptr;
  if (ZEPHPLAY_OpenReader(&reader, path) != 0) {
    return false;
  }
  const bool read = ZEPHPLAY_ReadFileInfo(reader, start) == 0;
  ZEPHPLAY_CloseReader(reader);
  return read;
}

// The head carries the sound's coder type (and an MP4 file's creation time): the source's, with
// the coder type replaced when one is given (a .mpg source has no head: the library makes one).
// The begin time keeps the source's start date, which a GREC writer would otherwise take from the
// time of copying.
void CopyHead(ZEPHPLAY_WRITER* writer, const RecordingFrames& in, const ZEPHPLAY_RECORD_INFO& start, long coder) {
  std::vector<uint8_t> head = in.Head();
  if (head.empty() && coder >= 0) {
    uint32_t length = 0;
    ZEPHPLAY_GetFileHeadLength(&length);
    head.assign(length, 0);
    ZEPHPLAY_GetFileHead(head.data(), &length);
  }
  if (coder >= 0 && head.size() >= kHeadCoderAt + 4) {
    for (uint32_t b = 0; b < 4; ++b) {
      head[kHeadCoderAt + b] = static_cast<uint8_t>(static_cast<uint32_t>(coder) >> (8 * b));
    }
  }
  if (!head.empty()) {
    ZEPHPLAY_SetFileHead(writer, head.data(), static_cast<uint32_t>(head.size()));
  }
  if (start.wMonth < 1 || start.wMonth > 12 || start.wDay < 1 || start.wDay > 31) {
    return;
  }
  ZEPHPLAY_SetFileBeginTime(writer, 1, 2000u + start.wYear, start.wMonth, start.wDay,
                            start.wHour * 3600u + start.wMinute * 60u + start.wSecond);
}

void Count(const RecordingFrames::Frame& f, Tally* tally) {
  if (f.tag == RecordingFrames::kAudioTag) {
    ++tally->audio;
    return;
  }
  if (f.tag == RecordingFrames::kDataTag) {
    ++tally->other;
    return;
  }
  tally->firstVideoUs = tally->video == 0 ? f.stampUs : tally->firstVideoUs;
  tally->lastVideoUs = std::max(tally->lastVideoUs, f.stampUs);
  ++tally->video;
}

void ShowProgress(const RecordingFrames& in, ProgressLine* line, int* shownPercent) {
  const uint64_t total = in.BytesTotal();
  const int percent = total == 0 ? 100 : static_cast<int>(in.BytesRead() * 100 / total);
  if (percent == *shownPercent) {
    return;
  }
  *shownPercent = percent;
  constexpr int kWidth = 40;
  line->Print(percent == 100, "converting [%.*s%*s] %3d %%  %.1f of %.1f MiB", percent * kWidth / 100,
              "########################################", kWidth - percent * kWidth / 100, "", percent,
              in.BytesRead() / 1048576.0, total / 1048576.0);
}

// Hands every frame to the writer. An MP4 writer refuses a frame it cannot store (counted, the
// copy goes on); a GREC writer refuses only when the file cannot be written (false).
bool CopyFrames(RecordingFrames* in, ZEPHPLAY_WRITER* writer, bool mp4, Tally* tally) {
  ProgressLine line;
  int shownPercent = -1;
  RecordingFrames::Frame f;
  while (in->Next(&f)) {
    if (ZEPHPLAY_WriteFrame(writer, f.data, f.length, f.tag, f.stampUs, nullptr, nullptr) != 0) {
      if (!mp4) {
        line.Clear();
        return false;
      }
      ++tally->refused;
    } else {
      Count(f, tally);
    }
    ShowProgress(*in, &line, &shownPercent);
  }
  ShowProgress(*in, &line, &shownPercent);
  line.Clear();
  return true;
}

int Convert(const char* inPath, const char* outPath, long coder) {
  RecordingFrames in;
  std::string why;
  if (!in.Open(inPath, &why)) {
    return Fail(inPath, why);
  }
  ZEPHPLAY_RECORD_INFO start = {};
  if (!in.IsMpg() && !ReadStart(inPath, &start)) {
    return Fail(inPath, "not a recording the library can read");
  }
  if (SameFile(inPath, outPath)) {
    return Fail(outPath, "is the input itself");
  }
  ZEPHPLAY_WRITER* writer = nullptr;
  if (ZEPHPLAY_OpenWriter(&writer, outPath) != 0) {
    return Fail(outPath, "cannot be created");
  }
  CopyHead(writer, in, start, coder);
  const auto began = std::chrono::steady_clock::now();
  Tally tally;
  const bool mp4 = EndsWithMp4(outPath);
  const bool written = CopyFrames(&in, writer, mp4, &tally);
  ZEPHPLAY_CloseWriter(writer);
  if (!written) {
    return Fail(outPath, "writing failed after " + std::to_string(tally.Written()) + " frames");
  }
  if (in.ReadFailed()) {
    return Fail(inPath, "read error after " + std::to_string(in.BytesRead()) + " bytes");
  }
  if (tally.Written() == 0) {
    std::remove(outPath);  // an empty recording is no copy
    return Fail(inPath, "no frames to convert");
  }
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
  std::printf("%s: %u frames written (%u video, %u audio), %.3f s, %llu bytes in %s, took %.2f s\n", inPath,
              tally.Written(), tally.video, tally.audio, tally.Seconds(),
              static_cast<unsigned long long>(FileSize(outPath)), outPath, took.count());
  std::fflush(stdout);  // before a reason on stderr
  if (tally.refused > 0) {
    return Fail(outPath, std::to_string(tally.refused) + " frames refused by the MP4 writer (the library's log says why)");
  }
  return 0;
}

}  // namespace

int RunConvert(int argc, char** argv) {
  long coder = -1;  // -1: the source's own
  std::vector<const char*> paths;
  for (int i = 0; i < argc; ++i) {
    if (std::strcmp(argv[i], "--audio-coder") == 0) {
      if (++i == argc || !ParseAudioCoder(argv[i], &coder)) {
        return Usage();
      }
    } else if (argv[i][0] == '-') {
      return Usage();
    } else {
      paths.push_back(argv[i]);
    }
  }
  if (paths.size() != 2) {
    return Usage();
  }
  return Convert(paths[0], paths[1], coder);
}
