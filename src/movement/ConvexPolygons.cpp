#include "movement/ConvexPolygons.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <system_error>
#include <utility>

#include "data/FieldsAndDatasets.h"
#include "data/MapAccess.h"
#include "host/MeasureField.h"
#include "movement/PointGroups.h"
#include "numerics/ConvexHull.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

constexpr std::size_t kFewestPoints = 3;
constexpr std::size_t kLongestText = 254;

/// The temporary datasets, in the output's folder: the points of the run, and those of one group.
constexpr const char* kRunPoints = "tmp_mcp";
constexpr const char* kGroupPoints = "tmp_uvmcp";

/// A dataset that is being read or written is not replaced by a temporary one: error 70.
void CheckNotInUse(const std::string& folder, const std::string& name, const IFeatureClass& used) {
  std::error_code isNotThere;
  if (std::filesystem::equivalent(JoinPath(folder, name + ".shp"), used.Path(), isNotThere))
    throw RuntimeError(ErrorNumber::kPermissionDenied);
}

/// Bytes of the longest text among the groups' values.
std::size_t LongestText(const PointGroups& groups) {
  std::size_t longest = 0;
  for (std::size_t i = 0; i < groups.Count(); ++i)
    if (const std::string* text = groups.ValueOf(i).As<std::string>())
      longest = std::max(longest, text->size());
  return longest;
}

/// A group at work. Unless it ends well its points are left on the disk, for the user to look at.
class GroupAtWork {
 public:
  GroupAtWork(const std::string& folder, const IFeatureClass& polygons,
              std::span<const Coord> places)
      : folder_(folder), polygons_(polygons), places_(places) {}
  GroupAtWork(const GroupAtWork&) = delete;
  GroupAtWork& operator=(const GroupAtWork&) = delete;
  ~GroupAtWork() {
    if (isThrough_) return;
    // A stop that has been asked for waits. A failure has nowhere to go: one is on its way already.
    const bool isStopped = StopRequested();
    ClearStop();
    Quietly([this] { Leave(); });
    if (isStopped) RequestStop();
  }
  void IsThrough() { isThrough_ = true; }

 private:
  void Leave() const {
    SpatialReferencePtr reference = polygons_.SpatialReference();
    const FeatureClassPtr left =
        CreateShapefile(folder_, kGroupPoints, GeometryType::kPoint, false, false, reference, true);
    const auto rows = left->Insert();
    const auto row = left->CreateFeatureBuffer();
    for (const Coord& place : places_) {
      row->SetShape(Point{.x = place.x, .y = place.y});
      rows->InsertRow(*row);
    }
    rows->Flush();
  }

  const std::string& folder_;
  const IFeatureClass& polygons_;
  const std::span<const Coord> places_;
  bool isThrough_ = false;
};

}  // namespace

// ---- The dialog

frmMCP::frmMCP() : Dialog("frmMCP", "Create Minimum Convex Polygons", "MCP") {
  cmbPL = Add<ComboBox>("cmbPL", "Point locations layer:");
  chkUseSelected = AddUseSelected();
  chkMany = Add<CheckBox>("chkMany", "Create a different MCP for each unique value in this field:");
  cmbUV = Add<ComboBox>("cmbUV", "", Disabled);
  chkZero = Add<CheckBox>("chkZero",
                          "Check for coordinates of value \"0\" and omit them from the MCP's "
                          "(common in GPS collar data)");
  txtOutput = Add<TextBox>("txtOutput", "MCP polygon shapefile to create:");
  btnFolder = Add<Button>("btnFolder", "...");
  txtOutput->picker = btnFolder;
  PBar = Add<ProgressBar>("PBar");
  AddStatusLine();
  btnOK = AddOkButton();
  AddExitButton();
  AddHelpButton();

  cmbPL->OnClick = [this] { ChooseLayer(); };
  chkMany->OnClick = [this] { cmbUV->Enable(chkMany->value); };
  btnFolder->OnClick = [this] {
    PickShapefile(*this, "Save MCP Shapefile As...", output_, *txtOutput);
  };
  btnOK->OnClick = [this] { CreatePolygons(); };
}

void frmMCP::OnLoad() {
  cmbUV->Enable(chkMany->value);
  if (ListLayers(kPointLayer, *cmbPL) > 0) return;
  MessageBox("Warning: no point layers present in map (nothing to work with).", kExclamation,
             "Warning");
  btnOK->enabled = false;
}

void frmMCP::ChooseLayer() {
  cmbUV->Clear();
  chkUseSelected->enabled = false;
  if (cmbPL->text().empty()) return;
  layer_ = GetFeatureLayerByName(cmbPL->text);
  ListFields(*layer_, *cmbUV, kGroupFields);
  chkUseSelected->enabled = layer_->SelectionSet().Count() > 0;
}

// ---- The run

