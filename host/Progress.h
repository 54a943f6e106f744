#pragma once

#include <cstddef>

/// A progress bar on standard error while that is a terminal; silent otherwise.
class Progress {
public:
    explicit Progress(size_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Advance();

private:
    size_t total_;
    size_t done_ = 0;
    int shownPercent_ = -1;
    bool isTerminal_;
};
