// Layers of QGIS whose files have changed under them are read anew.
#pragma once

#include <QPointer>
#include <QString>

#include <map>
#include <string>

class QgsMapLayer;
class QgsProject;

namespace orlinths {

class LayerReload {
 public:
  explicit LayerReload(QgsProject& project) : project_(project) {}
  /// Remembers how the files of all layers are now.
  void Remember();
  /// The same for one layer that has come since.
  void Remember(const QgsMapLayer& layer);
  /// Reads those anew whose files are different now: fields, records, extent, picture.
  void ReloadChanged();

 private:
  QgsProject& project_;
  std::map<QString, std::string> stamps_;  ///< by the layer's id
};

}  // namespace orlinths
