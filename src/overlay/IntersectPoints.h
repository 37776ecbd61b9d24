// The Intersect Point Tool: what lies under each point of a layer, in any number of polygon layers
// and rasters, written into the points' own table.
#pragma once

#include <string>

#include "data/Layers.h"
#include "host/Dialog.h"
#include "overlay/PointIntersection.h"

namespace orlinths {

class frmISectPnt : public Dialog {
 public:
  frmISectPnt();

 private:
  void OnLoad() override;
  void Intersect();
  void ShowProcessing(const std::string& layerName);
  void IntersectPolygons(const IFeatureLayer& points, IntersectReport& report);
  bool MayProceed(const IFeatureLayer& points, bool& mayAsk);
  void IntersectPolygonLayer(const IFeatureLayer& points, const IFeatureLayer& polygons,
                             IntersectReport& report);
  void IntersectRasters(const IFeatureLayer& points, IntersectReport& report);

  ComboBox* cmbInputLayer;
  ListBox *lstVector, *lstRaster;
  CheckBox *chkSR, *chkLowMem, *chkNoMsgs;
  TextBox* txtProgress;
  Button* btnOK;
};

}  // namespace orlinths
