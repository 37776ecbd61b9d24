// Layers and datasets made up for tests of what is done with them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "data/Application.h"
#include "data/ItemList.h"
#include "data/Layers.h"
#include "data/Map.h"

namespace orlinths {

struct NamedReference : ISpatialReference {
  explicit NamedReference(int code) : code(code) {}
  std::string Name() const override { return "Made up"; }
  int FactoryCode() const override { return code; }
  bool IsUnknown() const override { return false; }
  std::string Wkt() const override { return {}; }
  int code;
};

/// A class without rows, of any shape type and with any fields.
struct FakeClass : IFeatureClass {
  FakeClass(std::string className, GeometryType shapeType)
      : name(std::move(className)), type(shapeType) {}
  std::string Name() const override { return name; }
  std::string PathName() const override { return "/made/up"; }
  std::string Path() const override { return "/made/up/" + name; }
  bool Exists() const override { return exists; }
  const orlinths::Fields& Fields() const override { return fields; }
  void AddField(const Field& field) override {
    if (refusal) throw RuntimeError(*refusal);
    fields.AddField(field);
  }
  void DeleteField(int field) override { fields.Remove(field); }
  std::int64_t RowCount(const QueryFilter&) const override { return rows; }
  CursorPtr Search(const QueryFilter&) const override { return nullptr; }
  CursorPtr SearchOids(const std::vector<Oid>&, const QueryFilter&) const override {
    return nullptr;
  }
  CursorPtr Update(const QueryFilter&) override { return nullptr; }
  CursorPtr Insert() override { return nullptr; }
  std::unique_ptr<IRow> CreateRowBuffer() override { return nullptr; }
  ISelectionSet Select(const QueryFilter&) const override { return {}; }
  bool HasRow(Oid oid) const override { return oid >= 0 && oid < rows; }
  std::uint64_t ChangeCount() const override { return 0; }
  void Delete() override {}
  bool CanRename() const override { return false; }
  void Rename(const std::string&) override {}
  GeometryType ShapeType() const override {
    if (!exists) throw RuntimeError(ErrorNumber::kObjectNotSet);
    return type;
  }
  bool HasZ() const override { return false; }
  bool HasM() const override { return false; }
  SpatialReferencePtr SpatialReference() const override {
    if (!exists) throw RuntimeError(ErrorNumber::kObjectNotSet);
    return reference;
  }
  Envelope Extent() const override {
    if (!exists) throw RuntimeError(ErrorNumber::kObjectNotSet);
    return {};
  }
  void FeaturesAt(double, double, std::vector<Oid>&) const override {}

  std::string name;
  GeometryType type;
  orlinths::Fields fields;
  std::optional<ErrorNumber> refusal;
  std::int64_t rows = 10;
  bool exists = true;  ///< without it, it answers as a deleted dataset does
  SpatialReferencePtr reference = std::make_shared<NamedReference>(4326);
};

struct FakeRaster : IRasterDataset {
  FakeRaster(std::string rasterName, orlinths::PixelType pixelType, int bandCount)
      : name(std::move(rasterName)), type(pixelType), bands(bandCount) {}
  std::string Name() const override { return name; }
  std::string PathName() const override { return "/made/up"; }
  std::string Path() const override { return "/made/up/" + name; }
  bool Exists() const override { return true; }
  int BandCount() const override { return bands; }
  int Width() const override { return 1; }
  int Height() const override { return 1; }
  orlinths::PixelType PixelType() const override { return type; }
  void Delete() override {}
  SpatialReferencePtr SpatialReference() const override {
    return std::make_shared<NamedReference>(32632);
  }
  Envelope Extent() const override { return {}; }

  std::string name;
  orlinths::PixelType type;
  int bands;
};

inline std::shared_ptr<IFeatureLayer> FakeLayer(const std::string& name, GeometryType type) {
  return std::make_shared<IFeatureLayer>(std::make_shared<FakeClass>(name, type));
}

struct ListedItems : IItemList {
  void Append(const std::string& text, ItemKind kind) override {
    if (items.size() == failAt) throw RuntimeError(ErrorNumber::kOutOfMemory);
    items.push_back(text);
    kinds.push_back(kind);
  }
  std::vector<std::string> items;
  std::vector<ItemKind> kinds;
  std::size_t failAt = ~std::size_t{0};
};

/// Puts a map in focus for as long as it lives.
class FocusedMap : public Map {
 public:
  FocusedMap() { gMap = this; }
  ~FocusedMap() override { gMap = nullptr; }
};

}  // namespace orlinths
