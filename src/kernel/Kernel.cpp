#include "kernel/Kernel.h"

#include <unistd.h>

#include <algorithm>
#include <span>
#include <string>
#include <vector>

#include "kernel/KernelCells.h"
#include "numerics/Constants.h"
#include "runtime/Arithmetic.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

/// So many cells between two yields: some hundredths of a second.
constexpr std::int64_t kCellsBetweenYields = 20'000'000;
/// So many cells, a megabyte, stay near the processor while the points pass by.
constexpr std::int64_t kCellsOfStrip = 1 << 17;
constexpr std::int32_t kFewestColumnsOfStrip = 16;

struct Place {
  double x, y;
};

/// Where the cells are.
struct Lattice {
  double cellSize, originX, originY;
  std::int32_t maxColumn, maxRow;

  Place CentreOf(std::int32_t column, std::int32_t row) const {
    return {column * cellSize + originX + cellSize / 2,
            (maxRow - row) * cellSize + originY + cellSize / 2};
  }
};

/// The part of the grid that a kernel can reach; without cells, its lasts lie before its firsts.
struct Reach {
  std::int32_t firstColumn, lastColumn, firstRow, lastRow;
};

std::int32_t CellsFrom(double origin, double to, double cellSize) {
  return ToLong(Int(Divide(to - origin, cellSize)));
}

Reach ReachOf(const Place& at, double h, const Lattice& lattice) {
  const auto& [cellSize, originX, originY, maxColumn, maxRow] = lattice;
  const std::int32_t firstColumn = CellsFrom(originX, at.x - h, cellSize);
  const std::int32_t lastColumn = CellsFrom(originX, h + at.x, cellSize);
  const std::int32_t firstRow = Subtract(maxRow, CellsFrom(originY, h + at.y, cellSize));
  const std::int32_t lastRow = Subtract(maxRow, CellsFrom(originY, at.y - h, cellSize));
  return {std::max(firstColumn, 0), std::min(lastColumn, maxColumn), std::max(firstRow, 0),
          std::min(lastRow, maxRow)};
}

/// The kernel of one point, column after column.
class PointKernel {
 public:
  PointKernel(const Place& at, const Reach& reach, const Lattice& lattice,
              std::vector<double>& rowSquares)
      : at_(at),
        reach_(reach),
        cellSize_(lattice.cellSize),
        first_(lattice.CentreOf(reach.firstColumn, reach.firstRow)),
        rowSquares_(rowSquares) {
    for (std::int32_t row = reach.firstRow; row <= reach.lastRow; ++row) {
      const double cellY = first_.y - (row - reach.firstRow) * cellSize_;
      rowSquares_[static_cast<std::size_t>(row - reach.firstRow)] = (cellY - at.y) * (cellY - at.y);
    }
  }

  /// `cells` are those of the column from the kernel's first row on.
  void AddColumn(std::int32_t column, double* cells, const KernelTerms& terms) const {
    const double cellX = (column - reach_.firstColumn) * cellSize_ + first_.x;
    AddKernelColumn(cells, rowSquares_.data(), reach_.lastRow - reach_.firstRow + 1,
                    (cellX - at_.x) * (cellX - at_.x), terms);
  }

 private:
  const Place at_;
  const Reach reach_;
  const double cellSize_;
  const Place first_;
  std::vector<double>& rowSquares_;
};

KernelTerms TermsOf(double weight, double h, double scaling, double pointCount) {
  return {h, scaling * 3.0 * weight, h * h * kPi, pointCount};
}

/// Kernels of radius 0 are divided by it.
void CheckDivisors(double h, double cellSize) {
  if (h == 0 || cellSize == 0) throw RuntimeError(ErrorNumber::kDivisionByZero);
}

/// Asks the machine before the memory is asked for: a grid that does not fit would take the whole
/// process with it.
DensityGrid EmptyGrid(std::int32_t columns, std::int32_t rows) {
  if (columns < 1 || rows < 1) throw RuntimeError(ErrorNumber::kSubscript);
  const double bytes = 8.0 * columns * rows;
  const double memory =
      static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
  const auto refuse = [&] {
    throw RuntimeError(ErrorNumber::kOutOfMemory,
                       std::string(Describe(ErrorNumber::kOutOfMemory)) + ": a grid of " +
                           ToText(columns) + " columns and " + ToText(rows) + " rows has " +
                           ToText(std::int64_t{columns} * rows) + " cells. Use larger cells.");
  };
  if (bytes > memory) refuse();
  DensityGrid grid;
  if (!Quietly([&] { grid = DensityGrid({0, columns - 1}, {0, rows - 1}); })) refuse();
  return grid;
}

