#include "layers/LayerFolder.h"

#include "tests/layers/FakeDocument.h"
#include "tests/support/Seed.h"

#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <regex>

namespace {

/// Builds trees from dumps, such as "a G[b c] d", and finds their members by name.
class Tree {
public:
    explicit Tree(const std::string& text = "") : root(new LayerFolder)
    {
        size_t position = 0;
        Parse(*root, text, position);
    }

    LayerContainer* Make(const std::string& name)
    {
        qs::Reference<LayerContainer> made;
        if (std::isupper(static_cast<unsigned char>(name[0])))
            made = new LayerFolder;
        else
            made = MakeLayer();
        made->SetLayerContainerName(name.c_str());
        members[name] = made;
        return made.get();
    }
    LayerContainer* operator[](const std::string& name) { return members.count(name) ? members[name].get() : nullptr; }
    LayerFolder* Folder(const std::string& name) { return dynamic_cast<LayerFolder*>((*this)[name]); }
    Layer* AsLayer(const std::string& name) { return dynamic_cast<Layer*>((*this)[name]); }
    PntHandle Handle(const std::string& name) { return (*this)[name]->GetLayerContainerHandle(); }
    std::string Text() const { return Dump(*root); }

    qs::Reference<LayerFolder> root;
    std::map<std::string, qs::Reference<LayerContainer>> members;

private:
    void Parse(LayerFolder& into, const std::string& text, size_t& position)
    {
        while (position < text.size() && text[position] != ']') {
            if (text[position] == ' ') {
                ++position;
                continue;
            }
            const size_t end = std::min(text.find_first_of(" []", position), text.size());
            LayerContainer* made = Make(text.substr(position, end - position));
            into.AddLayerContainer(made, nullptr, true);
            position = end;
            if (position < text.size() && text[position] == '[') {
                ++position;
                Parse(dynamic_cast<LayerFolder&>(*made), text, position);
                ++position;
            }
        }
    }
};

std::string NameOf(const LayerContainer* container)
{
    return container != nullptr ? container->GetLayerContainerName() : "-";
}

std::string NamesOf(const qs::vector<Layer*>& layers)
{
    std::string text;
    for (const Layer* layer : layers)
        text += (text.empty() ? "" : " ") + NameOf(layer);
    return text;
}

}  // namespace

TEST(LayerFolder, WhatCannotBeAddedIsRefusedAndAnUnknownHandleActsAsNone)
{
    Tree tree("a G[H[b]]"), elsewhere("z");
    for (const auto& [added, ref] : {std::pair<LayerContainer*, LayerContainer*>(nullptr, nullptr),
                                     {tree.root.get(), nullptr},
                                     {tree["G"], tree["b"]},
                                     {tree.Make("x"), elsewhere["z"]}})
        EXPECT_FALSE(tree.root->AddLayerContainer(added, ref, true));
    EXPECT_EQ(tree.Text(), "a G[H[b]]");
    EXPECT_TRUE(tree.root->AddLayerContainer(tree["x"], elsewhere.Handle("z"), true));
    EXPECT_TRUE(tree.root->AddLayerContainer(tree.Make("w"), nullptr, false));
    EXPECT_TRUE(tree.root->AddLayerContainer(tree.Make("y"), tree.Handle("b"), true));
    EXPECT_EQ(tree.Text(), "w a G[H[b y]] x");
}

TEST(LayerFolder, RemovingTellsTheHostOnceAndLetsGoOfTheOneReferenceThatAChildHas)
{
    FakeDocument document;
    Tree tree("a G[H[b] c] I[d]");
    EXPECT_EQ(tree["b"]->GetRefCount(), 2);  // the tree's own map holds the other
    for (const char* name : {"b", "d", "G"})
        EXPECT_TRUE(tree.root->RemoveLayerContainer(tree[name]));
    EXPECT_FALSE(tree.root->RemoveLayerContainer(tree["b"]) || tree.root->RemoveLayerContainer(nullptr));
    EXPECT_EQ(tree.Text(), "a");
    EXPECT_EQ(document.removals, (qs::vector{tree.Handle("b"), tree.Handle("d"), tree.Handle("G")}));
    tree.root->Clear();
    for (const char* name : {"a", "b", "d", "G", "H", "I"})
        EXPECT_EQ(tree[name]->GetRefCount(), 1) << name;
}

