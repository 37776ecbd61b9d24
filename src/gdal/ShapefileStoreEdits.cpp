// Pending edits, appending, and the commit.
#include <algorithm>
#include <array>
#include <utility>

#include "gdal/ShapefileStoreImpl.h"
#include "gdal/TableRewrite.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

Date Today() { return Date{ClockNanoseconds() / 1'000'000}; }

/// End of the last record that the index tells of.
std::uint64_t EndOfRecords(const std::string& shxPath, std::int64_t records) {
  const InputFile shx(shxPath);
  std::uint64_t end = kShpHeaderBytes;
  constexpr std::int64_t kBlock = 1 << 15;
  std::vector<char> block(static_cast<std::size_t>(std::min(records, kBlock)) * kShxRecordBytes);
  for (std::int64_t begin = 0; begin < records; begin += kBlock) {
    const auto count = static_cast<std::size_t>(std::min(kBlock, records - begin));
    shx.Read(kShpHeaderBytes + static_cast<std::uint64_t>(begin) * kShxRecordBytes, block.data(),
             count * kShxRecordBytes);
    for (std::size_t i = 0; i < count; ++i) {
      std::uint64_t position;
      std::size_t bytes;
      ParseShxRecord(block.data() + i * kShxRecordBytes, position, bytes);
      end = std::max(end, position + kShpRecordHead + bytes);
    }
  }
  return end;
}

/// The new table has no index beside it: its header must not tell other programs to look for one.
void ForgetIndex(DbfLayout& layout) {
  constexpr std::size_t kFlags = 28;
  constexpr unsigned kHasIndex = 1;
  if (kFlags < layout.head.size())
    layout.head[kFlags] =
        static_cast<char>(static_cast<unsigned char>(layout.head[kFlags]) & ~kHasIndex);
}

void CheckLength(const std::string& file, std::uint64_t expected) {
  if (InputFile(file).Size() != expected)
    throw RuntimeError::Platform(file + ": what was written is not what the disk holds.");
}

}  // namespace

/// The dataset as it will be once the new files have taken their names.
struct ShapefileStoreImpl::Written {
  std::vector<std::string> replaced;
  bool shapesChange = false;
  DbfLayout layout;
  std::optional<ShpHeader> shp;
  std::vector<Column> columns;
  orlinths::Fields fields;
  std::string stamp;
};

void ShapefileStoreImpl::BeginEdit() {
  CloseWriter();
  if (lock_) return;
  CheckUndamaged();
  CheckWritable();
  Recover(files_);
  auto lock = std::make_unique<EditLock>(files_);
  if (TableStamp() != stamp_)
    throw RuntimeError::Platform(path_ + " was changed by another program since it was opened.");
  lock_ = std::move(lock);
}

void ShapefileStoreImpl::ReleaseIdleLock() noexcept {
  if (!isEdited_ && !writer_) lock_.reset();
}

void ShapefileStoreImpl::AddField(const Field& field) {
  DbfColumn format = ColumnFor(field);
  const int existing = fields_.FindField(field.name);
  const bool redefines = existing >= 0 && existing == FirstColumn() && createdDefault_ &&
                         RecordCount() == 0 && EqualNoCase(field.name, "Id");
  if (existing >= 0 && !redefines)
    throw RuntimeError::Platform("There is a field " + field.name + " already.");
  const AtScopeEnd release([this] { ReleaseIdleLock(); });
  BeginEdit();
  format.name = Text().Encode(format.name);
  if (format.name.size() > kMaxDbfName)
    throw RuntimeError::Platform("The field name " + field.name +
                                 " is too long for a dBASE table.");
  DbfLayout tried = layout_;
  tried.columns.clear();
  for (const Column& column : columns_) tried.columns.push_back(column.kind.column);
  if (redefines)
    tried.columns.front() = format;
  else
    tried.columns.push_back(format);
  LayOut(tried, files_.dbf);

  Column column(format);
  // An object id that is carried along is a plain number; so is a small integer until a value needs
  // more room.
  if (redefines)
    columns_.front() = std::move(column);
  else
    columns_.push_back(std::move(column));
  if (redefines) createdDefault_ = false;
  fields_ = MakeFields(columns_);
  isEdited_ = schemaIsEdited_ = true;
}

