// Whole tools, through their dialogs, on layers in memory: every session ends as it does on files.
#include <qgsmemoryproviderutils.h>
#include <qgsvectordataprovider.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "component/Component.h"
#include "data/Workspace.h"
#include "qgis/ProviderFixture.h"
#include "qgis/Text.h"
#include "runtime/Files.h"
#include "session/EventWriter.h"
#include "session/MapBuilder.h"
#include "session/Replies.h"
#include "session/SessionFile.h"
#include "session/SessionPlayer.h"
#include "session/StepSource.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

/// The tools' sessions in a folder of their own, where they write.
class ProviderTools : public ProviderFixture, public ::testing::WithParamInterface<const char*> {
 protected:
  ProviderTools() {
    RegisterTools();
    fs::copy(ORLINTHS_SESSIONS, folder.Path(), fs::copy_options::recursive);
    // What tools propose for their output is then the same for both.
    project.setFileName(ToQt(folder / "data/project.qgz"));
  }

  /// A layer in memory that holds what the file does, under the same name and in columns as wide.
  std::shared_ptr<IFeatureLayer> InMemory(const IFeatureLayer& onFile) {
    QgsVectorLayer file(ToQt(onFile.SourcePath()), ToQt(onFile.Name()), QStringLiteral("ogr"));
    QgsFields columns;
    for (int i = 0; i < file.fields().count(); ++i) {
      QgsField column = file.fields().at(i);
      const Field& field = onFile.FeatureClass().Fields()[i + 2];
      column.setLength(field.length);
      column.setPrecision(field.scale);
      columns.append(column);
    }
    auto* copy = QgsMemoryProviderUtils::createMemoryLayer(ToQt(onFile.Name()), columns,
                                                           file.wkbType(), file.crs());
    QgsFeatureList rows;
    QgsFeatureIterator from = file.getFeatures();
    QgsFeature row;
    while (from.nextFeature(row)) rows += row;
    EXPECT_TRUE(copy->dataProvider()->addFeatures(rows));
    project.addMapLayer(copy);
    auto layer = std::make_shared<IFeatureLayer>(OpenProviderClass(*copy));
    layer->SetName(onFile.Name());
    // Filters are the provider's; rows in memory are numbered from 1.
    EXPECT_TRUE(copy->setSubsetString(ToQt(onFile.DefinitionQuery())));
    layer->SetSourceQuery(onFile.DefinitionQuery());
    ISelectionSet selection;
    for (const Oid oid : onFile.SelectionSet().Oids()) selection.Add(oid + 1);
    layer->SetSelectionSet(std::move(selection));
    return layer;
  }

  /// A file knows no nulls.
  static std::vector<std::string> RowsWithoutNulls(const ITable& table) {
    std::vector<std::string> lines;
    const CursorPtr rows = table.Search();
    while (const IRow* row = rows->Next()) {
      lines.push_back(row->Shape().IsEmpty() ? "-" : AsWkt(row->Shape()));
      for (int i = 2; i < table.Fields().FieldCount(); ++i) {
        const bool isText = table.Fields()[i].type == FieldType::kText;
        const Value value = row->GetValue(i);
        lines.back() += '|' + (value.IsNull() ? (isText ? "" : "0") : ToText(value));
      }
    }
    return lines;
  }

  /// A table that names rows of its input, which are numbered from 0 in a file and from 1 in
  /// memory.
  static bool NamesRows(const std::string& path) { return path.ends_with("/heights.dbf"); }
  static std::vector<std::string> RowsNamedFrom(Oid first, const std::string& path) {
    const TablePtr table = OpenTableByPath(path);
    const int named = table->FindField("POLYFID");
    EXPECT_GT(named, 0);
    std::vector<std::string> lines;
    const CursorPtr rows = table->Search();
    while (const IRow* row = rows->Next()) {
      std::string line = ToText(row->GetDouble(named) - static_cast<double>(first));
      for (int i = 0; i < table->Fields().FieldCount(); ++i)
        if (i != named) line += '|' + ToText(row->GetValue(i));
      lines.push_back(std::move(line));
    }
    return lines;
  }

  struct Outcome {
    int status = -1;
    std::string events;
    std::map<std::string, std::string> files;                ///< all but the inputs
    std::map<std::string, std::vector<std::string>> inputs;  ///< fields and rows by layer
    std::vector<std::string> named;                          ///< of the table that names rows
  };

