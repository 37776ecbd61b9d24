#include "session/CommandLineText.h"

#include <gtest/gtest.h>

#include "apps/Trial.h"
#include "session/SessionFile.h"

namespace orlinths {
namespace {

Session Parsed(const std::string& text) {
  WrittenPaths written;
  return ParseSession(text, "/data", written);
}

TEST(CommandLineText, SaysARunOfOneDialog) {
  const TrialRig rig;
  EXPECT_EQ(CommandLineText(Parsed(R"({
    "clock": "2026-03-01T12:00:00",
    "map": {"spatialReference": "EPSG:2169",
            "layers": [{"path": "a b.shp", "name": "ab", "where": "X > 'q'", "selection": [1, 2]},
                       {"path": "dem.tif"}]},
    "replies": [{"text": "Go on?", "reply": "yes", "once": true}],
    "steps": [{"click": "clsAddLength"},
              {"set": "txtName", "to": "it's"},
              {"set": "chkExtra", "to": true},
              {"set": "lstFields", "to": ["A", "B"]},
              {"press": "btnProj", "pick": "EPSG:32612"},
              {"press": "btnOut", "pick": "out.shp"},
              {"press": "btnOK"}]})"),
                            "/s.json"),
            "orlinths run clsAddLength 'ab=/data/a b.shp' /data/dem.tif 'txtName=it'\\''s' "
            "chkExtra=yes 'lstFields=A|B' txtSR=EPSG:32612 txtOut=/data/out.shp --where 'ab=X > "
            "'\\''q'\\''' "
            "--select ab=1,2 --answer yes --crs EPSG:2169 "
            "--clock 2026-03-01T12:00:00.000000000 --overwrite");
}

TEST(CommandLineText, PlaysTheFileWhereARunCannotSayIt) {
  const TrialRig rig;
  for (
      const char* session :
      {R"({"steps": []})", R"({"steps": [{"click": "clsAddLength"}]})",
       R"({"steps": [{"click": "clsNone"}, {"press": "btnOK"}]})",
       R"({"steps": [{"click": "clsAddLength"}, {"press": "btnOK"}, {"press": "btnOK"}]})",
       R"({"steps": [{"click": "clsAddLength"}, {"set": "other", "to": "1"}, {"press": "btnOK"}]})",
       R"({"steps": [{"click": "clsAddLength"}, {"press": "btnOut", "pick": null}, {"press": "btnOK"}]})",
       R"({"steps": [{"click": "clsAddLength"}, {"set": "lstFields", "to": ["a|b"]}, {"press": "btnOK"}]})",
       R"({"map": {"layers": [{"group": "g", "layers": []}]},
            "steps": [{"click": "clsAddLength"}, {"press": "btnOK"}]})",
       R"({"map": {"layers": [{"path": "a.shp", "name": "two words"}]},
            "steps": [{"click": "clsAddLength"}, {"press": "btnOK"}]})",
       R"({"replies": [{"text": "*", "reply": "yes"}],
            "steps": [{"click": "clsAddLength"}, {"press": "btnOK"}]})"})
    EXPECT_EQ(CommandLineText(Parsed(session), "/my runs/s.json"),
              "orlinths play '/my runs/s.json'")
        << session;
}

}  // namespace
}  // namespace orlinths
