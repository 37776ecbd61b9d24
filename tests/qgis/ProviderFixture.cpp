#include "qgis/ProviderFixture.h"

#include <qgsfeature.h>
#include <qgsgeometry.h>
#include <qgsvectordataprovider.h>
#include <qgsvectorfilewriter.h>

#include "qgis/Text.h"
#include "runtime/Value.h"
#include "support/Wkt.h"

namespace orlinths {

ProviderFixture::ProviderFixture() { project.clear(); }
ProviderFixture::~ProviderFixture() { project.clear(); }

QgsVectorLayer* ProviderFixture::Add(const QString& source, const char* provider,
                                     const char* name) {
  QgsVectorLayer::LayerOptions options;
  options.skipCrsValidation = true;
  auto* layer =
      new QgsVectorLayer(source, QString::fromUtf8(name), QString::fromUtf8(provider), options);
  EXPECT_TRUE(layer->isValid()) << FromQt(source);
  project.addMapLayer(layer);
  return layer;
}

QgsVectorLayer* ProviderFixture::AddMemory(const char* source, const char* name) {
  return Add(QString::fromUtf8(source), "memory", name);
}

QgsVectorLayer* ProviderFixture::AddCopy(const std::string& file) {
  const std::string path = std::string(ORLINTHS_SESSIONS) + "/data/" + file;
  QgsVectorLayer original(ToQt(path), QStringLiteral("original"), QStringLiteral("ogr"));
  EXPECT_TRUE(original.isValid()) << path;
  QgsVectorLayer* copy = original.materialize(QgsFeatureRequest());
  copy->setName(QStringLiteral("copy"));
  project.addMapLayer(copy);
  return copy;
}

void ProviderFixture::AddRow(QgsVectorLayer& layer, const char* wkt, const QVariantList& values) {
  QgsFeature feature(layer.dataProvider()->fields());
  if (*wkt != '\0') {
    const QgsGeometry shape = QgsGeometry::fromWkt(QString::fromUtf8(wkt));
    EXPECT_FALSE(shape.isNull()) << wkt;
    feature.setGeometry(shape);
  }
  for (int i = 0; i < values.size(); ++i) feature.setAttribute(i, values[i]);
  EXPECT_TRUE(layer.dataProvider()->addFeature(feature)) << wkt;
}

void ProviderFixture::WriteWithQgis(QgsVectorLayer& layer, const std::string& path) {
  QgsVectorFileWriter::SaveVectorOptions options;
  options.driverName = path.ends_with(".gpkg")     ? QStringLiteral("GPKG")
                       : path.ends_with(".sqlite") ? QStringLiteral("SQLite")
                                                   : QStringLiteral("ESRI Shapefile");
  if (path.ends_with(".sqlite"))
    options.datasourceOptions = QStringList{QStringLiteral("SPATIALITE=YES")};
  options.fileEncoding = QStringLiteral("UTF-8");
  options.layerName = QStringLiteral("sketch");
  QString why;
  EXPECT_EQ(QgsVectorFileWriter::writeAsVectorFormatV3(
                &layer, ToQt(path), QgsProject::instance()->transformContext(), options, &why),
            QgsVectorFileWriter::NoError)
      << FromQt(why);
}

QgsVectorLayer* ProviderFixture::AddStored(const std::string& path, const char* name,
                                           const char* filter) {
  const QString source = QStringLiteral("dbname='%1' table=\"sketch\" (geometry) sql=%2");
  return Add(source.arg(ToQt(path), QString::fromUtf8(filter)), "spatialite", name);
}

std::vector<std::string> FieldsOf(const ITable& table) {
  std::vector<std::string> texts;
  for (int i = table.HasShape() ? 2 : 1; i < table.Fields().FieldCount(); ++i) {
    const Field& field = table.Fields()[i];
    texts.push_back(field.name + ':' + ToText(static_cast<int>(field.type)));
  }
  return texts;
}

std::vector<std::string> RowsOf(const ITable& table, const QueryFilter& filter) {
  std::vector<std::string> lines;
  const CursorPtr rows = table.Search(filter);
  while (const IRow* row = rows->Next()) {
    std::string line;
    if (table.HasShape()) line = row->Shape().IsEmpty() ? "-" : AsWkt(row->Shape());
    for (int i = table.HasShape() ? 2 : 1; i < table.Fields().FieldCount(); ++i)
      line += '|' + (row->IsNull(i) ? std::string("-") : ToText(row->GetValue(i)));
    lines.push_back(std::move(line));
  }
  return lines;
}

std::vector<Oid> OidsOf(ICursor& rows) {
  std::vector<Oid> oids;
  while (const IRow* row = rows.Next()) oids.push_back(row->OID());
  return oids;
}

Geometry ShapeOf(const ITable& table, Oid oid) {
  const CursorPtr rows = table.SearchOids({oid});
  const IRow* row = rows->Next();
  EXPECT_NE(row, nullptr) << oid;
  return row == nullptr ? Geometry() : row->ShapeCopy();
}

}  // namespace orlinths
