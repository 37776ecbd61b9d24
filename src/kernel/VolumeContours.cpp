#include "kernel/VolumeContours.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "kernel/ContourGrid.h"
#include "runtime/Arithmetic.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Text.h"
#include "runtime/Value.h"

namespace orlinths {

VolumeHistogram::VolumeHistogram(std::int32_t topBin, double minimum, double maximum)
    : topBin_(topBin), minimum_(minimum), maximum_(maximum), range_(maximum - minimum) {
  if (range_ == 0) throw RuntimeError(ErrorNumber::kDivisionByZero);
  if (!std::isfinite(range_)) throw RuntimeError(ErrorNumber::kOverflow);
  counts_.resize(static_cast<std::size_t>(topBin) + 1);
}

template <class Cells>
void VolumeHistogram::Count(const Cells& cells) {
  const double minimum = minimum_, range = range_, top = topBin_;
  for (const auto cell : cells) {
    const double bin = (static_cast<double>(cell) - minimum) * top / range;
    // The cut to a whole number is the floor of what is not negative.
    ++counts_[static_cast<std::size_t>(bin > 0 ? std::min(bin, top) : 0)];
  }
}

void VolumeHistogram::Add(std::span<const double> cells) { Count(cells); }

void VolumeHistogram::Add(const IPixelBlock& block, int band) {
  Visit(block, band, [&]<class T>(const Plane<T>& plane) {
    std::vector<T> valid;
    valid.reserve(static_cast<std::size_t>(plane.columns));
    for (int row = 0; row < plane.rows; ++row) {
      valid.clear();
      for (const T v : plane.Row(row))
        if (!plane.isNoData(v)) valid.push_back(v);
      Count(valid);
    }
  });
}

std::int32_t VolumeHistogram::Volume(std::int32_t bin) const {
  const std::int64_t count = counts_[static_cast<std::size_t>(bin)];
  if (count > std::numeric_limits<std::int32_t>::max()) throw RuntimeError(ErrorNumber::kOverflow);
  return Multiply(static_cast<std::int32_t>(count), bin);
}

double VolumeHistogram::Total() const {
  double total = 0;
  for (std::int32_t bin = 1; bin <= topBin_; ++bin) total += Volume(bin);
  return total;
}

double VolumeHistogram::LevelAbove(double volume) const {
  std::int32_t bin = topBin_ + 1;
  for (double above = 0; above < volume; above += Volume(bin))
    if (--bin < 0) throw RuntimeError(ErrorNumber::kSubscript);
  return bin * range_ / topBin_ + minimum_;
}

std::string ContourName(const std::string& rasterName, const std::string& entry) {
  return "PVC_" + rasterName + "_" + Trimmed(entry);
}

bool DrawVolumeContours(const VolumeHistogram& histogram, const std::string& percentages,
                        const ContourPlaces& places,
                        const std::function<bool(const std::string& entry)>& wants) {
  const double total = histogram.Total();
  for (const std::string& entry : SplitAt(',', percentages)) {
    const double level = histogram.LevelAbove(ToDouble(entry) / 100 * total);
    if (wants && !wants(entry)) continue;
    Yield();
    // The surface's maximum is far enough from the level to leave no other contour, but for levels
    // of 0 and below, which rasters with negative cells have.
    const double interval = level > 0 ? histogram.Maximum() : 2 * histogram.Range();
    if (!ContourGrid(places.outputFolder, places.rasterFolder, places.rasterName,
                     ContourName(places.rasterName, entry), interval, level))
      return false;
  }
  return true;
}

}  // namespace orlinths
