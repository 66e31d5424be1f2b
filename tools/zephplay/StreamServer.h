#pragma once
// The send command's end of the connection: listens on 127.0.0.1 and serves one client.
#include <cstddef>
#include <cstdint>
#include <string>

class StreamServer {
 public:
  StreamServer() = default;
  ~StreamServer();
  StreamServer(const StreamServer&) = delete;
  StreamServer& operator=(const StreamServer&) = delete;

  // Listens on `port` (0: any free port); false with the reason. *bound: the port in use.
  bool Listen(long port, long* bound, std::string* why);
  // Waits for the client and stops listening; false on Ctrl-C.
  bool Accept();
  // Sends all of `data`; false when the client has gone.
  bool Write(const uint8_t* data, size_t length);

 private:
  int m_listener = -1;
  int m_client = -1;
};
