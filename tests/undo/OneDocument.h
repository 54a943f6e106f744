#pragma once

#include "undo/PntUndoCombo.h"
#include "undo/PntUndoLayerStack.h"
#include "undo/PntUndoProperty.h"
#include "undo/PntUndoStroke.h"
#include "undo/UndoPort.h"
#include "undo/UndoStore.h"

#include <gtest/gtest.h>

/// A manager of one document, under handle 3.
class OneDocument : public testing::Test {
protected:
    void SetUp() override
    {
        document = new LayerStack(qsOS::Uuid::generate(), 200, 100);
        for (int i = 0; i < 3; ++i)
            Add();
        UndoPort& port = GetUndoPort();
        port.GetLayerStack = [](PaintManager*, int handle) { return handle == 3 ? document : nullptr; };
        port.GetLayerStackHandle = [](PaintManager*, const qs::Reference<LayerStack>& stack) {
            return stack == document ? 3 : -1;
        };
        port.GetCurrentLayerStack = [](PaintManager*) { return 3; };
        port.GetCurrentContainer = [](PaintManager*, int) { return document->GetCurrentLayerContainerHandle(); };
        port.ReplaceLayerStack = [](PaintManager*, const qs::Reference<LayerStack>& stack, int) {
            stack->AllocateCacheData();
            if (document && document != stack)
                document->FreeCacheData();
            document = stack;
        };
        port.CloseLayerStack = [](PaintManager*, int) { document = nullptr; };
    }
    void TearDown() override
    {
        delete ExchangeUndoDatabase(nullptr);
        document = nullptr;
        GetUndoPort() = port_;
    }

    static Layer& Add(LayerMode mode = kLayerModeImage)
    {
        return *document->GetLayerFromHandle(
            document->AddLayer({}, {}, mode, kLayerTypeRaster, true, 0, kNullHandle, false, 0, 0, true));
    }
    static qs::Reference<PntUndoStroke> StrokeOn(Layer& layer)
    {
        return new PntUndoStroke(nullptr, 3, layer.GetLayerContainerHandle(), document.get(), &layer, layer.GetImage(),
                                 "MioStroke");
    }
    static qs::Reference<PntUndoLayerStack> StructuralStep()
    {
        return new PntUndoLayerStack(nullptr, 3, document->GetCurrentLayerContainerHandle(), document,
                                     document->GetCurrentLayerPtr(), "MioLayerStack");
    }
    static PntUndoQueue& Queue()
    {
        SetupPntUndoQueue();
        return *PaintUndoQueue();
    }

    /// Fails where the image plane is not what composing afresh gives.
    static void ExpectTruePlane()
    {
        const auto bytesOf = [](const ilImage& image) {
            qs::vector<uint32_t> pixels;
            for (int y = 0; y < document->GetSize().ny; ++y)
                for (int x = 0; x < document->GetSize().nx; ++x)
                    pixels.push_back(image.GetPixel(x, y).GetPacked());
            return pixels;
        };
        document->ForceUpdate();
        const auto shown = bytesOf(*document->GetImagePlane());
        EXPECT_EQ(shown, bytesOf(*document->GetUpdateImagePlaneBits(true)));
    }

    static inline qs::Reference<LayerStack> document;

private:
    UndoPort port_ = GetUndoPort();
};
