#include "PaintCoreFixture.h"

#include <cstdlib>

namespace {

/// Ends the process with 0 when undo is on exactly as expected, whatever the variable becomes later.
[[noreturn]] void ExitWithUndo(const char* variable, bool expected)
{
    if (variable != nullptr)
        setenv("MIO_UNDO_DISABLE", variable, 1);
    else
        unsetenv("MIO_UNDO_DISABLE");
    bool isAsExpected = PaintCore.UndoEnable() == expected;
    unsetenv("MIO_UNDO_DISABLE");
    isAsExpected = isAsExpected && PaintCore.UndoEnable() == expected;
    setenv("MIO_UNDO_DISABLE", "1", 1);
    isAsExpected = isAsExpected && PaintCore.UndoEnable() == expected;
    std::_Exit(isAsExpected ? 0 : 1);
}

}  // namespace

TEST(UndoEnableDeathTest, TheEnvironmentDecidesOnceAndOnlyWithExactlyOne)
{
    // Each statement runs in a process of its own, in which nothing has asked yet.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto exitedWith0 = testing::ExitedWithCode(0);
    EXPECT_EXIT(ExitWithUndo("1", false), exitedWith0, "");
    EXPECT_EXIT(ExitWithUndo("10", true), exitedWith0, "");
    EXPECT_EXIT(ExitWithUndo("0", true), exitedWith0, "");
    EXPECT_EXIT(ExitWithUndo("", true), exitedWith0, "");
    EXPECT_EXIT(ExitWithUndo(nullptr, true), exitedWith0, "");
}

using UndoEnable = PaintCoreTest;

TEST_F(UndoEnable, EditsAreRecordedUnlessSuspendedOrNotLogged)
{
    FakeRecorder recorder;
    SetUndoRecorder(&recorder);
    Open();
    recorder.told.clear();
    SetBrush(5);
    Dab(20, 20);
    EXPECT_EQ(recorder.told, "stroke append ");
    EXPECT_NE(BytesOf(*recorder.before, Stack().GetSize()), LayerBytes());

    recorder.told.clear();
    PaintCore.SuspendUndo(true);
    Dab(40, 20);
    PaintCore.AddLayer({});
    PaintCore.FillLayer({0, 0, 10, 10}, {1, 0, 0, 1});
    EXPECT_FALSE(PaintCore.AddUndoLayerStack(-2, true));
    PaintCore.SuspendUndo(false);
    PaintCore.SetLogUndoOper(false);
    PaintCore.DeleteCurrentLayer();
    EXPECT_EQ(recorder.told, "");
    PaintCore.SetLogUndoOper(true);
    PaintCore.FillLayer({0, 0, 10, 10}, {1, 0, 0, 1});
    PaintCore.AddLayer({});
    EXPECT_EQ(recorder.told, "stroke append structure append ");
}

TEST_F(UndoEnable, RefusedCommandsRecordNothing)
{
    FakeRecorder recorder;
    Open();
    const PntHandle image = PaintCore.GetCurrentLayerContainerHandle();
    const PntHandle mask = PaintCore.AddLayer({}, kLayerModeMask);
    SetUndoRecorder(&recorder);
    EXPECT_FALSE(PaintCore.MoveLayer(mask, image, true));
    EXPECT_EQ(PaintCore.AddLayer({}, kLayerModeImage, kLayerTypeShape), kNullHandle);
    PaintCore.DeleteCurrentLayer(kNullHandle);
    PaintCore.FillLayer({500, 500, 10, 10}, {1, 0, 0, 1});
    EXPECT_EQ(recorder.told.find("append"), std::string::npos) << recorder.told;
}
