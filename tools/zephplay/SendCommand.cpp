// zephplay send FILE --port N [options]: serves a tagged stream file, as a recorder sends its
// live stream, to one client on 127.0.0.1, paced by the frames' stamps. Garbage between frames
// goes out as it is; --drop and --jitter imitate a poor mobile network.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "Commands.h"
#include "ProgressLine.h"
#include "StampPacer.h"
#include "StreamServer.h"
#include "TagScanner.h"
#include "ToolSession.h"

namespace {

constexpr uint32_t kWaitSliceMs = 200;
constexpr uint32_t kProgressMs = 250;
constexpr uint64_t kDefaultGapUs = 40000;  // one picture at 25 per second

struct Options {
  const char* file = nullptr;
  long port = -1;
  double speed = 1;
  bool loop = false;
  double drop = 0;
  uint32_t jitterMs = 0;
  uint32_t seed = 1;
};

// What goes out at once: the garbage before a frame, then the frame (none in a trailing piece).
struct Piece {
  size_t begin = 0;
  ScannedFrame frame;
  bool hasFrame = false;
  size_t end = 0;
};

int Usage() {
  std::fprintf(stderr,
               "usage: zephplay send FILE --port N [--speed X] [--loop] [--drop P] [--jitter MS] [--seed N]\n"
               "  serves FILE (a tagged stream) on 127.0.0.1:N (0: any free port) to one client\n");
  return 2;
}

bool ParseDouble(const char* text, double low, double high, double* out) {
  char* end = nullptr;
  *out = std::strtod(text, &end);
  return end != text && *end == '\0' && *out >= low && *out <= high;
}

bool ParseOptions(int argc, char** argv, Options* o) {
  for (int i = 0; i < argc; ++i) {
    const std::string arg = argv[i];
    const char* value = i + 1 < argc ? argv[i + 1] : nullptr;
    double number = 0;
    if (arg == "--loop") {
      o->loop = true;
      continue;
    }
    if (value == nullptr && arg[0] == '-') {
      return false;
    }
    if (arg == "--port" && ParseDouble(value, 0, 65535, &number) && number == static_cast<long>(number)) {
      o->port = static_cast<long>(number);
    } else if (arg == "--speed" && ParseDouble(value, 0.01, 1000, &number)) {
      o->speed = number;
    } else if (arg == "--drop" && ParseDouble(value, 0, 1, &number)) {
      o->drop = number;
    } else if ((arg == "--jitter" || arg == "--seed") && ParseDouble(value, 0, 4e9, &number)) {
      (arg == "--jitter" ? o->jitterMs : o->seed) = static_cast<uint32_t>(number);
    } else if (arg[0] != '-' && o->file == nullptr) {
      o->file = argv[i];
      continue;
    } else {
      return false;
    }
    ++i;
  }
  return o->file != nullptr && o->port >= 0;
}

// The file cut into pieces at its frames; a frame cut off by the end of the file is garbage.
std::vector<Piece> CutPieces(const std::vector<uint8_t>& bytes) {
  std::vector<Piece> pieces;
  TagScanner scanner;
  size_t pos = 0;
  size_t begin = 0;
  ScannedFrame frame;
  while (pos < bytes.size()) {
    size_t used = 0;
    const bool found = scanner.Next(bytes.data() + pos, bytes.size() - pos, &used, &frame);
    pos += used;
    if (!found || frame.End() > bytes.size()) {
      continue;
    }
    pieces.push_back(Piece{begin, frame, true, static_cast<size_t>(frame.End())});
    begin = static_cast<size_t>(frame.End());
  }
  if (begin < bytes.size()) {
    pieces.push_back(Piece{begin, ScannedFrame(), false, bytes.size()});
  }
  return pieces;
}

// How far each pass of --loop moves the stamps on: the stretch the stamps cover, plus one
// picture's gap, so the next pass goes on where the last one ended as a live source would.
uint64_t LoopPeriodUs(const std::vector<Piece>& pieces) {
  uint64_t low = UINT64_MAX;
  uint64_t high = 0;
  uint64_t videoLow = UINT64_MAX;
  uint64_t videoHigh = 0;
  uint64_t videoFrames = 0;
  for (const Piece& p : pieces) {
    if (!p.hasFrame || !p.frame.HasStamp()) {
      continue;
    }
    low = std::min(low, p.frame.stampUs);
    high = std::max(high, p.frame.stampUs);
    if (p.frame.video) {
      videoLow = std::min(videoLow, p.frame.stampUs);
      videoHigh = std::max(videoHigh, p.frame.stampUs);
      ++videoFrames;
    }
  }
  const uint64_t gap = videoFrames > 1 ? (videoHigh - videoLow) / (videoFrames - 1) : kDefaultGapUs;
  return (low <= high ? high - low : 0) + std::max<uint64_t>(gap, 1);
}

// Sends the pieces on time, losing and delaying some as asked, and counts what went out.
class Sender {
 public:
  Sender(const Options& o, const std::vector<uint8_t>& bytes, StreamServer* server)
      : m_o(o), m_bytes(bytes), m_server(server), m_pacer(o.speed), m_random(o.seed) {}

