// Opening, making, deleting and renaming whole datasets.
#include "gdal/ShapefileStore.h"

#include <stdlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>
#include <mutex>
#include <utility>

#include "gdal/EsriWkt.h"
#include "gdal/ShapefileStoreImpl.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

/// The stores that are open, by path.
class Registry {
 public:
  static Registry& Get() {
    static Registry registry;
    return registry;
  }
  std::shared_ptr<ShapefileStoreImpl> Find(const std::string& path) {
    const std::scoped_lock guard(mutex_);
    const auto found = stores_.find(path);
    return found == stores_.end() ? nullptr : found->second.lock();
  }
  void Put(const std::string& path, const std::shared_ptr<ShapefileStoreImpl>& store) {
    const std::scoped_lock guard(mutex_);
    std::erase_if(stores_, [](const auto& entry) { return entry.second.expired(); });
    stores_[path] = store;
  }
  void Remove(const std::string& path) {
    const std::scoped_lock guard(mutex_);
    stores_.erase(path);
  }

 private:
  std::mutex mutex_;
  std::map<std::string, std::weak_ptr<ShapefileStoreImpl>> stores_;
};

/// The path without links, dots and doubled separators; the file must be there.
std::string CanonicalPath(const std::string& path) {
  const std::unique_ptr<char, decltype(&::free)> real(::realpath(path.c_str(), nullptr), ::free);
  if (!real) files::RaiseErrno(errno, path);
  return real.get();
}

bool IsUpper(const std::string& text) { return LowerCase(text) != text; }

std::string WithoutExtension(const std::string& path) {
  return JoinPath(FolderOf(path), StemOf(path));
}

/// The companion of that extension in the case that is there, else in the case of the dataset's
/// own; where a link leads, if it is one.
std::string Beside(const std::string& path, const std::string& lower, const std::string& upper) {
  const std::string base = WithoutExtension(path) + ".";
  const bool isUpper = IsUpper(path.substr(base.size()));
  const std::string first = base + (isUpper ? upper : lower),
                    second = base + (isUpper ? lower : upper);
  const std::string& there =
      !files::FileExists(first) && files::FileExists(second) ? second : first;
  return files::FileExists(there) ? CanonicalPath(there) : there;
}

DatasetFiles FilesOf(const std::string& path) {
  const std::string extension = LowerCase(NameOf(path).substr(StemOf(path).size()));
  if (extension == ".dbf") return {"", "", path};
  if (extension == ".shp") return {path, Beside(path, "shx", "SHX"), Beside(path, "dbf", "DBF")};
  throw RuntimeError::Platform(path + " is no shapefile and no dBASE table.");
}

void CheckNewName(const std::string& path, const std::string& extension) {
  const std::string name = NameOf(path);
  if (LowerCase(name).ends_with(extension) && name.size() > extension.size() &&
      !FolderOf(path).empty())
    return;
  throw RuntimeError::Platform("\"" + path + "\" is no name for a new " +
                               (extension == ".shp" ? "shapefile." : "dBASE table."));
}

void WriteWhole(const std::string& path, std::string_view bytes) {
  OutputFile out(path, OutputFile::Mode::kReplace, 4096);
  out.Write(bytes);
  out.Close();
}

DbfLayout LayoutFor(const Fields& fields, const std::string& file) {
  orlinths::Fields wanted = fields;
  if (wanted.FieldCount() == 0) {
    Field id;
    id.name = "Id";
    id.type = FieldType::kInteger;
    wanted.AddField(id);
  }
  DbfLayout layout;
  std::vector<std::string> taken;
  for (const Field& field : wanted) {
    const std::string name = LowerCase(field.name);
    if (std::find(taken.begin(), taken.end(), name) != taken.end())
      throw RuntimeError::Platform("There is a field " + field.name + " already.");
    taken.push_back(name);
    layout.columns.push_back(ColumnFor(field));
  }
  LayOut(layout, file);
  return layout;
}

