#pragma once

#include "platform/base/Reference.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "stack/edits/DocumentEdit.h"

class SelectionLife;

/// Selects by images, whose pixel (0, 0) lies on canvas pixel (x, y). A missing selection mask is made first.
class SelectionImages : public DocumentEdit {
public:
    SelectionImages(StackRooms& rooms, SelectionLife& life) : DocumentEdit(rooms), life_(life) {}

    /// 1 - (1 - a)(1 - b), a(1 - b), and ab.
    void Add(const qs::TempReference<ilMIOImage>& image, int x, int y, bool rebuild);
    void Subtract(const qs::TempReference<ilMIOImage>& image, int x, int y, bool rebuild);
    void Intersect(const qs::TempReference<ilMIOImage>& image, int x, int y, bool rebuild);

    /// Makes a copy of a one-channel image the selection, and copies the selection into such an image.
    void Take(const qs::TempReference<ilMIOImage>& image, int x, int y, bool rebuild);
    void CopyInto(const qs::TempReference<ilMIOImage>& image) const;

    /// Nothing but the image, and everything but it.
    void Fill(const qs::TempReference<ilMIOImage>& image, bool rebuild);
    void FillAllBut(const qs::TempReference<ilMIOImage>& image, bool rebuild);

private:
    void Blend(const ilMIOImage& image, int x, int y, int sourceFactor, bool rebuild);

    SelectionLife& life_;
};
