// Where a fuzz target puts the bytes that it has to read from files.
#pragma once

#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <string>

/// A folder of this process's own.
inline const std::string& FuzzFolder() {
  static const std::string folder = [] {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "orlinths-fuzz-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    return pattern;
  }();
  return folder;
}

/// For the next input.
inline void EmptyFuzzFolder() {
  std::filesystem::remove_all(FuzzFolder());
  std::filesystem::create_directory(FuzzFolder());
}
