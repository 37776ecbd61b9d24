#include "session/SessionFile.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "host/Commands.h"
#include "session/Json.h"
#include "runtime/Files.h"
#include "runtime/Trap.h"
#include "support/Seeded.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

using ::testing::HasSubstr;

Session Parsed(const std::string& text) {
  WrittenPaths written;
  return ParseSession(text, "/data", written);
}

std::string Wrong(const std::string& text) {
  const auto failure = FailureOf([&] { Parsed(text); });
  return failure ? failure->Description() : "nothing wrong";
}

std::string WrongStep(const std::string& step) { return Wrong(R"({"steps": [)" + step + "]}"); }

constexpr const char* kEverything = R"({
  "clock": "2026-03-01T12:00:00",
  "map": {
    "spatialReference": "EPSG:32612",
    "layers": [
      {"path": "fixes.shp"},
      {"name": "zones", "path": "../zones.shp", "where": "AREA > 10", "selection": [0, 4, 7]},
      {"group": "Rasters", "layers": [{"path": "/far/dem.tif"}]}
    ],
    "tables": [{"path": "samples.dbf"}]
  },
  "replies": [{"text": "*already exists*", "reply": "yes"}, {"text": "*", "reply": "no"}],
  "steps": [
    {"click": "clsRndPnt"},
    {"set": "cmbLayers", "to": "zones"},
    {"set": "chkMinDist", "to": true},
    {"set": "txtDist", "to": 2.5},
    {"set": "lstSFlds", "to": ["AREA", "COVER"]},
    {"press": "btnFolder", "pick": "out/rnd.shp"},
    {"press": "btnFolder", "pick": null},
    {"press": "btnOK"},
    {"show": "controls"},
    {"select": "zones", "oids": [1, 2]},
    {"mouse": "down", "button": 1, "x": 640, "y": 380},
    {"press": "btnExit"}
  ]
})";

TEST(SessionFile, KeepsLayersThatAreNoFilesAsTheyAreCalled) {
  const TempFolder folder;
  Session session;
  LayerEntry sketch;
  sketch.name = "sketch";
  sketch.path = "host:memory/sketch";
  session.map.layers = {sketch};
  session.map.tables = {sketch};
  WriteSession(session, folder / "a.json");
  WrittenPaths written;
  EXPECT_EQ(ReadSession(folder / "a.json", written), session);
}

