// A table of any bytes is opened, asked, edited and written again: an error or a clean end.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

#include "FuzzFolder.h"
#include "gdal/ShapefileStore.h"
#include "gdal/ShpFormat.h"
#include "runtime/Trap.h"

using namespace orlinths;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string path = FuzzFolder() + "/t.dbf";
  std::ofstream(path, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));
  Quietly([&] {
    const auto store = ShapefileStore::At(path);
    const std::int64_t rows = store->RecordCount();
    Field field;
    field.name = "FUZZ";
    field.type = FieldType::kDouble;
    store->AddField(field);
    for (Oid oid = 0; oid < rows && oid < 100; ++oid) {
      for (int i = 1; i < store->Fields().FieldCount(); ++i) {
        Value value;
        Quietly([&] { store->SetValue(oid, i, Value(oid % 2 == 0 ? "7" : "")); });
        store->PendingValue(oid, i, value);
      }
      if (oid % 3 == 0) store->DeleteRow(oid);
      store->IsDeleted(oid);
    }
    store->Commit();
    // What was written opens again.
    if (ShapefileStore::At(path)->HasPendingEdits()) std::abort();
  });
  EmptyFuzzFolder();
  // The same bytes as a shape's record.
  Quietly([&] { DecodeShape(std::string_view(reinterpret_cast<const char*>(bytes), size)); });
  return 0;
}
