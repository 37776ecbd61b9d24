#include "host/Commands.h"

#include "host/CommandObject.h"
#include "host/MapTools.h"
#include "host/SmallDialogs.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"

namespace orlinths {
namespace {

IApplication* running = nullptr;

/// What sets single commands apart from the rest.
struct Habits {
  bool keepsDocumentAndMap = true;
  bool looksUpExtension = true;
  const char* extensionClass = nullptr;  ///< nothing: its own
  bool fillsGlobals = true;
  bool newDialogEachClick = false;
};

Habits HabitsOf(std::string_view className) {
  if (className == "clsAbout") return {.looksUpExtension = false, .fillsGlobals = false};
  if (className == "clsMoveParamsSimple") return {.keepsDocumentAndMap = false};
  if (className == "clsFastLScape" || className == "clsRstTypeConv")
    return {.newDialogEachClick = true};
  if (className == "clsClipRasterByPolys") return {.extensionClass = "clsRClip"};
  return {};
}

class DialogCommand : public CommandObject {
 public:
  explicit DialogCommand(const CommandInfo& info)
      : CommandObject(info), habits_(HabitsOf(info.className)) {}

  void OnCreate(IApplication* hook) override {
    kept_.application = &NotNothing(hook);
    if (habits_.keepsDocumentAndMap) {
      kept_.document = hook->Document();
      kept_.map = NotNothing(kept_.document).FocusMap();
    }
    if (habits_.looksUpExtension) {
      kept_.extensionProgId =
          ProgId(habits_.extensionClass ? habits_.extensionClass : Info().className);
      kept_.extension = hook->FindExtension(kept_.extensionProgId);
    }
  }

  void OnClick() override {
    if (habits_.fillsGlobals) InitMapGlobals();
    if (!HasDialog(Info().dialog)) {
      MessageBox("This tool is not available yet: " + Caption(), kInformation, Caption());
    } else if (habits_.newDialogEachClick) {
      NewDialog(Info().dialog)->ShowModal();
    } else {
      SharedDialog(Info().dialog).ShowModal();
    }
  }

 private:
  Habits habits_;
};

}  // namespace

std::string ClassOf(std::string_view progId) {
  const std::string prefix = ProgId("");
  if (!EqualNoCase(progId.substr(0, prefix.size()), prefix)) return {};
  return std::string(progId.substr(prefix.size()));
}

std::unique_ptr<ICommand> CreateCommand(const std::string& progId) {
  const CommandInfo* info = FindCommand(ClassOf(progId));
  if (info == nullptr) return nullptr;
  if (auto tool = CreateMapTool(*info)) return tool;
  return std::make_unique<DialogCommand>(*info);
}

bool IsAvailable(const CommandInfo& command) {
  return *command.dialog == '\0' || HasDialog(command.dialog);
}

// ---- The running application

void SetApplication(IApplication* application) { running = application; }
IApplication* RunningApplication() { return running; }

void InitMapGlobals() {
  gApp = &NotNothing(running);
  gMxDoc = gApp->Document();
  gMap = NotNothing(gMxDoc).FocusMap();
  if (gDigXY == nullptr) gDigXY = &static_cast<frmDigXY&>(SharedDialog("frmDigXY"));
}

// ---- Entry points

std::int32_t DllRegisterServer() { return 0; }
std::int32_t DllUnregisterServer() { return 0; }

std::int32_t DllGetClassObject(const std::string& progId) {
  constexpr auto kNoSuchClass = static_cast<std::int32_t>(0x80040111);
  const bool isClass = FindCommand(ClassOf(progId)) != nullptr || CreateMenu(progId) != nullptr ||
                       EqualNoCase(ClassOf(progId), kExtensionClass);
  return isClass ? 0 : kNoSuchClass;
}

std::int32_t DllCanUnloadNow() { return ComponentObject::Alive() == 0 ? 0 : 1; }

}  // namespace orlinths
