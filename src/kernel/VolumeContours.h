// Contours that enclose a given percentage of a surface's volume: what the kernel tools and the
// contour tool share.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "data/PixelBlock.h"

namespace orlinths {

/// The cells of a surface counted by height, in bins from 0 to `topBin` between the surface's
/// minimum and maximum. A cell's share of the volume is measured by its bin: bin 0 holds none.
class VolumeHistogram {
 public:
  /// Error 11 for a surface of one height, 6 for heights that are not finite.
  VolumeHistogram(std::int32_t topBin, double minimum, double maximum);

  /// Counts cells into bin floor((value - minimum) * topBin / range). A cell outside the two
  /// heights, as a surface has that was stored less exactly than it was computed, goes to the first
  /// or the last bin.
  void Add(std::span<const double> cells);
  /// The same for the cells of a band that are not NoData.
  void Add(const IPixelBlock& block, int band);

  /// The sum of count * bin. Error 6 when a count, or the product of a bin, passes 32 bits.
  double Total() const;
  /// The height above which the bins hold `volume`: from the top, the first bin with which they do.
  /// One bin above the maximum for a volume of 0 and less; error 9 for more than there is.
  double LevelAbove(double volume) const;

  double Maximum() const { return maximum_; }
  double Range() const { return range_; }

 private:
  template <class Cells>
  void Count(const Cells& cells);
  /// The volume of a bin.
  std::int32_t Volume(std::int32_t bin) const;

  std::int32_t topBin_;
  double minimum_, maximum_, range_;
  std::vector<std::int64_t> counts_;
};

/// "PVC_", the raster's name, "_" and the entry without the blanks around it: the name of a
/// contour's shapefile.
std::string ContourName(const std::string& rasterName, const std::string& entry);

struct ContourPlaces {
  std::string outputFolder, rasterFolder, rasterName;
};

/// Makes one shapefile for each entry, in the order given, of the raster's contour at the level
/// that encloses the percentage. Entries that `wants` says no to are passed over. An entry that is
/// no number is error 13, raised when its turn comes. False when a contour could not be made, which
/// has been reported: the entries after it are left.
bool DrawVolumeContours(const VolumeHistogram& histogram, const std::string& percentages,
                        const ContourPlaces& places,
                        const std::function<bool(const std::string& entry)>& wants = {});

}  // namespace orlinths
