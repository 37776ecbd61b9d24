#include "data/RowBuffer.h"

#include <utility>

#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

[[noreturn]] void NoShape() { throw RuntimeError(ErrorNumber::kObjectNotSet); }

}  // namespace

void RaiseNotEditable(const Field& field) {
  throw RuntimeError::Platform("The field " + field.name + " cannot be edited.");
}

RowBuffer::RowBuffer(std::function<const orlinths::Fields&()> fields, bool hasShape)
    : fields_(std::move(fields)), hasShape_(hasShape) {}

std::size_t RowBuffer::Slot(int field) const {
  const orlinths::Fields& fields = Fields();
  const int first = FirstColumn();
  if (field < 0 || field >= fields.FieldCount()) throw RuntimeError(ErrorNumber::kSubscript);
  if (values_.size() != static_cast<std::size_t>(fields.FieldCount() - first))
    values_.resize(static_cast<std::size_t>(fields.FieldCount() - first));
  if (field < first) RaiseNotEditable(fields[field]);
  return static_cast<std::size_t>(field - first);
}

Value RowBuffer::GetValue(int field) const {
  if (field >= 0 && field < FirstColumn()) return {};
  return values_[Slot(field)];
}

void RowBuffer::SetValue(int field, const Value& value) { values_[Slot(field)] = value; }

const Geometry& RowBuffer::Shape() const {
  if (!hasShape_) NoShape();
  return shape_;
}

void RowBuffer::SetShape(Geometry shape) {
  if (!hasShape_) NoShape();
  shape_ = std::move(shape);
}

const std::vector<Value>& RowBuffer::Values() {
  values_.resize(static_cast<std::size_t>(Fields().FieldCount() - FirstColumn()));
  return values_;
}

const std::vector<Value>& ValuesOf(IRow& row, int firstColumn, std::vector<Value>& space) {
  if (auto* buffer = dynamic_cast<RowBuffer*>(&row)) return buffer->Values();
  space.clear();
  for (int i = firstColumn; i < row.Fields().FieldCount(); ++i) space.push_back(row.GetValue(i));
  return space;
}

}  // namespace orlinths
