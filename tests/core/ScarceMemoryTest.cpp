#include "RandomHost.h"

#include <cstdlib>
#include <new>

namespace {

/// How many allocations still succeed; below 0: all do. Then one fails, or all do until the end.
long allocationsLeft = -1;
bool failsOnwards = false;
bool hasFailed = false;

void CountAllocation()
{
    if (allocationsLeft < 0)
        return;
    if (allocationsLeft > 0) {
        --allocationsLeft;
        return;
    }
    hasFailed = true;
    if (!failsOnwards)
        allocationsLeft = -1;
    throw std::bad_alloc();
}

void* Allocate(std::size_t bytes)
{
    CountAllocation();
    if (void* block = std::malloc(bytes > 0 ? bytes : 1))
        return block;
    throw std::bad_alloc();
}

#ifdef __SANITIZE_ADDRESS__
constexpr long kStride = 7;
#else
constexpr long kStride = 1;
#endif

/// Pages are allocations as well.
class CountedPages : public PageMemoryPort {
public:
    CountedPages() { PageAllocator::SetPort(this); }
    ~CountedPages() override { PageAllocator::SetPort(nullptr); }
    CountedPages(const CountedPages&) = delete;
    CountedPages& operator=(const CountedPages&) = delete;

    uint8_t* Allocate(size_t bytes) override
    {
        CountAllocation();
        const long left = std::exchange(allocationsLeft, -1);
        PageAllocator::SetPort(nullptr);
        uint8_t* block = PageAllocator::Allocate(bytes);
        PageAllocator::SetPort(this);
        allocationsLeft = left;
        return block;
    }
    void Free(uint8_t* block, size_t bytes) noexcept override
    {
        PageAllocator::SetPort(nullptr);
        PageAllocator::Free(block, bytes);
        PageAllocator::SetPort(this);
    }
};

}  // namespace

