// A folder of a test's own, gone with all it holds when the test ends.
#pragma once

#include <string>

namespace orlinths {

class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::string& Path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

std::string ReadBytes(const std::string& path);
void WriteBytes(const std::string& path, const std::string& bytes);

}  // namespace orlinths
