#include "qgis/ControlWidgets.h"

#include <QCalendarWidget>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QToolButton>

#include <algorithm>
#include <cmath>

#include "host/Dialog.h"
#include "qgis/BackColours.h"
#include "qgis/ItemIcons.h"
#include "qgis/ScreenRoom.h"
#include "qgis/SpinArrows.h"
#include "qgis/Text.h"
#include "runtime/Value.h"
#include "session/UserHand.h"

namespace orlinths {
namespace {

Step SetStep(const Control& control, SetValue to) {
  return {steps::Set{control.name, std::move(to)}, 0};
}

/// A control and its widget, both by their own types.
template <class C, class W>
class Bound : public ControlWidget {
 public:
  Bound(C& control, W* boundWidget) : model(control), widget(boundWidget) {
    widget->setObjectName(ToQt(control.name));
    widget->setToolTip(ToQtLines(control.tooltip));
  }
  Control& Model() const override { return model; }
  QWidget* Widget() const override { return widget; }

  C& model;
  W* const widget;
};

/// A box or option says it all at once; too long a text is broken into lines that the screen holds.
QString ChoiceText(const std::string& caption, const QAbstractButton& box) {
  constexpr int kLetters = 90, kFrame = 80;  // what stands around it
  const QFontMetrics letters = box.fontMetrics();
  const int most =
      std::min(kLetters * letters.averageCharWidth(), RoomFor(*box.window()).width() - kFrame);
  QString text = ToQtCaption(caption);
  int from = 0, blank = -1;
  for (int at = 0; at < text.size(); ++at) {
    if (text[at] == QLatin1Char('\n')) {
      from = at + 1;
      blank = -1;
    } else if (text[at] == QLatin1Char(' ')) {
      blank = at;
    } else if (blank > from && letters.horizontalAdvance(text.mid(from, at + 1 - from)) > most) {
      text[blank] = QLatin1Char('\n');
      from = blank + 1;
      blank = -1;
    }
  }
  return EndedLeftToRight(text);
}

// ---- Captions and buttons

class LabelWidget : public Bound<Label, QLabel> {
 public:
  LabelWidget(Label& control, QWidget* parent) : Bound(control, new QLabel(parent)) {
    widget->setTextFormat(Qt::PlainText);
    widget->setWordWrap(true);
  }
  void ShowModel() override {
    // Beside a field an ampersand would mark a shortcut.
    const bool isCaption = widget->buddy() != nullptr;
    widget->setText(isCaption ? ToQtCaption(model.caption()) : ToQtLines(model.caption()));
  }
};

class ButtonWidget : public Bound<Button, QAbstractButton> {
 public:
  ButtonWidget(Button& control, IWidgetHost& host, QWidget* parent)
      : Bound(control, Make(control, parent)) {
    QObject::connect(widget, &QAbstractButton::clicked, widget, [this, &host] {
      host.Act({steps::Press{model.name, {}}, 0}, [this] { model.Dialog().Press(model); });
    });
  }
  void ShowModel() override { widget->setText(ToQtCaption(model.caption())); }

