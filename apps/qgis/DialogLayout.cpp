#include "qgis/DialogLayout.h"

#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

#include "qgis/DialogPlan.h"
#include "qgis/Text.h"
#include "runtime/Files.h"

namespace orlinths {
namespace {

constexpr int kSpaceBetweenColumns = 12, kTight = 3;
constexpr const char* kGrows = "orlinthsGrows";  // a section that takes what room there is
constexpr int kLongWords = 370, kIndent = 20;
constexpr int kListHeight = 110, kListWidth = 160;
constexpr int kNoteHeight = 80, kNoteWidth = 320;       // a page of text among other controls
constexpr int kReportHeight = 300, kReportWidth = 460;  // one that the dialog is about
constexpr int kNumberWidth = 110, kChoiceWidth = 190, kPathWidth = 300;

int FieldWidth(const Control& field) {
  if (field.Kind() == ControlKind::kCombo) return kChoiceWidth;
  const auto* box = dynamic_cast<const TextBox*>(&field);
  return box != nullptr && box->picker != nullptr ? kPathWidth : kNumberWidth;
}

class Layouter {
 public:
  Layouter(const Dialog& dialog, const WidgetOf& widgetOf, QDialog& window, QSize screen)
      : dialog_(dialog),
        plan_(PlanOf(dialog)),
        widgetOf_(widgetOf),
        window_(window),
        screen_(screen) {}

  std::vector<QWidget*> LayOut() {
    std::vector<QWidget*> sections, panels;
    for (const PlannedSection& section : plan_.sections) sections.push_back(MakeSection(section));
    auto* whole = new QVBoxLayout(&window_);
    panels.push_back(Body(sections));
    whole->addWidget(panels.back(), 1);
    AddStatus(*whole);
    for (ProgressBar* bar : plan_.progress) whole->addWidget(widgetOf_(*bar).Widget());
    if (!plan_.buttons.empty()) {
      panels.push_back(MakeButtons());
      whole->addWidget(panels.back());
    }
    return panels;
  }

 private:
  // ---- Rows

  QWidget* MakeSection(const PlannedSection& section) {
    QWidget* box = section.frame == nullptr
                       ? new QWidget(&window_)
                       : new QGroupBox(ToQtCaption(section.frame->caption), &window_);
    grid_ = new QGridLayout(box);
    if (section.frame == nullptr) grid_->setContentsMargins(0, 0, 0, 0);
    grid_->setColumnStretch(1, 1);
    hasGrowingRow_ = false;
    for (const PlannedRow& row : section.rows) AddRow(row, *box);
    if (!hasGrowingRow_) grid_->setRowStretch(grid_->rowCount(), 1);
    box->setProperty(kGrows, hasGrowingRow_);
    grids_.push_back(grid_);
    return box;
  }

  void AddRow(const PlannedRow& row, QWidget& box) {
    const int line = grid_->rowCount();
    switch (row.kind) {
      case PlannedRow::Kind::kField:
        return AddField(row, line, box);
      case PlannedRow::Kind::kChoice:
        return AddChoice(row, line, box);
      case PlannedRow::Kind::kButtons:
        return AddButtons(row, line);
      case PlannedRow::Kind::kLists:
        return AddLists(row, line, box);
      case PlannedRow::Kind::kWide:
        return AddWide(row, line, box);
    }
  }

  /// The words beside or above a control: those of a label control, or the control's own.
  QLabel* CaptionOf(const PlannedRow& row, const std::string& words, ControlWidget& of,
                    QWidget& box) {
    if (row.label != nullptr) {
      QWidget* widget = widgetOf_(*row.label).Widget();
      auto* label = qobject_cast<QLabel*>(widget);
      if (label != nullptr) label->setWordWrap(false);
      return label;
    }
    if (words.empty()) return nullptr;
    auto* label = new QLabel(ToQtCaption(words), &box);
    label->setTextFormat(Qt::PlainText);
    label->setText(ToQtLines(words));
    of.caption = label;
    return label;
  }

  /// The field with what belongs to it.
  QLayout* FieldOf(const PlannedRow& row, Control& field) {
    auto* line = new QHBoxLayout;
    QWidget* box = widgetOf_(field).Widget();
    box->setMinimumWidth(FieldWidth(field));
    line->addWidget(box, 1);
    if (row.arrows != nullptr) {
      line->setSpacing(0);
      line->addWidget(widgetOf_(*row.arrows).Widget());
    }
    if (row.picker != nullptr) line->addWidget(widgetOf_(*row.picker).Widget());
    return line;
  }

