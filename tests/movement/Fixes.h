// The locations that the tests of the movement tools walk along.
#pragma once

#include <string>
#include <vector>

#include "numerics/Geometry.h"
#include "support/Wkt.h"
#include "support/ToolTest.h"

namespace orlinths {

struct Location {
  int animal;
  Coord at;
};

/// Points with `ANIMAL` (whole numbers up to 9 digits) and `NAME`, "f0", "f1", and so on.
inline OgrDataset FixesOf(const std::vector<Location>& fixes,
                          const std::string& reference = "EPSG:32736") {
  OgrDataset data{.type = "Point",
                  .reference = reference,
                  .columns = {{"ANIMAL", "Integer", 9}, {"NAME", "String", 12}}};
  for (const Location& fix : fixes)
    data.records.push_back(
        {AsWkt(Point{.x = fix.at.x, .y = fix.at.y}),
         {std::to_string(fix.animal), "f" + std::to_string(data.records.size())}});
  return data;
}

}  // namespace orlinths
