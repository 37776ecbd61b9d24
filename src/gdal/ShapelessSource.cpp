#include "gdal/ShapelessSource.h"

#include <utility>

#include "data/RowBuffer.h"
#include "data/WhereText.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

constexpr const char* kOid = "OID";

[[noreturn]] void NoShape() { throw RuntimeError(ErrorNumber::kObjectNotSet); }

/// Index of the table's field in the shapefile, where the shape stands between object id and
/// columns. What is out of range stays so.
int FieldOfWhole(int field) { return field > 0 ? field + 1 : field; }

class ShapelessRow final : public IRow {
 public:
  explicit ShapelessRow(const ShapelessSource& table) : table_(table) {}
  void Become(IRow* row) { row_ = row; }
  /// That of the shapefile; nothing before the first one and behind the last.
  IRow* Whole() const { return row_; }

  Oid OID() const override { return row_->OID(); }
  const orlinths::Fields& Fields() const override { return table_.Fields(); }
  Value GetValue(int field) const override { return row_->GetValue(FieldOfWhole(field)); }
  double GetDouble(int field) const override { return row_->GetDouble(FieldOfWhole(field)); }
  void GetText(int field, std::string& text) const override {
    row_->GetText(FieldOfWhole(field), text);
  }
  bool IsNull(int field) const override { return row_->IsNull(FieldOfWhole(field)); }
  void SetValue(int field, const Value& value) override {
    row_->SetValue(EditableOfWhole(field), value);
  }
  void SetDouble(int field, double value) override {
    row_->SetDouble(EditableOfWhole(field), value);
  }
  const Geometry& Shape() const override { NoShape(); }
  void SetShape(Geometry) override { NoShape(); }

 private:
  int EditableOfWhole(int field) const {
    if (field == 0) RaiseNotEditable(Fields()[0]);  // by the name that it has here
    return FieldOfWhole(field);
  }

  const ShapelessSource& table_;
  IRow* row_ = nullptr;
};

class ShapelessCursor final : public ICursor {
 public:
  ShapelessCursor(const ShapelessSource& table, CursorPtr rows)
      : rows_(std::move(rows)), row_(table) {}

  IRow* Next() override {
    IRow* const next = rows_->Next();
    if (next == nullptr) return nullptr;
    row_.Become(next);
    return &row_;
  }
  void UpdateRow(IRow& row) override { rows_->UpdateRow(OfWhole(row)); }
  void DeleteRow(IRow& row) override { rows_->DeleteRow(OfWhole(row)); }
  void Flush() override { rows_->Flush(); }

 private:
  /// A row of somebody else's is left to the shapefile's cursor to refuse.
  IRow& OfWhole(IRow& row) const {
    return &row == &row_ && row_.Whole() != nullptr ? *row_.Whole() : row;
  }

  CursorPtr rows_;
  ShapelessRow row_;
};

}  // namespace

ShapelessSource::ShapelessSource(SourcePtr whole, const std::string& path)
    : whole_(std::move(whole)), wholePath_(whole_->Path()), path_(FullPath(path)) {}

std::string ShapelessSource::Path() const {
  if (whole_->Path() == wholePath_) return path_;
  // The shapefile has been renamed, and its table with it.
  const std::string extension = NameOf(path_).substr(StemOf(path_).size());
  return JoinPath(whole_->Folder(), whole_->Name() + extension);
}

std::string ShapelessSource::Name() const { return StemOf(Path()); }

std::string ShapelessSource::Folder() const { return FolderOf(Path()); }

bool ShapelessSource::Exists() const { return whole_->Exists() && files::FileExists(Path()); }

const Fields& ShapelessSource::Fields() const {
  if (fieldsOf_ != whole_->SchemaVersion()) {
    const orlinths::Fields& all = whole_->Fields();
    Field oid = all[0];
    oid.name = kOid;
    orlinths::Fields fields{std::move(oid)};
    for (int i = whole_->FirstColumn(); i < all.FieldCount(); ++i) fields.AddField(all[i]);
    fields_ = fields;  // in place: whoever holds one of them keeps it while rows come
    fieldsOf_ = whole_->SchemaVersion();
  }
  return fields_;
}

std::string ShapelessSource::WhereOfWhole(const std::string& where) const {
  const orlinths::Fields& all = whole_->Fields();
  // A column of that name comes first, as one called FID does in the shapefile.
  if (all.FindField(kOid) >= 0) return where;
  bool isNamed = false;
  const std::string text = RewriteWhere(
      where, [](const Date& date) { return "#" + ToText(date) + "#"; },
      [&](std::string_view name) {
        if (!EqualNoCase(name, kOid)) return std::string(name);
        isNamed = true;
        return all[0].name;
      });
  if (!isNamed) return where;
  for (int i = whole_->FirstColumn(); i < all.FieldCount(); ++i)
    if (EqualNoCase(all[i].name, all[0].name)) RaiseTwoMeanings(where, kOid, all[i].name);
  return text;
}

QueryFilter ShapelessSource::OfWhole(const QueryFilter& filter) const {
  if (filter.shape) NoShape();
  QueryFilter whole = filter;
  whole.where = WhereOfWhole(filter.where);
  whole.withShape = false;
  return whole;
}

CursorPtr ShapelessSource::Over(CursorPtr rows) const {
  return std::make_unique<ShapelessCursor>(*this, std::move(rows));
}

std::int64_t ShapelessSource::Count(const QueryFilter& filter) const {
  return whole_->Count(OfWhole(filter));
}

std::vector<Oid> ShapelessSource::Select(const QueryFilter& filter) const {
  return whole_->Select(OfWhole(filter));
}

CursorPtr ShapelessSource::Search(const QueryFilter& filter) const {
  return Over(whole_->Search(OfWhole(filter)));
}

CursorPtr ShapelessSource::SearchOids(const std::vector<Oid>& oids, const QueryFilter& what) const {
  return Over(whole_->SearchOids(oids, OfWhole(what)));
}

CursorPtr ShapelessSource::Update(const QueryFilter& filter) {
  return Over(whole_->Update(OfWhole(filter)));
}

CursorPtr ShapelessSource::Insert() { return whole_->InsertWithoutShapes(); }

void ShapelessSource::AddField(const Field& field) {
  if (EqualNoCase(field.name, kOid))
    throw RuntimeError::Platform("There is a field " + field.name + " already.");
  whole_->AddField(field);
  Fields();  // for whoever holds them
}

void ShapelessSource::DeleteField(int field) {
  if (field == 0) RaiseNotEditable(Fields()[0]);
  whole_->DeleteField(FieldOfWhole(field));
  Fields();
}

void ShapelessSource::RefuseWithoutShapes(const char* done) const {
  throw RuntimeError::Platform(Path() + " is the table of the shapefile " + NameOf(whole_->Path()) +
                               " and cannot be " + done + " without it.");
}

}  // namespace orlinths