  void AddField(const PlannedRow& row, int line, QWidget& box) {
    Control& field = *row.controls.front();
    QLabel* caption = nullptr;
    if (row.label != nullptr) caption = CaptionOf(row, {}, widgetOf_(*row.label), box);
    QLayout* layout = FieldOf(row, field);
    if (row.label == nullptr) caption = CaptionOf(row, row.caption, widgetOf_(field), box);
    if (caption == nullptr) {
      grid_->addLayout(layout, line, 0, 1, 2);
      return;
    }
    caption->setBuddy(widgetOf_(field).Widget());
    AddPair(*caption, *layout, line);
  }

  /// Words beside their field; above it where they are long.
  void AddPair(QWidget& words, QLayout& field, int line) {
    if (words.sizeHint().width() <= kLongWords) {
      grid_->addWidget(&words, line, 0);
      grid_->addLayout(&field, line, 1);
      return;
    }
    field.setContentsMargins(kIndent, 0, 0, 0);
    grid_->addWidget(&words, line, 0, 1, 2);
    grid_->addLayout(&field, line + 1, 0, 1, 2);
  }

  void AddChoice(const PlannedRow& row, int line, QWidget&) {
    QWidget* choice = widgetOf_(*row.controls.front()).Widget();
    if (row.controls.size() == 1) {
      grid_->addWidget(choice, line, 0, 1, 2);
      return;
    }
    AddPair(*choice, *FieldOf(row, *row.controls.back()), line);
  }

  void AddButtons(const PlannedRow& row, int line) {
    auto* buttons = new QHBoxLayout;
    for (Control* button : row.controls) buttons->addWidget(widgetOf_(*button).Widget());
    buttons->addStretch(1);
    grid_->addLayout(buttons, line, 0, 1, 2);
  }

  /// The first list of a row may find its words said elsewhere.
  static bool IsCaptioned(const PlannedRow& row, const Control& list) {
    return &list != row.controls.front() || !row.caption.empty();
  }

  void AddLists(const PlannedRow& row, int line, QWidget& box) {
    auto* lists = new QHBoxLayout;
    for (Control* control : row.controls) {
      auto* column = new QVBoxLayout;
      QLabel* caption =
          row.label == nullptr ? nullptr : CaptionOf(row, {}, widgetOf_(*row.label), box);
      ControlWidget& list = widgetOf_(*control);
      if (caption == nullptr && IsCaptioned(row, *control))
        caption = CaptionOf(row, control->caption(), list, box);
      if (caption != nullptr) {
        caption->setBuddy(list.Widget());
        column->addWidget(caption);
      }
      list.Widget()->setMinimumSize(kListWidth, kListHeight);
      list.Widget()->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Ignored);
      column->addWidget(list.Widget(), 1);
      lists->addLayout(column, 1);
    }
    grid_->addLayout(lists, line, 0, 1, 2);
    Grow(line);
  }

  void AddWide(const PlannedRow& row, int line, QWidget& box) {
    ControlWidget& wide = widgetOf_(*row.controls.front());
    const bool isPage = qobject_cast<QPlainTextEdit*>(wide.Widget()) != nullptr;
    if (QLabel* caption = CaptionOf(row, row.caption, wide, box); caption != nullptr) {
      grid_->addWidget(caption, line, 0, 1, 2);
      ++line;
    }
    grid_->addWidget(wide.Widget(), line, 0, 1, 2);
    if (!isPage) return;
    const bool isReport = plan_.sections.size() == 1 && plan_.sections.front().rows.size() <= 4;
    wide.Widget()->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Ignored);
    if (isReport)
      wide.Widget()->setMinimumSize(kReportWidth, kReportHeight);
    else
      wide.Widget()->setMinimumSize(kNoteWidth, kNoteHeight);
    Grow(line);
  }

  void Grow(int line) {
    grid_->setRowStretch(line, 1);
    hasGrowingRow_ = true;
  }

  // ---- The window

