#include "tools/utmctl/progress.h"

#include <cstdio>
#include <unistd.h>

namespace {

constexpr char wipe[] = "\r\033[K";

} // namespace

progress::progress(size_t total) : total_(total), wanted_(total > 1 && isatty(STDERR_FILENO) != 0) {}

progress::~progress()
{
    hide();
}

void progress::hide()
{
    if (shown_ != 0)
        fputs(wipe, stderr);
    shown_ = 0;
}

void progress::show(size_t done)
{
    const size_t hundredths = done * 100 / total_;
    if (!wanted_ || hundredths == shown_)
        return;
    shown_ = hundredths;
    fprintf(stderr, "%s%zu of %zu", wipe, done, total_);
}
