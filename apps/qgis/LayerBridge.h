// A layer of QGIS as the platform's layer or table, and the other way round.
#pragma once

#include <memory>
#include <string>
#include <variant>

#include "data/Layers.h"

class QgsMapLayer;

namespace orlinths {

/// What a layer of QGIS becomes: a layer, a stand-alone table, or nothing, with the reason.
struct BridgedLayer {
  std::variant<std::monostate, LayerPtr, StandaloneTablePtr> layer;
  std::string whyLeftOut;
};

/// Name, validity, filter, selection and lock as QGIS has them; the data straight from the file, or
/// through QGIS's data provider where there is no file that GDAL opens. Pictures that a server
/// draws are left out.
BridgedLayer Bridge(QgsMapLayer& layer);

/// The file behind a layer as the platform names it; empty for a layer that has none.
std::string FileBehind(const QgsMapLayer& layer);

/// A layer of QGIS on the same data and of the same name, owned by nobody yet.
std::unique_ptr<QgsMapLayer> ToQgis(const ILayer& layer);
std::unique_ptr<QgsMapLayer> ToQgis(const IStandaloneTable& table);

}  // namespace orlinths
