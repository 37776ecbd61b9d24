#include "data/SpatialReference.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include <cpl_conv.h>
#include <ogr_spatialref.h>

#include "runtime/Ports.h"
#include "support/ErrorNumberOf.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

constexpr int kPlatform = static_cast<int>(ErrorNumber::kPlatform);

/// The definition of an EPSG code as another program writes it, with no authority in it.
std::string EsriText(int code) {
  OGRSpatialReference reference;
  EXPECT_EQ(reference.importFromEPSG(code), OGRERR_NONE);
  const char* const options[] = {"FORMAT=WKT1_ESRI", nullptr};
  char* text = nullptr;
  EXPECT_EQ(reference.exportToWkt(&text, options), OGRERR_NONE);
  const std::string result = text;
  CPLFree(text);
  return result;
}

// --- names and codes

TEST(SpatialReference, OfNoTextIsUnknown) {
  for (const char* text : {"", " \r\n\t"}) {
    const auto reference = SpatialReferenceFromText(text);
    EXPECT_TRUE(reference->IsUnknown());
    EXPECT_EQ(reference->Name(), "Unknown Coordinate System");
    EXPECT_EQ(reference->FactoryCode(), 0);
    EXPECT_EQ(reference->Wkt(), "");
  }
}

TEST(SpatialReference, NamesAnEpsgCode) {
  const auto reference = SpatialReferenceFromText("EPSG:2169");
  EXPECT_EQ(reference->FactoryCode(), 2169);
  EXPECT_EQ(reference->Name(), "LUREF / Luxembourg TM");
  EXPECT_FALSE(reference->IsUnknown());
}

TEST(SpatialReference, ReadsItsOwnWkt) {
  for (const char* text : {"EPSG:4326", "EPSG:2169", "EPSG:5070"}) {
    const auto reference = SpatialReferenceFromText(text);
    const auto again = SpatialReferenceFromText(reference->Wkt());
    EXPECT_EQ(again->FactoryCode(), reference->FactoryCode());
    EXPECT_EQ(again->Name(), reference->Name());
    EXPECT_EQ(again->Wkt(), reference->Wkt());
  }
}

TEST(SpatialReference, RecognisesThePrjOfAnotherProgram) {
  for (const int code : {4326, 4269,  4258,  3857, 3395,  32633, 32736, 26912, 25832, 5070,
                         3310, 32119, 27700, 2169, 31370, 2154,  28992, 3035,  2193,  31467})
    EXPECT_EQ(SpatialReferenceFromText(EsriText(code))->FactoryCode(), code);
}

TEST(SpatialReference, RecognisesTypedDefinitions) {
  const std::string geographic =
      "GEOGCS[\"GCS_WGS_1984\",DATUM[\"D_WGS_1984\",SPHEROID[\"WGS_1984\",6378137,298.257223563]],"
      "PRIMEM[\"Greenwich\",0],UNIT[\"Degree\",0.017453292519943295]]";
  EXPECT_EQ(SpatialReferenceFromText(geographic + "\r\n")->FactoryCode(), 4326);

  const auto utm = [&](const std::string& name, const std::string& easting) {
    return "PROJCS[\"" + name + "\"," + geographic +
           ",PROJECTION[\"Transverse_Mercator\"],PARAMETER[\"False_Easting\"," + easting +
           "],PARAMETER[\"False_Northing\",0],PARAMETER[\"Central_Meridian\",15],"
           "PARAMETER[\"Scale_Factor\",0.9996],PARAMETER[\"Latitude_Of_Origin\",0],UNIT[\"Meter\","
           "1]]";
  };
  EXPECT_EQ(SpatialReferenceFromText(utm("WGS_1984_UTM_Zone_33N", "500000"))->FactoryCode(), 32633);
  EXPECT_EQ(SpatialReferenceFromText(utm("Field station grid", "500000"))->FactoryCode(), 32633)
      << "the same under a name of its own";
  EXPECT_EQ(SpatialReferenceFromText(utm("WGS_1984_UTM_Zone_33N", "500001"))->FactoryCode(), 0)
      << "another definition under the known name";
}

TEST(SpatialReference, KnowsNoCodeForACustomProjection) {
  const auto custom = SpatialReferenceFromText(
      "+proj=tmerc +lat_0=0 +lon_0=12.3 +k=0.9993 +x_0=500000 +y_0=0 +datum=WGS84 +units=m");
  EXPECT_EQ(custom->FactoryCode(), 0);
  EXPECT_FALSE(custom->IsUnknown());
  EXPECT_EQ(SpatialReferenceFromText("+proj=utm +zone=33 +datum=WGS84")->FactoryCode(), 32633);
  EXPECT_EQ(SpatialReferenceFromText("ESRI:102003")->FactoryCode(), 0) << "no EPSG code";
}

