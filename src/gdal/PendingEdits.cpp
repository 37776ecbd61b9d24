#include "gdal/PendingEdits.h"

namespace orlinths {

void ColumnEdits::MakePage(std::size_t at) {
  if (at >= pages_.size()) pages_.resize(at + 1);
  auto page = std::make_unique<Page>();
  constexpr auto kRows = static_cast<std::size_t>(kPageRows);
  if (HoldsText())
    page->text = std::make_unique_for_overwrite<char[]>(kRows * textBytes_);
  else
    page->numbers = std::make_unique_for_overwrite<double[]>(kRows);
  pages_[at] = std::move(page);
}

}  // namespace orlinths
