#include <gtest/gtest.h>

#include <numeric>

#include "StreamWriter.h"

namespace zp::samples {
namespace {

// The parser test feeds its stream in pieces of one byte to meet split tags in every position:
// the pieces must keep to their bound and cover the bytes in order. (The stream, the recordings
// and the vendor files the media tests make are judged there, against the frames asked for.)
TEST(CutIntoPieces, CoversTheBytesInBoundedReproduciblePieces) {
  std::vector<uint8_t> bytes(10007);
  std::iota(bytes.begin(), bytes.end(), 0);
  EXPECT_EQ(CutLengths(bytes.size(), 3, 64), CutLengths(bytes.size(), 3, 64));
  for (const size_t maxPiece : {1u, 64u}) {
    std::vector<uint8_t> joined;
    for (const std::vector<uint8_t>& piece : CutIntoPieces(bytes, 3, maxPiece)) {
      EXPECT_TRUE(piece.size() >= 1 && piece.size() <= maxPiece);
      joined.insert(joined.end(), piece.begin(), piece.end());
    }
    EXPECT_EQ(joined, bytes);
  }
}

}  // namespace
}  // namespace zp::samples
