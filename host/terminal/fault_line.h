#pragma once

#include <string>
#include <string_view>

namespace kivosql {

/// The line of the statement where the driver says that the fault is, and a caret below the place; empty where the
/// driver does not say it. @param errorText as the driver wrote it, with its line ends
std::string faultLine(std::string_view sql, std::string_view errorText);

}  // namespace kivosql
