#include "runtime/Text.h"

#include <algorithm>

namespace orlinths {

std::string FirstCharacters(const std::string& text, int count) {
  std::size_t end = 0;
  while (end < text.size()) {
    const bool beginsCharacter = (static_cast<unsigned char>(text[end]) & 0xC0) != 0x80;
    if (beginsCharacter && count-- == 0) break;
    ++end;
  }
  return text.substr(0, end);
}

std::string Trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::vector<std::string> SplitAt(char separator, const std::string& text) {
  std::vector<std::string> entries;
  for (std::size_t at = 0; !text.empty() && at <= text.size();) {
    const std::size_t end = std::min(text.find(separator, at), text.size());
    entries.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return entries;
}

}  // namespace orlinths
