#include "gdal/ShapefileCursor.h"

#include <utility>

#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"

namespace orlinths {

Value ShapefileRow::StoredValue(int column, FieldType type) const {
  return cursor_.Rows().Get(OID(), column, type);
}

double ShapefileRow::StoredDouble(int column, FieldType type) const {
  return cursor_.Rows().GetDouble(OID(), column, type);
}

void ShapefileRow::StoredText(int column, std::string& text) const {
  cursor_.Rows().GetText(OID(), column, text);
}

Geometry ShapefileRow::StoredShape() const {
  return withShape_ ? cursor_.Rows().GetShape(OID()) : Geometry();
}

ShapefileCursor::ShapefileCursor(VectorSource& source, const ShapefileStore& store,
                                 std::optional<std::vector<Oid>> oids, const QueryFilter& what,
                                 bool writable)
    : SourceCursor(source, std::move(oids), writable),
      store_(store),
      row_(source, *this, what, writable) {}

StoredRows& ShapefileCursor::Rows() {
  if (!rows_ || rowsOf_ != store_.FileVersion()) {
    source_.CheckThere();
    rows_ = store_.OpenRows();
    rowsOf_ = store_.FileVersion();
  }
  if (row_.OID() < 0) throw RuntimeError(ErrorNumber::kObjectNotSet);
  return *rows_;
}

Oid ShapefileCursor::NextOid() {
  if (!byOid_) return store_.NextRow(last_ + 1);
  while (at_ < oids_.size()) {
    const Oid oid = oids_[at_++];
    if (oid >= 0 && store_.NextRow(oid) == oid) return oid;
  }
  return -1;
}

IRow* ShapefileCursor::Next() {
  CheckStop();
  if (ended_) return nullptr;
  source_.CheckThere();
  const Oid oid = NextOid();
  if (oid < 0) {
    ended_ = true;
    return nullptr;
  }
  last_ = oid;
  row_.Become(oid);
  return &row_;
}

void ShapefileCursor::Detach(const std::vector<Oid>& removed) {
  rows_.reset();
  SourceCursor::Detach(removed);
}

}  // namespace orlinths