TEST(SpatialReference, KnowsNoCodeWhereSeveralFitEquallyWell) {
  EXPECT_EQ(SpatialReferenceFromText("+proj=utm +zone=33 +ellps=GRS80 +towgs84=0,0,0,0,0,0,0")
                ->FactoryCode(),
            0);
}

TEST(SpatialReference, TakesTheNameFromTheDefinition) {
  EXPECT_EQ(SpatialReferenceFromText("LOCAL_CS[\"Quarry grid\",UNIT[\"metre\",1]]")->Name(),
            "Quarry grid");
}

TEST(SpatialReference, ReadsOldPrjLines) {
  const auto old = SpatialReferenceFromText(
      "Projection UTM\r\nDatum WGS84\r\nZunits NO\r\nUnits METERS\r\nZone 33\r\nParameters\r\n");
  EXPECT_EQ(old->FactoryCode(), 32633);
  EXPECT_FALSE(old->IsUnknown());
}

TEST(SpatialReference, RaisesAPlatformErrorForOtherText) {
  EXPECT_EQ(ErrorNumberOf([] { SpatialReferenceFromText("nonsense"); }), kPlatform);
  EXPECT_EQ(ErrorNumberOf([] { SpatialReferenceFromText("EPSG:999999"); }), kPlatform);
  EXPECT_NE(ErrorTextOf([] { SpatialReferenceFromText("EPSG:999999"); }).find("crs not found"),
            std::string::npos);
  EXPECT_NE(ErrorTextOf([] { SpatialReferenceFromText("nonsense"); }), "");
}

TEST(SpatialReference, OpensNoFileThatATextNames) {
  EXPECT_EQ(ErrorNumberOf([] { SpatialReferenceFromText("/etc/hostname"); }), kPlatform);
}

