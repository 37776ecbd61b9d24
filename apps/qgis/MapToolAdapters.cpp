#include "qgis/MapToolAdapters.h"

#include <QKeyEvent>

#include <qgsmapmouseevent.h>

#include "runtime/Trap.h"

namespace orlinths {
namespace {

int ButtonOf(Qt::MouseButton button) {
  if (button == Qt::LeftButton) return 1;
  if (button == Qt::RightButton) return 2;
  return button == Qt::MiddleButton ? 4 : 0;
}

int HeldButtonOf(Qt::MouseButtons buttons) {
  return (buttons.testFlag(Qt::LeftButton) ? 1 : 0) | (buttons.testFlag(Qt::RightButton) ? 2 : 0) |
         (buttons.testFlag(Qt::MiddleButton) ? 4 : 0);
}

int ShiftOf(Qt::KeyboardModifiers keys) {
  return (keys.testFlag(Qt::ShiftModifier) ? 1 : 0) | (keys.testFlag(Qt::ControlModifier) ? 2 : 0) |
         (keys.testFlag(Qt::AltModifier) ? 4 : 0);
}

/// A failing call of a tool comes back to the host, which shows it.
void Call(const std::function<void()>& call) {
  if (const auto failure = FailureOf(call))
    ReportError("Map tool: ", failure->Number(), failure->Description());
}

}  // namespace

MapToolAdapter::MapToolAdapter(QgsMapCanvas* canvas, ITool& tool, const QString& name)
    : QgsMapTool(canvas), tool_(tool) {
  setToolName(name);
  setCursor(Qt::CrossCursor);
}

void MapToolAdapter::canvasPressEvent(QgsMapMouseEvent* event) {
  Call([&] {
    tool_.OnMouseDown(ButtonOf(event->button()), ShiftOf(event->modifiers()), event->pos().x(),
                      event->pos().y());
  });
}

void MapToolAdapter::canvasMoveEvent(QgsMapMouseEvent* event) {
  Call([&] {
    tool_.OnMouseMove(HeldButtonOf(event->buttons()), ShiftOf(event->modifiers()), event->pos().x(),
                      event->pos().y());
  });
}

void MapToolAdapter::canvasReleaseEvent(QgsMapMouseEvent* event) {
  Call([&] {
    tool_.OnMouseUp(ButtonOf(event->button()), ShiftOf(event->modifiers()), event->pos().x(),
                    event->pos().y());
  });
}

void MapToolAdapter::canvasDoubleClickEvent(QgsMapMouseEvent*) {
  Call([&] { tool_.OnDblClick(); });
}

void MapToolAdapter::keyPressEvent(QKeyEvent* event) {
  Call([&] { tool_.OnKeyDown(event->key(), ShiftOf(event->modifiers())); });
  event->ignore();  // QGIS's own keys go on working
}

void MapToolAdapter::keyReleaseEvent(QKeyEvent* event) {
  Call([&] { tool_.OnKeyUp(event->key(), ShiftOf(event->modifiers())); });
  event->ignore();
}

void MapToolAdapter::deactivate() {
  Call([&] { tool_.Deactivate(); });
  QgsMapTool::deactivate();
}

}  // namespace orlinths
