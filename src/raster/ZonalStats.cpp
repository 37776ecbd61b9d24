#include "raster/ZonalStats.h"

#include <span>
#include <string>
#include <type_traits>

#include "data/FieldsAndDatasets.h"
#include "data/GeometryOperators.h"
#include "data/MapAccess.h"
#include "data/Raster.h"
#include "data/RasterAccess.h"
#include "numerics/ArrayStats.h"
#include "numerics/Constants.h"
#include "raster/PolygonCells.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

constexpr int kRecordsBetweenFlushes = 1000;

bool AreApart(const Envelope& a, const Envelope& b) {
  return a.xMax < b.xMin || a.xMin > b.xMax || a.yMax < b.yMin || a.yMin > b.yMax;
}

bool ReachesBeyond(const Envelope& inner, const Envelope& outer) {
  return inner.xMin < outer.xMin || inner.xMax > outer.xMax || inner.yMin < outer.yMin ||
         inner.yMax > outer.yMax;
}

constexpr ArrayStats AllFields(double value) {
  return {value, value, value, value, value, static_cast<std::int32_t>(value)};
}

ArrayStats OfOneCell(double value) {
  return {.mean = value, .sd = 0, .min = value, .max = value, .sum = value, .count = 1};
}

ArrayStats StatsOf(const std::vector<std::int32_t>& values) { return GetArrayStatsLng(values); }
ArrayStats StatsOf(const std::vector<double>& values) { return GetArrayStatsDbl(values); }

/// The output's records.
class ZoneRecords {
 public:
  explicit ZoneRecords(ITable& table)
      : polyFid_(AddNewField("PolyFID", table, FieldType::kInteger)),
        min_(AddNewField("ZSTATS_MIN", table, FieldType::kDouble)),
        max_(AddNewField("ZSTATS_MAX", table, FieldType::kDouble)),
        mean_(AddNewField("ZSTATS_AVG", table, FieldType::kDouble)),
        sd_(AddNewField("ZSTATS_STD", table, FieldType::kDouble)),
        sum_(AddNewField("ZSTATS_SUM", table, FieldType::kDouble)),
        count_(AddNewField("ZSTATS_CNT", table, FieldType::kInteger)),
        id_(table.FindField("ID")),
        rows_(table.Insert()),
        row_(table.CreateRowBuffer()) {}

  void Add(std::int32_t id, const Value& polyFid, const ArrayStats& stats) {
    row_->SetValue(id_, Value(id));
    row_->SetValue(polyFid_, polyFid);
    row_->SetDouble(min_, stats.min);
    row_->SetDouble(max_, stats.max);
    row_->SetDouble(mean_, stats.mean);
    row_->SetDouble(sd_, stats.sd);
    row_->SetDouble(sum_, stats.sum);
    row_->SetDouble(count_, stats.count);
    rows_->InsertRow(*row_);
    if (++added_ % kRecordsBetweenFlushes == 0) rows_->Flush();
  }
  void Finish() { rows_->Flush(); }

 private:
  int polyFid_, min_, max_, mean_, sd_, sum_, count_, id_;
  CursorPtr rows_;
  std::unique_ptr<IRow> row_;
  std::int64_t added_ = 0;
};

/// Statistics of one zone after the other; the list of cells is used again.
template <class Number>
class ZoneStats {
 public:
  ZoneStats(const ZoneCells& cells, const ZonalOptions& options)
      : cells_(cells), options_(options) {}

  /// Nothing for a zone that gets no record.
  std::optional<ArrayStats> Of(const Geometry& shape) {
    const Geometry zone = Simplify(shape);
    const Envelope box = zone.Envelope();
    if (zone.IsEmpty() || AreApart(box, cells_.Band().Props().extent))
      return options_.recordOutside ? std::optional(AllFields(kMissing)) : std::nullopt;
    cells_.Gather(zone.AsPolygon(), values_);
    // A zone whose only cell is NoData cannot be told from one that holds no cell centre.
    if (values_.size() == 1 && values_[0] == kMissing)
      return options_.centreOfSmall ? AtCentre(box) : AllFields(kMissing);
    return StatsOf(values_);
  }

 private:
  ArrayStats AtCentre(const Envelope& box) const {
    const double x = (box.xMax - box.xMin) / 2 + box.xMin;
    const double y = (box.yMax - box.yMin) / 2 + box.yMin;
    if constexpr (std::is_same_v<Number, std::int32_t>)
      return OfOneCell(GetLongRasterValueFromCoord(cells_.Band(), x, y));
    else
      return OfOneCell(GetDblRasterValueFromCoord(cells_.Band(), x, y));
  }

  const ZoneCells& cells_;
  const ZonalOptions& options_;
  std::vector<Number> values_;
};

