// Every format but shapefiles and dBASE: read through OGR, and, where the format can be updated,
// edited through OGR in one transaction a run.
#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>

#include "gdal/Library.h"
#include "gdal/OgrShapes.h"
#include "gdal/RowStatements.h"
#include "gdal/OgrCursor.h"
#include "gdal/VectorSource.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

/// What a layer is, as far as it does not change under edits.
struct LayerFacts {
  std::string driver, name, fidColumn;
  int layerCount = 0;
  GeometryDef geometry;
  bool hasShape = false;
};

CPLStringList OpenOptions(const std::string& path) {
  CPLStringList options;
  // Columns of a text table are text unless all that stands in them is numbers.
  if (LowerCase(path).ends_with(".csv")) {
    options.SetNameValue("AUTODETECT_TYPE", "YES");
    options.SetNameValue("AUTODETECT_SIZE_LIMIT", "0");
  }
  return options;
}

ReaderPtr Open(const std::string& path, const std::string& layer, unsigned access) {
  EnsureGdal();
  auto reader = std::make_shared<Reader>();
  const CPLStringList options = OpenOptions(path);
  reader->dataset.reset(GDALDataset::Open(
      path.c_str(), GDAL_OF_VECTOR | GDAL_OF_VERBOSE_ERROR | access, nullptr, options.List()));
  if (!reader->dataset) return nullptr;
  reader->layer =
      layer.empty() ? reader->dataset->GetLayer(0) : reader->dataset->GetLayerByName(layer.c_str());
  return reader;
}

/// A database whose writer was killed has its journal beside it, and takes back what was half done
/// when it is next opened for writing; opened for reading alone it could not, and would be refused.
void TakeBackHalfDone(const std::string& path) {
  if (!files::FileExists(path + "-journal") || !files::IsWritable(path)) return;
  const QuietGdal quiet;
  Open(path, "", GDAL_OF_UPDATE);
}

/// For a walk that looks at nothing but the ids.
void IgnoreAll(OGRLayer& layer) {
  CPLStringList ignored;
  ignored.AddString("OGR_GEOMETRY");
  for (int i = 0; i < layer.GetLayerDefn()->GetFieldCount(); ++i)
    ignored.AddString(layer.GetLayerDefn()->GetFieldDefn(i)->GetNameRef());
  layer.SetIgnoredFields(const_cast<const char**>(ignored.List()));
}

SpatialReferencePtr ReferenceOf(OGRLayer& layer) {
  const OGRSpatialReference* reference = layer.GetSpatialRef();
  // GeoPackage names what is not known.
  if (reference == nullptr || std::string_view(reference->GetName()).starts_with("Undefined "))
    return UnknownCoordinateSystem();
  char* wkt = nullptr;
  const char* const options[] = {"FORMAT=WKT2_2019", nullptr};
  const bool exported = reference->exportToWkt(&wkt, options) == OGRERR_NONE;
  const GdalText owned(wkt);
  const std::string text = exported && wkt ? wkt : "";
  try {
    return SpatialReferenceFromText(text);
  } catch (const RuntimeError&) {
    return UnknownCoordinateSystem();  // one that nobody understands
  }
}

LayerFacts FactsOf(Reader& reader) {
  OGRLayer& layer = *reader.layer;
  LayerFacts facts;
  facts.driver = reader.dataset->GetDriverName();
  facts.name = layer.GetName();
  facts.fidColumn = layer.GetFIDColumn();
  facts.layerCount = reader.dataset->GetLayerCount();
  const OGRwkbGeometryType type = layer.GetGeomType();
  facts.hasShape = type != wkbNone;
  if (!facts.hasShape) return facts;
  facts.geometry.geometryType = PlainType(type);
  facts.geometry.hasZ = OGR_GT_HasZ(type);
  facts.geometry.hasM = OGR_GT_HasM(type);
  facts.geometry.spatialReference = ReferenceOf(layer);
  if (facts.geometry.geometryType == GeometryType::kNull) {
    // The format does not say: the first shape does.
    layer.ResetReading();
    while (const OGRFeatureUniquePtr feature{layer.GetNextFeature()}) {
      const Geometry shape = ToPlain(feature->GetGeometryRef(), RingDirection::kByRole);
      if (shape.IsNull()) continue;
      facts.geometry.geometryType = shape.Type();
      break;
    }
    layer.ResetReading();
  }
  return facts;
}

