#include "platform/imaging/kernels/Kernels.h"
#include "tests/composite/CompositeDocument.h"
#include "tests/support/RandomImages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

namespace {

constexpr ilTile kCanvas{0, 0, 200, 150};

/// A random document with its kept composite and the plane that a view would show of it: redrawn only where damage was
/// told, by the edits themselves or through the port.
class EditedDocument {
public:
    explicit EditedDocument(unsigned seed, int layers) : random_(seed)
    {
        composite->SetOwner(document.Stack());
        LayerFolder* folder = nullptr;
        for (int i = 0; i < layers; ++i) {
            if (random_.OneIn(6))
                folder = random_.OneIn(2) ? nullptr : document.AddFolder("F", random_.OneIn(4) ? folder : nullptr);
            if (folder != nullptr)
                folder->SetActive(!random_.OneIn(9));
            AddLayer(folder);
        }
        Layer* mask = document.Add("mask", kLayerModeMask);
        mask->AddOwnerLayer(RandomLayer(), false);
        for (int i = 0; i < 3; ++i) {
            Layer* stencil = document.Add("stencil", kLayerModeStencil);
            stencil->GetImage()->fillTile(random_.Tile(-20, 180, 100), random_.Pixel(1));
            if (i > 0)
                stencil->AddOwnerLayer(RandomLayer(), i == 1);
        }
        document.current = RandomLayer();
        composite->MakeCompositeTree(document.Stack(), true);
        Damage(kCanvas);
    }

    void Edit()
    {
        Layer& layer = *RandomTarget();
        switch (random_.Int(0, 11)) {
        case 0:
        case 1: Paint(layer); break;
        case 2:
            layer.SetOpacity(random_.OneIn(3) ? 1.0F : static_cast<float>(random_.Int(0, 100)) / 100);
            Changed(layer);
            break;
        case 3:
            layer.SetVisible(!layer.isVisible());
            Changed(layer);
            break;
        case 4:
            layer.SetLayerBlend(static_cast<LayerBlendMode>(
                layer.GetLayerBlend() != kBlendNormal ? 0 : random_.Int(1, kLayerBlendModeCount - 1)));
            composite->CompositeBaseDirty(HandleOf(&layer));
            Damage(kCanvas);
            break;
        case 5:
            Changed(layer);
            layer.SetOffset(random_.Int(-70, 70), random_.Int(-70, 70), {}, true);
            Changed(layer);
            break;
        case 6: ToggleFolder(); break;
        case 7: PaintStencil(); break;
        case 8: InsertLayer(); break;
        default: SetCurrent(random_.OneIn(3) ? RandomCurrent() : RandomLayer()); break;
        }
        if (random_.OneIn(4))
            composite->BuildCache(document.Stack(), !random_.OneIn(8));
        if (random_.OneIn(25)) {
            composite->MakeCompositeTree(document.Stack(), random_.OneIn(2));
            Damage(kCanvas);
        }
        if (random_.OneIn(6))
            PassOn();
    }

    void Update()
    {
        while (!document.damage.empty()) {
            const ilTile tile = ilTileIntersection(document.damage.back(), kCanvas);
            document.damage.pop_back();
            composite->MakeComposite(document.Stack(), &tile);
            plane_.copyTile3D(tile.x, tile.y, 0, tile.nx, tile.ny, 1, *composite->GetCurrentComposite(), tile.x, tile.y,
                              0);
        }
    }

    const ilSmartImage& GetPlane() const { return plane_; }
    const qs::vector<Layer*>& GetImageLayers() const { return imageLayers_; }

    CompositeDocument document{kCanvas};
    std::unique_ptr<LayerStackComposite> composite = std::make_unique<LayerStackComposite>();

private:
    void AddLayer(LayerFolder* folder)
    {
        Layer* layer = document.Add("L", kLayerModeImage, folder);
        const int kind = random_.Int(0, 3);
        if (random_.OneIn(10))
            layer->GetImage()->SetFillValue(random_.Pixel(4));
        if (kind == 1)
            layer->GetImage()->fillTile(random_.Tile(0, 150, 120), ilPixel::Rgba(90, 160, 30, 255));
        else if (kind > 1 && layer->GetImage()->GetFillValue().GetPacked() == 0)
            layer->SetImage(MakeRandomImage(random_, 4));
        layer->SetOffset(random_.OneIn(2) ? 64 : random_.Int(-40, 60), random_.OneIn(2) ? 0 : random_.Int(-40, 60), {},
                         false);
        layer->SetVisible(!random_.OneIn(6));
        layer->SetOpacity(random_.OneIn(2) ? 1.0F : static_cast<float>(random_.Int(1, 100)) / 100);
        if (random_.OneIn(8))
            layer->SetLayerBlend(static_cast<LayerBlendMode>(random_.Int(0, kLayerBlendModeCount - 1)));
        imageLayers_.push_back(layer);
    }

