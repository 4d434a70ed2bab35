#pragma once

namespace bench {

// The most memory, in kilobytes, that a process of its own has at a time which makes this call.
double peak_memory(void (*run)());

// The processor time, in milliseconds, of a run of a command, from its start to its end: the least of several, because
// what it takes more is the work of others, who leave it less of the caches.
double processor_time(const char* const* command);

} // namespace bench
