#include "platform/base/Notices.h"

#include <exception>

void Notices::RunOne(Notice& notice) noexcept
{
    try {
        notice.Run();
    } catch (...) {
        // Of the listener's own, who alone can know what it means; the edit is done.
    }
}

void Notices::Queue(Notice notice) noexcept
{
    try {
        waiting_.push_back(std::move(notice));
    } catch (const std::exception&) {
        hasLost_ = true;
    }
}

void Notices::TellWaiting() noexcept
{
    while (holds_ == 0 && next_ < waiting_.size()) {
        Notice notice = std::move(waiting_[next_]);  // what it runs may queue, and so move, more
        ++next_;
        RunOne(notice);
    }
    if (holds_ > 0)
        return;
    waiting_.clear();
    next_ = 0;
    if (std::exchange(hasLost_, false) && lostCall_) {
        Notice notice([this] { lostCall_(); });
        RunOne(notice);
    }
}

Notices::Scope::Scope(Notices& notices) noexcept : notices_(notices), first_(notices.waiting_.size())
{
    ++notices_.holds_;
}

Notices::Scope::~Scope()
{
    if (--notices_.holds_ == 0)
        notices_.TellWaiting();
}

void Notices::Scope::Drop() noexcept
{
    while (notices_.waiting_.size() > first_)
        notices_.waiting_.pop_back();
}
