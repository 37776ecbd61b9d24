#include "session/References.h"

#include <gmock/gmock.h>

#include "runtime/Trap.h"

namespace orlinths {
namespace {

using ::testing::HasSubstr;

TEST(References, AreNamedByCodeDefinitionOrTheNameOfNone) {
  EXPECT_EQ(ReferenceNamed("EPSG:32612")->FactoryCode(), 32612);
  EXPECT_EQ(ReferenceNamed("+proj=utm +zone=12 +datum=WGS84")->FactoryCode(), 32612);
  const std::string wkt = SpatialReferenceFromText("EPSG:2169")->Wkt();
  EXPECT_EQ(ReferenceNamed(wkt)->FactoryCode(), 2169);
  EXPECT_TRUE(ReferenceNamed("Unknown Coordinate System")->IsUnknown());
}

TEST(References, SayWhichTextIsNone) {
  for (const char* text : {"EPSG:99999999", "out/grid.shp", "unknown coordinate system"}) {
    const auto failure = FailureOf([&] { ReferenceNamed(text); });
    ASSERT_TRUE(failure) << text;
    EXPECT_THAT(failure->Description(), HasSubstr('"' + std::string(text) + '"'));
  }
}

TEST(References, HaveWordsThatGiveThemBackToTheLetter) {
  EXPECT_EQ(WordsFor(*UnknownCoordinateSystem()), "Unknown Coordinate System");
  EXPECT_EQ(WordsFor(*SpatialReferenceFromText("EPSG:32612")), "EPSG:32612");
  // A file's own words for what a code means are kept.
  const auto renamed = SpatialReferenceFromText(
      R"(PROJCS["WGS_1984_UTM_Zone_12N",GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1984",)"
      R"(SPHEROID["WGS_1984",6378137.0,298.257223563]],PRIMEM["Greenwich",0.0],)"
      R"(UNIT["Degree",0.0174532925199433]],PROJECTION["Transverse_Mercator"],)"
      R"(PARAMETER["False_Easting",500000.0],PARAMETER["False_Northing",0.0],)"
      R"(PARAMETER["Central_Meridian",-111.0],PARAMETER["Scale_Factor",0.9996],)"
      R"(PARAMETER["Latitude_Of_Origin",0.0],UNIT["Meter",1.0]])");
  EXPECT_EQ(renamed->FactoryCode(), 32612);
  EXPECT_NE(renamed->Wkt(), SpatialReferenceFromText("EPSG:32612")->Wkt());
  EXPECT_EQ(WordsFor(*renamed), renamed->Wkt());
  for (const char* text : {"EPSG:4326", "+proj=laea +lat_0=10 +lon_0=20 +ellps=sphere"}) {
    const auto reference = SpatialReferenceFromText(text);
    EXPECT_EQ(ReferenceNamed(WordsFor(*reference))->Wkt(), reference->Wkt()) << text;
  }
}

}  // namespace
}  // namespace orlinths
