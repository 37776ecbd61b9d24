// Inputs for tests made by OGR itself, so that nothing of ours has a hand in them.
#pragma once

#include <gdal_priv.h>
#include <ogrsf_frmts.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/TempFolder.h"

namespace orlinths {

struct OgrColumn {
  std::string name;
  OGRFieldType type = OFTString;
  int width = 0;
  int precision = 0;
  OGRFieldSubType subType = OFSTNone;
};

/// One row: the shape as text (empty for none), and the columns' values as text (empty for unset).
struct OgrRow {
  std::string wkt;
  std::vector<std::string> values;
};

/// Writes a dataset of one layer. `driver` as GDAL names it; an EPSG code of 0 for no reference.
void WriteOgr(const std::string& driver, const std::string& path, OGRwkbGeometryType type,
              const std::vector<OgrColumn>& columns, const std::vector<OgrRow>& rows, int epsg = 0,
              const std::string& layerName = {});

/// What OGR reads from column `column` of every row, and from the shapes, in the order of the file.
std::vector<std::string> OgrColumnTexts(const std::string& path, const std::string& column);
std::vector<std::string> OgrShapeTexts(const std::string& path);

}  // namespace orlinths