/// Writes the files of a new dataset, all of them or none, and opens it.
std::shared_ptr<ShapefileStore> Create(const DatasetFiles& files, const GeometryDef* geometry,
                                       const Fields& fields) {
  const std::string path = geometry != nullptr ? files.shp : files.dbf;
  for (const std::string& file : files.Main())
    if (files::FileExists(file)) throw RuntimeError::Platform(file + " exists already.");
  const DbfLayout layout = LayoutFor(fields, files.dbf);
  const std::string base = files.Base();
  const bool hasReference = geometry != nullptr && geometry->spatialReference != nullptr &&
                            !geometry->spatialReference->IsUnknown();
  const std::string prj = hasReference ? EsriWkt(*geometry->spatialReference) : "";

  std::vector<std::string> made;
  const auto make = [&](const std::string& file, std::string_view bytes) {
    made.push_back(file);
    WriteWhole(file, bytes);
  };
  try {
    // What an earlier dataset of that name has left must not speak for this one.
    for (const char* extension : {".prj", ".cpg", ".qix", ".sbn", ".sbx", ".idm", ".ind"})
      if (files::FileExists(base + extension)) files::DeleteFile(base + extension);
    const std::string table = MakeDbfHeader(layout, Date{ClockNanoseconds() / 1'000'000}) + '\x1a';
    if (geometry != nullptr) {
      const std::string head = MakeShpHeader({ShpTypeFor(*geometry), kShpHeaderBytes, {}});
      make(files.shp, head);
      make(files.shx, head);
    }
    make(base + ".cpg", "UTF-8");
    if (!prj.empty()) make(base + ".prj", prj);
    make(files.dbf, table);
    const std::string canonical = CanonicalPath(path);
    auto store = std::make_shared<ShapefileStoreImpl>(canonical, FilesOf(canonical),
                                                      fields.FieldCount() == 0);
    Registry::Get().Put(canonical, store);
    return store;
  } catch (...) {
    for (const std::string& file : made)
      if (files::FileExists(file)) files::DeleteFile(file);
    throw;
  }
}

constexpr std::array kShapefileExtensions = {
    "shp", "shx", "dbf", "prj",     "cpg",     "qix",         "sbn", "sbx",
    "idm", "ind", "qpj", "fbn",     "fbx",     "ain",         "aih", "ixs",
    "mxs", "cst", "qmd", "shp.xml", "dbf.xml", "shp.aux.xml", "cdx", "mdx"};
constexpr std::array kTableExtensions = {"dbf", "cpg", "idm", "ind", "dbf.xml",
                                         "dbt", "fpt", "cdx", "mdx"};

template <std::size_t n>
bool IsOneOf(const std::array<const char*, n>& extensions, std::string_view extension) {
  return std::find(extensions.begin(), extensions.end(), extension) != extensions.end();
}

}  // namespace

std::shared_ptr<ShapefileStore> ShapefileStore::At(const std::string& path) {
  const std::string canonical = CanonicalPath(path);
  if (auto store = Registry::Get().Find(canonical)) {
    store->Refresh();
    return store;
  }
  const DatasetFiles files = FilesOf(canonical);
  Recover(files);
  auto store = std::make_shared<ShapefileStoreImpl>(canonical, files, false);
  Registry::Get().Put(canonical, store);
  return store;
}

std::shared_ptr<ShapefileStore> ShapefileStore::CreateShapefile(const std::string& path,
                                                                const GeometryDef& geometry,
                                                                const orlinths::Fields& fields) {
  CheckNewName(path, ".shp");
  if (ShpTypeFor(geometry) == 0)
    throw RuntimeError::Platform(path + ": a shapefile cannot hold shapes of this type.");
  return Create(FilesOf(path), &geometry, fields);
}

std::shared_ptr<ShapefileStore> ShapefileStore::CreateDbf(const std::string& path,
                                                          const orlinths::Fields& fields) {
  CheckNewName(path, ".dbf");
  for (const char* extension : {".shp", ".SHP"})
    if (const std::string shapefile = WithoutExtension(path) + extension;
        files::FileExists(shapefile) && !files::FileExists(path))
      throw RuntimeError::Platform(path + " would be taken for the table of " + NameOf(shapefile) +
                                   ".");
  return Create(FilesOf(path), nullptr, fields);
}

