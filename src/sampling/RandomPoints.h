// A new point shapefile of random places in polygons or in the extent of a raster.
#pragma once

#include <memory>
#include <string>

#include "data/Layers.h"
#include "host/Dialog.h"
#include "host/Pickers.h"
#include "sampling/RandomPointSampler.h"

namespace orlinths {

class frmRandomPoints : public Dialog {
 public:
  frmRandomPoints();

 private:
  void OnLoad() override;
  int optionPoly();
  int optionRaster();
  int StartMode(bool isRaster);
  void ChoosePolygonMode();
  void ChooseRasterMode();
  void ChooseLayer();
  void ChooseDesign();
  void ShowState();
  void CheckNumber();

  void GenRndPnt();
  bool IsRefused() const;
  void Generate(bool& isDeclined);
  FeatureClassPtr CreateOutput(const std::string& name, SpatialReferencePtr reference) const;
  int AddIdField(const IFeatureClass& polygons, IFeatureClass& points) const;
  void SetSteps(std::int32_t steps);
  SamplingEnd SampleByPolygon(const IFeatureLayer& polygons, PointRules& rules, PointSink& sink);

  OptionButton *optPolygon, *optRaster;
  ComboBox* cmbLayers;
  CheckBox *chkUseSelected, *chkPreventNoData, *chkWeighted, *chkPrevent;
  ComboBox* cmbPreventL;
  OptionButton* optTotal;
  TextBox* txtNPnts;
  OptionButton* optPoly;
  TextBox* txtExactCnt;
  OptionButton* optDens;
  TextBox* txtDens;
  OptionButton* optFld;
  ComboBox *cmbFld, *cmbUID;
  CheckBox* chkMinDist;
  TextBox* txtMinDist;
  OptionButton *optMinDistAll, *optMinDistWithin;
  TextBox* txtOutput;
  Button* btnFolder;
  ProgressBar* PBar;
  Button* btnOK;

  /// Kept while the process lives. The folder is that of the layer chosen last or of the save
  /// dialog, whichever came later.
  OutputChoice output_{"", "rndpnt.shp"};
};

}  // namespace orlinths
