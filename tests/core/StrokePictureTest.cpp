#include "PaintCoreFixture.h"

#include <cmath>
#include <cstdlib>
#include <random>

using StrokePicture = PaintCoreTest;

namespace {

int LargestDifference(const qs::vector<uint8_t>& a, const qs::vector<uint8_t>& b)
{
    int largest = 0;
    for (size_t i = 0; i < a.size(); ++i)
        largest = std::max(largest, std::abs(a[i] - b[i]));
    return largest;
}

}  // namespace

TEST_F(StrokePicture, ASymmetricStrokeMakesExactMirrorImages)
{
    Open(201, 151);
    Stack().SetCurrentLayerOffset(13, -7, true);
    auto* symmetry = new Symmetry(100.5, 75.5);
    symmetry->SetMirror(true, 90);
    PaintCore.SetSymmetry(symmetry);
    SetBrush(9, {0.2F, 0.6F, 0.9F, 0.7F}, 0.3F);
    PaintCore.BeginBrushStroke(false);
    for (int i = 0; i < 12; ++i) {
        const auto t = static_cast<float>(i);
        Sample(20 + 5.25F * t, std::round(40 + 20 * std::sin(t)), 4 + t / 2, 0.3F + t / 20, 0.6F, 10 * t);
    }
    PaintCore.EndBrushStroke();
    int painted = 0;
    for (int y = 0; y < 151; ++y)
        for (int x = 0; x < 201; ++x) {
            const ilPixel pixel = Image().GetPixel(x - 13, y + 7);
            ASSERT_EQ(pixel, Image().GetPixel(200 - x - 13, y + 7)) << x << ", " << y;
            painted += pixel.GetAlpha() != 0 ? 1 : 0;
        }
    EXPECT_GT(painted, 1000);
    EXPECT_EQ(PlaneBytes(), ComposedBytes());
}

TEST_F(StrokePicture, AMarkerStrokeThatCrossesItselfDoesNotDarken)
{
    Open();
    SetBrush(8, {0, 0, 0, 0.4F});
    StrokeParameters stroke;
    stroke.markerBlend = true;
    PaintCore.SetStrokeParameters(stroke);
    PaintCore.BeginBrushStroke(false);
    for (const auto& [x, y] : {std::pair(30, 30), {150, 110}, {150, 30}, {30, 110}, {90, 110}, {90, 20}, {90, 110}})
        Sample(static_cast<float>(x), static_cast<float>(y), 8);
    PaintCore.EndBrushStroke();
    const uint8_t single = AlphaAt(45, 41);
    EXPECT_NEAR(single, 102, 1);
    for (int y = 0; y < 150; ++y)
        for (int x = 0; x < 200; ++x)
            ASSERT_LE(AlphaAt(x, y), single + 1) << x << ", " << y;
    EXPECT_EQ(PlaneBytes(), ComposedBytes());
    const uint8_t crossing = AlphaAt(90, 70);
    Line(30, 70, 150, 70, 8);
    EXPECT_GT(AlphaAt(90, 70), crossing + 20) << "a second stroke does";
}

TEST_F(StrokePicture, ThePictureDependsOnTheCurveAndNotOnTheRateOfSamples)
{
    SetBrush(12, {0.1F, 0.4F, 0.8F, 1}, 0.2F);
    qs::vector<uint8_t> slow;
    for (const int samples : {60, 250, 1000}) {
        Open(300, 200);
        PaintCore.BeginBrushStroke(false);
        for (int i = 0; i <= samples; ++i) {
            const float t = static_cast<float>(i) / static_cast<float>(samples);
            const float pressure = std::sin(3.1F * t);
            Sample(30 + 240 * t, 100 + 60 * std::sin(6.2F * t), 4 + 10 * pressure, 0.2F + 0.6F * pressure);
        }
        PaintCore.EndBrushStroke();
        if (slow.empty())
            slow = LayerBytes();
        EXPECT_LE(LargestDifference(LayerBytes(), slow), 6) << samples << " samples";
    }
}

TEST_F(StrokePicture, FaintStampsBuildUpWithoutBandsWhetherOrNotUndoIsOn)
{
    SetBrush(20, {1, 1, 1, 1}, 0);
    ASSERT_TRUE(PaintCore.Use16BitBrush());
    for (const bool undo : {true, false}) {
        Open();
        PaintCore.SetLogUndoOper(undo);
        PaintCore.BeginBrushStroke(false);
        for (int i = 0; i < 800; ++i)
            Sample(i % 2 == 0 ? 50 : 56, 50, 20, 0.0015F);
        PaintCore.EndBrushStroke();
        // In 8 bits no stamp this faint would leave anything.
        EXPECT_GT(AlphaAt(53, 50), 60);
        qs::set<int> levels;
        for (int x = 30; x < 54; ++x)
            levels.insert(AlphaAt(x, 50));
        EXPECT_GT(levels.size(), 20U);
    }
}

