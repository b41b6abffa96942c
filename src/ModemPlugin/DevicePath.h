// The device behind a path.
#pragma once

#include <string>

namespace modem {

/// Where the links of a path lead, without opening the device; empty when there is nothing.
std::string ResolvedPath(const std::string& path);

/// Where one link leads; empty when it is none.
std::string LinkTarget(const std::string& link);

}  // namespace modem
