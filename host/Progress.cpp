#include "Progress.h"

#include <cstdio>
#include <string>

#include <unistd.h>

Progress::Progress(size_t total) : total_(total), isTerminal_(isatty(STDERR_FILENO) != 0) {}

Progress::~Progress()
{
    if (isTerminal_ && shownPercent_ >= 0)
        std::fputs("\r\x1b[K", stderr);
}

void Progress::Advance()
{
    ++done_;
    if (!isTerminal_)
        return;
    const int percent = static_cast<int>(100 * done_ / total_);
    if (percent == shownPercent_)
        return;
    shownPercent_ = percent;
    const auto filled = static_cast<size_t>(percent) * 40 / 100;
    std::fprintf(stderr, "\r[%s%s] %3d %%", std::string(filled, '#').c_str(), std::string(40 - filled, ' ').c_str(),
                 percent);
}