TEST(SpatialReference, SaysNothingOnTheErrorStream) {
  testing::internal::CaptureStderr();
  ErrorNumberOf([] { SpatialReferenceFromText("EPSG:999999"); });
  ErrorNumberOf([] { SpatialReferenceFromText("PROJCS[\"half"); });
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// --- projections

TEST(Project, PutsXBeforeY) {
  // Snyder's formulas at the central meridian of zone 33: easting 500 000 exactly.
  const auto projection = MakeProjection(*SpatialReferenceFromText("EPSG:4326"),
                                         *SpatialReferenceFromText("EPSG:32633"));
  Point point{.x = 15, .y = 0};
  Project(point, *projection);
  EXPECT_NEAR(point.x, 500000, 1e-6);
  EXPECT_NEAR(point.y, 0, 1e-6);
  Point north{.x = 15, .y = 1};
  Project(north, *projection);
  // 0.9996 of the meridian arc of one degree on WGS 84: 110 574.3886 m.
  EXPECT_NEAR(north.y, 0.9996 * 110574.3886, 0.01);
}

TEST(Project, PutsXBeforeYWhereTheAuthorityPutsNorthingFirst) {
  // LUREF's grid has its origin of x 80 000, y 100 000 at 49.8333 N, 6.1666 E.
  const auto luref = SpatialReferenceFromText("EPSG:2169");
  const auto geographic = SpatialReferenceFromText("EPSG:4181");
  const auto projection = MakeProjection(*geographic, *luref);
  Point point{.x = 6 + 1.0 / 6, .y = 49 + 5.0 / 6};
  Project(point, *projection);
  EXPECT_NEAR(point.x, 80000, 1e-3);
  EXPECT_NEAR(point.y, 100000, 1e-3);
}

TEST(Project, ThereAndBackIsTheSamePlace) {
  const auto a = SpatialReferenceFromText("EPSG:32633");
  const auto b = SpatialReferenceFromText("EPSG:3035");
  const Geometry before =
      Wkt("MULTILINESTRING((400000 5500000 7, 500000 5600000 8), (450000 5450000 9, 1 1 1))");
  Geometry shape = before;
  Project(shape, *MakeProjection(*a, *b));
  EXPECT_NE(shape, before);
  Project(shape, *MakeProjection(*b, *a));
  for (std::int64_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(shape.AsPolyline().PointAt(i).x, before.AsPolyline().PointAt(i).x, 1e-3);
    EXPECT_NEAR(shape.AsPolyline().PointAt(i).y, before.AsPolyline().PointAt(i).y, 1e-3);
    EXPECT_EQ(shape.AsPolyline().PointAt(i).z, before.AsPolyline().PointAt(i).z);
  }
}

TEST(Project, LeavesCoordinatesAloneToTheBit) {
  const auto utm = SpatialReferenceFromText("EPSG:32633");
  const auto sameAsEsri = SpatialReferenceFromText(EsriText(32633));
  const auto unknown = UnknownCoordinateSystem();
  for (const auto& [from, to] :
       {std::pair(utm, unknown), std::pair(unknown, utm), std::pair(unknown, unknown),
        std::pair(utm, utm), std::pair(utm, sameAsEsri)}) {
    Geometry shape = Wkt("LINESTRING(0.1 1e300, 1e-300 -0.3)");
    Project(shape, *MakeProjection(*from, *to));
    EXPECT_EQ(shape, Wkt("LINESTRING(0.1 1e300, 1e-300 -0.3)"));
  }
}

TEST(Project, RaisesForWhatCannotBeProjectedAndKeepsTheRest) {
  const auto projection = MakeProjection(*SpatialReferenceFromText("EPSG:4326"),
                                         *SpatialReferenceFromText("EPSG:32633"));
  Coord coords[] = {{15, 0}, {15, 95}, {15, 1}};
  testing::internal::CaptureStderr();
  EXPECT_EQ(ErrorNumberOf([&] { projection->Apply(coords); }), kPlatform);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_NEAR(coords[0].x, 500000, 1e-6);
  EXPECT_EQ(coords[1], (Coord{15, 95}));
  EXPECT_EQ(coords[2], (Coord{15, 1}));
  const std::string said = ErrorTextOf([&] { projection->Apply(std::span(coords).subspan(1, 1)); });
  EXPECT_NE(said.find("Invalid latitude"), std::string::npos) << said;
}

TEST(Project, KeepsSayingWhyHoweverOftenItFails) {
  const auto projection = MakeProjection(*SpatialReferenceFromText("EPSG:4326"),
                                         *SpatialReferenceFromText("EPSG:32633"));
  for (int i = 0; i < 50; ++i) {
    Point bad{.x = 15, .y = 95};
    const std::string said = ErrorTextOf([&] { Project(bad, *projection); });
    ASSERT_NE(said.find("latitude"), std::string::npos) << i << ": " << said;
  }
}

TEST(Project, RaisesForCoordinatesThatAreNotFinite) {
  const auto projection = MakeProjection(*SpatialReferenceFromText("EPSG:4326"),
                                         *SpatialReferenceFromText("EPSG:32633"));
  for (const double bad : {Point::kNone, std::numeric_limits<double>::infinity()}) {
    Coord coord{15, bad};
    EXPECT_EQ(ErrorNumberOf([&] { projection->Apply({&coord, 1}); }), kPlatform);
  }
}

TEST(Project, LeavesTheEmptyEmpty) {
  const auto projection = MakeProjection(*SpatialReferenceFromText("EPSG:4326"),
                                         *SpatialReferenceFromText("EPSG:32633"));
  for (Geometry shape : {Geometry(), Geometry(Point()), Geometry(Polygon())}) {
    Project(shape, *projection);
    EXPECT_TRUE(shape.IsEmpty());
  }
}

TEST(Project, GoesThroughMoreCoordinatesThanOneBlock) {
  const auto projection = MakeProjection(*SpatialReferenceFromText("EPSG:4326"),
                                         *SpatialReferenceFromText("EPSG:32633"));
  std::vector<Coord> coords(10001, Coord{15, 0.5});
  projection->Apply(coords);
  EXPECT_EQ(coords.front(), coords.back());
  EXPECT_NEAR(coords.back().x, 500000, 1e-6);
}

TEST(Project, RaisesWhereThereIsNoWay) {
  EXPECT_EQ(ErrorNumberOf([] {
              MakeProjection(*SpatialReferenceFromText("EPSG:4326"),
                             *SpatialReferenceFromText("LOCAL_CS[\"Quarry\",UNIT[\"metre\",1]]"));
            }),
            kPlatform);
}

TEST(Project, RaisesEighteenAfterAStopRequest) {
  const auto projection = MakeProjection(*SpatialReferenceFromText("EPSG:4326"),
                                         *SpatialReferenceFromText("EPSG:32633"));
  RequestStop();
  Point point{.x = 15, .y = 0};
  EXPECT_EQ(ErrorNumberOf([&] { Project(point, *projection); }), 18);
  ClearStop();
  EXPECT_EQ(point.x, 15);
}

}  // namespace
}  // namespace orlinths