class OgrSource final : public VectorSource {
 public:
  OgrSource(std::string file, std::string layer, LayerFacts facts, ReaderPtr reader)
      : VectorSource(layer.empty() ? file : file + "|layername=" + layer,
                     layer.empty() && facts.layerCount == 1 && facts.driver != "GPKG" ? StemOf(file)
                                                                                      : facts.name),
        file_(std::move(file)),
        layer_(std::move(layer)),
        facts_(std::move(facts)) {
    std::error_code unknown;
    isOnDisk_ = std::filesystem::exists(file_, unknown);
    SetHasShape(facts_.hasShape);
    ReadFields(*reader->layer);
    GiveBack(std::move(reader));
  }
  ~OgrSource() override {
    // The last table of the dataset goes: what was edited stays edited.
    const QuietGdal quiet;
    if (edit_) edit_->dataset->CommitTransaction();
    EndEdit();
    DropReaders();
  }

  const orlinths::Fields& Fields() const override { return fields_; }
  GeometryDef Geometry() const override { return facts_.geometry; }
  std::int64_t RowCount() const override {
    const QuietGdal quiet;
    ReaderPtr reader = Lease();
    reader->layer->SetAttributeFilter(nullptr);
    const std::int64_t count = reader->layer->GetFeatureCount(TRUE);
    GiveBack(std::move(reader));
    quiet.RaiseIfFailed();
    return count;
  }
  bool HasRow(Oid oid) const override {
    // Kept while values are updated: which rows there are changes by insertion and deletion alone.
    if (!oids_) oids_ = CollectOids({});
    return std::binary_search(oids_->begin(), oids_->end(), oid);
  }

  void AddField(const Field& field) override {
    BeginEdit(OLCCreateField);
    if (Fields().FindField(field.name) >= 0)
      throw RuntimeError::Platform("The field " + field.name + " is there already.");
    const QuietGdal quiet;
    const RowsLetGo letGo(*this);
    if (edit_->layer->CreateField(ToOgrField(field).get()) != OGRERR_NONE)
      RaiseGdal("The field " + field.name + " cannot be added.");
    ColumnsChanged();
  }
  void DeleteField(int field) override {
    if (Fields()[field].required || field < FirstColumn())
      throw RuntimeError::Platform("The field " + Fields()[field].name + " cannot be deleted.");
    BeginEdit(OLCDeleteField);
    const QuietGdal quiet;
    const RowsLetGo letGo(*this);
    if (edit_->layer->DeleteField(FileColumn(field)) != OGRERR_NONE)
      RaiseGdal("The field " + Fields()[field].name + " cannot be deleted.");
    ColumnsChanged();
  }

  bool HasPendingEdits() const override { return edit_ != nullptr; }
  void Commit() override {
    if (!edit_) return;
    const QuietGdal quiet;
    DetachCursors();
    const bool committed = !transaction_ || edit_->dataset->CommitTransaction() == OGRERR_NONE;
    if (committed && !quiet.Failures().empty()) CPLErrorReset();
    EndEdit();  // formats without transactions write now
    oids_.reset();
    ++version_;
    SchemaChanged();
    ShapesChanged();
    if (!committed) RaiseGdal("The edits of " + Path() + " cannot be written.");
    quiet.RaiseIfFailed();
  }

  CursorPtr Insert() override;
  Oid Append(IRow& row) {
    const QuietGdal quiet;
    const OGRFeatureUniquePtr feature(OGRFeature::CreateFeature(edit_->layer->GetLayerDefn()));
    const std::vector<Value>& values = ValuesOf(row, FirstColumn(), values_);
    for (std::size_t i = 0; i < values.size(); ++i)
      if (!values[i].IsEmpty()) WriteValue(*feature, static_cast<int>(i), values[i]);
    if (HasShape())
      feature->SetGeometryDirectly(ToOgr(row.Shape(), edit_->layer->GetGeomType()).release());
    if (edit_->layer->CreateFeature(feature.get()) != OGRERR_NONE)
      RaiseGdal("The row cannot be inserted.");
    oids_.reset();
    ShapesChanged();
    return feature->GetFID();
  }

  void Delete() override {
    CheckStop();
    CheckThere();
    if (!edit_ && facts_.layerCount > 1) BeginEdit(ODsCDeleteLayer);
    const QuietGdal quiet;
    DetachCursors();
    DropReaders();
    if (facts_.layerCount > 1) {
      GDALDataset& dataset = *edit_->dataset;
      for (int i = 0; i < dataset.GetLayerCount(); ++i)
        if (dataset.GetLayer(i) == edit_->layer && dataset.DeleteLayer(i) == OGRERR_NONE) break;
      if (transaction_) dataset.CommitTransaction();
      EndEdit();
    } else {
      EndEdit();
      GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(facts_.driver.c_str());
      if (driver == nullptr || driver->Delete(file_.c_str()) != CE_None)
        RaiseGdal("The dataset " + file_ + " cannot be deleted.");
    }
    quiet.RaiseIfFailed();
    SetGone();
  }

