#include "numerics/ConvexHull.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

constexpr std::uint32_t kLeaf = 64;
constexpr double kInfinity = std::numeric_limits<double>::infinity();

bool IsFinite(const Coord& c) { return std::isfinite(c.x) && std::isfinite(c.y); }

/// North-east and south-west the hull climbs from its current point as steeply as it can, and
/// straight up or down is the steepest; on the other two ways it stays as flat as it can.
bool HeadsForSteepest(Quadrant q) { return q == Quadrant::kNorthEast || q == Quadrant::kSouthWest; }

Envelope Common(const Envelope& a, const Envelope& b) {
  return {std::max(a.xMin, b.xMin), std::max(a.yMin, b.yMin), std::min(a.xMax, b.xMax),
          std::min(a.yMax, b.yMax)};
}

}  // namespace

// ---- The tree

HullPoints::HullPoints(std::span<const Coord> points) {
  items_.reserve(points.size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    const Coord& at = points[i];
    if (std::isnan(at.x) || std::isnan(at.y)) continue;
    extent_.Add(at.x, at.y);
    if (!IsFinite(at)) continue;
    items_.push_back({at, static_cast<Place>(i)});
    if (!westernmost_ || at.x < westernmost_->x) westernmost_ = at;
  }
  if (!items_.empty()) nodes_.push_back(NodeOf(0, static_cast<std::uint32_t>(items_.size())));
}

HullPoints::Node HullPoints::NodeOf(std::uint32_t begin, std::uint32_t end) const {
  Node node{.box = {},
            .first = items_[begin].place,
            .last = items_[begin].place,
            .begin = begin,
            .end = end};
  for (std::uint32_t i = begin; i < end; ++i) {
    const Item& item = items_[i];
    node.box.Add(item.at.x, item.at.y);
    node.first = std::min(node.first, item.place);
    node.last = std::max(node.last, item.place);
  }
  return node;
}

/// A node's points on a grid of square numbers of cells, some dozens of points in each. Cells are
/// numbered along a Z curve, so that each half of the numbers is a half of the grid, and so on.
class HullPoints::Cells {
 public:
  Cells(const std::vector<Item>& items, const Node& node)
      : bits_(std::clamp(static_cast<int>(std::bit_width((node.end - node.begin) / kLeaf)) / 2, 1,
                         kMostBits)),
        west_(node.box.xMin),
        south_(node.box.yMin),
        columnsPerUnit_(Side() / (node.box.xMax - node.box.xMin)),
        rowsPerUnit_(Side() / (node.box.yMax - node.box.yMin)),
        starts_((std::size_t{1} << (2 * bits_)) + 1, 0) {
    for (std::uint32_t i = node.begin; i < node.end; ++i) ++starts_[CellOf(items[i].at) + 1];
    most_ = *std::max_element(starts_.begin(), starts_.end());
    starts_[0] = node.begin;
    std::partial_sum(starts_.begin(), starts_.end(), starts_.begin());
  }

  std::uint32_t Count() const { return static_cast<std::uint32_t>(starts_.size() - 1); }
  /// Points in the fullest cell.
  std::uint32_t Most() const { return most_; }
  /// Where the points of a cell begin, once they are sorted.
  std::uint32_t Start(std::uint32_t cell) const { return starts_[cell]; }

  void Sort(std::vector<Item>& items, const Node& node) const {
    std::vector<std::uint32_t> next = starts_;
    std::vector<Item> sorted(node.end - node.begin);
    for (std::uint32_t i = node.begin; i < node.end; ++i)
      sorted[next[CellOf(items[i].at)]++ - node.begin] = items[i];
    if (sorted.size() == items.size()) {
      items = std::move(sorted);
    } else {
      std::ranges::copy(sorted, items.begin() + node.begin);
    }
  }

 private:
  static constexpr int kMostBits = 5;

