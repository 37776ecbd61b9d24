#include "host/Steps.h"

#include "runtime/Ports.h"
#include "runtime/Trap.h"

namespace orlinths {

Steps::Steps(std::int64_t count, const std::string& message, bool show, std::int64_t first) {
  if (!show || gApp == nullptr) return;
  progressor_ = &gApp->StatusBar().ProgressBar();
  progressor_->SetMinRange(first);
  progressor_->SetMaxRange(count);
  progressor_->SetMessage(message);
  progressor_->Show();
}

Steps::~Steps() {
  // Also on the way out of a failure, where a second one would have nowhere to go.
  if (progressor_ != nullptr) Quietly([this] { progressor_->Hide(); });
}

void Steps::Next() {
  CheckStop();
  if (progressor_ == nullptr) return;
  progressor_->SetPosition(++position_);
  progressor_->Show();
}

}  // namespace orlinths
