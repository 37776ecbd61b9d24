// The different values of a column, sorted.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "data/Table.h"
#include "numerics/NumberOrder.h"
#include "runtime/Ports.h"

namespace orlinths {
namespace {

/// A row made by hand may know its values without knowing its fields.
FieldType TypeOf(const IRow& row, int field) {
  const Fields& fields = row.Fields();
  return field < fields.FieldCount() ? fields[field].type : FieldType::kBlob;
}

/// Lets through what it has not seen, and what it cannot tell. It remembers so many values; where
/// most rows still bring new ones by then it gives up, since those are sorted faster than looked
/// up.
class Sieve {
 public:
  bool IsOn() const { return isOn_; }

  /// Of a row whose value is not null.
  bool IsNew(const IRow& row, int field) {
    const FieldType type = TypeOf(row, field);
    if (type < FieldType::kText) return Pass(numbers_, PlaceOf(row.GetDouble(field)));
    if (type == FieldType::kText) {
      row.GetText(field, text_);
      return Pass(texts_, text_);
    }
    const Value value = type == FieldType::kDate ? row.GetValue(field) : Value();
    const Date* date = value.As<Date>();
    return date == nullptr || Pass(numbers_, PlaceOf(static_cast<double>(date->milliseconds)));
  }

 private:
  template <class Key>
  bool Pass(std::unordered_set<Key>& seen, const Key& key) {
    constexpr std::size_t kMost = 1 << 16;
    ++asked_;
    const bool isNew = seen.size() < kMost ? seen.insert(key).second : !seen.contains(key);
    if (isNew) ++new_;
    if (seen.size() == kMost && new_ > asked_ / 2) isOn_ = false;
    return isNew;
  }

  bool isOn_ = true;
  std::int64_t asked_ = 0, new_ = 0;
  std::unordered_set<std::uint64_t> numbers_;
  std::unordered_set<std::string> texts_;
  std::string text_;
};

/// A value's place in the order as far as a whole number can tell, and its place in the list.
struct Key {
  std::uint64_t place;
  std::size_t index;
};

void SortByPlace(std::span<Key> keys) {
  if (!std::ranges::is_sorted(keys, {}, &Key::place)) std::ranges::sort(keys, {}, &Key::place);
}

std::vector<Value> SortedNumbers(std::vector<Value>& values) {
  std::vector<Key> keys;
  keys.reserve(values.size());
  for (const Value& value : values) keys.push_back({PlaceOf(ToDouble(value)), keys.size()});
  SortByPlace(keys);
  const auto rest = std::ranges::unique(keys, {}, &Key::place);
  keys.erase(rest.begin(), rest.end());
  std::vector<Value> sorted;
  sorted.reserve(keys.size());
  for (const Key& key : keys) sorted.push_back(std::move(values[key.index]));
  return sorted;
}

/// Sorts texts by eight bytes after eight, so that most of them are looked at once or twice.
class TextSort {
 public:
  explicit TextSort(std::vector<Value>& values) : values_(values) {}

  std::vector<Value> Sorted() {
    std::vector<Key> keys;
    keys.reserve(values_.size());
    while (keys.size() < values_.size()) keys.push_back({0, keys.size()});
    sorted_.reserve(keys.size());
    Sort(keys, 0);
    return std::move(sorted_);
  }

 private:
  const std::string& TextOf(const Key& key) const { return *values_[key.index].As<std::string>(); }
  void Take(const Key& key) { sorted_.push_back(std::move(values_[key.index])); }

  /// Appends texts that have their first `from` bytes in common.
  void Sort(std::span<Key> keys, std::size_t from) {
    constexpr std::size_t kFew = 16, kFar = 64;
    if (keys.size() <= kFew || from == kFar) return SortWhole(keys);
    for (Key& key : keys) key.place = EightBytes(TextOf(key), from);
    SortByPlace(keys);
    for (std::size_t begin = 0, end; begin < keys.size(); begin = end) {
      for (end = begin + 1; end < keys.size() && keys[end].place == keys[begin].place;) ++end;
      if (end - begin == 1) {
        Take(keys[begin]);
      } else {
        Sort(keys.subspan(begin, end - begin), from + 8);
      }
    }
  }

  void SortWhole(std::span<Key> keys) {
    std::ranges::sort(keys, [this](const Key& a, const Key& b) { return TextOf(a) < TextOf(b); });
    for (std::size_t i = 0; i < keys.size(); ++i)
      if (i + 1 == keys.size() || TextOf(keys[i]) != TextOf(keys[i + 1])) Take(keys[i]);
  }

  /// As one number: texts compare as these do, unless they are equal. Behind the end are zeros.
  static std::uint64_t EightBytes(const std::string& text, std::size_t from) {
    std::uint64_t number = 0;
    for (std::size_t i = from; i < from + 8; ++i)
      number = number << 8 | (i < text.size() ? static_cast<unsigned char>(text[i]) : 0);
    return number;
  }

  std::vector<Value>& values_;
  std::vector<Value> sorted_;
};

/// Numbers that are none before all others.
std::vector<Value> SortedMixed(std::vector<Value>& values) {
  const auto isNone = [](const Value& value) {
    return !value.IsText() && std::isnan(ToDouble(value));
  };
  const auto less = [&](const Value& a, const Value& b) {
    const bool noneA = isNone(a), noneB = isNone(b);
    return noneA || noneB ? noneA && !noneB : Compare(a, b) < 0;
  };
  std::ranges::sort(values, less);
  const auto rest = std::ranges::unique(
      values, [&](const Value& a, const Value& b) { return !less(a, b) && !less(b, a); });
  values.erase(rest.begin(), rest.end());
  return std::move(values);
}

}  // namespace

std::vector<Value> UniqueValues(ICursor& rows, int field) {
  std::vector<Value> values;
  Sieve sieve;
  std::int64_t read = 0;
  // A `Value` is made for what is new, not for every row.
  while (sieve.IsOn()) {
    const IRow* row = rows.Next();
    if (row == nullptr) break;
    if (++read % 4096 == 0) Yield();
    if (!row->IsNull(field) && sieve.IsNew(*row, field)) values.push_back(row->GetValue(field));
  }
  while (!sieve.IsOn()) {
    const IRow* row = rows.Next();
    if (row == nullptr) break;
    if (++read % 4096 == 0) Yield();
    Value value = row->GetValue(field);
    if (!value.IsNull()) values.push_back(std::move(value));
  }
  const auto texts = std::ranges::count_if(values, &Value::IsText);
  if (texts == 0) return SortedNumbers(values);
  return texts == std::ssize(values) ? TextSort(values).Sorted() : SortedMixed(values);
}

}  // namespace orlinths
