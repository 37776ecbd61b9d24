#include "QgisProcess.h"

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>

#include "runtime/Files.h"
#include "runtime/Value.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

constexpr const char* kLocale = "ORLINTHS_TEST_LOCALE";

}  // namespace

int Shell(const std::string& line) {
  const int status = std::system(line.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string ForShell(const std::string& text) { return "'" + text + "'"; }

void MakeProfile(const std::string& folder) {
  const std::string settings = folder + "/profiles/default/QGIS";
  std::filesystem::create_directories(settings);
  // In a test of another locale QGIS speaks its language.
  std::string language;
  if (const char* locale = std::getenv(kLocale)) {
    const std::string name(locale, 5);  // "de_DE"
    language = "[locale]\noverrideFlag=true\nuserLocale=" + name.substr(0, 2) +
               "\nglobalLocale=" + name + "\n\n";
  }
  WriteBytes(settings + "/QGIS3.ini",
             language +
                 "[Plugins]\nliborlinthstoolsplugin=true\n\n[plugins]\nsearchPathsForPlugins=" +
                 std::string(ORLINTHS_PLUGINS) +
                 "\n\n[PythonPlugins]\nMetaSearch=false\ndb_manager=false\nprocessing=false\n"
                 "grassprovider=false\nsagaprovider=false\n\n[qgis]\ncheckVersion=false\n"
                 "showTips=false\n\n[app]\nprojections\\promptWhenMultipleTransformsExist=false\n");
}

QgisRun RunQgis(const std::string& profile, const std::string& environment,
                const std::string& arguments, int copies) {
  const TempFolder apart;
  const std::string log = apart / "log.txt", script = apart / "run.sh";
  const std::string qgis = ORLINTHS_QGIS_UNDER " qgis --profiles-path " + ForShell(profile) +
                           " --nologo --noversioncheck " + arguments;
  // QGIS writes its settings as it starts: another one waits until that is done.
  std::string lines = "pids=\n";
  for (int i = 0; i < copies; ++i) {
    if (i > 0)
      lines += "while kill -0 $! && [ ! -e \"$ORLINTHS_DATA.started" + ToText(i - 1) +
               "\" ]; do sleep 0.05; done\n";
    lines += "COPY=" + ToText(i) + ' ' + qgis + " & pids=\"$pids $!\"\n";
  }
  // QGIS brings Python of its own: no other may come first in the path.
  WriteBytes(script,
             "PATH=$(getconf PATH)\n" + lines +
                 "status=0\nfor pid in $pids; do wait $pid || status=$?; done\nexit $status\n");
  std::string everywhere = " PYTHONDONTWRITEBYTECODE=1 PYTHONPATH=" + ForShell(ORLINTHS_SCRIPTS);
  if (const char* locale = std::getenv(kLocale)) everywhere += " LC_ALL=" + ForShell(locale);
  QgisRun run;
  run.status =
      Shell(environment + everywhere +
            " QT_QPA_PLATFORM=xcb timeout -k 10 600 xvfb-run -a -s '-screen 0 1600x1200x24' sh " +
            ForShell(script) + " >" + ForShell(log) + " 2>&1");
  run.said = ReadBytes(log);
  return run;
}

}  // namespace orlinths