template <class Number>
void WriteRecords(ICursor& polygons, int fid, ZoneStats<Number> zones, ZoneRecords& records,
                  const std::function<void(std::int64_t)>& step) {
  std::int32_t id = 1;
  while (const IFeature* polygon = polygons.Next()) {
    if (const auto stats = zones.Of(polygon->Shape()))
      records.Add(id, polygon->GetValue(fid), *stats);
    step(id++);
    Yield();
  }
  records.Finish();
}

}  // namespace

// ---- The routines

ZoneCells::ZoneCells(const IRasterBand& band, bool largeRaster) : band_(band) {
  if (!largeRaster) whole_ = band.ReadAll();
}

void ZoneCells::MarkNoData() {
  if (whole_) noData_ = GetNoDataArr2(*whole_);
}

template <class Number>
void ZoneCells::Gather(const Polygon& zone, std::vector<Number>& values) const {
  bool keepNoData = true;
  const IRasterProps& props = band_.Props();
  const bool gathered = whole_
                            ? ISectArrPolyRaster(zone, *whole_, props, keepNoData, &noData_, values)
                            : ISectArrPolyLargeRaster(zone, band_, props, keepNoData, values);
  // There is no list, and so no size to ask it for.
  if (!gathered) throw RuntimeError(ErrorNumber::kSubscript);
}
template void ZoneCells::Gather(const Polygon&, std::vector<std::int32_t>&) const;
template void ZoneCells::Gather(const Polygon&, std::vector<double>&) const;

void WriteZonalStats(const IFeatureLayer& polygons, ZoneCells& cells, const ZonalOptions& options,
                     ITable& output, const std::function<void(std::int64_t count)>& begin,
                     const std::function<void(std::int64_t done)>& step) {
  ZoneRecords records(output);
  const IFeatureClass& source = polygons.FeatureClass();
  const int fid = source.FindField("FID");
  QueryFilter what;
  what.onlyFields.emplace();
  if (fid >= 0) what.onlyFields->push_back("FID");
  const CursorPtr features =
      options.useSelected ? polygons.SearchSelected(what) : polygons.Search(what);
  begin(options.useSelected ? polygons.SelectionSet().Count() : source.FeatureCount());
  cells.MarkNoData();
  if (cells.Band().Props().IsInteger())
    WriteRecords(*features, fid, ZoneStats<std::int32_t>(cells, options), records, step);
  else
    WriteRecords(*features, fid, ZoneStats<double>(cells, options), records, step);
}

// ---- The dialog

frmZonalStats::frmZonalStats() : Dialog("frmZonalStats", "Zonal Statistics ++", "ZONALSTATS") {
  cmbPolyL = Add<ComboBox>("cmbPolyL", "Zonal polygon layer:");
  chkUseSelected = AddUseSelected();
  cmbRL = Add<ComboBox>("cmbRL", "Raster layer:");
  chkMode =
      Add<CheckBox>("chkMode", "Large Raster Mode (slower, but processes large dimension rasters)");
  chkSR = Add<CheckBox>("chkSR", "Ignore all spatial reference (projection) differences");
  txtNote = Add<TextBox>("txtNote", "");
  txtNote->readOnly = txtNote->multiLine = true;
  chkOverlap =
      Add<CheckBox>("chkOverlap",
                    "Include a record in the output table for polygons that do not overlap the "
                    "raster at all (all fields coded as Nodata: -999)");
  chkSmall = Add<CheckBox>("chkSmall",
                           "For very small polygons that do not contain the center of a raster "
                           "cell, assign the value of the cell containing the polygon centroid "
                           "(see Web Help).");
  txtOutFile = Add<TextBox>("txtOutFile", "Output table (dbf):");
  btnOpen = Add<Button>("btnOpen", "...");
  txtOutFile->picker = btnOpen;
  PBar = Add<ProgressBar>("PBar");
  AddStatusLine();
  btnOK = AddOkButton();
  AddExitButton();
  AddHelpButton();

  cmbPolyL->OnClick = [this] { ChoosePolygons(); };
  cmbRL->OnClick = [this] { ChooseRaster(); };
  btnOpen->OnClick = [this] { PickDbf(*this, "Save DBF File As...", output_, *txtOutFile); };
  btnOK->OnClick = [this] { ZonalStats(); };
}

void frmZonalStats::OnLoad() {
  polygons_.reset();
  raster_.reset();
  referencesSame_.reset();
  const auto nothingToDo = [this](const char* text) {
    MessageBox(text, kExclamation, "Error");
    btnOK->enabled = false;
  };
  if (ListLayers(kPolygonLayer, *cmbPolyL) == 0)
    return nothingToDo("Error: no polygon layers in map. Nothing to work with.");
  if (ListLayers(kRasterLayer, *cmbRL) == 0)
    return nothingToDo("Error: no raster layers in map. Nothing to work with.");
}

