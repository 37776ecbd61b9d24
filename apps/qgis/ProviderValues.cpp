#include "qgis/ProviderValues.h"

#include <QDate>
#include <QDateTime>
#include <QJsonDocument>
#include <QStringList>

#include <qgsexpression.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "data/ColumnValue.h"
#include "data/RowBuffer.h"
#include "data/WhereText.h"
#include "qgis/Text.h"
#include "runtime/Date.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

constexpr int kSmallWidth = 4, kDefaultTextLength = 50;

int TypeOf(const QgsField& field) { return static_cast<int>(field.type()); }

bool IsOneOf(const QString& name, std::initializer_list<const char*> names) {
  return std::any_of(names.begin(), names.end(), [&](const char* known) {
    return name.compare(QLatin1String(known), Qt::CaseInsensitive) == 0;
  });
}

/// Databases have a type of their own; elsewhere the width tells.
bool IsSmall(const QgsField& field) {
  return IsOneOf(field.typeName(), {"int2", "smallint", "tinyint"}) ||
         (field.length() > 0 && field.length() <= kSmallWidth);
}

bool IsSingle(const QgsField& field) { return IsOneOf(field.typeName(), {"float4", "real"}); }

FieldType TypeFor(const QgsField& field) {
  switch (TypeOf(field)) {
    case QMetaType::Bool:
      return FieldType::kSmallInteger;
    case QMetaType::Int:
      return IsSmall(field) ? FieldType::kSmallInteger : FieldType::kInteger;
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
      return FieldType::kInteger;
    case QMetaType::Double:
      return IsSingle(field) ? FieldType::kSingle : FieldType::kDouble;
    case QMetaType::QDate:
    case QMetaType::QDateTime:
      return FieldType::kDate;
    case QMetaType::QByteArray:
      return FieldType::kBlob;
    default:
      return FieldType::kText;
  }
}

Value DateValue(const QDate& day, const QTime& time) {
  if (!day.isValid()) return Null{};
  const auto date = Date::FromCivil(day.year(), day.month(), day.day(), time.hour(), time.minute(),
                                    time.second(), time.msec());
  return date ? Value(*date) : Value(Null{});
}

Value TextValue(const QVariant& held) {
  switch (held.userType()) {
    case QMetaType::QString:
      break;
    case QMetaType::QTime:
      return FromQt(held.toTime().toString(Qt::ISODate));
    case QMetaType::QStringList:
    case QMetaType::QVariantList:
    case QMetaType::QVariantMap:
      return QJsonDocument::fromVariant(held).toJson(QJsonDocument::Compact).toStdString();
    default:
      break;
  }
  return FromQt(held.toString());
}

/// Halves to even; error 6 outside the type.
template <class T>
QVariant WholeFor(const Value& value) {
  const double whole = std::nearbyint(ToDouble(value));
  constexpr double kEnd = 2.0 * static_cast<double>(std::numeric_limits<T>::max() / 2 + 1);
  if (!(whole >= static_cast<double>(std::numeric_limits<T>::min()) && whole < kEnd))
    throw RuntimeError(ErrorNumber::kOverflow);
  return QVariant::fromValue(static_cast<T>(whole));
}

QVariant TextFor(const Value& value, const QgsField& field) {
  const std::string text = ToText(value);
  QString held = ToQt(text);
  if (field.length() > 0 && held.size() > field.length() && held.toUcs4().size() > field.length())
    throw RuntimeError::Platform("The text \"" + text + "\" is too long for the field " +
                                 FromQt(field.name()) + " (" + ToText(field.length()) +
                                 " characters).");
  return held;
}

QVariant DateFor(const Value& value, int type) {
  const Date date = ToDate(value);
  const QDate day(date.Year(), date.Month(), date.Day());
  const std::int64_t ofDay = ((date.milliseconds % 86'400'000) + 86'400'000) % 86'400'000;
  const QTime time = QTime::fromMSecsSinceStartOfDay(static_cast<int>(ofDay));
  if (type == QMetaType::QDate) return day;
  if (type == QMetaType::QTime) return time;
  return QDateTime(day, time);
}

/// What providers call the types, those that fit best first.
QStringList NamesFor(FieldType type) {
  switch (type) {
    case FieldType::kSmallInteger:
      return {QStringLiteral("int2"), QStringLiteral("smallint")};
    case FieldType::kSingle:
      return {QStringLiteral("float4"), QStringLiteral("real")};
    case FieldType::kDouble:
      return {QStringLiteral("float8"), QStringLiteral("double precision"),
              QStringLiteral("double")};
    case FieldType::kText:
      return {QStringLiteral("varchar"), QStringLiteral("string"), QStringLiteral("text")};
    default:
      return {QStringLiteral("int4"), QStringLiteral("integer"), QStringLiteral("timestamp"),
              QStringLiteral("datetime")};
  }
}

QMetaType::Type QtTypeFor(FieldType type) {
  switch (type) {
    case FieldType::kSmallInteger:
    case FieldType::kInteger:
    case FieldType::kOid:
      return QMetaType::Int;
    case FieldType::kSingle:
    case FieldType::kDouble:
      return QMetaType::Double;
    case FieldType::kDate:
      return QMetaType::QDateTime;
    case FieldType::kBlob:
      return QMetaType::QByteArray;
    default:
      return QMetaType::QString;
  }
}

