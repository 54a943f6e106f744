#include "undo/PntUndoOper.h"

#include "platform/base/Attempt.h"
#include "platform/imaging/pages/PageAccount.h"

#include <algorithm>
#include <climits>

namespace {

unsigned int lastSequence = 0;
unsigned int lastUndoHandle = 0;

}  // namespace

PntUndoOper::PntUndoOper(const char* id, bool willDeleteAfterExit, bool flag)
    : IdList(id), sequence_(++lastSequence), willDeleteAfterExit_(willDeleteAfterExit), flag_(flag),
      undoHandle_(++lastUndoHandle)
{
    SetID("MioOper");
}

PntUndoOper::PntUndoOper(const PntUndoOper& other)
    : qs::ReferenceCount(other), IdList(other), sequence_(other.sequence_),
      willDeleteAfterExit_(other.willDeleteAfterExit_), flag_(other.flag_), undoHandle_(++lastUndoHandle),
      name_(other.name_), isUndone_(other.isUndone_)
{}

PntUndoOper& PntUndoOper::operator=(const PntUndoOper& other)
{
    IdList::operator=(other);
    sequence_ = other.sequence_;
    willDeleteAfterExit_ = other.willDeleteAfterExit_;
    flag_ = other.flag_;
    name_ = other.name_;
    isUndone_ = other.isUndone_;
    return *this;
}

PntUndoOper::~PntUndoOper() = default;

int PntUndoOper::SumOfBytes(int64_t allocated, int64_t own)
{
    return static_cast<int>(std::min<int64_t>(allocated + own, INT_MAX));
}

int PntUndoOper::GetBytesUsed()
{
    return static_cast<int>(sizeof(PntUndoOper));
}

int PntUndoOper::GetAllocatedBytes()
{
    return 0;
}

// --- running ---

PntUndoOper::Outcome PntUndoOper::TryUndo()
{
    UndoOper();
    return Outcome::Done;
}

PntUndoOper::Outcome PntUndoOper::TryRedo()
{
    RedoOper();
    return Outcome::Done;
}

PntUndoOper::Outcome PntUndoOper::Run(Outcome (PntUndoOper::*step)(), bool isUndone)
{
    const Outcome outcome = (this->*step)();
    if (outcome == Outcome::Done)
        isUndone_ = isUndone;
    return outcome;
}

bool PntUndoOper::Undo()
{
    const qs::Reference<PntUndoOper> kept(this);
    const bool isPossible =
        Guarded(false, [this] { return Prepare() && Run(&PntUndoOper::TryUndo, true) != Outcome::NoMemory; });
    Settle();
    return isPossible;
}

bool PntUndoOper::Redo()
{
    const qs::Reference<PntUndoOper> kept(this);
    const bool isPossible =
        Guarded(false, [this] { return Prepare() && Run(&PntUndoOper::TryRedo, false) != Outcome::NoMemory; });
    Settle();
    return isPossible;
}

// --- what it is and holds ---

bool PntUndoOper::TakeIn(const PntUndoOper&) noexcept
{
    return false;
}

int64_t PntUndoOper::GetHeldBytes() const
{
    PageAccount account;
    CountReleased(account);
    return account.GetBytes();
}

void PntUndoOper::CountReleased(PageAccount&) const {}

void PntUndoOper::Archive(PntUndoDatabase*) {}

void PntUndoOper::Debug() {}

qs::Reference<PntUndoOper> PntUndoOper::CompareOper(qs::Reference<PntUndoOper>)
{
    return this;
}

qs::Reference<PntUndoOper> PntUndoOper::CompareOperFromIDList(qs::Reference<PntUndoOper> other)
{
    const char* primary = GetID(0);
    if (!other || primary == nullptr)
        return {};
    // An id stands in the list once, so at most one of them is the primary one.
    return other->CheckID(primary) ? other->CompareOper(this) : qs::Reference<PntUndoOper>();
}
