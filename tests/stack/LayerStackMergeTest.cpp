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

/// Of all blend modes in turn: with `isOpaque` over an opaque lower layer with more beneath, otherwise over a
/// translucent one that lies at the bottom and has a blend mode of its own.
void ExpectMergeLooksTheSame(LayerBlendMode mode, bool isOpaque, float opacity)
{
    MergeDocument document;
    LayerStack& stack = *document.stack;
    if (isOpaque)
        document.AddScribbled("beneath");
    const PntHandle lower = document.AddScribbled("lower", isOpaque);
    const LayerBlendMode lowerMode = isOpaque ? kBlendNormal : static_cast<LayerBlendMode>((mode + 5) % 17);
    stack.SetLayerBlend(lower, lowerMode);
    if (!isOpaque) {
        stack.SetLayerOpacity(lower, 0.7f);
        stack.SetLayerOffset(lower, -9, 70, false);
    }
    const PntHandle upper = document.AddScribbled("upper");
    stack.SetLayerBlend(upper, mode);
    stack.SetLayerOpacity(upper, opacity);
    stack.SetLayerOffset(upper, 64, -13, false);
    document.AddStencil("of upper", upper);
    document.AddStencil("linked", upper, true);
    if (!isOpaque)
        document.AddStencil("of lower", lower);
    stack.SetCurrentLayer(upper, false, false, false);
    const auto before = document.Shown();
    const KeptImages kept(stack);

    EXPECT_EQ(stack.GetMergeReceiver(upper, lower), lower);
    stack.MergeLayers(upper, lower, false);
    EXPECT_LE(LargestDifference(document.Shown(), before), 1);
    EXPECT_TRUE(kept.AreUntouched());
    EXPECT_EQ(Dump(stack), isOpaque ? "beneath lower* |  | " : "lower* |  | ");
    const Layer& merged = *document.Find(lower);
    EXPECT_EQ(merged.GetLayerBlend(), lowerMode);
    EXPECT_EQ(merged.GetOpacity(), 1.0f);
    EXPECT_EQ(merged.getXOffset() | merged.getYOffset(), 0);
}

TEST(LayerStackMerge, MergingDownLooksTheSameInEveryBlendModeAndOpacity)
{
    for (int mode = 0; mode < kLayerBlendModeCount; ++mode)
        for (const float opacity : {1.0f, 0.35f})
            for (const bool isOpaque : {false, true}) {
                SCOPED_TRACE(testing::Message() << "mode " << mode << " opacity " << opacity << " opaque " << isOpaque);
                ExpectMergeLooksTheSame(static_cast<LayerBlendMode>(mode), isOpaque, opacity);
            }
}

/// Random documents with a folder: a merge shows what was there, or nothing happens at all.
TEST(LayerStackMerge, APairMergesIntoWhatItShowedOrNotAtAll)
{
    int merges = 0;
    int refusals = 0;
    for (unsigned seed = 1; seed <= 150; ++seed) {
        MergeDocument document;
        LayerStack& stack = *document.stack;
        document.random.seed(seed);
        qs::vector<PntHandle> layers{document.AddScribbled("ground", document.Below(2) == 0)};
        for (int i = 0; i < 4; ++i) {
            if (i == 2 && document.Below(2) == 0) {
                stack.AddLayerFolder(kLayerModeImage, layers.back());
                layers.push_back(stack.GetCurrentLayerContainerHandle());
            }
            layers.push_back(document.Add("L"));
            if (document.Below(6) != 0)
                document.Scribble(document.Below(3) == 0, 3);
            if (document.Below(2) == 0)
                stack.SetLayerBlend(layers.back(), static_cast<LayerBlendMode>(document.Below(kLayerBlendModeCount)));
            if (document.Below(2) == 0)
                stack.SetLayerOpacity(layers.back(), 0.6F);
            if (document.Below(8) == 0)
                document.AddStencil("stencil", layers.back());
            if (document.Below(8) == 0)
                stack.SetLayerVisible(layers.back(), false, false);
        }
        stack.SetCurrentLayer(layers.front(), false, false, false);
        const size_t at = static_cast<size_t>(document.Below(static_cast<int>(layers.size()) - 1));
        const PntHandle lower = layers[at];
        const PntHandle upper = layers[at + 1];
        const bool isRefused = stack.GetMergeReceiver(upper, lower) == kNullHandle;
        const std::string dump = Dump(stack);
        const bool wasVisible = stack.isLayerVisible(lower);
        if (!isRefused)
            stack.SetLayerVisible(lower, true, false);  // which every merge does
        const auto before = document.Shown();
        stack.MergeLayers(upper, lower, false);
        EXPECT_LE(LargestDifference(document.Shown(), before), 1) << "seed " << seed;
        EXPECT_EQ(Dump(stack) == dump, isRefused) << "seed " << seed;
        EXPECT_EQ(stack.isLayerVisible(lower), wasVisible || !isRefused) << "seed " << seed;
        ++(isRefused ? refusals : merges);
    }
    EXPECT_GT(merges, 50);
    EXPECT_GT(refusals, 20);
}

