#pragma once

#include "platform/imaging/stamps/StampCoverage.h"
#include "platform/imaging/stamps/StampForm.h"
#include "platform/imaging/stamps/StampMask.h"

/// Makes the coverage of a stamp whose mask is an image: its longer side spans the diameter, the centre of the image is
/// the centre of the stamp, and its x axis runs along the rotation. The image's edges are sharp.
qs::Reference<StampCoverage> MakeMaskCoverage(const StampMask& mask, const StampForm& form);
