#pragma once
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

// A fresh directory under the temporary directory, removed with everything in it at scope end.
class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "zptestXXXXXX").string();
    m_path = mkdtemp(pattern.data());
  }
  ~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(m_path, ec);
  }
  const std::filesystem::path& path() const { return m_path; }
  std::string File(const std::string& name, const std::string& text) const {
    const auto p = m_path / name;
    std::filesystem::create_directories(p.parent_path());
    std::ofstream(p) << text;
    return p.string();
  }

 private:
  std::filesystem::path m_path;
};
