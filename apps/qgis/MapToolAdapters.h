// A map tool of ours in the hand of a QGIS user.
#pragma once

#include <qgsmaptool.h>

#include "host/Commands.h"

namespace orlinths {

class MapToolAdapter : public QgsMapTool {
 public:
  /// `tool` must outlive it.
  MapToolAdapter(QgsMapCanvas* canvas, ITool& tool, const QString& name);
  void canvasPressEvent(QgsMapMouseEvent* event) override;
  void canvasMoveEvent(QgsMapMouseEvent* event) override;
  void canvasReleaseEvent(QgsMapMouseEvent* event) override;
  void canvasDoubleClickEvent(QgsMapMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void deactivate() override;

 private:
  ITool& tool_;
};

}  // namespace orlinths
