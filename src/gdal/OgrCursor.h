// Rows and cursors as OGR reads them, whatever the format.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "gdal/SourceCursor.h"

namespace orlinths {

/// Values and shape are taken from the feature when they are asked for.
class OgrFeatureRow final : public SourceRow {
 public:
  using SourceRow::SourceRow;
  OGRFeature& Feature() const { return *feature_; }

 private:
  friend class OgrCursor;
  Value StoredValue(int column, FieldType type) const override;
  double StoredDouble(int column, FieldType type) const override;
  void StoredText(int column, std::string& text) const override;
  bool IsStoredNull(int column) const override;
  Geometry StoredShape() const override;

  OGRFeatureUniquePtr feature_;
};

/// Walks through its reader, or along a list of OIDs.
class OgrCursor final : public SourceCursor {
 public:
  /// All rows that the expression gives.
  OgrCursor(VectorSource& source, const QueryFilter& filter, bool writable);
  /// The rows of ascending `oids`; those that do not exist are passed over.
  OgrCursor(VectorSource& source, std::vector<Oid> oids, const QueryFilter& what, bool writable);
  ~OgrCursor() override;

  IRow* Next() override;
  void UpdateRow(IRow& row) override;
  void DeleteRow(IRow& row) override;

  void Detach(const std::vector<Oid>& removed) override;
  void LetGoOfRow() override;
  void TakeRowAgain(OGRLayer& layer) override;

 private:
  OgrCursor(VectorSource& source, std::string where, std::optional<std::vector<Oid>> oids,
            const QueryFilter& what, bool writable);
  SourceRow& Current() override { return row_; }
  void Attach();
  OGRFeatureUniquePtr Fetch();
  void ReadAhead();
  void ReadRange();
  void ForgetAhead();
  OGRFeatureUniquePtr FetchNext();

  std::string where_;
  std::optional<std::vector<std::string>> onlyFields_;
  bool withShape_;
  bool randomRead_ = true;
  bool flatRings_ = false;
  bool letGo_ = false;
  ReaderPtr reader_;
  /// Rows read ahead, so that what OGR says is collected once for many of them, and a database is
  /// asked once for a range of them.
  std::array<OGRFeatureUniquePtr, 256> ahead_;
  std::size_t aheadAt_ = 0, aheadEnd_ = 0;
  std::size_t aheadFrom_ = 0;  ///< place in the list of what was first asked for
  std::size_t mostAhead_ = 1;  ///< rows of a shared reader: more while nobody else edits
  std::uint64_t aheadOf_ = 0;  ///< the source's changes when they were read
  std::string aheadFailure_;   ///< raised when the rows before it are used up
  OgrFeatureRow row_;
};

}  // namespace orlinths