TEST_F(StrokePicture, SwizzledColoursExchangeRedAndBlue)
{
    Open();
    PaintCore.SetColorSwizle(true);
    SetBrush(6, {1, 0.4F, 0, 1});
    Dab(50, 50, 6);
    EXPECT_EQ(Image().GetPixel(50, 50), ilPixel::Rgba(0, 102, 255, 255));
    EXPECT_EQ(PaintCore.GetBrushParameters().color, PaintColor(1, 0.4F, 0, 1));
}

TEST_F(StrokePicture, AStrokeOnAStencilShowsWhatItHidesAtOnceOrAtItsEnd)
{
    for (const bool marker : {false, true}) {
        Open();
        PaintCore.FillLayer({0, 0, 200, 150}, {0, 0, 1, 1});
        const PntHandle image = PaintCore.GetCurrentLayerContainerHandle();
        const PntHandle stencil = PaintCore.AddLayer({}, kLayerModeStencil);
        ASSERT_TRUE(Stack().AddOwnerToLayer(image, stencil, false));
        PaintCore.ForceUpdate();
        SetBrush(10);
        StrokeParameters stroke;
        stroke.markerBlend = marker;
        PaintCore.SetStrokeParameters(stroke);
        Line(20, 50, 120, 80);
        EXPECT_EQ(AlphaAt(70, 65), 255);
        PaintCore.SetLayerVisible(false, stencil);
        EXPECT_EQ(PlaneBytes(), ComposedBytes()) << "marker " << marker;
        const auto shown = PlaneBytes();
        EXPECT_EQ(shown[(65 * 200 + 70) * 4 + 3], 0) << "marker " << marker;
        EXPECT_EQ(shown[(20 * 200 + 70) * 4 + 3], 255) << "marker " << marker;
    }
}

TEST_F(StrokePicture, TheCachedImagePlaneIsWhatComposingAfreshGives)
{
    const char* const set = std::getenv("PAINTLAYER_SEED");
    const auto first = set != nullptr ? static_cast<unsigned>(std::strtoul(set, nullptr, 10)) : 1U;
    for (unsigned seed = first; seed < first + 12; ++seed) {
        SCOPED_TRACE("PAINTLAYER_SEED=" + std::to_string(seed));
        std::mt19937 random(seed);
        const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
        const auto share = [&] { return static_cast<float>(below(1001)) / 1000; };
        Open();
        FakeView view;
        PaintCore.AddViewer(&view);
        const auto anyLayer = [&] {
            const auto all = PaintCore.GetLayerContainerHandles(kLayerModeImage, false);
            return all[static_cast<size_t>(below(static_cast<int>(all.size())))];
        };
        const auto paint = [&] {
            StrokeParameters stroke;
            stroke.markerBlend = below(3) == 0;
            stroke.interpolation = below(2);
            PaintCore.SetStrokeParameters(stroke);
            SetBrush(static_cast<float>(1 + below(30)), {share(), share(), share(), share()}, share());
            PaintCore.BeginBrushStroke(below(2) == 0);
            for (int i = below(12); i >= 0; --i)
                Sample(share() * 240 - 20, share() * 190 - 20, 1 + share() * 30, share(), share() * 2, share() * 720);
            if (below(8) == 0)
                Stack().SetCurrentLayer(anyLayer(), below(2) == 0, true, false);
            PaintCore.EndBrushStroke();
        };
        for (int edit = 0; edit < 60; ++edit) {
            switch (below(12)) {
            case 0: PaintCore.AddLayer({}, kLayerModeImage, kLayerTypeRaster, below(2) == 0, anyLayer()); break;
            case 1: PaintCore.AddLayerFolder(kLayerModeImage, anyLayer()); break;
            case 2: PaintCore.DeleteLayer(anyLayer()); break;
            case 3: PaintCore.MoveLayer(anyLayer(), anyLayer(), below(2) == 0); break;
            case 4: PaintCore.SetCurrentLayer(anyLayer()); break;
            case 5: PaintCore.SetLayerVisible(below(4) != 0, anyLayer()); break;
            case 6: PaintCore.SetLayerOpacity(share(), anyLayer()); break;
            case 7:
                PaintCore.SetLayerBlend(static_cast<LayerBlendMode>(below(kLayerBlendModeCount)), anyLayer());
                break;
            case 8:
                PaintCore.FillLayer({below(200), below(150), below(90), below(90)},
                                    {share(), share(), share(), share()}, anyLayer());
                break;
            default: paint(); break;
            }
            PaintCore.ForceUpdate();
            const auto shown = PlaneBytes();
            ASSERT_EQ(shown == ComposedBytes(), true) << "after edit " << edit;
        }
        PaintCore.RemoveViewer(&view);
    }
}
