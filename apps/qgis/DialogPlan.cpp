#include "qgis/DialogPlan.h"

#include <algorithm>
#include <set>

#include "runtime/Files.h"

namespace orlinths {
namespace {

bool IsChoice(const Control& control) {
  return control.Kind() == ControlKind::kCheck || control.Kind() == ControlKind::kOption;
}

bool IsField(const Control& control) {
  if (control.Kind() == ControlKind::kCombo) return true;
  const auto* box = dynamic_cast<const TextBox*>(&control);
  return box != nullptr && !box->multiLine;
}

bool IsStatusLine(const Control& control) {
  const auto* box = dynamic_cast<const TextBox*>(&control);
  return box != nullptr && box->readOnly && !box->multiLine && box->frame == nullptr &&
         box->picker == nullptr && box->caption().empty();
}

class Planner {
 public:
  explicit Planner(const Dialog& dialog) : dialog_(dialog) {
    for (const auto& control : dialog.Controls()) controls_.push_back(control.get());
    TakeFoot();
  }

  DialogPlan Plan() {
    for (at_ = 0; at_ < controls_.size(); ++at_)
      if (Control* control = controls_[at_]; taken_.insert(control).second) PlanRow(*control);
    return std::move(plan_);
  }

 private:
  /// Status, progress and the buttons that stand behind everything else, all outside the frames.
  void TakeFoot() {
    std::set<const Control*> pickers;
    for (Control* control : controls_) {
      if (const auto* box = dynamic_cast<const TextBox*>(control)) pickers.insert(box->picker);
      if (plan_.status == nullptr && IsStatusLine(*control)) {
        plan_.status = static_cast<TextBox*>(control);
        taken_.insert(control);
      }
      if (control->Kind() == ControlKind::kProgress && control->frame == nullptr) {
        plan_.progress.push_back(static_cast<ProgressBar*>(control));
        taken_.insert(control);
      }
    }
    for (auto last = controls_.rbegin(); last != controls_.rend(); ++last) {
      if (taken_.contains(*last)) continue;
      auto* button = dynamic_cast<Button*>(*last);
      const bool isAtFoot =
          button != nullptr && button->frame == nullptr && !pickers.contains(button);
      if (!isAtFoot) break;
      plan_.buttons.insert(plan_.buttons.begin(), button);
      taken_.insert(button);
    }
    // The main button and its companions belong there wherever they were declared.
    for (Control* control : controls_) {
      auto* button = dynamic_cast<Button*>(control);
      const bool isCommon =
          button != nullptr &&
          (button == dialog_.MainButton() || EqualNoCase(button->name, "btnExit") ||
           EqualNoCase(button->name, "btnHelp") || EqualNoCase(button->name, "btnWebHelp"));
      if (isCommon && taken_.insert(button).second) plan_.buttons.push_back(button);
    }
  }

  PlannedSection& SectionOf(const Frame* frame) {
    auto& sections = plan_.sections;
    if (frame != nullptr) {
      const auto found = std::find_if(sections.begin(), sections.end(),
                                      [&](const auto& section) { return section.frame == frame; });
      if (found != sections.end()) return *found;
    } else if (!sections.empty() && sections.back().frame == nullptr) {
      return sections.back();
    }
    sections.push_back({frame, {}});
    return sections.back();
  }

  PlannedRow& NewRow(const Control& of, PlannedRow::Kind kind) {
    auto& rows = SectionOf(of.frame).rows;
    rows.push_back({});
    rows.back().kind = kind;
    return rows.back();
  }

  /// The control behind the present one, if nothing has taken it and it stands in the same frame.
  Control* Following(const Control& control) const {
    for (std::size_t next = at_ + 1; next < controls_.size(); ++next) {
      if (taken_.contains(controls_[next])) continue;
      return controls_[next]->frame == control.frame ? controls_[next] : nullptr;
    }
    return nullptr;
  }

