#include "sampling/RandomPoints.h"

#include <cstdint>

#include "data/FieldsAndDatasets.h"
#include "data/MapAccess.h"
#include "numerics/Random.h"
#include "runtime/Arithmetic.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

/// For counting layers without listing them.
class NoList : public IItemList {
 public:
  void Append(const std::string&, ItemKind) override {}
};

int CountLayers(int kind) {
  NoList nowhere;
  return ListLayers(kind, nowhere);
}

/// Inserts points with the value of their polygon's ID, if there is one, and flushes now and then.
class PointInserter : public PointSink {
 public:
  enum class Steps { kPoints, kPolygons };
  PointInserter(IFeatureClass& points, int idField, int sourceField, Steps steps, ProgressBar& bar)
      : cursor_(points.Insert()),
        buffer_(points.CreateFeatureBuffer()),
        idField_(idField),
        sourceField_(sourceField),
        steps_(steps),
        bar_(bar) {}

  void Store(double x, double y) override {
    if (polygon_ != nullptr) {
      buffer_->SetValue(idField_, polygon_->GetValue(sourceField_));
      polygon_ = nullptr;  // the buffer keeps it for the polygon's other points
    }
    buffer_->SetShape(Point{x, y});
    cursor_->InsertRow(*buffer_);
    if (++sinceFlush_ == kFlushEvery) {
      cursor_->Flush();
      sinceFlush_ = 0;
    }
    if (steps_ == Steps::kPoints) Step();
  }
  void BeginPolygon(const IRow& polygon) override { polygon_ = &polygon; }
  void EndPolygon() override {
    if (steps_ == Steps::kPolygons) Step();
  }
  void Flush() { cursor_->Flush(); }

 private:
  static constexpr int kFlushEvery = 500;
  void Step() { bar_.SetValue(static_cast<double>(++step_)); }

  CursorPtr cursor_;
  std::unique_ptr<IFeature> buffer_;
  const int idField_, sourceField_;
  const Steps steps_;
  ProgressBar& bar_;
  const IRow* polygon_ = nullptr;  // whose ID the buffer does not hold yet
  int sinceFlush_ = 0;
  std::int64_t step_ = 0;
};

}  // namespace

// ---- The dialog

frmRandomPoints::frmRandomPoints()
    : Dialog("frmRandomPoints", "Random Point Generation", "RANDOMPNTS") {
  InFrame("fraLayer", "Reference layer", [this] {
    optPolygon = Add<OptionButton>(
        "optPolygon", "Polygon layers (points generated within all/selected polygons)", Checked);
    optRaster =
        Add<OptionButton>("optRaster", "Raster layers (points generated within extent of layer)");
    cmbLayers = Add<ComboBox>("cmbLayers", "Select layer:");
    chkUseSelected = AddUseSelected();
    chkPreventNoData = Add<CheckBox>(
        "chkPreventNoData", "Prevent points from being located in NODATA cells", Unchecked, Hidden);
    chkWeighted =
        Add<CheckBox>("chkWeighted", "Use raster as probability distribution", Unchecked, Hidden);
    chkPrevent =
        Add<CheckBox>("chkPrevent", "Prevent points from occuring in the polygons of this layer:");
    cmbPreventL = Add<ComboBox>("cmbPreventL", "", Disabled);
  });
  InFrame("fraNumber", "Number of points", [this] {
    optTotal = Add<OptionButton>("optTotal", "Generate this number of random points:", Checked);
    txtNPnts = Add<TextBox>("txtNPnts", "");
    optPoly = Add<OptionButton>("optPoly", "Generate this number of points per polygon:");
    txtExactCnt = Add<TextBox>("txtExactCnt", "", Disabled);
    optDens = Add<OptionButton>("optDens", "Generate this density of points per polygon:");
    txtDens = Add<TextBox>("txtDens", "", Disabled);
    optFld = Add<OptionButton>("optFld",
                               "Generate number of points per polygon specified in this field:");
    cmbFld = Add<ComboBox>("cmbFld", "", Disabled);
    cmbUID = Add<ComboBox>("cmbUID", "Polygon unique ID field:", Disabled);
  });
  InFrame("fraDistance", "Distance between points", [this] {
    chkMinDist = Add<CheckBox>("chkMinDist", "Enforce minimum distance between points:");
    txtMinDist = Add<TextBox>("txtMinDist", "", Disabled);
    optMinDistAll = Add<OptionButton>(
        "optMinDistAll", "Enforce minimum distance between ALL points", Checked, Disabled);
    optMinDistWithin =
        Add<OptionButton>("optMinDistWithin", "Enforce minimum distance only within each polygon",
                          Unchecked, Disabled);
  });
  txtOutput = Add<TextBox>("txtOutput", "Output shapefile:");
  btnFolder = Add<Button>("btnFolder", "...");
  txtOutput->picker = btnFolder;
  AddStatusLine();
  PBar = Add<ProgressBar>("PBar");
  btnOK = AddOkButton();
  AddExitButton();
  AddHelpButton();

  optPolygon->OnClick = [this] { ChoosePolygonMode(); };
  optRaster->OnClick = [this] { ChooseRasterMode(); };
  cmbLayers->OnClick = [this] { ChooseLayer(); };
  chkWeighted->OnClick = [this] {
    if (chkWeighted->value) chkPreventNoData->value = true;
  };
  chkPrevent->OnClick = [this] { cmbPreventL->Enable(chkPrevent->value); };
  for (OptionButton* design : {optTotal, optPoly, optDens, optFld})
    design->OnClick = [this] { ChooseDesign(); };
  txtNPnts->OnChange = [this] { CheckNumber(); };
  chkMinDist->OnClick = [this] { ShowState(); };
  btnFolder->OnClick = [this] {
    PickShapefile(*this, "Save Shapefile As...", output_, *txtOutput);
  };
  btnOK->OnClick = [this] { GenRndPnt(); };
}

