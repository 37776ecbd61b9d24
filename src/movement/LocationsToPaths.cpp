#include "movement/LocationsToPaths.h"

#include <cmath>
#include <utility>
#include <vector>

#include "data/FieldsAndDatasets.h"
#include "data/KeyColumn.h"
#include "data/MapAccess.h"
#include "numerics/Geometry.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

/// A location that a line can go through: error 91 where there is none, 6 where it is at no finite
/// place.
Coord Placed(Coord place) {
  if (std::isnan(place.x)) throw RuntimeError(ErrorNumber::kObjectNotSet);
  if (!std::isfinite(place.x) || !std::isfinite(place.y))
    throw RuntimeError(ErrorNumber::kOverflow);
  return place;
}

/// Counts points for the progress, and yields.
class Pace {
 public:
  explicit Pace(const std::function<void(std::int64_t)>& progress) : progress_(progress) {}
  void Next() {
    if (++done_ % 1024 != 0) return;
    progress_(done_);
    Yield();
  }
  void End() { progress_(done_); }

 private:
  const std::function<void(std::int64_t)>& progress_;
  std::int64_t done_ = 0;
};

QueryFilter FieldsFor(const PathOptions& options) {
  QueryFilter what;
  what.onlyFields.emplace();
  for (const auto& field : {options.pathField, options.sortField})
    if (field) what.onlyFields->push_back(*field);
  return what;
}

/// The identifiers of locations' paths; without a field all are of one.
class PathColumn {
 public:
  PathColumn(const IFeatureClass& points, const std::optional<std::string>& field) {
    if (field) column_.emplace(points, *field);
  }
  void Add(const IRow& row) {
    if (column_) column_->Add(row);
  }
  void KeepLast() {
    if (column_) column_->KeepLast();
  }
  bool AreEqual(std::size_t a, std::size_t b) const { return !column_ || column_->AreEqual(a, b); }
  Value At(std::size_t i) const { return column_ ? column_->At(i) : Value(); }

 private:
  std::optional<KeyColumn> column_;
};

/// The locations as they stand, one at a time.
class StandingLocations {
 public:
  StandingLocations(const IFeatureClass& points, const PathOptions& options, Pace pace)
      : paths_(points, options.pathField), rows_(points.Search(FieldsFor(options))), pace_(pace) {}

  bool Next() {
    isFirst_ = row_ == nullptr;
    row_ = rows_->Next();
    if (row_ == nullptr) {
      pace_.End();
      return false;
    }
    pace_.Next();
    paths_.KeepLast();
    paths_.Add(*row_);
    return true;
  }
  Coord Place() const {
    const Point& point = row_->Point();
    return Placed({point.x, point.y});
  }
  bool IsOfPathBefore() const { return !isFirst_ && paths_.AreEqual(0, 1); }
  Value Path() const { return paths_.At(isFirst_ ? 0 : 1); }

 private:
  PathColumn paths_;  // of the location before, if there is one, and of this one
  CursorPtr rows_;
  Pace pace_;
  const IRow* row_ = nullptr;
  bool isFirst_ = true;
};

/// All locations, read in one pass and sorted.
class SortedLocations {
 public:
  SortedLocations(const IFeatureClass& points, const PathOptions& options, Pace pace)
      : paths_(points, options.pathField), pace_(pace) {
    KeyColumn keys(points, *options.sortField);
    const CursorPtr rows = points.Search(FieldsFor(options));
    for (; const IRow* row = rows->Next(); pace.Next()) {
      keys.Add(*row);
      paths_.Add(*row);
      const Point* point = row->Shape().As<Point>();
      places_.push_back(point ? Coord{point->x, point->y} : Coord{Point::kNone, Point::kNone});
    }
    order_ = keys.Sorted();
  }

  bool Next() {
    if (next_ == order_.size()) {
      pace_.End();
      return false;
    }
    ++next_;
    pace_.Next();
    return true;
  }
  Coord Place() const { return Placed(places_[order_[next_ - 1]]); }
  bool IsOfPathBefore() const {
    return next_ > 1 && paths_.AreEqual(order_[next_ - 2], order_[next_ - 1]);
  }
  Value Path() const { return paths_.At(order_[next_ - 1]); }

