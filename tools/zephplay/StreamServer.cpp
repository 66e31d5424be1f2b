#include "StreamServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "ToolSession.h"

namespace {

constexpr int kAcceptWaitMs = 200;  // how soon Ctrl-C is noticed while no client comes

}  // namespace

StreamServer::~StreamServer() {
  for (int fd : {m_listener, m_client}) {
    if (fd >= 0) {
      close(fd);
    }
  }
}

bool StreamServer::Listen(long port, long* bound, std::string* why) {
  m_listener = socket(AF_INET, SOCK_STREAM, 0);
  const int yes = 1;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  if (m_listener < 0 || setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes)) != 0 ||
      bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 || listen(m_listener, 1) != 0 ||
      getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    *why = std::strerror(errno);
    return false;
  }
  *bound = ntohs(address.sin_port);
  return true;
}

bool StreamServer::Accept() {
  pollfd waiting{m_listener, POLLIN, 0};
  while (!ToolInterrupted()) {
    if (poll(&waiting, 1, kAcceptWaitMs) <= 0) {
      continue;
    }
    m_client = accept(m_listener, nullptr, nullptr);
    if (m_client >= 0) {
      close(m_listener);
      m_listener = -1;
      return true;
    }
  }
  return false;
}

bool StreamServer::Write(const uint8_t* data, size_t length) {
  while (length > 0) {
    const ssize_t sent = send(m_client, data, length, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) {
      continue;
    }
    if (sent <= 0) {
      return false;
    }
    data += sent;
    length -= static_cast<size_t>(sent);
  }
  return true;
}
