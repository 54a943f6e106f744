#pragma once

#include "platform/base/Export.h"

/// Walks the open documents by their slot in the manager's table.
class PAINTLAYER_EXPORT LayerStackIterator {
public:
    LayerStackIterator();

    /// The slot of the next open document; -1 when there is none left.
    int Next();
    void Reset();

    int Count() const { return count_; }
    int CountRemaining() const { return remaining_; }

private:
    int position_ = 0;
    int count_ = 0;
    int remaining_ = 0;
};
