#include "tests/composite/CompositeDocument.h"
#include "tests/imaging/RandomImages.h"

#include <gtest/gtest.h>

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
        LayerFolder* folder = nullptr;
        for (int i = 0; i < layers; ++i) {
            if (random_.OneIn(6))
                folder = random_.OneIn(2) ? nullptr : document.AddFolder("F", random_.OneIn(4) ? folder : nullptr);
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
        composite.MakeCompositeTree(document.Stack(), true);
        Damage(kCanvas);
    }

    void Edit()
    {
        switch (random_.Int(0, 10)) {
        case 0:
        case 1: Paint(*RandomTarget()); break;
        case 2: SetOpacity(*RandomTarget()); break;
        case 3: SetVisible(*RandomTarget()); break;
        case 4: SetBlend(*RandomTarget()); break;
        case 5: Move(*RandomTarget()); break;
        case 6: ToggleFolder(); break;
        case 7: PaintStencil(); break;
        case 8:
        case 9: SetCurrent(RandomLayer()); break;
        default: SetCurrent(RandomCurrent()); break;
        }
        if (random_.OneIn(4))
            composite.BuildCache(document.Stack(), !random_.OneIn(8));
        if (random_.OneIn(25)) {
            composite.MakeCompositeTree(document.Stack(), random_.OneIn(2));
            Damage(kCanvas);
        }
    }

    void Update()
    {
        while (!document.damage.empty()) {
            const ilTile tile = ilTileIntersection(document.damage.back(), kCanvas);
            document.damage.pop_back();
            composite.MakeComposite(document.Stack(), &tile);
            plane_.copyTile3D(tile.x, tile.y, 0, tile.nx, tile.ny, 1, *composite.GetCurrentComposite(), tile.x, tile.y,
                              0);
        }
    }

    const ilSmartImage& GetPlane() const { return plane_; }

    CompositeDocument document{kCanvas};
    LayerStackComposite composite;

private:
    void AddLayer(LayerFolder* folder)
    {
        Layer* layer = document.Add("L", kLayerModeImage, folder);
        const int kind = random_.Int(0, 3);
        if (kind == 1)
            layer->GetImage()->fillTile(random_.Tile(0, 150, 120), ilPixel::Rgba(90, 160, 30, 255));
        else if (kind > 1)
            layer->SetImage(MakeRandomImage(random_, 4));
        layer->SetOffset(random_.OneIn(2) ? 64 : random_.Int(-40, 60), random_.OneIn(2) ? 0 : random_.Int(-40, 60), {},
                         false);
        layer->SetVisible(!random_.OneIn(6));
        layer->SetOpacity(random_.OneIn(2) ? 1.0F : static_cast<float>(random_.Int(1, 100)) / 100);
        if (random_.OneIn(8))
            layer->SetLayerBlend(static_cast<LayerBlendMode>(random_.Int(0, kLayerBlendModeCount - 1)));
        imageLayers_.push_back(layer);
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
            composite.CompositeBaseDirty(HandleOf(&layer));
        Damage(ilTileMoved(layer.GetImage()->GetBounds(), layer.getXOffset(), layer.getYOffset()));
    }

    void Paint(Layer& layer)
    {
        const ilTile tile = random_.Tile(-50, 200, 90);
        layer.GetImage()->fillTile(tile, random_.Pixel(4));
        const ilTile onCanvas = ilTileMoved(tile, layer.getXOffset(), layer.getYOffset());
        if (&layer != document.current)
            composite.CompositeBaseDirty(HandleOf(&layer), onCanvas);
        Damage(onCanvas);
    }
    void SetOpacity(Layer& layer)
    {
        layer.SetOpacity(random_.OneIn(3) ? 1.0F : static_cast<float>(random_.Int(0, 100)) / 100);
        Changed(layer);
    }
    void SetVisible(Layer& layer)
    {
        layer.SetVisible(!layer.isVisible());
        Changed(layer);
    }
    void SetBlend(Layer& layer)
    {
        const bool normal = layer.GetLayerBlend() != kBlendNormal;
        layer.SetLayerBlend(static_cast<LayerBlendMode>(normal ? 0 : random_.Int(1, kLayerBlendModeCount - 1)));
        composite.CompositeBaseDirty(HandleOf(&layer));
        Damage(kCanvas);
    }
    void Move(Layer& layer)
    {
        Changed(layer);
        layer.SetOffset(random_.Int(-70, 70), random_.Int(-70, 70), {}, true);
        Changed(layer);
    }
    void ToggleFolder()
    {
        for (LayerContainer* child : document.images.GetLCArray())
            if (auto* folder = dynamic_cast<LayerFolder*>(child); folder != nullptr && random_.OneIn(2)) {
                folder->SetActive(!folder->isActive());
                composite.CompositeBaseDirty(HandleOf(folder));
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
        composite.CompositeBaseDirty(stencil->GetOwnerLayerArray().front());
        Damage(tile);
    }
    void SetCurrent(Layer* layer)
    {
        document.current = layer;
        composite.SplitCompositeTreeByRefLCH(document.Stack(), HandleOf(layer), random_.OneIn(2), false);
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

/// What painting the document's layers one after the other gives at one pixel, in real numbers; all modes normal.
void PaintInRealNumbers(const LayerFolder& folder, int x, int y, double (&result)[4])
{
    for (const LayerContainer* child : folder.GetLCArray()) {
        double pixel[4] = {};
        if (const auto* inner = dynamic_cast<const LayerFolder*>(child))
            PaintInRealNumbers(*inner, x, y, pixel);
        else {
            const auto& layer = static_cast<const Layer&>(*child);
            const ilPixel stored = layer.GetImage()->GetPixel(x - layer.getXOffset(), y - layer.getYOffset());
            for (int c = 0; c < 4; ++c)
                pixel[c] = stored.GetComponent(c) * double{layer.GetOpacity()};
        }
        const double through = 1 - pixel[3] / 255;
        for (int c = 0; c < 4; ++c)
            result[c] = pixel[c] + through * result[c];
    }
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
                edited.composite.MakeComposite(edited.document.Stack(), nullptr);
            const qs::TempReference<ilSmartImage> fresh = ComposeFresh(edited.document);
            if (isWhole) {
                ASSERT_EQ(CanvasDifference(*edited.composite.GetCurrentComposite(), *fresh), "")
                    << "seed " << seed << ", step " << step;
            }
            edited.Update();
            ASSERT_EQ(CanvasDifference(edited.GetPlane(), *fresh), "") << "plane, seed " << seed << ", step " << step;
        }
    }
}

