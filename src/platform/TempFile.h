#pragma once
#include <string>

namespace zp::platform {

// Creates a new empty file with a unique name that starts with prefix in the temporary
// directory ($TMPDIR, else /tmp) and returns its path; empty on failure.
std::string CreateTempFile(const std::string& prefix);

// The temporary directory with a trailing separator.
std::string TempDirectory();

}  // namespace zp::platform