void frmRandomPoints::OnLoad() {
  ShowState();
  if (CountLayers(kPolygonLayer) == 0) {
    optRaster->Choose();
    if (CountLayers(kRasterLayer) == 0) {
      MessageBox("Error: no raster or polygon reference layers to work with.", kExclamation,
                 "Error");
      btnOK->enabled = false;
      optPoly->enabled = false;  // and not optPolygon, which says once more what is missing
      optRaster->enabled = false;
      return;
    }
    return ChooseRasterMode();
  }
  optionPoly();
}

int frmRandomPoints::optionPoly() { return StartMode(false); }
int frmRandomPoints::optionRaster() { return StartMode(true); }

/// Fills the lists anew and gives the number of reference layers.
int frmRandomPoints::StartMode(bool isRaster) {
  cmbLayers->Clear();
  cmbFld->Clear();
  cmbUID->Clear();
  cmbPreventL->Clear();
  txtOutput->text = "";
  const int layers = ListLayers(isRaster ? kRasterLayer : kPolygonLayer, *cmbLayers);
  ListLayers(kPolygonLayer, *cmbPreventL);
  chkUseSelected->value = false;
  chkUseSelected->enabled = false;
  chkUseSelected->visible = !isRaster;
  chkPreventNoData->visible = isRaster;
  chkWeighted->visible = isRaster;
  for (OptionButton* stratified : {optPoly, optDens, optFld}) stratified->enabled = !isRaster;
  optTotal->Choose();
  ChooseDesign();
  return layers;
}

void frmRandomPoints::ChoosePolygonMode() {
  if (optionPoly() > 0) return;
  MessageBox("ERROR: there are no polygon layers present in the map (nothing to work with).",
             kExclamation, "Warning");
}

void frmRandomPoints::ChooseRasterMode() {
  if (optionRaster() > 0) return;
  if (CountLayers(kPolygonLayer) > 0) {
    MessageBox("ERROR: there are no raster layers present in the map (nothing to work with).",
               kExclamation, "Warning");
    return;
  }
  MessageBox(
      "ERROR: there are no polygon or raster layers present in the map (nothing to work with).",
      kExclamation, "Warning");
  Unload();
}

