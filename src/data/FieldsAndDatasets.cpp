#include "data/FieldsAndDatasets.h"

#include <algorithm>
#include <filesystem>

#include "data/Raster.h"
#include "data/Workspace.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

/// Refuses what the file's own protection forbids, which on some systems does not keep a file from
/// being deleted; and the table of a shapefile, whose shapes would be left without it.
void DeleteWithoutForce(const std::string& path) {
  if (const std::string dataset = DatasetOf(path);
      LowerCase(dataset).ends_with(".shp") && !LowerCase(path).ends_with(".shp"))
    throw RuntimeError::Platform(path + " is the table of the shapefile " + NameOf(dataset) +
                                 " and cannot be deleted without it.");
  if (!files::IsWritable(path)) throw RuntimeError(ErrorNumber::kPermissionDenied);
  files::DeleteFile(path);
}

/// The files that every triangulated surface consists of: the nodes, their places and heights.
bool IsTin(const std::string& folder) {
  const std::vector<std::string> names = files::NamesIn(folder);
  return std::ranges::all_of(std::initializer_list<const char*>{"tnod.adf", "tnxy.adf", "tnz.adf"},
                             [&](const char* needed) {
                               return std::ranges::any_of(names, [&](const std::string& name) {
                                 return EqualNoCase(name, needed);
                               });
                             });
}

class TinFolder : public ITin {
 public:
  explicit TinFolder(std::string path) : path_(std::move(path)) {}
  void Delete() override {
    for (const std::string& file : files::NamesIn(path_)) files::DeleteFile(JoinPath(path_, file));
    std::error_code failure;
    std::filesystem::remove(path_, failure);
    if (failure) files::RaiseErrno(failure.value(), path_);
  }

 private:
  std::string path_;
};

}  // namespace

std::optional<std::vector<Value>> GetUniqueValues(ICursor& cursor, int field) {
  std::optional<std::vector<Value>> values;
  Trap("GetUniqueValues: ", "A", [&] {
    // What `FindField` says of a name that is not there; without rows no cursor would notice.
    if (field < 0) throw RuntimeError(ErrorNumber::kSubscript);
    values = UniqueValues(cursor, field);
  });
  return values;
}

FeatureClassPtr CreateShapefile(const std::string& folder, const std::string& name,
                                GeometryType type, bool hasM, bool hasZ,
                                SpatialReferencePtr& reference, bool overwrite) {
  if (!folder.empty() && !name.empty() && files::FileExists(JoinPath(folder, name + ".shp"))) {
    if (!overwrite) {
      MessageBox("ERROR: file already exists. Cannot create output file.", kCritical, "File Error");
      return nullptr;
    }
    DeleteAllOfBaseName(folder, name);
  }
  if (!reference) reference = UnknownCoordinateSystem();
  return CreateFeatureClass(folder, name, MakeShapeFields(type, hasM, hasZ, reference));
}

TablePtr createDBF(const std::string& name, const std::string& folder, bool overwrite,
                   std::optional<Fields>& fields) {
  TablePtr table;
  Trap("createDBF", [&] {
    if (!files::FolderExists(folder)) {
      MessageBox("Error: folder does not exist: " + folder + ". Cannot create DBF.", kCritical,
                 "Error");
      return;
    }
    const std::string path = JoinPath(folder, name);
    if (files::FileExists(path)) {
      if (!overwrite) {
        MessageBox("Error: DBF file already exists. Please select a different name and try again.",
                   kCritical, "Error");
        return;
      }
      DeleteWithoutForce(path);
      if (files::FileExists(path)) {
        MessageBox(
            "Error: could not delete DBF file. The file may be in use by another application.\r"
            "Please select a different name and try again.",
            kCritical, "Error");
        return;
      }
    }
    if (!fields) fields = Fields{MakeField("ID", FieldType::kInteger, 8, false, true)};
    table = CreateTable(folder, name, *fields);
  });
  return table;
}

void DeleteAllOfBaseName(const std::string& folder, const std::string& name) {
  for (const std::string& file : files::NamesIn(folder))
    if (file.starts_with(name + ".") && files::FileExists(JoinPath(folder, file)))
      files::DeleteFile(JoinPath(folder, file));
}

FeatureClassPtr OpenShapefile(const std::string& folder, const std::string& name) {
  FeatureClassPtr opened;
  Quietly([&] {
    if (IsWorkspace(folder)) opened = OpenFeatureClass(folder, name);
  });
  return opened;
}

std::unique_ptr<ITin> OpenTin(const std::string& folder, const std::string& name) {
  if (name.empty() || !IsWorkspace(folder)) return nullptr;
  const std::string path = JoinPath(folder, name);
  if (!IsWorkspace(path) || !IsTin(path)) return nullptr;
  return std::make_unique<TinFolder>(path);
}

bool DeleteFile(const std::string& folder, const std::string& name) {
  bool deleted = false;
  std::string trace = "DeleteFile";
  TrapWithHead([&] { return trace; },
               [&] {
                 if (folder.empty() || name.empty()) return;
                 if (const FeatureClassPtr shapefile = OpenShapefile(folder, name)) {
                   trace += "\rDetected shapefile.";
                   shapefile->Delete();
                   deleted = true;
                   return;
                 }
                 RasterDatasetPtr raster;
                 Quietly([&] { raster = OpenRasterDataset(folder, name); });
                 if (raster) {
                   trace += "\rDetected raster.";
                   raster->Delete();
                   deleted = true;
                   return;
                 }
                 if (const std::unique_ptr<ITin> tin = OpenTin(folder, name)) {
                   trace += "\rDetected tin.";
                   tin->Delete();
                   deleted = true;
                   return;
                 }
                 const std::string path = JoinPath(folder, name);
                 if (!files::FileExists(path)) return;
                 trace += "\rDetected regular file.";
                 DeleteWithoutForce(path);
                 deleted = true;
               });
  return deleted;
}

bool DeleteRaster(const std::string& folder, const std::string& name) {
  return Quietly([&] { OpenRasterDataset(folder, name)->Delete(); });
}

std::string CleanFileName(const std::string& text) {
  std::string clean;
  for (const char c : text.substr(0, text.find('.'))) {
    const bool kept = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
                      c == '#' || c == '-' || c == '/' || c == '_';
    if (kept) clean += c;
  }
  return clean;
}

int GetJulianDay(const Value& date) {
  if (const Date* held = date.As<Date>()) return held->DayOfYear();
  const std::string* text = date.As<std::string>();
  const std::optional<Date> read = text ? Date::Parse(*text) : std::nullopt;
  return read ? read->DayOfYear() : -1;
}

}  // namespace orlinths