  void PlanRow(Control& control) {
    if (auto* label = dynamic_cast<Label*>(&control)) return PlanLabel(*label);
    if (IsChoice(control)) return PlanChoice(control);
    if (IsField(control)) return PlanField(control, nullptr);
    if (auto* button = dynamic_cast<Button*>(&control)) return PlanButton(*button);
    if (auto* list = dynamic_cast<ListBox*>(&control)) return PlanList(*list, nullptr);
    PlannedRow& row = NewRow(control, PlannedRow::Kind::kWide);
    row.caption = control.Kind() == ControlKind::kText ? control.caption() : std::string();
    row.controls.push_back(&control);
  }

  /// A label that says what the field behind it says, or speaks for one that says nothing, is that
  /// field's caption.
  void PlanLabel(Label& label) {
    Control* next = Following(label);
    const bool speaksFor = next != nullptr && !label.caption().empty() &&
                           (next->caption() == label.caption() ||
                            (next->caption().empty() && label.caption().back() == ':'));
    if (speaksFor && IsField(*next)) {
      taken_.insert(next);
      return PlanField(*next, &label);
    }
    if (auto* list = dynamic_cast<ListBox*>(next); speaksFor && list != nullptr) {
      taken_.insert(next);
      return PlanList(*list, &label);
    }
    NewRow(label, PlannedRow::Kind::kWide).controls.push_back(&label);
  }

  void PlanChoice(Control& choice) {
    PlannedRow& row = NewRow(choice, PlannedRow::Kind::kChoice);
    row.controls.push_back(&choice);
    Control* next = Following(choice);
    if (next == nullptr || !IsField(*next) || !next->caption().empty()) return;
    taken_.insert(next);
    row.controls.push_back(next);
    TakeCompanions(*next, row);
  }

  void PlanField(Control& field, Label* label) {
    PlannedRow& row = NewRow(field, PlannedRow::Kind::kField);
    row.label = label;
    if (label == nullptr) row.caption = CaptionOf(field);
    row.controls.push_back(&field);
    TakeCompanions(field, row);
  }

  /// The picker that fills a box, and the arrows that count it up and down.
  void TakeCompanions(const Control& field, PlannedRow& row) {
    const auto* box = dynamic_cast<const TextBox*>(&field);
    if (box == nullptr) return;
    if (box->picker != nullptr && taken_.insert(box->picker).second) row.picker = box->picker;
    for (Control* control : controls_) {
      auto* arrows = dynamic_cast<UpDown*>(control);
      if (arrows != nullptr && arrows->buddy == box && taken_.insert(arrows).second)
        row.arrows = arrows;
    }
  }

  void PlanButton(Button& button) {
    auto& rows = SectionOf(button.frame).rows;
    const bool continues = !rows.empty() && rows.back().kind == PlannedRow::Kind::kButtons;
    PlannedRow& row = continues ? rows.back() : NewRow(button, PlannedRow::Kind::kButtons);
    row.controls.push_back(&button);
  }

  void PlanList(ListBox& list, Label* label) {
    auto& rows = SectionOf(list.frame).rows;
    const bool continues = label == nullptr && !rows.empty() && rows.back().label == nullptr &&
                           rows.back().kind == PlannedRow::Kind::kLists;
    PlannedRow& row = continues ? rows.back() : NewRow(list, PlannedRow::Kind::kLists);
    row.label = label;
    if (!continues && label == nullptr) row.caption = CaptionOf(list);
    row.controls.push_back(&list);
  }

  /// A control's own words, unless a label says them already.
  std::string CaptionOf(const Control& control) const {
    const bool isSaid = std::any_of(controls_.begin(), controls_.end(), [&](const Control* other) {
      return other->Kind() == ControlKind::kLabel && other->caption() == control.caption();
    });
    return isSaid ? std::string() : control.caption();
  }

  const Dialog& dialog_;
  std::vector<Control*> controls_;
  std::set<const Control*> taken_;
  std::size_t at_ = 0;
  DialogPlan plan_;
};

}  // namespace

DialogPlan PlanOf(const Dialog& dialog) { return Planner(dialog).Plan(); }

}  // namespace orlinths
