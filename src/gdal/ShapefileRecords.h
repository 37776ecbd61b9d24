// The records of a .shp by way of its index; and pieces of files read one behind the other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "data/Table.h"
#include "gdal/ShpFormat.h"
#include "runtime/Files.h"

namespace orlinths {

/// Reads pieces of a file through a window: small while it is asked here and there, up to 1 MB at a
/// time while the pieces follow each other.
class FileWindow {
 public:
  explicit FileWindow(const InputFile& file) : file_(file), size_(file.Size()) {}

  /// `count` bytes from `position`; good until the next call. A platform error where the file does
  /// not reach that far.
  std::string_view At(std::uint64_t position, std::size_t count) {
    if (position >= begin_ && position - begin_ <= filled_ &&
        count <= filled_ - (position - begin_))
      return {window_.data() + (position - begin_), count};
    return Refill(position, count);
  }
  /// True when the file reaches that far.
  bool Reaches(std::uint64_t position, std::size_t count);

 private:
  std::string_view Refill(std::uint64_t position, std::size_t count);

  const InputFile& file_;
  std::uint64_t size_;
  std::vector<char> window_;
  std::uint64_t begin_ = 0;
  std::size_t filled_ = 0, blockBytes_ = 0;
};

class ShapefileRecords {
 public:
  ShapefileRecords(const InputFile& shp, const InputFile& shx)
      : file_(shp.Path()), records_(shp), index_(shx) {}

  /// Of row `row`, from 0; good until the next call. A platform error where the index points
  /// outside the file.
  ShpRecord At(Oid row);

 private:
  const std::string& file_;
  FileWindow records_, index_;
};

}  // namespace orlinths
