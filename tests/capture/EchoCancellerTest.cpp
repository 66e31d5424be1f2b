// The echo canceller on a synthetic room: the microphone hears the loudspeaker's sound again
// after the delay it is told, at half the level.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "audio/CEchoCanceller.h"

namespace {

double PowerDb(const std::vector<int16_t>& s, size_t from) {
  double energy = 1;
  for (size_t i = from; i < s.size(); ++i) {
    energy += double(s[i]) * s[i];
  }
  return 10 * std::log10(energy / double(s.size() - from));
}

TEST(EchoCanceller, TakesTheLoudspeakerOutOfTheMicrophone) {
  constexpr uint32_t kRate = 8000;
  constexpr uint32_t kFrame = 160;
  constexpr int32_t kDelayMs = 109;
  constexpr size_t kDelay = kRate * kDelayMs / 1000;
  std::mt19937 random(3);
  std::normal_distribution<double> noise(0.0, 3000.0);
  std::vector<int16_t> far(4 * kRate);
  for (int16_t& s : far) {
    s = static_cast<int16_t>(std::lround(noise(random)));
  }
  std::vector<int16_t> near(far.size());
  for (size_t i = kDelay; i < near.size(); ++i) {
    near[i] = static_cast<int16_t>(far[i - kDelay] / 2);
  }
  const std::vector<int16_t> echo = near;

  zp::CEchoCanceller canceller(kRate);
  ASSERT_TRUE(canceller.Open());
  std::vector<int16_t> untouched = near;
  canceller.Process(untouched.data(), kFrame * 2, kDelayMs);
  EXPECT_EQ(untouched, near) << "processed before Start";
  canceller.Start();
  for (size_t at = 0; at + kFrame <= far.size(); at += kFrame) {
    canceller.FeedFarEnd(far.data() + at, kFrame);
    canceller.Process(near.data() + at, kFrame * 2, kDelayMs);
  }
  canceller.Stop();
  canceller.Close();
  const double reduction = PowerDb(echo, 2 * kRate) - PowerDb(near, 2 * kRate);
  EXPECT_GT(reduction, 15.0);
}

}  // namespace
