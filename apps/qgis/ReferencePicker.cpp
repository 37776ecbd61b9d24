#include "qgis/ReferencePicker.h"

#include <qgscoordinatereferencesystem.h>
#include <qgsprojectionselectiondialog.h>

#include "qgis/References.h"
#include "qgis/Text.h"

namespace orlinths {

bool AskForReference(const IDialogHost::ReferenceQuestion& question, SpatialReferencePtr& reference,
                     QWidget* parent) {
  QgsProjectionSelectionDialog dialog(parent);
  dialog.setWindowTitle(ToQt(question.title));
  dialog.setShowNoProjection(true);
  const QgsCoordinateReferenceSystem start = CrsOf(*reference);
  dialog.setCrs(start);
  if (dialog.exec() != QDialog::Accepted) return false;
  if (const QgsCoordinateReferenceSystem chosen = dialog.crs(); chosen != start)
    reference = ReferenceOf(chosen);
  return true;
}

}  // namespace orlinths
