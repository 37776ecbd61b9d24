// QGIS's libraries without its main window, for every test of this program.
#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <qgsapplication.h>
#include <qgsproject.h>

#include <clocale>
#include <memory>

namespace orlinths {
namespace {

class QgisEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    static int argc = 1;
    static char name[] = "qgis_tests";
    static char* argv[] = {name, nullptr};
    const std::string locale = std::setlocale(LC_ALL, nullptr);
    QgsApplication::setPrefixPath(QStringLiteral(ORLINTHS_QGIS_PREFIX), true);
    application_ = std::make_unique<QgsApplication>(argc, argv, true, profile_.path());
    QgsApplication::initQgis();
    std::setlocale(LC_ALL, locale.c_str());  // that of the test, whatever Qt takes
  }
  void TearDown() override {
    QgsProject::instance()->clear();
    QgsApplication::exitQgis();
    application_.reset();
  }

 private:
  QTemporaryDir profile_;
  std::unique_ptr<QgsApplication> application_;
};

const auto* const environment =
    ::testing::AddGlobalTestEnvironment(new QgisEnvironment);  // GoogleTest owns it

}  // namespace
}  // namespace orlinths
