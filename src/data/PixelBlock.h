// A rectangle of cells in memory, one typed plane per band. Loops over cells go through `Visit` and
// `Edit`, which hand a typed plane to a template: no value of mixed type and no virtual call per
// cell.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "data/PixelType.h"
#include "runtime/RuntimeError.h"
#include "runtime/Value.h"

namespace orlinths {

/// True when a cell of type T can hold `v` without changing it. Floating types hold what is finite
/// in them, infinities and NaN.
template <class T>
bool Holds(double v) {
  if constexpr (std::is_floating_point_v<T>) {
    return !std::isfinite(v) || std::isfinite(static_cast<T>(v));
  } else {
    return v >= static_cast<double>(std::numeric_limits<T>::min()) &&
           v <= static_cast<double>(std::numeric_limits<T>::max()) && v == std::floor(v);
  }
}

/// `v` as a cell of type T: rounded halves to even; error 6 outside the type, and for NaN in a
/// whole-number type.
template <class T>
T ToCell(double v) {
  if constexpr (std::is_floating_point_v<T>) {
    const T cell = static_cast<T>(v);
    if (std::isinf(cell) && std::isfinite(v)) throw RuntimeError(ErrorNumber::kOverflow);
    return cell;
  } else {
    const double whole = std::nearbyint(v);
    if (!Holds<T>(whole)) throw RuntimeError(ErrorNumber::kOverflow);
    return static_cast<T>(whole);
  }
}

/// The cells of one band of a block, to read. Row 0 is the northern row, column 0 the western
/// column.
template <class T>
struct Plane {
  using Cell = T;
  const T* cells = nullptr;
  int columns = 0;
  int rows = 0;
  bool hasNoData = false;
  T noData{};  ///< of the cells that are NoData; says nothing without `hasNoData`

  /// Unchecked: hoist the bounds.
  std::span<const T> Row(int row) const {
    return {cells + static_cast<std::ptrdiff_t>(row) * columns, static_cast<std::size_t>(columns)};
  }
  /// NaN is NoData in every plane of a floating type.
  bool isNoData(T v) const {
    if constexpr (std::is_floating_point_v<T>) {
      return v != v || (hasNoData && v == noData);
    } else {
      return hasNoData && v == noData;
    }
  }
};

/// The same, to write.
template <class T>
struct EditablePlane {
  using Cell = T;
  T* cells = nullptr;
  int columns = 0;
  int rows = 0;
  bool hasNoData = false;
  T noData{};

  std::span<T> Row(int row) const {
    return {cells + static_cast<std::ptrdiff_t>(row) * columns, static_cast<std::size_t>(columns)};
  }
  operator Plane<T>() const { return {cells, columns, rows, hasNoData, noData}; }
  bool isNoData(T v) const { return Plane<T>(*this).isNoData(v); }
};

/// Owns its cells. At the interface a cell is named by column, then row. A new block holds 0
/// everywhere.
///
/// A plane's type follows from the band's: the pixel types below 4 are held as unsigned 8 bits, 10
/// and above as doubles. A read may widen a plane: where cells are to count as NoData (beyond the
/// raster's edge, masked) and the band's own type has no value left to say so, the plane takes the
/// next type that has one. Code that goes through `Visit` need not care.
class IPixelBlock {
 public:
  using Cells =
      std::variant<std::vector<std::uint8_t>, std::vector<std::int8_t>, std::vector<std::uint16_t>,
                   std::vector<std::int16_t>, std::vector<std::uint32_t>, std::vector<std::int32_t>,
                   std::vector<float>, std::vector<double>>;

  /// Error 5 without at least one column, row and band, 7 when memory does not hold the block.
  IPixelBlock(std::int64_t columns, std::int64_t rows, PixelType type,
              std::optional<double> noDataValue = std::nullopt, int bands = 1);

  int Columns() const { return columns_; }
  int Rows() const { return rows_; }
  int BandCount() const { return static_cast<int>(planes_.size()); }
  /// The type that the plane's cells have now.
  PixelType Type(int band = 0) const { return At(band).type; }
  /// Changes a plane's type; its cells become 0. What is read afterwards is converted: halves to
  /// even, error 6 for what does not fit.
  void SetPixelType(int band, PixelType type);

  /// The NoData value of the band that the block was made for or last filled from.
  std::optional<double> NoDataValue(int band = 0) const { return At(band).noDataValue; }
  void SetNoDataValue(int band, std::optional<double> value);

  /// One cell, as the type of its plane (8 bits as 16, unsigned 16 as 32, unsigned 32 as double). A
  /// NoData cell gives the band's NoData value, or null where the band has none. Error 9 outside
  /// the block.
  Value GetVal(int band, std::int64_t column, std::int64_t row) const;
  /// The same as a double: NaN for a NoData cell of a band without NoData value.
  double GetDouble(int band, std::int64_t column, std::int64_t row) const;
  bool IsNoData(int band, std::int64_t column, std::int64_t row) const;
  /// Rounds halves to even for whole-number planes. Error 9 outside the block, 6 for a value
  /// outside the type.
  void SetVal(int band, std::int64_t column, std::int64_t row, double value);

  /// For those who fill blocks: the type whose cells can also hold a NoData marker, and the marker.
  /// Widens the plane if need be (cells keep their values); see above. O(cells) when it widens,
  /// else O(1).
  void MakeRoomForNoData(int band);

  template <class Fn>
  friend decltype(auto) Visit(const IPixelBlock& block, int band, Fn&& fn);
  template <class Fn>
  friend decltype(auto) Edit(IPixelBlock& block, int band, Fn&& fn);

 private:
  struct Held {
    PixelType type;
    Cells cells;
    std::optional<double> noDataValue;  ///< the band's
    std::optional<double> marker;       ///< what NoData cells hold; fits the type
  };
  const Held& At(int band) const;
  Held& At(int band);
  std::size_t Offset(std::int64_t column, std::int64_t row) const;

  int columns_, rows_;
  std::vector<Held> planes_;
};

/// Calls `fn(Plane<T>)` with the band's plane; gives what it gives. Error 9 for a band outside the
/// block.
template <class Fn>
decltype(auto) Visit(const IPixelBlock& block, int band, Fn&& fn) {
  const IPixelBlock::Held& held = block.At(band);
  return std::visit(
      [&]<class T>(const std::vector<T>& cells) -> decltype(auto) {
        return fn(Plane<T>{cells.data(), block.columns_, block.rows_, held.marker.has_value(),
                           static_cast<T>(held.marker.value_or(0))});
      },
      held.cells);
}

/// Calls `fn(EditablePlane<T>)`.
template <class Fn>
decltype(auto) Edit(IPixelBlock& block, int band, Fn&& fn) {
  IPixelBlock::Held& held = block.At(band);
  return std::visit(
      [&]<class T>(std::vector<T>& cells) -> decltype(auto) {
        return fn(EditablePlane<T>{cells.data(), block.columns_, block.rows_,
                                   held.marker.has_value(),
                                   static_cast<T>(held.marker.value_or(0))});
      },
      held.cells);
}

}  // namespace orlinths