void frmMCP::CreatePolygons() {
  std::string at = "A";
  Run("MCP: ", at, [&] {
    if (IsRefused()) return;
    // Whatever the user chooses in the meantime, the run keeps to what it began with.
    const auto layer = layer_;
    const OutputChoice output = output_;
    FeatureClassPtr copy;
    if (chkUseSelected->value || chkZero->value) copy = CopyPoints(at);
    const IFeatureClass& input = NotNothing(layer.get()).FeatureClass();
    const IFeatureClass& points = copy ? *copy : input;

    at = "G";
    SpatialReferencePtr reference = input.SpatialReference();
    const FeatureClassPtr polygons = CreateShapefile(
        output.folder, output.name, GeometryType::kPolygon, false, false, reference, false);
    if (!polygons) return;
    Status("Processing...");
    at = "H";
    if (chkMany->value) {
      MakeMany(points, input, output.folder, *polygons);
    } else if (!MakeOne(points, *polygons)) {
      return;
    }
    at = "I";
    TableAddArea(*polygons, "AREA", 1, true);
    TableAddPerim(*polygons, "PERIM", 1, true);
    at = "J";
    AddLayerToMap(polygons, output.name);
    if (std::exchange(copy, nullptr)) DeleteAllOfBaseName(output.folder, kRunPoints);
    layer_.reset();
    MessageBox("Processing complete.", kInformation, "Status");
    Unload();
  });
}

bool frmMCP::IsRefused() const {
  const auto refuse = [](const char* text) {
    MessageBox(text, kExclamation, "ERROR");
    return true;
  };
  if (cmbPL->text().empty()) return refuse("ERROR: no input layer selected.");
  if (chkMany->value && cmbUV->text().empty())
    return refuse("ERROR: no unique value field selected.");
  if (txtOutput->text().empty()) return refuse("ERROR: no output name defined.");
  return false;
}

FeatureClassPtr frmMCP::CopyPoints(std::string& at) const {
  const IFeatureLayer& layer = NotNothing(layer_.get());
  const IFeatureClass& input = layer.FeatureClass();
  at = "B";
  CheckNotInUse(output_.folder, kRunPoints, input);
  SpatialReferencePtr reference = input.SpatialReference();
  const FeatureClassPtr copy = CreateShapefile(output_.folder, kRunPoints, GeometryType::kPoint,
                                               false, false, reference, true);
  at = "C";
  QueryFilter what = ShapesOnly();
  int source = -1, target = -1;
  if (chkMany->value) {
    source = input.FindField(cmbUV->text());
    target = AddGroupField(*copy, kLongestText);  // the values are not known yet
    what.onlyFields->push_back(cmbUV->text);
  }
  at = chkUseSelected->value ? "D" : "E";
  const auto features = chkUseSelected->value ? layer.SearchSelected(what) : layer.Search(what);
  at = "F";
  const auto rows = copy->Insert();
  const auto row = copy->CreateFeatureBuffer();
  while (const IFeature* feature = features->Next()) {
    if (chkZero->value && (feature->Point().x == 0 || feature->Point().y == 0)) continue;
    row->SetShape(feature->ShapeCopy());
    if (chkMany->value) row->SetValue(target, feature->GetValue(source));
    rows->InsertRow(*row);
  }
  rows->Flush();
  return copy;
}

/// The field that makes the groups, as the input has it, for texts of so many bytes.
int frmMCP::AddGroupField(IFeatureClass& target, std::size_t longestText) const {
  const IFeatureClass& input = layer_->FeatureClass();
  const Field& source = input.Fields().At(input.FindField(cmbUV->text()));
  return AddNewField(source.name, target, source.type, LengthToHold(source, longestText),
                     source.precision);
}

bool frmMCP::MakeOne(const IFeatureClass& points, IFeatureClass& polygons) {
  const PointGroups whole = PointGroups::Whole(points);
  if (whole.RecordCount() < kFewestPoints) {
    MessageBox("ERROR: less than 3 points in input layer (no polygon possible).", kCritical,
               "Input Error");
    Unload();
    return false;
  }
  const std::optional<Polygon> polygon = CreateMCPPoly(whole.PlacesOf(0));
  CheckStop();
  const auto rows = polygons.Insert();
  const auto row = polygons.CreateFeatureBuffer();
  row->SetShape(NotNothing(polygon));
  rows->InsertRow(*row);
  rows->Flush();
  return true;
}

void frmMCP::MakeMany(const IFeatureClass& points, const IFeatureClass& input,
                      const std::string& folder, IFeatureClass& polygons) {
  constexpr std::size_t kGroupsBetweenYields = 64;
  const PointGroups groups = PointGroups::ByValue(points, points.FindField(cmbUV->text()));
  PBar->min = 0;
  PBar->max = static_cast<float>(groups.Count());
  const int field = AddGroupField(polygons, LongestText(groups));

  const auto rows = polygons.Insert();
  const auto row = polygons.CreateFeatureBuffer();
  bool isFirst = true;
  for (std::size_t i = 0; i < groups.Count(); ++i) {
    PBar->SetValue(static_cast<double>(i));
    if (i % kGroupsBetweenYields == 0) Yield();
    const std::span<const Coord> places = groups.PlacesOf(i);
    if (places.size() < kFewestPoints) continue;

    if (std::exchange(isFirst, false)) {
      CheckNotInUse(folder, kGroupPoints, input);
      CheckNotInUse(folder, kGroupPoints, polygons);
      DeleteAllOfBaseName(folder, kGroupPoints);
    }
    GroupAtWork group(folder, polygons, places);
    const std::optional<Polygon> polygon = CreateMCPPoly(places);
    CheckStop();
    row->SetShape(NotNothing(polygon));
    row->SetValue(field, groups.ValueOf(i));
    rows->InsertRow(*row);
    group.IsThrough();
  }
  rows->Flush();
  Status("Creating MCP's...  (100%)");
}

}  // namespace orlinths
