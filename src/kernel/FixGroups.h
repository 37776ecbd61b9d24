// The points of a layer by an identifier, gathered in one pass.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "data/Table.h"
#include "kernel/Kernel.h"
#include "runtime/RuntimeError.h"

namespace orlinths {

/// The points of each identifier, in the order of a cursor: what one search an identifier would
/// give, for the cost of one walk. 24 bytes a point.
class FixGroups {
 public:
  /// Points of an identifier that is not in `ids`, and of none, are left out.
  /// O(points * log ids).
  FixGroups(ICursor& points, int idField, std::optional<int> weightField,
            std::span<const std::int32_t> ids);

  struct Group {
    PointArray points;
    Envelope extent;
  };
  /// The `i`th identifier's points; they are handed out once. A point without shape or without
  /// weight (errors 91 and 94) is raised here, when its group is asked for.
  Group Take(std::size_t i);

 private:
  struct Gathered {
    std::vector<double> numbers;  ///< X, Y and weight, point by point
    std::optional<RuntimeError> failure;
  };
  std::vector<Gathered> groups_;
};

}  // namespace orlinths
