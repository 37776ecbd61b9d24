#include "data/Workspace.h"

#include <unistd.h>

#include <optional>
#include <utility>

#include "data/TableOver.h"
#include "gdal/ShapefileStore.h"
#include "gdal/ShapelessSource.h"
#include "gdal/VectorSource.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

using FeatureClass = FeatureClassOver<VectorSource>;
using PlainTable = TableOver<VectorSource, ITable>;
using TableOfShapefile = TableOver<ShapelessSource, ITable>;

FeatureClassPtr AsFeatureClass(SourcePtr source) {
  if (!source->HasShape())
    throw RuntimeError::Platform("The dataset " + source->Path() + " holds no geometry.");
  return std::make_shared<FeatureClass>(std::move(source));
}

TablePtr AsTable(SourcePtr source) {
  if (source->HasShape()) return AsFeatureClass(std::move(source));
  return std::make_shared<PlainTable>(std::move(source));
}

/// Of a shapefile's table and its shapes there is one source, whichever of them is opened.
TablePtr OpenDbf(const std::string& path) {
  if (SourcePtr whole = OpenShapefileOfTable(path))
    return std::make_shared<TableOfShapefile>(
        std::make_shared<ShapelessSource>(std::move(whole), path));
  return AsTable(OpenShapefileSource(path));
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
  if (EndsIn(path, ".dbf") && files::FileExists(path)) return OpenDbf(path);
  if (EndsIn(path, ".shp")) return OpenFeatureClassByPath(path);
  const std::string marker = "|layername=";
  const std::size_t at = path.find(marker);
  if (at == std::string::npos) return AsTable(OpenOgrSource(path, {}));
  return AsTable(OpenOgrSource(path.substr(0, at), path.substr(at + marker.size())));
}

std::string DatasetOf(const std::string& path) {
  if (!files::FileExists(path)) return path;
  if (EndsIn(path, ".dbf"))
    if (const std::optional<std::string> shapefile = ShapefileStore::ShapefileOf(path))
      return CanonicalPath(*shapefile);
  return CanonicalPath(path);
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
