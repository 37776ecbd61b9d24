// One band of a raster: its geometry, its cells by the block, its statistics and its attribute
// table.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "data/Field.h"
#include "data/PixelBlock.h"
#include "data/PixelType.h"
#include "data/SpatialReference.h"
#include "numerics/Geometry.h"
#include "runtime/Value.h"

namespace orlinths {

struct CellSize {
  double x = 0, y = 0;  ///< both positive
};

/// Columns grow east from the western column 0, rows grow south from the northern row 0.
struct Cell {
  std::int32_t column = 0, row = 0;
  bool operator==(const Cell&) const = default;
};

/// What a band is, as plain data: north-up, `extent` the outer edge of the outer cells.
struct IRasterProps {
  std::int32_t width = 0;   ///< columns
  std::int32_t height = 0;  ///< rows
  orlinths::PixelType pixelType = PixelType::kUInt8;
  std::optional<double>
      noDataValue;  ///< as a cell of the band holds it; nothing when the band has none
  CellSize meanCellSize;
  Envelope extent;
  SpatialReferencePtr spatialReference;

  bool IsInteger() const { return orlinths::IsInteger(pixelType); }
  std::int64_t CellCount() const { return std::int64_t{width} * height; }
  /// The cell under a coordinate, which may lie outside the raster: floor((x - XMin) / cellX),
  /// floor((YMax - y) / cellY). Error 6 beyond 32 bits.
  Cell CellAt(double x, double y) const;
};

/// The minimum and maximum, mean and standard deviation (divisor n) of the cells that are not
/// NoData; all 0 where there are none.
struct RasterStatistics {
  double minimum = 0, maximum = 0, mean = 0, standardDeviation = 0;
  std::int64_t count = 0;
};

/// The attribute table of an integer band. Rows from 0; a row's number is its object identifier.
class RasterAttributeTable {
 public:
  RasterAttributeTable(orlinths::Fields fields, std::vector<std::vector<Value>> rows)
      : fields_(std::move(fields)), rows_(std::move(rows)) {}
  const orlinths::Fields& Fields() const { return fields_; }
  int FindField(std::string_view name) const { return fields_.FindField(name); }
  std::int64_t RowCount() const { return static_cast<std::int64_t>(rows_.size()); }
  const Value& GetValue(std::int64_t row, int field) const;  ///< error 9 outside

 private:
  orlinths::Fields fields_;
  std::vector<std::vector<Value>> rows_;
};

/// A place in cells; a fraction is truncated towards zero.
struct CellPosition {
  double column = 0, row = 0;
};

/// A band, or the raw pixels of a band. Made by its dataset; must not outlive it. Every call looks
/// for a stop request.
class IRasterBand {
 public:
  virtual ~IRasterBand() = default;

  virtual const IRasterProps& Props() const = 0;
  /// Of a new dataset, before any cell is written: error 6 for a value that a cell of the band
  /// cannot hold, a platform error for a dataset that was opened.
  virtual void SetNoDataValue(double value) = 0;

  /// A block of that many cells, of the band's type and NoData value, 0 everywhere.
  IPixelBlock CreatePixelBlock(std::int64_t columns, std::int64_t rows) const {
    return {columns, rows, Props().pixelType, Props().noDataValue};
  }
  /// Fills plane 0 of the block. The block may reach past the raster's edge or lie outside: what it
  /// holds there, and masked cells and NaN, count as NoData (the plane is widened where the band
  /// has no value for that).
  virtual void Read(CellPosition position, IPixelBlock& block) const = 0;
  /// Stores plane 0 of the block as it stands; what lies outside the raster is passed over. NaN,
  /// and cells that are NoData in a block without NoData value, become NoData of the band. Error 6
  /// for a cell that the band's type cannot hold.
  virtual void Write(CellPosition position, const IPixelBlock& block) = 0;
  /// The whole band in one block.
  IPixelBlock ReadAll() const {
    IPixelBlock block = CreatePixelBlock(Props().width, Props().height);
    Read({0, 0}, block);
    return block;
  }

  /// Finalises a band after writing: exact statistics and a histogram of 256 classes, kept with the
  /// dataset.
  virtual void ComputeStatsAndHist() = 0;
  /// Recalculated over every skipX-th column and skipY-th row from 0; exact with 1 and 1. Error 5
  /// for a factor below 1.
  virtual RasterStatistics Statistics(int skipX = 1, int skipY = 1) const = 0;

  /// Nothing for a floating band and for one of more than 65,536 different values without a table
  /// of its own.
  virtual const RasterAttributeTable* AttributeTable() const = 0;
  bool HasTable() const { return AttributeTable() != nullptr; }
};

}  // namespace orlinths
