// The one implementation of ShapefileStore.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "gdal/ColumnValues.h"
#include "gdal/DbfFormat.h"
#include "gdal/DbfText.h"
#include "gdal/PendingEdits.h"
#include "gdal/ShapefileStore.h"
#include "gdal/ShapefileWriter.h"
#include "gdal/ShpFormat.h"
#include "gdal/TableCommit.h"

namespace orlinths {

class ShapefileStoreImpl final : public ShapefileStore {
 public:
  /// Opens what is there. `createdDefault`: the table was just made, with the default column alone.
  ShapefileStoreImpl(std::string path, DatasetFiles files, bool createdDefault);
  ~ShapefileStoreImpl() override;

  const std::string& Path() const override { return path_; }
  bool HasShape() const override { return shp_.has_value(); }
  GeometryDef Geometry() const override { return geometry_; }
  const orlinths::Fields& Fields() const override { return fields_; }
  std::int64_t RecordCount() const override { return writer_ ? writer_->Rows() : records_; }
  bool IsDeleted(Oid oid) const override;
  Oid NextRow(Oid from) const override;
  void CheckWritable() const override;
  void CheckUndamaged() const override;

  void AddField(const Field& field) override;
  void DeleteField(int field) override;
  void SetValue(Oid oid, int field, const Value& value) override;
  void SetDouble(Oid oid, int field, double value) override;
  void SetShape(Oid oid, const orlinths::Geometry& shape) override;
  void DeleteRow(Oid oid) override;

  bool CanReadRows() const override;
  std::unique_ptr<StoredRows> OpenRows() const override;
  bool HasPendingEdits() const override { return isEdited_; }
  std::optional<int> FileColumnCount() const override;
  const std::string& Encoding() const override { return encoding_; }
  int FileColumn(int field) const override;
  bool PendingValue(Oid oid, int field, Value& value) const override;
  const orlinths::Geometry* PendingShape(Oid oid) const override;

  Oid Append(const orlinths::Geometry* shape, const std::vector<Value>& values) override;
  void FlushAppended() override;
  void FinishAppending() override;
  void Commit() override;
  void Abandon() override;
  std::uint64_t FileVersion() const override { return version_; }
  void Delete() override;
  void Rename(const std::string& name) override;

  /// Reads the files anew when another program has changed them and nothing is pending here.
  void Refresh();

 private:
  struct Column {
    explicit Column(const DbfColumn& format, int inFile = -1) : kind(format), fileColumn(inFile) {}
    ColumnKind kind;
    int fileColumn;
    std::unique_ptr<ColumnEdits> edits;
  };
  struct Written;

  void Load();
  void LoadTable();
  void LoadShapes();
  void TakeColumns();
  orlinths::Fields MakeFields(const std::vector<Column>& columns) const;
  int FirstColumn() const { return HasShape() ? 2 : 1; }
  const Column& ColumnAt(int field) const;
  Column& EditedColumn(Oid oid, int field);
  ColumnEdits& EditsOf(Column& column);
  const DbfText& Text() const;
  std::string TableStamp() const;

  const RowSet& DeletedInFile() const;
  /// A platform error for the table of a shapefile that is opened alone, without its shapes.
  void CheckStandsAlone(const char* what) const;
  void CheckRow(Oid oid) const;
  void BeginEdit();
  /// An edit that failed before it changed anything holds nothing.
  void ReleaseIdleLock() noexcept;
  void Widen(Column& column);
  void OpenWriter();
  void CloseWriter();
  void EncodeRow(const std::vector<Value>& values);
  bool HasValueEdits() const;
  RowSet AllDeletedRows() const;
  Written WriteSuccessors();
  void DropEdits() noexcept;
  std::vector<std::string> StaleIndexes(bool shapesChange) const;
  std::vector<std::string> Companions() const;

  std::string path_;
  DatasetFiles files_;
  bool hasTable_ = true;
  bool createdDefault_;
  DbfLayout layout_;
  std::optional<ShpHeader> shp_;
  GeometryDef geometry_;
  std::int64_t records_ = 0;
  std::string encoding_, stamp_;
  mutable std::optional<DbfText> text_;
  mutable std::optional<RowSet> deletedInFile_;
  std::uint64_t version_ = 1;

  orlinths::Fields fields_;
  std::vector<Column> columns_;
  bool isEdited_ = false, schemaIsEdited_ = false;
  ShapeEdits shapes_;
  RowSet deleted_;
  std::unique_ptr<EditLock> lock_;
  std::unique_ptr<ShapefileWriter> writer_;
  std::string record_;  // the row being appended
};

}  // namespace orlinths
