// The edits of a layer that comes through a data provider: gathered, written, shown.
#include <qgstransaction.h>

#include <functional>
#include <utility>

#include "data/RowBuffer.h"
#include "qgis/KeptSelection.h"
#include "qgis/ProviderCursor.h"
#include "qgis/ProviderShapes.h"
#include "qgis/ProviderSource.h"
#include "qgis/ProviderValues.h"
#include "qgis/Text.h"
#include "qgis/TwinLayers.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

/// So many edits are kept back at most; and so many new rows, which providers take in lists.
constexpr int kMostEdits = 1 << 20, kMostInserted = 1 << 13;

/// Several calls of a provider that take effect together, where it has transactions.
class Together {
 public:
  Together(QgsVectorLayer& layer, bool isNeeded) {
    if (isNeeded && QgsTransaction::supportsTransaction(&layer))
      transaction_.reset(QgsTransaction::create(QSet<QgsVectorLayer*>{&layer}));
    QString why;
    if (transaction_ && !transaction_->begin(why)) throw RuntimeError::Platform(FromQt(why));
    isOpen_ = transaction_ != nullptr;
  }
  ~Together() {
    QString why;
    if (isOpen_) transaction_->rollback(why);
  }
  void Commit() {
    QString why;
    if (std::exchange(isOpen_, false) && !transaction_->commit(why))
      throw RuntimeError::Platform(FromQt(why));
  }
  Together(const Together&) = delete;
  Together& operator=(const Together&) = delete;

 private:
  std::unique_ptr<QgsTransaction> transaction_;
  bool isOpen_ = false;
};

}  // namespace

const QVariant* ProviderSource::PendingValue(Oid oid, int column) const {
  const auto row = values_.constFind(oid);
  if (row == values_.constEnd()) return nullptr;
  const auto value = row->constFind(column);
  return value == row->constEnd() ? nullptr : &*value;
}

const QgsGeometry* ProviderSource::PendingShape(Oid oid) const {
  const auto shape = shapes_.constFind(oid);
  return shape == shapes_.constEnd() ? nullptr : &*shape;
}

void ProviderSource::CheckEdit(QgsVectorDataProvider::Capabilities any) {
  CheckStop();
  CheckThere();
  if (failure_) throw RuntimeError(*std::exchange(failure_, std::nullopt));
  if (layer_->isEditable() || layer_->readOnly() || !(Provider().capabilities() & any))
    throw RuntimeError(ErrorNumber::kPermissionDenied);
}

void ProviderSource::ShapesChanged() {
  ++changes_;
  index_.reset();
  extent_.reset();
  oids_.reset();
  looks_ = 0;
}

void ProviderSource::ChangeValue(Oid oid, int column, const QVariant& value) {
  hasPending_ = true;
  values_[oid].insert(column, value);
  ++changes_;
  if (values_.size() >= kMostEdits) WritePending();
}

void ProviderSource::ChangeShape(Oid oid, const orlinths::Geometry& shape) {
  hasPending_ = true;
  shapes_[oid] = ToQgis(shape, layer_->wkbType());
  ShapesChanged();
  if (shapes_.size() >= kMostEdits) WritePending();
}

void ProviderSource::DeleteRow(Oid oid) {
  hasPending_ = true;
  values_.remove(oid);
  shapes_.remove(oid);
  deleted_.insert(oid);
  ShapesChanged();
}

void ProviderSource::InsertRow(IRow& row) {
  CheckEdit(QgsVectorDataProvider::AddFeatures);
  const std::vector<Value>& values = ValuesOf(row, FirstColumn(), space_);
  QgsFeature feature(columns_);
  QgsAttributes attributes(columns_.size());
  for (int i = 0; i < columns_.size(); ++i) {
    const Value& value = values[static_cast<std::size_t>(i)];
    if (!value.IsEmpty()) {
      attributes[i] = ToVariant(value, columns_.at(i));
    } else {  // a serial number or another default of the database
      const QString clause = Provider().defaultValueClause(i);
      attributes[i] = clause.isEmpty() ? QVariant(columns_.at(i).type()) : QVariant(clause);
    }
  }
  feature.setAttributes(attributes);
  if (hasShape_) feature.setGeometry(ToQgis(row.Shape(), layer_->wkbType()));
  inserted_.append(feature);
  if (inserted_.size() >= kMostInserted) WritePending();
}

