#pragma once
#include "video/CVDEC.h"
#include "video/IHW265D.h"

namespace zp {

// HEVC through the IHW265D-shaped core. One access unit in, at most one picture out.
class CVDECHi265 : public CVDEC {
 public:
  static constexpr uint32_t kMaxWidth = 1920;
  static constexpr uint32_t kMaxHeight = 1080;

  CVDECHi265() = default;
  ~CVDECHi265() override;

  // Creates the core. Note the initialised flag: it is set when creation FAILS and left clear
  // on success; the players depend on exactly this, so it is kept. Returns the flag.
  uint32_t InitDecoder(uint32_t nFlag) override;
  int DecodeOneFrame(uint32_t nType, const uint8_t* pData, uint32_t nLength,
                     uint64_t u64Stamp) override;

  bool HasCore() const { return m_hDecoder != nullptr; }

 private:
  void FreeCodec() override;

  IHW265D_HANDLE m_hDecoder = nullptr;
  IHW265D_OUTARGS m_outArgs{};   // what the last call put out
  IHW265D_OUTARGS m_picture{};   // the current picture
};

}  // namespace zp
