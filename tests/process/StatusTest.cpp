// What a script sees of the real tools: the exit status of every refusal, failure and wrong call,
// and the one line that helps.
#include <gmock/gmock.h>

#include <algorithm>

#include "process/Layers.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using Call = std::vector<std::string>;

class StatusTest : public ::testing::Test {
 protected:
  StatusTest() {
    WriteOgr(folder_ / "points.shp", Points(3));
    WriteOgr(folder_ / "lines.shp", Lines(3));
    WriteOgr(folder_ / "squares.shp", Squares(3));
    before_ = FilesIn(folder_.Path());
  }

  /// Nothing is touched, whatever the reason of the refusal.
  Ended Run(const Call& call) {
    const Ended ended = RunProgram(Call{"run"} + call, folder_.Path());
    EXPECT_EQ(FilesIn(folder_.Path()), before_);
    return ended;
  }

  TempFolder folder_;
  Files before_;
};

TEST_F(StatusTest, EveryValidationMessageIsARefusal) {
  const Call area{"clsAddArea", "squares.shp", "cmbPFL=squares"};
  const Call length{"clsAddLength", "lines.shp", "cmbL=lines"};
  const Call place{"clsXYAdd", "points.shp", "cmbL=points"};
  const struct {
    Call call;
    const char* message;
  } cases[] = {
      {{"clsAddArea", "squares.shp"}, "Error: no polygon layer selected."},
      {area + Call{"txtArea="}, "Error: no new area field name provided."},
      {area + Call{"txtPerim="}, "Error: no new perimeter field name provided."},
      {area + Call{"optUpdate=yes"}, "Error: no update area field selected."},
      {area + Call{"optUpdate=yes", "cmbArea=NR"}, "Error: no update perimeter field selected."},
      {area + Call{"chkAreaConst=yes", "txtAreaConst="},
       "Error: no area constant (multiplier) provided."},
      {area + Call{"chkPerimConst=yes", "txtPerimConst="},
       "Error: no perimeter constant (multiplier) provided."},
      {{"clsAddLength", "lines.shp"}, "Error: no line layer selected."},
      {length + Call{"txtLength="}, "Error: no new length field name provided."},
      {length + Call{"optUpdate=yes"}, "Error: no update length field selected."},
      {length + Call{"chkLengthConst=yes", "txtLengthConst="},
       "Error: no length constant (multiplier) provided."},
      {{"clsXYAdd", "points.shp"}, "ERROR: no point layer defined."},
      {place, "ERROR: no new X field name defined."},
      {place + Call{"txtXFldName=X"}, "ERROR: no new Y field name defined."},
      {place + Call{"txtXFldName=nr", "txtYFldName=Y"},
       "ERROR: an X field called nr already exists. Please type a new name or switch to the "
       "update option."},
      {place + Call{"txtXFldName=X", "txtYFldName=NR"},
       "ERROR: a Y field called NR already exists. Please type a new name or switch to the "
       "update option."},
      {place + Call{"optUpdate=yes"}, "ERROR: no X field name selected for update."},
      {place + Call{"optUpdate=yes", "cmbXFld=NR"}, "ERROR: no Y field name selected for update."},
  };
  for (const auto& [call, message] : cases) {
    SCOPED_TRACE(message);
    const Ended ended = Run(call);
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, std::string(message) + '\n');
    EXPECT_EQ(ended.error, "");
  }
}

TEST_F(StatusTest, AToolWithoutItsKindOfLayerHasRefused) {
  const struct {
    const char *tool, *input, *message, *dialog;
  } cases[] = {
      {"clsAddArea", "points.shp",
       "Warning: no polygon layers present in map (nothing to work with).\n", "frmAddArea"},
      {"clsAddLength", "points.shp",
       "Warning: no arc (line) layers present in map (nothing to work with).\n", "frmAddLength"},
      {"clsXYAdd", "lines.shp", "Warning: no point layers present in map (nothing to work with).\n",
       "frmAddXY"},
  };
  for (const auto& [tool, input, message, dialog] : cases) {
    const Ended ended = Run({tool, input});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, message);
    EXPECT_EQ(ended.error, "orlinths: " + std::string(dialog) + " cannot run: btnOK is disabled\n");
  }
}

