#include "qgis/FilePickers.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>

#include <qgsproject.h>
#include <qgssettings.h>

#include "qgis/Text.h"
#include "runtime/Files.h"

namespace orlinths {
namespace {

using Filter = IDialogHost::Filter;
using Question = IDialogHost::Question;

const QString kLastFolder = QStringLiteral("OrlinthsTools/lastFolder");

/// The extension that a name without one gets; empty where the name alone says the kind.
QString Suffix(Filter filter) {
  switch (filter) {
    case Filter::kShapefiles:
      return QStringLiteral("shp");
    case Filter::kDbase:
      return QStringLiteral("dbf");
    case Filter::kText:
      return QStringLiteral("csv");
    default:
      return {};
  }
}

QString StartFolder(const QString& asked = {}) {
  if (!asked.isEmpty() && QDir(asked).exists()) return asked;
  const QString last = QgsSettings().value(kLastFolder).toString();
  if (!last.isEmpty() && QDir(last).exists()) return last;
  const QString project = QgsProject::instance()->absolutePath();
  return project.isEmpty() ? QDir::homePath() : project;
}

}  // namespace

QString FilterText(Filter filter) {
  const QString all = QStringLiteral(";;All files (*)");
  switch (filter) {
    case Filter::kShapefiles:
      return QStringLiteral("ESRI Shapefiles (*.shp *.SHP)");
    case Filter::kRasters:
      return QStringLiteral("Rasters (*.tif *.tiff *.img *.asc *.vrt)") + all;
    case Filter::kDbase:
      return QStringLiteral("dBASE tables (*.dbf *.DBF)");
    case Filter::kText:
      return QStringLiteral("Text files (*.csv *.txt)") + all;
    case Filter::kTables:
      return QStringLiteral("Tables (*.dbf *.csv *.txt)") + all;
    case Filter::kFolders:
    case Filter::kAny:
      break;
  }
  return QStringLiteral("All files (*)");
}

IDialogHost::Choice ChoiceOf(const std::string& path, const Question& question) {
  QString chosen = QDir::cleanPath(ToQt(path));
  const QString suffix = Suffix(question.filter);
  if (question.save && !suffix.isEmpty() && QFileInfo(chosen).suffix().isEmpty())
    chosen += QLatin1Char('.') + suffix;
  IDialogHost::Choice choice;
  choice.folder = FolderOf(FromQt(chosen));
  choice.name = NameOf(FromQt(chosen));
  choice.replacing = question.save && QFileInfo::exists(chosen);
  return choice;
}

bool AskForFile(const Question& question, IDialogHost::Choice& choice, QWidget* parent) {
  QFileDialog dialog(parent, ToQt(question.title), StartFolder(ToQt(question.startFolder)));
  if (question.filter == Filter::kFolders) {
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
  } else {
    dialog.setNameFilter(FilterText(question.filter));
    dialog.setAcceptMode(question.save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(question.save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    dialog.setDefaultSuffix(question.save ? Suffix(question.filter) : QString());
  }
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return false;
  choice = ChoiceOf(FromQt(dialog.selectedFiles().constFirst()), question);
  QgsSettings().setValue(kLastFolder, question.filter == Filter::kFolders ? ToQt(choice.FullName())
                                                                          : ToQt(choice.folder));
  return true;
}

QString AskForSession(const QString& title, const QString& name, QWidget* parent) {
  QFileDialog dialog(parent, title, StartFolder(), QStringLiteral("Session files (*.json)"));
  dialog.setAcceptMode(QFileDialog::AcceptSave);
  dialog.setDefaultSuffix(QStringLiteral("json"));
  dialog.selectFile(name);
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
  const QString path = dialog.selectedFiles().constFirst();
  QgsSettings().setValue(kLastFolder, QFileInfo(path).absolutePath());
  return path;
}

}  // namespace orlinths