TEST(SessionFile, ReadsEverySortOfEntry) {
  const Session session = Parsed(kEverything);
  EXPECT_EQ(session.clock, 1772366400LL * 1'000'000'000);  // date -u -d 2026-03-01T12:00 +%s
  EXPECT_EQ(session.map.spatialReference, "EPSG:32612");
  ASSERT_EQ(session.map.layers.size(), 3u);
  EXPECT_EQ(session.map.layers[0].path, "/data/fixes.shp");
  EXPECT_EQ(session.map.layers[1].path, "/zones.shp");
  EXPECT_EQ(session.map.layers[1].name, "zones");
  EXPECT_EQ(session.map.layers[1].where, "AREA > 10");
  EXPECT_EQ(session.map.layers[1].selection, (std::vector<Oid>{0, 4, 7}));
  EXPECT_TRUE(session.map.layers[2].IsGroup());
  EXPECT_EQ(session.map.layers[2].name, "Rasters");
  EXPECT_EQ(session.map.layers[2].layers.at(0).path, "/far/dem.tif");
  EXPECT_EQ(session.map.tables.at(0).path, "/data/samples.dbf");
  EXPECT_EQ(session.replies,
            (std::vector<ReplyRule>{{"*already exists*", true, false}, {"*", false, false}}));
  const std::vector<Step> expected = {
      {steps::Click{"clsRndPnt"}},
      {steps::Set{"cmbLayers", "zones"}},
      {steps::Set{"chkMinDist", true}},
      {steps::Set{"txtDist", "2.5"}},
      {steps::Set{"lstSFlds", std::vector<std::string>{"AREA", "COVER"}}},
      {steps::Press{"btnFolder", steps::Pick{"/data/out/rnd.shp"}}},
      {steps::Press{"btnFolder", steps::Pick{}}},
      {steps::Press{"btnOK", {}}},
      {steps::Show{}},
      {steps::Select{"zones", {1, 2}}},
      {steps::Mouse{steps::MouseAction::kDown, 1, 0, 640, 380}},
      {steps::Press{"btnExit", {}}},
  };
  EXPECT_EQ(session.steps, expected);
  EXPECT_EQ(session.steps[4].number, 5);
}

TEST(SessionFile, WritesWhatItReads) {
  const Session session = Parsed(kEverything);
  const std::string text = SessionText(session, "/data/sub");
  WrittenPaths written;
  EXPECT_EQ(ParseSession(text, "/data/sub", written), session);
  EXPECT_THAT(text, HasSubstr(R"("path":"../fixes.shp")"));
  EXPECT_THAT(text, HasSubstr(R"({"press":"btnFolder","pick":"../out/rnd.shp"})"));
}

/// Stands in for a tool whose dialog asks for a spatial reference.
struct Projecting : Dialog {
  Projecting() : Dialog("frmCreateVectorGrid", "Projecting") {
    auto* box = Add<TextBox>("txtSR", "Projection definition:");
    box->picker = Add<Button>("btnProj", "...");
    box->picks = Picks::kSpatialReference;
    auto* output = Add<TextBox>("txtFileName", "Output:");
    output->picker = Add<Button>("btnFile", "...");
  }
};

TEST(SessionFile, TellsAPickedReferenceFromAPath) {
  RegisterDialog("frmCreateVectorGrid", [] { return std::make_unique<Projecting>(); });
  const Session session = Parsed(R"({"steps": [{"click": "clsCreateVectorGrid"},
      {"press": "BTNPROJ", "pick": "EPSG:32612"}, {"press": "btnProj", "pick": null},
      {"press": "btnFile", "pick": "EPSG:32612"}, {"click": "clsRndPnt"},
      {"press": "btnProj", "pick": "EPSG:32612"}]})");
  const auto pick = [&](std::size_t step) {
    return *std::get<steps::Press>(session.steps.at(step).what).pick;
  };
  EXPECT_TRUE(pick(1).isReference);
  EXPECT_EQ(pick(1).text, "EPSG:32612");
  EXPECT_EQ(pick(2), steps::Pick{});
  EXPECT_FALSE(pick(3).isReference);
  EXPECT_EQ(pick(3).Path(), "/data/EPSG:32612");
  EXPECT_FALSE(pick(5).isReference) << "another dialog's button";
  EXPECT_NE(pick(1), pick(3));

  const std::string text = SessionText(session, "/data/sub");
  EXPECT_THAT(text, HasSubstr(R"({"press":"BTNPROJ","pick":"EPSG:32612"})"));
  EXPECT_THAT(text, HasSubstr(R"({"press":"btnFile","pick":"../EPSG:32612"})"));
  WrittenPaths written;
  EXPECT_EQ(ParseSession(text, "/data/sub", written), session);
}

TEST(SessionFile, APickedReferenceSaysNothingAboutPaths) {
  RegisterDialog("frmCreateVectorGrid", [] { return std::make_unique<Projecting>(); });
  WrittenPaths written;
  ParseSession(R"({"steps": [{"click": "clsCreateVectorGrid"},
      {"press": "btnProj", "pick": "EPSG:32612"}]})",
               "/data", written);
  EXPECT_EQ(written.Shown("/data/out.shp"), "/data/out.shp");
}

