#include "composite/CompositeBase.h"

#include "composite/CompositePort.h"
#include "layers/LayerContainer.h"
#include "platform/os/DebugOutput.h"

#include <memory>

namespace {

CompositeSource SourceOf(const ilMIOImage& image)
{
    CompositeSource source;
    source.image = &image;
    return source;
}

/// True when caching the source would give its own bytes.
bool StandsForItself(const CompositeSource& source)
{
    return source.mode == kBlendNormal && source.weight == kernels::kFullWeight && source.stencil == nullptr;
}

/// The canvas grown to whole pages, so that caches can share the pages at its edges as well.
ilTile GrownToPages(const ilTile& canvas)
{
    constexpr int64_t mask = ~int64_t{kPageSize - 1};
    return ilTileFromEdges(canvas.x & mask, canvas.y & mask, (canvas.Right() + kPageSize - 1) & mask,
                           (canvas.Bottom() + kPageSize - 1) & mask);
}

char LetterOf(CompositeMode mode)
{
    switch (mode) {
    case CompositeMode::Plain: return 'P';
    case CompositeMode::Effect: return 'E';
    case CompositeMode::Dropped: return 'D';
    }
    return '?';
}

}  // namespace

CompositeBase::~CompositeBase()
{
    for (CompositeBase* child : children_)
        delete child;
}

qs::TempReference<ilSmartImage> CompositeBase::Compose(bool useCached, bool keep)
{
    if (children_.empty() || !IsShown())
        return {};
    if (!useCached)
        DropCaches();
    if (cache_) {
        MendCache();
        return cache_;
    }
    const qs::TempReference<ilSmartImage> image(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
    if (GetCompositePort().CompositesSuspended(stack_))
        return image;
    const ilTile area = keep ? GrownToPages(GetCanvas()) : GetCanvas();
    CollectSources(area);
    ComposePages(*image, area, sources_);
    timeStamp_ = qsOS::CurrentFileTime();
    if (keep) {
        cache_ = image;
        staleArea_ = ilTile();
    }
    return image;
}

void CompositeBase::MendCache()
{
    if (staleArea_.IsEmpty() || GetCompositePort().CompositesSuspended(stack_))
        return;
    const ilTile area = ilTileIntersection(staleArea_, GrownToPages(GetCanvas()));
    CollectSources(area);
    ComposePages(*cache_, area, sources_);
    timeStamp_ = qsOS::CurrentFileTime();
    staleArea_ = ilTile();
}

void CompositeBase::ComposeInto(ilMIOImage& target, const ilTile& tile)
{
    ComposePages(target, tile, GatherSources(tile));
}

const qs::vector<CompositeSource>& CompositeBase::GatherSources(const ilTile& tile)
{
    sources_.clear();
    if (IsShown())
        CollectSources(tile);
    return sources_;
}

void CompositeBase::AppendSources(const ilTile& tile, qs::vector<CompositeSource>& sources)
{
    if (children_.empty() || !IsShown())
        return;
    if (!isLive_ && (cache_ || children_.size() > 1)) {
        const qs::TempReference<ilSmartImage> image = Compose(true, true);
        if (image == cache_ && !image->IsEmpty())
            sources.push_back(SourceOf(*image));
        return;
    }
    CollectSources(tile);
    if (sources_.empty())
        return;
    if (sources_.size() == 1 && StandsForItself(sources_.front())) {
        sources.push_back(sources_.front());
        return;
    }
    if (!isLive_) {
        if (const qs::TempReference<ilSmartImage> image = Compose(true, true); image == cache_ && !image->IsEmpty())
            sources.push_back(SourceOf(*image));
        return;
    }
    if (!livePicture_)
        livePicture_.reset(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
    ComposePages(*livePicture_, tile, sources_);
    sources.push_back(SourceOf(*livePicture_));
}

void CompositeBase::MakeCache(bool useCached)
{
    if (!useCached)
        DropCaches();
    qs::vector<CompositeSource> unused;
    AppendSources(GetCanvas(), unused);
}

void CompositeBase::AppendStored(qs::vector<StoredSource>& sources) const
{
    if (!IsShown())
        return;
    for (const CompositeBase* child : children_)
        child->AppendStored(sources);
}

void CompositeBase::CollectSources(const ilTile& tile)
{
    sources_.clear();
    for (CompositeBase* child : children_)
        child->AppendSources(tile, sources_);
}

CompositeBase* CompositeBase::Copy(LayerStack* stack) const
{
    auto copy = std::make_unique<CompositeBase>(stack);
    CopyStateTo(*copy);
    return copy.release();
}

void CompositeBase::CopyStateTo(CompositeBase& copy) const
{
    copy.effect_ = effect_;
    copy.timeStamp_ = timeStamp_;
    copy.mode_ = mode_;
    copy.isLive_ = isLive_;
    copy.isGroup_ = isGroup_;
    copy.staleArea_ = staleArea_;
    if (cache_)
        copy.cache_.reset(new ilSmartImage(*cache_, 0, 0));
    copy.children_.reserve(children_.size());
    for (const CompositeBase* child : children_)
        copy.children_.push_back(child->Copy(copy.stack_));
}

void CompositeBase::MoveTo(LayerStack* stack) noexcept
{
    stack_ = stack;
    for (CompositeBase* child : children_)
        child->MoveTo(stack);
}

void CompositeBase::SetLive(bool live)
{
    isLive_ = live;
    if (live)
        cache_.reset();
    else
        livePicture_.reset();
}

void CompositeBase::DropCache()
{
    cache_.reset();
    livePicture_.reset();
}

void CompositeBase::DropCaches()
{
    DropCache();
    for (CompositeBase* child : children_)
        child->DropCaches();
}

bool CompositeBase::FindPath(const PntHandle& handle, qs::vector<CompositeBase*>& path)
{
    if (handle == kNullHandle) {
        path.clear();
        return false;
    }
    path.push_back(this);
    if (GetHandle() == handle)
        return true;
    for (CompositeBase* child : children_)
        if (child->FindPath(handle, path))
            return true;
    path.pop_back();
    return false;
}

void CompositeBase::AppendMembers(qs::vector<CompositeBase*>& members) const
{
    for (CompositeBase* child : children_) {
        if (child->IsGroup())
            child->AppendMembers(members);
        else
            members.push_back(child);
    }
}

ilTile CompositeBase::GetCanvas() const
{
    return GetCompositePort().GetSize(stack_);
}

void CompositeBase::DebugPrint() const
{
    const LayerContainer* effect = effect_ == kNullHandle ? nullptr : GetCompositePort().GetContainer(stack_, effect_);
    qsOS::OutputDebugFormat("CompositeBase[%p] mode[%c] effect[%s] cache[%p,%p]", static_cast<const void*>(this),
                            LetterOf(mode_), effect != nullptr ? effect->GetLayerContainerName() : "None",
                            static_cast<const void*>(cache_.get()), static_cast<const void*>(livePicture_.get()));
    qsOS::OutputDebugStringA("Child");
    for (const CompositeBase* child : children_)
        qsOS::OutputDebugFormat("[%p]", static_cast<const void*>(child));
    qsOS::OutputDebugStringA("\n");
    for (const CompositeBase* child : children_)
        child->DebugPrint();
}
