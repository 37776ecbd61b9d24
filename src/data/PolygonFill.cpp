// The scan fill of a polygon over a raster's cells. The places where the rows' centre lines meet
// the boundary come from the polygon's own edges, gathered and sorted once for all rows.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <vector>

#include "data/RasterAccess.h"
#include "runtime/Arithmetic.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

/// An unevaluated sum of two doubles, for the few signs that one double leaves open.
struct Twofold {
  double high, low;
};
Twofold Sum(double a, double b) {
  const double s = a + b, t = s - a;
  return {s, (a - (s - t)) + (b - t)};
}
Twofold Product(Twofold a, Twofold b) {
  const double p = a.high * b.high;
  const double e = std::fma(a.high, b.high, -p) + (a.high * b.low + a.low * b.high);
  return Sum(p, e);
}

/// Positive when p lies left of the way from a to b, negative right of it, 0 on it.
int SideOf(Coord a, Coord b, Coord p) {
  const double left = (b.x - a.x) * (p.y - a.y), right = (b.y - a.y) * (p.x - a.x);
  const double side = left - right;
  // What rounding can have done to `side` (Shewchuk 1997, the first filter of orient2d).
  if (std::abs(side) > 4e-16 * (std::abs(left) + std::abs(right))) return side > 0 ? 1 : -1;
  const Twofold l = Product(Sum(b.x, -a.x), Sum(p.y, -a.y));
  const Twofold r = Product(Sum(b.y, -a.y), Sum(p.x, -a.x));
  const Twofold high = Sum(l.high, -r.high);
  const double exact = high.high + (high.low + (l.low - r.low));
  return exact > 0 ? 1 : exact < 0 ? -1 : 0;
}

/// An edge that is not horizontal, its lower end first, so that an edge shared by two rings is cut
/// at one place.
struct Edge {
  Coord low, high;
};

/// x where the edge is at height y.
double CutAt(const Edge& edge, double y) {
  if (y == edge.low.y) return edge.low.x;
  if (y == edge.high.y) return edge.high.x;
  return edge.low.x + (y - edge.low.y) * (edge.high.x - edge.low.x) / (edge.high.y - edge.low.y);
}

struct Crossing {
  double x;
  std::int32_t edge;
};
/// A piece of boundary that lies along a centre line.
struct Overlap {
  double from, to;
};

/// Things of each row, in one array.
template <class T>
class ByRow {
 public:
  explicit ByRow(std::int64_t rows) : starts_(static_cast<std::size_t>(rows) + 1) {}
  void Count(std::int64_t row) { ++starts_[static_cast<std::size_t>(row) + 1]; }
  void Allocate() {
    for (std::size_t i = 1; i < starts_.size(); ++i) starts_[i] += starts_[i - 1];
    things_.resize(static_cast<std::size_t>(starts_.back()));
    next_ = starts_;
  }
  void Put(std::int64_t row, const T& thing) {
    things_[static_cast<std::size_t>(next_[static_cast<std::size_t>(row)]++)] = thing;
  }
  std::span<T> Of(std::int64_t row) {
    const auto begin = static_cast<std::size_t>(starts_[static_cast<std::size_t>(row)]);
    const auto end = static_cast<std::size_t>(starts_[static_cast<std::size_t>(row) + 1]);
    return std::span(things_).subspan(begin, end - begin);
  }

 private:
  std::vector<std::int64_t> starts_, next_;
  std::vector<T> things_;
};

class Fill {
 public:
  Fill(const Polygon& polygon, const IRasterProps& props);
  Mask Run();

 private:
  double RowY(std::int64_t row) const {
    return top_ - static_cast<double>(row) * cell_ - cell_ * 0.5;
  }
  double ColumnX(std::int64_t column) const {
    return left_ + cell_ * 0.5 + static_cast<double>(column) * cell_;
  }
  std::int64_t FirstColumnBeyond(double x, std::int64_t from) const;
  template <class Fn>
  void ForRowsAt(double low, double high, Fn&& fn) const;
  void Gather(const Polygon& polygon);
  void MeetBoundary(std::int64_t row);
  bool Contains(std::int64_t row, double x);
  void FillRow(std::int64_t row, std::span<std::uint8_t> cells);

