#include "OpenStack.h"
#include "platform/imaging/pages/PageAllocator.h"

#include <gtest/gtest.h>

#include <new>
#include <random>

namespace {

struct MergeDocument : OpenStack {
    MergeDocument() : OpenStack(150, 140) {}

    int Below(int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }

    /// Rectangles of random colours on the current layer; opaque ones, or of any alpha.
    void Scribble(bool isOpaque = false, int count = 6)
    {
        if (isOpaque)
            Paint(stack->GetSize(), ilPixel::Rgba(90, 160, 40, 255));
        for (int i = 0; i < count; ++i) {
            const int alpha = isOpaque ? 255 : 40 + Below(216);
            const auto part = [&] { return static_cast<uint8_t>(Below(alpha + 1)); };
            Paint({Below(120), Below(120), 20 + Below(90), 20 + Below(90)},
                  stack->GetCurrentLayerPtr()->GetImage()->GetNumChannels() == 1
                      ? ilPixel::Coverage(static_cast<uint8_t>(alpha))
                      : ilPixel::Rgba(part(), part(), part(), static_cast<uint8_t>(alpha)));
        }
    }

    PntHandle AddScribbled(const char* name, bool isOpaque = false)
    {
        const PntHandle added = Add(name);
        Scribble(isOpaque);
        return added;
    }

    PntHandle AddStencil(const char* name, const PntHandle& owner, bool hardLink = false)
    {
        const PntHandle added = Add(name, kLayerModeStencil);
        Scribble(false, 1);
        stack->AddOwnerToLayer(owner, added, hardLink);
        return added;
    }

    qs::vector<uint8_t> Shown()
    {
        stack->ForceUpdate();
        return BytesOf(*stack->GetImagePlane(), stack->GetSize());
    }

    std::mt19937 random{7};
};

/// Documents of everything that merges must respect, and one merge of any kind.
struct RandomMerge : MergeDocument {
    enum Kind { Neighbours, AnyPair, Coverages, Folder, Visible, All, KindCount };

    explicit RandomMerge(unsigned seed)
    {
        random.seed(seed);
        kind = static_cast<Kind>(seed % KindCount);
        const LayerMode mode = kind == Coverages ? (OneIn(2) ? kLayerModeMask : kLayerModeStencil)
                               : kind == Folder  ? (OneIn(2) ? kLayerModeMask : kLayerModeImage)
                                                 : kLayerModeImage;
        Add("ground");
        Vary(kLayerModeImage);
        for (int i = 0; i < 9; ++i)
            AddSomething(OneIn(2) ? mode : static_cast<LayerMode>(std::max(0, Below(5) - 2)));
        for (const LayerMode one : {kLayerModeImage, kLayerModeMask, kLayerModeStencil})
            for (const PntHandle& handle : stack->GetLayerContainerHandleArray(one, false))
                stack->SetLayerFolderActive(handle, Below(4) != 0, false);
        upper = OneOf(mode);
        stack->GetLCHForMergeBelow(upper, lower);
        if (kind != Neighbours)
            lower = OneOf(mode);
        for (int i = 0; i < 20 && !folder; ++i)
            folder = stack->GetLayerFolderFromHandle(OneOf(mode));
        ShareOwners();
        stack->SetCurrentLayer(OneLayer(), false, false, false);
    }

    bool OneIn(int n) { return Below(n) == 0; }
    PntHandle OneOf(LayerMode mode)
    {
        const qs::vector<PntHandle> all = stack->GetLayerContainerHandleArray(mode, false);
        return all.empty() ? kNullHandle : all[static_cast<size_t>(Below(static_cast<int>(all.size())))];
    }
    PntHandle OneLayer()
    {
        PntHandle handle = kNullHandle;
        while (Find(handle) == nullptr)
            handle = OneOf(kLayerModeImage);
        return handle;
    }
    void AddSomething(LayerMode mode)
    {
        const PntHandle where = OneOf(mode);
        if (!OneIn(3) || stack->AddLayerFolder(mode, where) == kNullHandle)
            Add("layer", mode, where, OneIn(2));
        Vary(mode);
    }

