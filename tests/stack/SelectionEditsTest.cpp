#include "OpenStack.h"
#include "platform/imaging/pages/PageAllocator.h"
#include "platform/imaging/regions/CoverageFilters.h"
#include "tests/support/RandomImages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

constexpr ilTile kPlane(-400, -400, 1000, 1000);  // what the model holds, the canvas in its midst
const ilPixel kGreen = ilPixel::Rgba(0, 200, 0, 200);

/// round(x / 255)
uint8_t By255(int x)
{
    return static_cast<uint8_t>((x + 127) / 255);
}

/// Selected and not selected are exact.
bool IsNear(uint8_t a, uint8_t b)
{
    return a == b || (std::abs(a - b) == 1 && std::min(a, b) > 0 && std::max(a, b) < 255);
}

/// A selection as a plain array, in canvas coordinates.
class PlainSelection {
public:
    uint8_t& At(int x, int y) { return pixels_[static_cast<size_t>((y - kPlane.y) * kPlane.nx + x - kPlane.x)]; }

    template <class Change>
    void Each(const ilTile& tile, Change&& change)
    {
        for (int y = tile.y; y < tile.Bottom(); ++y)
            for (int x = tile.x; x < tile.Right(); ++x)
                At(x, y) = change(At(x, y), x, y);
    }
    void Fill(const ilTile& tile, uint8_t value)
    {
        Each(tile, [=](uint8_t, int, int) { return value; });
    }
    void Move(int dx, int dy)
    {
        PlainSelection moved;
        moved.Each(kPlane, [&](uint8_t, int x, int y) {
            return kPlane.Contains(x - dx, y - dy) ? At(x - dx, y - dy) : uint8_t{0};
        });
        *this = moved;
    }
    ilTile BoxWithin(const ilTile& tile)
    {
        ilTile box;
        Each(tile, [&](uint8_t value, int x, int y) {
            if (value != 0)
                box = ilTileUnion(box, {x, y, 1, 1});
            return value;
        });
        return box;
    }

private:
    std::vector<uint8_t> pixels_ = std::vector<uint8_t>(static_cast<size_t>(kPlane.Area()));
};

/// A document whose selection is edited beside the model.
class SelectionEdits : public testing::Test {
protected:
    SelectionEdits() { document.Add("a"); }

    qs::TempReference<ilMIOImage> MaskImage() { return document->GetSelectionMask()->GetImage(); }
    uint8_t SelectedAt(int x, int y)
    {
        const Layer& mask = *document->GetSelectionMask();
        return mask.GetImage()->GetPixel(x - mask.getXOffset(), y - mask.getYOffset()).GetAlpha();
    }

    /// Everything that was selected before the move is still there, on and off the canvas.
    void ExpectModel(const std::string& after)
    {
        SCOPED_TRACE(after);
        std::vector<uint8_t> bytes(static_cast<size_t>(kPlane.Area()));
        int x = 0;
        int y = 0;
        document->GetSelMaskOffset(x, y);
        MaskImage()->ReadTile(ilTileMoved(kPlane, -x, -y), bytes.data(), kPlane.nx);
        // Soft pixels are rounded once an edit, within 0.51: nearly always to the model's value.
        const auto differs = std::mismatch(bytes.begin(), bytes.end(), &model.At(kPlane.x, kPlane.y), IsNear).first;
        const ptrdiff_t at = differs - bytes.begin();
        ASSERT_TRUE(differs == bytes.end()) << "at " << at % kPlane.nx + kPlane.x << ", " << at / kPlane.nx + kPlane.y;
        std::copy(bytes.begin(), bytes.end(), &model.At(kPlane.x, kPlane.y));
        EXPECT_EQ(document->GetSelectionMaskBnd(), ilTileIntersection(model.BoxWithin(kPlane), canvas));
        EXPECT_EQ(document->isSelectionMaskUsed(),
                  document->isSelectionMaskActive() && !model.BoxWithin(kPlane).IsEmpty());
    }

