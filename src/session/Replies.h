// Who answers the questions of a run that nobody watches.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "session/Session.h"

namespace orlinths {

/// True when `text` fits `pattern`, in which `*` stands for any run of characters, an empty one
/// too, and everything else for itself. O(length of both) but for patterns with many stars, where
/// it is their product.
bool MatchesPattern(const std::string& text, const std::string& pattern);

/// Answers in this order: the list of replies, used up from the front; the first rule whose pattern
/// fits; the reply for all that remain. Keeps what it answered.
class Replies {
 public:
  Replies() = default;
  Replies(std::vector<bool> inOrder, std::vector<ReplyRule> rules, std::optional<bool> otherwise);

  /// True for yes; nothing when no reply is left.
  std::optional<bool> Answer(const std::string& question);

  /// Rules that give the same replies to the same questions asked in the same order: one for each
  /// question, or, where one question got different replies, one for each time that it was asked.
  std::vector<ReplyRule> AsRules() const;

 private:
  std::deque<bool> inOrder_;
  std::vector<ReplyRule> rules_;
  std::optional<bool> otherwise_;
  std::vector<ReplyRule> given_;
};

}  // namespace orlinths
