// New raster datasets. They are written in a hidden folder beside their place and moved there when
// they are whole.
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <limits>

#include <cpl_conv.h>
#include <cpl_string.h>
#include <cpl_vsi.h>
#include <gdal.h>

#include "gdal/EsriWkt.h"
#include "gdal/GridWriter.h"
#include "gdal/Library.h"
#include "gdal/RasterDataset.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

/// What a grid is made from.
constexpr const char* kCellFile = "cells.tif";
/// Where the library keeps what a format has no place for; of a grid, its histogram.
constexpr const char* kCompanion = ".aux.xml";

/// A hidden folder, gone with what it holds when the object goes.
class HiddenFolder {
 public:
  HiddenFolder(const std::string& folder, const std::string& name)
      : path_(JoinPath(folder, "." + name + ".XXXXXX")) {
    if (::mkdtemp(path_.data()) == nullptr) files::RaiseErrno(errno, path_);
    const AtScopeEnd removeUnlessWhole([this] {
      if (toRemove_.empty()) ::rmdir(path_.c_str());
    });
    ::chmod(path_.c_str(), 0777 & ~Umask());
    toRemove_ = path_;
  }
  ~HiddenFolder() {
    Quietly([this] { fs::remove_all(toRemove_); });
  }
  HiddenFolder(const HiddenFolder&) = delete;
  HiddenFolder& operator=(const HiddenFolder&) = delete;
  const std::string& Path() const { return path_; }

 private:
  static mode_t Umask() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return mask;
  }
  std::string path_;
  fs::path toRemove_;  ///< the same, made while memory may still run out
};

enum class Kind { kGrid, kImagine, kTiff };

Kind KindOf(const std::string& keyword) {
  if (keyword == "GRID") return Kind::kGrid;
  if (keyword == "IMAGINE Image") return Kind::kImagine;
  if (keyword == "TIFF") return Kind::kTiff;
  throw RuntimeError::Platform("Not a raster format that can be written: " + keyword);
}

struct Storage {
  GDALDataType type;
  const char* option = nullptr;  ///< what the library's type does not say
};

Storage StorageOf(PixelType type) {
  switch (type) {
    case PixelType::k1Bit:
      return {GDT_Byte, "NBITS=1"};
    case PixelType::k2Bit:
      return {GDT_Byte, "NBITS=2"};
    case PixelType::k4Bit:
      return {GDT_Byte, "NBITS=4"};
    case PixelType::kUInt8:
      return {GDT_Byte};
    case PixelType::kInt8:
      return {GDT_Byte, "PIXELTYPE=SIGNEDBYTE"};
    case PixelType::kUInt16:
      return {GDT_UInt16};
    case PixelType::kInt16:
      return {GDT_Int16};
    case PixelType::kUInt32:
      return {GDT_UInt32};
    case PixelType::kInt32:
      return {GDT_Int32};
    case PixelType::kFloat:
      return {GDT_Float32};
    case PixelType::kDouble:
      return {GDT_Float64};
    default:
      throw RuntimeError::Platform("Rasters of complex numbers cannot be written.");
  }
}

/// "GRID" knows two types of cells.
PixelType GridType(PixelType type) {
  StorageOf(type);
  return IsInteger(type) ? PixelType::kInt32 : PixelType::kFloat;
}

bool IsAt(const std::string& path) {
  std::error_code ignored;
  return fs::exists(fs::symlink_status(path, ignored));
}

void Check(const std::string& folder, const NewRaster& raster) {
  if (folder.empty()) throw RuntimeError::Platform("No folder was named for the raster.");
  if (raster.name.empty()) throw RuntimeError::Platform("No name was given for the raster.");
  if (raster.name.find('/') != std::string::npos || raster.name == "." || raster.name == "..")
    throw RuntimeError::Platform("Not a name for a raster: " + raster.name);
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  if (raster.columns < 1 || raster.rows < 1 || raster.columns > kMost || raster.rows > kMost)
    throw RuntimeError::Platform("A raster needs at least one column and one row, and at most " +
                                 ToText(kMost) + ".");
  if (raster.bandCount < 1) throw RuntimeError::Platform("A raster needs at least one band.");
  const auto isSize = [](double v) { return v > 0 && std::isfinite(v); };
  if (!isSize(raster.cellSize.x) || !isSize(raster.cellSize.y) || !std::isfinite(raster.origin.x) ||
      !std::isfinite(raster.origin.y))
    throw RuntimeError::Platform("The cells of a raster need a size and a place.");
  if (KindOf(raster.format) == Kind::kGrid)
    GridWriter::CheckSize(raster.columns, raster.rows,
                          IsInteger(GridType(raster.pixelType)) ? GridWriter::Kind::kInteger
                                                                : GridWriter::Kind::kFloat);
  if (!files::FolderExists(folder))
    throw RuntimeError::Platform("The folder cannot be opened: " + folder);
  if (IsAt(JoinPath(folder, raster.name)))
    throw RuntimeError::Platform("The name is taken: " + JoinPath(folder, raster.name));
}

