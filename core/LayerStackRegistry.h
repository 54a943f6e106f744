#pragma once

#include "platform/base/Reference.h"
#include "stack/LayerStack.h"

#include <array>

/// The open documents by their handle, which is their place in a table of 512, and the current one among them.
///
/// While the current handle names a place in use, the current reference names the same document; in between (a document
/// under construction) the handle may name a place that is still empty.
class LayerStackRegistry {
public:
    static constexpr int kSize = 512;
    static constexpr int kNone = -1;

    /// Null for a place that is empty or not in the table.
    LayerStack* Get(int handle) const { return IsPlace(handle) ? table_[static_cast<size_t>(handle)].get() : nullptr; }

    int FindFree() const;  // the lowest empty place, or -1
    int FindUsedFrom(int place) const;  // the first place in use at or after it, or -1
    int IndexOf(const LayerStack* stack) const;  // -1 when it is not open

    /// The document that holds the container, the lowest one when several do; -1 for none. The current-layer handle is
    /// looked for in the current document only.
    int FindHolder(const PntHandle& container) const;

    /// Puts a document in a place; the number of documents is the caller's to keep.
    void Put(int handle, qs::Reference<LayerStack> stack);

    int GetCount() const { return count_; }
    void CountAdded() { ++count_; }
    void CountRemoved() { --count_; }

    int GetCurrentHandle() const { return currentHandle_; }
    LayerStack* GetCurrent() const { return current_.get(); }
    void SetCurrentHandle(int handle) { currentHandle_ = handle; }
    void SetCurrent(qs::Reference<LayerStack> stack) { current_ = std::move(stack); }

    void ResetCursor() { cursor_ = 0; }
    int Next();  // the next place in use, or -1 from the end of the table on

private:
    static bool IsPlace(int handle) { return handle >= 0 && handle < kSize; }

    std::array<qs::Reference<LayerStack>, kSize> table_;
    qs::Reference<LayerStack> current_;
    int currentHandle_ = kNone;
    int count_ = 0;
    int cursor_ = 0;
};
