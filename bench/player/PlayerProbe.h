#pragma once
// A file or stream player on a play handle, as a user holds it, with its decode, display and end
// callbacks noting when each came (monotonic seconds) and with which stamp. The notes are kept in memory
// reserved beforehand, so the callbacks cost a lock and a store.
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "zephplay.h"

namespace zp::bench {

class PlayerProbe {
 public:
  struct Event {
    uint64_t stampUs;
    double seconds;
  };

  explicit PlayerProbe(size_t capacity);
  ~PlayerProbe();
  PlayerProbe(const PlayerProbe&) = delete;
  PlayerProbe& operator=(const PlayerProbe&) = delete;

  // A play handle with the file open and the callbacks set; false when any step fails.
  bool Open(const std::string& path);
  // A play handle with a stream player (ZEPHPLAY_OpenStream, whose threads start at once) and
  // the decode and display callbacks set (a stream has no end); false when any step fails.
  bool OpenStream(uint32_t videoQueueBytes, uint32_t unpaced);
  ZEPHPLAY_PLAYHANDLE* Handle() const { return m_handle; }

  // Waits up to `seconds` for the end callback; its time in *pAt.
  bool WaitEnd(double seconds, double* pAt);
  // Waits up to `seconds` until `count` pictures in all have reached the display callback.
  bool WaitDisplayed(size_t count, double seconds);

  // Notes the process's CPU seconds when the `count`-th picture reaches the decode callback
  // (call before playing); CpuAtMark gives it, 0 until then.
  void MarkCpuAtDecoded(size_t count);
  double CpuAtMark();

  // Copies of the notes so far.
  std::vector<Event> Decoded();
  std::vector<Event> Displayed();

 private:
  static void ZEPHPLAY_CALL OnDecoded(uint64_t user, const uint8_t*, const uint8_t*, const uint8_t*, int32_t,
                                      int32_t, int32_t, int32_t, int32_t, uint64_t stamp);
  static void ZEPHPLAY_CALL OnDisplayed(uint64_t, uint32_t, uint32_t, uint64_t stamp, uint32_t, uint32_t,
                                        uint64_t user);
  static void ZEPHPLAY_CALL OnEnd(uint32_t, uint64_t user);
  bool OpenHandle();
  bool SetPictureCallbacks();
  void Note(std::vector<Event>* pEvents, uint64_t stampUs);

  ZEPHPLAY_PLAYHANDLE* m_handle = nullptr;
  bool m_stream = false;
  std::mutex m_lock;
  std::condition_variable m_changed;
  std::vector<Event> m_decoded;
  std::vector<Event> m_displayed;
  static constexpr size_t kNone = SIZE_MAX;
  size_t m_displayWanted = kNone;  // the count WaitDisplayed waits for
  size_t m_cpuMarkCount = kNone;
  double m_cpuAtMark = 0;
  bool m_ended = false;
  double m_endSeconds = 0;
};

}  // namespace zp::bench
