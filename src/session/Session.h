// A session: a map, the replies to questions, and what a user does, step by step. Paths in it are
// absolute.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "data/Table.h"

namespace orlinths {

/// True for a path that names no file: "host:memory/sketch", a layer that only the program has that
/// the session was recorded in.
inline bool IsHostPath(std::string_view path) { return path.starts_with("host:"); }

/// A layer of the map, or a group with layers of its own.
struct LayerEntry {
  std::string name;  ///< empty: the platform's own
  std::string path;  ///< empty for a group
  std::string where;
  std::optional<std::vector<Oid>> selection;
  std::vector<LayerEntry> layers;

  bool IsGroup() const { return path.empty(); }
  bool operator==(const LayerEntry&) const = default;
};

/// Top first.
struct MapContents {
  std::string spatialReference;
  std::vector<LayerEntry> layers;
  std::vector<LayerEntry> tables;
  bool operator==(const MapContents&) const = default;
};

struct ReplyRule {
  std::string pattern;  ///< `*` stands for any run of characters
  bool yes = false;
  bool once = false;  ///< used up by its first match
  bool operator==(const ReplyRule&) const = default;
};

/// What a control is set to: on or off, a text (numbers and dates too), or the items of a list.
using SetValue = std::variant<bool, std::string, std::vector<std::string>>;

namespace steps {

struct Click {
  std::string className;
  bool operator==(const Click&) const = default;
};
struct Set {
  std::string control;
  SetValue to;
  bool operator==(const Set&) const = default;
};
/// What the choice that a press opens gives back.
struct Pick {
  /// As written: a path, or the definition of a spatial reference. Nothing: the choice is
  /// cancelled.
  std::optional<std::string> text = {};
  std::string folder = {};   ///< where a relative path starts
  bool isReference = false;  ///< the dialog is known, and its button fills a box with a reference

  /// The text as an absolute path.
  std::string Path() const;
  /// The same choice, however its path is written.
  bool operator==(const Pick& other) const;
};
struct Press {
  std::string control;
  std::optional<Pick> pick;
  bool operator==(const Press&) const = default;
};
struct Show {
  /// Of a run that ends well and leaves its dialog open: people are told the answer alone. A
  /// session file does not keep this.
  bool onlyAnswer = false;
  bool operator==(const Show&) const = default;
};
struct Select {
  std::string layer;
  std::vector<Oid> oids;
  bool operator==(const Select&) const = default;
};
enum class MouseAction { kDown, kMove, kUp, kDouble };
struct Mouse {
  MouseAction action = MouseAction::kDown;
  int button = 1;
  int shift = 0;
  int x = 0;
  int y = 0;
  bool operator==(const Mouse&) const = default;
};

}  // namespace steps

struct Step {
  std::variant<steps::Click, steps::Set, steps::Press, steps::Show, steps::Select, steps::Mouse>
      what;
  int number = 0;  ///< its place in the session file, from 1; 0 for a step of no file
  bool operator==(const Step& other) const { return what == other.what; }
};

struct Session {
  std::optional<std::int64_t> clock;
  MapContents map;
  std::vector<ReplyRule> replies;
  std::vector<Step> steps;
  bool operator==(const Session&) const = default;
};

}  // namespace orlinths
