#include "support/ToolTest.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "data/FieldsAndDatasets.h"
#include "data/Workspace.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

constexpr uid_t kNobody = 65534;

/// The test's application with a status bar that asks for a stop on its way.
class StoppingApplication : public IApplication, private IStatusBar, private IStepProgressor {
 public:
  StoppingApplication(IApplication& inner, std::string message)
      : inner_(inner), message_(std::move(message)) {}

  IMxDocument* Document() override { return inner_.Document(); }
  IStatusBar& StatusBar() override { return *this; }
  std::string CurrentTool() const override { return inner_.CurrentTool(); }
  void SetCurrentTool(const std::string& caption) override { inner_.SetCurrentTool(caption); }
  void* FindExtension(const std::string& progId) override { return inner_.FindExtension(progId); }

 private:
  IStepProgressor& ProgressBar() override { return *this; }
  void SetMessage(const std::string& message) override { current_ = message; }
  void SetMinRange(std::int64_t) override {}
  void SetMaxRange(std::int64_t) override {}
  void SetPosition(std::int64_t position) override {
    if (current_ == message_ && position == 2000) RequestStop();
  }
  void Show() override {}
  void Hide() override { ClearStop(); }  // one stop, not one for all that follows

  IApplication& inner_;
  std::string message_, current_;
};

/// 1 to 3 significant parts of a kilometre, as coordinates come: text that reads back as the same
/// double.
std::string CoordText(double x, double y) { return ToText(x) + " " + ToText(y); }

std::string RingAbout(Seeded& random, double x, double y, double radius, bool clockwise) {
  const int corners = static_cast<int>(random.Whole(3, 40));
  std::string ring, first;
  for (int i = 0; i < corners; ++i) {
    const double turn = 2 * 3.14159265358979 * i / corners * (clockwise ? -1 : 1);
    const double out = radius * random.Real(0.5, 1);
    const std::string corner = CoordText(x + out * std::cos(turn), y + out * std::sin(turn));
    if (i == 0) first = corner;
    ring += corner + ", ";
  }
  return "(" + ring + first + ")";
}

}  // namespace

ToolTest::ToolTest() {
  host_.application.onProgress = [this](std::int64_t position, std::int64_t max,
                                        const std::string& message) {
    progress_.push_back({position, max, message});
    if (act_ && message == actAt_) std::exchange(act_, nullptr)();
  };
}

ToolTest::~ToolTest() { gApp = &host_.application; }

std::shared_ptr<IFeatureLayer> ToolTest::AddLayer(const std::string& file, const OgrDataset& data) {
  const std::string path = Path(file);
  std::filesystem::create_directories(FolderOf(path));
  WriteOgr(path, data);
  return AddFile(file);
}

std::shared_ptr<IFeatureLayer> ToolTest::AddFile(const std::string& file) {
  auto layer = std::make_shared<IFeatureLayer>(OpenFeatureClassByPath(Path(file)));
  host_.map.Append(layer);
  return layer;
}

void ToolTest::ReplaceNumber(const std::string& file, double old, double by) const {
  std::string bytes = ReadBytes(Path(file));
  for (std::size_t at = 0; at + sizeof(double) <= bytes.size(); ++at)
    if (std::memcmp(&bytes[at], &old, sizeof(double)) == 0)
      std::memcpy(&bytes[at], &by, sizeof(double));
  WriteBytes(Path(file), bytes);
}

void ToolTest::SetMapReference(const std::string& text) {
  host_.map.SetSpatialReference(SpatialReferenceFromText(text));
}

std::string ToolTest::Bytes(const std::string& name) const {
  const std::string folder = FolderOf(Path(name));
  std::string all;
  for (const std::string& file : files::NamesIn(folder))
    if (StemOf(file) == NameOf(name)) all += file + '\n' + ReadBytes(JoinPath(folder, file));
  return all;
}

