#pragma once
// The live command's input thread: reads the source, pushes the bytes into the stream player
// (ZEPHPLAY_InputStreamData) and pushes them again after "try again later" (-3) until the player
// takes them, so no byte is lost. It keeps its own count of what arrived, from the frame
// headers: the player says what it shows, this says what it has been given.
#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

#include "StampPacer.h"
#include "StreamSource.h"
#include "TagScanner.h"
#include "zephplay.h"

class LiveFeeder {
 public:
  // Refused this long without a break, the player is stuck on something it cannot cut into
  // frames (a giant frame length in garbage): the stream is reset so that playing goes on.
  static constexpr uint32_t kStuckMs = 5000;

  explicit LiveFeeder(StreamSource* source) : m_source(source) {}
  ~LiveFeeder() { Stop(); }
  LiveFeeder(const LiveFeeder&) = delete;
  LiveFeeder& operator=(const LiveFeeder&) = delete;

  // Starts feeding the stream player of `handle`, which must outlive Stop.
  void Start(ZEPHPLAY_PLAYHANDLE* handle);
  // Ends the thread; bytes the player has not taken yet are given up.
  void Stop();

  // True once the source has ended; EndReason then says how.
  bool Done() const { return m_done.load(std::memory_order_acquire); }
  const std::string& EndReason() const { return m_end; }
  uint64_t Bytes() const { return m_bytes.load(); }
  // The stamp of the video frame that arrived last, and of the first stamped frame (0: none yet).
  uint64_t LatestVideoUs() const { return m_latestVideoUs.load(); }
  uint64_t FirstUs() const { return m_firstUs.load(); }
  uint32_t VideoFrames() const { return m_videoFrames.load(); }
  uint32_t AudioFrames() const { return m_audioFrames.load(); }
  uint32_t Resets() const { return m_resets.load(); }

 private:
  // What one piece holds, published once the player has it.
  struct PieceScan {
    uint64_t latestVideoUs = 0;
    uint64_t newestUs = 0;
    bool stamped = false;
    uint32_t video = 0;
    uint32_t audio = 0;
  };

  void Run();
  PieceScan Scan(const uint8_t* data, size_t length);
  void Publish(const PieceScan& scan, size_t length);
  // Waits until a file's piece is due by its stamps; false when stopped meanwhile.
  bool Pace(const PieceScan& scan);
  // Pushes until the player takes the piece; false when stopped meanwhile.
  bool Push(const uint8_t* data, size_t length);
  bool Sleep(uint32_t ms) const;

  ZEPHPLAY_PLAYHANDLE* m_handle = nullptr;
  StreamSource* m_source;
  TagScanner m_scanner;
  StampPacer m_pacer{1.0};
  uint32_t m_startMs = 0;
  std::thread m_thread;
  std::atomic<bool> m_stop{false};
  std::atomic<bool> m_done{false};
  std::string m_end;
  std::atomic<uint64_t> m_bytes{0};
  std::atomic<uint64_t> m_latestVideoUs{0};
  std::atomic<uint64_t> m_firstUs{0};
  std::atomic<uint32_t> m_videoFrames{0};
  std::atomic<uint32_t> m_audioFrames{0};
  std::atomic<uint32_t> m_resets{0};
};
