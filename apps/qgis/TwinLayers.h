// Layers of the project that stand on one table.
#pragma once

#include <QString>

class QgsVectorLayer;

namespace orlinths {

/// What names the table behind a layer, whatever the layer's filter, columns of shapes or keys;
/// empty for one that no other layer can stand on.
QString TableBehind(const QgsVectorLayer& layer);

/// The data of a layer have changed: others of the project on the same table show it, with their
/// own filter, selection and looks. One that its user edits is left alone.
void ShowInTwins(const QgsVectorLayer& changed);

}  // namespace orlinths
