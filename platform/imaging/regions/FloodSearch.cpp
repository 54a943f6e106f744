#include "platform/imaging/regions/FloodSearch.h"

namespace {

constexpr uint64_t kAll = ~uint64_t{0};

/// Keeps the bits of `part` of a page.
void KeepWithin(PageBits& bits, const ilTile& part)
{
    const int top = PageOffsetOf(part.y);
    const uint64_t columns = RowBits(PageOffsetOf(part.x), PageOffsetOf(part.x) + part.nx);
    for (int y = 0; y < kPageSize; ++y)
        bits[static_cast<size_t>(y)] &= y >= top && y < top + part.ny ? columns : 0;
}

/// Keeps the bits where the coverage of the page is not 0.
void KeepSelected(PageBits& bits, const FloodSelection& selection, const ilTile& page)
{
    alignas(64) uint8_t rows[kPagePixels];
    selection.Read(page, rows);
    PageBits none;
    ColorMatch(ilPixel::Coverage(0), 0).Match(none.data(), rows, false, kPageSize);
    for (size_t y = 0; y < bits.size(); ++y)
        bits[y] &= ~none[y];
}

bool AreAll(const PageBits& bits, uint64_t value)
{
    return std::all_of(bits.begin(), bits.end(), [=](uint64_t row) { return row == value; });
}

}  // namespace

FloodSearch::FloodSearch(CachedSmartImage& source, const ColorMatch& match, const ilTile& area,
                         const FloodSelection& selection)
    : source_(source), match_(match), area_(area), selection_(selection)
{}

FloodRegion FloodSearch::Run(int x, int y)
{
    if (!area_.Contains(x, y))
        return {};
    const Place start{PageIndexOf(x), PageIndexOf(y)};
    Cell& cell = LookAt(start.px, start.py);
    if (cell.state == State::Whole) {
        Enter(start.px, start.py, kLeft, kAll);
    } else if (cell.state == State::Part) {
        uint64_t waiting[kPageSize];
        const int row = PageOffsetOf(y);
        waiting[row] = (uint64_t{1} << PageOffsetOf(x)) & cell.part->open[static_cast<size_t>(row)];
        if (waiting[row] != 0)
            FillPart(start, *cell.part, uint64_t{1} << row, waiting);
    }
    while (!waiting_.empty()) {
        const Place at = waiting_.front();
        waiting_.pop_front();
        Cell& next = cells_.At(at.px, at.py);
        constexpr uint64_t kEverywhere[4] = {kAll, kAll, kAll, kAll};
        if (next.state == State::WholeReached)
            Leave(at, kEverywhere);
        else
            TakeEntering(at, *next.part);
    }
    return TakeRegion();
}

FloodSearch::Cell& FloodSearch::LookAt(int px, int py)
{
    Cell& cell = cells_.At(px, py);
    if (cell.state == State::Unseen)
        cell.state = Classify(px, py, cell.part);
    return cell;
}

FloodSearch::State FloodSearch::Classify(int px, int py, std::unique_ptr<Part>& part)
{
    const ilTile page = PageTile(px, py);
    const ilTile inside = ilTileIntersection(page, area_);
    const FloodRegion::Cover selected = selection_.GetCover(page);
    if (inside.IsEmpty() || selected == FloodRegion::Cover::None)
        return State::Wall;
    uint32_t value = 0;
    const bool isOneValue = source_.IsOneValue(px, py, value);
    if (isOneValue && !match_.IsLike(value))
        return State::Wall;
    const bool isCut = inside != page || selected != FloodRegion::Cover::All;
    if (isOneValue && !isCut)
        return State::Whole;

    PageBits like;
    if (isOneValue) {
        like.fill(kAll);
    } else {
        const Page* stored = source_.LookAt(px, py);
        match_.Match(like.data(), stored->GetBytes(), stored->GetContent() == PageContent::Opaque, kPageSize);
    }
    if (inside != page)
        KeepWithin(like, inside);
    if (selected != FloodRegion::Cover::All)
        KeepSelected(like, selection_, page);
    if (AreAll(like, 0))
        return State::Wall;
    if (AreAll(like, kAll))
        return State::Whole;
    part = std::make_unique<Part>();
    part->open = like;
    return State::Part;
}

