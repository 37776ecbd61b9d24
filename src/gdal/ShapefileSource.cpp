// Shapefiles and dBASE tables: rows are read from their bytes, the store keeps pending edits and
// writes. OGR evaluates expressions, and reads what is not plain.
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <optional>

#include "gdal/Library.h"
#include "gdal/ShapefileStore.h"
#include "gdal/ShapefileCursor.h"
#include "gdal/VectorSource.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

SpatialReferencePtr ReadPrj(const std::string& shpPath) {
  SpatialReferencePtr reference = UnknownCoordinateSystem();
  const std::string base = shpPath.substr(0, shpPath.size() - 4);
  for (const char* extension : {".prj", ".PRJ"}) {
    if (!files::FileExists(base + extension)) continue;
    // A reference that nobody understands is an unknown one.
    Quietly([&] {
      TextReader reader(base + extension);
      std::string text;
      while (!reader.AtEndOfStream()) text += reader.ReadLine() + "\n";
      reference = SpatialReferenceFromText(text);
    });
    break;
  }
  return reference;
}

/// The table of damaged shapes for OGR, which would open those when it is asked for the table where
/// it lies.
class LinkToTable {
 public:
  explicit LinkToTable(const std::string& table) {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "orlinths-table-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) files::RaiseErrno(errno, pattern);
    folder_ = pattern;
    path_ = JoinPath(folder_, "table.dbf");
    std::error_code failure;
    std::filesystem::create_symlink(table, path_, failure);
    if (failure) {
      ::rmdir(folder_.c_str());
      files::RaiseErrno(failure.value(), path_);
    }
  }
  ~LinkToTable() {
    ::unlink(path_.c_str());
    ::rmdir(folder_.c_str());
  }
  LinkToTable(const LinkToTable&) = delete;
  LinkToTable& operator=(const LinkToTable&) = delete;
  const std::string& Path() const { return path_; }

 private:
  std::string folder_, path_;
};

class ShapefileSource final : public VectorSource {
 public:
  ShapefileSource(const std::string& path, std::shared_ptr<ShapefileStore> store,
                  SpatialReferencePtr reference)
      : VectorSource(FullPath(path), StemOf(path)),
        store_(std::move(store)),
        reference_(std::move(reference)) {
    SetHasShape(store_->HasShape());
  }
  ~ShapefileSource() override {
    // The last table of the dataset goes: what was edited stays edited.
    if (!IsGone() && store_->HasPendingEdits()) Quietly([&] { store_->Commit(); });
  }

  bool Holds(const ShapefileStore& store) const { return store_.get() == &store; }

  const orlinths::Fields& Fields() const override { return store_->Fields(); }
  GeometryDef Geometry() const override {
    GeometryDef def = store_->Geometry();
    def.spatialReference = reference_;
    return def;
  }

  std::int64_t RowCount() const override {
    if (countedAt_ != ChangeCount()) {
      count_ = store_->RecordCount();
      for (Oid oid = 0, end = count_; oid < end; ++oid)
        if (store_->IsDeleted(oid)) --count_;
      countedAt_ = ChangeCount();
    }
    return count_;
  }
  bool HasRow(Oid oid) const override {
    return oid >= 0 && oid < store_->RecordCount() && !store_->IsDeleted(oid);
  }

  void AddField(const Field& field) override {
    CheckStop();
    CheckThere();
    store_->CheckWritable();
    store_->AddField(field);
    SchemaChanged();
  }
  void DeleteField(int field) override {
    CheckStop();
    CheckThere();
    store_->CheckWritable();
    store_->DeleteField(field);
    SchemaChanged();
  }

  bool HasPendingEdits() const override { return store_->HasPendingEdits(); }
  void Commit() override {
    if (!store_->HasPendingEdits()) return;
    // The files change in any case: on failure the edits are gone, and whoever reads must see that.
    const AtScopeEnd changed([this] {
      removed_.clear();
      SchemaChanged();
      ShapesChanged();
    });
    std::sort(removed_.begin(), removed_.end());
    store_->Commit();
    DetachCursors(removed_);
    DropReaders();
  }

