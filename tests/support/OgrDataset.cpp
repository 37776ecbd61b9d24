#include "support/OgrDataset.h"

#include <cpl_conv.h>
#include <cpl_error.h>
#include <ogrsf_frmts.h>

#include <memory>
#include <stdexcept>

namespace orlinths {
namespace {

void Need(bool ok, const std::string& what) {
  if (!ok) throw std::runtime_error(what + ": " + CPLGetLastErrorMsg());
}

OGRFieldType TypeNamed(const std::string& name) {
  for (const OGRFieldType type : {OFTInteger, OFTInteger64, OFTReal, OFTString, OFTDate})
    if (name == OGRFieldDefn::GetFieldTypeName(type)) return type;
  throw std::runtime_error("no field type " + name);
}

OGRGeometryUniquePtr FromWkt(const std::string& wkt) {
  OGRGeometry* shape = nullptr;
  Need(OGRGeometryFactory::createFromWkt(wkt.c_str(), nullptr, &shape) == OGRERR_NONE, wkt);
  return OGRGeometryUniquePtr(shape);
}

/// With all digits of its coordinates, so that it reads back as the same shape.
std::string FullWkt(const OGRGeometry& shape) {
  OGRWktOptions options;
  options.precision = 17;
  options.round = false;
  options.format = OGRWktFormat::G;
  return shape.exportToWkt(options);
}

OGRSpatialReference Reference(const std::string& text) {
  OGRSpatialReference reference;
  Need(reference.SetFromUserInput(text.c_str()) == OGRERR_NONE, text);
  reference.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  return reference;
}

/// Names are compared as written: our tables' own spelling counts.
int Position(const OgrDataset& dataset, const std::string& column) {
  for (std::size_t i = 0; i < dataset.columns.size(); ++i)
    if (dataset.columns[i].name == column) return static_cast<int>(i);
  return -1;
}

}  // namespace

std::vector<std::string> OgrDataset::ColumnNames() const {
  std::vector<std::string> names;
  for (const OgrColumn& column : columns) names.push_back(column.name);
  return names;
}

std::vector<double> OgrDataset::Numbers(const std::string& column) const {
  std::vector<double> numbers;
  for (const std::string& text : Texts(column)) numbers.push_back(CPLAtof(text.c_str()));
  return numbers;
}

std::vector<std::string> OgrDataset::Texts(const std::string& column) const {
  std::vector<std::string> texts;
  const int at = Position(*this, column);
  if (at < 0) return texts;
  for (const OgrRecord& record : records)
    texts.push_back(record.values[static_cast<std::size_t>(at)]);
  return texts;
}

void WriteOgr(const std::string& path, const OgrDataset& dataset) {
  GDALAllRegister();
  const CPLErrorHandlerPusher quiet(CPLQuietErrorHandler);
  const std::string ending = CPLGetExtension(path.c_str());
  const char* format = ending == "shp" ? "ESRI Shapefile" : ending == "gpkg" ? "GPKG" : "GeoJSON";
  GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(format);
  Need(driver != nullptr, format);
  const GDALDatasetUniquePtr file(driver->Create(path.c_str(), 0, 0, 0, GDT_Unknown, nullptr));
  Need(file != nullptr, path);

  const OGRSpatialReference reference =
      dataset.reference.empty() ? OGRSpatialReference() : Reference(dataset.reference);
  OGRwkbGeometryType type = wkbUnknown;
  for (const auto known : {wkbPoint, wkbMultiPoint, wkbLineString, wkbPolygon})
    if (dataset.type == OGRGeometryTypeToName(known)) type = known;
  Need(type != wkbUnknown, dataset.type);
  OGRLayer* layer = file->CreateLayer(
      CPLGetBasename(path.c_str()),
      dataset.reference.empty() ? nullptr : const_cast<OGRSpatialReference*>(&reference), type);
  Need(layer != nullptr, path);
  for (const OgrColumn& column : dataset.columns) {
    OGRFieldDefn field(column.name.c_str(), TypeNamed(column.type));
    field.SetWidth(column.width);
    field.SetPrecision(column.precision);
    Need(layer->CreateField(&field) == OGRERR_NONE, column.name);
  }
  // A database would sync every row otherwise; other formats know no transactions.
  const bool hasTransaction = file->TestCapability(ODsCTransactions) != 0;
  if (hasTransaction) Need(file->StartTransaction() == OGRERR_NONE, path);
  for (const OgrRecord& record : dataset.records) {
    OGRFeature feature(layer->GetLayerDefn());
    for (std::size_t i = 0; i < record.values.size(); ++i)
      feature.SetField(static_cast<int>(i), record.values[i].c_str());
    if (!record.wkt.empty()) feature.SetGeometryDirectly(FromWkt(record.wkt).release());
    Need(layer->CreateFeature(&feature) == OGRERR_NONE, path);
  }
  if (hasTransaction) Need(file->CommitTransaction() == OGRERR_NONE, path);
}

OgrDataset ReadOgr(const std::string& path) {
  GDALAllRegister();
  const GDALDatasetUniquePtr file(
      GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR));
  Need(file != nullptr, path);
  OGRLayer& layer = *file->GetLayer(0);
  OgrDataset dataset;
  dataset.type = OGRGeometryTypeToName(layer.GetGeomType());
  for (int i = 0; i < layer.GetLayerDefn()->GetFieldCount(); ++i) {
    const OGRFieldDefn& field = *layer.GetLayerDefn()->GetFieldDefn(i);
    dataset.columns.push_back({field.GetNameRef(), OGRFieldDefn::GetFieldTypeName(field.GetType()),
                               field.GetWidth(), field.GetPrecision()});
  }
  for (const auto& feature : layer) {
    OgrRecord record;
    for (int i = 0; i < feature->GetFieldCount(); ++i) {
      // A double in full: GetFieldAsString would round it.
      const bool real = feature->GetFieldDefnRef(i)->GetType() == OFTReal;
      record.values.push_back(!feature->IsFieldSetAndNotNull(i) ? ""
                              : real ? CPLSPrintf("%.17g", feature->GetFieldAsDouble(i))
                                     : feature->GetFieldAsString(i));
    }
    if (const OGRGeometry* shape = feature->GetGeometryRef()) record.wkt = FullWkt(*shape);
    dataset.records.push_back(std::move(record));
  }
  return dataset;
}

