#include "qgis/LayerReload.h"

#include <sys/stat.h>

#include <qgsexpressioncontext.h>
#include <qgsmaplayertemporalproperties.h>
#include <qgsproject.h>
#include <qgsrasterdataprovider.h>
#include <qgsrasterlayer.h>
#include <qgsrendercontext.h>
#include <qgsrenderer.h>
#include <qgsvectordataprovider.h>
#include <qgsvectorlayer.h>

#include <optional>

#include "data/Workspace.h"
#include "qgis/KeptSelection.h"
#include "qgis/LayerBridge.h"
#include "runtime/Files.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

std::string StampOfFile(const std::string& path) {
  struct stat state {};
  if (stat(path.c_str(), &state) != 0) return "-";
  return ToText(static_cast<std::int64_t>(state.st_ino)) + ' ' +
         ToText(static_cast<std::int64_t>(state.st_size)) + ' ' +
         ToText(static_cast<std::int64_t>(state.st_mtim.tv_sec)) + ' ' +
         ToText(static_cast<std::int64_t>(state.st_mtim.tv_nsec));
}

/// The file beside `path` with that extension, whatever case it is in.
std::string StampBeside(const std::string& path, const char* lower, const char* upper) {
  const std::string stem = JoinPath(FolderOf(path), StemOf(path));
  return StampOfFile(stem + lower) + ' ' + StampOfFile(stem + upper);
}

/// Of a shapefile and of its table the same.
FileStamps StampsOf(const QgsMapLayer& layer) {
  const std::string file = FileBehind(layer);
  if (file.empty()) return {};
  const std::string named = file.substr(0, file.find('|')), path = DatasetOf(named);
  return {StampOfFile(path), StampBeside(path, ".dbf", ".DBF"), StampBeside(named, ".prj", ".PRJ")};
}

/// A database, whose file stays while its rows change. A shapefile of the same name is another one,
/// even where the system has given its file the old one's number.
bool IsWrittenInPlace(const QgsMapLayer& layer, const FileStamps& before, const FileStamps& now) {
  const auto file = [](const FileStamps& stamps) {
    return stamps.data.substr(0, stamps.data.find(' '));
  };
  return FileBehind(layer).find("|layername=") != std::string::npos && file(before) == file(now);
}

void ReadAnew(QgsMapLayer& layer) {
  if (auto* vector = qobject_cast<QgsVectorLayer*>(&layer)) {
    if (vector->isEditable()) return;
    if (vector->isValid()) {
      vector->dataProvider()->reloadData();
      vector->updateFields();
      vector->updateExtents();
    }
  } else if (auto* raster = qobject_cast<QgsRasterLayer*>(&layer)) {
    if (raster->isValid()) raster->dataProvider()->reloadData();
  }
  if (!layer.isValid()) layer.setDataSource(layer.source(), layer.name(), layer.providerType());
}

}  // namespace

bool ShowsAttributes(QgsMapLayer& layer) {
  const auto* vector = qobject_cast<QgsVectorLayer*>(&layer);
  if (vector == nullptr || !vector->isValid() || vector->renderer() == nullptr) return true;
  if (vector->labelsEnabled() || vector->diagramsEnabled()) return true;
  if (!vector->subsetString().isEmpty() || layer.temporalProperties()->isActive()) return true;
  QgsRenderContext context;
  context.expressionContext() = vector->createExpressionContext();
  const QgsFeatureRenderer& renderer = *vector->renderer();
  return renderer.orderByEnabled() || !renderer.usedAttributes(context).isEmpty();
}

void LayerReload::Remember() {
  stamps_.clear();
  for (const QgsMapLayer* layer : project_.mapLayers()) Remember(*layer);
}

void LayerReload::Remember(const QgsMapLayer& layer) { stamps_[layer.id()] = StampsOf(layer); }

void LayerReload::ReloadChanged() {
  for (QgsMapLayer* layer : project_.mapLayers()) {
    const auto known = stamps_.find(layer->id());
    if (known == stamps_.end()) continue;
    FileStamps now = StampsOf(*layer);
    if (known->second == now) continue;
    FileStamps tableOnly = known->second;
    tableOnly.table = now.table;
    const bool isTableOnly = tableOnly == now;
    const bool looksTheSame = isTableOnly && layer->isValid() && !ShowsAttributes(*layer);
    const bool hasSameRows = isTableOnly || IsWrittenInPlace(*layer, known->second, now);
    known->second = std::move(now);
    {
      std::optional<KeptSelection> selection;  // of other rows it would say nothing
      auto* vector = qobject_cast<QgsVectorLayer*>(layer);
      if (vector != nullptr && hasSameRows) selection.emplace(*vector);
      ReadAnew(*layer);
    }
    if (!looksTheSame) layer->triggerRepaint();
  }
}

}  // namespace orlinths
