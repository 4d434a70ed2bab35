#pragma once

namespace bench {

// Does the operation so many times in each of so many processes at once, 64 at most. The processes wait for it already,
// so that none is started meanwhile.
void at_once(int processes, void (*operation)(), int times);

} // namespace bench
