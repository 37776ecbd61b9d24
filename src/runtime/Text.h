// Parts of texts, by characters and by separators.
#pragma once

#include <string>
#include <vector>

namespace orlinths {

/// The first `count` characters of a UTF-8 text.
std::string FirstCharacters(const std::string& text, int count);
/// Without the blanks at its ends; other white space stays.
std::string Trimmed(const std::string& text);
/// What stands between the separators, blanks and all; an empty text has no entries.
std::vector<std::string> SplitAt(char separator, const std::string& text);

}  // namespace orlinths
