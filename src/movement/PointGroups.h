// The points of a class, sorted into groups by the value of a field.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "data/Table.h"
#include "numerics/Geometry.h"

namespace orlinths {

class PointGroups {
 public:
  /// All points of the class as one group, which has no value.
  static PointGroups Whole(const IFeatureClass& points);
  /// One group for each different value, in ascending order; records without a value are in none.
  /// Values are compared as they are: upper and lower case differ, and quotes mean nothing. Error 9
  /// for a field that is not there. One walk over the class and one sort.
  static PointGroups ByValue(const IFeatureClass& points, int field);

  std::size_t Count() const { return starts_.size() - 1; }
  const Value& ValueOf(std::size_t group) const { return values_[group]; }
  /// In the order of the class. NaN for a record without a shape.
  std::span<const Coord> PlacesOf(std::size_t group) const {
    return std::span(places_).subspan(starts_[group], starts_[group + 1] - starts_[group]);
  }
  /// Beside the places: the how manieth record of the class each is, from 0.
  std::span<const std::uint32_t> RecordsOf(std::size_t group) const {
    return std::span(records_).subspan(starts_[group], starts_[group + 1] - starts_[group]);
  }
  /// Records of the class, those without a value too.
  std::size_t RecordCount() const { return recordCount_; }

 private:
  std::vector<Value> values_;
  std::vector<std::size_t> starts_;  // of each group, and the end of the last
  std::vector<Coord> places_;
  std::vector<std::uint32_t> records_;
  std::size_t recordCount_ = 0;
};

}  // namespace orlinths
