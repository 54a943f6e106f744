#include "PaintCoreFixture.h"

#include "platform/geometry/gk_spline.h"

#include <cmath>
#include <limits>
#include <random>

using BadInput = PaintCoreTest;

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kMax = std::numeric_limits<float>::max();

}  // namespace

TEST_F(BadInput, CanvasesThatCannotBeAreRefused)
{
    struct Size {
        int width, height;
    };
    for (const auto& [width, height] : {Size{0, 0},
                                        {0, 10},
                                        {10, -1},
                                        {-100, -100},
                                        {10'000'000, 10'000'000},
                                        {1'000'001, 1},
                                        {INT32_MAX, INT32_MAX},
                                        {INT32_MIN, INT32_MIN}}) {
        EXPECT_EQ(PaintCore.AddLayerStack(width, height), -1) << width << " x " << height;
        EXPECT_EQ(PaintCore.GetLayerStackCount(), 0);
        EXPECT_EQ(PaintCore.GetCurrentLayerStack(), -1);
    }
    Open(100, 80);
    SetBrush(10);
    Dab(50, 40);
    const auto before = PlaneBytes();
    for (const ilTile& size : {ilTile(0, 0, 0, 0), ilTile(0, 0, -5, 10), ilTile(0, 0, 10'000'000, 10'000'000)})
        EXPECT_FALSE(PaintCore.SetLayerStackSize(size));
    EXPECT_EQ(PlaneBytes(), before);
    EXPECT_TRUE(PaintCore.SetLayerStackSize({0, 0, 60, 50}));
    PaintCore.ForceUpdate();
    EXPECT_EQ(PlaneBytes(), ComposedBytes());
}

TEST_F(BadInput, SamplesWithNumbersThatAreNoneAreRefused)
{
    Open();
    SetBrush(10);
    PaintCore.BeginBrushStroke(false);
    for (const float bad : {kNaN, kInf, -kInf}) {
        Sample(bad, 50);
        Sample(50, bad);
        Sample(50, 50, bad);
        Sample(50, 50, 10, bad);
        Sample(50, 50, 10, 1, bad);
        Sample(50, 50, 10, 1, 1, bad);
    }
    EXPECT_TRUE(Image().IsEmpty());
    EXPECT_TRUE(PaintCore.InBrushStroke());
    Sample(50, 50);
    PaintCore.EndBrushStroke();
    EXPECT_EQ(AlphaAt(50, 50), 255);
    EXPECT_EQ(AlphaAt(70, 50), 0) << "the refused samples left no trace in the path";
}

TEST_F(BadInput, SamplesAnywhereAreTakenAndOnlyTheCanvasIsPainted)
{
    Open();
    SetBrush(10, {1, 0, 0, 1});
    for (const float far : {1e9F, -1e9F, 3e30F, kMax, -kMax})
        for (const bool mirrored : {false, true}) {
            auto* symmetry = mirrored ? new Symmetry(100, 75) : nullptr;
            if (mirrored)
                symmetry->SetMirror(true);
            PaintCore.SetSymmetry(symmetry);
            PaintCore.BeginBrushStroke(false);
            Sample(100, 75, 10);
            Sample(far, 75, 1e6F, 5, 100, far);
            Sample(far, -far, 0, -3, -100, -far);
            Sample(100, far, kMax, kMax, -kMax, kMax);
            Sample(100, 75, 10);
            PaintCore.EndBrushStroke();
            const ilTile bounds = Stack().GetCurrentLayerPtr()->getLayerBounds(true);
            EXPECT_TRUE(Stack().GetSize().Contains(bounds)) << far;
            EXPECT_EQ(AlphaAt(100, 75), 255);
            EXPECT_EQ(PlaneBytes(), ComposedBytes());
        }
}

