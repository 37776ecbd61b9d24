// Texts that people type and files bring along: numbers, dates, clocks, patterns, expressions,
// spatial references, distributions, characters of old tables. Read or refused, in one way only.
#include <unistd.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "data/SpatialReference.h"
#include "gdal/DbfFormat.h"
#include "gdal/DbfText.h"
#include "gdal/OgrValues.h"
#include "numerics/Distribution.h"
#include "runtime/Date.h"
#include "runtime/Trap.h"
#include "runtime/Value.h"
#include "session/ClockText.h"
#include "session/Replies.h"

using namespace orlinths;

namespace {

void Expect(bool holds) {
  if (!holds) std::abort();
}

/// What is a number is read as one, and what it is written as reads back as the same.
void Numbers(const std::string& text) {
  double number = 0;
  const bool isRead = Quietly([&] { number = ToDouble(text); });
  Expect(!isRead || IsNumeric(text));
  if (!isRead || !std::isfinite(number)) return;
  const double again = ToDouble(ToText(number));
  Expect(std::abs(again - number) <= std::abs(number) * 1e-14);
  Quietly([&] { ToLong(Value(text)); });
  Quietly([&] { ToInteger(Value(text)); });
  DbfColumn column;
  column.width = static_cast<int>(text.size());
  for (column.decimals = 0; column.decimals < 2; ++column.decimals) DecodeNumber(text, column);
}

void Dates(const std::string& text) {
  if (const auto date = Date::Parse(text))
    Expect(date->Month() >= 1 && date->Month() <= 12 && date->Day() >= 1 && date->Day() <= 31);
  DecodeDate(text);
  if (const auto clock = ParseClock(text)) Expect(ParseClock(ClockText(*clock)) == clock);
}

void References(const std::string& text) {
  SpatialReferencePtr reference;
  if (!Quietly([&] { reference = SpatialReferenceFromText(text); })) return;
  Expect(reference != nullptr);
  if (reference->IsUnknown()) return;
  SpatialReferencePtr again;
  Quietly([&] { again = SpatialReferenceFromText(reference->Wkt()); });
  Expect(again == nullptr || again->IsUnknown() == reference->IsUnknown());
}

void Distributions(const std::string& text) {
  static const std::string path = [] {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "orlinths-fuzz-XXXXXX").string();
    const int file = ::mkstemp(pattern.data());
    if (file < 0) std::abort();
    ::close(file);
    return pattern;
  }();
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
  DistributionTable table;
  if (LoadDistributionFromFile(path, ",", table)) MaximizeProbabilityDistrib(table);
}

void OldCharacters(const std::string& text) {
  const std::size_t end = text.find('\n');
  if (end == std::string::npos || end == 0) return;
  Quietly([&] {
    const DbfText encoding(DbfEncoding(text.substr(0, end), static_cast<std::uint8_t>(text[0])));
    const std::string decoded = encoding.Decode(text.substr(end + 1));
    encoding.Decode(encoding.Encode(decoded));
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  Numbers(text);
  Dates(text);
  if (size < 200) MatchesPattern(text.substr(0, size / 2), text.substr(size / 2));
  for (const Dialect dialect : {Dialect::kOgr, Dialect::kSql})
    ToOgrWhere(text, dialect, "FID", "id");
  References(text);
  Distributions(text);
  OldCharacters(text);
  return 0;
}
