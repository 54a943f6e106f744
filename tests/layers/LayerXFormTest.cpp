#include "tests/layers/FakeDocument.h"
#include "tests/support/Seed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

namespace {

constexpr ilTile kCanvas(-260, -260, 520, 520);

class LayerTransforms : public testing::Test {
protected:
    int Int(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); }

    Layer* AddPainted(LayerMode mode)
    {
        Layer* layer = document.Add(mode, Int(-30, 30), Int(-30, 30));
        for (int i = 0; i < 30; ++i) {
            const auto a = static_cast<uint8_t>(Int(0, 255));
            layer->GetImage()->fillTile({Int(-80, 80), Int(-80, 80), Int(1, 60), Int(1, 60)},
                                        mode == kLayerModeImage ? ilPixel::Rgba(a, a / 2, 0, a) : ilPixel::Coverage(a));
        }
        return layer;
    }
    LayerStackTransform Turn(float degree, float scale = 1)
    {
        return {0, 0, scale, scale, static_cast<float>(Int(-40, 40)) / 2, static_cast<float>(Int(-40, 40)) / 2, degree};
    }

    SeededNumbers random{7};
    FakeDocument document;
};

TEST_F(LayerTransforms, TheMatrixMapsAsTheCoordinatesAreMapped)
{
    for (int i = 0; i < 200; ++i) {
        LayerStackTransform t(static_cast<float>(Int(-90, 90)), static_cast<float>(Int(-90, 90)),
                              static_cast<float>(Int(-40, 40)) / 10, static_cast<float>(Int(1, 40)) / 10,
                              static_cast<float>(Int(-90, 90)), static_cast<float>(Int(-90, 90)),
                              static_cast<float>(i % 3 == 0 ? 0 : Int(-720, 720)));
        t.SetScaleOffset(3, -4);
        float x = static_cast<float>(Int(-300, 300)), y = static_cast<float>(Int(-300, 300));
        double u = x, v = y;
        t.GetMatrix().MapPoint(u, v);
        t.XformCoords(x, y, LayerStackTransform::kScaleAlways, false);
        EXPECT_NEAR(u, x, 1e-2);
        EXPECT_NEAR(v, y, 1e-2);
    }
}

TEST_F(LayerTransforms, QuarterTurnsAndMovesRestoreEveryByteAboutAnyCentre)
{
    for (const LayerMode mode : {kLayerModeImage, kLayerModeMask, kLayerModeStencil, kLayerModeMask}) {
        Layer* layer = AddPainted(mode);
        layer->InvertMask();
        const auto before = CanvasPixels(*layer, kCanvas);
        for (const int degree : {90, 180, 270, -90, 450}) {
            LayerStackTransform there = Turn(static_cast<float>(degree));
            LayerStackTransform back = there;
            back.SetAngle(static_cast<float>(-degree));
            EXPECT_TRUE(layer->XForm(there, kFilterArea, kFilterBicubic));
            EXPECT_NE(CanvasPixels(*layer, kCanvas), before);
            EXPECT_TRUE(layer->XForm(back, kFilterArea, kFilterBicubic));
            ASSERT_EQ(CanvasPixels(*layer, kCanvas), before);
            for (int i = 0; i < 360 / std::gcd(360, degree); ++i)
                layer->XForm(there, kFilterArea, kFilterBicubic);
            ASSERT_EQ(CanvasPixels(*layer, kCanvas), before);
        }
        const PageReader page = layer->GetImage()->ReadPage(0, 0);
        const int x = layer->getXOffset();
        EXPECT_TRUE(layer->XForm({-7, 9, 1, 1, 50, 60, 0}, kFilterArea, kFilterBicubic));
        EXPECT_EQ(layer->getXOffset(), x + 7) << "a move by whole pixels changes the offset";
        EXPECT_EQ(layer->GetImage()->ReadPage(0, 0).GetPage(), page.GetPage());
    }
}

TEST_F(LayerTransforms, PreviewsStartFromTheOriginalEachTime)
{
    Layer* layer = AddPainted(kLayerModeImage);
    EXPECT_FALSE(layer->ProxyXForm(Turn(30), kFilterArea, kFilterBicubic)) << "outside a proxy";
    const auto before = CanvasPixels(*layer, kCanvas);
    const qs::TempReference<ilMIOImage> original = layer->GetImage();
    LayerStackTransform last;
    layer->BeginProxy(ProxyParameters::kScopeWholeLayer, ProxyParameters::kImagesContent);
    const size_t told = document.imageChanges.size();
    for (int i = 0; i < 12; ++i) {
        last = Turn(static_cast<float>(31 * i), 0.8F);
        EXPECT_TRUE(layer->ProxyXForm(last, kFilterArea, kFilterBicubic));
        EXPECT_TRUE(layer->ProxyDeform({{-50, 60, 50, -40}, {-50, -40, 60, 50}}, kFilterBicubic, i % 2, 0, 0));
    }
    layer->ProxyXForm(last, kFilterArea, kFilterBicubic);
    EXPECT_EQ(document.imageChanges.size(), told) << "previews are not told";
    const auto preview = CanvasPixels(*layer, kCanvas);
    layer->EndProxy();
    EXPECT_EQ(CanvasPixels(*layer, kCanvas), before);
    EXPECT_TRUE(layer->XForm(last, kFilterArea, kFilterBicubic));
    EXPECT_EQ(CanvasPixels(*layer, kCanvas), preview);
    EXPECT_EQ(layer->GetImage(), original);
    EXPECT_EQ(document.imageChanges.size(), told + 1);
}