void frmZonalStats::ChoosePolygons() {
  chkUseSelected->Enable(false);
  if (cmbPolyL->text().empty()) return;
  polygons_ = GetFeatureLayerByName(cmbPolyL->text);
  chkUseSelected->Enable(polygons_->SelectionSet().Count() >= 1);
  CompareReferences();
}

void frmZonalStats::ChooseRaster() {
  if (cmbRL->text().empty()) return;
  raster_ = GetRasterLayerByName(cmbRL->text);
  const IRasterDataset& raster = raster_->Dataset();
  chkMode->value = std::int64_t{raster.Width()} * raster.Height() > kMostCellsInMemory;
  CompareReferences();
}

void frmZonalStats::CompareReferences() {
  if (polygons_ && raster_)
    referencesSame_ = CheckSpatialReferenceSame(&polygons_->FeatureClass(), &raster_->Dataset());
  ShowNote();
}

void frmZonalStats::ShowNote() {
  if (!raster_) return;
  const IRasterDataset& raster = raster_->Dataset();
  std::string note = std::int64_t{raster.Width()} * raster.Height() > kMostCellsInMemory
                         ? "LARGE RASTER DETECTED"
                         : "LARGE RASTER MODE OPTIONAL";
  if (referencesSame_) {
    note += *referencesSame_ == 1   ? "\rSPATIAL REFERENCES ARE THE SAME"
            : *referencesSame_ == 0 ? "\rSPATIAL REFERENCES ARE NOT THE SAME"
                                    : "\rSPATIAL REFERENCE IN ONE OR MORE LAYERS UNDEFINED";
  }
  txtNote->text = note;
}

void frmZonalStats::ZonalStats() {
  Run("ZonalStats: ", [this] {
    const auto refuse = [](const char* text) { MessageBox(text, kExclamation, "Error"); };
    if (cmbPolyL->text().empty()) return refuse("Error: no polygon layer defined.");
    if (cmbRL->text().empty()) return refuse("Error: no raster layer defined.");
    if (txtOutFile->text().empty()) return refuse("Error: no output DBF defined.");
    if (!chkSR->value && referencesSame_ != 1 &&
        !Ask("Warning: the spatial reference (projection) of the raster and polygon layer must be "
             "identical. This is either not true, or cannot be verified because the projection is "
             "undefined for one or both layers. Do you wish to proceed?",
             "Warning"))
      return;
    // Whatever the user chooses in the meantime, the run keeps to what it began with.
    const auto polygons = polygons_;
    const auto raster = raster_;
    const OutputChoice output = output_;
    const Envelope zones = NotNothing(polygons.get()).Extent();
    const IRasterDataset& dataset = NotNothing(raster.get()).Dataset();
    if (AreApart(dataset.Extent(), zones)) {
      MessageBox(
          "Error: the polygon and raster layer extents do not overlap. Cannot continue. Please "
          "check that the projections are identical (see Web Help for further details).",
          kExclamation, "Cannot process");
      return;
    }

    Status("Initializing...");
    const IRasterBand& band = dataset.Band(0);
    if (ReachesBeyond(zones, band.Props().extent) &&
        !Ask("Warning: the polygon layer extends beyond the limits of the raster layer.\r\r"
             "If you proceed, polygons that cross the boundary of the raster layer will have "
             "partial\r"
             "summaries (i.e. for the portion of the polygon that overlaps the raster layer).\r\r"
             "Would you like to proceed?",
             "Warning"))
      return Status("");
    ZoneCells cells(band, chkMode->value);
    std::optional<Fields> fields;
    const TablePtr table = createDBF(output.name + ".dbf", output.folder, false, fields);
    if (!table) {
      refuse("Error: could not create output DBF file.");
      return Status("");
    }
    const ZonalOptions options = {.useSelected = chkUseSelected->value,
                                  .recordOutside = chkOverlap->value,
                                  .centreOfSmall = chkSmall->value};
    const auto begin = [this](std::int64_t count) {
      PBar->min = 0;
      PBar->max = static_cast<float>(count);
      PBar->SetValue(0);
      Status("Processing...");
    };
    const auto step = [this](std::int64_t done) { PBar->SetValue(static_cast<double>(done)); };
    WriteZonalStats(*polygons, cells, options, *table, begin, step);

    Status("");
    polygons_.reset();
    raster_.reset();
    output_ = {};
    MessageBox("Prcocessing complete.", kInformation, "Status");
    Unload();
  });
}

}  // namespace orlinths
