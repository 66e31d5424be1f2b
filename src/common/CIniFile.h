#pragma once
#include <string>

namespace zp {

// Reads one INI file the way the Windows private-profile reader does: section and key names
// match case-insensitively, the first occurrence of a key wins, and a missing file, section or
// key (or an empty value) gives the default. Each call reads the file afresh; nothing is written.
class CIniFile {
 public:
  explicit CIniFile(std::string path) : m_strPath(std::move(path)) {}

  // The value's leading decimal integer (optional sign; "12ms" gives 12, "abc" gives 0).
  int ReadInt(const char* section, const char* key, int defaultValue) const;
  std::string ReadString(const char* section, const char* key, const std::string& defaultValue) const;

  const std::string& Path() const { return m_strPath; }

 private:
  bool Lookup(const char* section, const char* key, std::string* value) const;

  std::string m_strPath;
};

}  // namespace zp