TEST_F(BadInput, ParametersThatNoBrushCanHaveChangeNothing)
{
    Open();
    SetBrush(10, {1, 0, 0, 1});
    const BrushParameters good = PaintCore.GetBrushParameters();
    const auto tryBrush = [&](auto spoil) {
        BrushParameters brush = good;
        brush.color = {0, 1, 0, 1};
        spoil(brush);
        PaintCore.SetBrushParameters(brush, true);
        EXPECT_EQ(PaintCore.updateFromOptions({}, brush), -1);
    };
    for (const float bad : {kNaN, kInf, -1.0F, 2e6F}) {
        tryBrush([&](BrushParameters& brush) { brush.firstSize = bad; });
        tryBrush([&](BrushParameters& brush) { brush.secondSize = bad; });
    }
    tryBrush([](BrushParameters& brush) { brush.color.g = kNaN; });
    tryBrush([](BrushParameters& brush) { brush.profile.hardness = kInf; });
    tryBrush([](BrushParameters& brush) { brush.markerWetness = kNaN; });
    for (float StrokeParameters::*field : {&StrokeParameters::spacing, &StrokeParameters::spacingJitter,
                                           &StrokeParameters::scatter, &StrokeParameters::timerScale}) {
        StrokeParameters stroke;
        stroke.*field = kNaN;
        stroke.markerBlend = true;
        PaintCore.SetStrokeParameters(stroke);
    }
    PaintCore.SetColor({0, kNaN, 0, 1}, true);
    Dab(50, 50);
    EXPECT_EQ(Image().GetPixel(50, 50), ilPixel::Rgba(255, 0, 0, 255));
    EXPECT_FALSE(PaintCore.GetStrokeParameters().markerBlend);
    EXPECT_EQ(PaintCore.GetSpacingBias(kNaN), 1);
}

TEST_F(BadInput, PropertiesRefuseWhatIsNoNumberAndClampTheRest)
{
    Open();
    PaintCore.SetLayerOpacity(0.5F);
    Connect(PaintCore.OpacitySignal, [](const PntHandle&, float opacity) { Tell(std::to_string(opacity)); });
    for (const float bad : {kNaN, kInf, -kInf})
        PaintCore.SetLayerOpacity(bad);
    EXPECT_EQ(PaintCore.GetLayerOpacity(), 0.5F);
    EXPECT_EQ(told(), "");
    PaintCore.SetLayerOpacity(kMax);
    EXPECT_EQ(PaintCore.GetLayerOpacity(), 1);
    PaintCore.SetLayerOpacity(-3);
    EXPECT_EQ(PaintCore.GetLayerOpacity(), 0);
    EXPECT_EQ(told(), "1.000000 0.000000");
    for (const int mode : {-1, 17, INT32_MAX})
        PaintCore.SetLayerBlend(static_cast<LayerBlendMode>(mode));
    EXPECT_EQ(Stack().GetLayerBlend(kCurrentLayerHandle), kBlendNormal);
    PaintCore.SetSelectionDefaultDisplayOpacity(kNaN);
    EXPECT_EQ(PaintCore.GetSelectionDefaultDisplayOpacity(), 0.5F);
    PaintCore.SetMaskDefaultDisplayColor({kNaN, 0, 0, 1});
    EXPECT_EQ(PaintCore.GetMaskDefaultDisplayColor(), PaintColor(1, 0, 0, 1));
    PaintCore.SetBackgroundColor({0, kInf, 0, 1});
    EXPECT_EQ(PaintCore.GetBackgroundColor(), PaintColor(1, 1, 1, 1));
    PaintCore.SetWarpDefaultDisplayOpacity(kNaN);
    EXPECT_EQ(PaintCore.GetWarpDefaultDisplayOpacity(), 0.5F);
    PaintCore.FillLayer({0, 0, 10, 10}, {kNaN, 0, 0, 1});
    EXPECT_TRUE(Image().IsEmpty());
}

