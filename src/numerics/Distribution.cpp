#include "numerics/Distribution.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "numerics/Random.h"
#include "runtime/Arithmetic.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

enum Column { kLower, kUpper, kWeight, kColumns };
constexpr std::int64_t kShortestLine = 6;

/// UTF-8 characters; a byte that is no part of one counts as one.
std::int64_t CharacterCount(std::string_view text) {
  return std::count_if(text.begin(), text.end(),
                       [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; });
}

/// The first three fields of a line. Error 9 when there are fewer.
std::array<std::string_view, kColumns> BinFields(std::string_view line,
                                                 std::string_view delimiter) {
  std::array<std::string_view, kColumns> fields;
  std::string_view rest = line;
  bool more = true;
  for (std::string_view& field : fields) {
    if (!more) throw RuntimeError(ErrorNumber::kSubscript);
    const auto end = delimiter.empty() ? std::string_view::npos : rest.find(delimiter);
    more = end != std::string_view::npos;
    field = rest.substr(0, end);
    if (more) rest.remove_prefix(end + delimiter.size());
  }
  return fields;
}

std::vector<std::array<double, kColumns>> ReadBins(const std::string& fileName,
                                                   std::string_view delimiter) {
  std::vector<std::array<double, kColumns>> rows;
  std::size_t accepted = 0;
  TextReader file(fileName);
  while (!file.AtEndOfStream()) {
    const std::string line = file.ReadLine();
    if (CharacterCount(line) < kShortestLine) continue;
    // The place for the next bin is made before the line is looked at, and stays when it holds
    // none.
    rows.resize(accepted + 1);
    const auto fields = BinFields(line, delimiter);
    if (!std::all_of(fields.begin(), fields.end(),
                     [](std::string_view field) { return IsNumeric(field); }))
      continue;
    std::transform(fields.begin(), fields.end(), rows[accepted].begin(),
                   [](std::string_view field) { return ToDouble(field); });
    ++accepted;
  }
  if (rows.empty()) throw RuntimeError(ErrorNumber::kSubscript);
  return rows;
}

/// The largest weight, but not less than `least`. Error 9 for a table without rows or weights.
double LargestWeight(const DistributionTable& table, double least) {
  double largest = std::max(least, table(0, kWeight));
  for (std::int64_t row = 1; row <= table.First().upper; ++row)
    largest = std::max(largest, table(row, kWeight));
  return largest;
}

void DivideWeights(DistributionTable& table, double by) {
  for (std::int64_t row = 0; row <= table.First().upper; ++row)
    table(row, kWeight) = Divide(table(row, kWeight), by);
}

/// Error 6 beyond a single.
float Single(double v) {
  if (!(std::abs(v) <= double{std::numeric_limits<float>::max()}))
    throw RuntimeError(ErrorNumber::kOverflow);
  return static_cast<float>(v);
}

}  // namespace

bool LoadDistributionFromFile(const std::string& fileName, std::string_view delimiter,
                              DistributionTable& table) {
  return Trap("LoadDistributionFromFile: ", [&] {
    const auto rows = ReadBins(fileName, delimiter);
    DistributionTable loaded({0, static_cast<std::int64_t>(rows.size()) - 1}, {0, kColumns - 1});
    auto cell = loaded.Data().begin();
    for (const auto& row : rows) cell = std::copy(row.begin(), row.end(), cell);
    table = std::move(loaded);
  });
}

std::optional<DistributionTable> MaximizeProbabilityDistrib(const DistributionTable& table) {
  std::optional<DistributionTable> result;
  Trap("MaximizeProbabilityDistrib", [&] {
    const double largest = LargestWeight(table, -std::numeric_limits<double>::infinity());
    DistributionTable stretched = table;
    if (largest < 1) DivideWeights(stretched, largest);
    result = std::move(stretched);
  });
  return result;
}

void ScaleToMax(DistributionTable& table) { DivideWeights(table, LargestWeight(table, -1)); }

double DrawFromDistributionBin(const DistributionTable& table) {
  double draw = 0;
  Trap("DrawFromDistributionBin", [&] {
    const std::int64_t last = table.First().upper;
    if (last < 0) throw RuntimeError(ErrorNumber::kSubscript);
    if (last == 0) return;
    const auto rows = static_cast<double>(last + 1);
    for (std::int64_t attempt = 1;; ++attempt) {
      const auto row = static_cast<std::int64_t>(std::floor(double{UniformDraw()} * rows));
      const float weightToBeat = UniformDraw();
      if (Single(table(row, kWeight)) > weightToBeat) {
        const double lower = table(row, kLower);
        const double within = (table(row, kUpper) - lower) * double{UniformDraw()} + lower;
        if (!std::isfinite(within)) throw RuntimeError(ErrorNumber::kOverflow);
        draw = within;
        return;
      }
      if (attempt % 65536 == 0) Yield();
    }
  });
  return draw;
}

}  // namespace orlinths
