#include <map>
#include <utility>

#include "host/Commands.h"
#include "host/SmallDialogs.h"
#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

struct Registered {
  DialogMaker maker;
  std::unique_ptr<Dialog> shared;
};

/// Kept to the very end of the process, when a host may be gone already: never destroyed.
std::map<std::string, Registered>& Registry() {
  static auto& registry = *[] {
    auto* dialogs = new std::map<std::string, Registered>;
    for (auto& [name, maker] : SmallDialogs()) (*dialogs)[name].maker = std::move(maker);
    return dialogs;
  }();
  return registry;
}

Registered& Find(const std::string& dialogName) {
  const auto found = Registry().find(dialogName);
  if (found == Registry().end()) throw RuntimeError(ErrorNumber::kObjectNotSet);
  return found->second;
}

std::unique_ptr<Dialog> Make(const Registered& registered) {
  auto dialog = registered.maker();
  dialog->KeepDesign();
  return dialog;
}

}  // namespace

void RegisterDialog(const std::string& dialogName, DialogMaker maker) {
  Registry()[dialogName] = {std::move(maker), nullptr};
}

bool HasDialog(const std::string& dialogName) { return Registry().contains(dialogName); }

Dialog& SharedDialog(const std::string& dialogName) {
  Registered& registered = Find(dialogName);
  if (!registered.shared) registered.shared = Make(registered);
  return *registered.shared;
}

std::unique_ptr<Dialog> NewDialog(const std::string& dialogName) { return Make(Find(dialogName)); }

void ForgetDialogs() {
  gDigXY = nullptr;
  for (auto& [name, registered] : Registry()) registered.shared.reset();
}

}  // namespace orlinths
