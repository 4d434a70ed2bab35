#include "tools/utmctl/rehearsal.h"

#include <utility>

namespace {

rehearsal* the_current = nullptr;

} // namespace

rehearsal::rehearsal()
{
    the_current = this;
}

rehearsal::~rehearsal()
{
    the_current = nullptr;
}

rehearsal* rehearsal::current()
{
    return the_current;
}

json rehearsal::steps()
{
    add_changes();
    return steps_;
}

int rehearsal::signal(pid_t process, int number)
{
    add({{"step", "signal"}, {"process", process}, {"signal", number}});
    return 0;
}

void rehearsal::add(json step)
{
    add_changes();
    steps_.push_back(std::move(step));
}

void rehearsal::add_changes()
{
    for (json& change : memory.take_changes())
        steps_.push_back(std::move(change));
}