TEST_F(BadInput, LayersThatCannotBeAreRefused)
{
    Open();
    const int layers = static_cast<int>(PaintCore.GetLayerContainerHandles(kLayerModeImage, false).size());
    const qs::TempReference<ilImage> coverage(new ilSmartImage(ilPixel(kUnsignedByte, 1)));
    EXPECT_EQ(PaintCore.AddLayer(coverage), kNullHandle);
    EXPECT_EQ(PaintCore.AddLayer({}, static_cast<LayerMode>(9)), kNullHandle);
    EXPECT_EQ(PaintCore.AddLayer({}, static_cast<LayerMode>(-1)), kNullHandle);
    EXPECT_EQ(PaintCore.AddLayer({}, kLayerModeImage, kLayerTypeObjectImage), kNullHandle);
    EXPECT_EQ(PaintCore.AddLayer({}, kLayerModeImage, static_cast<LayerType>(77)), kNullHandle);
    EXPECT_EQ(PaintCore.AddLayerFolder(static_cast<LayerMode>(9)), kNullHandle);
    EXPECT_EQ(static_cast<int>(PaintCore.GetLayerContainerHandles(kLayerModeImage, false).size()), layers);
    EXPECT_NE(
        PaintCore.AddLayer({}, kLayerModeImage, kLayerTypeRaster, true, kCurrentLayerHandle, INT32_MAX, INT32_MIN),
        kNullHandle);
    SetBrush(10);
    Dab(50, 50);
    EXPECT_EQ(PlaneBytes(), ComposedBytes());
}

TEST_F(BadInput, HandlesThatNameNothingGetNeutralAnswers)
{
    Open();
    const PntHandle stranger;
    for (const int handle : {-1, -3, 7, 512, INT32_MIN}) {
        ilTile tile(1, 2, 3, 4);
        PaintCore.GetLayerStackSize(tile, handle);
        EXPECT_EQ(tile, ilTile(1, 2, 3, 4));
        EXPECT_FALSE(PaintCore.GetNextUpdateTile(tile, handle));
        EXPECT_EQ(PaintCore.GetCurrentLayerContainerHandle(handle), kNullHandle);
        EXPECT_FALSE(PaintCore.GetImagePlane(handle));
        EXPECT_FALSE(PaintCore.GetCompositeImage(handle));
        EXPECT_FALSE(PaintCore.isMaskingEnabled(handle));
        EXPECT_FALSE(PaintCore.GetMaskVisible(handle));
        EXPECT_EQ(PaintCore.GetSelectionMaskHandle(handle), kNullHandle);
        EXPECT_EQ(PaintCore.AddLayer({}, kLayerModeImage, kLayerTypeRaster, true, kCurrentLayerHandle, 0, 0, handle),
                  kNullHandle);
        EXPECT_EQ(PaintCore.GetSymmetry(handle), nullptr);
        EXPECT_TRUE(PaintCore.GetLayerContainerHandles(kLayerModeImage, false, handle).empty());
        Symmetry symmetry;
        PaintCore.SetSymmetry(&symmetry, handle);  // stays ours
        PaintCore.DeleteLayerStack(handle, true);
    }
    for (const PntHandle& layer : {kNullHandle, stranger}) {
        PaintCore.SetLayerVisible(false, layer);
        PaintCore.SetLayerOpacity(0, layer);
        PaintCore.DeleteLayer(layer);
        PaintCore.SetCurrentLayer(layer);
        PaintCore.FillLayer({0, 0, 50, 50}, {1, 0, 0, 1}, layer);
        PaintCore.SetLayerContainerName("name", layer);
        PaintCore.SetLayerFolderActive(false, layer);
        EXPECT_FALSE(PaintCore.MoveLayer(layer, kCurrentLayerHandle, true));
        EXPECT_FALSE(PaintCore.MoveLayer(kCurrentLayerHandle, layer, true));
        EXPECT_FALSE(PaintCore.isLayerVisible(layer));
        EXPECT_FALSE(PaintCore.CreateScaledLayerPaintOps(layer, 1));
    }
    PaintCore.AddViewer(nullptr);
    PaintCore.RemoveViewer(nullptr);
    PaintCore.UpdateViewer(nullptr);
    PaintCore.SetLayerContainerName(nullptr);
    EXPECT_EQ(PaintCore.GetLayerStackCount(), 1);
    EXPECT_TRUE(PaintCore.isLayerVisible());
    EXPECT_TRUE(Image().IsEmpty());
}

