#include "qgis/MessageBoxes.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QTimer>

namespace orlinths {
namespace {

TEST(MessageBoxes, IconButtonsAndTitleAreAsTheFlagsSay) {
  struct Case {
    int flags;
    QMessageBox::Icon icon;
    bool isQuestion;
  };
  for (const Case& expected :
       {Case{0, QMessageBox::NoIcon, false}, Case{48, QMessageBox::Warning, false},
        Case{16, QMessageBox::Critical, false}, Case{64, QMessageBox::Information, false},
        Case{4, QMessageBox::NoIcon, true}, Case{52, QMessageBox::Warning, true}}) {
    SCOPED_TRACE(expected.flags);
    const auto box = MakeMessageBox("a < b\rsecond", expected.flags, "Error", nullptr);
    EXPECT_EQ(box->icon(), expected.icon);
    EXPECT_EQ(box->text(), QStringLiteral("a < b\nsecond"));
    EXPECT_EQ(box->windowTitle(), QStringLiteral("Error"));
    EXPECT_EQ(box->buttons().size(), expected.isQuestion ? 2 : 1);
    EXPECT_EQ(ButtonOf(*box, Reply::kOk) != nullptr, !expected.isQuestion);
    EXPECT_EQ(ButtonOf(*box, Reply::kNo) != nullptr, expected.isQuestion);
  }
}

TEST(MessageBoxes, OneWithoutTitleHasTheProductsName) {
  EXPECT_EQ(MakeMessageBox("x", 0, "", nullptr)->windowTitle(),
            QStringLiteral("Orlinth's Analysis Tools"));
}

Reply AnswerBy(int flags, const std::function<void(QMessageBox&)>& user) {
  QObject context;
  QTimer::singleShot(0, &context, [&] {
    for (QWidget* widget : QApplication::topLevelWidgets())
      if (auto* box = qobject_cast<QMessageBox*>(widget); box != nullptr && box->isVisible())
        user(*box);
  });
  return ShowMessageBox("Go on?", flags, "", nullptr);
}

TEST(MessageBoxes, AQuestionGivesTheButtonAndClosingItMeansNo) {
  EXPECT_EQ(AnswerBy(4, [](QMessageBox& box) { ButtonOf(box, Reply::kYes)->click(); }),
            Reply::kYes);
  EXPECT_EQ(AnswerBy(4, [](QMessageBox& box) { ButtonOf(box, Reply::kNo)->click(); }), Reply::kNo);
  EXPECT_EQ(AnswerBy(4, [](QMessageBox& box) { box.close(); }), Reply::kNo);
  EXPECT_EQ(AnswerBy(48, [](QMessageBox& box) { box.close(); }), Reply::kOk);
}

}  // namespace
}  // namespace orlinths
