#include "platform/imaging/regions/CoverageFilters.h"

#include "platform/base/Containers.h"
#include "platform/imaging/pages/PageWalk.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace {

constexpr int kMaxStripPages = 32;

/// Tells, for the pages of an area, whether all pixels near a page are 0 or all 255, by sums over the page grid.
class Surroundings {
public:
    Surroundings(const ilMIOImage& source, const ilTile& area, int reachPx)
        : left_(PageIndexOf(area.x)), top_(PageIndexOf(area.y)),
          columns_(PageIndexOf(static_cast<int>(area.Right() - 1)) - left_ + 1),
          rows_(PageIndexOf(static_cast<int>(area.Bottom() - 1)) - top_ + 1),
          reach_((reachPx + kPageSize - 1) / kPageSize), notBlank_(SumCount()), notFull_(SumCount())
    {
        ForEachPage(area, [&](int px, int py, const ilTile&) {
            const PageReader page = source.ReadPage(px, py);
            const PageContent content =
                page.IsMissing() ? source.GetContentOf(PageTile(px, py)) : page.GetPage()->GetContent();
            const size_t at = At(px - left_ + 1, py - top_ + 1);
            notBlank_[at] = content != PageContent::Transparent;
            notFull_[at] = content != PageContent::Opaque;
        });
        for (qs::vector<int>* sums : {&notBlank_, &notFull_})
            for (int y = 1; y <= rows_; ++y)
                for (int x = 1; x <= columns_; ++x)
                    (*sums)[At(x, y)] += (*sums)[At(x - 1, y)] + (*sums)[At(x, y - 1)] - (*sums)[At(x - 1, y - 1)];
    }

    /// Transparent, Opaque or Mixed.
    PageContent Around(int px, int py) const
    {
        if (SumAround(notBlank_, px, py) == 0)
            return PageContent::Transparent;
        return SumAround(notFull_, px, py) == 0 ? PageContent::Opaque : PageContent::Mixed;
    }

private:
    size_t SumCount() const { return static_cast<size_t>(columns_ + 1) * static_cast<size_t>(rows_ + 1); }
    size_t At(int x, int y) const
    {
        return static_cast<size_t>(y) * static_cast<size_t>(columns_ + 1) + static_cast<size_t>(x);
    }
    int SumAround(const qs::vector<int>& sums, int px, int py) const
    {
        const int x0 = std::max(px - left_ - reach_, 0);
        const int y0 = std::max(py - top_ - reach_, 0);
        const int x1 = std::min(px - left_ + reach_ + 1, columns_);
        const int y1 = std::min(py - top_ + reach_ + 1, rows_);
        return sums[At(x1, y1)] - sums[At(x0, y1)] - sums[At(x1, y0)] + sums[At(x0, y0)];
    }

    int left_, top_, columns_, rows_;
    int reach_;  // pages
    qs::vector<int> notBlank_;
    qs::vector<int> notFull_;
};

/// Runs work(strip, out) for each strip of pages below each other whose surroundings are mixed: `out` takes the strip's
/// rows, kPageSize bytes apart, and begins as zeros. Other pages become what surrounds them.
template <class Work>
qs::Reference<ilSmartImage> FilterStrips(const ilMIOImage& source, const ilTile& area, int reachPx, Work&& work)
{
    const qs::Reference<ilSmartImage> result(new ilSmartImage(ilPixel::Coverage(0)));
    if (area.IsEmpty())
        return result;
    const Surroundings surroundings(source, area, reachPx);
    const int bottom = PageIndexOf(static_cast<int>(area.Bottom() - 1));
    const int right = PageIndexOf(static_cast<int>(area.Right() - 1));
    qs::vector<uint8_t> out;
    for (int px = PageIndexOf(area.x); px <= right; ++px)
        for (int py = PageIndexOf(area.y); py <= bottom;) {
            const PageContent content = surroundings.Around(px, py);
            int end = py + 1;
            while (end <= bottom && end - py < kMaxStripPages && surroundings.Around(px, end) == content)
                ++end;
            const ilTile strip =
                ilTileIntersection(area, ilTileFromEdges(int64_t{px} * kPageSize, int64_t{py} * kPageSize,
                                                         int64_t{px + 1} * kPageSize, int64_t{end} * kPageSize));
            if (content == PageContent::Opaque) {
                result->fillTile(strip, ilPixel::Coverage(255));
            } else if (content == PageContent::Mixed) {
                out.assign(static_cast<size_t>(strip.ny) * kPageSize, 0);
                work(strip, out.data());
                result->WriteTile(strip, out.data(), kPageSize);
            }
            py = end;
        }
    result->ForceShrinkAttempt();
    return result;
}

