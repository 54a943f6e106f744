#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Export.h"
#include "platform/base/Reference.h"
#include "platform/base/Uuid.h"
#include "platform/imaging/pages/PaintColor.h"
#include "platform/imaging/pages/ilTile.h"
#include "stack/LayerStack.h"
#include "stack/LayerStackHandle.h"

class MIOLayerStack_sr;

/// Part of PaintManager: the open documents, which of them is current, and what belongs to a document as a whole.
class PAINTLAYER_EXPORT DocumentCommands {
public:
    // --- opening and closing ---

    /// Opens a document of width × height pixels, which becomes current. -1 when all 512 places are taken, a side is
    /// below 1 or above 1,000,000, the pixels are more than LayerStack::GetMaxPixelCount(), or memory does not suffice.
    int AddLayerStack(int width, int height);

    /// Closes a document; a stroke on it ends. Only the current one can be brought back by undo, and no other becomes
    /// current in its place.
    void DeleteLayerStack(int handle, bool recordUndo);

    /// Puts another document into a place, which takes over the views of the one there. For a place that is empty the
    /// count of documents stays one short.
    void ReplaceLayerStack(qs::Reference<LayerStack> stack, int handle);

    // --- which there are, and the current one ---

    /// Ignored for a handle without a document. Tells the host that the document changed.
    void SetCurrentLayerStack(int handle);
    int GetCurrentLayerStack() const;

    /// The document that holds the container, the lowest one when several do; -1 for none.
    int GetCurrentLayerStack(const PntHandle& container) const;
    int GetLayerStackCount() const;

    /// The document of a handle, or null. A structural step of undo puts a copy in its place: ask anew, do not keep it.
    qs::Reference<LayerStack> GetLayerStack(int handle) const;

    /// As GetLayerStack; a -2 is overwritten with the current handle.
    qs::Reference<LayerStack> LayerStackFromHandle(int& handle) const;

    /// The document that holds the container, or null.
    qs::Reference<LayerStack> LayerStackFromHandle(const PntHandle& container) const;

    /// The handle of a document; -1 when it is not open.
    int GetLayerStackHandle(const qs::Reference<LayerStack>& stack) const;

    /// The first half of the handles of all that the document holds; all zero without it.
    qsOS::Uuid GetLayerStackInstanceHandle(int handle = kCurrentLayerStack) const;

    /// Whether there is such a document; CheckLayerStackHandle does not know -2.
    bool ValidLayerStackHandle(int handle) const;
    bool CheckLayerStackHandle(int handle) const;

    /// Whether some document holds the container.
    bool isLayerContainerHandleValid(const PntHandle& container) const;

    /// NextLayerStack returns the handles of all documents in rising order, then -1 until the next reset.
    void ResetLayerStackIterator();
    int NextLayerStack();

    /// The current document, not counted; null for none.
    void* GetCurrentLayerStackPtr_Private_() const;

    /// A flag of the host's own for the current document; cleared when one is opened or the current one is closed.
    bool isCurrLSLocked() const;
    void setCurrLSLocked(bool locked);

    // --- stored forms, of which there are none ---

    bool store() { return true; }
    bool setMIOLayerStack_sr(MIOLayerStack_sr*) { return false; }
    int remapRetrievedHandle(int) { return -1; }
    void rememberStoredHandle(int) {}

    // --- a document's own properties ---

    /// Another canvas for the layers as they are, blank until it is composed; false for sizes that AddLayerStack
    /// refuses. ResizeDocument keeps the picture in place, and can be undone.
    bool SetLayerStackSize(const ilTile& size, int layerStack = kCurrentLayerStack);

    /// The canvas; untouched without a document.
    void GetLayerStackSize(ilTile& size, int layerStack = kCurrentLayerStack) const;

    /// Pixels per inch or what the host takes them for; stored only, 100 by 100 at first.
    void SetResolution(int x, int y, int layerStack = kCurrentLayerStack);
    void GetResolution(int& x, int& y, int layerStack = kCurrentLayerStack) const;

    /// Stored for the host, which paints it behind the picture.
    void SetBackgroundColor(const PaintColor& color, int layerStack = kCurrentLayerStack);
    PaintColor GetBackgroundColor(int layerStack = kCurrentLayerStack) const;

    /// Owned by the document from here on, unless there is no such document; null for none.
    void SetSymmetry(Symmetry* symmetry, int layerStack = kCurrentLayerStack);
    Symmetry* GetSymmetry(int layerStack = kCurrentLayerStack) const;

protected:
    DocumentCommands() = default;
    ~DocumentCommands() = default;

private:
    void CloseCurrentLayerStack(bool recordUndo);
    void CloseLayerStack(int handle);
    void RemoveFromTable(int handle);
    bool IsClosing(int handle) const;
};
