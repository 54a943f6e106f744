#include "composite/CompositePort.h"
#include "composite/LayerStackComposite.h"
#include "layers/Layer.h"
#include "platform/imaging/blend/ImageBlend.h"
#include "platform/imaging/kernels/Kernels.h"
#include "platform/imaging/pages/PageWalk.h"

namespace {

/// Tints what one mask covers, page by page. Pages covered in full, over nothing, all share one page of the tint.
class MaskTinter {
public:
    MaskTinter(ilSmartImage& overlay, const ilTile& canvas, const Layer& mask)
        : overlay_(overlay), canvas_(canvas), color_(mask.GetMaskColor().Premultiplied()),
          weight_(kernels::WeightFrom(double{mask.GetMaskDisplayOpacity()}))
    {
        mask.GetOffset(x_, y_);
    }

    void Tint(const ilMIOImage& coverage)
    {
        if (coverage.GetNumChannels() != 1 || weight_ == 0)
            return;
        if (coverage.GetFillValue().GetPacked() != 0) {
            TintEverywhere(coverage);
            return;
        }
        const ilTile area = ilTileMoved(canvas_, -int64_t{x_}, -int64_t{y_});
        coverage.VisitPages(area, [&](int px, int py, const Page& page) {
            if (page.GetContent() != PageContent::Transparent)
                TintTile(coverage, ilTileIntersection(area, PageTile(px, py)), page.GetContent());
        });
    }

private:
    /// The unstored area is covered as well.
    void TintEverywhere(const ilMIOImage& coverage)
    {
        const bool isFull = coverage.GetFillValue().GetPacked() == 255;
        ForEachPage(ilTileMoved(canvas_, -int64_t{x_}, -int64_t{y_}), [&](int px, int py, const ilTile& part) {
            const PageReader page = coverage.ReadPage(px, py);
            const PageContent stored = page.IsMissing() ? PageContent::Mixed : page.GetPage()->GetContent();
            if (stored != PageContent::Transparent)
                TintTile(coverage, part, page.IsMissing() && isFull ? PageContent::Opaque : stored);
        });
    }

    /// tile: in the coverage's coordinates.
    void TintTile(const ilMIOImage& coverage, const ilTile& tile, PageContent content)
    {
        const ilTile onCanvas = ilTileMoved(tile, x_, y_);
        const int px = PageIndexOf(onCanvas.x);
        const int py = PageIndexOf(onCanvas.y);
        const bool isOnePage = onCanvas == PageTile(px, py);
        if (isOnePage && content == PageContent::Opaque && overlay_.ReadPage(px, py).IsMissing()) {
            overlay_.SetPage(px, py, FullPage(coverage, tile));
            return;
        }
        BlendColorThrough(overlay_, onCanvas, coverage, tile.x, tile.y, color_, weight_);
    }

    PagePtr FullPage(const ilMIOImage& coverage, const ilTile& tile)
    {
        if (!fullPage_) {
            ilSmartImage sample(ilPixel(kUnsignedByte, 4));
            BlendColorThrough(sample, PageTile(0, 0), coverage, tile.x, tile.y, color_, weight_);
            fullPage_ = sample.SharePage(0, 0);
        }
        return fullPage_;
    }

    ilSmartImage& overlay_;
    ilTile canvas_;
    ilPixel color_;
    kernels::Weight weight_;
    int x_ = 0;
    int y_ = 0;
    PagePtr fullPage_;
};

}  // namespace

void LayerStackComposite::MakeCompositeMask(LayerStack* stack, bool remake)
{
    if (!remake && compositeMask_)
        return;
    const CompositePort& port = GetCompositePort();
    const Layer* current = port.GetCurrentLayer(stack);
    qs::vector<PntHandle> masks;
    if (current != nullptr && port.AreMasksShown(stack)) {
        PntHandle owner = current->GetLayerContainerHandle();
        if (current->isStencil() && current->IsHardLinkToOwnerLayer())
            if (const qs::vector<PntHandle> owners = port.GetOwnerArray(stack, owner); !owners.empty())
                owner = owners.front();
        masks = port.GetMaskLayers(stack, owner);
    }
    MakeCompositeMask(stack, masks, true);
}

void LayerStackComposite::MakeCompositeMask(LayerStack* stack, const qs::vector<PntHandle>& masks, bool withSelection)
{
    const CompositePort& port = GetCompositePort();
    qs::vector<const Layer*> shown;
    for (const PntHandle& handle : masks)
        if (const Layer* mask = port.GetLayer(stack, handle); mask != nullptr && mask->isVisible())
            shown.push_back(mask);
    if (withSelection)
        if (const Layer* selection = port.GetUsedSelectionMask(stack))
            shown.push_back(selection);
    compositeMask_.reset();
    if (shown.empty())
        return;
    const qs::TempReference<ilSmartImage> overlay(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
    for (const Layer* mask : shown)
        if (const qs::TempReference<ilMIOImage> coverage = mask->GetImage())
            MaskTinter(*overlay, port.GetSize(stack), *mask).Tint(*coverage);
    if (!overlay->IsEmpty())
        compositeMask_ = overlay;
}
