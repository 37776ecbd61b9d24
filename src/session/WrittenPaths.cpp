#include "session/WrittenPaths.h"

#include <filesystem>

#include "session/Words.h"
#include "runtime/Files.h"

namespace orlinths {

void WrittenPaths::Add(const std::string& absolute, const std::string& written) {
  written_.emplace(absolute, written);
  written_.emplace(FolderOf(absolute), FolderOf(written));
}

std::string WrittenPaths::Shown(const std::string& absolute) const {
  std::string below, path = absolute;
  while (!NameOf(path).empty()) {  // up to the root, which has none
    if (const auto found = written_.find(path); found != written_.end())
      return JoinPath(found->second, below);
    below = JoinPath(NameOf(path), below);
    path = FolderOf(path);
  }
  return absolute;
}

std::string AbsolutePath(const std::string& path, const std::string& folder) {
  auto absolute = (std::filesystem::path(folder) / path).lexically_normal();
  if (!absolute.has_filename() && absolute.has_relative_path()) absolute = absolute.parent_path();
  return absolute.string();
}

std::string RelativePath(const std::string& path, const std::string& folder) {
  const auto relative = std::filesystem::path(path).lexically_relative(folder);
  return relative.empty() ? path : relative.string();
}

std::string CurrentFolder() {
  std::error_code failed;
  const auto folder = std::filesystem::current_path(failed);
  if (failed) WrongCall("the current folder is gone");
  return folder.string();
}

}  // namespace orlinths
