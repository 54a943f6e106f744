#include "platform/imaging/strokes/Stroke.h"

#include "platform/base/AffineMatrix.h"

void Stroke::SetImageMatrix(const qsLinear::AffineMatrix&) {}
