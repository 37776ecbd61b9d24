// Layers of QGIS whose files have changed under them are read anew.
#pragma once

#include <QPointer>
#include <QString>

#include <map>
#include <string>

class QgsMapLayer;
class QgsProject;

namespace orlinths {

/// How the files behind a layer are: shapes or cells, attributes, reference.
struct FileStamps {
  std::string data, table, reference;
  bool operator==(const FileStamps&) const = default;
};

/// Whether values of the layer's table decide what its picture on the map looks like.
bool ShowsAttributes(QgsMapLayer& layer);

class LayerReload {
 public:
  explicit LayerReload(QgsProject& project) : project_(project) {}
  /// Remembers how the files of all layers are now.
  void Remember();
  /// The same for one layer that has come since.
  void Remember(const QgsMapLayer& layer);
  /// Reads those anew whose files are different now: fields, records, extent. They are drawn anew
  /// where that can make a difference: a million shapes take QGIS longer than most tools.
  void ReloadChanged();

 private:
  QgsProject& project_;
  std::map<QString, FileStamps> stamps_;  ///< by the layer's id
};

}  // namespace orlinths
