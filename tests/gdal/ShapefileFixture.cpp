#include "ShapefileFixture.h"

#include <new>

#include "runtime/Files.h"
#include "runtime/RuntimeError.h"
#include "support/TempFolder.h"

namespace orlinths {

Field MakeColumn(const std::string& name, FieldType type, int length) {
  Field field;
  field.name = name;
  field.type = type;
  field.length = length;
  return field;
}

GeometryDef GeometryOf(GeometryType type, bool hasZ, bool hasM) {
  GeometryDef def;
  def.geometryType = type;
  def.hasZ = hasZ;
  def.hasM = hasM;
  return def;
}

Geometry PointAt(double x, double y) { return Point{x, y}; }

void MakePoints(const std::string& path, int rows) {
  const auto store = ShapefileStore::CreateShapefile(
      path, GeometryOf(GeometryType::kPoint),
      {MakeColumn("NUM", FieldType::kInteger), MakeColumn("NAME", FieldType::kText, 12),
       MakeColumn("VAL", FieldType::kDouble)});
  for (int i = 0; i < rows; ++i) {
    const Geometry shape = PointAt(i, 2 * i);
    store->Append(&shape, {Value(i), Value("row " + ToText(i)), Value(i / 7.0)});
  }
  store->FlushAppended();
}

int ErrorOf(const std::function<void()>& body, std::string* description) {
  try {
    body();
  } catch (const RuntimeError& error) {
    if (description != nullptr) *description = error.Description();
    return error.Number();
  } catch (const std::bad_alloc&) {
    return static_cast<int>(ErrorNumber::kOutOfMemory);
  }
  return 0;
}

std::map<std::string, std::string> Snapshot(const std::string& folder) {
  std::map<std::string, std::string> files;
  for (const std::string& name : files::NamesIn(folder))
    files[name] = ReadBytes(JoinPath(folder, name));
  return files;
}

void Restore(const std::string& folder, const std::map<std::string, std::string>& files) {
  for (const std::string& name : files::NamesIn(folder)) files::DeleteFile(JoinPath(folder, name));
  for (const auto& [name, bytes] : files) WriteBytes(JoinPath(folder, name), bytes);
}

int OpenFileCount() { return static_cast<int>(files::NamesIn("/proc/self/fd").size()); }

}  // namespace orlinths
