// The words of an attribute filter, for those who say it in another language.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "runtime/Date.h"

namespace orlinths {

/// `where` with every date (#2020-01-31#) as `date` says it and every name, bare or in double quotes
/// with them, and every keyword as `name` does. Quoted texts stay; so does what cannot be read, for
/// the reader of the other language to complain about.
std::string RewriteWhere(std::string_view where,
                         const std::function<std::string(const Date&)>& date,
                         const std::function<std::string(std::string_view)>& name);

}  // namespace orlinths
