// Every string of every command, as users and other programs meet it.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "host/Commands.h"

namespace orlinths {
namespace {

// Class, name, caption, tooltip, message, dialog, picture.
constexpr CommandInfo kWanted[] = {
    {"clsAbout", "OrlinthsTools_About", "About...", "About...", "About...", "frmAbout", "picLogo"},
    {"clsAddArea", "OrlinthsTools_AddArea", "Add AREA/PERIMETER Fields To Table (polygons)",
     "Add AREA/PERIMETER Fields To Table (polygons)",
     "Command to add or update an area/perimeter field in a polygon attribute table.", "frmAddArea",
     "picAddArea"},
    {"clsAddLength", "OrlinthsTools_AddLength", "Add LENGTH Field To Table (arcs)",
     "Add LENGTH Field To Table",
     "Command to add or update a length field in a arc feature layer attribute table.",
     "frmAddLength", "picAddLength"},
    {"clsCSVTools", "OrlinthsTools_CSVTools", "CSV Management Tool", "CSV Management Tool",
     "CSV Management Tool", "frmCSVTools", "picCSVTools"},
    {"clsDelFlds", "OrlinthsTools_DelFlds", "Delete Multiple Fields",
     "Delete Multiple Fields (from attribute table)", "Delete Multiple Fields", "frmDeleteFlds",
     "picDelFlds"},
    {"clsExtrRastEdge", "OrlinthsTools_ExtrRastEdge", "Extract Raster Edge", "Extract Raster Edge",
     "Extract Raster Edge", "frmExtractRasterEdge", "picExtractRasterEdge"},
    {"clsFastLScape", "OrlinthsTools_FastLScape", "Landscape Characterization (fast roving window)",
     "Landscape Characterization (fast roving window)",
     "Landscape Characterization (fast roving window)", "frmLandscapeChar", "picFastLScape"},
    {"clsGenWalk", "OrlinthsTools_GenWalk", "CRW Simulator I (Simple)", "CRW Simulator I (Simple)",
     "CRW Simulator I (Simple)", "frmGenWalks", "picGenWalk"},
    {"clsISectPnt", "OrlinthsTools_ISectPnt", "Intersect Point Tool",
     "Intersect point layers with raster/polygon layers.",
     "Intersect point layers with raster/polygon layers.", "frmISectPnt", "picISectPnt"},
    {"clsJulianDay", "OrlinthsTools_Julianday", "Julian Day Lookup", "Look up Julian Day",
     "Look up Julian Day", "frmJulianDay", "picJulianDay"},
    {"clsLinesInPolys", "OrlinthsTools_LinesInPolys", "Sum Line Lengths In Polygons",
     "Sum Line Lengths In Polygons", "Sum Line Lengths In Polygons", "frmLinesInPolys",
     "picLinesInPolys"},
    {"clsLocsToPath", "OrlinthsTools_LocsToPath", "Convert Locations To Paths (points to lines)",
     "Convert Locations To Paths (points to lines)", "Convert Locations To Paths (points to lines)",
     "frmLocsToPath", "picLocsToPath"},
    {"clsMCP", "OrlinthsTools_MCP", "Create Minimum Convex Polygons",
     "Create Minimum Convex Polygons", "Create Minimum Convex Polygons from point data.", "frmMCP",
     "picMCP"},
    {"clsPathToPnts", "OrlinthsTools_PathToPnts", "Convert Paths To Points (lines to points)",
     "Convert Paths to Points (lines to points)", "Convert Paths to Points (lines to points)",
     "frmPathToPnts", "picPathToPnts"},
    {"clsPntsInPoly", "OrlinthsTools_PntsInPoly", "Count Points In Polygons",
     "Count Points in Polygons", "Count Points in Polygons", "frmPntPolyCnt", "picPntsInPoly"},
    {"clsRClip", "OrlinthsTools_ClipRaster", "Clip Raster", "Clip Raster", "Clip Raster",
     "frmClipRaster", "picRClip"},
    {"clsRegPnt", "OrlinthsTools_RegPnt", "Generate Regular Points",
     "Generate Regularly Spaced Points", "Generate Regularly Spaced Points", "frmRegularPoints",
     "picRegPnt"},
    {"clsRndPnt", "OrlinthsTools_RndPnt", "Generate Random Points", "Generate random points.",
     "Generate random points.", "frmRandomPoints", "picRndPnt"},
    {"clsRndSel", "OrlinthsTools_RndSel", "Create Random Selection", "Create Random Selection",
     "Create Random Selection", "frmRndSel", "picRndSel"},
    {"clsRstTypeConv", "OrlinthsTools_RstTypeConv", "Raster Data Type Conversion",
     "Raster Data Type Conversion", "Raster Data Type Conversion", "frmRstTypeConv",
     "picRstTypeConv"},
    {"clsLineMetrics", "OrlinthsTools_LineMetrics", "Line Metrics", "Line Metrics", "Line Metrics",
     "frmLineMetrics", "picSinuousity"},
    {"clsSpatReplace", "OrlinthsTools_SpatialReplace",
     "Spatial Replace (recode raster cells spatially)",
     "Spatial Replace (recode raster cells spatially)",
     "Spatial Replace (recode raster cells spatially)", "frmSpatReplace", "picSpatReplace"},
    {"clsSumItem", "OrlinthsTools_SumItem", "Sum Records",
     "Sum records for a numerical attribute field.", "Sum records for a numerical attribute field.",
     "frmSumValues", "picSumItem"},
    {"clsThemRastSum", "OrlinthsTools_ThemRastSum", "Thematic Raster Summary (by polygon)",
     "Thematic Raster Summary", "Thematic Raster Summary", "frmThemRastSum", "picThemRastSum"},
    {"clsUnVal", "OrlinthsTools_UnVal", "List Unique Values",
     "List unique values for a field in an attribute table.",
     "List unique values for a field in an attribute table.", "frmUV", "picUV"},
    {"clsXYAdd", "OrlinthsTools_XYAdd", "Add XY To Table (points)",
     "Add X,Y Coordinate Fields To Table",
     "Command to add or update X and Y coordinate fields to the attribute table.", "frmAddXY",
     "picXYadd"},
    {"clsDigitise", "Get Coordinates Tool", "Get Coordinates Tool", "Get Coordinates Tool",
     "Get Coordinates Tool", "", "picCrosshairs"},
    {"clsGridSep", "OrlinthsTools_GridSep", "Maximum Grid Separation Tool",
     "Maximum Grid Separation Tool", "Maximum Grid Separation Tool", "frmMaxDistGridVals",
     "picGridSep"},
    {"clsAddXYLineData", "OrlinthsTools_AddXYLineData", "Add XY Line Data From Table",
     "Add XY Line Data From Table", "Add XY Line Data From Table", "frmAddXYLineData",
     "picAddXYLineData"},
    {"clsCreateVectorGrid", "OrlinthsTools_CreateVectorGrid", "Create Vector Grid (line/polygon)",
     "Create Vector Grid (line/polygon)", "Create Vector Grid (line/polygon)",
     "frmCreateVectorGrid", "picCreateVectorGrid"},
    {"clsSnapPntsToLines", "OrlinthsTools_SnapPntsToLines", "Snap Points To Lines Tool",
     "Snap Points To Lines Tool", "Snap Points To Lines Tool", "frmSnapPntsToLines",
     "picSnapPntsToLines"},
    {"clsRiverSampling", "OrlinthsTools_RiverSampling", "River Sample Extraction Tool",
     "River Sample Extraction Tool", "River Sample Extraction Tool", "frmRiverSampling",
     "picRiverSampling"},
    {"clsPntDistMatrix", "OrlinthsTools_DistanceBetweenPoints",
     "Distances Between Points (Within Layer)", "Distances Between Points (Within Layer)",
     "Distances Between Points (Within Layer)", "frmPntDistMatrix", "picPntDistMatrix"},
    {"clsViewExtentSet", "Set View Extent Bookmark", "Set View Extent Bookmark",
     "Set View Extent Bookmark", "Set View Extent Bookmark", "", "picViewExtentSet"},
    {"clsViewExtentZoom", "Zoom To View Extent Bookmark", "Zoom To View Extent Bookmark",
     "Zoom To View Extent Bookmark", "Zoom To View Extent Bookmark", "", "picViewExtentZoom"},
    {"clsZonalStats", "OrlinthsTools_ZonalStats", "Zonal Statistics (++)", "Zonal Statistics (++)",
     "Zonal Statistics (++)", "frmZonalStats", "picZonalStats"},
    {"clsBuffer", "OrlinthsTools_Buffer", "Buffer Features (Retain Attributes)",
     "Buffer Features (Retain Attributes)", "Buffer Features (Retain Attributes)", "frmBuffer",
     "picBuffer"},
    {"clsISectLines", "OrlinthsTools_ISectLines", "Intersect Lines (Make Points)",
     "Intersect Lines (Make Points)", "Intersect Lines (Make Points)", "frmISectLines",
     "picISectLines"},
    {"clsPolyInPoly", "OrlinthsTools_PolyInPoly", "Polygon In Polygon Analysis",
     "Polygon In Polygon Analysis", "Polygon In Polygon Analysis", "frmPolyInPoly",
     "picPolyInPoly"},
    {"clsMoveParamsSimple", "OrlinthsTools_MoveParamsSimple", "Calculate Movement Parameters",
     "Calculate Movement Parameters", "Calculate Movement Parameters", "frmMoveParamsSimple",
     "picMoveParamsSimple"},
    {"clsEnumFeatures", "OrlinthsTools_EnumFeatures", "Enumerate Intersecting Features",
     "Enumerate Intersecting Features", "Enumerate Intersecting Features", "frmEnumFeatures",
     "picEnumFeatures"},
    {"clsClipRasterByPolys", "OrlinthsTools_ClipRaster", "Clip Raster By Polygons",
     "Clip Raster By Polygons", "Clip Raster By Polygons", "frmClipRasterByPolys",
     "picRClipByPolys"},
    {"clsSnapPolysToPnts", "OrlinthsTools_SnapPolysToPnts", "Snap Polygons To Points Tool",
     "Snap Polygons To Points Tool", "Snap Polygons To Points Tool", "frmSnapPolysToPnts",
     "picSnapPolysToPnts"},
    {"clsGridSpread", "OrlinthsTools_GridSpread", "Grid Spread (Cellular Automata)",
     "Grid Spread (Cellular Automata)", "Grid Spread (Cellular Automata)", "frmGridSpread",
     "picGridSpread"},
    {"clsCRWSimRaster", "OrlinthsTools_GenWalk", "CRW Simulator II", "CRW Simulator II",
     "CRW Simulator II", "frmCRWSimRaster", "picCRWII"},
    {"clsPntDistBetw", "OrlinthsTools_DistanceBetweenPoints",
     "Distances Between Points (Between Layers)", "Distances Between Points (Between Layers)",
     "Distances Between Points (Between Layers)", "frmPntDistBetw", "picPntDistBetw"},
    {"clsSpecPntRedistrib", "OrlinthsTools_PntRedistribTool", "Point Redistribution Tool",
     "Point Redistribution Tool", "Point Redistribution Tool", "frmSpecPntRedistrib",
     "picPntRedistrib"},
    {"clsConditionalSampling", "OrlinthsTools_ConditionalSampling",
     "Conditional Point Sampling Tool", "Conditional Point Sampling Tool",
     "Conditional Point Sampling Tool", "frmConditionalSampling", "picConditionalSampling"},
    {"clsLineRasterStats", "OrlinthsTools_LineRasterStats", "Line Raster Intersection Statistics",
     "Line Raster Intersection Statistics", "Line Raster Intersection Statistics",
     "frmLineRasterStats", "picLineRasterStats"},
    {"clsKernel", "OrlinthsTools_Kernel", "Fixed Kernel Density Estimator",
     "Fixed Kernel Density Estimator", "Fixed Kernel Density Estimator", "frmKernel", "picKDE"},
    {"clsBatchKernel", "OrlinthsTools_BatchKernel", "Batch Fixed Kernel Density Estimator",
     "Batch Fixed Kernel Density Estimator", "Batch Fixed Kernel Density Estimator",
     "frmBatchKernel", "picBKDE"},
    {"clsPctVolContour", "OrlinthsTools_PctVolContour", "Percent Volume Contour",
     "Percent Volume Contour", "Percent Volume Contour", "frmPctVolContour", "picPctVolContour"},
    {"clsPLSSPntFinder", "OrlinthsTools_PLSSPntFinder", "PLSS Point Finder", "PLSS Point Finder",
     "PLSS Point Finder", "frmPLSSPntFinder", "picPLSSPntFinder"},
    {"clsVectorRotation", "OrlinthsTools_VectorRotation", "Vector Rotation And Shifting",
     "Vector feature rotation and shifting", "Vector feature rotation and shifting",
     "frmVectorRotation", "picRotate"},
    {"clsSamplingShapes", "OrlinthsTools_CreateSamplePlots", "Create Sample Plots (various shapes)",
     "Create Sample Plots (various shapes)", "Create Sample Plots (various shapes)",
     "frmSamplingShapes", "picSamplingShapes"},
    {"clsRndPnt3D", "OrlinthsTools_RndPnt3D", "Generate Random 3D Points",
     "Generate Random 3D Points", "Generate Random 3D Points", "frmRnd3DPnt", "picRndPnt3D"},
};

TEST(CommandTable, HoldsEveryStringToTheLetter) {
  const auto& commands = AllCommands();
  ASSERT_EQ(commands.size(), 56u);
  ASSERT_EQ(std::size(kWanted), 56u);
  for (std::size_t i = 0; i < commands.size(); ++i) {
    const CommandInfo &is = commands[i], &wanted = kWanted[i];
    EXPECT_STREQ(is.className, wanted.className);
    EXPECT_STREQ(is.name, wanted.name) << wanted.className;
    EXPECT_STREQ(is.caption, wanted.caption) << wanted.className;
    EXPECT_STREQ(is.tooltip, wanted.tooltip) << wanted.className;
    EXPECT_STREQ(is.message, wanted.message) << wanted.className;
    EXPECT_STREQ(is.dialog, wanted.dialog) << wanted.className;
    EXPECT_STREQ(is.bitmap, wanted.bitmap) << wanted.className;
  }
}

TEST(CommandTable, HasEveryClassAndEveryPictureOnce) {
  std::set<std::string> classes, pictures, dialogs;
  int withDialog = 0;
  for (const CommandInfo& command : AllCommands()) {
    classes.insert(command.className);
    pictures.insert(command.bitmap);
    if (*command.dialog == '\0') continue;
    ++withDialog;
    dialogs.insert(command.dialog);
  }
  EXPECT_EQ(classes.size(), 56u);
  EXPECT_EQ(pictures.size(), 56u);
  EXPECT_EQ(withDialog, 53);
  EXPECT_EQ(dialogs.size(), 53u);
}

TEST(CommandTable, SharesThreeNamesAndNoMore) {
  std::map<std::string, std::set<std::string>> classesOf;
  for (const CommandInfo& command : AllCommands())
    classesOf[command.name].insert(command.className);
  std::erase_if(classesOf, [](const auto& entry) { return entry.second.size() == 1; });
  const std::map<std::string, std::set<std::string>> wanted = {
      {"OrlinthsTools_GenWalk", {"clsGenWalk", "clsCRWSimRaster"}},
      {"OrlinthsTools_DistanceBetweenPoints", {"clsPntDistBetw", "clsPntDistMatrix"}},
      {"OrlinthsTools_ClipRaster", {"clsRClip", "clsClipRasterByPolys"}}};
  EXPECT_EQ(classesOf, wanted);
}

TEST(CommandTable, IsSearchedByClassWithoutRegardToCase) {
  ASSERT_NE(FindCommand("CLSrndpnt"), nullptr);
  EXPECT_STREQ(FindCommand("CLSrndpnt")->className, "clsRndPnt");
  EXPECT_EQ(FindCommand("OrlinthsTools_RndPnt"), nullptr) << "never by name";
  EXPECT_EQ(FindCommand(""), nullptr);
}

TEST(CommandTable, MakesProgIds) { EXPECT_EQ(ProgId("clsMCP"), "OrlinthsTools3.clsMCP"); }

}  // namespace
}  // namespace orlinths