/// Adds all points to the grid by strips of columns. Within a strip the points come in their order,
/// so that each cell's sum is the one that the points give one by one.
class GridSum {
 public:
  GridSum(const PointArray& points, double h, double scaling, const Lattice& lattice,
          DensityGrid& grid)
      : points_(points.Data()),
        count_(points.First().upper + 1),
        h_(h),
        scaling_(scaling),
        lattice_(lattice),
        grid_(grid.Data()),
        rows_(lattice.maxRow + 1),
        rowSquares_(static_cast<std::size_t>(rows_)) {
    reaches_.reserve(static_cast<std::size_t>(count_));
    for (std::int64_t i = 0; i < count_; ++i) reaches_.push_back(ReachOf(At(i), h, lattice));
  }

  void Run() {
    const auto width = static_cast<std::int32_t>(
        std::max<std::int64_t>(kCellsOfStrip / rows_, kFewestColumnsOfStrip));
    for (std::int64_t first = 0; first <= lattice_.maxColumn; first += width)
      AddStrip(static_cast<std::int32_t>(first), static_cast<std::int32_t>(std::min<std::int64_t>(
                                                     first + width - 1, lattice_.maxColumn)));
  }

 private:
  Place At(std::int64_t point) const {
    const auto i = static_cast<std::size_t>(3 * point);
    return {points_[i], points_[i + 1]};
  }
  double WeightOf(std::int64_t point) const {
    return points_[static_cast<std::size_t>(3 * point + 2)];
  }

  void AddStrip(std::int32_t firstColumn, std::int32_t lastColumn) {
    for (std::int64_t i = 0; i < count_; ++i) {
      const Reach& reach = reaches_[static_cast<std::size_t>(i)];
      if (reach.lastRow < reach.firstRow || reach.lastColumn < firstColumn ||
          reach.firstColumn > lastColumn)
        continue;
      const KernelTerms terms = TermsOf(WeightOf(i), h_, scaling_, static_cast<double>(count_));
      const PointKernel kernel(At(i), reach, lattice_, rowSquares_);
      const std::int32_t from = std::max(reach.firstColumn, firstColumn);
      const std::int32_t to = std::min(reach.lastColumn, lastColumn);
      for (std::int32_t column = from; column <= to; ++column)
        kernel.AddColumn(column, &grid_[CellOf(column, reach.firstRow)], terms);
      YieldAfter((to - from + 1LL) * (reach.lastRow - reach.firstRow + 1));
    }
  }

  std::size_t CellOf(std::int32_t column, std::int32_t row) const {
    return static_cast<std::size_t>(column * rows_ + row);
  }

  void YieldAfter(std::int64_t cells) {
    work_ += cells;
    if (work_ < kCellsBetweenYields) return;
    work_ = 0;
    Yield();
  }

  std::span<const double> points_;
  std::int64_t count_;
  double h_, scaling_;
  Lattice lattice_;
  std::span<double> grid_;
  std::int64_t rows_;
  std::vector<double> rowSquares_;
  std::vector<Reach> reaches_;
  std::int64_t work_ = 0;
};

}  // namespace

std::optional<DensityGrid> SimpleKernel2(const PointArray& points, double h, double cellSize,
                                         double originX, double originY, std::int32_t columns,
                                         std::int32_t rows, double scaling) {
  std::optional<DensityGrid> result;
  Trap("SimpleKernel2; ", [&] {
    CheckDivisors(h, cellSize);
    DensityGrid grid = EmptyGrid(columns, rows);
    GridSum(points, h, scaling, {cellSize, originX, originY, columns - 1, rows - 1}, grid).Run();
    result = std::move(grid);
  });
  return result;
}

std::optional<DensityGrid> SimpleKernelPntComponent(double x, double y, double weight, double h,
                                                    double cellSize, double originX, double originY,
                                                    double scaling, std::int32_t maxColumn,
                                                    std::int32_t maxRow) {
  std::optional<DensityGrid> result;
  Trap("SimpleKernelPntComponent; ", [&] {
    CheckDivisors(h, cellSize);
    const Lattice lattice = {cellSize, originX, originY, maxColumn, maxRow};
    Reach reach = ReachOf({x, y}, h, lattice);
    if (reach.lastColumn < reach.firstColumn) reach.lastColumn = reach.firstColumn - 1;
    if (reach.lastRow < reach.firstRow) reach.lastRow = reach.firstRow - 1;
    DensityGrid part({reach.firstColumn, reach.lastColumn}, {reach.firstRow, reach.lastRow});
    std::vector<double> rowSquares(static_cast<std::size_t>(part.Second().Count()));
    const PointKernel kernel({x, y}, reach, lattice, rowSquares);
    const KernelTerms terms = TermsOf(weight, h, scaling, 1);
    if (!rowSquares.empty())
      for (std::int32_t column = reach.firstColumn; column <= reach.lastColumn; ++column)
        kernel.AddColumn(column, &part(column, reach.firstRow), terms);
    result = std::move(part);
  });
  return result;
}

}  // namespace orlinths
