// A whole host for tests of tools: a map, scripted dialogs, captured messages, and a record of what
// the tool told the host.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/Commands.h"
#include "host/HeadlessApplication.h"
#include "support/CapturedMessages.h"
#include "support/ScriptedDialogs.h"

namespace orlinths {

class TestHost {
 public:
  TestHost();
  ~TestHost();
  TestHost(const TestHost&) = delete;
  TestHost& operator=(const TestHost&) = delete;

  CapturedMessages messages;
  HeadlessApplication application;
  ScriptedDialogs dialogs;
  Map& map = application.map;

  /// Opens a dialog of its own, as a command's click would. It lives as long as the host.
  template <class T>
  Hand Open() {
    InitMapGlobals();
    own_.push_back(std::make_unique<T>());
    own_.back()->KeepDesign();
    own_.back()->ShowModal();
    return Hand(dialogs, *own_.back());
  }
  /// The dialog made by the last `Open`, for its members.
  template <class T>
  T& Last() {
    return dynamic_cast<T&>(*own_.back());
  }
  /// Clicks a command by its class, as from a menu, and gives the dialog that it has left open.
  Hand Click(const std::string& className);

  /// Puts a dataset into the map, below what is there, and tells nobody. An empty name leaves the
  /// dataset's.
  std::shared_ptr<IFeatureLayer> AddLayer(const std::string& path, const std::string& name = {});
  StandaloneTablePtr AddTable(const std::string& path);

  /// Texts of the messages shown so far, in order.
  Texts Messages() const { return messages.Text(); }

  std::vector<std::string> addedLayers;  ///< names, in order
  std::vector<std::string> selections;   ///< names of layers whose selection a tool changed
  std::vector<std::string> statusBar;    ///< texts of the first pane
  std::vector<std::string> progress;     ///< messages of the progressor, each when it is new

 private:
  std::vector<std::unique_ptr<Dialog>> own_;
};

}  // namespace orlinths