/// Reads pixels [left, left + count) of a row into `row`, those outside `area` as the nearest inside.
void ReadRow(const ilMIOImage& source, const ilTile& area, int64_t left, int64_t y, uint8_t* row, int count)
{
    const int64_t line = std::clamp<int64_t>(y, area.y, area.Bottom() - 1);
    const ilTile inside = ilTileIntersection(area, ilTileFromEdges(left, line, left + count, line + 1));
    const size_t before = static_cast<size_t>(inside.x - left);
    const size_t after = static_cast<size_t>(left + count - inside.Right());
    uint8_t* begin = row + before;
    source.ReadTile(inside, begin, inside.nx);
    std::memset(row, begin[0], before);
    std::memset(begin + inside.nx, begin[inside.nx - 1], after);
}

bool IsAll(const uint8_t* row, int count, uint8_t value)
{
    return row[0] == value && std::memcmp(row, row + 1, static_cast<size_t>(count) - 1) == 0;
}

/// The largest values within a disc. Each row of the source gets its maxima over 1, 2, 4, 8 ... pixels; a row of the
/// disc, of any width, is then the larger of two of these, at 64 pixels a step.
class DiscMaximum {
public:
    /// inverts: works on 255 minus the source.
    DiscMaximum(const ilMIOImage& source, const ilTile& area, int radius, bool inverts)
        : source_(source), area_(area), radius_(radius), inverts_(inverts), width_(kPageSize + 2 * radius)
    {
        // Half a pixel more than the radius: the smallest discs are round as well.
        for (int dy = 0; dy <= radius; ++dy)
            halfWidths_.push_back(static_cast<int>(std::sqrt(radius * radius + radius - dy * dy)));
        maxima_.resize(static_cast<size_t>(std::bit_width(static_cast<unsigned>(2 * radius + 1))) *
                       static_cast<size_t>(width_));
    }

    void Run(const ilTile& strip, uint8_t* out)
    {
        // Pixels outside repeat nearer ones inside, which the disc holds as well.
        const int64_t first = std::max<int64_t>(int64_t{strip.y} - radius_, area_.y);
        const int64_t end = std::min<int64_t>(strip.Bottom() + radius_, area_.Bottom());
        for (int64_t y = first; y < end; ++y) {
            ReadRow(source_, area_, int64_t{strip.x} - radius_, y, maxima_.data(), width_);
            if (inverts_)
                for (int i = 0; i < width_; ++i)
                    maxima_[static_cast<size_t>(i)] = static_cast<uint8_t>(255 - maxima_[static_cast<size_t>(i)]);
            if (IsAll(maxima_.data(), width_, 0))
                continue;
            MakeLevels();
            const int64_t from = std::max<int64_t>(y - radius_ - strip.y, 0);
            const int64_t to = std::min<int64_t>(y + radius_ - strip.y, strip.ny - 1);
            for (int64_t row = from; row <= to; ++row)
                Raise(out + row * kPageSize, halfWidths_[static_cast<size_t>(std::abs(y - strip.y - row))]);
        }
        if (inverts_)
            for (int i = 0; i < strip.ny * kPageSize; ++i)
                out[i] = static_cast<uint8_t>(255 - out[i]);
    }

private:
    uint8_t* Level(int level) { return maxima_.data() + static_cast<ptrdiff_t>(level) * width_; }

    void MakeLevels()
    {
        for (int level = 1, step = 1; 2 * step <= 2 * radius_ + 1; ++level, step *= 2) {
            const uint8_t* in = Level(level - 1);
            uint8_t* made = Level(level);
            for (int i = 0; i + 2 * step <= width_; ++i)
                made[i] = std::max(in[i], in[i + step]);
        }
    }

    void Raise(uint8_t* row, int halfWidth)
    {
        const int length = 2 * halfWidth + 1;
        const int level = static_cast<int>(std::bit_width(static_cast<unsigned>(length))) - 1;
        const uint8_t* a = Level(level) + radius_ - halfWidth;
        const uint8_t* b = Level(level) + radius_ + halfWidth + 1 - (1 << level);
        for (int i = 0; i < kPageSize; ++i)
            row[i] = std::max(row[i], std::max(a[i], b[i]));
    }

    const ilMIOImage& source_;
    ilTile area_;
    int radius_;
    bool inverts_;
    int width_;  // of the rows looked at
    qs::vector<int> halfWidths_;  // by distance from the centre row
    qs::vector<uint8_t> maxima_;  // level by level, width_ each; level k is the maximum of 2^k pixels from here on
};

qs::Reference<ilSmartImage> FilterByDisc(const ilMIOImage& source, const ilTile& area, int radius, bool shrinks)
{
    radius = std::clamp(radius, 0, kMaxGrowPx);
    DiscMaximum disc(source, area, radius, shrinks);
    return FilterStrips(source, area, radius, [&](const ilTile& strip, uint8_t* out) { disc.Run(strip, out); });
}

