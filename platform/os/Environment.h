#pragma once

namespace qsOS {

/// The value of an environment variable, null when it is not set. Valid until the environment changes.
const char* GetEnvironment(const char* name);

}  // namespace qsOS
