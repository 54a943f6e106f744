#include "layers/Layer.h"

#include "platform/imaging/painter/PaintOps.h"
#include "tests/layers/FakeDocument.h"
#include "tests/support/RandomImages.h"

#include <gtest/gtest.h>

namespace {

const ilPixel kBlue = ilPixel::Rgba(0, 0, 200, 255);

uint32_t Union(uint32_t a, uint32_t b)
{
    return a + (b * (255 - a) * 2 + 255) / 510;
}

/// Coverage of the layer's stencil composite at a canvas pixel.
int StencilAt(Layer& layer, int canvasX, int canvasY)
{
    const ilMIOImage* stencil = layer.GetUpToDateStencil();
    return stencil == nullptr
               ? 0
               : stencil->GetPixel(canvasX - layer.getXOffset(), canvasY - layer.getYOffset()).GetComponent(0);
}

}  // namespace

TEST(LayerStencil, TheCompositeIsTheUnionOfTheActiveStencils)
{
    for (unsigned seed = 0; seed < 12; ++seed) {
        Random random(seed);
        const auto number = [&](int low, int high) { return random.Int(low, high - 1); };
        FakeDocument document;
        Layer* layer = document.Add(kLayerModeImage, number(-70, 70), number(-70, 70));
        layer->GetImage()->fillTile({-300, -300, 600, 600}, kBlue);
        qs::vector<Layer*> stencils;
        for (int i = 0; i < 4; ++i) {
            const int step = seed % 2 == 0 ? 64 : 1;  // aligned stencils share pages
            Layer* stencil = document.AddStencil(layer, layer->getXOffset() + step * number(-2, 3),
                                                 layer->getYOffset() + step * number(-2, 3));
            for (int j = 0; j < 5; ++j)
                stencil->GetImage()->fillTile({number(-150, 100), number(-150, 100), number(1, 150), number(1, 150)},
                                              ilPixel::Coverage(static_cast<uint8_t>(number(0, 256))));
            if (number(0, 4) == 0)
                stencil->InvertStencil();
            if (number(0, 4) == 0)
                stencil->SetActive(false);
            else
                stencils.push_back(stencil);
        }
        document.AddStencil(document.Add(kLayerModeImage))->InvertStencil();  // not this layer's
        const auto expectAll = [&] {
            const qs::TempReference<ilSmartImage> shown = layer->GetStencilledImage();
            for (int y = -220; y < 220; y += 7)
                for (int x = -220; x < 220; x += 7) {
                    uint32_t expected = 0;
                    for (const Layer* stencil : stencils)
                        expected = Union(expected, stencil->GetImage()
                                                       ->GetPixel(x - stencil->getXOffset(), y - stencil->getYOffset())
                                                       .GetComponent(0));
                    // Each stencil after the first may round once.
                    ASSERT_NEAR(StencilAt(*layer, x, y), static_cast<int>(expected), expected == 255 ? 0 : 2)
                        << x << ", " << y;
                    const ilPixel pixel = shown->GetPixel(x - layer->getXOffset(), y - layer->getYOffset());
                    ASSERT_NEAR(pixel.GetAlpha(), 255 - StencilAt(*layer, x, y), 0);
                }
        };
        expectAll();

        // Painting on a stencil, refreshed where it was painted, gives what a new composite would.
        if (!stencils.empty()) {
            const ilTile painted(number(-100, 100), number(-100, 100), 50, 30);
            stencils[0]->GetImage()->fillTile(painted, ilPixel::Coverage(static_cast<uint8_t>(number(0, 256))));
            layer->RefreshStencilComposite(ilTileMoved(painted, stencils[0]->getXOffset() - layer->getXOffset(),
                                                       stencils[0]->getYOffset() - layer->getYOffset()));
            EXPECT_FALSE(layer->IsStencilCompositeDirty());
            expectAll();
        }
    }
}

