#include "qgis/LayerBridge.h"

#include <QFileInfo>

#include <qgsproject.h>
#include <qgsproviderregistry.h>
#include <qgsrasterlayer.h>
#include <qgsvectorlayer.h>

#include <algorithm>
#include <utility>

#include "data/Workspace.h"
#include "qgis/LockedClass.h"
#include "qgis/ProviderRaster.h"
#include "qgis/ProviderSource.h"
#include "qgis/ProviderTable.h"
#include "qgis/Text.h"
#include "runtime/Files.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

const QString kOgr = QStringLiteral("ogr"), kGdal = QStringLiteral("gdal"),
              kText = QStringLiteral("delimitedtext");

/// Whichever layer of the project it is that edits the data, be it a shapefile or its table.
bool IsOpenForEditing(const QgsVectorLayer& layer) {
  if (layer.isEditable()) return true;
  const std::string file = FileBehind(layer);
  if (file.empty()) return false;
  const std::string dataset = DatasetOf(file);
  const auto others = QgsProject::instance()->mapLayers();
  return std::any_of(others.begin(), others.end(), [&](const QgsMapLayer* other) {
    const auto* vector = qobject_cast<const QgsVectorLayer*>(other);
    return vector != nullptr && vector->isEditable() && DatasetOf(FileBehind(*vector)) == dataset;
  });
}

/// Whether its data are a file that GDAL opens; all others come through QGIS's data provider.
bool IsFile(const QgsVectorLayer& layer) {
  const QString provider = layer.providerType();
  return provider == kOgr || (provider == kText && layer.isValid() && !layer.isSpatial());
}

void TakeSelection(const QgsVectorLayer& from, IFeatureLayer& to) {
  std::vector<Oid> oids;
  for (const QgsFeatureId id : from.selectedFeatureIds()) oids.push_back(id);
  std::sort(oids.begin(), oids.end());
  to.SetSelectionSet(ISelectionSet(std::move(oids)));
}

/// Who names a dBASE table means the table, also beside a shapefile, whose shapes QGIS shows then.
bool NamesTable(const std::string& path) { return LowerCase(path).ends_with(".dbf"); }

BridgedLayer BridgeTable(const QgsVectorLayer& layer, const std::string& path) {
  TablePtr table;
  if (layer.isValid()) Quietly([&] { table = OpenTableByPath(path); });
  if (table && IsOpenForEditing(layer)) table = Locked(std::move(table));
  const std::string name = FromQt(layer.name());
  auto standalone = table ? std::make_shared<IStandaloneTable>(std::move(table))
                          : std::make_shared<IStandaloneTable>(name, path);
  standalone->SetName(name);
  return {standalone, {}};
}

/// A class with the layer's name, filter, selection and lock.
BridgedLayer BridgeClass(const QgsVectorLayer& layer, FeatureClassPtr featureClass) {
  if (IsOpenForEditing(layer)) featureClass = Locked(std::move(featureClass));
  auto bridged = std::make_shared<IFeatureLayer>(std::move(featureClass));
  bridged->SetName(FromQt(layer.name()));
  const std::string filter = FromQt(layer.subsetString());
  // A provider understands the filter that it has been given.
  const auto failure = FailureOf([&] {
    IsFile(layer) ? bridged->SetDefinitionQuery(filter) : bridged->SetSourceQuery(filter);
  });
  if (failure) return {{}, "its filter is not understood: " + failure->Description()};
  TakeSelection(layer, *bridged);
  return {LayerPtr(std::move(bridged)), {}};
}

BridgedLayer BridgeProvider(QgsVectorLayer& layer) {
  const std::string name = FromQt(layer.name());
  if (!layer.isValid())
    return {LayerPtr(std::make_shared<IFeatureLayer>(name, ProviderPath(layer))), {}};
  BridgedLayer bridged;
  const auto failure = FailureOf([&] {
    if (layer.isSpatial()) {
      bridged = BridgeClass(layer, OpenProviderClass(layer));
      return;
    }
    TablePtr table = OpenProviderTable(layer);
    if (IsOpenForEditing(layer)) table = Locked(std::move(table));
    auto standalone = std::make_shared<IStandaloneTable>(std::move(table));
    standalone->SetName(name);
    bridged.layer = std::move(standalone);
  });
  if (failure) return {{}, "it cannot be read: " + failure->Description()};
  return bridged;
}

