// The component as its host sees it: extension, toolbar, menus and the 56 commands, found by
// ProgID.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "data/Application.h"
#include "host/Dialog.h"

namespace orlinths {

inline constexpr std::string_view kComponent = "OrlinthsTools3";
/// "OrlinthsTools3." and the class.
std::string ProgId(std::string_view className);

/// One row of the table of commands.
struct CommandInfo {
  const char* className;
  const char* name;
  const char* caption;
  const char* tooltip;
  const char* message;
  const char* dialog;  ///< empty for the three map tools
  const char* bitmap;  ///< the picture control of `frmCommandBitmaps`
};
/// All 56, in the order of their classes.
const std::vector<CommandInfo>& AllCommands();
const CommandInfo* FindCommand(
    std::string_view className);  ///< without regard to case; nothing when there is none

/// What a command keeps of its host at `OnCreate`: the application object, its document, the focus
/// map, and the extension found under `extensionProgId`. What a command's class does not keep stays
/// nothing.
struct KeptAtCreation {
  IApplication* application = nullptr;
  IMxDocument* document = nullptr;
  IMap* map = nullptr;
  std::string extensionProgId;  ///< what the application was asked for
  void* extension = nullptr;    ///< nothing for an ordinary command, and no code reads it
};

/// A failing call of the host goes straight back to the host.
class ICommand {
 public:
  virtual ~ICommand() = default;
  virtual const KeptAtCreation& Kept() const = 0;
  virtual bool Enabled() const = 0;
  virtual bool Checked() const = 0;
  virtual std::string Name() const = 0;
  virtual std::string Caption() const = 0;
  virtual std::string Tooltip() const = 0;
  virtual std::string Message() const = 0;
  virtual std::string HelpFile() const = 0;
  virtual int HelpContextID() const = 0;
  virtual std::string Bitmap() const = 0;  ///< name of the picture
  virtual std::string Category() const = 0;
  virtual void OnCreate(IApplication* hook) = 0;
  virtual void OnClick() = 0;
};

/// Commands that act on the map view.
class ITool {
 public:
  virtual ~ITool() = default;
  virtual std::string Cursor() const { return {}; }
  virtual void OnMouseDown(int /*button*/, int /*shift*/, int /*x*/, int /*y*/) {}
  virtual void OnMouseMove(int, int, int, int) {}
  virtual void OnMouseUp(int, int, int, int) {}
  virtual void OnKeyDown(int, int) {}
  virtual void OnKeyUp(int, int) {}
  virtual void OnDblClick() {}
  virtual bool OnContextMenu(int, int) { return false; }
  virtual bool Deactivate() { return true; }
  virtual void Refresh(int) {}
};

struct ItemDef {
  std::string id;  ///< ProgID
  bool group = false;
};

/// A menu; the toolbar answers the same four questions.
class IMenuDef {
 public:
  virtual ~IMenuDef() = default;
  virtual int ItemCount() const = 0;
  /// A position outside the range sets nothing but the cleared group flag.
  virtual void GetItemInfo(int position, ItemDef& item) const = 0;
  virtual std::string Name() const = 0;
  virtual std::string Caption() const = 0;
};
using IToolBarDef = IMenuDef;

/// The extension object: IExtension and IExtensionConfig.
class IExtension {
 public:
  virtual ~IExtension() = default;
  virtual std::string Name() const = 0;
  virtual void Startup() = 0;
  virtual void Shutdown() = 0;
  virtual std::string ProductName() const = 0;
  virtual std::string Description() const = 0;
  virtual std::int32_t State() const = 0;
  virtual void SetState(std::int32_t state) = 0;
};

/// Makes objects of the component by ProgID; nothing for one that is no such class.
std::unique_ptr<ICommand> CreateCommand(const std::string& progId);
std::unique_ptr<IMenuDef> CreateMenu(const std::string& progId);  ///< the toolbar too
std::unique_ptr<IExtension> CreateExtension(const std::string& progId);
inline constexpr const char* kExtensionClass = "clsExtOrlinth";
inline constexpr const char* kToolbarClass = "clsExtOrlinthToolbar";

/// A command in its place: menu path by captions from the top ("OrlinthsTools", "Sampling Tools");
/// {"Orlinth's Tools"} for the toolbar's own, empty for a command in no menu.
struct CommandPlace {
  const CommandInfo* command;
  std::vector<std::string> menu;
};
/// The menu tree depth first, then the toolbar's own, then commands that stand nowhere.
std::vector<CommandPlace> CommandsInMenuOrder();

/// Fills `gApp`, `gMxDoc`, `gMap` from the running application, and `gDigXY` when it is nothing.
/// Called at each click.
void InitMapGlobals();
/// The running application, told once by the host.
void SetApplication(IApplication* application);
IApplication* RunningApplication();

/// Dialogs by name: the component registers a maker for each tool that exists.
using DialogMaker = std::function<std::unique_ptr<Dialog>()>;
void RegisterDialog(const std::string& dialogName, DialogMaker maker);
bool HasDialog(const std::string& dialogName);
/// The shared instance, made on first use and kept for the life of the process. Error 91 for a
/// dialog that no one registered.
Dialog& SharedDialog(const std::string& dialogName);
std::unique_ptr<Dialog> NewDialog(const std::string& dialogName);
/// Forgets the shared instances and `gDigXY`, as a new process would start (for tests).
void ForgetDialogs();
/// True when a click opens something: the dialog is registered, or the command is a map tool that
/// is there.
bool IsAvailable(const CommandInfo& command);

/// The entry points of an in-process component. 0 is success; DllGetClassObject answers whether the
/// ProgID names a class (0) or not (0x80040111); DllCanUnloadNow 0 when nothing made by it is
/// alive, else 1. Registration is the installation's: both give 0.
std::int32_t DllRegisterServer();
std::int32_t DllUnregisterServer();
std::int32_t DllGetClassObject(const std::string& progId);
std::int32_t DllCanUnloadNow();

}  // namespace orlinths
