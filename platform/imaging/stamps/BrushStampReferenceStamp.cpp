#include "platform/imaging/stamps/BrushStampReferenceStamp.h"

#include <cstring>

BrushStampReferenceStamp::BrushStampReferenceStamp(const char* typeName)
{
    if (typeName != nullptr)
        std::strncpy(typeName_, typeName, sizeof typeName_ - 1);
}

bool BrushStampReferenceStamp::IsBrushStampReferenceType(const char* typeName) const
{
    return typeName != nullptr && std::strncmp(typeName_, typeName, sizeof typeName_ - 1) == 0;
}