    /// The painter that was in use before the edit is limited by the selection after it, and the views show it.
    void ExpectFollowed(PaintOps* painter)
    {
        const bool isUsed = document->isSelectionMaskUsed();
        const auto shown = BytesOf(*document->GetImagePlane(), document->GetSize());
        document->RebuildAllAndRedrawEntireCanvas();
        EXPECT_EQ(Difference(shown, BytesOf(*document->GetImagePlane(), document->GetSize()), 200), "");

        ilMIOImage& image = *document->GetCurrentLayerPtr()->GetImage();
        image.Clear();
        painter->blend_func(kFactorOne, kFactorZero);
        painter->rect_fill(0, 0, 200, 150, kGreen);
        const qs::Reference<ilMIOImage> painted = image.Snapshot();
        image.Clear();
        EXPECT_TRUE(document->FillLayer(kCurrentLayerHandle, {-50, -50, 1000, 1000}, kGreen));
        EXPECT_EQ(FirstDifference(image, *painted, {-64, -64, 320, 300}), "") << "fills and painting agree";
        for (int i = 0; i < 200; ++i) {
            const int x = random.Int(0, 199);
            const int y = random.Int(0, 149);
            const double coverage = isUsed ? SelectedAt(x, y) / 255.0 : 1;
            ASSERT_NEAR(painted->GetPixel(x, y).GetAlpha(), 200 * coverage, 0.51) << x << ", " << y;
        }
        image.Clear();
        document->RedrawEntireCanvas();
    }

    std::string Edit();
    std::string EditByRectangle(int kind);
    std::string EditByImage(int kind);
    std::string EditByLasso();

    Random random{7};
    OpenStack document;
    PlainSelection model;
    const ilTile canvas{0, 0, 200, 150};
    int offsetX = 0;  // of the selection before the edit
    int offsetY = 0;
};

std::string SelectionEdits::EditByRectangle(int kind)
{
    const ilTile tile = random.Tile(-60, 190, 150);
    const ilTile inside = ilTileIntersection(tile, canvas);
    switch (kind) {
    case 0:
        model.Fill(kPlane, 0);
        model.Fill(inside, 255);
        document->FillSelectionMask(tile, true);
        return "fill tile";
    case 1:
        model.Fill(kPlane, 0);
        model.Fill(canvas, 255);
        model.Fill(inside, 0);
        document->ClearSelectionMask(tile, true);
        return "clear tile";
    case 2:
        model.Fill(inside, 255);
        document->AddToSelection(tile, true);
        return "add tile";
    default:
        model.Fill(inside, 0);
        document->SubtractFromSelection(tile, true);
        return "subtract tile";
    }
}

std::string SelectionEdits::EditByImage(int kind)
{
    const int channels = kind == 5 || random.OneIn(3) ? 1 : 4;
    const auto image = MakeRandomImage(random, channels);
    if (random.OneIn(4))
        image->SetFillValue(random.Pixel(channels));
    const int x = kind < 2 ? 0 : random.OneIn(3) ? 64 : random.Int(-40, 120);
    const int y = kind < 2 ? 0 : random.OneIn(3) ? 0 : random.Int(-40, 120);
    const auto value = [&](int px, int py) { return int{image->GetPixel(px - x, py - y).GetAlpha()}; };
    const auto add = [&](int old, int px, int py) { return By255(255 * (old + value(px, py)) - old * value(px, py)); };
    const auto subtract = [&](int old, int px, int py) { return By255(old * (255 - value(px, py))); };
    switch (kind) {
    case 0:
        model.Fill(kPlane, 0);
        model.Each(canvas, add);
        document->FillSelectionMask(image, true);
        return "fill image";
    case 1:
        model.Fill(kPlane, 0);
        model.Fill(canvas, 255);
        model.Each(canvas, subtract);
        document->ClearSelectionMask(image, true);
        return "clear image";
    case 2:
        model.Each(canvas, add);
        document->AddToSelection(image, x, y, true);
        return "add image";
    case 3:
        model.Each(canvas, subtract);
        document->SubtractFromSelection(image, x, y, true);
        return "subtract image";
    case 4:
        model.Each(canvas, [&](int old, int px, int py) { return By255(old * value(px, py)); });
        document->IntersectSelection(image, x, y, true);
        return "intersect image";
    default:
        const bool isBounded = image->GetFillValue().GetAlpha() == 0;
        model.Fill(kPlane, 0);
        model.Each(isBounded ? kPlane : canvas, [&](int, int px, int py) { return uint8_t(value(px, py)); });
        document->CopyToSelection(image, x, y, true);
        return "copy image";
    }
}

