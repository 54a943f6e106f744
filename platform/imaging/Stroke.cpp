#include "platform/imaging/Stroke.h"

#include "platform/base/AffineMatrix.h"

void Stroke::SetImageMatrix(const qsLinear::AffineMatrix&) {}