  CursorPtr Insert() override { return InsertRows(HasShape()); }
  CursorPtr InsertWithoutShapes() override { return InsertRows(false); }
  Oid Append(IRow& row, bool withShape) {
    const orlinths::Geometry* shape = withShape ? &row.Shape() : nullptr;
    const Oid oid = store_->Append(shape, ValuesOf(row, withShape ? 2 : 1, values_));
    ShapesChanged();
    return oid;
  }
  void FlushAppended() {
    store_->FlushAppended();
    ShapesChanged();
  }
  void FinishAppending() {
    const AtScopeEnd changed([this] { ShapesChanged(); });
    store_->FinishAppending();
  }

  void Delete() override {
    CheckStop();
    CheckThere();
    DetachCursors();
    DropReaders();
    store_->Delete();
    SetGone();
  }
  bool CanRename() const override { return true; }
  void Rename(const std::string& name) override {
    CheckStop();
    CheckThere();
    Commit();
    DetachCursors();
    DropReaders();
    const std::string before = CanonicalPath(Path());
    store_->Rename(name);
    Forget(before);
    SetPath(store_->Path(), StemOf(store_->Path()));
    Register(CanonicalPath(Path()), shared_from_this());
  }

 protected:
  bool HasFiles() const override { return files::FileExists(Path()); }
  std::uint64_t FileVersion() const override { return store_->FileVersion(); }
  ReaderPtr OpenReader() const override {
    EnsureGdal();
    const QuietGdal quiet;
    const char* const drivers[] = {"ESRI Shapefile", nullptr};
    CPLStringList options;
    options.SetNameValue("ENCODING", store_->Encoding().c_str());
    std::optional<LinkToTable> alone;
    if (!HasShape() && ShapefileStore::ShapefileOf(Path())) alone.emplace(Path());
    auto reader = std::make_shared<Reader>();
    reader->dataset.reset(GDALDataset::Open(
        (alone ? alone->Path() : Path()).c_str(),
        GDAL_OF_VECTOR | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR, drivers, options.List()));
    if (!reader->dataset || reader->dataset->GetLayerCount() == 0)
      RaiseGdal("The file " + Path() + " cannot be opened.");
    reader->layer = reader->dataset->GetLayer(0);
    // OGR opens shapes whose table it cannot read, and numbers the rows in its place.
    const std::optional<int> columns = store_->FileColumnCount();
    if (columns && reader->layer->GetLayerDefn()->GetFieldCount() != *columns)
      RaiseGdal("The table of " + Path() + " cannot be read.");
    return reader;
  }
  int FileColumn(int field) const override { return store_->FileColumn(field); }
  bool KnowsNull() const override { return false; }
  bool IsDeleted(Oid oid) const override { return store_->IsDeleted(oid); }
  bool PendingValue(Oid oid, int field, Value& value) const override {
    return store_->HasPendingEdits() && store_->PendingValue(oid, field, value);
  }
  const orlinths::Geometry* PendingShape(Oid oid) const override {
    return store_->HasPendingEdits() ? store_->PendingShape(oid) : nullptr;
  }
  bool WalksInOrder() override { return true; }
  bool StoresRingsFlat() const override {
    return store_->Geometry().geometryType == GeometryType::kPolygon;
  }
  void BeginFilter() override { Commit(); }
  CursorPtr Walk(const QueryFilter& filter, bool writable) override {
    if (!store_->CanReadRows()) return VectorSource::Walk(filter, writable);
    std::optional<std::vector<Oid>> oids;
    if (!filter.where.empty()) oids = CollectOids(filter.where);
    return std::make_unique<ShapefileCursor>(*this, *store_, std::move(oids), filter, writable);
  }
  CursorPtr WalkAlong(std::vector<Oid> oids, const QueryFilter& what, bool writable) override {
    if (!store_->CanReadRows()) return VectorSource::WalkAlong(std::move(oids), what, writable);
    return std::make_unique<ShapefileCursor>(*this, *store_, std::move(oids), what, writable);
  }

