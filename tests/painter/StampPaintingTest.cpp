#include "tests/support/RandomImages.h"

#include "platform/imaging/pages/PageWalk.h"
#include "platform/imaging/painter/MaskingPaintOps.h"
#include "platform/imaging/painter/SoftPaintOps.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr ilTile kArea{-200, -200, 400, 400};

qs::Reference<ilSmartImage> MakeImage(int channels = 4)
{
    return qs::Reference<ilSmartImage>(new ilSmartImage(ilPixel(kUnsignedByte, channels)));
}

qs::Reference<Stamp> MakeStamp(float hardness = 0.5F)
{
    qs::Reference<Stamp> stamp(new Stamp);
    BrushProfile profile;
    profile.hardness = hardness;
    stamp->set_profile(MakeProfile(profile, 20));
    stamp->set_color(0.6F, 0.3F, 0.1F, 1);
    return stamp;
}

StampPlacement At(double x, double y, float size = 20, float opacity = 1)
{
    StampPlacement placement;
    placement.x = x;
    placement.y = y;
    placement.size = size;
    placement.opacity = opacity;
    return placement;
}

}  // namespace

TEST(StampPainting, LooksTheSameWhereverThePageGridLies)
{
    for (const float size : {3.3F, 20.0F, 70.0F}) {
        const qs::Reference<ilSmartImage> reference = MakeImage();
        MaskingPaintOps painter(reference);
        painter.blend_func(1, 7);
        painter.set_stamp(MakeStamp());
        painter.draw_stamp(At(32.25, 32.5, size, 0.8F));
        for (const auto& [dx, dy] : {std::pair{1, 0}, {17, 31}, {-40, 63}, {-64, -65}}) {
            const qs::Reference<ilSmartImage> moved = MakeImage();
            MaskingPaintOps other(moved);
            other.blend_func(1, 7);
            other.set_stamp(MakeStamp());
            other.draw_stamp(At(32.25 + dx, 32.5 + dy, size, 0.8F));
            ilSmartImage back(*moved, -dx, -dy);
            EXPECT_EQ(FirstDifference(*reference, back, {-100, -100, 260, 260}), "")
                << size << ": " << dx << ", " << dy;
        }
    }
}

TEST(StampPainting, StaysWithinItsDamageAndTheClippingRectangle)
{
    Random random(4);
    for (int i = 0; i < 60; ++i) {
        const qs::Reference<ilSmartImage> image = MakeRandomImage(random, 4);
        const qs::Reference<ilMIOImage> before = image->Snapshot();
        const qs::Reference<ilMIOImage> free = image->Snapshot();
        const StampPlacement placement =
            At(random.Int(-100, 100) + 0.3, random.Int(-100, 100) + 0.6, static_cast<float>(random.Int(1, 60)));
        PaintOps clipped(image);
        PaintOps unclipped(free);
        const ilTile clip = random.Tile(-100, 50, 90);
        clipped.SetBrushClippingRect(clip);
        for (PaintOps* painter : {&clipped, &unclipped}) {
            painter->blend_func(1, 7);
            painter->set_stamp(MakeStamp(0.8F));
            painter->draw_stamp(placement);
        }
        ilTile damage;
        ilTile tile;
        while (clipped.getNextDamagedTile(tile))
            damage = ilTileUnion(damage, tile);
        EXPECT_TRUE(clip.Contains(damage));
        for (int y = kArea.y; y < kArea.Bottom(); ++y)
            for (int x = kArea.x; x < kArea.Right(); ++x) {
                const ilPixel expected = clip.Contains(x, y) ? free->GetPixel(x, y) : before->GetPixel(x, y);
                ASSERT_EQ(image->GetPixel(x, y), expected) << x << ", " << y;
                if (!damage.Contains(x, y)) {
                    ASSERT_EQ(image->GetPixel(x, y), before->GetPixel(x, y)) << "undamaged " << x << ", " << y;
                }
            }
    }
}

