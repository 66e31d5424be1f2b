#pragma once
#include <mutex>
#include <string>

#include "common/CIniFile.h"

namespace zp {

// Where the configuration lives and the keys the library reads.
//
// The file is named after the library with ".ini" for its extension (libzephplay.so reads
// libzephplay.ini). All keys come from the copy in the library's directory, except "WriteFile",
// which comes from the copy in the application directory: the host executable's directory,
// unless "AppPath.INI" beside the library has a nonzero [APPPATH] SRC_TYPE, in which case
// [APPPATH] APPEND names a directory relative to the library directory (empty: the library
// directory itself). The application directory is worked out once and kept.
class CLibraryConfig {
 public:
  // libraryPath: full path of the library file; executablePath: of the host program.
  CLibraryConfig(std::string libraryPath, std::string executablePath);

  // The instance for this process, built from the platform's module and executable paths.
  static CLibraryConfig& Instance();

  const std::string& LibraryPath() const { return m_strLibraryPath; }
  const std::string& LibraryDirectory() const { return m_strLibraryDir; }
  std::string IniFileName() const;
  std::string LibraryIniPath() const { return m_strLibraryDir + IniFileName(); }
  const std::string& AppDirectory();
  std::string AppIniPath() { return AppDirectory() + IniFileName(); }

  CIniFile LibraryIni() const { return CIniFile(LibraryIniPath()); }

  int FixedDecoderH264() const { return LibraryIni().ReadInt("FixedDecoder", "H264", -1); }
  int DefaultAudioCoder() const { return LibraryIni().ReadInt("CONFIG", "DefaultAudioCoder", 1); }
  int VideoMinDelay() const { return LibraryIni().ReadInt("CONFIG", "VideoMinDelay", 2000); }
  int VideoMaxDelay() const { return LibraryIni().ReadInt("CONFIG", "VideoMaxDelay", 6000); }
  int VideoDelayEnable() const { return LibraryIni().ReadInt("CONFIG", "VideoDelayEnable", 1); }
  int WriteFile() { return CIniFile(AppIniPath()).ReadInt("CONFIG", "WriteFile", 0); }
  std::string LogDir() const { return LibraryIni().ReadString("CONFIG", "LogDir", ""); }
  int LogLevel() const { return LibraryIni().ReadInt("CONFIG", "LogLevel", -1); }

 private:
  std::string m_strLibraryPath;
  std::string m_strExecutablePath;
  std::string m_strLibraryDir;
  std::string m_strAppDir;
  std::once_flag m_appDirOnce;
};

}  // namespace zp
