// Rows of a GeoPackage written column by column. OGR writes a row whole for a single number: all
// its columns, its shape, and through the table's triggers the shape's place in the spatial index.
#pragma once

#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <gdal_priv.h>
#include <ogrsf_frmts.h>

struct sqlite3;
struct sqlite3_stmt;

namespace orlinths {

/// A name as it stands in SQL, whatever it is.
std::string SqlName(std::string_view name);

/// UPDATE statements on the connection that GDAL edits through, so in its transaction. Must go
/// before the dataset does.
class RowStatements {
 public:
  /// Nothing where the layer is no table of a GeoPackage whose rows have a key.
  static std::unique_ptr<RowStatements> For(GDALDataset& dataset, OGRLayer& layer);

  /// Writes what stands in the given columns of the feature into its row, as OGR would. False, and
  /// nothing is written, where a column is of a type that OGR has forms of its own for (dates,
  /// blobs, lists). What the database says is a platform error, and so is a row that is not there.
  bool Write(const OGRFeature& feature, std::span<const int> columns);
  /// To be called when columns come or go.
  void Forget() { statements_.clear(); }

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const noexcept;
  };
  using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

  RowStatements(sqlite3& connection, OGRLayer& layer) : connection_(connection), layer_(layer) {}
  sqlite3_stmt& StatementFor(std::span<const int> columns);

  sqlite3& connection_;
  OGRLayer& layer_;
  std::map<std::vector<int>, Statement> statements_;  ///< by columns
  std::vector<int> lastColumns_;
  sqlite3_stmt* last_ = nullptr;
};

}  // namespace orlinths
