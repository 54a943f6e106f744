#pragma once

#include "platform/imaging/pages/ilImage.h"

/// A source of pixels that a brush refers to instead of a colour: the base of clone and smear stamps. Its kind is a
/// type name of at most 127 characters.
class PAINTLAYER_EXPORT BrushStampReferenceStamp {
public:
    explicit BrushStampReferenceStamp(const char* typeName);
    BrushStampReferenceStamp(const BrushStampReferenceStamp&) = default;
    BrushStampReferenceStamp& operator=(const BrushStampReferenceStamp&) = default;

    virtual ~BrushStampReferenceStamp() = default;
    virtual BrushStampReferenceStamp* duplicate() const = 0;  // owned by the caller
    virtual bool IsEqual_(const BrushStampReferenceStamp* other) const = 0;
    virtual ilImage* GetRefImage() = 0;  // borrowed; null when there is none
    virtual float GetXOff() const { return 0; }
    virtual float GetYOff() const { return 0; }

    bool IsBrushStampReferenceType(const char* typeName) const;

private:
    char typeName_[128] = {};
};
