#include "support/CapturedMessages.h"

#include <ostream>

namespace orlinths {

void PrintTo(const Message& message, std::ostream* out) {
  *out << '"' << message.text << "\" (" << message.flags << ", \"" << message.title << "\")";
}

CapturedMessages::CapturedMessages() {
  Ports ports;
  ports.messageBox = [this](const std::string& text, int flags, const std::string& title) {
    all_.push_back({text, flags, title});
    if ((flags & 0xF) != kYesNo) return Reply::kOk;
    if (answers.empty()) return Reply::kNo;
    const bool yes = answers.front();
    answers.erase(answers.begin());
    return yes ? Reply::kYes : Reply::kNo;
  };
  ports.yield = [this] { ++yields; };
  ports.clock = [this] { return clock; };
  ports.shellOpen = [this](const std::string& target) { shellTargets.push_back(target); };
  before_ = SetPorts(std::move(ports));
}

CapturedMessages::~CapturedMessages() {
  SetPorts(std::move(before_));
  ClearStop();
}

Texts CapturedMessages::Text() const {
  Texts texts;
  for (const Message& message : all_) texts.push_back(message.text);
  return texts;
}

}  // namespace orlinths
