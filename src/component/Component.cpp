#include "component/Component.h"

#include <memory>

#include "host/Commands.h"
#include "kernel/BatchKernel.h"
#include "kernel/KernelEstimator.h"
#include "kernel/PercentVolumeContours.h"
#include "movement/ConvexPolygons.h"
#include "movement/LocationsToPaths.h"
#include "movement/MovementParameters.h"
#include "overlay/IntersectPoints.h"
#include "raster/ZonalStats.h"
#include "sampling/RandomPoints.h"
#include "tables/AddArea.h"
#include "tables/AddLength.h"
#include "tables/AddXY.h"
#include "tables/DeleteFields.h"
#include "tables/SumValues.h"
#include "tables/UniqueValues.h"

namespace orlinths {
namespace {

struct Tool {
  const char* dialog;
  std::unique_ptr<Dialog> (*make)();
};

template <class T>
std::unique_ptr<Dialog> Make() {
  return std::make_unique<T>();
}

/// One line a tool, folder by folder.
constexpr Tool kTools[] = {
    {"frmISectPnt", Make<frmISectPnt>},
    {"frmPctVolContour", Make<frmPctVolContour>},
    {"frmBatchKernel", Make<frmBatchKernel>},
    {"frmKernel", Make<frmKernel>},
    {"frmLocsToPath", Make<frmLocsToPath>},
    {"frmMCP", Make<frmMCP>},
    {"frmMoveParamsSimple", Make<frmMoveParamsSimple>},
    {"frmZonalStats", Make<frmZonalStats>},
    {"frmRandomPoints", Make<frmRandomPoints>},
    {"frmAddArea", Make<frmAddArea>},
    {"frmAddLength", Make<frmAddLength>},
    {"frmAddXY", Make<frmAddXY>},
    {"frmUV", Make<frmUV>},
    {"frmSumValues", Make<frmSumValues>},
    {"frmDeleteFlds", Make<frmDeleteFlds>},
};

}  // namespace

void RegisterTools() {
  for (const Tool& tool : kTools) RegisterDialog(tool.dialog, tool.make);
}

}  // namespace orlinths
