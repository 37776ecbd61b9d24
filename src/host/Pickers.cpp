#include "host/Pickers.h"

#include <utility>

#include "data/Application.h"
#include "data/FieldsAndDatasets.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"

namespace orlinths {
namespace {

/// Asks, then keeps the choice in `output` and the full path in the box. An existing dataset goes
/// at once: it is gone even if the user leaves the dialog afterwards. `deletedWith` is put back on
/// the name for the deletion.
void PickOutput(const IDialogHost::Question& question, const std::string& extension,
                const std::string& deletedWith, OutputChoice& output, TextBox& box) {
  IDialogHost::Choice choice;
  if (!DialogHost().Pick(question, choice)) return;
  output = {choice.folder, choice.name};
  if (output.name.ends_with(extension)) output.name.resize(output.name.size() - extension.size());
  if (choice.replacing && !DeleteFile(output.folder, output.name + deletedWith)) {
    MessageBox("ERROR: could not delete file. Please define another output name and try again.",
               kCritical, "Error");
    return;
  }
  box.text = JoinPath(output.folder, output.name + extension);
}

}  // namespace

void PickShapefile(Dialog& owner, const std::string& title, OutputChoice& output, TextBox& box,
                   bool startAtOutput) {
  PickOutput({.title = title,
              .filter = IDialogHost::Filter::kShapefiles,
              .startFolder = startAtOutput ? output.folder : std::string(),
              .owner = &owner},
             ".shp", "", output, box);
}

void PickDbf(Dialog& owner, const std::string& title, OutputChoice& output, TextBox& box) {
  PickOutput(
      {.title = title, .filter = IDialogHost::Filter::kDbase, .startFolder = "", .owner = &owner},
      ".dbf", ".dbf", output, box);
}

bool PickSave(Dialog& owner, const std::string& title, IDialogHost::Filter filter,
              IDialogHost::Choice& choice, const std::string& startFolder) {
  return DialogHost().Pick(
      {.title = title, .filter = filter, .startFolder = startFolder, .owner = &owner}, choice);
}

bool PickOpen(Dialog& owner, const std::string& title, IDialogHost::Filter filter,
              std::string& fullName) {
  IDialogHost::Choice choice;
  if (!DialogHost().Pick(
          {.title = title, .filter = filter, .startFolder = "", .save = false, .owner = &owner},
          choice))
    return false;
  fullName = choice.FullName();
  return true;
}

void PickOutputFolder(Dialog& owner, std::string& folder, TextBox& box) {
  if (PickOpen(owner, "Select output folder...", IDialogHost::Filter::kFolders, folder))
    box.text = folder;
}

void PickSpatialReference(Dialog& owner, SpatialReferencePtr& reference, TextBox& box) {
  // The box's own words are the question, without the colon that leads to it.
  std::string title = box.caption;
  if (title.ends_with(':')) title.pop_back();
  SpatialReferencePtr chosen = reference ? reference : NotNothing(gMap).SpatialReference();
  if (!DialogHost().PickSpatialReference({.title = std::move(title), .owner = &owner}, chosen))
    return;
  reference = std::move(chosen);
  box.text = reference->Name();
}

}  // namespace orlinths
