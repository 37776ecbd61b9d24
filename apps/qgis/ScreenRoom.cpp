#include "qgis/ScreenRoom.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

namespace orlinths {

QSize RoomFor(const QWidget& window) {
  constexpr QSize kSmallestScreen(1024, 768);
  constexpr int kTitleAndPanels = 48, kMargins = 24;
  const QScreen* screen = QGuiApplication::primaryScreen();
  if (window.parentWidget() != nullptr && window.parentWidget()->screen() != nullptr)
    screen = window.parentWidget()->screen();
  QSize room = kSmallestScreen;
  if (screen != nullptr) room = room.boundedTo(screen->availableGeometry().size());
  return room - QSize(kMargins, kTitleAndPanels);
}

}  // namespace orlinths