TEST(LayerFolder, NeighboursEndsAndHandlesAreFoundAtAnyDepth)
{
    Tree tree("a G[b H[c]] d I[]");
    EXPECT_EQ(NameOf(tree.root->GetNextLayer(tree.AsLayer("a"))), "b");
    EXPECT_EQ(NameOf(tree.root->GetPreviousLayer(tree.AsLayer("c"))), "b");
    EXPECT_EQ(NameOf(tree.root->GetNextLayer(tree.AsLayer("d"))), "-");
    EXPECT_EQ(NameOf(tree.root->GetNextLayerContainer(MakeLayer().get())), "-");
    EXPECT_EQ(NameOf(tree.root->GetTopLayerContainer(false)) + NameOf(tree.root->GetTopLayer()), "I-");
    tree.root->RemoveLayerContainer(tree["I"]);
    tree.root->RemoveLayerContainer(tree["d"]);
    EXPECT_EQ(NameOf(tree.root->GetTopLayerContainer(true)) + NameOf(tree.root->GetTopLayerContainer(false)), "Gc");
    EXPECT_EQ(NameOf(tree.root->GetBottomLayer()), "a");
    EXPECT_EQ(tree.root->GetLCHArray(true).size(), 2U);
    EXPECT_EQ(tree.root->GetLCHArray(false),
              (qs::vector{tree.Handle("a"), tree.Handle("G"), tree.Handle("b"), tree.Handle("H"), tree.Handle("c")}));
    EXPECT_EQ(tree.root->GetLayerContainerFromHandle(tree.Handle("c")), tree["c"]);
    EXPECT_EQ(tree.root->GetLayerContainerFromHandle(tree.root->GetLayerContainerHandle()), tree.root.get());
    EXPECT_EQ(tree.root->GetLayerContainerFromHandle(kNullHandle), nullptr);
    LayerFolder* where = nullptr;
    EXPECT_TRUE(tree.root->FindLayerContainer(tree["c"], &where) && where == tree["H"]);
    EXPECT_FALSE(tree.Folder("H")->FindLayerContainer(tree["a"], &where) || where != nullptr);
    EXPECT_TRUE(tree.root->FindLayerContainer(tree.Folder("G")));
    EXPECT_FALSE(tree.root->FindLayerContainer(tree.Folder("H"))) << "at any depth but for folders";
}

TEST(LayerFolder, IsBelowAnswersWhetherTheSecondLiesBelowTheFirst)
{
    Tree tree("a G[b c] d");
    const char* const order[] = {"a", "b", "c", "d"};
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            EXPECT_EQ(tree.root->IsBelow(tree.Handle(order[i]), tree.Handle(order[j])), j < i) << i << j;
            EXPECT_EQ(tree.root->IsAbove(tree.Handle(order[i]), tree.Handle(order[j])), j > i) << i << j;
        }
    const PntHandle folder = tree.Handle("G"), first = tree.Handle("b");
    EXPECT_FALSE(tree.root->IsBelow(folder, first) || tree.root->IsAbove(folder, first)) << "they stand level";
    EXPECT_TRUE(tree.root->IsBelow(tree.Handle("a"), kNullHandle));
    EXPECT_FALSE(tree.root->IsBelow(kNullHandle, PntHandle()));
}

