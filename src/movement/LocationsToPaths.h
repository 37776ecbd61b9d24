// Lines through the locations of animals: one for all, one for each path or one for each step.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "data/Table.h"
#include "host/Dialog.h"
#include "host/Pickers.h"

namespace orlinths {

struct PathOptions {
  std::optional<std::string> pathField =
      std::nullopt;  ///< identifies the path of a location; none: all are of one
  std::optional<std::string> sortField =
      std::nullopt;        ///< gives their order, ascending; none: as they stand
  bool lineAStep = false;  ///< instead of a line for a path
};

/// Inserts lines through all points of a class, whatever a layer selects or filters. A path goes on
/// as long as the identifier stays equal to that of the location before, so one that comes back
/// later makes a line of its own; null equals nothing. A path of one location makes no line. Field
/// `idField` of `lines` (-1: none) gets the identifier.
///
/// `progress` is told now and then how many points have been read and, when they are sorted,
/// written. O(n), or O(n log n) when sorted; sorting holds coordinates and fields of all points in
/// memory. Error 91 at a point without shape, and where steps are asked for and there is not a
/// single point; what was inserted before stays.
void WritePaths(const IFeatureClass& points, const PathOptions& options, IFeatureClass& lines,
                int idField, const std::function<void(std::int64_t)>& progress);

class frmLocsToPath : public Dialog {
 public:
  frmLocsToPath();

 private:
  void OnLoad() override;
  void ChooseLayer();
  void ConvertLocations();
  bool IsRefused() const;

  ComboBox* cmbFL;
  OptionButton *optOne, *optMany;
  ComboBox* cmbPathFld;
  CheckBox* chkSep;
  OptionButton *optSorted, *optSort;
  ComboBox* cmbSortFld;
  TextBox* txtOutFile;
  ProgressBar* ProgressBar1;
  Button* btnOK;

  OutputChoice output_;  ///< of the last choice, while the process lives
};

}  // namespace orlinths