  Outcome Play(bool inMemory) {
    WrittenPaths paths;
    const Session session = ReadSession(folder / (std::string(GetParam()) + ".json"), paths);
    Outcome outcome;
    PlayedApplication application;
    Map onFiles;
    BuildMap(session.map, inMemory ? onFiles : application.map);
    std::vector<std::string> inputFiles;
    if (inMemory) {
      for (const LayerPtr& layer : onFiles.TopLayers()) {
        const auto* features = dynamic_cast<const IFeatureLayer*>(layer.get());
        application.map.Append(features != nullptr ? InMemory(*features) : layer);
      }
      application.map.SetSpatialReference(onFiles.SpatialReference());
    }
    const std::vector<LayerPtr> inputs = application.map.TopLayers();
    const auto events = MakeJsonEvents([&](std::string_view line) { outcome.events += line; });
    Replies replies({}, session.replies, {});
    SessionSteps steps(session.steps);
    {
      SessionPlayer player(application, *events, replies, steps,
                           {.clock = session.clock.value_or(0), .paths = &paths});
      outcome.status = player.Play();
      EXPECT_EQ(player.Trouble(), "");
    }
    for (const LayerPtr& layer : inputs) {
      const auto* features = dynamic_cast<const IFeatureLayer*>(layer.get());
      if (features == nullptr) continue;
      auto& told = outcome.inputs[features->Name()];
      for (int i = 2; i < features->FeatureClass().Fields().FieldCount(); ++i)
        told.push_back(features->FeatureClass().Fields()[i].name);
      for (std::string& row : RowsWithoutNulls(features->FeatureClass()))
        told.push_back(std::move(row));
    }
    for (const auto& entry : fs::recursive_directory_iterator(folder.Path())) {
      const std::string path = entry.path().string().substr(folder.Path().size());
      const bool isInput = fs::exists(ORLINTHS_SESSIONS + path);
      if (entry.is_regular_file() && !isInput && !path.ends_with(".aux.xml"))
        outcome.files[path] = ReadBytes(entry.path().string());
      if (NamesRows(path)) outcome.named = RowsNamedFrom(inMemory ? 1 : 0, entry.path().string());
    }
    return outcome;
  }

  void Restore() {
    for (const auto& entry : fs::directory_iterator(folder.Path())) fs::remove_all(entry.path());
    fs::copy(ORLINTHS_SESSIONS, folder.Path(), fs::copy_options::recursive);
  }
};

std::vector<std::string> LinesOf(const std::string& events) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < events.size();) {
    const std::size_t end = std::min(events.find('\n', at), events.size());
    const std::string line = events.substr(at, end - at);
    // Progress comes by the clock on the wall.
    if (line.find("\"event\":\"progress\"") == std::string::npos) lines.push_back(line);
    at = end + 1;
  }
  return lines;
}

TEST_P(ProviderTools, EndOnMemoryAsOnFiles) {
  const Outcome onFiles = Play(false);
  ASSERT_EQ(onFiles.status, 0);
  Restore();
  const Outcome inMemory = Play(true);
  EXPECT_EQ(inMemory.status, 0);
  EXPECT_EQ(LinesOf(inMemory.events), LinesOf(onFiles.events));
  EXPECT_EQ(inMemory.inputs, onFiles.inputs);
  std::vector<std::string> left, right;
  for (const auto& [path, bytes] : inMemory.files) left.push_back(path);
  for (const auto& [path, bytes] : onFiles.files) right.push_back(path);
  ASSERT_EQ(left, right);
  for (const auto& [path, bytes] : onFiles.files)
    EXPECT_TRUE(NamesRows(path) || inMemory.files.at(path) == bytes) << path << " differs";
  EXPECT_EQ(inMemory.named, onFiles.named);
}

INSTANTIATE_TEST_SUITE_P(Sessions, ProviderTools,
                         ::testing::Values("add-area", "add-length", "add-xy", "batch-kernel",
                                           "convex-polygons", "delete-fields", "intersect-points",
                                           "kernel", "locations-to-paths", "movement-parameters",
                                           "random-points", "sum-values", "unique-values",
                                           "zonal-stats"),
                         [](const auto& session) {
                           std::string name = session.param;
                           std::erase(name, '-');
                           return name;
                         });

}  // namespace
}  // namespace orlinths
