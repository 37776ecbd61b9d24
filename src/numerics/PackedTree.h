// A static R-tree over boxes, packed full: which of many boxes meet a given one.
#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "numerics/Geometry.h"

namespace orlinths {

/// Boost.Geometry's R-tree, filled at once and not changed afterwards. Build O(n log n), a question
/// O(log n + hits) on boxes that overlap little. Empty boxes and boxes with NaN are never hit.
class PackedTree {
 public:
  PackedTree();
  explicit PackedTree(std::span<const Envelope> boxes);
  ~PackedTree();
  PackedTree(PackedTree&&) noexcept;
  PackedTree& operator=(PackedTree&&) noexcept;

  /// Calls `visit(index)` for each box that meets `query`, touching included; in no order that
  /// means anything.
  template <class Visit>
  void Meeting(const Envelope& query, Visit&& visit) const {
    auto* const visitor = std::addressof(visit);
    ForEach(query, visitor,
            [](void* held, std::size_t index) { (*static_cast<decltype(visitor)>(held))(index); });
  }

 private:
  void ForEach(const Envelope& query, void* visitor, void (*visit)(void*, std::size_t)) const;

  struct Tree;
  std::unique_ptr<const Tree> tree_;
};

}  // namespace orlinths
