// Every session of this folder, and every command line of the tools' pages, as a user plays them:
// by the program, in a copy of this folder.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "runtime/Files.h"
#include "runtime/Value.h"
#include "support/OgrDataset.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

const std::string kProgram = ORLINTHS_PROGRAM;
const std::string kSource = ORLINTHS_SOURCE;

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    lines.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return lines;
}

std::string Trimmed(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(" |"), end = text.find_last_not_of(" |");
  return begin == std::string::npos ? "" : text.substr(begin, end - begin + 1);
}

/// A copy of tests/sessions to play in.
class Playground {
 public:
  Playground() { fs::copy(kSource + "/tests/sessions", Path(), fs::copy_options::recursive); }
  const std::string& Path() const { return folder_.Path(); }
  std::string operator/(const std::string& name) const { return folder_ / name; }
  /// Runs a line of shell here; `orlinths` is our program. Gives its exit status.
  int Shell(const std::string& line, std::string& output) const {
    const std::string outputFile = folder_ / "output.txt";
    const std::string script = "cd '" + Path() + "' && orlinths() { '" + kProgram +
                               "' \"$@\"; } && { " + line + "; } >'" + outputFile + "' 2>&1";
    const int status = std::system(script.c_str());
    output = ReadBytes(outputFile);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  TempFolder folder_;
};

/// Events of a run. Progress comes by the clock on the wall, at most twenty times a second: it is
/// left out.
std::vector<std::string> Events(const std::string& text) {
  std::vector<std::string> events;
  for (const std::string& line : LinesOf(text))
    if (line.find("\"event\":\"progress\"") == std::string::npos) events.push_back(line);
  return events;
}

std::vector<std::string> FilesIn(const std::string& folder, const std::string& ending) {
  std::vector<std::string> found;
  for (const std::string& name : files::NamesIn(folder))
    if (name.ends_with(ending)) found.push_back(name);
  return found;
}

// ---- Pages

/// The lines between fences of a page, block by block, and the tables, row by row.
struct Page {
  std::vector<std::vector<std::string>> blocks;
  std::vector<std::vector<std::vector<std::string>>> tables;
  std::string shapefile;  ///< the last one that stands in back quotes before the last table
};

/// The last name of a shapefile in back quotes; empty without one.
std::string ShapefileIn(const std::string& line) {
  const std::size_t end = line.rfind(".shp`");
  if (end == std::string::npos) return "";
  const std::size_t begin = line.rfind('`', end) + 1;
  return line.substr(begin, end + 4 - begin);
}

std::vector<std::string> CellsOf(const std::string& row) {
  std::vector<std::string> cells;
  for (std::size_t at = 1; at < row.size();) {
    const std::size_t end = std::min(row.find('|', at), row.size());
    cells.push_back(Trimmed(row.substr(at, end - at)));
    at = end + 1;
  }
  return cells;
}

Page ReadPage(const std::string& path) {
  Page page;
  bool inBlock = false, inTable = false;
  std::string shapefile;
  for (const std::string& line : LinesOf(ReadBytes(path))) {
    const bool isRow = !inBlock && line.starts_with("|");
    if (line.starts_with("```")) {
      inBlock = !inBlock;
      if (inBlock) page.blocks.emplace_back();
    } else if (inBlock) {
      page.blocks.back().push_back(line);
    } else if (isRow) {
      if (!inTable) page.tables.emplace_back();
      page.shapefile = shapefile;
      if (!line.starts_with("|---")) page.tables.back().push_back(CellsOf(line));
    } else if (const std::string named = ShapefileIn(line); !named.empty()) {
      shapefile = named;
    }
    inTable = isRow;
  }
  return page;
}

/// A cell of a page and a value of a table: equal, or the number rounded as the page shows it.
void ExpectShown(const std::string& cell, const std::string& value) {
  if (!IsNumeric(std::string_view(cell))) {
    EXPECT_EQ(cell, value);
    return;
  }
  const std::size_t point = cell.find('.');
  const auto decimals = point == std::string::npos ? 0 : cell.size() - point - 1;
  EXPECT_NEAR(ToDouble(std::string_view(value)), ToDouble(std::string_view(cell)),
              0.5 * std::pow(10, -static_cast<double>(decimals)));
}

/// The table that a command is about: the one that it makes, else its first input. Of a command
/// that fills a folder, the one that the page names before its table.
std::string TableOf(const Page& page, const std::string& command) {
  if (command.find("txtOutFolder=") != std::string::npos) return page.shapefile;
  std::size_t begin = command.find("data/");
  for (const std::string made : {"txtOutput=", "txtOutFile="})
    if (const std::size_t output = command.find(made); output != std::string::npos)
      begin = output + made.size();
  return command.substr(begin, command.find(' ', begin) - begin);
}

std::vector<std::string> CommandsOf(const Page& page) {
  std::vector<std::string> commands;
  for (const auto& block : page.blocks)
    for (const std::string& line : block)
      if (line.starts_with("orlinths run ")) commands.push_back(line);
  return commands;
}

/// The page's last table shows columns of the dataset, every row of it.
void ExpectTableOf(const Page& page, const OgrDataset& data) {
  const auto& table = page.tables.back();
  ASSERT_EQ(table.size() - 1, data.records.size());
  for (std::size_t column = 0; column < table[0].size(); ++column) {
    SCOPED_TRACE(table[0][column]);
    const auto values = data.Texts(table[0][column]);
    ASSERT_EQ(values.size(), data.records.size());
    for (std::size_t row = 0; row < values.size(); ++row)
      ExpectShown(table[row + 1][column], values[row]);
  }
}

TEST(Pages, EveryExampleGivesTheTableBelowIt) {
  const auto pages = FilesIn(kSource + "/docs/tools", ".md");
  ASSERT_FALSE(pages.empty());
  for (const std::string& name : pages) {
    SCOPED_TRACE(name);
    const Page page = ReadPage(kSource + "/docs/tools/" + name);
    const auto commands = CommandsOf(page);
    ASSERT_FALSE(commands.empty());
    const Playground here;
    for (const std::string& command : commands) {
      std::string output;
      EXPECT_EQ(here.Shell(command, output), 0) << command << '\n' << output;
    }
    ExpectTableOf(page, ReadOgr(here / TableOf(page, commands.back())));
  }
}

TEST(Pages, WhatStandsBelowACommandIsWhatItPrints) {
  int shown = 0;
  for (const std::string& name : FilesIn(kSource + "/docs/tools", ".md")) {
    SCOPED_TRACE(name);
    for (const auto& block : ReadPage(kSource + "/docs/tools/" + name).blocks) {
      if (block.size() < 2 || !block[0].starts_with("orlinths run ") ||
          block[1].starts_with("orlinths "))
        continue;
      std::string output;
      Playground().Shell(block[0], output);
      EXPECT_EQ(LinesOf(output), std::vector<std::string>(block.begin() + 1, block.end()));
      ++shown;
    }
  }
  EXPECT_GE(shown, 2);
}

TEST(Pages, EverySessionShownIsTheFileOfThatName) {
  for (const std::string& name : FilesIn(kSource + "/docs/tools", ".md")) {
    SCOPED_TRACE(name);
    const std::string session = kSource + "/tests/sessions/" + StemOf(name) + ".json";
    if (!files::FileExists(session)) continue;
    EXPECT_EQ(ReadPage(kSource + "/docs/tools/" + name).blocks.back(), LinesOf(ReadBytes(session)));
  }
}

TEST(Pages, TheIndexNamesEveryPage) {
  const std::string index = ReadBytes(kSource + "/docs/README.md");
  for (const std::string& name : FilesIn(kSource + "/docs/tools", ".md"))
    EXPECT_NE(index.find("(tools/" + name + ")"), std::string::npos) << name;
}

// ---- Sessions

TEST(Sessions, EveryOneTellsWhatIsWrittenBesideItAndGivesThePagesTable) {
  const auto sessions = FilesIn(kSource + "/tests/sessions", ".json");
  ASSERT_FALSE(sessions.empty());
  for (const std::string& session : sessions) {
    SCOPED_TRACE(session);
    const Playground here;
    std::string output;
    EXPECT_EQ(here.Shell("orlinths play " + session + " --json", output), 0) << output;
    EXPECT_EQ(Events(output), LinesOf(ReadBytes(here / (StemOf(session) + ".events"))));
    const std::string path = kSource + "/docs/tools/" + StemOf(session) + ".md";
    if (!files::FileExists(path)) continue;
    const Page page = ReadPage(path);
    ExpectTableOf(page, ReadOgr(here / TableOf(page, CommandsOf(page).back())));
  }
}

}  // namespace
}  // namespace orlinths