std::optional<std::string> ShapefileStore::ShapefileOf(const std::string& path) {
  if (!files::FileExists(path)) return std::nullopt;
  // A link may lie beside the shapes itself, or lead to a table that does.
  const std::string table = CanonicalPath(path);
  for (const std::string& base : {WithoutExtension(path), WithoutExtension(table)})
    for (const char* extension : {".shp", ".SHP"}) {
      const std::string shapefile = base + extension;
      if (files::FileExists(shapefile) && FilesOf(CanonicalPath(shapefile)).dbf == table)
        return shapefile;
    }
  return std::nullopt;
}

std::vector<std::string> ShapefileStoreImpl::Companions() const {
  const std::string folder = FolderOf(path_), start = NameOf(files_.Base()) + ".";
  const std::vector<std::string> main = files_.Main();
  std::vector<std::string> companions;
  for (const std::string& name : files::NamesIn(folder)) {
    if (!name.starts_with(start)) continue;
    const std::string extension = LowerCase(name.substr(start.size()));
    // Beside x.dbf there may be another table x.DBF.
    const bool isMain = extension == "shp" || extension == "shx" || extension == "dbf";
    const std::string file = JoinPath(folder, name);
    if (isMain && files::FileExists(file) && std::ranges::count(main, CanonicalPath(file)) == 0)
      continue;
    const bool isOurs =
        HasShape() ? IsOneOf(kShapefileExtensions, extension) || extension.ends_with(".atx")
                   : IsOneOf(kTableExtensions, extension);
    if (isOurs) companions.push_back(name.substr(start.size()));
  }
  return companions;
}

std::vector<std::string> ShapefileStoreImpl::StaleIndexes(bool shapesChange) const {
  std::vector<std::string> stale;
  for (const std::string& companion : Companions()) {
    const std::string extension = LowerCase(companion);
    const bool ofAttributes = extension == "idm" || extension == "ind" || extension == "cdx" ||
                              extension == "mdx" || extension.ends_with("atx");
    const bool ofShapes = extension == "qix" || extension == "sbn" || extension == "sbx";
    if (ofAttributes || (shapesChange && ofShapes))
      stale.push_back(files_.Base() + "." + companion);
  }
  return stale;
}

void ShapefileStoreImpl::Delete() {
  CheckStandsAlone("it cannot be deleted");
  CheckWritable();
  Abandon();
  writer_.reset();
  lock_.reset();
  const std::string base = files_.Base() + ".";
  for (const std::string& companion : Companions()) files::DeleteFile(base + companion);
  Registry::Get().Remove(path_);
}

void ShapefileStoreImpl::Rename(const std::string& name) {
  const std::string extension = path_.substr(WithoutExtension(path_).size());
  std::string stem = name;
  if (EqualNoCase(stem.substr(stem.size() - std::min(stem.size(), extension.size())), extension))
    stem.resize(stem.size() - extension.size());
  if (stem.empty() || stem.find('/') != std::string::npos)
    throw RuntimeError::Platform("\"" + name + "\" is no name for a dataset.");
  CheckStandsAlone("it cannot be renamed");
  if (isEdited_) Commit();
  CloseWriter();
  CheckWritable();
  const std::string from = files_.Base() + ".", to = JoinPath(FolderOf(path_), stem) + ".";
  const std::vector<std::string> companions = Companions();
  for (const std::string& companion : companions)
    if (files::FileExists(to + companion))
      throw RuntimeError::Platform(to + companion + " exists already.");
  std::size_t done = 0;
  try {
    for (; done < companions.size(); ++done)
      files::ReplaceFile(from + companions[done], to + companions[done]);
  } catch (...) {
    while (done > 0) {
      --done;
      files::ReplaceFile(to + companions[done], from + companions[done]);
    }
    throw;
  }
  const auto self = Registry::Get().Find(path_);
  Registry::Get().Remove(path_);
  path_ = to.substr(0, to.size() - 1) + extension;
  files_ = FilesOf(path_);
  if (self) Registry::Get().Put(path_, self);
  stamp_ = TableStamp();
  ++version_;
}

}  // namespace orlinths
