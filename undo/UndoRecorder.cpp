#include "undo/UndoRecorder.h"

namespace {
UndoRecorder* theRecorder = nullptr;
}

UndoRecorder* GetUndoRecorder()
{
    return theRecorder;
}

void SetUndoRecorder(UndoRecorder* recorder)
{
    theRecorder = recorder;
}
