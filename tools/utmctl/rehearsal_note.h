#pragma once

#include "tools/utmctl/outcome.h"

#include <functional>

// Takes down a step of a rehearsal.
using note = std::function<void(json step)>;
