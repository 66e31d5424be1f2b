#pragma once
#include <cstdint>

#include "video/PictureInfo.h"

namespace zp {

// Where CVideoDecodeData draws the current picture (CDraw in the player).
//
// Contract: the output is sized with InitDraw/FreeDraw, then each picture is drawn in two
// steps on one thread, the drawing thread:
//  - Upload is called while the decoder's picture lock is held. It takes what it needs from
//    the planes before it returns (they may be released right after) and never waits for the
//    display or for anything else slow, so the decoder is not held up.
//  - Present is called after the lock is released, once per Upload. It shows the uploaded
//    picture and may wait as long as the display makes it.
// Results: 0 success, -1 refused.
class IPictureOutput {
 public:
  virtual ~IPictureOutput() = default;

  // Prepares for pictures of this size: then initialised, with this width and height.
  virtual int InitDraw(uint32_t nWidth, uint32_t nHeight) = 0;
  // Clears initialised, width and height.
  virtual int FreeDraw() = 0;
  virtual bool IsInit() const = 0;
  virtual uint32_t Width() const = 0;
  virtual uint32_t Height() const = 0;
  virtual int Upload(const PictureInfo& picture) = 0;
  virtual int Present() = 0;
};

}  // namespace zp
