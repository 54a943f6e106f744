#pragma once

#include "platform/imaging/pages/ilImage.h"

/// What a stamp can take its pixels from instead of a colour.
class PAINTLAYER_EXPORT PaintObj : public qs::ReferenceCount {
public:
    /// The image that pixels come from; null when there is none. Four channels for colour.
    virtual qs::TempReference<ilImage> GetImage() const = 0;

    /// True when the image repeats in all directions (a texture), false when it is used once.
    virtual bool IsTiled() const = 0;
};

/// An image as a source: a layer's pixels for clone and smear, a processed layer image for effect brushes.
class PAINTLAYER_EXPORT ImagePaintObj : public PaintObj {
public:
    explicit ImagePaintObj(qs::TempReference<ilImage> image, bool tiled = false)
        : image_(std::move(image)), tiled_(tiled)
    {}

    qs::TempReference<ilImage> GetImage() const override { return image_; }
    bool IsTiled() const override { return tiled_; }

private:
    qs::TempReference<ilImage> image_;
    bool tiled_;
};
