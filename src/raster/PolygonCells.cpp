#include "raster/PolygonCells.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <string>
#include <type_traits>

#include "data/RasterAccess.h"
#include "numerics/Constants.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

/// A cell as an entry of the list; error 6 when it does not fit.
template <class Number, class T>
Number EntryOf(T cell) {
  constexpr bool fitsAlways = std::is_same_v<Number, double> ||
                              (std::is_integral_v<T> && sizeof(T) < sizeof(Number)) ||
                              std::is_same_v<T, Number>;
  if constexpr (fitsAlways)
    return static_cast<Number>(cell);
  else
    return ToCell<Number>(static_cast<double>(cell));
}

/// Runs `body(row)`, which gathers what `values` is to hold, and reports its failure with the row
/// that it has come to.
template <class Number, class Body>
bool Gather(const char* label, std::vector<Number>& values, const Body& body) {
  std::int64_t row = 0;
  values.clear();
  const bool done = TrapWithHead([&] { return std::string(label) + "i:" + ToText(row); },
                                 [&] {
                                   body(row);
                                   if (values.empty())
                                     values.push_back(static_cast<Number>(kMissing));
                                 });
  if (!done) values.clear();
  return done;
}

/// The polygon's fill. An array without cells has no bounds to run over.
Mask FillOf(const Polygon& polygon, const IRasterProps& props) {
  Mask fill = GetPolyRasterArray2(polygon, props);
  if (fill.Data().empty()) throw RuntimeError(ErrorNumber::kSubscript);
  return fill;
}

bool HasTrue(std::span<const std::uint8_t> cells) {
  return std::any_of(cells.begin(), cells.end(), [](std::uint8_t cell) { return cell != 0; });
}

/// Calls `body(from, count)` for each unbroken run of true cells.
template <class Body>
void ForRuns(std::span<const std::uint8_t> inside, const Body& body) {
  const std::uint8_t* const end = inside.data() + inside.size();
  const auto find = [end](const std::uint8_t* from, int what) {
    const auto left = static_cast<std::size_t>(end - from);
    const void* found = left == 0 ? nullptr : std::memchr(from, what, left);
    return found == nullptr ? end : static_cast<const std::uint8_t*>(found);
  };
  for (const std::uint8_t* from = inside.data(); (from = find(from, 1)) != end;) {
    const std::uint8_t* const to = find(from, 0);
    body(static_cast<std::size_t>(from - inside.data()), static_cast<std::size_t>(to - from));
    from = to;
  }
}

/// Room for `count` more entries, and where they begin.
template <class Number>
Number* Grow(std::vector<Number>& values, std::size_t count) {
  const std::size_t before = values.size();
  values.resize(before + count);
  return values.data() + before;
}

/// Appends a run of cells; `isNoData(i)` tells what counts as kMissing, or is left out.
template <class Number, class T, class IsNoData>
void Append(const T* cells, std::size_t count, bool keepNoData, const IsNoData& isNoData,
            std::vector<Number>& values) {
  Number* to = Grow(values, count);
  if (keepNoData) {
    for (std::size_t i = 0; i < count; ++i)
      to[i] = isNoData(i) ? static_cast<Number>(kMissing) : EntryOf<Number>(cells[i]);
    return;
  }
  for (std::size_t i = 0; i < count; ++i)
    if (!isNoData(i)) *to++ = EntryOf<Number>(cells[i]);
  values.resize(static_cast<std::size_t>(to - values.data()));
}

/// The first `count` places of a row of the fill that lie on cells; error 9 when it is true further
/// east.
std::span<const std::uint8_t> OnCells(std::span<const std::uint8_t> inside, std::int64_t count) {
  const auto there = static_cast<std::size_t>(
      std::clamp<std::int64_t>(count, 0, static_cast<std::int64_t>(inside.size())));
  if (HasTrue(inside.subspan(there))) throw RuntimeError(ErrorNumber::kSubscript);
  return inside.first(there);
}

}  // namespace

template <class Number>
bool ISectArrPolyRaster(const Polygon& polygon, const IPixelBlock& block, const IRasterProps& props,
                        bool keepNoData, const Mask* noDataMask, std::vector<Number>& values) {
  return Gather("ISectArrPolyRaster: ", values, [&](std::int64_t& row) {
    const Mask fill = FillOf(polygon, props);
    const std::int64_t first = fill.Second().lower;
    std::int64_t rows = block.Rows(), columns = block.Columns();
    if (noDataMask != nullptr) {
      rows = std::min(rows, noDataMask->First().Count());
      columns = std::min(columns, noDataMask->Second().Count());
    }
    Visit(block, 0, [&]<class T>(const Plane<T> plane) {
      const bool hasValueForNoData = block.NoDataValue().has_value();
      for (row = fill.First().lower; row <= fill.First().upper; ++row) {
        const auto inside = OnCells(RowOf(fill, row), row < rows ? columns - first : 0);
        if (inside.empty()) continue;
        const T* cells = plane.Row(static_cast<int>(row)).data() + first;
        const std::uint8_t* noData =
            noDataMask == nullptr ? nullptr : RowOf(*noDataMask, row).data() + first;
        ForRuns(inside, [&](std::size_t from, std::size_t count) {
          const T* run = cells + from;
          if (noData != nullptr)
            return Append(
                run, count, keepNoData, [=](std::size_t i) { return noData[from + i]; }, values);
          Append(
              run, count, true,
              [=](std::size_t i) {
                if (!hasValueForNoData && plane.isNoData(run[i]))
                  throw RuntimeError(ErrorNumber::kInvalidNull);
                return false;
              },
              values);
        });
      }
    });
  });
}

template <class Number>
bool ISectArrPolyLargeRaster(const Polygon& polygon, const IRasterBand& rawPixels,
                             const IRasterProps& props, bool& keepNoData,
                             std::vector<Number>& values) {
  return Gather("ISectArrPolyLargeRaster: ", values, [&](std::int64_t& row) {
    const Mask fill = FillOf(polygon, props);
    const std::int64_t top = fill.First().lower;
    IPixelBlock block = rawPixels.CreatePixelBlock(fill.Second().Count(), fill.First().Count());
    rawPixels.Read({static_cast<double>(fill.Second().lower), static_cast<double>(top)}, block);
    if (!props.noDataValue) keepNoData = false;
    Visit(block, 0, [&]<class T>(const Plane<T> plane) {
      const bool keep = keepNoData;
      for (row = top; row <= fill.First().upper; ++row) {
        const auto inside = RowOf(fill, row);
        const T* cells = plane.Row(static_cast<int>(row - top)).data();
        ForRuns(inside, [&](std::size_t from, std::size_t count) {
          const T* run = cells + from;
          Append(
              run, count, keep, [=](std::size_t i) { return plane.isNoData(run[i]); }, values);
        });
      }
    });
  });
}

template bool ISectArrPolyRaster(const Polygon&, const IPixelBlock&, const IRasterProps&, bool,
                                 const Mask*, std::vector<std::int32_t>&);
template bool ISectArrPolyRaster(const Polygon&, const IPixelBlock&, const IRasterProps&, bool,
                                 const Mask*, std::vector<double>&);
template bool ISectArrPolyLargeRaster(const Polygon&, const IRasterBand&, const IRasterProps&,
                                      bool&, std::vector<std::int32_t>&);
template bool ISectArrPolyLargeRaster(const Polygon&, const IRasterBand&, const IRasterProps&,
                                      bool&, std::vector<double>&);

}  // namespace orlinths
