#include "platform/os/Environment.h"

#include <cstdlib>

namespace qsOS {

const char* GetEnvironment(const char* name)
{
    return name != nullptr ? std::getenv(name) : nullptr;
}

}  // namespace qsOS
