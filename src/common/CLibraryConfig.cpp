#include "common/CLibraryConfig.h"

#include "platform/ModulePath.h"

namespace zp {

CLibraryConfig::CLibraryConfig(std::string libraryPath, std::string executablePath)
    : m_strLibraryPath(std::move(libraryPath)),
      m_strExecutablePath(std::move(executablePath)),
      m_strLibraryDir(platform::DirectoryOf(m_strLibraryPath)) {}

CLibraryConfig& CLibraryConfig::Instance() {
  static CLibraryConfig instance(platform::ModuleFilePath(), platform::ExecutableFilePath());
  return instance;
}

std::string CLibraryConfig::IniFileName() const {
  const auto slash = m_strLibraryPath.find_last_of('/');
  std::string name = slash == std::string::npos ? m_strLibraryPath : m_strLibraryPath.substr(slash + 1);
  // "libzephplay.so.1.0.0" and "libzephplay.dll" both give "libzephplay.ini".
  auto cut = name.find(".so");
  if (cut == std::string::npos) {
    cut = name.find_last_of('.');
  }
  if (cut != std::string::npos && cut > 0) {
    name.resize(cut);
  }
  return name + ".ini";
}

const std::string& CLibraryConfig::AppDirectory() {
  std::call_once(m_appDirOnce, [this] {
    CIniFile appPath(m_strLibraryDir + "AppPath.INI");
    if (appPath.ReadInt("APPPATH", "SRC_TYPE", 0) != 0) {
      m_strAppDir = platform::FullDirectoryPath(m_strLibraryDir, appPath.ReadString("APPPATH", "APPEND", ""));
      return;
    }
    m_strAppDir = platform::DirectoryOf(m_strExecutablePath);
  });
  return m_strAppDir;
}

}  // namespace zp
