#pragma once
#include <cstdint>

namespace zp {

// What a stream player asks of the multi-play-back group that paces it: whether a picture (or
// a cached audio entry) of the given stamp may be shown now, and whether the group is holding
// every player back (its sound then plays silence).
class IPlayGroup {
 public:
  virtual ~IPlayGroup() = default;
  virtual bool Admit(uint64_t u64Stamp) = 0;
  virtual bool IsHolding() = 0;
};

}  // namespace zp
