#include "layers/Layer.h"

#include "tests/layers/FakeDocument.h"
#include "tests/support/RandomImages.h"

#include <gtest/gtest.h>

namespace {

constexpr ilTile kCanvas(-460, -460, 920, 920);

class LayerPixels : public testing::TestWithParam<LayerMode> {
protected:
    Layer* Scribbled(int x = 0, int y = 0)
    {
        Layer* layer = document.Add(GetParam(), x, y);
        layer->GetImage()->ShareAllFrom(*MakeRandomImage(random, layer->GetImage()->GetNumChannels()));
        return layer;
    }

    /// Holds each pixel within the painted bounds against the one that `place` maps its place in them to.
    template <class Place>
    void ExpectMoved(Layer& layer, const ilTile& bounds, const ilMIOImage& before, Place&& place)
    {
        for (int y = 0; y < bounds.ny; ++y)
            for (int x = 0; x < bounds.nx; ++x) {
                const auto [toX, toY] = place(x, y);
                ASSERT_EQ(layer.GetImage()->GetPixel(bounds.x + toX, bounds.y + toY),
                          before.GetPixel(bounds.x + x, bounds.y + y))
                    << x << ", " << y;
            }
    }

    Random random{3};
    FakeDocument document;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Modes, LayerPixels, testing::Values(kLayerModeImage, kLayerModeMask, kLayerModeStencil));

TEST_P(LayerPixels, NormalizingKeepsTheCanvasPictureAndTouchesNothingAtTheOrigin)
{
    for (const auto& [x, y] : {std::pair{5, -3}, {64, -128}, {random.Int(-99, 99), random.Int(-99, 99)}, {-37, 0}}) {
        Layer* layer = Scribbled(x, y);
        if (random.OneIn(2))
            layer->InvertMask();  // the unstored area of a mask is covered then
        const auto before = CanvasPixels(*layer, kCanvas);
        layer->SetStencilCompositeDirty(false);
        layer->NormalizeLayerOffset();
        EXPECT_TRUE(layer->getXOffset() == 0 && layer->getYOffset() == 0);
        EXPECT_TRUE(layer->isStencil() || layer->IsStencilCompositeDirty()) << "it lies relative to the offset";
        EXPECT_EQ(CanvasPixels(*layer, kCanvas), before) << "offset " << x << ", " << y;
        const qs::Reference<ilMIOImage> normal = layer->GetImage()->Snapshot();
        layer->NormalizeLayerOffset();
        normal->VisitDifferentPages(*layer->GetImage(), [](int, int, const Page*, const Page*) { FAIL(); });
    }
    document.imageChanges.clear();
    Scribbled()->ShrinkAndNormalizeLayerImages();
    EXPECT_EQ(document.imageChanges.size(), 1U);
}

TEST_P(LayerPixels, FlipsMirrorAndQuarterTurnsKeepTheTopLeftCorner)
{
    for (int flags = 1; flags < 4; ++flags) {
        Layer* layer = Scribbled();
        const ilTile bounds = layer->getLayerBounds(true);
        const qs::Reference<ilMIOImage> before = layer->GetImage()->Snapshot();
        const bool horizontal = (flags & 1) != 0, vertical = (flags & 2) != 0;
        layer->Flip(horizontal, vertical);
        ExpectMoved(*layer, bounds, *before, [&](int x, int y) {
            return std::pair(horizontal ? bounds.nx - 1 - x : x, vertical ? bounds.ny - 1 - y : y);
        });
        EXPECT_EQ(layer->getLayerBounds(true), bounds);
        layer->Flip(false, false);  // changes nothing and tells nobody
    }
    EXPECT_EQ(document.imageChanges.size(), 3U);
    for (const bool right : {true, false}) {
        Layer* layer = Scribbled();
        const ilTile bounds = layer->getLayerBounds(true);
        const qs::Reference<ilMIOImage> before = layer->GetImage()->Snapshot();
        layer->SimpleRotate(right);
        ExpectMoved(*layer, bounds, *before, [&](int x, int y) {
            return std::pair(right ? bounds.ny - 1 - y : y, right ? x : bounds.nx - 1 - x);
        });
        EXPECT_EQ(layer->getLayerBounds(true), ilTile(bounds.x, bounds.y, bounds.ny, bounds.nx));
        layer->SimpleRotate(!right);
        EXPECT_EQ(layer->getLayerBounds(true), bounds);
    }
}

TEST_P(LayerPixels, OnlyTheModesOwnInversionActsAndTwiceIsNothing)
{
    Layer* layer = Scribbled();
    const ilTile bounds = layer->getLayerBounds(true);
    const auto before = CanvasPixels(*layer, kCanvas);
    const auto invert = [&] {
        layer->InvertImageLayer();
        layer->InvertMask();
        layer->InvertStencil();
    };
    invert();
    EXPECT_EQ(document.imageChanges.size(), 1U);
    const auto inverted = CanvasPixels(*layer, kCanvas);
    for (size_t i = 0; i < before.size(); ++i) {
        if (GetParam() != kLayerModeImage) {
            ASSERT_EQ(inverted[i], 255 - before[i]) << i;
            continue;
        }
        const uint32_t alpha = before[i] >> 24;
        for (int shift = 0; shift < 24; shift += 8)
            ASSERT_EQ(inverted[i] >> shift & 255, alpha - (before[i] >> shift & 255)) << i;
        ASSERT_EQ(inverted[i] >> 24, alpha) << i;
    }
    EXPECT_EQ(layer->isMaskInverted(), GetParam() == kLayerModeMask);
    invert();
    EXPECT_EQ(CanvasPixels(*layer, kCanvas), before);
    EXPECT_EQ(layer->getLayerBounds(true), bounds);
    EXPECT_FALSE(layer->isMaskInverted());
}

TEST(LayerSparsePixels, SmallDrawingsFarApartFlipWithFewPages)
{
    const qs::Reference<Layer> layer = MakeLayer();
    const ilPixel color = ilPixel::Rgba(1, 2, 3, 4);
    layer->GetImage()->SetPixel(0, 0, color);
    layer->GetImage()->SetPixel(900'000, 700'000, color);
    layer->GetImage()->SetPixel(0, 1, color);
    layer->Flip(false, true);
    EXPECT_EQ(layer->GetImage()->GetPixel(0, 700'000), color);
    EXPECT_EQ(layer->GetImage()->GetPixel(0, 699'999), color);
    EXPECT_EQ(layer->GetImage()->GetPixel(900'000, 0), color);
    EXPECT_LE(layer->GetImage()->GetPageCount(), 8U);
}
