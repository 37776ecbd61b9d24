#include "data/PixelBlock.h"

#include <algorithm>

namespace orlinths {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

IPixelBlock::Cells CellsOf(PixelType type, std::size_t count) {
  switch (type) {
    case PixelType::k1Bit:
    case PixelType::k2Bit:
    case PixelType::k4Bit:
    case PixelType::kUInt8:
      return std::vector<std::uint8_t>(count);
    case PixelType::kInt8:
      return std::vector<std::int8_t>(count);
    case PixelType::kUInt16:
      return std::vector<std::uint16_t>(count);
    case PixelType::kInt16:
      return std::vector<std::int16_t>(count);
    case PixelType::kUInt32:
      return std::vector<std::uint32_t>(count);
    case PixelType::kInt32:
      return std::vector<std::int32_t>(count);
    case PixelType::kFloat:
      return std::vector<float>(count);
    default:
      return std::vector<double>(count);
  }
}

bool HoldsAs(const IPixelBlock::Cells& cells, double v) {
  return std::visit([v]<class T>(const std::vector<T>&) { return Holds<T>(v); }, cells);
}

/// The next type that holds all values of `type` and `v` besides; `v` fits a double in any case.
PixelType WiderFor(PixelType type, double v) {
  if (static_cast<int>(type) < static_cast<int>(PixelType::kUInt32) && Holds<std::int32_t>(v))
    return PixelType::kInt32;
  return PixelType::kDouble;
}

}  // namespace

IPixelBlock::IPixelBlock(std::int64_t columns, std::int64_t rows, PixelType type,
                         std::optional<double> noDataValue, int bands) {
  if (columns < 1 || rows < 1 || bands < 1) throw RuntimeError(ErrorNumber::kInvalidCall);
  constexpr std::int64_t kMost = std::numeric_limits<int>::max();
  if (columns > kMost || rows > kMost || columns > kMost * std::int64_t{64} / rows)
    throw RuntimeError(ErrorNumber::kOutOfMemory);
  columns_ = static_cast<int>(columns);
  rows_ = static_cast<int>(rows);
  for (int band = 0; band < bands; ++band) {
    planes_.push_back({type, CellsOf(type, static_cast<std::size_t>(columns * rows)), {}, {}});
    SetNoDataValue(band, noDataValue);
  }
}

const IPixelBlock::Held& IPixelBlock::At(int band) const {
  if (band < 0 || band >= BandCount()) throw RuntimeError(ErrorNumber::kSubscript);
  return planes_[static_cast<std::size_t>(band)];
}

IPixelBlock::Held& IPixelBlock::At(int band) {
  return const_cast<Held&>(std::as_const(*this).At(band));
}

std::size_t IPixelBlock::Offset(std::int64_t column, std::int64_t row) const {
  if (column < 0 || column >= columns_ || row < 0 || row >= rows_)
    throw RuntimeError(ErrorNumber::kSubscript);
  return static_cast<std::size_t>(row * columns_ + column);
}

void IPixelBlock::SetPixelType(int band, PixelType type) {
  Held& held = At(band);
  held.cells = CellsOf(type, static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_));
  held.type = type;
  SetNoDataValue(band, held.noDataValue);
}

void IPixelBlock::SetNoDataValue(int band, std::optional<double> value) {
  Held& held = At(band);
  held.noDataValue = value;
  held.marker = value && HoldsAs(held.cells, *value) ? value : std::nullopt;
}

void IPixelBlock::MakeRoomForNoData(int band) {
  Held& held = At(band);
  if (held.marker) return;
  // Without a NoData value of its own a plane of whole numbers gets a number that none of its cells
  // can have.
  const double marker =
      held.noDataValue ? *held.noDataValue
      : IsInteger(held.type) && static_cast<int>(held.type) < static_cast<int>(PixelType::kUInt32)
          ? std::numeric_limits<std::int32_t>::min()
          : kNaN;
  if (!HoldsAs(held.cells, marker)) {
    const PixelType wider = WiderFor(held.type, marker);
    Cells widened = CellsOf(wider, 0);
    std::visit(
        [](const auto& from, auto& to) {
          using T = typename std::remove_reference_t<decltype(to)>::value_type;
          to.reserve(from.size());
          std::transform(from.begin(), from.end(), std::back_inserter(to),
                         [](auto v) { return static_cast<T>(v); });
        },
        held.cells, widened);
    held.cells = std::move(widened);
    held.type = wider;
  }
  held.marker = marker;
}

Value IPixelBlock::GetVal(int band, std::int64_t column, std::int64_t row) const {
  const std::size_t offset = Offset(column, row);
  const Held& held = At(band);
  return Visit(*this, band, [&]<class T>(Plane<T> plane) -> Value {
    const T v = plane.cells[offset];
    if (plane.isNoData(v)) {
      if (!held.noDataValue) return Null{};
      // A NaN cell of a band with another NoData value answers as every NoData cell does.
      if (v != v || !plane.hasNoData) return Value(*held.noDataValue);
    }
    if constexpr (std::is_floating_point_v<T>) {
      return Value(v);
    } else if constexpr (sizeof(T) < 2 || std::is_same_v<T, std::int16_t>) {
      return Value(static_cast<std::int16_t>(v));
    } else if constexpr (std::is_same_v<T, std::uint32_t>) {
      return Value(static_cast<double>(v));
    } else {
      return Value(static_cast<std::int32_t>(v));
    }
  });
}

double IPixelBlock::GetDouble(int band, std::int64_t column, std::int64_t row) const {
  const std::size_t offset = Offset(column, row);
  const Held& held = At(band);
  return Visit(*this, band, [&]<class T>(Plane<T> plane) {
    const T v = plane.cells[offset];
    return plane.isNoData(v) ? held.noDataValue.value_or(kNaN) : static_cast<double>(v);
  });
}

bool IPixelBlock::IsNoData(int band, std::int64_t column, std::int64_t row) const {
  const std::size_t offset = Offset(column, row);
  return Visit(*this, band,
               [&]<class T>(Plane<T> plane) { return plane.isNoData(plane.cells[offset]); });
}

void IPixelBlock::SetVal(int band, std::int64_t column, std::int64_t row, double value) {
  const std::size_t offset = Offset(column, row);
  Edit(*this, band,
       [&]<class T>(EditablePlane<T> plane) { plane.cells[offset] = ToCell<T>(value); });
}

}  // namespace orlinths
