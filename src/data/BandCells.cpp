#include "data/BandCells.h"

#include <cmath>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>

#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

constexpr std::size_t kMostValues = 65536;

/// A place in cells truncated towards zero, as near to the raster as matters. Error 6 for NaN.
std::int64_t WholeCell(double position) {
  if (std::isnan(position)) throw RuntimeError(ErrorNumber::kOverflow);
  constexpr double kFar = 1LL << 40;
  return static_cast<std::int64_t>(std::clamp(std::trunc(position), -kFar, kFar));
}

Field Named(const char* name, FieldType type) {
  Field field;
  field.name = name;
  field.type = type;
  return field;
}

/// Counts the cells of each value; nothing when there are more values than a table may have.
std::optional<std::map<std::int64_t, std::int64_t>> CountValues(const IRasterBand& band) {
  std::unordered_map<std::int64_t, std::int64_t> counts;
  const IRasterProps& props = band.Props();
  const int step =
      static_cast<int>(std::clamp<std::int64_t>(kCellsPerStep / props.width, 1, props.height));
  for (int first = 0; first < props.height; first += step) {
    IPixelBlock strip = band.CreatePixelBlock(props.width, std::min(step, props.height - first));
    band.Read({0, static_cast<double>(first)}, strip);
    const bool fits = Visit(strip, 0, [&]<class T>(Plane<T> plane) {
      for (int row = 0; row < plane.rows; ++row) {
        const auto cells = plane.Row(row);
        for (std::size_t i = 0; i < cells.size();) {
          const T value = cells[i];
          std::size_t end = i + 1;
          while (end < cells.size() && cells[end] == value) ++end;
          if (!plane.isNoData(value))
            counts[static_cast<std::int64_t>(value)] += static_cast<std::int64_t>(end - i);
          i = end;
        }
        if (counts.size() > kMostValues) return false;
      }
      return true;
    });
    if (!fits) return std::nullopt;
  }
  return std::map<std::int64_t, std::int64_t>(counts.begin(), counts.end());
}

/// A whole number as a table holds it: 32 bits where they suffice.
Value Whole(std::int64_t v) {
  const auto narrow = static_cast<std::int32_t>(v);
  return narrow == v ? Value(narrow) : Value(static_cast<double>(v));
}

}  // namespace

PixelType PlaneType(PixelType type) {
  return std::clamp(type, PixelType::kUInt8, PixelType::kDouble);
}

CellWindow WindowOf(const IRasterProps& props, CellPosition position, const IPixelBlock& block) {
  const std::int64_t column = WholeCell(position.column), row = WholeCell(position.row);
  const std::int64_t left = std::max<std::int64_t>(column, 0), top = std::max<std::int64_t>(row, 0);
  const std::int64_t right = std::min<std::int64_t>(column + block.Columns(), props.width);
  const std::int64_t bottom = std::min<std::int64_t>(row + block.Rows(), props.height);
  if (right <= left || bottom <= top) return {};
  return {static_cast<int>(left),          static_cast<int>(top),
          static_cast<int>(left - column), static_cast<int>(top - row),
          static_cast<int>(right - left),  static_cast<int>(bottom - top)};
}

void PutCells(const IPixelBlock& own, const CellWindow& window, IPixelBlock& block) {
  bool hasNoData = !window.Fills(block);
  const auto forWindow = [&](auto&& cellByCell) {
    Edit(block, 0, [&]<class To>(EditablePlane<To> to) {
      Visit(own, 0, [&]<class From>(Plane<From> from) {
        for (int row = 0; row < from.rows; ++row) {
          To* cell = to.Row(window.blockRow + row).data() + window.blockColumn;
          for (const From v : from.Row(row)) cellByCell(to, *cell++, v, from.isNoData(v));
        }
      });
    });
  };
  forWindow([&]<class To>(const EditablePlane<To>&, To& cell, auto v, bool isNoData) {
    hasNoData = hasNoData || isNoData;
    cell = isNoData ? To{} : ToCell<To>(static_cast<double>(v));
  });
  if (!hasNoData) return;
  block.MakeRoomForNoData(0);
  Edit(block, 0, [&]<class To>(EditablePlane<To> to) {
    for (int row = 0; row < to.rows; ++row)
      for (int column = 0; column < to.columns; ++column)
        if (!window.Has(column, row)) to.Row(row)[static_cast<std::size_t>(column)] = to.noData;
  });
  forWindow([&]<class To>(const EditablePlane<To>& to, To& cell, auto, bool isNoData) {
    if (isNoData) cell = to.noData;
  });
}

RasterStatistics StatisticsOf(const IRasterBand& band, int skipX, int skipY) {
  CheckStop();
  if (skipX < 1 || skipY < 1) throw RuntimeError(ErrorNumber::kInvalidCall);
  RasterStatistics all;
  double squares = 0;
  ForStrips(band, [&]<class T>(Plane<T> plane, int first) {
    for (int row = 0; row < plane.rows; ++row) {
      if ((first + row) % skipY != 0) continue;
      const auto cells = plane.Row(row);
      const auto step = static_cast<std::size_t>(skipX);
      std::int64_t n = 0;
      double sum = 0, low = 0, high = 0;
      for (std::size_t i = 0; i < cells.size(); i += step) {
        if (plane.isNoData(cells[i])) continue;
        const double v = static_cast<double>(cells[i]);
        if (n++ == 0) low = high = v;
        low = std::min(low, v);
        high = std::max(high, v);
        sum += v;
      }
      if (n == 0) continue;
      const double mean = sum / static_cast<double>(n);
      double rowSquares = 0;
      for (std::size_t i = 0; i < cells.size(); i += step) {
        const double apart = static_cast<double>(cells[i]) - mean;
        if (!plane.isNoData(cells[i])) rowSquares += apart * apart;
      }
      // Rows are joined by their sizes, means and sums of squares (Chan, Golub and LeVeque 1983).
      if (all.count == 0) all.minimum = low, all.maximum = high;
      all.minimum = std::min(all.minimum, low);
      all.maximum = std::max(all.maximum, high);
      const double before = static_cast<double>(all.count), added = static_cast<double>(n);
      const double apart = mean - all.mean;
      squares += rowSquares + apart * apart * before * added / (before + added);
      all.mean += apart * added / (before + added);
      all.count += n;
    }
  });
  if (all.count > 0) all.standardDeviation = std::sqrt(squares / static_cast<double>(all.count));
  return all;
}

std::unique_ptr<RasterAttributeTable> CountedTable(const IRasterBand& band) {
  if (!band.Props().IsInteger()) return nullptr;
  const auto counts = CountValues(band);
  if (!counts) return nullptr;
  FieldType valueType = FieldType::kInteger, countType = FieldType::kInteger;
  std::vector<std::vector<Value>> rows;
  for (const auto& [value, count] : *counts) {
    rows.push_back({Whole(value), Whole(count)});
    if (rows.back()[0].As<double>() != nullptr) valueType = FieldType::kDouble;
    if (rows.back()[1].As<double>() != nullptr) countType = FieldType::kDouble;
  }
  return std::make_unique<RasterAttributeTable>(
      Fields{Named("Value", valueType), Named("Count", countType)}, std::move(rows));
}

}  // namespace orlinths
