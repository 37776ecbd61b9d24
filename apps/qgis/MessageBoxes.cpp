#include "qgis/MessageBoxes.h"

#include <QAbstractButton>

#include "qgis/Text.h"

namespace orlinths {
namespace {

constexpr int kButtons = 0x0F, kIcons = 0xF0;

QMessageBox::Icon IconOf(int flags) {
  switch (flags & kIcons) {
    case kCritical:
      return QMessageBox::Critical;
    case kExclamation:
      return QMessageBox::Warning;
    case kInformation:
      return QMessageBox::Information;
    default:
      return QMessageBox::NoIcon;
  }
}

bool IsQuestion(int flags) { return (flags & kButtons) == kYesNo; }

}  // namespace

std::unique_ptr<QMessageBox> MakeMessageBox(const std::string& text, int flags,
                                            const std::string& title, QWidget* parent) {
  auto box = std::make_unique<QMessageBox>(parent);
  box->setObjectName(QStringLiteral("orlinthsMessage"));
  box->setIcon(IconOf(flags));
  box->setTextFormat(Qt::PlainText);
  box->setTextInteractionFlags(Qt::TextSelectableByMouse);
  box->setText(ToQtLines(text));
  box->setWindowTitle(title.empty() ? QStringLiteral("Orlinth's Analysis Tools") : ToQt(title));
  box->setWindowModality(Qt::ApplicationModal);
  if (IsQuestion(flags)) {
    box->setStandardButtons(QMessageBox::Yes | QMessageBox::No);
    box->setDefaultButton(QMessageBox::Yes);
    box->setEscapeButton(QMessageBox::No);
  } else {
    box->setStandardButtons(QMessageBox::Ok);
  }
  return box;
}

QAbstractButton* ButtonOf(const QMessageBox& box, Reply reply) {
  switch (reply) {
    case Reply::kYes:
      return box.button(QMessageBox::Yes);
    case Reply::kNo:
      return box.button(QMessageBox::No);
    case Reply::kOk:
      break;
  }
  return box.button(QMessageBox::Ok);
}

Reply ShowMessageBox(const std::string& text, int flags, const std::string& title,
                     QWidget* parent) {
  const auto box = MakeMessageBox(text, flags, title, parent);
  const int answer = box->exec();
  if (!IsQuestion(flags)) return Reply::kOk;
  return answer == QMessageBox::Yes ? Reply::kYes : Reply::kNo;
}

}  // namespace orlinths
