#include "gdal/ShapefileStoreImpl.h"

#include <algorithm>
#include <array>
#include <utility>

#include "data/ColumnValue.h"
#include "gdal/StoredRows.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

constexpr std::string_view kDamagedCounts = ": its numbers of rows and of shapes differ: ";

std::string ReadWhole(const std::string& path, std::size_t most) {
  const InputFile file(path);
  std::string bytes(static_cast<std::size_t>(std::min<std::uint64_t>(file.Size(), most)), '\0');
  bytes.resize(file.ReadUpTo(0, bytes.data(), bytes.size()));
  return bytes;
}

/// A companion of the dataset, whatever case its extension is in; nothing when there is none.
std::optional<std::string> Companion(const std::string& base, const std::string& extension) {
  std::string upper = extension;
  for (char& c : upper) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
  for (const std::string& path : {base + "." + extension, base + "." + upper})
    if (files::FileExists(path)) return path;
  return std::nullopt;
}

ShpHeader ReadShpHeader(const InputFile& file) {
  std::array<char, kShpHeaderBytes> bytes;
  const std::size_t got = file.ReadUpTo(0, bytes.data(), bytes.size());
  const ShpHeader header = ParseShpHeader({bytes.data(), got}, file.Path());
  if (header.fileBytes > file.Size())
    throw RuntimeError::Platform(file.Path() + ": cut off: the header says the file is " +
                                 ToText(static_cast<std::int64_t>(header.fileBytes)) +
                                 " bytes long, but it has " +
                                 ToText(static_cast<std::int64_t>(file.Size())) + ".");
  return header;
}

/// Where the format keeps Z it may keep measures too: the first shapes tell.
bool FirstShapesHaveMeasures(const InputFile& shp, const InputFile& shx, std::int64_t records) {
  constexpr std::int64_t kLooked = 16;
  constexpr std::size_t kMost = 1 << 24;
  bool found = false;
  for (std::int64_t row = 0; row < std::min(records, kLooked); ++row) {
    std::array<char, kShxRecordBytes> entry;
    shx.Read(kShpHeaderBytes + static_cast<std::uint64_t>(row) * kShxRecordBytes, entry.data(),
             entry.size());
    std::uint64_t position;
    std::size_t count;
    ParseShxRecord(entry.data(), position, count);
    if (count > kMost) continue;
    std::string content(count, '\0');
    if (shp.ReadUpTo(position + kShpRecordHead, content.data(), count) != count) continue;
    // A damaged record is no concern of whoever opens the file; reading it will tell.
    Quietly([&] { found = HasMeasures({content}); });
    if (found) break;
  }
  return found;
}

}  // namespace

ShapefileStoreImpl::ShapefileStoreImpl(std::string path, DatasetFiles files, bool createdDefault)
    : path_(std::move(path)), files_(std::move(files)), createdDefault_(createdDefault) {
  Load();
}

ShapefileStoreImpl::~ShapefileStoreImpl() = default;

void ShapefileStoreImpl::Load() {
  deletedInFile_.reset();
  text_.reset();
  shp_.reset();
  geometry_ = {};
  hasTable_ = files_.shp.empty() || files::FileExists(files_.dbf);
  layout_ = {};
  if (hasTable_) LoadTable();
  records_ = layout_.records;
  if (!files_.shp.empty()) LoadShapes();
  stamp_ = TableStamp();
  TakeColumns();
}

void ShapefileStoreImpl::LoadTable() {
  const InputFile file(files_.dbf);
  constexpr std::size_t kLongestHeader = 65535;
  std::string bytes(static_cast<std::size_t>(std::min<std::uint64_t>(file.Size(), kLongestHeader)),
                    '\0');
  bytes.resize(file.ReadUpTo(0, bytes.data(), bytes.size()));
  layout_ = ParseDbfHeader(bytes, file.Size(), file.Path());
  std::optional<std::string> cpg;
  constexpr std::size_t kLongestName = 100;
  if (const auto path = Companion(files_.Base(), "cpg")) cpg = ReadWhole(*path, kLongestName);
  encoding_ = DbfEncoding(cpg, layout_.languageDriver);
}