bool HasReference(const NewRaster& raster) {
  return raster.spatialReference && !raster.spatialReference->IsUnknown();
}

GDALDriverH DriverOf(Kind kind) {
  return GDALGetDriverByName(kind == Kind::kImagine ? "HFA" : "GTiff");
}

void SetReference(GDALDatasetH dataset, const NewRaster& raster) {
  if (HasReference(raster) &&
      GDALSetProjection(dataset, raster.spatialReference->Wkt().c_str()) != CE_None)
    RaiseGdal("The spatial reference " + raster.spatialReference->Name() + " cannot be written.");
}

/// What a format cannot say of the reference it would leave out without a word, when all is
/// computed: a platform error, beforehand. Tried on a raster of one cell in memory.
void CheckKeepsReference(Kind kind, const NewRaster& raster) {
  if (!HasReference(raster)) return;
  if (kind == Kind::kGrid) {
    EsriWkt(*raster.spatialReference);
    return;
  }
  EnsureGdal();
  const QuietGdal quiet;
  constexpr const char* kFolder = "/vsimem/orlinths-reference";
  const std::string path = std::string(kFolder) + "/cell";
  const AtScopeEnd remove([] { VSIRmdirRecursive(kFolder); });
  GdalDatasetPtr cell(GDALCreate(DriverOf(kind), path.c_str(), 1, 1, 1, GDT_Byte, nullptr));
  if (cell) SetReference(cell.get(), raster);
  cell.reset();
  cell.reset(GDALOpen(path.c_str(), GA_ReadOnly));
  if (cell && GDALGetSpatialRef(cell.get()) != nullptr) return;
  throw RuntimeError::Platform("The format " + raster.format +
                               " cannot keep the spatial reference " +
                               raster.spatialReference->Name() + ".");
}

/// The dataset that takes the cells: of the final format, or, for a grid, a plain file that the
/// grid is made from.
GdalDatasetPtr CreateFile(const std::string& path, Kind kind, const NewRaster& raster) {
  EnsureGdal();
  const QuietGdal quiet;
  const Storage storage = StorageOf(raster.pixelType);
  std::vector<const char*> options;
  if (storage.option != nullptr) options.push_back(storage.option);
  if (kind == Kind::kTiff) {
    options.insert(options.end(), {"TILED=YES", "COMPRESS=DEFLATE", "BIGTIFF=IF_SAFER"});
  } else if (kind == Kind::kImagine) {
    options.push_back("COMPRESSED=YES");
  } else {
    options.insert(options.end(), {"BIGTIFF=IF_SAFER", "INTERLEAVE=BAND"});
  }
  options.push_back(nullptr);
  GdalDatasetPtr dataset(GDALCreate(DriverOf(kind), path.c_str(), static_cast<int>(raster.columns),
                                    static_cast<int>(raster.rows), raster.bandCount, storage.type,
                                    const_cast<char**>(options.data())));
  if (!dataset) RaiseGdal("The raster cannot be created: " + path);
  double transform[] = {raster.origin.x,
                        raster.cellSize.x,
                        0,
                        raster.origin.y + static_cast<double>(raster.rows) * raster.cellSize.y,
                        0,
                        -raster.cellSize.y};
  if (GDALSetGeoTransform(dataset.get(), transform) != CE_None)
    RaiseGdal("The raster's place cannot be set: " + path);
  SetReference(dataset.get(), raster);
  return dataset;
}

/// Cells that are NoData become the grid's own; a number that the grid reads as NoData is refused.
template <class T>
void MakeGridCells(std::span<const T> from, const Plane<T>& plane, T gridNoData,
                   std::vector<T>& to) {
  to.resize(from.size());
  for (std::size_t i = 0; i < from.size(); ++i) {
    const bool isNoData = plane.isNoData(from[i]);
    if (!isNoData && from[i] == gridNoData)
      throw RuntimeError::Platform("A grid cannot hold the number " +
                                   ToText(static_cast<double>(gridNoData)) +
                                   ", which stands for NoData in it.");
    to[i] = isNoData ? gridNoData : from[i];
  }
}

