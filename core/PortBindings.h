#pragma once

/// Lets layers and layer stacks ask, and tell, PaintCore and through it the host.
void BindPorts();

/// Gives them back the neutral answers that they had before: nothing reaches PaintCore any more.
void UnbindPorts();
