#include "composite/LayerStackComposite.h"

#include "platform/os/DebugOutput.h"
#include "tests/composite/CompositeDocument.h"
#include "tests/support/RandomImages.h"

#include <gtest/gtest.h>

#include <memory>
#include <regex>

namespace {

constexpr ilTile kCanvas{0, 0, 200, 150};
constexpr ilTile kSquare{10, 10, 100, 100};
constexpr ilPixel kRed = ilPixel::Rgba(255, 0, 0, 255);
constexpr ilPixel kGreen = ilPixel::Rgba(0, 255, 0, 255);
constexpr ilPixel kClear(kUnsignedByte, 4);

uint32_t PixelOf(CompositeDocument& document, int x, int y)
{
    return ComposeFresh(document)->GetPixel(x, y).GetPacked();
}

}  // namespace

TEST(LayerStackComposite, InactiveFolderHidesWhatItHolds)
{
    CompositeDocument document(kCanvas);
    document.AddFilled("back", kSquare, kGreen);
    LayerFolder* folder = document.AddFolder("F");
    Layer* inner = document.Add("inner", kLayerModeImage, folder);
    inner->GetImage()->fillTile(kSquare, kRed);
    for (Layer* current : {static_cast<Layer*>(nullptr), inner}) {
        document.current = current;
        folder->SetActive(true);
        EXPECT_EQ(PixelOf(document, 20, 20), kRed.GetPacked());
        folder->SetActive(false);
        EXPECT_EQ(PixelOf(document, 20, 20), kGreen.GetPacked());
    }
}

TEST(LayerStackComposite, LayersShowAboveTheLeastOpacityOnly)
{
    CompositeDocument document(kCanvas);
    document.AddFilled("back", kSquare, ilPixel::Rgba(0, 0, 0, 255));
    Layer* faint = document.AddFilled("faint", kSquare, ilPixel::Rgba(255, 255, 255, 255));
    std::unique_ptr<CompositeBase> tree;
    for (const auto& [opacity, shows] : {std::pair{0.002F, false}, {0.0021F, true}}) {
        faint->SetOpacity(opacity);
        LayerStackComposite composite;
        tree.reset(composite.MakeCompositeTree(document.Stack(), {HandleOf(faint)}));
        EXPECT_EQ(!tree->Compose(false, false)->IsEmpty(), shows) << opacity;
    }
    faint->SetOpacity(1);
    faint->SetVisible(false);
    EXPECT_EQ(PixelOf(document, 20, 20), 0xFF000000U);
}

TEST(LayerStackComposite, TileIsAllThatChanges)
{
    CompositeDocument document(kCanvas);
    document.current = document.AddFilled("L", kCanvas, kRed);
    LayerStackComposite composite;
    composite.MakeCompositeTree(document.Stack(), true);
    composite.MakeComposite(document.Stack(), nullptr);
    document.current->GetImage()->fillTile(kCanvas, kGreen);
    const ilTile tile{60, 50, 30, 40};
    composite.MakeComposite(document.Stack(), &tile);
    for (int y = 0; y < kCanvas.ny; ++y)
        for (int x = 0; x < kCanvas.nx; ++x)
            ASSERT_EQ(composite.GetCurrentComposite()->GetPixel(x, y), tile.Contains(x, y) ? kGreen : kRed)
                << x << ", " << y;

    document.suspended = true;
    composite.MakeComposite(document.Stack(), &tile);
    EXPECT_EQ(composite.GetCurrentComposite()->GetPixel(60, 50), kClear);
    EXPECT_EQ(composite.GetCurrentComposite()->GetPixel(59, 50), kRed);

    document.suspended = false;
    const ilTile beyond{-10, -10, 400, 400};
    document.current->GetImage()->fillTile(beyond, kGreen);
    composite.MakeComposite(document.Stack(), &beyond);
    EXPECT_EQ(FirstDifference(*composite.GetCurrentComposite(), *ComposeFresh(document), beyond), "");
    EXPECT_EQ(composite.GetCurrentComposite()->GetPixel(200, 10), kClear);
}