  double Side() const { return static_cast<double>(1 << bits_); }
  /// Whatever the numbers do, a cell of the grid: a box without breadth, or broader than any
  /// number, is one row of cells or even a single one.
  std::uint32_t Along(double offset, double perUnit) const {
    const double cell = offset * perUnit;
    const double last = Side() - 1;
    return cell >= last ? static_cast<std::uint32_t>(last)
           : cell > 0   ? static_cast<std::uint32_t>(cell)
                        : 0;
  }
  std::uint32_t CellOf(const Coord& at) const {
    return Spread(Along(at.x - west_, columnsPerUnit_)) << 1 |
           Spread(Along(at.y - south_, rowsPerUnit_));
  }
  /// Five bits, with room between them.
  static std::uint32_t Spread(std::uint32_t v) {
    v = (v | v << 4) & 0x10f;
    v = (v | v << 2) & 0x133;
    return (v | v << 1) & 0x155;
  }

  int bits_;
  double west_, south_, columnsPerUnit_, rowsPerUnit_;
  std::vector<std::uint32_t> starts_;  ///< one more than cells
  std::uint32_t most_ = 0;
};

/// The node of the points in these cells, with all that is below it; nothing's index is 0.
std::uint32_t HullPoints::NodeOf(const Cells& cells, std::uint32_t from, std::uint32_t to) const {
  const std::uint32_t begin = cells.Start(from), end = cells.Start(to);
  if (begin == end) return 0;
  Node node;
  if (to - from == 1 || end - begin <= kLeaf) {
    node = NodeOf(begin, end);
  } else {
    const std::uint32_t middle = from + (to - from) / 2;
    const std::uint32_t left = NodeOf(cells, from, middle), right = NodeOf(cells, middle, to);
    if (left == 0 || right == 0) return left + right;
    const Node &a = nodes_[left], &b = nodes_[right];
    node = {.box = a.box,
            .first = std::min(a.first, b.first),
            .last = std::max(a.last, b.last),
            .begin = begin,
            .end = end,
            .left = left,
            .right = right};
    node.box.Add(b.box);
  }
  nodes_.push_back(node);
  return static_cast<std::uint32_t>(nodes_.size() - 1);
}

/// Gives a node of many points its halves.
void HullPoints::Open(std::uint32_t index) const {
  const Node node = nodes_[index];
  const Cells cells(items_, node);
  // Most of them in one cell, or all of them at one place: their number is halved.
  if (cells.Most() > (node.end - node.begin) / 4 * 3) return Halve(index);
  cells.Sort(items_, node);
  const Node top = nodes_[NodeOf(cells, 0, cells.Count())];
  nodes_[index].left = top.left;
  nodes_[index].right = top.right;
}

/// Across the longer side.
void HullPoints::Halve(std::uint32_t index) const {
  const Node node = nodes_[index];
  const std::uint32_t middle = node.begin + (node.end - node.begin) / 2;
  const auto at = [this](std::uint32_t i) { return items_.begin() + i; };
  if (node.box.xMax - node.box.xMin >= node.box.yMax - node.box.yMin) {
    std::nth_element(at(node.begin), at(middle), at(node.end),
                     [](const Item& a, const Item& b) { return a.at.x < b.at.x; });
  } else {
    std::nth_element(at(node.begin), at(middle), at(node.end),
                     [](const Item& a, const Item& b) { return a.at.y < b.at.y; });
  }
  nodes_.push_back(NodeOf(node.begin, middle));
  nodes_.push_back(NodeOf(middle, node.end));
  nodes_[index].right = static_cast<std::uint32_t>(nodes_.size() - 1);
  nodes_[index].left = nodes_[index].right - 1;
}

/// One look for a point in a box.
struct HullPoints::Search {
  const HullPoints& points;
  const Coord current;
  const Envelope box;
  const bool steepest;

  /// A copy: points change places when a box is opened.
  std::optional<Item> found{};
  double slope = 0;  // of what was found

  /// The halves of a node that is no leaf. Nodes change places with it.
  std::pair<std::uint32_t, std::uint32_t> HalvesOf(std::uint32_t index) {
    if (points.nodes_[index].right == 0) points.Open(index);
    return {points.nodes_[index].left, points.nodes_[index].right};
  }

  std::optional<Coord> Place() const { return found ? std::optional(found->at) : std::nullopt; }

  // ---- Straight above or below