/// Gaussian weights of [-reach, reach], in 1/65536, which they sum up to exactly.
qs::vector<uint32_t> GaussianWeights(double deviation)
{
    const int reach = std::max(1, static_cast<int>(std::ceil(3 * deviation)));
    qs::vector<double> curve;
    double sum = 0;
    for (int i = -reach; i <= reach; ++i) {
        curve.push_back(std::exp(-0.5 * (i / deviation) * (i / deviation)));
        sum += curve.back();
    }
    qs::vector<uint32_t> weights;
    uint32_t total = 0;
    for (const double value : curve) {
        weights.push_back(static_cast<uint32_t>(value / sum * 65536 + 0.5));
        total += weights.back();
    }
    weights[static_cast<size_t>(reach)] += 65536 - total;
    return weights;
}

/// sum[i] += weight·in[i] over a page's width.
template <class Sample>
void Accumulate(uint32_t* sum, const Sample* in, uint32_t weight)
{
    for (int i = 0; i < kPageSize; ++i)
        sum[i] += weight * in[i];
}

/// Blurs a strip: along the rows first, into 1/256 of a level, then down the columns.
void BlurStrip(const ilMIOImage& source, const ilTile& area, const qs::vector<uint32_t>& weights, const ilTile& strip,
               uint8_t* out)
{
    const int reach = static_cast<int>(weights.size()) / 2;
    const int width = kPageSize + 2 * reach;
    qs::vector<uint8_t> row(static_cast<size_t>(width));
    qs::vector<uint16_t> rows(static_cast<size_t>(strip.ny + 2 * reach) * kPageSize);
    for (int y = 0; y < strip.ny + 2 * reach; ++y) {
        uint16_t* blurred = rows.data() + ptrdiff_t{y} * kPageSize;
        ReadRow(source, area, int64_t{strip.x} - reach, int64_t{strip.y} + y - reach, row.data(), width);
        if (IsAll(row.data(), width, row[0])) {
            std::fill_n(blurred, kPageSize, static_cast<uint16_t>(row[0] << 8));
            continue;
        }
        uint32_t sum[kPageSize] = {};
        for (size_t i = 0; i < weights.size(); ++i)
            Accumulate(sum, row.data() + i, weights[i]);
        for (int i = 0; i < kPageSize; ++i)
            blurred[i] = static_cast<uint16_t>((sum[i] + 128) >> 8);
    }
    for (int y = 0; y < strip.ny; ++y) {
        // At most 255·256·65536 and the half, which is below 2^32.
        uint32_t sum[kPageSize];
        std::fill_n(sum, kPageSize, uint32_t{1} << 23);
        for (size_t i = 0; i < weights.size(); ++i)
            Accumulate(sum, rows.data() + (static_cast<size_t>(y) + i) * kPageSize, weights[i]);
        for (int i = 0; i < kPageSize; ++i)
            out[ptrdiff_t{y} * kPageSize + i] = static_cast<uint8_t>(sum[i] >> 24);
    }
}

}  // namespace

qs::Reference<ilSmartImage> GrowCoverage(const ilMIOImage& source, const ilTile& area, int radius)
{
    return FilterByDisc(source, area, radius, false);
}

qs::Reference<ilSmartImage> ShrinkCoverage(const ilMIOImage& source, const ilTile& area, int radius)
{
    return FilterByDisc(source, area, radius, true);
}

qs::Reference<ilSmartImage> BlurCoverage(const ilMIOImage& source, const ilTile& area, float radius)
{
    const qs::vector<uint32_t> weights = GaussianWeights(std::clamp(double{radius}, 0.01, double{kMaxBlurPx}) / 2);
    return FilterStrips(source, area, static_cast<int>(weights.size()) / 2,
                        [&](const ilTile& strip, uint8_t* out) { BlurStrip(source, area, weights, strip, out); });
}

qs::Reference<ilSmartImage> GetAlphaCoverage(const ilMIOImage& source, const ilTile& area)
{
    const qs::Reference<ilSmartImage> result(new ilSmartImage(ilPixel::Coverage(0)));
    const ilTile reach = source.GetFillValue().GetAlpha() == 0 ? ilTileIntersection(area, source.GetBounds()) : area;
    ForEachPage(reach, [&](int px, int py, const ilTile& part) {
        const PageContent content = source.GetContentOf(part);
        if (content == PageContent::Opaque)
            result->fillTile(part, ilPixel::Coverage(255));
        if (content == PageContent::Opaque || content == PageContent::Transparent)
            return;
        uint8_t pixels[kPagePixels * 4];
        source.ReadTile(part, pixels, ptrdiff_t{kPageSize} * 4);
        const PageWriter writer = result->WritePage(px, py);
        for (int y = 0; y < part.ny; ++y) {
            uint8_t* out = writer.GetBytes() + (PageOffsetOf(part.y) + y) * kPageSize + PageOffsetOf(part.x);
            for (int x = 0; x < part.nx; ++x)
                out[x] = pixels[(y * kPageSize + x) * 4 + 3];
        }
    });
    return result;
}