  // One pass over the pieces with the stamps moved on by shiftUs; false when the client left
  // (m_end says so) or on Ctrl-C.
  bool SendPass(const std::vector<Piece>& pieces, uint64_t shiftUs) {
    if (m_startMs == 0) {
      m_startMs = ToolNowMs();
    }
    for (const Piece& p : pieces) {
      if (p.hasFrame && p.frame.HasStamp()) {
        m_dueMs = m_pacer.DueMs(p.frame.stampUs + shiftUs);
      }
      if (!WaitUntil(SendAtMs()) || !SendPiece(p, shiftUs)) {
        return false;
      }
      ShowProgress(false);
    }
    return true;
  }

  void End(const char* why) { m_end = why; }

  void PrintSummary() {
    ShowProgress(true);
    std::printf("%s: %s, %u frames sent, %u dropped, %llu bytes in %.1f s\n", m_o.file, m_end.c_str(), m_sent,
                m_dropped, static_cast<unsigned long long>(m_bytesSent), (ToolNowMs() - m_startMs) / 1000.0);
  }

 private:
  // The due time, held back while the imitated network stalls: frames due meanwhile then go out
  // together, in a burst, when the stall ends.
  uint64_t SendAtMs() {
    if (m_o.jitterMs > 0 && m_dueMs >= m_stallUntilMs) {
      m_stallUntilMs = m_dueMs + std::uniform_int_distribution<uint32_t>(0, m_o.jitterMs)(m_random);
    }
    return std::max(m_dueMs, m_stallUntilMs);
  }

  bool WaitUntil(uint64_t dueMs) {
    for (;;) {
      if (ToolInterrupted()) {
        m_end = "interrupted";
        return false;
      }
      const uint64_t elapsed = ToolNowMs() - m_startMs;
      if (elapsed >= dueMs) {
        return true;
      }
      usleep(static_cast<useconds_t>(std::min<uint64_t>(dueMs - elapsed, kWaitSliceMs) * 1000));
    }
  }

  bool SendPiece(const Piece& p, uint64_t shiftUs) {
    const size_t garbageEnd = p.hasFrame ? static_cast<size_t>(p.frame.offset) : p.end;
    if (!Write(p.begin, garbageEnd - p.begin)) {
      return false;
    }
    if (!p.hasFrame) {
      return true;
    }
    if (m_o.drop > 0 && std::uniform_real_distribution<double>(0, 1)(m_random) < m_o.drop) {
      ++m_dropped;
      return true;
    }
    ++m_sent;
    if (shiftUs == 0 || !p.frame.HasStamp()) {
      return Write(garbageEnd, p.end - garbageEnd);
    }
    uint8_t head[32];
    std::memcpy(head, m_bytes.data() + garbageEnd, p.frame.headLength);
    const uint64_t stamp = p.frame.stampUs + shiftUs;
    const uint32_t at = p.frame.video ? TagScanner::kVideoStampOffset : TagScanner::kAudioStampOffset;
    for (int i = 0; i < 8; ++i) {
      head[at + i] = static_cast<uint8_t>(stamp >> (8 * i));
    }
    m_bytesSent += p.frame.headLength;
    return WriteBytes(head, p.frame.headLength) && Write(garbageEnd + p.frame.headLength, p.frame.length);
  }

  bool Write(size_t from, size_t length) {
    m_bytesSent += length;
    return WriteBytes(m_bytes.data() + from, length);
  }

  bool WriteBytes(const uint8_t* data, size_t length) {
    if (!m_server->Write(data, length)) {
      m_end = "client left";
      return false;
    }
    return true;
  }

  void ShowProgress(bool last) {
    const uint32_t now = ToolNowMs();
    if (!last && now - m_progressMs < kProgressMs) {
      return;
    }
    m_progressMs = now;
    m_progress.Print(last, "%7.1f s  sent %u  dropped %u  %llu bytes", (now - m_startMs) / 1000.0, m_sent,
                     m_dropped, static_cast<unsigned long long>(m_bytesSent));
  }

  const Options& m_o;
  const std::vector<uint8_t>& m_bytes;
  StreamServer* m_server;
  StampPacer m_pacer;
  std::mt19937 m_random;
  ProgressLine m_progress;
  uint32_t m_startMs = 0;
  uint32_t m_progressMs = 0;
  uint64_t m_dueMs = 0;
  uint64_t m_stallUntilMs = 0;
  uint32_t m_sent = 0;
  uint32_t m_dropped = 0;
  uint64_t m_bytesSent = 0;
  std::string m_end = "end of file";
};

}  // namespace

int RunSend(int argc, char** argv) {
  Options o;
  if (!ParseOptions(argc, argv, &o)) {
    return Usage();
  }
  std::ifstream in(o.file, std::ios::binary);
  if (!in) {
    return Fail(o.file, std::strerror(errno));
  }
  const std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const std::vector<Piece> pieces = CutPieces(bytes);
  if (pieces.empty()) {
    return Fail(o.file, "empty file");
  }
  CatchInterrupt();
  StreamServer server;
  long port = 0;
  if (std::string why; !server.Listen(o.port, &port, &why)) {
    return Fail(o.file, "cannot listen on 127.0.0.1:" + std::to_string(o.port) + ": " + why);
  }
  std::printf("serving %s on 127.0.0.1:%ld\n", o.file, port);
  std::fflush(stdout);
  if (!server.Accept()) {
    std::printf("%s: interrupted before a client came\n", o.file);
    return 0;
  }
  Sender sender(o, bytes, &server);
  const uint64_t period = LoopPeriodUs(pieces);
  for (uint64_t pass = 0; sender.SendPass(pieces, pass * period); ++pass) {
    if (!o.loop) {
      break;
    }
  }
  sender.PrintSummary();
  return 0;
}
