#pragma once
#include <string>

namespace zp::platform {

// Creates a new empty file with a unique name that starts with prefix in the temporary
// directory ($TMPDIR, else /tmp) and returns its path; empty on failure.
std::string CreateTempFile(const std::string& prefix);

// The temporary directory with a trailing separator.
std::string TempDirectory();

// A temporary file that must not outlive the library: RemoveTempFilesAtUnload deletes it unless
// RemoveTempFile came first. For owners that a caller may never close.
void RemoveAtUnload(const std::string& path);
// Deletes the file now and forgets it.
void RemoveTempFile(const std::string& path);
// Deletes every file still registered; the library's unload hook calls it.
void RemoveTempFilesAtUnload();

}  // namespace zp::platform
