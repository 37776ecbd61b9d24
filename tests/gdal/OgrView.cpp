#include "OgrView.h"

#include <gdal_priv.h>
#include <ogrsf_frmts.h>

#include <array>
#include <cstdio>
#include <memory>

namespace orlinths {
namespace {

std::string Exact(double v) {
  std::array<char, 40> text;
  CPLsnprintf(text.data(), text.size(), "%.17g", v);
  return text.data();
}

}  // namespace

OgrView ViewOf(const std::string& path) {
  static const bool kRegistered = (GDALAllRegister(), true);
  (void)kRegistered;
  OgrView view;
  CPLErrorReset();
  CPLPushErrorHandler(CPLQuietErrorHandler);
  const std::unique_ptr<GDALDataset> dataset(
      GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR));
  if (dataset != nullptr && dataset->GetLayerCount() == 1) {
    OGRLayer* layer = dataset->GetLayer(0);
    const OGRFeatureDefn* defn = layer->GetLayerDefn();
    view.geometryType = OGRGeometryTypeToName(defn->GetGeomType());
    for (int i = 0; i < defn->GetFieldCount(); ++i) {
      const OGRFieldDefn* field = defn->GetFieldDefn(i);
      view.fields.push_back(std::string(field->GetNameRef()) + ":" +
                            OGRFieldDefn::GetFieldTypeName(field->GetType()) + "(" +
                            std::to_string(field->GetWidth()) + "." +
                            std::to_string(field->GetPrecision()) + ")");
    }
    layer->ResetReading();
    while (const std::unique_ptr<OGRFeature> feature{layer->GetNextFeature()}) {
      OgrView::Row row{feature->GetFID(), {}, {}};
      if (const OGRGeometry* shape = feature->GetGeometryRef()) {
        char* wkt = nullptr;
        shape->exportToWkt(&wkt, wkbVariantIso);
        row.wkt = wkt;
        CPLFree(wkt);
      }
      for (int i = 0; i < defn->GetFieldCount(); ++i) {
        const bool isReal = defn->GetFieldDefn(i)->GetType() == OFTReal;
        if (!feature->IsFieldSetAndNotNull(i))
          row.values.emplace_back("null");
        else
          row.values.push_back(isReal ? Exact(feature->GetFieldAsDouble(i))
                                      : feature->GetFieldAsString(i));
      }
      view.rows.push_back(std::move(row));
    }
  }
  view.error = CPLGetLastErrorMsg();
  CPLPopErrorHandler();
  if (dataset == nullptr && view.error.empty()) view.error = "not opened";
  return view;
}

std::int64_t OgrRowCount(const std::string& path) {
  GDALAllRegister();
  const std::unique_ptr<GDALDataset> dataset(
      GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY));
  if (dataset == nullptr) return -1;
  OGRLayer* layer = dataset->GetLayer(0);
  const std::int64_t count = layer->GetFeatureCount();
  for (const std::int64_t fid : {std::int64_t{0}, count - 1}) {
    const std::unique_ptr<OGRFeature> feature(layer->GetFeature(fid));
    if (feature == nullptr) return -1;
  }
  return count;
}

PlainTable PlainTableOf(const std::string& bytes) {
  PlainTable table;
  if (bytes.size() < 33) return table;
  const auto byte = [&](std::size_t at) {
    return static_cast<std::size_t>(static_cast<unsigned char>(bytes[at]));
  };
  const std::size_t count = byte(4) | byte(5) << 8 | byte(6) << 16 | byte(7) << 24;
  const std::size_t header = byte(8) | byte(9) << 8, record = byte(10) | byte(11) << 8;
  std::vector<std::size_t> widths;
  for (std::size_t at = 32; at + 32 < header && bytes[at] != '\r'; at += 32) {
    table.names.emplace_back(bytes.c_str() + at);
    widths.push_back(byte(at + 16));
  }
  table.isWhole = bytes.size() == header + count * record + 1 && bytes.back() == '\x1a';
  for (std::size_t row = 0; row < count && header + (row + 1) * record <= bytes.size(); ++row) {
    std::size_t at = header + row * record;
    if (bytes[at++] == '*') continue;
    std::vector<std::string> values;
    for (const std::size_t width : widths) {
      values.push_back(bytes.substr(at, width));
      at += width;
    }
    table.rows.push_back(std::move(values));
  }
  return table;
}

}  // namespace orlinths