  void BeginUpdate() override { store_->CheckWritable(); }
  void StoreRow(SourceRow& row) override {
    const Oid oid = row.OID();
    for (const SourceRow::Change& change : row.Changes()) {
      if (change.isDouble) {
        store_->SetDouble(oid, change.field, change.number);
      } else {
        store_->SetValue(oid, change.field, change.value);
      }
    }
    if (const orlinths::Geometry* shape = row.ChangedShape()) {
      store_->SetShape(oid, *shape);
      ShapesChanged();
    }
    Changed();
  }
  void DeleteRow(Oid oid) override {
    store_->DeleteRow(oid);
    removed_.push_back(oid);
    ShapesChanged();
  }
  void EndUpdate() override { Commit(); }

 private:
  CursorPtr InsertRows(bool withShapes);

  std::shared_ptr<ShapefileStore> store_;
  SpatialReferencePtr reference_;
  std::vector<Oid> removed_;  // since the last commit
  std::vector<Value> values_;
  mutable std::int64_t count_ = 0;
  mutable std::uint64_t countedAt_ = ~std::uint64_t{0};
};

class InsertCursor final : public ICursor {
 public:
  InsertCursor(ShapefileSource& source, bool withShapes)
      : source_(source), withShapes_(withShapes) {}
  ~InsertCursor() override {
    // The class may live on, as a layer of the map: what is done with it is left to others.
    Quietly([&] { source_.FinishAppending(); });
  }
  IRow* Next() override { return nullptr; }
  Oid InsertRow(IRow& row) override {
    CheckStop();
    source_.CheckThere();
    return source_.Append(row, withShapes_);
  }
  void Flush() override { source_.FlushAppended(); }

 private:
  ShapefileSource& source_;
  bool withShapes_;
};

CursorPtr ShapefileSource::InsertRows(bool withShapes) {
  CheckStop();
  CheckThere();
  store_->CheckWritable();
  Commit();  // rows are appended to the table as it will be
  return std::make_unique<InsertCursor>(*this, withShapes);
}

SourcePtr Registered(const std::string& path, std::shared_ptr<ShapefileStore> store,
                     SpatialReferencePtr reference) {
  auto source = std::make_shared<ShapefileSource>(path, std::move(store), std::move(reference));
  VectorSource::Register(CanonicalPath(path), source);
  return source;
}

}  // namespace

SourcePtr OpenShapefileSource(const std::string& path) {
  CheckStop();
  std::shared_ptr<ShapefileStore> store = ShapefileStore::At(path);
  const auto open =
      std::dynamic_pointer_cast<ShapefileSource>(VectorSource::Find(CanonicalPath(path)));
  if (open && open->Holds(*store)) return open;
  SpatialReferencePtr reference = store->HasShape() ? ReadPrj(path) : UnknownCoordinateSystem();
  SourcePtr source = Registered(path, std::move(store), std::move(reference));
  source->CheckOpens();
  return source;
}

SourcePtr OpenShapefileOfTable(const std::string& dbf) {
  CheckStop();
  const std::optional<std::string> path = ShapefileStore::ShapefileOf(dbf);
  if (!path) return nullptr;
  SourcePtr source;
  const bool isWhole = Quietly([&] {
    source = OpenShapefileSource(*path);
    ShapefileStore::At(*path)->CheckUndamaged();
  });
  return isWhole ? source : nullptr;
}

SourcePtr CreateShapefileSource(const std::string& path, const GeometryDef& geometry,
                                const Fields& fields) {
  CheckStop();
  auto store = ShapefileStore::CreateShapefile(path, geometry, fields);
  // Its table may be open on its own, from before.
  VectorSource::End(CanonicalPath(JoinPath(FolderOf(path), StemOf(path) + ".dbf")));
  return Registered(
      path, std::move(store),
      geometry.spatialReference ? geometry.spatialReference : UnknownCoordinateSystem());
}

SourcePtr CreateDbfSource(const std::string& path, const Fields& fields) {
  CheckStop();
  return Registered(path, ShapefileStore::CreateDbf(path, fields), UnknownCoordinateSystem());
}

}  // namespace orlinths