/// Writes one band as a grid into an empty folder; gives the number of rows of its table.
std::int64_t WriteGrid(const std::string& folder, const IRasterBand& band, const Coord& origin,
                       const std::string& esriWkt) {
  const IRasterProps& props = band.Props();
  const bool isInteger = props.IsInteger();
  GridWriter writer(folder,
                    {props.width, props.height, origin.x, origin.y, props.meanCellSize.x,
                     props.meanCellSize.y, esriWkt},
                    isInteger ? GridWriter::Kind::kInteger : GridWriter::Kind::kFloat);
  std::vector<std::int32_t> integers;
  std::vector<float> floats;
  const int step =
      static_cast<int>(std::clamp<std::int64_t>(kCellsPerStep / props.width, 1, props.height));
  for (int first = 0; first < props.height; first += step) {
    IPixelBlock strip = band.CreatePixelBlock(props.width, std::min(step, props.height - first));
    band.Read({0, static_cast<double>(first)}, strip);
    Visit(strip, 0, [&]<class T>(Plane<T> plane) {
      for (int row = 0; row < plane.rows; ++row) {
        if constexpr (std::is_same_v<T, std::int32_t>) {
          MakeGridCells(plane.Row(row), plane, GridWriter::kIntegerNoData, integers);
          writer.AddRow(std::span<const std::int32_t>(integers));
        } else if constexpr (std::is_same_v<T, float>) {
          MakeGridCells(plane.Row(row), plane, GridWriter::kFloatNoData, floats);
          writer.AddRow(std::span<const float>(floats));
        }
      }
    });
  }
  writer.Finish();
  return writer.TableRows();
}

class NewRasterDataset : public GdalRasterDataset {
 public:
  NewRasterDataset(const std::string& folder, const NewRaster& raster);
  ~NewRasterDataset() override;
  void Close() override;
  std::string Format() const override { return raster_.format; }
  void Delete() override;

 private:
  void CloseFile();
  void WriteGrids(const std::string& target);
  void WriteBandsFile(const std::string& target) const;
  void DropCells() const;
  void Place();

  NewRaster raster_;
  Kind kind_;
  std::unique_ptr<HiddenFolder> hidden_;  ///< nothing once the dataset has its name
  std::vector<std::int64_t> tableRows_;   ///< of each band's grid
};

NewRasterDataset::NewRasterDataset(const std::string& folder, const NewRaster& raster)
    : GdalRasterDataset(JoinPath(folder, raster.name)),
      raster_(raster),
      kind_(KindOf(raster.format)) {
  if (kind_ == Kind::kGrid) raster_.pixelType = GridType(raster.pixelType);
  hidden_ = std::make_unique<HiddenFolder>(folder, raster.name);
  const std::string file = kind_ == Kind::kGrid ? kCellFile : raster.name;
  Hold(CreateFile(JoinPath(hidden_->Path(), file), kind_, raster_), true);
  for (int band = 0; kind_ == Kind::kGrid && band < BandCount(); ++band)
    GdalBand(band).SetFallbackNoData(raster_.pixelType == PixelType::kInt32
                                         ? GridWriter::kIntegerNoData
                                         : double{GridWriter::kFloatNoData});
}

NewRasterDataset::~NewRasterDataset() {
  // Before the folder under it goes.
  Quietly([&] { CloseFile(); });
}

/// What the library writes late fails here.
void NewRasterDataset::CloseFile() {
  const QuietGdal quiet;
  Hold(nullptr, false);
  quiet.RaiseIfFailed();
}

void NewRasterDataset::Close() {
  CheckStop();
  if (!hidden_) return;
  if (kind_ == Kind::kGrid) {
    const std::string target = JoinPath(hidden_->Path(), raster_.name);
    files::CreateFolder(target);
    WriteGrids(target);
  }
  CloseFile();
  if (kind_ == Kind::kGrid) DropCells();
  Place();
  EndOthers();
  hidden_.reset();
  // A listing that cannot be written leaves a whole grid, whose table is then counted anew. What an
  // earlier grid of that name has left in the listing does not speak for this one.
  if (kind_ == Kind::kGrid) {
    Quietly([&] { UnlistGridTables(PathName(), raster_.name); });
    if (tableRows_.size() == 1 && tableRows_.front() > 0)
      Quietly([&] { ListGridTable(PathName(), raster_.name, tableRows_.front()); });
  }
  Hold(OpenRasterFile(path_), false);
}

void NewRasterDataset::WriteGrids(const std::string& target) {
  const std::string wkt = HasReference(raster_) ? EsriWkt(*raster_.spatialReference) : "";
  tableRows_.clear();
  if (BandCount() == 1) {
    tableRows_.push_back(WriteGrid(target, Band(0), raster_.origin, wkt));
    return;
  }
  for (int band = 0; band < BandCount(); ++band) {
    const std::string name = raster_.name + "c" + ToText(band + 1);
    files::CreateFolder(JoinPath(target, name));
    tableRows_.push_back(WriteGrid(JoinPath(target, name), Band(band), raster_.origin, wkt));
    if (tableRows_.back() > 0) Quietly([&] { ListGridTable(target, name, tableRows_.back()); });
  }
  WriteBandsFile(target);
}

