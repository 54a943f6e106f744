#pragma once

#include "platform/imaging/kernels/BlendFactor.h"
#include "platform/imaging/kernels/LayerBlendMode.h"
#include "platform/imaging/kernels/Weight.h"
#include "platform/imaging/pages/ilImage.h"

class ilMIOImage;

/// How pixels of a source meet those of a target.
struct ImageBlend {
    int sourceFactor = kFactorOne;
    int destinationFactor = kFactorOneMinusSourceAlpha;
    LayerBlendMode mode = kBlendNormal;  // other modes need the factors (1, 7)
    kernels::Weight colorWeight = kernels::kFullWeight;
    kernels::Weight alphaWeight = kernels::kFullWeight;
    const ilMIOImage* coverage = nullptr;  // one channel: scales what arrives; null for everywhere
    int coverageX = 0;  // target pixel on which the coverage's (0, 0) lies
    int coverageY = 0;

    bool IsPlainOver() const
    {
        return sourceFactor == kFactorOne && destinationFactor == kFactorOneMinusSourceAlpha && mode == kBlendNormal &&
               colorWeight == kernels::kFullWeight && coverage == nullptr;
    }
    bool IsPlainErase() const
    {
        return sourceFactor == kFactorZero && destinationFactor == kFactorOneMinusSourceAlpha && mode == kBlendNormal &&
               coverage == nullptr;
    }
    bool IsPlainCopy() const
    {
        return sourceFactor == kFactorOne && destinationFactor == kFactorZero && coverage == nullptr &&
               colorWeight == kernels::kFullWeight && alphaWeight == kernels::kFullWeight;
    }
};

/// Blends the pixels of `source` from (sourceX, sourceY) on into `tile` of `target`; both have equal channels. Missing
/// and transparent pages cost nothing, pages that end up as the source's are shared.
void BlendImage(ilImage& target, const ilTile& tile, const ilImage& source, int sourceX, int sourceY,
                const ImageBlend& blend);

/// Moves the pixels of `target` within `tile` to `value` by the one-channel `coverage`, whose pixel (coverageX,
/// coverageY) meets the tile's first one: (1 - coverage)·target + coverage·value, rounded once. Pages that the coverage
/// leaves out cost nothing, pages that it covers in full share one page of the value.
void FillThrough(ilMIOImage& target, const ilTile& tile, const ilPixel& value, const ilMIOImage& coverage,
                 int coverageX, int coverageY);

/// Draws `color` (premultiplied, four channels) into `tile` of the four-channel `target` through the one-channel
/// `coverage`, whose pixel (coverageX, coverageY) meets the tile's first one. Paints over.
void BlendColorThrough(ilImage& target, const ilTile& tile, const ilImage& coverage, int coverageX, int coverageY,
                       const ilPixel& color, kernels::Weight weight);

/// Multiplies `target` within `tile` by 1 - weight·coverage: what the coverage covers is hidden. What is covered whole
/// or not at all is settled a page at a time, without a look at its pixels.
void HideThrough(ilMIOImage& target, const ilTile& tile, const ilMIOImage& coverage, int coverageX, int coverageY,
                 kernels::Weight weight);
