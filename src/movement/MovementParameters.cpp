#include "movement/MovementParameters.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "data/FieldsAndDatasets.h"
#include "data/MapAccess.h"
#include "host/Steps.h"
#include "movement/PointGroups.h"
#include "numerics/Bearings.h"
#include "numerics/Constants.h"
#include "numerics/PathGeometry.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

constexpr const char* kLabel = "MoveParamsSimple: ";

struct NewField {
  const char* name;
  const char* calledWhenKept;  ///< what a refusal to overwrite it calls it
};
constexpr std::array<NewField, 5> kNewFields = {{{"STEPLENGTH", "STEPLENGTH"},
                                                 {"TURNANGLE", "TURNANGLE"},
                                                 {"BEARING", "BEARING"},
                                                 {"BRGPREV", "BRGPREV"},
                                                 {"NETDISP", "NETSQDISP"}}};

/// Asks for each of the fields that is there and deletes it. False, after a message, when one of
/// them stays; those before it are gone.
bool DeleteOldFields(IFeatureClass& points) {
  for (const NewField& field : kNewFields) {
    const std::string name = field.name;
    const int old = points.FindField(name);
    if (old == -1) continue;
    if (!Ask("Warning: field " + name + " already exists. Do you wish to overwrite this field?",
             "Warning")) {
      MessageBox(
          "Field not deleted. Please define a new field and copy the data from the existing " +
              std::string(field.calledWhenKept) +
              " field if you wish to retain it. Then re-run this program.",
          kExclamation, "Warning");
      return false;
    }
    Trap(kLabel, [&] { points.DeleteField(old); });
    if (points.FindField(name) != -1) {
      MessageBox("Error: could not delete field " + name +
                     ". You may not currently have the permissions needed to edit this data.",
                 kCritical, "Error");
      return false;
    }
  }
  return true;
}

/// False, after a message, when one cannot be added; those before it stay.
bool AddFields(IFeatureClass& points) {
  for (const NewField& field : kNewFields) {
    const std::string name = field.name;
    if (AddNewField(name, points, FieldType::kDouble, 16, 0) != -1) continue;
    MessageBox("Error. Could not add " + name + " field to table. The layer may be locked.",
               kCritical, "Error");
    return false;
  }
  return true;
}

}  // namespace

// ---- The dialog

frmMoveParamsSimple::frmMoveParamsSimple()
    : Dialog("frmMoveParamsSimple", "Calculate Movement Path Parameters (Simple)",
             "MOVEPARAMSSIMPLE") {
  cmbPL = Add<ComboBox>("cmbPL", "Point (path) layer:");
  cmbPathID = Add<ComboBox>("cmbPathID", "Unique path ID field: ");
  Add<Label>("Label2",
             "Records must be pre-sorted by path ID, then date and time. See WebHelp for more "
             "details.");
  AddStatusLine();
  btnOK = AddOkButton();
  AddExitButton();
  AddHelpButton();

  cmbPL->OnClick = [this] { ChooseLayer(); };
  btnOK->OnClick = [this] { Calculate(); };
}

void frmMoveParamsSimple::OnLoad() {
  if (ListLayers(kPointLayer, *cmbPL) > 0) return;
  MessageBox("Error: no point (path) layers are present in the map. (Nothing to work with).",
             kExclamation, "Error");
  btnOK->enabled = false;
}

void frmMoveParamsSimple::ChooseLayer() {
  cmbPathID->Clear();
  if (cmbPL->text().empty()) return;
  ListFields(*GetFeatureLayerByName(cmbPL->text), *cmbPathID, kNumericFields);
}

