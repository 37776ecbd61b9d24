#include "qgis/SessionRun.h"

#include <QDir>

#include <qgslayertree.h>
#include <qgsproject.h>
#include <qgsrasterlayer.h>
#include <qgsvectorlayer.h>

#include <memory>
#include <utility>

#include "host/Commands.h"
#include "qgis/LayerBridge.h"
#include "qgis/Text.h"
#include "qgis/WidgetHand.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"
#include "session/EventWriter.h"
#include "session/MapBuilder.h"
#include "session/SessionFile.h"
#include "session/SessionPlayer.h"
#include "session/Words.h"

namespace orlinths {
namespace {

QgsMapLayer* Added(std::unique_ptr<QgsMapLayer> layer) {
  return QgsProject::instance()->addMapLayer(layer.release(), false);
}

/// The layer that QGIS makes of what the platform would make of the entry.
void Append(const LayerEntry& entry, QgsLayerTreeGroup& group) {
  if (entry.IsGroup()) {
    QgsLayerTreeGroup* inner = group.addGroup(ToQt(entry.name));
    for (const LayerEntry& layer : entry.layers) Append(layer, *inner);
    return;
  }
  MapContents one;
  one.layers = {entry};
  Map map;
  BuildMap(one, map);
  const ILayer& made = *map.TopLayers().front();
  QgsMapLayer* layer = Added(ToQgis(made));
  if (auto* vector = qobject_cast<QgsVectorLayer*>(layer)) {
    if (!entry.where.empty()) vector->setSubsetString(ToQt(entry.where));
    QgsFeatureIds ids;
    if (entry.selection) ids = QgsFeatureIds(entry.selection->begin(), entry.selection->end());
    vector->selectByIds(ids);
  }
  group.addLayer(layer);
}

int PlayOne(const std::string& path, const Sink& out, DesktopApplication& application,
            WidgetHand& hand) {
  WrittenPaths paths;
  const Session session = ReadSession(path, paths);
  FillProject(session.map);
  application.ShowWhole();
  const auto events = MakeJsonEvents(out);
  Replies replies({}, session.replies, {});
  SessionSteps steps(session.steps);
  SessionPlayer::Settings settings;
  settings.clock = session.clock ? *session.clock : ClockNanoseconds();
  settings.paths = &paths;
  settings.windows = &hand;
  SessionPlayer player(application, *events, replies, steps, settings);
  const int status = player.Play();
  if (!player.Trouble().empty()) out("orlinths: " + path + ": " + player.Trouble() + '\n');
  return status;
}

}  // namespace

SessionOrder SessionOrder::FromEnvironment() {
  SessionOrder order;
  const auto paths = qEnvironmentVariable("ORLINTHS_SESSION").split(QDir::listSeparator());
  for (const QString& path : paths)
    if (!path.isEmpty()) order.sessionPaths.push_back(FromQt(path));
  order.eventsFolder = FromQt(qEnvironmentVariable("ORLINTHS_EVENTS"));
  order.pictureFolder = FromQt(qEnvironmentVariable("ORLINTHS_PICTURES"));
  return order;
}

void AddToProject(const MapContents& contents) {
  QgsLayerTree* root = QgsProject::instance()->layerTreeRoot();
  for (const LayerEntry& entry : contents.layers) Append(entry, *root);
  for (const LayerEntry& entry : contents.tables) {
    MapContents one;
    one.tables = {entry};
    Map map;
    BuildMap(one, map);
    root->addLayer(Added(ToQgis(*map.StandaloneTables().front())));
  }
}

void FillProject(const MapContents& contents) {
  AddToProject(contents);
  if (!contents.spatialReference.empty()) {
    QgsCoordinateReferenceSystem crs;
    crs.createFromUserInput(ToQt(contents.spatialReference));
    QgsProject::instance()->setCrs(crs);
  } else if (const auto layers = QgsProject::instance()->layerTreeRoot()->layerOrder();
             !layers.isEmpty()) {
    QgsProject::instance()->setCrs(layers.constFirst()->crs());
  }
}

int PlayInQgis(const SessionOrder& order, DesktopApplication& application, WidgetHand& hand) {
  int status = exit_status::kSuccess;
  for (const std::string& path : order.sessionPaths) {
    std::unique_ptr<OutputFile> file;
    if (!order.eventsFolder.empty())
      file = std::make_unique<OutputFile>(JoinPath(order.eventsFolder, StemOf(path) + ".events"),
                                          OutputFile::Mode::kReplace);
    const Sink out = [&](std::string_view text) {
      if (!file) return;
      file->Write(text);
      file->Flush();
    };
    QgsProject::instance()->clear();
    ForgetDialogs();
    hand.KeepPicturesIn(order.pictureFolder, StemOf(path));
    status = exit_status::kWrongCall;
    const auto failure = FailureOf([&] { status = PlayOne(path, out, application, hand); });
    if (failure) out("orlinths: " + failure->Description() + '\n');
    if (file) file->Close();
  }
  return status;
}

}  // namespace orlinths