void ShapefileStoreImpl::DeleteField(int field) {
  const Column& column = ColumnAt(field);
  if (columns_.size() == 1)
    throw RuntimeError::Platform("The field " + fields_.At(field).name +
                                 " is the last one of its table and cannot be deleted.");
  const AtScopeEnd release([this] { ReleaseIdleLock(); });
  BeginEdit();
  columns_.erase(columns_.begin() + (&column - columns_.data()));
  fields_ = MakeFields(columns_);
  createdDefault_ = createdDefault_ && field != FirstColumn();
  isEdited_ = schemaIsEdited_ = true;
}

ShapefileStoreImpl::Column& ShapefileStoreImpl::EditedColumn(Oid oid, int field) {
  const Column& column = ColumnAt(field);
  CheckRow(oid);
  BeginEdit();
  return const_cast<Column&>(column);
}

ColumnEdits& ShapefileStoreImpl::EditsOf(Column& column) {
  if (!column.edits)
    column.edits = column.kind.IsNumber() ? std::make_unique<ColumnEdits>()
                                          : std::make_unique<ColumnEdits>(column.kind.column.width);
  isEdited_ = true;
  return *column.edits;
}

void ShapefileStoreImpl::Widen(Column& column) {
  column.kind.column.width = kWideSmallWidth;
  // It stays a small integer for whoever has it open; from the commit on it reads as an integer.
  isEdited_ = schemaIsEdited_ = true;
}

void ShapefileStoreImpl::SetValue(Oid oid, int field, const Value& value) {
  Column& column = EditedColumn(oid, field);
  if (column.kind.IsNumber()) {
    bool needsWidening = false;
    const double number = NumberFor(column.kind, value, needsWidening);
    EditsOf(column).SetNumber(oid, number);
    if (needsWidening) Widen(column);
  } else {
    const std::string bytes = BytesFor(column.kind, value, Text());
    EditsOf(column).SetText(oid, bytes);
  }
}

void ShapefileStoreImpl::SetDouble(Oid oid, int field, double value) {
  Column& column = EditedColumn(oid, field);
  if (!column.kind.IsNumber()) return SetValue(oid, field, Value(value));
  bool needsWidening = false;
  const double number = NumberFor(column.kind, value, needsWidening);
  EditsOf(column).SetNumber(oid, number);
  if (needsWidening) Widen(column);
}

void ShapefileStoreImpl::SetShape(Oid oid, const orlinths::Geometry& shape) {
  CheckRow(oid);
  if (!HasShape()) throw RuntimeError(ErrorNumber::kObjectNotSet);
  if (geometry_.geometryType == GeometryType::kNull)
    throw RuntimeError::Platform(path_ + ": shapes of its type cannot be written.");
  std::string scratch;
  ShpBounds ignored;
  EncodeShape(shape, shp_->type, geometry_.hasM, scratch, ignored);  // refuses what does not fit
  BeginEdit();
  shapes_[oid] = shape;
  isEdited_ = true;
}

void ShapefileStoreImpl::DeleteRow(Oid oid) {
  CheckRow(oid);
  if (deleted_.IsEmpty()) CheckStandsAlone("its rows cannot be deleted");
  BeginEdit();
  deleted_.Add(oid);
  isEdited_ = true;
}

