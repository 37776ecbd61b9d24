#include "data/Workspace.h"

#include <unistd.h>

#include "data/RowBuffer.h"
#include "gdal/VectorSource.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

/// A table or feature class: hands everything to the source that it shares with others of its
/// dataset.
template <class Interface>
class TableOver : public Interface {
 public:
  explicit TableOver(SourcePtr source) : source_(std::move(source)) {}

  std::string Name() const override { return source_->Name(); }
  std::string PathName() const override { return source_->Folder(); }
  std::string Path() const override { return source_->Path(); }
  bool Exists() const override { return source_->Exists(); }
  const orlinths::Fields& Fields() const override { return There().Fields(); }
  void AddField(const Field& field) override { There().AddField(field); }
  void DeleteField(int field) override { There().DeleteField(field); }
  std::int64_t RowCount(const QueryFilter& filter) const override { return There().Count(filter); }
  CursorPtr Search(const QueryFilter& filter) const override { return There().Search(filter); }
  CursorPtr SearchOids(const std::vector<Oid>& oids, const QueryFilter& what) const override {
    return There().SearchOids(oids, what);
  }
  CursorPtr Update(const QueryFilter& filter) override { return There().Update(filter); }
  CursorPtr Insert() override { return There().Insert(); }
  std::unique_ptr<IRow> CreateRowBuffer() override {
    There();
    return std::make_unique<RowBuffer>(
        [source = source_]() -> const orlinths::Fields& { return source->Fields(); },
        source_->HasShape());
  }
  ISelectionSet Select(const QueryFilter& filter) const override {
    return ISelectionSet(There().Select(filter));
  }
  bool HasRow(Oid oid) const override { return There().HasRow(oid); }
  std::uint64_t ChangeCount() const override { return source_->ChangeCount(); }
  void Delete() override { There().Delete(); }
  bool CanRename() const override { return There().CanRename(); }
  void Rename(const std::string& name) override { There().Rename(name); }

 protected:
  VectorSource& There() const {
    source_->CheckThere();
    return *source_;
  }

 private:
  SourcePtr source_;
};

class FeatureClass final : public TableOver<IFeatureClass> {
 public:
  using TableOver::TableOver;
  GeometryType ShapeType() const override { return There().Geometry().geometryType; }
  bool HasZ() const override { return There().Geometry().hasZ; }
  bool HasM() const override { return There().Geometry().hasM; }
  SpatialReferencePtr SpatialReference() const override {
    return There().Geometry().spatialReference;
  }
  Envelope Extent() const override { return There().Extent(); }
  void FeaturesAt(double x, double y, std::vector<Oid>& oids) const override {
    There().Index().At(x, y, oids);
  }
};

using PlainTable = TableOver<ITable>;

FeatureClassPtr AsFeatureClass(SourcePtr source) {
  if (!source->HasShape())
    throw RuntimeError::Platform("The dataset " + source->Path() + " holds no geometry.");
  return std::make_shared<FeatureClass>(std::move(source));
}

TablePtr AsTable(SourcePtr source) {
  if (source->HasShape()) return AsFeatureClass(std::move(source));
  return std::make_shared<PlainTable>(std::move(source));
}

bool EndsIn(const std::string& path, std::string_view extension) {
  return path.size() > extension.size() &&
         EqualNoCase(std::string_view(path).substr(path.size() - extension.size()), extension);
}

/// Where a new dataset goes. Nothing is ever written without a folder and a name.
std::string NewPath(const std::string& folder, const std::string& name) {
  if (folder.empty() || name.empty())
    throw RuntimeError::Platform("A dataset cannot be created without a folder and a name.");
  return JoinPath(folder, name);
}

/// Without the object id and the geometry, which every table brings along.
Fields AttributeFields(const Fields& fields) {
  Fields attributes;
  for (const Field& field : fields)
    if (field.type != FieldType::kOid && field.type != FieldType::kGeometry)
      attributes.AddField(field);
  return attributes;
}

}  // namespace

bool IsWorkspace(const std::string& folder) {
  return files::FolderExists(folder) && ::access(folder.c_str(), R_OK | X_OK) == 0;
}

FeatureClassPtr OpenFeatureClass(const std::string& folder, const std::string& name) {
  if (folder.empty() || name.empty())
    throw RuntimeError::Platform("A dataset has a folder and a name.");
  std::string path = JoinPath(folder, name + ".shp");
  if (!files::FileExists(path)) {
    // The extension may be written otherwise.
    for (const std::string& file : files::NamesIn(folder))
      if (EndsIn(file, ".shp") && file.substr(0, file.size() - 4) == name)
        path = JoinPath(folder, file);
  }
  return AsFeatureClass(OpenShapefileSource(path));
}

FeatureClassPtr OpenFeatureClassByPath(const std::string& path) {
  if (EndsIn(path, ".shp") && files::FileExists(path))
    return AsFeatureClass(OpenShapefileSource(path));
  const std::string marker = "|layername=";
  const std::size_t at = path.find(marker);
  if (at == std::string::npos) return AsFeatureClass(OpenOgrSource(path, {}));
  return AsFeatureClass(OpenOgrSource(path.substr(0, at), path.substr(at + marker.size())));
}

TablePtr OpenTableByPath(const std::string& path) {
  if (EndsIn(path, ".dbf") && files::FileExists(path)) return AsTable(OpenShapefileSource(path));
  if (EndsIn(path, ".shp")) return OpenFeatureClassByPath(path);
  const std::string marker = "|layername=";
  const std::size_t at = path.find(marker);
  if (at == std::string::npos) return AsTable(OpenOgrSource(path, {}));
  return AsTable(OpenOgrSource(path.substr(0, at), path.substr(at + marker.size())));
}

FeatureClassPtr CreateFeatureClass(const std::string& folder, const std::string& name,
                                   const Fields& fields) {
  const std::string path = NewPath(folder, name) + ".shp";
  GeometryDef geometry;
  for (const Field& field : fields)
    if (field.type == FieldType::kGeometry) geometry = field.geometry;
  return AsFeatureClass(CreateShapefileSource(path, geometry, AttributeFields(fields)));
}

TablePtr CreateTable(const std::string& folder, const std::string& name, const Fields& fields) {
  std::string path = NewPath(folder, name);
  if (!EndsIn(path, ".dbf")) path += ".dbf";
  return AsTable(CreateDbfSource(path, AttributeFields(fields)));
}

}  // namespace orlinths
