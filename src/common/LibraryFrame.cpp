#include "common/LibraryFrame.h"

#include "common/ColorTables.h"
#include "common/CLibraryConfig.h"
#include "common/Settings.h"
#include "common/LogAccess.h"
#include "platform/TempFile.h"

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
  // Cache files of stream players that the caller never closed.
  platform::RemoveTempFilesAtUnload();
  CLogFile2* log = LogFile(false);
  if (log != nullptr) {
    log->Close();
  }
}

}  // namespace zp
