#include "support/TestHost.h"

#include <stdexcept>

#include "data/Layers.h"
#include "data/Workspace.h"

namespace orlinths {

TestHost::TestHost() {
  ForgetDialogs();
  SetApplication(&application);
  map.onLayerAdded = [this](const ILayer& layer) { addedLayers.push_back(layer.Name()); };
  map.onSelectionChanged = [this](const IFeatureLayer& layer) {
    selections.push_back(layer.Name());
  };
  application.onStatusBar = [this](const std::string& text) { statusBar.push_back(text); };
  application.onProgress = [this](std::int64_t, std::int64_t, const std::string& message) {
    if (progress.empty() || progress.back() != message) progress.push_back(message);
  };
}

TestHost::~TestHost() {
  own_.clear();
  ForgetDialogs();
  SetApplication(nullptr);
  gApp = nullptr;
  gMxDoc = nullptr;
  gMap = nullptr;
}

std::shared_ptr<IFeatureLayer> TestHost::AddLayer(const std::string& path,
                                                  const std::string& name) {
  auto layer = std::make_shared<IFeatureLayer>(OpenFeatureClassByPath(path));
  if (!name.empty()) layer->SetName(name);
  map.Append(layer);
  return layer;
}

StandaloneTablePtr TestHost::AddTable(const std::string& path) {
  auto table = std::make_shared<IStandaloneTable>(OpenTableByPath(path));
  map.AppendTable(table);
  return table;
}

Hand TestHost::Click(const std::string& className) {
  const auto command = CreateCommand(ProgId(className));
  if (command == nullptr) throw std::logic_error("there is no command " + className);
  command->OnCreate(&application);
  command->OnClick();
  return dialogs.Top();
}

}  // namespace orlinths
