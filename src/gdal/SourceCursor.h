// Rows and cursors over a vector source.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "data/RowBuffer.h"
#include "gdal/VectorSource.h"

namespace orlinths {

/// The current row of a cursor: values and shape are taken from the feature when they are asked
/// for, pending edits before it.
class SourceRow final : public IRow {
 public:
  SourceRow(VectorSource& source, bool writable) : source_(source), writable_(writable) {}

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
    int field;
    bool isDouble;
    double number;
    Value value;
  };
  const std::vector<Change>& Changes() const { return changes_; }
  const Geometry* ChangedShape() const { return shapeChanged_ ? &shape_ : nullptr; }
  void ForgetChanges();
  OGRFeature& Feature() const { return *feature_; }

 private:
  friend class SourceCursor;
  void Become(OGRFeatureUniquePtr feature);
  /// The column in the file of a checked field; -1 when the file does not have it.
  int ColumnOf(int field) const;
  /// That column where what stands in the file is what counts; -1 where edits may be before it.
  int PlainColumnOf(int field) const;
  Change& ChangeOf(int field);

  VectorSource& source_;
  bool writable_;
  Oid oid_ = -1;
  OGRFeatureUniquePtr feature_;
  std::vector<Change> changes_;
  mutable Geometry shape_;
  mutable bool shapeKnown_ = false;
  bool shapeChanged_ = false;
  mutable std::vector<int> columns_;
  mutable std::uint64_t columnsOf_ = ~std::uint64_t{0};
};

/// Walks a source in OID order: through its reader, or along a list of OIDs. Goes on at the same
/// row when the files change under it.
class SourceCursor final : public ICursor {
 public:
  /// All rows that the expression gives.
  SourceCursor(VectorSource& source, const QueryFilter& filter, bool writable);
  /// The rows of ascending `oids`; those that do not exist are passed over.
  SourceCursor(VectorSource& source, std::vector<Oid> oids, const QueryFilter& what, bool writable);
  ~SourceCursor() override;

  IRow* Next() override;
  void UpdateRow(IRow& row) override;
  void DeleteRow(IRow& row) override;
  void Flush() override;

  /// Lets go of the reader; `removed` (ascending) are OIDs that no longer stand in the files, where
  /// the rest moved up.
  void Detach(const std::vector<Oid>& removed);
  /// Frees the features that it holds; and has its current row again, read from `layer`.
  void LetGoOfRow();
  void TakeRowAgain(OGRLayer& layer);

 private:
  void Attach();
  OGRFeatureUniquePtr Fetch();
  void ReadAhead();
  void ReadRange();
  void ForgetAhead();
  OGRFeatureUniquePtr FetchNext();
  SourceRow& Mine(IRow& row);

  VectorSource& source_;
  std::string where_;
  std::optional<std::vector<std::string>> onlyFields_;
  bool withShape_, writable_;
  bool byOid_;
  std::vector<Oid> oids_;
  std::size_t at_ = 0;
  bool randomRead_ = true;
  bool flatRings_ = false;
  Oid last_ = -1;
  bool ended_ = false, letGo_ = false;
  ReaderPtr reader_;
  /// Rows read ahead, so that what OGR says is collected once for many of them.
  std::array<OGRFeatureUniquePtr, 32> ahead_;
  std::size_t aheadAt_ = 0, aheadEnd_ = 0;
  std::size_t aheadFrom_ = 0;  ///< place in the list of what was first asked for
  std::size_t mostAhead_ = 1;  ///< rows of a shared reader: more while nobody else edits
  std::uint64_t aheadOf_ = 0;  ///< the source's changes when they were read
  std::string aheadFailure_;   ///< raised when the rows before it are used up
  SourceRow row_;
};

}  // namespace orlinths
