// How large a dialog may be.
#pragma once

#include <QSize>

class QWidget;

namespace orlinths {

/// What a window may fill without its frame: every dialog fits on the screen that it opens on, and
/// on the smallest one that is in use.
QSize RoomFor(const QWidget& window);

}  // namespace orlinths
