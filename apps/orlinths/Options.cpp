#include "orlinths/Options.h"

#include <CLI/CLI.hpp>

#include <algorithm>

#include "host/Commands.h"
#include "session/ClockText.h"
#include "session/UserHand.h"
#include "session/Words.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

/// The texts of the options, before they mean anything.
struct Raw {
  bool help = false;
  bool version = false;
  std::vector<std::string> words;  ///< in the place of a command
  std::vector<std::string> selections, queries, answers;
  bool yes = false, no = false;
  std::string clock;
};

void AddFormOption(CLI::App& command, Options& options) {
  command.add_flag("--json", options.json);
}

void AddRunOptions(CLI::App& command, Options& options, Raw& raw) {
  command.add_option("--select", raw.selections)->allow_extra_args(false);
  command.add_option("--where", raw.queries)->allow_extra_args(false);
  command.add_option("--crs", options.spatialReference);
  command.add_option("--answer", raw.answers)->allow_extra_args(false);
  command.add_flag("--yes", raw.yes);
  command.add_flag("--no", raw.no);
  command.add_option("--clock", raw.clock);
  command.add_flag("--overwrite", options.overwrite);
  command.add_option("--save", options.savePath);
  command.add_flag("-q", options.quiet);
  AddFormOption(command, options);
}

void CheckForm(const std::string& option, const std::string& text, const std::string& form) {
  const auto sign = text.find('=');
  if (sign == text.npos || sign == 0)
    WrongCall(option + " takes " + form + ", not " + Quoted(text));
}

void Interpret(const Raw& raw, Options& options) {
  for (const std::string& text : raw.selections)
    CheckForm("--select", text, "LAYER=OID,OID,... or LAYER=where:EXPRESSION");
  for (const std::string& text : raw.queries) CheckForm("--where", text, "LAYER=EXPRESSION");
  options.selections = raw.selections;
  options.queries = raw.queries;
  for (const std::string& list : raw.answers) {
    std::string word;
    for (const char c : list + ',') {
      if (c != ',') {
        word += c;
        continue;
      }
      const auto answer = YesOrNo(word);
      if (!answer) WrongCall("--answer takes yes and no separated by commas, not " + Quoted(word));
      options.answers.push_back(*answer);
      word.clear();
    }
  }
  if (raw.yes && raw.no) WrongCall("--yes and --no exclude each other");
  if (raw.yes || raw.no) options.otherAnswers = raw.yes;
  if (!raw.clock.empty()) {
    options.clock = ParseClock(raw.clock);
    if (!options.clock)
      WrongCall("--clock takes a time such as 2026-03-01T12:00:00, not " + Quoted(raw.clock));
  }
}

void NoSuchVerb(const std::string& word) {
  if (const CommandInfo* info = FindCommand(word))
    WrongCall(std::string("say \"orlinths run ") + info->className + " ...\" or \"orlinths " +
              info->className + " --help\"");
  WrongCall("there is no command " + Quoted(word) + "; there are: list, describe, run, play");
}

}  // namespace

Options ParseOptions(const std::vector<std::string>& arguments) {
  Options options;
  Raw raw;
  CLI::App app;
  app.set_help_flag();
  app.require_subcommand(0, 1);  // an input may be called "list"
  app.add_flag("-h,--help", raw.help);
  app.add_flag("--version", raw.version);
  app.add_option("WORDS", raw.words);

  CLI::App* list = app.add_subcommand("list");
  CLI::App* describe = app.add_subcommand("describe");
  CLI::App* run = app.add_subcommand("run");
  CLI::App* play = app.add_subcommand("play");
  for (CLI::App* command : {list, describe, run, play}) {
    command->set_help_flag();
    command->add_flag("-h,--help", raw.help);
  }
  AddFormOption(*list, options);
  AddFormOption(*describe, options);
  describe->add_option("CLASS", options.className);
  run->add_option("CLASS", options.className);
  run->add_option("ARGUMENTS", options.arguments);
  AddRunOptions(*run, options, raw);
  play->add_option("SESSION", options.sessionPath);
  AddRunOptions(*play, options, raw);

  std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());  // as CLI11 wants them
  if (const auto failure = FailureOf([&] { app.parse(reversed); })) {
    std::string words = failure->Description();
    std::replace(words.begin(), words.end(), '\n', ' ');
    WrongCall(words);
  }

  using Command = Options::Command;
  const bool knowsClass = !options.className.empty();
  if (raw.version) {
    options.command = Command::kVersion;
  } else if (raw.help) {
    if (!raw.words.empty()) options.className = raw.words.front();
    options.command = options.className.empty() ? Command::kHelp : Command::kClassHelp;
  } else if (list->parsed()) {
    options.command = Command::kList;
  } else if (describe->parsed() || run->parsed()) {
    options.command = run->parsed() ? Command::kRun : Command::kDescribe;
    if (!knowsClass) WrongCall("which tool? See \"orlinths list\"");
  } else if (play->parsed()) {
    options.command = Command::kPlay;
    if (options.sessionPath.empty()) WrongCall("which session? Say \"orlinths play SESSION.json\"");
  } else if (!raw.words.empty()) {
    NoSuchVerb(raw.words.front());
  } else {
    WrongCall("what to do? See \"orlinths --help\"");
  }
  Interpret(raw, options);
  return options;
}

std::string HelpText() {
  return R"(Orlinth's Analysis Tools on the command line, without a window.

  orlinths list [--json]                          the tools in menu order
  orlinths describe CLASS [--json]                a tool's dialog: controls, defaults, choices
  orlinths CLASS --help                           what a tool does and how it is called
  orlinths run CLASS [INPUT...] [NAME=VALUE...]   one run of a tool
  orlinths play SESSION.json                      what a session file tells, step by step
  orlinths --version | --help

CLASS is a tool's class, such as clsAddArea. An INPUT is a layer or table for the map: a path, or
LAYERNAME=PATH. NAME=VALUE sets a control of the tool's dialog: a text, an item, yes or no, items
separated by | (* for all), an output path. DIALOG.NAME=VALUE sets one of a further dialog.

Options of run and play:
  --select LAYER=OIDS      selection of a layer: OIDs separated by commas, or LAYER=where:EXPRESSION
  --where LAYER=EXPRESSION definition query of a layer
  --crs EPSG:N             the map's spatial reference
  --answer yes,no,...      replies to questions, in order
  --yes, --no              the reply to all questions that remain
  --clock TIME             fixes the clock, and so every random draw (2026-03-01T12:00:00)
  --overwrite              replaces an output that exists; without it a run refuses
  --save SESSION.json      writes what was done as a session file
  --json                   events as JSON lines instead of messages for people
  -q                       no progress bar, no chatter

Exit status: 0 success, 1 refused, 2 wrong call, 3 run-time failure, 4 unanswered question,
130 stopped.
)";
}

}  // namespace orlinths
