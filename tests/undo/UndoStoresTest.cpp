#include "layers/DocumentPort.h"
#include "platform/os/DebugOutput.h"
#include "undo/UndoPort.h"
#include "undo/UndoStore.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

std::string told;

/// Writes down what is done with it, by a letter.
class TestRecord : public PntUndoOper {
public:
    explicit TestRecord(char name) : PntUndoOper("Test", false, false), name_(name) {}
    ~TestRecord() override { Tell("~"); }
    void UndoOper() override { Tell("undo "); }
    void RedoOper() override { Tell("redo "); }
    void Archive(PntUndoDatabase*) override { Tell("archive "); }
    int GetBytesUsed() override { return 1000 + name_; }

private:
    void Tell(const char* what) { told += what + std::string(1, name_) + ' '; }
    char name_;
};

std::string Taken()
{
    return std::exchange(told, {});
}

class UndoStores : public testing::Test {
protected:
    void SetUp() override
    {
        told.clear();
        GetUndoPort().Message = [](const char* text) { told += text; };
    }
    void TearDown() override
    {
        GetUndoPort() = port_;
        delete ExchangeUndoDatabase(nullptr);
    }

private:
    UndoPort port_ = GetUndoPort();
};

unsigned int AddTo(PntUndoDatabase& database, char name)
{
    const qs::Reference<PntUndoOper> record(new TestRecord(name));
    const unsigned int handle = record->GetUndoHandle();
    database.AddUndoOperation(record);
    return handle;
}

}  // namespace

TEST_F(UndoStores, TheFirstStoreThatIsSetUpIsTheProcesss)
{
    EXPECT_EQ(PaintUndoQueue(), nullptr);
    EXPECT_TRUE(SetupPntUndoQueue());
    PntUndoDatabase* const queue = PaintUndoDatabase();
    EXPECT_FALSE(SetupPntUndoList(nullptr));
    EXPECT_FALSE(SetupPntUndoQueue());
    EXPECT_EQ(PaintUndoDatabase(), queue);
    EXPECT_EQ(PaintUndoQueue(), queue);
}

TEST_F(UndoStores, AQueueWalksBackAndForthAndDropsBranchesUnarchived)
{
    PntUndoQueue queue;
    EXPECT_FALSE(queue.Undo());
    EXPECT_FALSE(queue.Redo());
    EXPECT_EQ(Taken(), "You cannot undo any more actions.\nYou cannot redo any more actions.\n");

    for (const char name : {'a', 'b', 'c'})
        AddTo(queue, name);
    EXPECT_TRUE(queue.Undo() && queue.Undo() && queue.Redo() && queue.Undo() && queue.Undo());
    EXPECT_FALSE(queue.Undo());
    EXPECT_TRUE(queue.Redo());
    EXPECT_EQ(Taken(), "undo c undo b redo b undo b undo a You cannot undo any more actions.\nredo a ");
    AddTo(queue, 'd');
    EXPECT_EQ(Taken(), "~b ~c ");
    EXPECT_FALSE(queue.Redo());
    Taken();

    queue.AddUndoOperation({});
    EXPECT_TRUE(queue.Undo()) << "an empty entry counts";
    EXPECT_TRUE(queue.Undo() && queue.Redo() && queue.Redo());
    EXPECT_EQ(Taken(), "undo d redo d ");

    GetUndoPort().FinishStroke = [] { return false; };
    EXPECT_FALSE(queue.Undo());
    EXPECT_EQ(Taken(), "") << "nothing is undone while a stroke is being fed";
}

TEST_F(UndoStores, AQueueArchivesTheOldestOfOneTooMany)
{
    PntUndoQueue queue(2);
    for (const char name : {'a', 'b', 'c'})
        AddTo(queue, name);
    EXPECT_EQ(Taken(), "archive a ~a ");
    EXPECT_TRUE(queue.Undo() && queue.Undo());
    EXPECT_FALSE(queue.Undo());
    EXPECT_EQ(queue.GetUndoDB()->size(), 2U);

    // Flushed in the middle, it begins anew.
    Taken();
    EXPECT_TRUE(queue.Redo() && queue.FlushUndoDatabase());
    EXPECT_EQ(Taken(), "redo b archive b archive c ~b ~c ");
    EXPECT_FALSE(queue.Undo() || queue.Redo());
    AddTo(queue, 'd');
    Taken();
    EXPECT_TRUE(queue.Undo());
    EXPECT_EQ(Taken(), "undo d ");
}

TEST_F(UndoStores, AListTellsTheHostAndKeepsWhateverItAnswers)
{
    PntUndoList list([](unsigned int) { return false; });
    EXPECT_FALSE(list.AddUndoOperation({}));
    const qs::Reference<PntUndoOper> record(new TestRecord('a'));
    EXPECT_FALSE(list.AddUndoOperation(record));
    EXPECT_TRUE(PntUndoList(nullptr).AddUndoOperation(record));
    EXPECT_EQ(list.GetBytesUsed(record->GetUndoHandle()), 1000 + 'a');
    EXPECT_TRUE(list.CheckID(record->GetUndoHandle(), "MioOper") && !list.CheckID(0, "MioOper"));
    EXPECT_TRUE(list.Undo(record->GetUndoHandle()) && list.Redo(record->GetUndoHandle()));
    EXPECT_FALSE(list.Undo(0) || list.Redo(0));
    EXPECT_EQ(Taken(), "undo a redo a ");
}

TEST_F(UndoStores, AListReleasesTheOldestArchivedAndOthersNot)
{
    PntUndoList list(nullptr);
    EXPECT_TRUE(list.FlushUndoDatabase(1, true)) << "an empty list has nothing to miss";
    qs::vector<unsigned int> handles;
    for (const char name : {'a', 'b', 'c', 'd'})
        handles.push_back(AddTo(list, name));
    EXPECT_TRUE(list.FlushUndoDatabase(handles[2], true));
    EXPECT_EQ(Taken(), "~c ");
    EXPECT_TRUE(list.FlushUndoDatabase(handles[0], true));
    EXPECT_EQ(Taken(), "archive a ~a ");
    EXPECT_TRUE(list.FlushUndoDatabase(handles[1], false));
    EXPECT_EQ(Taken(), "~b ");
    EXPECT_FALSE(list.FlushUndoDatabase(handles[0], true));
    EXPECT_EQ(list.GetUndoDB()->size(), 1U);

    // What it does is traced at the level of dumps.
    const auto level = std::exchange(GetDocumentPort().GetDebugLevel, [] { return 8214; });
    qsOS::SetDebugOutputSink([](const char* text) { told += text; });
    testing::internal::CaptureStdout();
    EXPECT_FALSE(list.FlushUndoDatabase(handles[0], true));
    EXPECT_TRUE(list.FlushUndoDatabase(handles[3], false));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "PntUndoList::FlushUndoDatabase -- unable to relase an entry due to handle mismatch\n");
    qsOS::SetDebugOutputSink(nullptr);
    GetDocumentPort().GetDebugLevel = level;
    const std::string last = "\n[" + std::to_string(handles[3]) + "]\n";
    EXPECT_EQ(Taken(), "PntUndoList::FlushUndoDatabase [" + std::to_string(handles[0]) + ']' + last +
                           "PntUndoList::FlushUndoDatabase [" + std::to_string(handles[3]) + ']' + last +
                           "Pop Front\n~d ");
}