void FloodSearch::Enter(int px, int py, Side side, uint64_t bits)
{
    Cell& cell = LookAt(px, py);
    if (cell.state == State::Whole) {
        cell.state = State::WholeReached;
        waiting_.push_back({px, py});
        return;
    }
    if (cell.state != State::Part)
        return;
    Part& part = *cell.part;
    if (side == kAbove)
        bits &= part.open.front();
    else if (side == kBelow)
        bits &= part.open.back();
    if (bits == 0)
        return;
    part.entering[side] |= bits;
    if (!std::exchange(part.isWaiting, true))
        waiting_.push_back({px, py});
}

void FloodSearch::TakeEntering(const Place& at, Part& part)
{
    uint64_t waiting[kPageSize];
    uint64_t rows = 0;
    const auto add = [&](int y, uint64_t bits) {
        bits &= part.open[static_cast<size_t>(y)];
        if (bits == 0)
            return;
        waiting[y] = (rows >> y & 1) != 0 ? waiting[y] | bits : bits;
        rows |= uint64_t{1} << y;
    };
    add(0, part.entering[kAbove]);
    add(kPageSize - 1, part.entering[kBelow]);
    for (uint64_t left = part.entering[kLeft]; left != 0; left &= left - 1)
        add(std::countr_zero(left), 1);
    for (uint64_t right = part.entering[kRight]; right != 0; right &= right - 1)
        add(std::countr_zero(right), uint64_t{1} << (kPageSize - 1));
    std::fill(part.entering, part.entering + 4, 0);
    part.isWaiting = false;
    if (rows != 0)
        FillPart(at, part, rows, waiting);
}

void FloodSearch::FillPart(const Place& at, Part& part, uint64_t rowsWaiting, uint64_t* waiting)
{
    if (!part.filled) {
        part.filled = std::make_unique<PageBits>();
        part.filled->fill(0);
    }
    PageBits& filled = *part.filled;
    PageBits& open = part.open;
    uint64_t leaving[4] = {};
    const auto isWaiting = [&](int y) { return (rowsWaiting >> y & 1) != 0; };
    // Up and down in turn, each time as far as it goes: a corridor is followed to its end before the next is begun.
    bool isDown = false;
    while (rowsWaiting != 0) {
        isDown = !isDown;
        const int step = isDown ? 1 : -1;
        int y = isDown ? std::countr_zero(rowsWaiting) : kPageSize - 1 - std::countl_zero(rowsWaiting);
        uint64_t bits = 0;
        for (; y >= 0 && y < kPageSize; y += step) {
            if (isWaiting(y)) {
                rowsWaiting &= ~(uint64_t{1} << y);
                bits |= waiting[y];
            }
            const uint64_t run = FillRuns(open[y], bits & open[y]);
            if (run == 0) {
                // Nothing goes on from here: to the next row that waits.
                const uint64_t ahead = rowsWaiting & (isDown ? kAll << y : kAll >> (kPageSize - 1 - y));
                if (ahead == 0)
                    break;
                y = (isDown ? std::countr_zero(ahead) : kPageSize - 1 - std::countl_zero(ahead)) - step;
                bits = 0;
                continue;
            }
            open[y] &= ~run;
            filled[y] |= run;
            leaving[kLeft] |= (run & 1) << y;
            leaving[kRight] |= (run >> (kPageSize - 1)) << y;
            if (y == 0)
                leaving[kAbove] |= run;
            if (y == kPageSize - 1)
                leaving[kBelow] |= run;
            const int behind = y - step;
            if (behind >= 0 && behind < kPageSize && (run & open[behind]) != 0) {
                waiting[behind] = isWaiting(behind) ? waiting[behind] | run : run;
                rowsWaiting |= uint64_t{1} << behind;
            }
            bits = run;
        }
    }
    Leave(at, leaving);
}

void FloodSearch::Leave(const Place& at, const uint64_t leaving[4])
{
    if (leaving[kAbove] != 0)
        Enter(at.px, at.py - 1, kBelow, leaving[kAbove]);
    if (leaving[kBelow] != 0)
        Enter(at.px, at.py + 1, kAbove, leaving[kBelow]);
    if (leaving[kLeft] != 0)
        Enter(at.px - 1, at.py, kRight, leaving[kLeft]);
    if (leaving[kRight] != 0)
        Enter(at.px + 1, at.py, kLeft, leaving[kRight]);
}

FloodRegion FloodSearch::TakeRegion()
{
    FloodRegion region;
    cells_.ForEach([&](int px, int py, Cell& cell) {
        if (cell.state == State::WholeReached)
            region.SetPageAll(px, py);
        else if (cell.part && cell.part->filled)
            region.SetPageBits(px, py, std::move(cell.part->filled));
        cell.part = nullptr;
    });
    return region;
}