  /// The first or the last in order.
  std::optional<Coord> Vertical(bool first) {
    found.reset();
    if (!points.nodes_.empty()) VisitVertical(0, first);
    return Place();
  }

  void VisitVertical(std::uint32_t index, bool first) {
    const Node& node = points.nodes_[index];
    const Envelope common = Common(node.box, box);
    if (common.IsEmpty() || common.xMin > current.x || common.xMax < current.x) return;
    if (found && (first ? node.first > found->place : node.last < found->place)) return;
    if (common.yMin == current.y && common.yMax == current.y) return;  // at the place itself
    if (node.end - node.begin <= kLeaf) {
      for (std::uint32_t i = node.begin; i < node.end; ++i) {
        const Item& item = points.items_[i];
        if (item.at.x != current.x || item.at.y == current.y || !box.Contains(item.at.x, item.at.y))
          continue;
        if (!found || (first ? item.place < found->place : item.place > found->place)) found = item;
      }
      return;
    }
    const auto [left, right] = HalvesOf(index);
    const Node &a = points.nodes_[left], &b = points.nodes_[right];
    const bool leftFirst = first ? a.first < b.first : a.last > b.last;
    VisitVertical(leftFirst ? left : right, first);
    VisitVertical(leftFirst ? right : left, first);
  }

  // ---- Along a slope

  std::optional<Coord> Sloping() {
    found.reset();
    if (!points.nodes_.empty()) VisitSloping(0, Bound(points.nodes_[0]));
    return Place();
  }

  /// In the box of a quadrant all slopes have one sign.
  double SlopeOf(double dx, double dy) const {
    const double size = std::abs(dy) / std::abs(dx);
    return steepest ? size : -size;
  }

  /// No point of the node in the box has a greater slope; NaN when it has none there.
  double Bound(const Node& node) const {
    const Envelope common = Common(node.box, box);
    if (common.IsEmpty()) return Point::kNone;
    // The current point is a corner of the box, so that the node lies on one side of it.
    const auto [dxNear, dxFar] =
        std::minmax({std::abs(current.x - common.xMin), std::abs(current.x - common.xMax)});
    const auto [dyNear, dyFar] =
        std::minmax({std::abs(current.y - common.yMin), std::abs(current.y - common.yMax)});
    if (dxFar == 0) return Point::kNone;
    if (!steepest) return SlopeOf(dxFar, dyNear);
    return dxNear == 0 ? kInfinity : SlopeOf(dxNear, dyFar);
  }

  void VisitSloping(std::uint32_t index, double bound) {
    const Node& node = points.nodes_[index];
    if (std::isnan(bound)) return;
    if (found && (bound < slope || (bound == slope && node.last < found->place))) return;
    if (node.end - node.begin <= kLeaf) {
      for (std::uint32_t i = node.begin; i < node.end; ++i) TrySloping(points.items_[i]);
      return;
    }
    const auto [left, right] = HalvesOf(index);
    const double ofLeft = Bound(points.nodes_[left]), ofRight = Bound(points.nodes_[right]);
    const bool leftFirst = !(ofRight > ofLeft);
    VisitSloping(leftFirst ? left : right, leftFirst ? ofLeft : ofRight);
    VisitSloping(leftFirst ? right : left, leftFirst ? ofRight : ofLeft);
  }

  void TrySloping(const Item& item) {
    if (item.at.x == current.x || !box.Contains(item.at.x, item.at.y)) return;
    const double its = SlopeOf(current.x - item.at.x, current.y - item.at.y);
    if (!found || its > slope || (its == slope && item.place > found->place)) {
      found = item;
      slope = its;
    }
  }
};

std::optional<Coord> HullPoints::FirstOnWestEdge() const {
  if (!westernmost_ || westernmost_->x != extent_.xMin) return std::nullopt;
  return westernmost_;
}