  double cell_, left_, top_, right_;
  bool startsInside_;  ///< the polygon reaches into the first column or beyond: a row's start has
                       ///< to be tested
  std::int64_t colMin_, colMax_, rowMin_, rowMax_;
  std::vector<Edge> edges_;
  ByRow<Crossing> crossings_{0};
  ByRow<Overlap> overlaps_{0};
  std::vector<double> xs_;  ///< of the row at hand: where its line meets the boundary, ascending
};

Fill::Fill(const Polygon& polygon, const IRasterProps& props)
    : cell_(props.meanCellSize.x),
      left_(props.extent.xMin),
      top_(props.extent.yMax),
      right_(props.extent.xMax) {
  const Envelope box = polygon.Envelope();
  startsInside_ = left_ + cell_ > box.xMin;
  const auto at = [&](double distance) -> std::int64_t {
    return ToLong(Int(Divide(distance, cell_)));
  };
  colMin_ = std::max<std::int64_t>(at(box.xMin - left_), 0);
  colMax_ = std::min<std::int64_t>(at(box.xMax - left_) + 1, props.width);
  rowMin_ = std::max<std::int64_t>(at(top_ - box.yMax), 0);
  rowMax_ = std::min<std::int64_t>(at(top_ - box.yMin) + 1, props.height);
  // A polygon wholly beyond a side leaves an array without cells, and such an array has no bounds.
  if (colMax_ < colMin_ || rowMax_ < rowMin_) throw RuntimeError(ErrorNumber::kSubscript);
  Gather(polygon);
}

/// The first column from `from` on whose centre lies east of `x`; the one behind the last where
/// there is none.
std::int64_t Fill::FirstColumnBeyond(double x, std::int64_t from) const {
  // Division comes within a column or so of it; the centres themselves decide.
  const double guess = (x - left_) / cell_ - 0.5;
  std::int64_t column = from;
  if (guess > static_cast<double>(colMax_))
    column = colMax_ + 1;
  else if (guess > static_cast<double>(from))
    column = static_cast<std::int64_t>(guess);
  while (column > from && ColumnX(column - 1) > x) --column;
  while (column <= colMax_ && !(ColumnX(column) > x)) ++column;
  return column;
}

/// Calls `fn` with every row whose centre line lies within the two heights, ends included.
template <class Fn>
void Fill::ForRowsAt(double low, double high, Fn&& fn) const {
  const double first = std::floor((top_ - high) / cell_ - 0.5) - 1;
  if (first > static_cast<double>(rowMax_)) return;
  std::int64_t row =
      first < static_cast<double>(rowMin_) ? rowMin_ : static_cast<std::int64_t>(first);
  while (row <= rowMax_ && RowY(row) > high) ++row;
  for (; row <= rowMax_ && RowY(row) >= low; ++row) fn(row);
}

void Fill::Gather(const Polygon& polygon) {
  std::vector<Edge> level;
  for (int part = 0; part < polygon.PartCount(); ++part) {
    const auto ring = polygon.Part(part);
    for (std::size_t i = 0; i < ring.size(); ++i) {
      Coord a = ring[i], b = ring[i + 1 < ring.size() ? i + 1 : 0];  // an open ring is closed
      if (std::isnan(a.x + a.y)) throw RuntimeError(ErrorNumber::kOverflow);
      if (a == b) continue;
      if (a.y > b.y || (a.y == b.y && a.x > b.x)) std::swap(a, b);
      (a.y == b.y ? level : edges_).push_back({a, b});
    }
  }
  const std::int64_t rows = rowMax_ - rowMin_ + 1;
  crossings_ = ByRow<Crossing>(rows);
  overlaps_ = ByRow<Overlap>(rows);
  for (const Edge& e : edges_)
    ForRowsAt(e.low.y, e.high.y, [&](std::int64_t row) { crossings_.Count(row - rowMin_); });
  for (const Edge& e : level)
    ForRowsAt(e.low.y, e.low.y, [&](std::int64_t row) { overlaps_.Count(row - rowMin_); });
  crossings_.Allocate();
  overlaps_.Allocate();
  for (std::size_t i = 0; i < edges_.size(); ++i) {
    const Edge& e = edges_[i];
    ForRowsAt(e.low.y, e.high.y, [&](std::int64_t row) {
      crossings_.Put(row - rowMin_, {CutAt(e, RowY(row)), static_cast<std::int32_t>(i)});
    });
  }
  for (const Edge& e : level)
    ForRowsAt(e.low.y, e.low.y, [&](std::int64_t row) {
      overlaps_.Put(row - rowMin_, {e.low.x, e.high.x});
    });
}