TEST_F(BadInput, ASessionRunsWithEveryCallbackNull)
{
    FakeTimers::Remove();
    PaintCore.InitPaintManager();
    PaintCore.preparePaintCore();
    PaintCore.EnableBrushFeedback(true);
    const int handle = Open();
    SetBrush(10);
    auto* symmetry = new Symmetry(100, 75);
    symmetry->SetOrder(3);
    PaintCore.SetSymmetry(symmetry);
    gk_spline guide({{10, 10}, {100, 80}, {150, 20}});
    StrokeParameters stroke;
    stroke.interpolation = 2;
    stroke.guideSpline = &guide;
    stroke.timerStroke = true;
    PaintCore.SetStrokeParameters(stroke);
    Line(20, 20, 150, 30);
    EXPECT_FALSE(Image().IsEmpty());
    PaintCore.AddLayerFolder(kLayerModeImage);
    PaintCore.SetLayerContainerName("a");
    PaintCore.SetLayerVisible(false);
    PaintCore.debug();
    PaintCore.UndoListSetDirty();
    PaintCore.FlushUndoQueue();
    PaintCore.DeleteLayerStack(handle, true);
    EXPECT_EQ(PaintCore.GetLayerStackCount(), 0);
}

TEST_F(BadInput, PreviewsAndSamplesRefuseWhatTheyCannotShow)
{
    PaintCore.BrushPreviewPoint(10, 10, 10, 1, 1, 0);
    PaintCore.ClearBrushPreview();
    Open();
    for (const float bad : {kNaN, kInf})
        PaintCore.BrushPreviewPoint(bad, 10, 10, 1, 1, 0);
    PaintCore.BrushPreviewPoint(1e9F, -1e30F, 1e9F, 1, 1, 0);
    EXPECT_EQ(PlaneBytes(), ComposedBytes());
    for (const float bad : {kNaN, kInf, 0.0F, -1.0F}) {
        EXPECT_FALSE(PaintCore.CreateSampleStamp(50, 50, bad));
        EXPECT_FALSE(PaintCore.CreateSampleStroke(50, 50, bad));
        EXPECT_FALSE(PaintCore.CreateScaledPaintOps(50, 50, bad));
        EXPECT_FALSE(PaintCore.CreateScaledLayerPaintOps(kCurrentLayerHandle, bad));
    }
    EXPECT_FALSE(PaintCore.CreateSampleStamp(0, 50, 10));
    EXPECT_FALSE(PaintCore.CreateSampleStroke(50, -1, 10));
    EXPECT_FALSE(PaintCore.CreateScaledPaintOps(10'000'000, 10'000'000, 1));
    EXPECT_TRUE(PaintCore.CreateSampleStroke(1, 1, 1e6F));
    EXPECT_FALSE(PaintCore.PickupShape({0, 0, 50, 50})) << "there is nothing on the layer";
    EXPECT_FALSE(PaintCore.PickupTexture({}));
}

TEST_F(BadInput, ThePointSmootherTakesAnything)
{
    int count = 0;
    PaintCore.ResetPointSmoother();
    for (int i = 0; i < 200; ++i) {
        const ilXYfloat point(static_cast<float>(i * i % 97), static_cast<float>(i * 31 % 89));
        const ilXYfloat* points = PaintCore.SmoothPoints(i % 7 == 3 ? ilXYfloat(kNaN, kInf) : point, count);
        ASSERT_NE(points, nullptr);
        ASSERT_LE(count, 16);
        if (i % 7 != 3) {
            ASSERT_GT(count, 0);
            EXPECT_EQ(points[count - 1], point) << "the line reaches each point";
        }
    }
}

