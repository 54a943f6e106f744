#include "platform/imaging/painter/PaintOps.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "platform/imaging/painter/SoftPaintOps.h"
#include "tests/support/RandomImages.h"

#include <gtest/gtest.h>

TEST(PaintOps, ScalingKeepsTheMeanWhenShrinkingAndTheValuesWhenEnlarging)
{
    Random random(2);
    qs::Reference<ilSmartImage> source(new ilSmartImage(ilPixel::Rgba(0, 0, 0, 0)));
    double sum = 0;
    for (int y = 0; y < 120; ++y)
        for (int x = 0; x < 120; ++x) {
            const ilPixel pixel = random.Premultiplied();
            source->SetPixel(x, y, pixel);
            sum += pixel.GetAlpha();
        }
    qs::Reference<ilSmartImage> shrunk(new ilSmartImage(ilPixel::Rgba(0, 0, 0, 0)));
    PaintOps painter(shrunk);
    painter.draw_image(0, 0, 40, 30, *source, 0, 0, 1 / 3.0F, 0.25F);
    double shrunkSum = 0;
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x)
            shrunkSum += shrunk->GetPixel(x, y).GetAlpha();
    EXPECT_NEAR(shrunkSum * 12, sum, sum * 0.01);

    qs::Reference<ilSmartImage> enlarged(new ilSmartImage(ilPixel::Rgba(0, 0, 0, 0)));
    PaintOps enlarger(enlarged);
    enlarger.draw_image(0, 0, 360, 360, *source, 0, 0, 3, 3);
    for (int i = 1; i < 119; ++i)  // the middle of each enlarged pixel is the pixel itself
        EXPECT_EQ(enlarged->GetPixel(3 * i + 1, 3 * i + 1), source->GetPixel(i, i));
}

TEST(PaintOps, InvertingTwiceRestoresAndStaysWithinTheClip)
{
    Random random(8);
    const qs::Reference<ilSmartImage> image = MakeRandomImage(random, 4);
    const qs::Reference<ilMIOImage> before = image->Snapshot();
    qs::Reference<ilSmartImage> clip(new ilSmartImage(ilPixel::Coverage(0)));
    clip->fillTile({-20, -20, 70, 70}, ilPixel::Coverage(255));
    PaintOps painter(image);
    painter.set_clip_image(clip);
    painter.set_paint_mode(PaintOps::PaintMode::ColorInvert);
    painter.rect_fill(-100, -100, 200, 200, ilPixel());
    const ilPixel was = before->GetPixel(0, 0);
    EXPECT_EQ(image->GetPixel(0, 0).GetComponent(0), was.GetAlpha() - was.GetComponent(0));
    EXPECT_EQ(image->GetPixel(-21, 0), before->GetPixel(-21, 0));
    painter.rect_fill(-100, -100, 200, 200, ilPixel());
    EXPECT_EQ(FirstDifference(*image, *before, {-180, -180, 360, 360}), "");
}

TEST(PaintOps, WhatIsDrawnIsToldAsDamageAndANewTargetKnowsNothingOfTheOldOne)
{
    const ilTile tile(5, 6, 70, 8);
    const ilPixel veil = ilPixel::Rgba(40, 20, 0, 100);
    qs::Reference<ilSmartImage> image(new ilSmartImage(ilPixel())), source(new ilSmartImage(ilPixel()));
    image->fillTile(tile, ilPixel::Rgba(0, 0, 255, 255));
    source->fillTile({0, 0, 100, 100}, veil);
    SoftPaintOps painter(image);
    painter.blend_func(1, 7);
    painter.rect_fill(tile.x, tile.y, tile.nx, tile.ny, veil);
    EXPECT_EQ(image->GetPixel(6, 7), ilPixel::Rgba(40, 20, 155, 255)) << "painted over, not stored";
    for (const float scale : {0.0F, 1.0F, 2.0F}) {
        if (scale > 0)
            painter.draw_image(tile.x, tile.y, tile.nx, tile.ny, *source, 0, 0, scale, scale);
        ilTile damaged;
        EXPECT_TRUE(painter.getNextDamagedTile(damaged) && damaged == tile) << scale;
        EXPECT_FALSE(painter.getNextDamagedTile(damaged));
    }
    painter.set_clip_image(qs::Reference<ilSmartImage>(new ilSmartImage(ilPixel::Coverage(0))));
    painter.GetLowOrderBitImage()->SetPixel(1, 1, veil);
    painter.DamageTile(tile);
    qs::Reference<ilSmartImage> other(new ilSmartImage(ilPixel()));
    painter.set_target_img(other);
    EXPECT_TRUE(painter.previewDamage().IsEmpty() && painter.GetLowOrderBitImage()->IsEmpty());
    painter.rect_fill(0, 0, 9, 9, veil);
    EXPECT_EQ(other->GetPixel(3, 3), veil) << "not clipped any more";
    painter.GetLowOrderBitImage()->SetPixel(1, 1, veil);
    painter.EndOperation();
    EXPECT_TRUE(painter.GetLowOrderBitImage()->IsEmpty());
}