TEST(CachedTree, IsWithinALevelALayerOfRealNumbers)
{
    for (unsigned seed = 1; seed <= 20; ++seed) {
        Random random(seed);
        CompositeDocument document({0, 0, 80, 70});
        LayerFolder* folder = document.AddFolder("F");
        constexpr int kLayers = 6;
        for (int i = 0; i < kLayers; ++i) {
            Layer* layer = document.Add("L", kLayerModeImage, i == 2 || i == 3 ? folder : nullptr);
            layer->SetImage(MakeRandomImage(random, 4));
            layer->SetOffset(random.Int(-60, 60), random.Int(-60, 60), {}, false);
            layer->SetOpacity(random.OneIn(3) ? 1.0F : static_cast<float>(random.Int(1, 100)) / 100);
            if (random.OneIn(kLayers))
                document.current = layer;
        }
        const qs::TempReference<ilSmartImage> composite = ComposeFresh(document);
        for (int y = 0; y < 70; ++y)
            for (int x = 0; x < 80; ++x) {
                double expected[4] = {};
                PaintInRealNumbers(document.images, x, y, expected);
                const ilPixel pixel = composite->GetPixel(x, y);
                for (int c = 0; c < 4; ++c)
                    ASSERT_LE(std::abs(pixel.GetComponent(c) - expected[c]), kLayers)
                        << "seed " << seed << " at " << x << ", " << y;
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

    const auto collect = [root] {
        qs::vector<const ilSmartImage*> caches;
        qs::vector<const CompositeBase*> open = {root};
        while (!open.empty()) {
            const CompositeBase* node = open.back();
            open.pop_back();
            if (node->GetCache())
                caches.push_back(node->GetCache().get());
            open.insert(open.end(), node->GetChildren().begin(), node->GetChildren().end());
        }
        return caches;
    };
    qs::vector<qs::TempReference<ilSmartImage>> held;  // no address comes up twice
    for (const ilSmartImage* image : collect())
        held.emplace_back(const_cast<ilSmartImage*>(image));
    for (const size_t next : {99U, 101U}) {
        document.current = all[next];
        composite.SplitCompositeTreeByRefLCH(document.Stack(), HandleOf(all[next]), true, false);
        size_t kept = 0;
        for (const ilSmartImage* image : collect())
            kept += static_cast<size_t>(std::count(held.begin(), held.end(), image));
        EXPECT_GE(kept, 11U) << next;
    }
}
