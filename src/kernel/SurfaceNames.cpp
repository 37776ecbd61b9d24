#include "kernel/SurfaceNames.h"

#include <algorithm>

#include "kernel/KernelSurface.h"
#include "runtime/Value.h"

namespace orlinths {

SurfaceNames::SurfaceNames(const std::string& folder, std::string prefix,
                           std::span<const std::int32_t> ids)
    : folder_(folder), prefix_(std::move(prefix)) {
  const bool followIds = std::ranges::none_of(ids, [&](std::int32_t id) {
    const std::string name = prefix_ + ToText(id);
    return name.size() > kLongest || IsGridName(folder_, name);
  });
  if (followIds) return;
  const std::string path = JoinPath(folder_, "RASTERNAMES.txt");
  if (files::FileExists(path)) {
    list_.emplace(path, TextWriter::Start::kAtEnd);
    return;
  }
  list_.emplace(path);
  list_->WriteLine("Format of entries in this file:");
  list_->WriteLine("Raster name: Input point layer, unique ID value");
  list_->WriteBlankLines(1);
}

std::string SurfaceNames::Next(std::int32_t id, const std::string& layerName) {
  if (!list_) return prefix_ + ToText(id);
  std::string name;
  do name = prefix_ + ToText(++number_);
  while (IsGridName(folder_, name));
  list_->WriteLine(name + ": " + layerName + ", " + ToText(id));
  return name;
}

void SurfaceNames::Close() {
  if (list_) list_->Close();
}

}  // namespace orlinths
