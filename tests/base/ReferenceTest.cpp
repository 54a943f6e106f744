#include "platform/base/Reference.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

struct Counted : qs::ReferenceCount {
    explicit Counted(int* deaths_) : deaths(deaths_) {}
    Counted(const Counted&) = default;
    Counted& operator=(const Counted&) = default;
    ~Counted() override { ++*deaths; }
    int* deaths;
};

struct Derived : Counted {
    using Counted::Counted;
};

TEST(Reference, TheLastReferenceToGoDeletesTheObjectOnce)
{
    int deaths = 0;
    auto* const object = new Counted(&deaths);
    EXPECT_EQ(object->GetRefCount(), 0);
    qs::Reference<Counted> first = object;
    {
        qs::Reference<Counted> second = first;
        EXPECT_EQ(first->GetRefCount(), 2);
        const qs::Reference<Counted> moved = std::move(second);
        EXPECT_EQ(first->GetRefCount(), 2);
        EXPECT_FALSE(second);  // NOLINT(bugprone-use-after-move): it promises to be null
    }
    const auto& alias = first;
    first = alias;
    first.reset(first.get());
    EXPECT_EQ(first->GetRefCount(), 1);
    EXPECT_EQ(deaths, 0);
    first = nullptr;
    EXPECT_EQ(deaths, 1);
}

TEST(Reference, CopiedObjectsStartUncountedAndAssignedOnesKeepTheirCount)
{
    int deaths = 0;
    const auto source = qs::MakeReference<Counted>(&deaths);
    EXPECT_EQ(Counted(*source).GetRefCount(), 0);
    const auto target = qs::MakeReference<Counted>(&deaths);
    const qs::Reference<Counted> alsoTarget(target.get());
    *target = *source;
    EXPECT_EQ(target->GetRefCount(), 2);
    EXPECT_EQ(source->GetRefCount(), 1);
}

TEST(Reference, ConvertsToTheBaseAndComparesAcrossTypes)
{
    int deaths = 0;
    qs::Reference<Derived> derived = qs::MakeReference<Derived>(&deaths);
    qs::Reference<Counted> base = derived;
    EXPECT_TRUE(base == derived && base == derived.get() && base != nullptr);
    EXPECT_EQ(qs::StaticCast<Derived>(base)->GetRefCount(), 3);
    base = std::move(derived);
    EXPECT_EQ(base->GetRefCount(), 1);
    EXPECT_TRUE(derived == nullptr);  // NOLINT(bugprone-use-after-move): it promises to be null
}

struct Holder {
    struct Watcher : qs::ReferenceCount {
        explicit Watcher(Holder& holder_) : holder(holder_) {}
        ~Watcher() override
        {
            const qs::Reference<Watcher> self = this;  // a second deletion would be the sanitizer's to report
            holder.seenAtDeath = holder.reference.get();
        }
        Holder& holder;
    };
    qs::Reference<Watcher> reference;
    Watcher* seenAtDeath = nullptr;
};

TEST(Reference, ADestructorSeesWhatReplacedItsObjectAndMayReferToIt)
{
    Holder holder;
    holder.reference = new Holder::Watcher(holder);
    const auto next = qs::MakeReference<Holder::Watcher>(holder);
    holder.reference = next;
    EXPECT_EQ(holder.seenAtDeath, next.get());
}

}  // namespace