void* operator new(std::size_t bytes)
{
    return Allocate(bytes);
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

/// A document with something of everything, and every command of the facade on it.
class ScarceMemoryTest : public RandomHost {
protected:
    static inline PntHandle ground, painted, grouped, mask, stencil, folder;
    static inline qs::vector<PntHandle> owners, group;  // arguments, made while there is memory

    enum class Kind {
        Step,  // one step of undo
        Plain,  // changes a property, or what is shown
        Preview,  // leaves a proxy
    };
    struct Case {
        const char* name;
        Kind kind;
        std::function<void()> run;
    };

    void OpenDocument()
    {
        CloseAll();
        delete ExchangeUndoDatabase(nullptr);
        ExchangeUndoDatabase(new PntUndoQueue(1000));
        documents_ = {Open(90, 70)};
        ground = PaintCore.GetCurrentLayerContainerHandle();
        PaintCore.FillLayer({0, 0, 90, 70}, {0.9F, 0.8F, 0.2F, 1});
        folder = PaintCore.AddLayerFolder(kLayerModeImage);
        grouped = PaintCore.GetCurrentLayerContainerHandle();
        SetBrush(8, {0, 0.4F, 0.8F, 0.7F}, 0.5F);
        Line(5, 60, 70, 10, 8);
        painted = PaintCore.AddLayer({}, kLayerModeImage, kLayerTypeRaster, true, folder);
        Line(10, 10, 80, 60, 9);
        mask = PaintCore.AddLayer({}, kLayerModeMask, kLayerTypeRaster, true, kNullHandle, 3, 4, -2, {painted});
        PaintCore.FillLayer({10, 5, 30, 30}, {1, 1, 1, 1}, mask);
        stencil =
            PaintCore.AddLayer({}, kLayerModeStencil, kLayerTypeRaster, true, kNullHandle, 0, 0, -2, {painted}, true);
        PaintCore.FillLayer({40, 20, 20, 30}, {1, 1, 1, 0.6F}, stencil);
        PaintCore.AddTransformGroup({painted, ground});
        owners = {ground};
        group = {grouped, mask};
        PaintCore.FillSelectionMask(ilTile(8, 8, 50, 40));
        PaintCore.SetSelectionMaskActive(true);
        PaintCore.SetCurrentLayer(painted);
        PaintCore.FlushUndoQueue();
    }

    std::string DescribeAll() const { return Describe() + (PaintCore.InProxy() ? "previewed" : ""); }

    /// Runs the command with one allocation failing, or that and all after it. What is wrong then, or nothing.
    std::string RunOnce(const Case& tried, long allowed)
    {
        const std::string before = DescribeAll();
        const size_t steps = PaintUndoQueue()->GetUndoDB()->size();
        hasFailed = false;
        allocationsLeft = allowed;
        try {
            tried.run();
        } catch (const std::bad_alloc&) {
            allocationsLeft = -1;
            return "it throws";
        }
        allocationsLeft = -1;
        PaintCore.EndBrushStroke();
        const std::string after = DescribeAll();
        const size_t more = PaintUndoQueue()->GetUndoDB()->size() - steps;
        if (const std::string untrue = FindUntruePlane(); !untrue.empty())
            return untrue;
        if (!hasFailed && tried.kind != Kind::Plain && after == before)
            return "it does nothing";
        if (tried.kind == Kind::Step) {
            if (more != (after != before ? 1U : 0U))
                return more > 0 ? "a step without a change" : "a change without a step";
            if (more > 0 && std::string(PaintUndoQueue()->GetUndoName()).starts_with("Change "))
                return "a step that has no name of its own";
            if (more > 0)
                PaintUndoQueue()->Undo();
            PaintUndoQueue()->FlushUndoDatabase();
        } else if (tried.kind == Kind::Preview) {
            if (PaintCore.InProxy() != (after != before))
                return "a preview half begun";
            PaintCore.EndProxy();
        }
        if (tried.kind != Kind::Plain && DescribeAll() != before)
            return "it is not taken back";
        return FindUntruePlane();
    }

    /// Every allocation of the command fails in turn: each time it has happened whole, with its step, or not at all.
    std::string FailEachAllocation(const Case& tried)
    {
        for (const bool onwards : {false, true}) {
            OpenDocument();
            const CountedPages pages;
            failsOnwards = onwards;
            hasFailed = true;
            for (long allowed = 0; hasFailed; allowed += kStride)
                if (const std::string wrong = RunOnce(tried, allowed); !wrong.empty())
                    return wrong + " at " + std::to_string(allowed) + (onwards ? " and after" : "");
        }
        return "";
    }

    static qs::vector<Case> AllCases();
};

namespace {

const Rect8f kQuad{{5, 70, 60, 12}, {8, 3, 60, 50}};
const float kLasso[] = {5, 5, 80, 12, 40, 65};

}  // namespace

qs::vector<ScarceMemoryTest::Case> ScarceMemoryTest::AllCases()
{
    using enum Kind;
    static const qs::TempReference<ilMIOImage> image(new ilSmartImage(ilPixel::Coverage(120)));
    const LayerStackTransform turn(3, 4, 0.8F, 1.2F, 40, 30, 25);
    ColorAdjustParm colors;
    colors.hue = 90;
    return {
        {"AddLayer", Step, [] { PaintCore.AddLayer({}); }},
        {"AddLayer with owners", Step,
         [] {
             PaintCore.AddLayer({}, kLayerModeStencil, kLayerTypeRaster, true, kNullHandle, 1, 1, -2, owners, false, {},
                                true);
         }},
        {"AddLayerFolder", Step, [] { PaintCore.AddLayerFolder(kLayerModeImage); }},
        {"DeleteLayer", Step, [] { PaintCore.DeleteLayer(painted); }},
        {"DeleteLayer of a folder", Step, [] { PaintCore.DeleteLayer(grouped); }},
        {"DeleteAllLayers", Step, [] { PaintCore.DeleteAllLayers(); }},
        {"DeleteAllMasks", Step, [] { PaintCore.DeleteAllMasks(); }},
        {"DeleteAllStencils", Step, [] { PaintCore.DeleteAllStencils(true); }},
        {"MoveLayer", Step, [] { PaintCore.MoveLayer(ground, grouped, true); }},
        {"AddOwnerToLayer", Step, [] { PaintCore.AddOwnerToLayer(ground, mask, false); }},
        {"RemoveOwnerFromLayer", Step, [] { PaintCore.RemoveOwnerFromLayer(painted, mask); }},
        {"MergeLayerWithBelow", Step, [] { PaintCore.MergeFolder(-2, folder); }},
        {"MergeAllLayers", Step, [] { PaintCore.MergeAllLayers(); }},
        {"MergeVisibleLayers", Step, [] { PaintCore.MergeVisibleLayers(); }},
        {"BakeAllStencils", Step, [] { PaintCore.BakeAllStencils(); }},
        {"DuplicateCurrentLayer", Step, [] { PaintCore.DuplicateCurrentLayer(); }},
        {"CopyLayerToImage", Step, [] { PaintCore.CopyLayerToImage(mask); }},
        {"CopyLayerToMask", Step, [] { PaintCore.CopyLayerToMask(painted); }},
        {"CopyLayerToStencil", Step, [] { PaintCore.CopyLayerToStencil(painted); }},
        {"SetLayerOffset", Step, [] { PaintCore.SetLayerOffset(7, 9, painted); }},
        {"FillLayer", Step,
         [] {
             PaintCore.FillLayer({3, 3, 60, 60}, {1, 0, 0, 0.5F}, painted);
         }},
        {"ClearCurrentLayer", Step, [] { PaintCore.ClearCurrentLayer(); }},
        {"ClearLayerImageByRect", Step,
         [] {
             PaintCore.ClearLayerImageByRect({3, 3, 60, 30}, painted);
         }},
        {"ClearLayerImageBySelMask", Step, [] { PaintCore.ClearLayerImageBySelMask(painted); }},
        {"CropLayer", Step,
         [] {
             PaintCore.CropLayer({20, 20, 30, 30}, painted);
         }},
        {"InvertImageLayer", Step, [] { PaintCore.InvertImageLayer(painted); }},
        {"InvertMaskLayer", Step, [] { PaintCore.InvertMaskLayer(mask); }},
        {"InvertStencilLayer", Step, [] { PaintCore.InvertStencilLayer(stencil); }},
        {"FlipImageLayer", Step, [] { PaintCore.FlipImageLayer(true, true, painted); }},
        {"XForm", Step, [=] { PaintCore.XForm(turn, kFilterBilinear, kFilterBilinear, painted); }},
        {"Deform", Step, [] { PaintCore.Deform(kQuad, kFilterBilinear, 0, painted); }},
        {"ColorAdjust", Step, [=] { PaintCore.ColorAdjust(colors, 0.5F, painted); }},
        {"SharpenOrBlurDone", Step, [] { PaintCore.SharpenOrBlurDone(-1, 3, painted); }},
        {"ProxyXForm", Preview, [=] { PaintCore.ProxyXForm(turn, kFilterBilinear, kFilterBilinear, painted); }},
        {"ProxyDeform", Preview, [] { PaintCore.ProxyDeform(kQuad, kFilterBilinear, 0, painted); }},
        {"ProxyColorAdjust", Preview, [=] { PaintCore.ProxyColorAdjust(colors, 0.5F, painted); }},
        {"AddTransformGroup", Step, [] { PaintCore.AddTransformGroup(group); }},
        {"addLayerToCurrTransformGroup", Step, [] { PaintCore.addLayerToCurrTransformGroup(grouped); }},
        {"removeLayerFromTransformGroup", Step, [] { PaintCore.removeLayerFromTransformGroup(painted); }},
        {"DeleteTransformGroup", Step, [] { PaintCore.DeleteTransformGroup(painted); }},
        {"ScaleAllLayers", Step, [] { PaintCore.ScaleAllLayers(50, 60, kFilterArea, kFilterBilinear); }},
        {"ResizeDocument", Step,
         [] {
             PaintCore.ResizeDocument({-5, -5, 100, 80});
         }},
        {"CropDocument", Step,
         [] {
             PaintCore.CropDocument({10, 10, 50, 40});
         }},
        {"RotateCanvas", Step, [] { PaintCore.RotateCanvas(30, kFilterBilinear, kFilterBilinear); }},
        {"FlipDocument", Step, [] { PaintCore.FlipDocument(true, false); }},
        {"FillSelectionMask", Step, [] { PaintCore.FillSelectionMask(ilTile(1, 2, 30, 30)); }},
        {"FillSelectionMask, all", Step, [] { PaintCore.FillSelectionMask(); }},
        {"ClearSelectionMask", Step, [] { PaintCore.ClearSelectionMask(); }},
        {"AddToSelection", Step, [] { PaintCore.AddToSelection(ilTile(1, 2, 30, 30)); }},
        {"SubtractFromSelection", Step, [] { PaintCore.SubtractFromSelection(image, 5, 5); }},
        {"IntersectSelection", Step, [] { PaintCore.IntersectSelection(image, 5, 5); }},
        {"CopyToSelection", Step, [] { PaintCore.CopyToSelection(painted); }},
        {"LassoSelection", Step, [] { PaintCore.LassoSelection(kLasso, 3); }},
        {"SelectLasso", Step, [] { PaintCore.SelectLasso(kLasso, 3, SelectionMode::Add, FillRule::NonZero); }},
        {"MoveSelection", Step, [] { PaintCore.MoveSelection(4, 5); }},
        {"InvertSelection", Step, [] { PaintCore.InvertSelection(); }},
        {"GrowSelection", Step, [] { PaintCore.GrowSelection(3); }},
        {"FeatherSelection", Step, [] { PaintCore.FeatherSelection(2); }},
        {"FloodFillDone", Step,
         [] {
             PaintCore.FloodFillDone(30, 20, 0.1F, {0, 1, 0, 1}, painted);
         }},
        {"SmoothFloodFillDone", Step,
         [] {
             PaintCore.SmoothFloodFillDone(30, 20, 0.1F, {0, 1, 0, 1}, painted);
         }},
        {"MagicWandDone", Step,
         [] {
             PaintCore.MagicWandDone(30, 20, 0.1F, {1, 1, 1, 1}, false, painted);
         }},
        {"stroke", Step, [] { Line(8, 12, 50, 40, 6); }},
        {"SetCurrentLayer", Plain,
         [] { PaintCore.SetCurrentLayer(PaintCore.GetCurrentLayerContainerHandle() == ground ? mask : ground); }},
        {"SetLayerOpacity", Plain, [] { PaintCore.SetLayerOpacity(1.1F - PaintCore.GetLayerOpacity(ground), ground); }},
        {"SetLayerBlend", Plain,
         [] {
             PaintCore.SetLayerBlend(PaintCore.GetLayerBlend(painted) == kBlendNormal ? kBlendHue : kBlendNormal,
                                     painted);
         }},
        {"SetLayerVisible", Plain, [] { PaintCore.SetLayerVisible(!PaintCore.isLayerVisible(painted), painted); }},
        {"SetLayerActive", Plain, [] { PaintCore.SetLayerActive(!PaintCore.isLayerActive(stencil), stencil); }},
        {"SetLayerFolderActive", Plain,
         [] { PaintCore.SetLayerFolderActive(!PaintCore.isLayerFolderActive(folder), folder); }},
        {"SetShowCurrentLayerOnly", Plain,
         [] { PaintCore.SetShowCurrentLayerOnly(!PaintCore.GetShowCurrentLayerOnly()); }},
        {"SetMaskDisable", Plain, [] { PaintCore.SetMaskDisable(!PaintCore.GetMaskDisable()); }},
        {"SetSelectionMaskActive", Plain, [] { PaintCore.SetSelectionMaskActive(!PaintCore.isSelectionMaskActive()); }},
        {"SetSelectionMaskCurrent", Plain, [] { PaintCore.SetSelectionMaskCurrent(); }},
        {"SetSelectionDefaultDisplayColor", Plain,
         [] {
             PaintCore.SetSelectionDefaultDisplayColor({1 - PaintCore.GetSelectionDefaultDisplayColor().r, 0, 0, 1});
         }},
        {"SetLayerStackSize", Plain,
         [] {
             PaintCore.SetLayerStackSize({0, 0, 80, 60});
         }},
        {"RedrawCanvasDueToGeometryChange", Plain, [] { PaintCore.RedrawCanvasDueToGeometryChange(); }},
        {"resumed", Plain,
         [] {
             PaintCore.SuspendLayerStackComposites();
             PaintCore.ResumeLayerStackComposites();
             PaintCore.ForceUpdate();
         }},
        {"FreeLayerStackCacheData", Plain,
         [] {
             PaintCore.FreeLayerStackCacheData(-2);
             PaintCore.ForceUpdate();
         }},
        {"GetCompositeImage", Plain, [] { PaintCore.GetCompositeImage(); }},
        {"undo and redo", Plain,
         [] {
             PaintCore.MergeAllLayers();
             PaintUndoQueue()->Undo();
             PaintUndoQueue()->Redo();
             PaintUndoQueue()->Undo();
         }},
    };
}

TEST_F(ScarceMemoryTest, EveryCommandHappensWholeOrNotAtAllWhereverMemoryRunsOut)
{
    for (const Case& one : AllCases())
        EXPECT_EQ(FailEachAllocation(one), "") << one.name;
}