TEST(LayerStackComposite, SplitChoosesTheReference)
{
    CompositeDocument document(kCanvas);
    Layer* first = document.Add("first");
    LayerFolder* folder = document.AddFolder("F");
    Layer* inner = document.Add("inner", kLayerModeImage, folder);
    Layer* mask = document.Add("mask", kLayerModeMask);
    Layer* loose = document.Add("loose", kLayerModeStencil);
    Layer* soft = document.Add("soft", kLayerModeStencil);
    Layer* linked = document.Add("linked", kLayerModeStencil);
    mask->AddOwnerLayer(first, false);
    soft->AddOwnerLayer(first, false);
    linked->AddOwnerLayer(inner, true);
    document.current = first;
    LayerStackComposite composite;
    composite.MakeCompositeTree(document.Stack(), true);

    struct Case {
        LayerContainer* split;
        LayerContainer* reference;
        size_t pathLength;
    };
    for (const auto& [split, reference, pathLength] : {Case{inner, inner, 3},
                                                       {mask, nullptr, 0},
                                                       {first, first, 2},
                                                       {loose, nullptr, 0},
                                                       {soft, first, 2},
                                                       {linked, inner, 3},
                                                       {folder, folder, 2}}) {
        composite.SplitCompositeTreeByRefLCH(document.Stack(), HandleOf(split), false, true);
        EXPECT_EQ(composite.GetAdjustLCH(), reference != nullptr ? HandleOf(reference) : kNullHandle)
            << split->GetLayerContainerName();
        const qs::vector<CompositeBase*>& path = *composite.GetAdjustLCHPath();
        ASSERT_EQ(path.size(), pathLength) << split->GetLayerContainerName();
        if (pathLength != 0) {
            EXPECT_EQ(path.front(), composite.GetRoot());
            EXPECT_EQ(path.back()->GetHandle(), HandleOf(reference));
        }
    }
    EXPECT_EQ(document.notices, 7);

    document.current = linked;
    composite.MakeCompositeTree(document.Stack(), false);
    EXPECT_EQ(composite.GetAdjustLCH(), HandleOf(inner));
    document.current = mask;
    composite.MakeCompositeTree(document.Stack(), false);
    EXPECT_EQ(composite.GetAdjustLCH(), kNullHandle);
}

TEST(LayerStackComposite, SplitAtAMaskChangesNoCache)
{
    CompositeDocument document(kCanvas);
    for (int i = 0; i < 5; ++i)
        document.current = document.AddFilled("L", kSquare, ilPixel::Rgba(1, 2, 3, 100));
    Layer* mask = document.Add("mask", kLayerModeMask);
    LayerStackComposite composite;
    CompositeBase* root = composite.MakeCompositeTree(document.Stack(), true);
    const CompositeBase* below = root->GetChildren().front();
    const qs::TempReference<ilSmartImage> cache = below->GetCache();
    ASSERT_TRUE(cache);
    composite.SplitCompositeTreeByRefLCH(document.Stack(), HandleOf(mask), true, false);
    ASSERT_EQ(root->GetChildren().front(), below);
    EXPECT_TRUE(below->GetCache() == cache);
}

TEST(LayerStackComposite, TwentyFirstSplitRebuildsTheTree)
{
    CompositeDocument document(kCanvas);
    Layer* a = document.AddFilled("a", kSquare, kRed);
    Layer* b = document.Add("b");
    document.current = a;
    LayerStackComposite composite;
    composite.MakeCompositeTree(document.Stack(), false);
    document.AddFilled("late", kSquare, kGreen);
    for (int i = 1; i <= 20; ++i) {
        composite.SplitCompositeTreeByRefLCH(document.Stack(), HandleOf(i % 2 != 0 ? b : a), false, false);
        ASSERT_EQ(composite.GetSplitCount(), i);
    }
    composite.MakeComposite(document.Stack(), nullptr);
    EXPECT_EQ(composite.GetCurrentComposite()->GetPixel(20, 20), kRed);
    document.current = b;
    composite.SplitCompositeTreeByRefLCH(document.Stack(), HandleOf(b), false, false);
    EXPECT_EQ(composite.GetSplitCount(), 0);
    composite.MakeComposite(document.Stack(), nullptr);
    EXPECT_EQ(composite.GetCurrentComposite()->GetPixel(20, 20), kGreen);
}

