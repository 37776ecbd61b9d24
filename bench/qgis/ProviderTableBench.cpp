// A layer of QGIS in memory with 1,000,000 points and three columns, through our cursors and by
// QGIS's own iterator: coordinates and a number read, one column changed. Reading is to take at
// most 1.3 times as long as the plain loop.
#include <benchmark/benchmark.h>

#include <QTemporaryDir>

#include <qgsapplication.h>
#include <qgsproject.h>
#include <qgsvectordataprovider.h>
#include <qgsvectorlayer.h>

#include <cstdio>
#include <cstdlib>

#include "qgis/ProviderTable.h"

namespace orlinths {
namespace {

constexpr int kRows = 1'000'000;

void Demand(bool condition, const char* what) {
  if (condition) return;
  std::fputs(what, stderr);
  std::abort();
}

QgsVectorLayer& TheLayer() {
  static auto* layer = [] {
    auto* made = new QgsVectorLayer(
        QStringLiteral("Point?field=K:integer&field=V:double&field=NAME:string(20)"),
        QStringLiteral("bench"), QStringLiteral("memory"));
    QgsFeatureList rows;
    for (int i = 0; i < kRows; ++i) {
      QgsFeature row(made->fields());
      row.setAttribute(0, i);
      row.setAttribute(1, i * 0.25);
      row.setAttribute(2, QStringLiteral("row %1").arg(i));
      row.setGeometry(QgsGeometry(new QgsPoint(i % 1000, i / 1000)));
      rows += row;
    }
    Demand(made->dataProvider()->addFeatures(rows), "no rows");
    return made;
  }();
  return *layer;
}

double SumPlain() {
  double sum = 0;
  QgsFeatureRequest request;
  request.setSubsetOfAttributes(QgsAttributeList{1});
  QgsFeatureIterator rows = TheLayer().dataProvider()->getFeatures(request);
  QgsFeature row;
  while (rows.nextFeature(row)) {
    const QgsGeometry shape = row.geometry();
    const auto* point = qgsgeometry_cast<const QgsPoint*>(shape.constGet());
    sum += row.attribute(1).toDouble() + point->x() + point->y();
  }
  return sum;
}

double SumOurs() {
  double sum = 0;
  const FeatureClassPtr points = OpenProviderClass(TheLayer());
  const int field = points->FindField("V");
  QueryFilter what;
  what.onlyFields = {"V"};
  const CursorPtr rows = points->Search(what);
  while (const IRow* row = rows->Next()) {
    const Point& point = row->Point();
    sum += row->GetDouble(field) + point.x + point.y;
  }
  return sum;
}

void ReadPlain(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(SumPlain());
}
BENCHMARK(ReadPlain)->Unit(benchmark::kMillisecond)->MinTime(3);

void ReadOurs(benchmark::State& state) {
  Demand(SumOurs() == SumPlain(), "the sums differ");
  for (auto _ : state) benchmark::DoNotOptimize(SumOurs());
}
BENCHMARK(ReadOurs)->Unit(benchmark::kMillisecond)->MinTime(3);

double SumOfValues() {
  double sum = 0;
  QgsFeatureIterator rows = TheLayer().dataProvider()->getFeatures();
  QgsFeature row;
  while (rows.nextFeature(row)) sum += row.attribute(1).toDouble();
  return sum;
}

/// As a script does that gathers before it writes.
void UpdatePlain(benchmark::State& state) {
  for (auto _ : state) {
    QgsChangedAttributesMap changes;
    QgsFeatureRequest request;
    request.setFlags(QgsFeatureRequest::NoGeometry);
    QgsFeatureIterator rows = TheLayer().dataProvider()->getFeatures(request);
    QgsFeature row;
    while (rows.nextFeature(row)) changes[row.id()].insert(1, row.attribute(1).toDouble() + 1);
    rows.close();
    Demand(TheLayer().dataProvider()->changeAttributeValues(changes), "not changed");
  }
}
BENCHMARK(UpdatePlain)->Unit(benchmark::kMillisecond)->MinTime(3);

void UpdateOurs(benchmark::State& state) {
  const FeatureClassPtr points = OpenProviderClass(TheLayer());
  const int field = points->FindField("V");
  QueryFilter what;
  what.onlyFields = {"V"};
  what.withShape = false;
  const double before = SumOfValues();
  double runs = 0;
  for (auto _ : state) {
    const CursorPtr rows = points->Update(what);
    while (IRow* row = rows->Next()) {
      row->SetDouble(field, row->GetDouble(field) + 1);
      rows->UpdateRow(*row);
    }
    rows->Flush();
    ++runs;
  }
  Demand(SumOfValues() == before + runs * kRows, "not every row was changed once");
}
BENCHMARK(UpdateOurs)->Unit(benchmark::kMillisecond)->MinTime(3);

}  // namespace
}  // namespace orlinths

int main(int argc, char** argv) {
  const QTemporaryDir profile;
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QgsApplication application(argc, argv, true, profile.path());
  QgsApplication::initQgis();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  delete &orlinths::TheLayer();
  QgsApplication::exitQgis();
}
