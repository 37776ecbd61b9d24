#include "kernel/FixGroups.h"

#include <algorithm>

#include "runtime/Trap.h"
#include "runtime/Value.h"

namespace orlinths {

FixGroups::FixGroups(ICursor& points, int idField, std::optional<int> weightField,
                     std::span<const std::int32_t> ids)
    : groups_(ids.size()) {
  std::vector<std::pair<std::int32_t, std::size_t>> places;
  for (const std::int32_t id : ids) places.emplace_back(id, places.size());
  std::sort(places.begin(), places.end());
  // Fixes of one animal mostly follow each other.
  auto place = places.cend();
  const auto find = [&](std::int32_t id) {
    if (place == places.cend() || place->first != id)
      place = std::lower_bound(places.cbegin(), places.cend(), std::pair(id, std::size_t{0}));
    if (place != places.cend() && place->first != id) place = places.cend();
    return place != places.cend();
  };

  Gathered* group = nullptr;  // of the point at hand
  const auto gather = [&] {
    while (const IFeature* row = points.Next()) {
      const Value id = row->GetValue(idField);
      if (id.IsNull() || !find(ToLong(id))) continue;
      group = &groups_[place->second];
      const Point& at = row->Point();
      const double weight = weightField ? row->GetDouble(*weightField) : 1.0;
      group->numbers.insert(group->numbers.end(), {at.x, at.y, weight});
      group = nullptr;
    }
  };
  // A point that cannot be read waits for its group's turn; a walk that cannot go on ends here.
  while (const auto failure = FailureOf(gather)) {
    if (group == nullptr) throw RuntimeError(*failure);
    if (!group->failure) group->failure = failure;
    group = nullptr;
  }
}

FixGroups::Group FixGroups::Take(std::size_t i) {
  const Gathered gathered = std::move(groups_.at(i));
  if (gathered.failure) throw RuntimeError(*gathered.failure);
  Group group;
  const std::int64_t count = std::ssize(gathered.numbers) / 3;
  group.points = PointArray({0, count - 1}, {0, 2});
  std::copy(gathered.numbers.begin(), gathered.numbers.end(), group.points.Data().begin());
  for (std::int64_t point = 0; point < count; ++point)
    group.extent.Add(group.points(point, 0), group.points(point, 1));
  return group;
}

}  // namespace orlinths