std::string SelectionEdits::EditByLasso()
{
    std::vector<float> points;
    for (int i = 2 * random.Int(3, 12); i > 0; --i)
        points.push_back(static_cast<float>(random.Int(-800, 4000)) / 16);
    const int count = static_cast<int>(points.size() / 2);
    const bool nonZero = random.OneIn(2);
    const auto lasso = document->GetLassoImage(points.data(), count, nonZero);
    const int mode = random.Int(0, 4);
    if (mode == 0)
        model.Fill(kPlane, 0);
    model.Each(canvas, [&](int old, int x, int y) {
        const int value = lasso->GetPixel(x, y).GetAlpha();
        return mode < 2    ? By255(255 * (old + value) - old * value)
               : mode == 2 ? By255(old * (255 - value))
               : mode == 3 ? By255(old * value)
                           : uint8_t(old);
    });
    if (mode < 4) {
        EXPECT_TRUE(document->SelectLasso(points.data(), count, static_cast<SelectionMode>(mode),
                                          nonZero ? FillRule::NonZero : FillRule::EvenOdd));
        return "lasso " + std::to_string(mode);
    }
    const auto taken = document->GetLassoImage(points.data(), count, true);
    model.Each(canvas, [&](int old, int x, int y) { return By255(old * (255 - taken->GetPixel(x, y).GetAlpha())); });
    document->LassoSelection(points.data(), count);
    return "lasso taken away";
}

std::string SelectionEdits::Edit()
{
    const int kind = random.Int(0, 16);
    if (kind < 4)
        return EditByRectangle(kind);
    if (kind < 10)
        return EditByImage(kind - 4);
    switch (kind) {
    case 10:
    case 11: return EditByLasso();
    case 12: {
        // Off the canvas and back, by way of places that share no page boundary.
        const int dx = random.Int(-150, 150);
        const int dy = random.Int(-150, 150);
        document->MoveSelection(dx, dy, true);
        document->MoveSelection(-dx, 17 - dy, true);
        document->MoveSelection(random.Int(-3, 3), -17, true);
        int x = 0;
        int y = 0;
        document->GetSelMaskOffset(x, y);
        model.Move(x - offsetX, y - offsetY);
        return "move";
    }
    case 13:
        model.Each(kPlane, [&](int old, int x, int y) { return uint8_t(canvas.Contains(x, y) ? 255 - old : 0); });
        document->InvertSelection(true);
        return "invert";
    case 14:
        model.Fill(kPlane, 0);
        model.Fill(canvas, 255);
        document->FillSelectionMask(true);
        return "all";
    case 15:
        model.Fill(kPlane, 0);
        document->ClearSelectionMask(true);
        return "none";
    default: return "";
    }
}

TEST_F(SelectionEdits, RandomOnesMatchAPlainArrayAndReachPainterAndViews)
{
    PaintOps* painter = document->GetCurrentLayerPainter();
    for (int i = 0; i < 250 && !HasFatalFailure(); ++i) {
        const PntHandle handle = document->GetSelectionMaskHandle();
        document->GetSelMaskOffset(offsetX, offsetY);
        const std::string edit = std::to_string(i) + ": " + Edit();
        ExpectModel(edit);
        EXPECT_EQ(document->GetSelectionMaskHandle(), handle) << edit;
        if (i % 5 == 0)
            ExpectFollowed(painter);
        if (i % 4 == 0)
            document->SetSelectionMaskActive(!random.OneIn(4));
        document->ForceUpdate();
    }
}