OgrMeasure MeasureOgr(const std::string& wkt) {
  const OGRGeometryUniquePtr shape = FromWkt(wkt);
  OGRMultiPolygon polygons;
  double lines = 0;
  const auto add = [&](const OGRGeometry& part) {
    if (wkbFlatten(part.getGeometryType()) == wkbPolygon) polygons.addGeometry(&part);
    if (wkbFlatten(part.getGeometryType()) == wkbLineString)
      lines += part.toLineString()->get_Length();
  };
  if (const auto type = wkbFlatten(shape->getGeometryType());
      type == wkbMultiPolygon || type == wkbMultiLineString) {
    for (const OGRGeometry* part : *shape->toGeometryCollection()) add(*part);
  } else {
    add(*shape);
  }
  double rings = 0;
  for (const OGRPolygon* polygon : polygons)
    for (const OGRLinearRing* ring : *polygon) rings += ring->get_Length();
  return {polygons.get_Area(), lines + rings};
}

std::pair<double, double> ProjectOgr(const std::string& wkt, const std::string& from,
                                     const std::string& to) {
  const OGRSpatialReference source = Reference(from), target = Reference(to);
  const std::unique_ptr<OGRCoordinateTransformation> way(
      OGRCreateCoordinateTransformation(&source, &target));
  Need(way != nullptr, from + " to " + to);
  const OGRGeometryUniquePtr point = FromWkt(wkt);
  Need(point->transform(way.get()) == OGRERR_NONE, wkt);
  return {point->toPoint()->getX(), point->toPoint()->getY()};
}

}  // namespace orlinths