TEST(LayerFolder, ACloneIsDeepAndHasAllThatItsSourceHasButTheLock)
{
    Tree tree("a G[b]");
    ContainerProperties properties;
    properties.name = {'G'};
    properties.isActive = false;
    properties.isLocked = true;
    properties.opacity = 0.5F;
    for (LayerFolder* folder : {tree.root.get(), tree.Folder("G")}) {
        folder->SetProperties(properties);
        folder->SetCacheCurrentLC(tree.Handle("b"));
    }
    const qs::Reference<LayerContainer> clone(tree.root->Clone());
    LayerFolder& copy = dynamic_cast<LayerFolder&>(*clone);
    EXPECT_EQ(Dump(copy), "a G[b]");
    EXPECT_EQ(copy.GetLCHArray(false), tree.root->GetLCHArray(false));
    auto& inner = dynamic_cast<LayerFolder&>(*copy.GetLayerContainerFromHandle(tree.Handle("G")));
    EXPECT_TRUE(&inner != tree["G"] && inner.GetProperties() == properties && inner.HasCacheCurrentLC());
    EXPECT_FALSE(copy.HasCacheCurrentLC() || copy.IsLocked()) << "these are the copy's own";
    properties.isLocked = false;
    EXPECT_EQ(copy.GetProperties(), properties);
    copy.RemoveLayerContainer(copy.GetLayerContainerFromHandle(tree.Handle("b")));
    EXPECT_EQ(tree.Text(), "a G[b]");
}

TEST(LayerFolder, StencilsInSubFoldersAreNotReportedButMasksAre)
{
    FakeDocument document;
    Layer* owner = document.Add(kLayerModeImage);
    const PntHandle handle = owner->GetLayerContainerHandle();
    const qs::Reference<LayerFolder> root(new LayerFolder), inner(new LayerFolder);
    root->AddLayerContainer(inner.get(), nullptr, true);
    Layer *const nestedStencil = document.AddStencil(owner), *const stencil = document.AddStencil(owner);
    Layer *const nestedMask = document.Add(kLayerModeMask), *const mask = document.Add(kLayerModeMask);
    nestedMask->AddOwnerLayer(owner, false);
    mask->AddOwnerLayer(owner, false);
    for (Layer* layer : {nestedStencil, nestedMask})
        inner->AddLayerContainer(layer, nullptr, true);
    for (Layer* layer : {stencil, mask, document.Add(kLayerModeMask)})
        root->AddLayerContainer(layer, nullptr, true);
    qs::vector<PntHandle> masks, stencils;
    root->GetMaskLayers(masks, handle);
    root->GetStencilLayers(stencils, handle);
    EXPECT_EQ(masks, (qs::vector{nestedMask->GetLayerContainerHandle(), mask->GetLayerContainerHandle()}));
    EXPECT_EQ(stencils, (qs::vector{nestedMask->GetLayerContainerHandle(), stencil->GetLayerContainerHandle()}));
    EXPECT_EQ(root->GetOwnerArray(nestedStencil->GetLayerContainerHandle()), qs::vector{handle});
    EXPECT_TRUE(root->GetOwnerArray(kNullHandle).empty() && root->RemoveLayerFromOwnerLayer(owner));
    EXPECT_FALSE(root->RemoveLayerFromOwnerLayer(owner) || nestedStencil->HasOwner(handle));
}

TEST(LayerFolder, MovingToAnotherDocumentRewritesTheFirstPartEverywhere)
{
    Tree tree("a G[b]");
    tree.AsLayer("b")->AddOwnerLayer(tree.AsLayer("a"), false);
    tree.root->SetCacheCurrentLC(tree.Handle("b"));
    const PntHandle before = tree.Handle("b");
    const qsOS::Uuid document = qsOS::Uuid::generate();
    tree.root->VerifyAllLsHandle(document);
    EXPECT_EQ(tree.Handle("b"), PntHandle(document, before.own));
    EXPECT_EQ(tree.root->GetLayerContainerHandle().layerStack, document);
    EXPECT_TRUE(tree.AsLayer("b")->HasOwner(tree.Handle("a")) && tree.root->GetCacheCurrentLC() == tree["b"]);
    tree.root->SetCacheCurrentLC(tree.Handle("G"));
    EXPECT_TRUE(tree.root->HasCacheCurrentLC() && tree.root->GetCacheCurrentLC() == nullptr);
    tree.root->RemoveLayerContainer(tree["G"]);
    EXPECT_FALSE(tree.root->HasCacheCurrentLC());
}

