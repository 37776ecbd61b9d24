// Rows and cursors over a layer's data provider.
#pragma once

#include <qgsfeature.h>
#include <qgsfeatureiterator.h>

#include <limits>
#include <memory>
#include <vector>

#include "qgis/ProviderSource.h"

namespace orlinths {

/// The current row of a cursor: values and shape are taken from the feature when they are asked
/// for, pending edits before it.
class ProviderRow final : public IRow {
 public:
  ProviderRow(ProviderSource& source, bool writable) : source_(source), writable_(writable) {}

  Oid OID() const override { return oid_; }
  const orlinths::Fields& Fields() const override { return source_.Fields(); }
  Value GetValue(int field) const override;
  void SetValue(int field, const Value& value) override;
  double GetDouble(int field) const override;
  bool IsNull(int field) const override;
  const Geometry& Shape() const override;
  void SetShape(Geometry shape) override;

 private:
  friend class ProviderCursor;
  struct Change {
    int field;
    Value value;
  };
  void Become(Oid oid);
  /// The column of a checked field; -1 for the object id and the shape.
  int ColumnOf(int field) const;
  /// What stands in the column, pending edits before it.
  QVariant Held(int column) const;

  ProviderSource& source_;
  bool writable_;
  Oid oid_ = -1;
  mutable QgsFeature feature_;
  mutable std::uint64_t featureOf_ = 0;  ///< version of the columns that the feature shows
  std::vector<Change> changes_;
  mutable Geometry shape_;
  mutable bool shapeKnown_ = false;
  bool shapeChanged_ = false;
};

/// Walks a source in OID order: as the provider gives the rows while it gives them so, else along
/// their OIDs. Goes on at the same row when the data change under it.
class ProviderCursor final : public ICursor {
 public:
  /// All rows that the filter gives; its shape is not asked.
  ProviderCursor(ProviderSource& source, const QueryFilter& filter, bool writable);
  /// The rows of ascending `oids`; those that do not exist are passed over.
  ProviderCursor(ProviderSource& source, std::vector<Oid> oids, const QueryFilter& what,
                 bool writable);
  ~ProviderCursor() override;

  IRow* Next() override;
  void UpdateRow(IRow& row) override;
  void DeleteRow(IRow& row) override;
  void Flush() override;

  /// Lets go of the provider; the next row opens it again.
  void Detach();

 private:
  void Attach();
  bool Fetch();
  bool FetchStreamed();
  bool FetchListed();
  void FetchAhead();
  ProviderRow& Mine(IRow& row);

  ProviderSource& source_;
  QueryFilter what_;
  bool writable_;
  /// Along `oids_`, from the `at_`-th on; streamed as long as the provider gives just these.
  bool isListed_, isStreamed_;
  bool isCollected_ = false;  ///< the list; with the first row
  std::vector<Oid> oids_;
  std::size_t at_ = 0;
  Oid last_ = std::numeric_limits<Oid>::min();
  bool ended_ = false, attached_ = false;
  std::uint64_t version_ = 0;
  std::unique_ptr<QgsAbstractFeatureSource> rows_;
  QgsFeatureIterator iterator_;    // goes before what it reads from
  std::vector<QgsFeature> ahead_;  ///< those of the list before `aheadEnd_` that exist
  std::size_t aheadAt_ = 0, aheadEnd_ = 0;
  ProviderRow row_;
};

class ProviderInsertCursor final : public ICursor {
 public:
  explicit ProviderInsertCursor(ProviderSource& source) : source_(source) {}
  ~ProviderInsertCursor() override { source_.WriteQuietly(); }
  IRow* Next() override { return nullptr; }
  /// The provider numbers the row when it is written.
  Oid InsertRow(IRow& row) override;
  void Flush() override { source_.Write(); }

 private:
  ProviderSource& source_;
};

}  // namespace orlinths
