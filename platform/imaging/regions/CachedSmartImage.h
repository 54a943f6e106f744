#pragma once

#include "platform/imaging/pages/ilMIOImage.h"

/// A paged image seen through the page looked at last, which is found without its directory. Writing through the
/// wrapper is seen by it; while it looks at a page, nobody else writes to the image.
class CachedSmartImage {
public:
    explicit CachedSmartImage(qs::TempReference<ilMIOImage> image) : image_(std::move(image)) {}

    ilMIOImage& GetImage() const { return *image_; }

    /// The page, or null where none is stored; good until another is looked at or written.
    const Page* LookAt(int px, int py)
    {
        if (!isKnown_ || px != px_ || py != py_) {
            page_ = image_->ReadPage(px, py);
            px_ = px;
            py_ = py;
            isKnown_ = true;
        }
        return page_.GetPage();
    }

    /// The one value of all pixels of a page in `packed`, if they are known to have one.
    bool IsOneValue(int px, int py, uint32_t& packed);

    /// One pixel, packed.
    uint32_t LookAtPixel(int x, int y);

    /// Ends the look at the last page: the image may be written by others until the next one.
    void LetGo()
    {
        page_ = PageReader();
        isKnown_ = false;
    }

    /// As the image's own functions.
    PageWriter WritePage(int px, int py)
    {
        LetGo();
        return image_->WritePage(px, py);
    }
    void SetPage(int px, int py, PagePtr page)
    {
        LetGo();
        image_->SetPage(px, py, std::move(page));
    }

private:
    qs::TempReference<ilMIOImage> image_;
    PageReader page_;
    int px_ = 0;
    int py_ = 0;
    bool isKnown_ = false;
};
