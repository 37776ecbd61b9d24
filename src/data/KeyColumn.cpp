#include "data/KeyColumn.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <utility>

#include "numerics/NumberOrder.h"
#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

template <class T>
int Sign(const T& a, const T& b) {
  return a < b ? -1 : b < a ? 1 : 0;
}

/// Null comes before all numbers.
std::uint64_t Place(double number, bool isNull) { return isNull ? 0 : PlaceOf(number); }

template <class T>
void LeaveLast(std::vector<T>& rows) {
  if (rows.size() > 1) rows.erase(rows.begin(), rows.end() - 1);
}

}  // namespace

KeyColumn::KeyColumn(const ITable& table, const std::string& name) : field_(table.FindField(name)) {
  if (field_ < 0)
    throw RuntimeError::Platform("The table " + table.Name() + " has no field " + name + ".");
  const Field& column = table.Fields()[field_];
  if (column.type == FieldType::kGeometry || column.type == FieldType::kBlob)
    throw RuntimeError::Platform("The field " + column.name +
                                 " holds nothing that could be compared or sorted.");
  kind_ = column.type < FieldType::kText || column.type == FieldType::kOid ? Kind::kNumber
          : column.type == FieldType::kText                                ? Kind::kText
                                                                           : Kind::kOther;
}

void KeyColumn::Add(const IRow& row) {
  const bool isNull = row.IsNull(field_);
  switch (kind_) {
    case Kind::kNumber:
      numbers_.push_back(isNull ? 0 : row.GetDouble(field_));
      break;
    case Kind::kText:
      texts_.emplace_back();
      if (!isNull) row.GetText(field_, texts_.back());
      break;
    case Kind::kOther:
      others_.push_back(row.GetValue(field_));
      break;
  }
  isNull_.push_back(isNull);
}

void KeyColumn::KeepLast() {
  LeaveLast(isNull_);
  LeaveLast(numbers_);
  LeaveLast(texts_);
  LeaveLast(others_);
}

bool KeyColumn::AreEqual(std::size_t a, std::size_t b) const {
  if (isNull_[a] || isNull_[b]) return false;
  switch (kind_) {
    case Kind::kNumber:
      return numbers_[a] == numbers_[b];
    case Kind::kText:
      return texts_[a] == texts_[b];
    case Kind::kOther:
      return Compare(others_[a], others_[b]) == 0;
  }
  return false;
}

int KeyColumn::Order(std::size_t a, std::size_t b) const {
  if (kind_ == Kind::kNumber)
    return Sign(Place(numbers_[a], isNull_[a]), Place(numbers_[b], isNull_[b]));
  if (isNull_[a] || isNull_[b]) return Sign(!isNull_[a], !isNull_[b]);
  return kind_ == Kind::kText ? Sign(texts_[a].compare(texts_[b]), 0)
                              : Compare(others_[a], others_[b]);
}

Value KeyColumn::At(std::size_t row) const {
  if (isNull_[row]) return Null{};
  switch (kind_) {
    case Kind::kNumber:
      return numbers_[row];
    case Kind::kText:
      return texts_[row];
    case Kind::kOther:
      return others_[row];
  }
  return {};
}

std::vector<std::size_t> KeyColumn::Sorted() const {
  std::vector<std::size_t> order(Size());
  if (kind_ != Kind::kNumber) {
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::stable_sort(order,
                             [this](std::size_t a, std::size_t b) { return Order(a, b) < 0; });
    return order;
  }
  std::vector<std::pair<std::uint64_t, std::size_t>> places;
  places.reserve(Size());
  for (std::size_t row = 0; row < Size(); ++row)
    places.emplace_back(Place(numbers_[row], isNull_[row]), row);
  std::ranges::sort(places);  // ties by row
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = places[i].second;
  return order;
}

}  // namespace orlinths
