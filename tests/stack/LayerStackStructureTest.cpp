#include "OpenStack.h"

#include <gtest/gtest.h>

namespace {

TEST(Structure, NewLayersStandBesideTheirReferenceAndBecomeCurrent)
{
    OpenStack document;
    const PntHandle a = document.Add("a");
    const PntHandle b = document.Add("b");
    document.Add("c", kLayerModeImage, a, true);
    document.Add("d", kLayerModeImage, a, false);
    EXPECT_EQ(Dump(*document.stack), "d* a c b |  | ");
    document.Add("m", kLayerModeMask);
    document.Add("s", kLayerModeStencil, b, false);
    document.Add("t", kLayerModeStencil, document->GetLayerFolder(kLayerModeStencil)->GetLayerContainerHandle(), true);
    document.Add("n", kLayerModeMask, kNullHandle, false);
    EXPECT_EQ(Dump(*document.stack), "d a c b | n* m | s t");

    const PntHandle folder = document->AddLayerFolder(kLayerModeImage, a);
    document->SetLayerContainerName(folder, "G");
    document->SetLayerContainerName(kCurrentLayerHandle, "e");
    document.Add("f", kLayerModeImage, folder, false);
    document.Add("g", kLayerModeImage, folder, true);
    EXPECT_EQ(Dump(*document.stack), "d a G[e f] g* c b | n m | s t");
    EXPECT_EQ(document->AddLayerFolder(kLayerModeImage, document.Add("h", kLayerModeImage, folder, false)), kNullHandle)
        << "folders do not nest";
    EXPECT_EQ(Dump(*document.stack), "d a G[e f h*] g c b | n m | s t");
}

TEST(Structure, TheHostHearsOfAdditionsInOrder)
{
    OpenStack document;
    const PntHandle added =
        document->AddLayer({}, {}, kLayerModeImage, kLayerTypeRaster, true, 0, kCurrentLayerHandle, true, 0, 0, false);
    EXPECT_EQ(document.TakeTold(), "edited changed added");
    EXPECT_EQ(document.addedHandle, added);
    EXPECT_EQ(document.addedIndex, 7);
    const PntHandle folder = document->AddLayerFolder(kLayerModeImage, added);
    EXPECT_EQ(document.TakeTold(), "edited changed added edited changed added");
    EXPECT_EQ(document.addedHandle, folder);
    document->DeleteCurrentLayer(kCurrentLayerHandle, false);
    EXPECT_EQ(document.TakeTold(), "removed edited changed");
}

TEST(Structure, WhatCannotBeAddedIsRefusedAndChangesNothing)
{
    OpenStack document;
    const PntHandle a = document.Add("a");
    const std::string before = Dump(*document.stack);
    document.TakeTold();
    const auto add = [&](LayerMode mode, LayerType type, const PntHandle& where) {
        return document->AddLayer({}, {}, mode, type, true, 0, where, true, 0, 0, false);
    };
    EXPECT_EQ(add(kLayerModeImage, kLayerTypeShape, a), kNullHandle);
    EXPECT_EQ(add(kLayerModeImage, kLayerTypeObjectImage, a), kNullHandle);
    EXPECT_EQ(add(static_cast<LayerMode>(3), kLayerTypeRaster, a), kNullHandle);
    EXPECT_EQ(document->AddLayer(nullptr, a, true, true), kNullHandle);
    EXPECT_EQ(document->AddLayer(document.Find(a), a, true, true), kNullHandle) << "is here already";
    EXPECT_EQ(document->AddLayer(document->GetSelectionMask(), a, true, true), kNullHandle);
    EXPECT_EQ(document->AddLayerFolder(kLayerModeImage, kNullHandle), kNullHandle);
    EXPECT_EQ(document->AddLayer(qs::MakeReference<ilSmartImage>(ilPixel(kUnsignedByte, 1)), {}, kLayerModeImage,
                                 kLayerTypeRaster, true, 0, a, true, 0, 0, false),
              kNullHandle)
        << "an image layer has colours";
    EXPECT_EQ(document.TakeTold(), "");
    EXPECT_EQ(Dump(*document.stack), before);

    document->SetSelectionMaskCurrent();
    EXPECT_EQ(add(kLayerModeImage, kLayerTypeRaster, kCurrentLayerHandle), kNullHandle);
    EXPECT_NE(add(kLayerModeImage, kLayerTypeRaster, a), kNullHandle);
}

TEST(Structure, AGivenImageIsCopiedAndMadeValidOnDemand)
{
    OpenStack document;
    const qs::Reference<ilMemoryImg> image(new ilMemoryImg(8, 4, 4));
    image->fillTile(image->GetBounds(), ilPixel::Rgba(200, 10, 10, 100));
    for (const bool isForced : {false, true}) {
        document->AddLayer(image, {}, kLayerModeImage, kLayerTypeRaster, true, 0, kCurrentLayerHandle, true, 5, 6,
                           isForced);
        Layer* const layer = document->GetCurrentLayerPtr();
        EXPECT_EQ(layer->getLayerBoundsInCanvasCoords(), ilTile(5, 6, 8, 4));
        EXPECT_EQ(layer->GetImage()->GetPixel(2, 2), ilPixel::Rgba(200, 10, 10, isForced ? 200 : 100));
        layer->GetImage()->SetPixel(0, 0, ilPixel());
        EXPECT_NE(image->GetPixel(0, 0), ilPixel()) << "a copy";
    }
}

TEST(Structure, DeletingTheCurrentLayerChoosesBelowThenAbove)
{
    OpenStack document;
    for (const char* name : {"a", "b", "c"})
        document.Add(name);
    document->DeleteCurrentLayer(kCurrentLayerHandle, true);
    EXPECT_EQ(Dump(*document.stack), "a b* |  | ");
    document->SetCurrentLayer(document->GetBottomLayer(kLayerModeImage)->GetLayerContainerHandle(), true, false, false);
    document->DeleteCurrentLayer(kCurrentLayerHandle, true);
    EXPECT_EQ(Dump(*document.stack), "b* |  | ");
    document.Add("m", kLayerModeMask);
    document->DeleteCurrentLayer(kCurrentLayerHandle, true);
    EXPECT_EQ(Dump(*document.stack), "b* |  | ");

    const PntHandle last = document->GetCurrentLayerContainerHandle();
    document->DeleteCurrentLayer(last, true);
    EXPECT_EQ(document->GetLayerFolder(kLayerModeImage)->GetSize(), 1);
    EXPECT_NE(document->GetCurrentLayerContainerHandle(), last);
    EXPECT_EQ(document->GetCurrentLayerPtr()->GetImage()->GetNumChannels(), 4);
    EXPECT_NE(document->GetCLP(), nullptr);
}

TEST(Structure, WithoutACurrentLayerADeletionChoosesFromTheOtherKind)
{
    for (const LayerMode deleted : {kLayerModeMask, kLayerModeStencil}) {
        OpenStack document;
        document.Add("a");
        const PntHandle mask = document.Add("m", kLayerModeMask);
        const PntHandle stencil = document.Add("s", kLayerModeStencil);
        document->SetCurrentLayer(kNullHandle, false, false, true);
        document->DeleteCurrentLayer(deleted == kLayerModeMask ? mask : stencil, true);
        EXPECT_EQ(Dump(*document.stack), deleted == kLayerModeMask ? "a |  | s*" : "a | m* | ");
    }
}

TEST(Structure, TheSelectionMaskIsNotDeletedAndDoesNotStandInTheWay)
{
    OpenStack document;
    const PntHandle a = document.Add("a");
    document->SetSelectionMaskCurrent();
    document->DeleteCurrentLayer(kCurrentLayerHandle, true);
    EXPECT_TRUE(document->isSelectionMaskCurrent());
    document->DeleteCurrentLayer(a, true);
    EXPECT_EQ(document->GetLayerFolder(kLayerModeImage)->GetSize(), 1) << "the image folder is never left empty";
    EXPECT_FALSE(document->isSelectionMaskCurrent());
}

TEST(Structure, DeletingMasksOrStencilsSparesHardLinksOnDemand)
{
    OpenStack document;
    const PntHandle a = document.Add("a");
    document.Add("m", kLayerModeMask);
    document.Add("s", kLayerModeStencil, a);
    const PntHandle linked = document.Add("l", kLayerModeStencil, a);
    ASSERT_TRUE(document->AddOwnerToLayer(a, linked, true));
    document.TakeTold();
    document->DeleteAllStencils(false, false);
    EXPECT_EQ(document.TakeTold(), "removed");
    EXPECT_EQ(Dump(*document.stack), "a | m | l*");
    document->DeleteAllMasks(true);
    EXPECT_EQ(document.TakeTold(), "removed edited changed");
    EXPECT_EQ(Dump(*document.stack), "a |  | l*");
    document->DeleteAllStencils(true, true);
    EXPECT_EQ(Dump(*document.stack), "a* |  | ");
}

TEST(Structure, DeletingAFolderOrAllTakesEverythingInIt)
{
    OpenStack document;
    const PntHandle a = document.Add("a");
    document->AddLayerFolder(kLayerModeImage, a);
    document.Add("inner");
    document.Add("m", kLayerModeMask);
    LayerFolder* const folder =
        dynamic_cast<LayerFolder*>(document->GetLayerFolder(kLayerModeImage)->GetTopLayerContainer(true));
    ASSERT_NE(folder, nullptr);
    document->DeleteLayerFolder(nullptr);
    document->DeleteLayerFolder(document->GetLayerFolder(kLayerModeImage));
    document->DeleteLayerFolder(folder);
    EXPECT_EQ(Dump(*document.stack), "a* | m | ");

    document.Add("b");
    document->DeleteAllLayers();
    EXPECT_EQ(document->GetLayerFolder(kLayerModeMask)->GetSize(), 0);
    ASSERT_EQ(document->GetLayerFolder(kLayerModeImage)->GetSize(), 1);
    EXPECT_EQ(document.Find(a), nullptr);
    EXPECT_EQ(document->GetCurrentLayerPtr(), document->GetBottomLayer(kLayerModeImage));
}

TEST(Structure, DeletingInvisibleLayersTakesInactiveFoldersToo)
{
    OpenStack document;
    const PntHandle a = document.Add("a");
    const PntHandle folder = document->AddLayerFolder(kLayerModeImage, a);
    document->SetLayerFolderActive(folder, false, true);
    const PntHandle mask = document.Add("m", kLayerModeMask);
    document->SetLayerVisible(mask, false, true);
    document->DeleteInvisibleLayers(true);
    EXPECT_EQ(Dump(*document.stack), "a* |  | ");
    document->SetLayerVisible(a, false, true);
    document->DeleteInvisibleLayers(false);
    EXPECT_EQ(document.Find(a), nullptr);
    EXPECT_TRUE(document->GetCurrentLayerPtr()->isVisible()) << "a new layer took its place";
}

TEST(Structure, MovesStayWithinTheFolderOfTheirKind)
{
    OpenStack document;
    const PntHandle a = document.Add("a");
    const PntHandle b = document.Add("b");
    const PntHandle folder = document->AddLayerFolder(kLayerModeImage, b);
    document->SetLayerContainerName(folder, "G");
    const PntHandle inner = document->GetCurrentLayerContainerHandle();
    document->SetLayerContainerName(inner, "i");
    const PntHandle mask = document.Add("m", kLayerModeMask);
    const PntHandle maskFolder = document->AddLayerFolder(kLayerModeMask, mask);
    const std::string before = Dump(*document.stack);
    for (const auto& [moved, target] :
         {std::pair(mask, a), std::pair(a, mask), std::pair(maskFolder, a), std::pair(folder, inner), std::pair(a, a),
          std::pair(a, kNullHandle), std::pair(kNullHandle, a)})
        EXPECT_FALSE(document->MoveLayer(moved, target, true));
    EXPECT_EQ(Dump(*document.stack), before);

    document->DeleteAllMasks(false);
    EXPECT_TRUE(document->MoveLayer(a, inner, true));
    EXPECT_EQ(Dump(*document.stack), "b G[i a*] |  | ");
    EXPECT_TRUE(document->MoveLayer(folder, b, false));
    EXPECT_TRUE(document->MoveLayer(inner, folder, false)) << "into the folder, at its top";
    EXPECT_EQ(Dump(*document.stack), "G[a* i] b |  | ");
    EXPECT_TRUE(document->MoveLayer(a, folder, true));
    EXPECT_TRUE(document->MoveLayer(inner, folder, false)) << "where it is already";
    EXPECT_EQ(Dump(*document.stack), "G[i] a* b |  | ");
    EXPECT_TRUE(document->MoveLayer(inner, folder, true)) << "the emptied folder was the target";
    EXPECT_EQ(Dump(*document.stack), "i a* b |  | ");
}

TEST(Structure, AFolderRemembersTheLayerThatWasCurrentInIt)
{
    OpenStack document;
    const PntHandle a = document.Add("a");
    const PntHandle folder = document->AddLayerFolder(kLayerModeImage, a);
    const PntHandle first = document->GetCurrentLayerContainerHandle();
    const PntHandle second = document.Add("second");
    document->SetCurrentLayer(first, true, false, false);
    document->SetCurrentLayer(a, true, false, false);
    document.TakeTold();
    document->SetCurrentLayer(folder, true, true, false);
    EXPECT_EQ(document.TakeTold(), "state edited changed");
    EXPECT_EQ(document->GetCurrentLayerContainerHandle(), first);
    document->DeleteCurrentLayer(first, true);
    document->SetCurrentLayer(a, true, false, false);
    document->SetCurrentLayer(folder, true, false, false);
    EXPECT_EQ(document->GetCurrentLayerContainerHandle(), a) << "what it remembers is gone";
    document->SetCurrentLayer(second, true, false, false);
    document->SetCurrentLayer(kNullHandle, true, false, false);
    EXPECT_EQ(document->GetCurrentLayerContainerHandle(), second);
}

TEST(Structure, LookUpsAndCoordinates)
{
    OpenStack document;
    const PntHandle a = document.Add("Name");
    const PntHandle folder = document->AddLayerFolder(kLayerModeImage, a);
    document->SetLayerContainerName(folder, "Folder");
    EXPECT_FALSE(document->IsLayerNameUnique("Name"));
    EXPECT_TRUE(document->IsLayerNameUnique("name"));
    EXPECT_TRUE(document->IsLayerNameUnique("Folder"));
    EXPECT_EQ(document->GetLayerFromHandle(folder), nullptr);
    EXPECT_EQ(document->GetLayerFolderFromHandle(a), nullptr);
    EXPECT_EQ(document->GetLayerContainerFromHandle(document->GetSelectionMaskHandle()), document->GetSelectionMask());
    EXPECT_EQ(document->GetLayerContainerFromHandle(PntHandle(qsOS::Uuid::generate(), a.own)), nullptr);
    EXPECT_EQ(document->FindLayerFolder(kCurrentLayerHandle, true), document->GetLayerFolderFromHandle(folder));
    EXPECT_EQ(document->FindLayerFolder(kCurrentLayerHandle, false), nullptr);

    document->SetLayerOffset(a, 10, -20, true);
    EXPECT_EQ(document->GetLayerStackBndInLayerCoord(a), ilTile(-10, 20, 200, 150));
    EXPECT_EQ(document->GetLayerStackBndInLayerCoord(folder), ilTile());
    int x = INT32_MIN;
    int y = 7;
    document->LayerStackToLayerCoords(x, y, a);
    EXPECT_EQ(std::make_pair(x, y), std::make_pair(INT32_MIN, 27));
    document->LayerToLayerStackCoords(x, y, folder);
    EXPECT_EQ(y, 27);
    document->SetAppData(a, "key", "value");
    document->SetAppData(folder, "key", "value");
    EXPECT_EQ(document->GetAppData(a, "key"), qsString::CString("value"));
    EXPECT_EQ(document->GetAppData(folder, "key"), qsString::CString());
}

TEST(Structure, APointHitsTheCurrentStencilThenItsMasksThenImages)
{
    OpenStack document;
    const auto paintHere = [&](int channels) {
        document.Paint({10, 10, 4, 4}, ilPixel(kUnsignedByte, channels, 0xFFFFFFFF));
    };
    const PntHandle below = document.Add("below");
    paintHere(4);
    const PntHandle top = document.Add("top");
    paintHere(4);
    const PntHandle mask = document.Add("m", kLayerModeMask);
    paintHere(1);
    const PntHandle stencil = document.Add("s", kLayerModeStencil);
    paintHere(1);
    const auto find = [&] { return document->FindLayer(11, 11, false, false, 0); };
    EXPECT_EQ(find(), stencil);
    EXPECT_EQ(document->FindLayer(50, 50, false, false, 0), kNullHandle);
    document->SetCurrentLayer(below, true, false, false);
    EXPECT_EQ(find(), top);
    document->AddOwnerToLayer(below, mask, false);
    EXPECT_EQ(find(), mask);
}

}  // namespace
