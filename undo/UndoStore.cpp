#include "undo/UndoStore.h"

#include <utility>

namespace {

PntUndoDatabase* theDatabase = nullptr;

template <class Database, class... Arguments>
bool SetUp(Arguments... arguments)
{
    if (theDatabase != nullptr)
        return false;
    theDatabase = new Database(arguments...);
    return true;
}

}  // namespace

bool SetupPntUndoQueue()
{
    return SetUp<PntUndoQueue>(PntUndoQueue::kDefaultCapacity);
}

bool SetupPntUndoList(bool (*callback)(unsigned int handle))
{
    return SetUp<PntUndoList>(callback);
}

PntUndoDatabase* PaintUndoDatabase()
{
    return theDatabase;
}

// The caller knows which kind there is; a pointer of the other kind may be compared, but not used.

PntUndoQueue* PaintUndoQueue()
{
    return static_cast<PntUndoQueue*>(static_cast<void*>(theDatabase));
}

PntUndoList* PaintUndoList()
{
    return static_cast<PntUndoList*>(static_cast<void*>(theDatabase));
}

PntUndoDatabase* ExchangeUndoDatabase(PntUndoDatabase* database)
{
    return std::exchange(theDatabase, database);
}