 private:
  PathColumn paths_;
  Pace pace_;  // of the walk; reading has one of its own
  std::vector<Coord> places_;
  std::vector<std::size_t> order_;
  std::size_t next_ = 0;
};

/// Inserts lines with the identifier of their path.
class LineInserter {
 public:
  LineInserter(IFeatureClass& lines, int idField)
      : cursor_(lines.Insert()), buffer_(lines.CreateFeatureBuffer()), idField_(idField) {}
  void BeginPath(const Value& identifier) {
    if (idField_ >= 0) buffer_->SetValue(idField_, identifier);
  }
  void Insert(Polyline line) {
    buffer_->SetShape(std::move(line));
    cursor_->InsertRow(*buffer_);
  }
  void Flush() { cursor_->Flush(); }

 private:
  CursorPtr cursor_;
  std::unique_ptr<IFeature> buffer_;
  const int idField_;
};

template <class Locations>
void WriteLineAPath(Locations& locations, LineInserter& lines) {
  Polyline line;
  const auto endPath = [&] {
    Polyline ended = std::exchange(line, {});
    if (ended.PointCount() > 1) lines.Insert(std::move(ended));
  };
  while (locations.Next()) {
    if (!locations.IsOfPathBefore()) {
      endPath();
      lines.BeginPath(locations.Path());
    }
    const Coord place = locations.Place();
    line.AddPoint(place.x, place.y);
  }
  endPath();
}

template <class Locations>
void WriteLineAStep(Locations& locations, LineInserter& lines) {
  if (!locations.Next()) throw RuntimeError(ErrorNumber::kObjectNotSet);
  Coord before = locations.Place();
  lines.BeginPath(locations.Path());
  while (locations.Next()) {
    const Coord place = locations.Place();
    if (locations.IsOfPathBefore()) {
      Polyline step;
      step.AddPart(std::vector{before, place});
      lines.Insert(std::move(step));
    } else {
      lines.BeginPath(locations.Path());
    }
    before = place;
  }
}

template <class Locations>
void WriteLines(Locations locations, const PathOptions& options, LineInserter& lines) {
  if (options.lineAStep) {
    WriteLineAStep(locations, lines);
  } else {
    WriteLineAPath(locations, lines);
  }
}

/// A field of the lines for the identifier of their path, with the name as it was chosen: like the
/// points' own, but that an object identifier, and what is called like one, cannot keep its name
/// there.
int AddPathField(const std::string& name, const Field& source, IFeatureClass& lines) {
  if (EqualNoCase(name, "ID") || EqualNoCase(name, "OID") || EqualNoCase(name, "FID"))
    return AddNewField("Ref" + name, lines, FieldType::kInteger);
  switch (source.type) {
    case FieldType::kSingle:
    case FieldType::kDouble:
    case FieldType::kText:
      return AddNewField(name, lines, source.type, source.length, source.precision);
    default:
      return AddNewField(name, lines, source.type);
  }
}

}  // namespace

// ---- The dialog

frmLocsToPath::frmLocsToPath()
    : Dialog("frmLocsToPath", "Convert Locations To Paths", "LOCSTOPATH") {
  cmbFL = Add<ComboBox>("cmbFL", "Point locations layer:");
  optOne = Add<OptionButton>("optOne", "Create a single output path (one line)", Checked);
  optMany = Add<OptionButton>("optMany",
                              "Create multiple output paths (many lines) using the following field "
                              "to distinguish between different paths:");
  cmbPathFld = Add<ComboBox>("cmbPathFld", "");
  chkSep =
      Add<CheckBox>("chkSep", "Make each segment a separate line (default is one line per path).");
  optSorted = Add<OptionButton>(
      "optSorted", "The data are already sorted chronologically within each output path", Checked);
  optSort = Add<OptionButton>("optSort", "The data need to be sorted using this field:");
  optOne->group = optMany->group = "paths";
  optSorted->group = optSort->group = "order";
  cmbSortFld = Add<ComboBox>("cmbSortFld", "");
  txtOutFile = Add<TextBox>("txtOutFile", "Output shapefile:");
  auto* btnFile = Add<Button>("btnFile", "...");
  txtOutFile->picker = btnFile;
  ProgressBar1 = Add<ProgressBar>("ProgressBar1");
  AddStatusLine();
  btnOK = AddOkButton();
  AddExitButton();
  AddHelpButton();

  cmbFL->OnClick = [this] { ChooseLayer(); };
  btnFile->OnClick = [this] {
    PickShapefile(*this, "Save Movement Path As...", output_, *txtOutFile, true);
  };
  btnOK->OnClick = [this] { ConvertLocations(); };
}