TEST(LayerStackComposite, ShowsTheCurrentLayerAloneWhenAskedTo)
{
    CompositeDocument document(kCanvas);
    document.AddFilled("below", kSquare, kRed);
    document.current = document.AddFilled("current", {50, 50, 10, 10}, kGreen);
    document.AddFilled("above", kSquare, kRed);
    document.currentOnly = true;
    EXPECT_EQ(PixelOf(document, 50, 50), kGreen.GetPacked());
    EXPECT_EQ(PixelOf(document, 20, 20), 0U);
}

TEST(LayerStackComposite, MarkerStrokeShowsBeforeItEndsAsItWillAfterwards)
{
    CompositeDocument document(kCanvas);
    document.AddFilled("below", kCanvas, kGreen);
    Layer* layer = document.AddFilled("current", kSquare, ilPixel::Rgba(0, 0, 90, 90));
    layer->SetOffset(7, -5, {}, false);
    layer->SetOpacity(0.7F);
    document.AddFilled("above", {0, 0, 40, 150}, ilPixel::Rgba(50, 0, 0, 90));
    document.current = layer;
    LayerStackComposite composite;
    composite.MakeCompositeTree(document.Stack(), true);

    MaskingPaintOps painter(layer->GetImage());
    painter.SetMarkerBlend(true);
    painter.SetBrushClippingRect({-50, -50, 400, 400});
    painter.blend_func(1, 7);
    painter.set_stamp(new Stamp);
    painter.BeginOperation();
    document.painter = &painter;
    StampPlacement placement;
    placement.x = placement.y = 60;
    placement.size = 30;
    placement.opacity = 0.5F;
    painter.draw_stamp(placement);
    composite.MakeComposite(document.Stack(), nullptr);
    const qs::TempReference<ilSmartImage> during = composite.GetCurrentComposite();
    painter.EndOperation();
    document.painter = nullptr;
    composite.MakeComposite(document.Stack(), nullptr);
    EXPECT_EQ(FirstDifference(*during, *composite.GetCurrentComposite(), kCanvas), "");
    EXPECT_NE(layer->GetImage()->GetPixel(60, 60), ilPixel::Rgba(0, 0, 90, 90));
}

TEST(LayerStackComposite, SeparateTreeComposesTheGivenContainersOnly)
{
    CompositeDocument document(kCanvas);
    Layer* a = document.AddFilled("a", kCanvas, kRed);
    document.AddFilled("b", kCanvas, ilPixel::Rgba(0, 0, 255, 255));
    LayerFolder* folder = document.AddFolder("F");
    Layer* c = document.Add("c", kLayerModeImage, folder);
    c->GetImage()->fillTile({0, 0, 300, 300}, ilPixel::Rgba(0, 100, 0, 100));
    LayerStackComposite composite;
    CompositeBase* own = composite.MakeCompositeTree(document.Stack(), true);
    const PntHandle handles[] = {HandleOf(a), PntHandle(), HandleOf(folder)};
    const std::unique_ptr<CompositeBase> tree(
        composite.MakeCompositeTree(document.Stack(), qs::vector<PntHandle>(std::begin(handles), std::end(handles))));
    const qs::TempReference<ilSmartImage> picture = tree->Compose(false, false);
    EXPECT_EQ(picture->GetPixel(20, 20), ilPixel::Rgba(155, 100, 0, 255));
    EXPECT_EQ(picture->GetPixel(kCanvas.nx, 20), kClear);
    const std::unique_ptr<CompositeBase> inner(composite.MakeCompositeTree(document.Stack(), folder));
    EXPECT_EQ(inner->Compose(false, false)->GetPixel(20, 20), ilPixel::Rgba(0, 100, 0, 100));
    EXPECT_EQ(composite.GetRoot(), own);
}

