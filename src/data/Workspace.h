// Opening and creating datasets: the platform's workspace factories. Every failure is a run-time error.
#pragma once

#include <string>

#include "data/Field.h"
#include "data/Table.h"

namespace orlinths {

/// True for a folder that can be read.
bool IsWorkspace(const std::string& folder);

/// The shapefile of that name (without extension) in the folder; a platform error when it does not open.
FeatureClassPtr OpenFeatureClass(const std::string& folder, const std::string& name);
/// Whatever vector dataset the path names: `x.shp`, `x.gpkg` (its first layer, or `x.gpkg|layername=y`), ... A platform error when
/// it does not open or holds no geometry.
FeatureClassPtr OpenFeatureClassByPath(const std::string& path);
/// A table without geometry by its path (`x.dbf`, `x.csv`, ...).
TablePtr OpenTableByPath(const std::string& path);

/// One path for all that lead to the same data on disk: links are followed, and the table `x.dbf` of a shapefile gives its `x.shp`. What
/// is no file is as it stands.
std::string DatasetOf(const std::string& path);

/// `fields` as MakeShapeFields builds them, attribute fields behind. A platform error when the name is taken or the folder or name is
/// empty.
FeatureClassPtr CreateFeatureClass(const std::string& folder, const std::string& name, const Fields& fields);
/// A dBASE table; `name` with or without ".dbf".
TablePtr CreateTable(const std::string& folder, const std::string& name, const Fields& fields);

}  // namespace orlinths
