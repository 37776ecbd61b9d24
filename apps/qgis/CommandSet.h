// The component's commands, made when first used, and clicked.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "host/Commands.h"

namespace orlinths {

class CommandSet {
 public:
  explicit CommandSet(IApplication& application) : application_(application) {}
  /// The command object of a class of the component.
  ICommand& Of(const CommandInfo& info);
  /// Clicks it. A failure that comes back is shown.
  void Click(const CommandInfo& info);

 private:
  IApplication& application_;
  std::map<std::string, std::unique_ptr<ICommand>> commands_;
};

}  // namespace orlinths
