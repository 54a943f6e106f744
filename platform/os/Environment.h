#pragma once

#include "platform/base/Export.h"

namespace qsOS {

/// The value of an environment variable, null when it is not set. Valid until the environment changes.
PAINTLAYER_EXPORT const char* GetEnvironment(const char* name);

}  // namespace qsOS
