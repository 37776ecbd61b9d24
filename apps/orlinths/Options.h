// What stands on the command line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orlinths {

struct Options {
  enum class Command { kHelp, kVersion, kList, kDescribe, kClassHelp, kRun, kPlay };
  Command command = Command::kHelp;

  std::string className;               ///< of describe, run and a command's help
  std::string sessionPath;             ///< of play
  std::vector<std::string> arguments;  ///< of run: inputs and NAME=VALUE, in order

  // As written, LAYER=...: which sign ends a layer's name, the map must tell.
  std::vector<std::string> selections;  ///< OIDs or "where:..." behind the layer
  std::vector<std::string> queries;     ///< an expression behind the layer
  std::string spatialReference;
  std::vector<bool> answers;
  std::optional<bool> otherAnswers;
  std::optional<std::int64_t> clock;
  bool overwrite = false;
  std::string savePath;
  bool json = false;
  bool quiet = false;
};

/// `arguments` without the program's name. What cannot be understood is a wrong call.
Options ParseOptions(const std::vector<std::string>& arguments);

/// What `orlinths --help` shows.
std::string HelpText();

}  // namespace orlinths
