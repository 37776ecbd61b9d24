#include "qgis/LayersOfRun.h"

#include <algorithm>
#include <set>
#include <vector>

#include "runtime/Files.h"

namespace orlinths {
namespace {

/// Whatever the steps set a control to: the names of layers are among it.
std::set<std::string> WordsOf(const Session& session) {
  std::set<std::string> words;
  for (const Step& step : session.steps) {
    const auto* set = std::get_if<steps::Set>(&step.what);
    if (set == nullptr) continue;
    if (const auto* text = std::get_if<std::string>(&set->to)) words.insert(*text);
    if (const auto* items = std::get_if<std::vector<std::string>>(&set->to))
      words.insert(items->begin(), items->end());
  }
  return words;
}

std::set<std::string> NamesIn(const IMap& map) {
  std::set<std::string> names;
  for (const LayerPtr& layer : map.Layers())
    if (layer->Valid()) names.insert(layer->Name());
  for (const StandaloneTablePtr& table : map.StandaloneTables())
    if (table->Valid()) names.insert(table->Name());
  return names;
}

/// What a layer of no name of its own may be called: a raster with its extension, others without.
std::vector<std::string> NamesOf(const LayerEntry& entry) {
  if (!entry.name.empty()) return {entry.name};
  return {StemOf(entry.path), NameOf(entry.path)};
}

bool IsOnDisk(const LayerEntry& entry) {
  const std::string file = entry.path.substr(0, entry.path.find('|'));  // without a layer in it
  return !IsHostPath(file) && (files::FileExists(file) || files::FolderExists(file));
}

class Search {
 public:
  Search(const Session& session, const IMap& map) : words_(WordsOf(session)), there_(NamesIn(map)) {
    Look(session.map.layers, missing.onDisk.layers, missing.gone.layers);
    Look(session.map.tables, missing.onDisk.tables, missing.gone.tables);
  }
  MissingLayers missing;

 private:
  void Look(const std::vector<LayerEntry>& entries, std::vector<LayerEntry>& onDisk,
            std::vector<LayerEntry>& gone) const {
    for (const LayerEntry& entry : entries) {
      if (entry.IsGroup())
        Look(entry.layers, onDisk, gone);
      else if (IsMissing(entry))
        (IsOnDisk(entry) ? onDisk : gone).push_back(entry);
    }
  }
  bool IsMissing(const LayerEntry& entry) const {
    const auto names = NamesOf(entry);
    const auto isNamed = [&](const std::string& name) { return words_.contains(name); };
    const auto isThere = [&](const std::string& name) { return there_.contains(name); };
    return std::any_of(names.begin(), names.end(), isNamed) &&
           std::none_of(names.begin(), names.end(), isThere);
  }

  const std::set<std::string> words_, there_;
};

}  // namespace

MissingLayers MissingLayersOf(const Session& session, const IMap& map) {
  return Search(session, map).missing;
}

bool IsEmpty(const MapContents& contents) {
  return contents.layers.empty() && contents.tables.empty();
}

std::string Listing(const MapContents& contents) {
  std::string lines;
  for (const auto* entries : {&contents.layers, &contents.tables})
    for (const LayerEntry& entry : *entries)
      lines += (lines.empty() ? "" : "\r") + NamesOf(entry).front() + " (" +
               (IsHostPath(entry.path) ? "no file" : entry.path) + ')';
  return lines;
}

}  // namespace orlinths
