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
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

#include "qgis/DialogPlan.h"
#include "qgis/SpinArrows.h"
#include "qgis/Text.h"
#include "runtime/Files.h"

namespace orlinths {
namespace {

constexpr int kSpaceBetweenColumns = 12, kTight = 3;
constexpr const char* kGrows = "orlinthsGrows";  // a section that takes what room there is
constexpr int kLongWords = 370, kIndent = 20;
constexpr int kAround = 56;  // frames, margins and gaps about a row
constexpr int kListHeight = 110, kListWidth = 160;
constexpr int kNoteHeight = 80, kNoteWidth = 320;       // a page of text among other controls
constexpr int kReportHeight = 300, kReportWidth = 460;  // one that the dialog is about
constexpr int kReportHead = 90;                         // the lines above it
constexpr int kNumberWidth = 110, kChoiceWidth = 190, kPathWidth = 300;

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
    for (ProgressBar* bar : plan_.progress) {
      QWidget* widget = widgetOf_(*bar).Widget();
      widget->setAccessibleName(QStringLiteral("Progress"));
      whole->addWidget(widget);
    }
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
      auto* label = qobject_cast<QLabel*>(widgetOf_(*row.label).Widget());
      if (label == nullptr) return nullptr;
      label->setWordWrap(false);
      label->setBuddy(of.Widget());
      widgetOf_(*row.label).Update();  // an ampersand is written otherwise then
      return label;
    }
    if (words.empty()) return nullptr;
    auto* label = new QLabel(&box);
    label->setTextFormat(Qt::PlainText);
    label->setText(ToQtCaption(words));
    label->setBuddy(of.Widget());
    label->setToolTip(of.Widget()->toolTip());
    of.caption = label;
    return label;
  }

  /// What a screen reader says of a widget that has no words of its own: those beside it, without
  /// the colon that leads to it, else those of its frame.
  QString Spoken(const PlannedRow& row, const Control& control) const {
    const std::string frame = control.frame != nullptr ? control.frame->caption : std::string();
    const std::string before = row.controls.front()->caption();  // of a choice that it belongs to
    const std::string label = row.label != nullptr ? row.label->caption() : std::string();
    for (std::string words : {control.caption(), label, row.caption, before, frame}) {
      if (words.ends_with(':')) words.pop_back();
      if (!words.empty()) return ToQtLines(words);
    }
    return ToQt(dialog_.caption);
  }

  void Speak(const PlannedRow& row, const Control& control, QWidget& widget) const {
    widget.setAccessibleName(Spoken(row, control));
  }

  static int FieldWidth(const Control& field) {
    if (field.Kind() == ControlKind::kCombo) return kChoiceWidth;
    const auto* box = dynamic_cast<const TextBox*>(&field);
    return box != nullptr && box->picker != nullptr ? kPathWidth : kNumberWidth;
  }

  /// The field with what belongs to it.
  QLayout* FieldOf(const PlannedRow& row, Control& field) {
    auto* line = new QHBoxLayout;
    QWidget* box = widgetOf_(field).Widget();
    Speak(row, field, *box);
    box->setMinimumWidth(std::min(FieldWidth(field), screen_.width() / 2));
    line->addWidget(box, 1);
    if (row.arrows != nullptr) {
      line->setSpacing(0);
      auto* arrows = dynamic_cast<SpinArrows*>(widgetOf_(*row.arrows).Widget());
      if (arrows != nullptr) arrows->SetName(Spoken(row, field));
      line->addWidget(arrows);
    }
    if (row.picker != nullptr) {
      QWidget* picker = widgetOf_(*row.picker).Widget();
      picker->setAccessibleName(QStringLiteral("Choose: ") + Spoken(row, field));
      line->addWidget(picker);
    }
    return line;
  }

  void AddField(const PlannedRow& row, int line, QWidget& box) {
    Control& field = *row.controls.front();
    QLayout* layout = FieldOf(row, field);
    QLabel* caption = CaptionOf(row, row.caption, widgetOf_(field), box);
    if (caption == nullptr) {
      grid_->addLayout(layout, line, 0, 1, 2);
      return;
    }
    AddPair(*caption, *layout, line);
  }

  /// Words beside their field; above it where they are long.
  void AddPair(QWidget& words, QLayout& field, int line) {
    // The widest field of a section may be a path, the widest words stand in another row.
    const int path = std::min(kPathWidth, screen_.width() / 2);
    const int most = std::min(kLongWords, screen_.width() - path - kAround);
    if (words.sizeHint().width() <= most) {
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
      ControlWidget& list = widgetOf_(*control);
      const std::string words = IsCaptioned(row, *control) ? control->caption() : std::string();
      if (QLabel* caption = CaptionOf(row, words, list, box)) column->addWidget(caption);
      Speak(row, *control, *list.Widget());
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
    if (qobject_cast<QLabel*>(wide.Widget()) == nullptr)
      Speak(row, *row.controls.front(), *wide.Widget());
    if (QLabel* caption = CaptionOf(row, row.caption, wide, box); caption != nullptr) {
      grid_->addWidget(caption, line, 0, 1, 2);
      ++line;
    }
    grid_->addWidget(wide.Widget(), line, 0, 1, 2);
    if (!isPage) return;
    const bool isReport = plan_.sections.size() == 1 && plan_.sections.front().rows.size() <= 4;
    wide.Widget()->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Ignored);
    if (isReport)
      wide.Widget()->setMinimumSize(
          std::min(kReportWidth, screen_.width() - kAround),
          std::clamp(screen_.height() - FootHeight() - kReportHead, kNoteHeight, kReportHeight));
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
    const QSize whole = NeedOf(*body);
    const int bar = body->style()->pixelMetric(QStyle::PM_ScrollBarExtent) + kTight;
    const bool isTooWide = body->minimumSizeHint().width() + bar > screen_.width();
    if (whole.height() <= room && !isTooWide) return body;
    auto* scroll = new QScrollArea(&window_);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(isTooWide ? Qt::ScrollBarAsNeeded
                                                   : Qt::ScrollBarAlwaysOff);
    scroll->setWidget(body);
    scroll->setMinimumSize(std::min(whole.width() + bar, screen_.width()),
                           std::min(whole.height() + (isTooWide ? bar : 0), room));
    return scroll;
  }

  /// What lists and pages of text ask for is their least size alone.
  static QSize NeedOf(const QWidget& widget) {
    return widget.sizeHint().expandedTo(widget.minimumSizeHint());
  }

  static int HeightOf(const std::vector<QWidget*>& sections) {
    int height = 0;
    for (const QWidget* section : sections) height += NeedOf(*section).height() + kTight;
    return height;
  }

  static int WidthOf(const std::vector<QWidget*>& sections) {
    int width = 0;
    for (const QWidget* section : sections) width = std::max(width, NeedOf(*section).width());
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
        const int own = NeedOf(*section).height();
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
    line->setAccessibleName(QStringLiteral("Status"));
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
