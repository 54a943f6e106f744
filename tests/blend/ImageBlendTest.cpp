#include "tests/support/RandomImages.h"

#include "platform/imaging/blend/ComposePages.h"
#include "platform/imaging/blend/ImageBlend.h"
#include "platform/imaging/pages/PageWalk.h"
#include "platform/imaging/pages/ilMemoryImg.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr ilTile kArea{-180, -180, 360, 360};

double FactorOf(int factor, double s, double sa, double d, double da)
{
    switch (factor) {
    case kFactorZero: return 0;
    case kFactorOne: return 1;
    case kFactorDestinationColor: return d;
    case kFactorOneMinusDestinationColor: return 1 - d;
    case kFactorDestinationAlpha: return da;
    case kFactorOneMinusDestinationAlpha: return 1 - da;
    case kFactorSourceAlpha: return sa;
    default: return 1 - sa;
    }
    (void)s;
}

/// result = cover·(s·S + d·D) + (1 - cover)·D in real numbers, S weighted.
double Expected(const ilPixel& source, const ilPixel& dest, int c, const ImageBlend& blend, double cover)
{
    const int last = source.GetNumChannels() - 1;
    const double alphaWeight = blend.alphaWeight / 65535.0;
    const double weight = c < last ? alphaWeight * (blend.colorWeight / 65535.0) : alphaWeight;
    const double s = source.GetComponent(c) / 255.0 * weight;
    const double sa = source.GetComponent(last) / 255.0 * alphaWeight;
    const double d = dest.GetComponent(c) / 255.0;
    const double da = dest.GetComponent(last) / 255.0;
    const double blended =
        FactorOf(blend.sourceFactor, s, sa, d, da) * s + FactorOf(blend.destinationFactor, s, sa, d, da) * d;
    return 255 * (cover * std::min(blended, 1.0) + (1 - cover) * d);
}

void ExpectBlend(const ilImage& result, const ilImage& before, const ilImage& source, const ilTile& tile, int sx,
                 int sy, const ImageBlend& blend)
{
    for (int y = kArea.y; y < kArea.Bottom(); ++y)
        for (int x = kArea.x; x < kArea.Right(); ++x) {
            const ilPixel dest = before.GetPixel(x, y);
            const ilPixel got = result.GetPixel(x, y);
            if (!tile.Contains(x, y)) {
                ASSERT_EQ(got, dest) << x << ", " << y;
                continue;
            }
            const ilPixel from = source.GetPixel(sx + x - tile.x, sy + y - tile.y);
            const double cover =
                blend.coverage == nullptr
                    ? 1
                    : blend.coverage->GetPixel(x - blend.coverageX, y - blend.coverageY).GetComponent(0) / 255.0;
            for (int c = 0; c < got.GetNumChannels(); ++c)
                ASSERT_NEAR(got.GetComponent(c), Expected(from, dest, c, blend, cover), 1.01)
                    << x << ", " << y << " channel " << c;
        }
}

}  // namespace

TEST(ImageBlend, AgreesWithTheFormulaForAllFactorsWeightsOffsetsAndCoverages)
{
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const int channels = random.OneIn(3) ? 1 : 4;
        const qs::Reference<ilSmartImage> target = MakeRandomImage(random, channels);
        const qs::Reference<ilSmartImage> source = MakeRandomImage(random, channels);
        const qs::Reference<ilSmartImage> coverage = MakeRandomImage(random, 1);
        const qs::Reference<ilMIOImage> before = target->Snapshot();
        const std::pair<int, int> factors[] = {{1, 7}, {1, 0}, {0, 7}, {random.Int(0, 7), random.Int(0, 7)}};
        ImageBlend blend;
        std::tie(blend.sourceFactor, blend.destinationFactor) = factors[random.Int(0, 3)];
        blend.alphaWeight = random.OneIn(2) ? kernels::kFullWeight : static_cast<uint16_t>(random.Int(0, 65535));
        blend.colorWeight = random.OneIn(3) ? static_cast<uint16_t>(random.Int(0, 65535)) : kernels::kFullWeight;
        if (random.OneIn(2))
            blend.coverage = coverage.get(), blend.coverageX = random.Int(-70, 70), blend.coverageY = 13;
        const ilTile tile = random.Tile(-150, 0, 170);
        const int shift = random.OneIn(2) ? 64 : random.Int(-50, 50);
        BlendImage(*target, tile, *source, tile.x + shift, tile.y - shift, blend);
        ExpectBlend(*target, *before, *source, tile, tile.x + shift, tile.y - shift, blend);
        if (HasFatalFailure())
            return;
    }
}