    /// Gives the current layer, which was added just now, pixels and properties.
    void Vary(LayerMode mode)
    {
        Layer& layer = *stack->GetCurrentLayerPtr();
        const PntHandle handle = layer.GetLayerContainerHandle();
        const auto part = [&] { return static_cast<uint8_t>(Below(120)); };
        if (OneIn(4))
            layer.SetImage(new ilSmartImage(mode == kLayerModeImage ? ilPixel::Rgba(part(), part(), part(), 120)
                                                                    : ilPixel::Coverage(OneIn(2) ? 255 : 100)));
        if (!OneIn(6))
            Scribble(mode == kLayerModeImage && OneIn(3), mode == kLayerModeImage ? 3 : 1);
        stack->SetLayerOffset(handle, OneIn(2) ? 0 : Below(90) - 45, OneIn(2) ? 0 : Below(90) - 45, false);
        stack->SetLayerVisible(handle, !OneIn(5), false);
        if (OneIn(2))
            stack->SetLayerOpacity(handle, 0.1F * static_cast<float>(Below(11)));
        if (OneIn(2))
            stack->SetLayerBlend(handle, static_cast<LayerBlendMode>(Below(kLayerBlendModeCount)));
        for (int owners = mode == kLayerModeImage ? 0 : 1 + Below(2); owners > 0; --owners)
            stack->AddOwnerToLayer(OneLayer(), handle, OneIn(4));
        if (mode == kLayerModeStencil)
            stack->SetLayerActive(handle, !OneIn(5));
    }

    /// Now and then lets what may merge act on the same layers.
    void ShareOwners()
    {
        qs::vector<PntHandle> masks{upper, lower};
        if (kind == Folder && folder != nullptr)
            masks = folder->GetLCHArray(true);
        const qs::vector<PntHandle> owners{OneLayer(), OneLayer()};
        for (const PntHandle& mask : OneIn(3) ? qs::vector<PntHandle>() : masks) {
            for (const PntHandle& owner : stack->getOwnerArray(mask))
                stack->RemoveOwnerFromLayer(owner, mask);
            for (const PntHandle& owner : owners)
                stack->AddOwnerToLayer(owner, mask, false);
        }
    }

    PntHandle GetReceiver()
    {
        switch (kind) {
        case Folder: return stack->GetFolderMergeReceiver(folder.get());
        case Visible:
        case All: return stack->GetMergeAllReceiver(kind == Visible);
        default: return stack->GetMergeReceiver(upper, lower);
        }
    }

    void Merge()
    {
        switch (kind) {
        case Folder: stack->MergeLayerFolder(folder.get()); break;
        case Visible:
        case All: stack->MergeAllLayers(kind == Visible); break;
        default: stack->MergeLayers(upper, lower, OneIn(2)); break;
        }
    }

    /// The document's picture, and what the masks of each layer cover of the canvas.
    qs::vector<uint8_t> Picture()
    {
        const qs::TempReference<ilImage> picture = stack->GetCompositeImage();
        return BytesOf(*picture, stack->GetSize());
    }
    qs::map<std::string, qs::vector<uint8_t>> Covered()
    {
        qs::map<std::string, qs::vector<uint8_t>> covered;
        for (const PntHandle& handle : stack->GetLayerContainerHandleArray(kLayerModeImage, false)) {
            qs::vector<uint8_t>& bytes = covered[handle.own.asString().c_str()];
            bytes.resize(static_cast<size_t>(stack->GetSize().Area()));
            if (const qs::TempReference<ilSmartImage> masks = stack->MakeMaskComposite(handle))
                masks->ReadTile(stack->GetSize(), bytes.data(), stack->GetSize().nx);
        }
        return covered;
    }

