// The controls of a dialog, as a model that any host can render: a window, a test, a command line.
// Code that changes a control tells the dialog's host, so that a widget repaints; it fires no
// handler. A user's hand goes through the `User...` routines, which change the control and then
// fire its handler.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "data/ItemList.h"
#include "host/Throttle.h"
#include "runtime/Date.h"

namespace orlinths {

class Control;
class Dialog;
class Frame;

/// A value of a control; assigning a different one tells the control's dialog.
template <class T>
class Property {
 public:
  Property(Control& owner, T value) : owner_(owner), value_(std::move(value)) {}
  Property(const Property&) = delete;
  Property& operator=(const Property& other) { return *this = other.value_; }
  Property& operator=(T value);
  operator const T&() const { return value_; }
  const T& operator()() const { return value_; }

 private:
  Control& owner_;
  T value_;
};

enum class ControlKind {
  kButton,
  kText,
  kCombo,
  kList,
  kCheck,
  kOption,
  kLabel,
  kProgress,
  kUpDown,
  kCalendar
};
/// The name of a kind in descriptions and events: "button", "text", "combo", ...
const char* KindName(ControlKind kind);

/// The system's colours; that of an application's workspace is the darkest.
enum class BackColour { kWindow, kButtonFace, kWorkspace };

/// How a control is declared, beside name and caption.
enum class State { kEnabled, kDisabled, kHidden };
inline constexpr State Disabled = State::kDisabled;
inline constexpr State Hidden = State::kHidden;
enum class Check { kClear, kSet };
inline constexpr Check Checked = Check::kSet;
inline constexpr Check Unchecked = Check::kClear;

class Control {
 public:
  virtual ~Control() = default;
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;

  const std::string name;
  Property<std::string> caption;  ///< what the user reads on or beside the control
  Property<bool> enabled;
  Property<bool> visible;
  Property<BackColour> backColour;
  std::string tooltip;
  orlinths::Frame* frame = nullptr;  ///< the frame it stands in, if any

  virtual ControlKind Kind() const = 0;
  orlinths::Dialog& Dialog() const { return dialog_; }
  /// Disabled with the button-face colour, or enabled with the window colour.
  void Enable(bool on);
  /// Can a user's hand reach it? Enabled and visible, and its dialog too.
  bool IsReachable() const;
  void Focus();
  /// Tells the dialog's host that this control has changed; silent while the dialog is not loaded.
  virtual void Changed();

 protected:
  Control(orlinths::Dialog& dialog, std::string name, std::string caption,
          State state = State::kEnabled);
  friend class orlinths::Dialog;
  /// Keeps the present state as the design, and goes back to it.
  virtual void KeepDesign();
  virtual void RestoreDesign();
  /// What a user's hand sets off. A failure that the handler lets out becomes an error report under
  /// the control's and the event's name: it has nobody else to go to.
  void Fire(const std::function<void()>& handler, const char* event);

 private:
  orlinths::Dialog& dialog_;
  struct Design {
    std::string caption;
    bool enabled, visible;
    BackColour backColour;
  } design_;
};

class Button : public Control {
 public:
  Button(orlinths::Dialog& dialog, std::string name, std::string caption,
         State state = State::kEnabled)
      : Control(dialog, std::move(name), std::move(caption), state) {}
  ControlKind Kind() const override { return ControlKind::kButton; }
  std::function<void()> OnClick;  ///< a user's hand presses through `Dialog::Press`

 private:
  friend class orlinths::Dialog;
};

class Label : public Control {
 public:
  Label(orlinths::Dialog& dialog, std::string name, std::string caption,
        State state = State::kEnabled)
      : Control(dialog, std::move(name), std::move(caption), state) {}
  ControlKind Kind() const override { return ControlKind::kLabel; }
};

/// What a picker button fills its box with: the path of a file or folder, or the name of a spatial
/// reference.
enum class Picks { kPath, kSpatialReference };

class TextBox : public Control {
 public:
  TextBox(orlinths::Dialog& dialog, std::string name, std::string label,
          State state = State::kEnabled)
      : TextBox(dialog, std::move(name), std::move(label), "", state) {}
  TextBox(orlinths::Dialog& dialog, std::string name, std::string label, std::string text,
          State state = State::kEnabled);
  ControlKind Kind() const override { return ControlKind::kText; }

  Property<std::string> text;
  bool readOnly = false;
  bool multiLine = false;
  Button* picker = nullptr;  ///< the button that fills this box through a choice
  Picks picks = Picks::kPath;
  std::function<void()> OnChange;
  void UserSetText(const std::string& newText);

 protected:
  void KeepDesign() override;
  void RestoreDesign() override;

 private:
  std::string designText_;
};

/// A drop-down list: the text is one of the items or empty (typing is not offered).
class ComboBox : public Control, public IItemList {
 public:
  ComboBox(orlinths::Dialog& dialog, std::string name, std::string label,
           State state = State::kEnabled);
  ControlKind Kind() const override { return ControlKind::kCombo; }