TEST_F(SelectionEdits, AddingNeverLowersAndSubtractingNeverRaisesForAllPairsOfBytes)
{
    OpenStack wide(256, 256);
    const qs::Reference<ilSmartImage> across(new ilSmartImage(ilPixel::Coverage(0)));
    const qs::Reference<ilSmartImage> down(new ilSmartImage(ilPixel::Coverage(0)));
    for (int i = 0; i < 256; ++i) {
        across->fillTile({i, 0, 1, 256}, ilPixel::Coverage(static_cast<uint8_t>(i)));
        down->fillTile({0, i, 256, 1}, ilPixel::Coverage(static_cast<uint8_t>(i)));
    }
    for (const bool adds : {true, false}) {
        wide->CopyToSelection(across, 0, 0, true);
        adds ? wide->AddToSelection(down, 0, 0, true) : wide->SubtractFromSelection(down, 0, 0, true);
        for (int s = 0; s < 256; ++s)
            for (int d = 0; d < 256; ++d) {
                const int now = wide->GetSelectionMask()->GetImage()->GetPixel(d, s).GetAlpha();
                ASSERT_NEAR(now, (adds ? 255 * (s + d) - s * d : d * (255 - s)) / 255.0, 0.51) << s << " on " << d;
                ASSERT_TRUE(adds ? now >= std::max(d, s) : now <= d) << s << " on " << d;
            }
    }
    EXPECT_EQ(across->GetPixel(9, 200).GetAlpha(), 9) << "the host's image is its own";
}

TEST_F(SelectionEdits, AWholeCanvasHoldsNoPixels)
{
    OpenStack huge(16384, 16384);
    const size_t before = PageAllocator::GetBytesInUse();
    huge->FillSelectionMask(true);
    huge->InvertSelection(true);
    huge->InvertSelection(true);
    huge->SubtractFromSelection({64, 64, 6400, 6400}, true);
    EXPECT_EQ(huge->GetSelectionMaskBnd(), ilTile(0, 0, 16384, 16384));
    EXPECT_EQ(huge->GetSelectionMask()->GetImage()->GetContentOf({64, 64, 6400, 6400}), PageContent::Transparent);
    EXPECT_EQ(PageAllocator::GetBytesInUse(), before);
}

TEST_F(SelectionEdits, CopiesGoBothWaysAndOthersAreToldOf)
{
    const qs::Reference<ilSmartImage> colors(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
    document->FillSelectionMask({10, 10, 20, 20}, true);
    for (const qs::TempReference<ilMIOImage>& image : {qs::TempReference<ilMIOImage>(colors), {}}) {
        document->FillSelectionMask({10, 10, 20, 20}, true);
        testing::internal::CaptureStdout();
        document->CopyToSelection(image, 0, 0, true);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "Can't copy a 1 channel image to the selection mask\n");
        EXPECT_TRUE(document->GetSelMaskBounds().IsEmpty());
    }
    const auto coverage = MakeRandomImage(random, 1);
    document->SetMaskLayerDisplayOpacity(0.25F, document->GetSelectionMaskHandle());
    document->CopyToSelection(coverage, 20, -30, true);
    EXPECT_EQ(document->GetSelectionMask()->GetMaskDisplayOpacity(), 0.25F);
    EXPECT_STREQ(document->GetSelectionMask()->GetLayerContainerName(), "Marquee");
    const qs::Reference<ilSmartImage> back(new ilSmartImage(ilPixel::Coverage(0)));
    document->CopyFromSelection(back);
    EXPECT_EQ(FirstDifference(*back, *coverage, {-310, -310, 620, 620}), "");

    // A layer's own pixels, where the layer lies; its alpha as a selection.
    document->FillSelectionMask(true);
    document->FillLayer(kCurrentLayerHandle, canvas, kGreen);
    document->SetCurrentLayerOffset(7, -5, true);
    document->FillSelectionMask({50, 40, 30, 20}, true);
    const auto copied = document->CopyFromSelection(kCurrentLayerHandle);
    ASSERT_TRUE(copied);
    EXPECT_EQ(copied->GetPixel(50, 40), kGreen);
    EXPECT_EQ(copied->GetPixel(49, 40), ilPixel());
    document->ClearSelectionMask(true);
    EXPECT_FALSE(document->CopyFromSelection(kCurrentLayerHandle));
    document->AddToSelection(kCurrentLayerHandle, true);
    EXPECT_EQ(document->GetSelectionMaskBnd(), ilTile(7, 0, 193, 145));
    EXPECT_EQ(SelectedAt(100, 100), 200);
    document->SubtractFromSelection(kNullHandle, true);
    EXPECT_EQ(SelectedAt(100, 100), 200);
}

