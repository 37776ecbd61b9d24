// The ground of a tool's tests: a folder, a map without windows, one dialog under a user's hand,
// and everything that was said.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "data/Layers.h"
#include "support/Seeded.h"
#include "support/TempFolder.h"
#include "support/TestHost.h"
#include "support/OgrDataset.h"

namespace orlinths {

class ToolTest : public ::testing::Test {
 protected:
  ToolTest();
  ~ToolTest() override;

  // ---- Data

  /// Writes a dataset with GDAL and puts it at the bottom of the map, named after its file.
  std::shared_ptr<IFeatureLayer> AddLayer(const std::string& file, const OgrDataset& data);
  /// The same with a dataset that is there.
  std::shared_ptr<IFeatureLayer> AddFile(const std::string& file);
  /// Puts another number wherever a file holds the bytes of `old`: coordinates that no writer
  /// writes.
  void ReplaceNumber(const std::string& file, double old, double by) const;
  void SetMapReference(const std::string& text);
  std::string Path(const std::string& file) const { return folder_ / file; }
  /// What GDAL reads in a shapefile now.
  OgrDataset Table(const std::string& name) const { return ReadOgr(Path(name + ".shp")); }
  /// Names and bytes of all files of that base name.
  std::string Bytes(const std::string& name) const;
  /// Runs `body` in a process of a user who can read the folder and cannot write to it.
  void AsUnprivileged(const std::function<void()>& body);
  /// Runs `body` while another process has the dataset open with an edit pending.
  void WhileEditedElsewhere(const std::string& file, const std::function<void()>& body);

  // ---- The user's hand

  template <class D>
  void Open() {
    hand_.emplace(host_.Open<D>());
  }
  /// The same dialog once more, after it has been closed.
  void OpenAgain() { dialog().ShowModal(); }
  Dialog& dialog() { return **hand_; }
  bool IsOpen() { return hand_->IsOpen(); }
  /// Types into a box or chooses an item of a drop-down list.
  void Set(const std::string& name, const std::string& text);
  void Tick(const std::string& name, bool on) { hand_->Check(name, on); }
  void Choose(const std::string& option) { hand_->Choose(option); }
  void Press(const std::string& button) { hand_->Press(button); }

  // ---- What the user sees

  Control& At(const std::string& name);
  ComboBox& Combo(const std::string& name) { return dynamic_cast<ComboBox&>(At(name)); }
  bool IsChosen(const std::string& option) { return hand_->IsChecked(option); }
  /// Is the control on? Its colour must say the same.
  bool Shown(const std::string& name);
  /// One line a control: "text txtArea [New field name:] in 'Options ' = AREA off".
  std::vector<std::string> Described();
  const std::vector<Message>& said() const { return host_.messages.All(); }
  std::vector<Message> TakeSaid();
  const std::vector<std::string>& ShellTargets() const { return host_.messages.shellTargets; }

  struct ProgressEvent {
    std::int64_t position, max;
    std::string message;
  };
  const std::vector<ProgressEvent>& Progress() const { return progress_; }
  /// Position and maximum that the status bar told last under that message.
  std::vector<std::int64_t> LastProgressOf(const std::string& message) const;
  /// Does something when the status bar first tells of progress under that message.
  void AtProgressOf(const std::string& message, std::function<void()> act);
  /// From now on a stop is asked for at the 2000th record of the work that goes by that message.
  void StopDuring(const std::string& message);

  TestHost host_;

 private:
  TempFolder folder_;
  std::optional<Hand> hand_;
  std::vector<ProgressEvent> progress_;
  std::string actAt_;
  std::function<void()> act_;
  std::unique_ptr<IApplication> stopping_;
};

std::vector<std::string> TextsOf(const std::vector<Message>& messages);

/// A star-shaped polygon of 3 to 40 vertices, its outer ring clockwise, with a hole in every second
/// one.
std::string StarWkt(Seeded& random);
/// A line of 1 to 3 parts with 2 to 40 vertices each.
std::string WalkWkt(Seeded& random);

}  // namespace orlinths