TEST_F(LayerTransforms, RefusalsLeaveTheLayerAsItIs)
{
    Layer* layer = AddPainted(kLayerModeImage);
    layer->SetPivot({5, 6, true});
    const auto before = CanvasPixels(*layer, kCanvas);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const float bad : {nan, std::numeric_limits<float>::infinity(), 0.0F, 1e20F}) {
        EXPECT_FALSE(layer->XForm({0, 0, bad, 1, 0, 0, 0}, kFilterArea, kFilterBicubic)) << bad;
        EXPECT_FALSE(layer->XForm({0, 0, 1, bad, 9, 9, 30}, kFilterArea, kFilterBicubic)) << bad;
        EXPECT_FALSE(layer->Deform({{0, bad, bad, 0}, {0, 0, 0, bad}}, kFilterArea, 0, 0, 0)) << bad;
    }
    EXPECT_FALSE(layer->XForm({0, 0, 1, 1, 0, 0, nan}, kFilterArea, kFilterBicubic));
    EXPECT_FALSE(layer->Deform({{0, 9, 9, 0}, {0, 0, 9, 9}}, kFilterArea, 2, 0, 0)) << "an unknown kind";
    EXPECT_FALSE(layer->Deform({{0, 9, 9, 0}, {0, 0, 9, 9}}, kFilterArea, 0, nan, 0));
    EXPECT_TRUE(CanvasPixels(*layer, kCanvas) == before && document.imageChanges.empty());
    EXPECT_EQ(layer->GetPivot(), (LayerPivot{5, 6, true}));

    const ilTile box = layer->getLayerBoundsInCanvasCoords();
    const auto right = static_cast<float>(box.Right()), bottom = static_cast<float>(box.Bottom());
    const auto left = static_cast<float>(box.x), top = static_cast<float>(box.y);
    EXPECT_TRUE(layer->Deform({{left, right, right, left}, {top, top, bottom, bottom}}, kFilterArea, 1, 0, 0));
    EXPECT_EQ(CanvasPixels(*layer, kCanvas), before) << "into its own box";
    EXPECT_TRUE(layer->XForm(LayerStackTransform(0, 0, 1, 1, 10, 0, 90), kFilterArea, kFilterArea));
    EXPECT_EQ(layer->GetPivot(), (LayerPivot{4, -5, true})) << "the pivot goes along";
    EXPECT_TRUE(document.Add(kLayerModeImage)->XForm(Turn(30), kFilterArea, kFilterArea)) << "an empty layer";
}

TEST_F(LayerTransforms, AnEditThroughCoverageMovesWhatIsCoveredAndAReplacedPictureTakesThePivotAlong)
{
    Layer* layer = document.Add(kLayerModeImage, 10, 0);
    layer->GetImage()->fillTile({0, 0, 40, 40}, ilPixel::Rgba(9, 8, 7, 255));
    const qs::Reference<ilSmartImage> coverage(new ilSmartImage(ilPixel::Coverage(0)));
    coverage->fillTile({0, 0, 30, 100}, ilPixel::Coverage(255));  // the left half of it, on the canvas
    const auto matrix = qsLinear::AffineMatrix::Translation(100, 0);
    const LayerPicture moved = TransformPicture(layer->GetOriginalPicture(), matrix, {}, {}, {coverage, 0, 0});
    layer->SetPivot({5, 6, true});
    layer->ReplacePicture(moved, matrix);
    EXPECT_EQ(layer->GetPivot(), (LayerPivot{105, 6, true}));
    LayerFolder folder;
    Layer* other = document.Add(kLayerModeImage);
    other->SetPivot({5, 6, true});
    folder.AddLayerContainer(other, nullptr, true);
    EXPECT_TRUE(folder.Scale(2, 3, 1, 0));
    EXPECT_EQ(other->GetPivot(), (LayerPivot{9, 18, true}));
    for (const auto& [x, alpha] :
         {std::pair{15, 0}, {29, 0}, {30, 255}, {49, 255}, {109, 0}, {110, 255}, {129, 255}, {130, 0}})
        EXPECT_EQ(CanvasPixels(*layer, {x, 5, 1, 1})[0] >> 24, static_cast<uint32_t>(alpha)) << x;
}

}  // namespace