void ShapefileStoreImpl::LoadShapes() {
  const InputFile shp(files_.shp);
  const ShpHeader header = ReadShpHeader(shp);
  if (!files::FileExists(files_.shx))
    throw RuntimeError::Platform(files_.shp + ": its index " + NameOf(files_.shx) + " is missing.");
  const InputFile shx(files_.shx);
  const ShpHeader index = ReadShpHeader(shx);
  records_ = static_cast<std::int64_t>((index.fileBytes - kShpHeaderBytes) / kShxRecordBytes);
  geometry_ = GeometryForShpType(header.type);
  if (geometry_.hasZ) geometry_.hasM = FirstShapesHaveMeasures(shp, shx, records_);
  shp_ = header;
}

std::string ShapefileStoreImpl::TableStamp() const {
  std::string stamp;
  if (hasTable_) stamp = InputFile(files_.dbf).Stamp();
  if (!files_.shp.empty()) stamp += InputFile(files_.shp).Stamp();
  return stamp;
}

void ShapefileStoreImpl::TakeColumns() {
  std::vector<Column> columns;
  columns.reserve(layout_.columns.size());
  for (std::size_t i = 0; i < layout_.columns.size(); ++i)
    columns.emplace_back(layout_.columns[i], static_cast<int>(i));
  fields_ = MakeFields(columns);
  columns_ = std::move(columns);
}

Fields ShapefileStoreImpl::MakeFields(const std::vector<Column>& columns) const {
  orlinths::Fields fields;
  Field oid;
  oid.name = HasShape() ? "FID" : "OID";
  oid.type = FieldType::kOid;
  oid.required = true;
  oid.editable = false;
  oid.isNullable = false;
  fields.AddField(oid);
  if (HasShape()) {
    Field shape;
    shape.name = "Shape";
    shape.type = FieldType::kGeometry;
    shape.required = true;
    shape.geometry = geometry_;
    fields.AddField(shape);
  }
  for (const Column& column : columns) {
    Field field = FieldFor(column.kind.column);
    field.type = column.kind.type;
    field.isNullable = field.type == FieldType::kDate;
    const bool isPlain = std::all_of(field.name.begin(), field.name.end(),
                                     [](char c) { return static_cast<unsigned char>(c) < 128; });
    if (!isPlain) field.name = Text().Decode(field.name);
    fields.AddField(std::move(field));
  }
  return fields;
}

const DbfText& ShapefileStoreImpl::Text() const {
  if (!text_) text_.emplace(encoding_);
  return *text_;
}

void ShapefileStoreImpl::Refresh() {
  if (isEdited_ || writer_ || TableStamp() == stamp_) return;
  Load();
  ++version_;
}

const RowSet& ShapefileStoreImpl::DeletedInFile() const {
  if (!deletedInFile_) {
    // One pass over the whole table: a row's mark is its first byte.
    RowSet marked;
    const InputFile file(files_.dbf);
    constexpr std::size_t kBlock = 1 << 20;
    const auto recordBytes = static_cast<std::size_t>(layout_.recordBytes);
    const auto blockRows = static_cast<Oid>(std::max<std::size_t>(1, kBlock / recordBytes));
    std::vector<char> block(static_cast<std::size_t>(blockRows) * recordBytes);
    for (Oid begin = 0; begin < layout_.records; begin += blockRows) {
      const Oid end = std::min(begin + blockRows, layout_.records);
      file.Read(layout_.RowPosition(begin), block.data(),
                static_cast<std::size_t>(end - begin) * recordBytes);
      for (Oid row = begin; row < end; ++row)
        if (block[static_cast<std::size_t>(row - begin) * recordBytes] == '*') marked.Add(row);
    }
    deletedInFile_ = std::move(marked);
  }
  return *deletedInFile_;
}

