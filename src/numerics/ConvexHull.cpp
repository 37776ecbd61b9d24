#include "numerics/ConvexHull.h"

#include <algorithm>
#include <cmath>
#include <limits>

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
    if (std::isnan(points[i].x) || std::isnan(points[i].y)) continue;
    extent_.Add(points[i].x, points[i].y);
    if (IsFinite(points[i])) items_.push_back({points[i], static_cast<Place>(i)});
  }
  nodes_.reserve(items_.size() / (kLeaf / 4) + 1);
  if (!items_.empty()) Build(0, static_cast<std::uint32_t>(items_.size()));
}

/// The node of the items from `begin` to `end`, which it halves across their longer side.
std::uint32_t HullPoints::Build(std::uint32_t begin, std::uint32_t end) {
  const auto index = static_cast<std::uint32_t>(nodes_.size());
  Node node{.box = {},
            .first = items_[begin].place,
            .last = items_[begin].place,
            .begin = begin,
            .end = end,
            .right = 0};
  for (std::uint32_t i = begin; i < end; ++i) {
    const Item& item = items_[i];
    node.box.Add(item.at.x, item.at.y);
    node.first = std::min(node.first, item.place);
    node.last = std::max(node.last, item.place);
  }
  nodes_.push_back(node);
  if (end - begin <= kLeaf) return index;

  const std::uint32_t middle = begin + (end - begin) / 2;
  const auto at = [this](std::uint32_t i) { return items_.begin() + i; };
  if (node.box.xMax - node.box.xMin >= node.box.yMax - node.box.yMin) {
    std::nth_element(at(begin), at(middle), at(end),
                     [](const Item& a, const Item& b) { return a.at.x < b.at.x; });
  } else {
    std::nth_element(at(begin), at(middle), at(end),
                     [](const Item& a, const Item& b) { return a.at.y < b.at.y; });
  }
  Build(begin, middle);
  const std::uint32_t right = Build(middle, end);
  nodes_[index].right = right;
  return index;
}

/// One look for a point in a box.
struct HullPoints::Search {
  const HullPoints& points;
  const Coord current;
  const Envelope box;
  const bool steepest;

  const Item* found = nullptr;
  double slope = 0;  // of what was found

  // ---- Straight above or below

  /// The first or the last in order.
  const Item* Vertical(bool first) {
    found = nullptr;
    if (!points.nodes_.empty()) VisitVertical(0, first);
    return found;
  }

  void VisitVertical(std::uint32_t index, bool first) {
    const Node& node = points.nodes_[index];
    const Envelope common = Common(node.box, box);
    if (common.IsEmpty() || common.xMin > current.x || common.xMax < current.x) return;
    if (found != nullptr && (first ? node.first > found->place : node.last < found->place)) return;
    if (common.yMin == current.y && common.yMax == current.y) return;  // at the place itself
    if (node.right == 0) {
      for (std::uint32_t i = node.begin; i < node.end; ++i) {
        const Item& item = points.items_[i];
        if (item.at.x != current.x || item.at.y == current.y || !box.Contains(item.at.x, item.at.y))
          continue;
        if (found == nullptr || (first ? item.place < found->place : item.place > found->place))
          found = &item;
      }
      return;
    }
    const Node& left = points.nodes_[index + 1];
    const Node& right = points.nodes_[node.right];
    const bool leftFirst = first ? left.first < right.first : left.last > right.last;
    VisitVertical(leftFirst ? index + 1 : node.right, first);
    VisitVertical(leftFirst ? node.right : index + 1, first);
  }

  // ---- Along a slope

  const Item* Sloping() {
    found = nullptr;
    if (!points.nodes_.empty()) VisitSloping(0, Bound(points.nodes_[0]));
    return found;
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
    if (found != nullptr && (bound < slope || (bound == slope && node.last < found->place))) return;
    if (node.right == 0) {
      for (std::uint32_t i = node.begin; i < node.end; ++i) TrySloping(points.items_[i]);
      return;
    }
    const double left = Bound(points.nodes_[index + 1]);
    const double right = Bound(points.nodes_[node.right]);
    const bool leftFirst = !(right > left);
    VisitSloping(leftFirst ? index + 1 : node.right, leftFirst ? left : right);
    VisitSloping(leftFirst ? node.right : index + 1, leftFirst ? right : left);
  }

  void TrySloping(const Item& item) {
    if (item.at.x == current.x || !box.Contains(item.at.x, item.at.y)) return;
    const double its = SlopeOf(current.x - item.at.x, current.y - item.at.y);
    if (found == nullptr || its > slope || (its == slope && item.place > found->place)) {
      found = &item;
      slope = its;
    }
  }
};

std::optional<Coord> HullPoints::FirstOnWestEdge() const {
  const double west = extent_.xMin;
  const Item* found = nullptr;
  for (const Item& item : items_)
    if (item.at.x == west && (found == nullptr || item.place < found->place)) found = &item;
  if (found == nullptr) return std::nullopt;
  return found->at;
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
  const Item* next = steepest ? search.Vertical(true) : nullptr;
  if (next == nullptr) next = search.Sloping();
  if (next == nullptr && !steepest) next = search.Vertical(false);
  return next != nullptr ? next->at : Coord{0, 0};
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
