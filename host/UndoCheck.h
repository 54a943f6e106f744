#pragma once

#include <paintlayer/core/PaintManager.h>

#include <string>
#include <vector>

/// Proves that all that is painted while it lives can be undone to the first pixel and redone to the last. It is a host
/// that keeps the order of undo itself, so that no stroke is too many.
class UndoCheck {
public:
    /// Remembers the current document's picture and begins to record. One at a time.
    UndoCheck();
    ~UndoCheck();
    UndoCheck(const UndoCheck&) = delete;
    UndoCheck& operator=(const UndoCheck&) = delete;

    /// Undoes every step and redoes it. Returns why the pictures are not those of before, or nothing.
    std::string Run();

    double GetUndoMs() const { return undoMs_; }  // of all steps together, the view's updates included
    double GetRedoMs() const { return redoMs_; }

private:
    std::vector<uint8_t> before_;
    double undoMs_ = 0;
    double redoMs_ = 0;
};
