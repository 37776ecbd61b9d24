#include "data/WhereText.h"

#include <algorithm>
#include <optional>

namespace orlinths {
namespace {

bool IsNameByte(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' ||
         (c & 0x80) != 0;
}

}  // namespace

std::string RewriteWhere(std::string_view where,
                         const std::function<std::string(const Date&)>& date,
                         const std::function<std::string(std::string_view)>& name) {
  std::string out;
  std::size_t i = 0;
  while (i < where.size()) {
    const char c = where[i];
    if (c == '\'' || c == '"') {
      // A doubled quote inside reads as an end and a new beginning, which comes to the same.
      const std::size_t end = std::min(where.find(c, i + 1), where.size() - 1);
      const std::string_view quoted = where.substr(i, end + 1 - i);
      out += c == '"' ? name(quoted) : std::string(quoted);
      i = end + 1;
    } else if (c == '#') {
      const std::size_t end = where.find('#', i + 1);
      const auto inner =
          end == std::string_view::npos ? std::string_view() : where.substr(i + 1, end - i - 1);
      if (const std::optional<Date> day = Date::Parse(inner)) {
        out += date(*day);
        i = end + 1;
      } else {
        out += c;
        ++i;
      }
    } else if (IsNameByte(c)) {
      std::size_t end = i;
      while (end < where.size() && IsNameByte(where[end])) ++end;
      out += name(where.substr(i, end - i));
      i = end;
    } else {
      out += c;
      ++i;
    }
  }
  return out;
}

}  // namespace orlinths