TEST(StampPainting, PagesOnWhichNothingArrivesAreNeitherMadeNorCopied)
{
    Random random(5);
    const qs::Reference<ilSmartImage> clip = MakeImage(1);  // a page's worth in the middle
    clip->fillTile({-32, -32, 64, 64}, ilPixel::Coverage(255));
    const qs::Reference<ilSmartImage> source = MakeImage();
    source->fillTile({-90, -30, 70, 50}, ilPixel::Rgba(10, 20, 30, 255));
    for (int i = 0; i < 200; ++i) {
        const bool hasPixels = random.OneIn(2);
        const qs::Reference<ilSmartImage> image = hasPixels ? MakeRandomImage(random, 4) : MakeImage();
        const qs::Reference<ilMIOImage> before = image->Snapshot();
        MaskingPaintOps painter(image);
        const bool erases = random.OneIn(3);
        painter.blend_func(erases ? 0 : 1, 7);
        const qs::Reference<Stamp> stamp = MakeStamp();
        if (random.OneIn(4))
            stamp->set_color(0, 0, 0, 0);
        if (random.OneIn(4))
            stamp->set_source(qs::Reference<PaintObj>(new ImagePaintObj(source)));
        painter.set_stamp(stamp);
        painter.set_clip_image(clip);
        painter.SetMarkerBlend(random.OneIn(3));
        painter.BeginOperation();
        if (random.OneIn(2))
            painter.GetLowOrderBitImage();
        for (int k = 0; k < 3; ++k)
            painter.draw_stamp(At(random.Int(-150, 150), random.Int(-150, 150), static_cast<float>(random.Int(1, 90))));
        const auto fine = painter.GetLowOrderBitImage();
        size_t changed = 0;
        painter.EndOperation();
        image->VisitDifferentPages(*before, [&](int px, int py, const Page* now, const Page* old) {
            ++changed;
            EXPECT_TRUE(px >= -1 && px <= 0 && py >= -1 && py <= 0 && now != nullptr) << px << ", " << py;
            EXPECT_TRUE(old != nullptr || FirstDifference(*image, *before, PageTile(px, py)) != "") << "round " << i;
        });
        EXPECT_LE(fine->GetPageCount(), changed) << "round " << i;
    }
}

TEST(StampPainting, ClippingImageScalesWhatArrives)
{
    const qs::Reference<ilSmartImage> clip = MakeImage(1);
    clip->fillTile({-50, -50, 50, 100}, ilPixel::Coverage(255));
    clip->fillTile({0, -50, 50, 100}, ilPixel::Coverage(128));
    const qs::Reference<ilSmartImage> image = MakeImage();
    PaintOps painter(image);
    painter.blend_func(1, 7);
    painter.set_stamp(MakeStamp(1));
    painter.set_clip_image(clip, 10, 0);
    painter.draw_stamp(At(10, 0, 80));
    EXPECT_EQ(image->GetPixel(0, 0).GetAlpha(), 255);
    EXPECT_EQ(image->GetPixel(20, 0).GetAlpha(), 128);
    EXPECT_EQ(image->GetPixel(65, 0).GetAlpha(), 0);
    EXPECT_EQ(image->GetPixel(-45, 0).GetAlpha(), 0);
}

TEST(StampPainting, SixteenBitsBuildUpWhereEightStandStill)
{
    const qs::Reference<ilSmartImage> coarse = MakeImage();
    const qs::Reference<ilSmartImage> fine = MakeImage();
    SoftPaintOps eight(coarse);
    SoftPaintOps sixteen(fine);
    ASSERT_NE(sixteen.GetLowOrderBitImage(), nullptr);
    for (SoftPaintOps* painter : {&eight, &sixteen}) {
        painter->blend_func(1, 7);
        painter->set_stamp(MakeStamp(0.5F));
        painter->draw_stamp(At(0, 0, 60, 0.7F));
    }
    EXPECT_EQ(FirstDifference(*coarse, *fine, kArea, 1), "");
    const int once = coarse->GetPixel(0, 0).GetAlpha();
    for (int i = 0; i < 1500; ++i)
        for (SoftPaintOps* painter : {&eight, &sixteen})
            painter->draw_stamp(At(0, 0, 60, 0.0019F));
    EXPECT_EQ(coarse->GetPixel(0, 0).GetAlpha(), once) << "too faint for 8 bits";
    EXPECT_GE(fine->GetPixel(0, 0).GetAlpha(), 250);
    // Along the radius alpha is what so many stamps of the profile come to: no plateau, no band.
    for (int x = 0; x < 60; ++x) {
        const double rr = (std::pow(x + 0.5, 2) + 0.25) / 3600;
        const double coverage = 1 - rr;  // the dome of hardness 0.5
        const double expected = 255 * (1 - (1 - 0.7 * coverage) * std::pow(1 - 0.0019 * coverage, 1500));
        EXPECT_NEAR(fine->GetPixel(x, 0).GetAlpha(), expected, 4) << x;
    }
}