    Kind kind = Neighbours;
    PntHandle upper = kNullHandle;
    PntHandle lower = kNullHandle;
    qs::Reference<LayerFolder> folder;
};

void ExpectMergeShowsWhatWasThere(RandomMerge& document, int& merges)
{
    LayerStack& stack = *document.stack;
    const PntHandle receiver = document.GetReceiver();
    const bool isPair = document.kind <= RandomMerge::Coverages;
    if (receiver != kNullHandle && isPair)
        stack.SetLayerVisible(receiver, true, false);  // which such a merge does
    const bool isImage = receiver == kNullHandle || stack.GetLayerMode(receiver) == kLayerModeImage;
    const bool wasActive = document.folder && document.folder->isActive();
    const std::string dump = Dump(stack);
    const auto before = document.Picture();
    const auto covered = document.Covered();
    const KeptImages kept(stack);
    if (document.OneIn(8))
        stack.SuspendComposites();
    document.Merge();
    stack.ResumeComposites();
    EXPECT_LE(LargestDifference(document.Picture(), before), 1) << dump << " -> " << Dump(stack);
    EXPECT_TRUE(kept.AreUntouched());
    if (receiver == kNullHandle) {
        EXPECT_EQ(Dump(stack), dump);
        return;
    }
    ++merges;
    for (const auto& [name, bytes] : document.Covered())
        EXPECT_TRUE(isImage || LargestDifference(bytes, covered.at(name)) <= 1) << dump << " -> " << Dump(stack);
    const Layer* merged = document.Find(receiver);
    ASSERT_NE(merged, nullptr);
    EXPECT_NE(stack.GetCLP(), nullptr);
    EXPECT_TRUE(!isPair || document.upper == document.lower || document.Find(document.upper) == nullptr ||
                document.Find(document.upper)->IsHardLinkToOwnerLayer());
    if (document.kind == RandomMerge::Folder) {
        EXPECT_STREQ(merged->GetLayerContainerName(), document.folder->GetLayerContainerName());
        EXPECT_EQ(stack.FindLayerFolder(receiver, true), stack.GetLayerFolder(stack.GetLayerMode(receiver)));
        EXPECT_TRUE(!isImage || merged->isVisible() == wasActive);
    }
    EXPECT_TRUE(document.kind != RandomMerge::All ||
                stack.GetLayerContainerHandleArray(kLayerModeImage, false) == qs::vector<PntHandle>{receiver});
    EXPECT_TRUE(isPair || (merged->GetLayerBlend() == kBlendNormal && merged->GetOpacity() == 1 &&
                           (merged->getXOffset() | merged->getYOffset()) == 0));
}

TEST(LayerStackMerge, EveryMergeShowsWhatWasThereOrIsRefused)
{
    int merges[RandomMerge::KindCount] = {};
    for (unsigned seed = 1; seed <= 600; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RandomMerge document(seed);
        ExpectMergeShowsWhatWasThere(document, merges[document.kind]);
    }
    for (const int count : merges)
        EXPECT_GT(count, 10);
}

TEST(LayerStackMerge, TheMergePartnerIsTheNeighbourInTheSameFolder)
{
    MergeDocument document;
    LayerStack& stack = *document.stack;
    const PntHandle a = document.Add("a");
    const PntHandle folder = stack.AddLayerFolder(kLayerModeImage, a);
    const PntHandle inner = stack.GetCurrentLayerContainerHandle();
    const PntHandle top = document.Add("top", kLayerModeImage, folder);
    const PntHandle mask = document.Add("mask", kLayerModeMask);
    const auto below = [&](const PntHandle& handle) {
        PntHandle found;
        stack.GetLCHForMergeBelow(handle, found);
        return found;
    };
    EXPECT_EQ(below(top), folder);
    EXPECT_EQ(below(a), kNullHandle);
    EXPECT_EQ(below(inner), kNullHandle);
    EXPECT_EQ(below(mask), kNullHandle);
    EXPECT_EQ(below(folder), kNullHandle);
    EXPECT_EQ(below(stack.GetSelectionMaskHandle()), kNullHandle);

    // What is no pair stays as it is, visibility included.
    stack.SetLayerVisible(a, false, false);
    const std::string before = Dump(stack);
    for (const auto& [upper, lower] : {std::pair(top, kNullHandle), std::pair(kNullHandle, a), std::pair(a, a),
                                       std::pair(top, folder), std::pair(mask, a)}) {
        stack.MergeLayers(upper, lower, true);
        EXPECT_EQ(stack.GetMergeReceiver(upper, lower), kNullHandle);
    }
    EXPECT_EQ(Dump(stack), before);
    EXPECT_FALSE(stack.isLayerVisible(a));
    stack.MergeLayers(top, a, false);
    EXPECT_TRUE(stack.isLayerVisible(a));
}

TEST(LayerStackMerge, WhatIsConnectedToMergedLayersIsBakedHandedOverOrStays)
{
    MergeDocument document;
    LayerStack& stack = *document.stack;
    const PntHandle other = document.AddScribbled("other");
    const PntHandle lower = document.AddScribbled("lower");
    const PntHandle upper = document.AddScribbled("upper");
    const PntHandle both = document.AddStencil("both", upper);
    stack.AddOwnerToLayer(lower, both, false);
    const PntHandle shared = document.AddStencil("shared", upper);
    stack.AddOwnerToLayer(other, shared, false);
    const PntHandle off = document.AddStencil("off", upper);
    stack.SetLayerActive(off, false);
    const PntHandle mask = document.Add("mask", kLayerModeMask);
    stack.AddOwnerToLayer(upper, mask, true);
    const auto before = (stack.SetCurrentLayer(other, false, false, false), document.Shown());

    stack.MergeLayers(upper, lower, false);
    EXPECT_LE(LargestDifference(document.Shown(), before), 1);
    EXPECT_EQ(Dump(stack), "other* lower | mask | shared off");
    EXPECT_EQ(stack.getOwnerArray(shared), qs::vector<PntHandle>{other});
    EXPECT_EQ(stack.getOwnerArray(off), qs::vector<PntHandle>{lower});
    EXPECT_EQ(stack.getOwnerArray(mask), qs::vector<PntHandle>{lower});
}

TEST(LayerStackMerge, MasksUniteWithTheirUnstoredAreas)
{
    MergeDocument document;
    LayerStack& stack = *document.stack;
    const PntHandle image = document.Add("image");
    const PntHandle lower = document.Add("lower", kLayerModeMask);
    document.Paint({10, 10, 20, 20}, ilPixel::Coverage(128));
    stack.SetLayerOffset(lower, 3, 5, false);
    const PntHandle upper = document.Add("upper", kLayerModeMask);
    document.Paint({20, 20, 60, 60}, ilPixel::Coverage(128));
    stack.InvertMaskLayer(upper);
    stack.AddOwnerToLayer(image, lower, false);
    EXPECT_EQ(stack.GetMergeReceiver(upper, lower), kNullHandle);  // they act on different layers
    stack.AddOwnerToLayer(image, upper, false);
    const KeptImages kept(stack);
    stack.MergeLayers(upper, lower, false);
    EXPECT_TRUE(kept.AreUntouched());
    const qs::TempReference<ilMIOImage> united = document.Find(lower)->GetImage();
    EXPECT_EQ(united->GetPixel(-5000, 70), ilPixel::Coverage(255));
    EXPECT_EQ(united->GetPixel(15, 18), ilPixel::Coverage(255));
    EXPECT_EQ(united->GetPixel(25, 25), ilPixel::Coverage(191));  // 1 - (1 - 128/255)(1 - 127/255)
    EXPECT_EQ(united->GetPixel(60, 60), ilPixel::Coverage(127));
}

/// Pages until they run out.
class ScarceMemory : public PageMemoryPort {
public:
    explicit ScarceMemory(int blocks) : left_(blocks) { PageAllocator::SetPort(this); }
    ~ScarceMemory() override { PageAllocator::SetPort(nullptr); }
    uint8_t* Allocate(size_t bytes) override
    {
        if (left_-- <= 0)
            throw std::bad_alloc();
        PageAllocator::SetPort(nullptr);
        uint8_t* block = PageAllocator::Allocate(bytes);
        PageAllocator::SetPort(this);
        return block;
    }
    void Free(uint8_t* block, size_t bytes) noexcept override
    {
        PageAllocator::SetPort(nullptr);
        PageAllocator::Free(block, bytes);
        PageAllocator::SetPort(this);
    }

private:
    int left_;
};

TEST(LayerStackMerge, WithoutMemoryTheDocumentStaysAsItWas)
{
    MergeDocument document;
    LayerStack& stack = *document.stack;
    const PntHandle folder = stack.AddLayerFolder(kLayerModeImage, document.AddScribbled("beneath"));
    document.Scribble();
    const PntHandle lower = document.AddScribbled("lower");
    stack.SetLayerOffset(lower, 5, 5, false);
    const PntHandle upper = document.AddScribbled("upper");
    document.AddStencil("stencil", upper);
    document.Paint({3, 3, 140, 130}, ilPixel::Coverage(128));
    const auto before = document.Shown();
    const std::string order = Dump(stack);
    int failures = 0;
    for (int blocks = 0; blocks < 4; ++blocks)
        for (const auto& edit : std::initializer_list<std::function<void()>>{
                 [&] { stack.MergeLayers(upper, lower, true); },
                 [&] { stack.MergeLayerFolder(stack.GetLayerFolderFromHandle(folder)); },
                 [&] { stack.MergeAllLayers(false); },
                 [&] { stack.BakeStencilMaskToLayer(upper, true, true); },
                 [&] { stack.FlipImageLayer(upper, true, false); },
                 [&] {
                     stack.ClearLayerImageByRect(upper, {3, 3, 101, 101});
                 },
             }) {
            try {
                const ScarceMemory scarce(blocks);
                edit();
            } catch (const std::bad_alloc&) {
                ++failures;
            }
            ASSERT_EQ(Dump(stack), order);
            ASSERT_EQ(Difference(document.Shown(), before, 150), "") << blocks;
        }
    EXPECT_EQ(failures, 24);
}

}  // namespace
