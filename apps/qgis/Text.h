// Texts on their way between the tools (UTF-8, a carriage return is a line break) and Qt.
#pragma once

#include <QGuiApplication>
#include <QString>
#include <QStringList>

#include <string>
#include <string_view>

namespace orlinths {

inline QString ToQt(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<int>(text.size()));
}
/// The same for a text of several lines.
inline QString ToQtLines(std::string_view text) {
  QString lines = ToQt(text);
  lines.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
  lines.replace(QLatin1Char('\r'), QLatin1Char('\n'));
  return lines;
}
inline std::string FromQt(const QString& text) { return text.toStdString(); }

/// In a window that runs from right to left: keeps what ends a line of English, a colon, a bracket
/// or dots, behind it.
inline QString EndedLeftToRight(const QString& text) {
  constexpr QChar kMark(0x200E);  // an invisible letter that is read from left to right
  if (!QGuiApplication::isRightToLeft()) return text;
  QStringList lines = text.split(QLatin1Char('\n'));
  for (QString& line : lines)
    if (!line.isEmpty() && !line.endsWith(kMark)) line += kMark;
  return lines.join(QLatin1Char('\n'));
}

/// Captions are shown to the letter: an ampersand in one marks no shortcut.
inline QString ToQtCaption(std::string_view text) {
  QString caption = ToQtLines(text);
  caption.replace(QLatin1Char('&'), QStringLiteral("&&"));
  return EndedLeftToRight(caption);
}

}  // namespace orlinths