TEST(LayerStackComposite, CopySharesPagesAndFollowsItsOwnDocument)
{
    CompositeDocument document(kCanvas);
    Layer* a = document.AddFilled("a", kCanvas, ilPixel::Rgba(90, 0, 0, 90));
    document.AddFilled("b", kCanvas, ilPixel::Rgba(0, 90, 0, 90));
    document.current = document.AddFilled("c", kSquare, kGreen);
    LayerStackComposite composite;
    composite.MakeCompositeTree(document.Stack(), true);
    composite.MakeComposite(document.Stack(), nullptr);
    LayerStackComposite copy;
    copy.CopyFrom(&composite);
    const ilSmartImage& cache = *composite.GetRoot()->GetChildren().front()->GetCache();
    const ilSmartImage& copied = *copy.GetRoot()->GetChildren().front()->GetCache();
    EXPECT_NE(&cache, &copied);
    EXPECT_TRUE(copied.SharesPageWith(cache, 1, 1));
    EXPECT_EQ(copy.GetAdjustLCH(), composite.GetAdjustLCH());
    EXPECT_EQ(copy.GetAdjustLCHPath()->front(), copy.GetRoot());

    const qs::TempReference<ilSmartImage> before = composite.GetCurrentComposite();
    a->GetImage()->fillTile(kCanvas, kRed);
    copy.CompositeBaseDirty(HandleOf(a));
    copy.MakeComposite(document.Stack(), nullptr);
    EXPECT_EQ(FirstDifference(*copy.GetCurrentComposite(), *ComposeFresh(document), kCanvas), "");
    composite.MakeComposite(document.Stack(), nullptr);
    EXPECT_EQ(FirstDifference(*composite.GetCurrentComposite(), *before, kCanvas), "");  // its cache is as it was

    copy.DeleteLayerStack(nullptr);
    EXPECT_NE(copy.GetRoot(), nullptr);
    copy.DeleteLayerStack(document.Stack());
    EXPECT_EQ(copy.GetRoot(), nullptr);
    EXPECT_EQ(copy.GetOwner(), nullptr);
    EXPECT_FALSE(copy.GetCurrentComposite());
}

TEST(LayerStackComposite, TellsWhatLiesBelowAndAbove)
{
    CompositeDocument document(kCanvas);
    Layer* a = document.Add("a");
    LayerFolder* folder = document.AddFolder("F");
    document.Add("b", kLayerModeImage, folder);
    Layer* c = document.Add("c", kLayerModeImage, folder);
    Layer* d = document.Add("d");
    LayerStackComposite composite;
    composite.SetOwner(document.Stack());
    struct Case {
        PntHandle other;
        bool below, above;
    };
    for (const auto& [other, isBelow, isAbove] : {Case{HandleOf(a), true, false},
                                                  {HandleOf(d), false, true},
                                                  {HandleOf(c), false, false},
                                                  {PntHandle(), false, false}}) {
        bool below = true;
        bool above = true;
        composite.DetermineBelowAndAbove(HandleOf(c), other, below, above);
        EXPECT_EQ(below, isBelow);
        EXPECT_EQ(above, isAbove);
    }
}