 protected:
  bool HasFiles() const override {
    std::error_code unknown;
    return !isOnDisk_ || std::filesystem::exists(file_, unknown);
  }
  std::uint64_t FileVersion() const override { return version_; }
  ReaderPtr OpenReader() const override {
    const QuietGdal quiet;
    ReaderPtr reader = Open(file_, layer_, GDAL_OF_READONLY);
    if (!reader || !reader->layer) RaiseGdal("The dataset " + Path() + " cannot be opened.");
    return reader;
  }
  ReaderPtr Lease() const override { return edit_ ? edit_ : VectorSource::Lease(); }
  bool SharesReader() const override { return edit_ != nullptr; }
  bool ReadsRanges() const override { return statements_ != nullptr; }
  bool WalksInOrder() override {
    // Sources that number their rows themselves do so in order; in others an id may stand anywhere.
    static constexpr std::array<std::string_view, 3> kOrdered{"GPKG", "CSV", "FlatGeobuf"};
    if (std::ranges::find(kOrdered, facts_.driver) != kOrdered.end()) return true;
    if (!ordered_) {
      const QuietGdal quiet;
      ReaderPtr reader = Lease();
      OGRLayer& layer = *reader->layer;
      layer.SetAttributeFilter(nullptr);
      IgnoreAll(layer);
      layer.ResetReading();
      bool ascending = true;
      Oid last = -1;
      while (const OGRFeatureUniquePtr feature{layer.GetNextFeature()}) {
        ascending = ascending && feature->GetFID() > last;
        last = feature->GetFID();
      }
      layer.SetIgnoredFields(nullptr);
      GiveBack(std::move(reader));
      quiet.RaiseIfFailed();
      ordered_ = ascending;
    }
    return *ordered_;
  }
  orlinths::Dialect Dialect() const override {
    static constexpr std::array<std::string_view, 5> kDatabases{"GPKG", "SQLite", "PostgreSQL",
                                                                "MySQL", "MSSQLSpatial"};
    return std::ranges::find(kDatabases, facts_.driver) != kDatabases.end()
               ? orlinths::Dialect::kSql
               : orlinths::Dialect::kOgr;
  }
  std::string FidColumn() const override { return facts_.fidColumn; }

  void BeginUpdate() override { BeginEdit(OLCRandomWrite); }
  void StoreRow(SourceRow& row) override {
    const QuietGdal quiet;
    OGRFeature& feature = static_cast<OgrFeatureRow&>(row).Feature();
    changedColumns_.clear();
    for (const SourceRow::Change& change : row.Changes()) {
      const int column = FileColumn(change.field);
      WriteValue(feature, column, change.isDouble ? Value(change.number) : change.value);
      changedColumns_.push_back(column);
    }
    const orlinths::Geometry* shape = row.ChangedShape();
    // The first row of a run goes through OGR, which knows then that its table has changed.
    if (!statements_) {
      WriteWhole(feature, shape);
    } else if (!tableIsMarked_ || shape != nullptr ||
               !statements_->Write(feature, changedColumns_)) {
      WriteWhole(*WholeRow(feature), shape);
    }
    tableIsMarked_ = true;
    if (shape != nullptr) ShapesChanged();
    Changed();
  }
  void DeleteRow(Oid oid) override {
    const QuietGdal quiet;
    if (!edit_->layer->TestCapability(OLCDeleteFeature))
      throw RuntimeError(ErrorNumber::kPermissionDenied);
    if (edit_->layer->DeleteFeature(oid) != OGRERR_NONE) RaiseGdal("The row cannot be deleted.");
    if (oids_) std::erase(*oids_, oid);
    ShapesChanged();
  }

 private:
  friend class OgrInsertCursor;

  /// From the first edit on everything goes through one dataset open for update, and other readers
  /// of ours are closed: a database would not let its writer finish while they read.
  void BeginEdit(const char* capability) {
    CheckStop();
    CheckThere();
    const QuietGdal quiet;
    const auto can = [&](Reader& reader) {
      return reader.layer->TestCapability(capability) || reader.dataset->TestCapability(capability);
    };
    if (edit_) {
      if (!can(*edit_)) throw RuntimeError(ErrorNumber::kPermissionDenied);
      return;
    }
    // A database opens read only where it may not write, and would complain at the first edit.
    if (files::FileExists(file_) && !files::IsWritable(file_))
      throw RuntimeError(ErrorNumber::kPermissionDenied);
    ReaderPtr edit = Open(file_, layer_, GDAL_OF_UPDATE);
    if (!edit || !edit->layer || !can(*edit)) throw RuntimeError(ErrorNumber::kPermissionDenied);
    DetachCursors();
    DropReaders();
    transaction_ = edit->dataset->TestCapability(ODsCTransactions) != 0;
    if (transaction_ && edit->dataset->StartTransaction(FALSE) != OGRERR_NONE)
      RaiseGdal("The dataset " + Path() + " cannot be edited.");
    edit->shared = true;
    edit->version = ++version_;
    edit_ = std::move(edit);
    statements_ = RowStatements::For(*edit_->dataset, *edit_->layer);
    oids_.reset();
  }

