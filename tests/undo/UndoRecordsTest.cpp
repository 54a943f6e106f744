#include "OneDocument.h"

#include <climits>
#include <string>

namespace {

class UndoRecords : public OneDocument {
protected:
    static qs::Reference<PntUndoLayer> RecordOf(const qs::vector<Layer*>& layers)
    {
        qs::vector<PntHandle> handles;
        for (const Layer* layer : layers)
            handles.push_back(layer->GetLayerContainerHandle());
        return new PntUndoLayer(nullptr, 3, handles, document.get(), layers, "Mine");
    }
};

std::string IdsOf(const IdList& record)
{
    std::string ids;
    for (int i = 0; i < record.GetNumIDs(); ++i)
        ids += std::string(record.GetID(i)) + ' ';
    return ids;
}

}  // namespace

TEST_F(UndoRecords, NameTheirClassChainAfterTheCallersId)
{
    Layer& layer = *document->GetCurrentLayerPtr();
    const qs::Reference<PntUndoOper> stroke = StrokeOn(layer);
    EXPECT_EQ(IdsOf(*stroke), "MioStroke MioOper MioLS MioLayer ");
    const qs::Reference<PntUndoOper> structure(
        new PntUndoLayerStack(nullptr, 3, layer.GetLayerContainerHandle(), document, &layer, "Mine"));
    EXPECT_EQ(IdsOf(*structure), "Mine MioOper MioLS MioLayer MioLayerStack ");
    EXPECT_EQ(structure->GetUndoHandle(), stroke->GetUndoHandle() + 1);
    EXPECT_EQ(structure->GetSequenceNumber(), stroke->GetSequenceNumber() + 1);

    const qs::Reference<PntUndoOper> combo(new PntUndoCombo("Both", true, false, structure, nullptr, stroke));
    EXPECT_EQ(IdsOf(*combo), "Both MioOper MioCombo Mine MioStroke ");
    EXPECT_TRUE(combo->WillDeleteAfterExit());

    const qs::Reference<PntUndoLayer> current(
        new PntUndoLayer(nullptr, -2, kNullHandle, document.get(), &layer, "MioLayer"));
    EXPECT_EQ(current->GetLayerStackHandle(), 3);
    EXPECT_EQ(current->GetLayerContainerHandle(0), document->GetCurrentLayerContainerHandle());
}

TEST_F(UndoRecords, CompareByDocumentAndFirstLayer)
{
    Layer& a = *document->GetBottomLayer(kLayerModeImage);
    Layer& b = *document->GetTopLayer(kLayerModeImage);
    const qs::Reference<PntUndoOper> ofA = RecordOf({&a, &b});
    const qs::Reference<PntUndoOper> alsoOfA = StrokeOn(a);
    const qs::Reference<PntUndoOper> ofB = RecordOf({&b});
    const qs::Reference<PntUndoOper> ofDocument(new PntUndoLS(nullptr, 3, document, "MioLS"));
    const qs::Reference<PntUndoOper> ofOther(new PntUndoLS(nullptr, 4, {}, "MioLS"));
    EXPECT_EQ(ofA->CompareOper(alsoOfA), ofA.get());
    EXPECT_EQ(ofA->CompareOper(ofB), nullptr);
    EXPECT_EQ(ofA->CompareOper(ofDocument), nullptr);
    EXPECT_EQ(ofDocument->CompareOper(ofB), ofDocument.get());
    EXPECT_EQ(ofDocument->CompareOper(ofOther), nullptr);

    const qs::Reference<PntUndoOper> inner(new PntUndoCombo("MioCombo", false, false, ofB));
    const qs::Reference<PntUndoOper> combo(new PntUndoCombo("MioCombo", false, false, inner, ofA));
    EXPECT_EQ(combo->CompareOper(alsoOfA), ofA.get());
    EXPECT_EQ(combo->CompareOper(ofB), nullptr) << "combos inside are not asked";

    const qs::Reference<PntUndoOper> sameId = RecordOf({&a});
    EXPECT_EQ(ofA->CompareOperFromIDList(sameId), sameId.get());
    EXPECT_EQ(ofA->CompareOperFromIDList(ofB), nullptr);
    EXPECT_EQ(ofA->CompareOperFromIDList(alsoOfA), nullptr) << "it does not name this record's primary id";
}