TEST(LayerStencil, AnInvertedStencilCostsOnlyThePagesThatItStores)
{
    FakeDocument document;
    Layer* layer = document.Add(kLayerModeImage);
    layer->GetImage()->SetPixel(60'000, 60'000, kBlue);
    layer->GetImage()->SetPixel(10, 10, kBlue);
    Layer* stencil = document.AddStencil(layer);
    stencil->GetImage()->fillTile({0, 0, 20, 20}, ilPixel::Coverage(255));
    stencil->InvertStencil();
    document.AddStencil(layer, 1, 1)->GetImage()->fillTile({30'000, 0, 20, 20}, ilPixel::Coverage(255));
    stencil->SetStencilCompositeDirty(true);
    const ilMIOImage* composite = layer->GetUpToDateStencil();
    ASSERT_NE(composite, nullptr);
    EXPECT_EQ(composite->GetFillValue(), ilPixel::Coverage(255));
    EXPECT_EQ(composite->GetPageCount(), 1U);
    const ilTile area(59'968, 59'968, 64, 64);
    EXPECT_EQ(layer->GetStencilledImage(&area)->GetPixel(60'000, 60'000), ilPixel());
    EXPECT_EQ(layer->GetStencilledImage()->GetPixel(10, 10), kBlue);
}

TEST(LayerStencil, ThereIsNoCompositeWithoutActiveStencilsNorForMasksAndStencils)
{
    FakeDocument document;
    Layer* layer = document.Add(kLayerModeImage);
    EXPECT_EQ(layer->GetUpToDateStencil(), nullptr);
    EXPECT_FALSE(layer->IsStencilCompositeDirty());
    Layer* stencil = document.AddStencil(layer);
    stencil->GetImage()->SetPixel(0, 0, ilPixel::Coverage(255));
    EXPECT_NE(layer->GetUpToDateStencil(), nullptr);
    stencil->SetActive(false);
    EXPECT_EQ(layer->GetUpToDateStencil(), nullptr);
    document.AddStencil(layer, 0, 0, true)->InvertStencil();
    for (const bool isShown : {false, true}) {  // a hard-linked one comes and goes with its owner
        layer->SetVisible(isShown);
        EXPECT_EQ(layer->GetUpToDateStencil() != nullptr, isShown);
    }
    Layer* mask = document.Add(kLayerModeMask);
    document.AddStencil(mask)->InvertStencil();
    EXPECT_EQ(mask->GetUpToDateStencil(), nullptr);
    EXPECT_EQ(stencil->GetUpToDateStencil(), nullptr);
}

TEST(LayerStencil, LayersAreShownAtTheirOpacityAndMasksInTheirColour)
{
    FakeDocument document;
    Layer *layer = document.Add(kLayerModeImage), *mask = document.Add(kLayerModeMask);
    layer->GetImage()->fillTile({0, 0, 200, 200}, kBlue);
    layer->GetImage()->SetPixel(70, 70, ilPixel::Rgba(1, 1, 1, 1));
    const ilTile area(64, 64, 64, 64), wide(0, 0, 1000, 10);
    for (const ilTile* tile : {static_cast<const ilTile*>(nullptr), &area})
        EXPECT_TRUE(layer->GetStencilledImage(tile)->SharesPageWith(*layer->GetImage(), 1, 1));
    layer->SetOpacity(0.5F);
    EXPECT_TRUE(layer->GetStencilledImage(&area, true)->SharesPageWith(*layer->GetImage(), 1, 1));
    EXPECT_EQ(layer->GetStencilledImage(&area)->GetPixel(64, 64), ilPixel::Rgba(0, 0, 100, 128));

    mask->GetImage()->fillTile({0, 0, 10, 10}, ilPixel::Coverage(255));
    mask->SetMaskColor(PaintColor(0, 1, 0));
    mask->SetOpacity(0.1F);  // not what a mask is shown with
    for (const bool isInverted : {false, true}) {
        const qs::TempReference<ilSmartImage> shown = mask->GetStencilledImage(&wide);
        EXPECT_EQ(shown->GetPixel(5, 5), isInverted ? ilPixel() : ilPixel::Rgba(0, 128, 0, 128));
        EXPECT_EQ(shown->GetPixel(900, 5), isInverted ? ilPixel::Rgba(0, 128, 0, 128) : ilPixel());
        mask->InvertMask();
    }
}

TEST(LayerStencil, CollapsingKeepsWhatIsShownAndHidesWhatAPainterDrew)
{
    FakeDocument document;
    Layer* layer = document.Add(kLayerModeImage);
    layer->GetImage()->fillTile({0, 0, 100, 100}, kBlue);
    layer->SetOpacity(0.5F);
    Layer* stencil = document.AddStencil(layer);
    stencil->GetImage()->fillTile({0, 0, 50, 100}, ilPixel::Coverage(255));
    const qs::TempReference<ilSmartImage> shown = layer->GetStencilledImage();
    const qs::Reference<PaintOps> painter(new PaintOps(new ilSmartImage(ilPixel())));
    painter->target_img()->fillTile({0, 0, 100, 100}, kBlue);
    const ilTile area(0, 0, 60, 34);
    layer->DoStencil(&area, nullptr);
    layer->DoStencil(&area, painter.get());
    EXPECT_EQ(painter->previewDamage(), area);
    layer->CollapseStencilComposite();
    EXPECT_EQ(layer->getLayerBounds(false), ilTile(50, 0, 50, 100));
    for (int x = 0; x < 110; ++x) {
        EXPECT_EQ(layer->GetImage()->GetPixel(x, 33), painter->target_img()->GetPixel(x, 33));
        EXPECT_EQ(painter->target_img()->GetPixel(x, 34), x < 100 ? kBlue : ilPixel());
    }
    layer->CollapseOpacity();
    EXPECT_EQ(layer->GetOpacity(), 1.0F);
    EXPECT_EQ(FirstDifference(*layer->GetStencilledImage(), *shown, {-5, -5, 120, 120}), "");
    EXPECT_EQ(document.imageChanges.size(), 2U);

    stencil->SetOpacity(0.5F);
    const qs::TempReference<ilMIOImage> coverage = stencil->GetImage();
    stencil->CollapseOpacity();
    EXPECT_TRUE(stencil->GetImage() == coverage && stencil->GetOpacity() == 1.0F);
}

TEST(LayerStencil, TheMaskImageIsTheUnionOfMasksWithinTheTile)
{
    FakeDocument document;
    Layer* first = document.Add(kLayerModeMask, 5, 5);
    first->GetImage()->fillTile({0, 0, 10, 10}, ilPixel::Coverage(100));
    Layer* second = document.Add(kLayerModeMask, -3, 0);
    second->GetImage()->fillTile({10, 10, 50, 50}, ilPixel::Coverage(255));
    second->InvertMask();
    const qs::Reference<LayerFolder> folder(new LayerFolder);
    const ilTile tile(0, 0, 40, 40);
    const qs::TempReference<ilSmartImage> made =
        Layer::MakeMaskImage({first, document.Add(kLayerModeImage), folder.get(), second}, tile);
    EXPECT_EQ(made->GetNumChannels(), 1);
    EXPECT_EQ(made->GetPixel(5, 5), ilPixel::Coverage(255));
    EXPECT_EQ(made->GetPixel(12, 12), ilPixel::Coverage(100));
    EXPECT_EQ(made->GetPixel(30, 30), ilPixel::Coverage(0));
    EXPECT_EQ(made->GetPixel(0, 39), ilPixel::Coverage(255));
    EXPECT_EQ(made->GetPixel(40, 0), ilPixel::Coverage(0));
}
