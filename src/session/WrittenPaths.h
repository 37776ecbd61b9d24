// Paths as the caller wrote them, so that what is told about a run shows them that way.
#pragma once

#include <map>
#include <string>

namespace orlinths {

class WrittenPaths {
 public:
  /// `absolute` was written as `written`; what lies beside or below it is then shown likewise.
  void Add(const std::string& absolute, const std::string& written);
  /// The path as its caller would write it; a path that has nothing to do with those written stays
  /// absolute.
  std::string Shown(const std::string& absolute) const;

 private:
  std::map<std::string, std::string> written_;
};

/// `path` as an absolute one, seen from `folder`, without "." and ".." and without a separator at
/// its end. Links are not followed.
std::string AbsolutePath(const std::string& path, const std::string& folder);
/// The way from `folder` to `path`, both absolute.
std::string RelativePath(const std::string& path, const std::string& folder);
/// A wrong call when it has been removed.
std::string CurrentFolder();

}  // namespace orlinths
