// Choices of files, folders and spatial references, each the way its kind of output asks for.
#pragma once

#include <string>

#include "host/Dialog.h"

namespace orlinths {

/// What a save picker leaves in a dialog: the run uses these, the text box is for display.
struct OutputChoice {
  std::string folder;
  std::string name;  ///< without extension
  bool IsSet() const { return !folder.empty() && !name.empty(); }
};

/// Save picker for a shapefile. Cancelling changes nothing. A trailing ".shp" (exact case) is cut
/// off the name. An existing dataset is deleted at once; when that fails a message says so and the
/// box stays as it is, with `output` already set. With `startAtOutput` the choice starts in
/// `output.folder`.
void PickShapefile(Dialog& owner, const std::string& title, OutputChoice& output, TextBox& box,
                   bool startAtOutput = false);
/// The same for a dBASE table (".dbf").
void PickDbf(Dialog& owner, const std::string& title, OutputChoice& output, TextBox& box);
/// The plain catalogue questions, for pickers whose rule stands with their tool. False when
/// cancelled.
bool PickSave(Dialog& owner, const std::string& title, IDialogHost::Filter filter,
              IDialogHost::Choice& choice, const std::string& startFolder = {});
bool PickOpen(Dialog& owner, const std::string& title, IDialogHost::Filter filter,
              std::string& fullName);
/// Output folder: `folder` and the box get the full name.
void PickOutputFolder(Dialog& owner, std::string& folder, TextBox& box);
/// Spatial reference, starting with the present one, or the map's where there is none yet; the box
/// gets its name. The box is to be declared with `Picks::kSpatialReference`.
void PickSpatialReference(Dialog& owner, SpatialReferencePtr& reference, TextBox& box);

}  // namespace orlinths
