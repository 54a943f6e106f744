#pragma once

#include "platform/base/Containers.h"
#include "platform/imaging/blend/ComposePages.h"

#include <deque>

/// Composes sources into one page after another. Pages that are plain to draw may be kept until Flush(), which draws
/// them on the threads that the host allows: looking at the sources and changing the target stays with the calling
/// thread, so that images need no locks.
class PageComposer {
public:
    /// fractions: where a paged target keeps what lies below the byte, or null. isDeferring: a large area is composed;
    /// nothing of the target may be read before Flush().
    PageComposer(const qs::vector<CompositeSource>& sources, ilMIOImage* fractions, bool isDeferring);

    /// Composes `part`, which lies within page (px, py), replacing what the target held. Throws std::bad_alloc.
    void ComposeInto(ilMIOImage& target, int px, int py, const ilTile& part);
    void ComposeInto(ilMemoryImg& target, int px, int py, const ilTile& part);

    /// Draws what is kept. To be called at the end; pages that are kept and not drawn are undefined.
    void Flush();

private:
    /// What one source has to say about one page of the target.
    struct PageSource {
        const CompositeSource* source;
        const Page* page;  // the one page that lines up; null when the source's grid is moved against the target's
        const Page* fractions;  // of `page`; null for none
        bool hasStencil;  // something of the stencil may lie here
    };

    /// A page's worth of the target with its sources.
    struct Job {
        ilTile part;
        size_t firstSource = 0;  // in kept_, bottom to top
        size_t sourceEnd = 0;
        uint8_t* rows = nullptr;  // the part's first pixel
        ptrdiff_t stride = 0;  // of a memory image; a page has its own
        Page* page = nullptr;  // null for a memory image
        uint8_t* fractions = nullptr;  // as rows; null when they are not kept
        Page* fractionsPage = nullptr;
        int pages = 0;  // that are written
    };

    /// The rows of a page's part that are being composed.
    struct Sum {
        const ilTile& part;
        uint8_t* rows;
        uint8_t* fractions;
        bool isBegun = false;
        bool hasFractions = false;  // otherwise they are not written yet, and zero
    };

    static bool IsCopy(const PageSource& entry);
    static bool IsPlainCopy(const PageSource& entry);
    void Gather(int px, int py, const ilTile& part);
    const Page* GetOnlyPage() const;
    bool LeavesFractions() const;
    void Take(Job job);
    void Draw(const Job& job) const;
    void DrawSources(const Job& job, uint8_t* out) const;
    size_t DrawSequential(const Job& job, Sum& sum) const;
    void DrawFine(const Job& job, size_t first, Sum& sum) const;
    static void PaintFine(const PageSource& source, Sum& sum);

    const qs::vector<CompositeSource>& sources_;
    ilMIOImage* fractions_;
    const bool isDeferring_;
    qs::vector<PageSource> active_;  // of the page that is looked at now
    qs::vector<PageSource> kept_;
    qs::vector<Job> jobs_;
    std::deque<PageWriter> writers_;  // of the pages among them, which stay pinned until they are drawn
};
