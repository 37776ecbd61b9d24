// JSON as session files and events use it: objects keep the order of their members.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace orlinths {

using Json = nlohmann::ordered_json;

/// Reads one JSON document. A damaged one is a wrong call that gives line and column (in bytes,
/// from 1); so are a member that stands twice in its object and nesting deeper than any session's.
Json ParseJson(const std::string& text);

/// One line of valid UTF-8; bytes that are none become replacement characters.
std::string ToLine(const Json& json);

}  // namespace orlinths