void frmRandomPoints::ChooseLayer() {
  cmbFld->Clear();
  cmbUID->Clear();
  const std::string name = cmbLayers->text;
  if (optRaster->value) {
    if (!name.empty()) output_.folder = GetRasterLayerByName(name)->Dataset().PathName();
    return;
  }
  chkUseSelected->enabled = false;
  if (!name.empty()) {
    const auto layer = GetFeatureLayerByName(name);
    ListFields(*layer, *cmbFld, kNumericFields);
    ListFields(*layer, *cmbUID, kAttributeFields);
    output_.folder = layer->FeatureClass().PathName();
    chkUseSelected->enabled = layer->SelectionSet().Count() > 0;
  }
  if (!chkUseSelected->enabled) chkUseSelected->value = false;
}

void frmRandomPoints::ChooseDesign() {
  if (optTotal->value) optMinDistAll->Choose();
  ShowState();
}

void frmRandomPoints::ShowState() {
  txtNPnts->Enable(optTotal->value);
  txtExactCnt->Enable(optPoly->value);
  txtDens->Enable(optDens->value);
  cmbFld->Enable(optFld->value);
  cmbUID->Enable(!optTotal->value);
  txtMinDist->Enable(chkMinDist->value);
  optMinDistAll->enabled = chkMinDist->value;
  optMinDistWithin->enabled = chkMinDist->value && !optTotal->value;
}

void frmRandomPoints::CheckNumber() {
  const std::string& text = txtNPnts->text;
  if (text.empty() || (text.find('.') == std::string::npos && IsNumeric(text))) return;
  MessageBox("ERROR: value must be an integer.", kCritical, "Invalid Entry");
}

// ---- The run

void frmRandomPoints::GenRndPnt() {
  bool isDeclined = false;
  Run("GenRndPnt_OK", [&] {
    if (!IsRefused()) Generate(isDeclined);
  });
  // After a No the dialog stays as the run left it, disabled, with its status line; the run that
  // ends has enabled it.
  if (isDeclined) SetEnabled(false);
}

bool frmRandomPoints::IsRefused() const {
  const auto refuse = [](const std::string& text) {
    MessageBox(text, kCritical, "Error");
    return true;
  };
  if (cmbLayers->text().empty()) return refuse("ERROR: no layer selected.");
  if ((optTotal->value && txtNPnts->text().empty()) ||
      (optPoly->value && txtExactCnt->text().empty()))
    return refuse("ERROR: number of points to generate not defined.");
  if (optDens->value && txtDens->text().empty())
    return refuse("ERROR: density of points to generate not defined.");
  if (optFld->value && cmbFld->text().empty())
    return refuse("ERROR: attribute field (number of points to generate) not defined.");
  if (!optTotal->value && cmbUID->text().empty())
    return refuse(
        "ERROR: a unique ID field for the polygon layer must be specified for any of the "
        "stratified sampling options. Use the FID field if you have no other appropriate ID "
        "field.");
  if (chkMinDist->value && txtMinDist->text().empty())
    return refuse("ERROR: a minimum distance between points has not been specified.");
  if (txtOutput->text().empty()) return refuse("ERROR: output shapefile not defined.");
  return false;
}