Envelope HullPoints::BoxOf(const Coord& current, Quadrant quadrant) const {
  const Envelope& e = extent_;
  switch (quadrant) {
    case Quadrant::kNorthEast:
      return {current.x, current.y, e.xMax, e.yMax};
    case Quadrant::kSouthEast:
      return {current.x, e.yMin, e.xMax, current.y};
    case Quadrant::kSouthWest:
      return {e.xMin, e.yMin, current.x, current.y};
    case Quadrant::kNorthWest:
      return {e.xMin, current.y, current.x, e.yMax};
  }
  throw RuntimeError(ErrorNumber::kInvalidCall);
}

Coord HullPoints::GetNextHullPoint(const Coord& current, Quadrant quadrant) const {
  const bool steepest = HeadsForSteepest(quadrant);
  Search search{*this, current, BoxOf(current, quadrant), steepest};
  std::optional<Coord> next;
  if (steepest) next = search.Vertical(true);
  if (!next) next = search.Sloping();
  if (!next && !steepest) next = search.Vertical(false);
  return next.value_or(Coord{0, 0});
}

// ---- The walk

namespace {

/// At a corner of the extent the hull turns.
Quadrant TurnedAt(const Coord& c, Quadrant q, const Envelope& e) {
  switch (q) {
    case Quadrant::kNorthEast:
      if (c.y != e.yMax) return q;
      return c.x == e.xMax ? Quadrant::kSouthWest : Quadrant::kSouthEast;
    case Quadrant::kSouthEast:
      if (c.x != e.xMax) return q;
      return c.y == e.yMin ? Quadrant::kNorthWest : Quadrant::kSouthWest;
    case Quadrant::kSouthWest:
      if (c.y != e.yMin) return q;
      return c.x == e.xMin ? Quadrant::kNorthEast : Quadrant::kNorthWest;
    case Quadrant::kNorthWest:
      if (c.x != e.xMin) return q;
      return c.y == e.yMax ? Quadrant::kSouthEast : Quadrant::kNorthEast;
  }
  throw RuntimeError(ErrorNumber::kInvalidCall);
}

/// A walk's next step depends on where it stands and where it heads for alone: a walk that comes
/// twice to the same state goes round for ever. Looks back at one state, a later one each time the
/// number of steps has doubled (Brent 1980), which finds a round in about three times its length.
class RoundWatch {
 public:
  bool IsRound(const Coord& at, Quadrant heading) {
    if (at == kept_ && heading == keptHeading_) return true;
    if (++steps_ == keepAt_) {
      kept_ = at;
      keptHeading_ = heading;
      keepAt_ *= 2;
    }
    return false;
  }

 private:
  Coord kept_{Point::kNone, Point::kNone};
  Quadrant keptHeading_ = Quadrant::kNorthEast;
  std::int64_t steps_ = 0, keepAt_ = 1;
};

Polygon WalkAround(const HullPoints& points, const Coord& start) {
  constexpr std::int64_t kStepsBetweenYields = 1024;
  const Envelope& extent = points.Extent();
  if (!std::isfinite(extent.Width()) || !std::isfinite(extent.Height()))
    throw RuntimeError(ErrorNumber::kOverflow);

  Polygon polygon;
  polygon.AddPoint(start.x, start.y);
  Coord current = start;
  Quadrant heading = start.y == extent.yMax ? Quadrant::kSouthEast : Quadrant::kNorthEast;
  RoundWatch watch;
  do {
    CheckStop();
    if (polygon.PointCount() % kStepsBetweenYields == 0) Yield();
    current = points.GetNextHullPoint(current, heading);
    polygon.AddPoint(current.x, current.y);
    heading = TurnedAt(current, heading, extent);
    if (watch.IsRound(current, heading))
      throw RuntimeError::Platform("The walk around the points does not come back to its start.");
  } while (current != start);
  polygon.Close();
  return polygon;
}

}  // namespace

std::optional<Polygon> CreateMCPPoly(std::span<const Coord> points) {
  std::optional<Polygon> polygon;
  Trap("CreateMCPPoly; ", [&] {
    const HullPoints all(points);
    const std::optional<Coord> start = all.FirstOnWestEdge();
    if (!start) {
      MessageBox("ERROR: spatial selection error.", kCritical, "ERROR");
      return;
    }
    polygon = WalkAround(all, *start);
  });
  return polygon;
}

}  // namespace orlinths
