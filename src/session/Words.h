// The words in which a wrong call is answered: what is wrong, and what would have been right.
#pragma once

#include <string>
#include <vector>

namespace orlinths {

/// Ends the reading of a call or a session file with one line for standard error; the exit status
/// is 2.
[[noreturn]] void WrongCall(const std::string& text);

/// `text` in straight double quotes.
std::string Quoted(const std::string& text);
/// "a, b, c"; "nothing" for an empty list. Of more than twenty the rest is counted.
std::string Listed(const std::vector<std::string>& items);
/// Those of `candidates` that a misspelt `word` is likeliest to mean, nearest first, at most three:
/// those that it begins, then those with few letters different; letters compare without case. Empty
/// only when there are no candidates.
std::vector<std::string> Nearest(const std::string& word,
                                 const std::vector<std::string>& candidates);

}  // namespace orlinths
