// What the rows and cursors over all vector sources have in common: pending edits, changes, and a
// place that lasts when the files change.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "data/RowBuffer.h"
#include "gdal/VectorSource.h"

namespace orlinths {

/// The current row of a cursor: changes that are not stored yet stand before pending edits, those
/// before what stands in the files, which is taken from there when it is asked for.
class SourceRow : public IRow {
 public:
  /// Fields besides `onlyFields`, where there are any, answer as empty.
  SourceRow(VectorSource& source, std::optional<std::vector<std::string>> onlyFields, bool writable)
      : source_(source), onlyFields_(std::move(onlyFields)), writable_(writable) {}

  Oid OID() const override { return oid_; }
  const orlinths::Fields& Fields() const override { return source_.Fields(); }
  Value GetValue(int field) const override;
  void SetValue(int field, const Value& value) override;
  double GetDouble(int field) const override;
  void GetText(int field, std::string& text) const override;
  bool IsNull(int field) const override;
  void SetDouble(int field, double value) override;
  const Geometry& Shape() const override;
  void SetShape(Geometry shape) override;

  struct Change {
    int field = -1;
    bool isDouble = false;
    double number = 0;
    Value value;  ///< stands where it is no double
  };
  std::span<const Change> Changes() const { return {changes_.data(), changeCount_}; }
  const Geometry* ChangedShape() const { return shapeChanged_ ? &shape_ : nullptr; }
  void ForgetChanges();
  /// Follows a renumbering: rows `removed` (ascending) are gone and the rest moved up. -1 is the
  /// OID of a row that is gone itself.
  void Renumber(const std::vector<Oid>& removed);

 protected:
  void Become(Oid oid);
  VectorSource& Source() const { return source_; }

  // What stands in the files. `column` is one of theirs, `type` that of its field.
  virtual Value StoredValue(int column, FieldType type) const = 0;
  virtual double StoredDouble(int column, FieldType type) const = 0;
  /// Of a text field.
  virtual void StoredText(int column, std::string& text) const = 0;
  /// Of a field of numbers or text.
  virtual bool IsStoredNull(int column) const = 0;
  /// Null where there is none.
  virtual Geometry StoredShape() const = 0;

 private:
  /// The column in the file of a checked field; -1 when the file does not have it, or it is left
  /// out.
  int ColumnOf(int field) const;
  /// That column where what stands in the file is what counts; -1 where edits may be before it.
  int PlainColumnOf(int field) const;
  Change& ChangeOf(int field);

  VectorSource& source_;
  std::optional<std::vector<std::string>> onlyFields_;
  bool writable_;
  Oid oid_ = -1;
  // The first so many are the row's own; the others wait for the next row, so that none is made and
  // destroyed for each.
  std::vector<Change> changes_;
  std::size_t changeCount_ = 0;
  mutable Geometry shape_;
  mutable bool shapeKnown_ = false;
  bool shapeChanged_ = false;
  mutable std::vector<int> columns_;
  mutable std::uint64_t columnsOf_ = ~std::uint64_t{0};
};

/// Walks a source in OID order, or along a list of OIDs. Goes on at the same row when the files
/// change under it.
class SourceCursor : public ICursor {
 public:
  ~SourceCursor() override;

  void UpdateRow(IRow& row) override;
  void DeleteRow(IRow& row) override;
  void Flush() override;

  /// Lets go of what it holds open; `removed` (ascending) are OIDs that no longer stand in the
  /// files, where the rest moved up.
  virtual void Detach(const std::vector<Oid>& removed);
  /// Of rows that a library holds: frees them, and has its current row again, read from `layer`.
  virtual void LetGoOfRow() {}
  virtual void TakeRowAgain(OGRLayer&) {}

 protected:
  /// All rows without `oids`; along that ascending list otherwise.
  SourceCursor(VectorSource& source, std::optional<std::vector<Oid>> oids, bool writable);
  virtual SourceRow& Current() = 0;

  VectorSource& source_;
  bool byOid_;
  std::vector<Oid> oids_;
  std::size_t at_ = 0;  ///< place in the list of what comes next
  Oid last_ = -1;       ///< of the current row
  bool ended_ = false;

 private:
  SourceRow& Mine(IRow& row);

  bool writable_;
};

}  // namespace orlinths
