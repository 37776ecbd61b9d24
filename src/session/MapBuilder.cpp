#include "session/MapBuilder.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "data/Workspace.h"
#include "session/References.h"
#include "session/Words.h"
#include "runtime/Files.h"
#include "runtime/Trap.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

std::string Extension(const std::string& path) {
  const std::string name = NameOf(path);
  const auto point = name.rfind('.');
  return point == name.npos ? "" : LowerCase(name.substr(point + 1));
}

/// Does the name alone say raster? A binary grid is a folder with a header of its own.
bool LooksLikeRaster(const std::string& path) {
  static const std::vector<std::string> kExtensions = {"tif", "tiff", "img", "asc", "adf", "vrt",
                                                       "png", "jpg",  "bil", "flt", "gis", "dem"};
  const std::string extension = Extension(path);
  return files::FileExists(JoinPath(path, "hdr.adf")) ||
         std::find(kExtensions.begin(), kExtensions.end(), extension) != kExtensions.end();
}

bool LooksLikeTable(const std::string& path) {
  const std::string extension = Extension(path);
  return extension == "dbf" || extension == "csv";
}

std::string Shown(const LayerEntry& entry) { return entry.name.empty() ? entry.path : entry.name; }

void ApplySelection(const LayerEntry& entry, IFeatureLayer& layer) {
  if (!entry.where.empty()) {
    const auto failure = FailureOf([&] { layer.SetDefinitionQuery(entry.where); });
    if (failure)
      WrongCall("the definition query of " + Shown(entry) + ": " + failure->Description());
  }
  if (entry.selection) layer.SetSelectionSet(ISelectionSet(*entry.selection));
}

LayerPtr InvalidLayer(const LayerEntry& entry) {
  if (LooksLikeRaster(entry.path))
    return std::make_shared<IRasterLayer>(NameOf(entry.path), entry.path);
  return std::make_shared<IFeatureLayer>(StemOf(entry.path), entry.path);
}

LayerPtr MakeLayer(const LayerEntry& entry);

LayerPtr MakeGroup(const LayerEntry& entry) {
  auto group = std::make_shared<IGroupLayer>(entry.name);
  for (const LayerEntry& inner : entry.layers) group->layers.push_back(MakeLayer(inner));
  return group;
}

LayerPtr MakeDataLayer(const LayerEntry& entry) {
  const OpenedInput input = OpenInput(entry.path);
  LayerPtr layer;
  if (const auto* features = std::get_if<FeatureClassPtr>(&input.data)) {
    auto featureLayer = std::make_shared<IFeatureLayer>(*features);
    ApplySelection(entry, *featureLayer);
    layer = std::move(featureLayer);
  } else if (const auto* raster = std::get_if<RasterDatasetPtr>(&input.data)) {
    if (!entry.where.empty() || entry.selection)
      WrongCall(Shown(entry) + " is a raster: it has neither definition query nor selection");
    layer = std::make_shared<IRasterLayer>(*raster);
  } else {
    layer = InvalidLayer(entry);
  }
  return layer;
}

LayerPtr MakeLayer(const LayerEntry& entry) {
  if (entry.IsGroup()) return MakeGroup(entry);
  LayerPtr layer = MakeDataLayer(entry);
  if (!entry.name.empty()) layer->SetName(entry.name);
  return layer;
}

StandaloneTablePtr MakeTable(const LayerEntry& entry) {
  TablePtr table;
  const bool isOpen = Quietly([&] { table = OpenTableByPath(entry.path); });
  auto standalone = isOpen ? std::make_shared<IStandaloneTable>(table)
                           : std::make_shared<IStandaloneTable>(StemOf(entry.path), entry.path);
  if (!entry.name.empty()) standalone->SetName(entry.name);
  return standalone;
}

/// The name that a layer bears when nobody gives it one.
std::string DefaultName(const ILayer& layer) {
  const std::string path = layer.SourcePath();
  if (IsHostPath(path)) return {};
  if (dynamic_cast<const IRasterLayer*>(&layer) != nullptr) return NameOf(path);
  const auto* features = dynamic_cast<const IFeatureLayer*>(&layer);
  if (features != nullptr && features->Valid()) return features->FeatureClass().Name();
  return StemOf(path);
}