void ToolTest::AsUnprivileged(const std::function<void()>& body) {
  namespace fs = std::filesystem;
  const fs::path folder = folder_.Path();
  for (const auto& file : fs::directory_iterator(folder)) chmod(file.path().c_str(), 0444);
  chmod(folder.c_str(), 0555);
  std::fflush(nullptr);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    if (geteuid() == 0 && setuid(kNobody) != 0) _exit(2);
    body();
    std::fflush(nullptr);
    _exit(HasFailure() ? 1 : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  chmod(folder.c_str(), 0755);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "see the failures above";
}

void ToolTest::WhileEditedElsewhere(const std::string& file, const std::function<void()>& body) {
  int ready[2], over[2];
  ASSERT_EQ(pipe(ready), 0);
  ASSERT_EQ(pipe(over), 0);
  std::fflush(nullptr);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  char byte = 0;
  if (child == 0) {
    close(over[1]);
    const bool edits = Quietly([&] {
      OpenFeatureClassByPath(Path(file))
          ->AddField(MakeField("OTHER", FieldType::kDouble, 16, false, true));
      if (write(ready[1], "e", 1) != 1 || read(over[0], &byte, 1) != 0) _exit(1);
    });
    _exit(edits ? 0 : 1);
  }
  close(ready[1]);
  close(over[0]);
  EXPECT_EQ(read(ready[0], &byte, 1), 1) << "the other process could not edit";
  body();
  close(over[1]);  // the other process reads the end, and leaves without writing its edit
  int status = 0;
  waitpid(child, &status, 0);
  close(ready[0]);
  EXPECT_EQ(status, 0);
}

void ToolTest::Set(const std::string& name, const std::string& text) {
  if (At(name).Kind() == ControlKind::kCombo) {
    hand_->Choose(name, text);
  } else {
    hand_->Set(name, text);
  }
}

Control& ToolTest::At(const std::string& name) {
  Control* control = dialog().FindControl(name);
  if (control == nullptr) throw std::logic_error("no control " + name);
  return *control;
}

bool ToolTest::Shown(const std::string& name) {
  const Control& control = At(name);
  EXPECT_EQ(control.backColour(), control.enabled() ? BackColour::kWindow : BackColour::kButtonFace)
      << name;
  return control.enabled();
}

std::vector<std::string> ToolTest::Described() {
  std::vector<std::string> lines;
  for (const auto& control : dialog().Controls()) {
    std::string line = std::string(KindName(control->Kind())) + ' ' + control->name + " [" +
                       control->caption() + ']';
    if (control->frame != nullptr) line += " in '" + control->frame->caption + '\'';
    if (const auto* check = dynamic_cast<const CheckBox*>(control.get()))
      line += check->value ? " = yes" : " = no";
    if (const auto* option = dynamic_cast<const OptionButton*>(control.get()))
      line += option->value ? " = yes" : " = no";
    if (const auto* text = dynamic_cast<const TextBox*>(control.get()))
      line += text->text().empty() ? " =" : " = " + text->text();
    if (!control->enabled()) line += " off";
    lines.push_back(line);
  }
  return lines;
}

std::vector<Message> ToolTest::TakeSaid() {
  const std::vector<Message> taken = said();
  host_.messages.Clear();
  return taken;
}

std::vector<std::int64_t> ToolTest::LastProgressOf(const std::string& message) const {
  std::vector<std::int64_t> last;
  for (const ProgressEvent& event : progress_)
    if (event.message == message) last = {event.position, event.max};
  return last;
}

void ToolTest::AtProgressOf(const std::string& message, std::function<void()> act) {
  actAt_ = message;
  act_ = std::move(act);
}

void ToolTest::StopDuring(const std::string& message) {
  stopping_ = std::make_unique<StoppingApplication>(host_.application, message);
  gApp = stopping_.get();
}

std::vector<std::string> TextsOf(const std::vector<Message>& messages) {
  std::vector<std::string> texts;
  for (const Message& message : messages) texts.push_back(message.text);
  return texts;
}

std::string StarWkt(Seeded& random) {
  const double x = random.Real(0, 1e6), y = random.Real(0, 6e6);
  std::string rings = RingAbout(random, x, y, 100, true);
  // Every radius of the outer ring is 50 at least, and its chords stay outside 50 * cos(60
  // degrees).
  if (random.Chance(0.5)) rings += ", " + RingAbout(random, x, y, 20, false);
  return "POLYGON(" + rings + ")";
}

std::string WalkWkt(Seeded& random) {
  std::string parts;
  for (auto part = random.Whole(1, 3); part > 0; --part) {
    std::string line = CoordText(random.Real(0, 1e6), random.Real(0, 6e6));
    for (auto step = random.Whole(1, 39); step > 0; --step)
      line += ", " + CoordText(random.Real(0, 1e6), random.Real(0, 6e6));
    parts += (parts.empty() ? "(" : ", (") + line + ")";
  }
  return "MULTILINESTRING(" + parts + ")";
}

}  // namespace orlinths