 private:
  static QAbstractButton* Make(const Button& control, QWidget* parent) {
    if (BoxFilledBy(control.Dialog(), control) != nullptr) {
      auto* picker = new QToolButton(parent);
      picker->setFocusPolicy(Qt::TabFocus);
      return picker;
    }
    auto* button = new QPushButton(parent);
    button->setAutoDefault(false);
    return button;
  }
};

// ---- Text

class LineWidget : public Bound<TextBox, QLineEdit> {
 public:
  LineWidget(TextBox& control, IWidgetHost& host, QWidget* parent)
      : Bound(control, new QLineEdit(parent)) {
    widget->setReadOnly(model.readOnly);
    QObject::connect(widget, &QLineEdit::textEdited, widget, [this, &host](const QString& text) {
      host.Act(SetStep(model, FromQt(text)), [this, text] { model.UserSetText(FromQt(text)); });
    });
  }
  void ShowModel() override {
    const QString text = ToQt(model.text());
    if (widget->text() != text) widget->setText(text);
  }
};

class PageWidget : public Bound<TextBox, QPlainTextEdit> {
 public:
  PageWidget(TextBox& control, IWidgetHost& host, QWidget* parent)
      : Bound(control, new QPlainTextEdit(parent)) {
    widget->setReadOnly(model.readOnly);
    widget->setTabChangesFocus(true);
    widget->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);  // lines are broken
    QObject::connect(widget, &QPlainTextEdit::textChanged, widget, [this, &host] {
      const std::string text = FromQt(widget->toPlainText());
      host.Act(SetStep(model, text), [this, text] { model.UserSetText(text); });
    });
  }
  void ShowModel() override {
    const QString text = ToQtLines(model.text());
    if (widget->toPlainText() != text) widget->setPlainText(text);
  }
};

// ---- Choices

class ComboWidget : public Bound<ComboBox, QComboBox> {
 public:
  ComboWidget(ComboBox& control, IWidgetHost& host, QWidget* parent)
      : Bound(control, new QComboBox(parent)), host_(host) {
    constexpr int kLetters = 22, kItemsShown = 20;
    widget->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    widget->setMinimumContentsLength(kLetters);
    widget->setMaxVisibleItems(kItemsShown);
    QObject::connect(widget, QOverload<int>::of(&QComboBox::activated), widget, [this](int index) {
      const std::string item = FromQt(widget->itemText(index));
      host_.Act(SetStep(model, item), [this, item] { model.UserChoose(item); });
    });
  }
  void ShowModel() override {
    if (shown_ != model.Items() || shownKinds_ != model.ItemKinds()) {
      shown_ = model.Items();
      shownKinds_ = model.ItemKinds();
      widget->clear();
      for (std::size_t i = 0; i < shown_.size(); ++i)
        widget->addItem(IconOf(shownKinds_[i]), ToQt(shown_[i]));
    }
    widget->setCurrentIndex(model.ListIndex());
  }

 private:
  IWidgetHost& host_;
  std::vector<std::string> shown_;
  std::vector<ItemKind> shownKinds_;
};

class ListWidget : public Bound<ListBox, QListWidget> {
 public:
  ListWidget(ListBox& control, IWidgetHost& host, QWidget* parent)
      : Bound(control, new QListWidget(parent)), host_(host) {
    widget->setSelectionMode(model.multiSelect ? QAbstractItemView::ExtendedSelection
                                               : QAbstractItemView::SingleSelection);
    widget->setUniformItemSizes(true);
    QObject::connect(widget, &QListWidget::itemSelectionChanged, widget, [this] { Select(); });
  }
  void ShowModel() override {
    if (shown_ != model.Items() || shownKinds_ != model.ItemKinds()) {
      shown_ = model.Items();
      shownKinds_ = model.ItemKinds();
      widget->clear();
      for (std::size_t i = 0; i < shown_.size(); ++i)
        new QListWidgetItem(IconOf(shownKinds_[i]), ToQt(shown_[i]), widget);
    }
    for (int i = 0; i < model.Count(); ++i)
      if (widget->item(i)->isSelected() != model.IsSelected(i))
        widget->item(i)->setSelected(model.IsSelected(i));
  }
  /// Tells the model which items are selected now.
  void Select() {
    std::vector<std::string> items;
    for (int i = 0; i < widget->count(); ++i)
      if (widget->item(i)->isSelected()) items.push_back(FromQt(widget->item(i)->text()));
    host_.Act(SetStep(model, items), [this, items] { model.UserSelect(items); });
  }

 private:
  IWidgetHost& host_;
  std::vector<std::string> shown_;
  std::vector<ItemKind> shownKinds_;
};

class CheckWidget : public Bound<CheckBox, QCheckBox> {
 public:
  CheckWidget(CheckBox& control, IWidgetHost& host, QWidget* parent)
      : Bound(control, new QCheckBox(parent)) {
    QObject::connect(widget, &QCheckBox::clicked, widget, [this, &host](bool on) {
      host.Act(SetStep(model, on), [this, on] { model.UserSet(on); });
    });
  }
  void ShowModel() override {
    widget->setText(ChoiceText(model.caption(), *widget));
    widget->setChecked(model.value());
  }
};

class OptionWidget : public Bound<OptionButton, QRadioButton> {
 public:
  OptionWidget(OptionButton& control, IWidgetHost& host, QWidget* parent)
      : Bound(control, new QRadioButton(parent)) {
    widget->setAutoExclusive(false);  // the model knows which options exclude each other
    QObject::connect(widget, &QRadioButton::clicked, widget, [this, &host] {
      host.Act(SetStep(model, true), [this] { model.UserChoose(); });
      widget->setChecked(model.value());
    });
  }
  void ShowModel() override {
    widget->setText(ChoiceText(model.caption(), *widget));
    widget->setChecked(model.value());
  }
};

// ---- Numbers, dates, progress

class SpinWidget : public Bound<UpDown, SpinArrows> {
 public:
  SpinWidget(UpDown& control, IWidgetHost& host, QWidget* parent)
      : Bound(control, new SpinArrows(parent)) {
    widget->onStep = [this, &host](int steps) {
      Set(host, std::clamp(model.value() + steps * model.increment, model.min, model.max));
    };
    widget->onValue = [this, &host](int value) { Set(host, value); };
  }
  void ShowModel() override {
    widget->SetReach(model.value() < model.max, model.value() > model.min);
  }

