// What all command objects have in common: the answers that stand in the table of commands.
#pragma once

#include <memory>
#include <string>

#include "host/Commands.h"
#include "host/ComponentObject.h"

namespace orlinths {

/// Strings from the table; enabled always, checked never, no help file. It tests nothing: a dialog
/// says what is missing.
class CommandObject : public ICommand, private ComponentObject {
 public:
  explicit CommandObject(const CommandInfo& info) : info_(info) {}

  const KeptAtCreation& Kept() const override { return kept_; }
  bool Enabled() const override { return true; }
  bool Checked() const override { return false; }
  std::string Name() const override { return info_.name; }
  std::string Caption() const override { return info_.caption; }
  std::string Tooltip() const override { return info_.tooltip; }
  std::string Message() const override { return info_.message; }
  std::string HelpFile() const override { return {}; }
  int HelpContextID() const override { return 0; }
  std::string Bitmap() const override { return info_.bitmap; }
  std::string Category() const override { return std::string(kComponent); }

 protected:
  const CommandInfo& Info() const { return info_; }
  KeptAtCreation kept_;

 private:
  const CommandInfo& info_;
};

}  // namespace orlinths