    /// Somewhere in one of the folders; the tree takes it in without being made anew.
    void InsertLayer()
    {
        LayerFolder* folder = nullptr;
        for (LayerContainer* child : document.images.GetLCArray())
            if (child->AsLayerFolder() != nullptr && random_.OneIn(3))
                folder = child->AsLayerFolder();
        AddLayer(folder);
        qs::vector<LayerContainer*>& siblings = (folder != nullptr ? folder : &document.images)->GetLCArray();
        std::rotate(siblings.begin() + random_.Int(0, static_cast<int>(siblings.size()) - 1), siblings.end() - 1,
                    siblings.end());
        if (random_.OneIn(2))
            document.current = imageLayers_.back();
        composite->AddCompositeBase(document.Stack(), *imageLayers_.back());
        Damage(kCanvas);
    }

    /// An image layer; often the current one, whose changes nobody marks.
    Layer* RandomTarget()
    {
        const bool takesCurrent = document.current->GetLayerMode() == kLayerModeImage && random_.OneIn(3);
        return takesCurrent ? document.current : RandomLayer();
    }
    Layer* RandomLayer()
    {
        const int last = static_cast<int>(imageLayers_.size()) - 1;
        return imageLayers_[static_cast<size_t>(random_.Int(0, last))];
    }
    Layer* RandomCurrent()
    {
        LayerFolder& folder = random_.OneIn(2) ? document.masks : document.stencils;
        return static_cast<Layer*>(folder.GetLCArray()[static_cast<size_t>(random_.Int(0, folder.GetSize() - 1))]);
    }

    void Damage(const ilTile& tile) { document.damage.push_back(tile); }
    void Changed(Layer& layer)
    {
        if (&layer != document.current)
            composite->CompositeBaseDirty(HandleOf(&layer));
        const bool isFilled = layer.GetImage()->GetFillValue().GetPacked() != 0;
        Damage(isFilled ? kCanvas : ilTileMoved(layer.GetImage()->GetBounds(), layer.getXOffset(), layer.getYOffset()));
    }

    void Paint(Layer& layer)
    {
        const ilTile tile = random_.Tile(-50, 200, 90);
        layer.GetImage()->fillTile(tile, random_.Pixel(4));
        const ilTile onCanvas = ilTileMoved(tile, layer.getXOffset(), layer.getYOffset());
        if (&layer != document.current)
            composite->CompositeBaseDirty(HandleOf(&layer), onCanvas);
        Damage(onCanvas);
    }
    void ToggleFolder()
    {
        for (LayerContainer* child : document.images.GetLCArray())
            if (auto* folder = dynamic_cast<LayerFolder*>(child); folder != nullptr && random_.OneIn(2)) {
                folder->SetActive(!folder->isActive());
                composite->CompositeBaseDirty(HandleOf(folder));
                Damage(kCanvas);
                return;
            }
    }
    void PaintStencil()
    {
        auto* stencil = static_cast<Layer*>(document.stencils.GetLCArray()[static_cast<size_t>(random_.Int(1, 2))]);
        const ilTile tile = random_.Tile(-20, 180, 100);
        stencil->GetImage()->fillTile(tile, random_.Pixel(1));
        stencil->SetStencilCompositeDirty(true);
        composite->CompositeBaseDirty(stencil->GetOwnerLayerArray().front());
        Damage(tile);
    }
    void SetCurrent(Layer* layer)
    {
        document.current = layer;
        composite->SplitCompositeTreeByRefLCH(document.Stack(), HandleOf(layer), random_.OneIn(2), false);
    }
    /// Goes on with a copy of the composite, or with another that takes what it has.
    void PassOn()
    {
        auto next = std::make_unique<LayerStackComposite>();
        next->SetOwner(document.Stack());
        if (random_.OneIn(2))
            next->CopyFrom(composite.get());
        else
            next->TakeFrom(*composite);
        composite = std::move(next);
    }

