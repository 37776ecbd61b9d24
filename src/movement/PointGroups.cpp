#include "movement/PointGroups.h"

#include <numeric>
#include <string>

#include "data/KeyColumn.h"

namespace orlinths {
namespace {

Coord PlaceOf(const IFeature& feature) {
  if (feature.Shape().IsEmpty()) return {Point::kNone, Point::kNone};
  const Point& point = feature.Point();
  return {point.x, point.y};
}

}  // namespace

PointGroups PointGroups::Whole(const IFeatureClass& points) {
  PointGroups whole;
  whole.values_.emplace_back();
  const auto rows = points.Search(ShapesOnly());
  while (const IFeature* feature = rows->Next()) whole.places_.push_back(PlaceOf(*feature));
  whole.recordCount_ = whole.places_.size();
  whole.records_.resize(whole.recordCount_);
  std::iota(whole.records_.begin(), whole.records_.end(), 0U);
  whole.starts_ = {0, whole.recordCount_};
  return whole;
}

PointGroups PointGroups::ByValue(const IFeatureClass& points, int field) {
  const std::string name = points.Fields().At(field).name;
  KeyColumn keys(points, name);
  std::vector<Coord> places;
  QueryFilter what = ShapesOnly();
  what.onlyFields->push_back(name);
  const auto rows = points.Search(what);
  while (const IFeature* feature = rows->Next()) {
    keys.Add(*feature);
    places.push_back(PlaceOf(*feature));
  }

  PointGroups groups;
  groups.recordCount_ = places.size();
  groups.places_.reserve(places.size());
  groups.records_.reserve(places.size());
  std::size_t last = 0;
  for (const std::size_t record : keys.Sorted()) {
    if (keys.IsNull(record)) continue;
    if (groups.places_.empty() || keys.Order(last, record) != 0) {
      groups.values_.push_back(keys.At(record));
      groups.starts_.push_back(groups.places_.size());
    }
    groups.places_.push_back(places[record]);
    groups.records_.push_back(static_cast<std::uint32_t>(record));
    last = record;
  }
  groups.starts_.push_back(groups.places_.size());
  return groups;
}

}  // namespace orlinths
