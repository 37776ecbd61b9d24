// All commands in QGIS's locator bar, those too that stand in no menu.
#pragma once

#include <qgslocatorfilter.h>

#include <functional>

#include "host/Commands.h"

namespace orlinths {

class CommandLocator : public QgsLocatorFilter {
 public:
  using Clicked = std::function<void(const CommandInfo&)>;
  explicit CommandLocator(Clicked clicked);
  QgsLocatorFilter* clone() const override;
  QString name() const override { return QStringLiteral("orlinthstools"); }
  QString displayName() const override { return QStringLiteral("Orlinth's Tools"); }
  /// QGIS lets plugins have three letters and more.
  QString prefix() const override { return QStringLiteral("orl"); }
  Priority priority() const override { return Medium; }
  Flags flags() const override { return FlagFast; }
  void fetchResults(const QString& text, const QgsLocatorContext& context,
                    QgsFeedback* feedback) override;
  void triggerResult(const QgsLocatorResult& result) override;

 private:
  Clicked clicked_;
};

}  // namespace orlinths
