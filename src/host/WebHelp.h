// Web help: which page belongs to which dialog's tag.
#pragma once

#include <string>

namespace orlinths {

/// Ends with the path element `otools/`.
extern const char* const kWebHelpBase;
/// Base address plus page; an unknown tag (exact match) gives the base address itself.
std::string WebHelpAddress(const std::string& tag);
void ShowWebHelp(const std::string& tag);

}  // namespace orlinths