  /// A row may have been read in part: what was not read is fetched, so that it stays what it is.
  OGRFeatureUniquePtr WholeRow(const OGRFeature& changed) {
    OGRFeatureUniquePtr whole(edit_->layer->GetFeature(changed.GetFID()));
    if (!whole) RaiseGdal("The row cannot be updated.");
    for (const int column : changedColumns_)
      whole->SetField(column, changed.GetRawFieldRef(column));
    return whole;
  }
  void WriteWhole(OGRFeature& feature, const orlinths::Geometry* shape) {
    if (shape != nullptr)
      feature.SetGeometryDirectly(ToOgr(*shape, edit_->layer->GetGeomType()).release());
    if (edit_->layer->SetFeature(&feature) != OGRERR_NONE) RaiseGdal("The row cannot be updated.");
  }
  /// A feature of OGR's must not see the columns change that it was made with: while this stands no
  /// cursor holds one, and afterwards each has its row again.
  class RowsLetGo {
   public:
    explicit RowsLetGo(const OgrSource& source) : source_(source) { source_.LetGoOfRows(); }
    ~RowsLetGo() { source_.TakeRowsAgain(); }
    RowsLetGo(const RowsLetGo&) = delete;
    RowsLetGo& operator=(const RowsLetGo&) = delete;

   private:
    const OgrSource& source_;
  };

  void ColumnsChanged() {
    if (statements_) statements_->Forget();
    ReadFields(*edit_->layer);
    SchemaChanged();
  }
  void EndEdit() {
    statements_.reset();
    edit_.reset();
    tableIsMarked_ = false;
  }

  void ReadFields(OGRLayer& layer) {
    Field oid;
    oid.name = facts_.hasShape ? "FID" : "OID";
    oid.type = FieldType::kOid;
    oid.required = true;
    oid.editable = oid.isNullable = false;
    fields_ = orlinths::Fields{oid};
    if (facts_.hasShape) {
      Field shape;
      shape.name = "Shape";
      shape.type = FieldType::kGeometry;
      shape.required = true;
      shape.geometry = facts_.geometry;
      fields_.AddField(shape);
    }
    for (int i = 0; i < layer.GetLayerDefn()->GetFieldCount(); ++i)
      fields_.AddField(ToField(*layer.GetLayerDefn()->GetFieldDefn(i)));
  }

  std::string file_, layer_;
  bool isOnDisk_ = false;  ///< a file or folder, not a connection to a server
  LayerFacts facts_;
  orlinths::Fields fields_;
  ReaderPtr edit_;
  std::unique_ptr<RowStatements> statements_;
  std::vector<int> changedColumns_;
  bool transaction_ = false;
  bool tableIsMarked_ = false;  ///< OGR has written a row of it in this transaction
  std::uint64_t version_ = 0;
  std::optional<bool> ordered_;
  std::vector<Value> values_;
  mutable std::optional<std::vector<Oid>> oids_;  ///< made at the first question
};

class OgrInsertCursor final : public ICursor {
 public:
  explicit OgrInsertCursor(OgrSource& source) : source_(source) {}
  IRow* Next() override { return nullptr; }
  Oid InsertRow(IRow& row) override {
    CheckStop();
    source_.CheckThere();
    source_.BeginEdit(
        OLCSequentialWrite);  // what was inserted before may have been committed meanwhile
    return source_.Append(row);
  }

 private:
  OgrSource& source_;
};

CursorPtr OgrSource::Insert() {
  BeginEdit(OLCSequentialWrite);
  return std::make_unique<OgrInsertCursor>(*this);
}

}  // namespace

SourcePtr OpenOgrSource(const std::string& path, const std::string& layer) {
  CheckStop();
  const std::string key = CanonicalPath(path) + "|" + layer;
  if (SourcePtr open = VectorSource::Find(key)) return open;
  EnsureGdal();
  TakeBackHalfDone(path);
  const QuietGdal quiet;
  ReaderPtr reader = Open(path, layer, GDAL_OF_READONLY);
  if (!reader) RaiseGdal("The dataset " + path + " cannot be opened.");
  if (!reader->layer)
    throw RuntimeError::Platform(layer.empty()
                                     ? "The dataset " + path + " holds no table."
                                     : "The dataset " + path + " has no layer " + layer + ".");
  LayerFacts facts = FactsOf(*reader);
  quiet.RaiseIfFailed();
  auto source = std::make_shared<OgrSource>(files::FileExists(path) ? FullPath(path) : path, layer,
                                            std::move(facts), std::move(reader));
  VectorSource::Register(key, source);
  return source;
}

}  // namespace orlinths
