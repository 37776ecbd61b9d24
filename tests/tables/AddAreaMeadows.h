// The meadows that the tests of area and perimeter measure.
#pragma once

#include <string>

#include "tables/AddArea.h"
#include "support/ToolTest.h"

namespace orlinths {

inline const char* const kAreaWarning =
    "Warning: a problem was encountered while processing AREA.\r"
    "Please check that the dataset is not in use by another application and try again.";
inline const char* const kPerimeterWarning =
    "Warning: a problem was encountered while processing PERIMETER.\r"
    "Please check that the dataset is not in use by another application and try again.";
inline const Message kComplete{"Processing complete.", kInformation, "Status"};

/// 100 m square; 300 x 200 m with a pond of 100 x 50 m; a right triangle of 30, 40 and 50 m and a
/// 10 m square.
inline OgrDataset Meadows() {
  return {.type = "Polygon",
          .reference = "EPSG:32631",
          .columns = {{"NAME", "String", 20}, {"VISITS", "Integer", 4}, {"HA", "Real", 12, 4}},
          .records = {
              {"POLYGON((0 0, 0 100, 100 100, 100 0, 0 0))", {"Lower field", "4", "1.5"}},
              {"POLYGON((200 0, 200 200, 500 200, 500 0, 200 0),"
               "(300 50, 400 50, 400 100, 300 100, 300 50))",
               {"Pond meadow", "7", "2.5"}},
              {"MULTIPOLYGON(((600 0, 600 40, 630 0, 600 0)),"
               "((700 0, 700 10, 710 10, 710 0, 700 0)))",
               {"Two corners", "1", "3.5"}},
          }};
}

class AddAreaTest : public ToolTest {
 protected:
  void OpenOn(const std::string& layer) {
    Open<frmAddArea>();
    Set("cmbPFL", layer);
  }
};

}  // namespace orlinths