bool ShapefileStoreImpl::IsDeleted(Oid oid) const {
  CheckRow(oid);
  if (deleted_.Contains(oid)) return true;
  return oid < layout_.records && hasTable_ && DeletedInFile().Contains(oid);
}

Oid ShapefileStoreImpl::NextRow(Oid from) const {
  const RowSet& marked = DeletedInFile();
  Oid row = from;
  while (row < records_ && (deleted_.Contains(row) || marked.Contains(row))) ++row;
  return row < records_ ? row : -1;
}

bool ShapefileStoreImpl::CanReadRows() const {
  if (!hasTable_ || records_ != layout_.records || !StoredRows::CanRead(layout_)) return false;
  if (HasShape() && geometry_.geometryType == GeometryType::kNull) return false;
  return Quietly([this] { Text(); });  // an encoding that is not known here
}

std::unique_ptr<StoredRows> ShapefileStoreImpl::OpenRows() const {
  return std::make_unique<StoredRows>(files_, layout_,
                                      shp_ ? std::optional(geometry_) : std::nullopt, encoding_);
}

void ShapefileStoreImpl::CheckUndamaged() const {
  if (!hasTable_)
    throw RuntimeError::Platform(files_.dbf + " is missing: the shapefile cannot be edited.");
  if (HasShape() && records_ != layout_.records)
    throw RuntimeError::Platform(path_ + std::string(kDamagedCounts) + ToText(layout_.records) +
                                 " and " + ToText(records_) + ". It cannot be edited.");
}

void ShapefileStoreImpl::CheckStandsAlone(const char* what) const {
  if (!files_.shp.empty()) return;
  if (const std::optional<std::string> shapefile = ShapefileOf(path_))
    throw RuntimeError::Platform(path_ + " is the table of " + NameOf(*shapefile) + ": " + what +
                                 " without the shapes.");
}

void ShapefileStoreImpl::CheckWritable() const {
  for (const std::string& file : files_.Main())
    if (!files::IsWritable(file)) throw RuntimeError(ErrorNumber::kPermissionDenied);
  if (!lock_ && EditLock::IsHeldElsewhere(files_))
    throw RuntimeError(ErrorNumber::kPermissionDenied);
}

void ShapefileStoreImpl::CheckRow(Oid oid) const {
  if (oid < 0 || oid >= RecordCount()) throw RuntimeError(ErrorNumber::kSubscript);
}

const ShapefileStoreImpl::Column& ShapefileStoreImpl::ColumnAt(int field) const {
  if (field < 0 || field >= fields_.FieldCount()) throw RuntimeError(ErrorNumber::kSubscript);
  if (field < FirstColumn())
    throw RuntimeError::Platform("The field " + fields_.At(field).name + " cannot be edited.");
  return columns_[static_cast<std::size_t>(field - FirstColumn())];
}

std::optional<int> ShapefileStoreImpl::FileColumnCount() const {
  if (!hasTable_) return std::nullopt;
  return static_cast<int>(layout_.columns.size());
}

int ShapefileStoreImpl::FileColumn(int field) const {
  if (field >= 0 && field < FirstColumn()) return -1;
  return ColumnAt(field).fileColumn;
}

bool ShapefileStoreImpl::PendingValue(Oid oid, int field, Value& value) const {
  if (!isEdited_ || (field >= 0 && field < FirstColumn())) return false;
  const Column& column = ColumnAt(field);
  if (column.edits && column.edits->IsTouched(oid)) {
    value = column.edits->HoldsText() ? ValueOfBytes(column.kind, column.edits->Text(oid), Text())
                                      : NumberValue(column.edits->Number(oid), column.kind.type);
    return true;
  }
  if (column.fileColumn >= 0) return false;
  value = ValueOfBytes(column.kind, {}, Text());
  return true;
}

const Geometry* ShapefileStoreImpl::PendingShape(Oid oid) const {
  const auto edit = shapes_.find(oid);
  return edit == shapes_.end() ? nullptr : &edit->second;
}

}  // namespace orlinths
