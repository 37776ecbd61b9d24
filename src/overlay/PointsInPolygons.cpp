#include "overlay/PointsInPolygons.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "data/FieldsAndDatasets.h"
#include "host/Steps.h"
#include "runtime/Ports.h"
#include "runtime/Text.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

constexpr double kNull = std::numeric_limits<double>::quiet_NaN();

/// The fields to copy, as indexes in the polygon class.
std::vector<int> SourceFields(const IFeatureClass& polygons,
                              const std::optional<std::vector<std::string>>& names) {
  std::vector<int> sources;
  if (names) {
    for (const std::string& name : *names) sources.push_back(polygons.FindField(name));
  } else {
    for (int i = 0; i < polygons.Fields().FieldCount(); ++i)
      if (polygons.Fields()[i].type < FieldType::kGeometry) sources.push_back(i);
  }
  return sources;
}

/// Values of the fields to copy of all polygons that the layer shows, read in one pass. Numbers are
/// kept as plain doubles, which hold every value of a table's numbers.
class PolygonValues {
 public:
  PolygonValues(const IFeatureLayer& layer, const std::vector<int>& sources) {
    const Fields& fields = layer.FeatureClass().Fields();
    QueryFilter filter;
    filter.withShape = false;
    filter.onlyFields.emplace();
    for (const int source : sources) {
      const FieldType type = fields[source].type;
      const bool isNumber = type < FieldType::kText || type == FieldType::kOid;
      columns_.push_back({.source = source, .isNumber = isNumber, .numbers = {}, .values = {}});
      filter.onlyFields->push_back(fields[source].name);
    }
    const auto rows = layer.Search(filter);
    while (const IRow* row = rows->Next()) {
      oids_.push_back(row->OID());
      for (Column& column : columns_) {
        Value value = row->GetValue(column.source);
        if (column.isNumber) {
          column.numbers.push_back(value.IsNull() || value.IsEmpty() ? kNull : ToDouble(value));
        } else {
          column.values.push_back(std::move(value));
        }
      }
    }
  }

  /// The place of the first of these polygons (OIDs ascending) that the layer shows; -1 for none.
  std::ptrdiff_t FirstOf(const std::vector<Oid>& found) const {
    for (const Oid oid : found) {
      const auto at = PlaceOf(oid);
      if (at >= 0) return at;
    }
    return -1;
  }

  void CopyTo(IFeature& point, std::size_t column, std::size_t place, int target) const {
    const Column& from = columns_[column];
    if (!from.isNumber) {
      point.SetValue(target, from.values[place]);
    } else if (std::isnan(from.numbers[place])) {
      point.SetValue(target, Null{});
    } else {
      point.SetDouble(target, from.numbers[place]);
    }
  }

  /// Bytes of the longest text of a column.
  std::size_t LongestText(std::size_t column) const {
    std::size_t longest = 0;
    for (const Value& value : columns_[column].values)
      if (const std::string* text = value.As<std::string>())
        longest = std::max(longest, text->size());
    return longest;
  }

 private:
  struct Column {
    int source;
    bool isNumber;
    std::vector<double> numbers;  ///< NaN for null
    std::vector<Value> values;    ///< of texts and dates
  };

  std::ptrdiff_t PlaceOf(Oid oid) const {
    // Where no record is missing the OID is the place, or one beyond it in formats that count from
    // 1.
    for (const Oid guess : {oid, oid - 1})
      if (guess >= 0 && guess < std::ssize(oids_) && oids_[static_cast<std::size_t>(guess)] == oid)
        return guess;
    const auto at = std::ranges::lower_bound(oids_, oid);
    return at != oids_.end() && *at == oid ? at - oids_.begin() : -1;
  }

  std::vector<Column> columns_;
  std::vector<Oid> oids_;
};

