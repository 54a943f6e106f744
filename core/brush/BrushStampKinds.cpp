#include "core/brush/BrushStampKinds.h"

#include "platform/imaging/stamps/BrushStampReferenceStamp.h"

bool isCloneStamp(const BrushStampReferenceStamp* stamp)
{
    return stamp != nullptr && stamp->IsBrushStampReferenceType("Clone");
}

bool isSmearStamp(const BrushStampReferenceStamp* stamp)
{
    return stamp != nullptr && stamp->IsBrushStampReferenceType("Smear");
}
