#pragma once
// The live command's input thread: reads the source and pushes what arrives into the stream
// player, again after "try again later" (-3) until the player takes it, so nothing is lost. It
// keeps its own count of what arrived, from the frames it finds: the player says what it shows,
// this says what it has been given.
//
// Bytes go in as they arrived (ZEPHPLAY_InputStreamData), for the player to cut into frames;
// in frame mode the feeder cuts them itself and hands over whole frames
// (ZEPHPLAY_InputFrameData), which the player also caches (mode 1) and records: frames that the
// player cuts from bytes reach neither its cache nor its recorder. A group's channel always
// takes whole frames (ZEPHPLAY_MPBInputFrameData).
#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

#include "FrameAssembler.h"
#include "StampPacer.h"
#include "StreamSource.h"
#include "zephplay.h"

class LiveFeeder {
 public:
  // Refused this long without a break, the player is stuck on something it cannot take in:
  // the stream is reset so that playing goes on.
  static constexpr uint32_t kStuckMs = 5000;

  LiveFeeder(StreamSource* source, bool wholeFrames) : m_source(source), m_wholeFrames(wholeFrames) {}
  ~LiveFeeder() { Stop(); }
  LiveFeeder(const LiveFeeder&) = delete;
  LiveFeeder& operator=(const LiveFeeder&) = delete;

  // Starts feeding the stream player of `handle`, which must outlive Stop.
  void Start(ZEPHPLAY_PLAYHANDLE* handle);
  // Starts feeding whole frames to a group as the channel at `index` (also its channel number);
  // the group must outlive Stop.
  void StartGroup(ZEPHPLAY_MPBHANDLE group, uint32_t index);
  // Ends the thread (it runs past the end of the source, to pass on frames the player holds
  // back); what the player has not taken yet is given up.
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
  void Run();
  // Push one piece as read; false when stopped meanwhile.
  bool FeedBytes(const uint8_t* data, size_t length);
  bool FeedFrames(const uint8_t* data, size_t length);
  bool PushBytes(const uint8_t* data, size_t length);
  int32_t PushFrame(const uint8_t* data, uint32_t length, uint32_t type, uint64_t stampUs);
  void ResetPlayer();
  // Frames cut from bytes that the player had no room for wait in it for the next input; while
  // none comes (and after the end) an empty input passes them on.
  void PassHeldFrames();
  // Counts a whole frame as arrived.
  void Publish(const ScannedFrame& frame);
  // Waits until a file's frame is due by its stamp; false when stopped meanwhile.
  bool Pace(const ScannedFrame& frame);
  // Calls `push` until the player takes the data; false when stopped meanwhile.
  template <typename Push>
  bool PushUntilTaken(Push push);
  bool Sleep(uint32_t ms) const;

  ZEPHPLAY_PLAYHANDLE* m_handle = nullptr;
  ZEPHPLAY_MPBHANDLE m_group = 0;
  uint32_t m_channel = 0;
  StreamSource* m_source;
  bool m_wholeFrames;
  FrameAssembler m_assembler;
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