// Whatever the numbers, a small document costs what can be seen and kept of it, and the picture is the one composed
// afresh.
TEST_F(BadInput, NoNumberMakesMoreWorkThanTheDocumentIsWorth)
{
    constexpr int kMostPages = 40'000;  // made in all; a command keeps 2^24 pixels of a layer at most, 4096 pages
    const double numbers[] = {0,   1,   -1,  0.001, 7,         100,       300,  -300, 5000,
                              1e5, 1e7, 1e9, -1e9,  INT32_MAX, INT32_MIN, 1e12, 1e30, 3e38};
    std::mt19937 random(1);
    const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    const auto real = [&] { return static_cast<float>(numbers[below(std::size(numbers))] * (below(2) == 0 ? -1 : 1)); };
    const auto whole = [&] { return static_cast<int>(std::clamp<double>(double{real()}, INT32_MIN, INT32_MAX)); };
    const auto near = [&] { return below(3) == 0 ? real() : static_cast<float>(below(100)); };
    const auto filter = [&] { return static_cast<FilterMethod>(below(5)); };
    const auto transform = [&] {
        return LayerStackTransform(near(), near(), below(2) == 0 ? 1 : real(), below(2) == 0 ? 2 : real(), near(),
                                   near(), real());
    };
    const std::function<void()> commands[] = {
        [&] { PaintCore.SetLayerOffset(whole(), whole()); },
        [&] { PaintCore.SetCurrentLayerOffset(below(50), below(50)); },
        [&] {
            PaintCore.AddLayer({}, static_cast<LayerMode>(below(3)), kLayerTypeRaster, true, kCurrentLayerHandle,
                               whole(), whole());
        },
        [&] { PaintCore.XForm(transform(), filter(), filter()); },
        [&] { PaintCore.ProxyXForm(transform(), filter(), filter()); },
        [&] {
            PaintCore.Deform({{near(), near(), near(), near()}, {near(), near(), near(), near()}}, filter(), below(2));
        },
        [&] {
            PaintCore.ProxyDeform({{0, near(), real(), 0}, {0, 0, real(), near()}}, filter(), below(2));
        },
        [&] { PaintCore.ScaleAllLayers(1 + below(3000), 1 + below(3000), filter(), filter()); },
        [&] { PaintCore.ScaleAllLayers(whole(), whole(), filter(), filter()); },
        [&] { PaintCore.ScaleAllLayers(10 + below(100), 10 + below(100), filter(), filter()); },
        [&] {
            PaintCore.ResizeDocument({whole(), whole(), 1 + below(200), 1 + below(200)});
        },
        [&] {
            PaintCore.CropDocument({whole(), whole(), below(200), whole()});
        },
        [&] { PaintCore.PickLayer(whole(), below(100), real()); },
        [&] {
            PaintCore.FillLayer({whole(), whole(), whole(), whole()}, {1, 0, 0, 0.5F});
        },
        [&] { PaintCore.MoveSelection(whole(), whole()); },
        [&] { PaintCore.AddToSelection(ilTile(whole(), whole(), whole(), whole())); },
        [&] {
            PaintCore.FloodFillDone(whole(), below(100), real(), {0, 0, 1, 1});
        },
        [&] { PaintCore.SharpenOrBlurDone(-0.5F, below(2) == 0 ? 20.0F : real()); },
        [&] {
            const gk_spline guide({{near(), near()}, {near(), real()}, {real(), near()}, {near(), near()}});
            StrokeParameters stroke;
            stroke.interpolation = below(3);
            stroke.guideSpline = const_cast<gk_spline*>(&guide);
            stroke.spacing = std::abs(near());
            stroke.spacingJitter = 1;
            stroke.scatter = below(2) == 0 ? real() : 0;
            stroke.markerBlend = below(3) == 0;
            PaintCore.SetStrokeParameters(stroke);
            PaintCore.BeginBrushStroke(below(2) == 0);
            for (int i = 0; i < 5; ++i)
                Sample(near(), near(), std::abs(near()), 0.5F, 1, real());
            PaintCore.EndBrushStroke();
            PaintCore.SetStrokeParameters({});
        },
    };
    for (int document = 0; document < 12; ++document) {
        CloseAll();
        Open(300, 200);
        SetBrush(10);
        Dab(50, 40, 30);
        ScarceMemory pages(kMostPages);
        for (int i = 0; i < 40; ++i) {
            commands[below(std::size(commands))]();
            ASSERT_EQ(pages.refused, 0) << "document " << document << ", command " << i;
        }
        PaintCore.EndProxy();
        PaintCore.ForceUpdate();
        CloseAll();
    }
}
