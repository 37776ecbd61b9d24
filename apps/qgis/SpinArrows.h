// A pair of small arrows beside a box that holds the number itself.
#pragma once

#include <QWidget>

#include <functional>

class QToolButton;

namespace orlinths {

class SpinArrows : public QWidget {
 public:
  explicit SpinArrows(QWidget* parent);
  /// One step up (1) or down (-1), again and again while the button is held.
  std::function<void(int steps)> onStep;
  /// A value taken at once, as several steps.
  std::function<void(int value)> onValue;
  /// What a screen reader says of them, beside which way they go.
  void SetName(const QString& name);
  /// Which way there is more to go.
  void SetReach(bool up, bool down);

 private:
  QToolButton* Arrow(Qt::ArrowType type, int steps);
  QToolButton *up_, *down_;
};

}  // namespace orlinths
