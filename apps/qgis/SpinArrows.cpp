#include "qgis/SpinArrows.h"

#include <QToolButton>
#include <QVBoxLayout>

namespace orlinths {

SpinArrows::SpinArrows(QWidget* parent) : QWidget(parent) {
  up_ = Arrow(Qt::UpArrow, 1);
  down_ = Arrow(Qt::DownArrow, -1);
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(0);
  column->addWidget(up_);
  column->addWidget(down_);
}

QToolButton* SpinArrows::Arrow(Qt::ArrowType type, int steps) {
  constexpr int kWidth = 18, kHeight = 13;
  auto* button = new QToolButton(this);
  button->setArrowType(type);
  button->setAutoRepeat(true);
  button->setFocusPolicy(Qt::TabFocus);
  button->setFixedSize(kWidth, kHeight);
  connect(button, &QToolButton::clicked, this, [this, steps] {
    if (onStep) onStep(steps);
  });
  return button;
}

void SpinArrows::SetName(const QString& name) {
  setAccessibleName(name);
  up_->setAccessibleName(name + QStringLiteral(", up"));
  down_->setAccessibleName(name + QStringLiteral(", down"));
}

void SpinArrows::SetReach(bool up, bool down) {
  up_->setEnabled(up);
  down_->setEnabled(down);
}

}  // namespace orlinths