void frmMoveParamsSimple::Calculate() {
  Run(kLabel, [this] {
    const auto refuse = [](const char* text) { MessageBox(text, kExclamation, "Error"); };
    if (cmbPL->text().empty()) return refuse("Error: no point (path) layer defined.");
    if (cmbPathID->text().empty()) return refuse("Error: no path ID field defined.");

    const auto layer = GetFeatureLayerByName(cmbPL->text);
    IFeatureClass& points = layer->FeatureClass();
    if (!DeleteOldFields(points)) return;
    // Where it stands now that fields before it may be gone; nowhere, if it was one of them.
    const int pathId = points.FindField(cmbPathID->text());
    if (!AddFields(points)) return;
    if (!TableAddSLTABRGNSD(points, pathId,
                            {.stepLength = points.FindField("STEPLENGTH"),
                             .turnAngle = points.FindField("TURNANGLE"),
                             .bearing = points.FindField("BEARING"),
                             .brgPrev = points.FindField("BRGPREV"),
                             .netDisp = points.FindField("NETDISP")})) {
      MessageBox(
          "Error: an error was encountered processing the movement parameters. Please check your "
          "data for null geometry records and write permissions.",
          kCritical, "Error");
      return;
    }
    MessageBox("Prcocessing complete.", kInformation, "Status");
    Unload();
  });
}

// ---- Steps, bearings, turns and displacements

namespace {

/// All locations, in the order of the class.
struct Fixes {
  std::vector<Coord> places;
  std::vector<std::int32_t> paths;

  bool ArePartOfOnePath(std::size_t i, std::size_t j) const {
    if (i >= paths.size() || j >= paths.size()) throw RuntimeError(ErrorNumber::kSubscript);
    return paths[i] == paths[j];
  }
  Point At(std::size_t i) const { return {.x = places[i].x, .y = places[i].y}; }
};

Fixes ReadFixes(const IFeatureClass& points, int pathIdField) {
  QueryFilter what;
  what.onlyFields = {points.Fields().At(pathIdField).name};
  Fixes fixes;
  const auto rows = points.Search(what);
  while (const IFeature* feature = rows->Next()) {
    const Point& place = feature->Point();
    fixes.places.push_back({place.x, place.y});
    fixes.paths.push_back(ToLong(feature->GetDouble(pathIdField)));
  }
  return fixes;
}

struct Parameters {
  double stepLength = kMissing;
  double turnAngle = kMissing;
  double bearing = kMissing;
  std::optional<double> brgPrev;  ///< nothing: the field is left alone
  double netDisp = 0;
};

double Distance(const Fixes& fixes, std::size_t i, std::size_t j) {
  const double distance = DistPoints(fixes.At(i), fixes.At(j));
  if (!std::isfinite(distance)) throw RuntimeError(ErrorNumber::kOverflow);
  return distance;
}

/// Of fix `i`, whose path began at `start`.
Parameters ParametersAt(const Fixes& fixes, std::size_t i, std::size_t start) {
  const bool isFirst = i == 0;
  const bool isLast = !isFirst && i + 1 == fixes.places.size();
  Parameters found;
  found.netDisp = isFirst ? 0 : Distance(fixes, i, start);
  if (isLast) return found;

  const bool goesOn = fixes.ArePartOfOnePath(i, i + 1);
  const bool cameFrom = !isFirst && fixes.ArePartOfOnePath(i, i - 1);
  if (goesOn) {
    found.stepLength = Distance(fixes, i, i + 1);
    found.bearing = BearingFromPoints(fixes.At(i), fixes.At(i + 1));
    found.brgPrev = kMissing;
  }
  if (isFirst) found.brgPrev = kMissing;
  if (cameFrom) found.brgPrev = BearingFromPoints(fixes.At(i - 1), fixes.At(i));
  if (cameFrom && goesOn)
    found.turnAngle = GetRLTurnAngle(fixes.At(i - 1), fixes.At(i), fixes.At(i + 1));
  return found;
}

/// For a walk that reads nothing and only writes.
QueryFilter NothingRead() {
  QueryFilter what = ShapesOnly();
  what.withShape = false;
  return what;
}

}  // namespace

