// The options of the command line on real layers, and runs kept as sessions and played again.
#include <gmock/gmock.h>

#include <filesystem>

#include "process/Layers.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using Call = std::vector<std::string>;

class OptionsTest : public ::testing::Test {
 protected:
  OptionsTest() {
    fs::create_directory(folder_ / "here");
    WriteOgr(folder_ / "here/p.shp", Points(4));
    WriteOgr(folder_ / "here/s.shp", Squares(4));
    before_ = FilesIn(folder_ / "here");
  }
  Ended Run(const Call& call) { return RunProgram(call, folder_ / "here"); }
  OgrDataset Table(const std::string& name) { return ReadOgr(folder_ / ("here/" + name + ".shp")); }

  TempFolder folder_;
  Files before_;
};

TEST_F(OptionsTest, ASavedRunPlaysToTheSameBytesAndEventsOnAFreshCopy) {
  const Call calls[] = {
      AddXYCall("p.shp", "p") + Call{"--crs", "EPSG:4326"},
      AddAreaCall("s.shp", "s") + Call{"chkAreaConst=yes", "txtAreaConst=0.0001"},
      AddAreaCall("zones=s.shp", "zones") + Call{"p.shp", "--select", "zones=where:NR > 1"} +
          Call{"--where", "p=NR < 2", "optUpdate=yes", "cmbArea=NR", "chkPerim=no"},
      {"run", "clsAddArea", "s.shp"},  // refuses
  };
  for (const Call& call : calls) {
    Restore(folder_ / "here", before_);
    const Ended first = Run(call + Call{"--json", "--save", "kept.json"});
    const Files after = FilesIn(folder_ / "here");
    fs::create_directory(folder_ / "fresh");
    Restore(folder_ / "fresh", before_);
    WriteBytes(folder_ / "fresh/kept.json", after.at("kept.json"));
    const Ended again = RunProgram({"play", "kept.json", "--json"}, folder_ / "fresh");
    EXPECT_EQ(again.status, first.status) << again.error;
    EXPECT_EQ(WithoutProgress(again.out), WithoutProgress(first.out));
    EXPECT_EQ(FilesIn(folder_ / "fresh"), after);
    EXPECT_EQ(RunProgram({"play", folder_ / "fresh/kept.json"}, "/").status,
              first.out.find("optUpdate") == std::string::npos && first.status == 0 &&
                      call[1] == "clsXYAdd"
                  ? 1  // the columns are there now
                  : first.status);
  }
}

/// Tools edit the whole class: neither selection nor definition query keeps a row out.
TEST_F(OptionsTest, SelectionAndQueryReachTheMapAndTheSession) {
  const Ended ended = Run(AddXYCall("p.shp", "p") + Call{"--where", "p=NR > 0"} +
                          Call{"--select", "p=where:NR > 1", "--save", "kept.json"});
  EXPECT_EQ(ended.status, 0) << ended.error;
  EXPECT_THAT(ReadBytes(folder_ / "here/kept.json"), HasSubstr("\"where\":\"NR > 0\""));
  EXPECT_THAT(ReadBytes(folder_ / "here/kept.json"), HasSubstr("\"selection\":[2,3]"));
  EXPECT_EQ(WrongPlaces(Table("p")), 0);
}

TEST_F(OptionsTest, ALayerWhoseNameHoldsTheSignIsSelectedToo) {
  WriteOgr(folder_ / "here/k=v.shp", Points(3));
  const Ended ended = Run(AddXYCall("k=v.shp", "k=v") + Call{"k=p.shp", "--select", "k=v=0,2"} +
                          Call{"--select", "k=1", "--where", "k=v=NR=2", "--save", "kept.json"});
  EXPECT_EQ(ended.status, 0) << ended.error;
  const std::string kept = ReadBytes(folder_ / "here/kept.json");
  EXPECT_THAT(kept, HasSubstr(R"("where":"NR=2")"));
  EXPECT_THAT(kept, HasSubstr(R"("selection":[0,2])"));
  EXPECT_THAT(kept, HasSubstr(R"("selection":[1])"));
}

TEST_F(OptionsTest, PlacesAreInTheMapsReference) {
  EXPECT_EQ(Run(AddXYCall("p.shp", "p") + Call{"--crs", "EPSG:4326"}).status, 0);
  const auto x = Table("p").Numbers("XX"), y = Table("p").Numbers("YY");
  for (int i = 0; i < 4; ++i) {
    const auto at = static_cast<std::size_t>(i);
    const auto [lon, lat] = ProjectOgr(Points(4).records[at].wkt, "EPSG:32631", "EPSG:4326");
    EXPECT_NEAR(x[at], lon, 1e-12);
    EXPECT_NEAR(y[at], lat, 1e-12);
  }
}

TEST_F(OptionsTest, TheClockIsTheRunsTime) {
  const Call call = AddXYCall("p.shp", "p") + Call{"--clock", "1999-12-31T23:59:59.5", "--json"};
  const Ended ended = Run(call);
  EXPECT_THAT(ended.out,
              StartsWith("{\"event\":\"start\",\"clock\":\"1999-12-31T23:59:59.500000000\""));
  const std::string table = ReadBytes(folder_ / "here/p.dbf");
  EXPECT_EQ(table.substr(1, 3), "\x63\x0c\x1f");  // the header's date of the last change
}

TEST_F(OptionsTest, QuietAndUnaskedAnswersChangeNothing) {
  const Ended plain = Run(AddXYCall("p.shp", "p"));
  const Files after = FilesIn(folder_ / "here");
  EXPECT_EQ(plain.out, "Processing complete.\n");
  EXPECT_EQ(plain.error, "");
  for (const Call& more :
       {Call{"-q"}, Call{"--yes"}, Call{"--no"}, Call{"--answer", "yes,no"}, Call{"--overwrite"}}) {
    Restore(folder_ / "here", before_);
    const Ended ended = Run(AddXYCall("p.shp", "p") + more);
    EXPECT_EQ(ended.status, 0) << more[0];
    EXPECT_EQ(ended.out, plain.out);
    EXPECT_EQ(ended.error, "");
    EXPECT_EQ(FilesIn(folder_ / "here"), after) << more[0];
  }
}

TEST_F(OptionsTest, EventsGoToStandardOutputOneALine) {
  const Ended ended =
      Run(AddXYCall("p.shp", "p") + Call{"--json", "--clock", "2026-03-01T12:00:00"});
  EXPECT_EQ(WithoutProgress(ended.out),
            R"({"event":"start","clock":"2026-03-01T12:00:00.000000000","version":"3.23"}
{"event":"dialog","name":"frmAddXY","caption":"Add/Update X, Y Fields","state":"shown"}
{"event":"message","text":"Processing complete.","title":"Status","flags":64,"reply":"ok"}
{"event":"dialog","name":"frmAddXY","caption":"Add/Update X, Y Fields","state":"unloaded"}
{"event":"end","exit":0,"open":[],"layers":["p"]}
)");
  EXPECT_THAT(ended.out, HasSubstr(R"({"event":"progress","value":4,"max":4,)"));
}

}  // namespace
}  // namespace orlinths
