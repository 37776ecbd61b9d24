// Small datasets for the tests of the shapefile store.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "gdal/ShapefileStore.h"

namespace orlinths {

Field MakeColumn(const std::string& name, FieldType type, int length = 0);
GeometryDef GeometryOf(GeometryType type, bool hasZ = false, bool hasM = false);
Geometry PointAt(double x, double y);

/// Points (i, 2i) with NUM = i (integer), NAME = "row i" (text 12) and VAL = i / 7 (double); closed
/// again.
void MakePoints(const std::string& path, int rows);

/// Number of the run-time error (7 for a failed allocation) that `body` raises; 0 for none. The
/// description goes to `description`.
int ErrorOf(const std::function<void()>& body, std::string* description = nullptr);

/// Names and bytes of all files in a folder.
std::map<std::string, std::string> Snapshot(const std::string& folder);
void Restore(const std::string& folder, const std::map<std::string, std::string>& files);
/// How many files this process has open.
int OpenFileCount();

}  // namespace orlinths
