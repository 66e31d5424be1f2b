#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "SampleEncoder.h"
#include "media/CAudioTranscodeWorker.h"
#include "player/CRecAudioTranscoder.h"

using namespace zp;

namespace {

using Frames = std::vector<std::vector<uint8_t>>;

std::unique_ptr<IAudioTranscoder> Opened(uint32_t coder) {
  auto transcoder = std::make_unique<CRecAudioTranscoder>();
  uint32_t rate = 0;
  EXPECT_TRUE(transcoder->Open(coder, &rate));
  return transcoder;
}

// A minute of sound put as fast as the writer can, far more than the worker's queue holds:
// the frames come out complete and in order, byte for byte what the transcoder gives on the
// caller's own thread, and stamped with the first payload's stamp.
TEST(AudioTranscodeWorker, GivesWhatTheTranscoderGivesInlineThroughAFullQueue) {
  const samples::AudioParams a{.codec = samples::AudioCodec::G711A, .sampleRate = 8000, .frames = 3000};
  const std::vector<samples::EncodedFrame> sound = samples::EncodeAudio(a);
  const uint32_t coder = samples::CoderTypeOf(a);

  Frames inline_;
  std::unique_ptr<IAudioTranscoder> direct = Opened(coder);
  const uint8_t* frame = nullptr;
  uint32_t length = 0;
  for (size_t i = 0; i <= sound.size(); ++i) {
    if (i == sound.size()) {
      direct->Finish();
    } else {
      direct->Decode(sound[i].data.data(), static_cast<uint32_t>(sound[i].data.size()));
    }
    while (direct->NextFrame(&frame, &length)) {
      inline_.emplace_back(frame, frame + length);
    }
  }

  CAudioTranscodeWorker worker(Opened(coder));
  ASSERT_TRUE(worker.Start());
  Frames threaded;
  std::vector<uint8_t> out(CAudioTranscodeWorker::kMaxFrame);
  uint64_t stamp = 0;
  const auto takeAll = [&] {
    while (worker.Take(out.data(), &length, &stamp)) {
      threaded.emplace_back(out.begin(), out.begin() + length);
      EXPECT_EQ(stamp, 7000u);
    }
  };
  int refusals = 0;
  for (size_t i = 0; i < sound.size(); ++i) {
    while (!worker.Put(sound[i].data.data(), static_cast<uint32_t>(sound[i].data.size()), 7000 + i * 20000)) {
      ++refusals;
      takeAll();
      worker.Wait(10);
    }
  }
  worker.Finish();
  while (!worker.IsDone()) {
    takeAll();
    worker.Wait(10);
  }
  takeAll();
  EXPECT_GT(refusals, 0) << "the queue never filled: the test did not reach what it is for";
  ASSERT_EQ(threaded.size(), inline_.size());
  EXPECT_TRUE(threaded == inline_);
}

}  // namespace
