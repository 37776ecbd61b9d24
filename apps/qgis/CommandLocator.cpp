#include "qgis/CommandLocator.h"

#include <qgsfeedback.h>

#include <algorithm>
#include <utility>

#include "qgis/Text.h"
#include "qgis/Toolbar.h"

namespace orlinths {

CommandLocator::CommandLocator(Clicked clicked) : clicked_(std::move(clicked)) {
  setObjectName(QStringLiteral("OrlinthsLocator"));
}

QgsLocatorFilter* CommandLocator::clone() const { return new CommandLocator(clicked_); }

void CommandLocator::fetchResults(const QString& text, const QgsLocatorContext& context,
                                  QgsFeedback* feedback) {
  for (const CommandInfo& command : AllCommands()) {
    if (feedback != nullptr && feedback->isCanceled()) return;
    const QString caption = ToQt(command.caption);
    const QString className = ToQt(command.className), message = ToQt(command.message);
    double score = std::max(
        {fuzzyScore(caption, text), fuzzyScore(message, text), fuzzyScore(className, text)});
    if (text.isEmpty() && context.usingPrefix) score = 1;
    if (score <= 0) continue;
    QgsLocatorResult result(this, caption, className);
    if (message.compare(caption, Qt::CaseInsensitive) != 0) result.description = message;
    result.icon = IconOf(command);
    result.score = score;
    Q_EMIT resultFetched(result);
  }
}

void CommandLocator::triggerResult(const QgsLocatorResult& result) {
  if (const CommandInfo* command = FindCommand(FromQt(result.userData.toString())))
    clicked_(*command);
}

}  // namespace orlinths