void ShapefileStoreImpl::OpenWriter() {
  if (writer_) return;
  if (isEdited_) Commit();
  CheckStandsAlone("rows cannot be added");
  CheckUndamaged();
  CheckWritable();
  Recover(files_);
  auto lock = std::make_unique<EditLock>(files_);
  if (TableStamp() != stamp_)
    throw RuntimeError::Platform(path_ + " was changed by another program since it was opened.");
  std::optional<ShpHeader> shp = shp_;
  if (shp) {
    // What a killed run appended without telling the header is cut off; where the header tells too
    // little, nothing is.
    const std::uint64_t end = EndOfRecords(files_.shx, records_);
    if (end > shp->fileBytes) shp->fileBytes = (InputFile(files_.shp).Size() + 1) / 2 * 2;
  }
  if (shp && shp->bounds.IsZero())
    shp->bounds = BoundsOfShapes(InputFile(files_.shp), InputFile(files_.shx), records_);
  if (records_ > 0)
    for (const std::string& index : StaleIndexes(true)) files::DeleteFile(index);
  record_ = DefaultRecord(layout_);
  writer_ = std::make_unique<ShapefileWriter>(files_, layout_, shp, geometry_.hasM);
  lock_ = std::move(lock);
  deletedInFile_.reset();
}

void ShapefileStoreImpl::CloseWriter() {
  if (!writer_) return;
  const auto writer = std::move(writer_);
  const auto lock = std::move(lock_);
  const AtScopeEnd takeOver([&] {
    if (writer->FlushedRows() == records_) return;
    records_ = layout_.records = writer->FlushedRows();
    if (shp_) shp_ = writer->Shp();
    ++version_;
  });
  if (!writer->IsBroken()) writer->Close();
  stamp_ = TableStamp();
}

void ShapefileStoreImpl::EncodeRow(const std::vector<Value>& values) {
  if (values.size() != columns_.size()) throw RuntimeError(ErrorNumber::kSubscript);
  for (std::size_t i = 0; i < values.size(); ++i) {
    const ColumnKind& kind = columns_[i].kind;
    char* const at = record_.data() + layout_.columns[i].offset;
    bool needsWidening = false;
    if (kind.IsNumber()) {
      const double number = NumberFor(kind, values[i], needsWidening);
      if (needsWidening) {
        CloseWriter();
        BeginEdit();
        Widen(columns_[i]);
        Commit();
        OpenWriter();
        return EncodeRow(values);
      }
      EncodeNumber(number, kind.form, kind.column.width, kind.column.decimals, at);
    } else {
      const std::string bytes = BytesFor(kind, values[i], Text());
      bytes.copy(at, bytes.size());
    }
  }
}

Oid ShapefileStoreImpl::Append(const orlinths::Geometry* shape, const std::vector<Value>& values) {
  OpenWriter();
  EncodeRow(values);
  const Oid oid = writer_->Rows();
  try {
    writer_->Append(shape, record_);
  } catch (...) {
    if (writer_->IsBroken()) CloseWriter();
    throw;
  }
  createdDefault_ = false;
  return oid;
}

void ShapefileStoreImpl::FlushAppended() {
  if (!writer_) return;
  const std::int64_t before = writer_->FlushedRows();
  try {
    writer_->Flush();
  } catch (...) {
    CloseWriter();
    throw;
  }
  records_ = layout_.records = writer_->FlushedRows();
  if (shp_) shp_ = writer_->Shp();
  if (records_ != before) ++version_;
}

void ShapefileStoreImpl::FinishAppending() {
  FlushAppended();
  CloseWriter();
}

bool ShapefileStoreImpl::HasValueEdits() const {
  return std::any_of(columns_.begin(), columns_.end(),
                     [](const Column& c) { return c.edits != nullptr; });
}

RowSet ShapefileStoreImpl::AllDeletedRows() const {
  RowSet rows;
  for (Oid oid = 0; oid < records_; ++oid)
    if (IsDeleted(oid)) rows.Add(oid);
  return rows;
}

