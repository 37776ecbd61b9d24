#include "host/Commands.h"
#include "host/ComponentObject.h"
#include "runtime/Files.h"

namespace orlinths {
namespace {

/// The host sets and reads the state; no command looks at it.
class Extension : public IExtension, private ComponentObject {
 public:
  std::string Name() const override { return std::string(kComponent); }
  void Startup() override {}
  void Shutdown() override {}
  std::string ProductName() const override { return "Orlinth's Analysis Tools"; }
  std::string Description() const override {
    return "Tools to facilitate answering ecological research questions.";
  }
  std::int32_t State() const override { return state_; }
  void SetState(std::int32_t state) override { state_ = state; }

 private:
  std::int32_t state_ = 0;
};

}  // namespace

std::unique_ptr<IExtension> CreateExtension(const std::string& progId) {
  if (!EqualNoCase(ClassOf(progId), kExtensionClass)) return nullptr;
  return std::make_unique<Extension>();
}

}  // namespace orlinths
