#include "StreamSource.h"

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "ToolSession.h"

namespace {

constexpr uint32_t kConnectTryMs = 5000;
constexpr uint32_t kConnectPauseUs = 100000;

// One connection attempt to the first address that takes it: the socket, or -1 with errno set.
int ConnectOnce(const addrinfo* addresses) {
  for (const addrinfo* a = addresses; a != nullptr; a = a->ai_next) {
    const int fd = socket(a->ai_family, a->ai_socktype, a->ai_protocol);
    if (fd < 0) {
      continue;
    }
    if (connect(fd, a->ai_addr, a->ai_addrlen) == 0) {
      return fd;
    }
    const int error = errno;
    close(fd);
    errno = error;
  }
  return -1;
}

}  // namespace

StreamSource::~StreamSource() {
  if (m_fd > STDERR_FILENO) {
    close(m_fd);
  }
}

bool StreamSource::Open(const std::string& name, std::string* why) {
  if (name.rfind("tcp://", 0) == 0) {
    m_kind = Kind::kTcp;
    return Connect(name.substr(6), why);
  }
  if (name == "-") {
    m_kind = Kind::kStdin;
    m_fd = STDIN_FILENO;
    return true;
  }
  m_kind = Kind::kFile;
  m_fd = open(name.c_str(), O_RDONLY);
  if (m_fd < 0) {
    *why = std::strerror(errno);
    return false;
  }
  return true;
}

bool StreamSource::Connect(const std::string& hostPort, std::string* why) {
  const size_t colon = hostPort.rfind(':');
  if (colon == std::string::npos || colon == 0 || colon + 1 == hostPort.size()) {
    *why = "not tcp://HOST:PORT";
    return false;
  }
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* addresses = nullptr;
  if (const int error = getaddrinfo(hostPort.substr(0, colon).c_str(), hostPort.c_str() + colon + 1, &hints, &addresses);
      error != 0) {
    *why = gai_strerror(error);
    return false;
  }
  const uint32_t start = ToolNowMs();
  for (;;) {
    m_fd = ConnectOnce(addresses);
    if (m_fd >= 0 || errno != ECONNREFUSED || ToolNowMs() - start > kConnectTryMs || ToolInterrupted()) {
      break;
    }
    usleep(kConnectPauseUs);
  }
  *why = m_fd < 0 ? std::strerror(errno) : "";
  freeaddrinfo(addresses);
  return m_fd >= 0;
}

StreamSource::Result StreamSource::Read(uint8_t* buffer, size_t size, uint32_t timeoutMs, size_t* got,
                                        std::string* why) {
  *got = 0;
  pollfd waiting{m_fd, POLLIN, 0};
  if (m_kind != Kind::kFile && poll(&waiting, 1, static_cast<int>(timeoutMs)) <= 0) {
    return Result::kIdle;
  }
  const ssize_t n = read(m_fd, buffer, size);
  if (n > 0) {
    *got = static_cast<size_t>(n);
    return Result::kData;
  }
  if (n < 0 && (errno == EINTR || errno == EAGAIN)) {
    return Result::kIdle;
  }
  if (n < 0) {
    *why = m_kind == Kind::kTcp ? std::string("connection lost: ") + std::strerror(errno) : std::strerror(errno);
  } else {
    *why = m_kind == Kind::kTcp ? "connection closed" : "end of input";
  }
  return Result::kEnd;
}
