// The paths in force, and how to notice that they have changed.
#pragma once

namespace paths_in_force {

/// Grows with every SetPlatformPaths().
unsigned int Generation();

}  // namespace paths_in_force