  Property<std::string> text;
  const std::vector<std::string>& Items() const { return items_; }
  const std::vector<ItemKind>& ItemKinds() const { return kinds_; }  ///< beside the items
  void Clear();                                                      ///< items and text
  /// Position of the text among the items, -1 when it is none of them.
  int ListIndex() const;
  std::function<void()> OnClick;
  /// Fires OnClick also when the same item is chosen again. An item that the list does not hold:
  /// false, nothing changes.
  bool UserChoose(const std::string& item);

 protected:
  void Append(const std::string& item, ItemKind kind) override;
  void KeepDesign() override;
  void RestoreDesign() override;

 private:
  std::vector<std::string> items_, designItems_;
  std::vector<ItemKind> kinds_, designKinds_;
  std::string designText_;
};

class ListBox : public Control, public IItemList {
 public:
  ListBox(orlinths::Dialog& dialog, std::string name, std::string label,
          State state = State::kEnabled);
  ControlKind Kind() const override { return ControlKind::kList; }

  bool multiSelect = true;
  const std::vector<std::string>& Items() const { return items_; }
  const std::vector<ItemKind>& ItemKinds() const { return kinds_; }  ///< beside the items
  void RemoveItem(int index);
  void Clear();
  int Count() const { return static_cast<int>(items_.size()); }
  bool IsSelected(int index) const;
  void Select(int index, bool on);
  std::vector<std::string> SelectedItems() const;
  int SelectedCount() const;
  std::function<void()> OnClick;
  /// Selects exactly these items (each text selects its first item not yet taken). False, with
  /// nothing changed, for a text that the list does not hold or more than one in a single-choice
  /// list.
  bool UserSelect(const std::vector<std::string>& items);

 protected:
  void Append(const std::string& item, ItemKind kind) override;
  void KeepDesign() override;
  void RestoreDesign() override;

 private:
  std::vector<std::string> items_, designItems_;
  std::vector<ItemKind> kinds_, designKinds_;
  std::vector<bool> selected_, designSelected_;
};

class CheckBox : public Control {
 public:
  CheckBox(orlinths::Dialog& dialog, std::string name, std::string caption, Check check = Unchecked,
           State state = State::kEnabled);
  ControlKind Kind() const override { return ControlKind::kCheck; }
  Property<bool> value;
  std::function<void()> OnClick;
  void UserSet(bool on);  ///< fires OnClick when the value changes

 protected:
  void KeepDesign() override;
  void RestoreDesign() override;

 private:
  bool designValue_ = false;
};

/// One of the options of its frame (or of the dialog, outside all frames): choosing one clears the
/// others.
class OptionButton : public Control {
 public:
  OptionButton(orlinths::Dialog& dialog, std::string name, std::string caption,
               Check check = Unchecked, State state = State::kEnabled);
  ControlKind Kind() const override { return ControlKind::kOption; }
  Property<bool> value;  ///< setting it clears the others of the group
  /// Options with the same group exclude each other; without one those of the same frame do.
  std::string group;
  std::function<void()> OnClick;
  void Choose() { value = true; }  ///< by code: fires nothing
  void UserChoose();               ///< the same and fires OnClick when it was not chosen before
  void Changed() override;

 protected:
  void KeepDesign() override;
  void RestoreDesign() override;

 private:
  bool SharesGroupWith(const OptionButton& other) const;
  bool designValue_ = false;
};

class ProgressBar : public Control {
 public:
  ProgressBar(orlinths::Dialog& dialog, std::string name);
  ControlKind Kind() const override { return ControlKind::kProgress; }
  float min = 0;
  float max = 100;
  float Value() const { return value_; }
  /// May be called per record: the host is told at most 20 times a second, and of the maximum
  /// always.
  void SetValue(double value);

 protected:
  void KeepDesign() override;
  void RestoreDesign() override;

 private:
  float value_ = 0;
  float designMin_ = 0, designMax_ = 100;
  Throttle throttle_;
};

/// A spinner beside a text box: `value` stays within its bounds, and a new one is written into the
/// box.
class UpDown : public Control {
 public:
  UpDown(orlinths::Dialog& dialog, std::string name, int min, int max, int value);
  ControlKind Kind() const override { return ControlKind::kUpDown; }
  int min, max, increment = 1;
  Property<int> value;
  TextBox* buddy = nullptr;
  std::function<void()> OnChange;
  bool UserSet(int newValue);  ///< false outside the bounds, and nothing changes
  void Changed() override;

 protected:
  void KeepDesign() override;
  void RestoreDesign() override;

 private:
  struct Design {
    int min, max, value;
  } design_;
  int written_;  ///< the value that the box was last told
};

class MonthView : public Control {
 public:
  MonthView(orlinths::Dialog& dialog, std::string name);
  ControlKind Kind() const override { return ControlKind::kCalendar; }
  Property<Date> value;
  std::function<void()> OnDateClick;
  void UserPick(Date date);
};

/// A captioned box around controls. Not a control itself: it is not set or pressed.
class Frame {
 public:
  Frame(std::string name, std::string caption)
      : name(std::move(name)), caption(std::move(caption)) {}
  const std::string name;
  const std::string caption;
};

template <class T>
Property<T>& Property<T>::operator=(T value) {
  if (value_ == value) return *this;
  value_ = std::move(value);
  owner_.Changed();
  return *this;
}

}  // namespace orlinths