TEST(LayerFolder, HitsComeTopDownAndPassOverWhatIsHiddenOrLocked)
{
    Tree tree("a G[b] c");
    for (const char* name : {"a", "b", "c"})
        tree.AsLayer(name)->GetImage()->SetPixel(0, 0, ilPixel::Rgba(1, 1, 1, 1));
    tree.root->Translate(100, 50);
    tree.AsLayer("c")->SetOffset(103, 54, LayerStackTransform(), true);  // 5 pixels away
    const auto hits = [&](float tolerance, bool includeHidden = false, bool includeLocked = false) {
        return NamesOf(tree.root->FindLayer(100, 50, includeHidden, includeLocked, tolerance));
    };
    for (const auto& [tolerance, names] : {std::pair{0.0F, "b a"}, {4.9F, "b a"}, {5.0F, "c b a"}, {-3.0F, "b a"}})
        EXPECT_EQ(hits(tolerance), names) << tolerance;
    tree.AsLayer("a")->SetVisible(false);
    tree["c"]->SetLocked(true);
    EXPECT_EQ(hits(5) + "; " + hits(5, true) + "; " + hits(5, false, true), "b; b a; c b");
    tree.Folder("G")->SetActive(false);
    EXPECT_EQ(hits(5) + "; " + hits(5, true, true), "; c b a");
}

TEST(LayerFolder, HitsAreThoseOfEveryPixelWithinTheToleranceAndFarOnesCostNothing)
{
    Tree tree("a");
    SeededNumbers random(7);
    const auto any = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    const auto hits = [&](int x, int y, float tolerance) {
        return !tree.root->FindLayer(x, y, true, true, tolerance).empty();
    };
    for (int round = 0; round < 300; ++round) {
        const auto image = qs::MakeReference<ilSmartImage>(ilPixel::Coverage(any(2) == 0 ? 255 : 0));
        image->fillTile({any(300), any(300), any(150), any(150)}, ilPixel::Coverage(255));
        image->fillTile({any(200), any(200), 1 + any(250), 1 + any(250)}, ilPixel::Coverage(0));
        tree.AsLayer("a")->SetImage(image);
        const int x = any(400), y = any(400), reach = any(60);
        bool expected = false;
        for (int dy = -reach; dy <= reach; ++dy)
            for (int dx = -reach; dx <= reach; ++dx)
                expected =
                    expected || (dx * dx + dy * dy <= reach * reach && image->GetPixel(x + dx, y + dy).GetAlpha());
        ASSERT_EQ(hits(x, y, static_cast<float>(reach)), expected) << "round " << round;
    }
    // A hole of any size, in an image that is covered elsewhere: billions of pages that are not stored.
    for (const int side : {100, 1 << 14, 1 << 20})
        for (int i = 0; i < 100; ++i) {
            const auto image = qs::MakeReference<ilSmartImage>(ilPixel::Coverage(255));
            image->SetPixel(-side, -side, ilPixel::Coverage(0));
            image->SetPixel(side, side, ilPixel::Coverage(0));
            tree.AsLayer("a")->SetImage(image);
            ASSERT_TRUE(hits(any(50), any(50), 1e6F) && hits(INT_MIN, INT_MAX, 1e6F));
        }
}