void frmLocsToPath::OnLoad() {
  if (ListLayers(kPointLayer, *cmbFL) == 0) {
    MessageBox("Warning: no point layers present in map (nothing to work with).", kExclamation,
               "Warning");
    btnOK->enabled = false;
  }
}

void frmLocsToPath::ChooseLayer() {
  cmbPathFld->Clear();
  cmbSortFld->Clear();
  if (cmbFL->text().empty()) return;
  const auto layer = GetFeatureLayerByName(cmbFL->text);
  ListFields(*layer, *cmbPathFld, kAllFields);
  ListFields(*layer, *cmbSortFld, kAllFields);
}

// ---- The run

bool frmLocsToPath::IsRefused() const {
  const auto refuse = [](const char* text) {
    MessageBox(text, kExclamation, "Error");
    return true;
  };
  if (txtOutFile->text().empty()) return refuse("A valid output shapefile must be provided.");
  if (cmbFL->text().empty()) return refuse("A valid input layer has not been identified.");
  if (optMany->value && cmbPathFld->text().empty())
    return refuse("A field that distinguished between the multiple paths must be identified.");
  if (optSort->value && cmbSortFld->text().empty())
    return refuse("A sort field must be identified.");
  return false;
}

void frmLocsToPath::ConvertLocations() {
  Run("LocsToPath: ", [this] {
    if (IsRefused()) return;
    // Whatever the user chooses in the meantime, the run keeps to what it began with.
    const auto layer = GetFeatureLayerByName(cmbFL->text);
    const OutputChoice chosen = output_;
    const IFeatureClass& points = layer->FeatureClass();
    SpatialReferencePtr reference = points.SpatialReference();
    const FeatureClassPtr output = CreateShapefile(
        chosen.folder, chosen.name, GeometryType::kPolyline, false, false, reference, false);
    IFeatureClass& lines = NotNothing(output.get());

    PathOptions options{.lineAStep = chkSep->value};
    int idField = -1;
    if (optMany->value) {
      options.pathField = cmbPathFld->text();
      const int source = points.FindField(*options.pathField);
      if (source < 0) {
        MessageBox("Error: could not locate the unique path ID field.", kExclamation, "Error");
        return;
      }
      idField = AddPathField(*options.pathField, points.Fields()[source], lines);
      if (idField < 0) return;  // which has been reported
    }
    if (optSort->value) options.sortField = cmbSortFld->text();

    ProgressBar1->min = 0;
    ProgressBar1->max = static_cast<float>(points.FeatureCount());
    ProgressBar1->SetValue(0);
    Status("Processing points...");
    WritePaths(points, options, lines, idField,
               [this](std::int64_t done) { ProgressBar1->SetValue(static_cast<double>(done)); });
    Status("");
    AddLayerToMap(output, chosen.name);
    MessageBox("Processing complete.");
    Unload();
  });
}

void WritePaths(const IFeatureClass& points, const PathOptions& options, IFeatureClass& lines,
                int idField, const std::function<void(std::int64_t)>& progress) {
  LineInserter inserter(lines, idField);
  if (options.sortField) {
    WriteLines(SortedLocations(points, options, Pace(progress)), options, inserter);
  } else {
    WriteLines(StandingLocations(points, options, Pace(progress)), options, inserter);
  }
  inserter.Flush();
}

}  // namespace orlinths