BridgedLayer BridgeVector(QgsVectorLayer& layer) {
  if (!IsFile(layer)) return BridgeProvider(layer);
  const std::string path = FileBehind(layer);
  if (NamesTable(path) || (layer.isValid() && !layer.isSpatial())) return BridgeTable(layer, path);
  FeatureClassPtr featureClass;
  if (layer.isValid()) Quietly([&] { featureClass = OpenFeatureClassByPath(path); });
  if (!featureClass)
    return {LayerPtr(std::make_shared<IFeatureLayer>(FromQt(layer.name()), path)), {}};
  return BridgeClass(layer, std::move(featureClass));
}

BridgedLayer BridgeProviderRaster(QgsRasterLayer& layer) {
  const std::string name = FromQt(layer.name());
  if (!layer.isValid())
    return {LayerPtr(std::make_shared<IRasterLayer>(name, ProviderPath(layer))), {}};
  if (std::string why = WhyNoCells(layer); !why.empty()) return {{}, std::move(why)};
  return {LayerPtr(std::make_shared<IRasterLayer>(OpenProviderRaster(layer))), {}};
}

BridgedLayer BridgeRaster(QgsRasterLayer& layer) {
  if (layer.providerType() != kGdal) return BridgeProviderRaster(layer);
  const std::string path = FileBehind(layer);
  const QString name = layer.name();
  // QGIS leaves the extension out of a name that it makes itself.
  const bool isDefaultName = name == ToQt(StemOf(path)) || name == ToQt(NameOf(path)) ||
                             name == QFileInfo(layer.source()).completeBaseName();
  RasterDatasetPtr dataset;
  if (layer.isValid()) Quietly([&] { dataset = OpenRasterDataset(FolderOf(path), NameOf(path)); });
  auto bridged = dataset ? std::make_shared<IRasterLayer>(std::move(dataset))
                         : std::make_shared<IRasterLayer>(NameOf(path), path);
  if (!isDefaultName) bridged->SetName(FromQt(name));
  return {LayerPtr(std::move(bridged)), {}};
}

/// A shapefile or dBASE table is one layer, and those in a folder are its layers.
std::string FileOfLayer(const std::string& path, const std::string& layer) {
  for (const char* extension : {".shp", ".dbf"})
    if (LowerCase(path).ends_with(extension)) return path;
  for (const char* extension : {".shp", ".SHP", ".dbf", ".DBF"})
    if (const std::string file = JoinPath(path, layer + extension); files::FileExists(file))
      return file;
  return path + "|layername=" + layer;
}

template <class Layer>
std::unique_ptr<QgsMapLayer> Make(const std::string& path, const std::string& name,
                                  const QString& provider) {
  typename Layer::LayerOptions options;
  options.skipCrsValidation = true;  // no question about a file without reference
  return std::make_unique<Layer>(ToQt(path), ToQt(name), provider, options);
}

}  // namespace

std::string FileBehind(const QgsMapLayer& layer) {
  QString provider;
  if (const auto* vector = qobject_cast<const QgsVectorLayer*>(&layer))
    provider = vector->providerType();
  else if (const auto* raster = qobject_cast<const QgsRasterLayer*>(&layer))
    provider = raster->providerType();
  if (provider != kOgr && provider != kGdal && provider != kText) return {};
  const QVariantMap parts = QgsProviderRegistry::instance()->decodeUri(provider, layer.source());
  QString path = parts.value(QStringLiteral("path")).toString();
  if (path.isEmpty()) return {};
  if (provider == kGdal && path.endsWith(QStringLiteral(".adf")))
    return FolderOf(FromQt(path));  // a binary grid is named by its folder
  const QString inner = parts.value(QStringLiteral("layerName")).toString();
  if (provider != kOgr || inner.isEmpty()) return FromQt(path);
  return FileOfLayer(FromQt(path), FromQt(inner));
}

BridgedLayer Bridge(QgsMapLayer& layer) {
  if (auto* vector = qobject_cast<QgsVectorLayer*>(&layer)) return BridgeVector(*vector);
  if (auto* raster = qobject_cast<QgsRasterLayer*>(&layer)) return BridgeRaster(*raster);
  return {{}, "it holds neither features nor a raster"};
}

std::unique_ptr<QgsMapLayer> ToQgis(const ILayer& layer) {
  if (dynamic_cast<const IRasterLayer*>(&layer) != nullptr)
    return Make<QgsRasterLayer>(layer.SourcePath(), layer.Name(), kGdal);
  if (dynamic_cast<const IFeatureLayer*>(&layer) != nullptr)
    return Make<QgsVectorLayer>(layer.SourcePath(), layer.Name(), kOgr);
  return nullptr;
}

std::unique_ptr<QgsMapLayer> ToQgis(const IStandaloneTable& table) {
  return Make<QgsVectorLayer>(table.SourcePath(), table.Name(), kOgr);
}

}  // namespace orlinths
