// How the controls of a dialog are arranged, told without any widget: sections, rows, and what goes
// to the foot of the window.
#pragma once

#include <string>
#include <vector>

#include "host/Dialog.h"

namespace orlinths {

/// One row of a section.
struct PlannedRow {
  enum class Kind {
    kField,    ///< caption | box, with the picker and the arrows that belong to it
    kChoice,   ///< a check box or option, with the field behind it if there is one
    kButtons,  ///< buttons side by side
    kLists,    ///< lists side by side, each under its caption
    kWide,     ///< a label, calendar, page of text or progress bar over the whole width
  };
  Kind kind = Kind::kWide;
  /// The row's caption: a label control that says it, or else the field's own words; neither where
  /// the words stand in the dialog already.
  Label* label = nullptr;
  std::string caption;
  std::vector<Control*> controls;  ///< of kChoice the choice first
  Button* picker = nullptr;
  UpDown* arrows = nullptr;
};

/// Rows under one another: in a frame, or between frames.
struct PlannedSection {
  const Frame* frame = nullptr;
  std::vector<PlannedRow> rows;
};

struct DialogPlan {
  std::vector<PlannedSection> sections;
  TextBox* status = nullptr;  ///< the line that tells what is going on
  std::vector<ProgressBar*> progress;
  std::vector<Button*> buttons;  ///< at the foot
};

/// Every control of the dialog stands in the plan exactly once.
DialogPlan PlanOf(const Dialog& dialog);

}  // namespace orlinths