TEST(LayerStackComposite, DumpNamesEveryNode)
{
    CompositeDocument document(kCanvas);
    document.Add("low")->SetLayerBlend(kBlendMultiply);
    LayerFolder* folder = document.AddFolder("Group");
    document.current = document.Add("in", kLayerModeImage, folder);
    LayerStackComposite composite;
    composite.MakeCompositeTree(document.Stack(), true);
    static std::string text;
    text.clear();
    qsOS::SetDebugOutputSink([](const char* part) { text += part; });
    composite.Debug();
    qsOS::SetDebugOutputSink(nullptr);
    const std::string pointer = R"((0x[0-9a-f]+|\(nil\)))";
    const std::string node = R"(CompositeBase\[)" + pointer + R"(\] mode\[)";
    const std::string cache = R"(\] cache\[)" + pointer + "," + pointer + R"(\]Child)";
    const std::string child = R"(\[)" + pointer + R"(\])";
    EXPECT_TRUE(std::regex_match(text, std::regex(node + R"(P\] effect\[None)" + cache + child + child + "\n" +  //
                                                  R"(CLayer\[)" + pointer + R"(,low\] )" + node + R"(E\] effect\[low)" +
                                                  cache + "\n" + R"(CLFolder\[)" + pointer + R"(,Group\] )" + node +
                                                  R"(P\] effect\[None)" + cache + child + "\n" + R"(CLayer\[)" +
                                                  pointer + R"(,in\] )" + node + R"(P\] effect\[None)" + cache + "\n")))
        << text;
}

TEST(CompositeMask, TintsWhatSelectionAndMasksOfTheCurrentLayerCover)
{
    CompositeDocument document({0, 0, 300, 200});
    document.current = document.Add("L");
    Layer* other = document.Add("other");
    Layer* mask = document.Add("mask", kLayerModeMask);
    mask->AddOwnerLayer(document.current, false);
    mask->GetImage()->fillTile({0, 0, 200, 200}, ilPixel::Coverage(255));
    mask->SetOffset(10, 0, {}, false);
    LayerStackComposite composite;
    const auto pixelAt = [&](int x, int y) {
        composite.MakeCompositeMask(document.Stack(), true);
        return composite.GetCompositeMask() ? composite.GetCompositeMask()->GetPixel(x, y) : ilPixel();
    };
    EXPECT_EQ(pixelAt(100, 100), ilPixel::Rgba(128, 0, 0, 128));
    EXPECT_EQ(pixelAt(9, 100), kClear);

    const qs::Reference<Layer> selection(
        new Layer(new ilSmartImage(ilPixel::Coverage(0)), nullptr, kLayerModeMask, kLayerTypeRaster, 0, 0));
    selection->SetMaskColor(PaintColor(0, 0, 1));
    selection->GetImage()->fillTile({0, 0, 64, 64}, ilPixel::Coverage(255));
    document.selection = selection.get();
    EXPECT_EQ(pixelAt(5, 5), ilPixel::Rgba(0, 0, 128, 128));
    EXPECT_EQ(pixelAt(30, 30), ilPixel::Rgba(64, 0, 128, 192));

    document.masksShown = false;
    EXPECT_EQ(pixelAt(100, 100), kClear);
    document.masksShown = true;
    document.current = other;
    EXPECT_EQ(pixelAt(100, 100), kClear);
    document.selection = nullptr;
    composite.MakeCompositeMask(document.Stack(), true);
    EXPECT_FALSE(composite.GetCompositeMask());
}

TEST(CompositeMask, OfALargeSelectionCostsNoPixelsOfItsOwn)
{
    CompositeDocument document({0, 0, 6400, 6400});
    const qs::Reference<Layer> selection(
        new Layer(new ilSmartImage(ilPixel::Coverage(0)), nullptr, kLayerModeMask, kLayerTypeRaster, 0, 0));
    selection->GetImage()->fillTile({-100, -100, 7000, 6500}, ilPixel::Coverage(255));
    document.selection = selection.get();
    LayerStackComposite composite;
    composite.MakeCompositeMask(document.Stack(), true);
    const ilSmartImage& mask = *composite.GetCompositeMask();
    EXPECT_EQ(mask.GetBounds(), document.size);
    EXPECT_TRUE(mask.SharePage(0, 0).get() == mask.SharePage(98, 70).get());
    EXPECT_EQ(mask.GetPixel(6399, 6399), ilPixel::Rgba(128, 0, 0, 128));
}
