#include "gdal/OgrFixture.h"

#include <gtest/gtest.h>

namespace orlinths {

void WriteOgr(const std::string& driver, const std::string& path, OGRwkbGeometryType type,
              const std::vector<OgrColumn>& columns, const std::vector<OgrRow>& rows, int epsg,
              const std::string& layerName) {
  GDALAllRegister();
  GDALDriver* format = GetGDALDriverManager()->GetDriverByName(driver.c_str());
  ASSERT_NE(format, nullptr) << driver;
  const GDALDatasetUniquePtr dataset(format->Create(path.c_str(), 0, 0, 0, GDT_Unknown, nullptr));
  ASSERT_NE(dataset, nullptr) << path;
  OGRSpatialReference reference;
  if (epsg != 0) reference.importFromEPSG(epsg);
  const std::string name = layerName.empty() ? CPLGetBasename(path.c_str()) : layerName;
  OGRLayer* layer = dataset->CreateLayer(name.c_str(), epsg ? &reference : nullptr, type);
  ASSERT_NE(layer, nullptr) << path;
  for (const OgrColumn& column : columns) {
    OGRFieldDefn defn(column.name.c_str(), column.type);
    defn.SetSubType(column.subType);
    defn.SetWidth(column.width);
    defn.SetPrecision(column.precision);
    ASSERT_EQ(layer->CreateField(&defn), OGRERR_NONE) << column.name;
  }
  for (const OgrRow& row : rows) {
    const OGRFeatureUniquePtr feature(OGRFeature::CreateFeature(layer->GetLayerDefn()));
    if (!row.wkt.empty()) {
      OGRGeometry* shape = nullptr;
      ASSERT_EQ(OGRGeometryFactory::createFromWkt(row.wkt.c_str(), nullptr, &shape), OGRERR_NONE)
          << row.wkt;
      feature->SetGeometryDirectly(shape);
    }
    for (std::size_t i = 0; i < row.values.size(); ++i)
      if (!row.values[i].empty()) feature->SetField(static_cast<int>(i), row.values[i].c_str());
    ASSERT_EQ(layer->CreateFeature(feature.get()), OGRERR_NONE);
  }
}

namespace {

std::vector<std::string> Texts(const std::string& path,
                               const std::function<std::string(OGRFeature&)>& text) {
  GDALAllRegister();
  const GDALDatasetUniquePtr dataset(GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR));
  std::vector<std::string> texts;
  if (dataset)
    for (const auto& feature : dataset->GetLayer(0)) texts.push_back(text(*feature));
  return texts;
}

}  // namespace

std::vector<std::string> OgrColumnTexts(const std::string& path, const std::string& column) {
  return Texts(path, [&](OGRFeature& feature) {
    const int index = feature.GetFieldIndex(column.c_str());
    return index < 0 ? "no such column" : std::string(feature.GetFieldAsString(index));
  });
}

std::vector<std::string> OgrShapeTexts(const std::string& path) {
  return Texts(path, [&](OGRFeature& feature) {
    const OGRGeometry* shape = feature.GetGeometryRef();
    return shape ? shape->exportToWkt() : std::string("none");
  });
}

}  // namespace orlinths
