#include "UndoCheck.h"

#include <paintlayer/undo/UndoStore.h>

#include <algorithm>
#include <chrono>

namespace {

std::vector<unsigned int> order;  // undo handles, oldest first

bool Remember(unsigned int handle)
{
    order.push_back(handle);
    return true;
}

/// The current document's picture, row by row, four bytes a pixel.
std::vector<uint8_t> CopyPicture()
{
    const qs::TempReference<ilSPMemoryImg> plane = PaintCore.GetImagePlane();
    std::vector<uint8_t> bytes;
    for (int y = 0; plane && y < plane->GetHeight(); ++y)
        bytes.insert(bytes.end(), plane->GetRow(y),
                     plane->GetRow(y) + size_t{4} * static_cast<size_t>(plane->GetWidth()));
    return bytes;
}

/// Why the document does not show `expected` now, or nothing.
std::string Compare(const std::vector<uint8_t>& expected, const std::string& what)
{
    const std::vector<uint8_t> shown = CopyPicture();
    const auto [at, other] = std::mismatch(shown.begin(), shown.end(), expected.begin(), expected.end());
    if (at == shown.end() && other == expected.end())
        return {};
    const qs::TempReference<ilSPMemoryImg> plane = PaintCore.GetImagePlane();
    const ptrdiff_t pixel = (at - shown.begin()) / 4;
    const int width = plane ? plane->GetWidth() : 1;
    return what + " " + std::to_string(order.size()) + " steps gives another picture, first at pixel (" +
           std::to_string(pixel % width) + ", " + std::to_string(pixel / width) + ")";
}

double Milliseconds(std::chrono::steady_clock::duration time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

}  // namespace

UndoCheck::UndoCheck() : before_(CopyPicture())
{
    SetupPntUndoList(Remember);
    order.clear();
    PaintCore.SuspendUndo(false);
}

UndoCheck::~UndoCheck()
{
    PaintCore.SuspendUndo(true);
    PaintCore.FlushUndoQueue();
}

std::string UndoCheck::Run()
{
    const std::vector<uint8_t> after = CopyPicture();
    if (order.empty() && after != before_)
        return "Nothing was recorded to undo; is undo switched off by MIO_UNDO_DISABLE?";
    const auto start = std::chrono::steady_clock::now();
    bool isThrough =
        std::all_of(order.rbegin(), order.rend(), [](unsigned int step) { return PaintUndoList()->Undo(step); });
    undoMs_ = Milliseconds(std::chrono::steady_clock::now() - start);
    if (const std::string failure = Compare(before_, "Undoing"); !failure.empty())
        return failure;
    const auto middle = std::chrono::steady_clock::now();
    isThrough = isThrough &&
                std::all_of(order.begin(), order.end(), [](unsigned int step) { return PaintUndoList()->Redo(step); });
    redoMs_ = Milliseconds(std::chrono::steady_clock::now() - middle);
    return isThrough ? Compare(after, "Undoing and redoing") : "A step was lost from the undo list";
}
