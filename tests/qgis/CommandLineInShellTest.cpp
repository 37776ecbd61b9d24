// The line that "Copy command line" gives does the same in a shell, whatever files and layers are
// called.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "QgisProcess.h"
#include "component/Component.h"
#include "data/Workspace.h"
#include "runtime/Files.h"
#include "session/CommandLineText.h"
#include "session/SessionFile.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

class CommandLineInShell : public ::testing::TestWithParam<const char*> {};

TEST_P(CommandLineInShell, TakesAFileOfThatName) {
  RegisterTools();
  const std::string stem = GetParam();
  const TempFolder folder;
  const std::string inside = folder / ("in " + stem);
  files::CreateFolder(inside);
  for (const char* ending : {".shp", ".shx", ".dbf", ".prj", ".cpg"})
    fs::copy(std::string(ORLINTHS_SESSIONS) + "/data/nests" + ending,
             JoinPath(inside, stem + ending));
  Session session;
  session.clock = 0;
  LayerEntry layer;
  layer.path = JoinPath(inside, stem + ".shp");
  session.map.layers = {layer};
  session.steps = {{steps::Click{"clsXYAdd"}, 0},
                   {steps::Set{"cmbL", stem}, 0},
                   {steps::Set{"txtXFldName", "AT_X"}, 0},
                   {steps::Set{"txtYFldName", "AT_Y"}, 0},
                   {steps::Press{"btnOK", {}}, 0}};
  // As it is kept, and read again.
  const std::string kept = folder / "kept run.json";
  WriteSession(session, kept);
  WrittenPaths written;
  std::string line = CommandLineText(ReadSession(kept, written), kept);
  ASSERT_EQ(line.rfind("orlinths ", 0), 0U);
  line.replace(0, std::string("orlinths").size(), ForShell(ORLINTHS_PROGRAM));
  EXPECT_EQ(Shell("cd / && " + line + " >/dev/null"), 0) << line;
  const auto features = OpenFeatureClassByPath(layer.path);
  ASSERT_NE(features, nullptr);
  EXPECT_GE(features->FindField("AT_X"), 0) << line;
}

INSTANTIATE_TEST_SUITE_P(Names, CommandLineInShell,
                         ::testing::Values("nests", "two nests", "it's", "say \"hi\"", "a=b",
                                           "cmbL=nests", "B\u00e4ume", "-dash", "--yes", "a$HOME",
                                           "a`id`", "a;b", "a&b", "a*", "#a", "a\\b", "~", "100%"));

}  // namespace
}  // namespace orlinths