TEST_F(StatusTest, AFailureOutlastsTheClosingMessage) {
  // dBASE names end at ten bytes. The dialog goes on to the perimeter, closes and says so.
  const Ended area = RunProgram(Call{"run"} + Call{"clsAddArea", "squares.shp", "cmbPFL=squares",
                                                   "txtArea=SQUAREMETRES", "--json"},
                                folder_.Path());
  EXPECT_EQ(area.status, 3);
  EXPECT_THAT(area.out,
              HasSubstr("SQUAREMETRES cannot be added: its name is longer than 10 bytes"));
  EXPECT_THAT(area.out, HasSubstr("\"text\":\"Processing complete.\""));
  EXPECT_THAT(area.out, HasSubstr("\"state\":\"unloaded\""));
  EXPECT_THAT(area.out, HasSubstr("{\"event\":\"end\",\"exit\":3,\"open\":[]"));
  EXPECT_EQ(ReadOgr(folder_ / "squares.shp").ColumnNames(), (Call{"NR", "PERIMETER"}));
  before_ = FilesIn(folder_.Path());

  const Ended place = Run({"clsXYAdd", "points.shp", "cmbL=points", "txtXFldName=X",
                           "txtYFldName=NORTHINGS_M", "txtXFldName=EASTINGS_IN_M"});
  EXPECT_EQ(place.status, 3);
  EXPECT_THAT(place.out, StartsWith("TableAddXY: A\n-2147467259\n"));
  EXPECT_THAT(place.out, HasSubstr("Warning: a problem was encountered while processing this "
                                   "request.\n"));
  const Ended factor =
      Run({"clsAddArea", "squares.shp", "cmbPFL=squares", "chkAreaConst=yes", "txtAreaConst=two"});
  EXPECT_EQ(factor.status, 3);
  EXPECT_EQ(factor.out, "AddAreaPerim: \n13\nType mismatch\n");
}

TEST_F(StatusTest, AWrongCallIsOneLineThatSaysWhatWouldHaveBeenRight) {
  const Call points{"clsXYAdd", "points.shp"};
  const struct {
    Call call;
    Call words;  ///< all of them are in the line
  } cases[] = {
      {{"clsXYAd", "points.shp"}, {"\"clsXYAd\"", "clsXYAdd"}},
      {{"clsXYAdd", "point.shp"}, {"point.shp does not open: "}},
      {points + Call{"cmbLayer=points"}, {"frmAddXY", "\"cmbLayer\"", "cmbL"}},
      {points + Call{"cmbL=lines"}, {"cmbL has no item \"lines\"; it has: points"}},
      {points + Call{"cmbXFld=NR"}, {"cmbXFld is disabled"}},
      {points + Call{"optUpdate=maybe"}, {"optUpdate takes yes"}},
      {{"clsAddArea", "squares.shp", "chkArea=perhaps"}, {"chkArea takes yes or no"}},
      {points + Call{"lblSR=here"}, {"lblSR only shows something"}},
      {points + Call{"--select", "lines=1"}, {"no feature layer \"lines\"; it has: points"}},
      {points + Call{"--select", "points=one"}, {"OIDs separated by commas", "\"one\""}},
      {points + Call{"--select", "points=where:NO = 1"}, {"--select points: ", "NO"}},
      {points + Call{"--where", "points=NO = 1"}, {"--where points: ", "NO"}},
      {points + Call{"--where", "points"}, {"--where takes LAYER=EXPRESSION", "\"points\""}},
      {points + Call{"--crs", "here"}, {"spatial reference \"here\""}},
      {points + Call{"--clock", "now"}, {"2026-03-01T12:00:00", "\"now\""}},
      {points + Call{"--answer", "perhaps"}, {"\"perhaps\""}},
      {points + Call{"--yes", "--no"}, {"--yes and --no"}},
      {points + Call{"--save", "nowhere/s.json"}, {"nowhere/s.json", "Path not found"}},
      {points + Call{"--quick"}, {"--quick"}},
  };
  for (const auto& [call, words] : cases) {
    const Ended ended = Run(call);
    SCOPED_TRACE(ended.error);
    EXPECT_EQ(ended.status, 2) << ended.out;
    EXPECT_EQ(ended.out, "");
    EXPECT_THAT(ended.error, StartsWith("orlinths: "));
    EXPECT_EQ(std::ranges::count(ended.error, '\n'), 1);
    for (const std::string& word : words) EXPECT_THAT(ended.error, HasSubstr(word));
  }
}