    Random random_;
    qs::vector<Layer*> imageLayers_;
    ilSmartImage plane_{ilPixel(kUnsignedByte, 4)};
};

/// As FirstDifference, on the canvas, but quick while there is none.
std::string CanvasDifference(const ilImage& a, const ilImage& b)
{
    const ptrdiff_t stride = ptrdiff_t{kCanvas.nx} * 4;
    qs::vector<uint8_t> rowsOfA(static_cast<size_t>(stride * kCanvas.ny));
    qs::vector<uint8_t> rowsOfB(rowsOfA.size());
    a.ReadTile(kCanvas, rowsOfA.data(), stride);
    b.ReadTile(kCanvas, rowsOfB.data(), stride);
    return rowsOfA == rowsOfB ? std::string() : FirstDifference(a, b, kCanvas);
}

bool ReadsBelow(const LayerContainer* container)
{
    const auto* layer = dynamic_cast<const Layer*>(container);
    return layer != nullptr && layer->GetLayerBlend() != kBlendNormal;
}

using Pixel = std::array<double, 4>;

/// What the folder's members show at one pixel, one after the other: in bytes up to the last that reads what lies below
/// it, in real numbers from there on.
Pixel PaintInTurn(const LayerFolder& folder, bool inBytes, int x, int y)
{
    const qs::vector<LayerContainer*>& members = folder.GetLCArray();
    const auto readers = std::find_if(members.rbegin(), members.rend(), ReadsBelow);
    Pixel sum{};
    for (size_t i = 0; i < members.size(); ++i) {
        const bool isExact = inBytes || i < static_cast<size_t>(members.rend() - readers);
        uint8_t bytes[4] = {};
        Pixel shown{};
        LayerBlendMode mode = kBlendNormal;
        kernels::Weight weight = kernels::kFullWeight;
        if (const auto* inner = dynamic_cast<const LayerFolder*>(members[i])) {
            if (inner->isActive())
                shown = PaintInTurn(*inner, isExact, x, y);
        } else {
            auto& layer = static_cast<Layer&>(*members[i]);
            const int atX = x - layer.getXOffset();
            const int atY = y - layer.getYOffset();
            mode = layer.GetLayerBlend();
            weight = layer.isVisible() && layer.GetOpacity() > 0.002F ? kernels::WeightFrom(double{layer.GetOpacity()})
                                                                      : kernels::Weight{0};
            for (int c = 0; c < 4; ++c)
                bytes[c] = static_cast<uint8_t>(layer.GetImage()->GetPixel(atX, atY).GetComponent(c));
            if (const ilMIOImage* stencil = layer.GetUpToDateStencil()) {
                const auto coverage = static_cast<uint8_t>(stencil->GetPixel(atX, atY).GetAlpha());
                kernels::Get().eraseCoverage(bytes, &coverage, kernels::kFullWeight, 1);
            }
            std::copy_n(bytes, 4, shown.begin());
        }
        if (isExact) {
            uint8_t below[4];
            std::copy_n(sum.begin(), 4, below);
            std::copy_n(shown.begin(), 4, bytes);
            kernels::Get().blendMode[mode](below, bytes, weight, 1);
            std::copy_n(below, 4, sum.begin());
            continue;
        }
        const double share = weight / 65535.0;
        const double through = 1 - shown[3] * share / 255;
        for (size_t c = 0; c < 4; ++c)
            sum[c] = shown[c] * share + through * sum[c];
    }
    return sum;
}

}  // namespace

TEST(CachedTree, AndThePlaneEqualAFreshCompositeAfterRandomEdits)
{
    for (unsigned seed = 1; seed <= 60; ++seed) {
        EditedDocument edited(seed, seed % 4 == 0 ? 45 : seed % 4 * 4);
        for (int step = 0; step < 40; ++step) {
            edited.Edit();
            const bool isWhole = step % 5 == 0;
            if (isWhole)
                edited.composite->MakeComposite(edited.document.Stack(), nullptr);
            const qs::TempReference<ilSmartImage> fresh = ComposeFresh(edited.document);
            if (isWhole) {
                ASSERT_EQ(CanvasDifference(*edited.composite->GetCurrentComposite(), *fresh), "") << "step " << step;
            }
            edited.Update();
            ASSERT_EQ(CanvasDifference(edited.GetPlane(), *fresh), "") << "plane, step " << step;
        }
    }
}

