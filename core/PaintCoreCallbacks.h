#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Containers.h"
#include "platform/base/Export.h"
#include "platform/imaging/pages/PaintColor.h"

class gk_spline;

/// What the host does for the library, as plain functions in a fixed order (the entry number is the comment). Entries
/// that stay null are skipped; where a result is needed the neutral one is used. Types that belong to the host's own
/// geometry are passed through as void*.
struct PAINTLAYER_EXPORT PaintCoreCallbacks {
    using Unused = void (*)();

    PaintColor (*DefaultBackgroundColorCB)() = nullptr;  // 1: of a new document
    void (*CanvasUpdatedCB)() = nullptr;  // 2: after a command's redraw
    Unused unused3 = nullptr;  // 3
    Unused unused4 = nullptr;  // 4
    Unused unused5 = nullptr;  // 5
    bool (*UndoRestoreCB)(int layerStack, PntHandle& restored) = nullptr;  // 6: true lets an undo go on
    int (*DebugLevelCB)() = nullptr;  // 7: 8214 dumps, 8001 marks
    Unused unused8 = nullptr;  // 8
    Unused unused9 = nullptr;  // 9
    void (*MessageCB)(int x, int y, int kind, int* result, const char* text) = nullptr;  // 10: result is not read
    void (*BusyCB)(bool busy) = nullptr;  // 11: around lengthy work
    void (*StackEditedCB)(bool edited) = nullptr;  // 12
    void (*LayerImageChangedCB)(PntHandle layer) = nullptr;  // 13
    void (*LayerRenamedCB)(PntHandle container) = nullptr;  // 14
    void (*LayerStackAddedCB)(int layerStack) = nullptr;  // 15
    void (*StrokeSettledCB)() = nullptr;  // 16: 3030 ms after a stroke
    void (*ShowMessageCB)(const char* text) = nullptr;  // 17
    // A preview of a fill (18, 19) or a magic wand (20, 21) ends: whether its edits stay, false on arrival; then that
    // it has ended. With the layers that it held.
    void (*FillEndingCB)(bool& keepsEdits, const qs::vector<PntHandle>& layers) = nullptr;  // 18
    void (*FillEndedCB)(const qs::vector<PntHandle>& layers) = nullptr;  // 19
    void (*WandEndingCB)(bool& keepsEdits, const qs::vector<PntHandle>& layers) = nullptr;  // 20
    void (*WandEndedCB)(const qs::vector<PntHandle>& layers) = nullptr;  // 21
    void (*GeneratorsRegisteredCB)() = nullptr;  // 22
    Unused unused23 = nullptr;  // 23
    void* (*CurveBoundsCB)(void* curve, void* parameters) = nullptr;  // 24
    void* (*CopyCurveCB)(void* curve, int zero) = nullptr;  // 25
    Unused unused26 = nullptr;  // 26
    gk_spline* (*CopySplineCB)(const gk_spline* spline) = nullptr;  // 27: a copy for the library
    Unused unused28 = nullptr;  // 28
    Unused unused29 = nullptr;  // 29
    void* (*CurvePolylineCB)(void* curve, void* bounds, void* parameters) = nullptr;  // 30
    void* (*CurveSampleCB)(void* curve, void* parameters) = nullptr;  // 31
    void (*WarpCurveCB)(void* curve, void* parameters, double, void*) = nullptr;  // 32
    void (*BrushFeedbackBeginCB)() = nullptr;  // 33
    void (*BrushFeedbackEndCB)() = nullptr;  // 34
    void (*BrushFeedbackStampCB)(float x, float y, float size, float opacity) = nullptr;  // 35: each stamp laid down
    void (*ObjectUndoneCB)(void* record, PntHandle object) = nullptr;  // 36
    void (*ObjectRedoneCB)(void* record, PntHandle object) = nullptr;  // 37
};

static_assert(sizeof(PaintCoreCallbacks) == 37 * sizeof(void (*)()));
