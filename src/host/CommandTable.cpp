#include "host/Commands.h"
#include "runtime/Files.h"

#include <algorithm>

namespace orlinths {
namespace {

constexpr char kSame[] = "\x01";       // the caption's text
constexpr char kAsTooltip[] = "\x02";  // the tooltip's text

// Class, name, caption, tooltip, message, dialog, picture.
constexpr CommandInfo kCommands[] = {
    {"clsAbout", "OrlinthsTools_About", "About...", kSame, kSame, "frmAbout", "picLogo"},
    {"clsAddArea", "OrlinthsTools_AddArea", "Add AREA/PERIMETER Fields To Table (polygons)", kSame,
     "Command to add or update an area/perimeter field in a polygon attribute table.", "frmAddArea",
     "picAddArea"},
    {"clsAddLength", "OrlinthsTools_AddLength", "Add LENGTH Field To Table (arcs)",
     "Add LENGTH Field To Table",
     "Command to add or update a length field in a arc feature layer attribute table.",
     "frmAddLength", "picAddLength"},
    {"clsCSVTools", "OrlinthsTools_CSVTools", "CSV Management Tool", kSame, kSame, "frmCSVTools",
     "picCSVTools"},
    {"clsDelFlds", "OrlinthsTools_DelFlds", "Delete Multiple Fields",
     "Delete Multiple Fields (from attribute table)", kSame, "frmDeleteFlds", "picDelFlds"},
    {"clsExtrRastEdge", "OrlinthsTools_ExtrRastEdge", "Extract Raster Edge", kSame, kSame,
     "frmExtractRasterEdge", "picExtractRasterEdge"},
    {"clsFastLScape", "OrlinthsTools_FastLScape", "Landscape Characterization (fast roving window)",
     kSame, kSame, "frmLandscapeChar", "picFastLScape"},
    {"clsGenWalk", "OrlinthsTools_GenWalk", "CRW Simulator I (Simple)", kSame, kSame, "frmGenWalks",
     "picGenWalk"},
    {"clsISectPnt", "OrlinthsTools_ISectPnt", "Intersect Point Tool",
     "Intersect point layers with raster/polygon layers.", kAsTooltip, "frmISectPnt",
     "picISectPnt"},
    {"clsJulianDay", "OrlinthsTools_Julianday", "Julian Day Lookup", "Look up Julian Day",
     kAsTooltip, "frmJulianDay", "picJulianDay"},
    {"clsLinesInPolys", "OrlinthsTools_LinesInPolys", "Sum Line Lengths In Polygons", kSame, kSame,
     "frmLinesInPolys", "picLinesInPolys"},
    {"clsLocsToPath", "OrlinthsTools_LocsToPath", "Convert Locations To Paths (points to lines)",
     kSame, kSame, "frmLocsToPath", "picLocsToPath"},
    {"clsMCP", "OrlinthsTools_MCP", "Create Minimum Convex Polygons", kSame,
     "Create Minimum Convex Polygons from point data.", "frmMCP", "picMCP"},
    {"clsPathToPnts", "OrlinthsTools_PathToPnts", "Convert Paths To Points (lines to points)",
     "Convert Paths to Points (lines to points)", kAsTooltip, "frmPathToPnts", "picPathToPnts"},
    {"clsPntsInPoly", "OrlinthsTools_PntsInPoly", "Count Points In Polygons",
     "Count Points in Polygons", kAsTooltip, "frmPntPolyCnt", "picPntsInPoly"},
    {"clsRClip", "OrlinthsTools_ClipRaster", "Clip Raster", kSame, kSame, "frmClipRaster",
     "picRClip"},
    {"clsRegPnt", "OrlinthsTools_RegPnt", "Generate Regular Points",
     "Generate Regularly Spaced Points", kAsTooltip, "frmRegularPoints", "picRegPnt"},
    {"clsRndPnt", "OrlinthsTools_RndPnt", "Generate Random Points", "Generate random points.",
     kAsTooltip, "frmRandomPoints", "picRndPnt"},
    {"clsRndSel", "OrlinthsTools_RndSel", "Create Random Selection", kSame, kSame, "frmRndSel",
     "picRndSel"},
    {"clsRstTypeConv", "OrlinthsTools_RstTypeConv", "Raster Data Type Conversion", kSame, kSame,
     "frmRstTypeConv", "picRstTypeConv"},
    {"clsLineMetrics", "OrlinthsTools_LineMetrics", "Line Metrics", kSame, kSame, "frmLineMetrics",
     "picSinuousity"},
    {"clsSpatReplace", "OrlinthsTools_SpatialReplace",
     "Spatial Replace (recode raster cells spatially)", kSame, kSame, "frmSpatReplace",
     "picSpatReplace"},
    {"clsSumItem", "OrlinthsTools_SumItem", "Sum Records",
     "Sum records for a numerical attribute field.", kAsTooltip, "frmSumValues", "picSumItem"},
    {"clsThemRastSum", "OrlinthsTools_ThemRastSum", "Thematic Raster Summary (by polygon)",
     "Thematic Raster Summary", kAsTooltip, "frmThemRastSum", "picThemRastSum"},
    {"clsUnVal", "OrlinthsTools_UnVal", "List Unique Values",
     "List unique values for a field in an attribute table.", kAsTooltip, "frmUV", "picUV"},
    {"clsXYAdd", "OrlinthsTools_XYAdd", "Add XY To Table (points)",
     "Add X,Y Coordinate Fields To Table",
     "Command to add or update X and Y coordinate fields to the attribute table.", "frmAddXY",
     "picXYadd"},
    {"clsDigitise", "Get Coordinates Tool", "Get Coordinates Tool", kSame, kSame, "",
     "picCrosshairs"},
    {"clsGridSep", "OrlinthsTools_GridSep", "Maximum Grid Separation Tool", kSame, kSame,
     "frmMaxDistGridVals", "picGridSep"},
    {"clsAddXYLineData", "OrlinthsTools_AddXYLineData", "Add XY Line Data From Table", kSame, kSame,
     "frmAddXYLineData", "picAddXYLineData"},
    {"clsCreateVectorGrid", "OrlinthsTools_CreateVectorGrid", "Create Vector Grid (line/polygon)",
     kSame, kSame, "frmCreateVectorGrid", "picCreateVectorGrid"},
    {"clsSnapPntsToLines", "OrlinthsTools_SnapPntsToLines", "Snap Points To Lines Tool", kSame,
     kSame, "frmSnapPntsToLines", "picSnapPntsToLines"},
    {"clsRiverSampling", "OrlinthsTools_RiverSampling", "River Sample Extraction Tool", kSame,
     kSame, "frmRiverSampling", "picRiverSampling"},
    {"clsPntDistMatrix", "OrlinthsTools_DistanceBetweenPoints",
     "Distances Between Points (Within Layer)", kSame, kSame, "frmPntDistMatrix",
     "picPntDistMatrix"},
    {"clsViewExtentSet", "Set View Extent Bookmark", "Set View Extent Bookmark", kSame, kSame, "",
     "picViewExtentSet"},
    {"clsViewExtentZoom", "Zoom To View Extent Bookmark", "Zoom To View Extent Bookmark", kSame,
     kSame, "", "picViewExtentZoom"},
    {"clsZonalStats", "OrlinthsTools_ZonalStats", "Zonal Statistics (++)", kSame, kSame,
     "frmZonalStats", "picZonalStats"},
    {"clsBuffer", "OrlinthsTools_Buffer", "Buffer Features (Retain Attributes)", kSame, kSame,
     "frmBuffer", "picBuffer"},
    {"clsISectLines", "OrlinthsTools_ISectLines", "Intersect Lines (Make Points)", kSame, kSame,
     "frmISectLines", "picISectLines"},
    {"clsPolyInPoly", "OrlinthsTools_PolyInPoly", "Polygon In Polygon Analysis", kSame, kSame,
     "frmPolyInPoly", "picPolyInPoly"},
    {"clsMoveParamsSimple", "OrlinthsTools_MoveParamsSimple", "Calculate Movement Parameters",
     kSame, kSame, "frmMoveParamsSimple", "picMoveParamsSimple"},
    {"clsEnumFeatures", "OrlinthsTools_EnumFeatures", "Enumerate Intersecting Features", kSame,
     kSame, "frmEnumFeatures", "picEnumFeatures"},
    {"clsClipRasterByPolys", "OrlinthsTools_ClipRaster", "Clip Raster By Polygons", kSame, kSame,
     "frmClipRasterByPolys", "picRClipByPolys"},
    {"clsSnapPolysToPnts", "OrlinthsTools_SnapPolysToPnts", "Snap Polygons To Points Tool", kSame,
     kSame, "frmSnapPolysToPnts", "picSnapPolysToPnts"},
    {"clsGridSpread", "OrlinthsTools_GridSpread", "Grid Spread (Cellular Automata)", kSame, kSame,
     "frmGridSpread", "picGridSpread"},
    {"clsCRWSimRaster", "OrlinthsTools_GenWalk", "CRW Simulator II", kSame, kSame,
     "frmCRWSimRaster", "picCRWII"},
    {"clsPntDistBetw", "OrlinthsTools_DistanceBetweenPoints",
     "Distances Between Points (Between Layers)", kSame, kSame, "frmPntDistBetw", "picPntDistBetw"},
    {"clsSpecPntRedistrib", "OrlinthsTools_PntRedistribTool", "Point Redistribution Tool", kSame,
     kSame, "frmSpecPntRedistrib", "picPntRedistrib"},
    {"clsConditionalSampling", "OrlinthsTools_ConditionalSampling",
     "Conditional Point Sampling Tool", kSame, kSame, "frmConditionalSampling",
     "picConditionalSampling"},
    {"clsLineRasterStats", "OrlinthsTools_LineRasterStats", "Line Raster Intersection Statistics",
     kSame, kSame, "frmLineRasterStats", "picLineRasterStats"},
    {"clsKernel", "OrlinthsTools_Kernel", "Fixed Kernel Density Estimator", kSame, kSame,
     "frmKernel", "picKDE"},
    {"clsBatchKernel", "OrlinthsTools_BatchKernel", "Batch Fixed Kernel Density Estimator", kSame,
     kSame, "frmBatchKernel", "picBKDE"},
    {"clsPctVolContour", "OrlinthsTools_PctVolContour", "Percent Volume Contour", kSame, kSame,
     "frmPctVolContour", "picPctVolContour"},
    {"clsPLSSPntFinder", "OrlinthsTools_PLSSPntFinder", "PLSS Point Finder", kSame, kSame,
     "frmPLSSPntFinder", "picPLSSPntFinder"},
    {"clsVectorRotation", "OrlinthsTools_VectorRotation", "Vector Rotation And Shifting",
     "Vector feature rotation and shifting", kAsTooltip, "frmVectorRotation", "picRotate"},
    {"clsSamplingShapes", "OrlinthsTools_CreateSamplePlots", "Create Sample Plots (various shapes)",
     kSame, kSame, "frmSamplingShapes", "picSamplingShapes"},
    {"clsRndPnt3D", "OrlinthsTools_RndPnt3D", "Generate Random 3D Points", kSame, kSame,
     "frmRnd3DPnt", "picRndPnt3D"},
};

CommandInfo Resolved(CommandInfo row) {
  if (row.tooltip == kSame) row.tooltip = row.caption;
  if (row.message == kSame) row.message = row.caption;
  if (row.message == kAsTooltip) row.message = row.tooltip;
  return row;
}

}  // namespace

std::string ProgId(std::string_view className) {
  return std::string(kComponent) + '.' + std::string(className);
}

const std::vector<CommandInfo>& AllCommands() {
  static const std::vector<CommandInfo> commands = [] {
    std::vector<CommandInfo> all;
    for (const CommandInfo& row : kCommands) all.push_back(Resolved(row));
    return all;
  }();
  return commands;
}

const CommandInfo* FindCommand(std::string_view className) {
  const auto& all = AllCommands();
  const auto found = std::find_if(all.begin(), all.end(), [&](const CommandInfo& command) {
    return EqualNoCase(command.className, className);
  });
  return found == all.end() ? nullptr : &*found;
}

}  // namespace orlinths