TEST(ImageBlend, MemoryImagesBlendLikePagedOnes)
{
    for (unsigned seed = 1; seed <= 8; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const qs::Reference<ilSmartImage> paged = MakeRandomImage(random, 4);
        const qs::Reference<ilSmartImage> source = MakeRandomImage(random, 4);
        ilMemoryImg memory(170, 140, 4);
        memory.copyTile3D(0, 0, 0, 170, 140, 1, *paged, 0, 0, 0);
        ilMemoryImg memorySource(100, 100, 4);
        memorySource.copyTile3D(0, 0, 0, 100, 100, 1, *source, -50, -50, 0);
        ImageBlend blend;
        blend.alphaWeight = static_cast<uint16_t>(random.Int(0, 65535));
        BlendImage(memory, {10, 20, 100, 100}, memorySource, 0, 0, blend);
        BlendImage(*paged, {10, 20, 100, 100}, *source, -50, -50, blend);
        EXPECT_EQ(FirstDifference(memory, *paged, memory.GetBounds()), "");
    }
}

TEST(ImageBlend, WholePagesOverNothingAndOpaquePagesAreShared)
{
    ilSmartImage source(ilPixel::Rgba(0, 0, 0, 0));
    source.fillTile({0, 0, 64, 64}, ilPixel::Rgba(1, 2, 3, 128));
    source.SetPixel(3, 3, ilPixel::Rgba(9, 9, 9, 200));
    source.fillTile({64, 0, 64, 64}, ilPixel::Rgba(4, 5, 6, 255));
    source.SetPixel(70, 3, ilPixel::Rgba(9, 9, 9, 255));
    ilSmartImage target(ilPixel::Rgba(0, 0, 0, 0));
    target.fillTile({128, 64, 64, 64}, ilPixel::Rgba(50, 50, 50, 50));
    BlendImage(target, {64, 64, 128, 64}, source, 0, 0, {});
    EXPECT_EQ(target.SharePage(1, 1).get(), source.SharePage(0, 0).get());
    EXPECT_EQ(target.SharePage(2, 1).get(), source.SharePage(1, 0).get());
}

TEST(ComposePages, EqualsPaintingTheSourcesOneAfterTheOther)
{
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        std::vector<qs::Reference<ilSmartImage>> images;
        qs::vector<CompositeSource> sources;
        for (int i = random.Int(0, 5); i > 0; --i) {
            images.push_back(MakeRandomImage(random, 4));
            CompositeSource source;
            source.image = images.back().get();
            source.x = random.OneIn(2) ? 64 * random.Int(-1, 1) : random.Int(-30, 30);
            source.y = random.OneIn(2) ? 0 : random.Int(-30, 30);
            source.weight = random.OneIn(2) ? kernels::kFullWeight : static_cast<uint16_t>(random.Int(0, 65535));
            source.mode = random.OneIn(2) ? kBlendNormal : static_cast<LayerBlendMode>(random.Int(0, 16));
            if (random.OneIn(3)) {
                images.push_back(MakeRandomImage(random, 1));
                source.stencil = images.back().get();
                source.stencilX = random.Int(-20, 20);
            }
            sources.push_back(source);
        }
        const ilTile tile = random.OneIn(3) ? kArea : random.Tile(-100, 0, 130);
        const qs::Reference<ilSmartImage> target = MakeRandomImage(random, 4);
        const qs::Reference<ilMIOImage> expected = target->Snapshot();
        expected->fillTile(tile, ilPixel());
        for (const CompositeSource& source : sources) {
            const qs::Reference<ilMIOImage> shown = source.image->Snapshot();
            if (source.stencil != nullptr)
                HideThrough(*shown, {-400, -400, 800, 800}, *source.stencil, -400 + source.x - source.stencilX,
                            -400 + source.y - source.stencilY, kernels::kFullWeight);
            ImageBlend blend;
            blend.mode = source.mode;
            blend.alphaWeight = source.weight;
            BlendImage(*expected, tile, *shown, tile.x - source.x, tile.y - source.y, blend);
        }
        ComposePages(*target, tile, sources);
        ASSERT_EQ(FirstDifference(*target, *expected, kArea), "");
        ilMemoryImg plane(150, 150, 4);
        plane.fillTile({20, 20, 100, 100}, ilPixel::Rgba(1, 2, 3, 4));  // goes
        ComposePages(plane, kArea, sources);
        ComposePages(*target, kArea, sources);
        ASSERT_EQ(FirstDifference(plane, *target, plane.GetBounds()), "");
    }
}