TEST_F(SelectionEdits, WhatCannotBeChangesNothing)
{
    document->FillSelectionMask({10, 10, 100, 100}, true);
    document->SetSelectionMaskActive(true);
    model.Fill({10, 10, 100, 100}, 255);
    constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
    const float bad[] = {0, 0, 100, 0, kNaN, 100};
    const float line[] = {20, 20, 90, 90};
    document->LassoSelection(bad, 3);
    EXPECT_FALSE(document->GetLassoImage(bad, 3, true));
    EXPECT_FALSE(document->GetLassoImage(line, -1, true));
    EXPECT_FALSE(document->GetLassoImage(nullptr, 3, true));
    EXPECT_FALSE(document->SelectLasso(bad, 3, SelectionMode::Replace, FillRule::NonZero));
    EXPECT_FALSE(document->SelectLasso(line, 2, static_cast<SelectionMode>(9), FillRule::NonZero));
    for (int count = 0; count <= 2; ++count)
        EXPECT_TRUE(document->GetLassoImage(line, count, false)->GetBounds().IsEmpty());
    document->LassoSelection(line, 2);
    document->MoveSelection(INT32_MAX, INT32_MIN, true);
    document->AddToSelection(ilTile(INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX), true);
    document->AddToSelection(ilTile(50, 50, -5, 10), true);
    for (const int pixels : {0, kMaxGrowPx + 1, INT32_MAX, INT32_MIN})
        document->GrowSelection(pixels, true);
    for (const float radius : {0.0F, -1.0F, kNaN, std::numeric_limits<float>::infinity(), 1e9F})
        document->FeatherSelection(radius, true);
    EXPECT_FALSE(document->FillLayer(kNullHandle, canvas, kGreen));
    EXPECT_FALSE(document->FillLayer(kCurrentLayerHandle, canvas, ilPixel::Coverage(255)));
    EXPECT_FALSE(document->FillLayer(kCurrentLayerHandle, {500, 500, 9, 9}, kGreen));
    ExpectModel("refused");
    const qs::Reference<ilSmartImage> far(new ilSmartImage(ilPixel::Coverage(255)));
    for (const int place : {INT32_MIN, INT32_MAX})
        document->SubtractFromSelection(far, place, place, true);
    ExpectModel("too far");
    document->SubtractFromSelection(far, 1 << 30, -(1 << 30), true);
    EXPECT_TRUE(document->GetSelMaskBounds().IsEmpty()) << "a fill value is everywhere";

    document->SetSelectionMask(nullptr);
    document->AddToSelection(canvas, true);
    document->InvertSelection(true);
    EXPECT_EQ(document->GetSelectionMask(), nullptr) << "these do not make one";
    document->AddToSelection(far, 0, 0, true);
    EXPECT_EQ(document->GetSelectionMaskBnd(), canvas);
}

TEST_F(SelectionEdits, TheFirstPixelLimitsThePainterInUseAndTheLastOneFreesIt)
{
    PaintOps* const painter = document->GetCurrentLayerPainter();
    document->SetSelectionMaskActive(true);
    document->AddToSelection(ilTile(20, 20, 10, 10), false);
    painter->rect_fill(0, 0, 100, 100, kGreen);
    EXPECT_EQ(document->GetCurrentLayerPtr()->getLayerBounds(true), ilTile(20, 20, 10, 10));
    document->SubtractFromSelection(ilTile(0, 0, 100, 100), false);
    painter->rect_fill(0, 0, 100, 100, kGreen);
    EXPECT_EQ(document->GetCurrentLayerPtr()->getLayerBounds(true), ilTile(0, 0, 100, 100));
}

TEST_F(SelectionEdits, GrowingAndFeatheringKeepTheirPlaceWhenMoved)
{
    document->FillSelectionMask({60, 50, 40, 30}, true);
    document->GrowSelection(6, true);
    EXPECT_EQ(document->GetSelectionMaskBnd(), ilTile(54, 44, 52, 42));
    document->MoveSelection(13, -9, true);
    document->GrowSelection(-6, true);
    EXPECT_EQ(document->GetSelectionMaskBnd(), ilTile(73, 41, 40, 30));
    document->FeatherSelection(8, true);
    document->MoveSelection(-13, 9, true);
    EXPECT_NEAR(SelectedAt(59, 65), 255 * 0.45, 6);
    EXPECT_NEAR(SelectedAt(60, 65), 255 * 0.55, 6);
    EXPECT_EQ(SelectedAt(80, 65), 255);
    EXPECT_EQ(SelectedAt(40, 65), 0);
}

}  // namespace