TEST(StampPainting, MarkerDoesNotDarkenWhereItCrossesItselfUnlessItIsWet)
{
    Random random(6);
    const auto draw = [](MaskingPaintOps& painter, bool erases, int times) {
        painter.blend_func(erases ? 0 : 1, 7);
        painter.set_stamp(MakeStamp());
        for (int i = 0; i < times; ++i)
            painter.draw_stamp(At(5, 5, 40, 0.5F));
    };
    for (const auto& [erases, isWet] : {std::pair{false, false}, {true, false}, {false, true}}) {
        const qs::Reference<ilSmartImage> image = isWet ? MakeImage() : MakeRandomImage(random, 4);
        const qs::Reference<ilMIOImage> once = image->Snapshot();
        const qs::Reference<ilMIOImage> before = image->Snapshot();
        MaskingPaintOps marker(image);
        MaskingPaintOps single(once);
        draw(single, erases, isWet ? 10 : 1);
        marker.SetMarkerBlend(true);
        marker.SetMarkerWetness(isWet ? 1 : 0);
        marker.BeginOperation();
        draw(marker, erases, 10);
        EXPECT_EQ(FirstDifference(*image, *before, kArea), "") << "the layer changes only at the end";
        ilSmartImage shown(ilPixel::Rgba(0, 0, 0, 0));
        marker.ComposeOperation(shown, kArea);
        marker.EndOperation();
        EXPECT_EQ(FirstDifference(shown, *image, kArea), "") << "what was shown is what is left";
        EXPECT_EQ(FirstDifference(*image, *once, kArea, isWet ? 3 : 1), "");
    }
}

TEST(StampPainting, SourcesGiveTheirPixelsAtTheOffset)
{
    Random random(12);
    const qs::Reference<ilSmartImage> source = MakeRandomImage(random, 4);
    const qs::Reference<ilSmartImage> image = MakeImage();
    qs::Reference<Stamp> stamp = MakeStamp(1);
    stamp->set_source(qs::Reference<PaintObj>(new ImagePaintObj(source)));
    stamp->set_method(Stamp::kMethodImage);
    stamp->set_source_offset(-70, 33);
    PaintOps painter(image);
    painter.blend_func(1, 7);
    painter.set_stamp(stamp);
    painter.draw_stamp(At(0, 0, 50));
    for (int i = -30; i < 30; ++i)
        EXPECT_EQ(image->GetPixel(i, i / 2), source->GetPixel(i - 70, i / 2 + 33)) << i;
    EXPECT_EQ(image->GetPixel(60, 0), ilPixel());
    // Erased by half of what the source has.
    image->fillTile({-30, -30, 60, 60}, ilPixel::Rgba(0, 0, 255, 255));
    painter.blend_func(0, 7);
    painter.draw_stamp(At(0, 0, 50, 0.5F));
    for (int i = -20; i < 20; ++i)
        EXPECT_NEAR(image->GetPixel(i, i / 2).GetAlpha(), 255 - source->GetPixel(i - 70, i / 2 + 33).GetAlpha() / 2.0,
                    1);
}

TEST(StampPainting, AStampOfNoEffectLeavesNoTrace)
{
    const qs::Reference<ilSmartImage> image = MakeImage();
    PaintOps painter(image);
    painter.blend_func(1, 7);
    painter.set_stamp(MakeStamp());
    const double nan = std::nan("");
    for (const StampPlacement& placement : {At(0, 0, 20, 0), At(nan, 0), At(0, HUGE_VAL), At(1e12, 0),
                                            At(0, 0, std::nanf("")), At(0, 0, 20, std::nanf(""))})
        painter.draw_stamp(placement);
    painter.SetBrushClippingRect({});
    painter.draw_stamp(At(0, 0));
    EXPECT_TRUE(image->IsEmpty());
    EXPECT_EQ(painter.GetStampCount(), 0U);
    EXPECT_TRUE(painter.previewDamage().IsEmpty());
}