/// Squares on a raster without a spatial reference: the tool asks whether to go on.
TEST_F(StatusTest, AQuestionWithoutReplyIsA4AndNothingIsDone) {
  WriteBytes(folder_ / "cells.asc",
             "ncols 3\nnrows 3\nxllcorner 0\nyllcorner 0\ncellsize 1\n1 2 3\n4 5 6\n7 8 9\n");
  before_ = FilesIn(folder_.Path());
  const Call zonal{"clsZonalStats",    "squares.shp",     "cells.asc",
                   "cmbPolyL=squares", "cmbRL=cells.asc", "btnOpen=sums.dbf"};
  const char* const question =
      "Warning: the spatial reference (projection) of the raster and polygon layer must be "
      "identical. This is either not true, or cannot be verified because the projection is "
      "undefined for one or both layers. Do you wish to proceed?";

  const Ended unanswered = Run(zonal);
  EXPECT_EQ(unanswered.status, 4);
  EXPECT_EQ(unanswered.out, std::string(question) + '\n');
  EXPECT_EQ(unanswered.error,
            "orlinths: no reply is left for the question \"" + std::string(question) + "\"\n");
  const Ended events = Run(zonal + Call{"--json"});
  EXPECT_EQ(events.status, 4);
  EXPECT_THAT(events.out, HasSubstr("\"reply\":null}"));
  EXPECT_THAT(events.out, EndsWith("{\"event\":\"end\",\"exit\":4,\"open\":[\"frmZonalStats\"],"
                                   "\"layers\":[\"squares\",\"cells.asc\"]}\n"));
  EXPECT_EQ(Run(zonal + Call{"--no"}).status, 1);

  WriteBytes(folder_ / "s.json", R"({"map": {"layers": [{"path": "squares.shp"},
      {"path": "cells.asc"}]}, "replies": [{"text": "*another question*", "reply": "yes"}],
      "steps": [{"click": "clsZonalStats"}, {"set": "cmbPolyL", "to": "squares"},
      {"set": "cmbRL", "to": "cells.asc"}, {"press": "btnOpen", "pick": "sums.dbf"},
      {"press": "btnOK"}]})");
  before_ = FilesIn(folder_.Path());
  const Ended played = RunProgram({"play", "s.json"}, folder_.Path());
  EXPECT_EQ(played.status, 4);
  EXPECT_THAT(played.error, StartsWith("orlinths: s.json: no reply is left for the question "));
  EXPECT_EQ(FilesIn(folder_.Path()), before_);
  EXPECT_EQ(RunProgram({"play", "s.json", "--yes"}, folder_.Path()).status, 0);
  EXPECT_TRUE(FilesIn(folder_.Path()).contains("sums.dbf"));
}

TEST_F(StatusTest, APlayedMistakeNamesItsFileAndStep) {
  const auto play = [&](const std::string& steps) {
    WriteBytes(folder_ / "s.json",
               R"({"map": {"layers": [{"path": "points.shp"}]}, "steps": [)" + steps + "]}");
    return RunProgram({"play", "s.json"}, folder_.Path());
  };
  const auto expectWrong = [&](const std::string& steps, const std::string& line) {
    const Ended ended = play(steps);
    EXPECT_EQ(ended.status, 2);
    EXPECT_THAT(ended.error, StartsWith("orlinths: s.json: " + line));
    EXPECT_EQ(std::ranges::count(ended.error, '\n'), 1) << ended.error;
  };
  expectWrong(R"({"press": "btnOK"})", "step 1: no dialog is open");
  expectWrong(R"({"click": "clsXYAdd"}, {"set": "cmbL", "to": "x"})",
              "step 2: cmbL has no item \"x\"; it has: points");
  expectWrong(R"({"click": "clsXYAdd"}, {"set": "cmbXFld", "to": "NR"})",
              "step 2: cmbXFld is disabled");
  expectWrong(R"({"click": "clsXYAdd"}, {"set": "cmbLayer", "to": "points"})",
              "step 2: frmAddXY has no control");
  expectWrong(R"({"click": "clsXYAdd"}, {"press": "btnRun"})", "step 2: frmAddXY has no control");
  expectWrong(R"({"click": "clsXY"})", "step 1: there is no command clsXY; the nearest: ");
  expectWrong(R"({"clack": "clsXYAdd"})", "");
  EXPECT_EQ(play(R"({"click": "clsXYAdd"}, {"press": "btnOK"})").status, 1);
}

}  // namespace
}  // namespace orlinths
