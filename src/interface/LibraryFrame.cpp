#include "interface/LibraryFrame.h"

#include "common/ColorTables.h"
#include "interface/config/CLibraryConfig.h"
#include "interface/config/Settings.h"
#include "interface/log/LogAccess.h"

namespace zp {

void LibraryAttach() {
  GetColorTables();
  CLibraryConfig& config = CLibraryConfig::Instance();
  SetConfiguredLogDirectory(config.LogDir());
  SetConfiguredLogLevel(config.LogLevel());
  LogFile(true);
  Settings::nFixedDecoder.store(config.FixedDecoderH264(), std::memory_order_relaxed);
}

void LibraryDetach() {
  CLogFile2* log = LogFile(false);
  if (log != nullptr) {
    log->Close();
  }
}

}  // namespace zp