std::string XmlText(const std::string& text) {
  return GdalText(CPLEscapeString(text.c_str(), static_cast<int>(text.size()), CPLES_XML)).get();
}

/// All digits that a double has.
std::string Exact(double v) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, v).ptr};
}

/// `<name>.vrt`: the grids of the bands as one dataset. Readers give a grid the narrowest type that
/// its values allow, each with a NoData value of its own; here all bands have the grids' own.
void NewRasterDataset::WriteBandsFile(const std::string& target) const {
  const bool isInteger = raster_.pixelType == PixelType::kInt32;
  const double noData = isInteger ? GridWriter::kIntegerNoData : double{GridWriter::kFloatNoData};
  const std::string size = "xOff=\"0\" yOff=\"0\" xSize=\"" + ToText(raster_.columns) +
                           "\" ySize=\"" + ToText(raster_.rows) + "\"";
  TextWriter file(JoinPath(target, raster_.name + ".vrt"));
  file.WriteLine("<VRTDataset rasterXSize=\"" + ToText(raster_.columns) + "\" rasterYSize=\"" +
                 ToText(raster_.rows) + "\">");
  if (HasReference(raster_))
    file.WriteLine("  <SRS>" + XmlText(raster_.spatialReference->Wkt()) + "</SRS>");
  const double top = raster_.origin.y + static_cast<double>(raster_.rows) * raster_.cellSize.y;
  file.WriteLine("  <GeoTransform>" + Exact(raster_.origin.x) + "," + Exact(raster_.cellSize.x) +
                 ",0," + Exact(top) + ",0," + Exact(-raster_.cellSize.y) + "</GeoTransform>");
  for (int band = 1; band <= raster_.bandCount; ++band) {
    const std::string name = raster_.name + "c" + ToText(band);
    const GdalDatasetPtr grid = OpenRasterFile(JoinPath(target, name));
    const double own = *PropsOf(grid.get(), 0, nullptr).noDataValue;
    file.WriteLine("  <VRTRasterBand dataType=\"" + std::string(isInteger ? "Int32" : "Float32") +
                   "\" band=\"" + ToText(band) + "\">");
    file.WriteLine("    <NoDataValue>" + Exact(noData) + "</NoDataValue>");
    file.WriteLine("    <ComplexSource>");
    file.WriteLine("      <SourceFilename relativeToVRT=\"1\">" + XmlText(name) +
                   "</SourceFilename>");
    file.WriteLine("      <SourceBand>1</SourceBand>");
    file.WriteLine("      <SrcRect " + size + "/>");
    file.WriteLine("      <DstRect " + size + "/>");
    file.WriteLine("      <NODATA>" + Exact(own) + "</NODATA>");
    file.WriteLine("    </ComplexSource>");
    file.WriteLine("  </VRTRasterBand>");
  }
  file.WriteLine("</VRTDataset>");
  file.Close();
}

/// Leaves of the file that the grid was made from what readers look for beside a grid.
void NewRasterDataset::DropCells() const {
  const std::string cells = JoinPath(hidden_->Path(), kCellFile);
  files::DeleteFile(cells);
  if (!files::FileExists(cells + kCompanion)) return;
  if (tableRows_.size() == 1) {
    files::ReplaceFile(cells + kCompanion, JoinPath(hidden_->Path(), raster_.name + kCompanion));
  } else {
    files::DeleteFile(cells + kCompanion);
  }
}

/// Moves what was written to its place: companions first, so that the dataset appears with all that
/// belongs to it.
void NewRasterDataset::Place() {
  const std::string folder = PathName();
  if (IsAt(path_)) throw RuntimeError::Platform("The name is taken: " + path_);
  for (const std::string& name : files::NamesIn(hidden_->Path()))
    if (name != raster_.name)
      files::ReplaceFile(JoinPath(hidden_->Path(), name), JoinPath(folder, name));
  files::ReplaceFile(JoinPath(hidden_->Path(), raster_.name), path_);
}

void NewRasterDataset::Delete() {
  if (hidden_) {
    Quietly([&] { CloseFile(); });
    hidden_.reset();
    return;
  }
  GdalRasterDataset::Delete();
}

}  // namespace

RasterDatasetPtr CreateRasterDataset(const std::string& folder, const NewRaster& raster) {
  CheckStop();
  Check(folder, raster);
  CheckKeepsReference(KindOf(raster.format), raster);
  return std::make_shared<NewRasterDataset>(folder, raster);
}

}  // namespace orlinths
