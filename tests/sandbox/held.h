#pragma once

// What this process holds, as the kernel tells it.

long open_descriptors();
long attached_segments(); // of System V's
