#pragma once
// Where the live command's bytes come from: a TCP connection ("tcp://HOST:PORT"), standard input
// ("-") or a file read as if it arrived.
#include <cstddef>
#include <cstdint>
#include <string>

class StreamSource {
 public:
  enum class Result { kData, kIdle, kEnd };

  StreamSource() = default;
  ~StreamSource();
  StreamSource(const StreamSource&) = delete;
  StreamSource& operator=(const StreamSource&) = delete;

  // Opens the source; false with the reason. A connection refused is tried again for a few
  // seconds, so the receiver may start before the sender listens.
  bool Open(const std::string& name, std::string* why);
  bool IsFile() const { return m_kind == Kind::kFile; }
  // Reads what has arrived within timeoutMs: kData (*got bytes), kIdle (nothing yet) or kEnd
  // (the end of the stream or a broken connection; *why says which).
  Result Read(uint8_t* buffer, size_t size, uint32_t timeoutMs, size_t* got, std::string* why);

 private:
  enum class Kind { kNone, kTcp, kStdin, kFile };

  bool Connect(const std::string& hostPort, std::string* why);

  Kind m_kind = Kind::kNone;
  int m_fd = -1;
};