TEST(ComposePages, ManyPagesAtOnceAreThePagesOneByOne)
{
    Random random(10);
    for (int round = 0; round < 8; ++round) {
        qs::vector<qs::Reference<ilSmartImage>> images;
        qs::vector<CompositeSource> sources(static_cast<size_t>(random.Int(1, 14)));
        for (CompositeSource& source : sources) {
            images.push_back(MakeRandomImage(random, 4, 600));
            for (int i = 0; i < 20; ++i)
                images.back()->fillTile(random.Tile(-300, 300, 300), random.Premultiplied());
            source.image = images.back().get();
            source.x = random.OneIn(4) ? random.Int(-70, 70) : 64 * random.Int(-1, 1);
            source.mode = random.OneIn(4) ? kBlendMultiply : kBlendNormal;
            source.weight = random.OneIn(4) ? kernels::Weight{40000} : kernels::kFullWeight;
        }
        const ilTile area(-320, -320, 640 + random.Int(0, 9), 640);
        ilSmartImage atOnce(ilPixel::Rgba(0, 0, 0, 0));
        ilSmartImage byPage(ilPixel::Rgba(0, 0, 0, 0));
        ilMemoryImg plane(645, 600, 4);
        ilMemoryImg planeByPage(645, 600, 4);
        ComposePages(atOnce, area, sources);
        ComposePages(plane, plane.GetBounds(), sources);
        ForEachPage(area, [&](int, int, const ilTile& part) { ComposePages(byPage, part, sources); });
        ForEachPage(plane.GetBounds(), [&](int, int, const ilTile& part) { ComposePages(planeByPage, part, sources); });
        ASSERT_EQ(FirstDifference(atOnce, byPage, area), "") << "round " << round;
        ASSERT_EQ(FirstDifference(plane, planeByPage, plane.GetBounds()), "") << "round " << round;
    }
}

TEST(ComposePages, SparseAndLargeTilesComposeAlikeAndSharePages)
{
    Random random(9);
    const qs::Reference<ilSmartImage> a = MakeRandomImage(random, 4);
    const qs::Reference<ilSmartImage> b = MakeRandomImage(random, 4);
    qs::vector<CompositeSource> sources(2);
    sources[0].image = a.get();
    sources[1].image = b.get();
    sources[1].x = 5000;
    ilSmartImage small(ilPixel::Rgba(0, 0, 0, 0));
    ilSmartImage large(ilPixel::Rgba(0, 0, 0, 0));
    large.fillTile({-3000, 1000, 500, 500}, ilPixel::Rgba(9, 9, 9, 9));  // stale content goes
    const ilTile pages(-512, -512, 1024, 1024);
    for (const ilTile& part : {pages, ilTile(4480, -512, 1024, 1024)})
        ComposePages(small, part, sources);
    ComposePages(large, {-100000, -100000, 200000, 200000}, sources);
    EXPECT_EQ(FirstDifference(small, large, kArea), "");
    EXPECT_EQ(FirstDifference(small, large, ilTileMoved(kArea, 5000, 0)), "");
    EXPECT_EQ(large.GetPageCount(), small.GetPageCount());
    EXPECT_TRUE(large.SharesPageWith(*a, 0, 0));
}
