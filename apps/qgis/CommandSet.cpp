#include "qgis/CommandSet.h"

#include "runtime/Trap.h"

namespace orlinths {

ICommand& CommandSet::Of(const CommandInfo& info) {
  auto& command = commands_[info.className];
  if (!command) {
    command = CreateCommand(ProgId(info.className));
    NotNothing(command.get()).OnCreate(&application_);
  }
  return *command;
}

void CommandSet::Click(const CommandInfo& info) {
  const auto failure = FailureOf([&] { Of(info).OnClick(); });
  if (failure)
    ReportError(std::string(info.className) + ": ", failure->Number(), failure->Description());
}

}  // namespace orlinths