std::string TargetName(const std::string& source, const std::string& layerName) {
  if (source == "FID") return FirstCharacters(layerName, 6) + "_FID";
  if (source == "AREA") return FirstCharacters(layerName, 5) + "_AREA";
  if (source == "PERIMETER") return FirstCharacters(layerName, 6) + "_PER";
  return source;
}

bool Clashes(const std::string& name, const Fields& fields) {
  return name.empty() || FieldExists(name, fields);
}

/// Adds the field of each source, in order, and gives their indexes in the points' class: fewer
/// than there are sources when a name is taken twice.
std::vector<int> AddTargets(IFeatureClass& points, const IFeatureLayer& layer,
                            const std::vector<int>& sources, const PolygonValues& values,
                            IntersectReport& report) {
  std::vector<int> targets;
  for (std::size_t i = 0; i < sources.size(); ++i) {
    const Field& source = layer.FeatureClass().Fields()[sources[i]];
    std::string name = TargetName(source.name, layer.Name());
    if (Clashes(name, points.Fields())) {
      const std::string typed = AskForFieldName(layer.Name());
      if (Clashes(CleanFileName(typed), points.Fields())) break;
      name = UpToFirstPoint(typed);
    }
    points.AddField(MakeField(name, source.type, LengthToHold(source, values.LongestText(i)), false,
                              true, source.precision));
    report.Line("Added field " + name);
    targets.push_back(points.FindField(name));
  }
  return targets;
}

PointTally CopyUnderPoints(IFeatureClass& points, const IFeatureClass& polygons,
                           const PolygonValues& values, const std::vector<int>& targets,
                           Steps& steps) {
  PointTally tally;
  std::vector<Oid> found;
  const auto rows = points.Update(ShapesOnly());
  while (IFeature* feature = rows->Next()) {
    ++tally.processed;
    steps.Next();
    found.clear();
    if (!feature->Shape().IsEmpty()) {
      const Point& point = feature->Point();
      polygons.FeaturesAt(point.x, point.y, found);
    }
    const std::ptrdiff_t place = values.FirstOf(found);
    if (place < 0) {
      ++tally.outside;
      continue;
    }
    for (std::size_t i = 0; i < targets.size(); ++i)
      values.CopyTo(*feature, i, static_cast<std::size_t>(place), targets[i]);
    rows->UpdateRow(*feature);
  }
  rows->Flush();
  return tally;
}

}  // namespace

bool IsCoverage(const IFeatureClass&) { return false; }

bool ISectPntPoly(IFeatureClass& points, const IFeatureLayer& polygons, bool suppressWarnings,
                  const std::optional<std::vector<std::string>>& fieldNames,
                  IntersectReport& report, bool (*isCoverage)(const IFeatureClass&)) {
  bool ended = false;
  Trap("ISectPntPoly: ", [&] {
    const std::string& name = polygons.Name();
    report.Section("Polygon intersect layer: " + name);
    if (isCoverage(points)) {
      report.Line(
          "!!! Unable to directly modify ArcInfo coverages. The coverage must be converted to a "
          "shape file in order to use the Point Intersect Tool. Skipping layer...");
      if (!suppressWarnings)
        MessageBox(
            "Warning: unable to directly modify ArcInfo coverages. The coverage must be converted "
            "to\ra shape file in order to use the Point Intersect Tool. Skipping layer...",
            kCritical, "Warning");
      return;
    }

    PointTally tally;
    {
      Steps steps(points.FeatureCount(), "Processing points (" + name + ")...", true, 1);
      const IFeatureClass& polygonClass = polygons.FeatureClass();
      const std::vector<int> sources = SourceFields(polygonClass, fieldNames);
      const PolygonValues values(polygons, sources);
      const std::vector<int> targets = AddTargets(points, polygons, sources, values, report);
      tally = CopyUnderPoints(points, polygonClass, values, targets, steps);
    }
    ended = true;
    TellTally(report, tally, name, "layer");
    if (!suppressWarnings) WarnOfPointsOutside(tally.outside, name);
  });
  return ended;
}

}  // namespace orlinths
