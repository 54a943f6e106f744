#include "platform/imaging/regions/FloodFillOperation.h"
#include "tests/support/RandomImages.h"

#include "platform/imaging/regions/ColorMatch.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <vector>

namespace {

using Image = qs::Reference<ilSmartImage>;
constexpr ilPixel kWhite = ilPixel::Rgba(255, 255, 255, 255);
constexpr ilPixel kBlack = ilPixel::Rgba(0, 0, 0, 255);

Image MakeImage(int channels)
{
    return Image(new ilSmartImage(ilPixel(kUnsignedByte, channels)));
}

/// A picture that is hard to walk through, white and black; (0, 0) is white.
Image MakeWalls(int kind, const ilTile& area)
{
    const Image image = MakeImage(4);
    const auto isWall = [&](int x, int y) {
        const int dx = std::abs(x), dy = std::abs(y), ring = std::max(dx, dy);
        switch (kind) {
        case 0: return (x & 3) == 2 && ((x & 4) != 0 ? y > area.y : y < area.Bottom() - 1);  // serpentine, upright
        case 1: return (y & 1) == 1 && ((y & 2) != 0 ? x > area.x : x < area.Right() - 1);  // serpentine, lying
        case 2: return (x & 1) == 1 && y != 0;  // comb
        case 3: return ((x + y) & 1) != 0;  // checkerboard
        case 4: return ring % 3 == 2 && !(x == ring && dy == 0 && ring % 2 == 0) && !(y == -ring && dx == 1);  // rings
        default: return ((x * 7 + y * 13) & 31) == 5;  // slanting dots
        }
    };
    for (int y = area.y; y < area.Bottom(); ++y)
        for (int x = area.x; x < area.Right(); ++x)
            image->SetPixel(x, y, isWall(x, y) ? kBlack : kWhite);
    return image;
}

/// The flood by its definition, one pixel after the other: the coverage of `area`, row by row.
std::vector<bool> PlainFlood(const ilImage& image, const ilTile& area, float tolerance, int x, int y,
                             const std::function<bool(int, int)>& isSelected)
{
    std::vector<bool> reached(static_cast<size_t>(area.Area()));
    const ColorMatch match(image.GetPixel(x, y), tolerance);
    std::vector<std::pair<int, int>> open = {{x, y}};
    while (!open.empty()) {
        const auto [px, py] = open.back();
        open.pop_back();
        if (!area.Contains(px, py) || !isSelected(px, py) || !match.IsLike(image.GetPixel(px, py).GetPacked()))
            continue;
        const auto at = static_cast<size_t>((py - area.y) * area.nx + px - area.x);
        if (reached[at])
            continue;
        reached[at] = true;
        for (const auto& next : {std::pair(px + 1, py), {px - 1, py}, {px, py + 1}, {px, py - 1}})
            open.push_back(next);
    }
    return reached;
}

TEST(FloodFill, ReachesAndPaintsWhatAPlainFloodDoes)
{
    Random random(5);
    for (int round = 0; round < 72; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const int channels = round % 4 == 3 ? 1 : 4;
        const ilTile area(random.Int(-150, -60), random.Int(-150, -60), random.Int(160, 250), random.Int(160, 250));
        const Image source = round % 2 == 0 ? MakeWalls(round / 2 % 6, area) : MakeRandomImage(random, channels);
        for (int i = 0; i < round % 5; ++i)
            source->fillTile({64 * random.Int(-2, 1), 64 * random.Int(-2, 1), 64, 64}, source->GetPixel(0, 0));
        const float tolerances[] = {0, 0.02F, 0.3F, 0.7F, 1};
        const float tolerance = tolerances[random.Int(0, 4)];
        const int x = round % 3 == 0 ? 0 : random.Int(area.x, static_cast<int>(area.Right()) - 1);
        const int y = round % 3 == 0 ? 0 : random.Int(area.y, static_cast<int>(area.Bottom()) - 1);

        const bool hasSelection = random.OneIn(3);
        const int sx = random.Int(-70, 70), sy = random.Int(-70, 70);
        const Image selection = MakeRandomImage(random, 1);
        const auto selected = [&](int px, int py) {
            return hasSelection ? selection->GetPixel(px - sx, py - sy).GetPacked() : 255;
        };
        const int targetChannels = random.OneIn(2) ? 1 : 4;
        const int dx = random.OneIn(2) ? 64 : random.Int(-100, 100), dy = random.OneIn(2) ? -64 : random.Int(-9, 9);
        const Image target = MakeRandomImage(random, targetChannels);
        const qs::Reference<ilMIOImage> before = target->Snapshot();

        CachedSmartImage from(source), to(target);
        const PaintColor color(0.2F, 0.6F, 0.9F, 0.8F);
        FloodFillOperation fill(from, to, area, tolerance, color);
        fill.SetTargetOffset(dx, dy);
        if (hasSelection)
            fill.SetSelection(selection, sx, sy);
        ASSERT_EQ(fill.DoFlood(x, y), selected(x, y) != 0);

        const std::vector<bool> reached =
            PlainFlood(*source, area, tolerance, x, y, [&](int px, int py) { return selected(px, py) != 0; });
        const ilPixel painted = targetChannels == 4 ? color.Premultiplied() : ilPixel::Coverage(204);
        const FloodRegion& region = fill.GetRegion();
        ASSERT_EQ(region.CountPixels(), std::count(reached.begin(), reached.end(), true));
        ilTile bounds;
        for (int py = area.y - 3; py < area.Bottom() + 3; ++py)
            for (int px = area.x - 3; px < area.Right() + 3; ++px) {
                const bool isReached =
                    area.Contains(px, py) && reached[static_cast<size_t>((py - area.y) * area.nx + px - area.x)];
                bounds = ilTileUnion(bounds, isReached ? ilTile(px, py, 1, 1) : ilTile());
                ASSERT_EQ(region.GetCoverage(px, py), isReached ? 255 : 0) << px << ", " << py;
                const ilPixel old = before->GetPixel(px + dx, py + dy), now = target->GetPixel(px + dx, py + dy);
                const double weight = isReached ? static_cast<double>(selected(px, py)) / 255 : 0;
                for (int c = 0; c < targetChannels; ++c) {
                    const double moved = old.GetComponent(c) + weight * (painted.GetComponent(c) - old.GetComponent(c));
                    ASSERT_NEAR(now.GetComponent(c), moved, weight == 0 || weight == 1 ? 0 : 0.52) << px << ", " << py;
                }
            }
        EXPECT_EQ(region.GetBounds(), bounds);
    }
}

TEST(FloodFill, OfUniformPagesTakesNoPixelMemory)
{
    constexpr ilTile kCanvas(-640, 0, 4096, 4096);
    const Image image = MakeImage(4), mask = MakeImage(1);
    image->fillTile({0, 0, 512, 512}, kWhite);
    CachedSmartImage from(image), into(image), to(mask);
    FloodFillOperation outside(from, into, kCanvas, 0, PaintColor(1, 0, 0));
    ASSERT_TRUE(outside.DoFlood(-1, 5));
    FloodFillOperation all(from, to, kCanvas, 1, PaintColor());
    all.SetTargetOffset(10, 7);
    ASSERT_TRUE(all.DoFlood(3, 3));
    EXPECT_EQ(outside.GetRegion().GetAllocatedBytes() + all.GetRegion().GetAllocatedBytes(), 0U);
    EXPECT_EQ(outside.GetRegion().CountPixels() + 512 * 512, all.GetRegion().CountPixels());
    EXPECT_EQ(image->GetAllocatedBytes(), 0U);
    EXPECT_LE(mask->GetAllocatedBytes(), 4U * 65 * kPagePixels);  // the rim alone
    EXPECT_EQ(image->GetPixel(-640, 4095), ilPixel::Rgba(255, 0, 0, 255));
    EXPECT_EQ(image->GetPixel(-641, 0).GetPacked() | image->GetPixel(0, 4096).GetPacked(), 0U);
}

TEST(FloodFill, RefusesWhatItCannotDoAndTouchesNothing)
{
    constexpr ilTile kArea(0, 0, 100, 100);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const Image image = MakeImage(4), selection = MakeImage(1);
    image->fillTile({5, 5, 70, 70}, kWhite);
    const qs::Reference<ilMIOImage> before = image->Snapshot();
    CachedSmartImage from(image), to(image);
    const PaintColor red(1, 0, 0), bad(nan, 0, 0);
    for (const auto& [area, tolerance, color, x, y] : {std::tuple(kArea, nan, red, 9, 9),
                                                       {kArea, -1.0F, red, 9, 9},
                                                       {kArea, 0.0F, bad, 9, 9},
                                                       {ilTile(), 0.0F, red, 0, 0},
                                                       {kArea, 0.0F, red, -1, 5},
                                                       {kArea, 0.0F, red, 5, 100},
                                                       {kArea, 0.0F, red, INT32_MIN, INT32_MAX}})
        EXPECT_FALSE(FloodFillOperation(from, to, area, tolerance, color).DoFlood(x, y)) << x << ", " << y;
    for (const int far : {INT32_MIN, -(1 << 30), INT32_MAX - 100}) {
        EXPECT_FALSE(FloodFillOperation(from, to, {far, 0, 100, 100}, 0, red).DoFlood(far + 9, 9));
        FloodFillOperation away(from, to, kArea, 0, red);
        away.SetTargetOffset(0, far);
        EXPECT_FALSE(away.DoFlood(9, 9));
    }
    FloodFillOperation unselected(from, to, kArea, 0, red);
    unselected.SetSelection(selection, 0, 0);
    EXPECT_FALSE(unselected.DoFlood(9, 9));
    EXPECT_TRUE(image->SharesPageWith(*before, 0, 0) && image->SharesPageWith(*before, 1, 1));
}

// --- soft edges ---

/// A disc of paper within a ring of ink with soft edges, on paper: each pixel is the exact mixture of the two.
struct Drawing {
    double radius, halfWidth, softness;  // of the ring; pixels
    ilPixel ink;