TEST(SessionFile, KeepsTheClockToTheNanosecond) {
  const Session session = Parsed(R"({"clock": "2026-03-01T12:00:00.123456789"})");
  EXPECT_EQ(session.clock, 1772366400LL * 1'000'000'000 + 123456789);
  EXPECT_THAT(SessionText(session, "/"), HasSubstr("\"2026-03-01T12:00:00.123456789\""));
}

TEST(SessionFile, GivesLineAndColumnOfDamagedJson) {
  EXPECT_THAT(Wrong("{\"steps\": [\n  {\"press\" \"btnOK\"}]}"), HasSubstr("line 2, column 18: "));
  EXPECT_THAT(Wrong(""), HasSubstr("line 1, column 1: "));
  EXPECT_THAT(Wrong("{}\n{}"), HasSubstr("line 2, column 1: "));
  EXPECT_THAT(Wrong("{\"steps\": 1e999}"), HasSubstr("line 1, column 1"));
  EXPECT_THAT(Wrong("{\"clock\": \"\xff\"}"), HasSubstr("line 1, column 12: "));
  EXPECT_THAT(Wrong("{\"map\": {}, \"map\": {}}"), HasSubstr("\"map\" stands twice"));
}

TEST(SessionFile, RefusesNestingWithoutBottom) {
  const std::string deep(100'000, '[');
  EXPECT_THAT(Wrong(deep), HasSubstr("nested too deeply"));
  std::string groups;
  for (int i = 0; i < 1000; ++i) groups += R"({"group": "g", "layers": [)";
  EXPECT_THAT(Wrong(R"({"map": {"layers": [)" + groups), HasSubstr("nested too deeply"));
}

TEST(SessionFile, NamesTheStepAndWhatBelongsThere) {
  EXPECT_EQ(
      WrongStep(R"({"press": "btnOK"}, {"prss": "btnOK"})"),
      "step 2: must have one of \"click\", \"set\", \"press\", \"show\", \"select\" and \"mouse\"");
  EXPECT_EQ(WrongStep("7"),
            "step 1: must be an object with one of \"click\", \"set\", \"press\", "
            "\"show\", \"select\" and \"mouse\"");
  EXPECT_EQ(WrongStep(R"({"set": "txtName"})"), "step 1: \"to\" is missing");
  EXPECT_EQ(WrongStep(R"({"set": "txtName", "to": null})"),
            "step 1: \"to\" must be a text, a number, true, false or an array of texts");
  EXPECT_THAT(WrongStep(R"({"set": "txtName", "to": [[1]]})"), HasSubstr("step 1: \"to\" must be"));
  EXPECT_EQ(WrongStep(R"({"press": "btnOK", "pick": 4})"), "step 1: \"pick\" must be a text");
  EXPECT_EQ(WrongStep(R"({"press": ""})"), "step 1: \"press\" must not be empty");
  EXPECT_THAT(WrongStep(R"({"press": "btnOK", "pik": "a"})"),
              HasSubstr("step 1: does not know \"pik\""));
  EXPECT_EQ(WrongStep(R"({"show": "layers"})"), "step 1: \"show\" must be \"controls\"");
  EXPECT_EQ(WrongStep(R"({"select": "zones"})"), "step 1: \"oids\" is missing");
  EXPECT_EQ(WrongStep(R"({"select": "zones", "oids": [1.5]})"),
            "step 1: \"oids\" must be a whole number from 0 on");
  EXPECT_EQ(WrongStep(R"({"select": "zones", "oids": [-1]})"),
            "step 1: \"oids\" must be a whole number from 0 on");
  EXPECT_EQ(WrongStep(R"({"select": "zones", "oids": [18446744073709551615]})"),
            "step 1: \"oids\" must be a whole number from 0 on");
  EXPECT_EQ(WrongStep(R"({"mouse": "down", "x": 1})"), "step 1: \"y\" is missing");
  EXPECT_EQ(WrongStep(R"({"mouse": "down", "x": 1, "y": 3000000000})"),
            "step 1: \"y\" must be a whole number of 32 bits");
  EXPECT_EQ(WrongStep(R"({"mouse": "drag", "x": 1, "y": 3})"),
            "step 1: \"mouse\" must be \"down\", \"move\", \"up\" or \"double\"");
}

TEST(SessionFile, NamesLayersTablesAndRepliesThatAreWrong) {
  EXPECT_EQ(Wrong(R"({"map": {"layers": [{"path": "a"}, {"name": "b"}]}})"),
            "layer 2: \"path\" is missing");
  EXPECT_EQ(Wrong(R"({"map": {"layers": [{"group": "g", "layers": [{}]}]}})"),
            "layer 1, layer 1: \"path\" is missing");
  EXPECT_EQ(Wrong(R"({"map": {"layers": [{"path": "a\u0000b"}]}})"),
            "layer 1: \"path\" is no path");
  EXPECT_EQ(Wrong(R"({"map": {"tables": [{}]}})"), "table 1: \"path\" is missing");
  EXPECT_EQ(Wrong(R"({"map": []})"),
            "map: must be an object with \"spatialReference\", \"layers\" and \"tables\"");
  EXPECT_EQ(Wrong(R"({"replies": [{"text": "*", "reply": "maybe"}]})"),
            "reply 1: \"reply\" must be \"yes\" or \"no\"");
  EXPECT_THAT(Wrong(R"({"clock": "noon"})"), HasSubstr("session: the clock \"noon\" is no time"));
  EXPECT_EQ(Wrong(R"({"steps": {}})"), "session: \"steps\" must be an array");
  EXPECT_THAT(Wrong(R"({"step": []})"), HasSubstr("session: does not know \"step\""));
}

TEST(SessionFile, LetsCommentsStand) {
  EXPECT_EQ(Parsed(R"({"comment": "why", "steps": [{"press": "b", "comment": 1}]})").steps.size(),
            1u);
}

TEST(SessionFile, NamesAFileThatCannotBeRead) {
  WrittenPaths written;
  const auto failure = FailureOf([&] { ReadSession("/nowhere/s.json", written); });
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->Description(), "/nowhere/s.json: Path not found");
}

TEST(SessionFile, IsWrittenInOnePieceWhereALinkLeads) {
  namespace fs = std::filesystem;
  const TempFolder folder;
  fs::create_directory(folder / "kept");
  WriteBytes(folder / "kept/run.json", "an old one");
  fs::create_symlink("kept/run.json", folder / "run.json");
  WriteSession(Parsed(kEverything), folder / "run.json");
  EXPECT_TRUE(fs::is_symlink(folder / "run.json"));
  EXPECT_NE(ReadBytes(folder / "kept/run.json"), "an old one");
  EXPECT_EQ(files::NamesIn(folder / "kept"), std::vector<std::string>{"run.json"});
  WrittenPaths written;
  EXPECT_EQ(ReadSession(folder / "run.json", written).steps.size(),
            Parsed(kEverything).steps.size());
  // What cannot take its name leaves nothing beside.
  fs::create_directory(folder / "taken.json");
  EXPECT_FALSE(Quietly([&] { WriteSession(Parsed(kEverything), folder / "taken.json"); }));
  EXPECT_EQ(files::NamesIn(folder.Path()),
            (std::vector<std::string>{"kept", "run.json", "taken.json"}));
}

TEST(SessionFile, NeverFallsOverMutilatedText) {
  Seeded random("SessionFile.NeverFallsOverMutilatedText");
  const std::string whole = kEverything;
  for (int i = 0; i < 2000; ++i) {
    std::string text = whole;
    for (std::int64_t cuts = random.Whole(1, 4); cuts > 0 && !text.empty(); --cuts) {
      const auto at =
          static_cast<std::size_t>(random.Whole(0, static_cast<std::int64_t>(text.size()) - 1));
      if (random.Chance(0.5))
        text.erase(at, static_cast<std::size_t>(random.Whole(1, 40)));
      else
        text[at] = static_cast<char>(random.Whole(-128, 127));
    }
    const auto failure = FailureOf([&] { Parsed(text); });
    if (failure) {
      EXPECT_FALSE(failure->Description().empty());
    }
  }
}

TEST(WrittenPaths, ShowsAPathAsItsCallerWouldWriteIt) {
  WrittenPaths paths;
  paths.Add("/t/fixes.shp", "fixes.shp");
  paths.Add("/t/out", "out");
  paths.Add("/far/dem.tif", "/far/dem.tif");
  EXPECT_EQ(paths.Shown("/t/fixes.shp"), "fixes.shp");
  EXPECT_EQ(paths.Shown("/t/new.shp"), "new.shp");
  EXPECT_EQ(paths.Shown("/t/out/deep/x.tif"), "out/deep/x.tif");
  EXPECT_EQ(paths.Shown("/far/x.tif"), "/far/x.tif");
  EXPECT_EQ(paths.Shown("/elsewhere/x.tif"), "/elsewhere/x.tif");
}

TEST(AbsolutePath, StartsAtTheFolderAndIsPlain) {
  EXPECT_EQ(AbsolutePath("a/../b.shp", "/t"), "/t/b.shp");
  EXPECT_EQ(AbsolutePath("/x//y/./z/", "/t"), "/x/y/z");
  EXPECT_EQ(AbsolutePath("out/", "/t"), "/t/out");
  EXPECT_EQ(AbsolutePath("/", "/t"), "/");
}

}  // namespace
}  // namespace orlinths