bool TableAddSLTABRGNSD(IFeatureClass& points, int pathIdField, const MovementFields& fields) {
  return Trap("TableAddSLTABRGNSD: ", [&] {
    Steps steps(points.FeatureCount(), "Calculating parameters...", true, 1);
    const Fixes fixes = ReadFixes(points, pathIdField);
    const auto rows = points.Update(NothingRead());
    std::size_t start = 0;
    for (std::size_t i = 0; IFeature* feature = rows->Next(); ++i) {
      if (i > 0) steps.Next();
      const Parameters found = ParametersAt(fixes, i, start);
      feature->SetDouble(fields.netDisp, found.netDisp);
      feature->SetDouble(fields.stepLength, found.stepLength);
      feature->SetDouble(fields.bearing, found.bearing);
      feature->SetDouble(fields.turnAngle, found.turnAngle);
      if (found.brgPrev) feature->SetDouble(fields.brgPrev, *found.brgPrev);
      rows->UpdateRow(*feature);
      const bool isLast = i + 1 == fixes.places.size();
      if (!isLast && !fixes.ArePartOfOnePath(i, i + 1)) start = i + 1;
    }
    rows->Flush();
  });
}

// ---- Unsigned turns, path by path

namespace {

constexpr std::size_t kFewestWithTurns = 4;

/// The turn at each point of a path, beside the records of the class. Gives what is wrong with the
/// path, and nothing of it is written then.
std::optional<ErrorNumber> WriteTurns(std::span<const Coord> places,
                                      std::span<const std::uint32_t> records,
                                      std::vector<double>& turns) {
  if (places.size() >= kFewestWithTurns) {
    for (const Coord& place : places) {
      if (std::isnan(place.x)) return ErrorNumber::kObjectNotSet;
      if (!std::isfinite(place.x) || !std::isfinite(place.y)) return ErrorNumber::kOverflow;
    }
  }
  for (const std::uint32_t record : records) turns[record] = kMissing;
  if (places.size() < kFewestWithTurns) return std::nullopt;
  const auto at = [&](std::size_t i) { return Point{.x = places[i].x, .y = places[i].y}; };
  for (std::size_t i = 1; i + 1 < places.size(); ++i)
    turns[records[i]] = GetTurnAngle(at(i - 1), at(i), at(i + 1));
  return std::nullopt;
}

}  // namespace

bool TableAddTurnAnglePntsMulti(IFeatureClass& points, int pathIdField) {
  return Trap("TableAddTurnAnglePntsMulti: ", [&] {
    if (const int old = points.FindField("TurnAngle"); old != -1) {
      points.DeleteField(old);
      if (old < pathIdField)
        --pathIdField;
      else if (old == pathIdField)
        pathIdField = -1;
    }
    const int turnAngle = AddNewField("TurnAngle", points, FieldType::kDouble, 16, 0);

    const PointGroups paths = PointGroups::ByValue(points, pathIdField);
    constexpr double kUntouched = Point::kNone;
    std::vector<double> turns(paths.RecordCount(), kUntouched);
    Steps steps(std::max<std::int64_t>(paths.Count(), 1) - 1, "Calculating turning angles...");
    std::optional<ErrorNumber> failure;
    for (std::size_t i = 0; i < paths.Count() && !failure; ++i) {
      if (i > 0) steps.Next();
      failure = WriteTurns(paths.PlacesOf(i), paths.RecordsOf(i), turns);
    }

    const auto rows = points.Update(NothingRead());
    for (std::size_t record = 0; IFeature* feature = rows->Next(); ++record) {
      if (std::isnan(turns[record])) continue;
      feature->SetDouble(turnAngle, turns[record]);
      rows->UpdateRow(*feature);
    }
    rows->Flush();
    // The paths before the one that failed are written.
    if (failure) throw RuntimeError(*failure);
  });
}

}  // namespace orlinths