    double InkAt(double x, double y) const
    {
        return std::clamp((halfWidth + softness / 2 - std::abs(std::hypot(x, y) - radius)) / softness, 0.0, 1.0);
    }

    /// paper: within the ring's middle line, and outside it.
    Image Draw(const ilPixel& inside, const ilPixel& outside, int originX, int originY) const
    {
        const Image image = MakeImage(ink.GetNumChannels());
        image->SetFillValue(outside);
        for (int y = -50; y < 50; ++y)
            for (int x = -50; x < 50; ++x) {
                const double share = InkAt(x + 0.5, y + 0.5);
                const ilPixel& paper = std::hypot(x + 0.5, y + 0.5) < radius ? inside : outside;
                uint32_t packed = 0;
                for (int c = 0; c < ink.GetNumChannels(); ++c)
                    packed |=
                        static_cast<uint32_t>(ink.GetComponent(c) * share + paper.GetComponent(c) * (1 - share) + 0.5)
                        << (8 * c);
                image->SetPixel(originX + x, originY + y, ilPixel(kUnsignedByte, ink.GetNumChannels(), packed));
            }
        return image;
    }
};

/// Fills the drawing's disc; the coverage of the region comes back in `mask`.
void FillDisc(const Image& image, const Image& mask, const ilPixel& value, int originX, int originY)
{
    const double alpha = std::max<double>(value.GetAlpha(), 1);
    const PaintColor color(static_cast<float>(value.GetComponent(0) / alpha),
                           static_cast<float>(value.GetComponent(1) / alpha),
                           static_cast<float>(value.GetComponent(2) / alpha), value.GetAlpha() / 255.0F);
    CachedSmartImage from(image), into(image), to(mask);
    for (CachedSmartImage* target : {&to, &into}) {
        FloodFillOperation fill(from, *target, {originX - 50, originY - 50, 100, 100}, 0.02F,
                                target == &into ? color : PaintColor());
        fill.SetSmooth(true);
        ASSERT_TRUE(fill.DoFlood(originX, originY));
    }
}

TEST(SmoothFill, LeavesThePictureAsIfItHadBeenDrawnOnTheNewColour)
{
    const ilPixel transparent = ilPixel::Rgba(0, 0, 0, 0);
    const ilPixel red = ilPixel::Rgba(230, 40, 20, 255), veil = ilPixel::Rgba(50, 20, 90, 100);
    struct Case {
        Drawing drawing;
        ilPixel paper, value;
        int allowed = 8;  // what lies within the tolerance of the flood counts as paper
    };
    const Case cases[] = {
        {{30, 1.5, 1, kBlack}, kWhite, red},
        {{30, 1.5, 1, kBlack}, transparent, red},
        {{30, 4, 6, kBlack}, kWhite, red},
        {{30, 4, 6, kBlack}, transparent, veil},
        {{28, 3, 4, veil}, kWhite, red},
        {{28, 3, 4, red}, veil, transparent},
        {{30, 2.5, 3, ilPixel::Coverage(255)}, ilPixel::Coverage(0), ilPixel::Coverage(140)},
        {{30, 2.5, 3, ilPixel::Coverage(20)}, ilPixel::Coverage(220), ilPixel::Coverage(0)},
        // An outline that is nowhere pure ink: how much of a pixel is ink cannot be known.
        {{30, 3, 6, kBlack}, kWhite, red, 24},
        {{30, 3, 6, kBlack}, transparent, red, 24},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE("case " + std::to_string(i));
        const auto& [drawing, paper, value, allowed] = cases[i];
        const Image image = drawing.Draw(paper, paper, 3, -2), mask = MakeImage(1);
        FillDisc(image, mask, value, 3, -2);
        EXPECT_EQ(FirstDifference(*image, *drawing.Draw(value, paper, 3, -2), {-47, -52, 100, 100}, allowed), "");
        const Image share = MakeImage(1);
        for (int y = -50; y < 50; ++y)
            for (int x = -50; x < 50; ++x)
                if (std::hypot(x + 0.5, y + 0.5) < drawing.radius)
                    share->SetPixel(
                        3 + x, y - 2,
                        ilPixel::Coverage(static_cast<uint8_t>(255 * (1 - drawing.InkAt(x + 0.5, y + 0.5)) + 0.5)));
        EXPECT_EQ(FirstDifference(*mask, *share, {-47, -52, 100, 100}, allowed + 1), "");
    }
}

TEST(SmoothFill, IsTheSameWhereverThePagesAreCut)
{
    const Drawing drawing = {29, 2.5, 9, kBlack};
    const Image first = MakeImage(1);
    FillDisc(drawing.Draw(kWhite, kWhite, 32, 32), first, kBlack, 32, 32);
    EXPECT_GT(first->GetPixel(32, 4).GetPacked(), 0U);
    Random random(9);
    for (int round = 0; round < 12; ++round) {
        const int x = random.Int(-90, 90), y = random.Int(-90, 90);
        const Image mask = MakeImage(1);
        FillDisc(drawing.Draw(kWhite, kWhite, x, y), mask, kBlack, x, y);
        const ilSmartImage moved(*mask, 32 - x, 32 - y);
        ASSERT_EQ(FirstDifference(moved, *first, {-18, -18, 100, 100}), "") << x << ", " << y;
    }
}

TEST(SmoothFill, AddsNothingAtHardEdgesAndKeepsToTheArea)
{
    const ilTile area(-100, -100, 180, 170);
    for (int kind = 0; kind < 4; ++kind) {
        const Image walls = MakeWalls(kind, area), hard = MakeImage(1), soft = MakeImage(1);
        CachedSmartImage from(walls), toHard(hard), toSoft(soft);
        ASSERT_TRUE(FloodFillOperation(from, toHard, area, 0, PaintColor()).DoFlood(0, 0));
        FloodFillOperation smooth(from, toSoft, area, 0, PaintColor());
        smooth.SetSmooth(true);
        ASSERT_TRUE(smooth.DoFlood(0, 0));
        EXPECT_EQ(FirstDifference(*soft, *hard, area), "") << kind;
    }
    const Image ramp = MakeImage(4), mask = MakeImage(1);
    for (int x = 0; x < 20; ++x)
        ramp->fillTile({x, 0, 1, 40}, ilPixel::Rgba(0, 0, 0, static_cast<uint8_t>(10 * x)));
    CachedSmartImage from(ramp), to(mask);
    FloodFillOperation fill(from, to, {-8, 5, 11, 20}, 0, PaintColor());
    fill.SetSmooth(true);
    ASSERT_TRUE(fill.DoFlood(-5, 10));
    EXPECT_EQ(fill.GetRegion().GetBounds(), ilTile(-8, 5, 10, 20));  // column 2 is the end of what can be seen
}

TEST(FloodFill, GrowsByADiscWithinTheArea)
{
    const ilTile area(-100, -90, 200, 180);
    for (const int growth : {0, 1, 3, 20}) {
        Random random(5);
        for (int round = 0; round < 4; ++round) {
            const Image source = MakeImage(4), mask = MakeImage(1);
            for (int i = 0; i < 12; ++i)
                source->fillTile(random.Tile(-100, 60, 60), i % 2 == 0 ? kBlack : kWhite);
            source->fillTile({-3, -3, 6, 6}, kWhite);
            CachedSmartImage from(source), to(mask);
            FloodFillOperation fill(from, to, area, 0, PaintColor());
            ASSERT_TRUE(fill.DoFlood(0, 0));
            const Image grown = MakeImage(1);
            CachedSmartImage toGrown(grown);
            FloodFillOperation wide(from, toGrown, area, 0, PaintColor());
            wide.SetGrowth(growth);
            ASSERT_TRUE(wide.DoFlood(0, 0));
            for (int y = area.y; y < area.Bottom(); ++y)
                for (int x = area.x; x < area.Right(); ++x) {
                    int nearest = INT32_MAX;  // squared distance to the plain region
                    for (int dy = -growth - 1; dy <= growth + 1; ++dy)
                        for (int dx = -growth - 1; dx <= growth + 1; ++dx)
                            if (area.Contains(x + dx, y + dy) && fill.GetRegion().GetCoverage(x + dx, y + dy) != 0)
                                nearest = std::min(nearest, dx * dx + dy * dy);
                    const int coverage = grown->GetPixel(x, y).GetAlpha();
                    const bool isNear = nearest <= growth * growth;
                    if (isNear || nearest > (growth + 1) * (growth + 1)) {
                        ASSERT_EQ(coverage, isNear ? 255 : 0) << x << ", " << y << ", growth " << growth;
                    }
                }
            EXPECT_EQ(FirstDifference(*grown, *MakeImage(1), {-400, -400, 290, 800}), "") << "outside the area";
        }
    }
}

}  // namespace
