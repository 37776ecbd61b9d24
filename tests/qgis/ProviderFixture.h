// Layers of QGIS that are no files, and what a class shows of its rows.
#pragma once

#include <gmock/gmock.h>

#include <qgsproject.h>
#include <qgsvectorlayer.h>

#include <memory>
#include <string>
#include <vector>

#include "data/Table.h"
#include "qgis/ProviderTable.h"
#include "support/TempFolder.h"

namespace orlinths {

class ProviderFixture : public ::testing::Test {
 protected:
  ProviderFixture();
  ~ProviderFixture() override;

  /// A layer of the project; `source` as the provider writes it.
  QgsVectorLayer* Add(const QString& source, const char* provider, const char* name = "sketch");
  QgsVectorLayer* AddMemory(const char* source, const char* name = "sketch");
  /// A copy in memory of a file of the sessions' data.
  QgsVectorLayer* AddCopy(const std::string& file);
  /// Adds rows to a layer in memory: a shape as QGIS reads it ("" for none), then the values.
  static void AddRow(QgsVectorLayer& layer, const char* wkt, const QVariantList& values = {});
  /// Writes a layer with QGIS; the format follows the path's ending.
  static void WriteWithQgis(QgsVectorLayer& layer, const std::string& path);
  /// A layer of the project on a SpatiaLite table that WriteWithQgis has written.
  QgsVectorLayer* AddStored(const std::string& path, const char* name = "stored",
                            const char* filter = "");

  TempFolder folder;
  QgsProject& project = *QgsProject::instance();
};

/// "NAME:type" of the fields behind the object id and the shape.
std::vector<std::string> FieldsOf(const ITable& table);
/// A line a row: the shape, then the values; "-" for null and for an empty shape.
std::vector<std::string> RowsOf(const ITable& table, const QueryFilter& filter = {});
std::vector<Oid> OidsOf(ICursor& rows);
/// The shape of one row with z and m.
Geometry ShapeOf(const ITable& table, Oid oid);

}  // namespace orlinths
