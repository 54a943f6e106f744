#pragma once

#include "platform/base/Export.h"

class BrushStampReferenceStamp;

/// The kinds of reference stamps that the library tells apart, by type name. False for null.
PAINTLAYER_EXPORT bool isCloneStamp(const BrushStampReferenceStamp* stamp);
PAINTLAYER_EXPORT bool isSmearStamp(const BrushStampReferenceStamp* stamp);
