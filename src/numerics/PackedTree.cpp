#include "numerics/PackedTree.h"

#include <boost/geometry/geometries/box.hpp>
#include <boost/geometry/geometries/point.hpp>
#include <boost/geometry/index/rtree.hpp>
#include <boost/iterator/function_output_iterator.hpp>

#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace orlinths {
namespace {

namespace bg = boost::geometry;
using Corner = bg::model::point<double, 2, bg::cs::cartesian>;
using Box = bg::model::box<Corner>;
using Entry = std::pair<Box, std::uint32_t>;

Box BoxOf(const Envelope& e) { return {Corner(e.xMin, e.yMin), Corner(e.xMax, e.yMax)}; }

std::vector<Entry> Entries(std::span<const Envelope> boxes) {
  std::vector<Entry> entries;
  entries.reserve(boxes.size());
  for (std::size_t i = 0; i < boxes.size(); ++i)
    if (!boxes[i].IsEmpty()) entries.emplace_back(BoxOf(boxes[i]), static_cast<std::uint32_t>(i));
  return entries;
}

}  // namespace

struct PackedTree::Tree {
  bg::index::rtree<Entry, bg::index::quadratic<16>> entries;
};

PackedTree::PackedTree() = default;
PackedTree::PackedTree(std::span<const Envelope> boxes)
    : tree_(new Tree{bg::index::rtree<Entry, bg::index::quadratic<16>>(Entries(boxes))}) {}
PackedTree::~PackedTree() = default;
PackedTree::PackedTree(PackedTree&&) noexcept = default;
PackedTree& PackedTree::operator=(PackedTree&&) noexcept = default;

void PackedTree::ForEach(const Envelope& query, void* visitor,
                         void (*visit)(void*, std::size_t)) const {
  if (!tree_ || query.IsEmpty()) return;
  tree_->entries.query(bg::index::intersects(BoxOf(query)),
                       boost::make_function_output_iterator(
                           [=](const Entry& entry) { visit(visitor, entry.second); }));
}

}  // namespace orlinths