LayerEntry EntryOf(const ILayer& layer) {
  LayerEntry entry;
  if (const auto* group = dynamic_cast<const IGroupLayer*>(&layer)) {
    entry.name = group->Name();
    for (const LayerPtr& inner : group->layers) entry.layers.push_back(EntryOf(*inner));
    return entry;
  }
  entry.path = layer.SourcePath();
  if (layer.Name() != DefaultName(layer)) entry.name = layer.Name();
  const auto* features = dynamic_cast<const IFeatureLayer*>(&layer);
  if (features == nullptr || !features->Valid()) return entry;
  entry.where = features->DefinitionQuery();
  if (features->SelectionSet().Count() > 0) entry.selection = features->SelectionSet().Oids();
  return entry;
}

}  // namespace

OpenedInput OpenInput(const std::string& path) {
  OpenedInput input;
  const auto open = [&](const auto& opener) {
    const auto failure = FailureOf([&] { input.data = opener(); });
    // The words for what the path looks like are those that help; the others tell of formats that
    // it is not.
    if (failure && input.failure.empty()) input.failure = failure->Description();
    return !failure;
  };
  const auto features = [&] { return open([&] { return OpenFeatureClassByPath(path); }); };
  const auto raster = [&] {
    return open([&] { return OpenRasterDataset(FolderOf(path), NameOf(path)); });
  };
  const auto table = [&] { return open([&] { return OpenTableByPath(path); }); };
  if (Extension(path) == "dbf") {  // beside a shapefile, too, the user has named the table
    table();
  } else if (LooksLikeRaster(path)) {
    raster() || features();
  } else if (LooksLikeTable(path)) {
    features() || table();
  } else {
    features() || raster() || table();
  }
  return input;
}

namespace {

void CheckFiles(const std::vector<LayerEntry>& entries) {
  for (const LayerEntry& entry : entries) {
    if (IsHostPath(entry.path))
      WrongCall("the layer " + Quoted(entry.path.substr(entry.path.find('/') + 1)) +
                " is no file (" + entry.path +
                "): save it to one, and do the run on that file again");
    CheckFiles(entry.layers);
  }
}

}  // namespace

void CheckAllAreFiles(const MapContents& contents) {
  CheckFiles(contents.layers);
  CheckFiles(contents.tables);
}

void BuildMap(const MapContents& contents, Map& map) {
  CheckAllAreFiles(contents);
  for (const LayerEntry& entry : contents.layers) map.Append(MakeLayer(entry));
  for (const LayerEntry& entry : contents.tables) map.AppendTable(MakeTable(entry));
  if (contents.spatialReference.empty()) return;
  map.SetSpatialReference(ReferenceNamed(contents.spatialReference));
}

MapContents ContentsOf(const IMap& map) {
  MapContents contents;
  for (const LayerPtr& layer : map.TopLayers()) contents.layers.push_back(EntryOf(*layer));
  for (const StandaloneTablePtr& table : map.StandaloneTables()) {
    LayerEntry entry;
    entry.path = table->SourcePath();
    if (IsHostPath(entry.path) || table->Name() != StemOf(entry.path)) entry.name = table->Name();
    contents.tables.push_back(std::move(entry));
  }
  if (const int code = map.SpatialReference()->FactoryCode(); code != 0)
    contents.spatialReference = "EPSG:" + ToText(static_cast<std::int64_t>(code));
  return contents;
}

IFeatureLayer& FeatureLayerNamed(const IMap& map, const std::string& name) {
  std::vector<std::string> names;
  for (const LayerPtr& layer : map.Layers()) {
    auto* features = dynamic_cast<IFeatureLayer*>(layer.get());
    if (features == nullptr || !features->Valid()) continue;
    if (features->Name() == name) return *features;
    names.push_back(features->Name());
  }
  WrongCall("the map has no feature layer " + Quoted(name) + "; it has: " + Listed(names));
}

}  // namespace orlinths
