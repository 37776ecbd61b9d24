#include "session/Replies.h"

#include <gmock/gmock.h>

#include "support/Seeded.h"

namespace orlinths {
namespace {

/// The definition, tried out in full.
bool MatchesPlain(std::string_view text, std::string_view pattern) {
  if (pattern.empty()) return text.empty();
  if (pattern[0] == '*')
    return MatchesPlain(text, pattern.substr(1)) ||
           (!text.empty() && MatchesPlain(text.substr(1), pattern));
  return !text.empty() && text[0] == pattern[0] && MatchesPlain(text.substr(1), pattern.substr(1));
}

TEST(MatchesPattern, TakesAStarForAnyRun) {
  EXPECT_TRUE(MatchesPattern("The file already exists. Replace?", "*already exists*"));
  EXPECT_TRUE(MatchesPattern("", "*"));
  EXPECT_TRUE(MatchesPattern("abcabd", "*abd"));
  EXPECT_FALSE(MatchesPattern("abc", "ab"));
  EXPECT_FALSE(MatchesPattern("abc", "ABC"));
  EXPECT_FALSE(MatchesPattern("abc", "a?c"));
  EXPECT_TRUE(MatchesPattern("a\rb", "a*b"));
}

TEST(MatchesPattern, EqualsTheDefinitionTriedInFull) {
  Seeded random("MatchesPattern.EqualsTheDefinitionTriedInFull");
  for (int i = 0; i < 5000; ++i) {
    std::string text, pattern;
    for (std::int64_t n = random.Whole(0, 8); n > 0; --n) text += random.Chance(0.5) ? 'a' : 'b';
    for (std::int64_t n = random.Whole(0, 6); n > 0; --n) pattern += "ab*"[random.Whole(0, 2)];
    ASSERT_EQ(MatchesPattern(text, pattern), MatchesPlain(text, pattern)) << text << " " << pattern;
  }
}

TEST(Replies, UsesUpTheListThenTheRulesThenTheRest) {
  Replies replies({true}, {{"*exists*", false, false}}, true);
  EXPECT_EQ(replies.Answer("it exists"), true);
  EXPECT_EQ(replies.Answer("it exists"), false);
  EXPECT_EQ(replies.Answer("it exists"), false);
  EXPECT_EQ(replies.Answer("other"), true);
}

TEST(Replies, TakesTheFirstRuleThatFits) {
  Replies replies({}, {{"a*", true, false}, {"*", false, false}}, {});
  EXPECT_EQ(replies.Answer("ab"), true);
  EXPECT_EQ(replies.Answer("b"), false);
}

TEST(Replies, GivesNothingWhenNoneIsLeft) {
  Replies replies({false}, {{"a", true, false}}, {});
  EXPECT_EQ(replies.Answer("b"), false);
  EXPECT_EQ(replies.Answer("b"), std::nullopt);
}

TEST(Replies, RemembersAsRulesWhatItAnswered) {
  Replies replies({true, true, false, true, false}, {}, {});
  const std::vector<std::string> asked = {"one", "two", "two", "one", "star * x"};
  std::vector<std::optional<bool>> given;
  for (const auto& question : asked) given.push_back(replies.Answer(question));
  const auto rules = replies.AsRules();
  EXPECT_EQ(rules, (std::vector<ReplyRule>{{"one", true, false},
                                           {"two", true, true},
                                           {"two", false, true},
                                           {"star * x", false, false}}));
  Replies again({}, rules, {});
  for (std::size_t i = 0; i < asked.size(); ++i) EXPECT_EQ(again.Answer(asked[i]), given[i]) << i;
}

TEST(Replies, RulesGiveTheSameRepliesToTheSameQuestions) {
  Seeded random("Replies.RulesGiveTheSameRepliesToTheSameQuestions");
  const std::vector<std::string> questions = {"a", "b", "a*", "*", "ab"};
  for (int i = 0; i < 500; ++i) {
    std::vector<std::string> asked;
    std::vector<bool> answers;
    for (std::int64_t n = random.Whole(1, 8); n > 0; --n) {
      asked.push_back(questions[static_cast<std::size_t>(random.Whole(0, 4))]);
      answers.push_back(random.Chance(0.5));
    }
    Replies first(answers, {}, {});
    for (const auto& question : asked) first.Answer(question);
    Replies second({}, first.AsRules(), {});
    for (std::size_t k = 0; k < asked.size(); ++k) ASSERT_EQ(second.Answer(asked[k]), answers[k]);
  }
}

}  // namespace
}  // namespace orlinths