void ProviderSource::WritePending() {
  if (!HasPending() && inserted_.isEmpty()) return;
  // Rows that are read would keep a database from writing, and memory from writing in place.
  for (ProviderCursor* cursor : cursors_) cursor->Detach();
  const AtScopeEnd done([this] { isWriting_ = false; });
  isWriting_ = isChanged_ = true;
  // Whatever comes of it, none of it is tried twice.
  hasPending_ = false;
  const auto values = std::exchange(values_, {});
  const auto shapes = std::exchange(shapes_, {});
  const auto deleted = std::exchange(deleted_, {});
  auto inserted = std::exchange(inserted_, {});
  const bool isAttributesOnly = shapes.isEmpty() && deleted.isEmpty() && inserted.isEmpty();
  if (isAttributesOnly)
    ++changes_;
  else
    ShapesChanged();
  ++version_;

  QgsVectorDataProvider& provider = Provider();
  std::vector<std::function<bool()>> calls;
  if (!values.isEmpty() && !shapes.isEmpty() && Can(QgsVectorDataProvider::ChangeFeatures)) {
    calls.push_back([&] { return provider.changeFeatures(values, shapes); });
  } else {
    if (!values.isEmpty()) calls.push_back([&] { return provider.changeAttributeValues(values); });
    if (!shapes.isEmpty()) calls.push_back([&] { return provider.changeGeometryValues(shapes); });
  }
  if (!deleted.isEmpty()) calls.push_back([&] { return provider.deleteFeatures(deleted); });
  if (!inserted.isEmpty())
    calls.push_back([&] { return provider.addFeatures(inserted, QgsFeatureSink::FastInsert); });
  provider.clearErrors();
  // What SpatiaLite refuses leaves its provider in a transaction that nobody ends (QGIS 3.22).
  const bool isLeftOpen = layer_->providerType() == QStringLiteral("spatialite");
  Together together(Edited(), calls.size() > 1 || isLeftOpen);
  for (const auto& call : calls)
    if (!call()) RaiseProvider("The edits of the layer " + Name() + " cannot be written.");
  together.Commit();
}

void ProviderSource::Write() {
  CheckThere();
  WritePending();
  if (failure_) throw RuntimeError(*std::exchange(failure_, std::nullopt));
}

void ProviderSource::WriteQuietly() {
  if (!Exists()) return;
  auto failure = FailureOf([this] { WritePending(); });
  if (failure && !failure_) failure_ = std::move(failure);
}

void ProviderSource::Commit() {
  if (!Exists()) return;
  const AtScopeEnd shown([this] {
    if (!std::exchange(isChanged_, false) || !Exists()) return;
    {
      const KeptSelection selection(*layer_);
      layer_->dataProvider()->reloadData();
    }
    layer_->updateExtents();
    layer_->triggerRepaint();
    ShowInTwins(*layer_);
  });
  Write();
}

bool ProviderSource::Can(QgsVectorDataProvider::Capability what) const {
  return (Provider().capabilities() & what) != 0;
}

void ProviderSource::AddField(const Field& field) {
  CheckEdit(QgsVectorDataProvider::AddAttributes);
  if (field.name.empty()) throw RuntimeError::Platform("A field has a name.");
  if (Fields().FindField(field.name) >= 0)
    throw RuntimeError::Platform("The field " + field.name + " is there already.");
  ChangeSchema("The field " + field.name + " cannot be added.", [&](auto& provider) {
    return provider.addAttributes({ToQgisField(field, provider)});
  });
}

void ProviderSource::DeleteField(int field) {
  const Field& gone = Fields()[field];
  if (gone.required || field < FirstColumn())
    throw RuntimeError::Platform("The field " + gone.name + " cannot be deleted.");
  CheckEdit(QgsVectorDataProvider::DeleteAttributes);
  ChangeSchema("The field " + gone.name + " cannot be deleted.",
               [&](auto& provider) { return provider.deleteAttributes({field - FirstColumn()}); });
}

void ProviderSource::Delete() const {
  throw RuntimeError::Platform("The layer " + Name() + " is no file and cannot be deleted.");
}

void ProviderSource::Rename(const std::string&) const {
  throw RuntimeError::Platform("The layer " + Name() + " is no file and cannot be renamed.");
}

/// Through the layer's own provider, which has to know its columns; at once, since in a transaction
/// nobody could read the table, and QGIS reads it whenever it repaints.
void ProviderSource::ChangeSchema(const std::string& failure,
                                  const std::function<bool(QgsVectorDataProvider&)>& change) {
  Write();
  for (ProviderCursor* cursor : cursors_) cursor->Detach();
  QgsVectorDataProvider& provider = *layer_->dataProvider();
  provider.clearErrors();
  if (!change(provider)) {
    const QStringList said = provider.errors();
    throw RuntimeError::Platform(said.isEmpty() ? failure : FromQt(said.constLast().trimmed()));
  }
  isChanged_ = true;
  ++schemaVersion_;
  layer_->updateFields();
  LookAnew();
}

}  // namespace orlinths
