#pragma once

/// Lets the composites ask the layer stacks: fills the composite's port. Every stack's constructor calls it; further
/// calls change nothing.
void InstallStackPorts();
