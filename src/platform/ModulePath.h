#pragma once
#include <string>

namespace zp::platform {

// Full path of the file this code was loaded from (the shared library, or the executable when
// linked statically); empty when the loader cannot tell.
std::string ModuleFilePath();

// Full path of the host executable; empty when unknown.
std::string ExecutableFilePath();

// The directory part of a path, with a trailing separator ("/a/b/c.so" -> "/a/b/").
std::string DirectoryOf(const std::string& path);

// Joins a directory and a relative path and removes "." and ".." lexically; an absolute
// relative path is taken as it is. The result ends with a separator when it names a directory.
std::string FullDirectoryPath(const std::string& base, const std::string& relative);

}  // namespace zp::platform
