#include "tests/support/RandomImages.h"

#include "platform/imaging/pages/PageAllocator.h"
#include "platform/imaging/pages/ilMemoryImg.h"

#include <gtest/gtest.h>

#include <new>
#include <vector>

namespace {

constexpr int kLow = -210;
constexpr int kHigh = 210;
constexpr ilTile kArea{kLow, kLow, kHigh - kLow, kHigh - kLow};

/// The same operations on a plain array.
class PlainImage {
public:
    explicit PlainImage(const ilPixel& fill) : pixels_(kArea.Area(), fill.GetPacked()), fill_(fill) {}

    uint32_t& At(int x, int y) { return pixels_[static_cast<size_t>((y - kLow) * kArea.nx + (x - kLow))]; }
    void Fill(const ilTile& tile, const ilPixel& value)
    {
        const ilTile inside = ilTileIntersection(tile, kArea);
        for (int y = inside.y; y < inside.Bottom(); ++y)
            for (int x = inside.x; x < inside.Right(); ++x)
                At(x, y) = value.GetPacked();
    }
    void Copy(int x, int y, int nx, int ny, PlainImage& source, int sx, int sy)
    {
        for (int j = 0; j < ny; ++j)
            for (int i = 0; i < nx; ++i)
                if (kArea.Contains(x + i, y + j))
                    At(x + i, y + j) =
                        kArea.Contains(sx + i, sy + j) ? source.At(sx + i, sy + j) : source.fill_.GetPacked();
    }
    ilTile PaintedBox()
    {
        ilTile box;
        for (int y = kLow; y < kHigh; ++y)
            for (int x = kLow; x < kHigh; ++x)
                if (At(x, y) != fill_.GetPacked())
                    box = ilTileUnion(box, {x, y, 1, 1});
        return box;
    }
    void ExpectEqual(const ilImage& image)
    {
        for (int y = kLow; y < kHigh; ++y)
            for (int x = kLow; x < kHigh; ++x)
                ASSERT_EQ(image.GetPixel(x, y).GetPacked(), At(x, y)) << x << ", " << y;
    }

private:
    std::vector<uint32_t> pixels_;
    ilPixel fill_;
};

class FailingMemory final : public PageMemoryPort {
public:
    uint8_t* Allocate(size_t) override { throw std::bad_alloc(); }
    void Free(uint8_t* block, size_t bytes) noexcept override
    {
        PageAllocator::SetPort(nullptr);
        PageAllocator::Free(block, bytes);
        PageAllocator::SetPort(this);
    }
};

class PagedImage : public testing::TestWithParam<int> {};

}  // namespace

TEST_P(PagedImage, AgreesWithAPlainArrayAndLeavesSnapshotsAlone)
{
    const int channels = GetParam();
    for (unsigned seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const ilPixel fill = random.OneIn(3) ? random.Pixel(channels) : ilPixel(kUnsignedByte, channels);
        ilSmartImage image(fill);
        ilSmartImage other(fill);
        PlainImage plain(fill);
        PlainImage plainOther(fill);
        std::vector<std::pair<qs::Reference<ilMIOImage>, PlainImage>> snapshots;
        for (int step = 0; step < 60; ++step) {
            const ilTile tile = random.Tile(-150, 60, 150);
            const ilPixel value = random.OneIn(4) ? fill : random.Pixel(channels);
            const int shift = random.OneIn(2) ? 64 * random.Int(-1, 1) : random.Int(-40, 40);
            switch (random.Int(0, 6)) {
            case 0: image.fillTile(tile, value), plain.Fill(tile, value); break;
            case 1: other.fillTile(tile, value), plainOther.Fill(tile, value); break;
            case 2: image.SetPixel(tile.x, tile.y, value), plain.Fill({tile.x, tile.y, 1, 1}, value); break;
            case 3:
                image.copyTile3D(tile.x, tile.y, 0, tile.nx, tile.ny, 1, other, tile.x + shift, tile.y, 0);
                plain.Copy(tile.x, tile.y, tile.nx, tile.ny, plainOther, tile.x + shift, tile.y);
                break;
            case 4: {
                const ilTile pages{-64, 64 * random.Int(-2, 1), 128, 64};
                image.fillTile(pages, value), plain.Fill(pages, value);
                break;
            }
            case 5: snapshots.emplace_back(image.Snapshot(), plain); break;
            case 6:
                image.ForceShrinkAttempt();
                ASSERT_EQ(image.GetBounds(), plain.PaintedBox());
                break;
            default: break;
            }
        }
        plain.ExpectEqual(image);
        for (auto& [snapshot, before] : snapshots)
            before.ExpectEqual(*snapshot);
    }
}
INSTANTIATE_TEST_SUITE_P(Channels, PagedImage, testing::Values(1, 4));

TEST(PagedImage, SnapshotsShareEveryPageUntilOneIsWritten)
{
    ilSmartImage image(ilPixel::Rgba(0, 0, 0, 0));
    for (int i = 0; i < 100; ++i)
        image.SetPixel(64 * i, 64 * i, ilPixel::Rgba(1, 2, 3, 4));
    const size_t before = PageAllocator::GetBytesInUse();
    const qs::Reference<ilMIOImage> snapshot = image.Snapshot();
    EXPECT_EQ(PageAllocator::GetBytesInUse(), before);
    image.SetPixel(0, 1, ilPixel::Rgba(9, 9, 9, 9));
    EXPECT_EQ(PageAllocator::GetBytesInUse(), before + 16384);
    image.GetPixel(640, 640);
    EXPECT_TRUE(image.SharesPageWith(*snapshot, 10, 10));
    EXPECT_FALSE(image.SharesPageWith(*snapshot, 0, 0));
}

