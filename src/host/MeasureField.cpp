#include "host/MeasureField.h"

#include <cmath>

#include "data/FieldsAndDatasets.h"
#include "host/Steps.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"

namespace orlinths {

bool ReplaceByMeasure(IFeatureClass& shapes, const std::string& name, const ShapeMeasure& measure,
                      double constant, bool showProgress) {
  return Trap(measure.label, [&] {
    // An update is a replacement: the old field goes even if it could hold the new values.
    if (const int old = shapes.FindField(name); old != -1) shapes.DeleteField(old);
    const int field = AddNewField(name, shapes, FieldType::kDouble, 16, 0);

    const std::int64_t count = shapes.FeatureCount();
    if (count == 0) return;

    Steps steps(count, measure.progress, showProgress);
    const auto rows = shapes.Update(ShapesOnly());
    while (IFeature* feature = rows->Next()) {
      steps.Next();
      const double value = measure.of(*feature) * constant;
      if (!std::isfinite(value)) throw RuntimeError(ErrorNumber::kOverflow);
      feature->SetDouble(field, value);
      rows->UpdateRow(*feature);
    }
    rows->Flush();
  });
}

bool TableAddArea(IFeatureClass& polygons, const std::string& name, double constant,
                  bool showProgress) {
  static constexpr ShapeMeasure kArea = {
      .label = "TableAddArea: ",
      .progress = "Calculating areas...",
      .of = [](const IFeature& feature) { return feature.Polygon().Area(); }};
  return ReplaceByMeasure(polygons, name, kArea, constant, showProgress);
}

bool TableAddPerim(IFeatureClass& polygons, const std::string& name, double constant,
                   bool showProgress) {
  static constexpr ShapeMeasure kPerimeter = {
      .label = "TableAddPerim: ",
      .progress = "Calculating perimeters...",
      .of = [](const IFeature& feature) { return feature.Polygon().Length(); }};
  return ReplaceByMeasure(polygons, name, kPerimeter, constant, showProgress);
}

void WarnOfProblem(const std::string& problem) {
  MessageBox(problem +
                 "\rPlease check that the dataset is not in use by another application and try "
                 "again.",
             kExclamation, "Warning");
}

}  // namespace orlinths
