#pragma once

#include "layers/PntHandle.h"
#include "platform/imaging/transform/ColorAdjust.h"
#include "stack/edits/DocumentEdit.h"

class PictureEdits;

/// Colours and sharpness of one layer, within what is selected.
class ColorEdits : public DocumentEdit {
public:
    ColorEdits(StackRooms& rooms, PictureEdits& pictures) : DocumentEdit(rooms), pictures_(pictures) {}

    bool Adjust(const ColorAdjustParm& parm, float amount, const PntHandle& handle);
    bool PreviewAdjust(const ColorAdjustParm& parm, float amount, const PntHandle& handle);
    ImageAnalysisData Analyze(const PntHandle& handle) const;
    bool SharpenOrBlur(float amount, float radius, const PntHandle& handle);

private:
    PictureEdits& pictures_;
};