TEST(PagedImage, WholePageFillsAndClearsHoldNoPixelMemory)
{
    const size_t before = PageAllocator::GetBytesInUse();
    ilSmartImage image(ilPixel::Rgba(0, 0, 0, 0));
    image.fillTile({0, 0, 16384, 16384}, ilPixel::Rgba(10, 20, 30, 255));
    EXPECT_EQ(PageAllocator::GetBytesInUse(), before);
    EXPECT_EQ(image.GetPixel(16383, 16383), ilPixel::Rgba(10, 20, 30, 255));
    image.fillTile({-1000000, -1000000, 2000000, 2000000}, ilPixel::Rgba(0, 0, 0, 0));
    EXPECT_TRUE(image.GetPageCount() == 0);
    EXPECT_TRUE(image.GetBounds().IsEmpty());
}

TEST(PagedImage, PixelsFarApartCostTheirPagesOnly)
{
    const size_t before = PageAllocator::GetBytesInUse();
    ilSmartImage image(ilPixel::Coverage(0));
    const int far = 1'000'000'000;
    for (const auto& [x, y] : {std::pair{-far, -far}, {far, -far}, {-far, far}, {far, far}, {0, 0}})
        image.SetPixel(x, y, ilPixel::Coverage(7));
    EXPECT_EQ(image.GetPixel(far, -far), ilPixel::Coverage(7));
    EXPECT_EQ(image.GetPixel(far - 1, -far), ilPixel::Coverage(0));
    EXPECT_EQ(PageAllocator::GetBytesInUse(), before + 5 * 4096);
    EXPECT_TRUE(image.GetBounds().Contains(-far, far));
}

TEST(PagedImage, RunningOutOfMemoryLeavesTheImageAsItWas)
{
    Random random(3);
    const qs::Reference<ilSmartImage> image = MakeRandomImage(random, 4);
    const qs::Reference<ilMIOImage> before = image->Snapshot();
    FailingMemory failing;
    PageMemoryPort* previous = PageAllocator::SetPort(&failing);
    EXPECT_THROW(image->SetPixel(5, 5, ilPixel::Rgba(1, 1, 1, 1)), std::bad_alloc);
    EXPECT_THROW(image->SetPixel(50000, 5, ilPixel::Rgba(1, 1, 1, 1)), std::bad_alloc);
    PageAllocator::SetPort(previous);
    EXPECT_EQ(FirstDifference(*image, *before, kArea), "");
    EXPECT_EQ(image->GetBounds(), before->GetBounds());
    image->SetPixel(50000, 5, ilPixel::Rgba(1, 1, 1, 1));
    EXPECT_EQ(image->GetPixel(50000, 5), ilPixel::Rgba(1, 1, 1, 1));
}

TEST(PagedImage, ReferenceSeedPagesSharesTheAreaAndNothingElse)
{
    Random random(11);
    const qs::Reference<ilSmartImage> source = MakeRandomImage(random, 4);
    const qs::Reference<ilSmartImage> image = MakeRandomImage(random, 4);
    const qs::Reference<ilMIOImage> before = image->Snapshot();
    const ilTile area(-64, -128, 128, 192);
    image->ReferenceSeedPages(*source, area);
    EXPECT_EQ(FirstDifference(*image, *source, area), "");
    EXPECT_EQ(FirstDifference(*image, *before, {64, -200, 120, 400}), "");
    EXPECT_TRUE(image->SharesPageWith(*source, -1, -1));
}

TEST(MemoryImage, CopiesBetweenKindsAndTurnsBack)
{
    Random random(5);
    const qs::Reference<ilSmartImage> paged = MakeRandomImage(random, 4);
    ilMemoryImg memory(150, 90, 4);
    memory.copyTile3D(0, 0, 0, 150, 90, 1, *paged, -60, -20, 0);
    ilSmartImage back(ilPixel::Rgba(0, 0, 0, 0));
    back.copyTile3D(-60, -20, 0, 150, 90, 1, memory, 0, 0, 0);
    EXPECT_EQ(FirstDifference(back, *paged, {-60, -20, 150, 90}), "");

    const qs::Reference<ilMemoryImg> turned = memory.TurnedQuarter(true);
    EXPECT_EQ(turned->GetPixel(89, 0), memory.GetPixel(0, 0));
    EXPECT_EQ(FirstDifference(*turned->TurnedQuarter(false), memory, memory.GetBounds()), "");
    const qs::Reference<ilMemoryImg> half = turned->TurnedQuarter(true);
    EXPECT_EQ(FirstDifference(*half->TurnedQuarter(true)->TurnedQuarter(true), memory, memory.GetBounds()), "");
}

TEST(MemoryImage, CellsAreBlankUntilWrittenAndAgainWhenCleared)
{
    ilMemoryImg image(200, 130, 4);
    EXPECT_TRUE(image.IsCellBlank(3, 2));
    image.fillTile({190, 120, 50, 50}, ilPixel::Rgba(1, 1, 1, 1));
    EXPECT_FALSE(image.IsCellBlank(3, 1));
    EXPECT_FALSE(image.IsCellBlank(2, 2));
    EXPECT_TRUE(image.IsCellBlank(0, 0));
    image.fillTile({0, 0, 200, 128}, ilPixel());
    EXPECT_TRUE(image.IsCellBlank(3, 1));
    EXPECT_FALSE(image.IsCellBlank(3, 2));
    EXPECT_EQ(image.GetPixel(199, 127), ilPixel());
    EXPECT_EQ(image.GetPixel(199, 129), ilPixel::Rgba(1, 1, 1, 1));
}
