// The last runs, to be looked up, done again, kept and sent around.
#pragma once

#include <QDockWidget>

#include <functional>
#include <string>

#include "qgis/HistoryFiles.h"

class QTreeWidget;

namespace orlinths {

class HistoryPanel : public QDockWidget {
 public:
  HistoryPanel(HistoryFiles files, QWidget* parent);
  /// The dialog of a run is to be opened as it was filled in then.
  std::function<void(const Session&)> onRunAgain;

  void Keep(const Session& session, RunOutcome outcome);
  /// Looks at the files anew.
  void ShowRuns();

 private:
  void RunAgain();
  void SaveAs();
  void CopyCommandLine();
  /// The path of the run chosen; empty for none.
  std::string Chosen() const;
  /// Does something with the session of the run chosen; tells what went wrong.
  void WithChosen(const std::function<void(const Session&, const std::string& path)>& use);

  HistoryFiles files_;
  QTreeWidget* list_;
};

}  // namespace orlinths
