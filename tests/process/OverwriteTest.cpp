// One session, several runs: what one makes another overwrites.
#include <gmock/gmock.h>

#include "process/Layers.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

const std::string kMakeSites = R"(
    {"click": "clsRndPnt"}, {"set": "cmbLayers", "to": "squares"}, {"set": "optPoly", "to": true},
    {"set": "txtExactCnt", "to": "2"}, {"set": "cmbUID", "to": "NR"},
    {"press": "btnFolder", "pick": "sites.shp"}, {"press": "btnOK"},)";

/// The first layer of sites stays in the map without a dataset, and is offered to nobody.
TEST(OverwriteTest, TheLayerOfAnOverwrittenOutputIsInvalid) {
  const TempFolder folder;
  WriteOgr(folder / "squares.shp", Squares(3));
  WriteBytes(folder / "s.json", R"({"clock": "2026-03-01T12:00:00",
    "map": {"layers": [{"path": "squares.shp"}]}, "steps": [)" +
                                    kMakeSites + kMakeSites + R"(
    {"click": "clsXYAdd"}, {"show": "controls"}, {"set": "cmbL", "to": "sites"},
    {"set": "txtXFldName", "to": "XX"}, {"set": "txtYFldName", "to": "YY"}, {"press": "btnOK"}]})");
  const Ended ended = RunProgram({"play", "s.json", "--json"}, folder.Path());
  EXPECT_EQ(ended.status, 0) << ended.out << ended.error;
  EXPECT_THAT(ended.out, HasSubstr(R"("value":"","items":["sites"])"));
  EXPECT_THAT(ended.out, HasSubstr(R"("exit":0,"open":[],"layers":["sites","sites","squares"]})"));
  EXPECT_THAT(ended.out, Not(HasSubstr("ListLayers")));
  const OgrDataset sites = ReadOgr(folder / "sites.shp");
  EXPECT_EQ(sites.records.size(), 6u);
  EXPECT_EQ(sites.Numbers("XX").size(), 6u);
}

}  // namespace
}  // namespace orlinths