ShapefileStoreImpl::Written ShapefileStoreImpl::WriteSuccessors() {
  Written written;
  const bool drops = !deleted_.IsEmpty();
  const RowSet dropped = drops ? AllDeletedRows() : RowSet{};
  const RowSet* const droppedOrNone = drops ? &dropped : nullptr;
  written.layout = layout_;
  written.shp = shp_;
  written.shapesChange = HasShape() && (drops || !shapes_.empty());
  if (written.shapesChange) {
    OutputFile shp(NewFileFor(files_.shp), OutputFile::Mode::kReplace);
    OutputFile shx(NewFileFor(files_.shx), OutputFile::Mode::kReplace, 1 << 18);
    written.shp = RewriteShapes(InputFile(files_.shp), InputFile(files_.shx), records_, shp_->type,
                                geometry_.hasM, shapes_, droppedOrNone, shp, shx);
    for (OutputFile* file : {&shp, &shx}) {
      file->Sync();
      const std::uint64_t length = file->Position();
      file->Close();
      CheckLength(file->Path(), length);
    }
    CopyPermissions(files_.shp);
    CopyPermissions(files_.shx);
    written.replaced = {files_.shp, files_.shx};
  }
  const bool tableChanges = drops || schemaIsEdited_ || HasValueEdits();
  if (tableChanges) {
    written.layout.columns.clear();
    std::vector<ColumnSource> sources;
    for (const Column& column : columns_) {
      written.layout.columns.push_back(column.kind.column);
      sources.push_back({column.fileColumn, column.edits.get()});
    }
    LayOut(written.layout, files_.dbf);
    ForgetIndex(written.layout);
    OutputFile dbf(NewFileFor(files_.dbf), OutputFile::Mode::kReplace);
    RewriteTable(InputFile(files_.dbf), layout_, written.layout, sources, droppedOrNone, Today(),
                 dbf);
    dbf.Sync();
    dbf.Close();
    CheckLength(dbf.Path(), written.layout.RowPosition(written.layout.records) + 1);
    CopyPermissions(files_.dbf);
    written.replaced.push_back(files_.dbf);
  }
  for (std::size_t i = 0; i < written.layout.columns.size(); ++i)
    written.columns.emplace_back(written.layout.columns[i], static_cast<int>(i));
  written.fields = MakeFields(written.columns);
  written.stamp = InputFile(tableChanges ? NewFileFor(files_.dbf) : files_.dbf).Stamp();
  if (HasShape())
    written.stamp += InputFile(written.shapesChange ? NewFileFor(files_.shp) : files_.shp).Stamp();
  return written;
}

void ShapefileStoreImpl::Commit() {
  if (!isEdited_) {
    CloseWriter();
    ReleaseIdleLock();
    return;
  }
  try {
    const auto removeRest = std::make_unique<AtScopeEnd>([this] { RemoveNewFiles(files_); });
    if (TableStamp() != stamp_)
      throw RuntimeError::Platform(path_ + " was changed by another program since it was opened.");
    Written written = WriteSuccessors();
    const std::vector<std::string> stale = StaleIndexes(written.shapesChange);
    ReplaceTogether(files_, written.replaced, stale);
    // From here on nothing can fail.
    layout_ = std::move(written.layout);
    shp_ = std::move(written.shp);
    columns_ = std::move(written.columns);
    fields_ = std::move(written.fields);
    stamp_ = std::move(written.stamp);
    records_ = layout_.records;
    if (!deleted_.IsEmpty()) deletedInFile_.reset();
    DropEdits();
    ++version_;
  } catch (...) {
    Abandon();
    throw;
  }
}

void ShapefileStoreImpl::DropEdits() noexcept {
  for (Column& column : columns_) column.edits.reset();
  shapes_.clear();
  deleted_ = {};
  isEdited_ = schemaIsEdited_ = false;
  lock_.reset();
}

void ShapefileStoreImpl::Abandon() {
  ReleaseIdleLock();
  if (!isEdited_) return;
  DropEdits();
  TakeColumns();
}

}  // namespace orlinths