  /// The sections under one another, closer together where that is too tall; in two columns where
  /// it still is and the screen is wide enough; behind a scroll bar where nothing else helps.
  QWidget* Body(const std::vector<QWidget*>& sections) {
    const int room = screen_.height() - FootHeight();
    if (HeightOf(sections) > room)
      for (QGridLayout* grid : grids_) grid->setVerticalSpacing(kTight);
    const bool isTall = HeightOf(sections) > room;
    const bool isWideEnough = 2 * WidthOf(sections) + kSpaceBetweenColumns < screen_.width();
    const std::size_t columns = isTall && isWideEnough && sections.size() > 1 ? 2 : 1;
    QWidget* body = InColumns(sections, columns);
    if (body->sizeHint().height() <= room) return body;
    auto* scroll = new QScrollArea(&window_);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setWidget(body);
    scroll->setMinimumSize(
        body->sizeHint().width() + scroll->verticalScrollBar()->sizeHint().width(), room);
    return scroll;
  }

  static int HeightOf(const std::vector<QWidget*>& sections) {
    int height = 0;
    for (const QWidget* section : sections) height += section->sizeHint().height() + kTight;
    return height;
  }

  static int WidthOf(const std::vector<QWidget*>& sections) {
    int width = 0;
    for (const QWidget* section : sections) width = std::max(width, section->sizeHint().width());
    return width;
  }

  QWidget* InColumns(const std::vector<QWidget*>& sections, std::size_t columnCount) {
    auto* body = new QWidget(&window_);
    auto* columns = new QHBoxLayout(body);
    columns->setContentsMargins(0, 0, 0, 0);
    columns->setSpacing(kSpaceBetweenColumns);
    const int share = HeightOf(sections) / static_cast<int>(columnCount);
    std::size_t next = 0;
    for (std::size_t column = 0; column < columnCount; ++column) {
      auto* stack = new QVBoxLayout;
      bool grows = false;
      for (int filled = 0; next < sections.size(); ++next) {
        QWidget* section = sections[next];
        const int own = section->sizeHint().height();
        if (column + 1 < columnCount && filled > 0 && filled + own / 2 > share) break;
        const bool growsHere = section->property(kGrows).toBool();
        stack->addWidget(section, growsHere ? 1 : 0);
        grows = grows || growsHere;
        filled += own;
      }
      if (!grows) stack->addStretch(1);
      columns->addLayout(stack, 1);
    }
    return body;
  }

  int FootHeight() const {
    constexpr int kLine = 31;
    const auto lines = static_cast<int>(plan_.progress.size()) + (plan_.status != nullptr ? 1 : 0);
    return kLine * (lines + 2);
  }

  void AddStatus(QVBoxLayout& whole) {
    if (plan_.status == nullptr) return;
    auto* line = qobject_cast<QLineEdit*>(widgetOf_(*plan_.status).Widget());
    if (line == nullptr) return;
    line->setFrame(false);
    line->setFocusPolicy(Qt::NoFocus);
    line->setStyleSheet(QStringLiteral("QLineEdit { background: transparent; border: none; }"));
    whole.addWidget(line);
  }

  QDialogButtonBox* MakeButtons() {
    auto* box = new QDialogButtonBox(&window_);
    for (Button* button : plan_.buttons) {
      auto* widget = qobject_cast<QAbstractButton*>(widgetOf_(*button).Widget());
      if (widget != nullptr) box->addButton(widget, RoleOf(*button));
    }
    if (Button* main = dialog_.MainButton()) {
      auto* widget = qobject_cast<QPushButton*>(widgetOf_(*main).Widget());
      if (widget != nullptr) {
        widget->setAutoDefault(true);
        widget->setDefault(true);
      }
    }
    return box;
  }

  QDialogButtonBox::ButtonRole RoleOf(const Button& button) const {
    if (&button == dialog_.MainButton()) return QDialogButtonBox::AcceptRole;
    if (EqualNoCase(button.name, "btnExit") || EqualNoCase(button.name, "cmdExit"))
      return QDialogButtonBox::RejectRole;
    if (EqualNoCase(button.name, "btnHelp") || EqualNoCase(button.name, "btnWebHelp"))
      return QDialogButtonBox::HelpRole;
    return QDialogButtonBox::ActionRole;
  }

  const Dialog& dialog_;
  const DialogPlan plan_;
  const WidgetOf& widgetOf_;
  QDialog& window_;
  const QSize screen_;
  QGridLayout* grid_ = nullptr;  ///< of the section at work
  std::vector<QGridLayout*> grids_;
  bool hasGrowingRow_ = false;
};

}  // namespace

std::vector<QWidget*> LayOut(const Dialog& dialog, const WidgetOf& widgetOf, QDialog& window,
                             QSize screen) {
  return Layouter(dialog, widgetOf, window, screen).LayOut();
}

}  // namespace orlinths
