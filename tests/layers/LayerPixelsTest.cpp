#include "layers/Layer.h"

#include "tests/layers/FakeDocument.h"

#include <gtest/gtest.h>

#include <random>

namespace {

/// Scattered rectangles of random valid pixels, some crossing pages and negative coordinates.
void Scribble(Layer& layer, std::mt19937& random)
{
    const int channels = layer.GetImage()->GetNumChannels();
    for (int i = 0; i < 12; ++i) {
        const int x = static_cast<int>(random() % 300) - 150, y = static_cast<int>(random() % 300) - 150;
        const int width = static_cast<int>(random() % 60) + 1, height = static_cast<int>(random() % 60) + 1;
        const auto alpha = static_cast<uint8_t>(random() % 256);
        const auto below = [&] { return static_cast<uint8_t>(random() % (alpha + 1U)); };
        layer.GetImage()->fillTile({x, y, width, height}, channels == 1
                                                              ? ilPixel::Coverage(alpha)
                                                              : ilPixel::Rgba(below(), below(), below(), alpha));
    }
}

constexpr ilTile kCanvas(-260, -260, 520, 520);

class LayerPixels : public testing::TestWithParam<LayerMode> {
protected:
    Layer* Scribbled(unsigned seed, int x = 0, int y = 0)
    {
        std::mt19937 random(seed);
        Layer* layer = document.Add(GetParam(), x, y);
        Scribble(*layer, random);
        return layer;
    }

    FakeDocument document;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Modes, LayerPixels, testing::Values(kLayerModeImage, kLayerModeMask, kLayerModeStencil));

TEST_P(LayerPixels, NormalizingKeepsTheCanvasPicture)
{
    std::mt19937 random(7);
    for (unsigned seed = 0; seed < 8; ++seed) {
        const int x = seed == 0 ? 5 : seed == 1 ? 64 : static_cast<int>(random() % 200) - 100;
        const int y = seed == 0 ? -3 : seed == 1 ? -128 : static_cast<int>(random() % 200) - 100;
        Layer* layer = Scribbled(seed, x, y);
        if (seed % 2 == 1)
            layer->InvertMask();  // the unstored area of a mask is covered then
        const auto before = CanvasPixels(*layer, kCanvas);
        layer->NormalizeLayerOffset();
        EXPECT_EQ(layer->getXOffset(), 0);
        EXPECT_EQ(layer->getYOffset(), 0);
        EXPECT_EQ(CanvasPixels(*layer, kCanvas), before) << "offset " << x << ", " << y;
    }
}

TEST_P(LayerPixels, NormalizingALayerAtTheOriginTouchesNothing)
{
    Layer* layer = Scribbled(1);
    const qs::Reference<ilMIOImage> before = layer->GetImage()->Snapshot();
    layer->NormalizeLayerOffset();
    EXPECT_TRUE(layer->GetImage()->SharesPageWith(*before, 0, 0));
    EXPECT_TRUE(document.imageChanges.empty());
    layer->ShrinkAndNormalizeLayerImages();
    EXPECT_EQ(document.imageChanges.size(), 1U);
}

TEST_P(LayerPixels, AFlipMirrorsWithinThePaintedBounds)
{
    for (int flags = 1; flags < 4; ++flags) {
        Layer* layer = Scribbled(static_cast<unsigned>(flags));
        const ilTile bounds = layer->getLayerBounds(true);
        const qs::Reference<ilMIOImage> before = layer->GetImage()->Snapshot();
        const bool horizontal = (flags & 1) != 0, vertical = (flags & 2) != 0;
        layer->Flip(horizontal, vertical);
        for (int y = 0; y < bounds.ny; ++y)
            for (int x = 0; x < bounds.nx; ++x)
                ASSERT_EQ(layer->GetImage()->GetPixel(bounds.x + x, bounds.y + y),
                          before->GetPixel(bounds.x + (horizontal ? bounds.nx - 1 - x : x),
                                           bounds.y + (vertical ? bounds.ny - 1 - y : y)))
                    << x << ", " << y << " flags " << flags;
        EXPECT_EQ(layer->getLayerBounds(true), bounds);
        layer->Flip(false, false);  // changes nothing and tells nobody
    }
    EXPECT_EQ(document.imageChanges.size(), 3U);
}

TEST_P(LayerPixels, AQuarterTurnKeepsTheTopLeftCorner)
{
    for (const bool right : {true, false}) {
        Layer* layer = Scribbled(11);
        const ilTile bounds = layer->getLayerBounds(true);
        const qs::Reference<ilMIOImage> before = layer->GetImage()->Snapshot();
        layer->SimpleRotate(right);
        for (int y = 0; y < bounds.ny; ++y)
            for (int x = 0; x < bounds.nx; ++x)
                ASSERT_EQ(layer->GetImage()->GetPixel(bounds.x + (right ? bounds.ny - 1 - y : y),
                                                      bounds.y + (right ? x : bounds.nx - 1 - x)),
                          before->GetPixel(bounds.x + x, bounds.y + y))
                    << x << ", " << y << " right " << right;
        EXPECT_EQ(layer->getLayerBounds(true), ilTile(bounds.x, bounds.y, bounds.ny, bounds.nx));
        layer->SimpleRotate(!right);
        EXPECT_EQ(layer->getLayerBounds(true), bounds);
    }
}

TEST_P(LayerPixels, OnlyTheModesOwnInversionActsAndTwiceIsNothing)
{
    Layer* layer = Scribbled(3);
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
