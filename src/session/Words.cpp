#include "session/Words.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "runtime/Files.h"
#include "runtime/RuntimeError.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

/// Levenshtein's distance: insertions, deletions and replacements of single bytes.
int EditDistance(const std::string& a, const std::string& b) {
  std::vector<int> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = static_cast<int>(j);
  for (std::size_t i = 1; i <= a.size(); ++i) {
    int diagonal = std::exchange(row[0], static_cast<int>(i));
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const int replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = std::exchange(row[j], std::min({row[j] + 1, row[j - 1] + 1, replaced}));
    }
  }
  return row[b.size()];
}

}  // namespace

void WrongCall(const std::string& text) { throw RuntimeError(ErrorNumber::kInvalidCall, text); }

std::string Quoted(const std::string& text) { return '"' + text + '"'; }

std::string Listed(const std::vector<std::string>& items) {
  constexpr std::size_t kMost = 20;
  if (items.empty()) return "nothing";
  std::string list;
  for (std::size_t i = 0; i < std::min(items.size(), kMost); ++i)
    list += (i == 0 ? "" : ", ") + items[i];
  if (items.size() > kMost)
    list += " and " + ToText(static_cast<std::int64_t>(items.size() - kMost)) + " more";
  return list;
}

std::vector<std::string> Nearest(const std::string& word,
                                 const std::vector<std::string>& candidates) {
  constexpr std::size_t kMost = 3;
  constexpr std::size_t kLongestWord = 100;
  const std::string wanted = LowerCase(word.substr(0, kLongestWord));
  std::vector<std::pair<int, std::string>> ranked;
  for (const std::string& candidate : candidates) {
    const std::string plain = LowerCase(candidate);
    const bool isBegun = !wanted.empty() && plain.starts_with(wanted);
    ranked.emplace_back(isBegun ? 0 : EditDistance(wanted, plain), candidate);
  }
  std::stable_sort(ranked.begin(), ranked.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> nearest;
  for (const auto& [distance, candidate] : ranked)
    if (nearest.size() < kMost && distance <= ranked.front().first + 1)
      nearest.push_back(candidate);
  return nearest;
}

}  // namespace orlinths
