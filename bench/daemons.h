#pragma once

namespace bench {

// Starts a process for each daemon. They answer at once, and the longest list in as few sends as they can; they end
// with this process. A list has as many entries as its request says: that of devices in its interface name, that of
// usage in its argument, that of domains in its profile.
void start_daemons();

} // namespace bench
