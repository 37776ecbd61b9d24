#include "data/Table.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <utility>

#include "data/KeyColumn.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

template <class T>
const T& Typed(const Geometry& shape) {
  if (shape.IsEmpty()) throw RuntimeError(ErrorNumber::kObjectNotSet);
  const T* held = shape.As<T>();
  if (held == nullptr) throw RuntimeError(ErrorNumber::kTypeMismatch);
  return *held;
}

[[noreturn]] void NotThisCursor(const char* what) {
  throw RuntimeError::Platform(std::string("This cursor does not ") + what + " rows.");
}

/// In the order in which they came.
std::vector<EditKeeper*>& EditKeepers() {
  static std::vector<EditKeeper*> keepers;
  return keepers;
}

}  // namespace

EditKeeper::EditKeeper(std::function<void()> commit) : commit_(std::move(commit)) {
  EditKeepers().push_back(this);
}

EditKeeper::~EditKeeper() { std::erase(EditKeepers(), this); }

void CommitAllEdits() {
  std::optional<RuntimeError> first;
  // A commit may end a table, and with it another keeper.
  const std::vector<EditKeeper*> keepers = EditKeepers();
  for (EditKeeper* keeper : keepers) {
    if (std::ranges::find(EditKeepers(), keeper) == EditKeepers().end()) continue;
    auto failure = FailureOf(keeper->commit_);
    if (failure && !first) first = std::move(failure);
  }
  if (first) throw RuntimeError(*first);
}

QueryFilter ShapesOnly() {
  QueryFilter filter;
  filter.onlyFields.emplace();
  return filter;
}

const Point& IRow::Point() const { return Typed<orlinths::Point>(Shape()); }
const Polyline& IRow::Line() const { return Typed<Polyline>(Shape()); }
const Polygon& IRow::Polygon() const { return Typed<orlinths::Polygon>(Shape()); }

void ICursor::UpdateRow(IRow&) { NotThisCursor("update"); }
void ICursor::DeleteRow(IRow&) { NotThisCursor("delete"); }
Oid ICursor::InsertRow(IRow&) { NotThisCursor("insert"); }

ISelectionSet::ISelectionSet(std::vector<Oid> oids) : oids_(std::move(oids)) {}

void ISelectionSet::Settle() const {
  if (settled_ == oids_.size()) return;
  const auto tail = oids_.begin() + static_cast<std::ptrdiff_t>(settled_);
  if (oids_.end() - tail > 1) std::sort(tail, oids_.end());
  std::inplace_merge(oids_.begin(), tail, oids_.end());
  oids_.erase(std::unique(oids_.begin(), oids_.end()), oids_.end());
  settled_ = oids_.size();
}

bool ISelectionSet::Contains(Oid oid) const {
  Settle();
  return std::binary_search(oids_.begin(), oids_.end(), oid);
}

void ISelectionSet::Add(Oid oid) {
  // The usual case, OIDs in ascending order, never leaves anything to sort.
  const bool ascending = settled_ == oids_.size() && (oids_.empty() || oid > oids_.back());
  oids_.push_back(oid);
  if (ascending) ++settled_;
}

ISelectionSet ISelectionSet::Combine(const ISelectionSet& other, Operation operation) const {
  const std::vector<Oid>& a = Oids();
  const std::vector<Oid>& b = other.Oids();
  std::vector<Oid> both;
  const auto into = std::back_inserter(both);
  switch (operation) {
    case Operation::kUnion:
      std::set_union(a.begin(), a.end(), b.begin(), b.end(), into);
      break;
    case Operation::kIntersection:
      std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), into);
      break;
    case Operation::kDifference:
      std::set_difference(a.begin(), a.end(), b.begin(), b.end(), into);
      break;
    case Operation::kSymmetricDifference:
      std::set_symmetric_difference(a.begin(), a.end(), b.begin(), b.end(), into);
      break;
  }
  return ISelectionSet(std::move(both));
}

std::vector<Oid> SortedOids(const ITable& table, const std::vector<std::string>& fields,
                            const ISelectionSet* among) {
  std::vector<KeyColumn> keys;
  for (const std::string& name : fields) keys.emplace_back(table, name);
  QueryFilter what;
  what.onlyFields = fields;
  what.withShape = false;
  const CursorPtr rows = among ? table.SearchOids(among->Oids(), what) : table.Search(what);

  std::vector<Oid> oids;
  while (const IRow* row = rows->Next()) {
    oids.push_back(row->OID());
    for (KeyColumn& key : keys) key.Add(*row);
  }
  std::vector<std::size_t> order(oids.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  if (keys.size() == 1) {
    order = keys.front().Sorted();
  } else {
    std::ranges::stable_sort(order, [&](std::size_t a, std::size_t b) {
      for (const KeyColumn& key : keys)
        if (const int sign = key.Order(a, b)) return sign < 0;
      return false;
    });
  }
  std::vector<Oid> sorted;
  sorted.reserve(order.size());
  for (const std::size_t i : order) sorted.push_back(oids[i]);
  return sorted;
}

}  // namespace orlinths