TEST(CachedTree, ShowsOnePictureWhateverIsCurrent)
{
    for (unsigned seed = 1; seed <= 60; ++seed) {
        EditedDocument edited(seed, seed % 6 == 0 ? 40 : seed % 6 * 3);
        CompositeDocument& document = edited.document;
        qs::vector<Layer*> choices = edited.GetImageLayers();
        choices.push_back(nullptr);
        const size_t size = size_t{4} * kCanvas.nx * kCanvas.ny;
        qs::vector<uint8_t> least(size, 255);
        qs::vector<uint8_t> most(size, 0);
        qs::vector<uint8_t> shown(size);
        for (Layer* current : choices) {
            document.current = current;
            ComposeFresh(document)->ReadTile(kCanvas, shown.data(), ptrdiff_t{4} * kCanvas.nx);
            std::transform(shown.begin(), shown.end(), least.begin(), least.begin(), std::ranges::min);
            std::transform(shown.begin(), shown.end(), most.begin(), most.begin(), std::ranges::max);
        }
        for (size_t i = 0; i < size; ++i)
            ASSERT_LE(most[i] - least[i], 1) << "byte " << i;
        for (size_t i = 4 * (seed % 7); i < size; i += 28) {
            const auto pixel = static_cast<int>(i / 4);
            const Pixel expected = PaintInTurn(document.images, false, pixel % kCanvas.nx, pixel / kCanvas.nx);
            for (size_t c = 0; c < 4; ++c)
                ASSERT_LE(std::abs(shown[i + c] - expected[c]), 1) << "pixel " << pixel;
        }
    }
}

TEST(CachedTree, TileCostsTheSameWhateverTheNumberOfLayers)
{
    for (const int layers : {5, 40, 120}) {
        CompositeDocument document(kCanvas);
        qs::vector<Layer*> all;
        for (int i = 0; i < layers; ++i)
            all.push_back(document.AddFilled("L", {i, i, 60, 60}, ilPixel::Rgba(10, 20, 30, 128)));
        LayerStackComposite composite;
        for (const int at : {0, layers / 2, layers - 1}) {
            document.current = all[static_cast<size_t>(at)];
            CompositeBase* root = composite.MakeCompositeTree(document.Stack(), true);
            qs::vector<CompositeSource> sources;
            for (CompositeBase* child : root->GetChildren())
                child->AppendSources({0, 0, 64, 64}, sources);
            EXPECT_LE(sources.size(), 3U) << layers << " layers, current " << at;
        }
    }
}

TEST(CachedTree, AMovedReferenceKeepsMostCaches)
{
    CompositeDocument document(kCanvas);
    qs::vector<Layer*> all;
    for (int i = 0; i < 200; ++i)
        all.push_back(document.AddFilled("L", {0, 0, 60, 60}, ilPixel::Rgba(10, 20, 30, 128)));
    document.current = all[100];
    LayerStackComposite composite;
    CompositeBase* root = composite.MakeCompositeTree(document.Stack(), true);

    using Caches = qs::vector<qs::TempReference<ilSmartImage>>;
    const auto collect = [root] {
        Caches caches;
        qs::vector<const CompositeBase*> open = {root};
        for (size_t i = 0; i < open.size(); ++i) {
            const qs::vector<CompositeBase*> children = open[i]->GetChildren();
            open.insert(open.end(), children.begin(), children.end());
            if (open[i]->GetCache())
                caches.push_back(open[i]->GetCache());
        }
        return caches;
    };
    const Caches held = collect();
    for (const size_t next : {99U, 101U}) {
        document.current = all[next];
        composite.SplitCompositeTreeByRefLCH(document.Stack(), HandleOf(all[next]), true, false);
        size_t kept = 0;
        for (const auto& image : collect())
            kept += static_cast<size_t>(std::count(held.begin(), held.end(), image));
        EXPECT_GE(kept + 3, held.size()) << next;  // all but those right below and above, and a block of theirs
    }
}
