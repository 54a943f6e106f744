#include "composite/CompositeBase.h"

#include "composite/CompositePort.h"
#include "layers/LayerContainer.h"
#include "platform/os/DebugOutput.h"

#include <memory>

namespace {

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
    if (cache_.bytes) {
        MendCache();
        return cache_.bytes;
    }
    const Picture picture = NewPicture();
    if (GetCompositePort().CompositesSuspended(stack_))
        return picture.bytes;
    const ilTile area = keep ? GrownToPages(GetCanvas()) : GetCanvas();
    CollectSources(area);
    ComposePicture(picture, area);
    state_.timeStamp = qsOS::CurrentFileTime();
    if (keep) {
        cache_ = picture;
        state_.staleArea = ilTile();
    }
    return picture.bytes;
}

CompositeBase::Picture CompositeBase::NewPicture() const
{
    Picture picture;
    picture.bytes.reset(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
    if (state_.firstFine < children_.size())
        picture.fractions.reset(new ilSmartImage(kWholeLevels));
    return picture;
}

void CompositeBase::ComposePicture(const Picture& picture, const ilTile& tile) const
{
    ComposePages(*picture.bytes, tile, sources_, picture.fractions.get());
}

CompositeSource CompositeBase::SourceOf(const Picture& picture)
{
    CompositeSource source;
    source.image = picture.bytes.get();
    source.fractions = picture.fractions && !picture.fractions->IsEmpty() ? picture.fractions.get() : nullptr;
    return source;
}

void CompositeBase::MendCache()
{
    if (state_.staleArea.IsEmpty() || GetCompositePort().CompositesSuspended(stack_))
        return;
    const ilTile area = ilTileIntersection(state_.staleArea, GrownToPages(GetCanvas()));
    CollectSources(area);
    ComposePicture(cache_, area);
    state_.timeStamp = qsOS::CurrentFileTime();
    state_.staleArea = ilTile();
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
    const auto appendCache = [&] {
        if (Compose(true, true) == cache_.bytes && !cache_.bytes->IsEmpty())
            sources.push_back(SourceOf(cache_));
    };
    if (!state_.isLive && (cache_.bytes || children_.size() > 1)) {
        appendCache();
        return;
    }
    CollectSources(tile);
    if (sources_.empty())
        return;
    if (sources_.size() == 1 && StandsForItself(sources_.front())) {
        sources.push_back(sources_.front());
        return;
    }
    if (!state_.isLive) {
        appendCache();
        return;
    }
    if (!live_.bytes)
        live_ = NewPicture();
    ComposePicture(live_, tile);
    sources.push_back(SourceOf(live_));
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
    for (size_t i = 0; i < children_.size(); ++i) {
        const size_t before = sources_.size();
        children_[i]->AppendSources(tile, sources_);
        for (size_t k = before; k < sources_.size(); ++k)
            sources_[k].isFine = i >= state_.firstFine;
    }
}

void CompositeBase::SettleFineness(bool isExact)
{
    qs::vector<CompositeBase*> members;
    AppendMembers(members);
    const auto reader = std::find_if(members.rbegin(), members.rend(), [](const CompositeBase* member) {
        return member->GetMode() == CompositeMode::Effect;
    });
    const size_t first = isExact ? members.size() : static_cast<size_t>(members.rend() - reader);
    if (first != state_.firstFineMember)
        DropCache();
    state_.firstFineMember = first;
    for (size_t i = 0; i < members.size(); ++i)
        members[i]->SettleFineness(i < first);
}

CompositeBase* CompositeBase::Copy(LayerStack* stack) const
{
    auto copy = std::make_unique<CompositeBase>(stack);
    CopyStateTo(*copy);
    return copy.release();
}

void CompositeBase::CopyStateTo(CompositeBase& copy) const
{
    copy.state_ = state_;
    if (cache_.bytes)
        copy.cache_.bytes.reset(new ilSmartImage(*cache_.bytes, 0, 0));
    if (cache_.fractions)
        copy.cache_.fractions.reset(new ilSmartImage(*cache_.fractions, 0, 0));
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
    state_.isLive = live;
    live_ = {};  // the children may have been grouped otherwise
    if (live)
        cache_ = {};
}

void CompositeBase::DropCache()
{
    cache_ = {};
    live_ = {};
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
    // From the top, where people work: most of what lies below stands in groups within groups.
    for (auto child = children_.rbegin(); child != children_.rend(); ++child)
        if ((*child)->FindPath(handle, path))
            return true;
    path.pop_back();
    return false;
}

bool CompositeBase::Replace(const PntHandle& handle, std::unique_ptr<CompositeBase> by)
{
    qs::vector<CompositeBase*> path;
    if (!FindPath(handle, path) || path.size() < 2)
        return false;
    qs::vector<CompositeBase*>& siblings = path[path.size() - 2]->children_;
    const auto at = std::find(siblings.begin(), siblings.end(), path.back());
    delete *at;
    if (by)
        *at = by.release();
    else
        siblings.erase(at);
    return true;
}

void CompositeBase::InsertMember(std::unique_ptr<CompositeBase> node, const CompositeBase* above)
{
    if (above != nullptr && InsertBelow(node, above))
        return;
    children_.push_back(node.get());
    static_cast<void>(node.release());
}

/// Looks for `above` among the children and those of groups; false, with nothing changed, when it is not there.
bool CompositeBase::InsertBelow(std::unique_ptr<CompositeBase>& node, const CompositeBase* above)
{
    const auto at = std::find(children_.begin(), children_.end(), above);
    if (at != children_.end()) {
        children_.insert(at, node.get());
        static_cast<void>(node.release());
    } else if (std::none_of(children_.begin(), children_.end(), [&](CompositeBase* child) {
                   return child->IsGroup() && child->InsertBelow(node, above);
               })) {
        return false;
    }
    DropCache();
    return true;
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
    const LayerContainer* effect =
        state_.effect == kNullHandle ? nullptr : GetCompositePort().GetContainer(stack_, state_.effect);
    qsOS::OutputDebugFormat("CompositeBase[%p] mode[%c] effect[%s] cache[%p,%p]", static_cast<const void*>(this),
                            LetterOf(state_.mode), effect != nullptr ? effect->GetLayerContainerName() : "None",
                            static_cast<const void*>(cache_.bytes.get()),
                            static_cast<const void*>(cache_.fractions.get()));
    qsOS::OutputDebugStringA("Child");
    for (const CompositeBase* child : children_)
        qsOS::OutputDebugFormat("[%p]", static_cast<const void*>(child));
    qsOS::OutputDebugStringA("\n");
    for (const CompositeBase* child : children_)
        child->DebugPrint();
}
