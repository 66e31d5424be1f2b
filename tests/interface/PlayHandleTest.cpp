#include <gtest/gtest.h>

#include <cmath>
#include <utility>

#include "interface/PlayHandle.h"
#include "common/Settings.h"

using namespace zp;

namespace {

class CountingPlayer : public CBasePlayer {
 public:
  explicit CountingPlayer(int* destroyed) : m_destroyed(destroyed) {}
  ~CountingPlayer() override { ++*m_destroyed; }

 private:
  int* m_destroyed;
};

}  // namespace

TEST(PlayHandle, LookupsFollowTheKind) {
  PlayHandle* h = nullptr;
  ASSERT_EQ(OpenPlayHandle(&h), 0);
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(h->nKind, kPlayerKindFile);
  // A fresh handle has no player: every lookup fails.
  EXPECT_EQ(LookupAnyPlayer(h), nullptr);
  EXPECT_EQ(LookupFilePlayer(h), nullptr);
  EXPECT_EQ(LookupStreamPlayer(h), nullptr);

  int destroyed = 0;
  h->pPlayer = new CountingPlayer(&destroyed);
  const struct {
    uint32_t kind;
    bool file, stream;
  } kinds[] = {{kPlayerKindFile, true, false}, {kPlayerKindStream, false, true}, {7, false, false}};
  for (const auto& k : kinds) {
    h->nKind = k.kind;
    EXPECT_EQ(LookupAnyPlayer(h), h->pPlayer) << k.kind;
    EXPECT_EQ(LookupFilePlayer(h), k.file ? h->pPlayer : nullptr) << k.kind;
    EXPECT_EQ(LookupStreamPlayer(h), k.stream ? h->pPlayer : nullptr) << k.kind;
  }

  EXPECT_EQ(ClosePlayHandle(h), 0);
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(LookupAnyPlayer(nullptr), nullptr);
  EXPECT_EQ(ClosePlayHandle(nullptr), -1);
  EXPECT_EQ(OpenPlayHandle(nullptr), -1);
}

TEST(Settings, AudioGainIsClampedToItsRange) {
  const std::pair<double, double> cases[] = {{0.5, 1.0},  {1.0, 1.0},    {3.0, 3.0}, {25.0, 25.0},
                                             {30.0, 25.0}, {-1e300, 1.0}, {NAN, 1.0}};
  for (const auto& [given, kept] : cases) {
    EXPECT_EQ(Settings::ClampAudioGain(given), kept) << given;
  }
}
