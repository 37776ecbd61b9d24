#include "host/HeadlessApplication.h"

#include <algorithm>

namespace orlinths {
namespace {

/// Grown on two sides to the screen's ratio. A point or nothing gets one map unit to a unit of the
/// screen.
Envelope FittedToScreen(const Envelope& extent) {
  constexpr double kWidth = HeadlessApplication::kScreenWidth;
  constexpr double kHeight = HeadlessApplication::kScreenHeight;
  if (extent.IsEmpty()) return {.xMin = 0, .yMin = 0, .xMax = kWidth, .yMax = kHeight};
  double unit = std::max(extent.Width() / kWidth, extent.Height() / kHeight);
  if (unit == 0) unit = 1;
  const double x = (extent.xMin + extent.xMax) / 2, y = (extent.yMin + extent.yMax) / 2;
  return {.xMin = x - unit * kWidth / 2,
          .yMin = y - unit * kHeight / 2,
          .xMax = x + unit * kWidth / 2,
          .yMax = y + unit * kHeight / 2};
}

}  // namespace

void HeadlessApplication::SetMessage(const std::string& message) {
  if (onStatusBar) onStatusBar(message);
}

Envelope HeadlessApplication::Extent() const {
  if (view_) return FittedToScreen(*view_);
  Envelope full;
  for (const LayerPtr& layer : map.Layers())
    if (layer->Valid()) full.Add(layer->Extent());
  return FittedToScreen(full);
}

Point HeadlessApplication::ToMapPoint(int x, int y) const {
  const Envelope shown = Extent();
  return {.x = shown.xMin + shown.Width() * x / kScreenWidth,
          .y = shown.yMax - shown.Height() * y / kScreenHeight};
}

// ---- Progress

void HeadlessApplication::Progressor::SetPosition(std::int64_t position) {
  position_ = position;
  hasNews_ = true;
  if (shown_ && throttle_.Due()) Tell();
}

void HeadlessApplication::Progressor::Hide() {
  if (shown_ && hasNews_) Tell();
  shown_ = hasNews_ = false;
  throttle_.Restart();
}

void HeadlessApplication::Progressor::Tell() {
  hasNews_ = false;
  if (application_.onProgress) application_.onProgress(position_, max_, message_);
}

}  // namespace orlinths
