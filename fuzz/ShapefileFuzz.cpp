// The five files of a shapefile, each of any bytes: opened, walked, searched, edited and read
// again. What is written must open, and hold as many rows as before.
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

#include "FuzzFolder.h"
#include "data/Workspace.h"
#include "runtime/Trap.h"

using namespace orlinths;

namespace {

constexpr std::array kEndings = {".shp", ".shx", ".dbf", ".cpg", ".prj"};

/// The input begins with a length for each file, 2 bytes, low byte first.
void WriteFiles(const std::string& base, std::string_view bytes) {
  std::string_view lengths = bytes.substr(0, 2 * kEndings.size());
  bytes.remove_prefix(lengths.size());
  for (std::size_t i = 0; i < kEndings.size(); ++i) {
    std::size_t length = 0;
    if (lengths.size() >= 2 * i + 2)
      length = static_cast<unsigned char>(lengths[2 * i]) +
               std::size_t{256} * static_cast<unsigned char>(lengths[2 * i + 1]);
    const std::string_view file = bytes.substr(0, length);
    bytes.remove_prefix(file.size());
    if (file.empty() && i > 1) continue;
    std::ofstream(base + kEndings[i], std::ios::binary)
        .write(file.data(), static_cast<std::streamsize>(file.size()));
  }
}

void Walk(const ITable& table, const QueryFilter& filter = {}) {
  constexpr int kMostRows = 200;
  const auto rows = table.Search(filter);
  int count = 0;
  while (const IRow* row = rows->Next()) {
    Quietly([&] { row->Extent(); });
    for (int i = 0; i < row->Fields().FieldCount(); ++i) {
      std::string text;
      Quietly([&] { row->GetValue(i); });
      Quietly([&] { row->GetDouble(i); });
      Quietly([&] { row->GetText(i, text); });
    }
    if (++count == kMostRows) break;
  }
}

void Edit(IFeatureClass& shapes) {
  Field field;
  field.name = "FUZZ";
  field.type = FieldType::kDouble;
  shapes.AddField(field);
  const int added = shapes.FindField("FUZZ");
  const auto rows = shapes.Update({});
  for (int i = 0; i < 50; ++i) {
    IRow* row = rows->Next();
    if (row == nullptr) break;
    row->SetDouble(added, i);
    Geometry shape;
    if (i % 2 == 0 && Quietly([&] { shape = row->ShapeCopy(); })) row->SetShape(shape);
    rows->UpdateRow(*row);
  }
  rows->Flush();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string base = FuzzFolder() + "/t";
  WriteFiles(base, {reinterpret_cast<const char*>(bytes), size});
  Quietly([&] {
    std::int64_t rows = 0;
    bool isEdited = false;
    {
      const FeatureClassPtr shapes = OpenFeatureClassByPath(base + ".shp");
      rows = shapes->RowCount();
      Quietly([&] { shapes->Extent(); });
      Quietly([&] { Walk(*shapes); });
      Quietly([&] {
        std::vector<Oid> oids;
        shapes->FeaturesAt(1, 1, oids);
      });
      QueryFilter some;
      some.where = "FID >= 1";
      Quietly([&] { Walk(*shapes, some); });
      isEdited = Quietly([&] { Edit(*shapes); });
    }
    if (!isEdited) return;
    const FeatureClassPtr again = OpenFeatureClassByPath(base + ".shp");
    if (again->RowCount() != rows || again->FindField("FUZZ") < 0) std::abort();
    Walk(*again);
  });
  EmptyFuzzFolder();
  return 0;
}