TEST(LayerStackMerge, ANormalPairMergesOverAnythingAlsoWhileCompositesAreSuspended)
{
    for (const bool isSuspended : {false, true}) {
        MergeDocument document;
        LayerStack& stack = *document.stack;
        document.AddScribbled("beneath", true);
        const PntHandle lower = document.AddScribbled("lower");
        const PntHandle upper = document.AddScribbled("upper");
        const PntHandle above = document.AddScribbled("above");
        stack.SetLayerOpacity(lower, 0.6f);
        stack.SetLayerOpacity(upper, 0.5f);
        stack.SetLayerOpacity(above, 0.5f);
        const auto before = document.Shown();
        if (isSuspended)
            stack.SuspendComposites();
        stack.MergeLayers(upper, lower, true);
        stack.ResumeComposites();
        EXPECT_LE(LargestDifference(document.Shown(), before), 1);
        EXPECT_EQ(Dump(stack), "beneath lower* above |  | ");
    }
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

/// A document of folders, hidden layers, stencils, offsets, blend modes and opacities.
void BuildRandomDocument(MergeDocument& document)
{
    LayerStack& stack = *document.stack;
    document.AddScribbled("first");
    for (int i = 0; i < 7; ++i) {
        const qs::vector<PntHandle> all = stack.GetLayerContainerHandleArray(kLayerModeImage, false);
        const PntHandle where = all[static_cast<size_t>(document.Below(static_cast<int>(all.size())))];
        if (i % 3 == 1 && stack.AddLayerFolder(kLayerModeImage, where) != kNullHandle)
            document.Scribble();
        const PntHandle added = document.Add("layer", kLayerModeImage, where, document.Below(2) != 0);
        document.Scribble();
        stack.SetLayerBlend(added, static_cast<LayerBlendMode>(document.Below(2) * document.Below(17)));
        stack.SetLayerOpacity(added, 0.2f + 0.1f * static_cast<float>(document.Below(9)));
        stack.SetLayerOffset(added, document.Below(60) - 30, document.Below(60) - 30, false);
        stack.SetLayerVisible(added, document.Below(4) != 0, false);
        if (document.Below(3) == 0)
            document.AddStencil("stencil", added, document.Below(2) == 0);
    }
}

qs::vector<LayerFolder*> FoldersOf(LayerStack& stack)
{
    qs::vector<LayerFolder*> folders;
    for (LayerContainer* child : stack.GetLayerFolder(kLayerModeImage)->GetLCArray())
        if (auto* folder = dynamic_cast<LayerFolder*>(child))
            folders.push_back(folder);
    return folders;
}

/// Makes the top layer current: no stencil is tinted then, and no group above the current layer rounds otherwise.
void ShowAsFlattened(LayerStack& stack)
{
    stack.SetCurrentLayer(stack.GetTopLayer(kLayerModeImage)->GetLayerContainerHandle(), false, false, false);
}

TEST(LayerStackMerge, MergingFoldersOrEverythingLooksTheSame)
{
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        MergeDocument document;
        document.random.seed(seed);
        BuildRandomDocument(document);
        LayerStack& stack = *document.stack;
        for (LayerFolder* folder : FoldersOf(stack)) {
            folder->SetLayerContainerName("merged");
            stack.SetLayerFolderActive(folder->GetLayerContainerHandle(), document.Below(4) != 0, false);
            ShowAsFlattened(stack);
            const bool wasShown = folder->isActive();
            const PntHandle receiver = stack.GetFolderMergeReceiver(folder);
            const auto before = document.Shown();
            const KeptImages kept(stack);
            if (document.Below(2) == 0)
                continue;
            stack.MergeLayerFolder(folder);
            EXPECT_LE(LargestDifference(document.Shown(), before), 1);
            EXPECT_TRUE(kept.AreUntouched());
            EXPECT_STREQ(document.Find(receiver)->GetLayerContainerName(), "merged");
            EXPECT_EQ(stack.isLayerVisible(receiver), wasShown);
            EXPECT_EQ(stack.FindLayerFolder(receiver, true), stack.GetLayerFolder(kLayerModeImage));
        }
        const bool visibleOnly = seed % 2 == 0;
        const PntHandle receiver = stack.GetMergeAllReceiver(visibleOnly);
        qs::vector<PntHandle> expected;
        for (const PntHandle& handle : stack.GetLayerContainerHandleArray(kLayerModeImage, false)) {
            const Layer* layer = document.Find(handle);
            const LayerFolder* folder = stack.FindLayerFolder(handle, true);
            const bool isHidden = layer != nullptr && !(layer->isVisible() && folder->isActive());
            if (handle == receiver || (visibleOnly && isHidden))
                expected.push_back(handle);
        }
        ShowAsFlattened(stack);
        const auto before = document.Shown();
        const KeptImages kept(stack);
        stack.MergeAllLayers(visibleOnly);
        if (receiver == kNullHandle)
            continue;
        EXPECT_LE(LargestDifference(document.Shown(), before), 1);
        EXPECT_TRUE(kept.AreUntouched());
        qs::vector<PntHandle> left = stack.GetLayerContainerHandleArray(kLayerModeImage, false);
        std::erase_if(left, [&](const PntHandle& handle) { return document.Find(handle) == nullptr; });
        EXPECT_EQ(left, expected);
        EXPECT_NE(stack.GetCLP(), nullptr);
    }
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
    stack.AddLayerFolder(kLayerModeImage, document.AddScribbled("beneath"));
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
                 [&] { stack.MergeLayerFolder(FoldersOf(stack).front()); },
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
