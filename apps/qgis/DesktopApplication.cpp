#include "qgis/DesktopApplication.h"

#include <QAction>
#include <QCoreApplication>
#include <QProgressBar>

#include <qgisinterface.h>
#include <qgsmapcanvas.h>
#include <qgsmaptool.h>
#include <qgsmessagebar.h>
#include <qgsproject.h>
#include <qgsrectangle.h>
#include <qgsstatusbar.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "qgis/Text.h"

namespace orlinths {

DesktopApplication::DesktopApplication(QgisInterface& qgis)
    : qgis_(qgis), map_(*QgsProject::instance()) {
  map_.onLayerAdded = [this](const ILayer& layer) {
    if (listener_.layerAdded) listener_.layerAdded(layer);
  };
  map_.onSelectionChanged = [this](const IFeatureLayer& layer) {
    if (listener_.selectionChanged) listener_.selectionChanged(layer);
  };
  map_.onLeftOut = [this](const QStringList& layers) {
    if (layers.isEmpty()) return;
    qgis_.messageBar()->pushMessage(
        QStringLiteral("Orlinth's Tools"),
        QStringLiteral("Not offered to the tools: ") + layers.join(QStringLiteral("; ")),
        Qgis::MessageLevel::Info);
  };
}

DesktopApplication::~DesktopApplication() { HideProgress(); }

void DesktopApplication::Listen(ApplicationListener listener) { listener_ = std::move(listener); }

void DesktopApplication::Select(const std::string& layer, const std::vector<Oid>& oids) {
  map_.Select(layer, oids);
}

// ---- The tool in the user's hand

void DesktopApplication::AddMapTool(const std::string& caption, QgsMapTool* tool) {
  tools_[caption] = tool;
}

QgsMapTool* DesktopApplication::ToolOf(const std::string& caption) const {
  const auto found = tools_.find(caption);
  return found == tools_.end() ? nullptr : found->second.data();
}

std::string DesktopApplication::CurrentTool() const {
  const QgsMapTool* current = qgis_.mapCanvas()->mapTool();
  for (const auto& [caption, tool] : tools_)
    if (current != nullptr && tool.data() == current) return caption;
  return {};
}

void DesktopApplication::TakeInHand(const std::string& caption) {
  if (QgsMapTool* tool = ToolOf(caption)) {
    qgis_.mapCanvas()->setMapTool(tool);
  } else if (caption == kZoomInTool) {
    qgis_.actionZoomIn()->trigger();
  }
  // Any other stays in hand: a command's button takes none of QGIS's own tools away.
}

void DesktopApplication::SetCurrentTool(const std::string& caption) {
  toolChosen_ = true;
  TakeInHand(caption);
}

bool DesktopApplication::TookToolChoice() { return std::exchange(toolChosen_, false); }

// ---- The view

void DesktopApplication::ShowWhole() {
  constexpr QSize kView(1000, 800);
  QgsMapCanvas& canvas = *qgis_.mapCanvas();
  const int frame = 2 * canvas.frameWidth();
  canvas.setMinimumSize(kView + QSize(frame, frame));
  qgis_.mainWindow()->resize(qgis_.mainWindow()->size() + canvas.minimumSize() - canvas.size());
  QCoreApplication::processEvents();
  map_.Renew();
  Envelope full;
  for (const LayerPtr& layer : map_.Layers())
    if (layer->Valid()) full.Add(layer->Extent());
  if (!full.IsEmpty()) SetExtent(full);
}

void DesktopApplication::Refresh() { qgis_.mapCanvas()->refresh(); }

Envelope DesktopApplication::Extent() const {
  const QgsRectangle extent = qgis_.mapCanvas()->extent();
  return {.xMin = extent.xMinimum(),
          .yMin = extent.yMinimum(),
          .xMax = extent.xMaximum(),
          .yMax = extent.yMaximum()};
}

void DesktopApplication::SetExtent(const Envelope& extent) {
  qgis_.mapCanvas()->setExtent(QgsRectangle(extent.xMin, extent.yMin, extent.xMax, extent.yMax));
}

Point DesktopApplication::ToMapPoint(int x, int y) const {
  const QgsPointXY point = qgis_.mapCanvas()->getCoordinateTransform()->toMapCoordinates(x, y);
  return {.x = point.x(), .y = point.y()};
}

// ---- Status bar

void DesktopApplication::SetMessage(const std::string& message) {
  constexpr int kMilliseconds = 5000;
  qgis_.statusBarIface()->showMessage(ToQt(message), kMilliseconds);
  if (listener_.statusBar) listener_.statusBar(message);
}

void DesktopApplication::ShowProgress(std::int64_t position, std::int64_t max,
                                      const std::string& message) {
  constexpr int kParts = 1000, kWidth = 260;
  if (!bar_) {
    bar_ = new QProgressBar;
    bar_->setRange(0, kParts);
    bar_->setMaximumWidth(kWidth);
    qgis_.statusBarIface()->addPermanentWidget(bar_);
  }
  const double share =
      max > 0 ? std::clamp(static_cast<double>(position) / static_cast<double>(max), 0.0, 1.0) : 0;
  bar_->setValue(static_cast<int>(std::lround(share * kParts)));
  qgis_.statusBarIface()->showMessage(ToQt(message));
  if (yield) yield();
}

void DesktopApplication::HideProgress() {
  if (!bar_) return;
  qgis_.statusBarIface()->removeWidget(bar_);
  delete bar_.data();
  qgis_.statusBarIface()->clearMessage();
}

void DesktopApplication::Progressor::SetPosition(std::int64_t position) {
  position_ = position;
  hasNews_ = true;
  if (isShown_ && throttle_.Due()) Tell();
}

void DesktopApplication::Progressor::Hide() {
  if (isShown_ && hasNews_) Tell();
  isShown_ = hasNews_ = false;
  throttle_.Restart();
  application_.HideProgress();
}

void DesktopApplication::Progressor::Tell() {
  hasNews_ = false;
  application_.ShowProgress(position_, max_, message_);
  if (application_.listener_.progress) application_.listener_.progress(position_, max_, message_);
}

}  // namespace orlinths
