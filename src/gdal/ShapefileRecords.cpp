#include "gdal/ShapefileRecords.h"

#include <algorithm>

#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

constexpr std::size_t kFirstBlock = 1 << 13;
constexpr std::size_t kLargestBlock = 1 << 20;

}  // namespace

bool FileWindow::Reaches(std::uint64_t position, std::size_t count) {
  // The file may have grown since.
  const auto reaches = [&] { return position <= size_ && count <= size_ - position; };
  if (!reaches()) size_ = file_.Size();
  return reaches();
}

std::string_view FileWindow::Refill(std::uint64_t position, std::size_t count) {
  if (!Reaches(position, count)) throw RuntimeError::Platform(file_.Path() + ": cut off.");
  const bool goesOn = position >= begin_ && position - begin_ <= filled_ + blockBytes_;
  blockBytes_ = goesOn ? std::clamp(2 * blockBytes_, kFirstBlock, kLargestBlock) : kFirstBlock;
  const auto wanted = static_cast<std::size_t>(
      std::min<std::uint64_t>(size_ - position, std::max(count, blockBytes_)));
  filled_ = 0;
  if (window_.size() < wanted) window_.resize(wanted);
  begin_ = position;
  filled_ = file_.ReadUpTo(position, window_.data(), wanted);
  if (filled_ < count) throw RuntimeError::Platform(file_.Path() + ": cut off.");
  return {window_.data(), count};
}

ShpRecord ShapefileRecords::At(Oid row) {
  constexpr std::size_t kEntry = kShxRecordBytes;
  const auto entry = index_.At(kShpHeaderBytes + static_cast<std::uint64_t>(row) * kEntry, kEntry);
  std::uint64_t position;
  std::size_t count;
  ParseShxRecord(entry.data(), position, count);
  if (!records_.Reaches(position, kShpRecordHead + count))
    throw RuntimeError::Platform(file_ + ": its index points outside the file.");
  const std::string_view bytes = records_.At(position, kShpRecordHead + count);
  return {bytes.substr(kShpRecordHead), file_, row};
}

}  // namespace orlinths
