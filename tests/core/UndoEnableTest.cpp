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
    FakeStore store;
    Open();
    store.told.clear();
    SetBrush(5);
    Dab(20, 20);
    EXPECT_EQ(store.told, "MioStroke ");

    store.told.clear();
    PaintCore.SuspendUndo(true);
    Dab(40, 20);
    PaintCore.AddLayer({});
    PaintCore.FillLayer({0, 0, 10, 10}, {1, 0, 0, 1});
    EXPECT_FALSE(PaintCore.AddUndoLayerStack(-2, true));
    PaintCore.SuspendUndo(false);
    PaintCore.SetLogUndoOper(false);
    PaintCore.DeleteCurrentLayer();
    EXPECT_EQ(store.told, "");
    PaintCore.SetLogUndoOper(true);
    PaintCore.FillLayer({0, 0, 10, 10}, {1, 0, 0, 1});
    PaintCore.AddLayer({});
    EXPECT_EQ(store.told, "MioStroke MioLayerStack ");
}

TEST_F(UndoEnable, RefusedCommandsRecordNothing)
{
    Open();
    const PntHandle image = PaintCore.GetCurrentLayerContainerHandle();
    const PntHandle mask = PaintCore.AddLayer({}, kLayerModeMask);
    FakeStore store;
    const qs::Reference<LayerStack> before(&Stack());
    EXPECT_FALSE(PaintCore.MoveLayer(mask, image, true));
    EXPECT_EQ(PaintCore.AddLayer({}, kLayerModeImage, kLayerTypeShape), kNullHandle);
    PaintCore.DeleteLayer(kNullHandle);
    PaintCore.FillLayer({500, 500, 10, 10}, {1, 0, 0, 1});
    PaintCore.SetLayerOffset(0, 0);
    PaintCore.SetLayerOffset(5, 5, kNullHandle);
    Dab(-100, -100);
    EXPECT_EQ(store.told, "");
    EXPECT_EQ(&Stack(), before.get()) << "what was recorded before still finds its document";
}