// The tree does what nested lists of names do, after every step of a long random edit.
TEST(LayerFolder, RandomEditsAgreeWithASimpleModel)
{
    struct Node {
        std::string name;
        bool isFolder = false;
        std::vector<Node> children;

        std::string Text() const
        {
            std::string text;
            for (const Node& child : children)
                text += (text.empty() ? "" : " ") + child.name + (child.isFolder ? "[" + child.Text() + "]" : "");
            return text;
        }
        bool Add(const Node& added, const std::string& ref, bool above)
        {
            for (size_t i = 0; i < children.size(); ++i)
                if (children[i].name == ref) {
                    if (children[i].isFolder && !above)
                        children[i].children.push_back(added);
                    else
                        children.insert(children.begin() + static_cast<ptrdiff_t>(i + above), added);
                    return true;
                }
            return std::any_of(children.begin(), children.end(),
                               [&](Node& child) { return child.isFolder && child.Add(added, ref, above); });
        }
        bool Remove(const std::string& gone)
        {
            for (size_t i = 0; i < children.size(); ++i) {
                const bool isIt = children[i].name == gone;
                if (isIt || children[i].Remove(gone)) {
                    if (isIt || children[i].children.empty())
                        children.erase(children.begin() + static_cast<ptrdiff_t>(i));
                    return true;
                }
            }
            return false;
        }
        void Flatten(std::vector<std::string>& out) const
        {
            for (const Node& child : children) {
                out.push_back(child.name);
                child.Flatten(out);
            }
        }
    };
    for (unsigned seed = 0; seed < 20; ++seed) {
        SeededNumbers random(seed);
        Tree tree("a");
        Node model{"root", true, {{"a", false, {}}}};
        for (int step = 0; step < 120; ++step) {
            std::vector<std::string> names;
            model.Flatten(names);
            const std::string picked = names.empty() ? "none" : names[random() % names.size()];
            if (random() % 3 != 0) {
                const bool isFolder = random() % 3 == 0, above = random() % 2 == 0;
                const std::string name = (isFolder ? "F" : "l") + std::to_string(step);
                ASSERT_EQ(tree.root->AddLayerContainer(tree.Make(name), tree[picked], above) && !names.empty(),
                          model.Add({name, isFolder, {}}, picked, above));
                if (names.empty())
                    model.children.push_back({name, isFolder, {}});
            } else {
                ASSERT_EQ(tree.root->RemoveLayerContainer(tree[picked]), model.Remove(picked));
            }
            ASSERT_EQ(tree.Text(), model.Text()) << "step " << step;
            names.clear();
            model.Flatten(names);
            ASSERT_EQ(tree.root->GetLayerContainerSize(), static_cast<int>(names.size()));
            for (size_t i = 0; i + 1 < names.size(); ++i) {
                ASSERT_EQ(NameOf(tree.root->GetNextLayerContainer(tree[names[i]])), names[i + 1]);
                ASSERT_EQ(NameOf(tree.root->GetPreviousLayerContainer(tree[names[i + 1]])), names[i]);
            }
        }
    }
}

TEST(LayerFolder, TheDumpListsMembersAndIsSilentByDefault)
{
    FakeDocument document;
    Tree tree("a G[]");
    tree.root->SetLayerContainerName("root");
    testing::internal::CaptureStdout();
    tree.root->Debug();
    document.debugLevel = 8214;
    tree.root->Debug();
    const std::string text = std::regex_replace(testing::internal::GetCapturedStdout(),
                                                std::regex(R"(\[[0-9a-f-]{36}\]\[[0-9a-f-]{36}\])"), "[id]");
    EXPECT_EQ(text, "\t==== LayerFolder(begin) [root] (refcount:1) ====\n\t\t[0][L,a][id] (refcount:2)\nvvvvvvvv\n"
                    "Layer[a] \tlh[id] active[1]\n\t Connected Mask\n\t Connected Owner\n^^^^^^^^\n"
                    "\t\t[1][LF,G][id] (refcount:2)\n\t==== LayerFolder(end) [root] ==== \n"
                    "\t==== LayerFolder(begin) [G] (refcount:2) ====\n\t==== LayerFolder(end) [G] ==== \n");
}