TEST_F(UndoRecords, CountTheirBytes)
{
    Layer& layer = *document->GetCurrentLayerPtr();
    EXPECT_EQ(RecordOf({&layer, &layer, &layer})->GetAllocatedBytes(), 1448);
    EXPECT_EQ(RecordOf({&layer})->GetBytesUsed(), 1432 + static_cast<int>(sizeof(PntUndoLayer)));

    ilMIOImage& image = *layer.GetImage();
    image.fillTile({0, 0, 128, 128}, ilPixel::Rgba(1, 2, 3, 4));
    const qs::Reference<PntUndoStroke> stroke = StrokeOn(layer);
    EXPECT_EQ(stroke->GetAllocatedBytes(), 1432);
    image.SetPixel(70, 5, ilPixel::Rgba(9, 9, 9, 9));
    image.SetPixel(500, 5, ilPixel::Rgba(9, 9, 9, 9));
    EXPECT_EQ(stroke->GetAllocatedBytes(), 1432 + 4 * 4096) << "one page of those captured is not shared any more";
    EXPECT_EQ(stroke->GetBytesUsed(), stroke->GetAllocatedBytes() + static_cast<int>(sizeof(PntUndoStroke)));
    stroke->UndoOper();
    EXPECT_EQ(stroke->GetAllocatedBytes(), 1432 + 2 * 4 * 4096) << "now it holds what is to be done again";

    const qs::Reference<PntUndoLayerStack> structure(
        new PntUndoLayerStack(nullptr, 3, layer.GetLayerContainerHandle(), document, &layer, "MioLayerStack"));
    const int structureBytes = 1432 + 1424 + 4 * 3 * 200 * 100;
    EXPECT_EQ(structure->GetAllocatedBytes(), structureBytes);
    const qs::Reference<PntUndoCombo> combo(new PntUndoCombo("MioCombo", false, false, structure, stroke));
    EXPECT_EQ(combo->GetAllocatedBytes(), structure->GetBytesUsed() + stroke->GetBytesUsed());
    EXPECT_EQ(combo->GetBytesUsed(), combo->GetAllocatedBytes() + static_cast<int>(sizeof(PntUndoCombo)));
}

TEST_F(UndoRecords, CountNoMoreThanAnIntHolds)
{
    document = new LayerStack(qsOS::Uuid::generate(), 16384, 4);
    LayerStack& large = *document;
    for (int i = 0; i < 9000; ++i)
        large.GetLayerFolder(kLayerModeImage)
            ->AddLayerContainer(new Layer({}, {}, kLayerModeImage, kLayerTypeRaster, 0, 0), nullptr, true);
    const qs::Reference<PntUndoLayerStack> record(
        new PntUndoLayerStack(nullptr, 3, kNullHandle, document, nullptr, "MioLayerStack"));
    EXPECT_EQ(record->GetAllocatedBytes(), INT_MAX);
    EXPECT_EQ(record->GetBytesUsed(), INT_MAX);
    EXPECT_EQ(PntUndoCombo("MioCombo", false, false, record, record).GetBytesUsed(), INT_MAX);
}

TEST_F(UndoRecords, PixelsGoBackAndForthButNotTwiceTheSameWay)
{
    Layer& layer = *document->GetCurrentLayerPtr();
    const qs::Reference<PntUndoStroke> stroke = StrokeOn(layer);
    EXPECT_FALSE(stroke->HasChanges());
    const auto alpha = [&] { return layer.GetImage()->GetPixel(5, 5).GetAlpha(); };
    layer.GetImage()->fillTile({0, 0, 10, 10}, ilPixel::Rgba(0, 0, 0, 255));
    EXPECT_TRUE(stroke->HasChanges());
    stroke->RedoOper();
    EXPECT_EQ(alpha(), 255);
    stroke->UndoOper();
    stroke->UndoOper();
    EXPECT_EQ(alpha(), 0);
    stroke->RedoOper();
    EXPECT_EQ(alpha(), 255);
}
