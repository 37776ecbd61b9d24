#include "session/Replies.h"

#include <algorithm>
#include <utility>

namespace orlinths {

bool MatchesPattern(const std::string& text, const std::string& pattern) {
  std::size_t t = 0, p = 0;
  std::size_t star = std::string::npos,
              resume = 0;  // the last star, and where the text goes on behind its run
  while (t < text.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      resume = t;
    } else if (p < pattern.size() && pattern[p] == text[t]) {
      ++p;
      ++t;
    } else if (star != std::string::npos) {
      p = star + 1;
      t = ++resume;
    } else {
      return false;
    }
  }
  return std::all_of(pattern.begin() + static_cast<std::ptrdiff_t>(p), pattern.end(),
                     [](char c) { return c == '*'; });
}

Replies::Replies(std::vector<bool> inOrder, std::vector<ReplyRule> rules,
                 std::optional<bool> otherwise)
    : inOrder_(inOrder.begin(), inOrder.end()), rules_(std::move(rules)), otherwise_(otherwise) {}

std::optional<bool> Replies::Answer(const std::string& question) {
  std::optional<bool> answer = otherwise_;
  const auto rule = std::find_if(rules_.begin(), rules_.end(), [&](const ReplyRule& candidate) {
    return MatchesPattern(question, candidate.pattern);
  });
  if (!inOrder_.empty()) {
    answer = inOrder_.front();
    inOrder_.pop_front();
  } else if (rule != rules_.end()) {
    answer = rule->yes;
    if (rule->once) rules_.erase(rule);
  }
  if (answer) given_.push_back({question, *answer, true});
  return answer;
}

std::vector<ReplyRule> Replies::AsRules() const {
  std::vector<ReplyRule> rules;
  for (const ReplyRule& given : given_) {
    const bool isUnanimous = std::all_of(given_.begin(), given_.end(), [&](const ReplyRule& other) {
      return !MatchesPattern(other.pattern, given.pattern) || other.yes == given.yes;
    });
    const ReplyRule rule{given.pattern, given.yes, !isUnanimous};
    if (!isUnanimous || std::find(rules.begin(), rules.end(), rule) == rules.end())
      rules.push_back(rule);
  }
  return rules;
}

}  // namespace orlinths