void frmRandomPoints::Generate(bool& isDeclined) {
  const bool isRaster = optRaster->value;
  const bool isStratified = !isRaster && !optTotal->value;
  output_.name = CleanFileName(output_.name);
  const OutputChoice output = output_;  // whatever the user chooses in the meantime
  SeedGenerator();
  PointRules rules;
  if (chkMinDist->value) rules.spacing.emplace(ToDouble(txtMinDist->text()));

  SetEnabled(false);
  PBar->min = 0;
  PBar->SetValue(0);
  Status("Processing...");
  std::int32_t total = 0;
  if (optTotal->value) SetSteps(total = ToLong(ToDouble(txtNPnts->text())));

  std::shared_ptr<IFeatureLayer> polygons;
  std::shared_ptr<IRasterLayer> raster;
  SpatialReferencePtr reference;
  if (isRaster) {
    raster = GetRasterLayerByName(cmbLayers->text);
    reference = raster->Dataset().SpatialReference();
  } else {
    polygons = GetFeatureLayerByName(cmbLayers->text);
    reference = polygons->FeatureClass().SpatialReference();
  }
  const FeatureClassPtr points = CreateShapefile(output.folder, output.name, GeometryType::kPoint,
                                                 false, false, reference, false);
  if (!points) {
    MessageBox(
        "ERROR: unable to create shapefile. Please check the folder name, folder permissions,\r"
        "new shapefile name and try again.",
        kCritical, "Error");
    return Status("");
  }
  int idField = -1, sourceField = -1;
  if (isStratified) {
    sourceField = polygons->FeatureClass().FindField(cmbUID->text());
    idField = AddIdField(polygons->FeatureClass(), *points);
  }
  const bool stepsArePolygons = optDens->value || optFld->value;
  PointInserter inserter(
      *points, idField, sourceField,
      stepsArePolygons ? PointInserter::Steps::kPolygons : PointInserter::Steps::kPoints, *PBar);

  std::shared_ptr<IFeatureLayer> excluded;
  if (chkPrevent->value) {
    excluded = GetFeatureLayerByName(cmbPreventL->text);
    isDeclined = !Ask(
        "Warning: you have specified a layer containing features in which random points\r"
        "will not be placed. If the features in this layer cover all of the space in which random "
        "points\r"
        "could be generated, this program will enter an infinite loop. Continue?",
        "Warning");
    if (isDeclined) return;
    rules.excluded = &excluded->FeatureClass();
  }

  SamplingEnd end;
  if (isRaster) {
    end = SampleRaster(raster->Dataset().Band(0),
                       {.keepOffNoData = chkPreventNoData->value, .weighted = chkWeighted->value},
                       total, rules, inserter);
  } else if (isStratified) {
    end = SampleByPolygon(*polygons, rules, inserter);
  } else {
    end = SampleLayer(*polygons, chkUseSelected->value, total, rules, inserter);
  }
  if (end == SamplingEnd::kNoShape) {
    MessageBox("Error: a geometry error has occured. Cannot continue.", kCritical, "Error");
    return Status("");
  }

  inserter.Flush();
  AddLayerToMap(points, output.name);
  if (end == SamplingEnd::kGaveUp) {
    MessageBox(
        "Warning: unable to generate random points in a reasonable number of iterations. This "
        "could be due to 1) widely separated multi-part polygons, b) very long, thin polygon "
        "shape, c) geometry errors, d) the minimum distance between points options. Please check "
        "the output of this tool carefully!",
        kExclamation, "Warning");
  } else {
    MessageBox("Processing complete", kInformation, "Status");
  }
  Unload();
}

/// A field of the new class for the ID of each point's polygon, after the polygons' own field. An
/// object identifier cannot keep its name there.
int frmRandomPoints::AddIdField(const IFeatureClass& polygons, IFeatureClass& points) const {
  const std::string name = cmbUID->text;
  if (EqualNoCase(name, "FID") || EqualNoCase(name, "ID"))
    return AddNewField(name + "Ref", points, FieldType::kInteger, 0, 0);
  const Field& source = polygons.Fields().At(polygons.FindField(name));
  return AddNewField(source.name, points, source.type, source.length, source.precision);
}

/// A bar cannot end before it begins.
void frmRandomPoints::SetSteps(std::int32_t steps) {
  if (steps < 0) throw RuntimeError(ErrorNumber::kInvalidCall);
  PBar->max = static_cast<float>(steps);
}

SamplingEnd frmRandomPoints::SampleByPolygon(const IFeatureLayer& polygons, PointRules& rules,
                                             PointSink& sink) {
  const bool useSelected = chkUseSelected->value;
  const std::int32_t count = ToLong(static_cast<double>(
      useSelected ? polygons.SelectionSet().Count() : polygons.FeatureClass().FeatureCount()));
  StratifiedDesign design;
  design.distanceAmongAll = optMinDistAll->value;
  design.fieldsRead = {cmbUID->text};
  if (optPoly->value) {
    design.by = StratifiedDesign::By::kCount;
    design.count = ToLong(ToDouble(txtExactCnt->text()));
    SetSteps(Multiply(design.count, count));
  } else if (optDens->value) {
    design.by = StratifiedDesign::By::kDensity;
    design.density = ToDouble(txtDens->text());
    SetSteps(count);
  } else {
    design.by = StratifiedDesign::By::kField;
    design.field = polygons.FeatureClass().FindField(cmbFld->text());
    design.fieldsRead.push_back(cmbFld->text);
    SetSteps(count);
  }
  return SampleEachPolygon(polygons, useSelected, design, rules, sink);
}

}  // namespace orlinths