/// Fills `xs_` with the points, each once, that the row's line and the boundary have in common, as
/// far as they are points: where the boundary runs along the line there is none, its ends included.
void Fill::MeetBoundary(std::int64_t row) {
  const double from = static_cast<double>(colMin_) * cell_ + left_;
  const double to = static_cast<double>(colMax_) * cell_ + left_ + cell_;
  xs_.clear();
  for (const Crossing& crossing : crossings_.Of(row - rowMin_))
    if (crossing.x >= from && crossing.x <= to) xs_.push_back(crossing.x);
  const auto overlaps = overlaps_.Of(row - rowMin_);
  for (Overlap& overlap : overlaps) {
    overlap = {std::max(overlap.from, from), std::min(overlap.to, to)};
    if (overlap.from == overlap.to) xs_.push_back(overlap.from);  // meets the line's end only
  }
  for (const Overlap& overlap : overlaps)
    if (overlap.from < overlap.to)
      std::erase_if(xs_, [&](double x) { return x >= overlap.from && x <= overlap.to; });
  std::sort(xs_.begin(), xs_.end());
  xs_.erase(std::unique(xs_.begin(), xs_.end()), xs_.end());
}

/// Whether the polygon contains the point of the row's line at `x`; on the boundary it does not.
bool Fill::Contains(std::int64_t row, double x) {
  const double y = RowY(row);
  for (const Overlap& overlap : overlaps_.Of(row - rowMin_))
    if (x >= overlap.from && x <= overlap.to) return false;
  bool inside = false;
  for (const Crossing& crossing : crossings_.Of(row - rowMin_)) {
    const Edge& e = edges_[static_cast<std::size_t>(crossing.edge)];
    const int side = SideOf(e.low, e.high, {x, y});
    if (side == 0) return false;
    if (y < e.high.y && side < 0)
      inside = !inside;  // the edge, without its upper end, lies left of the point
  }
  return inside;
}

void Fill::FillRow(std::int64_t row, std::span<std::uint8_t> cells) {
  // The overlaps are cut to the line below; the containment test wants them whole.
  const bool inside = startsInside_ && Contains(row, ColumnX(colMin_));
  MeetBoundary(row);
  if (xs_.empty()) {
    if (inside) std::fill(cells.begin(), cells.end(), std::uint8_t{1});
    return;
  }
  // The raster's edge stands behind the crossings, in its own order. The start state is that of the
  // first cell's centre although the first test below looks at crossings west of that centre too,
  // and that test is strict while those after it are not: a boundary in the western half of the
  // first column inverts its row, and a centre on a crossing changes the state or does not by which
  // of the tests meets it. Results are known by this, so it stays.
  xs_.push_back(right_);
  bool state = inside;
  std::size_t k = 0;
  for (std::int64_t column = colMin_; column <= colMax_;) {
    const std::int64_t next = FirstColumnBeyond(xs_[k], column);
    if (state) std::fill(cells.begin() + (column - colMin_), cells.begin() + (next - colMin_), 1);
    if (next > colMax_) return;
    const double x = ColumnX(next);
    state = !state;
    for (;;) {
      if (++k == xs_.size()) return;
      if (x < xs_[k]) break;
      state = !state;
    }
    column = next;
  }
}

Mask Fill::Run() {
  Mask mask({rowMin_, rowMax_}, {colMin_, colMax_});
  for (std::int64_t row = rowMin_; row <= rowMax_; ++row) {
    CheckStop();
    FillRow(row, RowOf(mask, row));
  }
  return mask;
}

}  // namespace

Mask GetPolyRasterArray2(const Polygon& polygon, const IRasterProps& props) {
  Mask mask;
  Trap("GetPolyRasterArray2: ", [&] { mask = Fill(polygon, props).Run(); });
  return mask;
}

}  // namespace orlinths