 private:
  void Set(IWidgetHost& host, int value) {
    host.Act(SetStep(model, ToText(static_cast<std::int64_t>(value))),
             [this, value] { model.UserSet(value); });
  }
};

class CalendarWidget : public Bound<MonthView, QCalendarWidget> {
 public:
  CalendarWidget(MonthView& control, IWidgetHost& host, QWidget* parent)
      : Bound(control, new QCalendarWidget(parent)) {
    widget->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
    QObject::connect(widget, &QCalendarWidget::clicked, widget, [this, &host](const QDate& day) {
      const auto date = Date::FromCivil(day.year(), day.month(), day.day());
      if (date) host.Act(SetStep(model, ToText(*date)), [this, date] { model.UserPick(*date); });
    });
    QObject::connect(widget, &QCalendarWidget::activated, widget, &QCalendarWidget::clicked);
  }
  void ShowModel() override {
    const Date date = model.value();
    widget->setSelectedDate(QDate(date.Year(), date.Month(), date.Day()));
  }
};

class ProgressWidget : public Bound<ProgressBar, QProgressBar> {
 public:
  ProgressWidget(ProgressBar& control, QWidget* parent) : Bound(control, new QProgressBar(parent)) {
    widget->setRange(0, kParts);
    widget->setTextVisible(false);
  }
  void ShowModel() override {
    const double range = static_cast<double>(model.max) - static_cast<double>(model.min);
    const double done = static_cast<double>(model.Value()) - static_cast<double>(model.min);
    const double share = range > 0 ? std::clamp(done / range, 0.0, 1.0) : 0.0;
    widget->setValue(static_cast<int>(std::lround(share * kParts)));
  }

 private:
  static constexpr int kParts = 1000;
};

bool IsField(const Control& control) {
  return control.Kind() == ControlKind::kText || control.Kind() == ControlKind::kCombo ||
         control.Kind() == ControlKind::kList;
}

}  // namespace

void ControlWidget::Update() {
  const Control& model = Model();
  QWidget* widget = Widget();
  {
    const QSignalBlocker silent(widget);
    ShowModel();
  }
  if (IsField(model)) PaintBack(*widget, model);
  for (QWidget* part : {widget, caption}) {
    if (part == nullptr) continue;
    if (part->isEnabledTo(part->parentWidget()) != model.enabled())
      part->setEnabled(model.enabled());
    if (part->isHidden() == model.visible()) part->setVisible(model.visible());
  }
}

std::unique_ptr<ControlWidget> MakeControlWidget(Control& control, IWidgetHost& host,
                                                 QWidget* parent) {
  switch (control.Kind()) {
    case ControlKind::kButton:
      return std::make_unique<ButtonWidget>(static_cast<Button&>(control), host, parent);
    case ControlKind::kText: {
      auto& box = static_cast<TextBox&>(control);
      if (box.multiLine) return std::make_unique<PageWidget>(box, host, parent);
      return std::make_unique<LineWidget>(box, host, parent);
    }
    case ControlKind::kCombo:
      return std::make_unique<ComboWidget>(static_cast<ComboBox&>(control), host, parent);
    case ControlKind::kList:
      return std::make_unique<ListWidget>(static_cast<ListBox&>(control), host, parent);
    case ControlKind::kCheck:
      return std::make_unique<CheckWidget>(static_cast<CheckBox&>(control), host, parent);
    case ControlKind::kOption:
      return std::make_unique<OptionWidget>(static_cast<OptionButton&>(control), host, parent);
    case ControlKind::kLabel:
      return std::make_unique<LabelWidget>(static_cast<Label&>(control), parent);
    case ControlKind::kProgress:
      return std::make_unique<ProgressWidget>(static_cast<ProgressBar&>(control), parent);
    case ControlKind::kUpDown:
      return std::make_unique<SpinWidget>(static_cast<UpDown&>(control), host, parent);
    case ControlKind::kCalendar:
      return std::make_unique<CalendarWidget>(static_cast<MonthView&>(control), host, parent);
  }
  return nullptr;
}

}  // namespace orlinths
