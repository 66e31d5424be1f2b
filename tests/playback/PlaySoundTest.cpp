// A sample recording's sound as a client hears it: played through the C API with
// ZEPHPLAY_PlaySound, read back from SDL's disk driver, and lined up with libavcodec's decode of
// the recording's own audio frames (the sample maker writes them alone with the same options).
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

#include "AvReference.h"
#include "DiskAudio.h"
#include "common/TempDir.h"
#include "support/Deadline.h"
#include "zephplay.h"

namespace {

constexpr size_t kFrame = 160;  // samples of one audio frame of the recordings

// Walks what was played, device buffer by device buffer, against the recording's frames and
// returns how many were accounted for: each frame played once, whole and in order, except that
// the wave-out loses the frame it takes after filling a buffer to the brim. Any other gap, a
// frame out of place or other sound stops the walk.
size_t FramesInOrder(const std::vector<int16_t>& played, const std::vector<int16_t>& reference) {
  size_t at = 0;
  while (at < played.size() && played[at] == 0) {
    ++at;  // SDL's silence before the device starts
  }
  size_t fill = 0;
  while (at + fill < played.size() && played[at + fill] == zp::test::kStartFillSample) {
    ++fill;
  }
  const size_t buffer = fill / 2;  // the start fill is two device buffers
  size_t next = 0;
  bool brim = false;
  for (at += fill; buffer > 0 && at + buffer <= played.size(); at += buffer) {
    size_t used = 0;
    for (; used + kFrame <= buffer && played[at + used] != 0; used += kFrame, ++next) {
      auto is = [&](size_t k) {
        return k < reference.size() / kFrame &&
               std::equal(&played[at + used], &played[at + used + kFrame], &reference[k * kFrame]);
      };
      // After a brimful buffer the next frame was lost, unless the queue was empty just then.
      next += brim && used == 0 && !is(next) ? 1 : 0;
      if (!is(next)) {
        return next;
      }
    }
    brim = used == buffer || (brim && used == 0);  // silent buffers between change nothing
  }
  return next;
}

// Raw G.711 A-law and voice-engine A-law units: both play as what they are, in order, with
// nothing dropped but what the wave-out drops by rule (a frame lost or out of place elsewhere,
// or another codec, breaks the match).
TEST(PlaySound, PlaysTheRecordingsAudioDecodedInOrder) {
  struct Case {
    const char* audio;
    size_t headBytes;
  };
  for (const Case c : {Case{"g711a", 0}, Case{"hisi-g711a", 4}}) {
    SCOPED_TRACE(c.audio);
    const zp::test::DiskAudio disk;
    TempDir dir;
    const std::string grec = (dir.path() / "sound.grec").string();
    const std::string es = (dir.path() / "sound.es").string();
    const std::string make = std::string(SAMPLEMAKER_PATH) + " --frames 50 --audio " + c.audio + " -o ";
    ASSERT_EQ(std::system((make + grec + " -f grec > /dev/null").c_str()), 0);
    ASSERT_EQ(std::system((make + es + " -f es-audio > /dev/null").c_str()), 0);
    // The A-law bytes of each frame behind its head, decoded by libavcodec.
    const std::vector<uint8_t> frames = zp::test::ReadBytes(es);
    zp::test::AvDecoder alaw("pcm_alaw");
    std::vector<int16_t> reference;
    for (size_t at = 0; at + c.headBytes + kFrame <= frames.size() && alaw.ok(); at += c.headBytes + kFrame) {
      alaw.Decode(frames.data() + at + c.headBytes, kFrame, &reference);
    }
    ASSERT_EQ(reference.size(), 100u * 160u);

    ZEPHPLAY_PLAYHANDLE* h = nullptr;
    ASSERT_EQ(ZEPHPLAY_OpenPlayHandle(&h), 0);
    ASSERT_EQ(ZEPHPLAY_OpenFile(h, grec.c_str(), 0), 0);
    ASSERT_EQ(ZEPHPLAY_Play(h), 0);
    ASSERT_EQ(ZEPHPLAY_PlaySound(h), 0);
    zp::test::WaitUntil([&] { return FramesInOrder(disk.Samples(), reference) >= reference.size() / kFrame; },
                        std::chrono::seconds(15));
    EXPECT_EQ(ZEPHPLAY_ClosePlayHandle(h), 0);

    EXPECT_EQ(FramesInOrder(disk.Samples(), reference), reference.size() / kFrame);
  }
}

}  // namespace
