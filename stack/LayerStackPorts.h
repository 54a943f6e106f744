#pragma once

#include "platform/base/Export.h"

/// Lets the composites ask the layer stacks: fills the composite's port. Every stack's constructor calls it; further
/// calls change nothing.
PAINTLAYER_EXPORT void InstallStackPorts();
