#pragma once

#include "platform/base/Containers.h"

#include <cstddef>
#include <functional>
#include <new>
#include <type_traits>
#include <utility>

/// One call that waits, with its arguments in place: waiting allocates nothing.
class Notice {
public:
    static constexpr size_t kRoom = 112;  // bytes of arguments

    template <class Call>
    requires(!std::is_same_v<Call, Notice>) explicit Notice(Call call) noexcept : operations_(&kOperationsOf<Call>)
    {
        static_assert(sizeof(Call) <= kRoom && alignof(Call) <= alignof(std::max_align_t));
        static_assert(std::is_nothrow_move_constructible_v<Call>);
        ::new (room_) Call(std::move(call));
    }

    Notice(Notice&& other) noexcept : operations_(other.operations_) { operations_->move(room_, other.room_); }
    Notice& operator=(Notice&&) = delete;
    ~Notice() { operations_->destroy(room_); }

    void Run() { operations_->run(room_); }

private:
    struct Operations {
        void (*run)(void* call);
        void (*move)(void* to, void* from) noexcept;
        void (*destroy)(void* call) noexcept;
    };

    template <class Call>
    static constexpr Operations kOperationsOf = {
        [](void* call) { (*static_cast<Call*>(call))(); },
        [](void* to, void* from) noexcept { ::new (to) Call(std::move(*static_cast<Call*>(from))); },
        [](void* call) noexcept { static_cast<Call*>(call)->~Call(); },
    };

    const Operations* operations_;
    alignas(std::max_align_t) std::byte room_[kRoom];
};

/// Words to whoever listens, held back while a document is being edited and told, in their order, when it has settled.
///
/// A listener may edit again: that edit holds and tells as the first did, after all that was still to be told. What a
/// listener throws ends its notice and nothing else.
class Notices {
public:
    Notices() = default;
    Notices(const Notices&) = delete;
    Notices& operator=(const Notices&) = delete;

    /// Runs `call` now, or when nothing holds any more. It carries values of its own, at most Notice::kRoom bytes.
    /// Without the memory to wait it is lost, and the call of SetLostCall is told instead.
    template <class Call>
    void Tell(Call call) noexcept
    {
        Notice notice(std::move(call));
        if (holds_ == 0 && next_ == waiting_.size()) {
            RunOne(notice);
            return;
        }
        Queue(std::move(notice));
        TellWaiting();
    }

    /// What is told when notices were lost.
    void SetLostCall(std::function<void()> call) { lostCall_ = std::move(call); }

    bool IsHeld() const noexcept { return holds_ > 0; }

    /// Holds back all notices for as long as it lives. Scopes nest; the end of the outermost one tells.
    class Scope {
    public:
        explicit Scope(Notices& notices) noexcept;
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
        ~Scope();

        /// Forgets what waits since this scope began: the edit was taken back.
        void Drop() noexcept;

    private:
        Notices& notices_;
        size_t first_;  // that would wait since this scope began
    };

    /// The host is asked something in the middle of an edit, for as long as this lives: it must not edit meanwhile.
    class Question {
    public:
        explicit Question(Notices& notices) noexcept : notices_(notices) { ++notices_.questions_; }
        Question(const Question&) = delete;
        Question& operator=(const Question&) = delete;
        ~Question() { --notices_.questions_; }

    private:
        Notices& notices_;
    };
    bool IsAsking() const noexcept { return questions_ > 0; }

private:
    static void RunOne(Notice& notice) noexcept;
    void Queue(Notice notice) noexcept;
    void TellWaiting() noexcept;

    qs::vector<Notice> waiting_;
    size_t next_ = 0;  // of waiting_; those before were told
    int holds_ = 0;
    int questions_ = 0;
    bool hasLost_ = false;
    std::function<void()> lostCall_;
};
