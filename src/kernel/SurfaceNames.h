// The names of the rasters of a batch: after their identifiers where that can be, numbered and
// written down otherwise.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "runtime/Files.h"

namespace orlinths {

class SurfaceNames {
 public:
  static constexpr std::size_t kLongest = 14;  ///< characters of a name after an identifier

  /// Names are `prefix` and the identifier as long as none of them is too long and none is in use
  /// in the folder; otherwise `prefix` and a number, and "RASTERNAMES.txt" in the folder, begun or
  /// continued here, tells which is whose. Errors 70 and 76 where it cannot be written.
  SurfaceNames(const std::string& folder, std::string prefix, std::span<const std::int32_t> ids);

  /// The name of the next raster. Numbers start at 1 and are not used twice; those of names in use
  /// are passed over.
  std::string Next(std::int32_t id, const std::string& layerName);
  void Close();

 private:
  std::string folder_, prefix_;
  std::int32_t number_ = 0;
  std::optional<TextWriter> list_;  ///< nothing while names follow the identifiers
};

}  // namespace orlinths
