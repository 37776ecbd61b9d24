#include "gdal/RasterDataset.h"

#include <filesystem>
#include <map>
#include <system_error>

#include <cpl_conv.h>
#include <gdal.h>
#include <ogr_srs_api.h>

#include "gdal/GridWriter.h"
#include "gdal/Library.h"
#include "gdal/VectorSource.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

bool IsGridFolder(const std::string& path) { return files::FileExists(JoinPath(path, "hdr.adf")); }

/// The file that opens a grid of several bands, or an empty text when the path is no such folder.
std::string BandsFileOf(const std::string& path) {
  const std::string file = JoinPath(path, NameOf(path) + ".vrt");
  return files::FolderExists(path) && files::FileExists(file) ? file : std::string();
}

/// One that nobody understands is unknown.
SpatialReferencePtr ReferenceOf(GDALDatasetH dataset) {
  const OGRSpatialReferenceH handle = GDALGetSpatialRef(dataset);
  SpatialReferencePtr reference = UnknownCoordinateSystem();
  if (handle == nullptr) return reference;
  char* wkt = nullptr;
  const char* const options[] = {"FORMAT=WKT2_2019", nullptr};
  const bool exported = OSRExportToWktEx(handle, &wkt, options) == OGRERR_NONE && wkt != nullptr;
  const GdalText owned(wkt);
  const std::string text = exported ? wkt : "";
  Quietly([&] { reference = SpatialReferenceFromText(text); });
  return reference;
}

/// How often the dataset of a path was deleted or made in this process: what was opened before is
/// another one.
std::uint64_t& GenerationOf(const std::string& path) {
  static std::map<std::string, std::uint64_t> generations;
  return generations[CanonicalPath(path)];
}

bool IsOnDisk(const std::string& path) {
  std::error_code unknown;
  return fs::exists(path, unknown);
}

}  // namespace

GdalDatasetPtr OpenRasterFile(const std::string& path) {
  EnsureGdal();
  CheckStop();
  const QuietGdal quiet;
  const std::string bands = BandsFileOf(path);
  GdalDatasetPtr dataset(GDALOpenEx(bands.empty() ? path.c_str() : bands.c_str(),
                                    GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR,
                                    nullptr, nullptr, nullptr));
  if (!dataset) RaiseGdal("The raster cannot be opened: " + path);
  return dataset;
}

GdalRasterDataset::GdalRasterDataset(std::string path, GdalDatasetPtr dataset)
    : path_(std::move(path)) {
  while (path_.size() > 1 && path_.back() == '/') path_.pop_back();
  Hold(std::move(dataset), false);
}

void GdalRasterDataset::Hold(GdalDatasetPtr dataset, bool isNew) {
  bands_.clear();
  dataset_ = std::move(dataset);
  if (!dataset_) return;
  generation_ = GenerationOf(path_);
  isOnDisk_ = IsOnDisk(path_);
  const QuietGdal quiet;  // drivers have remarks when they are looked into
  const SpatialReferencePtr reference = ReferenceOf(Handle());
  props_ = PropsOf(Handle(), 0, reference);
  for (int band = 0; band < GDALGetRasterCount(Handle()); ++band)
    bands_.push_back(std::make_unique<GdalRasterBand>(Handle(), band, path_, reference, isNew));
}

bool GdalRasterDataset::Exists() const {
  return dataset_ && generation_ == GenerationOf(path_) && (!isOnDisk_ || IsOnDisk(path_));
}

void GdalRasterDataset::EndOthers() { ++GenerationOf(path_); }

std::string GdalRasterDataset::Name() const { return NameOf(path_); }
std::string GdalRasterDataset::PathName() const { return FolderOf(path_); }

GdalRasterBand& GdalRasterDataset::GdalBand(int i) const {
  if (i < 0 || i >= BandCount()) throw RuntimeError(ErrorNumber::kSubscript);
  return *bands_[static_cast<std::size_t>(i)];
}

std::string GdalRasterDataset::Format() const {
  if (Handle() == nullptr) throw RuntimeError(ErrorNumber::kObjectNotSet);
  const std::string driver = GDALGetDriverShortName(GDALGetDatasetDriver(Handle()));
  if (driver == "AIG" || (driver == "VRT" && files::FolderExists(path_))) return "GRID";
  if (driver == "HFA") return "IMAGINE Image";
  if (driver == "GTiff") return "TIFF";
  return driver;
}

void GdalRasterDataset::Delete() {
  CheckStop();
  const bool isFolder = files::FolderExists(path_);
  Hold(nullptr, false);
  EndOthers();
  if (isFolder) {
    if (!IsGridFolder(path_) && BandsFileOf(path_).empty())
      throw RuntimeError::Platform("The folder is no grid: " + path_);
    std::error_code failed;
    fs::remove_all(path_, failed);
    if (failed) files::RaiseErrno(failed.value(), path_);
    if (files::FileExists(path_ + ".aux.xml")) files::DeleteFile(path_ + ".aux.xml");
    // A listing that stays behind harms nobody: the next grid of that name takes it over.
    Quietly([this] { UnlistGridTables(PathName(), Name()); });
    return;
  }
  QuietGdal quiet;
  if (GDALDeleteDataset(nullptr, path_.c_str()) != CE_None)
    RaiseGdal("The raster could not be deleted: " + path_);
  // What belongs to the raster and the library does not know of.
  const std::string stem = JoinPath(FolderOf(path_), StemOf(path_));
  for (const std::string& base : {path_, stem})
    for (const char* end : {".vat.dbf", ".vat.cpg"})
      if (files::FileExists(base + end)) files::DeleteFile(base + end);
}

RasterDatasetPtr OpenRasterDataset(const std::string& folder, const std::string& name) {
  if (folder.empty() || name.empty())
    throw RuntimeError::Platform("A raster has a folder and a name.");
  const std::string path = JoinPath(folder, name);
  return std::make_shared<GdalRasterDataset>(path, OpenRasterFile(path));
}

}  // namespace orlinths
