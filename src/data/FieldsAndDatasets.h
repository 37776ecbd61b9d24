// Fields, tables and output datasets: listing fields, adding one, a field's values, creating, opening and deleting datasets by
// folder and name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "data/Field.h"
#include "data/ItemList.h"
#include "data/Layers.h"
#include "data/Table.h"
#include "runtime/Value.h"

namespace orlinths {

/// Which fields a list takes.
enum FieldFilter : int {
  kAllFields = 0,
  kNumericFields = 11,       ///< types below 4
  kIntegerFields = 12,       ///< types below 2
  kGroupFields = 13,         ///< integers, text, object id
  kAttributeFields = 14,     ///< everything but geometry and blobs
  kDateFields = 15,
  kOidFields = 16,
};

/// Adds the names of the fields that fit, in field order, without clearing; gives the class's number of fields, not of those
/// listed.
int ListFields(const IFeatureLayer& layer, IItemList& combo, int filter);
int ListTableFields(const ITable& table, IItemList& combo, int filter);
/// The same without filters 15 and 16; gives the number of fields for filter 0 and the number listed for the others.
int ListFieldsInListBox(const IFeatureLayer& layer, IItemList& list, int filter);

/// How a list shows a field of that type.
ItemKind KindOf(FieldType type);

bool FieldExists(const std::string& name, const Fields& fields);

/// Adds a field and gives its index; -1, after a report, on failure. Without a length neither length nor precision is set.
int AddNewField(const std::string& name, ITable& table, FieldType type,
                std::optional<int> length = std::nullopt, int precision = 0);
/// A field not yet added. Precision is set only if it is not 0.
Field MakeField(const std::string& name, FieldType type, int length, bool required, bool editable,
                int precision = 0);
/// The length of a new field for the values of `source`, the longest text among them having so many bytes: the source's own, or
/// more, up to what dBASE holds, where the texts need more. They may: their own table may have another encoding, or no length.
int LengthToHold(const Field& source, std::size_t longestText);
/// The two fields of a new feature class: `OID` and `Shape`.
Fields MakeShapeFields(GeometryType type, bool hasM, bool hasZ, SpatialReferencePtr reference);

/// The different values of a field over the rows of a cursor, read to its end: ascending, each once, nulls left out. No array,
/// after a report, on failure (error 9 for an index that no field has); no rows give an empty one.
std::optional<std::vector<Value>> GetUniqueValues(ICursor& cursor, int field);

/// A new shapefile; nothing, after a message, when it exists and `overwrite` is false. With `overwrite` every file of that base
/// name goes first. A null reference becomes the unknown one and is handed back. Failures of the platform are raised.
FeatureClassPtr CreateShapefile(const std::string& folder, const std::string& name, GeometryType type,
                                bool hasM, bool hasZ, SpatialReferencePtr& reference, bool overwrite);
/// A new dBASE table (`name` with its extension); nothing after a message or a report. Null `fields` are replaced by one field
/// `ID`, which is handed back.
TablePtr createDBF(const std::string& name, const std::string& folder, bool overwrite,
                   std::optional<Fields>& fields);

/// Deletes every file `name`.* of the folder, whatever its extension; there may be none.
void DeleteAllOfBaseName(const std::string& folder, const std::string& name);

/// The shapefile of that name (without extension), or nothing, silently.
FeatureClassPtr OpenShapefile(const std::string& folder, const std::string& name);

/// A triangulated surface, as far as it matters here: a folder that can be deleted.
class ITin {
 public:
  virtual ~ITin() = default;
  virtual void Delete() = 0;
};
/// Nothing when there is none of that name.
std::unique_ptr<ITin> OpenTin(const std::string& folder, const std::string& name);

/// Deletes the shapefile of that name, else the raster, else the TIN, else the plain file. True if something was deleted; false,
/// after a report if something failed.
bool DeleteFile(const std::string& folder, const std::string& name);
/// True if a raster of that name was deleted; a failure gives false with no message.
bool DeleteRaster(const std::string& folder, const std::string& name);

/// Everything from the first point on is cut off; of the rest only # - / digits letters and _ are kept.
std::string CleanFileName(const std::string& text);
/// Day of the year of a date (or of a text that reads as one), -1 for anything else.
int GetJulianDay(const Value& date);

}  // namespace orlinths