/// Where the provider has no such type: days without times, and, in SpatiaLite, all whole numbers
/// of 64 bits.
QMetaType::Type NextBest(QMetaType::Type type) {
  switch (type) {
    case QMetaType::QDateTime:
      return QMetaType::QDate;
    case QMetaType::Int:
      return QMetaType::LongLong;
    default:
      return type;
  }
}

using NativeType = QgsVectorDataProvider::NativeType;

std::optional<NativeType> NativeFor(FieldType type, QMetaType::Type qtType,
                                    const QgsVectorDataProvider& provider) {
  std::vector<NativeType> fitting;
  for (const NativeType& native : provider.nativeTypes())
    if (static_cast<int>(native.mType) == qtType) fitting.push_back(native);
  for (const QString& name : NamesFor(type))
    for (const NativeType& native : fitting)
      if (native.mTypeName.compare(name, Qt::CaseInsensitive) == 0) return native;
  if (fitting.empty()) return {};
  return fitting.front();
}

std::string QuotedName(const QString& name) { return FromQt(QgsExpression::quotedColumnRef(name)); }

}  // namespace

Field ToField(const QgsField& from) {
  Field field;
  field.name = FromQt(from.name());
  field.type = TypeFor(from);
  field.length = field.precision = std::max(from.length(), 0);
  field.scale = std::max(from.precision(), 0);
  field.isNullable =
      (from.constraints().constraints() & QgsFieldConstraints::ConstraintNotNull) == 0;
  field.editable = !from.isReadOnly();
  return field;
}

QgsField ToQgisField(const Field& field, const QgsVectorDataProvider& provider) {
  if (field.type == FieldType::kGeometry)
    throw RuntimeError::Platform("A second geometry field cannot be added: " + field.name + ".");
  QMetaType::Type type = QtTypeFor(field.type);
  auto native = NativeFor(field.type, type, provider);
  if (!native) {
    type = NextBest(type);
    native = NativeFor(field.type, type, provider);
  }
  if (!native)
    throw RuntimeError::Platform("The field " + field.name + " is of a type that " +
                                 FromQt(provider.name()) + " does not know.");
  int length = 0;
  if (field.type == FieldType::kText)
    length = field.length > 0 ? field.length : kDefaultTextLength;
  else if (field.type == FieldType::kSmallInteger && native->mMaxLen >= kSmallWidth)
    length = kSmallWidth;
  return QgsField(ToQt(field.name), static_cast<QVariant::Type>(type), native->mTypeName, length,
                  0);
}

Value ToValue(const QVariant& held, FieldType type) {
  if (!held.isValid() || held.isNull()) return Null{};
  switch (type) {
    case FieldType::kSmallInteger:
    case FieldType::kInteger:
    case FieldType::kSingle:
    case FieldType::kDouble:
      return NumberValue(held.toDouble(), type);
    case FieldType::kDate:
      if (held.userType() == QMetaType::QDate) return DateValue(held.toDate(), QTime(0, 0));
      return DateValue(held.toDateTime().date(), held.toDateTime().time());
    case FieldType::kText:
      return TextValue(held);
    default:
      return Null{};
  }
}

QVariant ToVariant(const Value& value, const QgsField& field) {
  if (field.isReadOnly()) RaiseNotEditable(ToField(field));
  if (value.IsEmpty() || value.IsNull()) return QVariant(field.type());
  switch (TypeOf(field)) {
    case QMetaType::Bool:
      return ToInteger(value) != 0;
    case QMetaType::Int:
      return QVariant(IsSmall(field) ? int{ToInteger(value)} : int{ToLong(value)});
    case QMetaType::UInt:
      return WholeFor<unsigned>(value);
    case QMetaType::LongLong:
      return WholeFor<qlonglong>(value);
    case QMetaType::ULongLong:
      return WholeFor<qulonglong>(value);
    case QMetaType::Double:
      return IsSingle(field) ? double{ToSingle(value)} : ToDouble(value);
    case QMetaType::QString:
      return TextFor(value, field);
    case QMetaType::QDate:
    case QMetaType::QTime:
    case QMetaType::QDateTime:
      return DateFor(value, TypeOf(field));
    default:
      RaiseNotEditable(ToField(field));
  }
}

QString ToExpression(const std::string& where, const QgsFields& fields,
                     const std::string& oidName) {
  // QGIS compares a date and a moment as texts: moments all of them, where dates are asked for.
  const bool hasDates = where.find('#') != std::string::npos;
  const auto date = [](const Date& day) { return "to_datetime('" + ToText(day) + "')"; };
  const auto name = [&](std::string_view word) {
    const bool isQuoted = word.size() > 1 && word.front() == '"' && word.back() == '"';
    const std::string_view bare = isQuoted ? word.substr(1, word.size() - 2) : word;
    const int column = fields.lookupField(ToQt(bare));
    if (column < 0) return std::string(EqualNoCase(word, oidName) ? "$id" : word);
    const std::string held = QuotedName(fields[column].name());
    const bool isDate = TypeFor(fields[column]) == FieldType::kDate;
    return hasDates && isDate ? "to_datetime(" + held + ')' : held;
  };
  const QString text = ToQt(RewriteWhere(where, date, name));
  const QgsExpression expression(text);
  if (expression.hasParserError())
    throw RuntimeError::Platform(FromQt(expression.parserErrorString().trimmed()));
  for (const QString& column : expression.referencedColumns())
    if (column != QgsFeatureRequest::ALL_ATTRIBUTES && fields.lookupField(column) < 0)
      throw RuntimeError::Platform("Field '" + FromQt(column) + "' not found");
  return text;
}

}  // namespace orlinths
